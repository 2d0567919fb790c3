// The frame steps of the two-stage Wiener noise reduction: the half-resolution power
// spectrum, the noise update of non-speech frames, the Wiener gains, the mirroring of the
// filter's half impulse response, the 17-tap residual filter and the blind equalisation
// of the cepstrum.  Every step is stateless: the history is the caller's.
#include <cmath>
#include <cstdint>
#include <emmintrin.h>
#include <type_traits>

#include "frame/check.h"
#include "frame/fpmode.h"
#include "frame/scale.h"
#include "primitives/simd.h"

namespace {

using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;

// ---- Smoothed power spectrum ------------------------------------------------------------

// dst[0] = (s0^2 + s2^2 + s3^2) / 2, dst[k] = (s4k^2 + .. + s4k+3^2) / 2, dst[len/4] = s1^2:
// adjacent bins of the packed spectrum averaged, the two ends as they fall.
void smoothed32f(const float* s, float* dst, int len) {
    const int n = len / 4;
    dst[0] = (s[0] * s[0] + s[2] * s[2] + s[3] * s[3]) / 2.0f;
    for (int k = 1; k < n; ++k) {
        const float* q = s + 4 * k;
        dst[k] = (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]) / 2.0f;
    }
    dst[n] = s[1] * s[1];
}

// 16 bits: halved 32-bit squares added with 32-bit wrap, then clamped.
void smoothed16s(const Zem16s* s, Zem16s* dst, int len) {
    const int n = len / 4;
    auto half = [](Zem16s v) { return static_cast<uint32_t>((int32_t{v} * v) >> 1); };
    auto clamp = [](uint32_t sum) { return zem::saturate16(static_cast<int32_t>(sum)); };
    dst[0] = clamp(half(s[0]) + half(s[2]) + half(s[3]));
    for (int k = 1; k < n; ++k) {
        const Zem16s* q = s + 4 * k;
        dst[k] = clamp(half(q[0]) + half(q[1]) + half(q[2]) + half(q[3]));
    }
    dst[n] = zem::saturate16(int32_t{s[1]} * s[1]);
}

// 32 bits: halved 64-bit squares in a 64-bit sum, shifted by the scale factor (counts
// modulo 64, right when 0 or more, left otherwise); the last element's square wraps in
// 32 bits first.  Store saturates (32s) or keeps the 64-bit value (32s64s).
int64_t scaleShift(int64_t v, int scaleFactor) {
    if (scaleFactor >= 0) return v >> (scaleFactor & 63);
    const int s = static_cast<int>((-static_cast<int64_t>(scaleFactor)) & 63);
    return static_cast<int64_t>(static_cast<uint64_t>(v) << s);
}

template <class D, class Store>
void smoothed32s(const Zem32s* s, D* dst, int len, int scaleFactor, Store store) {
    const int n = len / 4;
    auto half = [](Zem32s v) { return static_cast<uint64_t>((int64_t{v} * v) >> 1); };
    auto put = [&](uint64_t sum) { return store(scaleShift(static_cast<int64_t>(sum), scaleFactor)); };
    dst[0] = put(half(s[0]) + half(s[2]) + half(s[3]));
    for (int k = 1; k < n; ++k) {
        const Zem32s* q = s + 4 * k;
        dst[k] = put(half(q[0]) + half(q[1]) + half(q[2]) + half(q[3]));
    }
    const int32_t last = static_cast<int32_t>(static_cast<uint32_t>(s[1]) * static_cast<uint32_t>(s[1]));
    dst[n] = put(static_cast<uint64_t>(int64_t{last}));
}

auto smoothedChecks(const void* src, const void* dst, int len) {
    return firstFailure(nonNull(src, dst), ensure(len >= 1 && len % 4 == 0, zemStatusBadSize));
}

// ---- Noise update -----------------------------------------------------------------------

// B' = B (0.9 + 0.1 (A / (A + B)) (1 + B / (B + 0.1 A))), in float.
float noiseUpdate(float A, float B, float sum, float den2) {
    return B * (0.9f + 0.1f * (A / sum) * (1.0f + B / den2));
}

