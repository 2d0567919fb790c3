// Linear prediction: check orders, the solvers against double-precision references and
// closed forms, the covariance factorisation step by step, refusals with their partial
// results, the 16-bit conversions, the stack/allocator thresholds and allocation failure.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <tuple>
#include <vector>

#include "alloc_walk.h"
#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

using zemtest::Break;

// r[k] for k = 0..lags-1 in double.
std::vector<double> autocorr(const std::vector<float>& x, int lags) {
    std::vector<double> r(lags, 0.0);
    for (int k = 0; k < lags && k < static_cast<int>(x.size()); ++k)
        for (size_t n = k; n < x.size(); ++n) r[k] += double(x[n]) * x[n - k];
    return r;
}

// Levinson-Durbin in double; returns the error, a gets order values.
double levinson(const std::vector<double>& r, int order, std::vector<double>& a) {
    a.assign(order, 0.0);
    double e = r[0];
    for (int m = 1; m <= order; ++m) {
        double acc = r[m];
        for (int i = 1; i < m; ++i) acc += r[m - i] * a[i - 1];
        const double k = acc / e;
        std::vector<double> prev = a;
        for (int i = 1; i < m; ++i) a[i - 1] = prev[i - 1] - prev[m - i - 1] * k;
        a[m - 1] = -k;
        e *= 1 - k * k;
    }
    return e;
}

// A stable AR(4)-like frame with some noise, of the given length.
std::vector<float> voicedFrame(int len, uint32_t seed) {
    zemtest::Random rnd(seed);
    std::vector<float> noise = rnd.uniform<float>(len, -1, 1), x(len);
    for (int n = 0; n < len; ++n) {
        double v = noise[n];
        if (n >= 1) v += 1.3 * x[n - 1];
        if (n >= 2) v -= 0.8 * x[n - 2];
        x[n] = static_cast<float>(v);
    }
    return x;
}

// One argument set for every solver: a null src or dst break nulls the pointer of either
// type, and each row lists its breaks in its export's check order.
struct SolveArgs {
    const float* src;
    const Zem16s* s16;
    float* dst;
    Zem16s* d16;
    float* err;
    int len = 8, order = 4, recOrder = 2;
};

