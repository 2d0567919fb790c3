#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {
// A left-to-right scan with a strict comparison: the value and its first index.
template <class T, class Better>
std::pair<T, int> scan(const std::vector<T>& v, Better better) {
    T best = v[0];
    int at = 0;
    for (size_t i = 1; i < v.size(); ++i)
        if (better(v[i], best)) best = v[i], at = static_cast<int>(i);
    return {best, at};
}
auto lessThan = [](auto a, auto b) { return a < b; };
auto greaterThan = [](auto a, auto b) { return a > b; };
}  // namespace

TEST(Extremes, ValuesAndFirstIndicesMatchAPlainScan) {
    zemtest::Random rnd(21);
    for (int n : zemtest::testLengths()) {
        auto v = rnd.uniform<float>(n, -1000, 1000);
        if (n > 3) v[rnd.integer(1, n - 1)] = std::numeric_limits<float>::quiet_NaN();  // ignored after the first
        for (size_t off : {size_t{0}, size_t{4}, size_t{8}}) {
            Buffer<float> b(n, off);
            std::copy(v.begin(), v.end(), b.begin());
            float mn, mx, mn2, mx2;
            int imn = -1, imx = -1;
            ASSERT_EQ(ownMinIndx_32f(b.data(), n, &mn, &imn), zemStatusOk);
            ASSERT_EQ(ownMaxIndx_32f(b.data(), n, &mx, &imx), zemStatusOk);
            ASSERT_EQ(ownMinMax_32f(b.data(), n, &mn2, &mx2), zemStatusOk);
            const auto [wmn, wimn] = scan(v, lessThan);
            const auto [wmx, wimx] = scan(v, greaterThan);
            ASSERT_EQ(mn, wmn);
            ASSERT_EQ(imn, wimn);
            ASSERT_EQ(mx, wmx);
            ASSERT_EQ(imx, wimx);
            ASSERT_EQ(mn2, wmn);
            ASSERT_EQ(mx2, wmx);
            ASSERT_EQ(ownMin_32f(b.data(), n, &mn2), zemStatusOk);
            ASSERT_EQ(ownMax_32f(b.data(), n, &mx2), zemStatusOk);
            ASSERT_EQ(mn2, wmn);
            ASSERT_EQ(mx2, wmx);
        }
        std::vector<double> d(v.begin(), v.end());
        double dmx, dmn;
        int idmx = -1;
        ASSERT_EQ(ownMaxIndx_64f(d.data(), n, &dmx, &idmx), zemStatusOk);
        ASSERT_EQ(ownMin_64f(d.data(), n, &dmn), zemStatusOk);
        const auto [wdmx, widmx] = scan(d, greaterThan);
        ASSERT_EQ(dmx, wdmx);
        ASSERT_EQ(idmx, widmx);
        ASSERT_EQ(dmn, scan(d, lessThan).first);
        ASSERT_EQ(ownMaxIndx_64f(d.data(), n, &dmx, nullptr), zemStatusOk);  // index null: value only
        ASSERT_EQ(dmx, wdmx);
    }
}

TEST(Extremes, EqualExtremesGiveTheLowerIndexAcrossTheBlockEdges) {
    // Pairs of equal maxima on both sides of the 34-element and 2048-element edges.
    const int pairs[][3] = {{33, 5, 20}, {34, 5, 33}, {35, 33, 34}, {2048, 100, 2047}, {2049, 2047, 2048},
                            {5000, 2047, 2048}, {5000, 2048, 4999}, {5000, 4095, 4096}};
    for (auto& c : pairs) {
        std::vector<float> v(c[0], 1.0f);
        v[c[1]] = 9.0f;
        v[c[2]] = 9.0f;
        float mx, mn;
        int imx = -1, imn = -1;
        ownMaxIndx_32f(v.data(), c[0], &mx, &imx);
        EXPECT_EQ(imx, c[1]) << c[0];
        v[c[1]] = v[c[2]] = -9.0f;
        ownMinIndx_32f(v.data(), c[0], &mn, &imn);
        EXPECT_EQ(imn, c[1]) << c[0];
        std::vector<double> d(v.begin(), v.end());
        d[c[1]] = d[c[2]] = 9.0;
        double dmx;
        ownMaxIndx_64f(d.data(), c[0], &dmx, &imx);
        EXPECT_EQ(imx, c[1]) << c[0];
    }
    // A NaN in first place sticks, as it does for a plain scan.
    std::vector<float> v(100, 1.0f);
    v[0] = std::numeric_limits<float>::quiet_NaN();
    v[50] = 7.0f;
    float mx;
    int imx;
    ownMaxIndx_32f(v.data(), 100, &mx, &imx);
    EXPECT_TRUE(std::isnan(mx));
    EXPECT_EQ(imx, 0);
}

