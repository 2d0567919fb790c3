// Bit matrices that select Gaussians: shortlists and sign tables.
//
// Bit position p of a row is bit 7 - (p mod 8) of byte p / 8, most significant bit
// first.  Every range test runs before the first byte is written.
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "zemsr.h"

namespace {

inline bool testBit(const Zem8u* row, int64_t p) { return (row[p >> 3] >> (7 - (p & 7))) & 1; }
inline void toggleBit(Zem8u* row, int64_t p) { row[p >> 3] ^= static_cast<Zem8u>(0x80u >> (p & 7)); }
inline void setBit(Zem8u* row, int64_t p) { row[p >> 3] |= static_cast<Zem8u>(0x80u >> (p & 7)); }

// Bytes that a window of `bits` positions starting at `offset` touches.
inline int64_t bytesFor(int64_t bits, int64_t offset) { return (bits + offset + 7) / 8; }

bool anyOutside(const Zem32s* indices, int64_t count, int limit) {
    for (int64_t i = 0; i < count; ++i)
        if (indices[i] < 0 || indices[i] >= limit) return true;
    return false;
}

// The total of a count array, or -1 when a count is below 1.
int64_t totalOfCounts(const Zem32s* counts, int n) {
    int64_t total = 0;
    for (int i = 0; i < n; ++i) {
        if (counts[i] < 1) return -1;
        total += counts[i];
    }
    return total;
}

// Toggles, for each row r, the bits bitOffset + index of its run of indices.
void toggleRows(const Zem32s* indices, const Zem32s* counts, int perRow, Zem8u** dstRows, int numRows, int bitOffset) {
    int64_t at = 0;
    for (int r = 0; r < numRows; ++r) {
        const int n = counts ? counts[r] : perRow;
        for (int j = 0; j < n; ++j, ++at) toggleBit(dstRows[r], int64_t{bitOffset} + indices[at]);
    }
}

// Toggles, for each column c, bit bitOffset + c of the rows that its run of indices names.
void toggleColumns(const Zem32s* indices, const Zem32s* counts, int perColumn, Zem8u** dstRows, int numColumns,
                   int bitOffset) {
    int64_t at = 0;
    for (int c = 0; c < numColumns; ++c) {
        const int n = counts ? counts[c] : perColumn;
        for (int j = 0; j < n; ++j, ++at) toggleBit(dstRows[indices[at]], int64_t{bitOffset} + c);
    }
}

// Sign table rows: the inclusive or of perRow table rows, cut at bitOffset.
void orTableRows(const Zem32s* indices, int perRow, const Zem8u* const* table, int tableRowBytes, int bitOffset,
                 Zem8u* dst, int height, int numBits) {
    const int outBytes = (numBits + 7) / 8;
    const bool fast = numBits >= 4 && numBits <= 24 && tableRowBytes - bytesFor(numBits, bitOffset) >= 32 &&
                      int64_t{height} * outBytes > 4;
    for (int r = 0; r < height; ++r) {
        const Zem32s* group = indices + int64_t{r} * perRow;
        Zem8u* out = dst + int64_t{r} * outBytes;
        if (fast) {
            // 32 bits of each row from byte bitOffset / 8, or-ed, in host order, shifted to
            // the window and cut to numBits.
            uint32_t word = 0;
            for (int j = 0; j < perRow; ++j) {
                uint32_t raw;
                std::memcpy(&raw, table[group[j]] + bitOffset / 8, 4);
                word |= raw;
            }
            word = __builtin_bswap32(word) << (bitOffset % 8);
            word &= ~0u << (32 - numBits);
            for (int b = 0; b < outBytes; ++b) out[b] = static_cast<Zem8u>(word >> (24 - 8 * b));
            continue;
        }
        for (int k = 0; k < numBits; ++k)
            for (int j = 0; j < perRow; ++j)
                if (testBit(table[group[j]], int64_t{bitOffset} + k)) {
                    setBit(out, k);
                    break;
                }
    }
}

// The counts are all 1 or more (zemStatusBadSize); their total goes to *total.
auto countsTotal(const Zem32s* counts, int n, int64_t* total) {
    return zem::ensure([=] { return (*total = totalOfCounts(counts, n)) >= 0; }, zemStatusBadSize);
}

// Every index of the first count lies in [0, limit) (zemStatusBadArg).
auto indicesBelow(const Zem32s* indices, const int64_t* count, int limit) {
    return zem::ensure([=] { return !anyOutside(indices, *count, limit); }, zemStatusBadArg);
}

bool anyTableRowNull(const Zem8u* const* table, const Zem32s* indices, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        if (!table[indices[i]]) return true;
    return false;
}

// A row of `bytes` bytes holds a window of `bits` positions from `offset`
// (zemStatusBadStride).
auto rowHolds(int64_t bytes, int64_t bits, int64_t offset) {
    return zem::ensure(bytes >= bytesFor(bits, offset), zemStatusBadStride);
}

void varSignTable(const Zem32s* indices, const Zem32s* perRowCounts, const Zem8u* const* tableRows, int bitOffset,
                  Zem8u* dst, int height, int numBits) {
    const int outBytes = (numBits + 7) / 8;
    std::memset(dst, 0, static_cast<size_t>(height) * static_cast<size_t>(outBytes));
    for (int r = 0; r < height; ++r)
        for (int k = 0; k < numBits; ++k)
            for (int j = 0; j < perRowCounts[r]; ++j)
                if (testBit(tableRows[indices[j]], int64_t{bitOffset} + k)) dst[int64_t{r} * outBytes] |= 0x80u;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsFillShortlist_Row_1u(const Zem32s* indices, int numBits, int perRow, Zem8u** dstRows,
                                             int numRows, int rowBytes, int bitOffset) {
    const int64_t count = int64_t{perRow} * numRows;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dstRows, indices),
                                              zem::atLeastOne(numRows, numBits, rowBytes, perRow),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              rowHolds(rowBytes, numBits, bitOffset),
                                              indicesBelow(indices, &count, numBits),
                                              zem::noNullRows(dstRows, numRows)))
        return s;
    toggleRows(indices, nullptr, perRow, dstRows, numRows, bitOffset);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFillShortlist_RowVar_1u(const Zem32s* indices, const Zem32s* perRowCounts, int numBits,
                                                Zem8u** dstRows, int numRows, int rowBytes, int bitOffset) {
    int64_t total = 0;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dstRows, indices, perRowCounts),
                                              zem::atLeastOne(numRows, numBits, rowBytes),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              countsTotal(perRowCounts, numRows, &total),
                                              rowHolds(rowBytes, numBits, bitOffset),
                                              indicesBelow(indices, &total, numBits),
                                              zem::noNullRows(dstRows, numRows)))
        return s;
    toggleRows(indices, perRowCounts, 0, dstRows, numRows, bitOffset);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFillShortlist_Column_1u(const Zem32s* indices, int perColumn, Zem8u** dstRows, int numRows,
                                                int rowBytes, int bitOffset, int numColumns) {
    const int64_t count = int64_t{perColumn} * numColumns;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dstRows, indices),
                                              zem::atLeastOne(numRows, numColumns, rowBytes, perColumn),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              rowHolds(rowBytes, numColumns, bitOffset),
                                              indicesBelow(indices, &count, numRows),
                                              zem::noNullRows(dstRows, numRows)))
        return s;
    toggleColumns(indices, nullptr, perColumn, dstRows, numColumns, bitOffset);
    return zemStatusOk;
}

