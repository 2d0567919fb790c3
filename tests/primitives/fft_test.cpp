#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <utility>
#include <vector>

#include "check_order.h"
#include "own.h"
#include "test_support.h"
#include "zemcore.h"

namespace {

using cd = std::complex<double>;

// A plain recursive radix-2 transform in double: the reference.
void referenceDft(std::vector<cd>& a) {
    const size_t n = a.size();
    if (n == 1) return;
    std::vector<cd> even(n / 2), odd(n / 2);
    for (size_t i = 0; i < n / 2; ++i) even[i] = a[2 * i], odd[i] = a[2 * i + 1];
    referenceDft(even);
    referenceDft(odd);
    for (size_t k = 0; k < n / 2; ++k) {
        const cd t = std::polar(1.0, -2.0 * M_PI * double(k) / double(n)) * odd[k];
        a[k] = even[k] + t;
        a[k + n / 2] = even[k] - t;
    }
}

struct Transform {
    ZemsFFTState_R_32f* state = nullptr;
    Transform(int order, int flag) { EXPECT_EQ(ownFFTInitAlloc_R_32f(&state, order, flag, 0), zemStatusOk); }
    ~Transform() { ownFFTFree_R_32f(state); }
};

// Error bound of a float transform: a few units of rounding per pass over log2 N passes,
// relative to the input's energy.
double bound(int order, const std::vector<float>& x) {
    double energy = 0;
    for (float v : x) energy += double(v) * v;
    return 2e-7 * (order + 2) * std::sqrt(energy) + 1e-30;
}

}  // namespace

TEST(RealTransform, EveryOrderLayoutAndFlagAgainstADoubleTransform) {
    zemtest::Random rnd(901);
    for (int order = 0; order <= 16; ++order) {
        const int n = 1 << order;
        const auto x = rnd.uniform<float>(n, -1, 1);
        std::vector<cd> ref(x.begin(), x.end());
        referenceDft(ref);
        const double base = bound(order, x);
        for (int flag : {1, 2, 4, 8}) {
            Transform t(order, flag);
            const double scale = flag == 1 ? 1.0 / n : flag == 4 ? 1.0 / std::sqrt(double(n)) : 1.0;
            std::vector<float> ccs(n + 2, 99.0f), pack(n, 99.0f), perm(n, 99.0f);
            ASSERT_EQ(ownFFTFwd_RToCCS_32f(x.data(), ccs.data(), t.state, nullptr), zemStatusOk);
            ASSERT_EQ(ownFFTFwd_RToPack_32f(x.data(), pack.data(), t.state, nullptr), zemStatusOk);
            ASSERT_EQ(ownFFTFwd_RToPerm_32f(x.data(), perm.data(), t.state, nullptr), zemStatusOk);
            const double tol = base * scale * 4;
            EXPECT_EQ(ccs[1], 0.0f);
            if (n > 1) {
                EXPECT_EQ(ccs[n + 1], 0.0f);  // N = 1 holds R(0), 0 alone
            }
            for (int k = 0; k <= n / 2; ++k) {
                const cd want = ref[k] * scale;
                ASSERT_NEAR(ccs[2 * k], want.real(), tol) << "order " << order << " bin " << k;
                ASSERT_NEAR(ccs[2 * k + 1], want.imag(), tol) << "order " << order << " bin " << k;
            }
            if (n >= 2) {
                EXPECT_EQ(pack[0], ccs[0]);
                EXPECT_EQ(pack[n - 1], ccs[n]);
                EXPECT_EQ(perm[0], ccs[0]);
                EXPECT_EQ(perm[1], ccs[n]);
                for (int i = 2; i < n; ++i) {
                    ASSERT_EQ(pack[i - 1], ccs[i]);
                    ASSERT_EQ(perm[i], ccs[i]);
                }
            }
            // The inverse brings the Pack spectrum back, with its own scaling.
            std::vector<float> back(n);
            ASSERT_EQ(ownFFTInv_PackToR_32f(pack.data(), back.data(), t.state, nullptr), zemStatusOk);
            const double inv = flag == 2 ? 1.0 / n : flag == 4 ? 1.0 / std::sqrt(double(n)) : 1.0;
            const double gain = scale * n * inv;
            const double backTol = base * gain * 8 + 1e-6;
            for (int i = 0; i < n; ++i) ASSERT_NEAR(back[i], x[i] * gain, backTol) << order;
        }
    }
}

