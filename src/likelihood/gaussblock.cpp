// Block Gaussian scores: one Gaussian against a block of frames, the score stored
// (zemsLogGauss), added in the log domain (zemsLogGaussAdd) or kept when larger
// (zemsLogGaussMax).  Per-frame values differ from the single-frame forms where stated:
// exact leftover differences, squares in float, Low lanes shifted once at the end.
// Every export takes its frames one block of 128 at a time through a stack buffer.
#include <cstdint>
#include <immintrin.h>

#include "distkernel.h"
#include "frame/scale.h"
#include "gauss16.h"
#include "gaussblock.h"
#include "logcore.h"
#include "own.h"

namespace g16 = zem::gauss16;
using namespace zem::gaussblock;

namespace {

constexpr int kBlock = 128;


// Float and double scores of frames [f0, f0 + n): the weighted sums of the distance
// kernel, then ((-sum) + (val + val)) * 0.5 in Zem32f, val - 0.5 * sum in Zem64f.  Below
// a width of 4 the Zem32f forms run a plain loop from acc = 2 val.
template <class T, bool kIdentity, class Frames>
void floatScores(const Frames& frames, const T* mean, const T* var, int width, T val, int f0, int n, T* out) {
    if constexpr (sizeof(T) == 4) {
        if (width < 4) {
            for (int k = 0; k < n; ++k) {
                const T* x = frames(f0 + k);
                float acc = val + val;
                for (int i = 0; i < width; ++i) {
                    const float t = x[i] - mean[i];
                    acc -= kIdentity ? t * t : t * t * var[i];
                }
                out[k] = acc * 0.5f;
            }
            return;
        }
    }
    const T twice = val + val;
    zem::distance::block<T, true, kIdentity>(
        mean, var, width, out, n, [&](int k) { return std::pair<const T*, const T*>{frames(f0 + k), nullptr}; },
        [twice, val](T sum) {
            if constexpr (sizeof(T) == 4) return ((-sum) + twice) * 0.5f;
            else return val - 0.5 * sum;
        });
}

template <Sink S, bool kIdentity, class T, class Frames>
void floatFamily(const Frames& frames, const T* mean, const T* var, int width, T* dst, int height, T val) {
    if constexpr (S == Sink::Store) {
        floatScores<T, kIdentity>(frames, mean, var, width, val, 0, height, dst);
        return;
    }
    alignas(32) T scores[kBlock];
    for (int f0 = 0; f0 < height; f0 += kBlock) {
        const int n = height - f0 < kBlock ? height - f0 : kBlock;
        floatScores<T, kIdentity>(frames, mean, var, width, val, f0, n, scores);
        joinScores<S>(scores, dst + f0, n, sizeof(T) == 4 && width < 4);
    }
}

// 16-bit frames with a Zem32f score per frame.
template <Sink S, class Frames, class Score>
void frameScores16(const Frames& frames, float* dst, int height, Score score) {
    alignas(32) float scores[kBlock];
    for (int f0 = 0; f0 < height; f0 += kBlock) {
        const int n = height - f0 < kBlock ? height - f0 : kBlock;
        for (int k = 0; k < n; ++k) scores[k] = score(frames(f0 + k));
        joinScores<S>(scores, dst + f0, n, false);
    }
}

// IdVarLow: each pair sum shifted by n = sf + 1 (right, capped at 31, or left, zero
// from 32) before it is subtracted; a last single element the same on its exact 64-bit
// square.  The sum wraps.
int32_t identityLowScore(const Zem16s* x, const Zem16s* m, int width, int64_t n) {
    auto shift32 = [n](int32_t v) { return n >= 0 ? v >> (n > 31 ? 31 : n) : g16::shiftLeft(v, -n >= 32 ? 32 : static_cast<int>(-n)); };
    int32_t t = 0;
    int i = 0;
    for (; i + 2 <= width; i += 2) t = g16::wrapSub(t, shift32(g16::pairSquares(x, m, i)));
    if (i < width) {
        const int64_t e = int64_t{x[i]} - int64_t{m[i]}, q = e * e;
        const int64_t shifted = n >= 0 ? q >> (n > 63 ? 63 : n) : (-n >= 64 ? 0 : static_cast<int64_t>(static_cast<uint64_t>(q) << -n));
        t = g16::wrapSub(t, static_cast<int32_t>(static_cast<uint32_t>(shifted)));
    }
    return t;
}

// ---- Per-family bodies; F is a frame accessor -------------------------------------------

template <Sink S, class F>
void scaled16(const F& fr, const Zem16s* mean, const Zem16s* var, int width, float* dst, int height, float val, int sf) {
    const float f = zem::pow2Neg32f(clampedInt(static_cast<int64_t>(sf) + 1));
    frameScores16<S>(fr, dst, height, [&](const Zem16s* x) { return -g16::laneSumFloat(x, mean, var, width) * f + val; });
}

template <Sink S, class F>
void lowScaled16(const F& fr, const Zem16s* mean, const Zem16s* var, int width, float* dst, int height, float val, int sf) {
    const g16::LowShifts shifts = blockLowShifts(sf);
    frameScores16<S>(fr, dst, height, [&](const Zem16s* x) {
        if (sf < 0) return lowNegativeScore(x, mean, var, width, val, sf);
        return static_cast<float>(g16::lowSum<true>(x, mean, var, width, shifts)) + val;
    });
}

template <Sink S, class F>
void idScaled16(const F& fr, const Zem16s* mean, int width, float* dst, int height, float val, int sf) {
    const float f = zem::pow2Neg32f(clampedInt(static_cast<int64_t>(sf) + 1));
    frameScores16<S>(fr, dst, height, [&](const Zem16s* x) { return val - g16::pairLanesFloat<false>(x, mean, width) * f; });
}

template <Sink S, class F>
void idLowScaled16(const F& fr, const Zem16s* mean, int width, float* dst, int height, float val, int sf) {
    const int64_t n = static_cast<int64_t>(sf) + 1;
    frameScores16<S>(fr, dst, height, [&](const Zem16s* x) {
        const float s = -g16::pairLanesFloat<true>(x, mean, width);  // pipeline G
        return val + (n < 1 ? s * shiftedOne(n) : s / shiftedOne(n));
    });
}

// Plain 16s32s, stored: t = s / 2^n or s * 2^|n| with n = sf + 1, r = val + t, clamped
// and rounded to nearest.
template <class F>
void plain16Store(const F& fr, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height, Zem32s val, int sf) {
    const int64_t n = static_cast<int64_t>(sf) + 1;
    const float p = shiftedOne(n);
    for (int k = 0; k < height; ++k) {
        const float s = -g16::laneSumFloat(fr(k), mean, var, width);
        dst[k] = zem::roundScoreToInt32(static_cast<float>(val) + (n >= 0 ? s / p : s * p));
    }
}

// IdVar 16s32s, stored: r = val - t, truncated toward zero without a clamp.
template <class F>
void id16Store(const F& fr, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val, int sf) {
    const int64_t n = static_cast<int64_t>(sf) + 1;
    const float p = shiftedOne(n);
    for (int k = 0; k < height; ++k) {
        const float s = g16::pairLanesFloat<false>(fr(k), mean, width);
        dst[k] = _mm_cvttss_si32(_mm_set_ss(static_cast<float>(val) - (n >= 0 ? s / p : s * p)));
    }
}

template <Sink S, class F>
void low16(const F& fr, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height, Zem32s val, int sf) {
    const g16::LowShifts shifts = blockLowShifts(sf);
    for (int k = 0; k < height; ++k) {
        if (sf < 0) {
            const float r = lowNegativeScore(fr(k), mean, var, width, static_cast<float>(val), sf);
            dst[k] = S == Sink::Max ? maxTruncated(dst[k], r) : _mm_cvttss_si32(_mm_set_ss(r));
        } else {
            const int32_t score = g16::wrapAdd(g16::lowSum<true>(fr(k), mean, var, width, shifts), val);
            dst[k] = S == Sink::Max ? (score > dst[k] ? score : dst[k]) : score;
        }
    }
}

template <Sink S, class F>
void idLow16(const F& fr, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val, int sf) {
    const int64_t n = static_cast<int64_t>(sf) + 1;
    for (int k = 0; k < height; ++k) {
        const int32_t score = g16::wrapAdd(identityLowScore(fr(k), mean, width, n), val);
        if (S != Sink::Max) dst[k] = score;
        else dst[k] = n >= 0 ? (score > dst[k] ? score : dst[k]) : maxTruncated(dst[k], static_cast<float>(score));
    }
}

}  // namespace