// Unlike the row form, this one tests its counts after the stride.
ZEMSR_API ZemStatus zemsFillShortlist_ColumnVar_1u(const Zem32s* indices, const Zem32s* perColumnCounts,
                                                   Zem8u** dstRows, int numRows, int rowBytes, int bitOffset,
                                                   int numColumns) {
    int64_t total = 0;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dstRows, indices, perColumnCounts),
                                              zem::atLeastOne(numRows, numColumns, rowBytes),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              rowHolds(rowBytes, numColumns, bitOffset),
                                              countsTotal(perColumnCounts, numColumns, &total),
                                              indicesBelow(indices, &total, numRows),
                                              zem::noNullRows(dstRows, numRows)))
        return s;
    toggleColumns(indices, perColumnCounts, 0, dstRows, numColumns, bitOffset);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsBuildSignTable_8u1u(const Zem32s* indices, int perRow, const Zem8u* const* tableRows,
                                            int numTableRows, int tableRowBytes, int bitOffset, Zem8u* dst,
                                            int height, int numBits) {
    const int64_t count = int64_t{perRow} * height;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(indices, tableRows, dst),
                                              zem::atLeastOne(perRow, numTableRows, tableRowBytes, height, numBits),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              rowHolds(tableRowBytes, numBits, bitOffset),
                                              indicesBelow(indices, &count, numTableRows),
                                              zem::ensure([&] { return !anyTableRowNull(tableRows, indices, count); }, zemStatusNullPointer)))
        return s;
    std::memset(dst, 0, static_cast<size_t>(height) * static_cast<size_t>((numBits + 7) / 8));
    orTableRows(indices, perRow, tableRows, tableRowBytes, bitOffset, dst, height, numBits);
    return zemStatusOk;
}

// Kept for compatibility with its own rule: every row looks at the first perRowCounts[r]
// indices from the start, and only the first bit of the row is ever set, when any of
// those table rows has any bit in the window.
ZEMSR_API ZemStatus zemsBuildSignTable_Var_8u1u(const Zem32s* indices, const Zem32s* perRowCounts,
                                                const Zem8u* const* tableRows, int numTableRows, int tableRowBytes,
                                                int bitOffset, Zem8u* dst, int height, int numBits) {
    int64_t total = 0;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(indices, perRowCounts, tableRows, dst),
                                              zem::atLeastOne(numTableRows, tableRowBytes, height, numBits),
                                              zem::ensure(bitOffset >= 0, zemStatusBadSize),
                                              rowHolds(tableRowBytes, numBits, bitOffset),
                                              countsTotal(perRowCounts, height, &total),
                                              indicesBelow(indices, &total, numTableRows),
                                              zem::ensure([&] { return !anyTableRowNull(tableRows, indices, total); }, zemStatusNullPointer)))
        return s;
    varSignTable(indices, perRowCounts, tableRows, bitOffset, dst, height, numBits);
    return zemStatusOk;
}

}  // extern "C"
