// exp(-x^2), sin(x)/x and the floored reciprocal square root against scalar renderings of
// their stated precision per form; the reciprocal square root's estimate is checked for
// its accuracy and for giving the same bits as a plain scalar evaluation, which is what
// makes the AVX2 and the SSE2 builds agree.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

namespace {

using zemtest::Buffer;
using zemtest::sameBits;

template <class T>
Buffer<T> at(const std::vector<T>& v, size_t offset) {
    Buffer<T> b(v.size(), offset);
    std::copy(v.begin(), v.end(), b.begin());
    return b;
}

// ---- Check orders ----------------------------------------------------------------------------

struct A {
    const float* f;
    float* fo;
    const double* d;
    double* dOut;
    const int32_t* i;
    int32_t* io;
    int16_t* so;
    int len = 8;
    float valF = 0.5f;
    int32_t valI = 2;
};

TEST(SpecialFunctionChecks, OrderTable) {
    float f[8] = {1, 2, 3, 4, 5, 6, 7, 8}, fo[8];
    double d[8] = {1, 2, 3, 4, 5, 6, 7, 8}, dOut[8];
    int32_t i[8] = {1, 2, 3, 4, 5, 6, 7, 8}, io[8];
    int16_t so[8];
    A v{f, fo, d, dOut, i, io, so};
    const std::vector<zemtest::Region> outs = {zemtest::region(fo, 8), zemtest::region(dOut, 8),
                                               zemtest::region(io, 8), zemtest::region(so, 8)};
    using B = zemtest::Break<A>;
    const B len0{"len 0", [](A& a) { a.len = 0; }, zemStatusBadSize};
    const B lenMin{"len INT_MIN", [](A& a) { a.len = INT32_MIN; }, zemStatusBadSize};
    const B nf{"src", [](A& a) { a.f = nullptr; }, zemStatusNullPointer};
    const B nfo{"dst", [](A& a) { a.fo = nullptr; }, zemStatusNullPointer};
    const B nd{"src", [](A& a) { a.d = nullptr; }, zemStatusNullPointer};
    const B ndo{"dst", [](A& a) { a.dOut = nullptr; }, zemStatusNullPointer};
    const B ni{"src", [](A& a) { a.i = nullptr; }, zemStatusNullPointer};
    const B nio{"srcDst", [](A& a) { a.io = nullptr; }, zemStatusNullPointer};
    const B nso{"dst", [](A& a) { a.so = nullptr; }, zemStatusNullPointer};
    const B valF0{"val 0", [](A& a) { a.valF = 0.0f; }, zemStatusBadArg};
    const B valFNaN{"val NaN", [](A& a) { a.valF = NAN; }, zemStatusBadArg};
    const B valI0{"val -1", [](A& a) { a.valI = -1; }, zemStatusBadArg};
    auto row = [&](const char* name, std::function<ZemStatus(const A&)> call, std::vector<B> breaks) {
        zemtest::expectCheckOrder<A>(name, v, call, breaks, outs, zemtest::kSkipValidCall);
    };
    row("zemsExpNegSqr_32f", [](const A& a) { return zemsExpNegSqr_32f(a.f, a.fo, a.len); }, {nf, nfo, len0});
    row("zemsExpNegSqr_32f_I", [](const A& a) { return zemsExpNegSqr_32f_I(a.fo, a.len); }, {nfo, lenMin});
    row("zemsExpNegSqr_32f64f", [](const A& a) { return zemsExpNegSqr_32f64f(a.f, a.dOut, a.len); },
        {nf, ndo, len0});
    row("zemsExpNegSqr_64f", [](const A& a) { return zemsExpNegSqr_64f(a.d, a.dOut, a.len); }, {nd, ndo, len0});
    row("zemsExpNegSqr_64f_I", [](const A& a) { return zemsExpNegSqr_64f_I(a.dOut, a.len); }, {ndo, len0});
    row("zemsSinC_32f", [](const A& a) { return zemsSinC_32f(a.f, a.fo, a.len); }, {nf, nfo, len0});
    row("zemsSinC_32f_I", [](const A& a) { return zemsSinC_32f_I(a.fo, a.len); }, {nfo, len0});
    row("zemsSinC_32f64f", [](const A& a) { return zemsSinC_32f64f(a.f, a.dOut, a.len); }, {nf, ndo, lenMin});
    row("zemsSinC_64f", [](const A& a) { return zemsSinC_64f(a.d, a.dOut, a.len); }, {nd, ndo, len0});
    row("zemsSinC_64f_I", [](const A& a) { return zemsSinC_64f_I(a.dOut, a.len); }, {ndo, len0});
    row("zemsRecSqrt_32f", [](const A& a) { return zemsRecSqrt_32f(a.fo, a.len, a.valF); }, {nfo, len0, valF0});
    row("zemsRecSqrt_32f (NaN)", [](const A& a) { return zemsRecSqrt_32f(a.fo, a.len, a.valF); },
        {nfo, lenMin, valFNaN});
    row("zemsRecSqrt_32s_Sfs", [](const A& a) { return zemsRecSqrt_32s_Sfs(a.io, a.len, a.valI, 0); },
        {nio, len0, valI0});
    row("zemsRecSqrt_32s16s_Sfs", [](const A& a) { return zemsRecSqrt_32s16s_Sfs(a.i, a.so, a.len, a.valI, 0); },
        {ni, nso, len0, valI0});
}

// ---- exp(-x^2) and sin(x)/x ----------------------------------------------------------------------

TEST(ExpNegSqr, PrecisionPerForm) {
    zemtest::Random rnd(51);
    for (int len : zemtest::testLengths()) {
        std::vector<float> x = rnd.uniform<float>(len, -6.0, 6.0);
        x[0] = len % 2 ? 1e20f : -0.0f;  // a large x gives 0, without a status
        std::vector<double> xd = rnd.uniform<double>(len, -30.0, 30.0);
        for (size_t off : {size_t{0}, size_t{4}}) {
            Buffer<float> src = at(x, off), dst(len, off), io = at(x, off);
            // Doubles keep their natural alignment: 8 bytes past a 16-byte boundary at most.
            Buffer<double> d64(len, 2 * off), srcD = at(xd, 2 * off), dD(len, 2 * off), ioD = at(xd, 2 * off), w(len, 2 * off);
            ASSERT_EQ(zemsExpNegSqr_32f(src.data(), dst.data(), len), zemStatusOk);
            ASSERT_EQ(zemsExpNegSqr_32f_I(io.data(), len), zemStatusOk);
            ASSERT_EQ(zemsExpNegSqr_32f64f(src.data(), w.data(), len), zemStatusOk);
            ASSERT_EQ(zemsExpNegSqr_64f(srcD.data(), dD.data(), len), zemStatusOk);
            ASSERT_EQ(zemsExpNegSqr_64f_I(ioD.data(), len), zemStatusOk);
            for (int i = 0; i < len; ++i) {
                const float want = static_cast<float>(std::exp(static_cast<double>(0.0f - x[i] * x[i])));
                ASSERT_TRUE(sameBits(dst[i], want)) << x[i];
                ASSERT_TRUE(sameBits(io[i], want)) << x[i];
                const double xw = x[i];
                ASSERT_TRUE(sameBits(w[i], std::exp(-(xw * xw)))) << x[i];
                ASSERT_TRUE(sameBits(dD[i], std::exp(-(xd[i] * xd[i])))) << xd[i];
                ASSERT_TRUE(sameBits(ioD[i], dD[i]));
            }
        }
    }
    const float big = 1e10f;
    float r = 1;
    EXPECT_EQ(zemsExpNegSqr_32f(&big, &r, 1), zemStatusOk);
    EXPECT_EQ(r, 0.0f);
}

TEST(SinC, PrecisionPerFormZerosAndNaN) {
    zemtest::Random rnd(52);
    for (int len : {1, 7, 8, 9, 63, 1025}) {
        std::vector<float> x = rnd.uniform<float>(len, -40.0, 40.0);
        std::vector<double> xd = rnd.uniform<double>(len, -40.0, 40.0);
        std::vector<float> out(len), io = x;
        std::vector<double> w(len), dD(len), ioD = xd;
        ASSERT_EQ(zemsSinC_32f(x.data(), out.data(), len), zemStatusOk);
        ASSERT_EQ(zemsSinC_32f_I(io.data(), len), zemStatusOk);
        ASSERT_EQ(zemsSinC_32f64f(x.data(), w.data(), len), zemStatusOk);
        ASSERT_EQ(zemsSinC_64f(xd.data(), dD.data(), len), zemStatusOk);
        ASSERT_EQ(zemsSinC_64f_I(ioD.data(), len), zemStatusOk);
        for (int i = 0; i < len; ++i) {
            const float want = static_cast<float>(std::sin(static_cast<double>(x[i]))) / x[i];
            ASSERT_TRUE(sameBits(out[i], want)) << x[i];
            ASSERT_TRUE(sameBits(io[i], want)) << x[i];
            ASSERT_TRUE(sameBits(w[i], std::sin(static_cast<double>(x[i])) / static_cast<double>(x[i])));
            ASSERT_TRUE(sameBits(dD[i], std::sin(xd[i]) / xd[i]));
            ASSERT_TRUE(sameBits(ioD[i], dD[i]));
        }
    }
    const float special[] = {0.0f, -0.0f, NAN};
    float r[3];
    double rd[3];
    const double specialD[] = {0.0, -0.0, NAN};
    ASSERT_EQ(zemsSinC_32f(special, r, 3), zemStatusOk);
    ASSERT_EQ(zemsSinC_64f(specialD, rd, 3), zemStatusOk);
    EXPECT_EQ(r[0], 1.0f);
    EXPECT_EQ(r[1], 1.0f);
    EXPECT_TRUE(std::isnan(r[2]));
    EXPECT_EQ(rd[1], 1.0);
    EXPECT_TRUE(std::isnan(rd[2]));
}

// ---- Reciprocal square root --------------------------------------------------------------------

// The library's estimate written plainly, one element at a time: a bit-pattern seed and
// two Newton steps, denormals lifted by 2^24.
float estimate(float x) {
    if (x == INFINITY) return 0.0f;
    const bool tiny = x < 0x1p-126f;
    const float xs = tiny ? x * 0x1p24f : x;
    float y = std::bit_cast<float>(0x5f375a86u - (std::bit_cast<uint32_t>(xs) >> 1));
    const float h = xs * 0.5f;
    y = y * (1.5f - h * y * y);
    y = y * (1.5f - h * y * y);
    return tiny ? y * 0x1p12f : y;
}
float newtonA(float x, float y0) { return 0.5f * y0 * (3.0f - x * y0 * y0); }
float newtonB(float x, float y0) { return (x * y0 * y0 - 3.0f) * y0 * -0.5f; }

TEST(RecSqrt, EstimateIsAccurateAndTheSameBitsAsScalarCode) {
    // Over the whole float range, denormals included: the estimate has more than 12 bits
    // and the vector code gives exactly the plain scalar evaluation.
    zemtest::Random rnd(53);
    std::vector<float> x(5003);
    for (size_t i = 0; i < x.size(); ++i)
        x[i] = std::ldexp(static_cast<float>(rnd.uniform<double>(1, 1.0, 2.0)[0]), static_cast<int>(rnd.integer(-149, 127)));
    x[1] = 1.0f, x[2] = 4.0f, x[3] = 0x1p-149f, x[4] = 3.4e38f;
    for (float v : x) {
        const double exact = 1.0 / std::sqrt(static_cast<double>(v));
        ASSERT_LT(std::fabs(estimate(v) - exact) / exact, 0x1p-12) << v;
        ASSERT_LT(std::fabs(newtonA(v, estimate(v)) - exact) / exact, 0x1p-21) << v;
    }
    const float val = 0x1p-149f;
    for (size_t off : {size_t{0}, size_t{4}, size_t{8}}) {
        Buffer<float> b = at(x, off);
        ASSERT_EQ(zemsRecSqrt_32f(b.data(), static_cast<int>(x.size()), val), zemStatusOk);
        for (size_t i = 0; i < x.size(); ++i) {
            const float want = x[i] <= val ? val : newtonA(x[i], estimate(x[i]));
            ASSERT_TRUE(sameBits(b[i], want)) << x[i];
        }
    }
}

TEST(RecSqrt, FloorGivesValItselfAndWarnsOnlyWhenEveryElementIsFloored) {
    std::vector<float> all = {0.5f, -3.0f, 0.25f, NAN, 0.0f, 0.5f, 0.1f, 0.2f, 0.3f};
    EXPECT_EQ(zemsRecSqrt_32f(all.data(), 9, 0.5f), zemStatusInverseZeroWarning);
    for (float y : all) EXPECT_EQ(y, 0.5f);
    std::vector<float> one = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 4.0f};
    EXPECT_EQ(zemsRecSqrt_32f(one.data(), 9, 0.5f), zemStatusOk);
    EXPECT_EQ(one[0], 0.5f);
    EXPECT_NEAR(one[8], 0.5f, 1e-6f);
    // Integer forms replace only the elements below val.
    std::vector<int32_t> eq = {3, 3, 3};
    std::vector<int16_t> d(3);
    EXPECT_EQ(zemsRecSqrt_32s16s_Sfs(eq.data(), d.data(), 3, 3, -10), zemStatusOk);
    const int32_t below[] = {1, 2, 0};
    EXPECT_EQ(zemsRecSqrt_32s16s_Sfs(below, d.data(), 3, 3, 0), zemStatusInverseZeroWarning);
    EXPECT_EQ(d[2], 3);
    std::vector<float> untouched = {7.0f};
    EXPECT_EQ(zemsRecSqrt_32f(untouched.data(), 1, -1.0f), zemStatusBadArg);
    EXPECT_EQ(untouched[0], 7.0f);
}

