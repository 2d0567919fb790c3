// Frame conditioning: DC removal (mean removal and the DC notch), energy normalisation
// over an utterance, sign-change rates, entropy, copying with padding and the unit curve.
//
// Every routine is a pure function of its arguments: the notch's history travels in the
// caller's srcPrev and dstPrev, the real-time energy form takes the caller's running
// maximum.  In-place forms pass one pointer as source and destination, and each body
// reads a sample before it writes its result there.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace simd = zem::simd;

namespace {

// ---- Rounding helpers -------------------------------------------------------------------------

// A float limited to the 16-bit range, then truncated toward zero; NaN gives 0.
inline Zem16s truncTo16(float v) {
    if (!(v == v)) return 0;
    v = v < -32768.0f ? -32768.0f : (v > 32767.0f ? 32767.0f : v);
    return static_cast<Zem16s>(v);
}

// A float limited to the 16-bit range, rounded half away from zero; NaN gives 0.
inline Zem16s roundAwayTo16(float v) {
    if (!(v == v)) return 0;
    v = v < -32768.0f ? -32768.0f : (v > 32767.0f ? 32767.0f : v);
    return static_cast<Zem16s>(__builtin_roundf(v));
}

// v / 2 with the half rounded away from zero.
inline int32_t halveAway(int32_t v) { return v >= 0 ? (v + 1) >> 1 : -((1 - v) >> 1); }

// ---- Mean removal --------------------------------------------------------------------------------

// m2 = trunc(2 * sum / len); y = sat16((2x - m2) / 2).  Up to 64 samples the sum is 32-bit
// and every halving rounds away from zero; longer frames sum in 64 bits, take the quotient
// in double and halve by an arithmetic shift, except the last len mod 8 samples, which
// keep the rounding of short frames.  The two rules differ by one on odd negative values
// and both are kept.
void zeroMean16s(Zem16s* x, int len) {
    int32_t m2;
    int64_t roundedFrom;
    if (len <= 64) {
        int32_t sum = 0;
        for (int i = 0; i < len; ++i) sum += x[i];
        m2 = (2 * sum) / len;
        roundedFrom = 0;
    } else {
        int64_t sum = 0;
        for (int i = 0; i < len; ++i) sum += x[i];
        m2 = static_cast<int32_t>(static_cast<double>(2 * sum) / static_cast<double>(len));
        roundedFrom = len - len % 8;
    }
    for (int64_t i = 0; i < roundedFrom; ++i) x[i] = zem::saturate16((2 * int32_t{x[i]} - m2) >> 1);
    for (int64_t i = roundedFrom; i < len; ++i) x[i] = zem::saturate16(halveAway(2 * int32_t{x[i]} - m2));
}

// ---- The DC notch y[n] = x[n] - x[n-1] + val * y[n-1] ---------------------------------------------------

// Float: the first value as val * y[-1] + x[0] - x[-1], then the recursion.
void notch32f(const Zem32f* src, Zem32f* dst, int len, Zem32f* srcPrev, Zem32f dstPrev, Zem32f val) {
    float prevX = *srcPrev;
    float y = val * dstPrev + src[0] - prevX;
    prevX = src[0];
    dst[0] = y;
    for (int n = 1; n < len; ++n) {
        const float x = src[n];
        y = (x - prevX) + val * y;
        prevX = x;
        dst[n] = y;
    }
    *srcPrev = prevX;
}

// 16-bit: the first value in float, truncated.  The rest in Q12 fixed point when the
// caller allows it and -1 <= val <= 1, otherwise in float rounded half away from zero.
// The first sample truncating where the others round is intended: it is the block
// boundary rule the fixed-point route has always had.
void notch16s(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev, Zem16s dstPrev, Zem32f val,
              bool fixedAllowed) {
    int32_t prevX = *srcPrev;
    int32_t y = truncTo16(val * static_cast<float>(dstPrev) + static_cast<float>(src[0]) -
                          static_cast<float>(prevX));
    prevX = src[0];
    dst[0] = static_cast<Zem16s>(y);
    if (fixedAllowed && val >= -1.0f && val <= 1.0f) {
        const int32_t v = static_cast<int32_t>(val * 4096.0f);
        for (int n = 1; n < len; ++n) {
            const int32_t x = src[n];
            y = zem::saturate16(int32_t{zem::saturate16(x - prevX)} + ((y * v) >> 12));
            prevX = x;
            dst[n] = static_cast<Zem16s>(y);
        }
    } else {
        for (int n = 1; n < len; ++n) {
            const int32_t x = src[n];
            y = roundAwayTo16(static_cast<float>(x - prevX) + val * static_cast<float>(y));
            prevX = x;
            dst[n] = static_cast<Zem16s>(y);
        }
    }
    *srcPrev = static_cast<Zem16s>(prevX);
}

// Q15: t = (x[n] - x[n-1]) * 32768 + y[n-1] * val in 64 bits, y = sat16(t / 32768) with the
// quotient truncated toward zero.
void notchQ15(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev, Zem16s dstPrev, Zem16s val) {
    int64_t prevX = *srcPrev, y = dstPrev;
    for (int n = 0; n < len; ++n) {
        const int64_t x = src[n];
        const int64_t t = (x - prevX) * 32768 + y * val;
        y = zem::saturate16(t / 32768);
        prevX = x;
        dst[n] = static_cast<Zem16s>(y);
    }
    *srcPrev = static_cast<Zem16s>(prevX);
}

ZemStatus checkNotch(const void* src, const void* dst, const void* srcPrev, int len) {
    return zem::firstFailure(zem::nonNull(src, dst, srcPrev), zem::atLeastOne(len));
}

ZemStatus checkNotchQ15(const void* src, const void* dst, const void* srcPrev, int len, Zem16s val) {
    return zem::firstFailure(zem::nonNull(src, dst, srcPrev), zem::within(len, 1, 65535, zemStatusBadSize),
                             zem::ensure(val >= 0, zemStatusBadArg));
}

// ---- Energy normalisation ----------------------------------------------------------------------------

constexpr float kDecibelToNeper = 0.230259f;  // ln(10) / 10

struct Energies32f {
    Zem32f* base;
    int64_t step;
    Zem32f& operator[](int64_t i) const { return base[i * step]; }
};

float maxEnergy32f(const Energies32f& e, int height) {
    float m = e[0];
    for (int i = 1; i < height; ++i) m = e[i] > m ? e[i] : m;
    return m;
}

// y = 1 - (maxE - max(x, floor)) * scale, floor = maxE - silenceFloor * ln(10) / 10.
void normEnergy32f(const Energies32f& e, int height, float silenceFloor, float maxE, float scale) {
    const float floor = maxE - silenceFloor * kDecibelToNeper;
    for (int i = 0; i < height; ++i) {
        const float x = e[i];
        e[i] = 1.0f - (maxE - (x > floor ? x : floor)) * scale;
    }
}

ZemStatus checkEnergies(const void* srcDst, int step, int height) {
    return zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(step, height));
}

