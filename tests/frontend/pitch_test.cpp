// Pitch and periodicity: check orders; the comb and LSPE measures against independent
// renderings of their steps (float and Q15), on pulse trains and a synthetic vowel;
// the cross-correlation forms against exact sums; the fractional-lag interpolation's
// cases; pitch marks.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

using zemtest::Break;

// A vowel-like signal: a glottal pulse every `period` samples through two resonances.
std::vector<float> vowel(int len, double period, double fs = 8000.0) {
    std::vector<float> x(len);
    double y1 = 0, y2 = 0, z1 = 0, z2 = 0;
    auto coef = [&](double f, double bw, double& a1, double& a2) {
        const double r = std::exp(-M_PI * bw / fs);
        a1 = 2 * r * std::cos(2 * M_PI * f / fs);
        a2 = -r * r;
    };
    double a1, a2, b1, b2;
    coef(700, 80, a1, a2);
    coef(1200, 100, b1, b2);
    for (int n = 0; n < len; ++n) {
        const double e = std::fmod(n, period) < 1.0 ? 1000.0 : 0.0;
        const double y = e + a1 * y1 + a2 * y2;
        y2 = y1, y1 = y;
        const double z = y + b1 * z1 + b2 * z2;
        z2 = z1, z1 = z;
        x[n] = static_cast<float>(z / 50.0);
    }
    return x;
}

struct Best {
    double value;
    int period;
};

// The comb as stated, written over the lag function directly.
Best combReference(const std::vector<float>& r, int maxP, int minP) {
    const float w[7] = {0, 1.0f, 0.5f, 0.333333f, 0.25f, 0.2f, 0.166666f};
    float total = 0;
    for (int i = static_cast<int>(r.size()) - 1; i >= 0; --i) total += r[i];
    if (total == 0) return {0, 0};
    float best = 0, chosen = 0;
    int period = 0;
    for (int p = minP; p <= maxP; ++p)
        for (int t = 0; t < p; ++t) {
            float s = 0;
            int c = 0;
            for (int i = t; i < static_cast<int>(r.size()) && c < 6; i += p, ++c) s += r[i];
            if (s * w[c] > best) best = s * w[c], chosen = s, period = p;
        }
    return {chosen / total, period};
}

Best lspeReference(const std::vector<float>& x, int maxP, int minP) {
    float e = 0;
    for (float v : x) e += v * v;
    float bestR = 0;
    int period = 0;
    const float a[17] = {0, 1.0f, 0.707107f, 0.57735f, 0.5f, 0.447214f, 0.408248f, 0.377965f, 0.353553f,
                         0.333333f, 0.316228f, 0.301511f, 0.288675f, 0.27735f, 0.267261f, 0.258199f, 0.25f};
    const float b[17] = {0, 1.0f, 0.5f, 0.333333f, 0.25f, 0.2f, 0.166666f, 0.142857f, 0.125f,
                         0.111111f, 0.1f, 0.090909f, 0.083333f, 0.076923f, 0.071429f, 0.066666f, 0.0625f};
    for (int p = minP; p <= maxP; ++p) {
        float A = 0, B = 0;
        for (int t = 0; t < p; ++t) {
            float s = 0, q = 0;
            int c = 0;
            for (size_t i = t; i < x.size(); i += p, ++c) s += x[i], q += x[i] * x[i];
            A += (s * a[c]) * (s * a[c]);
            B += q * b[c];
        }
        if (e - B > 0 && A - B > 0 && (A - B) / (e - B) > bestR) bestR = (A - B) / (e - B), period = p;
    }
    return {bestR, period};
}

// One argument set for every pitch export; pointers are chosen by flags so that one break
// serves every element type.
struct PitchArgs {
    int len, maxP = 40, minP = 20;
    bool nullSrc = false, nullOut = false, nullPeriod = false, negative = false;
    int minLen = 8, step = 2;
    float energy = 1.0f;
};

