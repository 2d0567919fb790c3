// Block diagonal matrices: the record read by the block-diagonal scores.
#pragma once

#include "zemsr.h"

namespace zem {

// Fields in this order: the row pointers (rows of one block have that block's length),
// the block sizes, what zemMalloc returned, and the two counts, kept in 16 bits (a
// total order above 65535 is stored truncated).
template <class T>
struct BlockDMatrixFields {
    T** rows;
    Zem32s* blockSizes;
    void* allocation;
    Zem16u numBlocks;
    Zem16u order;
};

}  // namespace zem

struct ZemsBlockDMatrix_16s : zem::BlockDMatrixFields<Zem16s> {};
struct ZemsBlockDMatrix_32f : zem::BlockDMatrixFields<Zem32f> {};
struct ZemsBlockDMatrix_64f : zem::BlockDMatrixFields<Zem64f> {};
