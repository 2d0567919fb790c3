#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstring>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

int16_t sat16(int64_t v) { return int16_t(v > 32767 ? 32767 : v < -32768 ? -32768 : v); }

}  // namespace

TEST(AuroraSpectrum, SmoothedBinsInEveryFormWithTheirWraps) {
    zemtest::Random rnd(91);
    for (int len : {4, 8, 256}) {
        auto f = rnd.uniform<float>(len, -100, 100);
        std::vector<float> d(len / 4 + 1);
        ASSERT_EQ(zemsSmoothedPowerSpectrumAurora_32f(f.data(), d.data(), len), zemStatusOk);
        EXPECT_TRUE(sameBits(d[0], (f[0] * f[0] + f[2] * f[2] + f[3] * f[3]) / 2));
        for (int k = 1; k < len / 4; ++k)
            ASSERT_TRUE(sameBits(d[k], (f[4 * k] * f[4 * k] + f[4 * k + 1] * f[4 * k + 1] + f[4 * k + 2] * f[4 * k + 2] +
                                        f[4 * k + 3] * f[4 * k + 3]) / 2));
        EXPECT_TRUE(sameBits(d[len / 4], f[1] * f[1]));

        auto s = rnd.integers<Zem32s>(len, -3000000000LL / 2, 3000000000LL / 2);
        s[1] = 46341;  // its square wraps in 32 bits, in the last element only
        for (int sf : {0, 5, -3, 64 + 2, -64 - 1}) {
            std::vector<Zem32s> d32(len / 4 + 1);
            std::vector<Zem64s> d64(len / 4 + 1);
            ASSERT_EQ(zemsSmoothedPowerSpectrumAurora_32s_Sfs(s.data(), d32.data(), len, sf), zemStatusOk);
            ASSERT_EQ(zemsSmoothedPowerSpectrumAurora_32s64s_Sfs(s.data(), d64.data(), len, sf), zemStatusOk);
            auto shift = [&](int64_t v) {
                const int m = ((sf % 64) + 64) % 64;
                return sf >= 0 ? v >> m : int64_t(uint64_t(v) << ((-int64_t(sf)) % 64));
            };
            auto sq = [](int64_t v) { return uint64_t((v * v) >> 1); };
            for (int k = 0; k < len / 4; ++k) {
                const uint64_t sum = k == 0 ? sq(s[0]) + sq(s[2]) + sq(s[3])
                                            : sq(s[4 * k]) + sq(s[4 * k + 1]) + sq(s[4 * k + 2]) + sq(s[4 * k + 3]);
                const int64_t v = shift(int64_t(sum));
                ASSERT_EQ(d64[k], v);
                ASSERT_EQ(d32[k], Zem32s(std::min<int64_t>(std::max<int64_t>(v, INT32_MIN), INT32_MAX)));
            }
            const int64_t last = shift(int64_t(int32_t(uint32_t(46341) * 46341u)));
            EXPECT_LT(last, sf == 0 ? 0 : INT64_MAX);  // the wrapped square is negative
            EXPECT_EQ(d64[len / 4], last);
        }
    }
    // 16 bits: four -32768 halved squares wrap negative in 32 bits and clamp to -32768.
    const Zem16s w[8] = {-32768, 0, -32768, -32768, -32768, -32768, -32768, -32768};
    Zem16s d[3];
    ASSERT_EQ(zemsSmoothedPowerSpectrumAurora_16s(w, d, 8), zemStatusOk);
    EXPECT_EQ(d[0], sat16(int32_t(3u * (1u << 29))));
    EXPECT_EQ(d[1], -32768);
    EXPECT_EQ(d[2], 0);
}