TEST(Sums, FloatSumsStayWithinTheirErrorBounds) {
    zemtest::Random rnd(31);
    for (int n : zemtest::testLengths()) {
        auto v = rnd.uniform<float>(n, -100, 100);
        long double exact = 0, magnitude = 0;
        for (float x : v) exact += x, magnitude += std::fabs(x);
        for (size_t off : {size_t{0}, size_t{4}}) {
            Buffer<float> b(n, off);
            std::copy(v.begin(), v.end(), b.begin());
            float fast, accurate, other;
            ASSERT_EQ(ownSum_32f(b.data(), n, &fast, zemAlgHintFast), zemStatusOk);
            ASSERT_EQ(ownSum_32f(b.data(), n, &accurate, zemAlgHintAccurate), zemStatusOk);
            ASSERT_EQ(ownSum_32f(b.data(), n, &other, 0), zemStatusOk);  // any other hint: accurate
            EXPECT_TRUE(sameBits(accurate, other));
            // Accurate: double sum then one rounding to float.
            EXPECT_LE(std::fabs(accurate - exact), std::fabs(exact) * 0x1p-24 + magnitude * n * 0x1p-52) << n;
            // Fast: float partial sums over blocks of 1024, at most ~log2(1024/32) + 32 roundings deep.
            EXPECT_LE(std::fabs(fast - exact), std::fabs(exact) * 0x1p-24 + magnitude * 64 * 0x1p-24) << n;
        }
    }
}

TEST(Sums, IntegerSumsAreExactThenScaled) {
    struct Case { std::vector<Zem32s> v; int n, sf; Zem32s want16, want32; };
    // want16: the Zem16s source (values clamped to 16 bits) through ownSum_16s32s_Sfs.
    const Case cases[] = {
        {{32767}, 70000, 0, INT32_MAX, INT32_MAX},         // 2293690000 saturates
        {{32767}, 70000, 2, 573422500, 573422500},         // the 64-bit sum, then the exact quarter
        {{1, 2, 2}, 3, 1, 2, 2},                           // 2.5 -> 2
        {{3, 4}, 2, 1, 4, 4},                              // 3.5 -> 4
        {{3, 4}, 2, -3, 56, 56},
        {{-3, 1}, 2, -30, INT32_MIN, INT32_MIN},           // -2^31 exactly
        {{-3, 1}, 2, -31, INT32_MIN, INT32_MIN},
        {{-3, 1}, 2, -100, INT32_MIN, INT32_MIN},          // held at -31
        {{-3, 1}, 2, -29, -1073741824, -1073741824},
        {{-3}, 1, 1, -2, -2},                              // -1.5 -> -2
        {{INT32_MAX}, 4, 3, 0, 1073741824},                // 1073741823.5 -> even
        {{INT32_MAX}, 4, 200, 0, 0},
    };
    for (const Case& c : cases) {
        std::vector<Zem32s> w(c.n);
        std::vector<Zem16s> s(c.n);
        for (int i = 0; i < c.n; ++i) w[i] = c.v[i % c.v.size()], s[i] = static_cast<Zem16s>(std::clamp(w[i], -32768, 32767));
        Zem32s out16, out32;
        ASSERT_EQ(ownSum_16s32s_Sfs(s.data(), c.n, &out16, c.sf), zemStatusOk);
        ASSERT_EQ(ownSum_32s_Sfs(w.data(), c.n, &out32, c.sf), zemStatusOk);
        if (c.v[0] != INT32_MAX) {
            EXPECT_EQ(out16, c.want16) << c.n << " sf " << c.sf;
        }
        EXPECT_EQ(out32, c.want32) << c.n << " sf " << c.sf;
    }
}

TEST(DotProducts, AgreeWithWideReferences) {
    zemtest::Random rnd(41);
    for (int n : zemtest::testLengths()) {
        auto x = rnd.uniform<float>(n, -10, 10), y = rnd.uniform<float>(n, -10, 10);
        long double exact = 0, magnitude = 0;
        for (int i = 0; i < n; ++i) exact += (long double)x[i] * y[i], magnitude += std::fabs((long double)x[i] * y[i]);
        float d32;
        double d64;
        ASSERT_EQ(ownDotProd_32f(x.data(), y.data(), n, &d32), zemStatusOk);
        ASSERT_EQ(ownDotProd_32f64f(x.data(), y.data(), n, &d64), zemStatusOk);
        // Float: each product rounded once, then a sum at most n/32 + 40 additions deep.
        EXPECT_LE(std::fabs(d32 - exact), magnitude * (n / 32 + 41) * 0x1p-24) << n;
        EXPECT_LE(std::fabs(d64 - exact), magnitude * (n / 16 + 21) * 0x1p-53) << n;
        std::vector<double> xd(x.begin(), x.end()), yd(y.begin(), y.end());
        double dd;
        ASSERT_EQ(ownDotProd_64f(xd.data(), yd.data(), n, &dd), zemStatusOk);
        EXPECT_TRUE(sameBits(dd, d64));  // the same exact products in the same order
    }
    auto a = rnd.integers<Zem16s>(3001, -32768, 32767), b = rnd.integers<Zem16s>(3001, -32768, 32767);
    a[0] = b[0] = -32768;
    int64_t want = 0;
    for (int i = 0; i < 3001; ++i) want += int64_t{a[i]} * b[i];
    Zem64s got;
    Zem32f gotf;
    ASSERT_EQ(ownDotProd_16s64s(a.data(), b.data(), 3001, &got), zemStatusOk);
    ASSERT_EQ(ownDotProd_16s32f(a.data(), b.data(), 3001, &gotf), zemStatusOk);
    EXPECT_EQ(got, want);
    EXPECT_EQ(gotf, static_cast<float>(want));
}
