#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "logdomain_reference.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

// Truncation toward zero of v * 2^sf, saturated to T (NaN to the bottom).
template <class T>
T truncScaled(float v, int sf) {
    if (std::isnan(v)) return std::numeric_limits<T>::min();
    const long double r = std::trunc(std::ldexp(static_cast<long double>(v), sf));
    if (r > std::numeric_limits<T>::max()) return std::numeric_limits<T>::max();
    if (r < std::numeric_limits<T>::min()) return std::numeric_limits<T>::min();
    return static_cast<T>(r);
}

template <class T>
T referenceLogAddInteger(T x, T y, int sf) {
    const float f = static_cast<float>(std::ldexp(1.0, -std::clamp(sf, -1024, 1087)));
    auto scaled = [f](T v) { return f == 1.0f ? static_cast<float>(v) : (f == 0.0f ? 0.0f : static_cast<float>(v) * f); };
    return truncScaled<T>(logref::add32(scaled(x), scaled(y), false), sf);
}

template <class T>
T referenceLogSumInteger(const std::vector<T>& v, int sf) {
    if (v.size() == 1) return v[0];
    const double s = std::ldexp(1.0, -std::clamp(sf, -1024, 1087));
    constexpr double hi = std::numeric_limits<T>::max(), lo = std::numeric_limits<T>::min();
    if (v.size() <= 6) {
        const auto& p = zem::logdomain::kPolyShort;
        double acc = s * v[0];
        for (size_t i = 1; i < v.size(); ++i) {
            const double w = s * v[i], m = std::max(acc, w), d = -std::fabs(acc - w);
            if (d < -15.3195879547406) {
                acc = static_cast<float>(std::max(-4500000.0, m));
                continue;
            }
            const int seg = d > -2.55 ? 0 : (d > -6.8 ? 1 : 2);
            const double x = d + (seg == 0 ? 0.0 : seg == 1 ? 2.55 : 6.8);
            double h = p[seg][0];
            for (int k = 1; k < 10; ++k) h = h * x + p[seg][k];
            acc = static_cast<float>((m + p[seg][10]) + x * h);
        }
        const double r = acc / s;
        return r > hi ? T(hi) : (r < lo ? T(lo) : static_cast<T>(std::trunc(r)));
    }
    const float f = static_cast<float>(s);
    float running = 0;
    for (size_t start = 0; start < v.size(); start += 128) {
        std::vector<float> block;
        if (start > 0) block.push_back(running);
        for (size_t i = start; i < std::min(v.size(), start + 128); ++i)
            block.push_back(f == 1.0f ? float(v[i]) : (f == 0.0f ? 0.0f : float(v[i]) * f));
        running = logref::sum32(block);
    }
    const float r = static_cast<float>(static_cast<double>(running) / s);
    const float hiF = sizeof(T) == 4 ? 2147483648.0f : 32767.0f;
    if (r > hiF) return T(hi);
    if (r < float(lo)) return T(lo);
    if (r == 2147483648.0f) return std::numeric_limits<T>::min();  // the wrap of the top limit
    return static_cast<T>(std::trunc(r));
}

}  // namespace

TEST(LogSum, FloatSumsFollowTheStatedGrouping) {
    zemtest::Random rnd(201);
    std::vector<int> lens;
    for (int n = 1; n <= 40; ++n) lens.push_back(n);
    for (int n : {127, 128, 129, 257, 1000}) lens.push_back(n);
    for (int n : lens) {
        for (double spread : {3.0, 40.0}) {
            auto v = rnd.uniform<float>(n, -spread, 0);
            float out = 1.0f;
            ASSERT_EQ(zemsLogSum_32f(v.data(), &out, n), zemStatusOk);
            ASSERT_TRUE(sameBits(out, logref::sum32(v))) << n;
            std::vector<double> w(v.begin(), v.end());
            double outD = 1.0;
            ASSERT_EQ(zemsLogSum_64f(w.data(), &outD, n), zemStatusOk);
            ASSERT_TRUE(sameBits(outD, logref::sum64(w))) << n;
            long double exact = 0;
            for (double x : w) exact += std::exp((long double)x);
            // Each dropped term costs at most ln(1 + e^-23.03) = 1e-10.
            EXPECT_NEAR(outD, std::log(exact), 1.1e-10 * n);
        }
    }
}

TEST(LogSum, SequentialStepsUseTheSingleElementPath) {
    // A lone last element exactly at the drop threshold is dropped ...
    const double t = -23.0258509299405;
    std::vector<double> v = {0.0, -100.0, -100.0, -100.0, t};
    double r;
    zemsLogSum_64f(v.data(), &r, 5);
    EXPECT_EQ(r, 0.0);
    v[4] = std::nextafter(t, 0.0);  // just above the threshold: kept
    zemsLogSum_64f(v.data(), &r, 5);
    EXPECT_GT(r, 0.0);
    // ... and at -6.8 the single-precision path takes segment 2's coefficients at x = 0.
    const float two[2] = {0.0f, -6.800000190734863f};
    float s;
    zemsLogSum_32f(two, &s, 2);
    EXPECT_EQ(s, 0.07518322765827179f);
    const float drop[2] = {0.0f, -15.319587707519531f};
    zemsLogSum_32f(drop, &s, 2);
    EXPECT_EQ(s, 0.0f);
}