TEST(AuroraNoise, UpdateFormsAndTheirZeroAndOverflowRules) {
    zemtest::Random rnd(92);
    const int len = 65;
    auto a = rnd.uniform<float>(len, 0, 1000), b = rnd.uniform<float>(len, 0, 1000);
    a[3] = 0, b[3] = 0;
    std::vector<float> d(len);
    std::fesetround(FE_UPWARD);
    ASSERT_EQ(zemsNoiseSpectrumUpdate_Aurora_32f(a.data(), b.data(), d.data(), len), zemStatusOk);
    EXPECT_EQ(std::fegetround(), FE_UPWARD);  // the caller's mode comes back
    std::fesetround(FE_TONEAREST);
    for (int k = 0; k < len; ++k) {
        const double A = a[k], B = b[k];
        const double want = A + B == 0 ? 0 : B * (0.9 + 0.1 * (A / (A + B)) * (1 + B / (B + 0.1 * A)));
        ASSERT_NEAR(d[k], want, 1e-3 * std::fabs(want)) << k;  // 12 good bits asked for
    }
    EXPECT_EQ(d[3], 0.0f);

    auto a16 = rnd.integers<Zem16s>(len, -2000, 30000), b16 = rnd.integers<Zem16s>(len, -2000, 30000);
    a16[0] = 7, b16[0] = -7;  // A = -B: 0
    std::vector<Zem16s> d16(len);
    ASSERT_EQ(zemsNoiseSpectrumUpdate_Aurora_16s_Sfs(a16.data(), b16.data(), d16.data(), len, -1), zemStatusOk);
    for (int k = 0; k < len; ++k) {
        const float A = a16[k], B = b16[k], den2 = B + 0.1f * A;
        float v = 0;
        if (a16[k] + b16[k] != 0 && int(den2) != 0) v = B * (0.9f + 0.1f * (A / float(a16[k] + b16[k])) * (1.0f + B / den2)) * 2.0f;
        ASSERT_EQ(d16[k], v > 32767 ? 32767 : v < -32768 ? -32768 : Zem16s(v)) << k;
    }
    EXPECT_EQ(d16[0], 0);
    // 32 bits: a result of 2^31 or more stores 0x80000000.
    const Zem32s big[2] = {2000000000, 1}, noise[2] = {2000000000, 1};
    Zem32s d32[2];
    ASSERT_EQ(zemsNoiseSpectrumUpdate_Aurora_32s_Sfs(big, noise, d32, 2, -2), zemStatusOk);
    EXPECT_EQ(d32[0], INT32_MIN);
}

TEST(AuroraWiener, FloatAndQ14Gains) {
    zemtest::Random rnd(93);
    const int len = 65;
    auto P = rnd.uniform<float>(len, 0, 500), N = rnd.uniform<float>(len, 0.5, 300), D = rnd.uniform<float>(len, 0, 400);
    N[5] = 0;
    std::vector<float> g(len);
    ASSERT_EQ(zemsWienerFilterDesign_Aurora_32f(P.data(), N.data(), D.data(), g.data(), len), zemStatusOk);
    for (int k = 0; k < len; ++k) {
        const float r = 1.0f / N[k], e = std::max(P[k] - N[k], 0.0f), eta = (0.98f * D[k] + 0.02f * e) * r;
        float x = eta / (eta + 1.0f) * (P[k] * r);
        if (!(x >= 0.07943282f)) x = 0.07943282f;
        ASSERT_TRUE(sameBits(g[k], x / (x + 1.0f))) << k;
    }
    EXPECT_FLOAT_EQ(g[5], 0.07943282f / 1.07943282f);

    auto p = rnd.integers<Zem16s>(len, 0, 20000), n = rnd.integers<Zem16s>(len, 1, 8000), d = rnd.integers<Zem16s>(len, 0, 20000);
    n[0] = 0;
    std::vector<Zem16s> q(len);
    ASSERT_EQ(zemsWienerFilterDesign_Aurora_16s(p.data(), n.data(), d.data(), q.data(), len), zemStatusOk);
    EXPECT_EQ(q[0], 1206);
    for (int k = 1; k < len; ++k) {
        const int64_t qq = 16384 / int32_t(n[k]);
        const int64_t eta = ((int64_t(d[k]) * 4014 + std::max<int64_t>(p[k] - n[k], 0) * 82) * qq) >> 14;
        const int64_t h = (eta << 14) / (eta + 4096);
        int64_t x = ((h * p[k]) >> 14) * qq;
        x = x <= 1301 ? 1301 : x;
        ASSERT_EQ(q[k], Zem16s(uint16_t((x << 7) / ((x >> 7) + 128)))) << k;
    }
}