TEST(LinearPrediction, CheckOrders) {
    static const float frame[16] = {1, 2, 3}, r[16] = {4, 1, 0.5f};
    static const Zem16s frame16[16] = {100, 50, 20};
    static float dst[16], err;
    static Zem16s d16[16];
    using B = Break<SolveArgs>;
    using C = std::function<ZemStatus(const SolveArgs&)>;
    const B srcNull{"src", [](SolveArgs& a) { a.src = nullptr, a.s16 = nullptr; }, zemStatusNullPointer};
    const B dstNull{"dst", [](SolveArgs& a) { a.dst = nullptr, a.d16 = nullptr; }, zemStatusNullPointer};
    const std::vector<B> analysis{srcNull, dstNull, {"len", [](SolveArgs& a) { a.len = 0; }, zemStatusBadSize},
                                  {"order", [](SolveArgs& a) { a.order = 0; }, zemStatusBadSize},
                                  {"order > len", [](SolveArgs& a) { a.order = 9; }, zemStatusBadSize}};
    const std::vector<B> analysis16{srcNull, dstNull, {"len", [](SolveArgs& a) { a.len = -5; }, zemStatusBadSize},
                                    {"order", [](SolveArgs& a) { a.order = INT32_MIN; }, zemStatusBadSize},
                                    {"order > len", [](SolveArgs& a) { a.order = INT32_MAX; }, zemStatusBadSize}};
    // Durbin and Schur test the order between the two tests for null.
    const B errNull{"err", [](SolveArgs& a) { a.err = nullptr; }, zemStatusNullPointer};
    const std::vector<B> recursion{srcNull, {"order", [](SolveArgs& a) { a.recOrder = 0; }, zemStatusBadSize}, errNull};
    const std::vector<B> recursion16{dstNull, {"order", [](SolveArgs& a) { a.recOrder = -1; }, zemStatusBadSize}, errNull};
    auto lp = [](ZemStatus (*fn)(const Zem32f*, int, Zem32f*, int)) { return C([fn](const SolveArgs& a) { return fn(a.src, a.len, a.dst, a.order); }); };
    auto lp16 = [](ZemStatus (*fn)(const Zem16s*, int, Zem16s*, int, int)) {
        return C([fn](const SolveArgs& a) { return fn(a.s16, a.len, a.d16, a.order, 0); });
    };
    auto rec = [](ZemStatus (*fn)(const Zem32f*, Zem32f*, int, Zem32f*)) {
        return C([fn](const SolveArgs& a) { return fn(a.src ? r : nullptr, a.dst, a.recOrder, a.err); });
    };
    auto rec16 = [](ZemStatus (*fn)(const Zem16s*, Zem16s*, int, Zem32f*, int)) {
        return C([fn](const SolveArgs& a) { return fn(a.s16, a.d16, a.recOrder, a.err, -12); });
    };
    // The analyses' valid calls on a three-sample ramp may refuse a stage: left out.
    const std::vector<std::tuple<const char*, C, const std::vector<B>&, int>> rows{
        {"LinearPrediction_Auto_32f", lp(zemsLinearPrediction_Auto_32f), analysis, zemtest::kSkipValidCall},
        {"LinearPredictionNeg_Auto_32f", lp(zemsLinearPredictionNeg_Auto_32f), analysis, zemtest::kSkipValidCall},
        {"LinearPrediction_Cov_32f", lp(zemsLinearPrediction_Cov_32f), analysis, zemtest::kSkipValidCall},
        {"LinearPrediction_Auto_16s", lp16(zemsLinearPrediction_Auto_16s_Sfs), analysis16, zemtest::kSkipValidCall},
        {"LinearPredictionNeg_Auto_16s", lp16(zemsLinearPredictionNeg_Auto_16s_Sfs), analysis16, zemtest::kSkipValidCall},
        {"LinearPrediction_Cov_16s", lp16(zemsLinearPrediction_Cov_16s_Sfs), analysis16, zemtest::kSkipValidCall},
        {"Durbin_32f", rec(zemsDurbin_32f), recursion, zemStatusOk},
        {"Schur_32f", rec(zemsSchur_32f), recursion, zemStatusOk},
        {"Durbin_16s", rec16(zemsDurbin_16s_Sfs), recursion16, zemStatusOk},
        {"Schur_16s", rec16(zemsSchur_16s_Sfs), recursion16, zemStatusOk},
    };
    const SolveArgs valid{frame, frame16, dst, d16, &err};
    for (const auto& [name, call, breaks, validStatus] : rows)
        zemtest::expectCheckOrder<SolveArgs>(name, valid, call, breaks,
                                             {zemtest::region(dst, 16), zemtest::region(d16, 16), zemtest::region(&err, 1)}, validStatus);
}

TEST(LinearPrediction, DurbinAgainstDouble) {
    float a[7], err;
    // Order 1: a[0] = -r1/r0 and err = r0 (1 - k^2), bit for bit.
    const float r1[2] = {3.0f, 1.1f};
    ASSERT_EQ(zemsDurbin_32f(r1, a, 1, &err), zemStatusOk);
    const float k = 1.1f / 3.0f;
    EXPECT_EQ(a[0], -k);
    EXPECT_EQ(err, 3.0f * (1.0f - k * k));

    // Orders 1..40 of a random frame, against double, and Schur's err equals Durbin's.
    const std::vector<float> x = voicedFrame(400, 7);
    const std::vector<double> rd = autocorr(x, 41);
    std::vector<float> rf(rd.begin(), rd.end());
    for (int order = 1; order <= 40; ++order) {
        SCOPED_TRACE(order);
        std::vector<double> ref;
        const double eRef = levinson(rd, order, ref);
        std::vector<float> got(order), refl(order);
        float eSchur;
        ASSERT_EQ(zemsDurbin_32f(rf.data(), got.data(), order, &err), zemStatusOk);
        ASSERT_EQ(zemsSchur_32f(rf.data(), refl.data(), order, &eSchur), zemStatusOk);
        for (int i = 0; i < order; ++i) EXPECT_NEAR(got[i], ref[i], 2e-3 * (1 + std::fabs(ref[i])));
        EXPECT_NEAR(err, eRef, 1e-3 * eRef);
        EXPECT_NEAR(eSchur, eRef, 1e-3 * eRef);
        // Schur's k[m] is the last coefficient of stage m + 1.
        std::vector<double> stage;
        levinson(rd, order, stage);
        EXPECT_NEAR(refl[order - 1], stage[order - 1], 1e-3);
    }
}

