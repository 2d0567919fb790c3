#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <vector>

#include "check_order.h"
#include "test_support.h"
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
                const Made m = make(kind, lenDCT, lenCep, kind == kPlain ? 22 : 21, 1.5f, 0.7f, table);
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

namespace {
// One record for the arguments of every lifter export, and adapters from each signature.
struct LifterArgs {
    void* state;  // a state, a buffer for Init, or where InitAlloc stores the state
    const void* table;
    int lenDCT, lenCepstrum, nLifter;
    Zem32s* size;
    const void* src;
    void* dst;
};
using A = const LifterArgs&;
using Call = std::function<ZemStatus(A)>;
Call call(ZemStatus (*f)(int, int, Zem32s*)) { return [f](A a) { return f(a.lenDCT, a.lenCepstrum, a.size); }; }
template <class S>
Call call(ZemStatus (*f)(S, int, int, int, Zem32f)) {
    return [f](A a) { return f(static_cast<S>(a.state), a.lenDCT, a.lenCepstrum, a.nLifter, 1.0f); };
}
template <class S>
Call call(ZemStatus (*f)(S, int, int, int, Zem32f, Zem32f)) {
    return [f](A a) { return f(static_cast<S>(a.state), a.lenDCT, a.lenCepstrum, a.nLifter, 1.0f, 1.0f); };
}
template <class S, class T>
Call call(ZemStatus (*f)(S, int, const T*, int)) {
    return [f](A a) { return f(static_cast<S>(a.state), a.lenDCT, static_cast<const T*>(a.table), a.lenCepstrum); };
}
template <class S, class X, class Y>
Call call(ZemStatus (*f)(const X*, Y*, const S*)) {
    return [f](A a) { return f(static_cast<const X*>(a.src), static_cast<Y*>(a.dst), static_cast<const S*>(a.state)); };
}
template <class S, class X>
Call call(ZemStatus (*f)(const X*, Zem16s*, const S*, int)) {
    return [f](A a) { return f(static_cast<const X*>(a.src), static_cast<Zem16s*>(a.dst), static_cast<const S*>(a.state), 0); };
}
}  // namespace