// ---- Exports ---------------------------------------------------------------------------------
// Each line pair makes the _D2 and the _D2L form of one member.

#define ZEM_FLOAT_MEMBER(NAME, SINK, T, IDENT)                                                                      \
    ZEMSR_API ZemStatus NAME##_D2(const T* src, int step, const T* mean, const T* var, int width, T* dst, int height, \
                                  T val) {                                                                           \
        if (const ZemStatus s = checkD2(step, width, height, src, mean, var, dst); s != zemStatusOk) return s;      \
        floatFamily<SINK, IDENT>(FramesD2<T>{src, step}, mean, var, width, dst, height, val);                        \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const T* const* srcRows, const T* mean, const T* var, int width, T* dst,          \
                                   int height, T val) {                                                              \
        if (const ZemStatus s = checkD2L(srcRows, width, height, mean, var, dst); s != zemStatusOk) return s;       \
        floatFamily<SINK, IDENT>(FramesD2L<T>{srcRows}, mean, var, width, dst, height, val);                         \
        return zemStatusOk;                                                                                          \
    }

#define ZEM_FLOAT_ID_MEMBER(NAME, SINK, T)                                                                           \
    ZEMSR_API ZemStatus NAME##_D2(const T* src, int step, const T* mean, int width, T* dst, int height, T val) {     \
        if (const ZemStatus s = checkD2(step, width, height, src, mean, dst); s != zemStatusOk) return s;           \
        floatFamily<SINK, true, T>(FramesD2<T>{src, step}, mean, nullptr, width, dst, height, val);                  \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const T* const* srcRows, const T* mean, int width, T* dst, int height, T val) {   \
        if (const ZemStatus s = checkD2L(srcRows, width, height, mean, dst); s != zemStatusOk) return s;            \
        floatFamily<SINK, true, T>(FramesD2L<T>{srcRows}, mean, nullptr, width, dst, height, val);                   \
        return zemStatusOk;                                                                                          \
    }

