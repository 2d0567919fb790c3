// Block diagonal matrices: one allocation holding the record, the block sizes, the row
// pointers and a copy of every row, each at a 16-byte boundary.
#include <cstdint>
#include <cstring>

#include "blockdmatrix.h"
#include "frame/carve.h"
#include "frame/check.h"
#include "zemcore.h"

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

template <class Record, class T>
ZemStatus initAlloc(Record** pMatrix, const T* const* rows, const Zem32s* blockSizes, int numBlocks) {
    if (!pMatrix || !rows || !blockSizes) return zemStatusNullPointer;
    if (numBlocks < 1) return zemStatusBadSize;
    int64_t order = 0;
    for (int b = 0; b < numBlocks; ++b) {
        if (blockSizes[b] < 1) return zemStatusBadSize;
        order += blockSizes[b];
    }
    if (zem::anyNullRow(rows, order)) return zemStatusNullPointer;
    const uint32_t reserved = reservedBytes(blockSizes, numBlocks, order, sizeof(T));
    // A reservation that wrapped around 32 bits cannot hold the layout: it is refused
    // as memory that cannot be had.
    if (int64_t{reserved} < neededBytes(blockSizes, numBlocks, order, sizeof(T))) return zemStatusNoMemory;
    void* block = zemMalloc(reserved);
    if (!block) return zemStatusNoMemory;

    zem::Carver carver(block);
    Record* m = carver.take<Record>(1, zem::kMatrixAlign);
    zem::Carver behind(reinterpret_cast<char*>(m) + 32);
    m->blockSizes = behind.take<Zem32s>(numBlocks, zem::kMatrixAlign);
    m->rows = behind.take<T*>(order, zem::kMatrixAlign);
    m->allocation = block;
    m->numBlocks = static_cast<Zem16u>(numBlocks);
    m->order = static_cast<Zem16u>(order);
    std::memcpy(m->blockSizes, blockSizes, sizeof(Zem32s) * static_cast<size_t>(numBlocks));
    int64_t r = 0;
    for (int b = 0; b < numBlocks; ++b)
        for (int k = 0; k < blockSizes[b]; ++k, ++r) {
            m->rows[r] = behind.take<T>(blockSizes[b], zem::kMatrixAlign);
            std::memcpy(m->rows[r], rows[r], sizeof(T) * static_cast<size_t>(blockSizes[b]));
        }
    *pMatrix = m;
    return zemStatusOk;
}

template <class Record>
ZemStatus release(Record* matrix) {
    if (!matrix) return zemStatusNullPointer;
    zemFree(matrix->allocation);
    return zemStatusOk;
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
ZEMSR_API ZemStatus zemsBlockDMatrixFree_16s(ZemsBlockDMatrix_16s* matrix) { return release(matrix); }
ZEMSR_API ZemStatus zemsBlockDMatrixFree_32f(ZemsBlockDMatrix_32f* matrix) { return release(matrix); }
ZEMSR_API ZemStatus zemsBlockDMatrixFree_64f(ZemsBlockDMatrix_64f* matrix) { return release(matrix); }

}  // extern "C"
