#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

bool bitAt(const Zem8u* row, int p) { return (row[p / 8] >> (7 - p % 8)) & 1; }

struct BitMatrix {
    std::vector<std::vector<Zem8u>> bytes;
    std::vector<Zem8u*> rows;
    BitMatrix(int numRows, int rowBytes) : bytes(numRows, std::vector<Zem8u>(rowBytes, 0)) {
        for (auto& b : bytes) rows.push_back(b.data());
    }
};

}  // namespace

TEST(Shortlist, RowsToggleMostSignificantBitFirst) {
    BitMatrix m(2, 3);
    const Zem32s indices[4] = {5, 0, 2, 2};  // row 1 names index 2 twice: no change
    ASSERT_EQ(zemsFillShortlist_Row_1u(indices, 10, 2, m.rows.data(), 2, 3, 3), zemStatusOk);
    EXPECT_EQ(m.bytes[0][1], 0x80);  // offset 3 + index 5 = position 8
    EXPECT_EQ(m.bytes[0][0], 0x10);  // position 3
    EXPECT_EQ(m.bytes[1][0], 0x00);
    // A second call toggles back.
    ASSERT_EQ(zemsFillShortlist_Row_1u(indices, 10, 2, m.rows.data(), 2, 3, 3), zemStatusOk);
    EXPECT_EQ(m.bytes[0][1], 0x00);
    const Zem32s counts[2] = {1, 3};
    const Zem32s running[4] = {9, 1, 4, 7};
    ASSERT_EQ(zemsFillShortlist_RowVar_1u(running, counts, 10, m.rows.data(), 2, 2, 0), zemStatusOk);
    EXPECT_EQ(m.bytes[0][1], 0x40);  // position 9
    EXPECT_EQ(m.bytes[1][0], 0x49);  // positions 1, 4, 7
}

TEST(Shortlist, ColumnsToggleTheColumnBitOfTheNamedRows) {
    BitMatrix m(3, 2);
    const Zem32s indices[4] = {2, 0, 1, 2};  // column 0 -> rows 2, 0; column 1 -> rows 1, 2
    ASSERT_EQ(zemsFillShortlist_Column_1u(indices, 2, m.rows.data(), 3, 2, 7, 2), zemStatusOk);
    EXPECT_TRUE(bitAt(m.rows[2], 7) && bitAt(m.rows[0], 7) && bitAt(m.rows[1], 8) && bitAt(m.rows[2], 8));
    EXPECT_FALSE(bitAt(m.rows[1], 7) || bitAt(m.rows[0], 8));
    const Zem32s counts[2] = {1, 3};
    ASSERT_EQ(zemsFillShortlist_ColumnVar_1u(indices, counts, m.rows.data(), 3, 2, 7, 2), zemStatusOk);
    EXPECT_FALSE(bitAt(m.rows[2], 7));  // toggled back by column 0's single index
}

namespace {
std::vector<Zem8u> signTableReference(const std::vector<Zem32s>& idx, int perRow, const std::vector<Zem8u*>& table,
                                      int bitOffset, int height, int numBits) {
    const int outBytes = (numBits + 7) / 8;
    std::vector<Zem8u> out(height * outBytes, 0);
    for (int r = 0; r < height; ++r)
        for (int k = 0; k < numBits; ++k) {
            bool any = false;
            for (int j = 0; j < perRow; ++j) any = any || bitAt(table[idx[r * perRow + j]], bitOffset + k);
            if (any) out[r * outBytes + k / 8] |= 0x80 >> (k % 8);
        }
    return out;
}
}  // namespace