// 16-bit weighted members; D is the destination type, V the type of val.
#define ZEM_16S_MEMBER(NAME, D2, D2L, D, V, BODY)                                                                    \
    ZEMSR_API ZemStatus NAME##D2(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var, int width,     \
                                 D* dst, int height, V val, int scaleFactor) {                                       \
        if (const ZemStatus s = checkD2(step, width, height, src, mean, var, dst); s != zemStatusOk) return s;      \
        BODY(FramesD2<Zem16s>{src, step}, mean, var, width, dst, height, val, scaleFactor);                         \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##D2L(const Zem16s* const* srcRows, const Zem16s* mean, const Zem16s* var, int width,   \
                                  D* dst, int height, V val, int scaleFactor) {                                      \
        if (const ZemStatus s = checkD2L(srcRows, width, height, mean, var, dst); s != zemStatusOk) return s;       \
        BODY(FramesD2L<Zem16s>{srcRows}, mean, var, width, dst, height, val, scaleFactor);                           \
        return zemStatusOk;                                                                                          \
    }

#define ZEM_16S_ID_MEMBER(NAME, D2, D2L, D, V, BODY)                                                                 \
    ZEMSR_API ZemStatus NAME##D2(const Zem16s* src, int step, const Zem16s* mean, int width, D* dst, int height,    \
                                 V val, int scaleFactor) {                                                           \
        if (const ZemStatus s = checkD2(step, width, height, src, mean, dst); s != zemStatusOk) return s;           \
        BODY(FramesD2<Zem16s>{src, step}, mean, width, dst, height, val, scaleFactor);                              \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##D2L(const Zem16s* const* srcRows, const Zem16s* mean, int width, D* dst, int height,  \
                                  V val, int scaleFactor) {                                                          \
        if (const ZemStatus s = checkD2L(srcRows, width, height, mean, dst); s != zemStatusOk) return s;            \
        BODY(FramesD2L<Zem16s>{srcRows}, mean, width, dst, height, val, scaleFactor);                                \
        return zemStatusOk;                                                                                          \
    }

