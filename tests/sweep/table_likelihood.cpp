// The sweep's rows for the log-domain likelihood families.
//
// How to add your family (one row per export, in the export's argument order):
//
//     ROW(t, zemsFoo_16s_Sfs, {L(17)}, {In(L), Out(L), Len(L), Sf()});
//
// The braces first fix the row's dimensions (L, W, H, S, N, M, K: any meaning you like),
// then give each argument its role; extents are counted in elements of the pointer's own
// type, which the engine reads from the export's signature.
//   In(n[, lo, hi | fill])  a buffer of exactly n elements filled with data (the range, or
//                           fill(i) for exact contents); const or not, as the export takes it
//   Out(n)                  an output buffer of n elements, filled with a sentinel
//   Rows(h, w[, lo, hi])    an array of h row pointers, each to its own buffer of w elements
//   D2(h, step, w)          the extent of a _D2 matrix: (h - 1) * step + w
//   Len(v[, min])           a size of the caller's buffers: below min (default 1) must fail
//   Size(v[, min])          as Len, and INT_MAX must be safe too (checked against others)
//   Count(v)                a size that sizes nothing of the caller's: every value is safe
//   Step(v, width)          a row stride: below width must fail
//   Sf([v])                 a scale factor: every value must be safe
//   Val(v)                  a scalar: the extremes of its type (NaN, infinities) must be safe
//   Alt(v, {a, b})          a scalar broken only to the values listed
//   Fixed(v), FixedEx(ex)   a scalar never broken (flags whose other values change extents)
//   Rec(kind)               a record of the kind, built every way the header offers
//   NewRec(kind)            the out pointer of an InitAlloc; the record is freed after
//   OwnRec(kind)            a record handed to the export (Free): a fresh one each call
//   RecBuf(bytes)           a caller's buffer of exactly `bytes` bytes for an Init
//   Recs(n, {&a, &b})       an array of n records, built by the kinds in turn
//   nullable(a), noExtremes(a)  null accepted; no extreme contents for this buffer
// The engine derives every case from the roles: the baseline (which must succeed) aligned
// and misaligned, every pointer null in turn, the bad sizes, scale factors and values, the
// extremes in every buffer and the allocation-failure walk.  Flags on the row:
// kPartialStores (a documented partial result on an error), kNoMisalign.
#include "sweep.h"

