// The sweep's rows for codebook search and vector forming (see table_likelihood.cpp for the
// roles).  The searches run on 4-dimensional codebooks: a list of 24 rows and a weighted tree
// of 8 leaves trained on 24 rows, so that both the plain and the scored descents run; the
// split quantisers and their inverses take three of them in turn (list, tree, list).
// Three sub-vectors of four elements from tables of five rows; the grouped forms take 9
// groups of 2 and 5 groups of 4, so that both reach their block and tail paths.  The tables
// hold one row more than their sizes say: the 2i float form may read it.  A grouped tail
// group of number 0 fails after the groups before it are written: a documented partial result.
#include <vector>

#include "cdbk_rows.h"
#include "sweep.h"

namespace sweep {
namespace {

using namespace cdbk;

template <class T>
const T* treeWeights() {
    static const T w[kWidth] = {T(1), T(2), T(1), T(3)};
    return w;
}

template <class T, class St, class Alloc, class Free>
RecordKind listKind(const char* name, Alloc alloc, Free release) {
    return {name, {}, {},
            [=](void** out) { return alloc(reinterpret_cast<St**>(out), trainingRows<T>(), kWidth, kStep, kRows, kRows, ZEM_CDBK_LIST); },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}

template <class T, class St, class Alloc, class Free>
RecordKind treeKind(const char* name, Alloc alloc, Free release) {
    return {name, {}, {},
            [=](void** out) {
                return alloc(reinterpret_cast<St**>(out), trainingRows<T>(), treeWeights<T>(), kWidth, kStep, kRows, kLeaves,
                             ZEM_CDBK_SPLIT_WIDEST);
            },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}

const RecordKind kList32f = listKind<Zem32f, ZemsCdbkState_32f>("list codebook 32f", zemsCdbkInitAlloc_L2_32f, zemsCdbkFree_32f);
const RecordKind kList16s = listKind<Zem16s, ZemsCdbkState_16s>("list codebook 16s", zemsCdbkInitAlloc_L2_16s, zemsCdbkFree_16s);
const RecordKind kTree32f = treeKind<Zem32f, ZemsCdbkState_32f>("weighted tree 32f", zemsCdbkInitAlloc_WgtL2_32f, zemsCdbkFree_32f);
const RecordKind kTree16s = treeKind<Zem16s, ZemsCdbkState_16s>("weighted tree 16s", zemsCdbkInitAlloc_WgtL2_16s, zemsCdbkFree_16s);

constexpr int kTableRows = 5;

// Numbers 1 .. kTableRows - 1: valid everywhere, and never 0, which ends a grouped tail.
Fill numbers() {
    return [](int64_t i) { return static_cast<double>(1 + i % (kTableRows - 1)); };
}
Fill constant(double v) {
    return [v](int64_t) { return v; };
}

}  // namespace

void addVqSearchRows(Table& t) {
    t.family = "vqsearch";
    // Block searches: height vectors of the codebook's width, a step below it fails.
    ROW(t, zemsVQ_32f, {W(kWidth), S(kStep), H(7)}, {In(D2(H, S, W)), Step(S, W), Out(H), Len(H), Rec(kTree32f)});
    ROW(t, zemsVQ_16s, {W(kWidth), S(kStep), H(7)}, {In(D2(H, S, W)), Step(S, W), Out(H), Len(H), Rec(kList16s)});
    ROW(t, zemsVQDist_32f, {W(kWidth), S(kStep), H(7)}, {In(D2(H, S, W)), Step(S, W), Out(H), Out(H), Len(H), Rec(kList32f)});
    ROW(t, zemsVQDist_16s32s_Sfs, {W(kWidth), S(kStep), H(7)},
        {In(D2(H, S, W)), Step(S, W), Out(H), Out(H), Len(H), Rec(kTree16s), Sf()});
    // Single vector: num rows at most the codebook's count; Thresh writes up to all of them.
    ROW(t, zemsVQSingle_Sort_32f, {W(kWidth), N(5)}, {In(W), Out(N), Rec(kTree32f), Len(N)});
    ROW(t, zemsVQSingle_Sort_16s, {W(kWidth), N(5)}, {In(W), Out(N), Rec(kList16s), Len(N)});
    ROW(t, zemsVQDistSingle_Sort_32f, {W(kWidth), N(5)}, {In(W), Out(N), Out(N), Rec(kList32f), Len(N)});
    ROW(t, zemsVQDistSingle_Sort_16s32s_Sfs, {W(kWidth), N(5)}, {In(W), Out(N), Out(N), Rec(kTree16s), Len(N), Sf()});
    ROW(t, zemsVQSingle_Thresh_32f, {W(kWidth), K(kRows)}, {In(W), Out(K), Rec(kList32f), Val(1.5), Out(1)});
    ROW(t, zemsVQSingle_Thresh_16s, {W(kWidth), K(kLeaves)}, {In(W), Out(K), Rec(kTree16s), Val(1.5), Out(1)});
    ROW(t, zemsVQDistSingle_Thresh_32f, {W(kWidth), K(kLeaves)}, {In(W), Out(K), Out(K), Rec(kTree32f), Val(1.5), Out(1)});
    ROW(t, zemsVQDistSingle_Thresh_16s32s_Sfs, {W(kWidth), K(kRows)},
        {In(W), Out(K), Out(K), Rec(kList16s), Val(1.5), Out(1), Sf()});
    // Split VQ over three codebooks in turn list, tree, list (24, 8, 24 codewords: 5, 3 and 5
    // bits), 12 elements of a row of 14; rows of numbers 5 apart, or 15 bits apart.
    const std::vector<const RecordKind*> split32f = {&kList32f, &kTree32f}, split16s = {&kList16s, &kTree16s};
    const Ex bits = Ex(13);
#define SPLIT(name, books) \
    ROW(t, name, {H(7), W(3 * kWidth), S(3 * kWidth + 2), N(3), M(5)}, \
        {In(D2(H, S, W)), Step(S, W), Out(D2(H, M, N)), Step(M, N), Len(H), Recs(N, books), Len(N)})
#define SPLIT_BITS(name, books) \
    ROW(t, name, {H(7), W(3 * kWidth), S(3 * kWidth + 2), N(3), M(15)}, \
        {In(D2(H, S, W)), Step(S, W), Out(Bytes8(H * M)), Step(M, bits), Len(H), Recs(N, books), Len(N)})
    SPLIT(zemsSplitVQ_16s16s, split16s);
    SPLIT(zemsSplitVQ_16s8u, split16s);
    SPLIT(zemsSplitVQ_32f16s, split32f);
    SPLIT(zemsSplitVQ_32f8u, split32f);
    SPLIT_BITS(zemsSplitVQ_16s1u, split16s);
    SPLIT_BITS(zemsSplitVQ_32f1u, split32f);
#undef SPLIT
#undef SPLIT_BITS
    // The inverse: numbers below 8 are rows of every codebook; any other number copies nothing.
#define FORM_VQ(name, books) \
    ROW(t, name, {H(7), W(3 * kWidth), S(3 * kWidth + 2), N(3), M(5)}, \
        {In(D2(H, M, N), numbers()), Step(M, N), Out(D2(H, S, W)), Step(S, W), Len(H), Recs(N, books), Len(N)})
#define FORM_VQ_BITS(name, books) \
    ROW(t, name, {H(7), W(3 * kWidth), S(3 * kWidth + 2), N(3), M(15)}, \
        {In(Bytes8((H - 1) * M + bits)), Step(M, bits), Out(D2(H, S, W)), Step(S, W), Len(H), Recs(N, books), Len(N)})
    FORM_VQ(zemsFormVectorVQ_16s16s, split16s);
    FORM_VQ(zemsFormVectorVQ_8u16s, split16s);
    FORM_VQ(zemsFormVectorVQ_16s32f, split32f);
    FORM_VQ(zemsFormVectorVQ_8u32f, split32f);
    FORM_VQ_BITS(zemsFormVectorVQ_1u16s, split16s);
    FORM_VQ_BITS(zemsFormVectorVQ_1u32f, split32f);
#undef FORM_VQ
#undef FORM_VQ_BITS
    const Ex rows = Ex(kTableRows + 1);
#define FORM(name) \
    ROW(t, name, {N(3), W(4)}, {In(N, numbers()), Rows(N, rows * W), noExtremes(In(N, constant(kTableRows))), \
                                noExtremes(In(N, constant(4))), noExtremes(In(N, constant(4))), Len(N), Out(N * W)})
    FORM(zemsFormVector_16s16s);
    FORM(zemsFormVector_16s32f);
    FORM(zemsFormVector_8u16s);
    FORM(zemsFormVector_8u32f);
#undef FORM
#define GROUPED(name, g, len) \
    ROW(t, name, {L(len)}, {In(L / g, numbers()), Rows(L / g, rows * g), noExtremes(In(L / g, constant(kTableRows))), \
                            Out(L), Len(L)}, kPartialStores)
    GROUPED(zemsFormVector_2i_16s16s, 2, 18);
    GROUPED(zemsFormVector_2i_16s32f, 2, 18);
    GROUPED(zemsFormVector_2i_8u16s, 2, 18);
    GROUPED(zemsFormVector_2i_8u32f, 2, 18);
    GROUPED(zemsFormVector_4i_16s16s, 4, 20);
    GROUPED(zemsFormVector_4i_16s32f, 4, 20);
    GROUPED(zemsFormVector_4i_8u16s, 4, 20);
    GROUPED(zemsFormVector_4i_8u32f, 4, 20);
#undef GROUPED
}

}  // namespace sweep
