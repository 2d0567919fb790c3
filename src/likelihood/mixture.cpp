// Mixture scores per Gaussian: zemsLogGaussMultiMix stores each score,
// zemsLogGaussAddMultiMix adds it in the log domain to a per-Gaussian accumulator and
// zemsLogGaussMaxMultiMix keeps the larger.  The rows and the block of 100 are in
// mixturerows.h.
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "kernels/scorerules.h"
#include "mixturerows.h"
#include "own.h"
#include "scorerows.h"

using namespace zem::mixturerows;
using namespace zem::scorerows;
using namespace zem::scorerules;

namespace {

// MultiMix: srcDst holds val on entry and the score on exit.
template <class T, class G>
void multiMixFloat(const G& gaussians, const T* x, int width, T* srcDst, int n) {
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        floatScores(gaussians, x, width, srcDst + g0, g0, count, srcDst + g0);
    }
}

template <class G, class D, class Rule>
void multiMix16(const G& gaussians, const Zem16s* x, D* srcDst, int n, const Rule& rule) {
    rowScores(gaussians, x, srcDst, 0, n, srcDst, rule);
}

// AddMultiMix and MaxMultiMix: per block, the scores from val into a stack buffer, then
// joined to the block's part of srcDst (log addition, or the larger).
template <Sink S, class T, class Block>
void joinMultiMix(const T* val, T* srcDst, int n, Block scoreBlock) {
    alignas(32) T buffer[kBlock];
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        scoreBlock(val + g0, g0, count, buffer);
        joinScores<S>(buffer, srcDst + g0, count, false);
    }
}

template <Sink S, class T, class G>
void joinFloat(const G& gaussians, const T* x, int width, const T* val, T* srcDst, int n) {
    joinMultiMix<S>(val, srcDst, n, [&](const T* v, int g0, int c, T* out) { floatScores(gaussians, x, width, v, g0, c, out); });
}

template <Sink S, class G, class Rule>
void join16(const G& gaussians, const Zem16s* x, const Zem32f* val, Zem32f* srcDst, int n, const Rule& rule) {
    joinMultiMix<S>(val, srcDst, n,
                    [&](const Zem32f* v, int g0, int c, Zem32f* out) { rowScores(gaussians, x, v, g0, c, out, rule); });
}

// MaxMultiMix with an integer destination: the larger by the form's rule.
template <class G, class Rule>
void larger16(const G& gaussians, const Zem16s* x, const Zem32s* val, Zem32s* srcDst, int n, const Rule& rule) {
    for (int k = 0; k < n; ++k) {
        const auto [m, w] = gaussians(k);
        srcDst[k] = rule.larger(srcDst[k], x, m, w, val[k]);
    }
}

}  // namespace

