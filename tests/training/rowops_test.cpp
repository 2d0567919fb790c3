// Normalisation, row subtraction and column copies: elementwise results against scalar
// references in both layouts, the 16-bit shift and saturation rules, and the partial
// first row of an indirect copy with a bad index.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "table_support.h"
#include "zemsr.h"

namespace {

using tabletest::Shape;
using tabletest::Table;
using zemtest::sameBits;

template <class T>
void expectTable(const Table<T>& want, const Table<T>& got, const char* what) {
    for (int i = 0; i < want.height; ++i)
        for (int j = 0; j < want.width; ++j)
            ASSERT_TRUE(sameBits(want.at(i, j), got.at(i, j)))
                << what << " " << want.height << "x" << want.width << " at " << i << "," << j;
}

TEST(RowOps, FloatNormalizeAndSubtractInBothLayouts) {
    zemtest::Random rnd(21);
    for (const Shape& sh : tabletest::shapes()) {
        const int h = sh.height, w = sh.width;
        Table<Zem32f> t(h, w, sh.offset, sh.extra, rnd, -5.0, 5.0);
        const auto mean = rnd.uniform<Zem32f>(w, -1.0, 1.0), invStd = rnd.uniform<Zem32f>(w, 0.1, 3.0);
        Table<Zem32f> want = t, d2 = t, d2l = t;
        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j) want.rowPtrs[i][j] = (t.at(i, j) - mean[j]) * invStd[j];
        ASSERT_EQ(zemsNormalizeColumn_32f_D2(d2.block.data(), t.step, h, mean.data(), invStd.data(), w), zemStatusOk);
        expectTable(want, d2, "NormalizeColumn D2");
        ASSERT_EQ(zemsNormalizeColumn_32f_D2L(d2l.rows(), h, mean.data(), invStd.data(), w), zemStatusOk);
        expectTable(want, d2l, "NormalizeColumn D2L");

        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j) want.rowPtrs[i][j] -= mean[j];
        ASSERT_EQ(zemsSubRow_32f_D2(mean.data(), w, d2.block.data(), t.step, h), zemStatusOk);
        ASSERT_EQ(zemsSubRow_32f_D2L(mean.data(), w, d2l.rows(), h), zemStatusOk);
        expectTable(want, d2, "SubRow D2");
        expectTable(want, d2l, "SubRow D2L");
    }
}

// (x - mean) * invStd in 32 bits, shifted right without rounding (positive scale factor)
// or left (negative), saturated to 16 bits; every scale factor is legal.
TEST(RowOps, SixteenBitNormalizeShiftsAndSaturates) {
    zemtest::Random rnd(22);
    const int h = 7, w = 21;
    Table<Zem16s> t(h, w, 4, 3, rnd, -32768, 32767);
    std::vector<Zem16s> mean = rnd.integers<Zem16s>(w, -32768, 32767), invStd = rnd.integers<Zem16s>(w, -32768, 32767);
    t.rowPtrs[0][0] = -32768, mean[0] = 32767, invStd[0] = -32768;  // the largest product
    t.rowPtrs[0][1] = 5, mean[1] = 3, invStd[1] = 1;                 // small products show the shifts
    t.rowPtrs[1][1] = -5;
    for (int sf : {INT_MIN, -40, -16, -3, 0, 1, 5, 30, 31, 32, 40, INT_MAX}) {
        Table<Zem16s> d2 = t, d2l = t;
        ASSERT_EQ(zemsNormalizeColumn_16s_D2Sfs(d2.block.data(), t.step, h, mean.data(), invStd.data(), w, sf),
                  zemStatusOk);
        ASSERT_EQ(zemsNormalizeColumn_16s_D2LSfs(d2l.rows(), h, mean.data(), invStd.data(), w, sf), zemStatusOk);
        for (int i = 0; i < h; ++i)
            for (int j = 0; j < w; ++j) {
                const int64_t p = (int64_t{t.at(i, j)} - mean[j]) * invStd[j];
                __int128 q;
                if (sf >= 0) q = p >> (sf > 62 ? 62 : sf);
                else q = static_cast<__int128>(p) << (sf < -40 ? 40 : -static_cast<int64_t>(sf));
                const Zem16s want = static_cast<Zem16s>(q > 32767 ? 32767 : (q < -32768 ? -32768 : q));
                ASSERT_EQ(d2.at(i, j), want) << "sf " << sf << " at " << i << "," << j;
                ASSERT_EQ(d2l.at(i, j), want) << "sf " << sf << " at " << i << "," << j;
            }
    }
}

