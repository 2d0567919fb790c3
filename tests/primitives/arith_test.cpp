#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {
// Reference of one scaled 16-bit product, from the exact product in 64 bits.
Zem16s referenceScaledProduct(int64_t p, int sf) {
    auto sat = [](long double v) -> Zem16s { return v > 32767 ? 32767 : (v < -32768 ? -32768 : Zem16s(v)); };
    if (sf > 30) return 0;
    if (sf < -15) return p == 0 ? 0 : (p > 0 ? 32767 : -32768);
    const long double v = std::ldexp(static_cast<long double>(p), -sf);
    return sat(std::nearbyint(v));  // ties to even under the default direction
}
}  // namespace

TEST(Multiply16s, EveryScaleFactorRange) {
    zemtest::Random rnd(7);
    const int n = 67;
    auto a = rnd.integers<Zem16s>(n, -32768, 32767);
    auto b = rnd.integers<Zem16s>(n, -32768, 32767);
    a[0] = -32768, b[0] = -32768;  // the largest product
    a[1] = 0;
    for (int sf = -20; sf <= 34; ++sf) {
        Buffer<Zem16s> out(n, 2);
        ASSERT_EQ(ownMul_16s_Sfs(a.data(), b.data(), out.data(), n, sf), zemStatusOk);
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(out[i], referenceScaledProduct(int64_t{a[i]} * b[i], sf)) << "sf " << sf << " i " << i;
    }
    // Ties go to even: 16 / 32 = 0.5 -> 0, 48 / 32 = 1.5 -> 2.
    const Zem16s x[2] = {16, 48}, one[2] = {1, 1};
    Zem16s out[2];
    ownMul_16s_Sfs(x, one, out, 2, 5);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 2);
}

TEST(MultiplyByConstant, OneLeavesTheVectorAndZeroClearsIt) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    float v[5] = {nan, inf, -inf, -0.0f, 3.0f};
    float w[5] = {nan, inf, -inf, -0.0f, 3.0f};
    EXPECT_EQ(ownMulC_32f_I(1.0f, v, 5), zemStatusOk);
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(sameBits(v[i], w[i]));
    double d[3] = {std::nan(""), -std::numeric_limits<double>::infinity(), 2.0};
    EXPECT_EQ(ownMulC_64f_I(0.0, d, 3), zemStatusOk);
    for (double x : d) EXPECT_TRUE(sameBits(x, 0.0));
    EXPECT_EQ(ownMulC_64f_I(-2.5, d + 2, 1), zemStatusOk);
    EXPECT_TRUE(sameBits(d[2], -0.0));
}

TEST(AddConstant, ZeroIsACopyThatKeepsNegativeZero) {
    const float src[3] = {-0.0f, 1.0f, -2.0f};
    float dst[3];
    EXPECT_EQ(ownAddC_32f(src, 0.0f, dst, 3), zemStatusOk);
    EXPECT_TRUE(sameBits(dst[0], -0.0f));
    EXPECT_EQ(ownAddC_32f(src, 1.5f, dst, 3), zemStatusOk);
    EXPECT_EQ(dst[2], -0.5f);
    EXPECT_EQ(ownAddC_32f_I(-1.0f, dst, 3), zemStatusOk);
    EXPECT_EQ(dst[0], 0.5f);
}

TEST(Elementwise, NaNFollowsTheComparisonOfMinAndMax) {
    // srcDst[i] = src[i] < srcDst[i] ? src[i] : srcDst[i]: a NaN on either side keeps srcDst.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float src[2] = {nan, 1.0f};
    float sd[2] = {2.0f, nan};
    ownMinEvery_32f_I(src, sd, 2);
    EXPECT_EQ(sd[0], 2.0f);
    EXPECT_TRUE(std::isnan(sd[1]));
    const Zem32s s32[2] = {INT32_MIN, 5};
    Zem32s d32[2] = {3, INT32_MAX};
    ownMinEvery_32s_I(s32, d32, 2);
    EXPECT_EQ(d32[0], INT32_MIN);
    EXPECT_EQ(d32[1], 5);
}

TEST(SquareRoot, ThreadedEqualsSerialAndNotesNegatives) {
    zemtest::Random rnd(5);
    for (int n : {511, 512, 513, 2000}) {
        auto x = rnd.uniform<double>(n, 0, 1e6);
        std::vector<double> one(x), two(x);
        {
            zemtest::ScopedThreads t(1);
            EXPECT_EQ(ownSqrt_64f_I(one.data(), n), zemStatusOk);
        }
        {
            zemtest::ScopedThreads t(2);
            EXPECT_EQ(ownSqrt_64f_I(two.data(), n), zemStatusOk);
        }
        for (int i = 0; i < n; ++i) {
            ASSERT_EQ(one[i], std::sqrt(x[i]));
            ASSERT_TRUE(sameBits(one[i], two[i]));
        }
        two = x;
        two[n - 1] = -1.0;
        zemtest::ScopedThreads t(2);
        EXPECT_EQ(ownSqrt_64f_I(two.data(), n), ownStatusSqrtOfNegative);
        EXPECT_TRUE(std::isnan(two[n - 1]));
    }
}

TEST(FillAndCopy, BitMovesOfEveryType) {
    Buffer<Zem16s> s(37, 2);
    ownSet_16s(-7, s.data(), 37);
    for (Zem16s v : s) EXPECT_EQ(v, -7);
    ownZero_16s(s.data(), 36);
    EXPECT_EQ(s[35], 0);
    EXPECT_EQ(s[36], -7);
    double nanPayload;
    const uint64_t bitsIn = 0x7ff4000000000123ull;
    std::memcpy(&nanPayload, &bitsIn, 8);
    Buffer<double> d(9, 8), e(9, 0);
    ownSet_64f(nanPayload, d.data(), 9);
    ownCopy_64f(d.data(), e.data(), 9);
    for (double v : e) EXPECT_TRUE(sameBits(v, nanPayload));
    float f[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    ownMove_32f(f, f + 2, 8);  // overlapping
    EXPECT_EQ(f[9], 7.0f);
    EXPECT_EQ(f[2], 0.0f);
    Zem8u bytes[4];
    ownSet_8u(200, bytes, 4);
    ownZero_8u(bytes, 2);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(bytes[2], 200);
}
