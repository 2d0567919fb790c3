// Weighted column statistics (WeightedMeanColumn, WeightedVarColumn,
// WeightedMeanVarColumn) and the weighted sums of two vectors (WeightedSum,
// WeightedSumHalf).
//
// The row weights are taken as normalised: nothing divides by their sum.  Each column
// accumulates w[i] * x and (w[i] * x) * x over rows 0, 1, .. in order (tablekernel.h);
// the variance is that second sum minus mean * mean.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "training/tablekernel.h"
#include "training/tableout.h"

namespace {

using namespace zem::table;
namespace simd = zem::simd;
using zem::atLeastOne;
using zem::firstFailure;
using zem::nonNull;
using zem::noNullRows;
using zem::strideCovers;

template <class T, class Rows>
void weightedMeanColumns(const Rows& rows, const T* weights, int height, T* dst, int width) {
    columnPass<WeightedSum, T>(rows, height, width, weights, [&](int j0, int n, const T* s, const T*) {
        for (int c = 0; c < n; ++c) dst[j0 + c] = s[c];
    });
}

template <class T, class Rows>
void weightedVarColumns(const Rows& rows, const T* weights, int height, const T* mean, T* dst, int width) {
    columnPass<WeightedSquares, T>(rows, height, width, weights, [&](int j0, int n, const T* sq, const T*) {
        for (int c = 0; c < n; ++c) dst[j0 + c] = sq[c] - mean[j0 + c] * mean[j0 + c];
    });
}

template <class T, class Rows>
void weightedMeanVarColumns(const Rows& rows, const T* weights, int height, T* dstMean, T* dstVar, int width) {
    columnPass<WeightedSumAndSquares, T>(rows, height, width, weights, [&](int j0, int n, const T* s, const T* sq) {
        for (int c = 0; c < n; ++c) {
            dstMean[j0 + c] = s[c];
            dstVar[j0 + c] = sq[c] - s[c] * s[c];
        }
    });
}

// P, S, Z for _D2; P, Z and the row pointers for _D2L.
template <class T, class... P>
ZemStatus checkD2(int step, int height, int width, const T* src, const P*... p) {
    return firstFailure(nonNull(src, p...), strideCovers(step, width), atLeastOne(height, width));
}
template <class T, class... P>
ZemStatus checkD2L(int height, int width, const T* const* src, const P*... p) {
    return firstFailure(nonNull(src, p...), atLeastOne(height, width), noNullRows(src, height));
}

// ---- Weighted sums of two vectors ------------------------------------------------------

// Results of the exactly-zero weight sum: by the sign of weight1 * a + weight2 * b, and
// the "otherwise" value for zero or NaN (the quiet NaN with the sign bit for floats).
template <class T>
struct ZeroSumValues;
template <>
struct ZeroSumValues<Zem32f> {
    static Zem32f positive() { return __builtin_inff(); }
    static Zem32f negative() { return -__builtin_inff(); }
    static Zem32f otherwise() {
        const uint32_t bits = 0xFFC00000u;
        Zem32f v;
        std::memcpy(&v, &bits, 4);
        return v;
    }
};
template <>
struct ZeroSumValues<Zem64f> {
    static Zem64f positive() { return __builtin_inf(); }
    static Zem64f negative() { return -__builtin_inf(); }
    static Zem64f otherwise() {
        const uint64_t bits = 0xFFF8000000000000ull;
        Zem64f v;
        std::memcpy(&v, &bits, 8);
        return v;
    }
};
template <>
struct ZeroSumValues<Zem16s> {
    static Zem16s positive() { return 32767; }
    static Zem16s negative() { return -32768; }
    static Zem16s otherwise() { return 0; }
};

// The weight type: Zem32f for Zem16s data.
template <class T>
using WeightOf = std::conditional_t<std::is_same_v<T, Zem16s>, Zem32f, T>;

// A weighted value stored: floats as they are; Zem16s clamped to [-32768, 32767] and
// truncated toward zero (NaN goes to the bottom of the range, as in the conversions).
template <class T>
inline T storeWeighted(WeightOf<T> v) {
    if constexpr (std::is_same_v<T, Zem16s>) {
        Zem32f t = v > -32768.0f ? v : -32768.0f;
        t = t < 32767.0f ? t : 32767.0f;
        return static_cast<Zem16s>(static_cast<int32_t>(t));
    } else {
        return v;
    }
}

// dst[i] = a * src1[i] + b * src2[i]: a = weight1 / t (or 1 / t for the half form, whose
// first source is already weighted) and b = weight2 / t as (weight * (1 / t)).
template <class T, bool kHalf>
ZemStatus weightedSum(const T* src1, const T* src2, T* dst, int len, WeightOf<T> weight1, WeightOf<T> weight2) {
    using W = WeightOf<T>;
    const W t = weight1 + weight2;
    if (t == W(0)) {
        for (int i = 0; i < len; ++i) {
            const W q = weight1 * static_cast<W>(src1[i]) + weight2 * static_cast<W>(src2[i]);
            dst[i] = q > W(0) ? ZeroSumValues<T>::positive()
                              : (q < W(0) ? ZeroSumValues<T>::negative() : ZeroSumValues<T>::otherwise());
        }
        return zemStatusDivideByZeroWarning;
    }
    const W r = W(1) / t;
    const W a = kHalf ? r : weight1 * r;
    const W b = weight2 * r;
    int i = 0;
    if constexpr (!std::is_same_v<T, Zem16s>) {
        constexpr int L = simd::kLanes<T>;
        const simd::Vec<T> va = simd::splat(a), vb = simd::splat(b);
        for (; i + L <= len; i += L) simd::store(dst + i, va * simd::load(src1 + i) + vb * simd::load(src2 + i));
    }
    for (; i < len; ++i) dst[i] = storeWeighted<T>(a * static_cast<W>(src1[i]) + b * static_cast<W>(src2[i]));
    return zemStatusOk;
}

}  // namespace