TEST(Pitch, CheckOrders) {
    static std::vector<float> f(2000, 1.0f);
    static std::vector<Zem32s> i32(2000, 5);
    static std::vector<Zem16s> i16(2000, 7);
    static float pf, out[8];
    static Zem16s p16;
    static Zem32s period;
    using B = Break<PitchArgs>;
    using C = std::function<ZemStatus(const PitchArgs&)>;
    const B srcNull{"src", [](PitchArgs& a) { a.nullSrc = true; }, zemStatusNullPointer};
    const B outNull{"out", [](PitchArgs& a) { a.nullOut = true; }, zemStatusNullPointer};
    const B len0{"len", [](PitchArgs& a) { a.len = 0; }, zemStatusBadSize};
    const B lenIsMax{"len = max", [](PitchArgs& a) { a.len = a.maxP; }, zemStatusSizeTooLarge};
    const std::vector<B> comb{{"period", [](PitchArgs& a) { a.nullPeriod = true; }, zemStatusNullPointer},
                              {"min 0", [](PitchArgs& a) { a.minP = 0; }, zemStatusOutOfRange},
                              {"max = min", [](PitchArgs& a) { a.maxP = a.minP; }, zemStatusOutOfRange},
                              lenIsMax,
                              {"len 4097", [](PitchArgs& a) { a.len = 4097; }, zemStatusSizeTooLarge},
                              {"negative", [](PitchArgs& a) { a.negative = true; }, zemStatusOutOfRange}};
    const std::vector<B> lspe{srcNull, {"min 5", [](PitchArgs& a) { a.minP = 5; }, zemStatusOutOfRange}, lenIsMax,
                              {"len > 16 min", [](PitchArgs& a) { a.len = 16 * a.minP + 1; }, zemStatusSizeTooLarge},
                              {"len 1025", [](PitchArgs& a) { a.len = 1025; }, zemStatusSizeTooLarge}};
    const std::vector<B> corr{srcNull, outNull, len0};
    std::vector<B> partial = corr;
    partial.push_back({"energy 0", [](PitchArgs& a) { a.energy = 0.0f; }, zemStatusOutOfRange});
    auto src = [](const PitchArgs& a, auto& v) { return a.nullSrc ? nullptr : v.data(); };
    auto dst = [](const PitchArgs& a) { return a.nullOut ? nullptr : out; };
    auto per = [](const PitchArgs& a) { return a.nullPeriod ? nullptr : &period; };
    const PitchArgs combValid{100}, lspeValid{160}, corrValid{16}, marksValid{4};
    const std::vector<std::tuple<const char*, PitchArgs, C, std::vector<B>, int>> rows{
        {"Periodicity_32f", combValid, [&](const PitchArgs& a) {
             f[3] = a.negative ? -1.0f : 1.0f;
             return zemsPeriodicity_32f(src(a, f), a.len, a.nullOut ? nullptr : &pf, per(a), a.maxP, a.minP); }, comb, zemStatusOk},
        {"Periodicity_32s16s", combValid, [&](const PitchArgs& a) {
             i32[3] = a.negative ? -1 : 5;
             return zemsPeriodicity_32s16s(src(a, i32), a.len, a.nullOut ? nullptr : &p16, per(a), a.maxP, a.minP); }, comb, zemStatusOk},
        {"PeriodicityLSPE_32f", lspeValid, [&](const PitchArgs& a) { return zemsPeriodicityLSPE_32f(src(a, f), a.len, &pf, &period, a.maxP, a.minP); }, lspe, zemStatusOk},
        {"PeriodicityLSPE_16s", lspeValid, [&](const PitchArgs& a) { return zemsPeriodicityLSPE_16s(src(a, i16), a.len, &p16, &period, a.maxP, a.minP); }, lspe, zemStatusOk},
        // Cross-correlation and pitch marks: null, then sizes, then values.
        {"CrossCorrCoeff", corrValid, [&](const PitchArgs& a) { return zemsCrossCorrCoeff_16s32f(src(a, i16), i16.data(), a.len, dst(a)); }, corr, zemStatusOk},
        {"CrossCorrCoeffPartial", corrValid, [&](const PitchArgs& a) {
             return zemsCrossCorrCoeffPartial_16s32f(src(a, i16), i16.data(), a.len, a.energy, dst(a)); }, partial, zemStatusOk},
        {"CrossCorrCoeffInterpolation", corrValid, [&](const PitchArgs& a) {
             return zemsCrossCorrCoeffInterpolation_16s32f(src(a, i16), i16.data(), a.len, dst(a), a.nullOut ? nullptr : out + 1); },
         corr, zemtest::kSkipValidCall},
        {"CrossCorrCoeffDecim", corrValid, [&](const PitchArgs& a) {
             return zemsCrossCorrCoeffDecim_16s32f(src(a, i16), i16.data(), a.len, a.minLen, dst(a), a.step); },
         {outNull, {"minLen", [](PitchArgs& a) { a.minLen = 0; }, zemStatusBadSize}, {"step", [](PitchArgs& a) { a.step = -1; }, zemStatusBadSize},
          {"maxLen < minLen", [](PitchArgs& a) { a.len = 7; }, zemStatusBadSize}}, zemStatusOk},
        {"PitchmarkToF0Cand_16s", corrValid, [&](const PitchArgs& a) {
             return zemsPitchmarkToF0Cand_16s_Sfs(src(a, i16), reinterpret_cast<Zem16s*>(dst(a)), a.len, 0); }, corr, zemtest::kSkipValidCall},
        {"PitchmarkToF0Cand_32f", marksValid, [&](const PitchArgs& a) { return zemsPitchmarkToF0Cand_32f(f.data(), dst(a), a.len); },
         {outNull, {"len", [](PitchArgs& a) { a.len = -7; }, zemStatusBadSize}}, zemtest::kSkipValidCall},
    };
    for (const auto& [name, valid, call, breaks, validStatus] : rows)
        zemtest::expectCheckOrder<PitchArgs>(name, valid, call, breaks, {zemtest::region(&pf, 1), zemtest::region(&p16, 1),
                                             zemtest::region(&period, 1), zemtest::region(out, 8)}, validStatus);
}

