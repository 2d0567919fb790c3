// Mahalanobis distances: sum over i of (x[i] - m[i])^2 * w[i], with w an inverse
// variance; no square root, no halving.  The float forms run the row kernel of
// distkernel.h.
#include <cstdint>
#include <utility>

#include "frame/align.h"
#include "frame/check.h"
#include "frame/scale.h"
#include "kernels/distkernel.h"
#include "kernels/gauss16.h"
#include "primitives/simd.h"
#include "scorerows.h"

namespace simd = zem::simd;

namespace {

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

// Frames of a _D2 or _D2L block against one mean and var.
template <class T, class Frame>
void frameDistances(const Frame& frame, const T* mean, const T* var, int width, T* dst, int height) {
    zem::distance::block<T, true, false>(mean, var, width, dst, height,
                                         [&](int f) { return std::pair<const T*, const T*>{frame(f), nullptr}; });
}

// One frame against the Gaussians of a _D2 or _D2L mixture.
template <class T, class Gaussian>
void mixtureDistances(const Gaussian& gaussian, const T* src, int width, T* dst, int n) {
    zem::distance::block<T, false, false>(src, nullptr, width, dst, n, gaussian);
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsMahDistSingle_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                          Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = zem::distance::rowDistance(src, mean, var, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistSingle_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int len,
                                          Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = zem::distance::rowDistance(src, mean, var, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistSingle_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                             Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = singleDistance32f64f(src, mean, var, len);
    return zemStatusOk;
}

// The two bodies differ on purpose when a difference leaves the 16-bit range: aligned
// data saturate the difference in groups of 8, other data convert to float first.
ZEMSR_API ZemStatus zemsMahDistSingle_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                             Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = zem::allAligned16(src, mean, var) ? zem::gauss16::sumGroupsOf8(src, mean, var, len)
                                                 : distance16sAsFloat(src, mean, var, len);
    return zemStatusOk;
}

// The aligned body takes the float sum of groups of 8 and ignores the scale factor; the
// general body sums exactly in 64 bits and applies it.  Both are kept as they are.
ZEMSR_API ZemStatus zemsMahDistSingle_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                                 Zem32s* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = zem::allAligned16(src, mean, var)
                   ? zem::roundScoreToInt32(zem::gauss16::sumGroupsOf8(src, mean, var, len))
                   : distance16sExact(src, mean, var, len, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDist_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var, int width,
                                       Zem32f* dst, int height) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    frameDistances(zem::scorerows::FramesD2<Zem32f>{src, step}, mean, var, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDist_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                        int width, Zem32f* dst, int height) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    frameDistances(zem::scorerows::FramesD2L<Zem32f>{srcRows}, mean, var, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDist_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var, int width,
                                       Zem64f* dst, int height) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    frameDistances(zem::scorerows::FramesD2<Zem64f>{src, step}, mean, var, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDist_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                        int width, Zem64f* dst, int height) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    frameDistances(zem::scorerows::FramesD2L<Zem64f>{srcRows}, mean, var, width, dst, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                               int width, Zem32f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, dst),
                                              zem::atLeastOne(width, n)))
        return s;
    mixtureDistances(zem::scorerows::GaussiansD2<Zem32f>{mean, var, step}, src, width, dst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                const Zem32f* src, int width, Zem32f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, dst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    mixtureDistances(zem::scorerows::GaussiansD2L<Zem32f>{meanRows, varRows}, src, width, dst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                               int width, Zem64f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, dst),
                                              zem::atLeastOne(width, n)))
        return s;
    mixtureDistances(zem::scorerows::GaussiansD2<Zem64f>{mean, var, step}, src, width, dst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                const Zem64f* src, int width, Zem64f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, dst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    mixtureDistances(zem::scorerows::GaussiansD2L<Zem64f>{meanRows, varRows}, src, width, dst, n);
    return zemStatusOk;
}

}  // extern "C"
