// Single-frame Gaussian scores: val - 0.5 * sum of (x[i] - m[i])^2 * w[i], one frame
// against one Gaussian, in every type and pipeline.  Checks, the same in all: null
// pointers, then a length below 1, then (forms with scratch) memory.  The float scores
// are in kernels/gaussfloat.h, the 16-bit sums in kernels/gauss16.h and their ends in
// kernels/scorerules.h.
#include <cstdint>
#include <immintrin.h>

#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "kernels/distkernel.h"
#include "kernels/gauss16.h"
#include "kernels/gaussfloat.h"
#include "kernels/scorerules.h"
#include "own.h"

namespace g16 = zem::gauss16;
namespace gf = zem::gaussfloat;
namespace rules = zem::scorerules;

namespace {

// The identity Low sum: the Low lanes with var = 1 in three regimes of sf.  A last single element
// (odd len) stands apart: for sf < 0 the unsaturated square in 64 bits, its low 32 bits
// halved and shifted left as one term; otherwise the hi/lo split of a difference that
// wraps in 16 bits.
int32_t lowIdentitySum(const Zem16s* x, const Zem16s* m, int len, int sf) {
    const g16::LowShifts shifts = g16::lowShiftsPerRun(sf);
    const int paired = len & ~1;
    int32_t t = g16::lowSum(x, m, nullptr, paired, shifts);
    if (paired < len) {
        const int i = paired;
        if (sf < 0) {
            const int64_t e = int64_t{x[i]} - int64_t{m[i]};
            const int32_t low = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(e * e)));
            t = g16::wrapSub(t, g16::shiftLeft(low >> 1, shifts.loLeft));
        } else {
            const int32_t d = static_cast<Zem16s>(static_cast<uint16_t>(x[i] - m[i]));
            const g16::LowParts p = g16::splitSquare(d, 1);
            t = g16::wrapSub(t, shifts.apply(p.hi, p.lo));
        }
    }
    return t;
}

// Scratch of `blocks` float blocks of len elements from the allocator, released on
// every path.
struct FloatBlocks {
    zem::HeapScratch<float> scratch;
    int len;
    FloatBlocks(int blocks, int n) : scratch(int64_t{blocks} * n), len(n) {}
    bool ok() const { return scratch.ok(); }
    float* block(int k) { return scratch.data() + int64_t{k} * len; }
};

// 1 / var into `out`: a block of ones divided in place by the division primitive, whose
// zero rule and warning stand.
ZemStatus reciprocals(const float* var, float* out, int len) {
    ownSet_32f(1.0f, out, len);
    return ownDiv_32f(var, out, out, len);
}

}  // namespace