TEST(AuroraFilter, TabsResidualAndEqualisation) {
    Zem32f half[10], taps[17];
    for (int i = 0; i < 10; ++i) half[i] = float(i);
    ASSERT_EQ(zemsTabsCalculation_Aurora_32f(half, taps), zemStatusOk);
    const int from[17] = {8, 7, 6, 5, 4, 3, 2, 1, 0, 2, 3, 4, 5, 6, 7, 8, 9};
    for (int k = 0; k < 17; ++k) EXPECT_EQ(taps[k], float(from[k]));

    zemtest::Random rnd(94);
    auto x = rnd.uniform<float>(96, -1, 1), t = rnd.uniform<float>(17, -0.5, 0.5);
    std::vector<float> y(80);
    ASSERT_EQ(zemsResidualFilter_Aurora_32f(x.data(), y.data(), t.data()), zemStatusOk);
    for (int n = 0; n < 80; ++n) {
        float acc = 0;
        for (int k = 0; k < 17; ++k) acc += t[k] * x[n + k];
        ASSERT_TRUE(sameBits(y[n], acc));
    }
    auto x16 = rnd.integers<Zem16s>(96, -32768, 32767), t16 = rnd.integers<Zem16s>(17, -32768, 32767);
    x16[0] = x16[1] = t16[0] = t16[1] = -32768;  // the first pair wraps in 32 bits
    for (int sf : {14, 17, -3, 200, -200}) {
        std::vector<Zem16s> y16(80);
        ASSERT_EQ(zemsResidualFilter_Aurora_16s_Sfs(x16.data(), y16.data(), t16.data(), sf), zemStatusOk);
        for (int n = 0; n < 80; ++n) {
            double acc = 0;
            for (int k = 0; k < 16; k += 2) acc += double(int32_t(uint32_t(x16[n + k] * t16[k]) + uint32_t(x16[n + k + 1] * t16[k + 1])));
            acc += double(x16[n + 16] * t16[16]);
            double v = acc * std::ldexp(1.0, -std::max(-1024, std::min(sf, 1087)));
            v = std::min(32767.0, std::max(-32768.0, v));
            ASSERT_EQ(y16[n], Zem16s(std::nearbyint(v))) << sf << " " << n;
        }
    }

    float ref[3] = {1, 2, 3}, cep[3] = {2, 2, 2}, bias[3] = {0.5f, 0.25f, 0};
    ASSERT_EQ(zemsBlindEqualization_Aurora_32f(ref, cep, bias, 3, 3.5f), zemStatusOk);
    const float w = (3.5f - 3.296875f) * 0.0087890625f;
    EXPECT_TRUE(sameBits(cep[0], 1.5f) && sameBits(bias[0], 0.5f + w * (1.5f - 1.0f)));
    Zem16s r16[2] = {100, -100}, c16[2] = {32000, -32000}, b16[2] = {-2000, 2000};
    ASSERT_EQ(zemsBlindEqualization_Aurora_16s(r16, c16, b16, 2, 1000), zemStatusOk);  // full step 576
    EXPECT_EQ(c16[0], 32767);  // 34000 saturated in the store, unsaturated in the bias
    EXPECT_EQ(b16[0], sat16(-2000 + ((int64_t(34000 - 100) * 576) >> 16)));
    EXPECT_EQ(b16[1], sat16(2000 + ((int64_t(-34000 + 100) * 576) >> 16)));
    Zem16s b0[1] = {7}, c0[1] = {10}, r0[1] = {0};
    ASSERT_EQ(zemsBlindEqualization_Aurora_16s(r0, c0, b0, 1, 211), zemStatusOk);
    EXPECT_EQ(c0[0], 3);
    EXPECT_EQ(b0[0], 7);
}

