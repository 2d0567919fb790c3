// The 16-bit wrapper of the real transform, the conjugate product of Pack spectra and
// the autocorrelation.
#include <cstdint>
#include <cstring>

#include "fftstate.h"
#include "frame/carve.h"
#include "frame/check.h"
#include "own.h"
#include "zemcore.h"

namespace {

struct Sizes16 {
    Zem32s state, init, buf;
};

// The float engine's sizes with the wrapper's additions: 64 bytes of header, a block of
// N floats and 8 bytes of work, and 32 bytes of alignment to every size that is used.
ZemStatus sizes16(int order, int flag, int hint, Sizes16* out) {
    Zem32s state, init, buf;
    if (const ZemStatus s = ownFFTGetSize_R_32f(order, flag, hint, &state, &init, &buf); s != zemStatusOk) return s;
    const int64_t n = int64_t{1} << order;
    out->state = state + 64;
    out->init = init > 0 ? init + 32 : 0;
    out->buf = static_cast<Zem32s>(buf + n * 4 + 8 + 32);
    return zemStatusOk;
}

ZemsFFTState_R_16s* build16(ZemsFFTState_R_32f* inner, int order, int hint, Zem8u* memState, const Sizes16& sizes) {
    auto* st = zem::alignUp<ZemsFFTState_R_16s>(memState, 32);
    st->id = kFFTState16Id;
    st->order = order;
    st->hint = hint;
    st->bufSize = sizes.buf;
    st->owned = 0;
    st->pState = inner;
    st->allocation = nullptr;
    return st;
}

}  // namespace

ZemStatus ownFFTGetSize_R_16s(int order, int flag, int hint, Zem32s* sizeState, Zem32s* sizeInit, Zem32s* sizeBuf) {
    if (order < 0 || order > 30) return zemStatusBadOrder;
    if (!sizeState || !sizeInit || !sizeBuf) return zemStatusNullPointer;
    Sizes16 s;
    if (const ZemStatus st = sizes16(order, flag, hint, &s); st != zemStatusOk) return st;
    *sizeState = s.state;
    *sizeInit = s.init;
    *sizeBuf = s.buf;
    return zemStatusOk;
}

// The wrapper's record takes the first 64 bytes (at a 32-byte boundary), the float state
// the rest.
ZemStatus ownFFTInit_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint, Zem8u* memState, Zem8u* memInit) {
    if (!state) return zemStatusNullPointer;
    if (order < 0 || order > 30) return zemStatusBadOrder;
    if (!memState) return zemStatusNullPointer;
    Sizes16 sizes;
    if (const ZemStatus s = sizes16(order, flag, hint, &sizes); s != zemStatusOk) return s;
    Zem8u* inner = zem::alignUp<Zem8u>(memState, 32) + 64;
    ZemsFFTState_R_32f* floatState = nullptr;
    if (const ZemStatus s = ownFFTInit_R_32f(&floatState, order, flag, hint, inner, memInit ? zem::alignUp<Zem8u>(memInit, 32) : nullptr);
        s != zemStatusOk)
        return s;
    *state = build16(floatState, order, hint, memState, sizes);
    return zemStatusOk;
}

ZemStatus ownFFTInitAlloc_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint) {
    if (!state) return zemStatusNullPointer;
    if (order < 0 || order > 30) return zemStatusBadOrder;
    Sizes16 sizes;
    if (const ZemStatus s = sizes16(order, flag, hint, &sizes); s != zemStatusOk) return s;
    auto* block = static_cast<Zem8u*>(zemMalloc(sizes.state + 32));
    if (!block) return zemStatusNoMemory;
    ZemsFFTState_R_32f* floatState = nullptr;
    if (const ZemStatus s = ownFFTInitAlloc_R_32f(&floatState, order, flag, hint); s != zemStatusOk) {
        zemFree(block);
        return s;
    }
    ZemsFFTState_R_16s* st = build16(floatState, order, hint, block, sizes);
    st->owned = 1;
    st->allocation = block;
    *state = st;
    return zemStatusOk;
}

