// Weighted column statistics and weighted sums of two vectors against scalar
// references: columns accumulate w * x and (w * x) * x over rows in order; the sums
// scale by the reciprocal of the weight sum, with the exactly-zero weight sum rule.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "table_support.h"
#include "zemsr.h"

namespace {

using tabletest::Shape;
using tabletest::Table;
using zemtest::sameBits;

template <class T>
void weightedCase(const Shape& sh, zemtest::Random& rnd) {
    const int h = sh.height, w = sh.width;
    Table<T> t(h, w, sh.offset, sh.extra, rnd, -4.0, 6.0);
    const auto weights = rnd.uniform<T>(h, 0.0, 1.0 / h);
    const auto givenMean = rnd.uniform<T>(w, -1.0, 1.0);
    std::vector<T> mean(w, T(0)), sq(w, T(0)), var(w), varGiven(w);
    for (int i = 0; i < h; ++i)
        for (int j = 0; j < w; ++j) {
            const T wx = weights[i] * t.at(i, j);
            mean[j] += wx;
            sq[j] += wx * t.at(i, j);
        }
    for (int j = 0; j < w; ++j) var[j] = sq[j] - mean[j] * mean[j], varGiven[j] = sq[j] - givenMean[j] * givenMean[j];

    std::vector<T> a(w), b(w);
    auto expect = [&](const std::vector<T>& want, const std::vector<T>& got, const char* what) {
        for (int j = 0; j < w; ++j)
            ASSERT_TRUE(sameBits(want[j], got[j])) << what << " " << h << "x" << w << " at " << j;
    };
    if constexpr (std::is_same_v<T, Zem32f>) {
        ASSERT_EQ(zemsWeightedMeanColumn_32f_D2(t.block.data(), t.step, weights.data(), h, a.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanColumn D2");
        ASSERT_EQ(zemsWeightedMeanColumn_32f_D2L(t.crows(), weights.data(), h, a.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanColumn D2L");
        ASSERT_EQ(zemsWeightedVarColumn_32f_D2(t.block.data(), t.step, weights.data(), h, givenMean.data(), a.data(), w),
                  zemStatusOk);
        expect(varGiven, a, "WeightedVarColumn D2");
        ASSERT_EQ(zemsWeightedVarColumn_32f_D2L(t.crows(), weights.data(), h, givenMean.data(), a.data(), w),
                  zemStatusOk);
        expect(varGiven, a, "WeightedVarColumn D2L");
        ASSERT_EQ(zemsWeightedMeanVarColumn_32f_D2(t.block.data(), t.step, weights.data(), h, a.data(), b.data(), w),
                  zemStatusOk);
        expect(mean, a, "WeightedMeanVarColumn D2 mean");
        expect(var, b, "WeightedMeanVarColumn D2 var");
        ASSERT_EQ(zemsWeightedMeanVarColumn_32f_D2L(t.crows(), weights.data(), h, a.data(), b.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanVarColumn D2L mean");
        expect(var, b, "WeightedMeanVarColumn D2L var");
    } else {
        ASSERT_EQ(zemsWeightedMeanColumn_64f_D2(t.block.data(), t.step, weights.data(), h, a.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanColumn 64f D2");
        ASSERT_EQ(zemsWeightedMeanColumn_64f_D2L(t.crows(), weights.data(), h, a.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanColumn 64f D2L");
        ASSERT_EQ(zemsWeightedVarColumn_64f_D2(t.block.data(), t.step, weights.data(), h, givenMean.data(), a.data(), w),
                  zemStatusOk);
        expect(varGiven, a, "WeightedVarColumn 64f D2");
        ASSERT_EQ(zemsWeightedVarColumn_64f_D2L(t.crows(), weights.data(), h, givenMean.data(), a.data(), w),
                  zemStatusOk);
        expect(varGiven, a, "WeightedVarColumn 64f D2L");
        ASSERT_EQ(zemsWeightedMeanVarColumn_64f_D2(t.block.data(), t.step, weights.data(), h, a.data(), b.data(), w),
                  zemStatusOk);
        expect(mean, a, "WeightedMeanVarColumn 64f D2 mean");
        expect(var, b, "WeightedMeanVarColumn 64f D2 var");
        ASSERT_EQ(zemsWeightedMeanVarColumn_64f_D2L(t.crows(), weights.data(), h, a.data(), b.data(), w), zemStatusOk);
        expect(mean, a, "WeightedMeanVarColumn 64f D2L mean");
        expect(var, b, "WeightedMeanVarColumn 64f D2L var");
    }
}

TEST(Weighted, ColumnMeansAndVariancesInBothLayouts) {
    zemtest::Random rnd(31);
    for (const Shape& sh : tabletest::shapes()) {
        weightedCase<Zem32f>(sh, rnd);
        weightedCase<Zem64f>(sh, rnd);
    }
}

// The float forms: (w1 * r) * a + (w2 * r) * b, the half form r * a + (w2 * r) * b.
template <class T>
void sumCase(int len, size_t offset, zemtest::Random& rnd) {
    const size_t off = offset * sizeof(T) / 4;
    zemtest::Buffer<T> a(len, off), b(len, off + 8), got(len, off), half(len, off);
    const auto va = rnd.uniform<T>(len, -100.0, 100.0), vb = rnd.uniform<T>(len, -100.0, 100.0);
    for (int i = 0; i < len; ++i) a[i] = va[i], b[i] = vb[i];
    const T w1 = T(0.3), w2 = T(1.9), r = T(1) / (w1 + w2);
    if constexpr (std::is_same_v<T, Zem32f>) {
        ASSERT_EQ(zemsWeightedSum_32f(a.data(), b.data(), got.data(), len, w1, w2), zemStatusOk);
        ASSERT_EQ(zemsWeightedSumHalf_32f(a.data(), b.data(), half.data(), len, w1, w2), zemStatusOk);
    } else {
        ASSERT_EQ(zemsWeightedSum_64f(a.data(), b.data(), got.data(), len, w1, w2), zemStatusOk);
        ASSERT_EQ(zemsWeightedSumHalf_64f(a.data(), b.data(), half.data(), len, w1, w2), zemStatusOk);
    }
    for (int i = 0; i < len; ++i) {
        ASSERT_TRUE(sameBits(got[i], (w1 * r) * a[i] + (w2 * r) * b[i])) << len << " at " << i;
        ASSERT_TRUE(sameBits(half[i], r * a[i] + (w2 * r) * b[i])) << len << " at " << i;
    }
}

TEST(Weighted, SumsOfTwoVectors) {
    zemtest::Random rnd(32);
    for (int len = 1; len <= 40; ++len)
        for (size_t off : {0, 4}) {
            sumCase<Zem32f>(len, off, rnd);
            sumCase<Zem64f>(len, off, rnd);
        }
}

// 16-bit: computed in Zem32f, clamped to [-32768, 32767] and truncated toward zero.
TEST(Weighted, SixteenBitSumsClampAndTruncate) {
    const std::vector<Zem16s> a = {10, -10, 32767, -32768, 7, -7, 1};
    const std::vector<Zem16s> b = {3, -3, 32767, -32768, 0, 0, -1};
    std::vector<Zem16s> got(a.size()), half(a.size());
    const float w1 = 1.0f, w2 = 2.0f, r = 1.0f / 3.0f;
    ASSERT_EQ(zemsWeightedSum_16s(a.data(), b.data(), got.data(), 7, w1, w2), zemStatusOk);
    ASSERT_EQ(zemsWeightedSumHalf_16s(a.data(), b.data(), half.data(), 7, w1, w2), zemStatusOk);
    for (size_t i = 0; i < a.size(); ++i) {
        auto store = [](float v) {
            v = v < -32768.0f ? -32768.0f : (v > 32767.0f ? 32767.0f : v);
            return static_cast<Zem16s>(static_cast<int32_t>(v));
        };
        EXPECT_EQ(got[i], store((w1 * r) * a[i] + (w2 * r) * b[i])) << i;
        EXPECT_EQ(half[i], store(r * a[i] + (w2 * r) * b[i])) << i;
    }
    EXPECT_EQ(got[0], 5);    // 16 / 3 = 5.33
    EXPECT_EQ(got[1], -5);   // toward zero, not -6
    EXPECT_EQ(got[2], 32767);  // 32767 * (1/3 + 2/3) rounds above the range
    // Weights summing to 2 with a first weight of 4 double the first source: it clamps.
    const std::vector<Zem16s> big = {30000, -30000}, none = {0, 0};
    std::vector<Zem16s> out(2);
    ASSERT_EQ(zemsWeightedSum_16s(big.data(), none.data(), out.data(), 2, 4.0f, -2.0f), zemStatusOk);
    EXPECT_EQ(out[0], 32767);
    EXPECT_EQ(out[1], -32768);
}

// A weight sum of exactly 0: the sign of w1 * a + w2 * b picks +inf / -inf (32767 /
// -32768), zero gives the NaN 0xFFC00000 (0), and the warning is returned.
TEST(Weighted, ExactlyZeroWeightSum) {
    const float fa[] = {3.0f, 1.0f, 2.0f}, fb[] = {1.0f, 4.0f, 2.0f};
    const double da[] = {3.0, 1.0, 2.0}, db[] = {1.0, 4.0, 2.0};
    const Zem16s sa[] = {3, 1, 2}, sb[] = {1, 4, 2};
    float f[3], fh[3];
    double d[3], dh[3];
    Zem16s s[3], sh[3];
    ASSERT_EQ(zemsWeightedSum_32f(fa, fb, f, 3, 1.0f, -1.0f), zemStatusDivideByZeroWarning);
    ASSERT_EQ(zemsWeightedSumHalf_32f(fa, fb, fh, 3, 1.0f, -1.0f), zemStatusDivideByZeroWarning);
    ASSERT_EQ(zemsWeightedSum_64f(da, db, d, 3, 1.0, -1.0), zemStatusDivideByZeroWarning);
    ASSERT_EQ(zemsWeightedSumHalf_64f(da, db, dh, 3, 1.0, -1.0), zemStatusDivideByZeroWarning);
    ASSERT_EQ(zemsWeightedSum_16s(sa, sb, s, 3, 1.0f, -1.0f), zemStatusDivideByZeroWarning);
    ASSERT_EQ(zemsWeightedSumHalf_16s(sa, sb, sh, 3, 1.0f, -1.0f), zemStatusDivideByZeroWarning);
    uint32_t nan32 = 0xFFC00000u;
    uint64_t nan64 = 0xFFF8000000000000ull;
    float fnan;
    double dnan;
    std::memcpy(&fnan, &nan32, 4);
    std::memcpy(&dnan, &nan64, 8);
    const float fw[] = {__builtin_inff(), -__builtin_inff(), fnan};
    const double dw[] = {__builtin_inf(), -__builtin_inf(), dnan};
    const Zem16s sw[] = {32767, -32768, 0};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(sameBits(f[i], fw[i]) && sameBits(fh[i], fw[i])) << i;
        EXPECT_TRUE(sameBits(d[i], dw[i]) && sameBits(dh[i], dw[i])) << i;
        EXPECT_EQ(s[i], sw[i]) << i;
        EXPECT_EQ(sh[i], sw[i]) << i;
    }
}

}  // namespace
