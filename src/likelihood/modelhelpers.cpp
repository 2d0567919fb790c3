// Output-probability constants and language-model scaling.
#include <cstdint>

#include "frame/align.h"
#include "frame/check.h"
#include "zemsr.h"

namespace {

template <class T>
void outProbFloat(const T* src, const T* det, T* dst, int len) {
    for (int i = 0; i < len; ++i) dst[i] = src[i] - T(0.5) * det[i];
}

// The integer halving depends on the body that reaches the element, and that is kept:
// the main loop shifts det right (rounding down) and covers len with its low bit
// cleared when all pointers are 16-byte aligned, with its two low bits cleared
// otherwise; the remaining elements halve det + 1 (rounding up).  Arithmetic wraps.
void outProbInteger(const Zem32s* value, const Zem32s* det, Zem32s* dst, int len) {
    const int mainEnd = zem::allAligned16(value, det, dst) ? (len & ~1) : (len & ~3);
    auto wrapSub = [](Zem32s a, Zem32s b) { return static_cast<Zem32s>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); };
    for (int i = 0; i < mainEnd; ++i) dst[i] = wrapSub(value[i], det[i] >> 1);
    for (int i = mainEnd; i < len; ++i)
        dst[i] = wrapSub(value[i], static_cast<Zem32s>(static_cast<uint32_t>(det[i]) + 1u) >> 1);
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsOutProbPreCalc_32f(const Zem32f* src, const Zem32f* det, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, det, dst),
                                              zem::atLeastOne(len)))
        return s;
    outProbFloat(src, det, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsOutProbPreCalc_64f(const Zem64f* src, const Zem64f* det, Zem64f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, det, dst),
                                              zem::atLeastOne(len)))
        return s;
    outProbFloat(src, det, dst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsOutProbPreCalc_32s(const Zem32s* src, const Zem32s* det, Zem32s* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, det, dst),
                                              zem::atLeastOne(len)))
        return s;
    outProbInteger(src, det, dst, len);
    return zemStatusOk;
}

// In place: srcDst holds the values, src the determinants.
ZEMSR_API ZemStatus zemsOutProbPreCalc_32f_I(const Zem32f* src, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, src),
                                              zem::atLeastOne(len)))
        return s;
    outProbFloat(srcDst, src, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsOutProbPreCalc_64f_I(const Zem64f* src, Zem64f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, src),
                                              zem::atLeastOne(len)))
        return s;
    outProbFloat(srcDst, src, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsOutProbPreCalc_32s_I(const Zem32s* src, Zem32s* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, src),
                                              zem::atLeastOne(len)))
        return s;
    outProbInteger(srcDst, src, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsScaleLM_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f floor, Zem32f scale, Zem32f add) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst),
                                              zem::atLeastOne(len)))
        return s;
    for (int i = 0; i < len; ++i) dst[i] = (src[i] > floor ? src[i] : floor) * scale + add;
    return zemStatusOk;
}

// The maximum in 16 bits, the product exact in 32 bits, the addition wrapping.
ZEMSR_API ZemStatus zemsScaleLM_16s32s(const Zem16s* src, Zem32s* dst, int len, Zem16s floor, Zem16s scale,
                                       Zem32s add) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst),
                                              zem::atLeastOne(len)))
        return s;
    for (int i = 0; i < len; ++i) {
        const int32_t product = int32_t{src[i] > floor ? src[i] : floor} * scale;
        dst[i] = static_cast<Zem32s>(static_cast<uint32_t>(product) + static_cast<uint32_t>(add));
    }
    return zemStatusOk;
}

}  // extern "C"
