// Mean removal, the DC notch, energy normalisation, sign changes, entropy, padding and the
// unit curve against scalar references of their stated arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdint>
#include <cstring>
#include <vector>

#include "test_support.h"
#include "zemsr.h"

namespace {

using zemtest::Buffer;
using zemtest::Random;
using zemtest::sameBits;

int16_t sat16(int64_t v) { return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }

// Float to 16 bits: limited, then truncated (first notch sample, float energy path) or
// rounded half away from zero.
int16_t limitTrunc(float v) { return static_cast<int16_t>(std::trunc(std::fmin(std::fmax(v, -32768.0f), 32767.0f))); }
int16_t limitRound(float v) { return static_cast<int16_t>(std::round(std::fmin(std::fmax(v, -32768.0f), 32767.0f))); }

template <class T>
Buffer<T> at(const std::vector<T>& v, size_t offset) {
    Buffer<T> b(v.size(), offset);
    std::copy(v.begin(), v.end(), b.begin());
    return b;
}

// ---- Mean removal --------------------------------------------------------------------------------

std::vector<int16_t> zeroMeanReference(std::vector<int16_t> x) {
    const int64_t len = static_cast<int64_t>(x.size());
    int64_t sum = 0;
    for (int16_t v : x) sum += v;
    const int64_t m2 = len <= 64 ? (2 * sum) / len : static_cast<int64_t>(std::trunc(2.0 * sum / len));
    const int64_t roundedFrom = len <= 64 ? 0 : len - len % 8;
    for (int64_t i = 0; i < len; ++i) {
        const double half = (2.0 * x[i] - m2) / 2.0;
        x[i] = sat16(static_cast<int64_t>(i >= roundedFrom ? std::round(half) : std::floor(half)));
    }
    return x;
}

TEST(ZeroMean, HalvingRulesAndSaturationOverLengthsAndOffsets) {
    Random rnd(11);
    for (int len : zemtest::testLengths()) {
        if (len > 4097) continue;
        // Mostly odd differences, so that the two halving rules part; a biased frame
        // with extremes saturates.
        std::vector<int16_t> x = rnd.integers<int16_t>(len, -3000, 9000);
        if (len % 3 == 0) x[0] = 32767, x[len - 1] = -32768;
        const std::vector<int16_t> want = zeroMeanReference(x);
        for (size_t off : {size_t{0}, size_t{2}, size_t{6}}) {
            Buffer<int16_t> b = at(x, off);
            ASSERT_EQ(zemsZeroMean_16s(b.data(), len), zemStatusOk);
            for (int i = 0; i < len; ++i) ASSERT_EQ(b[i], want[i]) << "len " << len << " i " << i << " off " << off;
        }
    }
}

TEST(ZeroMean, ShortFramesRoundAwayLongFramesShiftExceptTheTail) {
    // m2 = 1 in both frames, so a sample of 1 becomes (2 - 1) / 2: 1 when rounded away from
    // zero, 0 when shifted.  Of 65 samples the first 64 shift and the last one rounds.
    std::vector<int16_t> x(65, 0);
    for (int i = 0; i < 33; ++i) x[i] = 1;
    x[64] = 1;
    std::vector<int16_t> s64(x.begin(), x.begin() + 64);
    ASSERT_EQ(zemsZeroMean_16s(x.data(), 65), zemStatusOk);
    ASSERT_EQ(zemsZeroMean_16s(s64.data(), 64), zemStatusOk);
    EXPECT_EQ(x[0], 0);
    EXPECT_EQ(x[64], 1);
    EXPECT_EQ(s64[0], 1);
}

// ---- DC notch ------------------------------------------------------------------------------------

TEST(CompensateOffset, FloatRecursionCarriesAcrossBlocks) {
    Random rnd(12);
    for (int len : {1, 2, 7, 8, 9, 65, 400, 1025}) {
        const std::vector<float> x = rnd.uniform<float>(len, -1000.0, 1000.0);
        const float val = 0.97f, x1 = 12.5f, y1 = -3.25f;
        std::vector<float> want(len);
        float y = val * y1 + x[0] - x1;
        want[0] = y;
        for (int n = 1; n < len; ++n) want[n] = y = (x[n] - x[n - 1]) + val * y;
        for (size_t off : {size_t{0}, size_t{4}}) {
            Buffer<float> src = at(x, off), dst(len, off), io = at(x, off);
            float prev = x1, prevI = x1;
            ASSERT_EQ(zemsCompensateOffset_32f(src.data(), dst.data(), len, &prev, y1, val), zemStatusOk);
            ASSERT_EQ(zemsCompensateOffset_32f_I(io.data(), len, &prevI, y1, val), zemStatusOk);
            EXPECT_EQ(prev, x[len - 1]);
            EXPECT_EQ(prevI, x[len - 1]);  // the old last sample, read before the write
            for (int n = 0; n < len; ++n) {
                ASSERT_TRUE(sameBits(dst[n], want[n])) << len << " " << n;
                ASSERT_TRUE(sameBits(io[n], want[n])) << len << " " << n;
            }
        }
    }
}

// The 16-bit notch: truncated first sample; Q12 fixed point out of place with |val| <= 1,
// float rounded half away from zero otherwise and always in place.
std::vector<int16_t> notch16Reference(const std::vector<int16_t>& x, int16_t x1, int16_t y1, float val,
                                      bool inPlace) {
    std::vector<int16_t> y(x.size());
    y[0] = limitTrunc(val * y1 + x[0] - x1);
    const bool fixed = !inPlace && val >= -1.0f && val <= 1.0f;
    const int32_t v = static_cast<int32_t>(std::trunc(val * 4096.0f));
    for (size_t n = 1; n < x.size(); ++n) {
        const int32_t d = x[n] - x[n - 1];
        if (fixed) y[n] = sat16(sat16(d) + static_cast<int32_t>(std::floor(y[n - 1] * v / 4096.0)));
        else y[n] = limitRound(static_cast<float>(d) + val * static_cast<float>(y[n - 1]));
    }
    return y;
}

TEST(CompensateOffset, SixteenBitRoutesByValAndByInPlace) {
    Random rnd(13);
    for (float val : {0.9f, 1.0f, -1.0f, 0.999f, 1.5f, -2.0f}) {
        for (int len : {1, 2, 3, 16, 33, 400}) {
            std::vector<int16_t> x = rnd.integers<int16_t>(len, -32768, 32767);
            const int16_t x1 = -20000, y1 = 31000;
            std::vector<int16_t> out(len), io = x;
            int16_t prev = x1, prevI = x1;
            ASSERT_EQ(zemsCompensateOffset_16s(x.data(), out.data(), len, &prev, y1, val), zemStatusOk);
            ASSERT_EQ(zemsCompensateOffset_16s_I(io.data(), len, &prevI, y1, val), zemStatusOk);
            EXPECT_EQ(prev, x[len - 1]);
            EXPECT_EQ(prevI, x[len - 1]);
            EXPECT_EQ(out, notch16Reference(x, x1, y1, val, false)) << "val " << val << " len " << len;
            EXPECT_EQ(io, notch16Reference(x, x1, y1, val, true)) << "val " << val << " len " << len;
        }
    }
    // The first sample truncates where the rest round: -2.5 gives -2, then -4.5 gives -5.
    std::vector<int16_t> x = {1, 0};
    int16_t prev = 0;
    ASSERT_EQ(zemsCompensateOffset_16s_I(x.data(), 2, &prev, -2, 1.75f), zemStatusOk);
    EXPECT_EQ(x[0], -2);
    EXPECT_EQ(x[1], -5);
}

TEST(CompensateOffset, Q15TruncatesTowardZero) {
    Random rnd(14);
    for (int16_t val : {int16_t{0}, int16_t{1}, int16_t{32113}, int16_t{32767}}) {
        std::vector<int16_t> x = rnd.integers<int16_t>(300, -32768, 32767), out(300), io = x;
        int16_t prev = 1234, prevI = 1234;
        const int16_t y1 = -777;
        std::vector<int16_t> want(300);
        int64_t yPrev = y1, xPrev = prev;
        for (int n = 0; n < 300; ++n) {
            const double t = static_cast<double>((x[n] - xPrev) * 32768 + yPrev * val);
            want[n] = sat16(static_cast<int64_t>(std::trunc(t / 32768.0)));
            yPrev = want[n];
            xPrev = x[n];
        }
        ASSERT_EQ(zemsCompensateOffsetQ15_16s(x.data(), out.data(), 300, &prev, y1, val), zemStatusOk);
        ASSERT_EQ(zemsCompensateOffsetQ15_16s_I(io.data(), 300, &prevI, y1, val), zemStatusOk);
        EXPECT_EQ(out, want);
        EXPECT_EQ(io, want);
        EXPECT_EQ(prev, x[299]);
    }
}

// ---- Energy normalisation --------------------------------------------------------------------

TEST(NormEnergy, FloatBatchAndRealTimeAgree) {
    Random rnd(15);
    for (int height : {1, 2, 10, 11, 100, 1025}) {
        for (int step : {1, 3}) {
            std::vector<float> e = rnd.uniform<float>(static_cast<size_t>(height) * step, -5.0, 20.0);
            float maxE = e[0];
            for (int i = 0; i < height; ++i) maxE = std::fmax(maxE, e[i * step]);
            const float silence = 50.0f, scale = 0.1f;
            const float floor = maxE - silence * 0.230259f;
            std::vector<float> want = e;
            for (int i = 0; i < height; ++i)
                want[i * step] = 1.0f - (maxE - std::fmax(e[i * step], floor)) * scale;
            std::vector<float> batch = e, rt = e;
            ASSERT_EQ(zemsNormEnergy_32f(batch.data(), step, height, silence, scale), zemStatusOk);
            for (int i = 0; i < height; ++i)
                ASSERT_EQ(zemsNormEnergy_RT_32f(rt.data() + i * step, step, 1, silence, maxE, scale), zemStatusOk);
            for (size_t k = 0; k < e.size(); ++k) {
                ASSERT_TRUE(sameBits(batch[k], want[k])) << height << " " << k;
                ASSERT_TRUE(sameBits(rt[k], want[k])) << height << " " << k;
            }
        }
    }
    float one = -7.0f, above = 9.0f;
    ASSERT_EQ(zemsNormEnergy_32f(&one, 1, 1, 30.0f, 0.5f), zemStatusOk);
    EXPECT_EQ(one, 1.0f);
    ASSERT_EQ(zemsNormEnergy_RT_32f(&above, 1, 1, 30.0f, 5.0f, 0.5f), zemStatusOk);
    EXPECT_EQ(above, 3.0f);  // above the running maximum: no upper limit
}

// normValue - scale (maxE - max(x, floor)): float and truncated, or Q10 integers.
std::vector<int16_t> energy16Reference(const std::vector<int16_t>& e, int step, int height, int16_t silence,
                                       int16_t maxE, int16_t norm, float scale, bool floatPath) {
    std::vector<int16_t> y = e;
    const float floor = static_cast<float>(maxE) - static_cast<float>(silence) * 0.230259f;
    const int32_t floor16 = limitRound(floor);
    const int32_t q = static_cast<int32_t>(std::trunc(scale * 1024.0f));
    for (int i = 0; i < height; ++i) {
        const int16_t x = e[i * step];
        if (floatPath) {
            y[i * step] = limitTrunc(static_cast<float>(norm) -
                                     scale * (static_cast<float>(maxE) - std::fmax(static_cast<float>(x), floor)));
        } else {
            const int32_t d = sat16(maxE - std::max<int32_t>(x, floor16));
            y[i * step] = sat16(norm - static_cast<int32_t>(std::floor(d * q / 1024.0)));
        }
    }
    return y;
}

TEST(NormEnergy, SixteenBitPathsByScaleAndHeight) {
    Random rnd(16);
    for (float scale : {0.05f, 0.5f, 1.0f, 1.0009f, 1.001f, 3.0f}) {
        for (int height : {1, 10, 11, 64, 1024, 1025, 3000}) {
            const int step = height % 2 ? 2 : 1;
            std::vector<int16_t> e = rnd.integers<int16_t>(static_cast<size_t>(height) * step, -2000, 3000);
            int16_t maxE = e[0];
            for (int i = 0; i < height; ++i) maxE = std::max(maxE, e[i * step]);
            const int16_t silence = 300, norm = 2000;
            std::vector<int16_t> batch = e, rt = e;
            ASSERT_EQ(zemsNormEnergy_16s(batch.data(), step, height, silence, norm, scale), zemStatusOk);
            ASSERT_EQ(zemsNormEnergy_RT_16s(rt.data(), step, height, silence, maxE, norm, scale), zemStatusOk);
            EXPECT_EQ(batch, energy16Reference(e, step, height, silence, maxE, norm, scale,
                                               scale >= 1.001f || height < 11))
                << scale << " " << height;
            EXPECT_EQ(rt, energy16Reference(e, step, height, silence, maxE, norm, scale, scale >= 1.001f))
                << scale << " " << height;
        }
    }
}

// Above 1024 frames the integer path takes its scratch from the allocator (the sweep walks
// its failures); 1024 frames and the float path need none.
TEST(NormEnergy, SixteenBitScratchOnlyAboveAThousandFrames) {
    std::vector<int16_t> e(1025, 100);
    const int64_t before = zemcoreTestAllocationCount();
    EXPECT_EQ(zemsNormEnergy_16s(e.data(), 1, 1024, 30, 100, 0.5f), zemStatusOk);
    EXPECT_EQ(zemsNormEnergy_16s(e.data(), 1, 1025, 30, 100, 2.0f), zemStatusOk);
    EXPECT_EQ(zemcoreTestAllocationCount(), before);
    EXPECT_EQ(zemsNormEnergy_16s(e.data(), 1, 1025, 30, 100, 0.5f), zemStatusOk);
    EXPECT_EQ(zemcoreTestAllocationCount(), before + 1);
    EXPECT_EQ(zemsNormEnergy_RT_16s(e.data(), 1, 1025, 30, 100, 100, 0.5f), zemStatusOk);
    EXPECT_EQ(zemcoreTestAllocationCount(), before + 2);
}

// ---- Sign changes ----------------------------------------------------------------------------

TEST(SignChangeRate, CountsAgainstReferenceOverLengthsAndOffsets) {
    Random rnd(17);
    for (int len : zemtest::testLengths()) {
        std::vector<int16_t> s = rnd.integers<int16_t>(len, -3, 3);  // many zeros
        std::vector<float> f(len);
        for (int i = 0; i < len; ++i) f[i] = s[i] == 2 ? -0.0f : static_cast<float>(s[i]) * 1.5f;
        int64_t plain = 0, steps = 0, bits = 0;
        auto sgn = [](float v) { return (v > 0) - (v < 0); };
        for (int i = 1; i < len; ++i) {
            plain += (f[i - 1] > 0 && f[i] < 0) || (f[i - 1] < 0 && f[i] > 0);
            steps += std::abs(sgn(f[i]) - sgn(f[i - 1]));
            bits += std::signbit(f[i]) != std::signbit(f[i - 1]);
        }
        int64_t plain16 = 0, steps16 = 0;
        for (int i = 1; i < len; ++i) {
            plain16 += (s[i - 1] > 0 && s[i] < 0) || (s[i - 1] < 0 && s[i] > 0);
            steps16 += std::abs(sgn(s[i]) - sgn(s[i - 1]));
        }
        for (size_t off : {size_t{0}, size_t{4}}) {
            Buffer<float> fb = at(f, off);
            Buffer<int16_t> sb = at(s, off);
            float rf = -1, r0 = -1;
            int32_t ri = -1, r0i = -1, rx = -1;
            ASSERT_EQ(zemsSignChangeRate_32f(fb.data(), len, &rf), zemStatusOk);
            ASSERT_EQ(zemsSignChangeRate_Count0_32f(fb.data(), len, &r0), zemStatusOk);
            ASSERT_EQ(zemsSignChangeRateXor_32f(fb.data(), len, &rx), zemStatusOk);
            ASSERT_EQ(zemsSignChangeRate_16s(sb.data(), len, &ri), zemStatusOk);
            ASSERT_EQ(zemsSignChangeRate_Count0_16s(sb.data(), len, &r0i), zemStatusOk);
            EXPECT_EQ(rf, static_cast<float>(plain)) << len;
            EXPECT_EQ(r0, static_cast<float>(steps) * 0.5f) << len;
            EXPECT_EQ(rx, bits) << len;
            EXPECT_EQ(ri, plain16) << len;
            EXPECT_EQ(r0i, steps16 >> 1) << len;
        }
    }
}

TEST(SignChangeRate, ZerosUnderflowAndSignedZeros) {
    const float through0[] = {1.0f, 0.0f, -1.0f};
    float r;
    int32_t n;
    ASSERT_EQ(zemsSignChangeRate_32f(through0, 3, &r), zemStatusOk);
    EXPECT_EQ(r, 0.0f);
    ASSERT_EQ(zemsSignChangeRate_Count0_32f(through0, 3, &r), zemStatusOk);
    EXPECT_EQ(r, 1.0f);
    const float tiny[] = {1e-30f, -1e-30f, 1e-30f, -1e-30f, 1e-30f, -1e-30f, 1e-30f, -1e-30f, 1e-30f, -1.0f};
    ASSERT_EQ(zemsSignChangeRate_32f(tiny, 10, &r), zemStatusOk);
    EXPECT_EQ(r, 1.0f);  // products that underflow to zero do not count
    const float zeros[] = {0.0f, -0.0f, 0.0f};
    ASSERT_EQ(zemsSignChangeRateXor_32f(zeros, 3, &n), zemStatusOk);
    EXPECT_EQ(n, 2);
    ASSERT_EQ(zemsSignChangeRateXor_32f(zeros, 1, &n), zemStatusOk);
    EXPECT_EQ(n, 0);
    const int16_t odd[] = {1, 0, -1, 0};  // three steps of one: halved by a shift to 1
    ASSERT_EQ(zemsSignChangeRate_Count0_16s(odd, 4, &n), zemStatusOk);
    EXPECT_EQ(n, 1);
}

// ---- Entropy ---------------------------------------------------------------------------------

TEST(Entropy, SumOfXLogXAndTheNegativeWarning) {
    Random rnd(18);
    for (int len : {1, 5, 64, 1000}) {
        std::vector<float> p = rnd.uniform<float>(len, 0.0, 1.0);
        p[0] = 0.0f;
        float sum = 0.0f;
        for (float x : p)
            if (x > 0.0f) sum += x * std::log(x);
        float r;
        ASSERT_EQ(zemsEntropy_32f(p.data(), len, &r), zemStatusOk);
        EXPECT_TRUE(sameBits(r, sum / 0.6931472f)) << len;

        std::vector<int16_t> s = rnd.integers<int16_t>(len, 0, 32767);
        for (int shift : {15, 0, -2}) {
            for (int sf : {0, -8, 3}) {
                const float in = shift >= 0 ? 1.0f / std::ldexp(1.0f, shift) : std::ldexp(1.0f, -shift);
                float t = 0.0f;
                for (int16_t v : s)
                    if (v > 0) t += (v * in) * std::log(v * in);
                const float scaled = t * std::ldexp(1.0f, -sf) / 0.6931472f;
                const int32_t want = scaled >= 2147483648.0f ? INT32_MIN
                                     : scaled <= -2147483648.0f ? INT32_MIN
                                                                : static_cast<int32_t>(scaled);
                int32_t ri = 7;
                ASSERT_EQ(zemsEntropy_16s32s_Sfs(s.data(), shift, len, &ri, sf), zemStatusOk);
                EXPECT_EQ(ri, want) << len << " " << shift << " " << sf;
            }
        }
    }
    const float neg[] = {0.5f, -0.25f, 0.25f};
    float r = 0.0f;
    EXPECT_EQ(zemsEntropy_32f(neg, 3, &r), zemStatusLogNegativeWarning);
    EXPECT_TRUE(std::isnan(r));
    const int16_t negS[] = {100, -1, 100};
    int32_t ri = 12345;
    EXPECT_EQ(zemsEntropy_16s32s_Sfs(negS, 0, 3, &ri, 0), zemStatusLogNegativeWarning);
    EXPECT_EQ(ri, 12345);  // not written
}

TEST(CopyWithPadding, CopiesAndZeroesTheRest) {
    const float src[] = {1, 2, 3};
    float dst[5] = {9, 9, 9, 9, 9};
    ASSERT_EQ(zemsCopyWithPadding_32f(src, 3, dst, 5), zemStatusOk);
    EXPECT_EQ(std::vector<float>(dst, dst + 5), (std::vector<float>{1, 2, 3, 0, 0}));
    const int16_t s16[] = {-4, 5};
    int16_t d16[2] = {9, 9};
    ASSERT_EQ(zemsCopyWithPadding_16s(s16, 2, d16, 2), zemStatusOk);
    EXPECT_EQ(d16[0], -4);
    EXPECT_EQ(d16[1], 5);
}

// ---- Unit curve ------------------------------------------------------------------------------

TEST(UnitCurve, FloatPiecesAndTheExpandedOutOfPlaceForm) {
    Random rnd(19);
    std::vector<float> x = rnd.uniform<float>(4000, -1.0, 3.0);
    x[0] = 1.0f, x[1] = 2.0f, x[2] = 0.0f, x[3] = -0.0f;
    std::vector<float> out(x.size()), io = x;
    ASSERT_EQ(zemsUnitCurve_32f(x.data(), out.data(), static_cast<int>(x.size())), zemStatusOk);
    ASSERT_EQ(zemsUnitCurve_32f_I(io.data(), static_cast<int>(x.size())), zemStatusOk);
    int parted = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const float v = x[i];
        const float low = v < 0.0f ? 0.0f : v < 1.0f ? v * v : v <= 2.0f ? -1.0f : 2.0f;
        const float expanded = low != -1.0f ? low : 4.0f * v - v * v - 2.0f;
        const float nested = low != -1.0f ? low : 2.0f - (2.0f - v) * (2.0f - v);
        ASSERT_TRUE(sameBits(out[i], expanded)) << v;
        ASSERT_TRUE(sameBits(io[i], nested)) << v;
        parted += expanded != nested;
    }
    EXPECT_GT(parted, 0);  // the two forms do round differently
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_EQ(out[1], 2.0f);
}