// Every lifter export, in its check order, with nothing written: sizes and creation (state
// and table, then lengths and nLifter), and evaluation (state, src, dst).
TEST(DCTLifter, ChecksInOrder) {
    alignas(32) static Zem8u buffer[4096];
    alignas(32) static Zem32s src[32], dst[32], size;
    static void* made;
    const float table[4] = {1, 2, 3, 4};
    using B = zemtest::Break<LifterArgs>;
    const B sizeNull{"size", [](LifterArgs& a) { a.size = nullptr; }, zemStatusNullPointer};
    const B stateNull{"state", [](LifterArgs& a) { a.state = nullptr; }, zemStatusNullPointer};
    const B tableNull{"lifterTable", [](LifterArgs& a) { a.table = nullptr; }, zemStatusNullPointer};
    const std::vector<B> lengths{{"lenDCT", [](LifterArgs& a) { a.lenDCT = 0; }, zemStatusBadSize},
                                 {"lenCepstrum", [](LifterArgs& a) { a.lenCepstrum = 0; }, zemStatusBadSize},
                                 {"lenCepstrum above lenDCT", [](LifterArgs& a) { a.lenCepstrum = 5; }, zemStatusBadSize}};
    const B nLifter{"nLifter", [](LifterArgs& a) { a.nLifter = 0; }, zemStatusBadSize};
    auto with = [&](std::vector<B> first, std::vector<B> last) {
        first.insert(first.end(), lengths.begin(), lengths.end());
        first.insert(first.end(), last.begin(), last.end());
        return first;
    };
    const LifterArgs inBuffer{buffer, table, 4, 3, 22, &size, src, dst}, allocated{&made, table, 4, 3, 22, &size, src, dst};
    const auto sizes = with({sizeNull}, {}), plain = with({stateNull}, {nLifter}), mul = with({stateNull, tableNull}, {});
    const std::vector<zemtest::Region> sizeOut{zemtest::region(&size, 1)}, bufferOut{zemtest::region(buffer, sizeof buffer)},
        madeOut{zemtest::region(&made, 1)};
    struct Row {
        const char* name;
        Call call;
        const std::vector<B>& breaks;
        bool alloc;
    };
    const std::vector<Row> rows{
        {"zemsDCTLifterGetSize_32f", call(zemsDCTLifterGetSize_32f), sizes, false},
        {"zemsDCTLifterGetSize_C0_32f", call(zemsDCTLifterGetSize_C0_32f), sizes, false},
        {"zemsDCTLifterGetSize_Mul_32f", call(zemsDCTLifterGetSize_Mul_32f), sizes, false},
        {"zemsDCTLifterGetSize_MulC0_32f", call(zemsDCTLifterGetSize_MulC0_32f), sizes, false},
        {"zemsDCTLifterGetSize_16s", call(zemsDCTLifterGetSize_16s), sizes, false},
        {"zemsDCTLifterGetSize_C0_16s", call(zemsDCTLifterGetSize_C0_16s), sizes, false},
        {"zemsDCTLifterGetSize_Mul_16s", call(zemsDCTLifterGetSize_Mul_16s), sizes, false},
        {"zemsDCTLifterGetSize_MulC0_16s", call(zemsDCTLifterGetSize_MulC0_16s), sizes, false},
        {"zemsDCTLifterInit_32f", call(zemsDCTLifterInit_32f), plain, false},
        {"zemsDCTLifterInit_C0_32f", call(zemsDCTLifterInit_C0_32f), plain, false},
        {"zemsDCTLifterInit_Mul_32f", call(zemsDCTLifterInit_Mul_32f), mul, false},
        {"zemsDCTLifterInit_MulC0_32f", call(zemsDCTLifterInit_MulC0_32f), mul, false},
        {"zemsDCTLifterInit_16s", call(zemsDCTLifterInit_16s), plain, false},
        {"zemsDCTLifterInit_C0_16s", call(zemsDCTLifterInit_C0_16s), plain, false},
        {"zemsDCTLifterInit_Mul_16s", call(zemsDCTLifterInit_Mul_16s), mul, false},
        {"zemsDCTLifterInit_MulC0_16s", call(zemsDCTLifterInit_MulC0_16s), mul, false},
        {"zemsDCTLifterInitAlloc_32f", call(zemsDCTLifterInitAlloc_32f), plain, true},
        {"zemsDCTLifterInitAlloc_C0_32f", call(zemsDCTLifterInitAlloc_C0_32f), plain, true},
        {"zemsDCTLifterInitAlloc_Mul_32f", call(zemsDCTLifterInitAlloc_Mul_32f), mul, true},
        {"zemsDCTLifterInitAlloc_MulC0_32f", call(zemsDCTLifterInitAlloc_MulC0_32f), mul, true},
        {"zemsDCTLifterInitAlloc_16s", call(zemsDCTLifterInitAlloc_16s), plain, true},
        {"zemsDCTLifterInitAlloc_C0_16s", call(zemsDCTLifterInitAlloc_C0_16s), plain, true},
        {"zemsDCTLifterInitAlloc_Mul_16s", call(zemsDCTLifterInitAlloc_Mul_16s), mul, true},
        {"zemsDCTLifterInitAlloc_MulC0_16s", call(zemsDCTLifterInitAlloc_MulC0_16s), mul, true},
    };
    // The valid InitAlloc calls are left out: their states would need releasing.
    for (const Row& r : rows)
        zemtest::expectCheckOrder<LifterArgs>(r.name, r.alloc ? allocated : inBuffer, r.call, r.breaks,
                                              r.alloc ? madeOut : &r.breaks == &sizes ? sizeOut : bufferOut,
                                              r.alloc ? zemtest::kSkipValidCall : zemStatusOk);
    // Evaluation on states in a buffer; Free refuses a null state.
    const std::vector<B> eval{stateNull, {"src", [](LifterArgs& a) { a.src = nullptr; }, zemStatusNullPointer},
                              {"dst", [](LifterArgs& a) { a.dst = nullptr; }, zemStatusNullPointer}};
    ASSERT_EQ(zemsDCTLifterInit_32f(reinterpret_cast<ZemsDCTLifterState_32f*>(buffer), 4, 3, 22, 1.0f), zemStatusOk);
    zemtest::expectCheckOrder<LifterArgs>("zemsDCTLifter_32f", inBuffer, call(zemsDCTLifter_32f), eval, {zemtest::region(dst, 32)});
    ASSERT_EQ(zemsDCTLifterInit_16s(reinterpret_cast<ZemsDCTLifterState_16s*>(buffer), 4, 3, 22, 1.0f), zemStatusOk);
    zemtest::expectCheckOrder<LifterArgs>("zemsDCTLifter_16s_Sfs", inBuffer, call(zemsDCTLifter_16s_Sfs), eval, {zemtest::region(dst, 32)});
    zemtest::expectCheckOrder<LifterArgs>("zemsDCTLifter_32s16s_Sfs", inBuffer, call(zemsDCTLifter_32s16s_Sfs), eval, {zemtest::region(dst, 32)});
}

// Lengths at the end of int: sizes that cannot be represented are refused, computed
// without overflow; an allocating form reports NoMemory.  The creators' allocation walks
// are the sweep's (tests/sweep/table_frontend.cpp).
TEST(DCTLifter, ExtremeLengths) {
    Zem32s size = -7;
    for (auto query : {zemsDCTLifterGetSize_32f, zemsDCTLifterGetSize_C0_32f, zemsDCTLifterGetSize_Mul_32f,
                       zemsDCTLifterGetSize_MulC0_32f, zemsDCTLifterGetSize_16s, zemsDCTLifterGetSize_C0_16s,
                       zemsDCTLifterGetSize_Mul_16s})
        EXPECT_EQ(query(INT32_MAX, INT32_MAX, &size), zemStatusBadSize);
    EXPECT_EQ(size, -7);
    ZemsDCTLifterState_32f* st = nullptr;
    ZemsDCTLifterState_16s* st16 = nullptr;
    EXPECT_EQ(zemsDCTLifterInitAlloc_32f(&st, INT32_MAX, INT32_MAX, 22, 1.0f), zemStatusNoMemory);
    EXPECT_EQ(zemsDCTLifterInitAlloc_C0_16s(&st16, INT32_MAX, 1, 22, 1.0f, 1.0f), zemStatusNoMemory);
    EXPECT_TRUE(st == nullptr && st16 == nullptr);
    alignas(32) static Zem8u buffer[256];
    EXPECT_EQ(zemsDCTLifterInit_16s(reinterpret_cast<ZemsDCTLifterState_16s*>(buffer), INT32_MAX, INT32_MAX, 22, 1.0f),
              zemStatusBadSize);
}
