// Column and row sums, column means and variances, and sums added into a result:
// SumColumn, SumRow, MeanColumn, VarColumn, MeanVarColumn, AddAllRowSum, AddNRows.
//
// Every operation is one body over a row accessor (tablekernel.h) and an output
// (tableout.h); the summation orders are those of tablekernel.h.  The variance is
// (sum of squares + (-height) * (mean * mean)) * (1 / (height - 1)), with -height and the
// reciprocals in the accumulator's type.  The 16-bit means and variances pass through a
// Zem32f work array of the whole width before one conversion, so an allocation failure
// leaves the result untouched.
#include <cstdint>

#include "frame/check.h"
#include "frame/record.h"
#include "own.h"
#include "training/tablekernel.h"
#include "training/tableout.h"

namespace {

using namespace zem::table;
using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;
using zem::noNullRows;
using zem::strideCovers;

// The widest chunk of a column pass, in accumulator elements.
template <class Acc>
constexpr int kMaxChunk = kChunkVectors<Sum> * zem::simd::kLanes<Acc>;

template <class Rows, class Out>
void sumColumns(const Rows& rows, int height, int width, const Out& out) {
    using Acc = AccOf<typename Rows::Elem>;
    columnPass<Sum, Acc>(rows, height, width, nullptr,
                         [&](int j0, int n, const Acc* s, const Acc*) { out.put(j0, n, s); });
}

// Rows in groups of 64 so that the integer results convert a block at a time.
template <class Rows, class Out>
void sumRows(const Rows& rows, int width, int height, const Out& out) {
    using Acc = AccOf<typename Rows::Elem>;
    Acc sums[64];
    for (int i0 = 0; i0 < height; i0 += 64) {
        const int n = height - i0 < 64 ? height - i0 : 64;
        for (int k = 0; k < n; ++k) sums[k] = rowSum<Acc>(rows(i0 + k), width);
        out.put(i0, n, sums);
    }
}

template <class Rows, class Out>
void meanColumns(const Rows& rows, int height, int width, const Out& out) {
    using Acc = AccOf<typename Rows::Elem>;
    const Acc inv = Acc(1) / static_cast<Acc>(height);
    columnPass<Sum, Acc>(rows, height, width, nullptr, [&](int j0, int n, const Acc* s, const Acc*) {
        Acc m[kMaxChunk<Acc>];
        for (int c = 0; c < n; ++c) m[c] = s[c] * inv;
        out.put(j0, n, m);
    });
}

template <class Acc>
struct VarFactors {
    Acc negHeight, invHeightLess1;
    explicit VarFactors(int height)
        : negHeight(-static_cast<Acc>(height)), invHeightLess1(Acc(1) / static_cast<Acc>(height - 1)) {}
    Acc operator()(Acc sumSquares, Acc mean) const { return (sumSquares + negHeight * (mean * mean)) * invHeightLess1; }
};

template <class Rows, class M, class Out>
void varColumns(const Rows& rows, int height, const M* mean, int width, const Out& out) {
    using Acc = AccOf<typename Rows::Elem>;
    const VarFactors<Acc> var(height);
    columnPass<Squares, Acc>(rows, height, width, nullptr, [&](int j0, int n, const Acc* sq, const Acc*) {
        Acc v[kMaxChunk<Acc>];
        for (int c = 0; c < n; ++c) v[c] = var(sq[c], static_cast<Acc>(mean[j0 + c]));
        out.put(j0, n, v);
    });
}

// One pass: the variance uses the mean just computed, before any conversion.
template <class Rows, class OutM, class OutV>
void meanVarColumns(const Rows& rows, int height, int width, const OutM& outMean, const OutV& outVar) {
    using Acc = AccOf<typename Rows::Elem>;
    const Acc inv = Acc(1) / static_cast<Acc>(height);
    const VarFactors<Acc> var(height);
    columnPass<SumAndSquares, Acc>(rows, height, width, nullptr, [&](int j0, int n, const Acc* s, const Acc* sq) {
        Acc m[kMaxChunk<Acc>], v[kMaxChunk<Acc>];
        for (int c = 0; c < n; ++c) {
            m[c] = s[c] * inv;
            v[c] = var(sq[c], m[c]);
        }
        outMean.put(j0, n, m);
        outVar.put(j0, n, v);
    });
}

// dst[j] + (the column's sum): the sum is formed first, so adding the same table twice
// to zero gives exactly twice the sums.
template <class Rows>
void addColumnSums(const Rows& rows, int height, int width, Zem32f* dst, Zem32f start) {
    columnPass<Sum, Zem32f>(rows, height, width, nullptr, [&](int j0, int n, const Zem32f* s, const Zem32f*) {
        for (int c = 0; c < n; ++c) dst[j0 + c] = start + s[c];
    });
}
template <class Rows>
void addColumnSums(const Rows& rows, int height, int width, Zem32f* dst) {
    columnPass<Sum, Zem32f>(rows, height, width, nullptr, [&](int j0, int n, const Zem32f* s, const Zem32f*) {
        for (int c = 0; c < n; ++c) dst[j0 + c] = dst[j0 + c] + s[c];
    });
}

// The 16-bit means and variances: Zem32f results over the whole width (plus 8 spare
// elements) in work arrays from the allocator, then one conversion each.
template <class Rows, class M>
ZemStatus meanColumns16(const Rows& rows, int height, int width, M* dst) {
    zem::HeapScratch<Zem32f> work(static_cast<int64_t>(width) + 8);
    if (!work.ok()) return zemStatusNoMemory;
    meanColumns(rows, height, width, Direct<Zem32f>{work.data()});
    Converted<M>{dst, 0}.put(0, width, work.data());
    return zemStatusOk;
}

template <class Rows>
ZemStatus varColumns16(const Rows& rows, int height, const Zem16s* mean, int width, Zem16s* dst, int scaleFactor) {
    zem::HeapScratch<Zem32f> work(static_cast<int64_t>(width) + 8);
    if (!work.ok()) return zemStatusNoMemory;
    varColumns(rows, height, mean, width, Direct<Zem32f>{work.data()});
    Converted<Zem16s>{dst, scaleFactor}.put(0, width, work.data());
    return zemStatusOk;
}

template <class Rows, class M, class V>
ZemStatus meanVarColumns16(const Rows& rows, int height, int width, M* dstMean, V* dstVar, int scaleFactor) {
    const int64_t part = static_cast<int64_t>(width) + 8;
    zem::HeapScratch<Zem32f> work(2 * part);
    if (!work.ok()) return zemStatusNoMemory;
    Zem32f* means = work.data();
    Zem32f* vars = work.data() + part;
    meanVarColumns(rows, height, width, Direct<Zem32f>{means}, Direct<Zem32f>{vars});
    Converted<M>{dstMean, scaleFactor}.put(0, width, means);
    Converted<V>{dstVar, scaleFactor}.put(0, width, vars);
    return zemStatusOk;
}

template <class T>
RowsD2<const T> d2(const T* src, int step) {
    return {src, step};
}
template <class T>
RowsD2L<const T> d2l(const T* const* src) {
    return {src};
}

// Check orders of the families whose checks differ only by the layout.
//   P, Z, S: SumColumn, SumRow, AddAllRowSum (and MeanVarColumn with its own Z)
template <class... P>
ZemStatus checkPZS(int step, int height, int width, const P*... p) {
    return firstFailure(nonNull(p...), atLeastOne(height, width), strideCovers(step, width));
}
template <class T, class... P>
ZemStatus checkPZRows(const T* const* rows, int height, int width, const P*... p) {
    return firstFailure(nonNull(rows, p...), atLeastOne(height, width), noNullRows(rows, height));
}

}  // namespace