TEST(LogSum, IntegerShortAndLongPaths) {
    zemtest::Random rnd(203);
    for (int sf = -8; sf <= 8; ++sf) {
        for (int n : {1, 2, 3, 6, 7, 8, 31, 128, 129, 300}) {
            auto s = rnd.integers<Zem16s>(n, -3000, 50);
            auto w = rnd.integers<Zem32s>(n, -3000000, 50);
            if (n > 2) s[1] = 32767, w[1] = INT32_MAX;
            Zem16s outS;
            Zem32s outW;
            ASSERT_EQ(zemsLogSum_16s_Sfs(s.data(), &outS, n, sf), zemStatusOk);
            ASSERT_EQ(zemsLogSum_32s_Sfs(w.data(), &outW, n, sf), zemStatusOk);
            ASSERT_EQ(outS, referenceLogSumInteger(s, sf)) << "n " << n << " sf " << sf;
            ASSERT_EQ(outW, referenceLogSumInteger(w, sf)) << "n " << n << " sf " << sf;
        }
    }
    const Zem16s five[2] = {5, 5}, minus[2] = {-5, -5}, one = 12345;
    Zem16s out;
    zemsLogSum_16s_Sfs(five, &out, 2, 0);
    EXPECT_EQ(out, 5);
    zemsLogSum_16s_Sfs(minus, &out, 2, 0);
    EXPECT_EQ(out, -4);
    zemsLogSum_16s_Sfs(&one, &out, 1, 7);  // one element: copied, the scale ignored
    EXPECT_EQ(out, 12345);
    // The long path's Zem32s limit is the float 2^31 itself: a result that rounds to it
    // is not caught and converts to the bottom of the range; Zem16s saturates.
    const std::vector<Zem32s> top(7, INT32_MAX);
    Zem32s outW;
    zemsLogSum_32s_Sfs(top.data(), &outW, 7, 0);
    EXPECT_EQ(outW, INT32_MIN);
    const std::vector<Zem16s> top16(7, 32767);
    zemsLogSum_16s_Sfs(top16.data(), &out, 7, 0);
    EXPECT_EQ(out, 32767);
}

TEST(LogAddInteger, ScaledThroughFloatAndTruncatedBack) {
    zemtest::Random rnd(205);
    for (int sf = -8; sf <= 8; ++sf) {
        for (int n : {1, 5, 8, 127, 128, 129, 300}) {
            auto a = rnd.integers<Zem16s>(n, -32768, 32767), b = rnd.integers<Zem16s>(n, -32768, 32767);
            auto c = rnd.integers<Zem32s>(n, INT32_MIN, INT32_MAX), d = rnd.integers<Zem32s>(n, INT32_MIN, INT32_MAX);
            for (int i = 0; i < n; i += 3) b[i] = static_cast<Zem16s>(std::clamp(a[i] + (i % 40) - 20, -32768, 32767));
            for (int i = 0; i < n; i += 3) d[i] = c[i] / 2 + (i % 40);
            std::vector<Zem16s> sb(b);
            std::vector<Zem32s> sd(d);
            ASSERT_EQ(zemsLogAdd_16s_Sfs(a.data(), sb.data(), n, sf), zemStatusOk);
            ASSERT_EQ(zemsLogAdd_32s_Sfs(c.data(), sd.data(), n, sf), zemStatusOk);
            for (int i = 0; i < n; ++i) {
                ASSERT_EQ(sb[i], referenceLogAddInteger(a[i], b[i], sf)) << a[i] << " " << b[i] << " sf " << sf;
                ASSERT_EQ(sd[i], referenceLogAddInteger(c[i], d[i], sf)) << c[i] << " " << d[i] << " sf " << sf;
            }
        }
    }
    for (int sf : {-2000, 2000, INT32_MIN, INT32_MAX}) {  // extreme factors: defined results, no fault
        Zem32s x[2] = {5, -7}, y[2] = {3, INT32_MIN};
        EXPECT_EQ(zemsLogAdd_32s_Sfs(x, y, 2, sf), zemStatusOk);
    }
}