// 16-bit energies: y = normValue - scale * (maxE - max(x, floor)).  From scale 1.001 on
// (and for the batch form below 11 frames) in float, truncated; otherwise in integers with
// the scale in Q10, which the 16-bit lanes of the integer path hold only below 1.001.  The
// integer path gathers the strided energies into a work block: on the stack up to 1024
// frames, from the allocator above.
ZemStatus normEnergy16s(Zem16s* srcDst, int step, int height, Zem16s silenceFloor, Zem16s maxE, Zem16s normValue,
                        Zem32f scale, bool floatPath) {
    auto at = [&](int64_t i) -> Zem16s& { return srcDst[i * int64_t{step}]; };
    const float floor = static_cast<float>(maxE) - static_cast<float>(silenceFloor) * kDecibelToNeper;
    if (floatPath) {
        const float fMax = maxE, fNorm = normValue;
        for (int i = 0; i < height; ++i) {
            const float x = at(i);
            at(i) = truncTo16(fNorm - scale * (fMax - (x > floor ? x : floor)));
        }
        return zemStatusOk;
    }
    zem::Scratch<Zem16s, 1024> block(height);
    if (!block.ok()) return zemStatusNoMemory;
    for (int i = 0; i < height; ++i) block[i] = at(i);
    const int32_t floor16 = roundAwayTo16(floor);
    // The scale in Q10.  Out-of-range and NaN scales are limited so that the product below,
    // which wraps in 32 bits, is always defined.
    const float q1024 = scale * 1024.0f;
    const int32_t q = !(q1024 == q1024)             ? 0
                      : q1024 <= -2147483648.0f     ? INT32_MIN
                      : q1024 >= 2147483648.0f      ? INT32_MAX
                                                    : static_cast<int32_t>(q1024);
    for (int i = 0; i < height; ++i) {
        const int32_t x = block[i];
        const int32_t d = zem::saturate16(int32_t{maxE} - (x > floor16 ? x : floor16));
        const int32_t p = static_cast<int32_t>(static_cast<uint32_t>(d) * static_cast<uint32_t>(q)) >> 10;
        block[i] = zem::saturate16(int64_t{normValue} - p);
    }
    for (int i = 0; i < height; ++i) at(i) = block[i];
    return zemStatusOk;
}

