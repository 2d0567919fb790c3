// Block Gaussian scores: one Gaussian against a block of frames, the score stored
// (zemsLogGauss), added in the log domain (zemsLogGaussAdd) or kept when larger
// (zemsLogGaussMax).  Per-frame values differ from the single-frame forms where stated:
// exact leftover differences, squares in float, Low lanes shifted once at the end.
// Every export takes its frames one block of 128 at a time through a stack buffer.
#include <cstdint>
#include <immintrin.h>

#include <type_traits>

#include "frame/check.h"
#include "kernels/distkernel.h"
#include "kernels/gaussblockscores.h"
#include "kernels/scorerules.h"
#include "scorerows.h"

using namespace zem::scorerows;
using namespace zem::scorerules;

namespace {

constexpr int kBlock = 128;


template <Sink S, bool kIdentity, class T, class Frames>
void floatRows(const Frames& frames, const T* mean, const T* var, int width, T* dst, int height, T val) {
    if constexpr (S == Sink::Store) {
        zem::gaussfloat::blockScores<T, kIdentity>(frames, mean, var, width, val, 0, height, dst);
        return;
    }
    alignas(32) T scores[kBlock];
    for (int f0 = 0; f0 < height; f0 += kBlock) {
        const int n = height - f0 < kBlock ? height - f0 : kBlock;
        zem::gaussfloat::blockScores<T, kIdentity>(frames, mean, var, width, val, f0, n, scores);
        joinScores<S>(scores, dst + f0, n, std::is_same_v<T, float> && width < 4);
    }
}

// 16-bit frames with a Zem32f score per frame by the form's rule (var null for the
// identity forms), joined by the sink block by block.
template <Sink S, class Frames, class Rule>
void floatRows16(const Frames& frames, const Zem16s* mean, const Zem16s* var, float* dst, int height, float val,
                 const Rule& rule) {
    alignas(32) float scores[kBlock];
    for (int f0 = 0; f0 < height; f0 += kBlock) {
        const int n = height - f0 < kBlock ? height - f0 : kBlock;
        for (int k = 0; k < n; ++k) scores[k] = rule(frames(f0 + k), mean, var, val);
        joinScores<S>(scores, dst + f0, n, false);
    }
}

// 16-bit frames with a Zem32s score per frame: stored, or the larger kept by the rule.
template <Sink S, class Frames, class Rule>
void intRows16(const Frames& frames, const Zem16s* mean, const Zem16s* var, Zem32s* dst, int height, Zem32s val,
               const Rule& rule) {
    for (int k = 0; k < height; ++k) {
        if constexpr (S == Sink::Max) dst[k] = rule.larger(dst[k], frames(k), mean, var, val);
        else dst[k] = rule(frames(k), mean, var, val);
    }
}

}  // namespace


// ---- Exports: the _D2 and _D2L form of each member, in the family's check order ----------

extern "C" {

ZEMSR_API ZemStatus zemsLogGauss_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var, int width,
                                        Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Store, false, Zem32f>(FramesD2<Zem32f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                         int width, Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Store, false, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var, int width,
                                        Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Store, false, Zem64f>(FramesD2<Zem64f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                         int width, Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Store, false, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width, Zem32f* dst,
                                              int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Store, true, Zem32f>(FramesD2<Zem32f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                               Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Store, true, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width, Zem64f* dst,
                                              int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Store, true, Zem64f>(FramesD2<Zem64f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                               Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Store, true, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var,
                                           int width, Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Add, false, Zem32f>(FramesD2<Zem32f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                            int width, Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Add, false, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var,
                                           int width, Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Add, false, Zem64f>(FramesD2<Zem64f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                            int width, Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Add, false, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width,
                                                 Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Add, true, Zem32f>(FramesD2<Zem32f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                                  Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Add, true, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width,
                                                 Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Add, true, Zem64f>(FramesD2<Zem64f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                                  Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Add, true, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var,
                                           int width, Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Max, false, Zem32f>(FramesD2<Zem32f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                            int width, Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Max, false, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var,
                                           int width, Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Max, false, Zem64f>(FramesD2<Zem64f>{src, step}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                            int width, Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Max, false, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, var, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width,
                                                 Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Max, true, Zem32f>(FramesD2<Zem32f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                                  Zem32f* dst, int height, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Max, true, Zem32f>(FramesD2L<Zem32f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width,
                                                 Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows<Sink::Max, true, Zem64f>(FramesD2<Zem64f>{src, step}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                                  Zem64f* dst, int height, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows<Sink::Max, true, Zem64f>(FramesD2L<Zem64f>{srcRows}, mean, nullptr, width, dst, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                   const Zem16s* var, int width, Zem32f* dst, int height, Zem32f val,
                                                   int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, Scaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                        const Zem16s* var, int width, Zem32f* dst, int height,
                                                        Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                         const Zem16s* var, int width, Zem32f* dst, int height,
                                                         Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                        const Zem16s* var, int width, Zem32f* dst, int height,
                                                        Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                         const Zem16s* var, int width, Zem32f* dst, int height,
                                                         Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, LowScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdScaled16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                             int width, Zem32f* dst, int height, Zem32f val,
                                                             int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                              int width, Zem32f* dst, int height, Zem32f val,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Add>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                             int width, Zem32f* dst, int height, Zem32f val,
                                                             int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                              int width, Zem32f* dst, int height, Zem32f val,
                                                              int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    floatRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdLowScaled16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                              int width, Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, PlainRounded16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, const Zem16s* var,
                                               int width, Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, PlainRounded16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                 int width, Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    maxPlain16TowardZero(FramesD2<Zem16s>{src, step}, mean, var, width, dst, height, val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    maxPlain16TowardZero(FramesD2L<Zem16s>{srcRows}, mean, var, width, dst, height, val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_Low_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_Low_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                   const Zem16s* var, int width, Zem32s* dst, int height, Zem32s val,
                                                   int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_Low_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32s* dst, int height,
                                                     Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, var, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, var, dst, height, val, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_Low_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32s* dst, int height,
                                                      Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, var, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, var, dst, height, val, Low16(width, scaleFactor));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                    Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdTruncated16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVar_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                     Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdTruncated16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    maxIdentity16TowardZero(FramesD2<Zem16s>{src, step}, mean, width, dst, height, val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    maxIdentity16TowardZero(FramesD2L<Zem16s>{srcRows}, mean, width, dst, height, val, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarLow_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Store>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdLow16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGauss_IdVarLow_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Store>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdLow16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32s* dst, int height, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::strideCovers(step, width),
                                              zem::nonNull(src, mean, dst),
                                              zem::atLeastOne(width, height)))
        return s;
    intRows16<Sink::Max>(FramesD2<Zem16s>{src, step}, mean, nullptr, dst, height, val, IdLow16{width, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32s* dst, int height, Zem32s val,
                                                           int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcRows, mean, dst),
                                              zem::atLeastOne(width, height),
                                              zem::noNullRows(srcRows, height)))
        return s;
    intRows16<Sink::Max>(FramesD2L<Zem16s>{srcRows}, mean, nullptr, dst, height, val, IdLow16{width, scaleFactor});
    return zemStatusOk;
}

}  // extern "C"
