// Column and row sums, means and variances against scalar references of the stated
// arithmetic: columns summed over rows in order from +0, row sums in eight (Zem64f: four)
// lanes folded ((l0 + l1) + (l2 + l3)) + ((l4 + l5) + (l6 + l7)), the 16-bit results
// through round-to-nearest conversions.  Bit-exact, in both layouts, at every shape.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "table_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

using tabletest::Shape;
using tabletest::Table;
using zemtest::sameBits;

template <class Acc, class T>
std::vector<Acc> columnSums(const Table<T>& t, bool squares) {
    std::vector<Acc> s(t.width, Acc(0));
    for (int i = 0; i < t.height; ++i)
        for (int j = 0; j < t.width; ++j) {
            const Acc x = static_cast<Acc>(t.at(i, j));
            s[j] += squares ? x * x : x;
        }
    return s;
}

template <class Acc, class T>
Acc rowSum(const T* row, int width) {
    constexpr int L = sizeof(Acc) == 4 ? 8 : 4;
    Acc lane[8] = {};
    for (int j = 0; j < width; ++j) lane[j % L] += static_cast<Acc>(row[j]);
    if (L == 8) return ((lane[0] + lane[1]) + (lane[2] + lane[3])) + ((lane[4] + lane[5]) + (lane[6] + lane[7]));
    return (lane[0] + lane[1]) + (lane[2] + lane[3]);
}

// (sum of squares + (-height) * (mean * mean)) * (1 / (height - 1))
float varOf(float sq, float mean, int height) {
    return (sq + -static_cast<float>(height) * (mean * mean)) * (1.0f / static_cast<float>(height - 1));
}

template <class T>
void expectSame(const std::vector<T>& want, const T* got, const Shape& sh, const char* what) {
    for (size_t j = 0; j < want.size(); ++j)
        ASSERT_TRUE(sameBits(want[j], got[j])) << what << " " << sh.height << "x" << sh.width << " off " << sh.offset
                                               << " at " << j << ": " << want[j] << " vs " << got[j];
}

TEST(ColumnStats, FloatSumsMeansAndVariancesInBothLayouts) {
    zemtest::Random rnd(11);
    for (const Shape& sh : tabletest::shapes()) {
        Table<Zem32f> t(sh.height, sh.width, sh.offset, sh.extra, rnd, -4.0, 6.0);
        const int h = sh.height, w = sh.width;
        const auto sum = columnSums<float>(t, false), sq = columnSums<float>(t, true);
        std::vector<float> mean(w), var(w), got(w), got2(w);
        for (int j = 0; j < w; ++j) mean[j] = sum[j] * (1.0f / static_cast<float>(h));
        for (int j = 0; j < w; ++j) var[j] = varOf(sq[j], mean[j], h);

        ASSERT_EQ(zemsSumColumn_32f_D2(t.block.data(), t.step, h, got.data(), w), zemStatusOk);
        expectSame(sum, got.data(), sh, "SumColumn D2");
        ASSERT_EQ(zemsSumColumn_32f_D2L(t.crows(), h, got.data(), w), zemStatusOk);
        expectSame(sum, got.data(), sh, "SumColumn D2L");
        ASSERT_EQ(zemsMeanColumn_32f_D2(t.block.data(), h, t.step, got.data(), w), zemStatusOk);
        expectSame(mean, got.data(), sh, "MeanColumn D2");
        ASSERT_EQ(zemsMeanColumn_32f_D2L(t.crows(), h, got.data(), w), zemStatusOk);
        expectSame(mean, got.data(), sh, "MeanColumn D2L");
        if (h < 2) continue;
        ASSERT_EQ(zemsVarColumn_32f_D2(t.block.data(), h, t.step, mean.data(), got.data(), w), zemStatusOk);
        expectSame(var, got.data(), sh, "VarColumn D2");
        ASSERT_EQ(zemsVarColumn_32f_D2L(t.crows(), h, mean.data(), got.data(), w), zemStatusOk);
        expectSame(var, got.data(), sh, "VarColumn D2L");
        ASSERT_EQ(zemsMeanVarColumn_32f_D2(t.block.data(), h, t.step, got.data(), got2.data(), w), zemStatusOk);
        expectSame(mean, got.data(), sh, "MeanVarColumn D2 mean");
        expectSame(var, got2.data(), sh, "MeanVarColumn D2 var");
        ASSERT_EQ(zemsMeanVarColumn_32f_D2L(t.crows(), h, got.data(), got2.data(), w), zemStatusOk);
        expectSame(mean, got.data(), sh, "MeanVarColumn D2L mean");
        expectSame(var, got2.data(), sh, "MeanVarColumn D2L var");
    }
}

