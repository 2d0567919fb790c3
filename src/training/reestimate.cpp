// Gaussian re-estimation: accumulation of weighted first and second order statistics,
// and the new means, variances, weights and constants computed from them.
//
// An occupancy at or below the smallest normal value of its type counts as zero: the
// Update functions then return zemStatusZeroOccupancyWarning and write nothing.  The
// negative-weight test comes first, so -0.0 (not below 0) takes the warning.  The float
// Update functions multiply by reciprocals; the double ones divide.
#include <cmath>
#include <cstdint>
#include <immintrin.h>
#include <limits>
#include <type_traits>

#include "frame/align.h"
#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "own.h"
#include "primitives/simd.h"
#include "training/logsum.h"

namespace {

using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;
namespace tr = zem::training;

template <class T>
constexpr bool kIsFloat = std::is_same_v<T, float>;

// ---- Occupancy checks -------------------------------------------------------------------

template <class T>
auto notNegative(T occ) {
    return ensure(!(occ < T(0)), zemStatusNegativeWeight);
}

template <class T>
auto notTiny(T occ) {
    return ensure(!(std::fabs(occ) <= std::numeric_limits<T>::min()), zemStatusZeroOccupancyWarning);
}

// ---- Update -------------------------------------------------------------------------------

template <class T>
void updateMean(const T* src, T* dst, int len, T occ) {
    if constexpr (kIsFloat<T>) {
        const float r = 1.0f / occ;
        for (int i = 0; i < len; ++i) dst[i] = dst[i] + src[i] * r;
    } else {
        for (int i = 0; i < len; ++i) dst[i] = dst[i] + src[i] / occ;
    }
}

// dst[i] = t when t > floor[i], else floor[i]; the warning only when every element took
// its floor.
template <class T>
ZemStatus updateVar(const T* meanAcc, const T* varAcc, const T* floor, T* dst, int len, T occMean, T occVar) {
    int floored = 0;
    [[maybe_unused]] const float rm = 1.0f / static_cast<float>(occMean), rv = 1.0f / static_cast<float>(occVar);
    for (int i = 0; i < len; ++i) {
        T m, t;
        if constexpr (kIsFloat<T>) {
            m = meanAcc[i] * rm;
            t = varAcc[i] * rv - m * m;
        } else {
            m = meanAcc[i] / occMean;
            t = varAcc[i] / occVar - m * m;
        }
        const bool keep = t > floor[i];
        floored += !keep;
        dst[i] = keep ? t : floor[i];
    }
    return floored == len ? zemStatusFloorWarning : zemStatusOk;
}

template <class T>
ZemStatus updateWeight(const T* src, T* dst, int len, T* sum, T occ, T floor) {
    const T r = T(1) / occ;
    int floored = 0;
    T total = T(0);
    for (int i = 0; i < len; ++i) {
        const T t = src[i] * r;
        const bool keep = t > floor;
        floored += !keep;
        dst[i] = keep ? t : floor;
        total += dst[i];
    }
    *sum = total;
    return floored == len ? zemStatusFloorWarning : zemStatusOk;
}

// gconst = n ln(2 pi) - S for inverse variances, + S for variances; the float form rounds
// both terms to float first.
template <class T, bool DirectVar>
ZemStatus updateGConst(const T* var, int len, T* gconst) {
    const tr::LogSum s = tr::checkedLogSum<T>(len, [&](int64_t i) { return var[i]; });
    if (s.kind == tr::LogKind::Zero) {
        *gconst = std::numeric_limits<T>::infinity();
        return zemStatusLogZeroWarning;
    }
    if (s.kind == tr::LogKind::Negative) {
        *gconst = tr::negativeLogNaN<T>();
        return zemStatusLogNegativeWarning;
    }
    const double nc = static_cast<double>(len) * tr::kLn2Pi;
    if constexpr (kIsFloat<T>) {
        const float a = static_cast<float>(nc), b = static_cast<float>(s.sum);
        *gconst = DirectVar ? a + b : a - b;
    } else {
        *gconst = DirectVar ? nc + s.sum : nc - s.sum;
    }
    return zemStatusOk;
}

// ---- Accumulation ---------------------------------------------------------------------------

// Element by element, so the vector groups and the scalar tail give the same bits.
template <class T>
void meanVarAcc(const T* src, const T* mean, T* meanAcc, T* varAcc, int len, T val) {
    using V = zem::simd::Vec<T>;
    constexpr int kL = zem::simd::kLanes<T>;
    const V w = zem::simd::splat(val);
    int i = 0;
    for (; i + kL <= len; i += kL) {
        const V d = zem::simd::load(src + i) - zem::simd::load(mean + i);
        const V t = d * w;
        zem::simd::store(meanAcc + i, zem::simd::load(meanAcc + i) + t);
        zem::simd::store(varAcc + i, zem::simd::load(varAcc + i) + d * t);
    }
    for (; i < len; ++i) {
        const T d = src[i] - mean[i];
        const T t = d * val;
        meanAcc[i] += t;
        varAcc[i] += d * t;
    }
}

// Column sums and sums of squares in float, each column summed from row 0 down, in
// chunks of 64 columns kept on the stack.  store(j0, count, sums, squares) delivers a
// chunk.
template <class X, class Store>
void columnSums(const X* src, int step, int height, int width, Store store) {
    constexpr int kChunk = 64;
    alignas(32) float sums[kChunk], squares[kChunk];
    for (int j0 = 0; j0 < width; j0 += kChunk) {
        const int count = width - j0 < kChunk ? width - j0 : kChunk;
        for (int j = 0; j < count; ++j) sums[j] = squares[j] = 0.0f;
        for (int r = 0; r < height; ++r) {
            const X* row = src + static_cast<int64_t>(r) * step + j0;
            for (int j = 0; j < count; ++j) {
                const float x = static_cast<float>(row[j]);
                sums[j] += x;
                squares[j] += x * x;
            }
        }
        store(j0, count, sums, squares);
    }
}

template <class X>
void sumMeanVar(const X* src, int step, int height, float* dstSum, float* dstSumSq, int width, bool accumulate) {
    columnSums(src, step, height, width, [&](int j0, int count, const float* s, const float* q) {
        for (int j = 0; j < count; ++j) {
            dstSum[j0 + j] = accumulate ? dstSum[j0 + j] + s[j] : s[j];
            dstSumSq[j0 + j] = accumulate ? dstSumSq[j0 + j] + q[j] : q[j];
        }
    });
}

// The integer sums: float sums converted with rounding to nearest and the scale factor.
// The accumulating form converts what the arrays hold to float as it stands (no scale)
// and adds the new sums before converting.
void sumMeanVar16s32s(const Zem16s* src, int step, int height, Zem32s* dstSum, Zem32s* dstSumSq, int width,
                      int scaleFactor, bool accumulate) {
    columnSums(src, step, height, width, [&](int j0, int count, const float* s, const float* q) {
        alignas(32) float a[64], b[64];
        for (int j = 0; j < count; ++j) {
            a[j] = accumulate ? static_cast<float>(dstSum[j0 + j]) + s[j] : s[j];
            b[j] = accumulate ? static_cast<float>(dstSumSq[j0 + j]) + q[j] : q[j];
        }
        ownConvert_32f32s_Sfs(a, dstSum + j0, count, 1, scaleFactor);
        ownConvert_32f32s_Sfs(b, dstSumSq + j0, count, 1, scaleFactor);
    });
}

// ---- New variances --------------------------------------------------------------------------

float newVarDouble(float mean, float sumSq, float meanWeight, float scale) {
    const float m2 = mean * mean;
    return static_cast<float>(static_cast<double>(scale) *
                              (static_cast<double>(sumSq) - static_cast<double>(meanWeight) * static_cast<double>(m2)));
}

float newVarFloat(float mean, float srcDst, float meanWeight, float scale) {
    return (srcDst - mean * mean * meanWeight) * scale;
}

// The integer forms: the float formula on the integers as floats.  With mean and source
// on 16-byte boundaries the results go through the rounding conversion with the scale
// factor; otherwise each is scaled by 2^-scaleFactor, clamped to +-2^31 and truncated.
// The two routes differ in the last digit on purpose.
template <class Formula>
void newVar32s(const Zem32s* mean, const Zem32s* src, Zem32s* dst, int len, float meanWeight, float scale,
               int scaleFactor, Formula formula) {
    const bool aligned = zem::allAligned16(mean, src);
    const float factor = zem::pow2Neg32f(scaleFactor);
    constexpr int kBlock = 128;
    alignas(32) float block[kBlock];
    for (int i0 = 0; i0 < len; i0 += kBlock) {
        const int count = len - i0 < kBlock ? len - i0 : kBlock;
        for (int k = 0; k < count; ++k)
            block[k] = formula(static_cast<float>(mean[i0 + k]), static_cast<float>(src[i0 + k]), meanWeight, scale);
        if (aligned) {
            ownConvert_32f32s_Sfs(block, dst + i0, count, 1, scaleFactor);
        } else {
            for (int k = 0; k < count; ++k) {
                float v = block[k] * factor;
                v = v < -2147483648.0f ? -2147483648.0f : (v > 2147483648.0f ? 2147483648.0f : v);
                dst[i0 + k] = _mm_cvttss_si32(_mm_set_ss(v));
            }
        }
    }
}

// ---- Covariance ---------------------------------------------------------------------------

// Rows: row(r) gives source row r; out(i) gives destination row i.  The lower triangle
// gathers d d^T row by row (four source rows per pass over it, each element still adding
// the rows in order), then the whole matrix is scaled by val and mirrored.
template <class X, class M, class Row, class Out>
ZemStatus accCovariance(Row row, int height, const M* mean, Out out, int width, double val) {
    zem::Scratch<double, 4 * 512> d(4 * static_cast<int64_t>(width));
    if (!d.ok()) return zemStatusNoMemory;
    double* d0 = d.data();
    for (int r0 = 0; r0 < height; r0 += 4) {
        const int rows = height - r0 < 4 ? height - r0 : 4;
        for (int k = 0; k < rows; ++k) {
            const X* x = row(r0 + k);
            double* dk = d0 + static_cast<int64_t>(k) * width;
            for (int j = 0; j < width; ++j) {
                if constexpr (std::is_same_v<X, Zem16s>) dk[j] = static_cast<double>(int32_t{x[j]} - int32_t{mean[j]});
                else dk[j] = static_cast<double>(x[j]) - static_cast<double>(mean[j]);
            }
        }
        for (int i = 0; i < width; ++i) {
            double* __restrict o = out(i);
            if (rows == 4) {
                const double a = d0[i], b = d0[width + i], c = d0[2 * width + i], e = d0[3 * width + i];
                const double* __restrict da = d0;
                const double* __restrict db = d0 + width;
                const double* __restrict dc = d0 + 2 * width;
                const double* __restrict de = d0 + 3 * width;
                for (int j = 0; j <= i; ++j) o[j] = (((o[j] + a * da[j]) + b * db[j]) + c * dc[j]) + e * de[j];
            } else {
                for (int k = 0; k < rows; ++k) {
                    const double* dk = d0 + static_cast<int64_t>(k) * width;
                    const double a = dk[i];
                    for (int j = 0; j <= i; ++j) o[j] += a * dk[j];
                }
            }
        }
    }
    for (int j = 0; j < width; ++j)
        for (int i = j; i < width; ++i) {
            const double t = out(i)[j] * val;
            out(i)[j] = t;
            out(j)[i] = t;
        }
    return zemStatusOk;
}

template <class X, class M>
ZemStatus accCovarianceD2(const X* src, int srcStep, int height, const M* mean, Zem64f* dst, int width, int dstStep,
                          double val) {
    return accCovariance<X>([=](int r) { return src + static_cast<int64_t>(r) * srcStep; }, height, mean,
                            [=](int i) { return dst + static_cast<int64_t>(i) * dstStep; }, width, val);
}

template <class X, class M>
ZemStatus accCovarianceD2L(const X* const* src, int height, const M* mean, Zem64f* const* dst, int width, double val) {
    return accCovariance<X>([=](int r) { return src[r]; }, height, mean, [=](int i) { return dst[i]; }, width, val);
}

}  // namespace

