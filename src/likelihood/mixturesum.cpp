// Mixture log likelihoods: zemsLogGaussMixture reduces the Gaussians of a mixture to
// the log of the sum of the exponentials of their scores, in blocks of 100 whose order
// fixes the result; the Select forms score, per frame, only the components a shortlist
// names.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "kernels/gaussfloat.h"
#include "kernels/scorerules.h"
#include "logcore.h"
#include "mixturerows.h"
#include "own.h"
#include "scorerows.h"

namespace gf = zem::gaussfloat;
using namespace zem::mixturerows;
using namespace zem::scorerows;
using namespace zem::scorerules;

namespace {

// The mixture sum: each block's scores sit behind a slot that holds the running result
// (empty for the first block), and the block sum runs over slot and scores together.
template <class T, class Block>
T mixtureSum(int n, Block scoreBlock) {
    alignas(32) T buffer[kBlock + 1];
    T running = T(0);
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        scoreBlock(g0, count, buffer + 1);
        const bool first = g0 == 0;
        if (!first) buffer[0] = running;
        T* from = first ? buffer + 1 : buffer;
        const int len = first ? count : count + 1;
        if constexpr (std::is_same_v<T, float>) ownLogSumBlock_32f(from, &running, len);
        else ownLogSumBlock_64f(from, &running, len);
    }
    return running;
}

// The float mixture: as mixtureSum, with each block's scores produced four at a time just
// ahead of the log-sum step that needs them, so that scoring overlaps the chain of
// dependent additions.  Same scores, same order, same result.
template <class G>
float floatMixtureSum(const G& gaussians, const Zem32f* x, int width, const Zem32f* val, int n) {
    alignas(32) float buffer[kBlock + 1];
    float running = 0.0f;
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        float* scores = buffer + 1;
        int produced = 0;
        auto produce = [&](int upTo) {
            upTo = (upTo + 3) & ~3;
            if (upTo > count) upTo = count;
            if (upTo > produced) {
                floatScores(gaussians, x, width, val + g0 + produced, g0 + produced, upTo - produced, scores + produced);
                produced = upTo;
            }
        };
        if (g0 == 0) {
            running = count == 1 ? (produce(1), scores[0]) : zem::logdomain::logSum32(scores, count, produce);
        } else {
            buffer[0] = running;
            running = zem::logdomain::logSum32(buffer, count + 1, [&](int e) { produce(e - 1); });
        }
    }
    return running;
}

template <class T, class G>
T weightedMixture(const G& gaussians, const T* x, int width, const T* val, int n) {
    if constexpr (std::is_same_v<T, float>) return floatMixtureSum(gaussians, x, width, val, n);
    else return mixtureSum<T>(n, [&](int g0, int c, T* out) { floatScores(gaussians, x, width, val + g0, g0, c, out); });
}

// Mixtures scored Gaussian by Gaussian by a row rule: the 16-bit weighted forms and the
// identity forms, which take the single-frame bodies.
template <class V, class G, class X, class Rule>
V ruleMixture(const G& gaussians, const X* x, const V* val, int n, const Rule& rule) {
    return mixtureSum<V>(n, [&](int g0, int c, V* out) { rowScores(gaussians, x, val + g0, g0, c, out, rule); });
}

// The _D2 identity-variance float mixture: a sequential pass in component order, each
// score from acc = 2 val summed feature by feature, folded by the double short path.
float sequentialIdentityMixture(const Zem32f* x, const Zem32f* mean, int step, int n, int width, const Zem32f* val) {
    float result = 0.0f;
    for (int g = 0; g < n; ++g) {
        const Zem32f* m = mean + static_cast<int64_t>(g) * step;
        float acc = val[g] + val[g];
        for (int i = 0; i < width; ++i) {
            const float t = x[i] - m[i];
            acc -= t * t;
        }
        const float score = 0.5f * acc;
        result = g == 0 ? score : static_cast<float>(zem::logdomain::addShortPath(result, score));
    }
    return result;
}

