// Elementwise special functions: the Gaussian bell exp(-x^2), the sampling function
// sin(x)/x and the reciprocal square root with a floor on its input.
//
// The bell and the sampling function take the double-precision exp and sin of the
// standard library; the float forms narrow where their precision says.  The reciprocal
// square root starts from an estimate of its own (below) and takes one Newton step in
// float, so its bits are the same on every x86 processor and in either SIMD build.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/align.h"
#include "frame/check.h"
#include "frame/scale.h"
#include "own.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace simd = zem::simd;

namespace {

// ---- exp(-x^2) and sin(x)/x --------------------------------------------------------------------

// Float data: the square negated in float (0 - x*x), the exponential in double, narrowed.
// Widened data: square and exponential in double.
template <class Src, class Dst>
inline Dst expNegSqr(Src x) {
    if constexpr (std::is_same_v<Src, float> && std::is_same_v<Dst, float>)
        return static_cast<float>(std::exp(static_cast<double>(0.0f - x * x)));
    else {
        const double d = x;
        return static_cast<Dst>(std::exp(0.0 - d * d));
    }
}

// 1 at zero of either sign.  Float data: the sine in double, narrowed, divided in float.
// Widened data: sine and division in double.  NaN stays NaN.
template <class Src, class Dst>
inline Dst sinc(Src x) {
    if (x == Src(0)) return Dst(1);
    if constexpr (std::is_same_v<Src, float> && std::is_same_v<Dst, float>)
        return static_cast<float>(std::sin(static_cast<double>(x))) / x;
    else {
        const double d = x;
        return static_cast<Dst>(std::sin(d) / d);
    }
}

template <class Src, class Dst, class F>
void elementwise(const Src* src, Dst* dst, int len, F f) {
    for (int i = 0; i < len; ++i) dst[i] = f(src[i]);
}

ZemStatus checkElementwise(const void* src, const void* dst, int len) {
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len));
}

// ---- Reciprocal square root ---------------------------------------------------------------------------

// The estimate y0 of 1/sqrt(x), x > 0 and finite: a seed from the bit pattern
// (0x5f375a86 - bits/2, relative error below 3.5 %) refined by two Newton steps in float,
// relative error below 5e-6, i.e. more than 17 bits where 12 are asked for.  Denormal x are
// lifted by 2^24 first and the estimate scaled back by 2^12; +inf gives 0.  Only IEEE
// additions, multiplications and integer operations: the same bits everywhere.
inline simd::F32x8 rsqrtEstimate(simd::F32x8 x) {
    const simd::F32x8 tiny = simd::lt(x, simd::splat(0x1p-126f));
    const simd::F32x8 xs = simd::select(tiny, x * simd::splat(0x1p24f), x);
    simd::F32x8 y = simd::bits(simd::splatI(0x5f375a86) - simd::shiftRightLogical<1>(simd::bits(xs)));
    const simd::F32x8 halfX = xs * simd::splat(0.5f), threeHalves = simd::splat(1.5f);
    y = y * (threeHalves - halfX * y * y);
    y = y * (threeHalves - halfX * y * y);
    y = simd::select(tiny, y * simd::splat(0x1p12f), y);
    return simd::select(simd::eq(x, simd::splat(__builtin_inff())), simd::splat(0.0f), y);
}

// The floated results of one group of eight, with the count of lanes replaced by the floor.
struct Group {
    simd::F32x8 y;
    int floored;
};

// x at or below v (or NaN) gives v itself; otherwise y = 0.5 * y0 * (3 - x * y0 * y0).
inline Group recSqrtFloorAtOrBelow(simd::F32x8 x, simd::F32x8 v, int lanes) {
    const simd::F32x8 keep = simd::lt(v, x);  // false for NaN
    const simd::F32x8 y0 = rsqrtEstimate(simd::select(keep, x, simd::splat(1.0f)));
    const simd::F32x8 y = simd::splat(0.5f) * y0 * (simd::splat(3.0f) - x * y0 * y0);
    return {simd::select(keep, y, v), lanes - __builtin_popcount(static_cast<unsigned>(simd::signMask(keep)) &
                                                                  ((1u << lanes) - 1u))};
}

// x below v gives v; otherwise y = (x * y0 * y0 - 3) * y0 * -0.5: the same Newton step with
// its operations in another order, which rounds differently.
inline Group recSqrtFloorBelow(simd::F32x8 x, simd::F32x8 v, int lanes) {
    const simd::F32x8 keep = simd::le(v, x);
    const simd::F32x8 y0 = rsqrtEstimate(simd::select(keep, x, simd::splat(1.0f)));
    const simd::F32x8 y = (x * y0 * y0 - simd::splat(3.0f)) * y0 * simd::splat(-0.5f);
    return {simd::select(keep, y, v), lanes - __builtin_popcount(static_cast<unsigned>(simd::signMask(keep)) &
                                                                  ((1u << lanes) - 1u))};
}

inline simd::F32x8 loadFloats(const Zem32f* p, int n) {
    if (n == 8) return simd::load(p);
    return simd::loadFirst(p, n);
}

inline simd::F32x8 loadFloats(const Zem32s* p, int n) {
    if (n == 8) return simd::toFloat(simd::loadI(p));
    int32_t lanes[8] = {};
    for (int k = 0; k < n; ++k) lanes[k] = p[k];
    return simd::toFloat(simd::loadI(lanes));
}

template <class T>
inline void storeFirst(T* p, const T* lanes, int n) {
    for (int k = 0; k < n; ++k) p[k] = lanes[k];
}