TEST(RowOps, SixteenBitSubtractionSaturates) {
    zemtest::Random rnd(23);
    const int h = 5, w = 19;
    Table<Zem16s> t(h, w, 12, 2, rnd, -32768, 32767);
    std::vector<Zem16s> row = rnd.integers<Zem16s>(w, -32768, 32767);
    t.rowPtrs[0][0] = 32767, row[0] = -32768;
    t.rowPtrs[0][1] = -32768, row[1] = 1;
    Table<Zem16s> d2 = t, d2l = t;
    ASSERT_EQ(zemsSubRow_16s_D2(row.data(), w, d2.block.data(), t.step, h), zemStatusOk);
    ASSERT_EQ(zemsSubRow_16s_D2L(row.data(), w, d2l.rows(), h), zemStatusOk);
    EXPECT_EQ(d2.at(0, 0), 32767);
    EXPECT_EQ(d2.at(0, 1), -32768);
    for (int i = 0; i < h; ++i)
        for (int j = 0; j < w; ++j) {
            const int d = t.at(i, j) - row[j];
            const Zem16s want = static_cast<Zem16s>(d > 32767 ? 32767 : (d < -32768 ? -32768 : d));
            ASSERT_EQ(d2.at(i, j), want) << i << "," << j;
            ASSERT_EQ(d2l.at(i, j), want) << i << "," << j;
        }
}

// A packed block into rows dstStep apart; the gaps between rows keep what they held.
TEST(RowOps, CopyColumnLeavesTheGaps) {
    zemtest::Random rnd(24);
    const int h = 6, w = 11, dstStep = 14;
    const auto src = rnd.uniform<Zem32f>(h * w, -9.0, 9.0);
    const auto src16 = rnd.integers<Zem16s>(h * w, -32768, 32767);
    std::vector<Zem32f> dst(h * dstStep, -1.0f);
    std::vector<Zem16s> dst16(h * dstStep, -1);
    ASSERT_EQ(zemsCopyColumn_32f_D2(src.data(), w, dst.data(), dstStep, h), zemStatusOk);
    ASSERT_EQ(zemsCopyColumn_16s_D2(src16.data(), w, dst16.data(), dstStep, h), zemStatusOk);
    for (int i = 0; i < h; ++i)
        for (int j = 0; j < dstStep; ++j) {
            ASSERT_EQ(dst[i * dstStep + j], j < w ? src[i * w + j] : -1.0f) << i << "," << j;
            ASSERT_EQ(dst16[i * dstStep + j], j < w ? src16[i * w + j] : -1) << i << "," << j;
        }
}

template <class T>
void indirectCase(zemtest::Random& rnd) {
    const int h = 5, srcWidth = 9, dstWidth = 6;
    Table<T> src(h, srcWidth, 0, 2, rnd, -1000, 1000);
    std::vector<Zem32s> index = {8, 0, 3, 3, 7, 1};
    Table<T> d2(h, dstWidth, 4, 1, rnd, 0, 0), d2l(h, dstWidth, 8, 0, rnd, 0, 0);
    auto call = [&](Table<T>& dst, bool list) {
        if constexpr (std::is_same_v<T, Zem32f>)
            return list ? zemsCopyColumn_Indirect_32f_D2L(src.crows(), srcWidth, dst.rows(), index.data(), dstWidth, h)
                        : zemsCopyColumn_Indirect_32f_D2(src.block.data(), srcWidth, src.step, dst.block.data(),
                                                         index.data(), dstWidth, dst.step, h);
        else if constexpr (std::is_same_v<T, Zem64f>)
            return list ? zemsCopyColumn_Indirect_64f_D2L(src.crows(), srcWidth, dst.rows(), index.data(), dstWidth, h)
                        : zemsCopyColumn_Indirect_64f_D2(src.block.data(), srcWidth, src.step, dst.block.data(),
                                                         index.data(), dstWidth, dst.step, h);
        else
            return list ? zemsCopyColumn_Indirect_16s_D2L(src.crows(), srcWidth, dst.rows(), index.data(), dstWidth, h)
                        : zemsCopyColumn_Indirect_16s_D2(src.block.data(), srcWidth, src.step, dst.block.data(),
                                                         index.data(), dstWidth, dst.step, h);
    };
    for (bool list : {false, true}) {
        Table<T>& dst = list ? d2l : d2;
        ASSERT_EQ(call(dst, list), zemStatusOk);
        for (int i = 0; i < h; ++i)
            for (int k = 0; k < dstWidth; ++k) ASSERT_EQ(dst.at(i, k), src.at(i, index[k])) << i << "," << k;
        // A bad index is found while the first row is copied: that row is written up to
        // it, nothing after it.
        for (Zem32s bad : {srcWidth, -1}) {
            zemtest::fillSentinel(dst.block.data(), dst.block.size());
            index[3] = bad;
            ASSERT_EQ(call(dst, list), zemStatusBadSize);
            for (int k = 0; k < 3; ++k) ASSERT_EQ(dst.at(0, k), src.at(0, index[k]));
            ASSERT_TRUE(zemtest::untouched(dst.rowPtrs[0] + 3, dstWidth - 3));
            for (int i = 1; i < h; ++i) ASSERT_TRUE(zemtest::untouched(dst.rowPtrs[i], dstWidth));
            index[3] = 3;
        }
    }
}

TEST(RowOps, IndirectCopyTestsItsIndicesOnTheFirstRow) {
    zemtest::Random rnd(25);
    indirectCase<Zem32f>(rnd);
    indirectCase<Zem64f>(rnd);
    indirectCase<Zem16s>(rnd);
}

}  // namespace
