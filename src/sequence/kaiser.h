// Kaiser-windowed sinc prototypes of the two resampling engines, and the output rules
// they share.  All design arithmetic is in double.
#pragma once

#include <cmath>
#include <cstdint>
#include <emmintrin.h>

#include "zemsr.h"

namespace zem::resample {

inline constexpr double kPi = 3.14159265358979323846;

// I0(x): the series sum of ((x/2)^m / m!)^2, each term formed from the last, added from
// m = 1 until a term falls below 1e-21 of the sum so far.
inline double besselI0(double x) {
    double sum = 1.0, u = 1.0;
    for (int m = 1; m < 1000; ++m) {
        u = u * (x * 0.5) / m;
        const double term = u * u;
        if (term < 1e-21 * sum) break;
        sum += term;
    }
    return sum;
}

// The window at u = position / span, 1 - u^2 at or below 0 giving I0(0).
inline double kaiser(double u, double alpha, double invI0Alpha) {
    const double r = 1.0 - u * u;
    return invI0Alpha * besselI0(r > 0.0 ? alpha * std::sqrt(r) : 0.0);
}

// Scales h by 1 / (h[0] + 2 s), s the sum of h at the multiples of `every` above 0 (below
// count), the sign turned when h[0] is negative: gain 1 at zero frequency.
inline void normaliseGain(double* h, int64_t count, int64_t every) {
    double s = 0.0;
    for (int64_t m = every; m < count; m += every) s += h[m];
    double k = 1.0 / (h[0] + 2.0 * s);
    if (h[0] < 0.0) k = -k;
    for (int64_t m = 0; m < count; ++m) h[m] *= k;
}

// Rounding half away from zero to 16 bits: above 32767 gives 32767, below -32768 gives
// -32768; a NaN gives 0.
inline Zem16s roundHalfAway16(double v) {
    if (v > 32767.0) return 32767;
    if (v < -32768.0) return -32768;
    if (!(v == v)) return 0;
    return static_cast<Zem16s>(static_cast<int32_t>(v >= 0.0 ? v + 0.5 : v - 0.5));
}

// Truncation of a double toward zero as the processor does it: out of range and NaN
// give -2^31.
inline int32_t truncToInt(double v) { return _mm_cvttsd_si32(_mm_set_sd(v)); }
inline int32_t truncToInt(float v) { return _mm_cvttss_si32(_mm_set_ss(v)); }

}  // namespace zem::resample
