#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>

#include "own.h"
#include "test_support.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

// Reference of a float-to-integer conversion: the scaled value in long double (exact for
// every float times a power of two in range), truncated or rounded half to even, then
// saturated; NaN counts as below the range.
template <class D>
D referenceToInt(long double x, int sf, int mode) {
    constexpr long double lo = std::numeric_limits<D>::min(), hi = std::numeric_limits<D>::max();
    if (std::isnan(x)) return std::numeric_limits<D>::min();
    const long double v = std::ldexp(x, -std::clamp(sf, -400, 400));
    long double r;
    if (mode == 0) {
        r = std::trunc(v);
    } else {
        r = std::floor(v);
        const long double diff = v - r;
        if (diff > 0.5L || (diff == 0.5L && std::fmod(r, 2.0L) != 0)) r += 1;
    }
    return static_cast<D>(r < lo ? lo : (r > hi ? hi : r));
}

std::vector<float> awkwardFloats(zemtest::Random& rnd, int n) {
    auto v = rnd.uniform<float>(n, -70000, 70000);
    const float special[] = {0.5f, 1.5f, 2.5f, -0.5f, -2.5f, 32767.5f, -32768.5f, 2147483520.0f, 2147483648.0f,
                             -2147483648.0f, -3e9f, 3e9f, std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
                             1e-40f, -0.0f};
    for (size_t i = 0; i < sizeof special / sizeof *special && i < v.size(); ++i) v[i * 3 % n] = special[i];
    return v;
}

}  // namespace

TEST(ConvertToInteger, FloatTo16And32BitsByEveryModeAndScale) {
    zemtest::Random rnd(51);
    for (int n : {1, 7, 8, 9, 17, 64, 101}) {
        const auto v = awkwardFloats(rnd, n);
        for (int sf : {0, 1, 3, -1, -7, 16, 31, 126, 127, 150, 260, -126, -200, INT32_MIN, INT32_MAX}) {
            for (int mode : {0, 1}) {
                Buffer<Zem16s> s(n, 2);
                Buffer<Zem32s> w(n, 4);
                ASSERT_EQ(ownConvert_32f16s_Sfs(v.data(), s.data(), n, mode, sf), zemStatusOk);
                ASSERT_EQ(ownConvert_32f32s_Sfs(v.data(), w.data(), n, mode, sf), zemStatusOk);
                for (int i = 0; i < n; ++i) {
                    ASSERT_EQ(s[i], referenceToInt<Zem16s>(v[i], sf, mode)) << v[i] << " sf " << sf << " mode " << mode;
                    ASSERT_EQ(w[i], referenceToInt<Zem32s>(v[i], sf, mode)) << v[i] << " sf " << sf << " mode " << mode;
                }
                std::vector<double> d(v.begin(), v.end());
                d[0] = 2147483647.5;  // rounds to 2^31 and saturates, truncates to 2^31 - 1
                ASSERT_EQ(ownConvert_64f32s_Sfs(d.data(), w.data(), n, mode, sf), zemStatusOk);
                for (int i = 0; i < n; ++i)
                    ASSERT_EQ(w[i], referenceToInt<Zem32s>(d[i], sf, mode)) << d[i] << " sf " << sf;
            }
        }
    }
}

TEST(ConvertToInteger, RoundsToNearestWhateverTheCallersDirection) {
    const float v[9] = {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, 2.4f, -2.6f, 7.5f, 8.5f};
    const Zem32s want[9] = {0, 2, 2, 0, -2, 2, -3, 8, 8};
    const int saved = std::fegetround();
    for (int dir : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(dir);
        Zem32s out[9];
        Zem16s out16[9];
        ownConvert_32f32s_Sfs(v, out, 9, 1, 0);
        ownConvert_32f16s_Sfs(v, out16, 9, 1, 0);
        EXPECT_EQ(std::fegetround(), dir);
        std::fesetround(saved);
        for (int i = 0; i < 9; ++i) {
            EXPECT_EQ(out[i], want[i]) << dir;
            EXPECT_EQ(out16[i], want[i]) << dir;
        }
    }
}

TEST(ConvertToFloat, WideningAndClampedExponents) {
    const Zem16s s[4] = {-32768, -1, 0, 32767};
    const Zem32s w[4] = {INT32_MIN, 16777217, -3, INT32_MAX};
    const Zem8u b[3] = {0, 128, 255};
    float f[4];
    double d[4];
    ownConvert_16s32f(s, f, 4);
    EXPECT_EQ(f[0], -32768.0f);
    ownConvert_32s32f(w, f, 4);
    EXPECT_EQ(f[1], 16777216.0f);  // nearest float, ties to even
    EXPECT_EQ(f[3], 2147483648.0f);
    ownConvert_8u32f(b, f, 3);
    EXPECT_EQ(f[2], 255.0f);
    for (int sf : {-200, -126, -3, 0, 5, 112, 113, 300}) {
        ownConvert_16s32f_Sfs(s, f, 4, sf);
        const float factor = std::ldexp(1.0f, std::clamp(-sf, -112, 126));
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(sameBits(f[i], s[i] * factor)) << sf;
        ownConvert_32s32f_Sfs(w, f, 4, sf);
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(sameBits(f[i], static_cast<float>(w[i]) * factor)) << sf;
    }
    for (int sf : {-2000, -1022, -1, 1008, 1009, 4000}) {
        ownConvert_16s64f_Sfs(s, d, 4, sf);
        const double factor = std::ldexp(1.0, std::clamp(-sf, -1008, 1022));
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(sameBits(d[i], s[i] * factor)) << sf;
    }
}

TEST(ConvertNarrowing, ShiftsAndSaturation) {
    const Zem32s w[6] = {INT32_MIN, -40000, -5, 5, 40000, INT32_MAX};
    Zem16s s[6];
    ownConvert_32s16s_Sfs(w, s, 6, 0);
    EXPECT_EQ(s[0], -32768);
    EXPECT_EQ(s[1], -32768);
    EXPECT_EQ(s[2], -5);
    EXPECT_EQ(s[4], 32767);
    ownConvert_32s16s_Sfs(w, s, 6, 1);
    EXPECT_EQ(s[1], -20000);
    EXPECT_EQ(s[2], -3);  // arithmetic shift
    EXPECT_EQ(s[3], 2);
    ownConvert_32s16s_Sfs(w, s, 6, 40);  // held at 31
    EXPECT_EQ(s[0], -1);
    EXPECT_EQ(s[5], 0);
    ownConvert_32s16s_Sfs(w, s, 6, -3);
    EXPECT_EQ(s[2], -40);
    EXPECT_EQ(s[4], 32767);
    ownConvert_32s16s_Sfs(w + 2, s, 2, -20);  // held at 15
    EXPECT_EQ(s[0], -32768);
    EXPECT_EQ(s[1], 32767);
}