extern "C" {

// ---- Updates ----------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsUpdateMean_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f occ) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst), atLeastOne(len), notNegative(occ), notTiny(occ))) return s;
    updateMean(src, dst, len, occ);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUpdateMean_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f occ) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst), atLeastOne(len), notNegative(occ), notTiny(occ))) return s;
    updateMean(src, dst, len, occ);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUpdateVar_32f(const Zem32f* meanAcc, const Zem32f* varAcc, const Zem32f* floor, Zem32f* dst,
                                      int len, Zem32f occMean, Zem32f occVar) {
    if (const ZemStatus s = firstFailure(nonNull(meanAcc, varAcc, floor, dst), atLeastOne(len), notNegative(occMean),
                                         notNegative(occVar), notTiny(occMean), notTiny(occVar)))
        return s;
    return updateVar(meanAcc, varAcc, floor, dst, len, occMean, occVar);
}

ZEMSR_API ZemStatus zemsUpdateVar_64f(const Zem64f* meanAcc, const Zem64f* varAcc, const Zem64f* floor, Zem64f* dst,
                                      int len, Zem64f occMean, Zem64f occVar) {
    if (const ZemStatus s = firstFailure(nonNull(meanAcc, varAcc, floor, dst), atLeastOne(len), notNegative(occMean),
                                         notNegative(occVar), notTiny(occMean), notTiny(occVar)))
        return s;
    return updateVar(meanAcc, varAcc, floor, dst, len, occMean, occVar);
}

