#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

constexpr double kPi = 3.141592653589793;

// The cosine rows and lifter weights by their formulas.
float cosine(int i, int j, int lenDCT) {
    const double jm = static_cast<double>(static_cast<float>(j + 1) - 0.5f);
    return static_cast<float>(std::cos(jm * (i * kPi) / lenDCT));
}

float lifterWeight(int i, int nLifter, float val) {
    const float half = static_cast<float>(nLifter) / 2.0f;
    return static_cast<float>(1.0 + static_cast<double>(half) * std::sin(i * kPi / nLifter)) * val;
}

enum Kind { kPlain, kC0, kMul, kMulC0 };

struct Made {
    ZemsDCTLifterState_32f* st = nullptr;
    std::vector<float> lifter;  // reference weights, entry 0 for the zeroth coefficient
    int count = 0;              // outputs
};

Made make(Kind kind, int lenDCT, int lenCep, int nLifter, float val, float val0, const std::vector<float>& table) {
    Made m;
    m.lifter.assign(lenCep + 1, 0.0f);
    switch (kind) {
        case kPlain:
        case kC0:
            for (int i = 0; i <= lenCep; ++i) m.lifter[i] = lifterWeight(i, nLifter, val);
            if (kind == kC0) m.lifter[0] = val0;
            break;
        case kMul:
        case kMulC0:
            for (int i = 0; i < lenCep; ++i) m.lifter[i + 1] = table[i];
            if (kind == kMulC0) m.lifter[0] = table[lenCep - 1];
            break;
    }
    ZemStatus s = zemStatusOk;
    if (kind == kPlain) s = zemsDCTLifterInitAlloc_32f(&m.st, lenDCT, lenCep, nLifter, val);
    if (kind == kC0) s = zemsDCTLifterInitAlloc_C0_32f(&m.st, lenDCT, lenCep, nLifter, val, val0);
    if (kind == kMul) s = zemsDCTLifterInitAlloc_Mul_32f(&m.st, lenDCT, table.data(), lenCep);
    if (kind == kMulC0) s = zemsDCTLifterInitAlloc_MulC0_32f(&m.st, lenDCT, table.data(), lenCep);
    EXPECT_EQ(s, zemStatusOk);
    m.count = lenCep + (kind == kC0 || kind == kMulC0 ? 1 : 0);
    return m;
}

// Output p belongs to row p+1, the last output (with C0) to row 0.
int rowOf(int p, int lenCep) { return p < lenCep ? p + 1 : 0; }

}  // namespace

// Unit inputs give lifter[i] * cos[i][j] exactly; random inputs the weighted DCT-II within
// float rounding of a long double sum.
TEST(DCTLifter, TablesAndOutputsFollowTheFormulas) {
    zemtest::Random rnd(2001);
    for (int lenDCT : {1, 7, 8, 9, 26, 40, 100}) {
        for (int lenCep : {1, lenDCT < 13 ? lenDCT : 13, lenDCT}) {
            for (Kind kind : {kPlain, kC0, kMul, kMulC0}) {
                const auto table = rnd.uniform<float>(lenCep, 0.5, 2);
                const Made m = make(kind, lenDCT, lenCep, kind == kPlain ? 22 : 1, 1.5f, 0.7f, table);
                std::vector<float> x(lenDCT, 0.0f), y(m.count + 1);
                for (int j = 0; j < lenDCT; ++j) {
                    x.assign(lenDCT, 0.0f);
                    x[j] = 1.0f;
                    y[m.count] = 12345.0f;
                    ASSERT_EQ(zemsDCTLifter_32f(x.data(), y.data(), m.st), zemStatusOk);
                    for (int p = 0; p < m.count; ++p) {
                        const int i = rowOf(p, lenCep);
                        ASSERT_TRUE(zemtest::sameBits(y[p], m.lifter[i] * cosine(i, j, lenDCT)))
                            << lenDCT << " " << lenCep << " " << kind << " p " << p << " j " << j;
                    }
                    EXPECT_EQ(y[m.count], 12345.0f);  // nothing past the outputs
                }
                x = rnd.uniform<float>(lenDCT, -10, 10);
                ASSERT_EQ(zemsDCTLifter_32f(x.data(), y.data(), m.st), zemStatusOk);
                for (int p = 0; p < m.count; ++p) {
                    const int i = rowOf(p, lenCep);
                    long double sum = 0, mag = 0;
                    for (int j = 0; j < lenDCT; ++j) {
                        sum += static_cast<long double>(x[j]) * cosine(i, j, lenDCT);
                        mag += std::fabs(x[j]);
                    }
                    EXPECT_NEAR(y[p], static_cast<double>(m.lifter[i] * sum), 1e-6 * std::fabs(m.lifter[i]) * (double)mag + 1e-6);
                }
                ASSERT_EQ(zemsDCTLifterFree_32f(m.st), zemStatusOk);
            }
        }
    }
}

