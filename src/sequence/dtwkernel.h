// Local distances of time warping, many cells of one row at once.
//
// d(x, y) = sqrt(sum over f of (x[f] - y[f])^2), summed in feature order 0, 1, ...: in
// Zem32f up to kFloatSumWidth features, above that each square in Zem32f and the sum and
// the root in Zem64f, narrowed at the end.  The vector forms run the same sum for eight
// cells in the lanes of one register, so every cell gets the bits of the scalar form.
// They read the columns from a feature-major copy: feature f of column j at
// cols[f * pitch + j].
#pragma once

#include <cmath>
#include <cstdint>

#include "primitives/simd.h"

namespace zem::dtw {

namespace simd = zem::simd;

inline constexpr int kFloatSumWidth = 13;

// One cell: x a row frame, y a column frame.
inline float cellDistance(const float* x, const float* y, int width) {
    if (width <= kFloatSumWidth) {
        float s = 0.0f;
        for (int f = 0; f < width; ++f) {
            const float t = x[f] - y[f];
            s = s + t * t;
        }
        return std::sqrt(s);
    }
    double s = 0.0;
    for (int f = 0; f < width; ++f) {
        const float t = x[f] - y[f];
        s = s + static_cast<double>(t * t);
    }
    return static_cast<float>(std::sqrt(s));
}

// Lanes 0-3 and 4-7 widened to doubles, and four plus four doubles narrowed back.
#if ZEM_SIMD_AVX2
inline simd::F64x4 widenLow(simd::F32x8 a) { return {_mm256_cvtps_pd(_mm256_castps256_ps128(a.v))}; }
inline simd::F64x4 widenHigh(simd::F32x8 a) { return {_mm256_cvtps_pd(_mm256_extractf128_ps(a.v, 1))}; }
inline simd::F32x8 narrow(simd::F64x4 lo, simd::F64x4 hi) {
    return {_mm256_set_m128(_mm256_cvtpd_ps(hi.v), _mm256_cvtpd_ps(lo.v))};
}
#else
inline simd::F64x4 widenHalf(__m128 q) { return {_mm_cvtps_pd(q), _mm_cvtps_pd(_mm_movehl_ps(q, q))}; }
inline simd::F64x4 widenLow(simd::F32x8 a) { return widenHalf(a.lo); }
inline simd::F64x4 widenHigh(simd::F32x8 a) { return widenHalf(a.hi); }
inline __m128 narrowHalf(simd::F64x4 d) { return _mm_movelh_ps(_mm_cvtpd_ps(d.lo), _mm_cvtpd_ps(d.hi)); }
inline simd::F32x8 narrow(simd::F64x4 lo, simd::F64x4 hi) { return {narrowHalf(lo), narrowHalf(hi)}; }
#endif

// Distances of 8 * G consecutive columns starting at cols (already offset to the first
// column) from the row frame x, into d[0 .. G-1].  G independent groups keep the adders
// busy; the order inside each lane is the scalar order.
template <int G>
inline void floatSumDistances(const float* x, const float* cols, int64_t pitch, int width, simd::F32x8 (&d)[G]) {
    simd::F32x8 acc[G];
    const simd::F32x8 x0 = simd::splat(x[0]);
    for (int g = 0; g < G; ++g) {
        const simd::F32x8 t = x0 - simd::load(cols + 8 * g);
        acc[g] = t * t;
    }
    for (int f = 1; f < width; ++f) {
        const simd::F32x8 xf = simd::splat(x[f]);
        const float* c = cols + f * pitch;
        for (int g = 0; g < G; ++g) {
            const simd::F32x8 t = xf - simd::load(c + 8 * g);
            acc[g] = acc[g] + t * t;
        }
    }
    for (int g = 0; g < G; ++g) d[g] = simd::sqrt(acc[g]);
}

template <int G>
inline void doubleSumDistances(const float* x, const float* cols, int64_t pitch, int width, simd::F32x8 (&d)[G]) {
    simd::F64x4 lo[G], hi[G];
    const simd::F32x8 x0 = simd::splat(x[0]);
    for (int g = 0; g < G; ++g) {
        const simd::F32x8 t = x0 - simd::load(cols + 8 * g);
        const simd::F32x8 sq = t * t;
        lo[g] = widenLow(sq);
        hi[g] = widenHigh(sq);
    }
    for (int f = 1; f < width; ++f) {
        const simd::F32x8 xf = simd::splat(x[f]);
        const float* c = cols + f * pitch;
        for (int g = 0; g < G; ++g) {
            const simd::F32x8 t = xf - simd::load(c + 8 * g);
            const simd::F32x8 sq = t * t;
            lo[g] = lo[g] + widenLow(sq);
            hi[g] = hi[g] + widenHigh(sq);
        }
    }
    for (int g = 0; g < G; ++g) d[g] = narrow(simd::sqrt(lo[g]), simd::sqrt(hi[g]));
}

template <int G>
inline void blockDistances(const float* x, const float* cols, int64_t pitch, int width, simd::F32x8 (&d)[G]) {
    if (width <= kFloatSumWidth)
        floatSumDistances<G>(x, cols, pitch, width, d);
    else
        doubleSumDistances<G>(x, cols, pitch, width, d);
}

}  // namespace zem::dtw
