// Row-by-row operations on feature tables: NormalizeColumn, SubRow, CopyColumn and
// CopyColumn_Indirect.  Each is elementwise, so one body over the row accessor serves
// both layouts and every alignment with the same results.
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "own.h"
#include "training/tablekernel.h"

namespace {

using namespace zem::table;
namespace simd = zem::simd;
using zem::atLeastOne;
using zem::firstFailure;
using zem::nonNull;
using zem::noNullRows;
using zem::strideCovers;

// A Zem32f row in vectors of 8 and a scalar tail; op gives the same value either way.
template <class VecOp, class ScalarOp>
inline void eachFloat(Zem32f* x, const Zem32f* a, const Zem32f* b, int width, VecOp vecOp, ScalarOp scalarOp) {
    int j = 0;
    for (; j + 8 <= width; j += 8) simd::store(x + j, vecOp(simd::load(x + j), simd::load(a + j), simd::load(b + j)));
    for (; j < width; ++j) x[j] = scalarOp(x[j], a[j], b[j]);
}

// (x - mean) * invStd in Zem32f.
template <class Rows>
void normalizeFloat(const Rows& rows, int height, const Zem32f* mean, const Zem32f* invStd, int width) {
    for (int64_t i = 0; i < height; ++i)
        eachFloat(
            rows(i), mean, invStd, width, [](simd::F32x8 x, simd::F32x8 m, simd::F32x8 s) { return (x - m) * s; },
            [](Zem32f x, Zem32f m, Zem32f s) { return (x - m) * s; });
}

// (x - mean) * invStd in 32-bit integers (|difference| <= 65535 and |invStd| <= 32768, so
// the product fits), shifted right arithmetically without rounding for a positive
// scale factor and left for a negative one, then saturated to 16 bits.
template <class Rows>
void normalizeFixed(const Rows& rows, int height, const Zem16s* mean, const Zem16s* invStd, int width,
                    int scaleFactor) {
    const int right = scaleFactor > 31 ? 31 : (scaleFactor > 0 ? scaleFactor : 0);
    const int64_t left = scaleFactor >= 0 ? 1 : int64_t{1} << (scaleFactor < -31 ? 31 : -scaleFactor);
    for (int64_t i = 0; i < height; ++i) {
        Zem16s* x = rows(i);
        for (int j = 0; j < width; ++j) {
            const int32_t product = (int32_t{x[j]} - mean[j]) * int32_t{invStd[j]};
            x[j] = zem::saturate16(static_cast<int64_t>(product >> right) * left);
        }
    }
}

template <class Rows>
void subtractRow(const Zem32f* row, int width, const Rows& rows, int height) {
    for (int64_t i = 0; i < height; ++i)
        eachFloat(
            rows(i), row, row, width, [](simd::F32x8 x, simd::F32x8 r, simd::F32x8) { return x - r; },
            [](Zem32f x, Zem32f r, Zem32f) { return x - r; });
}

template <class Rows>
void subtractRow(const Zem16s* row, int width, const Rows& rows, int height) {
    for (int64_t i = 0; i < height; ++i) {
        Zem16s* x = rows(i);
        for (int j = 0; j < width; ++j) x[j] = zem::saturate16(int32_t{x[j]} - row[j]);
    }
}

template <class T>
void copyRows(const T* src, int width, T* dst, int dstStep, int height) {
    for (int64_t i = 0; i < height; ++i) {
        const T* s = src + i * width;
        T* d = dst + i * dstStep;
        if constexpr (std::is_same_v<T, Zem16s>) ownCopy_16s(s, d, width);
        else ownCopy_32f(s, d, width);
    }
}

// dst[i][k] = src[i][index[k]].  The indices are tested while the first row is copied,
// so a bad one leaves that row written up to it: an intended property of the family.
template <class SrcRows, class DstRows>
ZemStatus copyIndirect(const SrcRows& src, int srcWidth, const DstRows& dst, const Zem32s* index, int dstWidth,
                       int height) {
    {
        const auto* s = src(0);
        auto* d = dst(0);
        for (int k = 0; k < dstWidth; ++k) {
            const Zem32s at = index[k];
            if (at < 0 || at >= srcWidth) return zemStatusBadSize;
            d[k] = s[at];
        }
    }
    for (int64_t i = 1; i < height; ++i) {
        const auto* s = src(i);
        auto* d = dst(i);
        for (int k = 0; k < dstWidth; ++k) d[k] = s[index[k]];
    }
    return zemStatusOk;
}

template <class T>
ZemStatus copyIndirectD2(const T* src, int srcWidth, int srcStep, T* dst, const Zem32s* index, int dstWidth,
                         int dstStep, int height) {
    if (const ZemStatus s =
            firstFailure(nonNull(src, dst, index), atLeastOne(srcWidth), strideCovers(srcStep, srcWidth),
                         atLeastOne(dstWidth), strideCovers(dstStep, dstWidth), atLeastOne(height)))
        return s;
    return copyIndirect(RowsD2<const T>{src, srcStep}, srcWidth, RowsD2<T>{dst, dstStep}, index, dstWidth, height);
}

template <class T>
ZemStatus copyIndirectD2L(const T* const* src, int srcWidth, T* const* dst, const Zem32s* index, int dstWidth,
                          int height) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst, index), atLeastOne(srcWidth), atLeastOne(dstWidth),
                                         atLeastOne(height), noNullRows(src, height), noNullRows(dst, height)))
        return s;
    return copyIndirect(RowsD2L<const T>{src}, srcWidth, RowsD2L<T>{dst}, index, dstWidth, height);
}

}  // namespace