namespace {

// The waveform weights by their stated steps, in double for the float form.
std::vector<double> refWaveWeights(const std::vector<double>& x, double base, double raised, double mark,
                                   int (*run)(int)) {
    std::vector<double> T(200), S(200), W(200, base);
    T[0] = std::fabs((x[0] - x[1]) * x[0]);
    for (int n = 1; n < 199; ++n) T[n] = std::fabs(x[n] * x[n] - x[n - 1] * x[n + 1]);
    T[199] = std::fabs((x[199] - x[198]) * x[199]);
    for (int n = 0; n < 200; ++n) {  // the centred sum of 9 with the ends repeated
        S[n] = 0;
        for (int k = -4; k <= 4; ++k) S[n] += T[std::min(199, std::max(0, n + k))];
    }
    auto firstMax = [&](int a, int b) { return int(std::max_element(S.begin() + a, S.begin() + b + 1) - S.begin()); };
    const int pos = firstMax(0, 199);
    std::vector<int> F{pos}, B{pos}, M;
    while (pos < 175 && F.back() < 175) {
        const int a = F.back(), L = a < 121 ? 55 : 175 - a;
        F.push_back(firstMax(a + 25, a + 25 + L - 1));
    }
    while (pos > 25 && B.back() > 25) {
        const int a = B.back(), L = std::min(a, 79) - 24;
        B.push_back(firstMax(a - L - 24, a - 25));
    }
    for (size_t i = B.size() - 1; i >= 1; --i) M.push_back(B[i]);
    M.insert(M.end(), F.begin(), F.end());
    auto set = [&](int k, double v) { if (k >= 0 && k < 200) W[k] = v; };
    for (size_t i = 0; i + 1 < M.size(); ++i) {
        const int s = std::max(M[i] - 4, 0), e = M[i] + run(M[i + 1] - M[i]) - 4;
        for (int k = s; k < e; ++k) set(k, raised);
        const int p = s < e ? e : s;
        if (s > 0) set(s - 1, mark), set(s, mark);
        set(p - 1, mark), set(p, mark);
    }
    const int m = M.back(), s = m - 4, e = std::min(m + run(m - M[M.size() - 2]) - 4, 200);
    int end = s;
    if (s < e) {
        for (int k = s; k < e; ++k) set(k, raised);
        end = e;
    }
    if (s < 198) set(s - 1, mark), set(s, mark);
    if (end < 200) set(end - 1, mark), set(end, mark);
    return W;
}

}  // namespace

TEST(AuroraWave, WeightsAroundThePulsesInBothForms) {
    zemtest::Random rnd(95);
    for (int period : {0, 31, 57, 80}) {
        // A pulse train (or silence) over low noise; integer samples so both forms see it.
        std::vector<Zem16s> x16(200);
        for (int n = 0; n < 200; ++n)
            x16[n] = Zem16s(period && (n + 7) % period == 0 ? 9000 : (period ? rnd.integer(-300, 300) : 0));
        std::vector<float> xf(x16.begin(), x16.end());
        std::vector<double> xd(x16.begin(), x16.end());
        std::vector<float> yf(200);
        std::vector<Zem16s> y16(200);
        ASSERT_EQ(zemsWaveProcessing_Aurora_32f(xf.data(), yf.data()), zemStatusOk);
        ASSERT_EQ(zemsWaveProcessing_Aurora_16s(x16.data(), y16.data()), zemStatusOk);
        const auto wf = refWaveWeights(xd, 0.8, 1.2, 1.0, [](int d) { return int(0.8f * float(d)); });
        const auto wi = refWaveWeights(xd, 27, 38, 32, [](int d) { return (d * 27) >> 5; });
        for (int n = 0; n < 200; ++n) {
            ASSERT_TRUE(sameBits(yf[n], float(float(wf[n]) * xf[n]))) << period << " " << n;
            const double q = wi[n] * x16[n] / 32.0;
            ASSERT_EQ(y16[n], sat16(int64_t(std::nearbyint(q)))) << period << " " << n;
        }
    }
}

