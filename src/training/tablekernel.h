// Statistics over feature tables: each row is one vector, each column one feature.
//
// One row accessor serves both layouts (RowsD2: a block with a row distance in elements;
// RowsD2L: an array of row pointers; RowsPicked: rows chosen by number) so that every
// operation has one body for both.  The orders of partial sums, fixed for every
// alignment and both layouts:
//   - column passes: dst[j] accumulates rows 0, 1, .., height - 1 in that order from +0,
//     one column per vector lane, so a column gets the same value alone or beside others;
//   - row sums: element j goes to lane j mod 8 (mod 4 for Zem64f) in ascending order, the
//     tail zero padded, and the lanes fold as ((l0 + l1) + (l2 + l3)) + ((l4 + l5) + (l6 + l7))
//     (for Zem64f (l0 + l1) + (l2 + l3)).
// Sums run in Zem32f for every source but Zem64f; Zem16s widens exactly to Zem32f.
#pragma once

#include <cstdint>
#include <utility>

#include "primitives/simd.h"

namespace zem::table {

// ---- Row access ------------------------------------------------------------------------

template <class T>
struct RowsD2 {
    using Elem = T;
    T* base;
    int64_t step;
    T* operator()(int64_t i) const { return base + i * step; }
};

template <class T>
struct RowsD2L {
    using Elem = T;
    T* const* rows;
    T* operator()(int64_t i) const { return rows[i]; }
};

// Row base[r] + counts[r] of a block, read from column offset on; the row numbers have
// been checked against the height before.
template <class T>
struct RowsPicked {
    using Elem = T;
    T* base;
    int64_t step;
    int offset;
    const Zem32s* first;
    const Zem16u* count;
    T* operator()(int64_t r) const {
        return base + (static_cast<int64_t>(first[r]) + count[r]) * step + offset;
    }
};

// ---- Loads of a source into accumulator lanes ------------------------------------------

inline simd::F32x8 loadAs(const float* p) { return simd::load(p); }
inline simd::F32x8 loadFirstAs(const float* p, int n) { return simd::loadFirst(p, n); }
inline simd::F64x4 loadAs(const double* p) { return simd::load(p); }
inline simd::F64x4 loadFirstAs(const double* p, int n) { return simd::loadFirst(p, n); }

// Eight Zem16s widened to Zem32f (exact).
inline simd::F32x8 loadAs(const Zem16s* p) {
#if ZEM_SIMD_AVX2
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return {_mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(v))};
#else
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i lo = _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16);
    const __m128i hi = _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16);
    return {_mm_cvtepi32_ps(lo), _mm_cvtepi32_ps(hi)};
#endif
}
inline simd::F32x8 loadFirstAs(const Zem16s* p, int n) {
    Zem16s lanes[8] = {};
    for (int k = 0; k < n; ++k) lanes[k] = p[k];
    return loadAs(lanes);
}

// ---- What a column pass accumulates ----------------------------------------------------
// K sums per column; w is the row's weight (unused unless kWeighted).

struct Sum {
    static constexpr int K = 1;
    static constexpr bool kWeighted = false;
    template <class V>
    static void add(V* acc, V x, V) { acc[0] = acc[0] + x; }
};

struct Squares {
    static constexpr int K = 1;
    static constexpr bool kWeighted = false;
    template <class V>
    static void add(V* acc, V x, V) { acc[0] = acc[0] + x * x; }
};

struct SumAndSquares {
    static constexpr int K = 2;
    static constexpr bool kWeighted = false;
    template <class V>
    static void add(V* acc, V x, V) {
        acc[0] = acc[0] + x;
        acc[1] = acc[1] + x * x;
    }
};

// w * x
struct WeightedSum {
    static constexpr int K = 1;
    static constexpr bool kWeighted = true;
    template <class V>
    static void add(V* acc, V x, V w) { acc[0] = acc[0] + w * x; }
};

// (w * x) * x
struct WeightedSquares {
    static constexpr int K = 1;
    static constexpr bool kWeighted = true;
    template <class V>
    static void add(V* acc, V x, V w) { acc[0] = acc[0] + (w * x) * x; }
};