TEST(SignTable, OrOfTableRowsOnBothPaths) {
    zemtest::Random rnd(401);
    for (int trial = 0; trial < 300; ++trial) {
        const int numBits = static_cast<int>(rnd.integer(1, 40)), bitOffset = static_cast<int>(rnd.integer(0, 30));
        const int perRow = static_cast<int>(rnd.integer(1, 4)), height = static_cast<int>(rnd.integer(1, 6));
        const int numTable = 9;
        // Wide rows take the 32-bit path when the other conditions hold; narrow rows never do.
        const int tableRowBytes = (bitOffset + numBits + 7) / 8 + (trial % 2 ? 32 : 0);
        std::vector<std::vector<Zem8u>> tableBytes(numTable);
        std::vector<Zem8u*> table;
        for (auto& row : tableBytes) {
            row = rnd.integers<Zem8u>(tableRowBytes, 0, 255);
            for (auto& b : row) b &= rnd.integers<Zem8u>(1, 0, 255)[0];  // sparse bits
            table.push_back(row.data());
        }
        const auto idx = rnd.integers<Zem32s>(perRow * height, 0, numTable - 1);
        std::vector<Zem8u> dst(height * ((numBits + 7) / 8), 0xee);
        ASSERT_EQ(zemsBuildSignTable_8u1u(idx.data(), perRow, table.data(), numTable, tableRowBytes, bitOffset,
                                          dst.data(), height, numBits),
                  zemStatusOk);
        ASSERT_EQ(dst, signTableReference(idx, perRow, table, bitOffset, height, numBits))
            << "bits " << numBits << " offset " << bitOffset << " rowBytes " << tableRowBytes;
    }
}

TEST(SignTable, NineBitsAndTheVarRule) {
    std::vector<Zem8u> r0 = {0x00, 0x00}, r1 = {0x01, 0x00}, r2 = {0x00, 0x40};
    const Zem8u* table[3] = {r0.data(), r1.data(), r2.data()};
    Zem8u dst[4] = {7, 7, 7, 7};
    const Zem32s pick[2] = {1, 2};
    ASSERT_EQ(zemsBuildSignTable_8u1u(pick, 1, table, 3, 2, 0, dst, 2, 9), zemStatusOk);
    EXPECT_EQ(dst[0], 0x01);  // nine bits in two bytes, the unused ones zero
    EXPECT_EQ(dst[1], 0x00);
    EXPECT_EQ(dst[2], 0x00);
    EXPECT_EQ(dst[3], 0x00);  // bit 9 of row 2 lies outside the nine bits
    // The Var form: each row reads indices from the start and sets only its first bit.
    const Zem32s order[3] = {0, 1, 2};
    const Zem32s counts[2] = {1, 2};
    ASSERT_EQ(zemsBuildSignTable_Var_8u1u(order, counts, table, 3, 2, 0, dst, 2, 9), zemStatusOk);
    EXPECT_EQ(dst[0], 0x00);  // row 0 sees table row 0 only: empty
    EXPECT_EQ(dst[2], 0x80);  // row 1 sees rows 0 and 1: bit 7 of row 1 is set
}

TEST(OutProbPreCalc, FloatExactAndIntegerHalvingByBody) {
    const float src[3] = {1.0f, -2.0f, 3.0f}, det[3] = {1.0f, 3.0f, -0.5f};
    float dst[3];
    ASSERT_EQ(zemsOutProbPreCalc_32f(src, det, dst, 3), zemStatusOk);
    EXPECT_EQ(dst[1], -3.5f);
    float inPlace[3] = {1.0f, -2.0f, 3.0f};
    ASSERT_EQ(zemsOutProbPreCalc_32f_I(det, inPlace, 3), zemStatusOk);
    EXPECT_EQ(inPlace[2], 3.25f);
    double d[2] = {4.0, 6.0};
    const double dd[2] = {2.0, 1.0};
    ASSERT_EQ(zemsOutProbPreCalc_64f_I(dd, d, 2), zemStatusOk);
    EXPECT_EQ(d[1], 5.5);
    // det = 3 at index 5 of 6: the aligned main loop reaches it (rounds down), else not.
    alignas(16) Zem32s s[12] = {}, t[12] = {}, o[12] = {};
    for (int i = 0; i < 12; ++i) s[i] = 100, t[i] = 3;
    ASSERT_EQ(zemsOutProbPreCalc_32s(s, t, o, 6), zemStatusOk);
    EXPECT_EQ(o[5], 99);
    ASSERT_EQ(zemsOutProbPreCalc_32s(s + 1, t, o, 6), zemStatusOk);
    EXPECT_EQ(o[5], 98);
    EXPECT_EQ(o[3], 99);
    ASSERT_EQ(zemsOutProbPreCalc_32s(s, t, o, 5), zemStatusOk);
    EXPECT_EQ(o[4], 98);  // odd last element with aligned pointers
    ASSERT_EQ(zemsOutProbPreCalc_32s_I(t + 1, s + 1, 6), zemStatusOk);
    EXPECT_EQ(s[6], 98);
    EXPECT_EQ(zemsOutProbPreCalc_32s(s, nullptr, o, 0), zemStatusNullPointer);
    EXPECT_EQ(zemsOutProbPreCalc_64f(dd, dd, d, 0), zemStatusBadSize);
}

