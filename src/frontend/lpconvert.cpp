// Conversions among predictor coefficients, cepstrum and reflection coefficients, and
// the measures derived from reflection coefficients (area ratios, log area ratios,
// tilt).  A(z) = 1 + a[0] z^-1 + ...; a reflection coefficient is minus the last
// coefficient of its stage, so k[0] of a first-order model is +r[1]/r[0].
//
// Quotients are exact float divisions: they stand for the reciprocal estimate refined by
// one Newton step that the operations are defined with (about 22 good bits), and give
// the same bits on every processor and for every alignment.
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/check.h"
#include "frontend/lpshared.h"
#include "own.h"
#include "zemsr.h"

namespace {

using zem::Scratch;
using zem::lp::aroundFloat;
using zem::lp::pow2f;
using zem::lp::Span;

constexpr float kInf = std::numeric_limits<float>::infinity();

// 1/i for i = 1..21, the small sizes' multipliers.
constexpr float kReciprocal[22] = {0.0f,       1.0f,        1.0f / 2,  1.0f / 3,  1.0f / 4,  1.0f / 5,
                                   1.0f / 6,   1.0f / 7,    1.0f / 8,  1.0f / 9,  1.0f / 10, 1.0f / 11,
                                   1.0f / 12,  1.0f / 13,   1.0f / 14, 1.0f / 15, 1.0f / 16, 1.0f / 17,
                                   1.0f / 18,  1.0f / 19,   1.0f / 20, 1.0f / 21};
constexpr int kCepstrumStack = 21;

// y[i] = -x[i] - (1/i) sum_{j=1}^{i-1} (i - j) x[j] y[i-j], 1-based.  LP to cepstrum with
// x = a, y = c; cepstrum to LP is the same recursion with the arrays exchanged (it
// inverts the first only up to n = 2, and is defined so).  Sizes below 22 multiply by the
// stored 1/i, larger ones divide.
Span cepstralRecursion(const float* x, float* dst, int n) {
    Scratch<float, kCepstrumStack> y(n);
    if (!y.ok()) return {zemStatusNoMemory, 0, 0};
    for (int i = 1; i <= n; ++i) {
        float s = 0.0f;
        for (int j = 1; j < i; ++j) s = s + static_cast<float>(i - j) * x[j - 1] * y[i - j - 1];
        const float scaled = n < 22 ? s * kReciprocal[i] : s / static_cast<float>(i);
        y[i - 1] = -x[i - 1] - scaled;
    }
    for (int i = 0; i < n; ++i) dst[i] = y[i];
    return {zemStatusOk, 0, n};
}

// Step-down: the stages from the last, each giving k = -t[m] and the previous stage.  A
// coefficient of exactly +-1 stops the walk with the values of the later stages written.
Span stepDown(const float* a, float* dst, int n) {
    Scratch<float, 2 * 15> work(2 * int64_t{n});
    if (!work.ok()) return {zemStatusNoMemory, 0, 0};
    float* t = work.data();
    float* u = t + n;
    for (int i = 0; i < n; ++i) t[i] = a[i];
    for (int m = n - 1; m >= 0; --m) {
        const float k = -t[m];
        const float w = 1.0f / (1.0f - k * k);
        if (k == 1.0f || k == -1.0f) return {zemStatusUnstableFilter, m + 1, n};
        dst[m] = k;
        for (int j = 0; j < m; ++j) u[j] = (t[m - 1 - j] * k + t[j]) * w;
        for (int j = 0; j < m; ++j) t[j] = u[j];
    }
    return {zemStatusOk, 0, n};
}

constexpr int kReflectionStack = 100;

// Step-up: the predictor grown stage by stage, without a stability test.
Span stepUp(const float* k, float* dst, int n) {
    Scratch<float, 2 * kReflectionStack> work(2 * int64_t{n});
    if (!work.ok()) return {zemStatusNoMemory, 0, 0};
    float* t = work.data();
    float* u = t + n;
    for (int m = 0; m < n; ++m) {
        u[m] = -k[m];
        for (int j = 0; j < m; ++j) u[j] = t[j] - t[m - 1 - j] * k[m];
        for (int j = 0; j <= m; ++j) t[j] = u[j];
    }
    for (int i = 0; i < n; ++i) dst[i] = t[i];
    return {zemStatusOk, 0, n};
}

// (1 - k)/(1 + k) for each k; k = -1 gives +inf and the warning.
Span areaRatios(const float* k, float* dst, int n) {
    ZemStatus s = zemStatusOk;
    for (int i = 0; i < n; ++i) {
        const float d = 1.0f + k[i];
        if (d == 0.0f) s = zemStatusDivideByZeroWarning;
        dst[i] = (1.0f - k[i]) / d;
    }
    return {s, 0, n};
}

// The running product of the area ratios.  At a k of -1 the value becomes an infinity of
// the sign of the product so far; after it, ordinary arithmetic keeps or turns the sign,
// and a k of exactly 1 (a factor 0 against infinity) gives the default NaN, which then
// runs to the end.
Span trueAreaRatios(const float* k, float* dst, int n) {
    ZemStatus s = zemStatusOk;
    float prev = 1.0f;
    for (int i = 0; i < n; ++i) {
        const float d = 1.0f + k[i];
        float v;
        if (d == 0.0f) {
            s = zemStatusDivideByZeroWarning;
            v = std::isfinite(prev) ? (prev > 0.0f ? kInf : -kInf) : prev;
        } else {
            v = prev * ((1.0f - k[i]) / d);
        }
        dst[i] = v;
        prev = v;
    }
    return {s, 0, n};
}

// ln((1 - k)/(1 + k)) with k limited to -limit..limit; the logarithm runs over blocks of
// 256 and its warnings are not passed on.
Span logAreaRatios(const float* k, float* dst, int n, float limit) {
    for (int i = 0; i < n; ++i) {
        const float c = k[i] < -limit ? -limit : (k[i] > limit ? limit : k[i]);
        dst[i] = (1.0f - c) / (1.0f + c);
    }
    for (int i = 0; i < n; i += 256) ownLn_32f_I(dst + i, n - i < 256 ? n - i : 256);
    return {zemStatusOk, 0, n};
}

// (|a| - |b|)/(a + b), or over |a| + |b| in the Abs form; a zero denominator gives the
// quotient the arithmetic gives and the warning.
template <bool Abs>
Span tilt(const float* a, const float* b, float* dst, int n) {
    ZemStatus s = zemStatusOk;
    for (int i = 0; i < n; ++i) {
        const float d = Abs ? std::fabs(a[i]) + std::fabs(b[i]) : a[i] + b[i];
        if (d == 0.0f) s = zemStatusDivideByZeroWarning;
        dst[i] = (std::fabs(a[i]) - std::fabs(b[i])) / d;
    }
    return {s, 0, n};
}

ZemStatus checkPair(const void* src, const void* dst, int n) {
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(n));
}

