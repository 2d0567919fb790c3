// Division of vectors: dst[i] = numerator[i] / denominator[i].
//
// Zero rule: a denominator of zero of either sign gives +inf for a positive numerator,
// -inf for a negative one and NaN for a zero or NaN numerator, and the call reports
// zemStatusDivideByZeroWarning.
//
// Zem32f: elements are grouped in blocks of four at indices 4j..4j+3 of the whole
// vector.  A block whose denominators all have a normal reciprocal (magnitude in
// [2^-126, 2^126]) is divided as the numerator times a 12-bit reciprocal estimate
// refined by two Newton steps; any other block, a zero in it included, goes element by
// element with true divisions.  The blocks are fixed by index, not by address or
// thread slice, so results do not depend on alignment or on the number of threads.
#include <cmath>
#include <limits>

#include "frame/check.h"
#include "own.h"
#include "simd.h"
#include "threading.h"

namespace simd = zem::simd;

namespace {

template <class T>
inline T divideExact(T n, T d) {
    if (d == T(0)) {
        if (n > T(0)) return std::numeric_limits<T>::infinity();
        if (n < T(0)) return -std::numeric_limits<T>::infinity();
        return std::numeric_limits<T>::quiet_NaN();
    }
    return n / d;
}

constexpr float kSmallestNormal = 0x1p-126f;
constexpr float kLargestWithNormalReciprocal = 0x1p126f;

inline bool hasNormalReciprocal(float d) {
    const float a = std::fabs(d);
    return a >= kSmallestNormal && a <= kLargestWithNormalReciprocal;
}

// The estimate refined twice: r <- r * (2 - d * r).
inline float refinedQuotient(float n, float d) {
    float r = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
    r = r * (2.0f - d * r);
    r = r * (2.0f - d * r);
    return n * r;
}

inline simd::F32x8 refinedQuotient(simd::F32x8 n, simd::F32x8 d) {
    const simd::F32x8 two = simd::splat(2.0f);
    simd::F32x8 r = simd::rcpApprox(d);
    r = r * (two - d * r);
    r = r * (two - d * r);
    return n * r;
}

// Elements [start, start + count) of a vector of len elements; true when a zero
// denominator was met.  Blocks that straddle the slice edges are judged whole.
bool divideSlice32f(const float* den, const float* num, float* dst, int start, int count, int len) {
    bool zero = false;
    int i = start;
    const int end = start + count;
    auto scalarUpTo = [&](int stop) {
        while (i < stop) {
            const int blockStart = i & ~3;
            const int blockEnd = blockStart + 4 < len ? blockStart + 4 : len;
            bool approx = true;
            for (int j = blockStart; j < blockEnd; ++j) approx &= hasNormalReciprocal(den[j]);
            const int stopHere = blockEnd < stop ? blockEnd : stop;
            for (; i < stopHere; ++i) {
                zero |= den[i] == 0.0f;
                dst[i] = approx ? refinedQuotient(num[i], den[i]) : divideExact(num[i], den[i]);
            }
        }
    };
    // Head up to a block boundary, then eight elements (two blocks) at a time.
    const int firstBoundary = (start + 3) & ~3;
    scalarUpTo(firstBoundary < end ? firstBoundary : end);
    const simd::F32x8 lowest = simd::splat(kSmallestNormal);
    const simd::F32x8 highest = simd::splat(kLargestWithNormalReciprocal);
    const simd::F32x8 absMask = simd::bits(simd::splatI(0x7fffffff));
    for (; i + 8 <= end; i += 8) {
        const simd::F32x8 d = simd::load(den + i);
        const simd::F32x8 a = d & absMask;
        const simd::F32x8 ok = simd::le(lowest, a) & simd::le(a, highest);
        if (simd::signMask(ok) == 0xff) {
            simd::store(dst + i, refinedQuotient(simd::load(num + i), d));
        } else {
            scalarUpTo(i + 8);
            i -= 8;
        }
    }
    scalarUpTo(end);
    return zero;
}

bool divideSlice64f(const double* den, const double* num, double* dst, int count) {
    bool zero = false;
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const simd::F64x4 d = simd::load(den + i);
        simd::store(dst + i, simd::load(num + i) / d);
        if (simd::signMask(simd::eq(d, simd::splat(0.0)))) {
            zero = true;
            for (int j = i; j < i + 4; ++j) dst[j] = divideExact(num[j], den[j]);
        }
    }
    for (; i < count; ++i) {
        zero |= den[i] == 0.0;
        dst[i] = divideExact(num[i], den[i]);
    }
    return zero;
}

}  // namespace

ZemStatus ownDiv_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    const int reports = zem::runMaybeThreaded(len, 4096, [=](int start, int count) {
        return divideSlice32f(src1, src2, dst, start, count, len);
    });
    return reports ? zemStatusDivideByZeroWarning : zemStatusOk;
}

ZemStatus ownDiv_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, srcDst), zem::atLeastOne(len))) return s;
    return divideSlice32f(src, srcDst, srcDst, 0, len, len) ? zemStatusDivideByZeroWarning : zemStatusOk;
}

ZemStatus ownDiv_64f(const Zem64f* src1, const Zem64f* src2, Zem64f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    const int reports = zem::runMaybeThreaded(len, 1024, [=](int start, int count) {
        return divideSlice64f(src1 + start, src2 + start, dst + start, count);
    });
    return reports ? zemStatusDivideByZeroWarning : zemStatusOk;
}