ZEMSR_API ZemStatus zemsUpdateWeight_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f* sum, Zem32f occ,
                                         Zem32f floor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst, sum), atLeastOne(len), notNegative(occ), notTiny(occ)))
        return s;
    return updateWeight(src, dst, len, sum, occ, floor);
}

ZEMSR_API ZemStatus zemsUpdateWeight_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f* sum, Zem64f occ,
                                         Zem64f floor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst, sum), atLeastOne(len), notNegative(occ), notTiny(occ)))
        return s;
    return updateWeight(src, dst, len, sum, occ, floor);
}

ZEMSR_API ZemStatus zemsUpdateGConst_32f(const Zem32f* var, int len, Zem32f* gconst) {
    if (const ZemStatus s = firstFailure(nonNull(var, gconst), atLeastOne(len))) return s;
    return updateGConst<Zem32f, false>(var, len, gconst);
}

ZEMSR_API ZemStatus zemsUpdateGConst_64f(const Zem64f* var, int len, Zem64f* gconst) {
    if (const ZemStatus s = firstFailure(nonNull(var, gconst), atLeastOne(len))) return s;
    return updateGConst<Zem64f, false>(var, len, gconst);
}

ZEMSR_API ZemStatus zemsUpdateGConst_DirectVar_32f(const Zem32f* var, int len, Zem32f* gconst) {
    if (const ZemStatus s = firstFailure(nonNull(var, gconst), atLeastOne(len))) return s;
    return updateGConst<Zem32f, true>(var, len, gconst);
}