// The LP and cepstrum 16-bit forms: the same scale in and out.
template <int64_t StackFloats, class Body>
ZemStatus sameScale16(const Zem16s* src, Zem16s* dst, int n, int scaleFactor, bool small, Body body) {
    return aroundFloat<StackFloats>(src, n, pow2f(scaleFactor), dst, n, pow2f(-int64_t{scaleFactor}), small,
                                    [&](const float* in, float* out) { return body(in, out, n); });
}

// The reflection measures' 16-bit forms: src times 2^srcScale in, 2^-scaleFactor out.
template <class Body>
ZemStatus reflection16(const Zem16s* src, int srcScale, Zem16s* dst, int n, int scaleFactor, Body body) {
    return aroundFloat<2 * kReflectionStack>(src, n, pow2f(srcScale), dst, n, pow2f(-int64_t{scaleFactor}),
                                             n <= kReflectionStack,
                                             [&](const float* in, float* out) { return body(in, out, n); });
}

template <bool Abs>
ZemStatus tilt16(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int n, int scaleFactor) {
    Scratch<float, 3 * kReflectionStack> work(3 * int64_t{n});
    if (!work.ok()) return zemStatusNoMemory;
    float* a = work.data();
    float* b = a + n;
    float* out = b + n;
    zem::lp::widenScaled(src1, a, n, 1.0f);
    zem::lp::widenScaled(src2, b, n, 1.0f);
    const Span s = tilt<Abs>(a, b, out, n);
    zem::lp::narrowScaled(out, dst, n, pow2f(-int64_t{scaleFactor}));
    return s.status;
}

