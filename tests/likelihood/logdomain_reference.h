// Scalar references of log-domain addition and sums, written from the stated arithmetic
// step by step.  They share only the coefficient tables with the library.
#pragma once

#include <cmath>
#include <vector>

#include "likelihood/logcore.h"

namespace logref {

namespace ld = zem::logdomain;

// Single precision.  group: drop below the threshold, segments by "above the limit".
// single: keep only above the threshold; coefficients of segment 2 down to and including
// -6.8, origin of segment 2 only above it.
inline float add32(float a, float b, bool single) {
    const float m = a > b ? a : b;
    const float smaller = a < b ? a : b;
    const float d = smaller - m;
    const bool dropped = single ? !(d > ld::kDrop32) : d < ld::kDrop32;
    if (dropped) return m < -4500000.0f ? -4500000.0f : m;
    int coef, orig;
    if (d > -2.549999952316284f) coef = orig = 0;
    else if (d > -6.800000190734863f) coef = orig = 1;
    else coef = orig = 2;
    if (single && d == -6.800000190734863f) coef = 1;
    const float origins[3] = {0.0f, 2.549999952316284f, 6.800000190734863f};
    const float x = orig == 0 ? d : d + origins[orig];
    float p = ld::kPoly32[0][coef];
    for (int k = 1; k <= 10; ++k) p = p * x + ld::kPoly32[k][coef];
    return m + p;
}

// Double precision; evenOdd selects the split form of the sums.
inline double add64(double a, double b, bool single, bool evenOdd) {
    const double m = a > b ? a : b;
    const double d = -std::fabs(a - b);
    const bool dropped = single ? !(d > -23.0258509299405) : d < -23.0258509299405;
    if (dropped) return m < -9000000000.0 ? -10000000000.0 : m;
    const int seg = d > -3.5 ? 0 : (d > -9.0 ? 1 : 2);
    const double x = seg == 0 ? d : d + (seg == 1 ? 3.5 : 9.0);
    auto a_ = [seg](int power) { return ld::kPoly64[20 - power][seg]; };  // a_(j) is a_j
    const double k = ld::kPoly64[21][seg];
    if (!evenOdd) {
        double h = a_(20);
        for (int j = 19; j >= 0; --j) h = h * x + a_(j);
        return (m + k) + x * h;
    }
    const double y = x * x;
    double odd = a_(20), even = a_(19);
    for (int j = 18; j >= 0; j -= 2) odd = odd * y + a_(j);
    for (int j = 17; j >= 1; j -= 2) even = even * y + a_(j);
    even = even * y + k;
    return (m + x * odd) + even;
}

inline float sum32(const std::vector<float>& v) {
    const int len = static_cast<int>(v.size());
    if (len < 8) {
        float r = v[0];
        for (int i = 1; i < len; ++i) r = add32(r, v[i], true);
        return r;
    }
    float acc[4] = {v[0], v[1], v[2], v[3]};
    const int n = len / 4 * 4;
    for (int i = 4; i < n; i += 4)
        for (int j = 0; j < 4; ++j) acc[j] = add32(acc[j], v[i + j], false);
    acc[0] = add32(acc[0], acc[2], false);
    acc[1] = add32(acc[1], acc[3], false);
    float r = add32(acc[0], acc[1], false);
    for (int i = n; i < len; ++i) r = add32(r, v[i], true);
    return r;
}

inline double sum64(const std::vector<double>& v) {
    const int len = static_cast<int>(v.size());
    if (len <= 4) {
        double r = v[0];
        for (int i = 1; i < len; ++i) r = add64(r, v[i], true, true);
        return r;
    }
    double acc[2] = {v[0], v[1]};
    for (int i = 2; i + 1 < len; i += 2)
        for (int j = 0; j < 2; ++j) acc[j] = add64(acc[j], v[i + j], false, true);
    double r = add64(acc[1], acc[0], false, true);
    if (len % 2) r = add64(r, v[len - 1], true, true);
    return r;
}

}  // namespace logref
