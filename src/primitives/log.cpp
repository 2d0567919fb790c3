// Logarithms: in place on floats, on integers with a scale factor, and sums of logs.
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/check.h"
#include "frame/fpmode.h"
#include "frame/scale.h"
#include "lnpoly.h"
#include "own.h"


namespace {

// The status of the first non-positive element, or Ok.
template <class T>
inline ZemStatus logStatusOf(T x) {
    if (x == T(0)) return zemStatusLogZeroWarning;
    if (x < T(0)) return zemStatusLogNegativeWarning;
    return zemStatusOk;
}

// The status of the first zero or negative float; a vector pass finds whether there
// is one at all.
ZemStatus firstLogStatus(const float* src, int n) {
    int i = 0;
    zem::simd::F32x8 bad = zem::simd::splat(0.0f);
    for (; i + 8 <= n; i += 8) bad = bad | zem::simd::le(zem::simd::load(src + i), zem::simd::splat(0.0f));
    bool any = zem::simd::signMask(bad) != 0;
    for (int k = i; k < n; ++k) any |= src[k] <= 0.0f;
    if (!any) return zemStatusOk;
    for (int k = 0; k < n; ++k)
        if (const ZemStatus s = logStatusOf(src[k]); s != zemStatusOk) return s;
    return zemStatusOk;
}

// Nearest integer to ln(x) for x >= 2, by comparison with the rounding points e^(n+1/2).
constexpr int32_t kLnSteps[] = {5,      13,      34,       91,       245,      666,       1809,
                                4915,   13360,   36316,    98716,    268338,   729417,    1982760,
                                5389699, 14650720, 39824785, 108254988, 294267567, 799902178};

int32_t nearestLn(int32_t x) {
    int32_t n = 1;
    for (int32_t step : kLnSteps) n += x >= step;
    return n;
}

ZemStatus lnIntegers(const Zem32s* src, Zem32s* dst, int len, int sf) {
    ZemStatus status = zemStatusOk;
    if (sf >= 0) {
        for (int i = 0; i < len; ++i) {
            const Zem32s x = src[i];
            if (status == zemStatusOk) status = logStatusOf(x);
            if (x <= 0) dst[i] = INT32_MIN;
            else if (x == 1) dst[i] = 0;
            else dst[i] = sf > 30 ? 0 : static_cast<Zem32s>(static_cast<uint32_t>(nearestLn(x)) >> sf);
        }
        return status;
    }
    // Through Zem32f: the polynomial log times 2^-sf, rounded to nearest, in blocks of 256.
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    const float factor = zem::pow2Neg32f(sf);
    constexpr int kBlock = 256;
    Zem32s x[kBlock];
    float v[kBlock];
    for (int start = 0; start < len; start += kBlock) {
        const int n = len - start < kBlock ? len - start : kBlock;
        for (int k = 0; k < n; ++k) x[k] = src[start + k];  // dst may be src
        for (int k = 0; k < n; ++k) v[k] = static_cast<float>(x[k]);
        zem::lnPolyBlock(v, v, n);
        for (int k = 0; k < n; ++k) v[k] *= factor;
        ownConvert_32f32s_Sfs(v, dst + start, n, 1, 0);
        for (int k = 0; k < n; ++k) {
            if (status == zemStatusOk) status = logStatusOf(x[k]);
            if (x[k] <= 0) dst[start + k] = INT32_MIN;
            else if (x[k] == 1) dst[start + k] = 0;
        }
    }
    return status;
}

// Sum of logs in runs of 512, each run summed in Zem64f.  The first zero, negative or
// NaN element ends the whole sum.
template <class T>
ZemStatus sumLn(const T* src, int len, T* dst) {
    constexpr int kRun = 512;
    double total = 0.0;
    for (int start = 0; start < len; start += kRun) {
        const int n = len - start < kRun ? len - start : kRun;
        double run = 0.0;
        for (int k = 0; k < n; ++k) {
            const T x = src[start + k];
            if (!(x > T(0))) {
                if (x == T(0)) {
                    *dst = -std::numeric_limits<T>::infinity();
                    return zemStatusLogZeroWarning;
                }
                if (x < T(0)) {
                    *dst = std::numeric_limits<T>::quiet_NaN();
                    return zemStatusLogNegativeWarning;
                }
                *dst = x;  // NaN: passed on as it is
                return zemStatusOk;
            }
            run += std::log(static_cast<double>(x));
        }
        total += run;
    }
    *dst = static_cast<T>(total);
    return zemStatusOk;
}

}  // namespace

ZemStatus ownLn_32f_I(Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    constexpr int kRun = 256;
    ZemStatus status = zemStatusOk;
    for (int start = 0; start < len; start += kRun) {
        const int n = len - start < kRun ? len - start : kRun;
        if (status == zemStatusOk) status = firstLogStatus(srcDst + start, n);
        zem::lnPolyBlock(srcDst + start, srcDst + start, n);
    }
    return status;
}

ZemStatus ownLn_32s_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    return lnIntegers(src, dst, len, scaleFactor);
}

ZemStatus ownLn_32s_ISfs(Zem32s* srcDst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    return lnIntegers(srcDst, srcDst, len, scaleFactor);
}

ZemStatus ownSumLn_32f(const Zem32f* src, int len, Zem32f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    return sumLn(src, len, dst);
}

ZemStatus ownSumLn_64f(const Zem64f* src, int len, Zem64f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    return sumLn(src, len, dst);
}
