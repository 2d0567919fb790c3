// Magnitudes of complex pairs (re, im).
#include <cmath>

#include "frame/check.h"
#include "frame/fpmode.h"
#include "frame/scale.h"
#include "own.h"
#include "simd.h"
#include "threading.h"

namespace simd = zem::simd;

namespace {

// Zem32f: s = re^2 + im^2.  A finite s at or above the smallest normal number goes by a
// 12-bit reciprocal root estimate y with one Newton step, y (1.5 - (s/2) y^2), times s;
// smaller sums (zero among them) and infinite or NaN ones take the true square root.
inline simd::F32x8 magnitudeFromSum(simd::F32x8 s) {
    using namespace simd;
    F32x8 y = rsqrtApprox(s);
    y = y * (splat(1.5f) - (splat(0.5f) * s) * y * y);
    const F32x8 approximable = le(splat(0x1p-126f), s) & lt(s, splat(__builtin_inff()));
    return select(approximable, s * y, sqrt(s));
}

void magnitudeSlice32f(const float* pairs, float* dst, int count) {
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        const simd::F32x8 a = simd::load(pairs + 2 * i), b = simd::load(pairs + 2 * i + 8);
        simd::store(dst + i, magnitudeFromSum(simd::pairSums(a * a, b * b)));
    }
    if (i < count) {
        // The last pairs through the same lanes.
        float in[16] = {};
        float out[8];
        for (int k = 0; k < 2 * (count - i); ++k) in[k] = pairs[2 * i + k];
        const simd::F32x8 a = simd::load(in), b = simd::load(in + 8);
        simd::store(out, magnitudeFromSum(simd::pairSums(a * a, b * b)));
        for (int k = 0; k < count - i; ++k) dst[i + k] = out[k];
    }
}

// Zem32s pairs: the root in Zem64f, held at 2^31 - 1, times 2^-sf when sf is not zero,
// rounded to nearest.  A negative sf that would leave the range saturates as well.
void magnitudeSlice32s(const Zem32s* pairs, Zem32s* dst, int count, int sf) {
    zem::RoundingGuard nearest(zem::RoundingGuard::kNearest);
    const double factor = zem::pow2Neg64f(sf);
    constexpr double kHigh = 2147483647.0;
    for (int i = 0; i < count; ++i) {
        const double re = pairs[2 * i], im = pairs[2 * i + 1];
        double r = std::sqrt(re * re + im * im);
        r = r < kHigh ? r : kHigh;
        if (sf != 0) {
            r = r * factor;
            r = r < kHigh ? r : kHigh;
        }
        dst[i] = _mm_cvtsd_si32(_mm_set_sd(r));
    }
}

}  // namespace

ZemStatus ownMagnitude_32fc(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::runMaybeThreaded(len, 2048, [=](int start, int count) {
        magnitudeSlice32f(src + 2 * start, dst + start, count);
        return false;
    });
    return zemStatusOk;
}

ZemStatus ownMagnitude_32sc_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    zem::runMaybeThreaded(len, 256, [=](int start, int count) {
        magnitudeSlice32s(src + 2 * start, dst + start, count, scaleFactor);
        return false;
    });
    return zemStatusOk;
}