extern "C" {

// ---- WeightedMeanColumn: src, step, weights, height, dst, width ------------------------

ZEMSR_API ZemStatus zemsWeightedMeanColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                  Zem32f* dst, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, dst)) return s;
    weightedMeanColumns(RowsD2<const Zem32f>{src, step}, weights, height, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanColumn_32f_D2L(const Zem32f* const* src, const Zem32f* weights, int height,
                                                   Zem32f* dst, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, dst)) return s;
    weightedMeanColumns(RowsD2L<const Zem32f>{src}, weights, height, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                  Zem64f* dst, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, dst)) return s;
    weightedMeanColumns(RowsD2<const Zem64f>{src, step}, weights, height, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanColumn_64f_D2L(const Zem64f* const* src, const Zem64f* weights, int height,
                                                   Zem64f* dst, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, dst)) return s;
    weightedMeanColumns(RowsD2L<const Zem64f>{src}, weights, height, dst, width);
    return zemStatusOk;
}

// ---- WeightedVarColumn: src, step, weights, height, mean, dst, width -------------------

ZEMSR_API ZemStatus zemsWeightedVarColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                 const Zem32f* mean, Zem32f* dst, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, mean, dst)) return s;
    weightedVarColumns(RowsD2<const Zem32f>{src, step}, weights, height, mean, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedVarColumn_32f_D2L(const Zem32f* const* src, const Zem32f* weights, int height,
                                                  const Zem32f* mean, Zem32f* dst, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, mean, dst)) return s;
    weightedVarColumns(RowsD2L<const Zem32f>{src}, weights, height, mean, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedVarColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                 const Zem64f* mean, Zem64f* dst, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, mean, dst)) return s;
    weightedVarColumns(RowsD2<const Zem64f>{src, step}, weights, height, mean, dst, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedVarColumn_64f_D2L(const Zem64f* const* src, const Zem64f* weights, int height,
                                                  const Zem64f* mean, Zem64f* dst, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, mean, dst)) return s;
    weightedVarColumns(RowsD2L<const Zem64f>{src}, weights, height, mean, dst, width);
    return zemStatusOk;
}

// ---- WeightedMeanVarColumn: src, step, weights, height, dstMean, dstVar, width ---------

ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                     Zem32f* dstMean, Zem32f* dstVar, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, dstMean, dstVar)) return s;
    weightedMeanVarColumns(RowsD2<const Zem32f>{src, step}, weights, height, dstMean, dstVar, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_32f_D2L(const Zem32f* const* src, const Zem32f* weights, int height,
                                                      Zem32f* dstMean, Zem32f* dstVar, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, dstMean, dstVar)) return s;
    weightedMeanVarColumns(RowsD2L<const Zem32f>{src}, weights, height, dstMean, dstVar, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                     Zem64f* dstMean, Zem64f* dstVar, int width) {
    if (const ZemStatus s = checkD2(step, height, width, src, weights, dstMean, dstVar)) return s;
    weightedMeanVarColumns(RowsD2<const Zem64f>{src, step}, weights, height, dstMean, dstVar, width);
    return zemStatusOk;
}
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_64f_D2L(const Zem64f* const* src, const Zem64f* weights, int height,
                                                      Zem64f* dstMean, Zem64f* dstVar, int width) {
    if (const ZemStatus s = checkD2L(height, width, src, weights, dstMean, dstVar)) return s;
    weightedMeanVarColumns(RowsD2L<const Zem64f>{src}, weights, height, dstMean, dstVar, width);
    return zemStatusOk;
}

// ---- WeightedSum, WeightedSumHalf: src1, src2, dst, len, weight1, weight2 --------------

ZEMSR_API ZemStatus zemsWeightedSum_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len,
                                        Zem32f weight1, Zem32f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem32f, false>(src1, src2, dst, len, weight1, weight2);
}
ZEMSR_API ZemStatus zemsWeightedSum_64f(const Zem64f* src1, const Zem64f* src2, Zem64f* dst, int len,
                                        Zem64f weight1, Zem64f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem64f, false>(src1, src2, dst, len, weight1, weight2);
}
ZEMSR_API ZemStatus zemsWeightedSum_16s(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int len,
                                        Zem32f weight1, Zem32f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem16s, false>(src1, src2, dst, len, weight1, weight2);
}
ZEMSR_API ZemStatus zemsWeightedSumHalf_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len,
                                            Zem32f weight1, Zem32f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem32f, true>(src1, src2, dst, len, weight1, weight2);
}
ZEMSR_API ZemStatus zemsWeightedSumHalf_64f(const Zem64f* src1, const Zem64f* src2, Zem64f* dst, int len,
                                            Zem64f weight1, Zem64f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem64f, true>(src1, src2, dst, len, weight1, weight2);
}
ZEMSR_API ZemStatus zemsWeightedSumHalf_16s(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int len,
                                            Zem32f weight1, Zem32f weight2) {
    if (const ZemStatus s = firstFailure(nonNull(src1, src2, dst), atLeastOne(len))) return s;
    return weightedSum<Zem16s, true>(src1, src2, dst, len, weight1, weight2);
}

}  // extern "C"
