// Conversions between sample types.
//
// Conversions to integers scale by 2^-scaleFactor, then truncate (mode 0) or round to
// nearest with ties to even (any other mode), then saturate to the destination's range.
// NaN converts like a value below the range.  The scale is the effect of repeated
// multiplications by 0.5 or 2; it is applied as at most two multiplications by exact
// powers of two, which gives the same integers.  Every conversion runs under
// round-to-nearest, set for its own time when the caller has chosen another direction.
#include <cstdint>

#include "frame/check.h"
#include "frame/fpmode.h"
#include "frame/scale.h"
#include "own.h"
#include "simd.h"

namespace simd = zem::simd;

namespace {

template <class T>
struct ScaleSteps {
    T first, second;
};

// 2^-sf split into two exact powers so that neither step overflows to infinity (0 stays
// 0) nor skips a value that repeated multiplication would keep.
template <class T>
ScaleSteps<T> scaleSteps(int sf) {
    constexpr int kMaxUp = sizeof(T) == 4 ? 127 : 1023;
    constexpr int kMaxDown = sizeof(T) == 4 ? 126 : 1022;
    auto pow2 = [](int e) {
        if constexpr (sizeof(T) == 4) return zem::exactPow2f(e);
        else return zem::exactPow2d(e);
    };
    sf = sf < -2 * kMaxUp ? -2 * kMaxUp : (sf > 2 * kMaxDown ? 2 * kMaxDown : sf);
    if (sf >= 0) {
        const int a = sf < kMaxDown ? sf : kMaxDown;
        return {pow2(-a), pow2(-(sf - a))};
    }
    const int up = -sf;
    const int a = up < kMaxUp ? up : kMaxUp;
    return {pow2(a), pow2(up - a)};
}

template <class Src, class Dst>
ZemStatus widen(const Src* src, Dst* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    for (int i = 0; i < len; ++i) dst[i] = static_cast<Dst>(src[i]);
    return zemStatusOk;
}

// Integer to float times 2^-sf, the factor a single power with its exponent held to
// [minExp, maxExp].
template <class Src, class Dst>
ZemStatus widenScaled(const Src* src, Dst* dst, int len, int sf, int minExp, int maxExp) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    const int64_t e = -static_cast<int64_t>(sf);
    const int exponent = static_cast<int>(e < minExp ? minExp : (e > maxExp ? maxExp : e));
    Dst factor;
    if constexpr (sizeof(Dst) == 4) factor = zem::exactPow2f(exponent);
    else factor = zem::exactPow2d(exponent);
    for (int i = 0; i < len; ++i) dst[i] = static_cast<Dst>(src[i]) * factor;
    return zemStatusOk;
}

// Zem32f to an integer type whose range is [lo, hi]; for Zem32s, hi is 2^31 - 1 and
// every float at or above 2^31 saturates to it.
template <class Dst>
void floatToInt(const float* src, Dst* dst, int len, bool round, int sf) {
    constexpr bool k32 = sizeof(Dst) == 4;
    constexpr float lo = k32 ? -2147483648.0f : -32768.0f;
    constexpr float hi = k32 ? 2147483648.0f : 32767.0f;  // for Zem32s: the first value that saturates
    const ScaleSteps<float> steps = scaleSteps<float>(sf);
    const bool twoSteps = steps.second != 1.0f;
    auto scalarOne = [&](float x) -> Dst {
        float s = x * steps.first;
        if (twoSteps) s = s * steps.second;
        float t = s > lo ? s : lo;  // NaN goes to lo
        if (k32) {
            if (t >= hi) return static_cast<Dst>(INT32_MAX);
        } else {
            t = t < hi ? t : hi;
        }
        const __m128 v = _mm_set_ss(t);
        return static_cast<Dst>(round ? _mm_cvtss_si32(v) : _mm_cvttss_si32(v));
    };
    const simd::F32x8 vFirst = simd::splat(steps.first), vSecond = simd::splat(steps.second);
    const simd::F32x8 vLo = simd::splat(lo), vHi = simd::splat(hi);
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        simd::F32x8 s = simd::load(src + i) * vFirst;
        if (twoSteps) s = s * vSecond;
        simd::F32x8 t = simd::max(s, vLo);
        simd::F32x8 saturateHigh = simd::splat(0.0f);
        if constexpr (k32) saturateHigh = simd::le(vHi, t);
        else t = simd::min(t, vHi);
        simd::I32x8 n = round ? simd::toInt(t) : simd::toIntTrunc(t);
        if constexpr (k32) {
            n = simd::bits(simd::select(saturateHigh, simd::bits(simd::splatI(INT32_MAX)), simd::bits(n)));
            simd::store(reinterpret_cast<int32_t*>(dst + i), n);
        } else {
            int32_t wide[8];
            simd::store(wide, n);
            for (int k = 0; k < 8; ++k) dst[i + k] = static_cast<Dst>(wide[k]);
        }
    }
    for (; i < len; ++i) dst[i] = scalarOne(src[i]);
}

}  // namespace

