// Mahalanobis distances: sum over i of (x[i] - m[i])^2 * w[i], with w an inverse
// variance; no square root, no halving.
//
// Float forms sum each row in 8 float (4 double) lanes, element i in lane i mod 8, the
// tail loaded with zero padding, and fold the lanes pairwise.  Block forms take four
// (two) rows at a time to share the loads of the common vector; every row gets the same
// value as it would alone.
#include <cstdint>
#include <utility>

#include "frame/align.h"
#include "frame/check.h"
#include "frame/scale.h"
#include "gauss16.h"
#include "own.h"
#include "primitives/simd.h"

namespace simd = zem::simd;

namespace {

template <class T, bool kPartial>
[[gnu::always_inline]] inline simd::Vec<T> loadAt(const T* p, int n) {
    if constexpr (kPartial) return simd::loadFirst(p, n);
    else return simd::load(p);
}

// One step of L elements (or the last n, zero padded) for R rows: in "frames" blocks
// the frame changes with the row and mean and var are shared, in "mixture" blocks one
// frame meets a mean and a var per row.
template <class T, int R, bool kFrames, bool kPartial>
[[gnu::always_inline]] inline void distanceStep(simd::Vec<T> (&acc)[R], const T* const* x, const T* const* m,
                                                const T* const* w, int i, int n) {
    using V = simd::Vec<T>;
    if constexpr (kFrames) {
        const V mv = loadAt<T, kPartial>(m[0] + i, n), wv = loadAt<T, kPartial>(w[0] + i, n);
        for (int r = 0; r < R; ++r) {
            const V t = loadAt<T, kPartial>(x[r] + i, n) - mv;
            acc[r] = acc[r] + t * t * wv;
        }
    } else {
        const V xv = loadAt<T, kPartial>(x[0] + i, n);
        for (int r = 0; r < R; ++r) {
            const V t = xv - loadAt<T, kPartial>(m[r] + i, n);
            acc[r] = acc[r] + t * t * loadAt<T, kPartial>(w[r] + i, n);
        }
    }
}

template <class T, int R, bool kFrames>
[[gnu::always_inline]] inline void distanceRows(const T* const* x, const T* const* m, const T* const* w, int width,
                                                T* out) {
    constexpr int L = simd::kLanes<T>;
    simd::Vec<T> acc[R];
    for (int r = 0; r < R; ++r) acc[r] = simd::splat(T(0));
    int i = 0;
    for (; i + L <= width; i += L) distanceStep<T, R, kFrames, false>(acc, x, m, w, i, L);
    if (i < width) distanceStep<T, R, kFrames, true>(acc, x, m, w, i, width - i);
    if constexpr (sizeof(T) == 4) {
        float sums[4];
        if constexpr (R == 4) simd::sumTree4(acc[0], acc[1], acc[2], acc[3], sums);
        else simd::sumTree4(acc[0], acc[0], acc[0], acc[0], sums);
        for (int r = 0; r < R; ++r) out[r] = sums[r];
    } else {
        double sums[2];
        if constexpr (R == 2) simd::sumTree2(acc[0], acc[1], sums);
        else simd::sumTree2(acc[0], acc[0], sums);
        for (int r = 0; r < R; ++r) out[r] = sums[r];
    }
}

// All rows of a block form, R at a time and the rest singly.  row(k) gives the k-th
// row's varying pointers.
template <class T, bool kFrames, class Row>
void distanceBlock(const T* common, const T* commonVar, int width, T* dst, int count, Row row) {
    constexpr int R = sizeof(T) == 4 ? 4 : 2;
    int k = 0;
    for (; k + R <= count; k += R) {
        const T *a[R], *b[R], *c[R];
        for (int r = 0; r < R; ++r) {
            const auto [first, second] = row(k + r);
            if constexpr (kFrames) a[r] = first, b[r] = common, c[r] = commonVar;
            else a[r] = common, b[r] = first, c[r] = second;
        }
        distanceRows<T, R, kFrames>(a, b, c, width, dst + k);
    }
    for (; k < count; ++k) {
        const auto [first, second] = row(k);
        const T* a = kFrames ? first : common;
        const T* b = kFrames ? common : first;
        const T* c = kFrames ? commonVar : second;
        distanceRows<T, 1, kFrames>(&a, &b, &c, width, dst + k);
    }
}

template <class T>
T singleDistance(const T* src, const T* mean, const T* var, int len) {
    T out;
    distanceRows<T, 1, true>(&src, &mean, &var, len, &out);
    return out;
}

// Widened floats in four double lanes, for the 32f64f form.
double singleDistance32f64f(const Zem32f* x, const Zem32f* m, const Zem32f* w, int len) {
    auto widened = [](const float* p, int n) {
        if (n == 4) return simd::widen4(p);
        float lanes[4] = {};
        for (int k = 0; k < n; ++k) lanes[k] = p[k];
        return simd::widen4(lanes);
    };
    simd::F64x4 acc = simd::splat(0.0);
    for (int i = 0; i < len; i += 4) {
        const int n = len - i < 4 ? len - i : 4;
        const simd::F64x4 t = widened(x + i, n) - widened(m + i, n);
        acc = acc + t * t * widened(w + i, n);
    }
    double sums[2];
    simd::sumTree2(acc, acc, sums);
    return sums[0];
}

// 16-bit data on the general path: converted to float without saturation, summed over
// four float lanes with zero padding, folded pairwise.
float distance16sAsFloat(const Zem16s* x, const Zem16s* m, const Zem16s* w, int len) {
    float acc[4] = {};
    for (int i = 0; i < len; i += 4)
        for (int k = 0; k < 4 && i + k < len; ++k) {
            const float t = static_cast<float>(x[i + k]) - static_cast<float>(m[i + k]);
            acc[k] += t * t * static_cast<float>(w[i + k]);
        }
    return (acc[0] + acc[1]) + (acc[2] + acc[3]);
}

// 16-bit data on the general path: the exact sum in 64 bits (wrapping), shifted by the
// scale factor and saturated.
Zem32s distance16sExact(const Zem16s* x, const Zem16s* m, const Zem16s* w, int len, int sf) {
    uint64_t sum = 0;
    for (int i = 0; i < len; ++i) {
        const int64_t d = int64_t{x[i]} - int64_t{m[i]};
        sum += static_cast<uint64_t>(d * d * int64_t{w[i]});
    }
    const int64_t s = static_cast<int64_t>(sum);
    if (sf >= 0) return zem::saturate32(s >> (sf > 63 ? 63 : sf));
    if (s == 0) return 0;
    if (sf < -32) return s > 0 ? INT32_MAX : INT32_MIN;
    const __int128 shifted = static_cast<__int128>(s) << -sf;
    return shifted > INT32_MAX ? INT32_MAX : (shifted < INT32_MIN ? INT32_MIN : static_cast<Zem32s>(shifted));
}

template <class T>
ZemStatus checkSingle(const T* src, const T* mean, const T* var, const void* result, int len) {
    if (!src || !mean || !var || !result) return zemStatusNullPointer;
    if (len < 1) return zemStatusBadSize;
    return zemStatusOk;
}

template <class T>
ZemStatus frames_D2(const T* src, int step, const T* mean, const T* var, int width, T* dst, int height) {
    if (width > step) return zemStatusBadStride;
    if (!src || !mean || !var || !dst) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    distanceBlock<T, true>(mean, var, width, dst, height, [&](int f) {
        return std::pair<const T*, const T*>{src + static_cast<int64_t>(f) * step, nullptr};
    });
    return zemStatusOk;
}

template <class T>
ZemStatus frames_D2L(const T* const* srcRows, const T* mean, const T* var, int width, T* dst, int height) {
    if (!srcRows || !mean || !var || !dst) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    if (zem::anyNullRow(srcRows, height)) return zemStatusNullPointer;
    distanceBlock<T, true>(mean, var, width, dst, height,
                           [&](int f) { return std::pair<const T*, const T*>{srcRows[f], nullptr}; });
    return zemStatusOk;
}

template <class T>
ZemStatus mixture_D2(const T* mean, const T* var, int step, const T* src, int width, T* dst, int n) {
    if (width > step) return zemStatusBadStride;
    if (!mean || !var || !src || !dst) return zemStatusNullPointer;
    if (width < 1 || n < 1) return zemStatusBadSize;
    distanceBlock<T, false>(src, nullptr, width, dst, n, [&](int g) {
        const int64_t at = static_cast<int64_t>(g) * step;
        return std::pair<const T*, const T*>{mean + at, var + at};
    });
    return zemStatusOk;
}

template <class T>
ZemStatus mixture_D2L(const T* const* meanRows, const T* const* varRows, const T* src, int width, T* dst, int n) {
    if (!meanRows || !varRows || !src || !dst) return zemStatusNullPointer;
    if (width < 1 || n < 1) return zemStatusBadSize;
    if (zem::anyNullRow(meanRows, n) || zem::anyNullRow(varRows, n)) return zemStatusNullPointer;
    distanceBlock<T, false>(src, nullptr, width, dst, n,
                            [&](int g) { return std::pair<const T*, const T*>{meanRows[g], varRows[g]}; });
    return zemStatusOk;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsMahDistSingle_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                          Zem32f* pResult) {
    if (const ZemStatus s = checkSingle(src, mean, var, pResult, len); s != zemStatusOk) return s;
    *pResult = singleDistance(src, mean, var, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistSingle_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int len,
                                          Zem64f* pResult) {
    if (const ZemStatus s = checkSingle(src, mean, var, pResult, len); s != zemStatusOk) return s;
    *pResult = singleDistance(src, mean, var, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistSingle_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                             Zem64f* pResult) {
    if (const ZemStatus s = checkSingle(src, mean, var, pResult, len); s != zemStatusOk) return s;
    *pResult = singleDistance32f64f(src, mean, var, len);
    return zemStatusOk;
}

// The two bodies differ on purpose when a difference leaves the 16-bit range: aligned
// data saturate the difference in groups of 8, other data convert to float first.
ZEMSR_API ZemStatus zemsMahDistSingle_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                             Zem32f* pResult) {
    if (const ZemStatus s = checkSingle(src, mean, var, pResult, len); s != zemStatusOk) return s;
    *pResult = zem::allAligned16(src, mean, var) ? zem::gauss16::sumGroupsOf8(src, mean, var, len)
                                                 : distance16sAsFloat(src, mean, var, len);
    return zemStatusOk;
}

// The aligned body takes the float sum of groups of 8 and ignores the scale factor; the
// general body sums exactly in 64 bits and applies it.  Both are kept as they are.
ZEMSR_API ZemStatus zemsMahDistSingle_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                                 Zem32s* pResult, int scaleFactor) {
    if (const ZemStatus s = checkSingle(src, mean, var, pResult, len); s != zemStatusOk) return s;
    if (zem::allAligned16(src, mean, var)) {
        *pResult = zem::roundScoreToInt32(zem::gauss16::sumGroupsOf8(src, mean, var, len));
    } else {
        *pResult = distance16sExact(src, mean, var, len, scaleFactor);
    }
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDist_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var, int width,
                                       Zem32f* dst, int height) {
    return frames_D2(src, step, mean, var, width, dst, height);
}
ZEMSR_API ZemStatus zemsMahDist_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var, int width,
                                       Zem64f* dst, int height) {
    return frames_D2(src, step, mean, var, width, dst, height);
}
ZEMSR_API ZemStatus zemsMahDist_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                        int width, Zem32f* dst, int height) {
    return frames_D2L(srcRows, mean, var, width, dst, height);
}
ZEMSR_API ZemStatus zemsMahDist_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                        int width, Zem64f* dst, int height) {
    return frames_D2L(srcRows, mean, var, width, dst, height);
}
ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                               int width, Zem32f* dst, int n) {
    return mixture_D2(mean, var, step, src, width, dst, n);
}
ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                               int width, Zem64f* dst, int n) {
    return mixture_D2(mean, var, step, src, width, dst, n);
}
ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                const Zem32f* src, int width, Zem32f* dst, int n) {
    return mixture_D2L(meanRows, varRows, src, width, dst, n);
}
ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                const Zem64f* src, int width, Zem64f* dst, int n) {
    return mixture_D2L(meanRows, varRows, src, width, dst, n);
}

}  // extern "C"