// ---- SumColumn: src, step, height, dst, width ------------------------------------------

extern "C" {

ZEMSR_API ZemStatus zemsSumColumn_32f_D2(const Zem32f* src, int step, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumColumns(d2(src, step), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_32f_D2L(const Zem32f* const* src, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumColumns(d2l(src), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_64f_D2(const Zem64f* src, int step, int height, Zem64f* dst, int width) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumColumns(d2(src, step), height, width, Direct<Zem64f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_64f_D2L(const Zem64f* const* src, int height, Zem64f* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumColumns(d2l(src), height, width, Direct<Zem64f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_16s32f_D2(const Zem16s* src, int step, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumColumns(d2(src, step), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_16s32f_D2L(const Zem16s* const* src, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumColumns(d2l(src), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_16s32s_D2Sfs(const Zem16s* src, int step, int height, Zem32s* dst, int width,
                                               int scaleFactor) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumColumns(d2(src, step), height, width, Converted<Zem32s>{dst, scaleFactor});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumColumn_16s32s_D2LSfs(const Zem16s* const* src, int height, Zem32s* dst, int width,
                                                int scaleFactor) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumColumns(d2l(src), height, width, Converted<Zem32s>{dst, scaleFactor});
    return zemStatusOk;
}

// ---- SumRow: src, width, step, dst, height ---------------------------------------------

ZEMSR_API ZemStatus zemsSumRow_32f_D2(const Zem32f* src, int width, int step, Zem32f* dst, int height) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumRows(d2(src, step), width, height, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_32f_D2L(const Zem32f* const* src, int width, Zem32f* dst, int height) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumRows(d2l(src), width, height, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_64f_D2(const Zem64f* src, int width, int step, Zem64f* dst, int height) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumRows(d2(src, step), width, height, Direct<Zem64f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_64f_D2L(const Zem64f* const* src, int width, Zem64f* dst, int height) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumRows(d2l(src), width, height, Direct<Zem64f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_16s32f_D2(const Zem16s* src, int width, int step, Zem32f* dst, int height) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumRows(d2(src, step), width, height, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_16s32f_D2L(const Zem16s* const* src, int width, Zem32f* dst, int height) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumRows(d2l(src), width, height, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_16s32s_D2Sfs(const Zem16s* src, int width, int step, Zem32s* dst, int height,
                                            int scaleFactor) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    sumRows(d2(src, step), width, height, Converted<Zem32s>{dst, scaleFactor});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSumRow_16s32s_D2LSfs(const Zem16s* const* src, int width, Zem32s* dst, int height,
                                             int scaleFactor) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    sumRows(d2l(src), width, height, Converted<Zem32s>{dst, scaleFactor});
    return zemStatusOk;
}

// ---- MeanColumn: src, height, step, dst, width; the stride is tested first -------------

ZEMSR_API ZemStatus zemsMeanColumn_32f_D2(const Zem32f* src, int height, int step, Zem32f* dst, int width) {
    if (const ZemStatus s = firstFailure(strideCovers(step, width), nonNull(src, dst), atLeastOne(height, width)))
        return s;
    meanColumns(d2(src, step), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsMeanColumn_32f_D2L(const Zem32f* const* src, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    meanColumns(d2l(src), height, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsMeanColumn_16s_D2(const Zem16s* src, int height, int step, Zem16s* dst, int width) {
    if (const ZemStatus s = firstFailure(strideCovers(step, width), nonNull(src, dst), atLeastOne(height, width)))
        return s;
    return meanColumns16(d2(src, step), height, width, dst);
}
ZEMSR_API ZemStatus zemsMeanColumn_16s_D2L(const Zem16s* const* src, int height, Zem16s* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    return meanColumns16(d2l(src), height, width, dst);
}

// ---- VarColumn: src, height, step, mean, dst, width; S, P, then Z with height >= 2 -----

ZEMSR_API ZemStatus zemsVarColumn_32f_D2(const Zem32f* src, int height, int step, const Zem32f* mean, Zem32f* dst,
                                         int width) {
    if (const ZemStatus s = firstFailure(strideCovers(step, width), nonNull(src, mean, dst),
                                         ensure(height > 1, zemStatusBadSize), atLeastOne(width)))
        return s;
    varColumns(d2(src, step), height, mean, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsVarColumn_32f_D2L(const Zem32f* const* src, int height, const Zem32f* mean, Zem32f* dst,
                                          int width) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    varColumns(d2l(src), height, mean, width, Direct<Zem32f>{dst});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsVarColumn_16s_D2Sfs(const Zem16s* src, int height, int step, const Zem16s* mean,
                                            Zem16s* dst, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(strideCovers(step, width), nonNull(src, mean, dst),
                                         ensure(height > 1, zemStatusBadSize), atLeastOne(width)))
        return s;
    return varColumns16(d2(src, step), height, mean, width, dst, scaleFactor);
}
ZEMSR_API ZemStatus zemsVarColumn_16s_D2LSfs(const Zem16s* const* src, int height, const Zem16s* mean, Zem16s* dst,
                                             int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    return varColumns16(d2l(src), height, mean, width, dst, scaleFactor);
}

// ---- MeanVarColumn: src, height, step, dstMean, dstVar, width; P, Z with height >= 2, S --

ZEMSR_API ZemStatus zemsMeanVarColumn_32f_D2(const Zem32f* src, int height, int step, Zem32f* dstMean,
                                             Zem32f* dstVar, int width) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), strideCovers(step, width)))
        return s;
    meanVarColumns(d2(src, step), height, width, Direct<Zem32f>{dstMean}, Direct<Zem32f>{dstVar});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsMeanVarColumn_32f_D2L(const Zem32f* const* src, int height, Zem32f* dstMean, Zem32f* dstVar,
                                              int width) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    meanVarColumns(d2l(src), height, width, Direct<Zem32f>{dstMean}, Direct<Zem32f>{dstVar});
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s_D2Sfs(const Zem16s* src, int height, int step, Zem16s* dstMean,
                                                Zem16s* dstVar, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), strideCovers(step, width)))
        return s;
    return meanVarColumns16(d2(src, step), height, width, dstMean, dstVar, scaleFactor);
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s_D2LSfs(const Zem16s* const* src, int height, Zem16s* dstMean,
                                                 Zem16s* dstVar, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    return meanVarColumns16(d2l(src), height, width, dstMean, dstVar, scaleFactor);
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s32s_D2Sfs(const Zem16s* src, int height, int step, Zem32s* dstMean,
                                                   Zem32s* dstVar, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), strideCovers(step, width)))
        return s;
    return meanVarColumns16(d2(src, step), height, width, dstMean, dstVar, scaleFactor);
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s32s_D2LSfs(const Zem16s* const* src, int height, Zem32s* dstMean,
                                                    Zem32s* dstVar, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    return meanVarColumns16(d2l(src), height, width, dstMean, dstVar, scaleFactor);
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s16s32s_D2(const Zem16s* src, int height, int step, Zem16s* dstMean,
                                                   Zem32s* dstVar, int width) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), strideCovers(step, width)))
        return s;
    return meanVarColumns16(d2(src, step), height, width, dstMean, dstVar, 0);
}
ZEMSR_API ZemStatus zemsMeanVarColumn_16s16s32s_D2L(const Zem16s* const* src, int height, Zem16s* dstMean,
                                                    Zem32s* dstVar, int width) {
    if (const ZemStatus s = firstFailure(nonNull(src, dstMean, dstVar), ensure(height > 1, zemStatusBadSize),
                                         atLeastOne(width), noNullRows(src, height)))
        return s;
    return meanVarColumns16(d2l(src), height, width, dstMean, dstVar, 0);
}

// ---- AddAllRowSum: src, step, height, dst, width ---------------------------------------

ZEMSR_API ZemStatus zemsAddAllRowSum_32f_D2(const Zem32f* src, int step, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZS(step, height, width, src, dst)) return s;
    addColumnSums(d2(src, step), height, width, dst);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsAddAllRowSum_32f_D2L(const Zem32f* const* src, int height, Zem32f* dst, int width) {
    if (const ZemStatus s = checkPZRows(src, height, width, dst)) return s;
    addColumnSums(d2l(src), height, width, dst);
    return zemStatusOk;
}

// ---- AddNRows: val plus the sum of the rows base[r] + counts[r], from column offset ----

ZEMSR_API ZemStatus zemsAddNRows_32f_D2(const Zem32f* src, int height, int offset, int step, const Zem32s* base,
                                        const Zem16u* counts, int n, Zem32f* dst, int width, Zem32f val) {
    if (const ZemStatus s = firstFailure(
            nonNull(src, base, counts, dst), atLeastOne(n, height, width), ensure(offset >= 0, zemStatusBadSize),
            ensure(static_cast<int64_t>(offset) + width <= step, zemStatusBadStride), ensure([&] {
                for (int r = 0; r < n; ++r) {
                    const int64_t row = static_cast<int64_t>(base[r]) + counts[r];
                    if (row < 0 || row >= height) return false;
                }
                return true;
            }, zemStatusBadSize)))
        return s;
    addColumnSums(RowsPicked<const Zem32f>{src, step, offset, base, counts}, n, width, dst, val);
    return zemStatusOk;
}

}  // extern "C"
