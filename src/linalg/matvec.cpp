// Matrix and vector products: MatVecMul dst[i] = sum over j of matrix[i][j] vec[j]
// (height rows of width), VecMatMul dst[j] = sum over i of vec[i] matrix[i][j].
//
// Float products accumulate in Zem32f.  MatVecMul sums a row in 8 lanes, element j in
// lane j mod 8 with the last group zero padded, and folds the lanes as
// ((l0 + l1) + (l2 + l3)) + ((l4 + l5) + (l6 + l7)).  VecMatMul sums each column over
// the rows in order, from 0.
//
// Integer products: MatVecMul of 16-bit data sums exactly in 64 bits and shifts right
// arithmetically by the scale factor (rounding toward minus infinity), saturating;
// MatVecMul of 32-bit data and every integer VecMatMul sum the products in double, in
// order, scale by 2^-scaleFactor, clamp to the destination's range and round to
// nearest with ties to even.  The two 16-bit directions round differently on purpose.
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "linalg/rows.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace lin = zem::linalg;
namespace simd = zem::simd;

namespace {

// ---- Float kernels ------------------------------------------------------------------

template <int R, class Rows>
[[gnu::always_inline]] inline void rowDots32f(Rows m, int64_t r0, const float* vec, int width, float* out4) {
    const float* row[R];
    simd::F32x8 acc[R];
    for (int q = 0; q < R; ++q) {
        row[q] = m[r0 + q];
        acc[q] = simd::splat(0.0f);
    }
    int j = 0;
    for (; j + 8 <= width; j += 8) {
        const simd::F32x8 x = simd::load(vec + j);
        for (int q = 0; q < R; ++q) acc[q] = acc[q] + simd::load(row[q] + j) * x;
    }
    if (j < width) {
        const simd::FirstLanes lanes = simd::firstLanes(width - j);
        const simd::F32x8 x = simd::load(vec + j, lanes);
        for (int q = 0; q < R; ++q) acc[q] = acc[q] + simd::load(row[q] + j, lanes) * x;
    }
    if constexpr (R == 4) simd::sumTree4(acc[0], acc[1], acc[2], acc[3], out4);
    else simd::sumTree4(acc[0], acc[0], acc[0], acc[0], out4);
}

// Four rows a pass share the loads of vec.
template <class Rows>
void matVec32f(Rows m, const float* vec, int width, float* dst, int height) {
    int64_t r = 0;
    for (; r + 4 <= height; r += 4) rowDots32f<4>(m, r, vec, width, dst + r);
    for (; r < height; ++r) {
        float out[4];
        rowDots32f<1>(m, r, vec, width, out);
        dst[r] = out[0];
    }
}

// C columns (C / 8 vectors) from column j, each summed over the rows in order.
template <int V, class Rows>
[[gnu::always_inline]] inline void columnSums32f(const float* vec, Rows m, int height, int64_t j, int n,
                                                 float* dst) {
    simd::F32x8 acc[V];
    for (int q = 0; q < V; ++q) acc[q] = simd::splat(0.0f);
    const simd::FirstLanes lanes = simd::firstLanes(n);
    for (int64_t i = 0; i < height; ++i) {
        const simd::F32x8 x = simd::splat(vec[i]);
        const float* row = m[i] + j;
        if (n >= 8 * V) {
            for (int q = 0; q < V; ++q) acc[q] = acc[q] + x * simd::load(row + 8 * q);
        } else {
            acc[0] = acc[0] + x * simd::load(row, lanes);
        }
    }
    if (n >= 8 * V) {
        for (int q = 0; q < V; ++q) simd::store(dst + j + 8 * q, acc[q]);
    } else {
        float out[8];
        simd::store(out, acc[0]);
        for (int k = 0; k < n; ++k) dst[j + k] = out[k];
    }
}

template <class Rows>
void vecMat32f(const float* vec, Rows m, int height, float* dst, int width) {
    int64_t j = 0;
    for (; j + 32 <= width; j += 32) columnSums32f<4>(vec, m, height, j, 32, dst);
    for (; j + 8 <= width; j += 8) columnSums32f<1>(vec, m, height, j, 8, dst);
    if (j < width) columnSums32f<1>(vec, m, height, j, static_cast<int>(width - j), dst);
}

// ---- Integer results ----------------------------------------------------------------

template <class Out>
Out saturateTo(int64_t v) {
    if constexpr (std::is_same_v<Out, Zem16s>) return zem::saturate16(v);
    else return zem::saturate32(v);
}

template <class Out>
constexpr double kLowest = std::is_same_v<Out, Zem16s> ? -32768.0 : -2147483648.0;
template <class Out>
constexpr double kHighest = std::is_same_v<Out, Zem16s> ? 32767.0 : 2147483647.0;

// An exact sum shifted by sf, saturated: right shifts (at most 63) round toward minus
// infinity; a negative sf shifts left.
template <class Out>
Out shiftSaturate(int64_t s, int sf) {
    if (sf >= 0) return saturateTo<Out>(s >> (sf > 63 ? 63 : sf));
    if (s == 0) return 0;
    if (sf < -40) return s > 0 ? saturateTo<Out>(INT64_MAX) : saturateTo<Out>(INT64_MIN);
    const __int128 shifted = static_cast<__int128>(s) << -sf;
    return saturateTo<Out>(shifted > INT64_MAX ? INT64_MAX : (shifted < INT64_MIN ? INT64_MIN : int64_t(shifted)));
}

// A double sum already scaled: clamped to Out's range, rounded to nearest, ties to even.
// NaN arises only as zero times an infinite scale and stands for the exact result 0.
template <class Out>
Out clampRound(double v) {
    if (v != v) return 0;
    v = v < kLowest<Out> ? kLowest<Out> : (v > kHighest<Out> ? kHighest<Out> : v);
    return static_cast<Out>(zem::roundHalfEven(v));
}

// MatVecMul of 16-bit data: the exact sum.
struct ExactShift {
    template <class In>
    static int64_t dot(const In* row, const In* vec, int width) {
        int64_t s = 0;
        for (int j = 0; j < width; ++j) s += int64_t{int32_t{row[j]} * int32_t{vec[j]}};
        return s;
    }
    template <class Out>
    static Out finish(int64_t s, int sf) { return shiftSaturate<Out>(s, sf); }
};

// MatVecMul of 32-bit data: products and their sum in double, in order.
struct DoubleRound {
    template <class In>
    static double dot(const In* row, const In* vec, int width) {
        double s = 0.0;
        for (int j = 0; j < width; ++j) s += static_cast<double>(row[j]) * static_cast<double>(vec[j]);
        return s;
    }
    template <class Out>
    static Out finish(double s, int sf) { return clampRound<Out>(s * zem::pow2Neg64f(sf)); }
};

template <class Rule, class In, class Out, class Rows>
void matVecInt(Rows m, const In* vec, int width, Out* dst, int height, int sf) {
    for (int64_t r = 0; r < height; ++r) dst[r] = Rule::template finish<Out>(Rule::dot(m[r], vec, width), sf);
}

// Eight columns a pass, each summed in double over the rows in order.
template <class In, class Out, class Rows>
void vecMatInt(const In* vec, Rows m, int height, Out* dst, int width, int sf) {
    const double scale = zem::pow2Neg64f(sf);
    for (int64_t j = 0; j < width; j += 8) {
        const int n = width - j < 8 ? static_cast<int>(width - j) : 8;
        double acc[8] = {};
        for (int64_t i = 0; i < height; ++i) {
            const In* row = m[i] + j;
            const double x = static_cast<double>(vec[i]);
            if (n == 8) {
                for (int q = 0; q < 8; ++q) acc[q] += x * static_cast<double>(row[q]);
            } else {
                for (int q = 0; q < n; ++q) acc[q] += x * static_cast<double>(row[q]);
            }
        }
        for (int q = 0; q < n; ++q) dst[j + q] = clampRound<Out>(acc[q] * scale);
    }
}

// ---- Checks -------------------------------------------------------------------------

template <class M, class V, class D>
auto blockChecks(const M* matrix, int step, const V* vec, int width, const D* dst, int height) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::nonNull(matrix, vec, dst), zem::atLeastOne(height, width),
                                 zem::strideCovers(step, width));
    });
}

