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
    std::vector<Zem16s> s(70000, 32767);
    Zem32s out;
    ASSERT_EQ(ownSum_16s32s_Sfs(s.data(), 70000, &out, 0), zemStatusOk);
    EXPECT_EQ(out, INT32_MAX);  // 2293690000 saturates
    ASSERT_EQ(ownSum_16s32s_Sfs(s.data(), 70000, &out, 2), zemStatusOk);
    EXPECT_EQ(out, 573422500);  // 2293690000 / 4 exactly
    const Zem16s odd[3] = {1, 2, 2};  // 5 / 2 = 2.5 -> 2; 7 / 2 = 3.5 -> 4
    ownSum_16s32s_Sfs(odd, 3, &out, 1);
    EXPECT_EQ(out, 2);
    const Zem16s odd2[2] = {3, 4};
    ownSum_16s32s_Sfs(odd2, 2, &out, 1);
    EXPECT_EQ(out, 4);
    ownSum_16s32s_Sfs(odd2, 2, &out, -3);
    EXPECT_EQ(out, 56);

    std::vector<Zem32s> w(4, INT32_MAX);
    ASSERT_EQ(ownSum_32s_Sfs(w.data(), 4, &out, 0), zemStatusOk);
    EXPECT_EQ(out, INT32_MAX);
    ownSum_32s_Sfs(w.data(), 4, &out, 2);
    EXPECT_EQ(out, 2147483647);  // (2^33 - 4) / 4
    ownSum_32s_Sfs(w.data(), 4, &out, 3);
    EXPECT_EQ(out, 1073741824);  // 1073741823.5 -> even
    ownSum_32s_Sfs(w.data(), 4, &out, 200);
    EXPECT_EQ(out, 0);
    const Zem32s small[2] = {-3, 1};
    ownSum_32s_Sfs(small, 2, &out, -31);
    EXPECT_EQ(out, INT32_MIN);
    ownSum_32s_Sfs(small, 2, &out, -30);
    EXPECT_EQ(out, INT32_MIN);  // -2 * 2^30 fits exactly
    ownSum_32s_Sfs(small, 2, &out, -100);
    EXPECT_EQ(out, INT32_MIN);
    ownSum_32s_Sfs(small, 2, &out, -29);
    EXPECT_EQ(out, -1073741824);
    ownSum_32s_Sfs(small, 1, &out, 1);
    EXPECT_EQ(out, -2);  // -1.5 -> even
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
