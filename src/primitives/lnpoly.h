// Natural logarithm of floats from a polynomial on the mantissa.
//
// x = m * 2^e with m in [sqrt(1/2), sqrt(2)); ln(x) = ln(m) + e ln 2, where ln(m) comes
// from a degree-9 polynomial in f = m - 1 and ln 2 is split into a short head and a
// correction.  Zero gives -inf, negatives NaN, +inf itself, NaN itself.  Every lane is
// the same sequence of float operations, so the result of an element does not depend
// on its position or on the build.
#pragma once

#include "simd.h"

namespace zem {

// ln(m * 2^e) for x whose lanes are all positive normal finite floats.
inline simd::F32x8 lnPolyNormal(simd::F32x8 x, simd::F32x8 exponentShift) {
    using namespace simd;
    const F32x8 one = splat(1.0f);
    const I32x8 b = bits(x);
    F32x8 e = toFloat(shiftRightLogical<23>(b) - splatI(126)) - exponentShift;
    F32x8 m = bits((b & splatI(0x007fffff)) | splatI(0x3f000000));  // in [0.5, 1)
    const F32x8 low = lt(m, splat(0.707106781186547524f));
    e = select(low, e - one, e);
    m = select(low, (m + m) - one, m - one);
    const F32x8 z = m * m;
    F32x8 y = splat(7.0376836292e-2f);
    y = y * m - splat(1.1514610310e-1f);
    y = y * m + splat(1.1676998740e-1f);
    y = y * m - splat(1.2420140846e-1f);
    y = y * m + splat(1.4249322787e-1f);
    y = y * m - splat(1.6668057665e-1f);
    y = y * m + splat(2.0000714765e-1f);
    y = y * m - splat(2.4999993993e-1f);
    y = y * m + splat(3.3333331174e-1f);
    y = y * m * z;
    y = y + e * splat(-2.12194440e-4f);
    y = y - z * splat(0.5f);
    F32x8 r = m + y;
    return r + e * splat(0.693359375f);
}

inline simd::F32x8 lnPoly(simd::F32x8 x) {
    using namespace simd;
    const F32x8 smallestNormal = splat(0x1p-126f);
    const F32x8 inf = splat(__builtin_inff());
    if (signMask(le(smallestNormal, x) & lt(x, inf)) == 0xff) return lnPolyNormal(x, splat(0.0f));
    // Subnormals are brought into the normal range first; the special values are
    // patched in afterwards.
    const F32x8 isSubnormal = lt(x, smallestNormal);
    const F32x8 xs = select(isSubnormal, x * splat(0x1p23f), x);
    F32x8 r = lnPolyNormal(xs, select(isSubnormal, splat(23.0f), splat(0.0f)));
    const F32x8 zero = splat(0.0f);
    r = select(eq(x, inf), inf, r);
    r = select(eq(x, zero), splat(-__builtin_inff()), r);
    r = select(lt(x, zero), splat(__builtin_nanf("")), r);
    r = select(unordered(x, x), x, r);
    return r;
}

// ln of n <= 8 floats through the same lanes.
inline void lnPolyTail(const float* src, float* dst, int n) {
    float lanes[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    for (int k = 0; k < n; ++k) lanes[k] = src[k];
    simd::store(lanes, lnPoly(simd::load(lanes)));
    for (int k = 0; k < n; ++k) dst[k] = lanes[k];
}

// ln of every element; src may equal dst.
inline void lnPolyBlock(const float* src, float* dst, int n) {
    int i = 0;
    for (; i + 8 <= n; i += 8) simd::store(dst + i, lnPoly(simd::load(src + i)));
    if (i < n) lnPolyTail(src + i, dst + i, n - i);
}

}  // namespace zem