// A constant input: the zeroth coefficient is lifter[0] * lenDCT * a, the others near zero.
TEST(DCTLifter, ConstantInputAndSmallLifters) {
    ZemsDCTLifterState_32f* st = nullptr;
    ASSERT_EQ(zemsDCTLifterInitAlloc_C0_32f(&st, 26, 12, 22, 1.0f, 0.5f), zemStatusOk);
    std::vector<float> x(26, 3.0f), y(13);
    ASSERT_EQ(zemsDCTLifter_32f(x.data(), y.data(), st), zemStatusOk);
    EXPECT_NEAR(y[12], 0.5 * 26 * 3, 1e-4);
    for (int p = 0; p < 12; ++p) EXPECT_NEAR(y[p], 0.0, 1e-4);
    ASSERT_EQ(zemsDCTLifterFree_32f(st), zemStatusOk);
    // nLifter = 1: (1 + 0.5 sin(i pi)) val, within rounding of val.
    ASSERT_EQ(zemsDCTLifterInitAlloc_32f(&st, 4, 4, 1, 2.0f), zemStatusOk);
    std::vector<float> e(4, 0.0f);
    e[0] = 1.0f;
    ASSERT_EQ(zemsDCTLifter_32f(e.data(), y.data(), st), zemStatusOk);
    for (int p = 0; p < 4; ++p) EXPECT_NEAR(y[p], 2.0 * cosine(p + 1, 0, 4), 1e-6);
    ASSERT_EQ(zemsDCTLifterFree_32f(st), zemStatusOk);
}

// The 16-bit forms: the float results of the same tables, times 2^-sf, rounded to nearest
// even and saturated.  A float state fed the converted samples gives those float results.
TEST(DCTLifter, IntegerSourcesConvertTheFloatResults) {
    zemtest::Random rnd(2003);
    for (int lenDCT : {5, 26, 600}) {
        const int lenCep = lenDCT < 13 ? lenDCT : 13;
        ZemsDCTLifterState_16s* st16 = nullptr;
        ZemsDCTLifterState_32f* st32 = nullptr;
        ASSERT_EQ(zemsDCTLifterInitAlloc_C0_16s(&st16, lenDCT, lenCep, 22, 1.0f, 1.0f), zemStatusOk);
        ASSERT_EQ(zemsDCTLifterInitAlloc_C0_32f(&st32, lenDCT, lenCep, 22, 1.0f, 1.0f), zemStatusOk);
        const auto x16 = rnd.integers<Zem16s>(lenDCT, -3000, 3000);
        const auto x32 = rnd.integers<Zem32s>(lenDCT, -3000, 3000);
        for (int sf : {-2, 0, 3, 40}) {
            for (int form = 0; form < 2; ++form) {
                std::vector<float> xf(lenDCT);
                for (int j = 0; j < lenDCT; ++j) xf[j] = form ? static_cast<float>(x32[j]) : static_cast<float>(x16[j]);
                std::vector<float> yf(lenCep + 1);
                ASSERT_EQ(zemsDCTLifter_32f(xf.data(), yf.data(), st32), zemStatusOk);
                std::vector<Zem16s> y(lenCep + 1);
                ASSERT_EQ(form ? zemsDCTLifter_32s16s_Sfs(x32.data(), y.data(), st16, sf)
                               : zemsDCTLifter_16s_Sfs(x16.data(), y.data(), st16, sf),
                          zemStatusOk);
                for (int p = 0; p <= lenCep; ++p) {
                    if (lenDCT > 512) {  // summed in chunks: the float value within rounding
                        const double want = std::ldexp(static_cast<double>(yf[p]), -sf);
                        EXPECT_NEAR(y[p], std::fmax(-32768.0, std::fmin(32767.0, want)), 1.0 + std::fabs(want) * 1e-5);
                        continue;
                    }
                    const double want = std::nearbyint(std::ldexp(static_cast<double>(yf[p]), -sf));
                    EXPECT_EQ(y[p], static_cast<Zem16s>(std::fmax(-32768.0, std::fmin(32767.0, want))))
                        << lenDCT << " sf " << sf << " p " << p;
                }
            }
        }
        ASSERT_EQ(zemsDCTLifterFree_16s(st16), zemStatusOk);
        ASSERT_EQ(zemsDCTLifterFree_32f(st32), zemStatusOk);
    }
}