ZEMSR_API ZemStatus zemsUpdateGConst_DirectVar_64f(const Zem64f* var, int len, Zem64f* gconst) {
    if (const ZemStatus s = firstFailure(nonNull(var, gconst), atLeastOne(len))) return s;
    return updateGConst<Zem64f, true>(var, len, gconst);
}

// ---- Accumulation -------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsMeanVarAcc_32f(const Zem32f* src, const Zem32f* mean, Zem32f* meanAcc, Zem32f* varAcc,
                                       int len, Zem32f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, meanAcc, varAcc), atLeastOne(len))) return s;
    meanVarAcc(src, mean, meanAcc, varAcc, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMeanVarAcc_64f(const Zem64f* src, const Zem64f* mean, Zem64f* meanAcc, Zem64f* varAcc,
                                       int len, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, meanAcc, varAcc), atLeastOne(len))) return s;
    meanVarAcc(src, mean, meanAcc, varAcc, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_32f(const Zem32f* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                       int width) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar(src, step, height, dstSum, dstSumSq, width, false);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_32f_I(const Zem32f* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                         int width) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar(src, step, height, dstSum, dstSumSq, width, true);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_16s32f(const Zem16s* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                          int width) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar(src, step, height, dstSum, dstSumSq, width, false);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_16s32f_I(const Zem16s* src, int step, int height, Zem32f* dstSum,
                                            Zem32f* dstSumSq, int width) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar(src, step, height, dstSum, dstSumSq, width, true);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_16s32s_Sfs(const Zem16s* src, int step, int height, Zem32s* dstSum,
                                              Zem32s* dstSumSq, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar16s32s(src, step, height, dstSum, dstSumSq, width, scaleFactor, false);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumMeanVar_16s32s_ISfs(const Zem16s* src, int step, int height, Zem32s* dstSum,
                                               Zem32s* dstSumSq, int width, int scaleFactor) {
    if (const ZemStatus s = firstFailure(zem::strideCovers(step, width), nonNull(src, dstSum, dstSumSq),
                                         atLeastOne(height, width)))
        return s;
    sumMeanVar16s32s(src, step, height, dstSum, dstSumSq, width, scaleFactor, true);
    return zemStatusOk;
}

// ---- New variances ------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsNewVar_32f(const Zem32f* mean, const Zem32f* sumSq, Zem32f* dst, int len, Zem32f meanWeight,
                                   Zem32f scale) {
    if (const ZemStatus s = firstFailure(nonNull(mean, sumSq, dst), atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) dst[i] = newVarDouble(mean[i], sumSq[i], meanWeight, scale);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNewVar_32f_I(const Zem32f* mean, Zem32f* srcDst, int len, Zem32f meanWeight, Zem32f scale) {
    if (const ZemStatus s = firstFailure(nonNull(mean, srcDst), atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) srcDst[i] = newVarFloat(mean[i], srcDst[i], meanWeight, scale);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNewVar_32s_Sfs(const Zem32s* mean, const Zem32s* sumSq, Zem32s* dst, int len,
                                       Zem32f meanWeight, Zem32f scale, int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(mean, sumSq, dst), atLeastOne(len))) return s;
    newVar32s(mean, sumSq, dst, len, meanWeight, scale, scaleFactor, newVarDouble);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNewVar_32s_ISfs(const Zem32s* mean, Zem32s* srcDst, int len, Zem32f meanWeight, Zem32f scale,
                                        int scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(mean, srcDst), atLeastOne(len))) return s;
    newVar32s(mean, srcDst, srcDst, len, meanWeight, scale, scaleFactor, newVarFloat);
    return zemStatusOk;
}

// ---- Covariance -----------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsAccCovarianceMatrix_32f64f_D2(const Zem32f* src, int srcStep, int height, const Zem32f* mean,
                                                      Zem64f* dst, int width, int dstStep, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), atLeastOne(height, width),
                                         ensure(width <= srcStep && width <= dstStep, zemStatusBadStride)))
        return s;
    return accCovarianceD2(src, srcStep, height, mean, dst, width, dstStep, val);
}

