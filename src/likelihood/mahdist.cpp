// Mahalanobis distances: sum over i of (x[i] - m[i])^2 * w[i], with w an inverse
// variance; no square root, no halving.  The float forms run the row kernel of
// distkernel.h.
#include <cstdint>
#include <utility>

#include "frame/align.h"
#include "frame/check.h"
#include "frame/scale.h"
#include "gauss16.h"
#include "own.h"
#include "distkernel.h"
#include "primitives/simd.h"

namespace simd = zem::simd;

namespace {

template <class T>
T singleDistance(const T* src, const T* mean, const T* var, int len) {
    T out;
    zem::distance::rows<T, 1, true, false>(&src, &mean, &var, len, &out);
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
    zem::distance::block<T, true, false>(mean, var, width, dst, height, [&](int f) {
        return std::pair<const T*, const T*>{src + static_cast<int64_t>(f) * step, nullptr};
    });
    return zemStatusOk;
}

template <class T>
ZemStatus frames_D2L(const T* const* srcRows, const T* mean, const T* var, int width, T* dst, int height) {
    if (!srcRows || !mean || !var || !dst) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    if (zem::anyNullRow(srcRows, height)) return zemStatusNullPointer;
    zem::distance::block<T, true, false>(mean, var, width, dst, height,
                           [&](int f) { return std::pair<const T*, const T*>{srcRows[f], nullptr}; });
    return zemStatusOk;
}

template <class T>
ZemStatus mixture_D2(const T* mean, const T* var, int step, const T* src, int width, T* dst, int n) {
    if (width > step) return zemStatusBadStride;
    if (!mean || !var || !src || !dst) return zemStatusNullPointer;
    if (width < 1 || n < 1) return zemStatusBadSize;
    zem::distance::block<T, false, false>(src, nullptr, width, dst, n, [&](int g) {
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
    zem::distance::block<T, false, false>(src, nullptr, width, dst, n,
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