TEST(LogSub, FloatAndDoubleForms) {
    zemtest::Random rnd(207);
    const int n = 500;
    auto x = rnd.uniform<float>(n, -50, 50);
    std::vector<float> y(n);
    auto gaps = rnd.uniform<float>(n, 1e-3, 25);
    for (int i = 0; i < n; ++i) y[i] = x[i] - gaps[i];
    x[0] = -4600000.0f, y[0] = -4600030.0f;  // dropped, floored
    std::vector<float> out(y);
    ASSERT_EQ(zemsLogSub_32f(x.data(), out.data(), n), zemStatusOk);
    for (int i = 0; i < n; ++i) {
        const double d = static_cast<double>(y[i] - x[i]);
        float want;
        if (d < -15.3195879547406) want = std::max(-4500000.0f, x[i]);
        else if (1.0 - std::exp(d) <= 1.0057e-37) want = -4500000.0f;
        else want = static_cast<float>(static_cast<double>(x[i]) + std::log(1.0 - std::exp(d)));
        ASSERT_TRUE(sameBits(out[i], want)) << i;
    }
    std::vector<double> xd(x.begin(), x.end()), yd(y.begin(), y.end());
    xd[1] = -9500000000.0, yd[1] = -9500000100.0;
    std::vector<double> outD(yd);
    ASSERT_EQ(zemsLogSub_64f(xd.data(), outD.data(), n), zemStatusOk);
    EXPECT_EQ(outD[1], -10000000000.0);
    for (int i = 2; i < n; ++i) {
        const double d = yd[i] - xd[i];
        const double want = d < -23.0258509299405 ? xd[i] : xd[i] + std::log(1.0 - std::exp(d));
        ASSERT_TRUE(sameBits(outD[i], want)) << i;
    }
}

TEST(LogSub, FirstPassRejectsBeforeAnyStore) {
    std::vector<float> x = {1.0f, 2.0f, 3.0f}, y = {0.0f, 1.0f, 3.0f};
    const auto keep = y;
    EXPECT_EQ(zemsLogSub_32f(x.data(), y.data(), 3), zemStatusOutOfRange);  // equal in the last element
    EXPECT_EQ(y, keep);
    std::vector<double> xd = {1.0, 2.0}, yd = {0.5, 2.5};
    EXPECT_EQ(zemsLogSub_64f(xd.data(), yd.data(), 2), zemStatusOutOfRange);
    EXPECT_EQ(yd[0], 0.5);
    Zem16s s[2] = {10, 3}, t[2] = {9, 3};
    EXPECT_EQ(zemsLogSub_16s_Sfs(s, t, 2, 0), zemStatusOutOfRange);
    EXPECT_EQ(t[0], 9);
    // The 32-bit difference wraps: INT32_MIN - 1 is positive, so this pair is out of range.
    Zem32s w[1] = {1}, v[1] = {INT32_MIN};
    EXPECT_EQ(zemsLogSub_32s_Sfs(w, v, 1, 0), zemStatusOutOfRange);
    EXPECT_EQ(v[0], INT32_MIN);
}

TEST(LogSub, IntegerFormsAddTheLogTermInNaturalUnits) {
    zemtest::Random rnd(209);
    for (int sf = -8; sf <= 8; ++sf) {
        auto x = rnd.integers<Zem32s>(200, -100000, 100000);
        std::vector<Zem32s> y(200);
        auto gaps = rnd.integers<Zem32s>(200, 1, 60);
        for (int i = 0; i < 200; ++i) y[i] = x[i] - gaps[i];
        std::vector<Zem32s> out(y);
        ASSERT_EQ(zemsLogSub_32s_Sfs(x.data(), out.data(), 200, sf), zemStatusOk);
        std::vector<Zem16s> xs(200), ys(200), outS(200);
        for (int i = 0; i < 200; ++i) xs[i] = Zem16s(x[i] / 4), ys[i] = Zem16s(xs[i] - gaps[i]), outS[i] = ys[i];
        ASSERT_EQ(zemsLogSub_16s_Sfs(xs.data(), outS.data(), 200, sf), zemStatusOk);
        const float f = std::ldexp(1.0f, -sf);
        auto want = [f](double xi, double yi) {
            const double d = static_cast<double>(f * (static_cast<float>(yi) - static_cast<float>(xi)));
            double r;
            if (d < -15.3195879547406) r = std::max(-4500000.0, xi);
            else if (1.0 - std::exp(d) <= 1.0057e-37) r = -4500000.0;
            else r = xi + std::log(1.0 - std::exp(d));
            return static_cast<int32_t>(std::trunc(std::clamp(r, -2147483648.0, 2147483647.0)));
        };
        for (int i = 0; i < 200; ++i) {
            ASSERT_EQ(out[i], want(x[i], y[i])) << i << " sf " << sf;
            ASSERT_EQ(outS[i], static_cast<Zem16s>(want(xs[i], ys[i]))) << i << " sf " << sf;
        }
    }
    // -4500000 keeps only its low half in a Zem16s.
    Zem16s a[1] = {-32768}, b[1] = {-32768 + 1};
    Zem16s hi[1] = {0}, lo[1] = {-1};
    EXPECT_EQ(zemsLogSub_16s_Sfs(hi, lo, 1, -30), zemStatusOk);  // the gap scaled by 2^30: dropped
    EXPECT_EQ(lo[0], 0);
    EXPECT_EQ(zemsLogSub_16s_Sfs(b, a, 1, 0), zemStatusOk);  // e = 1 - 1/e: -32767 + ln(0.63)
    EXPECT_EQ(a[0], -32767);
    Zem16s c[1] = {5}, d[1] = {4};
    EXPECT_EQ(zemsLogSub_16s_Sfs(c, d, 1, 200), zemStatusOk);  // factor 0: d = 0, e = 0: the floor
    EXPECT_EQ(d[0], 21984);
}