// The row pointers are scanned once the row count is known to be valid.
template <class M, class V, class D>
auto rowChecks(const M* const* matrix, const V* vec, int width, const D* dst, int height) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::nonNull(matrix, vec, dst), zem::atLeastOne(height, width),
                                 zem::noNullRows(matrix, height));
    });
}

template <class T>
using Block = lin::BlockRows<const T>;
template <class T>
using RowPtrs = lin::PointerRows<const T>;

}  // namespace

extern "C" {

// ---- Matrix times vector ------------------------------------------------------------

ZEMSR_API ZemStatus zemsMatVecMul_32f_D2(const Zem32f* matrix, int step, const Zem32f* vec, int width, Zem32f* dst,
                                         int height) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    matVec32f(Block<Zem32f>{matrix, step}, vec, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_32f_D2L(const Zem32f* const* matrix, const Zem32f* vec, int width, Zem32f* dst,
                                          int height) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    matVec32f(RowPtrs<Zem32f>{matrix}, vec, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_16s_D2Sfs(const Zem16s* matrix, int step, const Zem16s* vec, int width,
                                            Zem16s* dst, int height, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    matVecInt<ExactShift>(Block<Zem16s>{matrix, step}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_16s_D2LSfs(const Zem16s* const* matrix, const Zem16s* vec, int width, Zem16s* dst,
                                             int height, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    matVecInt<ExactShift>(RowPtrs<Zem16s>{matrix}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_16s32s_D2Sfs(const Zem16s* matrix, int step, const Zem16s* vec, int width,
                                               Zem32s* dst, int height, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    matVecInt<ExactShift>(Block<Zem16s>{matrix, step}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_16s32s_D2LSfs(const Zem16s* const* matrix, const Zem16s* vec, int width,
                                                Zem32s* dst, int height, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    matVecInt<ExactShift>(RowPtrs<Zem16s>{matrix}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_32s_D2Sfs(const Zem32s* matrix, int step, const Zem32s* vec, int width,
                                            Zem32s* dst, int height, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    matVecInt<DoubleRound>(Block<Zem32s>{matrix, step}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMatVecMul_32s_D2LSfs(const Zem32s* const* matrix, const Zem32s* vec, int width, Zem32s* dst,
                                             int height, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    matVecInt<DoubleRound>(RowPtrs<Zem32s>{matrix}, vec, width, dst, height, scaleFactor);
    return zemStatusOk;
}

// ---- Vector times matrix ------------------------------------------------------------

ZEMSR_API ZemStatus zemsVecMatMul_32f_D2(const Zem32f* vec, const Zem32f* matrix, int step, int height, Zem32f* dst,
                                         int width) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    vecMat32f(vec, Block<Zem32f>{matrix, step}, height, dst, width);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_32f_D2L(const Zem32f* vec, const Zem32f* const* matrix, int height, Zem32f* dst,
                                          int width) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    vecMat32f(vec, RowPtrs<Zem32f>{matrix}, height, dst, width);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_16s_D2Sfs(const Zem16s* vec, const Zem16s* matrix, int step, int height,
                                            Zem16s* dst, int width, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    vecMatInt(vec, Block<Zem16s>{matrix, step}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_16s_D2LSfs(const Zem16s* vec, const Zem16s* const* matrix, int height, Zem16s* dst,
                                             int width, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    vecMatInt(vec, RowPtrs<Zem16s>{matrix}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_16s32s_D2Sfs(const Zem16s* vec, const Zem16s* matrix, int step, int height,
                                               Zem32s* dst, int width, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    vecMatInt(vec, Block<Zem16s>{matrix, step}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_16s32s_D2LSfs(const Zem16s* vec, const Zem16s* const* matrix, int height,
                                                Zem32s* dst, int width, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    vecMatInt(vec, RowPtrs<Zem16s>{matrix}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_32s_D2Sfs(const Zem32s* vec, const Zem32s* matrix, int step, int height,
                                            Zem32s* dst, int width, int scaleFactor) {
    if (const ZemStatus s = blockChecks(matrix, step, vec, width, dst, height)()) return s;
    vecMatInt(vec, Block<Zem32s>{matrix, step}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVecMatMul_32s_D2LSfs(const Zem32s* vec, const Zem32s* const* matrix, int height, Zem32s* dst,
                                             int width, int scaleFactor) {
    if (const ZemStatus s = rowChecks(matrix, vec, width, dst, height)()) return s;
    vecMatInt(vec, RowPtrs<Zem32s>{matrix}, height, dst, width, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
