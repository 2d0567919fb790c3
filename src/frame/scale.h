// Powers of two of a scale factor, and the rounding and saturation rules that go with them.
//
// A stored integer stands for the real value times 2^scaleFactor; the tables give the
// factor 2^-scaleFactor exactly.  Out-of-range factors are clamped, never reported.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "zemsr.h"

namespace zem {

// 2^e from its bit pattern: +inf above the range, denormals below the normal range,
// zero below the smallest denormal.
constexpr float exactPow2f(int e) {
    if (e > 127) return std::bit_cast<float>(0x7f800000u);
    if (e >= -126) return std::bit_cast<float>(static_cast<uint32_t>(e + 127) << 23);
    if (e >= -149) return std::bit_cast<float>(1u << (e + 149));
    return 0.0f;
}

constexpr double exactPow2d(int e) {
    if (e > 1023) return std::bit_cast<double>(0x7ff0000000000000ull);
    if (e >= -1022) return std::bit_cast<double>(static_cast<uint64_t>(e + 1023) << 52);
    if (e >= -1074) return std::bit_cast<double>(1ull << (e + 1074));
    return 0.0;
}

// Truncation toward zero to 32 bits with the processor's answer for what does not fit:
// NaN and values outside the range give INT32_MIN, where a plain cast is undefined.
constexpr Zem32s truncToInt32(double v) {
    return (v > -2147483649.0 && v < 2147483648.0) ? static_cast<Zem32s>(v) : INT32_MIN;
}

// 2^-sf for sf = -128..150, at index sf + 128.
inline constexpr auto kPow2Neg32f = [] {
    std::array<float, 279> t{};
    for (int sf = -128; sf <= 150; ++sf) t[sf + 128] = exactPow2f(-sf);
    return t;
}();

// 2^-k for k = 0..63.
inline constexpr auto kPow2NegLow32f = [] {
    std::array<float, 64> t{};
    for (int k = 0; k < 64; ++k) t[k] = exactPow2f(-k);
    return t;
}();

// 2^(1087 - 64 q) for q = 0..33; q = 0 overflows to +inf on purpose.
inline constexpr auto kPow2NegHigh64f = [] {
    std::array<double, 34> t{};
    for (int q = 0; q < 34; ++q) t[q] = exactPow2d(1087 - 64 * q);
    return t;
}();

// 2^-sf as Zem32f, sf clamped to -128..150: -128 gives +inf, 149 the smallest
// denormal, 150 zero.
inline float pow2Neg32f(int sf) {
    const int c = sf < -128 ? -128 : (sf > 150 ? 150 : sf);
    return kPow2Neg32f[c + 128];
}

// 2^-sf as Zem64f, sf clamped to -1024..1087: -1024 gives +inf, 1074 the smallest
// denormal, anything above zero.  Built as a Zem32f power 2^-k (k = 0..63) times a
// Zem64f power indexed by the upper bits of the clamped value plus 1087; both are
// exact, so the product is.
inline double pow2Neg64f(int sf) {
    const int c = sf < -1024 ? -1024 : (sf > 1087 ? 1087 : sf);
    const unsigned u = static_cast<unsigned>(c + 1087);
    return static_cast<double>(kPow2NegLow32f[u & 63u]) * kPow2NegHigh64f[u >> 6];
}

inline Zem32s saturate32(int64_t v) {
    return v > INT32_MAX ? INT32_MAX : (v < INT32_MIN ? INT32_MIN : static_cast<Zem32s>(v));
}

inline Zem16s saturate16(int64_t v) {
    return v > INT16_MAX ? INT16_MAX : (v < INT16_MIN ? INT16_MIN : static_cast<Zem16s>(v));
}

// v / 2^s rounded to nearest with ties to even, by the integer rule
// (v + 2^(s-1) - 1 + ((v >> s) & 1)) >> s, for 1 <= s <= 63.  Evaluated in 128 bits
// so that no sum of 64-bit values can overflow on the way.
inline int64_t roundShiftRightEven(int64_t v, int s) {
    const __int128 w = v;
    const __int128 r = (w + ((static_cast<__int128>(1) << (s - 1)) - 1) + ((w >> s) & 1)) >> s;
    return static_cast<int64_t>(r);
}

// v rounded to the nearest integer with ties to even, whatever the rounding direction
// in force; exact for every double.
inline double roundHalfEven(double v) {
    if (!(__builtin_fabs(v) < 0x1p52)) return v;  // already integral, infinite or NaN
    const double f = __builtin_floor(v);
    // 2v against 2f + 1 compares v with the midpoint f + 1/2 without rounding.
    const double twice = 2.0 * v, mid = 2.0 * f + 1.0;
    if (twice > mid) return f + 1.0;
    if (twice < mid) return f;
    return __builtin_fmod(f, 2.0) == 0.0 ? f : f + 1.0;
}

// Floating-point score to Zem32s, rounding to nearest with ties to even: the value is
// clamped to [-2^31, 2^31] first.  2^31 itself is not a Zem32s and converts to -2^31,
// the processor's answer for an out-of-range conversion; scores rely on that.
Zem32s roundScoreToInt32(float v);
// The same clamp with truncation toward zero, for the families that truncate.
Zem32s truncScoreToInt32(float v);

}  // namespace zem