TEST(RealTransform, InPlaceBuffersAndConstants) {
    zemtest::Random rnd(903);
    for (int order : {1, 5, 7, 9, 11}) {
        const int n = 1 << order;
        Transform t(order, 8);
        const auto x = rnd.uniform<float>(n, -1, 1);
        std::vector<float> out(n), inPlace(x);
        Zem32s bufSize = -1;
        ASSERT_EQ(ownFFTGetBufSize_R_32f(t.state, &bufSize), zemStatusOk);
        std::vector<Zem8u> buffer(bufSize + 7);
        ASSERT_EQ(ownFFTFwd_RToPerm_32f(x.data(), out.data(), t.state, buffer.data() + 3), zemStatusOk);
        ASSERT_EQ(ownFFTFwd_RToPerm_32f(inPlace.data(), inPlace.data(), t.state, nullptr), zemStatusOk);
        for (int i = 0; i < n; ++i) ASSERT_EQ(out[i], inPlace[i]);
        std::vector<float> back(out);
        ASSERT_EQ(ownFFTInv_PackToR_32f(back.data(), back.data(), t.state, nullptr), zemStatusOk);  // in place
        std::vector<float> ones(n, 1.0f), ccs(n + 2);
        for (int flag : {8, 1, 4}) {
            Transform c(order, flag);
            ASSERT_EQ(ownFFTFwd_RToCCS_32f(ones.data(), ccs.data(), c.state, nullptr), zemStatusOk);
            const float want = flag == 8 ? float(n) : flag == 1 ? 1.0f : std::sqrt(float(n));
            EXPECT_NEAR(ccs[0], want, want * 1e-6);
            for (int i = 1; i < n + 2; ++i) ASSERT_NEAR(ccs[i], 0.0f, want * 1e-6);
        }
    }
}

TEST(RealTransform, SizesAndContexts) {
    Zem32s st, in, bf;
    ASSERT_EQ(ownFFTGetSize_R_32f(4, 8, 0, &st, &in, &bf), zemStatusOk);
    EXPECT_EQ(st, 168);
    EXPECT_EQ(in + bf, 0);
    ASSERT_EQ(ownFFTGetSize_R_32f(8, 8, 0, &st, &in, &bf), zemStatusOk);
    EXPECT_EQ(st, 1056 + 160 + 1024 + 192);  // (h2*8+39)&~31, (h2+35)&~31, ((N*2+31)>>5)*64 + 192
    EXPECT_EQ(in, 0);
    EXPECT_EQ(bf, 1024 + 32);
    ASSERT_EQ(ownFFTGetSize_R_32f(12, 8, 0, &st, &in, &bf), zemStatusOk);
    EXPECT_EQ(in, ((1024 * 4 + 35) & ~31) + 32);
    ASSERT_EQ(ownFFTGetSize_R_16s(8, 8, 0, &st, &in, &bf), zemStatusOk);
    EXPECT_EQ(st, 2432 + 64);
    EXPECT_EQ(bf, 1056 + 256 * 4 + 8 + 32);
    // Init into a caller's buffer of exactly the reported size, from an odd address.
    for (int order : {3, 6, 9, 12}) {
        ASSERT_EQ(ownFFTGetSize_R_32f(order, 1, 0, &st, &in, &bf), zemStatusOk);
        std::vector<Zem8u> mem(st + 32), init(in + 32);
        ZemsFFTState_R_32f* s = nullptr;
        ASSERT_EQ(ownFFTInit_R_32f(&s, order, 1, 0, mem.data() + 1, init.data() + 1), zemStatusOk);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(s) % 32, 0u);
        std::vector<float> x(1 << order, 1.0f), out((1 << order) + 2);
        ASSERT_EQ(ownFFTFwd_RToCCS_32f(x.data(), out.data(), s, nullptr), zemStatusOk);
        EXPECT_NEAR(out[0], 1.0f, 1e-6);
        EXPECT_EQ(ownFFTFree_R_32f(s), zemStatusOk);
    }
    // A transform that needs a buffer allocates it for the call; failure reports NoMemory.
    Transform big(9, 8);
    std::vector<float> x(512), out(512);
    const int64_t live = zemcoreTestLiveAllocations();
    zemcoreTestFailAllocation(1);
    EXPECT_EQ(ownFFTFwd_RToPack_32f(x.data(), out.data(), big.state, nullptr), zemStatusNoMemory);
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
}

