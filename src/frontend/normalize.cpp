// Range normalisation: the part of [minVal, maxVal] between the lower and upper ratios is
// mapped onto [0, range], the rest clipped:
//
//     w = maxVal - minVal,  hi = upperRatio * w,  lo = w * lowerRatio,  f = range / (hi - lo)
//     dst[i] = max(0, min(hi + minVal, x[i]) - (minVal + lo)) * f
//
// in float for every source type.  Integer destinations take the result rounded to
// nearest with ties to even and limited to the type; a NaN result stores 0 there.  The
// MinMax forms take the bounds from the caller, the others find them in the source.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace simd = zem::simd;

namespace {

// The eight samples at p as floats; only the first n are read, the other lanes are 0.
template <class Src>
inline simd::F32x8 loadAsFloat(const Src* p, int n) {
    if constexpr (std::is_same_v<Src, Zem32f>) {
        if (n == 8) return simd::load(p);
    }
    float lanes[8] = {};
    for (int k = 0; k < n; ++k) lanes[k] = static_cast<float>(p[k]);
    return simd::load(lanes);
}

// Non-negative v (at most 2^23) rounded to nearest, ties to even, without reading the
// rounding direction: the truncated integer is raised when the dropped fraction is above
// one half, or exactly one half with an odd integer.
inline simd::I32x8 roundHalfEvenNonNegative(simd::F32x8 v) {
    const simd::I32x8 t = simd::toIntTrunc(v);
    const simd::F32x8 frac = v - simd::toFloat(t);
    const simd::F32x8 half = simd::splat(0.5f);
    const simd::F32x8 odd = simd::eq(simd::toFloat(t & simd::splatI(1)), simd::splat(1.0f));
    const simd::F32x8 up = simd::lt(half, frac) | (simd::eq(frac, half) & odd);
    return t - simd::bits(up);  // a set lane is -1 as an integer
}

// Stores the first n lanes: floats as they are, integers rounded and limited.
template <class Dst>
inline void storeLanes(Dst* p, simd::F32x8 v, int n) {
    if constexpr (std::is_same_v<Dst, Zem32f>) {
        if (n == 8) return simd::store(p, v);
        float lanes[8];
        simd::store(lanes, v);
        for (int k = 0; k < n; ++k) p[k] = lanes[k];
    } else {
        constexpr float kTop = std::is_same_v<Dst, Zem16s> ? 32767.0f : 255.0f;
        // v is 0 or more or NaN: max(v, 0) takes NaN to 0.
        const simd::F32x8 limited = simd::min(simd::max(v, simd::splat(0.0f)), simd::splat(kTop));
        int32_t lanes[8];
        simd::store(lanes, roundHalfEvenNonNegative(limited));
        for (int k = 0; k < n; ++k) p[k] = static_cast<Dst>(lanes[k]);
    }
}

template <class Src, class Dst>
ZemStatus normalizeBody(const Src* src, Dst* dst, int len, float minVal, float maxVal, float lowerRatio,
                        float upperRatio, float range) {
    if (minVal == maxVal) {
        std::memset(dst, 0, static_cast<size_t>(len) * sizeof(Dst));
        return zemStatusInverseZeroWarning;
    }
    const float w = maxVal - minVal;
    const float hi = upperRatio * w, lo = w * lowerRatio;
    const float f = range / (hi - lo);
    const simd::F32x8 top = simd::splat(hi + minVal), base = simd::splat(minVal + lo), vf = simd::splat(f);
    const simd::F32x8 zero = simd::splat(0.0f);
    for (int i = 0; i < len; i += 8) {
        const int n = len - i < 8 ? len - i : 8;
        const simd::F32x8 clipped = simd::min(loadAsFloat(src + i, n), top);  // NaN samples take the top
        storeLanes(dst + i, simd::max(clipped - base, zero) * vf, n);
    }
    return zemStatusOk;
}

template <class Src>
void sourceRange(const Src* src, int len, float* minVal, float* maxVal) {
    Src lo = src[0], hi = src[0];
    for (int i = 1; i < len; ++i) {
        lo = src[i] < lo ? src[i] : lo;
        hi = src[i] > hi ? src[i] : hi;
    }
    *minVal = static_cast<float>(lo);
    *maxVal = static_cast<float>(hi);
}

// The bounds found in the source.  Float sources shorter than two samples, and 16-bit
// sources of at most two, count as an empty range: zeros and the warning, even for two
// different 16-bit samples.  That threshold is intended and kept.
template <class Src, class Dst>
ZemStatus normalizeFound(const Src* src, Dst* dst, int len, float lowerRatio, float upperRatio, float range) {
    constexpr int kShortest = std::is_same_v<Src, Zem16s> ? 3 : 2;
    if (len < kShortest) {
        std::memset(dst, 0, static_cast<size_t>(len) * sizeof(Dst));
        return zemStatusInverseZeroWarning;
    }
    float minVal, maxVal;
    sourceRange(src, len, &minVal, &maxVal);
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

template <class R>
inline bool negative(R v) {
    if constexpr (std::is_unsigned_v<R>) return false;
    else return v < R(0);
}

// Null; size; then two groups of value checks, both zemStatusBadArg.
template <class R>
ZemStatus checkRanged(const void* src, const void* dst, int len, float lowerRatio, float upperRatio, R range,
                      bool boundsReversed) {
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len),
                             zem::ensure(!(lowerRatio < 0.0f || lowerRatio >= upperRatio), zemStatusBadArg),
                             zem::ensure(!(upperRatio > 1.0f || negative(range) || boundsReversed), zemStatusBadArg));
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsNormalizeInRange_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f lowerRatio,
                                             Zem32f upperRatio, Zem32f range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(src, dst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_32f16s(const Zem32f* src, Zem16s* dst, int len, Zem32f lowerRatio,
                                                Zem32f upperRatio, Zem16s range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(src, dst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_32f8u(const Zem32f* src, Zem8u* dst, int len, Zem32f lowerRatio,
                                               Zem32f upperRatio, Zem8u range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(src, dst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_16s(const Zem16s* src, Zem16s* dst, int len, Zem32f lowerRatio,
                                             Zem32f upperRatio, Zem16s range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(src, dst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_16s8u(const Zem16s* src, Zem8u* dst, int len, Zem32f lowerRatio,
                                               Zem32f upperRatio, Zem8u range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(src, dst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_32f_I(Zem32f* srcDst, int len, Zem32f lowerRatio, Zem32f upperRatio,
                                               Zem32f range) {
    if (const ZemStatus s = checkRanged(srcDst, srcDst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(srcDst, srcDst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRange_16s_I(Zem16s* srcDst, int len, Zem32f lowerRatio, Zem32f upperRatio,
                                               Zem16s range) {
    if (const ZemStatus s = checkRanged(srcDst, srcDst, len, lowerRatio, upperRatio, range, false)) return s;
    return normalizeFound(srcDst, srcDst, len, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f minVal,
                                                   Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                   Zem32f range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, minVal > maxVal)) return s;
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f16s(const Zem32f* src, Zem16s* dst, int len, Zem32f minVal,
                                                      Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                      Zem16s range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, minVal > maxVal)) return s;
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f8u(const Zem32f* src, Zem8u* dst, int len, Zem32f minVal,
                                                     Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                     Zem8u range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, minVal > maxVal)) return s;
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s minVal,
                                                   Zem16s maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                   Zem16s range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, minVal > maxVal)) return s;
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s8u(const Zem16s* src, Zem8u* dst, int len, Zem16s minVal,
                                                     Zem16s maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                     Zem8u range) {
    if (const ZemStatus s = checkRanged(src, dst, len, lowerRatio, upperRatio, range, minVal > maxVal)) return s;
    return normalizeBody(src, dst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f_I(Zem32f* srcDst, int len, Zem32f minVal, Zem32f maxVal,
                                                     Zem32f lowerRatio, Zem32f upperRatio, Zem32f range) {
    if (const ZemStatus s = checkRanged(srcDst, srcDst, len, lowerRatio, upperRatio, range, minVal > maxVal))
        return s;
    return normalizeBody(srcDst, srcDst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s_I(Zem16s* srcDst, int len, Zem16s minVal, Zem16s maxVal,
                                                     Zem32f lowerRatio, Zem32f upperRatio, Zem16s range) {
    if (const ZemStatus s = checkRanged(srcDst, srcDst, len, lowerRatio, upperRatio, range, minVal > maxVal))
        return s;
    return normalizeBody(srcDst, srcDst, len, minVal, maxVal, lowerRatio, upperRatio, range);
}

}  // extern "C"