extern "C" {

// ---- NormalizeColumn: srcDst, step, height, mean, invStd, width ------------------------

ZEMSR_API ZemStatus zemsNormalizeColumn_32f_D2(Zem32f* srcDst, int step, int height, const Zem32f* mean,
                                               const Zem32f* invStd, int width) {
    if (const ZemStatus s =
            firstFailure(nonNull(srcDst, mean, invStd), atLeastOne(height, width), strideCovers(step, width)))
        return s;
    normalizeFloat(RowsD2<Zem32f>{srcDst, step}, height, mean, invStd, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsNormalizeColumn_32f_D2L(Zem32f* const* srcDst, int height, const Zem32f* mean,
                                                const Zem32f* invStd, int width) {
    if (const ZemStatus s = firstFailure(nonNull(srcDst, mean, invStd), atLeastOne(height, width),
                                         noNullRows(srcDst, height)))
        return s;
    normalizeFloat(RowsD2L<Zem32f>{srcDst}, height, mean, invStd, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsNormalizeColumn_16s_D2Sfs(Zem16s* srcDst, int step, int height, const Zem16s* mean,
                                                  const Zem16s* invStd, int width, int scaleFactor) {
    if (const ZemStatus s =
            firstFailure(nonNull(srcDst, mean, invStd), atLeastOne(height, width), strideCovers(step, width)))
        return s;
    normalizeFixed(RowsD2<Zem16s>{srcDst, step}, height, mean, invStd, width, scaleFactor);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsNormalizeColumn_16s_D2LSfs(Zem16s* const* srcDst, int height, const Zem16s* mean,
                                                   const Zem16s* invStd, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(srcDst, mean, invStd), atLeastOne(height, width),
                                         noNullRows(srcDst, height)))
        return s;
    normalizeFixed(RowsD2L<Zem16s>{srcDst}, height, mean, invStd, width, scaleFactor);
    return zemStatusOk;
}

// ---- SubRow: row, width, srcDst, step, height ------------------------------------------

ZEMSR_API ZemStatus zemsSubRow_32f_D2(const Zem32f* row, int width, Zem32f* srcDst, int step, int height) {
    if (const ZemStatus s = firstFailure(nonNull(row, srcDst), atLeastOne(width, height), strideCovers(step, width)))
        return s;
    subtractRow(row, width, RowsD2<Zem32f>{srcDst, step}, height);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSubRow_32f_D2L(const Zem32f* row, int width, Zem32f* const* srcDst, int height) {
    if (const ZemStatus s = firstFailure(nonNull(row, srcDst), atLeastOne(width, height), noNullRows(srcDst, height)))
        return s;
    subtractRow(row, width, RowsD2L<Zem32f>{srcDst}, height);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSubRow_16s_D2(const Zem16s* row, int width, Zem16s* srcDst, int step, int height) {
    if (const ZemStatus s = firstFailure(nonNull(row, srcDst), atLeastOne(width, height), strideCovers(step, width)))
        return s;
    subtractRow(row, width, RowsD2<Zem16s>{srcDst, step}, height);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsSubRow_16s_D2L(const Zem16s* row, int width, Zem16s* const* srcDst, int height) {
    if (const ZemStatus s = firstFailure(nonNull(row, srcDst), atLeastOne(width, height), noNullRows(srcDst, height)))
        return s;
    subtractRow(row, width, RowsD2L<Zem16s>{srcDst}, height);
    return zemStatusOk;
}

// ---- CopyColumn: a packed block (row distance width) into rows dstStep apart -----------

ZEMSR_API ZemStatus zemsCopyColumn_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst), atLeastOne(width, height), strideCovers(dstStep, width)))
        return s;
    copyRows(src, width, dst, dstStep, height);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsCopyColumn_16s_D2(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst), atLeastOne(width, height), strideCovers(dstStep, width)))
        return s;
    copyRows(src, width, dst, dstStep, height);
    return zemStatusOk;
}

// ---- CopyColumn_Indirect: src, srcWidth, srcStep, dst, index, dstWidth, dstStep, height --

ZEMSR_API ZemStatus zemsCopyColumn_Indirect_32f_D2(const Zem32f* src, int srcWidth, int srcStep, Zem32f* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height) {
    return copyIndirectD2(src, srcWidth, srcStep, dst, index, dstWidth, dstStep, height);
}
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_32f_D2L(const Zem32f* const* src, int srcWidth, Zem32f* const* dst,
                                                    const Zem32s* index, int dstWidth, int height) {
    return copyIndirectD2L(src, srcWidth, dst, index, dstWidth, height);
}
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_64f_D2(const Zem64f* src, int srcWidth, int srcStep, Zem64f* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height) {
    return copyIndirectD2(src, srcWidth, srcStep, dst, index, dstWidth, dstStep, height);
}
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_64f_D2L(const Zem64f* const* src, int srcWidth, Zem64f* const* dst,
                                                    const Zem32s* index, int dstWidth, int height) {
    return copyIndirectD2L(src, srcWidth, dst, index, dstWidth, height);
}
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_16s_D2(const Zem16s* src, int srcWidth, int srcStep, Zem16s* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height) {
    return copyIndirectD2(src, srcWidth, srcStep, dst, index, dstWidth, dstStep, height);
}
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_16s_D2L(const Zem16s* const* src, int srcWidth, Zem16s* const* dst,
                                                    const Zem32s* index, int dstWidth, int height) {
    return copyIndirectD2L(src, srcWidth, dst, index, dstWidth, height);
}

}  // extern "C"