ZemStatus checkLimit(float limit) {
    return limit > 0.0f && limit < 1.0f ? zemStatusOk : zemStatusOutOfRange;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsLPToCepstrum_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return cepstralRecursion(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsCepstrumToLP_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return cepstralRecursion(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsLPToCepstrum_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return sameScale16<2 * kCepstrumStack>(src, dst, n, scaleFactor, n < 22, cepstralRecursion);
}

ZEMSR_API ZemStatus zemsCepstrumToLP_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return sameScale16<2 * kCepstrumStack>(src, dst, n, scaleFactor, n < 22, cepstralRecursion);
}

ZEMSR_API ZemStatus zemsLPToReflection_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return stepDown(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsLPToReflection_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return sameScale16<2 * 15>(src, dst, n, scaleFactor, n <= 15, stepDown);
}

ZEMSR_API ZemStatus zemsReflectionToLP_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return stepUp(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsReflectionToLP_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return sameScale16<2 * kReflectionStack>(src, dst, n, scaleFactor, n <= kReflectionStack, stepUp);
}

ZEMSR_API ZemStatus zemsReflectionToAR_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return areaRatios(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsReflectionToAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n,
                                               int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return reflection16(src, srcScale, dst, n, scaleFactor, areaRatios);
}

ZEMSR_API ZemStatus zemsReflectionToTrueAR_32f(const Zem32f* src, Zem32f* dst, int n) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return trueAreaRatios(src, dst, n).status;
}

ZEMSR_API ZemStatus zemsReflectionToTrueAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n,
                                                   int scaleFactor) {
    if (const ZemStatus s = checkPair(src, dst, n)) return s;
    return reflection16(src, srcScale, dst, n, scaleFactor, trueAreaRatios);
}

ZEMSR_API ZemStatus zemsReflectionToLAR_32f(const Zem32f* src, Zem32f* dst, int n, Zem32f limit) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(n),
                                              zem::checkedBy([=] { return checkLimit(limit); })))
        return s;
    return logAreaRatios(src, dst, n, limit).status;
}

ZEMSR_API ZemStatus zemsReflectionToLAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n, Zem32f limit,
                                                int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(n),
                                              zem::checkedBy([=] { return checkLimit(limit); })))
        return s;
    return reflection16(src, srcScale, dst, n, scaleFactor,
                        [=](const float* k, float* out, int len) { return logAreaRatios(k, out, len, limit); });
}

ZEMSR_API ZemStatus zemsReflectionToTilt_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(n))) return s;
    return tilt<false>(src1, src2, dst, n).status;
}

ZEMSR_API ZemStatus zemsReflectionToAbsTilt_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(n))) return s;
    return tilt<true>(src1, src2, dst, n).status;
}

ZEMSR_API ZemStatus zemsReflectionToTilt_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int n,
                                                 int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(n))) return s;
    return tilt16<false>(src1, src2, dst, n, scaleFactor);
}

ZEMSR_API ZemStatus zemsReflectionToAbsTilt_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int n,
                                                    int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(n))) return s;
    return tilt16<true>(src1, src2, dst, n, scaleFactor);
}

}  // extern "C"
