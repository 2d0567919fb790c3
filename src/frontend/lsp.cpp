// Line spectral pairs and the LP spectrum.  LSPs are stored as x = cos(w) in decreasing
// order, the first, third, ... roots of the sum polynomial P and the second, fourth, ...
// of the difference polynomial Q.  The search for them walks a grid uniform in x, refines
// each sign change by bisection and a last linear interpolation, and alternates between
// P and Q from the root found, so that two roots in one grid interval are both found.
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/check.h"
#include "frontend/lpshared.h"
#include "own.h"
#include "zemsr.h"

namespace {

using zem::Scratch;
using zem::lp::placeBy;
using zem::lp::pow2f;

constexpr int kLspStackOrder = 58;  // P and Q on the stack up to this order

int64_t halfCount(int n) { return int64_t{n} / 2 + 3; }

// The coefficients after the leading 1 of P (m1 of them) and Q (m2).
struct Polys {
    float* p;
    int m1;
    float* q;
    int m2;
};

Polys sumAndDifference(const float* a, int n, float* p, float* q) {
    p[0] = q[0] = 1.0f;
    if (n % 2 == 0) {
        const int m = n / 2;
        for (int i = 1; i <= m; ++i) {
            p[i] = a[i - 1] + a[n - i] - p[i - 1];
            q[i] = a[i - 1] - a[n - i] + q[i - 1];
        }
        return {p, m, q, m};
    }
    const int m1 = (n + 1) / 2, m2 = (n - 1) / 2;
    if (m2 >= 1) q[1] = a[n - 1] - a[0];
    for (int i = 2; i <= m2; ++i) q[i] = q[i - 2] + a[n - i] - a[i - 1];
    for (int i = 1; i < m1; ++i) p[i] = -a[i - 1] - a[n - i];
    p[m1] = -2.0f * a[m1 - 1];
    return {p, m1, q, m2};
}

// The Chebyshev series of a polynomial of m coefficients after the leading one, at x,
// by the Clenshaw recurrence.
float chebyshev(const float* c, int m, float x) {
    if (m == 0) return 0.0f;
    const float x2 = 2.0f * x;
    if (m == 1) return x2 + c[1];
    float b0 = 1.0f, b1 = x2 + c[1];
    for (int k = 2; k < m; ++k) {
        const float t = x2 * b1 - b0 + c[k];
        b0 = b1;
        b1 = t;
    }
    return x * b1 - b0 + 0.5f * c[m];
}

// A sign change between x (value v) and y (value w), y < x: nBisect halvings, then the
// chord.  A value of exactly zero counts as a change.  Once the midpoint falls on an end
// of the bracket (or is NaN) the bracket no longer moves, so the halvings stop there:
// the result is that of all nBisect of them, and a huge nBisect costs no more.
float refine(const float* c, int m, float x, float v, float y, float w, int nBisect) {
    for (int i = 0; i < nBisect; ++i) {
        const float s = (x + y) * 0.5f;
        const float u = chebyshev(c, m, s);
        const bool still = s == x || s == y || s != s;
        if (v * u <= 0.0f) {
            y = s;
            w = u;
        } else {
            x = s;
            v = u;
        }
        if (still) break;
    }
    return y - w * (x - y) / (v - w);
}

struct Found {
    ZemStatus status;
    int count;
};

// The grid is 1 - g (2/nGrid) by repeated subtraction in float, and -1 at its end.
Found findRoots(const float* a, int n, float* roots, int nGrid, int nBisect) {
    Scratch<float, 2 * (kLspStackOrder / 2 + 3)> work(placeBy(n <= kLspStackOrder, 2 * halfCount(n),
                                                             2 * (kLspStackOrder / 2 + 3)));
    if (!work.ok()) return {zemStatusNoMemory, 0};
    const Polys polys = sumAndDifference(a, n, work.data(), work.data() + halfCount(n));
    const float* c[2] = {polys.p, polys.q};
    const int m[2] = {polys.m1, polys.m2};
    const float d = 2.0f / static_cast<float>(nGrid);
    int which = 0, found = 0, g = 0;
    float gridX = 1.0f, x = 1.0f, v = chebyshev(c[0], m[0], 1.0f);
    while (found < n && g < nGrid) {
        const float y = g + 1 == nGrid ? -1.0f : gridX - d;
        const float w = chebyshev(c[which], m[which], y);
        if (v * w > 0.0f) {
            x = gridX = y;
            v = w;
            ++g;
            continue;
        }
        const float root = refine(c[which], m[which], x, v, y, w, nBisect);
        roots[found++] = root;
        which ^= 1;
        x = root;
        v = chebyshev(c[which], m[which], root);
    }
    return {found == n ? zemStatusOk : zemStatusNoRoot, found};
}

// P from x[0], x[2], ...; Q from x[1], x[3], ...: the products of (1 - 2 q z^-1 + z^-2),
// of which the first m + 1 coefficients (the rest mirror them) are built in f.
void expand(const float* x, int count, float* f) {
    f[0] = 1.0f;
    if (count == 0) return;
    f[1] = -2.0f * x[0];
    for (int i = 1; i < count; ++i) {
        const float c = -2.0f * x[2 * i];
        f[i + 1] = c * f[i] + 2.0f * f[i - 1];
        for (int j = i; j >= 2; --j) f[j] = f[j] + c * f[j - 1] + f[j - 2];
        f[1] = f[1] + c;
    }
}

ZemStatus lspToLP(const float* x, float* a, int n) {
    const int64_t h = halfCount(n);
    Scratch<float, 2 * (kLspStackOrder / 2 + 3)> work(placeBy(n <= kLspStackOrder, 2 * h,
                                                             2 * (kLspStackOrder / 2 + 3)));
    if (!work.ok()) return zemStatusNoMemory;
    float* p = work.data();
    float* q = p + h;
    for (int64_t i = 0; i < 2 * h; ++i) p[i] = 0.0f;
    expand(x, (n + 1) / 2, p);
    expand(x + 1, n / 2, q);
    if (n % 2 == 0) {
        const int m = n / 2;
        for (int i = m; i >= 1; --i) {
            p[i] = p[i] + p[i - 1];
            q[i] = q[i] - q[i - 1];
        }
        for (int i = 1; i <= m; ++i) {
            a[i - 1] = 0.5f * (p[i] + q[i]);
            a[n - i] = 0.5f * (p[i] - q[i]);
        }
        return zemStatusOk;
    }
    // The factor is negative because of the sign the odd case of the forward conversion
    // gives to P.
    const int m1 = (n + 1) / 2, m2 = (n - 1) / 2;
    a[0] = -0.5f * (p[1] + q[1]);
    for (int i = 0; i <= m1 - 3; ++i) a[i + 1] = -0.5f * (p[i + 2] + q[i + 2] - q[i]);
    a[m1 - 1] = -0.5f * p[m1];
    for (int i = 0; i <= m2 - 3; ++i) a[n - 3 - i] = -0.5f * (p[i + 3] - q[i + 3] + q[i + 1]);
    a[n - 1] = -0.5f * (p[1] - q[1]);
    if (n >= 4) a[n - 2] = -0.5f * (1.0f + p[2] - q[2]);
    return zemStatusOk;
}

// x[0] < 1, non-increasing, x[n-1] > -1 (float form: bounds exclusive).
bool lspInRange(const float* x, int n) {
    if (x[0] >= 1.0f) return false;
    for (int i = 0; i + 1 < n; ++i)
        if (x[i + 1] > x[i]) return false;
    return !(x[n - 1] <= -1.0f);
}

// The 16-bit form's bounds are inclusive: -2^shift <= x <= 2^shift.
bool lspInRange16(const Zem16s* x, int n, int shift) {
    const int64_t one = shift > 40 ? int64_t{1} << 40 : int64_t{1} << shift;
    if (x[0] > one) return false;
    for (int i = 0; i + 1 < n; ++i)
        if (x[i] < x[i + 1]) return false;
    return !(x[n - 1] < -one);
}

// trunc(v +- 0.5) with the sign of v, into 16 bits without saturation: the integer
// conversion's low half (an out-of-range value converts to the integer indefinite, whose
// low half is 0).
Zem16s roundAwayNoSaturation(float v) {
    const float t = v + (v < 0.0f ? -0.5f : 0.5f);
    const int32_t i = std::fabs(t) < 2147483648.0f ? static_cast<int32_t>(t) : INT32_MIN;
    return static_cast<Zem16s>(i);
}

// The spectrum 1/|A| of the bins 0 .. 2^order - 1 of an N = 2^(order+1) point transform
// of (0, a[0], .., a[len-1], 0, ..), with val taken from the real part of bin 0 alone.
constexpr int kSpectrumStackOrder = 6;

ZemStatus lpSpectrum(const float* a, int len, float* dst, int order, float val) {
    const int fftOrder = order < 30 ? order + 1 : 31;  // beyond 30 the transform refuses
    Zem32s sizeState = 0, sizeInit = 0, sizeBuf = 0;
    if (const ZemStatus s = ownFFTGetSize_R_32f(fftOrder, 8, 2, &sizeState, &sizeInit, &sizeBuf); s != zemStatusOk)
        return s;
    const bool small = order <= kSpectrumStackOrder;
    const int64_t n = int64_t{1} << fftOrder, bins = n / 2;
    constexpr int64_t kBytes = 4096, kFloats = 200;
    Scratch<Zem8u, kBytes> mem(placeBy(small, int64_t{sizeState} + sizeInit + sizeBuf + 96, kBytes));
    Scratch<float, kFloats> work(placeBy(small, n + 2 + bins, kFloats));
    if (!mem.ok() || !work.ok()) return zemStatusNoMemory;
    Zem8u* memState = zem::alignUp<Zem8u>(mem.data(), 32);
    Zem8u* memInit = zem::alignUp<Zem8u>(memState + sizeState, 32);
    Zem8u* buffer = zem::alignUp<Zem8u>(memInit + sizeInit, 32);
    ZemsFFTState_R_32f* state = nullptr;
    if (const ZemStatus s = ownFFTInit_R_32f(&state, fftOrder, 8, 2, memState, memInit); s != zemStatusOk) return s;
    float* ccs = work.data();
    float* mag = ccs + n + 2;
    ccs[0] = 0.0f;
    for (int i = 0; i < len; ++i) ccs[i + 1] = a[i];
    for (int64_t i = len + 1; i < n; ++i) ccs[i] = 0.0f;
    if (const ZemStatus s = ownFFTFwd_RToCCS_32f(ccs, ccs, state, buffer); s != zemStatusOk) return s;
    ccs[0] = ccs[0] - val;
    if (const ZemStatus s = ownMagnitude_32fc(ccs, mag, static_cast<int>(bins)); s != zemStatusOk) return s;
    ZemStatus status = zemStatusOk;
    for (int64_t i = 0; i < bins; ++i) {
        if (mag[i] == 0.0f) status = zemStatusDivideByZeroWarning;
        dst[i] = 1.0f / mag[i];  // exact, for the reciprocal estimate with one Newton step
    }
    return status;
}

ZemStatus checkSpectrum(const void* src, int len, const void* dst, int order) {
    const int64_t e = int64_t{order} + 1;
    const bool fits = e >= 1 && (e > 62 || len < (int64_t{1} << e));
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len), zem::ensure(fits, zemStatusBadSize));
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsLPToLSP_32f(const Zem32f* src, Zem32f* dst, int n, Zem32s* nRoots, int nGrid, int nBisect) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(src, dst, nRoots),
            zem::ensure(nGrid >= 1 && nBisect >= 1 && n >= 1 && n <= nGrid, zemStatusBadSize)))
        return s;
    const Found f = findRoots(src, n, dst, nGrid, nBisect);
    if (f.status != zemStatusNoMemory) *nRoots = f.count;
    return f.status;
}

