// Log-domain subtraction: srcDst[i] = ln(exp(src[i]) - exp(srcDst[i])).
//
// A first pass over all elements rejects any pair whose subtrahend is not the smaller,
// before anything is stored.  The subtraction calls exp and log in double precision.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "logcore.h"
#include "own.h"

namespace ld = zem::logdomain;

namespace {

constexpr double kDrop32 = -15.3195879547406;
constexpr double kEmpty32 = 1.0057e-37;
constexpr double kFloor32 = -4500000.0;
constexpr double kDrop64 = -23.0258509299405;
constexpr double kEmpty64 = 2.45e-308;
constexpr double kFloorTest64 = -9000000000.0;
constexpr double kFloor64 = -10000000000.0;

float subtract32f(float x, float y) {
    const double d = static_cast<double>(y - x);
    if (d < kDrop32) return x > static_cast<float>(kFloor32) ? x : static_cast<float>(kFloor32);
    const double e = 1.0 - std::exp(d);
    if (e <= kEmpty32) return static_cast<float>(kFloor32);
    return static_cast<float>(static_cast<double>(x) + std::log(e));
}

double subtract64f(double x, double y) {
    const double d = y - x;
    if (d < kDrop64) return x < kFloorTest64 ? kFloor64 : x;
    const double e = 1.0 - std::exp(d);
    if (e <= kEmpty64) return kFloor64;
    return x + std::log(e);
}

// The integer forms: the difference is scaled, but the log term is added to the raw
// integer src[i] in natural units; r is clamped to 32 bits, truncated, and its low bits
// stored (a Zem16s keeps the low half, so -4500000 lands as 21984).
template <class T>
T subtractInteger(T x, T y, float factor) {
    const double d = static_cast<double>(factor * (static_cast<float>(y) - static_cast<float>(x)));
    double r;
    if (d < kDrop32) {
        r = static_cast<double>(x) > kFloor32 ? static_cast<double>(x) : kFloor32;
    } else {
        const double e = 1.0 - std::exp(d);
        r = e <= kEmpty32 ? kFloor32 : static_cast<double>(x) + std::log(e);
    }
    r = r < -2147483648.0 ? -2147483648.0 : (r > 2147483647.0 ? 2147483647.0 : r);
    return static_cast<T>(static_cast<uint32_t>(static_cast<int32_t>(r)));
}

template <class T>
bool anyOutOfRange(const T* src, const T* srcDst, int len) {
    for (int i = 0; i < len; ++i) {
        if constexpr (std::is_same_v<T, Zem32s>) {
            // The difference in 32 bits: the sign of the wrapped value decides.
            if (static_cast<int32_t>(static_cast<uint32_t>(srcDst[i]) - static_cast<uint32_t>(src[i])) >= 0) return true;
        } else if constexpr (std::is_floating_point_v<T>) {
            if (!(srcDst[i] - src[i] < T(0))) return true;
        } else {
            if (srcDst[i] >= src[i]) return true;
        }
    }
    return false;
}

// Every srcDst[i] lies below src[i] (zemStatusOutOfRange); nothing is written otherwise.
template <class T>
auto inRange(const T* src, const T* srcDst, int len) {
    return zem::ensure([=] { return !anyOutOfRange(src, srcDst, len); }, zemStatusOutOfRange);
}

template <class T, class Op>
void logSub(const T* src, T* srcDst, int len, Op op) {
    for (int i = 0; i < len; ++i) srcDst[i] = op(src[i], srcDst[i]);
}

}  // namespace

extern "C" {

// The family's check order: the length, the pointers, then the range of every element.
ZEMSR_API ZemStatus zemsLogSub_32f(const Zem32f* src, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst),
                                              inRange(src, srcDst, len)))
        return s;
    logSub(src, srcDst, len, subtract32f);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSub_64f(const Zem64f* src, Zem64f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst),
                                              inRange(src, srcDst, len)))
        return s;
    logSub(src, srcDst, len, subtract64f);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSub_16s_Sfs(const Zem16s* src, Zem16s* srcDst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst),
                                              inRange(src, srcDst, len)))
        return s;
    const float factor = zem::pow2Neg32f(scaleFactor);
    logSub(src, srcDst, len, [factor](Zem16s x, Zem16s y) { return subtractInteger(x, y, factor); });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogSub_32s_Sfs(const Zem32s* src, Zem32s* srcDst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst),
                                              inRange(src, srcDst, len)))
        return s;
    const float factor = zem::pow2Neg32f(scaleFactor);
    logSub(src, srcDst, len, [factor](Zem32s x, Zem32s y) { return subtractInteger(x, y, factor); });
    return zemStatusOk;
}

}  // extern "C"
