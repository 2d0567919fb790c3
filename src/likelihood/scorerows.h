// How the block and mixture score families walk their rows and what they do with a
// score: the frame and Gaussian accessors of _D2 and _D2L matrices, and the sinks that
// store, add in the log domain or keep the larger.  The per-form arithmetic is in
// kernels/scorerules.h.
#pragma once

#include <cstdint>

#include <type_traits>
#include <utility>

#include "logcore.h"
#include "own.h"
#include "zemsr.h"

namespace zem::scorerows {

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
    } else if constexpr (std::is_same_v<T, float>) {
        if (narrowShortPath) {
            for (int k = 0; k < n; ++k) dst[k] = static_cast<float>(logdomain::addShortPath(dst[k], scores[k]));
        } else {
            ownLogAddBlock_32f(scores, dst, n);
        }
    } else {
        ownLogAddBlock_64f(scores, dst, n);
    }
}

// The Max forms of the plain and IdVar 16s32s scores run their whole kernel rounding
// toward zero (towardzero.cpp); F is FramesD2 or FramesD2L of Zem16s.
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

}  // namespace zem::scorerows