// The float form runs wholly under rounding toward zero; each quotient is the product with
// a reciprocal taken by a true division, well within the 12 good bits the step needs, and
// the same on every processor.
void noiseUpdate32f(const float* A, const float* B, float* dst, int len) {
    const zem::RoundingGuard guard(zem::RoundingGuard::kTowardZero);
    for (int k = 0; k < len; ++k) {
        const float a = A[k], b = B[k];
        const float sum = a + b, den2 = b + 0.1f * a;
        if (sum == 0.0f || den2 == 0.0f) {
            dst[k] = 0.0f;
            continue;
        }
        const float r1 = 1.0f / sum, r2 = 1.0f / den2;
        dst[k] = b * (0.9f + 0.1f * (a * r1) * (1.0f + b * r2));
    }
}

Zem16s clampTrunc16(float v) {
    if (v > 32767.0f) return 32767;
    if (v < -32768.0f) return -32768;
    if (!(v == v)) return 0;
    return static_cast<Zem16s>(static_cast<int32_t>(v));
}

void noiseUpdate16s(const Zem16s* A, const Zem16s* B, Zem16s* dst, int len, int scaleFactor) {
    const float scale = zem::pow2Neg32f(scaleFactor);
    for (int k = 0; k < len; ++k) {
        const int32_t sum = int32_t{A[k]} + B[k];
        const float a = A[k], b = B[k], den2 = b + 0.1f * a;
        if (sum == 0 || _mm_cvttss_si32(_mm_set_ss(den2)) == 0) {
            dst[k] = 0;
            continue;
        }
        dst[k] = clampTrunc16(noiseUpdate(a, b, static_cast<float>(sum), den2) * scale);
    }
}

// The 32-bit form: integer denominators with 32-bit wrap; a result at or above 2^31
// stores 0x80000000, the deliberate asymmetry of this form.
void noiseUpdate32s(const Zem32s* A, const Zem32s* B, Zem32s* dst, int len, int scaleFactor) {
    const float scale = zem::pow2Neg32f(scaleFactor);
    for (int k = 0; k < len; ++k) {
        const float a = static_cast<float>(A[k]), b = static_cast<float>(B[k]);
        const int32_t sum = static_cast<int32_t>(static_cast<uint32_t>(A[k]) + static_cast<uint32_t>(B[k]));
        const int32_t tenth = _mm_cvttss_si32(_mm_set_ss(0.1f * a));
        const int32_t den2 = static_cast<int32_t>(static_cast<uint32_t>(tenth) + static_cast<uint32_t>(B[k]));
        if (sum == 0 || den2 == 0) {
            dst[k] = 0;
            continue;
        }
        const float v = noiseUpdate(a, b, static_cast<float>(sum), static_cast<float>(den2)) * scale;
        dst[k] = v < -2147483648.0f ? INT32_MIN : _mm_cvttss_si32(_mm_set_ss(v));
    }
}

// ---- Wiener gains -----------------------------------------------------------------------

// eta = (0.98 D + 0.02 max(P - N, 0)) / N, h = eta / (eta + 1), x = max(h P / N, floor)
// (a NaN takes the floor), gain x / (x + 1).  1 / N by a true division.
// Eight bins a step with the same operations lane by lane (max(x, floor) takes the floor
// for a NaN, as the scalar test does), the rest one by one.
void wiener32f(const float* P, const float* N, const float* D, float* dst, int len) {
    namespace simd = zem::simd;
    constexpr float kFloor = 0.07943282f;
    const simd::F32x8 one = simd::splat(1.0f), zero = simd::splat(0.0f), floor = simd::splat(kFloor);
    const simd::F32x8 a = simd::splat(0.98f), b = simd::splat(0.02f);
    int k = 0;
    for (; k + 8 <= len; k += 8) {
        const simd::F32x8 p = simd::load(P + k), n = simd::load(N + k);
        const simd::F32x8 r = one / n;
        const simd::F32x8 e = simd::max(p - n, zero);
        const simd::F32x8 eta = (a * simd::load(D + k) + b * e) * r;
        const simd::F32x8 x = simd::max(eta / (eta + one) * (p * r), floor);
        simd::store(dst + k, x / (x + one));
    }
    for (; k < len; ++k) {
        const float r = 1.0f / N[k];
        const float d = P[k] - N[k], e = d > 0.0f ? d : 0.0f;
        const float eta = (0.98f * D[k] + 0.02f * e) * r;
        const float h = eta / (eta + 1.0f);
        float x = h * (P[k] * r);
        if (!(x >= kFloor)) x = kFloor;
        dst[k] = x / (x + 1.0f);
    }
}