TEST(ColumnStats, DoubleSumsAndRowSumsOfEveryType) {
    zemtest::Random rnd(12);
    for (const Shape& sh : tabletest::shapes()) {
        const int h = sh.height, w = sh.width;
        Table<Zem64f> d(h, w, sh.offset, sh.extra, rnd, -4.0, 6.0);
        Table<Zem32f> f(h, w, sh.offset, sh.extra, rnd, -4.0, 6.0);
        Table<Zem16s> s(h, w, sh.offset, sh.extra, rnd, -32768, 32767);
        std::vector<Zem64f> gotD(w > h ? w : h);
        std::vector<Zem32f> gotF(w > h ? w : h);

        ASSERT_EQ(zemsSumColumn_64f_D2(d.block.data(), d.step, h, gotD.data(), w), zemStatusOk);
        expectSame(columnSums<double>(d, false), gotD.data(), sh, "SumColumn 64f D2");
        ASSERT_EQ(zemsSumColumn_64f_D2L(d.crows(), h, gotD.data(), w), zemStatusOk);
        expectSame(columnSums<double>(d, false), gotD.data(), sh, "SumColumn 64f D2L");
        ASSERT_EQ(zemsSumColumn_16s32f_D2(s.block.data(), s.step, h, gotF.data(), w), zemStatusOk);
        expectSame(columnSums<float>(s, false), gotF.data(), sh, "SumColumn 16s32f D2");
        ASSERT_EQ(zemsSumColumn_16s32f_D2L(s.crows(), h, gotF.data(), w), zemStatusOk);
        expectSame(columnSums<float>(s, false), gotF.data(), sh, "SumColumn 16s32f D2L");

        std::vector<Zem64f> rowD(h);
        std::vector<Zem32f> rowF(h), rowS(h);
        for (int i = 0; i < h; ++i) {
            rowD[i] = rowSum<double>(d.rowPtrs[i], w);
            rowF[i] = rowSum<float>(f.rowPtrs[i], w);
            rowS[i] = rowSum<float>(s.rowPtrs[i], w);
        }
        ASSERT_EQ(zemsSumRow_64f_D2(d.block.data(), w, d.step, gotD.data(), h), zemStatusOk);
        expectSame(rowD, gotD.data(), sh, "SumRow 64f D2");
        ASSERT_EQ(zemsSumRow_64f_D2L(d.crows(), w, gotD.data(), h), zemStatusOk);
        expectSame(rowD, gotD.data(), sh, "SumRow 64f D2L");
        ASSERT_EQ(zemsSumRow_32f_D2(f.block.data(), w, f.step, gotF.data(), h), zemStatusOk);
        expectSame(rowF, gotF.data(), sh, "SumRow 32f D2");
        ASSERT_EQ(zemsSumRow_32f_D2L(f.crows(), w, gotF.data(), h), zemStatusOk);
        expectSame(rowF, gotF.data(), sh, "SumRow 32f D2L");
        ASSERT_EQ(zemsSumRow_16s32f_D2(s.block.data(), w, s.step, gotF.data(), h), zemStatusOk);
        expectSame(rowS, gotF.data(), sh, "SumRow 16s32f D2");
        ASSERT_EQ(zemsSumRow_16s32f_D2L(s.crows(), w, gotF.data(), h), zemStatusOk);
        expectSame(rowS, gotF.data(), sh, "SumRow 16s32f D2L");
    }
}

