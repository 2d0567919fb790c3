#include <gtest/gtest.h>

#include <cmath>
#include <immintrin.h>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

float zeroRule(float n) { return n > 0 ? kInf : (n < 0 ? -kInf : std::numeric_limits<float>::quiet_NaN()); }

// Reference: blocks 4j..4j+3 of the vector; a block whose denominators all lie in
// [2^-126, 2^126] in magnitude uses the reciprocal estimate and two Newton steps.
std::vector<float> referenceDivide(const std::vector<float>& den, const std::vector<float>& num) {
    const size_t n = den.size();
    std::vector<float> q(n);
    for (size_t b = 0; b < n; b += 4) {
        const size_t e = std::min(n, b + 4);
        bool approx = true;
        for (size_t j = b; j < e; ++j) approx = approx && std::fabs(den[j]) >= 0x1p-126f && std::fabs(den[j]) <= 0x1p126f;
        for (size_t j = b; j < e; ++j) {
            if (approx) {
                float r = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(den[j])));
                r = r * (2.0f - den[j] * r);
                r = r * (2.0f - den[j] * r);
                q[j] = num[j] * r;
            } else {
                q[j] = den[j] == 0.0f ? zeroRule(num[j]) : num[j] / den[j];
            }
        }
    }
    return q;
}

}  // namespace

TEST(Divide32f, MatchesTheBlockRuleAtEveryLengthAndOffset) {
    zemtest::Random rnd(3);
    for (int n : zemtest::testLengths()) {
        auto den = rnd.uniform<float>(n, -100, 100);
        auto num = rnd.uniform<float>(n, -1e4, 1e4);
        if (n > 5) den[rnd.integer(0, n - 1)] = 0.0f, den[rnd.integer(0, n - 1)] = -0.0f;
        if (n > 9) den[rnd.integer(0, n - 1)] = 1e-40f;  // subnormal: true division
        const auto want = referenceDivide(den, num);
        bool hasZero = false;
        for (float d : den) hasZero = hasZero || d == 0.0f;
        for (size_t off : {size_t{0}, size_t{4}, size_t{12}}) {
            Buffer<float> d(n, off), u(n, 16 - off % 16), q(n, (off + 8) % 16);
            std::copy(den.begin(), den.end(), d.begin());
            std::copy(num.begin(), num.end(), u.begin());
            EXPECT_EQ(ownDiv_32f(d.data(), u.data(), q.data(), n), hasZero ? zemStatusDivideByZeroWarning : zemStatusOk);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(sameBits(q[i], want[i])) << "n " << n << " i " << i;
            EXPECT_EQ(ownDiv_32f_I(d.data(), u.data(), n), hasZero ? zemStatusDivideByZeroWarning : zemStatusOk);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(sameBits(u[i], want[i])) << "in place, n " << n << " i " << i;
        }
    }
}

TEST(Divide32f, EstimateIsCloseToTrueDivision) {
    zemtest::Random rnd(4);
    auto den = rnd.uniform<float>(10000, 1e-3, 1e3);
    auto num = rnd.uniform<float>(10000, -1e3, 1e3);
    std::vector<float> q(10000);
    ownDiv_32f(den.data(), num.data(), q.data(), 10000);
    int64_t worst = 0;
    for (int i = 0; i < 10000; ++i) worst = std::max(worst, zemtest::ulpDistance(q[i], num[i] / den[i]));
    EXPECT_LE(worst, 2);
}

TEST(Divide32f, ZeroRuleIgnoresTheSignOfTheZero) {
    const float den[4] = {0.0f, -0.0f, -0.0f, 0.0f};
    const float num[4] = {2.0f, 3.0f, -1.0f, 0.0f};
    float q[4];
    EXPECT_EQ(ownDiv_32f(den, num, q, 4), zemStatusDivideByZeroWarning);
    EXPECT_EQ(q[0], kInf);
    EXPECT_EQ(q[1], kInf);
    EXPECT_EQ(q[2], -kInf);
    EXPECT_TRUE(std::isnan(q[3]));
}

TEST(Divide32f, ThreadCountAndThresholdDoNotChangeResults) {
    zemtest::Random rnd(8);
    for (int n : {4095, 4096, 4098, 4101, 9001}) {
        auto den = rnd.uniform<float>(n, -4, 4);
        auto num = rnd.uniform<float>(n, -4, 4);
        den[n / 2] = 0.0f;  // a zero next to the slice boundary
        den[n / 2 - 1] = 0.0f;
        std::vector<float> one(n), two(n);
        ZemStatus s1, s2;
        {
            zemtest::ScopedThreads t(1);
            s1 = ownDiv_32f(den.data(), num.data(), one.data(), n);
        }
        {
            zemtest::ScopedThreads t(2);
            s2 = ownDiv_32f(den.data(), num.data(), two.data(), n);
        }
        EXPECT_EQ(s1, zemStatusDivideByZeroWarning);
        EXPECT_EQ(s2, zemStatusDivideByZeroWarning);
        const auto want = referenceDivide(den, num);
        for (int i = 0; i < n; ++i) {
            ASSERT_TRUE(sameBits(one[i], want[i])) << n << " " << i;
            ASSERT_TRUE(sameBits(two[i], want[i])) << n << " " << i;
        }
    }
    // 4095 elements run serially, 4096 on two threads: the common elements agree.
    auto den = rnd.uniform<float>(4096, 1, 2);
    auto num = rnd.uniform<float>(4096, 1, 2);
    std::vector<float> a(4096), b(4096);
    zemtest::ScopedThreads t(2);
    ownDiv_32f(den.data(), num.data(), a.data(), 4095);
    ownDiv_32f(den.data(), num.data(), b.data(), 4096);
    for (int i = 0; i < 4095; ++i) ASSERT_TRUE(sameBits(a[i], b[i]));
}

TEST(Divide64f, TrueDivisionWithTheZeroRule) {
    zemtest::Random rnd(9);
    for (int n : {1, 3, 4, 5, 1023, 1024, 1025, 3001}) {
        auto den = rnd.uniform<double>(n, -10, 10);
        auto num = rnd.uniform<double>(n, -10, 10);
        den[n - 1] = -0.0;
        num[n - 1] = 5.0;
        for (int threads : {1, 2}) {
            zemtest::ScopedThreads t(threads);
            std::vector<double> q(n);
            EXPECT_EQ(ownDiv_64f(den.data(), num.data(), q.data(), n), zemStatusDivideByZeroWarning);
            for (int i = 0; i < n - 1; ++i) ASSERT_TRUE(sameBits(q[i], num[i] / den[i]));
            EXPECT_EQ(q[n - 1], std::numeric_limits<double>::infinity());
        }
    }
    const double den[2] = {2.0, 4.0}, num[2] = {1.0, 1.0};
    double q[2];
    EXPECT_EQ(ownDiv_64f(den, num, q, 2), zemStatusOk);
    EXPECT_EQ(q[1], 0.25);
}