ZemStatus ownFFTFree_R_16s(ZemsFFTState_R_16s* state) {
    if (!state) return zemStatusNullPointer;
    if (state->id != kFFTState16Id) return zemStatusBadContext;
    state->id = 0;
    if (state->owned) {
        ownFFTFree_R_32f(state->pState);
        zemFree(state->allocation);
    }
    return zemStatusOk;
}

// The source in float in the work buffer, transformed in place to Perm, converted with
// rounding and the scale factor, then element 1 (the Nyquist bin) moved to N.
ZemStatus ownFFTFwd_RToCCS_16s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFFTState_R_16s* state, int scaleFactor,
                                   Zem8u* buffer) {
    if (!state) return zemStatusNullPointer;
    if (state->id != kFFTState16Id) return zemStatusBadContext;
    if (!src || !dst) return zemStatusNullPointer;
    void* owned = nullptr;
    if (!buffer) {
        owned = zemMalloc(state->bufSize);
        if (!owned) return zemStatusNoMemory;
        buffer = static_cast<Zem8u*>(owned);
    }
    const int n = 1 << state->order;
    float* block = zem::alignUp<float>(buffer, 32);
    ownConvert_16s32f(src, block, n);
    const ZemStatus status = ownFFTFwd_RToPerm_32f(block, block, state->pState, reinterpret_cast<Zem8u*>(block + n + 2));
    if (status == zemStatusOk) {
        ownConvert_32f32s_Sfs(block, dst, n, 1, scaleFactor);
        if (n > 1) {
            dst[n] = dst[1];
            dst[1] = 0;
        } else {
            dst[n] = 0;
        }
        dst[n + 1] = 0;
    }
    zemFree(owned);
    return status;
}

ZemStatus ownMulPackConj_32f(const Zem32f* src, Zem32f* srcDst, int len) {
    if (zem::anyNull(src, srcDst)) return zemStatusNullPointer;
    if (len < 1) return zemStatusBadSize;
    srcDst[0] = src[0] * srcDst[0];
    if (len % 2 == 0) srcDst[len - 1] = src[len - 1] * srcDst[len - 1];
    for (int k = 1; k + 1 < len; k += 2) {
        const float a = src[k], b = src[k + 1], c = srcDst[k], d = srcDst[k + 1];
        srcDst[k] = a * c + b * d;
        srcDst[k + 1] = b * c - a * d;
    }
    return zemStatusOk;
}

// Direct sums below 856 lags; from 856 on through the transform: the source padded with
// zeros to the power of two N >= 2 len, its power spectrum, and the scaled inverse.
ZemStatus ownAutoCorr_32f(const Zem32f* src, int len, Zem32f* dst, int nLags) {
    if (zem::anyNull(src, dst)) return zemStatusNullPointer;
    if (len < 1 || nLags < 1) return zemStatusBadSize;
    const int m = len < nLags ? len : nLags;
    if (m < 856) {
        for (int lag = 0; lag < m; ++lag) ownDotProd_32f(src, src + lag, len - lag, dst + lag);
    } else {
        int order = 0;
        while ((int64_t{1} << order) < 2 * int64_t{len}) ++order;
        ZemsFFTState_R_32f* st = nullptr;
        if (const ZemStatus s = ownFFTInitAlloc_R_32f(&st, order, 2, 0); s != zemStatusOk) return s;
        const int n = 1 << order;
        float* block = ownMalloc_32f(n);
        if (!block) {
            ownFFTFree_R_32f(st);
            return zemStatusNoMemory;
        }
        ownCopy_32f(src, block, len);
        ownZero_32f(block + len, n - len);
        ZemStatus status = ownFFTFwd_RToPack_32f(block, block, st, nullptr);
        if (status == zemStatusOk) {
            ownMulPackConj_32f(block, block, n);
            status = ownFFTInv_PackToR_32f(block, block, st, nullptr);
        }
        if (status == zemStatusOk) ownCopy_32f(block, dst, m);
        ownFree(block);
        ownFFTFree_R_32f(st);
        if (status != zemStatusOk) return status;
    }
    if (m < nLags) ownZero_32f(dst + m, nLags - m);
    return zemStatusOk;
}