// The integer results: float sums, means and variances converted with rounding to
// nearest (ties to even), the scale factor and saturation.
TEST(ColumnStats, SixteenBitFormsConvertTheFloatResults) {
    zemtest::Random rnd(13);
    for (const Shape& sh : tabletest::shapes()) {
        const int h = sh.height, w = sh.width;
        // Small values make ties and exact halves common; large ones saturate.
        const int span = sh.width % 2 ? 40 : 32767;
        Table<Zem16s> t(h, w, sh.offset, sh.extra, rnd, -span, span);
        const auto sum = columnSums<float>(t, false), sq = columnSums<float>(t, true);
        const std::vector<Zem16s> given = rnd.integers<Zem16s>(w, -span, span);
        for (int sf : {-3, 0, 2}) {
            std::vector<Zem32s> i32(w), j32(w), want32(w);
            std::vector<Zem16s> i16(w), j16(w), want16(w);
            std::vector<float> mean(w);
            for (int j = 0; j < w; ++j) mean[j] = sum[j] * (1.0f / static_cast<float>(h));

            for (int j = 0; j < w; ++j) want32[j] = tabletest::to32(sum[j], sf);
            ASSERT_EQ(zemsSumColumn_16s32s_D2Sfs(t.block.data(), t.step, h, i32.data(), w, sf), zemStatusOk);
            expectSame(want32, i32.data(), sh, "SumColumn 16s32s D2");
            ASSERT_EQ(zemsSumColumn_16s32s_D2LSfs(t.crows(), h, i32.data(), w, sf), zemStatusOk);
            expectSame(want32, i32.data(), sh, "SumColumn 16s32s D2L");

            std::vector<Zem32s> rows32(h);
            for (int i = 0; i < h; ++i) rows32[i] = tabletest::to32(rowSum<float>(t.rowPtrs[i], w), sf);
            std::vector<Zem32s> gotRows(h);
            ASSERT_EQ(zemsSumRow_16s32s_D2Sfs(t.block.data(), w, t.step, gotRows.data(), h, sf), zemStatusOk);
            expectSame(rows32, gotRows.data(), sh, "SumRow 16s32s D2");
            ASSERT_EQ(zemsSumRow_16s32s_D2LSfs(t.crows(), w, gotRows.data(), h, sf), zemStatusOk);
            expectSame(rows32, gotRows.data(), sh, "SumRow 16s32s D2L");

            if (sf == 0) {
                for (int j = 0; j < w; ++j) want16[j] = tabletest::to16(mean[j], 0);
                ASSERT_EQ(zemsMeanColumn_16s_D2(t.block.data(), h, t.step, i16.data(), w), zemStatusOk);
                expectSame(want16, i16.data(), sh, "MeanColumn 16s D2");
                ASSERT_EQ(zemsMeanColumn_16s_D2L(t.crows(), h, i16.data(), w), zemStatusOk);
                expectSame(want16, i16.data(), sh, "MeanColumn 16s D2L");
            }
            if (h < 2) continue;

            for (int j = 0; j < w; ++j) want16[j] = tabletest::to16(varOf(sq[j], given[j], h), sf);
            ASSERT_EQ(zemsVarColumn_16s_D2Sfs(t.block.data(), h, t.step, given.data(), i16.data(), w, sf), zemStatusOk);
            expectSame(want16, i16.data(), sh, "VarColumn 16s D2");
            ASSERT_EQ(zemsVarColumn_16s_D2LSfs(t.crows(), h, given.data(), i16.data(), w, sf), zemStatusOk);
            expectSame(want16, i16.data(), sh, "VarColumn 16s D2L");

            // Mean and variance: the variance from the unconverted mean.
            std::vector<Zem16s> wantM16(w), wantV16(w);
            std::vector<Zem32s> wantM32(w), wantV32(w);
            for (int j = 0; j < w; ++j) {
                const float v = varOf(sq[j], mean[j], h);
                wantM16[j] = tabletest::to16(mean[j], sf), wantV16[j] = tabletest::to16(v, sf);
                wantM32[j] = tabletest::to32(mean[j], sf), wantV32[j] = tabletest::to32(v, sf);
            }
            ASSERT_EQ(zemsMeanVarColumn_16s_D2Sfs(t.block.data(), h, t.step, i16.data(), j16.data(), w, sf), zemStatusOk);
            expectSame(wantM16, i16.data(), sh, "MeanVarColumn 16s D2 mean");
            expectSame(wantV16, j16.data(), sh, "MeanVarColumn 16s D2 var");
            ASSERT_EQ(zemsMeanVarColumn_16s_D2LSfs(t.crows(), h, i16.data(), j16.data(), w, sf), zemStatusOk);
            expectSame(wantM16, i16.data(), sh, "MeanVarColumn 16s D2L mean");
            expectSame(wantV16, j16.data(), sh, "MeanVarColumn 16s D2L var");
            ASSERT_EQ(zemsMeanVarColumn_16s32s_D2Sfs(t.block.data(), h, t.step, i32.data(), j32.data(), w, sf),
                      zemStatusOk);
            expectSame(wantM32, i32.data(), sh, "MeanVarColumn 16s32s D2 mean");
            expectSame(wantV32, j32.data(), sh, "MeanVarColumn 16s32s D2 var");
            ASSERT_EQ(zemsMeanVarColumn_16s32s_D2LSfs(t.crows(), h, i32.data(), j32.data(), w, sf), zemStatusOk);
            expectSame(wantM32, i32.data(), sh, "MeanVarColumn 16s32s D2L mean");
            expectSame(wantV32, j32.data(), sh, "MeanVarColumn 16s32s D2L var");
            if (sf == 0) {
                for (int j = 0; j < w; ++j) wantV32[j] = tabletest::to32(varOf(sq[j], mean[j], h), 0);
                for (int j = 0; j < w; ++j) wantM16[j] = tabletest::to16(mean[j], 0);
                ASSERT_EQ(zemsMeanVarColumn_16s16s32s_D2(t.block.data(), h, t.step, i16.data(), j32.data(), w),
                          zemStatusOk);
                expectSame(wantM16, i16.data(), sh, "MeanVarColumn 16s16s32s D2 mean");
                expectSame(wantV32, j32.data(), sh, "MeanVarColumn 16s16s32s D2 var");
                ASSERT_EQ(zemsMeanVarColumn_16s16s32s_D2L(t.crows(), h, i16.data(), j32.data(), w), zemStatusOk);
                expectSame(wantM16, i16.data(), sh, "MeanVarColumn 16s16s32s D2L mean");
                expectSame(wantV32, j32.data(), sh, "MeanVarColumn 16s16s32s D2L var");
            }
        }
    }
}

