// Pitch building blocks: two periodicity measures over a range of candidate periods (a
// harmonic comb of at most six teeth, and least-squares periodicity estimation), the
// normalised cross-correlation of 16-bit segments in four forms, and the conversion of
// pitch marks to candidate fundamental frequencies.
//
// Ties go to the first candidate (smallest period, then smallest offset): every
// improvement test is strict.
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "frame/check.h"
#include "frontend/lpshared.h"
#include "own.h"
#include "zemsr.h"

namespace {

using zem::Scratch;

// Comb weights 1/c as stored: six digits in float, and Q30 truncated.
constexpr float kCombWeight[7] = {0.0f, 1.0f, 0.5f, 0.333333f, 0.25f, 0.2f, 0.166666f};
constexpr int64_t kCombWeightQ30[7] = {0, 0x40000000, 0x20000000, 0x15555555, 0x10000000, 0x0CCCCCCC, 0x0AAAAAAA};

// LSPE tables for c = 1..16 teeth: a[c] = 1/sqrt(c), b[c] = 1/c, as stored; the Q30 forms
// are the exact values truncated.
constexpr float kLspeA[17] = {0.0f,     1.0f,     0.707107f, 0.57735f,  0.5f,      0.447214f,
                              0.408248f, 0.377965f, 0.353553f, 0.333333f, 0.316228f, 0.301511f,
                              0.288675f, 0.27735f,  0.267261f, 0.258199f, 0.25f};
constexpr float kLspeB[17] = {0.0f,      1.0f,      0.5f,      0.333333f, 0.25f,     0.2f,
                              0.166666f, 0.142857f, 0.125f,    0.111111f, 0.1f,      0.090909f,
                              0.083333f, 0.076923f, 0.071429f, 0.066666f, 0.0625f};
constexpr int64_t kLspeAQ30[17] = {0,         1073741824, 759250124, 619925131, 536870912, 480191941,
                                   438353264, 405836262,  379625062, 357913941, 339546978, 323745341,
                                   309962565, 297802400,  286969573, 277238946, 268435456};
constexpr int64_t kLspeBQ30[17] = {0,         1073741824, 536870912, 357913941, 268435456, 214748364,
                                   178956970, 153391689,  134217728, 119304647, 107374182, 97612893,
                                   89478485,  82595524,   76695844,  71582788,  67108864};

constexpr int kCombLimit = 4096;
constexpr int kLspeLimit = 1024;

// ---- Harmonic comb --------------------------------------------------------------------

// The sum over the comb from t with spacing p (at most six teeth) and its tooth count.
template <class Acc, class Src>
inline int comb(const Src* src, int len, int t, int p, Acc& s) {
    s = static_cast<Acc>(src[t]);
    int c = 1;
    for (int k = 1; k <= 5; ++k) {
        const int64_t i = t + int64_t{k} * p;
        if (i >= len) break;
        s = s + static_cast<Acc>(src[i]);
        ++c;
    }
    return c;
}

void combPeriodicity(const float* src, int len, float* periodicity, Zem32s* period, int maxPeriod, int minPeriod) {
    float total = 0.0f;
    for (int i = len - 1; i >= 0; --i) total = total + src[i];
    *periodicity = 0.0f;
    *period = 0;
    if (std::fabs(0.0f - total) <= 1e-6f * (total > 0.0f ? total : 0.0f)) return;
    float best = 0.0f, chosen = 0.0f;
    for (int p = minPeriod; p <= maxPeriod; ++p)
        for (int t = 0; t < p; ++t) {
            float s;
            const int c = comb(src, len, t, p, s);
            if (s * kCombWeight[c] > best) {
                best = s * kCombWeight[c];
                chosen = s;
                *period = p;
            }
        }
    *periodicity = chosen / total;
}

void combPeriodicityQ15(const Zem32s* src, int len, Zem16s* periodicity, Zem32s* period, int maxPeriod, int minPeriod) {
    int64_t total = 0;
    for (int i = 0; i < len; ++i) total += src[i];
    int e = 0;
    while (total > 0x7FFFFFFF) {
        total >>= 1;
        ++e;
    }
    *periodicity = 0;
    *period = 0;
    if (total == 0) return;
    int64_t best = 0, chosen = 0;
    for (int p = minPeriod; p <= maxPeriod; ++p)
        for (int t = 0; t < p; ++t) {
            int64_t s;
            const int c = comb(src, len, t, p, s);
            const int64_t v = (kCombWeightQ30[c] * s) >> 30;
            if (v > best) {
                best = v;
                chosen = s >> e;
                *period = p;
            }
        }
    const int64_t q = chosen * 32768 / total;
    *periodicity = static_cast<Zem16s>(q > 32767 ? 32767 : q);
}

// ---- Least-squares periodicity estimation ------------------------------------------------

void lspePeriodicity(const float* x, int len, float* periodicity, Zem32s* period, int maxPeriod, int minPeriod) {
    float e = 0.0f;
    for (int i = 0; i < len; ++i) e = e + x[i] * x[i];
    float bestR = 0.0f;
    int bestP = 0;
    for (int p = minPeriod; p <= maxPeriod; ++p) {
        float a = 0.0f, b = 0.0f;
        for (int t = 0; t < p; ++t) {
            float s = 0.0f, q = 0.0f;
            int c = 0;
            for (int i = t; i < len; i += p, ++c) {
                s = s + x[i];
                q = q + x[i] * x[i];
            }
            const float u = s * kLspeA[c];
            a = a + u * u;
            b = b + q * kLspeB[c];
        }
        const float num = a - b, den = e - b;
        if (den > 0.0f && num > 0.0f) {
            const float r = num / den;
            if (r > bestR) {
                bestR = r;
                bestP = p;
            }
        }
    }
    *periodicity = bestR;
    *period = bestP;
}

void lspePeriodicityQ15(const Zem16s* x, int len, Zem16s* periodicity, Zem32s* period, int maxPeriod, int minPeriod) {
    int64_t e = 0;
    for (int i = 0; i < len; ++i) e += int64_t{x[i]} * x[i];
    int shift = 0;
    while (e > 0x7FFFFFFF) {
        e >>= 1;
        ++shift;
    }
    const int h = shift / 2;
    int64_t bestR = 0;
    int bestP = 0;
    for (int p = minPeriod; p <= maxPeriod; ++p) {
        int64_t a = 0, b = 0;
        for (int t = 0; t < p; ++t) {
            int32_t s = 0;
            int64_t q = 0;
            int c = 0;
            for (int i = t; i < len; i += p, ++c) {
                s += x[i];
                q += (int64_t{x[i]} * x[i]) >> shift;
            }
            const int64_t u = int64_t{s} * kLspeAQ30[c];
            b += (q * kLspeBQ30[c]) >> 30;
            a += (u >> (h + 30)) * (u >> (shift - h + 30));
        }
        const int64_t num = a - b, den = e - b;
        if (den >= 1 && num >= 1) {
            int64_t r = num * 32768 / den;
            r = r > 32767 ? 32767 : r;
            if (r > bestR) {
                bestR = r;
                bestP = p;
            }
        }
    }
    *periodicity = static_cast<Zem16s>(bestR);
    *period = bestP;
}

template <class T>
ZemStatus checkPeriodicity(const T* src, int len, const void* periodicity, const Zem32s* period, int maxPeriod,
                           int minPeriod) {
    return zem::firstFailure(
        zem::nonNull(src, periodicity, period),
        zem::ensure(minPeriod >= 1 && maxPeriod > minPeriod, zemStatusOutOfRange),
        zem::ensure(len > maxPeriod && len <= kCombLimit, zemStatusSizeTooLarge), zem::ensure([=] {
            for (int i = 0; i < len; ++i)
                if (src[i] < 0) return false;
            return true;
        }, zemStatusOutOfRange));
}

ZemStatus checkLspe(const void* src, int len, const void* periodicity, const Zem32s* period, int maxPeriod,
                    int minPeriod) {
    return zem::firstFailure(
        zem::nonNull(src, periodicity, period), zem::ensure(minPeriod >= 6 && maxPeriod > minPeriod, zemStatusOutOfRange),
        zem::ensure(len > maxPeriod && len <= kLspeLimit && len <= 16 * int64_t{minPeriod}, zemStatusSizeTooLarge));
}

// ---- Cross-correlation ----------------------------------------------------------------------

// ab / (sqrt(e1) sqrt(e2)) in double, or 0 when e1 e2 is below the smallest normal float.
float coefficient(float ab, float e1, float e2) {
    if (std::fabs(e1 * e2) <= FLT_MIN) return 0.0f;
    return static_cast<float>(static_cast<double>(ab) / (std::sqrt(static_cast<double>(e1)) *
                                                         std::sqrt(static_cast<double>(e2))));
}

float exactDot(const Zem16s* a, const Zem16s* b, int len) {
    Zem64s s = 0;
    ownDotProd_16s64s(a, b, len, &s);
    return static_cast<float>(s);
}

// A fixed segment, end-aligned in src1, against the growing windows of src2, both
// decimated by step.  The energies grow sample by sample; the cross term is summed
// afresh for every window.
void decimatedCoefficients(const Zem16s* src1, const Zem16s* b, int maxLen, int minLen, float* dst, int step) {
    const Zem16s* a = src1 + (maxLen - minLen);
    float e1 = 0.0f, e2 = 0.0f, ab = 0.0f;
    for (int i = 0; i < minLen; i += step) {
        e1 = e1 + static_cast<float>(int32_t{a[i]} * a[i]);
        e2 = e2 + static_cast<float>(int32_t{b[i]} * b[i]);
        ab = ab + static_cast<float>(int32_t{a[i]} * b[i]);
    }
    dst[0] = coefficient(ab, e1, e2);
    const int64_t firstB = (int64_t{minLen} + step - 1) / step * step;
    const int64_t lags = (int64_t{maxLen} - minLen) / step;
    for (int64_t j = 1; j <= lags; ++j) {
        const Zem16s na = a[-j * step], nb = b[firstB + (j - 1) * step];
        e1 = e1 + static_cast<float>(int32_t{na} * na);
        e2 = e2 + static_cast<float>(int32_t{nb} * nb);
        float cross = 0.0f;
        for (int64_t i = 0; i <= minLen - 1 + j * step; i += step)
            cross = cross + static_cast<float>(int32_t{a[i - j * step]} * b[i]);
        dst[j] = coefficient(cross, e1, e2);
    }
}

ZemStatus interpolated(const Zem16s* a, const Zem16s* b, int len, float* beta, float* result) {
    double c00 = 0, c11 = 0, c01 = 0, aa = 0, a0 = 0, a1 = 0;
    for (int i = 0; i < len; ++i) {
        const double x = a[i], y0 = b[i], y1 = b[i + 1];
        c00 += y0 * y0;
        c11 += y1 * y1;
        c01 += y0 * y1;
        aa += x * x;
        a0 += x * y0;
        a1 += x * y1;
    }
    const double q = a0 * (c11 - c01) + a1 * (c00 - c01);
    if (q == 0.0) {
        *beta = 0.0f;
        *result = static_cast<float>(a0);
        return zemStatusDivideByZeroWarning;
    }
    const double bt = (a1 * c00 - a0 * c01) / q;
    *beta = static_cast<float>(bt);
    if (bt < 0.0 || bt >= 1.0) return zemStatusOk;  // outside the interval: result stays as it was
    const double g = 1.0 - bt;
    const double den = aa * (c00 * g * g + 2.0 * bt * c01 * g + bt * bt * c11);
    *result = static_cast<float>(den == 0.0 ? a0 : (a0 * g + a1 * bt) / std::sqrt(den));
    return zemStatusOk;
}

// ---- Pitch marks --------------------------------------------------------------------------

// 1/(t[i] - t[i-1]) with t[-1] = 0; a zero difference gives +inf and the warning.  The
// exact quotient stands for the reciprocal estimate with one Newton step.
template <class T>
ZemStatus markRates(const T* src, float* dst, int len) {
    ZemStatus s = zemStatusOk;
    float prev = 0.0f;
    for (int i = 0; i < len; ++i) {
        const float t = static_cast<float>(src[i]);
        const float d = t - prev;
        if (d == 0.0f) s = zemStatusDivideByZeroWarning;
        dst[i] = 1.0f / d;
        prev = t;
    }
    return s;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsPeriodicity_32f(const Zem32f* src, int len, Zem32f* periodicity, Zem32s* period, int maxPeriod,
                                        int minPeriod) {
    if (const ZemStatus s = checkPeriodicity(src, len, periodicity, period, maxPeriod, minPeriod)) return s;
    combPeriodicity(src, len, periodicity, period, maxPeriod, minPeriod);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsPeriodicity_32s16s(const Zem32s* src, int len, Zem16s* periodicity, Zem32s* period,
                                           int maxPeriod, int minPeriod) {
    if (const ZemStatus s = checkPeriodicity(src, len, periodicity, period, maxPeriod, minPeriod)) return s;
    combPeriodicityQ15(src, len, periodicity, period, maxPeriod, minPeriod);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsPeriodicityLSPE_32f(const Zem32f* src, int len, Zem32f* periodicity, Zem32s* period,
                                            int maxPeriod, int minPeriod) {
    if (const ZemStatus s = checkLspe(src, len, periodicity, period, maxPeriod, minPeriod)) return s;
    lspePeriodicity(src, len, periodicity, period, maxPeriod, minPeriod);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsPeriodicityLSPE_16s(const Zem16s* src, int len, Zem16s* periodicity, Zem32s* period,
                                            int maxPeriod, int minPeriod) {
    if (const ZemStatus s = checkLspe(src, len, periodicity, period, maxPeriod, minPeriod)) return s;
    lspePeriodicityQ15(src, len, periodicity, period, maxPeriod, minPeriod);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCrossCorrCoeff_16s32f(const Zem16s* src1, const Zem16s* src2, int len, Zem32f* result) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, result), zem::atLeastOne(len))) return s;
    *result = coefficient(exactDot(src1, src2, len), exactDot(src1, src1, len), exactDot(src2, src2, len));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCrossCorrCoeffPartial_16s32f(const Zem16s* src1, const Zem16s* src2, int len,
                                                     Zem32f energy1, Zem32f* result) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, result), zem::atLeastOne(len),
                                              zem::ensure(energy1 != 0.0f, zemStatusOutOfRange)))
        return s;
    *result = coefficient(exactDot(src1, src2, len), energy1, exactDot(src2, src2, len));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCrossCorrCoeffDecim_16s32f(const Zem16s* src1, const Zem16s* src2, int maxLen, int minLen,
                                                   Zem32f* dst, int step) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(minLen, step),
                                              zem::ensure(maxLen >= minLen, zemStatusBadSize)))
        return s;
    decimatedCoefficients(src1, src2, maxLen, minLen, dst, step);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCrossCorrCoeffInterpolation_16s32f(const Zem16s* src1, const Zem16s* src2, int len,
                                                           Zem32f* beta, Zem32f* result) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, beta, result), zem::atLeastOne(len))) return s;
    return interpolated(src1, src2, len, beta, result);
}

ZEMSR_API ZemStatus zemsPitchmarkToF0Cand_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    return markRates(src, dst, len);
}

ZEMSR_API ZemStatus zemsPitchmarkToF0Cand_16s_Sfs(const Zem16s* src, Zem16s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    Scratch<float, 100> work(len);
    if (!work.ok()) return zemStatusNoMemory;
    const ZemStatus s = markRates(src, work.data(), len);
    ownConvert_32f16s_Sfs(work.data(), dst, len, 1, scaleFactor);
    return s;
}

}  // extern "C"