TEST(Pitch, CombPeriodicity) {
    // Against the stated steps, bit for bit, on random lag functions (ties included).
    float pf;
    Zem32s period;
    zemtest::Random rnd(31);
    for (int len : {61, 200, 1000, 4096}) {
        std::vector<float> x = rnd.uniform<float>(len, 0, 10);
        for (int i = 0; i < len; i += 7) x[i] = std::floor(x[i]);  // some equal sums
        const Best ref = combReference(x, 60, 3);
        ASSERT_EQ(zemsPeriodicity_32f(x.data(), len, &pf, &period, 60, 3), zemStatusOk);
        EXPECT_EQ(period, ref.period);
        EXPECT_EQ(pf, static_cast<float>(ref.value));
    }
    // All zeros: 0, 0 and success.
    const std::vector<float> zeros(100, 0.0f);
    pf = 5, period = 5;
    EXPECT_EQ(zemsPeriodicity_32f(zeros.data(), 100, &pf, &period, 50, 10), zemStatusOk);
    EXPECT_EQ(pf, 0.0f);
    EXPECT_EQ(period, 0);
    // Q15: a total above 2^31 halved; the ratio truncated and limited to 32767.
    std::vector<Zem32s> q(300);
    for (int i = 0; i < 300; ++i) q[i] = (i % 30 == 0) ? 1500000000 : 1000;
    Zem16s p16;
    ASSERT_EQ(zemsPeriodicity_32s16s(q.data(), 300, &p16, &period, 50, 20), zemStatusOk);
    EXPECT_EQ(period, 30);
    int64_t total = 0;
    for (Zem32s v : q) total += v;
    int e = 0;
    while (total > 0x7FFFFFFF) total >>= 1, ++e;
    const int64_t chosen = (int64_t{1500000000} * 6 + 0) >> e;  // teeth 0, 30, .., 150
    EXPECT_EQ(p16, static_cast<Zem16s>(std::min<int64_t>(chosen * 32768 / total, 32767)));
}