// val + (sum of the picked rows from column offset), and dst + (the column sums): the
// sum is formed before it is added, so adding a table twice to zero doubles its sums.
TEST(ColumnStats, AddedSumsKeepTheirOrder) {
    zemtest::Random rnd(14);
    Table<Zem32f> t(9, 23, 4, 5, rnd, -3.0, 3.0);
    const auto sum = columnSums<float>(t, false);
    std::vector<float> acc(23, 0.0f);
    ASSERT_EQ(zemsAddAllRowSum_32f_D2(t.block.data(), t.step, 9, acc.data(), 23), zemStatusOk);
    ASSERT_EQ(zemsAddAllRowSum_32f_D2L(t.crows(), 9, acc.data(), 23), zemStatusOk);
    for (int j = 0; j < 23; ++j) ASSERT_TRUE(sameBits(acc[j], sum[j] + sum[j])) << j;

    const std::vector<Zem32s> base = {3, -2, 0, 5, 1};
    const std::vector<Zem16u> counts = {0, 10, 8, 3, 0};  // rows 3, 8, 8, 8, 1
    const int offset = 4, width = 24;
    std::vector<float> got(width);
    ASSERT_EQ(zemsAddNRows_32f_D2(t.block.data(), 9, offset, t.step, base.data(), counts.data(), 5, got.data(),
                                  width, 0.25f),
              zemStatusOk);
    for (int j = 0; j < width; ++j) {
        float s = 0.0f;
        for (int r = 0; r < 5; ++r) s += t.at(base[r] + counts[r], offset + j);
        ASSERT_TRUE(sameBits(got[j], 0.25f + s)) << j;
    }
}