// The Q14 design in 64-bit integers with Q12 intermediates.  A negative noise that makes
// eta + 4096 zero gives a gain of 0 rather than a division by zero.
void wiener16s(const Zem16s* P, const Zem16s* N, const Zem16s* D, Zem16s* dst, int len) {
    for (int k = 0; k < len; ++k) {
        if (N[k] == 0) {
            dst[k] = 1206;
            continue;
        }
        const int64_t q = int32_t{16384} / int32_t{N[k]};
        const int64_t e = int64_t{P[k]} - N[k] > 0 ? int64_t{P[k]} - N[k] : 0;
        const int64_t eta = ((int64_t{D[k]} * 4014 + e * 82) * q) >> 14;
        const int64_t h = eta + 4096 == 0 ? 0 : (eta * 16384) / (eta + 4096);
        int64_t x = ((h * P[k]) >> 14) * q;
        if (x <= 1301) x = 1301;
        dst[k] = static_cast<Zem16s>(static_cast<uint16_t>((x * 128) / ((x >> 7) + 128)));
    }
}

// ---- Taps and the residual filter ---------------------------------------------------------

// The half impulse response mirrored into 17 taps: src[8] .. src[1], src[0], src[2] .. src[9].
constexpr int kTabsFrom[17] = {8, 7, 6, 5, 4, 3, 2, 1, 0, 2, 3, 4, 5, 6, 7, 8, 9};

template <class T>
void tabs(const T* src, T* dst) {
    for (int k = 0; k < 17; ++k) dst[k] = src[kTabsFrom[k]];
}

// dst[n] = sum over k of taps[k] src[n + k], n = 0 .. 79, each sum in order of k; eight
// outputs a step, each lane its own output, so the order per output is kept.
void residual32f(const float* src, float* dst, const float* taps) {
    namespace simd = zem::simd;
    for (int n = 0; n < 80; n += 8) {
        simd::F32x8 acc = simd::splat(0.0f);
        for (int k = 0; k < 17; ++k) acc = acc + simd::splat(taps[k]) * simd::load(src + n + k);
        simd::store(dst + n, acc);
    }
}

// 16 bits: exact products, added in pairs with 32-bit wrap, the pair sums in double, scaled,
// clamped and rounded to nearest with ties to even.
void residual16s(const Zem16s* src, Zem16s* dst, const Zem16s* taps, int scaleFactor) {
    const double scale = zem::pow2Neg64f(scaleFactor);
    for (int n = 0; n < 80; ++n) {
        double acc = 0.0;
        for (int k = 0; k < 16; k += 2) {
            const uint32_t pair = static_cast<uint32_t>(int32_t{taps[k]} * src[n + k]) +
                                  static_cast<uint32_t>(int32_t{taps[k + 1]} * src[n + k + 1]);
            acc += static_cast<double>(static_cast<int32_t>(pair));
        }
        acc += static_cast<double>(int32_t{taps[16]} * src[n + 16]);
        double v = acc * scale;
        v = v > 32767.0 ? 32767.0 : (v < -32768.0 ? -32768.0 : v);
        dst[n] = v == v ? static_cast<Zem16s>(zem::roundHalfEven(v)) : 0;
    }
}

// ---- Blind equalisation -------------------------------------------------------------------

// c = cep - bias, cep = c, bias += w (c - ref), with the step w from the frame's energy.
void equalize32f(const float* ref, float* cep, float* bias, int len, float logEnergy) {
    float t = logEnergy - 3.296875f;
    t = t > 1.0f ? 1.0f : t;
    t = t > 0.0f ? t : 0.0f;
    const float w = t * 0.0087890625f;
    for (int i = 0; i < len; ++i) {
        const float c = cep[i] - bias[i];
        cep[i] = c;
        bias[i] = bias[i] + w * (c - ref[i]);
    }
}

// Q6 energy: w = 9 clamp(logEnergy - 211, 0, 64) over 65536; c is kept in 32 bits for the
// bias and stored saturated.
void equalize16s(const Zem16s* ref, Zem16s* cep, Zem16s* bias, int len, Zem32s logEnergy) {
    int64_t d = int64_t{logEnergy} - 211;
    d = d < 0 ? 0 : (d > 64 ? 64 : d);
    const int64_t w = 9 * d;
    for (int i = 0; i < len; ++i) {
        const int32_t c = int32_t{cep[i]} - bias[i];
        cep[i] = zem::saturate16(c);
        bias[i] = zem::saturate16(int64_t{bias[i]} + ((int64_t{c - ref[i]} * w) >> 16));
    }
}

}  // namespace

