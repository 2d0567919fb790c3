// Every entry point of the private layer: a null pointer wins over a bad length, a
// bad length is reported next, and neither writes anything.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "own.h"
#include "test_support.h"

namespace {

struct Bufs {
    alignas(64) unsigned char in1[256];
    alignas(64) unsigned char in2[256];
    alignas(64) unsigned char out[256];
    alignas(64) unsigned char out2[256];
    int index = -77;
};

// call(bufs, nullArgument, len): nullArgument picks which pointer is null (0 = none).
struct Entry {
    std::string name;
    int pointers;
    std::function<ZemStatus(Bufs&, int, int)> call;
};

template <class T>
T* p(unsigned char* b, int which, int me) {
    return which == me ? nullptr : reinterpret_cast<T*>(b);
}

#define IN1(T) p<T>(b.in1, nul, 1)
#define IN2(T) p<T>(b.in2, nul, 2)
#define OUT(T) p<T>(b.out, nul, 3)
#define OUT2(T) p<T>(b.out2, nul, 4)
#define IO(T) p<T>(b.out, nul, 1)

std::vector<Entry> entries() {
    return {
        {"Set_8u", 1, [](Bufs& b, int nul, int n) { return ownSet_8u(1, IO(Zem8u), n); }},
        {"Set_16s", 1, [](Bufs& b, int nul, int n) { return ownSet_16s(1, IO(Zem16s), n); }},
        {"Set_32s", 1, [](Bufs& b, int nul, int n) { return ownSet_32s(1, IO(Zem32s), n); }},
        {"Set_32f", 1, [](Bufs& b, int nul, int n) { return ownSet_32f(1, IO(Zem32f), n); }},
        {"Set_64f", 1, [](Bufs& b, int nul, int n) { return ownSet_64f(1, IO(Zem64f), n); }},
        {"Zero_8u", 1, [](Bufs& b, int nul, int n) { return ownZero_8u(IO(Zem8u), n); }},
        {"Zero_16s", 1, [](Bufs& b, int nul, int n) { return ownZero_16s(IO(Zem16s), n); }},
        {"Zero_32f", 1, [](Bufs& b, int nul, int n) { return ownZero_32f(IO(Zem32f), n); }},
        {"Copy_8u", 3, [](Bufs& b, int nul, int n) { return ownCopy_8u(IN1(Zem8u), OUT(Zem8u), n); }},
        {"Copy_16s", 3, [](Bufs& b, int nul, int n) { return ownCopy_16s(IN1(Zem16s), OUT(Zem16s), n); }},
        {"Copy_32f", 3, [](Bufs& b, int nul, int n) { return ownCopy_32f(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Copy_64f", 3, [](Bufs& b, int nul, int n) { return ownCopy_64f(IN1(Zem64f), OUT(Zem64f), n); }},
        {"Move_32f", 3, [](Bufs& b, int nul, int n) { return ownMove_32f(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Add_32f_I", 3, [](Bufs& b, int nul, int n) { return ownAdd_32f_I(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Add_64f_I", 3, [](Bufs& b, int nul, int n) { return ownAdd_64f_I(IN1(Zem64f), OUT(Zem64f), n); }},
        {"Sub_32f_I", 3, [](Bufs& b, int nul, int n) { return ownSub_32f_I(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Sub_64f_I", 3, [](Bufs& b, int nul, int n) { return ownSub_64f_I(IN1(Zem64f), OUT(Zem64f), n); }},
        {"AddC_32f", 3, [](Bufs& b, int nul, int n) { return ownAddC_32f(IN1(Zem32f), 1.0f, OUT(Zem32f), n); }},
        {"AddC_32f zero", 3, [](Bufs& b, int nul, int n) { return ownAddC_32f(IN1(Zem32f), 0.0f, OUT(Zem32f), n); }},
        {"AddC_32f_I", 1, [](Bufs& b, int nul, int n) { return ownAddC_32f_I(1.0f, IO(Zem32f), n); }},
        {"Mul_32f", 3, [](Bufs& b, int nul, int n) { return ownMul_32f(IN1(Zem32f), IN2(Zem32f), OUT(Zem32f), n); }},
        {"Mul_16s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownMul_16s_Sfs(IN1(Zem16s), IN2(Zem16s), OUT(Zem16s), n, 40); }},
        {"MulC_32f_I", 1, [](Bufs& b, int nul, int n) { return ownMulC_32f_I(0.0f, IO(Zem32f), n); }},
        {"MulC_64f_I", 1, [](Bufs& b, int nul, int n) { return ownMulC_64f_I(2.0, IO(Zem64f), n); }},
        {"Div_32f", 3, [](Bufs& b, int nul, int n) { return ownDiv_32f(IN1(Zem32f), IN2(Zem32f), OUT(Zem32f), n); }},
        {"Div_64f", 3, [](Bufs& b, int nul, int n) { return ownDiv_64f(IN1(Zem64f), IN2(Zem64f), OUT(Zem64f), n); }},
        {"Div_32f_I", 3, [](Bufs& b, int nul, int n) { return ownDiv_32f_I(IN1(Zem32f), OUT(Zem32f), n); }},
        {"DivC_64f", 3, [](Bufs& b, int nul, int n) { return ownDivC_64f(IN1(Zem64f), 0.0, OUT(Zem64f), n); }},
        {"DivC_64f_I", 1, [](Bufs& b, int nul, int n) { return ownDivC_64f_I(0.0, IO(Zem64f), n); }},
        {"Abs_64f", 3, [](Bufs& b, int nul, int n) { return ownAbs_64f(IN1(Zem64f), OUT(Zem64f), n); }},
        {"Sqrt_64f_I", 1, [](Bufs& b, int nul, int n) { return ownSqrt_64f_I(IO(Zem64f), n); }},
        {"MinEvery_32f_I", 3, [](Bufs& b, int nul, int n) { return ownMinEvery_32f_I(IN1(Zem32f), OUT(Zem32f), n); }},
        {"MinEvery_32s_I", 3, [](Bufs& b, int nul, int n) { return ownMinEvery_32s_I(IN1(Zem32s), OUT(Zem32s), n); }},
        {"MaxEvery_32f_I", 3, [](Bufs& b, int nul, int n) { return ownMaxEvery_32f_I(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Min_32f", 3, [](Bufs& b, int nul, int n) { return ownMin_32f(IN1(Zem32f), n, OUT(Zem32f)); }},
        {"Max_32f", 3, [](Bufs& b, int nul, int n) { return ownMax_32f(IN1(Zem32f), n, OUT(Zem32f)); }},
        {"Min_64f", 3, [](Bufs& b, int nul, int n) { return ownMin_64f(IN1(Zem64f), n, OUT(Zem64f)); }},
        {"Max_64f", 3, [](Bufs& b, int nul, int n) { return ownMax_64f(IN1(Zem64f), n, OUT(Zem64f)); }},
        {"MinMax_32f", 4, [](Bufs& b, int nul, int n) { return ownMinMax_32f(IN1(Zem32f), n, OUT(Zem32f), OUT2(Zem32f)); }},
        {"MinIndx_32f", 3, [](Bufs& b, int nul, int n) { return ownMinIndx_32f(IN1(Zem32f), n, OUT(Zem32f), &b.index); }},
        {"MaxIndx_32f", 3, [](Bufs& b, int nul, int n) { return ownMaxIndx_32f(IN1(Zem32f), n, OUT(Zem32f), &b.index); }},
        {"MaxIndx_64f", 3, [](Bufs& b, int nul, int n) { return ownMaxIndx_64f(IN1(Zem64f), n, OUT(Zem64f), &b.index); }},
        {"Sum_32f", 3, [](Bufs& b, int nul, int n) { return ownSum_32f(IN1(Zem32f), n, OUT(Zem32f), 1); }},
        {"Sum_16s32s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownSum_16s32s_Sfs(IN1(Zem16s), n, OUT(Zem32s), 0); }},
        {"Sum_32s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownSum_32s_Sfs(IN1(Zem32s), n, OUT(Zem32s), 0); }},
        {"SumLn_32f", 3, [](Bufs& b, int nul, int n) { return ownSumLn_32f(IN1(Zem32f), n, OUT(Zem32f)); }},
        {"SumLn_64f", 3, [](Bufs& b, int nul, int n) { return ownSumLn_64f(IN1(Zem64f), n, OUT(Zem64f)); }},
        {"DotProd_32f", 3, [](Bufs& b, int nul, int n) { return ownDotProd_32f(IN1(Zem32f), IN2(Zem32f), n, OUT(Zem32f)); }},
        {"DotProd_32f64f", 3, [](Bufs& b, int nul, int n) { return ownDotProd_32f64f(IN1(Zem32f), IN2(Zem32f), n, OUT(Zem64f)); }},
        {"DotProd_64f", 3, [](Bufs& b, int nul, int n) { return ownDotProd_64f(IN1(Zem64f), IN2(Zem64f), n, OUT(Zem64f)); }},
        {"DotProd_16s64s", 3, [](Bufs& b, int nul, int n) { return ownDotProd_16s64s(IN1(Zem16s), IN2(Zem16s), n, OUT(Zem64s)); }},
        {"DotProd_16s32f", 3, [](Bufs& b, int nul, int n) { return ownDotProd_16s32f(IN1(Zem16s), IN2(Zem16s), n, OUT(Zem32f)); }},
        {"Convert_8u32f", 3, [](Bufs& b, int nul, int n) { return ownConvert_8u32f(IN1(Zem8u), OUT(Zem32f), n); }},
        {"Convert_16s32f", 3, [](Bufs& b, int nul, int n) { return ownConvert_16s32f(IN1(Zem16s), OUT(Zem32f), n); }},
        {"Convert_32s32f", 3, [](Bufs& b, int nul, int n) { return ownConvert_32s32f(IN1(Zem32s), OUT(Zem32f), n); }},
        {"Convert_16s32f_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_16s32f_Sfs(IN1(Zem16s), OUT(Zem32f), n, 1); }},
        {"Convert_32s32f_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_32s32f_Sfs(IN1(Zem32s), OUT(Zem32f), n, 1); }},
        {"Convert_16s64f_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_16s64f_Sfs(IN1(Zem16s), OUT(Zem64f), n, 1); }},
        {"Convert_32s16s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_32s16s_Sfs(IN1(Zem32s), OUT(Zem16s), n, 1); }},
        {"Convert_32f16s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_32f16s_Sfs(IN1(Zem32f), OUT(Zem16s), n, 1, 0); }},
        {"Convert_32f32s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_32f32s_Sfs(IN1(Zem32f), OUT(Zem32s), n, 1, 0); }},
        {"Convert_64f32s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownConvert_64f32s_Sfs(IN1(Zem64f), OUT(Zem32s), n, 0, 0); }},
        {"Ln_32f_I", 1, [](Bufs& b, int nul, int n) { return ownLn_32f_I(IO(Zem32f), n); }},
        {"Ln_32s_Sfs", 3, [](Bufs& b, int nul, int n) { return ownLn_32s_Sfs(IN1(Zem32s), OUT(Zem32s), n, -3); }},
        {"Ln_32s_ISfs", 1, [](Bufs& b, int nul, int n) { return ownLn_32s_ISfs(IO(Zem32s), n, 0); }},
        {"Magnitude_32fc", 3, [](Bufs& b, int nul, int n) { return ownMagnitude_32fc(IN1(Zem32f), OUT(Zem32f), n); }},
        {"Magnitude_32sc_Sfs", 3, [](Bufs& b, int nul, int n) { return ownMagnitude_32sc_Sfs(IN1(Zem32s), OUT(Zem32s), n, 0); }},
    };
}

}  // namespace

TEST(PrivateLayerChecks, NullBeforeSizeAndNothingWritten) {
    for (const Entry& e : entries()) {
        // pointers: 1 = only an in-place vector, 3 = an input and an output, 4 = two outputs
        const std::vector<int> nulls = e.pointers == 1 ? std::vector<int>{1}
                                       : e.pointers == 4 ? std::vector<int>{1, 3, 4}
                                                         : std::vector<int>{1, 3};
        for (int nul : nulls) {
            for (int len : {0, -1, 5}) {
                Bufs b;
                zemtest::fillSentinel(b.out, sizeof b.out);
                zemtest::fillSentinel(b.out2, sizeof b.out2);
                EXPECT_EQ(e.call(b, nul, len), zemStatusNullPointer) << e.name << " null " << nul << " len " << len;
                EXPECT_TRUE(zemtest::untouched(b.out, sizeof b.out)) << e.name;
                EXPECT_TRUE(zemtest::untouched(b.out2, sizeof b.out2)) << e.name;
                EXPECT_EQ(b.index, -77) << e.name;
            }
        }
        for (int len : {0, -1, INT32_MIN}) {
            Bufs b;
            zemtest::fillSentinel(b.out, sizeof b.out);
            zemtest::fillSentinel(b.out2, sizeof b.out2);
            EXPECT_EQ(e.call(b, 0, len), zemStatusBadSize) << e.name << " len " << len;
            EXPECT_TRUE(zemtest::untouched(b.out, sizeof b.out)) << e.name;
            EXPECT_TRUE(zemtest::untouched(b.out2, sizeof b.out2)) << e.name;
            EXPECT_EQ(b.index, -77) << e.name;
        }
    }
}

TEST(PrivateLayerChecks, DivideByConstantZeroIsAHardErrorAfterTheOtherChecks) {
    alignas(64) Zem64f src[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    alignas(64) Zem64f dst[8];
    zemtest::fillSentinel(dst, 8);
    EXPECT_EQ(ownDivC_64f(src, 0.0, dst, 8), zemStatusDivideByZero);
    EXPECT_EQ(ownDivC_64f(src, -0.0, dst, 8), zemStatusDivideByZero);
    EXPECT_TRUE(zemtest::untouched(dst, 8));
    EXPECT_EQ(ownDivC_64f_I(0.0, src, 8), zemStatusDivideByZero);
    EXPECT_EQ(src[7], 8.0);
    EXPECT_EQ(ownDivC_64f(src, 0.0, dst, 0), zemStatusBadSize);
    EXPECT_EQ(ownDivC_64f(nullptr, 0.0, dst, 0), zemStatusNullPointer);
    EXPECT_EQ(ownDivC_64f(src, 4.0, dst, 8), zemStatusOk);
    EXPECT_EQ(dst[7], 2.0);
}
