// LP parameter conversions: check orders; cepstrum recursions against their stated
// arithmetic and a closed form; reflection round trips; area-ratio, LAR and tilt rules;
// LSP search and expansion (closed forms, round trips, refusals); the LP spectrum of a
// one-pole filter; 16-bit forms; stack thresholds and allocation failure.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <vector>

#include "alloc_walk.h"
#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

using zemtest::Break;
constexpr float kInf = std::numeric_limits<float>::infinity();

// A stable predictor of the given order: the product of damped resonators (and one real
// pole for odd orders), in the A(z) = 1 + a[0] z^-1 + ... convention.
std::vector<float> stablePredictor(int n, double radius = 0.9) {
    std::vector<double> poly{1.0};
    auto mul = [&](std::vector<double> f) {
        std::vector<double> r(poly.size() + f.size() - 1, 0.0);
        for (size_t i = 0; i < poly.size(); ++i)
            for (size_t j = 0; j < f.size(); ++j) r[i + j] += poly[i] * f[j];
        poly = r;
    };
    for (int k = 0; k < n / 2; ++k) {
        const double w = 0.3 + 2.6 * (k + 0.5) / (n / 2 + 1);
        mul({1.0, -2 * radius * std::cos(w), radius * radius});
    }
    if (n % 2) mul({1.0, -0.5});
    return std::vector<float>(poly.begin() + 1, poly.end());
}

// The recursion as stated, for either direction.
std::vector<float> cepstralReference(const std::vector<float>& x) {
    const int n = static_cast<int>(x.size());
    std::vector<float> y(n);
    for (int i = 1; i <= n; ++i) {
        float s = 0;
        for (int j = 1; j < i; ++j) s += float(i - j) * x[j - 1] * y[i - j - 1];
        y[i - 1] = -x[i - 1] - (n < 22 ? s * (1.0f / float(i)) : s / float(i));
    }
    return y;
}

// One argument set serves every conversion: a null src or dst break nulls the pointer of
// either type, and each row lists its breaks in its export's check order.
struct ConvArgs {
    const float* src;
    const Zem16s* s16;
    float* dst;
    Zem16s* d16;
    Zem32s* d32;
    const float* src2 = nullptr;
    int n = 2;
    float limit = 0.9f;
    Zem32s* roots = nullptr;
    int nGrid = 2, nBisect = 4, len = 3, order = 1;
};

