// Block diagonal matrices: one allocation holding the record, the block sizes, the row
// pointers and a copy of every row, each at a 16-byte boundary.
#include <cstdint>
#include <cstring>

#include "blockdmatrix.h"
#include "frame/carve.h"
#include "frame/check.h"
#include "frame/record.h"

namespace {

// The reserved size, summed in 32 bits as the layout defines it: per block the square
// of its row length in bytes rounded up to 16, then the size array and the pointer
// array each rounded up to 16, and 47 bytes for placing the record.  The square is more
// than the rows need; it is what sets the limit on a block's size.
uint32_t reservedBytes(const Zem32s* blockSizes, int numBlocks, int64_t order, size_t elementSize) {
    uint32_t total = 0;
    for (int b = 0; b < numBlocks; ++b) {
        const uint32_t rowBytes = static_cast<uint32_t>((static_cast<uint32_t>(blockSizes[b]) * elementSize + 15) & ~15u);
        total += rowBytes * rowBytes;
    }
    total += (static_cast<uint32_t>(numBlocks) * 4u + 15u) & ~15u;
    total += (static_cast<uint32_t>(order) * 8u + 15u) & ~15u;
    return total + 47u;
}

// What the layout really occupies, in 64 bits, to refuse a reservation that wrapped.
int64_t neededBytes(const Zem32s* blockSizes, int numBlocks, int64_t order, int64_t elementSize) {
    int64_t total = 15 + 32 + zem::alignUpSize(int64_t{numBlocks} * 4, 16) + zem::alignUpSize(order * 8, 16);
    for (int b = 0; b < numBlocks; ++b) total += int64_t{blockSizes[b]} * zem::alignUpSize(blockSizes[b] * elementSize, 16);
    return total;
}

// The sum of the block sizes, or -1 when a size is below 1.
int64_t orderOf(const Zem32s* blockSizes, int numBlocks) {
    int64_t order = 0;
    for (int b = 0; b < numBlocks; ++b) {
        if (blockSizes[b] < 1) return -1;
        order += blockSizes[b];
    }
    return order;
}

// The record at the allocation's first 16-byte boundary, the size array at the next
// boundary 32 bytes on, then the pointer array and the rows, each at a 16-byte boundary.
template <class Record, class T>
Record* build(zem::Arena& arena, void* block, const T* const* rows, const Zem32s* blockSizes, int numBlocks,
              int64_t order) {
    static_assert(sizeof(Record) == 32, "the size array starts 32 bytes behind the record");
    Record* m = arena.template record<Record>();
    m->blockSizes = arena.template take<Zem32s>(numBlocks, zem::kMatrixAlign);
    m->rows = arena.template take<T*>(order, zem::kMatrixAlign);
    m->allocation = block;
    m->numBlocks = static_cast<Zem16u>(numBlocks);
    m->order = static_cast<Zem16u>(order);
    std::memcpy(m->blockSizes, blockSizes, sizeof(Zem32s) * static_cast<size_t>(numBlocks));
    int64_t r = 0;
    for (int b = 0; b < numBlocks; ++b)
        for (int k = 0; k < blockSizes[b]; ++k, ++r) {
            m->rows[r] = arena.template take<T>(blockSizes[b], zem::kMatrixAlign);
            std::memcpy(m->rows[r], rows[r], sizeof(T) * static_cast<size_t>(blockSizes[b]));
        }
    return m;
}

// Checks: null pointers, the block count and sizes, the source rows, then memory (a
// reservation that wrapped around 32 bits cannot hold the layout and is refused as
// memory that cannot be had).
template <class Record, class T>
ZemStatus initAlloc(Record** pMatrix, const T* const* rows, const Zem32s* blockSizes, int numBlocks) {
    int64_t order = 0;
    uint32_t reserved = 0;
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(pMatrix, rows, blockSizes),
            zem::atLeastOne(numBlocks),
            zem::ensure([&] { return (order = orderOf(blockSizes, numBlocks)) >= 0; }, zemStatusBadSize),
            zem::checkedBy([&] { return zem::anyNullRow(rows, order) ? zemStatusNullPointer : zemStatusOk; }),
            zem::ensure([&] {
                reserved = reservedBytes(blockSizes, numBlocks, order, sizeof(T));
                return int64_t{reserved} >= neededBytes(blockSizes, numBlocks, order, sizeof(T));
            }, zemStatusNoMemory)))
        return s;
    return zem::allocateLaidOut(pMatrix, reserved, [&](void* block) {
        zem::Arena arena = zem::Arena::forBuffer(zem::alignUp<char>(block, zem::kMatrixAlign));
        return build<Record>(arena, block, rows, blockSizes, numBlocks, order);
    });
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_16s(ZemsBlockDMatrix_16s** pMatrix, const Zem16s* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks) {
    return initAlloc(pMatrix, rows, blockSizes, numBlocks);
}
ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_32f(ZemsBlockDMatrix_32f** pMatrix, const Zem32f* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks) {
    return initAlloc(pMatrix, rows, blockSizes, numBlocks);
}
ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_64f(ZemsBlockDMatrix_64f** pMatrix, const Zem64f* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks) {
    return initAlloc(pMatrix, rows, blockSizes, numBlocks);
}

ZEMSR_API ZemStatus zemsBlockDMatrixFree_16s(ZemsBlockDMatrix_16s* matrix) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix))) return s;
    zem::releaseBlock(matrix->allocation);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsBlockDMatrixFree_32f(ZemsBlockDMatrix_32f* matrix) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix))) return s;
    zem::releaseBlock(matrix->allocation);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsBlockDMatrixFree_64f(ZemsBlockDMatrix_64f* matrix) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix))) return s;
    zem::releaseBlock(matrix->allocation);
    return zemStatusOk;
}

}  // extern "C"