// Select: counters of 16 bits (wrapping), every dst at -4500000, then component by
// component, frame by frame, the selected scores by the single-frame rule joined by the
// log addition; frames with no component take noneValue.
template <class Frames, class G, class Rule>
ZemStatus selectMixture(const Frames& frames, const G& gaussians, const Zem32f* val, const Zem8u* shortlist, int n,
                        Zem32f* dst, int height, Zem32f noneValue, const Rule& rule) {
    zem::HeapScratch<Zem16u> counters(height);
    if (!counters.ok()) return zemStatusNoMemory;
    std::memset(counters.data(), 0, static_cast<size_t>(height) * sizeof(Zem16u));
    for (int f = 0; f < height; ++f) dst[f] = -4500000.0f;
    const int64_t rowBytes = (static_cast<int64_t>(n) + 7) / 8;
    for (int c = 0; c < n; ++c) {
        const auto [m, w] = gaussians(c);
        for (int f = 0; f < height; ++f) {
            if (!((shortlist[f * rowBytes + c / 8] >> (7 - c % 8)) & 1)) continue;
            const Zem32f tmp = rule(frames(f), m, w, val[c]);
            if (counters[f] != 0) ownLogAddBlock_32f(&tmp, &dst[f], 1);
            else dst[f] = tmp;
            ++counters[f];
        }
    }
    for (int f = 0; f < height; ++f)
        if (counters[f] == 0) dst[f] = noneValue;
    return zemStatusOk;
}

}  // namespace

extern "C" {

// ---- zemsLogGaussMixture: the log of the sum of the exponentials of the scores -------------

ZEMSR_API ZemStatus zemsLogGaussMixture_32f_D2(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int n,
                                               int step, int width, const Zem32f* val, Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, val, pResult),
                                              zem::strideCovers(step, width),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = weightedMixture(GaussiansD2<Zem32f>{mean, var, step}, src, width, val, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_32f_D2L(const Zem32f* src, const Zem32f* const* meanRows,
                                                const Zem32f* const* varRows, int n, int width, const Zem32f* val,
                                                Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, varRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    *pResult = weightedMixture(GaussiansD2L<Zem32f>{meanRows, varRows}, src, width, val, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_64f_D2(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int n,
                                               int step, int width, const Zem64f* val, Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, val, pResult),
                                              zem::strideCovers(step, width),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = weightedMixture(GaussiansD2<Zem64f>{mean, var, step}, src, width, val, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_64f_D2L(const Zem64f* src, const Zem64f* const* meanRows,
                                                const Zem64f* const* varRows, int n, int width, const Zem64f* val,
                                                Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, varRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    *pResult = weightedMixture(GaussiansD2L<Zem64f>{meanRows, varRows}, src, width, val, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_Scaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                         int n, int step, int width, const Zem32f* val,
                                                         Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, val, pResult),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2<Zem16s>{mean, var, step}, src, val, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_Scaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                          const Zem16s* const* varRows, int n, int width,
                                                          const Zem32f* val, Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, varRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_LowScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                            int n, int step, int width, const Zem32f* val,
                                                            Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, val, pResult),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2<Zem16s>{mean, var, step}, src, val, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_LowScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                             const Zem16s* const* varRows, int n, int width,
                                                             const Zem32f* val, Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, varRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

// A sequential pass in component order instead of the blocks.
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_32f_D2(const Zem32f* src, const Zem32f* mean, int n, int step,
                                                     int width, const Zem32f* val, Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, val, pResult),
                                              zem::strideCovers(step, width),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = sequentialIdentityMixture(src, mean, step, n, width, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_32f_D2L(const Zem32f* src, const Zem32f* const* meanRows, int n,
                                                      int width, const Zem32f* val, Zem32f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem32f>{meanRows, nullptr}, src, val, n, FloatLanes32{width});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_64f_D2(const Zem64f* src, const Zem64f* mean, int n, int step,
                                                     int width, const Zem64f* val, Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, val, pResult),
                                              zem::strideCovers(step, width),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2<Zem64f>{mean, nullptr, step}, src, val, n, IdDoubleLanes64{width});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_64f_D2L(const Zem64f* src, const Zem64f* const* meanRows, int n,
                                                      int width, const Zem64f* val, Zem64f* pResult) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem64f>{meanRows, nullptr}, src, val, n, IdDoubleLanes64{width});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n, int step,
                                                              int width, const Zem32f* val, Zem32f* pResult,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, val, pResult),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2<Zem16s>{mean, nullptr, step}, src, val, n, IdSquaresScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                               int n, int width, const Zem32f* val, Zem32f* pResult,
                                                               int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem16s>{meanRows, nullptr}, src, val, n, IdSquaresScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n,
                                                                 int step, int width, const Zem32f* val,
                                                                 Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, val, pResult),
                                              zem::atLeastOne(width, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2<Zem16s>{mean, nullptr, step}, src, val, n, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                                  int n, int width, const Zem32f* val,
                                                                  Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, meanRows, val, pResult),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n)))
        return s;
    *pResult = ruleMixture(GaussiansD2L<Zem16s>{meanRows, nullptr}, src, val, n, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

// ---- Select: the shortlist picks the components of each frame; memory is checked last ------

ZEMSR_API ZemStatus zemsLogGaussMixture_Select_32f_D2(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                      int step, int width, const Zem32f* val, const Zem8u* shortlist,
                                                      int n, Zem32f* dst, int height, Zem32f noneValue) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::strideCovers(step, width)))
        return s;
    return selectMixture(FramesD2<Zem32f>{src, step}, GaussiansD2<Zem32f>{mean, var, step}, val, shortlist, n, dst, height, noneValue,
                         FloatLanes32{width});
}