// Sizes, states in buffers of exactly that size, and the integer table of Init_MulC0_16s.
TEST(DCTLifter, SizesAndStatesInCallersBuffers) {
    Zem32s size = 0;
    ASSERT_EQ(zemsDCTLifterGetSize_32f(26, 13, &size), zemStatusOk);
    EXPECT_EQ(size, 8 * 13 + 36 + 4 * 32 * 14 + 4 * 13 + 100);
    ASSERT_EQ(zemsDCTLifterGetSize_16s(26, 13, &size), zemStatusOk);
    EXPECT_EQ(size, 8 * 13 + 36 + 4 * 32 * 14 + 8 * 13 + 144);
    ASSERT_EQ(zemsDCTLifterGetSize_MulC0_16s(26, 13, &size), zemStatusOk);
    EXPECT_EQ(size, 8 * 13 + 144 + 14 * (4 * 26 + 40));
    EXPECT_EQ(zemsDCTLifterGetSize_MulC0_16s(8193, 13, &size), zemStatusBadSize);
    EXPECT_EQ(zemsDCTLifterGetSize_Mul_16s(8193, 13, &size), zemStatusOk);
    EXPECT_EQ(zemsDCTLifterGetSize_C0_32f(13, 14, &size), zemStatusBadSize);

    zemtest::Random rnd(2005);
    for (int lenDCT : {1, 9, 26, 64}) {
        const int lenCep = lenDCT < 12 ? lenDCT : 12;
        const auto x = rnd.uniform<float>(lenDCT, -5, 5);
        std::vector<Zem16s> x16(lenDCT);
        for (int j = 0; j < lenDCT; ++j) x16[j] = static_cast<Zem16s>(x[j] * 100);
        // Float: each Init form in an exact buffer against its InitAlloc twin.
        for (Kind kind : {kPlain, kC0, kMul, kMulC0}) {
            const auto table = rnd.uniform<float>(lenCep, 0.5, 2);
            const Made m = make(kind, lenDCT, lenCep, 22, 1.5f, 0.25f, table);
            ASSERT_EQ(zemsDCTLifterGetSize_32f(lenDCT, lenCep, &size), zemStatusOk);
            std::vector<Zem8u> buffer(size);
            auto* st = reinterpret_cast<ZemsDCTLifterState_32f*>(buffer.data());
            const ZemStatus made = kind == kPlain ? zemsDCTLifterInit_32f(st, lenDCT, lenCep, 22, 1.5f)
                                   : kind == kC0  ? zemsDCTLifterInit_C0_32f(st, lenDCT, lenCep, 22, 1.5f, 0.25f)
                                   : kind == kMul ? zemsDCTLifterInit_Mul_32f(st, lenDCT, table.data(), lenCep)
                                                  : zemsDCTLifterInit_MulC0_32f(st, lenDCT, table.data(), lenCep);
            ASSERT_EQ(made, zemStatusOk);
            std::vector<float> a(m.count), b(m.count);
            ASSERT_EQ(zemsDCTLifter_32f(x.data(), a.data(), m.st), zemStatusOk);
            ASSERT_EQ(zemsDCTLifter_32f(x.data(), b.data(), st), zemStatusOk);
            for (int p = 0; p < m.count; ++p) EXPECT_TRUE(zemtest::sameBits(a[p], b[p]));
            ASSERT_EQ(zemsDCTLifterFree_32f(m.st), zemStatusOk);
        }
        // 16-bit: Init_MulC0_16s converts an integer table; InitAlloc_MulC0_16s copies floats.
        std::vector<Zem32s> itable(lenCep);
        std::vector<float> ftable(lenCep);
        for (int i = 0; i < lenCep; ++i) ftable[i] = static_cast<float>(itable[i] = static_cast<Zem32s>(i % 3 + 1));
        ASSERT_EQ(zemsDCTLifterGetSize_MulC0_16s(lenDCT, lenCep, &size), zemStatusOk);
        std::vector<Zem8u> buffer(size);
        auto* own = reinterpret_cast<ZemsDCTLifterState_16s*>(buffer.data());
        ASSERT_EQ(zemsDCTLifterInit_MulC0_16s(own, lenDCT, itable.data(), lenCep), zemStatusOk);
        ZemsDCTLifterState_16s* alloc = nullptr;
        ASSERT_EQ(zemsDCTLifterInitAlloc_MulC0_16s(&alloc, lenDCT, ftable.data(), lenCep), zemStatusOk);
        std::vector<Zem16s> a(lenCep + 1), b(lenCep + 1);
        ASSERT_EQ(zemsDCTLifter_16s_Sfs(x16.data(), a.data(), own, 0), zemStatusOk);
        ASSERT_EQ(zemsDCTLifter_16s_Sfs(x16.data(), b.data(), alloc, 0), zemStatusOk);
        EXPECT_EQ(a, b);
        ASSERT_EQ(zemsDCTLifterFree_16s(alloc), zemStatusOk);
        ASSERT_EQ(zemsDCTLifterGetSize_16s(lenDCT, lenCep, &size), zemStatusOk);
        std::vector<Zem8u> buffer16(size);
        own = reinterpret_cast<ZemsDCTLifterState_16s*>(buffer16.data());
        ASSERT_EQ(zemsDCTLifterInit_C0_16s(own, lenDCT, lenCep, 22, 1.0f, 1.0f), zemStatusOk);
        ASSERT_EQ(zemsDCTLifter_16s_Sfs(x16.data(), a.data(), own, 1), zemStatusOk);
    }
}