extern "C" {

// ---- Smoothed power spectrum: null, then len a positive multiple of 4 ----------------------

ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32f(const Zem32f* src, Zem32f* dst, Zem32s len) {
    if (const ZemStatus s = smoothedChecks(src, dst, len)) return s;
    smoothed32f(src, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_16s(const Zem16s* src, Zem16s* dst, Zem32s len) {
    if (const ZemStatus s = smoothedChecks(src, dst, len)) return s;
    smoothed16s(src, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32s_Sfs(const Zem32s* src, Zem32s* dst, Zem32s len,
                                                            Zem32s scaleFactor) {
    if (const ZemStatus s = smoothedChecks(src, dst, len)) return s;
    smoothed32s(src, dst, len, scaleFactor, [](int64_t v) { return zem::saturate32(v); });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32s64s_Sfs(const Zem32s* src, Zem64s* dst, Zem32s len,
                                                               Zem32s scaleFactor) {
    if (const ZemStatus s = smoothedChecks(src, dst, len)) return s;
    smoothed32s(src, dst, len, scaleFactor, [](int64_t v) { return v; });
    return zemStatusOk;
}

// ---- Noise update -------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_32f(const Zem32f* src, const Zem32f* srcNoise, Zem32f* dstNoise,
                                                       Zem32s len) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcNoise, dstNoise), atLeastOne(len))) return s;
    noiseUpdate32f(src, srcNoise, dstNoise, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Zem16s* src, const Zem16s* srcNoise,
                                                           Zem16s* dstNoise, Zem32s len, Zem32s scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcNoise, dstNoise), atLeastOne(len))) return s;
    noiseUpdate16s(src, srcNoise, dstNoise, len, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Zem32s* src, const Zem32s* srcNoise,
                                                           Zem32s* dstNoise, Zem32s len, Zem32s scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcNoise, dstNoise), atLeastOne(len))) return s;
    noiseUpdate32s(src, srcNoise, dstNoise, len, scaleFactor);
    return zemStatusOk;
}

// ---- Wiener design ------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsWienerFilterDesign_Aurora_32f(const Zem32f* src, const Zem32f* srcNoise, const Zem32f* srcDen,
                                                      Zem32f* dst, Zem32s len) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcNoise, srcDen, dst), atLeastOne(len))) return s;
    wiener32f(src, srcNoise, srcDen, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsWienerFilterDesign_Aurora_16s(const Zem16s* src, const Zem16s* srcNoise, const Zem16s* srcDen,
                                                      Zem16s* dst, Zem32s len) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcNoise, srcDen, dst), atLeastOne(len))) return s;
    wiener16s(src, srcNoise, srcDen, dst, len);
    return zemStatusOk;
}

// ---- Taps and residual filter: only null pointers fail -------------------------------------

ZEMSR_API ZemStatus zemsTabsCalculation_Aurora_32f(const Zem32f* src, Zem32f* dst) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst))) return s;
    tabs(src, dst);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsTabsCalculation_Aurora_16s(const Zem16s* src, Zem16s* dst) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst))) return s;
    tabs(src, dst);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResidualFilter_Aurora_32f(const Zem32f* src, Zem32f* dst, const Zem32f* taps) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst, taps))) return s;
    residual32f(src, dst, taps);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResidualFilter_Aurora_16s_Sfs(const Zem16s* src, Zem16s* dst, const Zem16s* taps,
                                                      Zem32s scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst, taps))) return s;
    residual16s(src, dst, taps, scaleFactor);
    return zemStatusOk;
}

// ---- Blind equalisation -------------------------------------------------------------------

ZEMSR_API ZemStatus zemsBlindEqualization_Aurora_32f(const Zem32f* srcRef, Zem32f* srcDstCep, Zem32f* srcDstBias,
                                                     Zem32s len, Zem32f logEnergy) {
    if (const ZemStatus s = firstFailure(nonNull(srcRef, srcDstCep, srcDstBias), atLeastOne(len))) return s;
    equalize32f(srcRef, srcDstCep, srcDstBias, len, logEnergy);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsBlindEqualization_Aurora_16s(const Zem16s* srcRef, Zem16s* srcDstCep, Zem16s* srcDstBias,
                                                     Zem32s len, Zem32s logEnergy) {
    if (const ZemStatus s = firstFailure(nonNull(srcRef, srcDstCep, srcDstBias), atLeastOne(len))) return s;
    equalize16s(srcRef, srcDstCep, srcDstBias, len, logEnergy);
    return zemStatusOk;
}

}  // extern "C"
