#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

TEST(LnFloat, WithinTwoUlpsOverTheWholeRange) {
    zemtest::Random rnd(61);
    // Mantissas and exponents spread over normal and subnormal floats.
    std::vector<float> v;
    for (int e = -149; e <= 127; e += 3)
        for (float m : rnd.uniform<float>(40, 1.0, 2.0)) v.push_back(std::ldexp(m, e));
    for (float x : {1.0f, 0.70710677f, 0.70710683f, 1.0000001f, 0.99999994f, std::numeric_limits<float>::max(),
                    std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::min()})
        v.push_back(x);
    std::vector<float> out(v);
    ASSERT_EQ(ownLn_32f_I(out.data(), static_cast<int>(out.size())), zemStatusOk);
    int64_t worst = 0;
    for (size_t i = 0; i < v.size(); ++i) {
        const float want = static_cast<float>(std::log(static_cast<double>(v[i])));
        worst = std::max(worst, zemtest::ulpDistance(out[i], want));
    }
    EXPECT_LE(worst, 2);
    float one = 1.0f;
    ownLn_32f_I(&one, 1);
    EXPECT_TRUE(sameBits(one, 0.0f));
}

TEST(LnFloat, SpecialValuesAndTheFirstBadElementSetsTheStatus) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    for (int n : {5, 300, 700}) {
        for (size_t off : {size_t{0}, size_t{4}}) {
            Buffer<float> b(n, off);
            for (auto& x : b) x = 2.0f;
            b[1] = nan;
            b[2] = inf;
            b[n - 2] = -1.0f;  // a negative before a zero
            b[n - 1] = -0.0f;
            EXPECT_EQ(ownLn_32f_I(b.data(), n), zemStatusLogNegativeWarning);
            EXPECT_TRUE(std::isnan(b[1]));
            EXPECT_EQ(b[2], inf);
            EXPECT_TRUE(std::isnan(b[n - 2]));
            EXPECT_EQ(b[n - 1], -inf);  // computed after the first bad element
            EXPECT_EQ(b[0], std::log(2.0f));
            for (auto& x : b) x = 3.0f;
            b[n - 2] = 0.0f;
            b[n - 1] = -5.0f;
            EXPECT_EQ(ownLn_32f_I(b.data(), n), zemStatusLogZeroWarning);
        }
    }
}

TEST(LnInteger, TableForNonNegativeScaleFactors) {
    const Zem32s x[] = {1, 2, 4, 5, 12, 13, 799902177, 799902178, INT32_MAX, 0, -4};
    const Zem32s n[] = {0, 1, 1, 2, 2, 3, 20, 21, 21, INT32_MIN, INT32_MIN};
    Zem32s out[11];
    EXPECT_EQ(ownLn_32s_Sfs(x, out, 11, 0), zemStatusLogZeroWarning);
    for (int i = 0; i < 11; ++i) EXPECT_EQ(out[i], n[i]) << x[i];
    EXPECT_EQ(ownLn_32s_Sfs(x, out, 9, 2), zemStatusOk);
    EXPECT_EQ(out[8], 5);  // 21 >> 2
    EXPECT_EQ(out[0], 0);
    ownLn_32s_Sfs(x, out, 9, 40);
    EXPECT_EQ(out[8], 0);
    // Every integer against the nearest integer of its true logarithm, around the table's steps.
    for (Zem32s v = 2; v < 100000; v += (v < 3000 ? 1 : 7)) {
        Zem32s r;
        ownLn_32s_Sfs(&v, &r, 1, 0);
        ASSERT_EQ(r, static_cast<Zem32s>(std::lround(std::log(static_cast<double>(v))))) << v;
    }
}

TEST(LnInteger, NegativeScaleFactorsGoThroughFloat) {
    zemtest::Random rnd(71);
    auto x = rnd.integers<Zem32s>(600, 1, INT32_MAX);
    x[3] = 1;
    x[500] = -9;  // the first bad element is a negative one
    x[550] = 0;
    for (int sf : {-1, -7, -20}) {
        std::vector<Zem32s> out(600), inPlace(x);
        EXPECT_EQ(ownLn_32s_Sfs(x.data(), out.data(), 600, sf), zemStatusLogNegativeWarning);
        EXPECT_EQ(ownLn_32s_ISfs(inPlace.data(), 600, sf), zemStatusLogNegativeWarning);
        for (int i = 0; i < 600; ++i) {
            ASSERT_EQ(out[i], inPlace[i]);
            if (x[i] <= 0) {
                ASSERT_EQ(out[i], INT32_MIN);
                continue;
            }
            // The float logarithm is within 2 ulps; the scaled result within one unit of the true one.
            const double want = std::log(static_cast<double>(static_cast<float>(x[i]))) * std::ldexp(1.0, -sf);
            ASSERT_LE(std::fabs(out[i] - want), 0.5 + std::fabs(want) * 0x1p-22) << x[i] << " sf " << sf;
        }
        EXPECT_EQ(out[3], 0);
    }
    const Zem32s big = INT32_MAX;
    Zem32s r;
    ownLn_32s_Sfs(&big, &r, 1, -30);  // 21.5 * 2^30 does not fit: saturates
    EXPECT_EQ(r, INT32_MAX);
}

TEST(SumLn, RunsOfLogsAndTheFirstBadElement) {
    zemtest::Random rnd(81);
    for (int n : {1, 511, 512, 513, 1500}) {
        auto v = rnd.uniform<double>(n, 0.5, 3.0);
        long double exact = 0;
        for (double x : v) exact += std::log((long double)x);
        double d;
        ASSERT_EQ(ownSumLn_64f(v.data(), n, &d), zemStatusOk);
        EXPECT_NEAR(d, (double)exact, 1e-12 * n);
        std::vector<float> f(v.begin(), v.end());
        long double exactF = 0;
        for (float x : f) exactF += std::log((long double)x);
        float s;
        ASSERT_EQ(ownSumLn_32f(f.data(), n, &s), zemStatusOk);
        EXPECT_LE(std::fabs(s - exactF), std::fabs(exactF) * 0x1p-23 + 1e-6);
    }
    std::vector<double> v(1200, 2.0);
    double d;
    v[700] = -1.0;
    v[900] = 0.0;
    EXPECT_EQ(ownSumLn_64f(v.data(), 1200, &d), zemStatusLogNegativeWarning);
    EXPECT_TRUE(std::isnan(d));
    v[600] = 0.0;
    EXPECT_EQ(ownSumLn_64f(v.data(), 1200, &d), zemStatusLogZeroWarning);
    EXPECT_EQ(d, -std::numeric_limits<double>::infinity());
    double nan;
    const uint64_t payload = 0x7ff8000000000abcull;
    std::memcpy(&nan, &payload, 8);
    v[10] = nan;
    EXPECT_EQ(ownSumLn_64f(v.data(), 1200, &d), zemStatusOk);
    EXPECT_TRUE(sameBits(d, nan));
    std::vector<float> f(10, 1.0f);
    f[9] = -0.0f;
    float s;
    EXPECT_EQ(ownSumLn_32f(f.data(), 10, &s), zemStatusLogZeroWarning);
    EXPECT_EQ(s, -std::numeric_limits<float>::infinity());
}
