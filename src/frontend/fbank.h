// Filter bank records.  A bank is a list of integer centre bins c[0 .. nFilter+1] and,
// per filter i, a rising-slope row (bins c[i] .. c[i+1]) and a falling-slope row (bins
// c[i+1]+1 .. c[i+2]).
#pragma once

#include <cstdint>

#include "frame/record.h"
#include "own.h"
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
    // How the record was made.  It follows the bank's own fields and carries no
    // identifier (id 0): the ready flag is the bank's only validity mark.
    zem::RecordHead head;
};

// One block of `count` rows of `len` elements: pointers, then rows at a 32-byte boundary
// with a stride of len rounded up to 8; rising rows advanced by 3.  Null while measuring.
template <class W>
W** takeRows(zem::Arena& arena, int64_t count, int64_t len, bool rising) {
    const int64_t stride = (len + 7) & ~int64_t{7};
    const int64_t pointerWords = (count * 8 + 31) / 32 * 8;  // pointers, padded to 32 bytes, in 4-byte words
    W* block = arena.take<W>(pointerWords + count * stride);
    if (!block) return nullptr;
    W** rows = reinterpret_cast<W**>(block);
    W* first = block + pointerWords;
    for (int64_t r = 0; r < count; ++r) rows[r] = first + r * stride + (rising ? kRisingAdvance : 0);
    return rows;
}

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

namespace zem::fbank {

// What differs between the float and the Q14 bank: the weight type, the record base of
// the size formula, and the transform engine behind mode bit 4.
template <class State>
struct BankTraits;

template <>
struct BankTraits<ZemsFBankState_32f> {
    using Weight = Zem32f;
    using Transform = ZemsFFTState_R_32f;
    static constexpr bool kQ14 = false;
    static constexpr int64_t kRecordBase = 104;
    static ZemStatus transformSizes(int order, Zem32s* st, Zem32s* in, Zem32s* buf) {
        return ownFFTGetSize_R_32f(order, 8, 2, st, in, buf);
    }
    static ZemStatus transformInit(Transform** t, int order, Zem8u* memState, Zem8u* memInit) {
        return ownFFTInit_R_32f(t, order, 8, 2, memState, memInit);
    }
    static void transformFree(Transform* t) { ownFFTFree_R_32f(t); }
};

template <>
struct BankTraits<ZemsFBankState_16s> {
    using Weight = Zem32s;
    using Transform = ZemsFFTState_R_16s;
    static constexpr bool kQ14 = true;
    static constexpr int64_t kRecordBase = 112;
    static ZemStatus transformSizes(int order, Zem32s* st, Zem32s* in, Zem32s* buf) {
        return ownFFTGetSize_R_16s(order, 8, 2, st, in, buf);
    }
    static ZemStatus transformInit(Transform** t, int order, Zem8u* memState, Zem8u* memInit) {
        return ownFFTInit_R_16s(t, order, 8, 2, memState, memInit);
    }
    static void transformFree(Transform* t) { ownFFTFree_R_16s(t); }
};

template <class State>
using WeightOf = typename BankTraits<State>::Weight;

}  // namespace zem::fbank