ZemStatus ownConvert_8u32f(const Zem8u* src, Zem32f* dst, int len) { return widen(src, dst, len); }
ZemStatus ownConvert_16s32f(const Zem16s* src, Zem32f* dst, int len) { return widen(src, dst, len); }
ZemStatus ownConvert_32s32f(const Zem32s* src, Zem32f* dst, int len) { return widen(src, dst, len); }

ZemStatus ownConvert_16s32f_Sfs(const Zem16s* src, Zem32f* dst, int len, int scaleFactor) {
    return widenScaled(src, dst, len, scaleFactor, -112, 126);
}
ZemStatus ownConvert_32s32f_Sfs(const Zem32s* src, Zem32f* dst, int len, int scaleFactor) {
    return widenScaled(src, dst, len, scaleFactor, -112, 126);
}
ZemStatus ownConvert_16s64f_Sfs(const Zem16s* src, Zem64f* dst, int len, int scaleFactor) {
    return widenScaled(src, dst, len, scaleFactor, -1008, 1022);
}

ZemStatus ownConvert_32s16s_Sfs(const Zem32s* src, Zem16s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    if (scaleFactor >= 0) {
        const int shift = scaleFactor > 31 ? 31 : scaleFactor;
        for (int i = 0; i < len; ++i) dst[i] = zem::saturate16(src[i] >> shift);
    } else {
        const int shift = scaleFactor < -15 ? 15 : -scaleFactor;
        for (int i = 0; i < len; ++i) dst[i] = zem::saturate16(static_cast<int64_t>(src[i]) * (int64_t{1} << shift));
    }
    return zemStatusOk;
}

ZemStatus ownConvert_32f16s_Sfs(const Zem32f* src, Zem16s* dst, int len, int mode, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    floatToInt(src, dst, len, mode != 0, scaleFactor);
    return zemStatusOk;
}

ZemStatus ownConvert_32f32s_Sfs(const Zem32f* src, Zem32s* dst, int len, int mode, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    floatToInt(src, dst, len, mode != 0, scaleFactor);
    return zemStatusOk;
}

ZemStatus ownConvert_64f32s_Sfs(const Zem64f* src, Zem32s* dst, int len, int mode, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    const ScaleSteps<double> steps = scaleSteps<double>(scaleFactor);
    for (int i = 0; i < len; ++i) {
        double t = src[i] * steps.first * steps.second;
        t = t > -2147483648.0 ? t : -2147483648.0;  // NaN goes to the bottom of the range
        t = t < 2147483647.0 ? t : 2147483647.0;
        dst[i] = static_cast<Zem32s>(mode != 0 ? zem::roundHalfEven(t) : __builtin_trunc(t));
    }
    return zemStatusOk;
}