TEST(AuroraBands, SplitAndHighBandCoding) {
    zemtest::Random rnd(96);
    const int len = 201, tapsLen = 23;
    // The source ends where reading ends, element (len rounded down to even) + tapsLen - 2,
    // so that one element more is a sanitizer report.
    auto x = rnd.uniform<float>((len & ~1) + tapsLen - 1, -1, 1), t = rnd.uniform<float>(tapsLen, -0.3, 0.3);
    std::vector<float> lo(len / 2), hi(len / 2);
    ASSERT_EQ(zemsLowHighFilter_Aurora_32f(x.data(), lo.data(), hi.data(), len, t.data(), tapsLen), zemStatusOk);
    for (int n = 0; n < len / 2; ++n) {
        float l = 0, h = 0;
        for (int k = 0; k < tapsLen; ++k) {
            l += t[k] * x[2 * n + k];
            h += ((n + 1 + k) % 2 ? -1.0f : 1.0f) * (t[k] * x[2 * n + k]);
        }
        ASSERT_TRUE(sameBits(lo[n], l)) << n;
        ASSERT_NEAR(hi[n], h, 1e-6) << n;
    }
    float one[1] = {5};
    EXPECT_EQ(zemsLowHighFilter_Aurora_32f(x.data(), one, one, 1, t.data(), 1), zemStatusOk);
    EXPECT_EQ(one[0], 5.0f);  // len 1: nothing written
    std::vector<Zem16s> x16((len & ~1) + tapsLen - 1), t16(tapsLen), l16(len / 2), h16(len / 2);
    for (auto& v : x16) v = Zem16s(rnd.integer(-32768, 32767));
    for (auto& v : t16) v = Zem16s(rnd.integer(-32768, 32767));
    ASSERT_EQ(zemsLowHighFilter_Aurora_16s_Sfs(x16.data(), l16.data(), h16.data(), len, t16.data(), tapsLen, 18), zemStatusOk);
    for (int n = 0; n < len / 2; ++n) {
        double l = 0, h = 0;
        for (int k = 0; k < tapsLen; ++k) {
            const double p = double(int32_t(t16[k]) * x16[2 * n + k]);
            l += p, h += (k % 2 ? -p : p);
        }
        h = n % 2 ? h : -h;
        ASSERT_EQ(l16[n], Zem16s(std::nearbyint(std::min(32767.0, std::max(-32768.0, l / 262144)))));
        ASSERT_EQ(h16[n], Zem16s(std::nearbyint(std::min(32767.0, std::max(-32768.0, h / 262144)))));
    }
    // High band coding: all zeros give -10 in float.  In integers every log is -1280 and the
    // weighted terms, each shifted right arithmetically by 10, sum to -128 - 257 - 897 =
    // -1282 (not -1280: the shifts round down), so dst = -1282 >> 7 = -11.
    std::vector<float> zf(129, 0.0f), out(3);
    ASSERT_EQ(zemsHighBandCoding_Aurora_32f(zf.data(), zf.data(), zf.data(), out.data()), zemStatusOk);
    for (float v : out) EXPECT_FLOAT_EQ(v, -10.0f);
    std::vector<Zem32s> zi(129, 0), oi(3);
    ASSERT_EQ(zemsHighBandCoding_Aurora_32s_Sfs(zi.data(), zi.data(), zi.data(), oi.data(), 0), zemStatusOk);
    for (Zem32s v : oi) EXPECT_EQ(v, -11);
    ASSERT_EQ(zemsHighBandCoding_Aurora_32s_Sfs(zi.data(), zi.data(), zi.data(), oi.data(), -8), zemStatusOk);
    for (Zem32s v : oi) EXPECT_EQ(v, int32_t(uint32_t(-1282) << 31));  // -8 shifts left by 31
    auto low = rnd.uniform<float>(65, 0.5, 20), high = rnd.uniform<float>(129, 0.5, 20);
    const float bands[3] = {30, 0, 70};
    ASSERT_EQ(zemsHighBandCoding_Aurora_32f(bands, low.data(), high.data(), out.data()), zemStatusOk);
    auto L = [](double v) { return v > std::exp(-10.0) ? std::log(v) : -10.0; };
    auto sum = [](const std::vector<float>& v, int a, int b) { double s = 0; for (int k = a; k <= b; ++k) s += v[k]; return s; };
    const double l0 = L(sum(low, 33, 38)), l1 = L(sum(low, 39, 48)), l2 = L(sum(low, 49, 64));
    const double h0 = L(sum(high, 66, 76) * 0.5), h1 = L(sum(high, 78, 96) * 0.5), h2 = L(sum(high, 98, 128) * 0.5);
    for (int j = 0; j < 3; ++j) {
        const double b = L(bands[j]);
        EXPECT_NEAR(out[j], 0.1 * (h0 - (l0 - b)) + 0.2 * (h1 - (l1 - b)) + 0.7 * (h2 - (l2 - b)), 1e-5);
    }
}