ZEMSR_API ZemStatus zemsLogGaussMixture_Select_32f_D2L(const Zem32f* const* srcRows, const Zem32f* const* meanRows,
                                                       const Zem32f* const* varRows, int width, const Zem32f* val,
                                                       const Zem8u* shortlist, int n, Zem32f* dst, int height,
                                                       Zem32f noneValue) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, meanRows, varRows, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::noNullRows(srcRows, height),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    return selectMixture(FramesD2L<Zem32f>{srcRows}, GaussiansD2L<Zem32f>{meanRows, varRows}, val, shortlist, n, dst, height, noneValue,
                         FloatLanes32{width});
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean,
                                                               const Zem16s* var, int step, int width,
                                                               const Zem32f* val, const Zem8u* shortlist, int n,
                                                               Zem32f* dst, int height, Zem32f noneValue,
                                                               int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, var, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::strideCovers(step, width)))
        return s;
    return selectMixture(FramesD2<Zem16s>{src, step}, GaussiansD2<Zem16s>{mean, var, step}, val, shortlist, n, dst, height, noneValue,
                         GroupsScaled16(width, scaleFactor));
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectScaled_16s32f_D2L(const Zem16s* const* srcRows,
                                                                const Zem16s* const* meanRows,
                                                                const Zem16s* const* varRows, int width,
                                                                const Zem32f* val, const Zem8u* shortlist, int n,
                                                                Zem32f* dst, int height, Zem32f noneValue,
                                                                int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, meanRows, varRows, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::noNullRows(srcRows, height),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    return selectMixture(FramesD2L<Zem16s>{srcRows}, GaussiansD2L<Zem16s>{meanRows, varRows}, val, shortlist, n, dst, height, noneValue,
                         GroupsScaled16(width, scaleFactor));
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVar_32f_D2(const Zem32f* src, const Zem32f* mean, int step, int width,
                                                           const Zem32f* val, const Zem8u* shortlist, int n,
                                                           Zem32f* dst, int height, Zem32f noneValue) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::strideCovers(step, width)))
        return s;
    return selectMixture(FramesD2<Zem32f>{src, step}, GaussiansD2<Zem32f>{mean, nullptr, step}, val, shortlist, n, dst, height, noneValue,
                         FloatLanes32{width});
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVar_32f_D2L(const Zem32f* const* srcRows,
                                                            const Zem32f* const* meanRows, int width,
                                                            const Zem32f* val, const Zem8u* shortlist, int n,
                                                            Zem32f* dst, int height, Zem32f noneValue) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, meanRows, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::noNullRows(srcRows, height),
                                              zem::noNullRows(meanRows, n)))
        return s;
    return selectMixture(FramesD2L<Zem32f>{srcRows}, GaussiansD2L<Zem32f>{meanRows, nullptr}, val, shortlist, n, dst, height, noneValue,
                         FloatLanes32{width});
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int step,
                                                                    int width, const Zem32f* val,
                                                                    const Zem8u* shortlist, int n, Zem32f* dst,
                                                                    int height, Zem32f noneValue, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::strideCovers(step, width)))
        return s;
    return selectMixture(FramesD2<Zem16s>{src, step}, GaussiansD2<Zem16s>{mean, nullptr, step}, val, shortlist, n, dst, height, noneValue,
                         IdSquaresScaled16(width, scaleFactor));
}

ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Zem16s* const* srcRows,
                                                                     const Zem16s* const* meanRows, int width,
                                                                     const Zem32f* val, const Zem8u* shortlist, int n,
                                                                     Zem32f* dst, int height, Zem32f noneValue,
                                                                     int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, meanRows, val, shortlist, dst),
                                              zem::atLeastOne(width, n, height),
                                              zem::noNullRows(srcRows, height),
                                              zem::noNullRows(meanRows, n)))
        return s;
    return selectMixture(FramesD2L<Zem16s>{srcRows}, GaussiansD2L<Zem16s>{meanRows, nullptr}, val, shortlist, n, dst, height, noneValue,
                         IdSquaresScaled16(width, scaleFactor));
}

}  // extern "C"