ZEMSR_API ZemStatus zemsAccCovarianceMatrix_16s64f_D2(const Zem16s* src, int srcStep, int height, const Zem16s* mean,
                                                      Zem64f* dst, int width, int dstStep, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), atLeastOne(height, width),
                                         ensure(width <= srcStep && width <= dstStep, zemStatusBadStride)))
        return s;
    return accCovarianceD2(src, srcStep, height, mean, dst, width, dstStep, val);
}

// The row arrays' pointers in use are tested after the sizes: a null row is refused.
ZEMSR_API ZemStatus zemsAccCovarianceMatrix_32f64f_D2L(const Zem32f* const* src, int height, const Zem32f* mean,
                                                       Zem64f* const* dst, int width, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), atLeastOne(height, width),
                                         zem::noNullRows(src, height), zem::noNullRows(dst, width)))
        return s;
    return accCovarianceD2L(src, height, mean, dst, width, val);
}

ZEMSR_API ZemStatus zemsAccCovarianceMatrix_16s64f_D2L(const Zem16s* const* src, int height, const Zem16s* mean,
                                                       Zem64f* const* dst, int width, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(src, mean, dst), atLeastOne(height, width),
                                         zem::noNullRows(src, height), zem::noNullRows(dst, width)))
        return s;
    return accCovarianceD2L(src, height, mean, dst, width, val);
}

}  // extern "C"