TEST(RealTransform, SixteenBitWrapperAndAutocorrelation) {
    zemtest::Random rnd(905);
    for (int order : {0, 1, 4, 8}) {
        const int n = 1 << order;
        ZemsFFTState_R_16s* s16 = nullptr;
        ASSERT_EQ(ownFFTInitAlloc_R_16s(&s16, order, 8, 0), zemStatusOk);
        const auto x = rnd.integers<Zem16s>(n, -3000, 3000);
        std::vector<Zem32s> out(n + 2, 77);
        ASSERT_EQ(ownFFTFwd_RToCCS_16s_Sfs(x.data(), out.data(), s16, 2, nullptr), zemStatusOk);
        std::vector<float> xf(x.begin(), x.end()), ccs(n + 2);
        Transform t(order, 8);
        ownFFTFwd_RToCCS_32f(xf.data(), ccs.data(), t.state, nullptr);
        for (int i = 0; i < n + 2; ++i) ASSERT_NEAR(out[i], ccs[i] / 4, 1.0 + std::fabs(ccs[i]) * 1e-6) << order << " " << i;
        EXPECT_EQ(out[1], 0);
        EXPECT_EQ(out[n + 1], 0);
        EXPECT_EQ(ownFFTFree_R_16s(s16), zemStatusOk);
    }
    const float a[4] = {2, 1, 3, 5}, b0[4] = {4, 2, -1, 3};
    float b[4] = {4, 2, -1, 3};
    ownMulPackConj_32f(a, b, 4);  // bins: 2*4, (1+3i)(2+i), 5*3
    EXPECT_EQ(b[0], 8.0f);
    EXPECT_EQ(b[1], 1 * 2 + 3 * -1.0f);
    EXPECT_EQ(b[2], 3 * 2 - 1 * -1.0f);
    EXPECT_EQ(b[3], 15.0f);
    (void)b0;
    for (int lags : {855, 856, 900}) {
        const int len = 1000;
        const auto x = rnd.uniform<float>(len, -1, 1);
        std::vector<float> r(lags + 5, 9.0f);
        ASSERT_EQ(ownAutoCorr_32f(x.data(), len, r.data(), lags + 5), zemStatusOk);
        for (int lag = 0; lag < lags + 5; ++lag) {
            double want = 0;
            for (int i = 0; i + lag < len; ++i) want += double(x[i]) * x[i + lag];
            ASSERT_NEAR(r[lag], want, 2e-4 * len / 100) << lags << " lag " << lag;
        }
    }
    float r[3];
    const float one[1] = {2.0f};
    ASSERT_EQ(ownAutoCorr_32f(one, 1, r, 3), zemStatusOk);  // lags from len on are zero
    EXPECT_EQ(r[0], 4.0f);
    EXPECT_EQ(r[2], 0.0f);
}

namespace {
// The arguments of the transform's set-up and transforms in one record.
struct FftArgs {
    void* state;  // a state, or where set-up stores it
    int order, flag;
    Zem8u *memState, *memInit;
    Zem32s* size;
    const void* src;
    void* dst;
    int len;
};
using FA = const FftArgs&;
using S32 = ZemsFFTState_R_32f;
using S16 = ZemsFFTState_R_16s;
const float* fl(const void* p) { return static_cast<const float*>(p); }
float* fl(void* p) { return static_cast<float*>(p); }
}  // namespace