// The integer forms, per route: rule A (floor at or below) converted with rounding to
// nearest, or rule B (floor below) scaled, limited and truncated.
TEST(RecSqrt, IntegerRoutesByAlignmentRoundDifferently) {
    zemtest::Random rnd(54);
    for (int len : {1, 3, 8, 9, 17, 100, 1025}) {
        std::vector<int32_t> x = rnd.integers<int32_t>(len, -5, 2000000);
        for (int32_t val : {1, 7, 1000}) {
            x[0] = val;  // at the floor: replaced by rule A, computed by rule B
            for (int sf : {-200, -40, -12, -3, 0, 2, 200}) {
                const float f = std::ldexp(1.0f, -std::clamp(sf, -128, 150));
                std::vector<int32_t> wantA(len), wantB(len);
                std::vector<int16_t> want16(len);
                for (int i = 0; i < len; ++i) {
                    const float xf = static_cast<float>(x[i]), v = static_cast<float>(val);
                    const float a = xf <= v ? v : newtonA(xf, estimate(xf));
                    const float b = xf < v ? v : newtonB(xf, estimate(xf));
                    const float ra = a * f;  // the conversion's scale steps are exact here
                    wantA[i] = ra >= 2147483648.0f ? INT32_MAX : static_cast<int32_t>(std::nearbyint(ra));
                    const float rb = f * b;
                    wantB[i] = rb >= 2147483648.0f ? INT32_MIN : static_cast<int32_t>(std::trunc(rb));
                    want16[i] = static_cast<int16_t>(std::trunc(std::fmin(rb, 32767.0f)));
                }
                Buffer<int32_t> aligned(len, 16), unaligned(len, 4);
                for (int i = 0; i < len; ++i) aligned[i] = unaligned[i] = x[i];
                std::vector<int16_t> d16(len);
                zemsRecSqrt_32s_Sfs(aligned.data(), len, val, sf);
                zemsRecSqrt_32s_Sfs(unaligned.data(), len, val, sf);
                zemsRecSqrt_32s16s_Sfs(x.data(), d16.data(), len, val, sf);
                for (int i = 0; i < len; ++i) {
                    ASSERT_EQ(aligned[i], wantA[i]) << x[i] << " sf " << sf;
                    ASSERT_EQ(unaligned[i], wantB[i]) << x[i] << " sf " << sf;
                    ASSERT_EQ(d16[i], want16[i]) << x[i] << " sf " << sf;
                }
            }
        }
    }
    // 1/sqrt(3) * 8 = 4.62: rounded on the aligned route, truncated on the other.
    Buffer<int32_t> a(1, 0), u(1, 4);
    a[0] = 3, u[0] = 3;
    zemsRecSqrt_32s_Sfs(a.data(), 1, 1, -3);
    zemsRecSqrt_32s_Sfs(u.data(), 1, 1, -3);
    EXPECT_EQ(a[0], 5);
    EXPECT_EQ(u[0], 4);
    const int32_t one = 1;
    int16_t r;
    ASSERT_EQ(zemsRecSqrt_32s16s_Sfs(&one, &r, 1, 1, -10), zemStatusOk);
    EXPECT_NEAR(r, 1024, 1);
}

}  // namespace