TEST(ScaleLM, FloorScaleAddAndTheWrap) {
    const float src[3] = {-5.0f, 2.0f, -1.0f};
    float dst[3];
    ASSERT_EQ(zemsScaleLM_32f(src, dst, 3, -2.0f, 1.5f, 0.25f), zemStatusOk);
    EXPECT_EQ(dst[0], -2.75f);
    EXPECT_EQ(dst[1], 3.25f);
    const Zem16s s[2] = {-32768, 32767};
    Zem32s o[2];
    ASSERT_EQ(zemsScaleLM_16s32s(s, o, 2, -100, 32767, INT32_MAX), zemStatusOk);
    EXPECT_EQ(o[0], static_cast<Zem32s>(uint32_t(-100 * 32767) + uint32_t(INT32_MAX)));
    EXPECT_EQ(o[1], static_cast<Zem32s>(uint32_t(32767 * 32767) + uint32_t(INT32_MAX)));  // wraps
    EXPECT_EQ(zemsScaleLM_16s32s(s, nullptr, 2, 0, 1, 0), zemStatusNullPointer);
    EXPECT_EQ(zemsScaleLM_32f(src, dst, -1, 0, 1, 0), zemStatusBadSize);
}

TEST(BlockDMatrix, CopiesRowsAtSixteenByteBoundaries) {
    const Zem32s sizes[3] = {2, 1, 3};
    std::vector<std::vector<float>> source;
    for (int r = 0; r < 6; ++r) source.push_back(std::vector<float>(r < 2 ? 2 : r == 2 ? 1 : 3, float(r + 1)));
    std::vector<const float*> rows;
    for (auto& s : source) rows.push_back(s.data());
    const int64_t live = zemcoreTestLiveAllocations();
    ZemsBlockDMatrix_32f* m = nullptr;
    ASSERT_EQ(zemsBlockDMatrixInitAlloc_32f(&m, rows.data(), sizes, 3), zemStatusOk);
    source.clear();  // the matrix holds its own copy
    struct View { float** rows; Zem32s* sizes; void* allocation; Zem16u numBlocks, order; };
    const View* v = reinterpret_cast<const View*>(m);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(m) % 16, 0u);
    EXPECT_EQ(v->numBlocks, 3);
    EXPECT_EQ(v->order, 6);
    EXPECT_EQ(v->sizes[2], 3);
    for (int r = 0; r < 6; ++r) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(v->rows[r]) % 16, 0u);
        EXPECT_EQ(v->rows[r][0], float(r + 1));
    }
    EXPECT_EQ(zemsBlockDMatrixFree_32f(m), zemStatusOk);
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
    EXPECT_EQ(zemsBlockDMatrixFree_64f(nullptr), zemStatusNullPointer);
}

TEST(BlockDMatrix, AReservationThatWrapsIsRefused) {
    // A block whose reserved size wraps around 32 bits cannot be placed.
    std::vector<double> wide(70000, 1.0);
    std::vector<const double*> wideRows(70000, wide.data());
    const Zem32s big[1] = {70000};
    ZemsBlockDMatrix_64f* w = nullptr;
    EXPECT_EQ(zemsBlockDMatrixInitAlloc_64f(&w, wideRows.data(), big, 1), zemStatusNoMemory);
}