// Steps whose only checks are their pointers (taps, residual, waveform, high band coding)
// are the sweep's: each pointer null fails with nothing written.
TEST(Aurora, CheckOrders) {
    float f[256] = {}, o[256];
    struct A {
        const float* a;
        float* out;
        int len = 8;
    };
    using B = zemtest::Break<A>;
    const B a{"src", [](A& x) { x.a = nullptr; }, zemStatusNullPointer};
    const B out{"dst", [](A& x) { x.out = nullptr; }, zemStatusNullPointer};
    const B len{"len", [](A& x) { x.len = 0; }, zemStatusBadSize};
    const B notFour{"len % 4", [](A& x) { x.len = 6; }, zemStatusBadSize};
    const std::vector<zemtest::Region> r{zemtest::region(o, 256)};
    using zemtest::expectCheckOrder;
    expectCheckOrder<A>("Smoothed_32f", {f, o}, [](const A& x) { return zemsSmoothedPowerSpectrumAurora_32f(x.a, x.out, x.len); }, {a, out, notFour}, r);
    expectCheckOrder<A>("Smoothed_16s", {f, o}, [](const A& x) { return zemsSmoothedPowerSpectrumAurora_16s((const Zem16s*)x.a, (Zem16s*)x.out, x.len); }, {a, out, len}, r);
    expectCheckOrder<A>("Smoothed_32s", {f, o}, [](const A& x) { return zemsSmoothedPowerSpectrumAurora_32s_Sfs((const Zem32s*)x.a, (Zem32s*)x.out, x.len, 0); }, {a, out, notFour}, r);
    expectCheckOrder<A>("Smoothed_32s64s", {f, o}, [](const A& x) { return zemsSmoothedPowerSpectrumAurora_32s64s_Sfs((const Zem32s*)x.a, (Zem64s*)x.out, x.len, 0); }, {a, out, len}, r);
    expectCheckOrder<A>("Noise_32f", {f, o}, [&](const A& x) { return zemsNoiseSpectrumUpdate_Aurora_32f(x.a, f, x.out, x.len); }, {a, out, len}, r);
    expectCheckOrder<A>("Noise_16s", {f, o}, [&](const A& x) { return zemsNoiseSpectrumUpdate_Aurora_16s_Sfs((const Zem16s*)x.a, (const Zem16s*)f, (Zem16s*)x.out, x.len, 0); }, {a, out, len}, r);
    expectCheckOrder<A>("Noise_32s", {f, o}, [&](const A& x) { return zemsNoiseSpectrumUpdate_Aurora_32s_Sfs((const Zem32s*)x.a, (const Zem32s*)f, (Zem32s*)x.out, x.len, 0); }, {a, out, len}, r);
    expectCheckOrder<A>("Wiener_32f", {f, o}, [&](const A& x) { return zemsWienerFilterDesign_Aurora_32f(x.a, f, f, x.out, x.len); }, {a, out, len}, r);
    expectCheckOrder<A>("Wiener_16s", {f, o}, [&](const A& x) { return zemsWienerFilterDesign_Aurora_16s((const Zem16s*)x.a, (const Zem16s*)f, (const Zem16s*)f, (Zem16s*)x.out, x.len); }, {a, out, len}, r);
    expectCheckOrder<A>("Blind_32f", {f, o}, [&](const A& x) { return zemsBlindEqualization_Aurora_32f(x.a, x.out, o + 64, x.len, 0); }, {a, out, len}, r);
    expectCheckOrder<A>("Blind_16s", {f, o}, [&](const A& x) { return zemsBlindEqualization_Aurora_16s((const Zem16s*)x.a, (Zem16s*)x.out, (Zem16s*)(o + 64), x.len, 0); }, {a, out, len}, r);
    // The band split's own order: source and taps, tap count, outputs, length.
    struct L {
        const float* src;
        const float* taps;
        int tapsLen = 3;
        float* low;
        int len = 8;
    };
    using C = zemtest::Break<L>;
    const std::vector<C> split{{"taps", [](L& x) { x.taps = nullptr; }, zemStatusNullPointer},
                               {"tapsLen", [](L& x) { x.tapsLen = 0; }, zemStatusBadSize},
                               {"dstLow", [](L& x) { x.low = nullptr; }, zemStatusNullPointer},
                               {"len", [](L& x) { x.len = -1; }, zemStatusBadSize}};
    zemtest::expectCheckOrder<L>("LowHigh_32f", {f, f, 3, o}, [&](const L& x) { return zemsLowHighFilter_Aurora_32f(x.src, x.low, o + 128, x.len, x.taps, x.tapsLen); }, split, r);
    zemtest::expectCheckOrder<L>("LowHigh_16s", {f, f, 3, o}, [&](const L& x) { return zemsLowHighFilter_Aurora_16s_Sfs((const Zem16s*)x.src, (Zem16s*)x.low, (Zem16s*)(o + 128), x.len, (const Zem16s*)x.taps, x.tapsLen, 0); }, split, r);
}