struct WeightedSumAndSquares {
    static constexpr int K = 2;
    static constexpr bool kWeighted = true;
    template <class V>
    static void add(V* acc, V x, V w) {
        const V wx = w * x;
        acc[0] = acc[0] + wx;
        acc[1] = acc[1] + wx * x;
    }
};

// ---- Column passes ---------------------------------------------------------------------

// Columns per chunk in vectors: a chunk's sums stay in registers over all rows (five
// float vectors take a 39-wide cepstral table in one pass even with two sums each).
template <class Policy>
inline constexpr int kChunkVectors = Policy::K == 1 ? 8 : 5;

// B vectors of columns from j0 over every row; with kTail the last vector holds only
// `last` columns and nothing past them is read.  out receives K slices of B * L sums.
template <class Policy, class Acc, int B, bool kTail, class Rows>
[[gnu::always_inline]] inline void columnChunk(const Rows& rows, int64_t height, int64_t j0, int last,
                                               const Acc* weights, Acc* out) {
    using V = simd::Vec<Acc>;
    constexpr int L = simd::kLanes<Acc>;
    constexpr int K = Policy::K;
    V acc[B][K];
    for (int b = 0; b < B; ++b)
        for (int k = 0; k < K; ++k) acc[b][k] = simd::splat(Acc(0));
    for (int64_t i = 0; i < height; ++i) {
        const auto* p = rows(i) + j0;
        V w = simd::splat(Acc(1));
        if constexpr (Policy::kWeighted) w = simd::splat(weights[i]);
        for (int b = 0; b < B; ++b) {
            const V x = (kTail && b == B - 1) ? loadFirstAs(p + b * L, last) : loadAs(p + b * L);
            Policy::add(acc[b], x, w);
        }
    }
    for (int k = 0; k < K; ++k)
        for (int b = 0; b < B; ++b) simd::store(out + (k * B + b) * L, acc[b][k]);
}

template <class Policy, class Acc, class Rows, class Finish, int... B>
inline void lastChunk(std::integer_sequence<int, B...>, int vectors, bool tail, const Rows& rows, int64_t height,
                      int j0, int n, const Acc* weights, Acc* out, Finish& finish) {
    constexpr int L = simd::kLanes<Acc>;
    const int last = n - (vectors - 1) * L;
    (void)((vectors == B + 1 && (tail ? columnChunk<Policy, Acc, B + 1, true>(rows, height, j0, last, weights, out)
                                      : columnChunk<Policy, Acc, B + 1, false>(rows, height, j0, last, weights, out),
                                 finish(j0, n, out, out + (B + 1) * L), true)) ||
           ...);
}

// Accumulates Policy over all rows for every column and hands each chunk of columns to
// finish(j0, n, sums, secondSums): sums[c] belongs to column j0 + c, c < n.
template <class Policy, class Acc, class Rows, class Finish>
void columnPass(const Rows& rows, int height, int width, const Acc* weights, Finish&& finish) {
    constexpr int L = simd::kLanes<Acc>;
    constexpr int B = kChunkVectors<Policy>;
    alignas(32) Acc out[Policy::K * B * L];
    int j0 = 0;
    for (; width - j0 >= B * L; j0 += B * L) {
        columnChunk<Policy, Acc, B, false>(rows, height, j0, L, weights, out);
        finish(j0, B * L, out, out + B * L);
    }
    const int n = width - j0;
    if (n > 0) {
        const int vectors = (n + L - 1) / L;
        lastChunk<Policy, Acc>(std::make_integer_sequence<int, B>{}, vectors, n % L != 0, rows, height, j0, n,
                               weights, out, finish);
    }
}

// ---- Row sums --------------------------------------------------------------------------

template <class Acc, class Src>
inline Acc rowSum(const Src* p, int width) {
    using V = simd::Vec<Acc>;
    constexpr int L = simd::kLanes<Acc>;
    V acc = simd::splat(Acc(0));
    int j = 0;
    for (; j + L <= width; j += L) acc = acc + loadAs(p + j);
    if (j < width) acc = acc + loadFirstAs(p + j, width - j);
    Acc l[L];
    simd::spill(acc, l);
    if constexpr (L == 8) return ((l[0] + l[1]) + (l[2] + l[3])) + ((l[4] + l[5]) + (l[6] + l[7]));
    else return (l[0] + l[1]) + (l[2] + l[3]);
}

}  // namespace zem::table
