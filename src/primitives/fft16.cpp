// The 16-bit wrapper of the real transform, the conjugate product of Pack spectra and
// the autocorrelation.
#include <cstdint>
#include <cstring>

#include "fftstate.h"
#include "frame/check.h"
#include "frame/record.h"
#include "own.h"

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

// The wrapper's record in the first 64 bytes at a 32-byte boundary, the float state
// after it; null while measuring.
ZemsFFTState_R_16s* lay16(zem::Arena& arena, int order, int flag, int hint, Zem8u* memInit, int32_t bufSize) {
    static_assert(sizeof(ZemsFFTState_R_16s) <= 64);
    auto* st = reinterpret_cast<ZemsFFTState_R_16s*>(arena.take<Zem8u>(64));
    ZemsFFTState_R_32f* inner = zem::fft::layState(arena, order);
    if (arena.measuring()) return nullptr;
    zem::fft::fillState(inner, order, flag, hint, memInit);
    inner->id = kFFTStateId;
    st->order = order;
    st->hint = hint;
    st->bufSize = bufSize;
    st->pState = inner;
    return st;
}

}  // namespace

// The order and memory checks come before the float engine's flag and length checks, the
// scratch of the large orders after them.
ZemStatus ownFFTGetSize_R_16s(int order, int flag, int hint, Zem32s* sizeState, Zem32s* sizeInit, Zem32s* sizeBuf) {
    Sizes16 s;
    if (const ZemStatus st = zem::firstFailure(zem::within(order, 0, 30, zemStatusBadOrder),
                                               zem::nonNull(sizeState, sizeInit, sizeBuf),
                                               zem::checkedBy([&] { return sizes16(order, flag, hint, &s); })))
        return st;
    *sizeState = s.state;
    *sizeInit = s.init;
    *sizeBuf = s.buf;
    return zemStatusOk;
}

ZemStatus ownFFTInit_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint, Zem8u* memState, Zem8u* memInit) {
    Sizes16 sizes;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::within(order, 0, 30, zemStatusBadOrder),
                                              zem::nonNull(memState),
                                              zem::checkedBy([&] { return sizes16(order, flag, hint, &sizes); }),
                                              zem::ensure(memInit || order <= 10, zemStatusNullPointer)))
        return s;
    Zem8u* init = memInit ? zem::alignUp<Zem8u>(memInit, 32) : nullptr;
    *state = zem::buildInBuffer<ZemsFFTState_R_16s>(memState, kFFTState16Id, [&](zem::Arena& arena) {
        return lay16(arena, order, flag, hint, init, sizes.buf);
    });
    return zemStatusOk;
}

// One block for the wrapper and its float state; the set-up scratch only for the call.
ZemStatus ownFFTInitAlloc_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint) {
    Sizes16 sizes;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::within(order, 0, 30, zemStatusBadOrder),
                                              zem::checkedBy([&] { return sizes16(order, flag, hint, &sizes); })))
        return s;
    zem::HeapScratch<Zem8u> init(sizes.init);
    ZemsFFTState_R_16s* st = nullptr;
    if (!init.ok() || zem::allocateRecord(&st, kFFTState16Id, [&](zem::Arena& arena) {
                          return lay16(arena, order, flag, hint, init.data(), sizes.buf);
                      }) != zemStatusOk)
        return zemStatusNoMemory;
    *state = st;
    return zemStatusOk;
}

// The float state inside dies with its wrapper.
ZemStatus ownFFTFree_R_16s(ZemsFFTState_R_16s* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::ensure([&] { return state->id == kFFTState16Id; }, zemStatusBadContext)))
        return s;
    if (state->owned) state->pState->id = 0;
    zem::releaseRecord(state);
    return zemStatusOk;
}

// The source in float in the work buffer, transformed in place to Perm, converted with
// rounding and the scale factor, then element 1 (the Nyquist bin) moved to N.
ZemStatus ownFFTFwd_RToCCS_16s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFFTState_R_16s* state, int scaleFactor,
                                   Zem8u* buffer) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::ensure([&] { return state->id == kFFTState16Id; }, zemStatusBadContext),
                                              zem::nonNull(src, dst)))
        return s;
    zem::HeapScratch<Zem8u> owned(buffer ? 0 : state->bufSize);
    if (!owned.ok()) return zemStatusNoMemory;
    if (!buffer) buffer = owned.data();
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
    return status;
}

ZemStatus ownMulPackConj_32f(const Zem32f* src, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, srcDst), zem::atLeastOne(len))) return s;
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
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len, nLags))) return s;
    const int m = len < nLags ? len : nLags;
    if (m < 856) {
        for (int lag = 0; lag < m; ++lag) ownDotProd_32f(src, src + lag, len - lag, dst + lag);
    } else {
        int order = 0;
        while ((int64_t{1} << order) < 2 * int64_t{len}) ++order;
        ZemsFFTState_R_32f* st = nullptr;
        if (const ZemStatus s = ownFFTInitAlloc_R_32f(&st, order, 2, 0); s != zemStatusOk) return s;
        const int n = 1 << order;
        zem::HeapScratch<float> padded(n);
        if (!padded.ok()) {
            ownFFTFree_R_32f(st);
            return zemStatusNoMemory;
        }
        float* block = padded.data();
        ownCopy_32f(src, block, len);
        ownZero_32f(block + len, n - len);
        ZemStatus status = ownFFTFwd_RToPack_32f(block, block, st, nullptr);
        if (status == zemStatusOk) {
            ownMulPackConj_32f(block, block, n);
            status = ownFFTInv_PackToR_32f(block, block, st, nullptr);
        }
        if (status == zemStatusOk) ownCopy_32f(block, dst, m);
        ownFFTFree_R_32f(st);
        if (status != zemStatusOk) return status;
    }
    if (m < nLags) ownZero_32f(dst + m, nLags - m);
    return zemStatusOk;
}