TEST(LinearPrediction, RefusedStagesKeepThePartialSolution) {
    float a[4], err = 77;
    const float zeros[5] = {0, 0, 0, 0, 0};
    const float ones[5] = {1, 1, 1, 1, 1};
    for (const float* r : {zeros, ones}) {
        zemtest::fillSentinel(a, 4);
        EXPECT_EQ(zemsDurbin_32f(r, a, 4, &err), zemStatusBadAutocorr);
        EXPECT_TRUE(zemtest::untouched(a, 4));
        EXPECT_EQ(err, 77);
    }
    // Stage 3 has |k| = 1: stages 1 and 2 stand, the rest is not written.
    const float r[4] = {1.0f, 0.5f, 0.0f, 1.0f};
    float full[2];
    ASSERT_EQ(zemsDurbin_32f(r, full, 2, &err), zemStatusOk);
    zemtest::fillSentinel(a, 4);
    EXPECT_EQ(zemsDurbin_32f(r, a, 3, &err), zemStatusBadAutocorr);
    EXPECT_EQ(a[0], full[0]);
    EXPECT_EQ(a[1], full[1]);
    EXPECT_TRUE(zemtest::untouched(a + 2, 2));

    // Auto forms: a frame of zeros is refused at the first step; Neg negates what stands.
    float plain[5], neg[5];
    zemtest::fillSentinel(plain, 5);
    zemtest::fillSentinel(neg, 5);
    EXPECT_EQ(zemsLinearPrediction_Auto_32f(zeros, 5, plain, 4), zemStatusBadAutocorr);
    EXPECT_TRUE(zemtest::untouched(plain, 4));
    const float y[3] = {1, 1, 1};  // r = (3, 2, 1, 0): stands through order 3
    EXPECT_EQ(zemsLinearPrediction_Auto_32f(y, 3, plain, 3), zemStatusOk);  // order = len: r[3] = 0
    EXPECT_EQ(zemsLinearPredictionNeg_Auto_32f(y, 3, neg, 3), zemStatusOk);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(zemtest::sameBits(neg[i], -plain[i]));
    // The 16-bit Neg form returns early on a refusal and converts the predictor otherwise.
    const Zem16s twin[2] = {1000, 1000};  // r = (2e6, 1e6)
    Zem16s d16[2];
    zemtest::fillSentinel(d16, 2);
    const Zem16s flat[3] = {0, 0, 0};
    EXPECT_EQ(zemsLinearPredictionNeg_Auto_16s_Sfs(flat, 3, d16, 2, -12), zemStatusBadAutocorr);
    EXPECT_TRUE(zemtest::untouched(d16, 2));
    EXPECT_EQ(zemsLinearPredictionNeg_Auto_16s_Sfs(twin, 2, d16, 1, -12), zemStatusOk);
    EXPECT_EQ(d16[0], 2048);  // p = r1/r0 = 0.5 in Q12
}