// The 16-bit means and variances take their work array from the allocator: a failure
// returns zemStatusNoMemory with nothing written and nothing left allocated.
TEST(ColumnStats, SixteenBitWorkArrayFailure) {
    zemtest::Random rnd(15);
    Table<Zem16s> t(6, 13, 0, 3, rnd, -500, 500);
    std::vector<Zem16s> mean(13, 1), out(13), out2(13);
    std::vector<Zem32s> o32(13), p32(13);
    const std::vector<std::function<ZemStatus()>> calls = {
        [&] { return zemsMeanColumn_16s_D2(t.block.data(), 6, t.step, out.data(), 13); },
        [&] { return zemsMeanColumn_16s_D2L(t.crows(), 6, out.data(), 13); },
        [&] { return zemsVarColumn_16s_D2Sfs(t.block.data(), 6, t.step, mean.data(), out.data(), 13, 1); },
        [&] { return zemsVarColumn_16s_D2LSfs(t.crows(), 6, mean.data(), out.data(), 13, 1); },
        [&] { return zemsMeanVarColumn_16s_D2Sfs(t.block.data(), 6, t.step, out.data(), out2.data(), 13, 0); },
        [&] { return zemsMeanVarColumn_16s_D2LSfs(t.crows(), 6, out.data(), out2.data(), 13, 0); },
        [&] { return zemsMeanVarColumn_16s32s_D2Sfs(t.block.data(), 6, t.step, o32.data(), p32.data(), 13, 0); },
        [&] { return zemsMeanVarColumn_16s32s_D2LSfs(t.crows(), 6, o32.data(), p32.data(), 13, 0); },
        [&] { return zemsMeanVarColumn_16s16s32s_D2(t.block.data(), 6, t.step, out.data(), p32.data(), 13); },
        [&] { return zemsMeanVarColumn_16s16s32s_D2L(t.crows(), 6, out.data(), p32.data(), 13); },
    };
    for (size_t c = 0; c < calls.size(); ++c) {
        const int64_t before = zemcoreTestAllocationCount();
        ASSERT_EQ(calls[c](), zemStatusOk) << c;
        const int64_t attempts = zemcoreTestAllocationCount() - before;
        ASSERT_GE(attempts, 1) << c;
        for (int64_t k = 1; k <= attempts; ++k) {
            zemtest::fillSentinel(out.data(), 13), zemtest::fillSentinel(out2.data(), 13);
            zemtest::fillSentinel(o32.data(), 13), zemtest::fillSentinel(p32.data(), 13);
            const int64_t live = zemcoreTestLiveAllocations();
            zemcoreTestFailAllocation(k);
            EXPECT_EQ(calls[c](), zemStatusNoMemory) << c << " k " << k;
            zemcoreTestFailAllocation(0);
            EXPECT_EQ(zemcoreTestLiveAllocations(), live) << c;
            EXPECT_TRUE(zemtest::untouched(out.data(), 13) && zemtest::untouched(out2.data(), 13) &&
                        zemtest::untouched(o32.data(), 13) && zemtest::untouched(p32.data(), 13))
                << c;
        }
    }
}

}  // namespace
