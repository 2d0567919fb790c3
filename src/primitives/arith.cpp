// Elementwise arithmetic.  These loops are exact IEEE operations element by element, so
// the compiler's vectorisation cannot change a result; they are written plainly.
#include <cmath>
#include <cstdint>

#include "frame/check.h"
#include "frame/scale.h"
#include "own.h"
#include "threading.h"


namespace {

// Checks a unary-in-place or binary operation and applies op to every element.
template <class S, class D, class Op>
ZemStatus mapInPlace(const S* src, D* srcDst, int len, Op op) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, srcDst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) srcDst[i] = op(src[i], srcDst[i]);
    return zemStatusOk;
}

template <class T>
ZemStatus mulConstInPlace(T val, T* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    if (val == T(1)) return zemStatusOk;
    if (val == T(0)) {
        // Zero fill: infinities and NaNs become zero as well.
        for (int i = 0; i < len; ++i) srcDst[i] = T(0);
        return zemStatusOk;
    }
    for (int i = 0; i < len; ++i) srcDst[i] *= val;
    return zemStatusOk;
}

// One exact 32-bit product brought to Zem16s by the scale factor rule of the
// multiplication: ties to even on the right, saturation on the left.
inline Zem16s scaleProduct(int32_t p, int sf) {
    if (sf == 0) return zem::saturate16(p);
    if (sf > 0) return zem::saturate16((p + (1 << (sf - 1)) - 1 + ((p >> sf) & 1)) >> sf);
    if (sf >= -15) return zem::saturate16(static_cast<int64_t>(p) * (int64_t{1} << -sf));
    // A left shift of 16 or more bits can only saturate.
    return p == 0 ? Zem16s{0} : (p > 0 ? INT16_MAX : INT16_MIN);
}

}  // namespace

ZemStatus ownAdd_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem32f s, Zem32f d) { return d + s; });
}
ZemStatus ownAdd_64f_I(const Zem64f* src, Zem64f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem64f s, Zem64f d) { return d + s; });
}
ZemStatus ownSub_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem32f s, Zem32f d) { return d - s; });
}
ZemStatus ownSub_64f_I(const Zem64f* src, Zem64f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem64f s, Zem64f d) { return d - s; });
}
ZemStatus ownMinEvery_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem32f s, Zem32f d) { return s < d ? s : d; });
}
ZemStatus ownMinEvery_32s_I(const Zem32s* src, Zem32s* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem32s s, Zem32s d) { return s < d ? s : d; });
}
ZemStatus ownMaxEvery_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    return mapInPlace(src, srcDst, len, [](Zem32f s, Zem32f d) { return s > d ? s : d; });
}
ZemStatus ownAbs_64f(const Zem64f* src, Zem64f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) dst[i] = std::fabs(src[i]);
    return zemStatusOk;
}

ZemStatus ownAddC_32f(const Zem32f* src, Zem32f val, Zem32f* dst, int len) {
    // Adding zero is a copy: a -0 element stays -0.
    if (val == 0.0f) return ownCopy_32f(src, dst, len);
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) dst[i] = src[i] + val;
    return zemStatusOk;
}

ZemStatus ownAddC_32f_I(Zem32f val, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) srcDst[i] += val;
    return zemStatusOk;
}

ZemStatus ownMul_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) dst[i] = src1[i] * src2[i];
    return zemStatusOk;
}

ZemStatus ownMul_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    if (scaleFactor > 30) return ownZero_16s(dst, len);
    for (int i = 0; i < len; ++i) dst[i] = scaleProduct(int32_t{src1[i]} * src2[i], scaleFactor);
    return zemStatusOk;
}

ZemStatus ownMulC_32f_I(Zem32f val, Zem32f* srcDst, int len) { return mulConstInPlace(val, srcDst, len); }
ZemStatus ownMulC_64f_I(Zem64f val, Zem64f* srcDst, int len) { return mulConstInPlace(val, srcDst, len); }

ZemStatus ownDivC_64f(const Zem64f* src, Zem64f val, Zem64f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len),
                                              zem::ensure(val != 0.0, zemStatusDivideByZero)))
        return s;
    const Zem64f inv = 1.0 / val;
    for (int i = 0; i < len; ++i) dst[i] = src[i] * inv;
    return zemStatusOk;
}

ZemStatus ownDivC_64f_I(Zem64f val, Zem64f* srcDst, int len) { return ownDivC_64f(srcDst, val, srcDst, len); }

ZemStatus ownSqrt_64f_I(Zem64f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), zem::atLeastOne(len))) return s;
    const int reports = zem::runMaybeThreaded(len, 512, [srcDst](int start, int count) {
        bool negative = false;
        Zem64f* p = srcDst + start;
        for (int i = 0; i < count; ++i) {
            negative |= p[i] < 0.0;
            p[i] = std::sqrt(p[i]);
        }
        return negative;
    });
    return reports ? ownStatusSqrtOfNegative : zemStatusOk;
}