TEST(DCTLifter, StatusesInOrderAndAllocationFailures) {
    ZemsDCTLifterState_32f* st = nullptr;
    ZemsDCTLifterState_16s* st16 = nullptr;
    const float table[4] = {1, 2, 3, 4};
    EXPECT_EQ(zemsDCTLifterInitAlloc_32f(nullptr, 0, 1, 0, 1.0f), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifterInitAlloc_Mul_32f(&st, 0, nullptr, 1), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifterInitAlloc_32f(&st, 4, 5, 22, 1.0f), zemStatusBadSize);
    EXPECT_EQ(zemsDCTLifterInitAlloc_32f(&st, 4, 4, 0, 1.0f), zemStatusBadSize);
    EXPECT_EQ(zemsDCTLifterInitAlloc_C0_16s(&st16, 0, 1, 22, 1.0f, 1.0f), zemStatusBadSize);
    EXPECT_EQ(zemsDCTLifterInit_Mul_16s(nullptr, 4, table, 4), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifterGetSize_32f(4, 4, nullptr), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifterFree_32f(nullptr), zemStatusNullPointer);
    // The Mul forms have no nLifter and store -1; lenCepstrum = lenDCT is allowed.
    ASSERT_EQ(zemsDCTLifterInitAlloc_Mul_32f(&st, 4, table, 4), zemStatusOk);
    float x[4] = {1, 2, 3, 4}, y[5];
    EXPECT_EQ(zemsDCTLifter_32f(x, y, nullptr), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifter_32f(nullptr, y, st), zemStatusNullPointer);
    EXPECT_EQ(zemsDCTLifter_32f(x, nullptr, st), zemStatusNullPointer);
    ASSERT_EQ(zemsDCTLifterFree_32f(st), zemStatusOk);

    // Each allocation failing in turn: NoMemory, the record kept in *state, nothing leaked
    // once it is freed.
    for (int k = 1; k <= 4; ++k) {
        const int64_t live = zemcoreTestLiveAllocations();
        st16 = nullptr;
        zemcoreTestFailAllocation(k);
        const ZemStatus s = zemsDCTLifterInitAlloc_16s(&st16, 26, 13, 22, 1.0f);
        zemcoreTestFailAllocation(0);
        EXPECT_EQ(s, zemStatusNoMemory) << k;
        EXPECT_EQ(st16 == nullptr, k == 1) << k;
        if (st16) zemsDCTLifterFree_16s(st16);
        EXPECT_EQ(zemcoreTestLiveAllocations(), live) << k;
    }
    const int64_t live = zemcoreTestLiveAllocations();
    zemcoreTestFailAllocation(4);
    EXPECT_EQ(zemsDCTLifterInitAlloc_32f(&st, 26, 13, 22, 1.0f), zemStatusOk);  // three blocks only
    zemcoreTestFailAllocation(0);
    zemsDCTLifterFree_32f(st);
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
}
