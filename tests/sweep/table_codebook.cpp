// The sweep's rows for codebook objects (see table_likelihood.cpp for the roles).  The
// sweep's codebooks hold 4-dimensional codewords: a list of 24 rows and a tree of 8 leaves
// trained on 24 rows.
#include <vector>

#include "cdbk_rows.h"
#include "sweep.h"

namespace sweep {
namespace {

using namespace cdbk;

template <class T, class St, class GetSize, class Init, class Alloc, class Free>
RecordKind cdbkKind(const char* name, int hint, GetSize getSize, Init init, Alloc alloc, Free release) {
    const int size = hint == ZEM_CDBK_LIST ? kRows : kLeaves;
    RecordKind k{name, {}, {}, [=](void** out) {
                     return alloc(reinterpret_cast<St**>(out), trainingRows<T>(), kWidth, kStep, kRows, size, hint);
                 },
                 [=](void* rec) { return release(static_cast<St*>(rec)); }};
    if (hint == ZEM_CDBK_LIST) {
        k.size = [=] {
            Zem32s s = -1;
            return getSize(kWidth, kStep, kRows, kRows, hint, &s) < 0 ? int64_t{-1} : int64_t{s};
        };
        k.init = [=](void* buf) { return init(static_cast<St*>(buf), trainingRows<T>(), kWidth, kStep, kRows, kRows, hint); };
    }
    return k;
}

const RecordKind kList32f = cdbkKind<Zem32f, ZemsCdbkState_32f>("list codebook 32f", ZEM_CDBK_LIST, zemsCdbkGetSize_32f,
                                                                zemsCdbkInit_L2_32f, zemsCdbkInitAlloc_L2_32f,
                                                                zemsCdbkFree_32f);
const RecordKind kList16s = cdbkKind<Zem16s, ZemsCdbkState_16s>("list codebook 16s", ZEM_CDBK_LIST, zemsCdbkGetSize_16s,
                                                                zemsCdbkInit_L2_16s, zemsCdbkInitAlloc_L2_16s,
                                                                zemsCdbkFree_16s);
const RecordKind kTree32f = cdbkKind<Zem32f, ZemsCdbkState_32f>("tree codebook 32f", ZEM_CDBK_SPLIT_WIDEST,
                                                                zemsCdbkGetSize_32f, zemsCdbkInit_L2_32f,
                                                                zemsCdbkInitAlloc_L2_32f, zemsCdbkFree_32f);
const RecordKind kTree16s = cdbkKind<Zem16s, ZemsCdbkState_16s>("tree codebook 16s", ZEM_CDBK_SPLIT_FULLEST,
                                                                zemsCdbkGetSize_16s, zemsCdbkInit_L2_16s,
                                                                zemsCdbkInitAlloc_L2_16s, zemsCdbkFree_16s);

Ex listBytes(ZemStatus (*getSize)(int, int, int, int, int, Zem32s*)) {
    return Ex([getSize](const Dims&) {
        Zem32s s = -1;
        return getSize(kWidth, kStep, kRows, kRows, ZEM_CDBK_LIST, &s) < 0 ? int64_t{-1} : int64_t{s};
    });
}

}  // namespace

void addCodebookRows(Table& t) {
    t.family = "codebook";
    const auto hints = {1.0, 2.0, 3.0, 0.0, -1.0, 2147483647.0};
    // Sizes of the caller's training rows are Len; the codeword count is checked against
    // the height and the hard limit, so every value of it is safe.
    ROW(t, zemsCdbkGetSize_32f, {W(kWidth), S(kStep), H(kRows)}, {Size(W), Step(S, W), Size(H), Count(H), Alt(1, hints), Out(1)});
    ROW(t, zemsCdbkGetSize_16s, {W(kWidth), S(kStep), H(kRows)}, {Size(W), Step(S, W), Size(H), Count(H), Alt(1, hints), Out(1)});
    ROW(t, zemsCdbkInit_L2_32f, {W(kWidth), S(kStep), H(kRows)},
        {RecBuf(listBytes(zemsCdbkGetSize_32f)), In(D2(H, S, W)), FixedEx(W), FixedEx(S), FixedEx(H), Count(H), Alt(1, hints)});
    ROW(t, zemsCdbkInit_L2_16s, {W(kWidth), S(kStep), H(kRows)},
        {RecBuf(listBytes(zemsCdbkGetSize_16s)), In(D2(H, S, W)), FixedEx(W), FixedEx(S), FixedEx(H), Count(H), Alt(1, hints)});
    for (int hint : {ZEM_CDBK_LIST, ZEM_CDBK_SPLIT_WIDEST, ZEM_CDBK_SPLIT_FULLEST}) {
        const double h = hint;
        ROW(t, zemsCdbkInitAlloc_L2_32f, {W(kWidth), S(kStep), H(kRows), K(kLeaves)},
            {NewRec(kTree32f), In(D2(H, S, W)), Len(W), Step(S, W), Len(H), Count(K), Alt(h, hints)});
        ROW(t, zemsCdbkInitAlloc_L2_16s, {W(kWidth), S(kStep), H(kRows), K(kLeaves)},
            {NewRec(kTree16s), In(D2(H, S, W)), Len(W), Step(S, W), Len(H), Count(K), Alt(h, hints)});
        ROW(t, zemsCdbkInitAlloc_WgtL2_32f, {W(kWidth), S(kStep), H(kRows), K(kLeaves)},
            {NewRec(kTree32f), In(D2(H, S, W)), In(W, 0.5, 2), Len(W), Step(S, W), Len(H), Count(K), Alt(h, hints)});
        ROW(t, zemsCdbkInitAlloc_WgtL2_16s, {W(kWidth), S(kStep), H(kRows), K(kLeaves)},
            {NewRec(kTree16s), In(D2(H, S, W)), In(W, 1, 4), Len(W), Step(S, W), Len(H), Count(K), Alt(h, hints)});
    }
    ROW(t, zemsCdbkFree_32f, {}, {OwnRec(kTree32f)});
    ROW(t, zemsCdbkFree_16s, {}, {OwnRec(kTree16s)});
    ROW(t, zemsCdbkFree_32f, {}, {OwnRec(kList32f)});
    ROW(t, zemsGetCdbkSize_32f, {}, {Rec(kTree32f), Out(1)});
    ROW(t, zemsGetCdbkSize_16s, {}, {Rec(kList16s), Out(1)});
    ROW(t, zemsGetCodebook_32f, {W(kWidth), S(7)}, {Rec(kList32f), Out(D2(kRows, S, W)), Step(S, W)});
    ROW(t, zemsGetCodebook_16s, {W(kWidth), S(7)}, {Rec(kList16s), Out(D2(kRows, S, W)), Step(S, W)});
}

}  // namespace sweep