namespace sweep {
namespace {

// Block diagonal matrices of three blocks of six: the order 18 of the BlockDVar rows.
constexpr int kBlocks = 3, kBlock = 6, kOrder = kBlocks * kBlock;

template <class T, class Rec, class AllocFn, class FreeFn>
RecordKind blockKind(const char* name, AllocFn alloc, FreeFn release) {
    return {name, {}, {},
            [alloc](void** out) {
                static T data[kOrder][kBlock];
                const T* rows[kOrder];
                for (int r = 0; r < kOrder; ++r) {
                    for (int c = 0; c < kBlock; ++c) data[r][c] = static_cast<T>(r % kBlock == c ? 4 : 1);
                    rows[r] = data[r];
                }
                const Zem32s sizes[kBlocks] = {kBlock, kBlock, kBlock};
                return alloc(reinterpret_cast<Rec**>(out), rows, sizes, kBlocks);
            },
            [release](void* rec) { return release(static_cast<Rec*>(rec)); }};
}

const RecordKind kBlockD16s =
    blockKind<Zem16s, ZemsBlockDMatrix_16s>("ZemsBlockDMatrix_16s", zemsBlockDMatrixInitAlloc_16s, zemsBlockDMatrixFree_16s);
const RecordKind kBlockD32f =
    blockKind<Zem32f, ZemsBlockDMatrix_32f>("ZemsBlockDMatrix_32f", zemsBlockDMatrixInitAlloc_32f, zemsBlockDMatrixFree_32f);
const RecordKind kBlockD64f =
    blockKind<Zem64f, ZemsBlockDMatrix_64f>("ZemsBlockDMatrix_64f", zemsBlockDMatrixInitAlloc_64f, zemsBlockDMatrixFree_64f);

// Indices that stay inside 0 .. range - 1.
Fill indicesBelow(int range) {
    return [range](int64_t i) { return static_cast<double>((i * 7 + 3) % range); };
}
Fill constant(double v) {
    return [v](int64_t) { return v; };
}

}  // namespace

void addLikelihoodRows(Table& t) {
    t.family = "likelihood";
    ROW(t, zemsLogAdd_32f, {L(19)}, {In(L), In(L), Len(L)});
    ROW(t, zemsLogAdd_64f, {L(19)}, {In(L), In(L), Len(L), Alt(1, {2, 0, -1, 2147483647})});
    ROW(t, zemsLogAdd_16s_Sfs, {L(19)}, {In(L), In(L), Len(L), Sf()});
    ROW(t, zemsLogAdd_32s_Sfs, {L(19)}, {In(L), In(L), Len(L), Sf()});
    ROW(t, zemsLogSub_32f, {L(19)}, {In(L, 0, 1), In(L, -3, -2), Len(L)});
    ROW(t, zemsLogSub_64f, {L(19)}, {In(L, 0, 1), In(L, -3, -2), Len(L)});
    ROW(t, zemsLogSub_16s_Sfs, {L(19)}, {In(L, 50, 100), In(L, -100, -50), Len(L), Sf()});
    ROW(t, zemsLogSub_32s_Sfs, {L(19)}, {In(L, 50, 100), In(L, -100, -50), Len(L), Sf()});
    ROW(t, zemsLogSum_32f, {L(19)}, {In(L), Out(1), Len(L)});
    ROW(t, zemsLogSum_64f, {L(19)}, {In(L), Out(1), Len(L)});
    ROW(t, zemsLogSum_16s_Sfs, {L(19)}, {In(L), Out(1), Len(L), Sf()});
    ROW(t, zemsLogSum_32s_Sfs, {L(19)}, {In(L), Out(1), Len(L), Sf()});
    ROW(t, zemsLogGaussSingle_32f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_32f64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_16s32s_Sfs, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_Scaled_16s32f, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_Low_16s32s_Sfs, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_LowScaled_16s32f, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_IdVar_32f, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_IdVar_64f, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_IdVar_32f64f, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_IdVar_16s32s_Sfs, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_IdVarScaled_16s32f, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_IdVarLow_16s32s_Sfs, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_IdVarLowScaled_16s32f, {L(19)}, {In(L), In(L), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_DirectVar_32f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_DirectVar_64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_DirectVar_32f64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_DirectVar_16s32s_Sfs, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_DirectVarScaled_16s32f, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_BlockDVar_32f, {L(18)}, {In(L), In(L), Rec(kBlockD32f), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_BlockDVar_64f, {L(18)}, {In(L), In(L), Rec(kBlockD64f), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_BlockDVar_32f64f, {L(18)}, {In(L), In(L), Rec(kBlockD32f), Len(L), Out(1), Val(-3)});
    ROW(t, zemsLogGaussSingle_BlockDVar_16s32s_Sfs, {L(18)}, {In(L), In(L), Rec(kBlockD16s), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGaussSingle_BlockDVarScaled_16s32f, {L(18)}, {In(L), In(L), Rec(kBlockD16s), Len(L), Out(1), Val(-3), Sf()});
    ROW(t, zemsLogGauss_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_IdVar_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_IdVar_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_IdVar_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_IdVar_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_IdVar_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_IdVar_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_IdVar_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussAdd_IdVar_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_IdVar_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_IdVar_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_IdVar_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGaussMax_IdVar_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3)});
    ROW(t, zemsLogGauss_Scaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_Scaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_Scaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_Scaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_Scaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_Scaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_LowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_LowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_LowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_LowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_LowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_LowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_Low_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_Low_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_Low_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_Low_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 1, 20), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_IdVarScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_IdVarScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarLowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarLowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_IdVarLowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussAdd_IdVarLowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarLowScaled_16s32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarLowScaled_16s32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVar_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVar_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVar_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVar_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarLow_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGauss_IdVarLow_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarLow_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMax_IdVarLow_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), In(H), Len(H), Val(-3), Sf()});
    ROW(t, zemsLogGaussMultiMix_32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), Len(N)});
    ROW(t, zemsLogGaussMultiMix_32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), Len(N)});
    ROW(t, zemsLogGaussMultiMix_64f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), Len(N)});
    ROW(t, zemsLogGaussMultiMix_64f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), Len(N)});
    ROW(t, zemsLogGaussMultiMix_16s32s_D2Sfs, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_16s32s_D2LSfs, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_Low_16s32s_D2Sfs, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_Low_16s32s_D2LSfs, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_Scaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_Scaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_LowScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMultiMix_LowScaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussAddMultiMix_32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussAddMultiMix_32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussAddMultiMix_64f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussAddMultiMix_64f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussMaxMultiMix_32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussMaxMultiMix_32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussMaxMultiMix_64f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussMaxMultiMix_64f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), In(N), In(N), Len(N)});
    ROW(t, zemsLogGaussAddMultiMix_Scaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussAddMultiMix_Scaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussAddMultiMix_LowScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussAddMultiMix_LowScaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_Scaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_Scaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_16s32s_D2Sfs, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_16s32s_D2LSfs, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMaxMultiMix_Low_16s32s_D2LSfs, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 1, 20), In(W), Len(W), In(N), In(N), Len(N), Sf()});
    ROW(t, zemsLogGaussMixture_32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Len(N), Step(S, W), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Rows(N, W, 0.5, 2), Len(N), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_64f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Len(N), Step(S, W), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_64f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Rows(N, W, 0.5, 2), Len(N), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_Scaled_16s32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Len(N), Step(S, W), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_Scaled_16s32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Rows(N, W, 1, 20), Len(N), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_LowScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Len(N), Step(S, W), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_LowScaled_16s32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Rows(N, W, 1, 20), Len(N), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_IdVar_32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), Len(N), Step(S, W), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_IdVar_32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Len(N), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_IdVar_64f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), Len(N), Step(S, W), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_IdVar_64f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Len(N), Len(W), In(N), Out(1)});
    ROW(t, zemsLogGaussMixture_IdVarScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), Len(N), Step(S, W), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_IdVarScaled_16s32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Len(N), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_IdVarLowScaled_16s32f_D2, {W(13), S(16), N(11)}, {In(W), In(D2(N, S, W)), Len(N), Step(S, W), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_IdVarLowScaled_16s32f_D2L, {W(13), N(11)}, {In(W), Rows(N, W), Len(N), Len(W), In(N), Out(1), Sf()});
    ROW(t, zemsLogGaussMixture_Select_32f_D2, {W(13), H(5), S(16), N(11)}, {In(D2(H, S, W)), In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100)});
    ROW(t, zemsLogGaussMixture_Select_32f_D2L, {W(13), H(5), N(11)}, {Rows(H, W), Rows(N, W), Rows(N, W, 0.5, 2), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100)});
    ROW(t, zemsLogGaussMixture_SelectScaled_16s32f_D2, {W(13), H(5), S(16), N(11)}, {In(D2(H, S, W)), In(D2(N, S, W)), In(D2(N, S, W), 1, 20), Step(S, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100), Sf()});
    ROW(t, zemsLogGaussMixture_SelectScaled_16s32f_D2L, {W(13), H(5), N(11)}, {Rows(H, W), Rows(N, W), Rows(N, W, 1, 20), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100), Sf()});
    ROW(t, zemsLogGaussMixture_SelectIdVar_32f_D2, {W(13), H(5), S(16), N(11)}, {In(D2(H, S, W)), In(D2(N, S, W)), Step(S, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100)});
    ROW(t, zemsLogGaussMixture_SelectIdVar_32f_D2L, {W(13), H(5), N(11)}, {Rows(H, W), Rows(N, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100)});
    ROW(t, zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2, {W(13), H(5), S(16), N(11)}, {In(D2(H, S, W)), In(D2(N, S, W)), Step(S, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100), Sf()});
    ROW(t, zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2L, {W(13), H(5), N(11)}, {Rows(H, W), Rows(N, W), Len(W), In(N), In(H * Bytes8(N)), Len(N), Out(H), Len(H), Val(-100), Sf()});
    ROW(t, zemsMahDistSingle_32f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsMahDistSingle_64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsMahDistSingle_32f64f, {L(19)}, {In(L), In(L), In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsMahDistSingle_16s32f, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1)});
    ROW(t, zemsMahDistSingle_16s32s_Sfs, {L(19)}, {In(L), In(L), In(L, 1, 20), Len(L), Out(1), Sf()});
    ROW(t, zemsMahDist_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H)});
    ROW(t, zemsMahDist_64f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H)});
    ROW(t, zemsMahDist_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H)});
    ROW(t, zemsMahDist_64f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), In(W, 0.5, 2), Len(W), Out(H), Len(H)});
    ROW(t, zemsMahDistMultiMix_32f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), Out(N), Len(N)});
    ROW(t, zemsMahDistMultiMix_64f_D2, {W(13), S(16), N(11)}, {In(D2(N, S, W)), In(D2(N, S, W), 0.5, 2), Step(S, W), In(W), Len(W), Out(N), Len(N)});
    ROW(t, zemsMahDistMultiMix_32f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), Out(N), Len(N)});
    ROW(t, zemsMahDistMultiMix_64f_D2L, {W(13), N(11)}, {Rows(N, W), Rows(N, W, 0.5, 2), In(W), Len(W), Out(N), Len(N)});
    ROW(t, zemsOutProbPreCalc_32f, {L(19)}, {In(L), In(L), Out(L), Len(L)});
    ROW(t, zemsOutProbPreCalc_32f_I, {L(19)}, {In(L), In(L), Len(L)});
    ROW(t, zemsOutProbPreCalc_64f, {L(19)}, {In(L), In(L), Out(L), Len(L)});
    ROW(t, zemsOutProbPreCalc_64f_I, {L(19)}, {In(L), In(L), Len(L)});
    ROW(t, zemsOutProbPreCalc_32s, {L(19)}, {In(L), In(L), Out(L), Len(L)});
    ROW(t, zemsOutProbPreCalc_32s_I, {L(19)}, {In(L), In(L), Len(L)});
    ROW(t, zemsScaleLM_32f, {L(19)}, {In(L), Out(L), Len(L), Val(-2), Val(3), Val(5)});
    ROW(t, zemsScaleLM_16s32s, {L(19)}, {In(L), Out(L), Len(L), Val(-2), Val(3), Val(5)});
    // Bit matrices: K bits a row from bit offset S, rows of L bytes.
    ROW(t, zemsFillShortlist_Row_1u, {K(20), M(3), H(4), L(4), S(3)},
        {In(M * H, indicesBelow(20)), Size(K), Len(M), Rows(H, L), Len(H), Size(L), Size(S, 0)});
    ROW(t, zemsFillShortlist_RowVar_1u, {K(20), H(4), L(4), S(3)},
        {In(H * 3, indicesBelow(20)), noExtremes(In(H, constant(3))), Size(K), Rows(H, L), Len(H), Size(L), Size(S, 0)});
    ROW(t, zemsFillShortlist_Column_1u, {M(2), H(6), L(3), S(3), K(10)},
        {In(M * K, indicesBelow(6)), Len(M), Rows(H, L), Len(H), Size(L), Size(S, 0), Len(K)});
    ROW(t, zemsFillShortlist_ColumnVar_1u, {H(6), L(3), S(3), K(10)},
        {In(K * 2, indicesBelow(6)), noExtremes(In(K, constant(2))), Rows(H, L), Len(H), Size(L), Size(S, 0), Len(K)});
    // Table rows of 40 bytes, well past the three that 12 bits from offset 5 need, so that
    // the 32-bit path runs.
    ROW(t, zemsBuildSignTable_8u1u, {M(2), N(6), L(40), S(5), H(5), K(12)},
        {In(M * H, indicesBelow(6)), Len(M), Rows(N, L), Size(N), Len(L), Size(S, 0), Out(H * Bytes8(K)), Len(H),
         Len(K)});
    ROW(t, zemsBuildSignTable_Var_8u1u, {N(6), L(3), S(5), H(5), K(12)},
        {In(H * 2, indicesBelow(6)), noExtremes(In(H, constant(2))), Rows(N, L), Size(N), Len(L), Size(S, 0),
         Out(H * Bytes8(K)), Len(H), Len(K)});
    ROW(t, zemsBlockDMatrixInitAlloc_16s, {L(kOrder), K(kBlocks)},
        {NewRec(kBlockD16s), Rows(L, kBlock), noExtremes(In(K, constant(kBlock))), Len(K)});
    ROW(t, zemsBlockDMatrixInitAlloc_32f, {L(kOrder), K(kBlocks)},
        {NewRec(kBlockD32f), Rows(L, kBlock), noExtremes(In(K, constant(kBlock))), Len(K)});
    ROW(t, zemsBlockDMatrixInitAlloc_64f, {L(kOrder), K(kBlocks)},
        {NewRec(kBlockD64f), Rows(L, kBlock), noExtremes(In(K, constant(kBlock))), Len(K)});
    ROW(t, zemsBlockDMatrixFree_16s, {}, {OwnRec(kBlockD16s)});
    ROW(t, zemsBlockDMatrixFree_32f, {}, {OwnRec(kBlockD32f)});
    ROW(t, zemsBlockDMatrixFree_64f, {}, {OwnRec(kBlockD64f)});
}

}  // namespace sweep