TEST(Pitch, LeastSquaresPeriodicity) {
    // A synthetic vowel at 8 kHz with F0 = 140 Hz (period 57.14): the best period is 57.
    const std::vector<float> x = vowel(912, 8000.0 / 140.0);
    float pf;
    Zem32s period;
    ASSERT_EQ(zemsPeriodicityLSPE_32f(x.data(), 912, &pf, &period, 160, 57), zemStatusOk);
    EXPECT_EQ(period, 57);
    EXPECT_GT(pf, 0.5f);
    std::vector<float> seg(x.begin(), x.begin() + 320);
    ASSERT_EQ(zemsPeriodicityLSPE_32f(seg.data(), 320, &pf, &period, 80, 20), zemStatusOk);
    EXPECT_NEAR(period, 57, 1);
    const Best ref = lspeReference(seg, 80, 20);
    EXPECT_EQ(period, ref.period);
    EXPECT_EQ(pf, static_cast<float>(ref.value));
    // Q15 on the same vowel agrees on the period.
    std::vector<Zem16s> s16(seg.begin(), seg.end());
    Zem16s p16;
    ASSERT_EQ(zemsPeriodicityLSPE_16s(s16.data(), 320, &p16, &period, 80, 20), zemStatusOk);
    EXPECT_NEAR(period, 57, 1);
    EXPECT_NEAR(p16 / 32768.0, ref.value, 0.05);
    // The length limit of 1024 holds beside the one of 16 periods.
    std::vector<float> longer = vowel(1025, 8000.0 / 140.0);
    EXPECT_EQ(zemsPeriodicityLSPE_32f(longer.data(), 1024, &pf, &period, 200, 64), zemStatusOk);
    EXPECT_EQ(zemsPeriodicityLSPE_32f(longer.data(), 1025, &pf, &period, 200, 100), zemStatusSizeTooLarge);
    // Silence: nothing qualifies.
    const std::vector<Zem16s> quiet(320, 0);
    ASSERT_EQ(zemsPeriodicityLSPE_16s(quiet.data(), 320, &p16, &period, 80, 20), zemStatusOk);
    EXPECT_EQ(p16, 0);
    EXPECT_EQ(period, 0);
}

TEST(Pitch, CrossCorrelation) {
    zemtest::Random rnd(41);
    const std::vector<Zem16s> a = rnd.integers<Zem16s>(500, -30000, 30000), b = rnd.integers<Zem16s>(501, -100, 100);
    float r;
    ASSERT_EQ(zemsCrossCorrCoeff_16s32f(a.data(), a.data(), 500, &r), zemStatusOk);
    EXPECT_EQ(r, 1.0f);
    const std::vector<Zem16s> zeros(500, 0);
    ASSERT_EQ(zemsCrossCorrCoeff_16s32f(a.data(), zeros.data(), 500, &r), zemStatusOk);
    EXPECT_EQ(r, 0.0f);
    double ab = 0, aa = 0, bb = 0;
    for (int i = 0; i < 500; ++i) ab += double(a[i]) * b[i], aa += double(a[i]) * a[i], bb += double(b[i]) * b[i];
    const double ref = double(float(ab)) / (std::sqrt(double(float(aa))) * std::sqrt(double(float(bb))));
    ASSERT_EQ(zemsCrossCorrCoeff_16s32f(a.data(), b.data(), 500, &r), zemStatusOk);
    EXPECT_EQ(r, static_cast<float>(ref));
    ASSERT_EQ(zemsCrossCorrCoeffPartial_16s32f(a.data(), b.data(), 500, float(aa), &r), zemStatusOk);
    EXPECT_EQ(r, static_cast<float>(ref));

    // Decimated: each window against a direct sum over its decimated samples (small
    // values keep every float sum exact, so any order agrees).
    const std::vector<Zem16s> s1 = rnd.integers<Zem16s>(120, -100, 100), s2 = rnd.integers<Zem16s>(120, -100, 100);
    for (int step : {1, 2, 3, 7}) {
        const int maxLen = 120, minLen = 50, count = (maxLen - minLen) / step + 1;
        std::vector<float> d(count + 1, -9.0f);
        ASSERT_EQ(zemsCrossCorrCoeffDecim_16s32f(s1.data(), s2.data(), maxLen, minLen, d.data(), step), zemStatusOk);
        const int firstB = (minLen + step - 1) / step * step;
        for (int j = 0; j < count; ++j) {
            double e1 = 0, e2 = 0, x = 0;
            const Zem16s* seg = s1.data() + (maxLen - minLen) - j * step;
            for (int i = 0; i < minLen + j * step; i += step) e1 += double(seg[i]) * seg[i];
            for (int i = 0; i < minLen; i += step) e2 += double(s2[i]) * s2[i];
            for (int k = 0; k < j; ++k) e2 += double(s2[firstB + k * step]) * s2[firstB + k * step];
            for (int i = 0; i <= minLen - 1 + j * step; i += step) x += double(seg[i]) * s2[i];
            EXPECT_EQ(d[j], static_cast<float>(x / (std::sqrt(e1) * std::sqrt(e2)))) << step << " " << j;
        }
        EXPECT_EQ(d[count], -9.0f);
    }

    // Interpolation: a = b gives beta 0 and result 1; a half-sample shift of a smooth
    // signal gives beta near 0.5; q = 0 is the warning; beta outside [0, 1) leaves result.
    std::vector<Zem16s> sine(201), half(200);
    for (int i = 0; i <= 200; ++i) sine[i] = static_cast<Zem16s>(std::lround(10000 * std::sin(0.05 * i)));
    for (int i = 0; i < 200; ++i) half[i] = static_cast<Zem16s>(std::lround(10000 * std::sin(0.05 * (i + 0.5))));
    float beta, res;
    ASSERT_EQ(zemsCrossCorrCoeffInterpolation_16s32f(sine.data(), sine.data(), 200, &beta, &res), zemStatusOk);
    EXPECT_EQ(beta, 0.0f);
    EXPECT_NEAR(res, 1.0f, 1e-6);
    ASSERT_EQ(zemsCrossCorrCoeffInterpolation_16s32f(half.data(), sine.data(), 200, &beta, &res), zemStatusOk);
    EXPECT_NEAR(beta, 0.5f, 0.01);
    EXPECT_NEAR(res, 1.0f, 1e-3);
    std::vector<Zem16s> later(200);
    for (int i = 0; i < 200; ++i) later[i] = sine[i + 1] + (sine[i + 1] - sine[i]);  // beyond b[i+1]
    res = -7.0f;
    ASSERT_EQ(zemsCrossCorrCoeffInterpolation_16s32f(later.data(), sine.data(), 200, &beta, &res), zemStatusOk);
    EXPECT_GE(beta, 1.0f);
    EXPECT_EQ(res, -7.0f);
    const std::vector<Zem16s> flat(201, 0);
    ASSERT_EQ(zemsCrossCorrCoeffInterpolation_16s32f(sine.data(), flat.data(), 200, &beta, &res),
              zemStatusDivideByZeroWarning);
    EXPECT_EQ(beta, 0.0f);
    EXPECT_EQ(res, 0.0f);
}