extern "C" {

// ---- Floating point ----------------------------------------------------------------
ZEMSR_API ZemStatus zemsLogGaussSingle_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                           Zem32f* pResult, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInFloatLanes(src, mean, var, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_32f(const Zem32f* src, const Zem32f* mean, int len, Zem32f* pResult,
                                                 Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInFloatLanes(src, mean, nullptr, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int len,
                                           Zem64f* pResult, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInDoubleLanes<gf::Weight::Multiply>(src, mean, var, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                              Zem64f* pResult, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInDoubleLanes<gf::Weight::Multiply>(src, mean, var, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_64f(const Zem64f* src, const Zem64f* mean, int len, Zem64f* pResult,
                                                 Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInDoubleLanes<gf::Weight::One, Zem64f>(src, mean, nullptr, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_32f64f(const Zem32f* src, const Zem32f* mean, int len, Zem64f* pResult,
                                                    Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInDoubleLanes<gf::Weight::One, Zem32f>(src, mean, nullptr, len, val);
    return zemStatusOk;
}

// ---- Variances given directly ----------------------------------------------------------
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                     int len, Zem32f* pResult, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    FloatBlocks scratch(1, len);
    if (!scratch.ok()) return zemStatusNoMemory;
    const ZemStatus status = reciprocals(var, scratch.block(0), len);
    *pResult = gf::scoreInFloatLanes(src, mean, scratch.block(0), len, val);
    return status;
}

// Divides inside the sum; a zero variance goes through as an infinity or NaN.
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var,
                                                     int len, Zem64f* pResult, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = gf::scoreInDoubleLanes<gf::Weight::Divide>(src, mean, var, len, val);
    return zemStatusOk;
}

// Element by element through the double division primitive; a zero variance returns
// its warning at once, with nothing stored.
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                        int len, Zem64f* pResult, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    double acc = 0.0;
    for (int i = 0; i < len; ++i) {
        const double t = static_cast<double>(src[i]) - static_cast<double>(mean[i]);
        const double q = t * t, v = var[i];
        double quotient;
        if (const ZemStatus s = ownDiv_64f(&v, &q, &quotient, 1); s != zemStatusOk) return s;
        acc += quotient;
    }
    *pResult = val - acc * 0.5;
    return zemStatusOk;
}

// Float blocks, reciprocals by the division primitive, the weighted distance sum rounded
// with the scale factor plus one and subtracted from val in 64 bits.
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                            int len, Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    FloatBlocks scratch(4, len);
    if (!scratch.ok()) return zemStatusNoMemory;
    float *varF = scratch.block(0), *meanF = scratch.block(1), *srcF = scratch.block(2), *w = scratch.block(3);
    ownConvert_16s32f(var, varF, len);
    ownConvert_16s32f(mean, meanF, len);
    ownConvert_16s32f(src, srcF, len);
    const ZemStatus status = reciprocals(varF, w, len);
    const float s = zem::distance::rowDistance<float>(srcF, meanF, w, len);
    Zem32s v;
    ownConvert_32f32s_Sfs(&s, &v, 1, 1, rules::clampedInt(int64_t{scaleFactor} + 1));
    *pResult = zem::saturate32(int64_t{val} - int64_t{v});
    return status;
}

// The float sum of groups of 8 on float reciprocals; val - (s * 0.5) * 2^-sf.
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVarScaled_16s32f(const Zem16s* src, const Zem16s* mean,
                                                              const Zem16s* var, int len, Zem32f* pResult, Zem32f val,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    FloatBlocks scratch(2, len);
    if (!scratch.ok()) return zemStatusNoMemory;
    ownConvert_16s32f(var, scratch.block(0), len);
    const ZemStatus status = reciprocals(scratch.block(0), scratch.block(1), len);
    const float s = g16::sumGroupsOf8(src, mean, static_cast<const float*>(scratch.block(1)), len);
    *pResult = val - (s * 0.5f) * zem::pow2Neg32f(scaleFactor);
    return status;
}

// ---- 16-bit data, float sums -----------------------------------------------------------
ZEMSR_API ZemStatus zemsLogGaussSingle_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                                  Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = rules::halvedShiftedRounded(g16::sumGroupsOf8(src, mean, var, len), val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, int len,
                                                        Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = rules::halvedShiftedRounded(g16::sumGroupsOf8(src, mean, nullptr, len), val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_Scaled_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                     int len, Zem32f* pResult, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = rules::GroupsScaled16(len, scaleFactor)(src, mean, var, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarScaled_16s32f(const Zem16s* src, const Zem16s* mean, int len,
                                                          Zem32f* pResult, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = rules::IdSquaresScaled16(len, scaleFactor)(src, mean, nullptr, val);
    return zemStatusOk;
}

// ---- 16-bit data, integer (Low) sums ----------------------------------------------------
// Below scale factor 0 the float sum runs instead: val - s * 2^-(sf + 1), truncated
// toward zero without clamping.
ZEMSR_API ZemStatus zemsLogGaussSingle_Low_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                      int len, Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    if (scaleFactor < 0)
        *pResult = rules::truncated(rules::lowBelowZero(src, mean, var, len, static_cast<float>(val), scaleFactor));
    else
        *pResult = g16::wrapAdd(val, g16::lowSum(src, mean, var, len, g16::lowShiftsPerRun(scaleFactor)));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_LowScaled_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                        int len, Zem32f* pResult, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, pResult),
                                              zem::atLeastOne(len)))
        return s;
    if (scaleFactor < 0)
        *pResult = rules::lowBelowZero(src, mean, var, len, val, scaleFactor);
    else
        *pResult = static_cast<float>(g16::lowSum(src, mean, var, len, g16::lowShiftsPerRun(scaleFactor))) + val;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarLow_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, int len,
                                                           Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = g16::wrapAdd(val, lowIdentitySum(src, mean, len, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarLowScaled_16s32f(const Zem16s* src, const Zem16s* mean, int len,
                                                             Zem32f* pResult, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, pResult),
                                              zem::atLeastOne(len)))
        return s;
    *pResult = rules::IdLowScaled16{len, scaleFactor}(src, mean, nullptr, val);
    return zemStatusOk;
}

}  // extern "C"