Zem16s maxEnergy16s(const Zem16s* srcDst, int step, int height) {
    Zem16s m = srcDst[0];
    for (int64_t i = 1; i < height; ++i) m = srcDst[i * step] > m ? srcDst[i * step] : m;
    return m;
}

// ---- Sign changes ----------------------------------------------------------------------------------

// Neighbours whose product is negative: a zero, or a float product that underflows to
// zero, never counts.
int64_t signChanges32f(const Zem32f* x, int len) {
    int64_t count = 0;
    int64_t i = 0;
    const simd::F32x8 zero = simd::splat(0.0f);
    for (; i + 9 <= len; i += 8)
        count += __builtin_popcount(
            static_cast<unsigned>(simd::signMask(simd::lt(simd::load(x + i) * simd::load(x + i + 1), zero))));
    for (; i + 1 < len; ++i) count += x[i] * x[i + 1] < 0.0f;
    return count;
}

int64_t signChanges16s(const Zem16s* x, int len) {
    int64_t count = 0;
    for (int64_t i = 0; i + 1 < len; ++i) count += int32_t{x[i]} * int32_t{x[i + 1]} < 0;
    return count;
}

template <class T>
inline int sgn(T v) {
    return (v > T(0)) - (v < T(0));
}

// The sum of |sgn(x[i]) - sgn(x[i-1])|: a passage through zero adds one twice, a direct
// change of sign two; the caller halves it.
template <class T>
int64_t signSteps(const T* x, int len) {
    int64_t sum = 0;
    for (int64_t i = 1; i < len; ++i) {
        const int d = sgn(x[i]) - sgn(x[i - 1]);
        sum += d < 0 ? -d : d;
    }
    return sum;
}

// Neighbours with different sign bits: +0 and -0 differ.
int64_t signBitChanges(const Zem32f* x, int len) {
    int64_t count = 0;
    for (int64_t i = 0; i + 1 < len; ++i) count += std::signbit(x[i]) != std::signbit(x[i + 1]);
    return count;
}

ZemStatus checkRate(const void* src, const void* result, int len) {
    return zem::firstFailure(zem::nonNull(src, result), zem::atLeastOne(len));
}

// ---- Entropy ---------------------------------------------------------------------------------------

constexpr float kLn2 = 0.6931472f;

inline float defaultNaN() { return __builtin_bit_cast(float, 0xffc00000u); }

// The sum of x ln x over the positive x; false at the first negative x.
template <class Load>
bool sumXLnX(int len, Load load, float* sum) {
    float s = 0.0f;
    for (int i = 0; i < len; ++i) {
        const float x = load(i);
        if (x < 0.0f) return false;
        if (x > 0.0f) s += x * std::log(x);
    }
    *sum = s;
    return true;
}

// ---- Unit curve ------------------------------------------------------------------------------------

// 0 below 0, x^2 up to 1, 2 - (2 - x)^2 up to 2, then 2.  The out-of-place form evaluates
// the third piece as 4x - x^2 - 2, which rounds differently; both are kept.
template <bool kExpanded>
void unitCurve32f(const Zem32f* src, Zem32f* dst, int len) {
    for (int i = 0; i < len; ++i) {
        const float x = src[i];
        float y;
        if (x < 0.0f) y = 0.0f;
        else if (x < 1.0f) y = x * x;
        else if (x <= 2.0f) y = kExpanded ? (4.0f * x - x * x) - 2.0f : 2.0f - (2.0f - x) * (2.0f - x);
        else y = 2.0f;
        dst[i] = y;
    }
}