TEST(LPConversions, CheckOrders) {
    static const float src[8] = {0.5f, 0.2f}, src2[8] = {0.2f, 0.3f}, lspIn[8] = {-0.5f, 0.2f};
    static const Zem16s s16[8] = {3000, 2000}, t16[8] = {50, 10};
    static float dst[8];
    static Zem16s d16[8];
    static Zem32s d32[8], roots;
    using B = Break<ConvArgs>;
    using C = std::function<ZemStatus(const ConvArgs&)>;
    const B srcNull{"src", [](ConvArgs& a) { a.src = nullptr, a.s16 = nullptr; }, zemStatusNullPointer};
    const B dstNull{"dst", [](ConvArgs& a) { a.dst = nullptr, a.d16 = nullptr, a.d32 = nullptr; }, zemStatusNullPointer};
    const B n0{"n", [](ConvArgs& a) { a.n = 0; }, zemStatusBadSize};
    const B nMin{"n", [](ConvArgs& a) { a.n = INT32_MIN; }, zemStatusBadSize};
    auto pair = [](ZemStatus (*fn)(const Zem32f*, Zem32f*, int)) { return C([fn](const ConvArgs& a) { return fn(a.src, a.dst, a.n); }); };
    struct Row {
        const char* name;
        C call;
        std::vector<B> breaks;
        int validStatus = zemStatusOk;
    };
    const std::vector<Row> rows{
        {"LPToCepstrum_32f", pair(zemsLPToCepstrum_32f), {srcNull, dstNull, n0}},
        {"CepstrumToLP_32f", pair(zemsCepstrumToLP_32f), {srcNull, dstNull, n0}},
        {"LPToReflection_32f", pair(zemsLPToReflection_32f), {srcNull, dstNull, n0}},
        {"ReflectionToLP_32f", pair(zemsReflectionToLP_32f), {srcNull, dstNull, n0}},
        {"ReflectionToAR_32f", pair(zemsReflectionToAR_32f), {srcNull, dstNull, n0}},
        {"ReflectionToTrueAR_32f", pair(zemsReflectionToTrueAR_32f), {srcNull, dstNull, n0}},
        {"ReflectionToLAR_32f", [](const ConvArgs& a) { return zemsReflectionToLAR_32f(a.src, a.dst, a.n, a.limit); },
         {srcNull, {"n", [](ConvArgs& a) { a.n = -1; }, zemStatusBadSize}, {"limit 1", [](ConvArgs& a) { a.limit = 1.0f; }, zemStatusOutOfRange}}},
        // A limit of 0 is refused after the pointers.
        {"ReflectionToLAR_32f limit 0", [](const ConvArgs& a) { return zemsReflectionToLAR_32f(a.src, a.dst, a.n, 0.0f); }, {dstNull}, zemStatusOutOfRange},
        {"ReflectionToTilt_32f", [](const ConvArgs& a) { return zemsReflectionToTilt_32f(a.src, a.src2, a.dst, a.n); },
         {{"src2", [](ConvArgs& a) { a.src2 = nullptr; }, zemStatusNullPointer}, n0}},
        {"ReflectionToAbsTilt_32f", [](const ConvArgs& a) { return zemsReflectionToAbsTilt_32f(a.src, a.src2, a.dst, a.n); },
         {{"src2", [](ConvArgs& a) { a.src2 = nullptr; }, zemStatusNullPointer}, n0}},
        {"LPToCepstrum_16s", [](const ConvArgs& a) { return zemsLPToCepstrum_16s_Sfs(a.s16, a.d16, a.n, -12); }, {srcNull, dstNull, nMin}},
        {"CepstrumToLP_16s", [](const ConvArgs& a) { return zemsCepstrumToLP_16s_Sfs(a.s16, a.d16, a.n, -12); }, {srcNull, dstNull, nMin}},
        {"LPToReflection_16s", [](const ConvArgs& a) { return zemsLPToReflection_16s_Sfs(a.s16, a.d16, a.n, -12); }, {srcNull, dstNull, nMin}},
        {"ReflectionToLP_16s", [](const ConvArgs& a) { return zemsReflectionToLP_16s_Sfs(a.s16, a.d16, a.n, -12); }, {srcNull, dstNull, nMin}},
        {"ReflectionToAR_16s", [](const ConvArgs& a) { return zemsReflectionToAR_16s_Sfs(a.s16, -12, a.d16, a.n, -8); }, {srcNull, dstNull, nMin}},
        {"ReflectionToTrueAR_16s", [](const ConvArgs& a) { return zemsReflectionToTrueAR_16s_Sfs(a.s16, -12, a.d16, a.n, -8); }, {srcNull, dstNull, nMin}},
        {"ReflectionToLAR_16s", [](const ConvArgs& a) { return zemsReflectionToLAR_16s_Sfs(a.s16, -12, a.d16, a.n, 0.9f, -8); }, {srcNull, dstNull, nMin}},
        {"ReflectionToTilt_16s", [](const ConvArgs& a) { return zemsReflectionToTilt_16s_Sfs(a.s16, t16, a.d16, a.n, -8); }, {srcNull, dstNull, nMin}},
        {"ReflectionToAbsTilt_16s", [](const ConvArgs& a) { return zemsReflectionToAbsTilt_16s_Sfs(t16, a.s16, a.d16, a.n, -8); }, {srcNull, dstNull, nMin}},
        {"LSPToLP_16s", [](const ConvArgs& a) { return zemsLSPToLP_16s_Sfs(a.s16, 15, a.d16, a.n, -12); }, {srcNull, dstNull, nMin}},
        // The root search: one size test holds nGrid, nBisect and n <= nGrid.
        {"LPToLSP_32f", [](const ConvArgs& a) { return zemsLPToLSP_32f(a.src ? lspIn : nullptr, a.dst, a.n, a.roots, a.nGrid, a.nBisect); },
         {{"nRoots", [](ConvArgs& a) { a.roots = nullptr; }, zemStatusNullPointer},
          {"n > nGrid", [](ConvArgs& a) { a.n = 3; }, zemStatusBadSize},
          {"nBisect", [](ConvArgs& a) { a.nBisect = 0; }, zemStatusBadSize},
          {"nGrid", [](ConvArgs& a) { a.nGrid = INT32_MIN; }, zemStatusBadSize}}, zemtest::kSkipValidCall},
        {"LPToLSP_16s", [](const ConvArgs& a) { return zemsLPToLSP_16s_Sfs(a.s16, 12, a.d16, a.n, a.roots, a.nGrid + 6, a.nBisect, -15); },
         {srcNull, {"nBisect", [](ConvArgs& a) { a.nBisect = -3; }, zemStatusBadSize},
          {"n > nGrid", [](ConvArgs& a) { a.nGrid = -5; }, zemStatusBadSize}}, zemtest::kSkipValidCall},
        // LSPs to LP: decreasing, strictly inside (-1, 1) in float.
        {"LSPToLP_32f", pair(zemsLSPToLP_32f), {dstNull, n0, {"x[0] = 1", [](ConvArgs& a) { static const float x[2] = {1.0f, 0.2f}; a.src = x; }, zemStatusBadLsp},
          {"rising", [](ConvArgs& a) { static const float x[2] = {0.1f, 0.2f}; a.src = x; }, zemStatusBadLsp},
          {"last = -1", [](ConvArgs& a) { static const float x[2] = {0.1f, -1.0f}; a.src = x; }, zemStatusBadLsp}}},
        // The spectrum: len against N = 2^(order+1).
        {"LPToSpectrum_32f", [](const ConvArgs& a) { return zemsLPToSpectrum_32f(a.src, a.len, a.dst, a.order, 1.0f); },
         {srcNull, {"len", [](ConvArgs& a) { a.len = 0; }, zemStatusBadSize}, {"len = N", [](ConvArgs& a) { a.len = 4; }, zemStatusBadSize},
          {"order -1", [](ConvArgs& a) { a.order = -1; }, zemStatusBadSize}}},
        {"LPToSpectrum_16s", [](const ConvArgs& a) { return zemsLPToSpectrum_16s_Sfs(a.s16, a.len, a.d32, a.order, 1, 0); },
         {dstNull, {"len = N", [](ConvArgs& a) { a.len = 4; }, zemStatusBadSize}, {"order", [](ConvArgs& a) { a.order = INT32_MIN; }, zemStatusBadSize}}},
    };
    ConvArgs valid{src, s16, dst, d16, d32};
    valid.src2 = src2, valid.roots = &roots;
    for (const Row& r : rows)
        zemtest::expectCheckOrder<ConvArgs>(r.name, valid, r.call, r.breaks,
                                            {zemtest::region(dst, 8), zemtest::region(d16, 8), zemtest::region(d32, 8), zemtest::region(&roots, 1)},
                                            r.validStatus);
}