// The covariance factorisation exactly as defined, written with full 2-D arrays.
std::vector<float> covarianceReference(const std::vector<float>& x, int p) {
    const int len = static_cast<int>(x.size());
    std::vector<std::vector<float>> phi(p + 1, std::vector<float>(p + 1)), L = phi;
    std::vector<float> psi(p + 1), D(p + 1), w(p + 1), y(p + 1), packed, out(p);
    for (int m = 1; m <= p; ++m) {
        float s = 0;
        for (int n = 0; n < len - m; ++n) s += x[n] * x[n + m];
        psi[m] = s;
    }
    for (int i = 1; i <= p; ++i)
        for (int j = 1; j <= i; ++j) {
            double s = 0;
            for (int n = 0; n < len - i; ++n) s += double(float(x[n] * x[n + i - j]));
            phi[i][j] = float(s);
        }
    D[1] = phi[1][1];
    for (int i = 2; i <= p; ++i) {
        for (int j = 1; j < i; ++j) {
            float s = phi[i][j];
            for (int m = 1; m < j; ++m) s -= w[m] * packed[m - 1];  // from the start of the packed rows
            L[i][j] = s / D[j];
            w[j] = L[i][j] * D[j];
        }
        for (int j = 1; j < i; ++j) packed.push_back(L[i][j]);
        float s = phi[i][i];
        for (int m = 1; m < i; ++m) s -= w[m] * L[i][m];
        D[i] = s;
    }
    for (int i = 1; i <= p; ++i) {
        float s = psi[i];
        for (int m = 1; m < i; ++m) s -= L[i][m] * y[m];
        y[i] = s;
    }
    for (int i = p; i >= 1; --i) {
        float s = y[i] / D[i];
        for (int m = i + 1; m <= p; ++m) s -= L[m][i] * out[m - 1];
        out[i - 1] = s;
    }
    return out;
}

TEST(LinearPrediction, CovarianceMethodBitForBit) {
    for (int p : {1, 2, 3, 4, 5, 10, 16, 40}) {
        SCOPED_TRACE(p);
        const std::vector<float> x = voicedFrame(200 + p, 11 + p);
        const std::vector<float> ref = covarianceReference(x, p);
        zemtest::Buffer<float> out(p, 4);
        ASSERT_EQ(zemsLinearPrediction_Cov_32f(x.data(), 200 + p, out.data(), p), zemStatusOk);
        for (int i = 0; i < p; ++i) EXPECT_TRUE(zemtest::sameBits(out[i], ref[i])) << i;
    }
    // p = 1: psi[1] / phi(1,1), phi(1,1) over the first len - 1 samples.
    const float x[4] = {1, 2, 3, 4};
    float d;
    ASSERT_EQ(zemsLinearPrediction_Cov_32f(x, 4, &d, 1), zemStatusOk);
    EXPECT_EQ(d, (2.0f + 6.0f + 12.0f) / 14.0f);
    // The 16-bit form converts whatever the float form gives.
    const Zem16s xs[6] = {100, 210, 300, 280, 150, -20};
    std::vector<float> xf(xs, xs + 6);
    const std::vector<float> ref = covarianceReference(xf, 2);
    Zem16s d16[2];
    ASSERT_EQ(zemsLinearPrediction_Cov_16s_Sfs(xs, 6, d16, 2, -12), zemStatusOk);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(d16[i], static_cast<Zem16s>(std::nearbyint(ref[i] * 4096.0f)));
}