// Fixed point with q fraction bits (0 <= q < 15), then a shift by scaleFactor + 2q: right
// when positive, left when not, limited above to 32767.  Results are never negative.
void unitCurve16s(const Zem16s* src, int q, Zem16s* dst, int len, int scaleFactor) {
    if (q < 0 || q >= 15) {
        std::memset(dst, 0, static_cast<size_t>(len) * sizeof(Zem16s));
        return;
    }
    const int32_t one = int32_t{1} << q, two = int32_t{1} << (q + 1);
    const int64_t shift = int64_t{scaleFactor} + 2 * q;
    for (int i = 0; i < len; ++i) {
        const int32_t x = src[i];
        int64_t y = x <= 0 ? 0 : x < one ? x * x : x < two ? two * one - (two - x) * (two - x) : two * one;
        if (shift > 0) y = shift >= 63 ? 0 : y >> shift;
        else if (y != 0) y = -shift > 16 ? 32767 : y << -shift;
        dst[i] = static_cast<Zem16s>(y > 32767 ? 32767 : y);
    }
}

}  // namespace

// ---- Exports ---------------------------------------------------------------------------------------

extern "C" {

// Size before null, unlike the rest of the family.
ZEMSR_API ZemStatus zemsZeroMean_16s(Zem16s* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len), zem::nonNull(srcDst))) return s;
    zeroMean16s(srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffset_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f* srcPrev,
                                             Zem32f dstPrev, Zem32f val) {
    if (const ZemStatus s = checkNotch(src, dst, srcPrev, len)) return s;
    notch32f(src, dst, len, srcPrev, dstPrev, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffset_32f_I(Zem32f* srcDst, int len, Zem32f* srcPrev, Zem32f dstPrev,
                                               Zem32f val) {
    if (const ZemStatus s = checkNotch(srcDst, srcDst, srcPrev, len)) return s;
    notch32f(srcDst, srcDst, len, srcPrev, dstPrev, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffset_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev,
                                             Zem16s dstPrev, Zem32f val) {
    if (const ZemStatus s = checkNotch(src, dst, srcPrev, len)) return s;
    notch16s(src, dst, len, srcPrev, dstPrev, val, true);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffset_16s_I(Zem16s* srcDst, int len, Zem16s* srcPrev, Zem16s dstPrev,
                                               Zem32f val) {
    if (const ZemStatus s = checkNotch(srcDst, srcDst, srcPrev, len)) return s;
    notch16s(srcDst, srcDst, len, srcPrev, dstPrev, val, false);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffsetQ15_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev,
                                                Zem16s dstPrev, Zem16s val) {
    if (const ZemStatus s = checkNotchQ15(src, dst, srcPrev, len, val)) return s;
    notchQ15(src, dst, len, srcPrev, dstPrev, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCompensateOffsetQ15_16s_I(Zem16s* srcDst, int len, Zem16s* srcPrev, Zem16s dstPrev,
                                                  Zem16s val) {
    if (const ZemStatus s = checkNotchQ15(srcDst, srcDst, srcPrev, len, val)) return s;
    notchQ15(srcDst, srcDst, len, srcPrev, dstPrev, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNormEnergy_32f(Zem32f* srcDst, int step, int height, Zem32f silenceFloor, Zem32f scale) {
    if (const ZemStatus s = checkEnergies(srcDst, step, height)) return s;
    const Energies32f e{srcDst, step};
    normEnergy32f(e, height, silenceFloor, maxEnergy32f(e, height), scale);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNormEnergy_RT_32f(Zem32f* srcDst, int step, int height, Zem32f silenceFloor, Zem32f maxE,
                                          Zem32f scale) {
    if (const ZemStatus s = checkEnergies(srcDst, step, height)) return s;
    normEnergy32f(Energies32f{srcDst, step}, height, silenceFloor, maxE, scale);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNormEnergy_16s(Zem16s* srcDst, int step, int height, Zem16s silenceFloor, Zem16s normValue,
                                       Zem32f scale) {
    if (const ZemStatus s = checkEnergies(srcDst, step, height)) return s;
    return normEnergy16s(srcDst, step, height, silenceFloor, maxEnergy16s(srcDst, step, height), normValue, scale,
                         scale >= 1.001f || height < 11);
}

ZEMSR_API ZemStatus zemsNormEnergy_RT_16s(Zem16s* srcDst, int step, int height, Zem16s silenceFloor, Zem16s maxE,
                                          Zem16s normValue, Zem32f scale) {
    if (const ZemStatus s = checkEnergies(srcDst, step, height)) return s;
    return normEnergy16s(srcDst, step, height, silenceFloor, maxE, normValue, scale, scale >= 1.001f);
}

ZEMSR_API ZemStatus zemsSignChangeRate_32f(const Zem32f* src, int len, Zem32f* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    *result = static_cast<float>(signChanges32f(src, len));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSignChangeRate_16s(const Zem16s* src, int len, Zem32s* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    *result = static_cast<Zem32s>(signChanges16s(src, len));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSignChangeRate_Count0_32f(const Zem32f* src, int len, Zem32f* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    *result = static_cast<float>(signSteps(src, len)) * 0.5f;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSignChangeRate_Count0_16s(const Zem16s* src, int len, Zem32s* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    *result = static_cast<Zem32s>(signSteps(src, len) >> 1);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSignChangeRateXor_32f(const Zem32f* src, int len, Zem32s* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    *result = static_cast<Zem32s>(signBitChanges(src, len));
    return zemStatusOk;
}

// A negative sample stops the sum: the result is the default NaN, with the warning.
ZEMSR_API ZemStatus zemsEntropy_32f(const Zem32f* src, int len, Zem32f* result) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    float sum;
    if (!sumXLnX(len, [&](int i) { return src[i]; }, &sum)) {
        *result = defaultNaN();
        return zemStatusLogNegativeWarning;
    }
    *result = sum / kLn2;
    return zemStatusOk;
}

// A negative sample returns the warning at once and leaves the result as it was.
ZEMSR_API ZemStatus zemsEntropy_16s32s_Sfs(const Zem16s* src, int srcShift, int len, Zem32s* result,
                                           int scaleFactor) {
    if (const ZemStatus s = checkRate(src, result, len)) return s;
    // 1 / 2^s for a positive shift (0 once 2^s overflows), 2^-s otherwise.
    const float in = srcShift >= 0 ? 1.0f / zem::exactPow2f(srcShift > 200 ? 200 : srcShift)
                                   : zem::exactPow2f(srcShift < -200 ? 200 : -srcShift);
    float sum;
    if (!sumXLnX(len, [&](int i) { return static_cast<float>(src[i]) * in; }, &sum))
        return zemStatusLogNegativeWarning;
    *result = zem::truncScoreToInt32(sum * zem::pow2Neg32f(scaleFactor) / kLn2);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCopyWithPadding_32f(const Zem32f* src, int srcLen, Zem32f* dst, int dstLen) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(srcLen, dstLen),
                                              zem::ensure(dstLen >= srcLen, zemStatusBadSize)))
        return s;
    std::memmove(dst, src, static_cast<size_t>(srcLen) * sizeof(Zem32f));
    std::memset(dst + srcLen, 0, static_cast<size_t>(dstLen - srcLen) * sizeof(Zem32f));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsCopyWithPadding_16s(const Zem16s* src, int srcLen, Zem16s* dst, int dstLen) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(srcLen, dstLen),
                                              zem::ensure(dstLen >= srcLen, zemStatusBadSize)))
        return s;
    std::memmove(dst, src, static_cast<size_t>(srcLen) * sizeof(Zem16s));
    std::memset(dst + srcLen, 0, static_cast<size_t>(dstLen - srcLen) * sizeof(Zem16s));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUnitCurve_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    unitCurve32f<true>(src, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUnitCurve_32f_I(Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    unitCurve32f<false>(srcDst, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUnitCurve_16s_Sfs(const Zem16s* src, int qShift, Zem16s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    unitCurve16s(src, qShift, dst, len, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUnitCurve_16s_ISfs(Zem16s* srcDst, int qShift, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    unitCurve16s(srcDst, qShift, srcDst, len, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