TEST(LPConversions, CepstrumRecursions) {
    // One pole A(z) = 1 - rho z^-1: c_k = rho^k / k.
    std::vector<float> a(30, 0.0f), c(30);
    a[0] = -0.8f;
    ASSERT_EQ(zemsLPToCepstrum_32f(a.data(), c.data(), 30), zemStatusOk);
    for (int k = 1; k <= 30; ++k) EXPECT_NEAR(c[k - 1], std::pow(0.8, k) / k, 1e-6) << k;
    // Bit for bit against the stated steps on both sides of size 22; either direction is
    // the same recursion.
    zemtest::Random rnd(21);
    for (int n : {1, 2, 5, 21, 22, 23, 40}) {
        const std::vector<float> x = rnd.uniform<float>(n, -0.9, 0.9), ref = cepstralReference(x);
        zemtest::Buffer<float> y(n, 4), z(n);
        ASSERT_EQ(zemsLPToCepstrum_32f(x.data(), y.data(), n), zemStatusOk);
        ASSERT_EQ(zemsCepstrumToLP_32f(x.data(), z.data(), n), zemStatusOk);
        for (int i = 0; i < n; ++i) {
            EXPECT_TRUE(zemtest::sameBits(y[i], ref[i])) << n << " " << i;
            EXPECT_TRUE(zemtest::sameBits(z[i], ref[i])) << n << " " << i;
        }
    }
    // 16-bit: the same scale in and out, rounded and saturated.
    const Zem16s a16[3] = {-3686, 1638, 30000};  // Q12
    Zem16s c16[3];
    ASSERT_EQ(zemsLPToCepstrum_16s_Sfs(a16, c16, 3, -12), zemStatusOk);
    const std::vector<float> ref = cepstralReference({a16[0] / 4096.0f, a16[1] / 4096.0f, a16[2] / 4096.0f});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(c16[i], std::clamp<float>(std::nearbyint(ref[i] * 4096.0f), -32768.0f, 32767.0f));
}