TEST(LinearPrediction, AutoMethodAcrossThresholds) {
    // Against the double reference at orders around the stack bounds, on both sides of
    // the transform route of the autocorrelation, aligned and misaligned.
    struct Case {
        int len, order;
        bool allocates;
    };
    for (const Case c : {Case{400, 12, false}, Case{400, 24, false}, Case{400, 62, false}, Case{400, 63, true},
                         Case{400, 64, true}, Case{1000, 854, true}, Case{1000, 855, true}}) {
        for (size_t off : {0, 4}) {
            SCOPED_TRACE(testing::Message() << c.order << " offset " << off);
            const std::vector<float> x = voicedFrame(c.len, 3);
            zemtest::Buffer<float> src(c.len, off), dst(c.order, off);
            std::copy(x.begin(), x.end(), src.begin());
            std::vector<double> ref;
            levinson(autocorr(x, c.order + 1), c.order, ref);
            const int64_t before = zemcoreTestAllocationCount();
            ASSERT_EQ(zemsLinearPrediction_Auto_32f(src.data(), c.len, dst.data(), c.order), zemStatusOk);
            EXPECT_EQ(zemcoreTestAllocationCount() > before, c.allocates);
            for (int i = 0; i < std::min(c.order, 8); ++i) EXPECT_NEAR(dst[i], ref[i], 5e-3);
        }
    }
    // 16-bit forms: the float result of the converted frame, rounded in Q12.
    zemtest::Random rnd(5);
    for (int len : {20, 63, 64, 300}) {
        const std::vector<Zem16s> xs = rnd.integers<Zem16s>(len, -3000, 3000);
        std::vector<float> xf(xs.begin(), xs.end()), a(10);
        ASSERT_EQ(zemsLinearPrediction_Auto_32f(xf.data(), len, a.data(), 10), zemStatusOk);
        Zem16s d[10], n[10];
        ASSERT_EQ(zemsLinearPrediction_Auto_16s_Sfs(xs.data(), len, d, 10, -12), zemStatusOk);
        ASSERT_EQ(zemsLinearPredictionNeg_Auto_16s_Sfs(xs.data(), len, n, 10, -12), zemStatusOk);
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(d[i], static_cast<Zem16s>(std::nearbyint(a[i] * 4096.0f)));
            EXPECT_EQ(n[i], static_cast<Zem16s>(std::nearbyint(-a[i] * 4096.0f)));
        }
    }
    // Durbin and Schur 16-bit forms: float err, saturated coefficients.
    const Zem16s r16[3] = {1000, 900, 700};
    const float r32[3] = {1000, 900, 700};
    Zem16s d16[2];
    float a[2], e16, e32;
    ASSERT_EQ(zemsDurbin_32f(r32, a, 2, &e32), zemStatusOk);
    ASSERT_EQ(zemsDurbin_16s_Sfs(r16, d16, 2, &e16, -14), zemStatusOk);
    EXPECT_EQ(e16, e32);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(d16[i], std::clamp<float>(std::nearbyint(a[i] * 16384.0f), -32768.0f, 32767.0f));
    ASSERT_EQ(zemsSchur_32f(r32, a, 2, &e32), zemStatusOk);
    ASSERT_EQ(zemsSchur_16s_Sfs(r16, d16, 2, &e16, -15), zemStatusOk);
    EXPECT_EQ(e16, e32);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(d16[i], std::clamp<float>(std::nearbyint(a[i] * 32768.0f), -32768.0f, 32767.0f));
}

TEST(LinearPrediction, AllocationFailureOnEveryPath) {
    const std::vector<float> x = voicedFrame(1000, 9);
    const std::vector<Zem16s> xs(x.begin(), x.end());
    std::vector<float> r(1100);
    for (int k = 0; k < 1100; ++k) r[k] = k == 0 ? 2.0f : 1.0f / (k + 1);
    std::vector<Zem16s> r16(1100, 0);
    r16[0] = 1000;
    float dst[1100], err;
    Zem16s d16[1100];
    const std::vector<std::pair<const char*, std::function<ZemStatus()>>> calls = {
        {"Auto 63", [&] { return zemsLinearPrediction_Auto_32f(x.data(), 400, dst, 63); }},
        {"Auto 64", [&] { return zemsLinearPrediction_Auto_32f(x.data(), 400, dst, 64); }},
        {"Auto 856 lags", [&] { return zemsLinearPredictionNeg_Auto_32f(x.data(), 1000, dst, 900); }},
        {"Auto 16s long", [&] { return zemsLinearPrediction_Auto_16s_Sfs(xs.data(), 64, d16, 4, 0); }},
        {"Neg 16s order 64", [&] { return zemsLinearPredictionNeg_Auto_16s_Sfs(xs.data(), 70, d16, 64, 0); }},
        {"Cov", [&] { return zemsLinearPrediction_Cov_32f(x.data(), 50, dst, 3); }},
        {"Cov 16s", [&] { return zemsLinearPrediction_Cov_16s_Sfs(xs.data(), 50, d16, 3, 0); }},
        {"Durbin 64", [&] { return zemsDurbin_32f(r.data(), dst, 64, &err); }},
        {"Durbin 16s 64", [&] { return zemsDurbin_16s_Sfs(r16.data(), d16, 64, &err, 0); }},
        {"Schur 1024", [&] { return zemsSchur_32f(r.data(), dst, 1024, &err); }},
        {"Schur 16s 1024", [&] { return zemsSchur_16s_Sfs(r16.data(), d16, 1024, &err, 0); }},
    };
    for (const auto& [name, call] : calls)
        EXPECT_GE(zemtest::expectAllocationWalk(name, call, {zemtest::region(dst, 1100), zemtest::region(d16, 1100)}), 1);
}

}  // namespace