ZEMSR_API ZemStatus zemsLPToLSP_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n, Zem32s* nRoots,
                                        int nGrid, int nBisect, int dstScale) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, nRoots), zem::atLeastOne(nBisect, n),
                                              zem::ensure(n <= nGrid, zemStatusBadSize)))
        return s;
    *nRoots = 0;
    Scratch<float, 2 * kLspStackOrder> work(2 * int64_t{n});
    if (!work.ok()) return zemStatusNoMemory;
    float* a = work.data();
    float* roots = a + n;
    zem::lp::widenScaled(src, a, n, pow2f(-int64_t{srcScale}));
    const Found f = findRoots(a, n, roots, nGrid, nBisect);
    if (f.status == zemStatusNoMemory) return f.status;
    const float out = pow2f(-int64_t{dstScale});
    for (int i = 0; i < f.count; ++i) dst[i] = roundAwayNoSaturation(roots[i] * out);
    *nRoots = f.count;
    return f.status;
}

ZEMSR_API ZemStatus zemsLSPToLP_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(n),
                                              zem::ensure([=] { return lspInRange(src, n); }, zemStatusBadLsp)))
        return s;
    return lspToLP(src, dst, n);
}

ZEMSR_API ZemStatus zemsLSPToLP_16s_Sfs(const Zem16s* src, int srcShift, Zem16s* dst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(src, dst), zem::atLeastOne(n, srcShift),
            zem::ensure([=] { return lspInRange16(src, n, srcShift); }, zemStatusBadLsp)))
        return s;
    return zem::lp::aroundFloat<2 * kLspStackOrder>(
        src, n, pow2f(-int64_t{srcShift}), dst, n, pow2f(-int64_t{scaleFactor}), n <= kLspStackOrder,
        [=](const float* x, float* a) { return zem::lp::Span{lspToLP(x, a, n), 0, n}; });
}

ZEMSR_API ZemStatus zemsLPToSpectrum_32f(const Zem32f* src, int len, Zem32f* dst, int order, Zem32f val) {
    if (const ZemStatus s = checkSpectrum(src, len, dst, order)) return s;
    return lpSpectrum(src, len, dst, order, val);
}

ZEMSR_API ZemStatus zemsLPToSpectrum_16s_Sfs(const Zem16s* src, int len, Zem32s* dst, int order, Zem32s val,
                                             int scaleFactor) {
    if (const ZemStatus s = checkSpectrum(src, len, dst, order)) return s;
    const int64_t bins = order < 30 ? int64_t{1} << order : 0;
    Scratch<float, 192> work(placeBy(order <= kSpectrumStackOrder, len + bins, 192));
    if (!work.ok()) return zemStatusNoMemory;
    float* a = work.data();
    float* out = a + len;
    ownConvert_16s32f(src, a, len);
    const ZemStatus s = lpSpectrum(a, len, out, order, static_cast<float>(val));
    if (s < 0) return s;
    ownConvert_32f32s_Sfs(out, dst, static_cast<int>(bins), 1, scaleFactor);
    return s;
}

}  // extern "C"
