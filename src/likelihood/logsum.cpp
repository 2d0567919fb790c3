// Log-domain sums: one value, ln of the sum of exp(src[i]).
//
// The order of the additions is fixed and decides the rounding:
// - Zem32f: sequential below 8 elements; otherwise four accumulators over groups of
//   four, folded as (0 with 2), (1 with 3), then together, and the remaining elements
//   one by one.
// - Zem64f: sequential up to 4 elements; otherwise two accumulators over pairs, folded,
//   and an odd last element alone; polynomials are split into even and odd powers.
// - Integers: 2 to 6 elements in double with the running value rounded to float after
//   every step; longer ones in blocks of 128 floats, each later block summed behind the
//   running result.
#include <cstdint>
#include <immintrin.h>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "logcore.h"
#include "own.h"

namespace simd = zem::simd;
namespace ld = zem::logdomain;

namespace {

inline void accumulate2(double* acc, const double* src) {
    double a[4] = {acc[0], acc[1], acc[0], acc[1]}, b[4] = {src[0], src[1], src[0], src[1]};
    simd::store(a, ld::addGroup64<ld::EvenOdd64>(simd::load(a), simd::load(b)));
    acc[0] = a[0];
    acc[1] = a[1];
}

inline double addGroupOne64(double a, double b) {
    double x[4] = {a}, y[4] = {b};
    simd::store(x, ld::addGroup64<ld::EvenOdd64>(simd::load(x), simd::load(y)));
    return x[0];
}

template <class T>
void logSumInteger(const T* src, T* dst, int len, int scaleFactor) {
    if (len == 1) {
        *dst = src[0];  // as it stands: no scaling, no rounding
        return;
    }
    constexpr bool k32 = std::is_same_v<T, Zem32s>;
    constexpr double kMax = k32 ? 2147483647.0 : 32767.0;
    constexpr double kMin = k32 ? -2147483648.0 : -32768.0;
    const double s = zem::pow2Neg64f(scaleFactor);
    if (len <= 6) {
        double acc = s * src[0];
        for (int i = 1; i < len; ++i) acc = ld::addShortPath(acc, s * src[i]);
        const double v = acc / s;
        *dst = v > kMax ? static_cast<T>(kMax) : (v < kMin ? static_cast<T>(kMin) : static_cast<T>(_mm_cvttsd_si32(_mm_set_sd(v))));
        return;
    }
    const float f = static_cast<float>(s);
    constexpr int kBlock = 128;
    alignas(32) Zem32f buffer[kBlock + 1];  // slot 0 carries the running result
    Zem32f result = 0.0f;
    for (int start = 0; start < len; start += kBlock) {
        const int n = len - start < kBlock ? len - start : kBlock;
        if constexpr (k32) ownConvert_32s32f(src + start, buffer + 1, n);
        else ownConvert_16s32f(src + start, buffer + 1, n);
        ownMulC_32f_I(f, buffer + 1, n);
        if (start == 0) {
            ownLogSumBlock_32f(buffer + 1, &result, n);
        } else {
            buffer[0] = result;
            ownLogSumBlock_32f(buffer, &result, n + 1);
        }
    }
    // The Zem32s limit is the float 2^31 itself: exactly 2^31 passes the test and
    // converts to -2^31.
    const float v = static_cast<float>(static_cast<double>(result) / s);
    constexpr float kMaxF = k32 ? 2147483648.0f : 32767.0f;
    constexpr float kMinF = k32 ? -2147483648.0f : -32768.0f;
    *dst = v > kMaxF ? static_cast<T>(kMax) : (v < kMinF ? static_cast<T>(kMin) : static_cast<T>(_mm_cvttss_si32(_mm_set_ss(v))));
}

}  // namespace

void ownLogSumBlock_32f(const Zem32f* src, Zem32f* dst, int len) {
    *dst = src[0];
    if (len > 1) *dst = ld::logSum32(src, len, [](int) {});
}

void ownLogSumBlock_64f(const Zem64f* src, Zem64f* dst, int len) {
    *dst = src[0];
    if (len == 1) return;
    double r;
    if (len <= 4) {
        r = src[0];
        for (int i = 1; i < len; ++i) r = ld::addSingle64<ld::EvenOdd64>(r, src[i]);
    } else {
        double acc[2] = {src[0], src[1]};
        const int n = len & ~1;
        for (int i = 2; i < n; i += 2) accumulate2(acc, src + i);
        r = addGroupOne64(acc[1], acc[0]);
        if (len & 1) r = ld::addSingle64<ld::EvenOdd64>(r, src[len - 1]);
    }
    *dst = r;
}

extern "C" {

ZEMSR_API ZemStatus zemsLogSum_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, dst)))
        return s;
    ownLogSumBlock_32f(src, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSum_64f(const Zem64f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, dst)))
        return s;
    ownLogSumBlock_64f(src, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSum_16s_Sfs(const Zem16s* src, Zem16s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, dst)))
        return s;
    logSumInteger(src, dst, len, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSum_32s_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, dst)))
        return s;
    logSumInteger(src, dst, len, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
