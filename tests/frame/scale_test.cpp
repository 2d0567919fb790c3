#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>

#include "frame/fpmode.h"
#include "frame/scale.h"
#include "test_support.h"

using zemtest::sameBits;

TEST(ScaleTables, Pow2Neg32fIsExactAndClamped) {
    for (int sf = -127; sf <= 149; ++sf) EXPECT_TRUE(sameBits(zem::pow2Neg32f(sf), std::ldexp(1.0f, -sf))) << sf;
    EXPECT_EQ(zem::pow2Neg32f(-128), std::numeric_limits<float>::infinity());
    EXPECT_EQ(zem::pow2Neg32f(149), std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(zem::pow2Neg32f(150), 0.0f);
    EXPECT_EQ(zem::pow2Neg32f(2000), 0.0f);
    EXPECT_EQ(zem::pow2Neg32f(-2000), std::numeric_limits<float>::infinity());
}

TEST(ScaleTables, Pow2Neg64fIsExactAndClamped) {
    for (int sf = -1023; sf <= 1074; ++sf) EXPECT_TRUE(sameBits(zem::pow2Neg64f(sf), std::ldexp(1.0, -sf))) << sf;
    EXPECT_EQ(zem::pow2Neg64f(-1024), std::numeric_limits<double>::infinity());
    EXPECT_EQ(zem::pow2Neg64f(1074), std::numeric_limits<double>::denorm_min());
    for (int sf : {1075, 1087, 2000, INT32_MAX}) EXPECT_TRUE(sameBits(zem::pow2Neg64f(sf), 0.0)) << sf;
    EXPECT_EQ(zem::pow2Neg64f(-2000), std::numeric_limits<double>::infinity());
    EXPECT_EQ(zem::pow2Neg64f(INT32_MIN), std::numeric_limits<double>::infinity());
}

TEST(ScaleRounding, HalfEvenAndShifts) {
    const double cases[][2] = {{0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {-2.5, -2}, {2.4999999999999996, 2},
                               {-0.3, 0}, {0x1p52 + 1, 0x1p52 + 1}, {4503599627370495.5, 4503599627370496.0}};
    for (auto& c : cases) EXPECT_EQ(zem::roundHalfEven(c[0]), c[1]) << c[0];
    EXPECT_EQ(zem::roundShiftRightEven(16, 5), 0);
    EXPECT_EQ(zem::roundShiftRightEven(48, 5), 2);
    EXPECT_EQ(zem::roundShiftRightEven(-48, 5), -2);
    EXPECT_EQ(zem::roundShiftRightEven(17, 5), 1);
    EXPECT_EQ(zem::roundShiftRightEven(INT64_MAX, 63), 1);
    EXPECT_EQ(zem::saturate32(int64_t{1} << 40), INT32_MAX);
    EXPECT_EQ(zem::saturate16(-40000), INT16_MIN);
}

TEST(ScaleRounding, ScoreConversionsClampAndWrapAtTheTop) {
    EXPECT_EQ(zem::roundScoreToInt32(2.5f), 2);
    EXPECT_EQ(zem::roundScoreToInt32(-3.5f), -4);
    EXPECT_EQ(zem::roundScoreToInt32(-1e20f), INT32_MIN);
    // The upper clamp 2^31 is not a Zem32s: it converts to -2^31.
    EXPECT_EQ(zem::roundScoreToInt32(1e20f), INT32_MIN);
    EXPECT_EQ(zem::roundScoreToInt32(2147483520.0f), 2147483520);
    EXPECT_EQ(zem::truncScoreToInt32(-3.9f), -3);
    EXPECT_EQ(zem::truncScoreToInt32(1e20f), INT32_MIN);
}

TEST(RoundingGuard, SetsNearestAndRestoresOnlyTheDirection) {
    const int saved = std::fegetround();
    std::fesetround(FE_UPWARD);
    std::feclearexcept(FE_ALL_EXCEPT);
    {
        zem::RoundingGuard guard(zem::RoundingGuard::kNearest);
        volatile float a = 1.0f, b = 3.0f;
        volatile float q = a / b;  // raises inexact inside the guard
        EXPECT_EQ(q, 1.0f / 3.0f);
    }
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    EXPECT_TRUE(std::fetestexcept(FE_INEXACT));  // the flag raised inside stays raised
    std::fesetround(saved);
}
