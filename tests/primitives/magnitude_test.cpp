#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <immintrin.h>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {
// Reference of one float magnitude: the estimate and one Newton step above the smallest
// normal sum, the true root below it (and for infinite or NaN sums).
float referenceMagnitude(float re, float im) {
    const float s = re * re + im * im;
    if (!(s >= 0x1p-126f) || std::isinf(s)) return std::sqrt(s);
    float y = _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(s)));
    y = y * (1.5f - (0.5f * s) * y * y);
    return s * y;
}
}  // namespace

TEST(Magnitude32f, EstimateWithOneNewtonStep) {
    zemtest::Random rnd(91);
    for (int n : zemtest::testLengths()) {
        auto v = rnd.uniform<float>(2 * n, -1000, 1000);
        v[0] = 0.0f, v[1] = -0.0f;                                  // zero gives zero
        if (n > 2) v[2] = 1e-30f, v[3] = 1e-25f;                     // subnormal sum: true root
        if (n > 3) v[4] = std::numeric_limits<float>::infinity();   // infinite sum
        for (int threads : {1, 2}) {
            zemtest::ScopedThreads t(threads);
            Buffer<float> src(2 * n, 4), dst(n, 8);
            std::copy(v.begin(), v.end(), src.begin());
            ASSERT_EQ(ownMagnitude_32fc(src.data(), dst.data(), n), zemStatusOk);
            for (int i = 0; i < n; ++i)
                ASSERT_TRUE(sameBits(dst[i], referenceMagnitude(v[2 * i], v[2 * i + 1]))) << n << " " << i;
        }
    }
    const float pair[2] = {3.0f, 4.0f};
    float m;
    ownMagnitude_32fc(pair, &m, 1);
    EXPECT_LE(zemtest::ulpDistance(m, 5.0f), 2);
}

TEST(Magnitude32s, RootHeldScaledAndRounded) {
    zemtest::Random rnd(93);
    for (int n : {1, 255, 256, 257, 1000}) {
        auto v = rnd.integers<Zem32s>(2 * n, INT32_MIN, INT32_MAX);
        v[0] = INT32_MIN, v[1] = INT32_MIN;  // root above 2^31 - 1: held
        for (int sf : {0, 3, -2}) {
            for (int threads : {1, 2}) {
                zemtest::ScopedThreads t(threads);
                std::vector<Zem32s> out(n);
                ASSERT_EQ(ownMagnitude_32sc_Sfs(v.data(), out.data(), n, sf), zemStatusOk);
                for (int i = 0; i < n; ++i) {
                    const double re = v[2 * i], im = v[2 * i + 1];
                    double r = std::min(std::sqrt(re * re + im * im), 2147483647.0);
                    r = std::min(r * std::ldexp(1.0, -sf), 2147483647.0);
                    ASSERT_EQ(out[i], static_cast<Zem32s>(std::nearbyint(r))) << i << " sf " << sf;
                }
            }
        }
    }
    const Zem32s pairs[4] = {3, 4, 1, 2};  // 5 and sqrt(5) / 2 = 1.118
    Zem32s out[2];
    const int saved = std::fegetround();
    std::fesetround(FE_UPWARD);
    ownMagnitude_32sc_Sfs(pairs, out, 2, 1);
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    std::fesetround(saved);
    EXPECT_EQ(out[0], 2);  // 2.5 -> even
    EXPECT_EQ(out[1], 1);
}
