// Shared pieces of the block score families: frame access, checks, and the per-frame
// score rules.
#pragma once

#include <cstdint>

#include <immintrin.h>
#include <utility>

#include "frame/check.h"
#include "gauss16.h"
#include "logcore.h"
#include "own.h"
#include "zemsr.h"

namespace zem::gaussblock {

// Frames of a _D2 block: row f at f * step.
template <class T>
struct FramesD2 {
    const T* src;
    int step;
    const T* operator()(int f) const { return src + static_cast<int64_t>(f) * step; }
};

// Frames of a _D2L matrix: one pointer per row.
template <class T>
struct FramesD2L {
    const T* const* rows;
    const T* operator()(int f) const { return rows[f]; }
};

// Gaussians of a mixture as rows of two _D2 matrices: (mean row, var row) of Gaussian g.
template <class T>
struct GaussiansD2 {
    const T* mean;
    const T* var;  // null for identity variances
    int step;
    std::pair<const T*, const T*> operator()(int g) const {
        const int64_t at = static_cast<int64_t>(g) * step;
        return {mean + at, var ? var + at : nullptr};
    }
};

template <class T>
struct GaussiansD2L {
    const T* const* mean;
    const T* const* var;  // null for identity variances
    std::pair<const T*, const T*> operator()(int g) const { return {mean[g], var ? var[g] : nullptr}; }
};

// What a family does with a score: store it, add it in the log domain, keep the larger.
enum class Sink { Store, Add, Max };

// Joins a block of float scores to the destination.  Narrow Zem32f forms add through
// the double short path instead of the block addition.
template <Sink S, class T>
inline void joinScores(const T* scores, T* dst, int n, bool narrowShortPath) {
    if constexpr (S == Sink::Store) {
        for (int k = 0; k < n; ++k) dst[k] = scores[k];
    } else if constexpr (S == Sink::Max) {
        for (int k = 0; k < n; ++k) dst[k] = scores[k] > dst[k] ? scores[k] : dst[k];
    } else if constexpr (sizeof(T) == 4) {
        if (narrowShortPath) {
            for (int k = 0; k < n; ++k) dst[k] = static_cast<float>(logdomain::addShortPath(dst[k], scores[k]));
        } else {
            ownLogAddBlock_32f(scores, dst, n);
        }
    } else {
        ownLogAddBlock_64f(scores, dst, n);
    }
}

// _D2: the stride first, then null pointers, then sizes.
template <class... P>
inline ZemStatus checkD2(int step, int width, int height, const P*... p) {
    if (width > step) return zemStatusBadStride;
    if (anyNull(p...)) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    return zemStatusOk;
}

// _D2L: null pointers, then sizes; row pointers in use are then checked for null.
template <class T, class... P>
inline ZemStatus checkD2L(const T* const* rows, int width, int height, const P*... p) {
    if (!rows || anyNull(p...)) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    if (anyNullRow(rows, height)) return zemStatusNullPointer;
    return zemStatusOk;
}

// 2^|n| from an integer shift, the count held to 63.
inline float shiftedOne(int64_t n) {
    if (n < 0) n = -n;
    return static_cast<float>(uint64_t{1} << (n > 63 ? 63 : n));
}

inline int clampedInt(int64_t v) { return static_cast<int>(v > INT32_MAX ? INT32_MAX : (v < INT32_MIN ? INT32_MIN : v)); }

// The Low lanes of the block forms: every run into the same lanes, shifted once at the
// end, the low part shifted by the full scale factor (counts capped at 31).
inline gauss16::LowShifts blockLowShifts(int sf) {
    gauss16::LowShifts s;
    if (sf <= 15) {
        s.hiLeft = 15 - sf;
        s.loRight = sf;
    } else {
        s.hiRight = sf - 15 > 31 ? 31 : sf - 15;
        s.loRight = sf > 31 ? 31 : sf;
    }
    return s;
}

// Low below scale factor 0: the float sum of groups of 8, held negative, times 2^|n|
// for n = sf + 1 below 0 (divided by 1 for n = 0), added to val.
inline float lowNegativeScore(const Zem16s* x, const Zem16s* mean, const Zem16s* var, int width, float val, int sf) {
    const int64_t n = static_cast<int64_t>(sf) + 1;
    const float s = -gauss16::sumGroupsOf8(x, mean, var, width);
    return n < 0 ? val + s * shiftedOne(n) : val + s / shiftedOne(n);
}

// Low for sf >= 0 and IdVarLow for n >= 0 in the Max family compare integers; for the
// negative regimes the destination goes to float, the larger is truncated back.
inline Zem32s maxTruncated(Zem32s dst, float r) {
    const float d = static_cast<float>(dst);
    return _mm_cvttss_si32(_mm_set_ss(r > d ? r : d));
}

// The Max forms of the plain and IdVar 16s32s scores run their whole kernel rounding
// toward zero (gaussblockmax.cpp); F is FramesD2 or FramesD2L of Zem16s.
template <class F>
void maxPlain16TowardZero(const F& frames, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height,
                          Zem32s val, int sf);
template <class F>
void maxIdentity16TowardZero(const F& frames, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val,
                             int sf);

// The Max form of the mixture 16s32s scores, under the same rounding: G is GaussiansD2
// or GaussiansD2L of Zem16s; val and srcDst hold one element per Gaussian.
template <class G>
void maxMixture16TowardZero(const G& gaussians, const Zem16s* x, int width, const Zem32s* val, Zem32s* srcDst, int n,
                            int sf);

}  // namespace zem::gaussblock