TEST(LPConversions, ReflectionCoefficients) {
    // LP -> reflection -> LP within float rounding, orders 1..40; k[0] = +r1/r0, the
    // opposite sign of Schur's.
    for (int n = 1; n <= 40; ++n) {
        SCOPED_TRACE(n);
        const std::vector<float> a = stablePredictor(n, 0.85);
        std::vector<float> k(n), back(n);
        ASSERT_EQ(zemsLPToReflection_32f(a.data(), k.data(), n), zemStatusOk);
        ASSERT_EQ(zemsReflectionToLP_32f(k.data(), back.data(), n), zemStatusOk);
        for (int i = 0; i < n; ++i) {
            EXPECT_LT(std::fabs(k[i]), 1.0f);
            EXPECT_NEAR(back[i], a[i], 1e-4 * (1 + std::fabs(a[i])));
        }
    }
    const float r[3] = {2.0f, 1.0f, 0.3f};
    float schurK[2], err, a[2], k[2];
    zemsSchur_32f(r, schurK, 2, &err);
    zemsDurbin_32f(r, a, 2, &err);
    ASSERT_EQ(zemsLPToReflection_32f(a, k, 2), zemStatusOk);
    EXPECT_NEAR(k[0], -schurK[0], 1e-6);
    EXPECT_NEAR(k[1], -schurK[1], 1e-6);
    // |k| = 1 exactly stops the walk; later stages stay written, a value above 1 passes.
    const float unstable[3] = {0.2f, 0.1f, -1.0f};
    float out[3];
    zemtest::fillSentinel(out, 3);
    EXPECT_EQ(zemsLPToReflection_32f(unstable, out, 3), zemStatusUnstableFilter);
    EXPECT_TRUE(zemtest::untouched(out, 3));
    const float inner[3] = {0.2f, 1.0f, 0.0f};  // the last stage passes, the next has k = -1
    zemtest::fillSentinel(out, 3);
    EXPECT_EQ(zemsLPToReflection_32f(inner, out, 3), zemStatusUnstableFilter);
    EXPECT_EQ(out[2], 0.0f);
    EXPECT_TRUE(zemtest::untouched(out, 2));
    const float wild[1] = {-1.5f};
    EXPECT_EQ(zemsLPToReflection_32f(wild, out, 1), zemStatusOk);
    EXPECT_EQ(out[0], 1.5f);
    // 16-bit step-down stores the written stages of a refused walk too.
    const Zem16s u16[2] = {1000, -4096};
    Zem16s k16[2];
    zemtest::fillSentinel(k16, 2);
    EXPECT_EQ(zemsLPToReflection_16s_Sfs(u16, k16, 2, -12), zemStatusUnstableFilter);
    EXPECT_TRUE(zemtest::untouched(k16, 2));
}