extern "C" {

ZEM_FLOAT_MEMBER(zemsLogGauss_32f, Sink::Store, Zem32f, false)
ZEM_FLOAT_MEMBER(zemsLogGauss_64f, Sink::Store, Zem64f, false)
ZEM_FLOAT_MEMBER(zemsLogGaussAdd_32f, Sink::Add, Zem32f, false)
ZEM_FLOAT_MEMBER(zemsLogGaussAdd_64f, Sink::Add, Zem64f, false)
ZEM_FLOAT_MEMBER(zemsLogGaussMax_32f, Sink::Max, Zem32f, false)
ZEM_FLOAT_MEMBER(zemsLogGaussMax_64f, Sink::Max, Zem64f, false)
ZEM_FLOAT_ID_MEMBER(zemsLogGauss_IdVar_32f, Sink::Store, Zem32f)
ZEM_FLOAT_ID_MEMBER(zemsLogGauss_IdVar_64f, Sink::Store, Zem64f)
ZEM_FLOAT_ID_MEMBER(zemsLogGaussAdd_IdVar_32f, Sink::Add, Zem32f)
ZEM_FLOAT_ID_MEMBER(zemsLogGaussAdd_IdVar_64f, Sink::Add, Zem64f)
ZEM_FLOAT_ID_MEMBER(zemsLogGaussMax_IdVar_32f, Sink::Max, Zem32f)
ZEM_FLOAT_ID_MEMBER(zemsLogGaussMax_IdVar_64f, Sink::Max, Zem64f)

ZEM_16S_MEMBER(zemsLogGauss_Scaled_16s32f, _D2, _D2L, Zem32f, Zem32f, scaled16<Sink::Store>)
ZEM_16S_MEMBER(zemsLogGaussAdd_Scaled_16s32f, _D2, _D2L, Zem32f, Zem32f, scaled16<Sink::Add>)
ZEM_16S_MEMBER(zemsLogGaussMax_Scaled_16s32f, _D2, _D2L, Zem32f, Zem32f, scaled16<Sink::Max>)
ZEM_16S_MEMBER(zemsLogGauss_LowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, lowScaled16<Sink::Store>)
ZEM_16S_MEMBER(zemsLogGaussAdd_LowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, lowScaled16<Sink::Add>)
ZEM_16S_MEMBER(zemsLogGaussMax_LowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, lowScaled16<Sink::Max>)
ZEM_16S_ID_MEMBER(zemsLogGauss_IdVarScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idScaled16<Sink::Store>)
ZEM_16S_ID_MEMBER(zemsLogGaussAdd_IdVarScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idScaled16<Sink::Add>)
ZEM_16S_ID_MEMBER(zemsLogGaussMax_IdVarScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idScaled16<Sink::Max>)
ZEM_16S_ID_MEMBER(zemsLogGauss_IdVarLowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idLowScaled16<Sink::Store>)
ZEM_16S_ID_MEMBER(zemsLogGaussAdd_IdVarLowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idLowScaled16<Sink::Add>)
ZEM_16S_ID_MEMBER(zemsLogGaussMax_IdVarLowScaled_16s32f, _D2, _D2L, Zem32f, Zem32f, idLowScaled16<Sink::Max>)

ZEM_16S_MEMBER(zemsLogGauss_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, plain16Store)
ZEM_16S_MEMBER(zemsLogGaussMax_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, maxPlain16TowardZero)
ZEM_16S_MEMBER(zemsLogGauss_Low_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, low16<Sink::Store>)
ZEM_16S_MEMBER(zemsLogGaussMax_Low_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, low16<Sink::Max>)
ZEM_16S_ID_MEMBER(zemsLogGauss_IdVar_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, id16Store)
ZEM_16S_ID_MEMBER(zemsLogGaussMax_IdVar_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, maxIdentity16TowardZero)
ZEM_16S_ID_MEMBER(zemsLogGauss_IdVarLow_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, idLow16<Sink::Store>)
ZEM_16S_ID_MEMBER(zemsLogGaussMax_IdVarLow_16s32s, _D2Sfs, _D2LSfs, Zem32s, Zem32s, idLow16<Sink::Max>)

}  // extern "C"
