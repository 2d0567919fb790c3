// The sweep's rows for vector forming from tables (see table_likelihood.cpp for the roles).
// Three sub-vectors of four elements from tables of five rows; the grouped forms take 9
// groups of 2 and 5 groups of 4, so that both reach their block and tail paths.  The tables
// hold one row more than their sizes say: the 2i float form may read it.  A grouped tail
// group of number 0 fails after the groups before it are written: a documented partial result.
#include "sweep.h"

namespace sweep {
namespace {

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
