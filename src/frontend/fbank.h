// Filter bank records.  A bank is a list of integer centre bins c[0 .. nFilter+1] and,
// per filter i, a rising-slope row (bins c[i] .. c[i+1]) and a falling-slope row (bins
// c[i+1]+1 .. c[i+2]).
#pragma once

#include "primitives/fftstate.h"
#include "zemsr.h"

namespace zem::fbank {

// Rows come in one block: the row pointers, then rows with a stride of the row length
// rounded up to 8 elements, the first row on a 32-byte boundary.  Rising rows are then
// advanced by 3 elements so that their element 1 is 16-byte aligned.
inline constexpr int kRisingAdvance = 3;

template <class W, class Transform>
struct Fields {
    Zem32s* centers;
    W** lowCoeffs;   // rising rows
    W** highCoeffs;  // falling rows
    Zem32s mode;
    Zem32s fftLength;
    Zem32s fftOrder;
    Zem32s nFilter;
    Zem32s nLinear;
    Zem32f melMul;
    Zem32f melDiv;
    Zem8u ready;
    Transform* fftState;  // null unless the mode has bit 4
    W* work;              // 2N + 20 elements of 32 bits, null unless the mode has bit 4
    Zem8u* fftBuffer;     // the transform's own work buffer
    // Blocks that an InitAlloc function took from the allocator, released by Free.
    void* pieces[6];
    Zem32s pieceCount;
};

}  // namespace zem::fbank

struct ZemsFBankState_32f : zem::fbank::Fields<Zem32f, ZemsFFTState_R_32f> {};
struct ZemsFBankState_16s : zem::fbank::Fields<Zem32s, ZemsFFTState_R_16s> {
    Zem32s weightScale;  // 14: the fraction bits of the weights
};
struct ZemsFBankState_32s {
    Zem32s* centers;
    Zem32s** lowCoeffs;
    Zem32s** highCoeffs;
    Zem32s mode;  // always 2
    Zem32s nFilter;
    Zem32s halfLength;  // N/2 + 1
};