// Set-up: the order range, pointers, the flag, then the length limit (orders 28 to 30 pass
// the first test); transforms: the state, its id, then the arrays.  Nothing written.
TEST(RealTransform, ChecksInOrder) {
    alignas(32) static Zem8u mem[40000], init[40000];
    alignas(32) static float src[1024], dst[1100];
    static Zem32s sizes[3];
    static void* made;
    using B = zemtest::Break<FftArgs>;
    const B orderRange{"order outside 0 .. 30", [](FftArgs& a) { a.order = a.order == 29 ? 31 : -1; }, zemStatusBadOrder};
    const B flag{"flag", [](FftArgs& a) { a.flag = 3; }, zemStatusBadFlag};
    const B length{"order 29", [](FftArgs& a) { a.order = a.order < 0 ? a.order : 29; }, zemStatusBadOrder};
    const B stateNull{"state", [](FftArgs& a) { a.state = nullptr; }, zemStatusNullPointer};
    const B memNull{"memState", [](FftArgs& a) { a.memState = nullptr; }, zemStatusNullPointer};
    const B sizeNull{"sizes", [](FftArgs& a) { a.size = nullptr; }, zemStatusNullPointer};
    const FftArgs setup{&made, 8, 1, mem, init, sizes, src, dst, 8};
    const std::vector<zemtest::Region> sizeOut{zemtest::region(sizes, 3)}, memOut{zemtest::region(&made, 1)};
    zemtest::expectCheckOrder<FftArgs>("ownFFTGetSize_R_32f", setup,
        [](FA a) { return ownFFTGetSize_R_32f(a.order, a.flag, 0, a.size, a.size ? a.size + 1 : nullptr, a.size ? a.size + 2 : nullptr); },
        {orderRange, sizeNull, flag, length}, sizeOut);
    zemtest::expectCheckOrder<FftArgs>("ownFFTGetSize_R_16s", setup,
        [](FA a) { return ownFFTGetSize_R_16s(a.order, a.flag, 0, a.size, a.size ? a.size + 1 : nullptr, a.size ? a.size + 2 : nullptr); },
        {orderRange, sizeNull, flag, length}, sizeOut);
    zemtest::expectCheckOrder<FftArgs>("ownFFTInit_R_32f", setup,
        [](FA a) { return ownFFTInit_R_32f(static_cast<S32**>(a.state), a.order, a.flag, 0, a.memState, a.memInit); },
        {stateNull, orderRange, memNull, {"memInit above order 10", [](FftArgs& a) { a.memInit = nullptr, a.order = a.order == 8 ? 11 : a.order; }, zemStatusNullPointer}, flag, length},
        memOut, zemtest::kSkipValidCall);
    zemtest::expectCheckOrder<FftArgs>("ownFFTInit_R_16s", setup,
        [](FA a) { return ownFFTInit_R_16s(static_cast<S16**>(a.state), a.order, a.flag, 0, a.memState, a.memInit); },
        {stateNull, orderRange, memNull, flag, length,
         {"memInit above order 10", [](FftArgs& a) { a.memInit = nullptr, a.order = a.order == 8 ? 11 : a.order; }, zemStatusNullPointer}},
        memOut, zemtest::kSkipValidCall);
    zemtest::expectCheckOrder<FftArgs>("ownFFTInitAlloc_R_32f", setup,
        [](FA a) { return ownFFTInitAlloc_R_32f(static_cast<S32**>(a.state), a.order, a.flag, 0); },
        {stateNull, orderRange, flag, length}, memOut, zemtest::kSkipValidCall);
    zemtest::expectCheckOrder<FftArgs>("ownFFTInitAlloc_R_16s", setup,
        [](FA a) { return ownFFTInitAlloc_R_16s(static_cast<S16**>(a.state), a.order, a.flag, 0); },
        {stateNull, orderRange, flag, length}, memOut, zemtest::kSkipValidCall);
    // Transforms and release on live states and on released ones (id 0: a bad context).
    Transform t(8, 8);
    ZemsFFTState_R_16s *t16 = nullptr, *dead16 = nullptr;
    ZemsFFTState_R_32f* deadState = nullptr;
    alignas(32) static Zem8u deadMem[4096], deadMem16[4096];
    ASSERT_EQ(ownFFTInitAlloc_R_16s(&t16, 8, 8, 0), zemStatusOk);
    ASSERT_EQ(ownFFTInit_R_32f(&deadState, 8, 8, 0, deadMem, nullptr), zemStatusOk);
    ASSERT_EQ(ownFFTInit_R_16s(&dead16, 8, 8, 0, deadMem16, nullptr), zemStatusOk);
    ASSERT_EQ(ownFFTFree_R_32f(deadState), zemStatusOk);
    ASSERT_EQ(ownFFTFree_R_16s(dead16), zemStatusOk);
    const B live{"state", [](FftArgs& a) { a.state = nullptr; }, zemStatusNullPointer};
    const B context{"id", [](FftArgs& a) { a.memState = nullptr; }, zemStatusBadContext};  // picks the released state
    const B srcNull{"src", [](FftArgs& a) { a.src = nullptr; }, zemStatusNullPointer};
    const B dstNull{"dst", [](FftArgs& a) { a.dst = nullptr; }, zemStatusNullPointer};
    const FftArgs run{t.state, 8, 8, mem, nullptr, sizes, src, dst, 8};
    auto s32 = [&](FA a) { return !a.state ? nullptr : a.memState ? static_cast<S32*>(a.state) : deadState; };
    auto s16 = [&](FA a) { return !a.state ? nullptr : a.memState ? t16 : dead16; };
    const std::vector<zemtest::Region> dstOut{zemtest::region(dst, 1100)};
    using C = std::function<ZemStatus(FA)>;
    for (const auto& [name, call] : std::vector<std::pair<const char*, C>>{
             {"ownFFTFwd_RToCCS_32f", [&](FA a) { return ownFFTFwd_RToCCS_32f(fl(a.src), fl(a.dst), s32(a), nullptr); }},
             {"ownFFTFwd_RToPack_32f", [&](FA a) { return ownFFTFwd_RToPack_32f(fl(a.src), fl(a.dst), s32(a), nullptr); }},
             {"ownFFTFwd_RToPerm_32f", [&](FA a) { return ownFFTFwd_RToPerm_32f(fl(a.src), fl(a.dst), s32(a), nullptr); }},
             {"ownFFTInv_PackToR_32f", [&](FA a) { return ownFFTInv_PackToR_32f(fl(a.src), fl(a.dst), s32(a), nullptr); }},
             {"ownFFTFwd_RToCCS_16s_Sfs", [&](FA a) {
                  return ownFFTFwd_RToCCS_16s_Sfs(static_cast<const Zem16s*>(a.src), static_cast<Zem32s*>(a.dst), s16(a), 0, nullptr);
              }}})
        zemtest::expectCheckOrder<FftArgs>(name, run, call, {live, context, srcNull, dstNull}, dstOut);
    zemtest::expectCheckOrder<FftArgs>("ownFFTGetBufSize_R_32f", run,
        [&](FA a) { return ownFFTGetBufSize_R_32f(s32(a), a.size); }, {live, sizeNull, context}, sizeOut);
    EXPECT_EQ(ownFFTFree_R_32f(nullptr), zemStatusNullPointer);
    EXPECT_EQ(ownFFTFree_R_16s(nullptr), zemStatusNullPointer);
    EXPECT_EQ(ownFFTFree_R_32f(deadState), zemStatusBadContext);
    EXPECT_EQ(ownFFTFree_R_16s(dead16), zemStatusBadContext);
    EXPECT_EQ(ownFFTFree_R_16s(t16), zemStatusOk);
    const FftArgs pack{nullptr, 0, 0, nullptr, nullptr, nullptr, src, dst, 8};
    zemtest::expectCheckOrder<FftArgs>("ownMulPackConj_32f", pack, [](FA a) { return ownMulPackConj_32f(fl(a.src), fl(a.dst), a.len); },
        {srcNull, dstNull, {"len", [](FftArgs& a) { a.len = 0; }, zemStatusBadSize}}, dstOut);
    zemtest::expectCheckOrder<FftArgs>("ownAutoCorr_32f", pack, [](FA a) { return ownAutoCorr_32f(fl(a.src), a.len, fl(a.dst), a.order + 4); },
        {srcNull, dstNull, {"len", [](FftArgs& a) { a.len = 0; }, zemStatusBadSize}, {"nLags", [](FftArgs& a) { a.order = -4; }, zemStatusBadSize}}, dstOut);
}