extern "C" {

// ---- zemsLogGaussMultiMix: srcDst holds val on entry and the score on exit ----------------

ZEMSR_API ZemStatus zemsLogGaussMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                int width, Zem32f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMixFloat(GaussiansD2<Zem32f>{mean, var, step}, src, width, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                 const Zem32f* src, int width, Zem32f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMixFloat(GaussiansD2L<Zem32f>{meanRows, varRows}, src, width, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                int width, Zem64f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMixFloat(GaussiansD2<Zem64f>{mean, var, step}, src, width, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                 const Zem64f* src, int width, Zem64f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMixFloat(GaussiansD2L<Zem64f>{meanRows, varRows}, src, width, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                      const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                      int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMix16(GaussiansD2<Zem16s>{mean, var, step}, src, srcDst, n, PlainRounded16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_16s32s_D2LSfs(const Zem16s* const* meanRows, const Zem16s* const* varRows,
                                                       const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                       int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMix16(GaussiansD2L<Zem16s>{meanRows, varRows}, src, srcDst, n, PlainRounded16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_Low_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                          const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                          int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMix16(GaussiansD2<Zem16s>{mean, var, step}, src, srcDst, n, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_Low_16s32s_D2LSfs(const Zem16s* const* meanRows,
                                                           const Zem16s* const* varRows, const Zem16s* src, int width,
                                                           Zem32s* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMix16(GaussiansD2L<Zem16s>{meanRows, varRows}, src, srcDst, n, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                          const Zem16s* src, int width, Zem32f* srcDst, int n,
                                                          int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMix16(GaussiansD2<Zem16s>{mean, var, step}, src, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                           const Zem16s* const* varRows, const Zem16s* src, int width,
                                                           Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMix16(GaussiansD2L<Zem16s>{meanRows, varRows}, src, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, Zem32f* srcDst, int n,
                                                             int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    multiMix16(GaussiansD2<Zem16s>{mean, var, step}, src, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    multiMix16(GaussiansD2L<Zem16s>{meanRows, varRows}, src, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

// ---- zemsLogGaussAddMultiMix and zemsLogGaussMaxMultiMix -----------------------------------

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                   int width, const Zem32f* val, Zem32f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    joinFloat<Sink::Add>(GaussiansD2<Zem32f>{mean, var, step}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                    const Zem32f* src, int width, const Zem32f* val, Zem32f* srcDst,
                                                    int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    joinFloat<Sink::Add>(GaussiansD2L<Zem32f>{meanRows, varRows}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                   int width, const Zem64f* val, Zem64f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    joinFloat<Sink::Add>(GaussiansD2<Zem64f>{mean, var, step}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                    const Zem64f* src, int width, const Zem64f* val, Zem64f* srcDst,
                                                    int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    joinFloat<Sink::Add>(GaussiansD2L<Zem64f>{meanRows, varRows}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32f* val,
                                                             Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    join16<Sink::Add>(GaussiansD2<Zem16s>{mean, var, step}, src, val, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    join16<Sink::Add>(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                                const Zem16s* src, int width, const Zem32f* val,
                                                                Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    join16<Sink::Add>(GaussiansD2<Zem16s>{mean, var, step}, src, val, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                                 const Zem16s* const* varRows, const Zem16s* src,
                                                                 int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                                 int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    join16<Sink::Add>(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                   int width, const Zem32f* val, Zem32f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    joinFloat<Sink::Max>(GaussiansD2<Zem32f>{mean, var, step}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                    const Zem32f* src, int width, const Zem32f* val, Zem32f* srcDst,
                                                    int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    joinFloat<Sink::Max>(GaussiansD2L<Zem32f>{meanRows, varRows}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                   int width, const Zem64f* val, Zem64f* srcDst, int n) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    joinFloat<Sink::Max>(GaussiansD2<Zem64f>{mean, var, step}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                    const Zem64f* src, int width, const Zem64f* val, Zem64f* srcDst,
                                                    int n) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    joinFloat<Sink::Max>(GaussiansD2L<Zem64f>{meanRows, varRows}, src, width, val, srcDst, n);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32f* val,
                                                             Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::strideCovers(step, width)))
        return s;
    join16<Sink::Max>(GaussiansD2<Zem16s>{mean, var, step}, src, val, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    join16<Sink::Max>(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, srcDst, n, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                                const Zem16s* src, int width, const Zem32f* val,
                                                                Zem32f* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::strideCovers(step, width)))
        return s;
    join16<Sink::Max>(GaussiansD2<Zem16s>{mean, var, step}, src, val, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                                 const Zem16s* const* varRows, const Zem16s* src,
                                                                 int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                                 int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    join16<Sink::Max>(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, srcDst, n, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                         const Zem16s* src, int width, const Zem32s* val,
                                                         Zem32s* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    maxMixture16TowardZero(GaussiansD2<Zem16s>{mean, var, step}, src, width, val, srcDst, n, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_16s32s_D2LSfs(const Zem16s* const* meanRows, const Zem16s* const* varRows,
                                                          const Zem16s* src, int width, const Zem32s* val,
                                                          Zem32s* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    maxMixture16TowardZero(GaussiansD2L<Zem16s>{meanRows, varRows}, src, width, val, srcDst, n, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32s* val,
                                                             Zem32s* srcDst, int n, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(mean, var, src, val, srcDst),
                                              zem::atLeastOne(width, n)))
        return s;
    larger16(GaussiansD2<Zem16s>{mean, var, step}, src, val, srcDst, n, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32s* val, Zem32s* srcDst, int n,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(meanRows, varRows, src, val, srcDst),
                                              zem::atLeastOne(width, n),
                                              zem::noNullRows(meanRows, n),
                                              zem::noNullRows(varRows, n)))
        return s;
    larger16(GaussiansD2L<Zem16s>{meanRows, varRows}, src, val, srcDst, n, Low16(width, scaleFactor));
    return zemStatusOk;
}

}  // extern "C"