// Runs rule over groups of eight; out(i, y, n) stores a group.  Returns the warning when
// every element was replaced by the floor.
template <class Src, class Rule, class Out>
ZemStatus recSqrtGroups(const Src* src, int len, float v, Rule rule, Out out) {
    int64_t floored = 0;
    const simd::F32x8 vv = simd::splat(v);
    for (int i = 0; i < len; i += 8) {
        const int n = len - i < 8 ? len - i : 8;
        const Group g = rule(loadFloats(src + i, n), vv, n);
        floored += g.floored;
        out(i, g.y, n);
    }
    return floored == len ? zemStatusInverseZeroWarning : zemStatusOk;
}

// A float result limited to [lo, hi] and truncated toward zero; NaN gives 0.
inline simd::I32x8 truncLimited(simd::F32x8 r, float lo, float hi) {
    const simd::F32x8 nan = simd::unordered(r, r);
    const simd::F32x8 t = simd::min(simd::max(r, simd::splat(lo)), simd::splat(hi));
    return simd::toIntTrunc(simd::select(nan, simd::splat(0.0f), t));
}

ZemStatus checkRecSqrt(const void* src, const void* dst, int len, bool valPositive) {
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len), zem::ensure(valPositive, zemStatusBadArg));
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsExpNegSqr_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, expNegSqr<float, float>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsExpNegSqr_32f_I(Zem32f* srcDst, int len) {
    if (const ZemStatus s = checkElementwise(srcDst, srcDst, len)) return s;
    elementwise(srcDst, srcDst, len, expNegSqr<float, float>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsExpNegSqr_32f64f(const Zem32f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, expNegSqr<float, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsExpNegSqr_64f(const Zem64f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, expNegSqr<double, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsExpNegSqr_64f_I(Zem64f* srcDst, int len) {
    if (const ZemStatus s = checkElementwise(srcDst, srcDst, len)) return s;
    elementwise(srcDst, srcDst, len, expNegSqr<double, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSinC_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, sinc<float, float>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSinC_32f_I(Zem32f* srcDst, int len) {
    if (const ZemStatus s = checkElementwise(srcDst, srcDst, len)) return s;
    elementwise(srcDst, srcDst, len, sinc<float, float>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSinC_32f64f(const Zem32f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, sinc<float, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSinC_64f(const Zem64f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = checkElementwise(src, dst, len)) return s;
    elementwise(src, dst, len, sinc<double, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSinC_64f_I(Zem64f* srcDst, int len) {
    if (const ZemStatus s = checkElementwise(srcDst, srcDst, len)) return s;
    elementwise(srcDst, srcDst, len, sinc<double, double>);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsRecSqrt_32f(Zem32f* srcDst, int len, Zem32f val) {
    if (const ZemStatus s = checkRecSqrt(srcDst, srcDst, len, val > 0.0f)) return s;
    return recSqrtGroups(srcDst, len, val, recSqrtFloorAtOrBelow, [&](int i, simd::F32x8 y, int n) {
        if (n == 8) return simd::store(srcDst + i, y);
        float lanes[8];
        simd::store(lanes, y);
        storeFirst(srcDst + i, lanes, n);
    });
}

// Two routes by the alignment of srcDst, which round differently on purpose: aligned,
// the float rule of zemsRecSqrt_32f converted with rounding to nearest; otherwise the rule
// of the 16-bit destination form, clamped to [-2^31, 2^31] and truncated, 2^31 storing
// 0x80000000.
ZEMSR_API ZemStatus zemsRecSqrt_32s_Sfs(Zem32s* srcDst, int len, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = checkRecSqrt(srcDst, srcDst, len, val > 0)) return s;
    const float v = static_cast<float>(val);
    if (zem::isAligned16(srcDst))
        return recSqrtGroups(srcDst, len, v, recSqrtFloorAtOrBelow, [&](int i, simd::F32x8 y, int n) {
            float lanes[8];
            simd::store(lanes, y);
            ownConvert_32f32s_Sfs(lanes, srcDst + i, n, 1, scaleFactor);
        });
    const simd::F32x8 factor = simd::splat(zem::pow2Neg32f(scaleFactor));
    return recSqrtGroups(srcDst, len, v, recSqrtFloorBelow, [&](int i, simd::F32x8 y, int n) {
        const simd::F32x8 r = factor * y;
        const simd::F32x8 reaches = simd::le(simd::splat(2147483648.0f), r);
        simd::I32x8 t = truncLimited(r, -2147483648.0f, 2147483648.0f);
        t = simd::bits(simd::select(reaches, simd::bits(simd::splatI(INT32_MIN)), simd::bits(t)));
        int32_t lanes[8];
        simd::store(lanes, t);
        storeFirst(srcDst + i, lanes, n);
    });
}

ZEMSR_API ZemStatus zemsRecSqrt_32s16s_Sfs(const Zem32s* src, Zem16s* dst, int len, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = checkRecSqrt(src, dst, len, val > 0)) return s;
    const simd::F32x8 factor = simd::splat(zem::pow2Neg32f(scaleFactor));
    return recSqrtGroups(src, len, static_cast<float>(val), recSqrtFloorBelow, [&](int i, simd::F32x8 y, int n) {
        int32_t lanes[8];
        simd::store(lanes, truncLimited(factor * y, -32768.0f, 32767.0f));
        for (int k = 0; k < n; ++k) dst[i + k] = static_cast<Zem16s>(lanes[k]);
    });
}

}  // extern "C"
