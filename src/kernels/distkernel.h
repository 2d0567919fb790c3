// The row kernel of weighted squared distances: sum over i of (x[i] - m[i])^2 * w[i].
//
// Each row is summed in 8 float (4 double) lanes, element i in lane i mod 8, the tail
// loaded with zero padding (never past the end), and the lanes folded pairwise.  Blocks
// take four (two) rows at a time to share the loads of the common vector; a row gets
// the same value in a block as alone.  With kIdentity the weight is one and w unused.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "primitives/simd.h"

namespace zem::distance {

template <class T, bool kPartial>
[[gnu::always_inline]] inline simd::Vec<T> loadAt(const T* p, int n) {
    if constexpr (kPartial) return simd::loadFirst(p, n);
    else return simd::load(p);
}

// One step of L elements (or the last n, zero padded) for R rows: in "frames" blocks
// the frame changes with the row and mean and var are shared, in "mixture" blocks one
// frame meets a mean and a var per row.
template <class T, int R, bool kFrames, bool kIdentity, bool kPartial>
[[gnu::always_inline]] inline void step(simd::Vec<T> (&acc)[R], const T* const* x, const T* const* m,
                                                const T* const* w, int i, int n) {
    using V = simd::Vec<T>;
    if constexpr (kFrames) {
        const V mv = loadAt<T, kPartial>(m[0] + i, n);
        const V wv = kIdentity ? mv : loadAt<T, kPartial>(w[0] + i, n);
        for (int r = 0; r < R; ++r) {
            const V t = loadAt<T, kPartial>(x[r] + i, n) - mv;
            acc[r] = acc[r] + (kIdentity ? t * t : t * t * wv);
        }
    } else {
        const V xv = loadAt<T, kPartial>(x[0] + i, n);
        for (int r = 0; r < R; ++r) {
            const V t = xv - loadAt<T, kPartial>(m[r] + i, n);
            acc[r] = acc[r] + (kIdentity ? t * t : t * t * loadAt<T, kPartial>(w[r] + i, n));
        }
    }
}

// The identity finish: a row's value is its sum.
struct Sum {
    template <class T>
    T operator()(T s) const { return s; }
};

template <class T, int R, bool kFrames, bool kIdentity, class Finish = Sum>
[[gnu::always_inline]] inline void rows(const T* const* x, const T* const* m, const T* const* w, int width,
                                                T* out, Finish finish = {}) {
    constexpr int L = simd::kLanes<T>;
    simd::Vec<T> acc[R];
    for (int r = 0; r < R; ++r) acc[r] = simd::splat(T(0));
    int i = 0;
    for (; i + L <= width; i += L) step<T, R, kFrames, kIdentity, false>(acc, x, m, w, i, L);
    if (i < width) step<T, R, kFrames, kIdentity, true>(acc, x, m, w, i, width - i);
    if constexpr (std::is_same_v<T, float>) {
        float sums[4];
        if constexpr (R >= 4) {
            for (int r0 = 0; r0 < R; r0 += 4) {
                simd::sumTree4(acc[r0], acc[r0 + 1], acc[r0 + 2], acc[r0 + 3], sums);
                for (int r = 0; r < 4; ++r) out[r0 + r] = finish(sums[r]);
            }
        } else {
            simd::sumTree4(acc[0], acc[0], acc[0], acc[0], sums);
            out[0] = finish(sums[0]);
        }
    } else {
        double sums[2];
        if constexpr (R == 2) simd::sumTree2(acc[0], acc[1], sums);
        else simd::sumTree2(acc[0], acc[0], sums);
        for (int r = 0; r < R; ++r) out[r] = finish(sums[r]);
    }
}

// The weighted distance of one row.
template <class T>
inline T rowDistance(const T* x, const T* m, const T* w, int width) {
    T out;
    rows<T, 1, true, false>(&x, &m, &w, width, &out);
    return out;
}

// All rows of a block form, R at a time and the rest singly.  row(k) gives the k-th
// row's varying pointers: (frame, unused) for frames, (mean, var) for mixtures; dst[k]
// receives finish(sum of row k).
template <class T, bool kFrames, bool kIdentity, class Row, class Finish = Sum>
void block(const T* common, const T* commonVar, int width, T* dst, int count, Row row, Finish finish = {}) {
    // Frames share mean and var, so a wider block saves loads; mixtures load their own.
    constexpr int R = std::is_same_v<T, float> ? (kFrames ? 8 : 4) : 2;
    int k = 0;
    for (; k + R <= count; k += R) {
        const T *a[R], *b[R], *c[R];
        for (int r = 0; r < R; ++r) {
            const auto [first, second] = row(k + r);
            if constexpr (kFrames) a[r] = first, b[r] = common, c[r] = commonVar;
            else a[r] = common, b[r] = first, c[r] = second;
        }
        rows<T, R, kFrames, kIdentity>(a, b, c, width, dst + k, finish);
    }
    for (; k < count; ++k) {
        const auto [first, second] = row(k);
        const T* a = kFrames ? first : common;
        const T* b = kFrames ? common : first;
        const T* c = kFrames ? commonVar : second;
        rows<T, 1, kFrames, kIdentity>(&a, &b, &c, width, dst + k, finish);
    }
}

}  // namespace zem::distance