TEST(LPConversions, AreaRatiosLarAndTilt) {
    const float k[5] = {0.5f, -1.0f, 1.0f, 0.25f, -0.6f};
    float ar[5];
    EXPECT_EQ(zemsReflectionToAR_32f(k, ar, 5), zemStatusDivideByZeroWarning);
    EXPECT_EQ(ar[0], 0.5f / 1.5f);
    EXPECT_EQ(ar[1], kInf);
    EXPECT_EQ(ar[2], 0.0f);
    EXPECT_EQ(ar[4], (1.0f + 0.6f) / (1.0f - 0.6f));
    // The running product: -1 turns it into an infinity of the product's sign, a k within
    // the range keeps it, one outside turns it, and k = 1 ends the run with NaN.
    struct Case {
        std::vector<float> k;
        std::vector<float> expect;  // NaN for the default NaN
        ZemStatus status;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<Case> cases = {
        {{0.5f, 0.5f}, {1.0f / 3, 1.0f / 9}, zemStatusOk},
        {{-1.0f, 0.2f, 1.5f, -1.0f, 0.0f}, {kInf, kInf, -kInf, -kInf, -kInf}, zemStatusDivideByZeroWarning},
        {{3.0f, -1.0f}, {-0.5f, -kInf}, zemStatusDivideByZeroWarning},
        {{1.0f, -1.0f}, {0.0f, -kInf}, zemStatusDivideByZeroWarning},  // 0 is not positive
        {{-1.0f, 1.0f, 0.5f, -1.0f}, {kInf, nan, nan, nan}, zemStatusDivideByZeroWarning},
    };
    for (const Case& c : cases) {
        std::vector<float> out(c.k.size());
        EXPECT_EQ(zemsReflectionToTrueAR_32f(c.k.data(), out.data(), static_cast<int>(c.k.size())), c.status);
        for (size_t i = 0; i < out.size(); ++i)
            if (std::isnan(c.expect[i])) EXPECT_TRUE(std::isnan(out[i])) << i;
            else EXPECT_FLOAT_EQ(out[i], c.expect[i]) << i;
    }
    // LAR: k limited to +-limit, then ln((1-k)/(1+k)); finite at |k| >= 1.
    const float kl[4] = {0.5f, -1.0f, 1.0f, 0.99f};
    float lar[4];
    EXPECT_EQ(zemsReflectionToLAR_32f(kl, lar, 4, 0.95f), zemStatusOk);
    const double expect[4] = {std::log(0.5 / 1.5), std::log(1.95 / 0.05), std::log(0.05 / 1.95), std::log(0.05 / 1.95)};
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(lar[i], expect[i], 1e-5 * (1 + std::fabs(expect[i])));
    // Tilt: the Abs form divides by |a| + |b|; a zero denominator is a NaN and the warning.
    const float ta[3] = {0.5f, -0.3f, 0.0f}, tb[3] = {0.25f, 0.3f, 0.0f};
    float t[3], at[3];
    EXPECT_EQ(zemsReflectionToTilt_32f(ta, tb, t, 3), zemStatusDivideByZeroWarning);
    EXPECT_EQ(zemsReflectionToAbsTilt_32f(ta, tb, at, 3), zemStatusDivideByZeroWarning);
    EXPECT_EQ(t[0], 0.25f / 0.75f);
    EXPECT_TRUE(std::isnan(t[1]));  // 0/0 with the signed denominator
    EXPECT_EQ(at[1], 0.0f);
    EXPECT_TRUE(std::isnan(t[2]) && std::isnan(at[2]));
    // 16-bit forms: src times 2^srcScale in, 2^-scaleFactor out.
    const Zem16s k16[3] = {2048, -4096, 1024};  // Q12: 0.5, -1, 0.25
    Zem16s o16[3];
    EXPECT_EQ(zemsReflectionToAR_16s_Sfs(k16, -12, o16, 3, -8), zemStatusDivideByZeroWarning);
    EXPECT_EQ(o16[0], static_cast<Zem16s>(std::nearbyint(256.0f / 3.0f)));
    EXPECT_EQ(o16[1], 32767);
    EXPECT_EQ(o16[2], static_cast<Zem16s>(std::nearbyint(0.75f / 1.25f * 256.0f)));
    EXPECT_EQ(zemsReflectionToLAR_16s_Sfs(k16, -12, o16, 3, 0.5f, -10), zemStatusOk);
    EXPECT_EQ(o16[1], static_cast<Zem16s>(std::nearbyint(std::log(1.5f / 0.5f) * 1024.0f)));
    const Zem16s b16[3] = {1024, 4096, -1024};
    EXPECT_EQ(zemsReflectionToAbsTilt_16s_Sfs(k16, b16, o16, 3, -14), zemStatusOk);
    EXPECT_EQ(o16[0], static_cast<Zem16s>(std::nearbyint(1024.0f / 3072.0f * 16384.0f)));
    EXPECT_EQ(o16[1], 0);
}

// The LSPs of a predictor in double by brute force.  On the unit circle, with
// S = A(e^jw) and h = e^{j(n+1)w/2}, P is 2 Re(S h) and Q is 2j Im(S h): their sign
// changes inside (0, pi), as cos w, largest first.
std::vector<double> lspByScan(const std::vector<float>& a) {
    const int n = static_cast<int>(a.size());
    auto sh = [&](double w) {
        std::complex<double> s = 1.0;
        for (int i = 0; i < n; ++i) s += double(a[i]) * std::polar(1.0, -w * (i + 1));
        return s * std::polar(1.0, (n + 1) * w / 2);
    };
    std::vector<double> roots;
    const int steps = 100000;
    std::complex<double> prev = sh(1e-6);
    for (int k = 1; k <= steps; ++k) {
        const double w = 1e-6 + (M_PI - 2e-6) * k / steps;
        const std::complex<double> v = sh(w);
        if ((prev.real() < 0) != (v.real() < 0) || (prev.imag() < 0) != (v.imag() < 0)) roots.push_back(std::cos(w));
        prev = v;
    }
    return roots;
}

TEST(LPConversions, LineSpectralPairs) {
    // n = 1: the single root is a[0].
    const float a1[1] = {0.3f};
    float x1[1];
    Zem32s found = -1;
    ASSERT_EQ(zemsLPToLSP_32f(a1, x1, 1, &found, 1, 20), zemStatusOk);
    EXPECT_EQ(found, 1);
    EXPECT_NEAR(x1[0], 0.3f, 1e-6);
    // Orders 2..20: decreasing, matching a brute-force scan, and back to the predictor.
    // Odd orders form P and Q with the opposite sign of a (their roots are those of
    // 1 - a[0] z^-1 - ...), so they are tried on a negated stable predictor.
    for (int n = 2; n <= 20; ++n) {
        SCOPED_TRACE(n);
        std::vector<float> a = stablePredictor(n, 0.9);
        const std::vector<double> ref = lspByScan(a);
        if (n % 2) for (float& v : a) v = -v;
        std::vector<float> x(n), back(n);
        ASSERT_EQ(zemsLPToLSP_32f(a.data(), x.data(), n, &found, 128, 12), zemStatusOk);
        EXPECT_EQ(found, n);
        ASSERT_EQ(static_cast<int>(ref.size()), n);
        for (int i = 0; i < n; ++i) EXPECT_NEAR(x[i], ref[i], 2e-4) << i;
        for (int i = 0; i + 1 < n; ++i) EXPECT_GT(x[i], x[i + 1]);
        ASSERT_EQ(zemsLSPToLP_32f(x.data(), back.data(), n), zemStatusOk);
        for (int i = 0; i < n; ++i) EXPECT_NEAR(back[i], a[i], 2e-3 * (1 + std::fabs(a[i]))) << i;
    }
    // n = nGrid passes.  A predictor whose difference polynomial has no root on the unit
    // circle: P's root is found, then the search runs out of grid.
    const std::vector<float> a10 = stablePredictor(10, 0.95);
    std::vector<float> x(10);
    EXPECT_EQ(zemsLPToLSP_32f(a10.data(), x.data(), 10, &found, 10, 4), zemStatusOk);
    // Halvings past float resolution change nothing, however many are asked for.
    std::vector<float> fine(10), huge(10);
    ASSERT_EQ(zemsLPToLSP_32f(a10.data(), fine.data(), 10, &found, 64, 200), zemStatusOk);
    ASSERT_EQ(zemsLPToLSP_32f(a10.data(), huge.data(), 10, &found, 64, INT32_MAX), zemStatusOk);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(zemtest::sameBits(fine[i], huge[i]));
    const float outside[2] = {-2.5f, 2.0f};
    zemtest::fillSentinel(x.data(), 10);
    EXPECT_EQ(zemsLPToLSP_32f(outside, x.data(), 2, &found, 64, 20), zemStatusNoRoot);
    EXPECT_EQ(found, 1);
    EXPECT_NEAR(x[0], 0.75f, 1e-5);
    EXPECT_TRUE(zemtest::untouched(x.data() + 1, 9));
    // 16-bit: rounding half away from zero of the roots, only those found written.
    const Zem16s a16[2] = {-4096, 2048};  // Q12: -1, 0.5
    Zem16s x16[2];
    float xf[2];
    const float af[2] = {-1.0f, 0.5f};
    ASSERT_EQ(zemsLPToLSP_32f(af, xf, 2, &found, 64, 10), zemStatusOk);
    ASSERT_EQ(zemsLPToLSP_16s_Sfs(a16, 12, x16, 2, &found, 64, 10, -15), zemStatusOk);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(x16[i], static_cast<Zem16s>(std::trunc(xf[i] * 32768.0f + (xf[i] < 0 ? -0.5f : 0.5f))));
    // LSP to LP: equal values pass in both forms; the 16-bit bounds are inclusive.
    const float same[2] = {0.5f, 0.5f};
    float back[2];
    EXPECT_EQ(zemsLSPToLP_32f(same, back, 2), zemStatusOk);
    const Zem16s edge[3] = {32767, 32767, -32768};  // Q15: at the upper bound and -1
    Zem16s o16[3];
    EXPECT_EQ(zemsLSPToLP_16s_Sfs(edge, 15, o16, 3, -12), zemStatusOk);
    const Zem16s q14[2] = {16384, 0};  // src[0] = 2^srcShift passes
    EXPECT_EQ(zemsLSPToLP_16s_Sfs(q14, 14, o16, 2, -12), zemStatusOk);
    const Zem16s above[2] = {16385, 0}, below[2] = {0, -16385};
    EXPECT_EQ(zemsLSPToLP_16s_Sfs(above, 14, o16, 2, -12), zemStatusBadLsp);
    EXPECT_EQ(zemsLSPToLP_16s_Sfs(below, 14, o16, 2, -12), zemStatusBadLsp);
    EXPECT_EQ(zemsLSPToLP_16s_Sfs(q14, 0, o16, 2, -12), zemStatusBadSize);
}

TEST(LPConversions, SpectrumOfOnePole) {
    // src = (-rho): the transform of (0, -rho, 0, ..) is -rho e^{-jw}; bin 0 also loses val.
    const float rho = 0.9f, val = -1.0f;
    for (int order : {0, 3, 6, 7, 9}) {
        SCOPED_TRACE(order);
        const int bins = 1 << order;
        zemtest::Buffer<float> dst(bins, order % 2 ? 4 : 0);
        const float a[1] = {-rho};
        ASSERT_EQ(zemsLPToSpectrum_32f(a, 1, dst.data(), order, val), zemStatusOk);
        EXPECT_NEAR(dst[0], 1.0 / std::fabs(-rho - val), 1e-5);
        for (int k = 1; k < bins; ++k) EXPECT_NEAR(dst[k], 1.0 / rho, 1e-5);
    }
    // A general predictor against a direct transform; len = N - 1 passes.
    const std::vector<float> a = stablePredictor(7, 0.8);
    std::vector<float> dst(4);
    ASSERT_EQ(zemsLPToSpectrum_32f(a.data(), 7, dst.data(), 2, 1.0f), zemStatusOk);
    for (int k = 0; k < 4; ++k) {
        std::complex<double> s = k == 0 ? -1.0 : 0.0;
        for (int i = 0; i < 7; ++i) s += double(a[i]) * std::polar(1.0, -2 * M_PI * k * (i + 1) / 8);
        EXPECT_NEAR(dst[k], 1.0 / std::abs(s), 1e-4 / std::abs(s) / std::abs(s));
    }
    // A zero magnitude: +inf and the warning; the 16-bit form saturates it.
    const float zero[1] = {0.0f};
    float d1[1];
    EXPECT_EQ(zemsLPToSpectrum_32f(zero, 1, d1, 0, 0.0f), zemStatusDivideByZeroWarning);
    EXPECT_EQ(d1[0], kInf);
    const Zem16s a16[1] = {-1};
    Zem32s d16[2];
    EXPECT_EQ(zemsLPToSpectrum_16s_Sfs(a16, 1, d16, 1, 0, -10), zemStatusOk);
    EXPECT_EQ(d16[0], 1024);
    EXPECT_EQ(d16[1], 1024);
    const Zem16s z16[1] = {0};
    EXPECT_EQ(zemsLPToSpectrum_16s_Sfs(z16, 1, d16, 1, 0, 0), zemStatusDivideByZeroWarning);
    EXPECT_EQ(d16[0], INT32_MAX);
}

TEST(LPConversions, ThresholdsAndAllocationFailure) {
    const std::vector<float> a60 = stablePredictor(60, 0.7);
    std::vector<float> lsp(60);
    Zem32s found;
    ASSERT_EQ(zemsLPToLSP_32f(a60.data(), lsp.data(), 60, &found, 4000, 10), zemStatusOk);
    std::vector<Zem16s> s16(200, 100), d16(200);
    std::vector<float> out(1024);
    const std::vector<float> k(200, 0.25f);
    struct Call {
        const char* name;
        bool allocates;
        std::function<ZemStatus()> run;
    };
    const std::vector<Call> calls = {
        {"cepstrum 21", false, [&] { return zemsLPToCepstrum_32f(a60.data(), out.data(), 21); }},
        {"cepstrum 22", true, [&] { return zemsLPToCepstrum_32f(a60.data(), out.data(), 22); }},
        {"cepstrum 16s 22", true, [&] { return zemsCepstrumToLP_16s_Sfs(s16.data(), d16.data(), 22, -12); }},
        {"step-down 15", false, [&] { return zemsLPToReflection_32f(k.data(), out.data(), 15); }},
        {"step-down 16", true, [&] { return zemsLPToReflection_32f(k.data(), out.data(), 16); }},
        {"step-down 16s 16", true, [&] { return zemsLPToReflection_16s_Sfs(s16.data(), d16.data(), 16, 0); }},
        {"step-up 100", false, [&] { return zemsReflectionToLP_32f(k.data(), out.data(), 100); }},
        {"step-up 101", true, [&] { return zemsReflectionToLP_32f(k.data(), out.data(), 101); }},
        {"AR 16s 101", true, [&] { return zemsReflectionToTrueAR_16s_Sfs(s16.data(), -15, d16.data(), 101, -8); }},
        {"tilt 16s 101", true, [&] { return zemsReflectionToTilt_16s_Sfs(s16.data(), s16.data(), d16.data(), 101, 0); }},
        {"LSP 58", false, [&] { return zemsLPToLSP_32f(a60.data(), out.data(), 58, &found, 4000, 10); }},
        {"LSP 60", true, [&] { return zemsLPToLSP_32f(a60.data(), out.data(), 60, &found, 4000, 10); }},
        {"LSP to LP 59", true, [&] { return zemsLSPToLP_32f(lsp.data(), out.data(), 59); }},
        {"LSP 16s 60", true, [&] { return zemsLPToLSP_16s_Sfs(s16.data(), 20, d16.data(), 60, &found, 4000, 4, -15); }},
        {"spectrum 6", false, [&] { return zemsLPToSpectrum_32f(a60.data(), 10, out.data(), 6, 1.0f); }},
        {"spectrum 7", true, [&] { return zemsLPToSpectrum_32f(a60.data(), 10, out.data(), 7, 1.0f); }},
        {"spectrum 16s 9", true, [&] { return zemsLPToSpectrum_16s_Sfs(s16.data(), 10, reinterpret_cast<Zem32s*>(out.data()), 9, 1, 0); }},
    };
    for (const Call& c : calls)
        EXPECT_EQ(zemtest::expectAllocationWalk(c.name, c.run, {zemtest::region(out.data(), out.size()),
                                                               zemtest::region(d16.data(), d16.size())}) > 0,
                  c.allocates) << c.name;
}

}  // namespace