TEST(UnitCurve, FixedPointShiftsAndLimits) {
    Random rnd(20);
    std::vector<int16_t> x = rnd.integers<int16_t>(500, -100, 40000 / 2);
    for (int q : {-1, 0, 3, 8, 14, 15}) {
        for (int sf : {INT32_MIN, -40, -20, -3, 0, 5, 40, INT32_MAX}) {
            std::vector<int16_t> out(x.size(), 77), io = x;
            ASSERT_EQ(zemsUnitCurve_16s_Sfs(x.data(), q, out.data(), 500, sf), zemStatusOk);
            ASSERT_EQ(zemsUnitCurve_16s_ISfs(io.data(), q, 500, sf), zemStatusOk);
            for (size_t i = 0; i < x.size(); ++i) {
                int16_t want = 0;
                if (q >= 0 && q < 15) {
                    const double one = std::ldexp(1.0, q), two = 2 * one, v = x[i];
                    const double y = v <= 0 ? 0 : v < one ? v * v : v < two ? two * one - (two - v) * (two - v) : two * one;
                    const double shifted = std::floor(std::ldexp(y, -static_cast<int>(std::clamp<int64_t>(int64_t{sf} + 2 * q, -64, 64))));
                    want = static_cast<int16_t>(std::min(shifted, 32767.0));
                }
                ASSERT_EQ(out[i], want) << q << " " << sf << " " << x[i];
                ASSERT_EQ(io[i], want) << q << " " << sf << " " << x[i];
            }
        }
    }
}

}  // namespace