// Set-up in its own memory: every allocation failing in turn gives NoMemory, leaves the
// state pointer alone and leaks nothing (order 12 also takes set-up scratch).
TEST(RealTransform, AllocationFailures) {
    for (int order : {3, 12}) {
        for (int k = 1;; ++k) {
            const int64_t live = zemcoreTestLiveAllocations();
            ZemsFFTState_R_32f* s = nullptr;
            ZemsFFTState_R_16s* s16 = nullptr;
            zemcoreTestFailAllocation(k);
            const ZemStatus a = ownFFTInitAlloc_R_32f(&s, order, 8, 0);
            zemcoreTestFailAllocation(k);
            const ZemStatus b = ownFFTInitAlloc_R_16s(&s16, order, 8, 0);
            zemcoreTestFailAllocation(0);
            EXPECT_TRUE(a == zemStatusOk || (a == zemStatusNoMemory && !s)) << k;
            EXPECT_TRUE(b == zemStatusOk || (b == zemStatusNoMemory && !s16)) << k;
            if (s) ownFFTFree_R_32f(s);
            if (s16) ownFFTFree_R_16s(s16);
            EXPECT_EQ(zemcoreTestLiveAllocations(), live) << k;
            if (a == zemStatusOk && b == zemStatusOk) break;
        }
    }
}