TEST(Pitch, PitchMarks) {
    const float marks[3] = {0.01f, 0.02f, 0.02f};
    float f0[3];
    EXPECT_EQ(zemsPitchmarkToF0Cand_32f(marks, f0, 2), zemStatusOk);
    EXPECT_NEAR(f0[0], 100.0f, 1e-3);
    EXPECT_NEAR(f0[1], 100.0f, 1e-3);
    EXPECT_EQ(zemsPitchmarkToF0Cand_32f(marks, f0, 3), zemStatusDivideByZeroWarning);
    EXPECT_EQ(f0[2], std::numeric_limits<float>::infinity());
    // 16-bit marks in samples: the rate times 2^-scaleFactor, rounded and saturated.
    std::vector<Zem16s> m16(150), r16(150);
    for (int i = 0; i < 150; ++i) m16[i] = static_cast<Zem16s>(57 * (i + 1));
    m16[149] = m16[148];
    EXPECT_EQ(zemsPitchmarkToF0Cand_16s_Sfs(m16.data(), r16.data(), 150, -20), zemStatusDivideByZeroWarning);
    EXPECT_EQ(r16[0], static_cast<Zem16s>(std::nearbyint(1.0f / 57.0f * 1048576.0f)));
    EXPECT_EQ(r16[149], 32767);
    // Above 100 marks the work array is allocated; its failure leaves dst untouched.
    const int64_t before = zemcoreTestAllocationCount();
    EXPECT_EQ(zemsPitchmarkToF0Cand_16s_Sfs(m16.data(), r16.data(), 100, 0), zemStatusOk);
    EXPECT_EQ(zemcoreTestAllocationCount(), before);
    zemtest::fillSentinel(r16.data(), 150);
    zemcoreTestFailAllocation(1);
    EXPECT_EQ(zemsPitchmarkToF0Cand_16s_Sfs(m16.data(), r16.data(), 101, 0), zemStatusNoMemory);
    zemcoreTestFailAllocation(0);
    EXPECT_TRUE(zemtest::untouched(r16.data(), 150));
}

}  // namespace
