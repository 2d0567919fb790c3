// Mixture scores: one frame against the Gaussians of a mixture, whose means and inverse
// variances are the rows of two matrices and whose constants val are per Gaussian.
// zemsLogGaussMultiMix stores each score, zemsLogGaussAddMultiMix adds it in the log
// domain to a per-Gaussian accumulator, zemsLogGaussMaxMultiMix keeps the larger, and
// zemsLogGaussMixture reduces the mixture to the log of the sum of the exponentials.
// Gaussians go in blocks of 100: the block fixes the order of the mixture sum.
#include <cstdint>
#include <cstring>
#include <immintrin.h>

#include "distkernel.h"
#include "frame/scale.h"
#include "gauss16.h"
#include "gaussblock.h"
#include "gaussfloat.h"
#include "logcore.h"
#include "own.h"
#include "zemcore.h"

namespace g16 = zem::gauss16;
using namespace zem::gaussblock;

namespace {

constexpr int kBlock = 100;

// ---- Checks: each export's order is part of its interface -----------------------------------
enum class Order { StrideNullSize, NullSizeStride, NullStrideSize };

template <Order O, class... P>
ZemStatus checkD2(int step, int width, int count, const P*... p) {
    const bool stride = width > step, null = zem::anyNull(p...), size = width < 1 || count < 1;
    if constexpr (O == Order::StrideNullSize) {
        if (stride) return zemStatusBadStride;
        if (null) return zemStatusNullPointer;
        if (size) return zemStatusBadSize;
    } else if constexpr (O == Order::NullSizeStride) {
        if (null) return zemStatusNullPointer;
        if (size) return zemStatusBadSize;
        if (stride) return zemStatusBadStride;
    } else {
        if (null) return zemStatusNullPointer;
        if (stride) return zemStatusBadStride;
        if (size) return zemStatusBadSize;
    }
    return zemStatusOk;
}

// _D2L: null, size, then the row pointers in use.
template <class T, class... P>
ZemStatus checkD2L(const T* const* meanRows, const T* const* varRows, bool identity, int width, int n, const P*... p) {
    if (!meanRows || (!identity && !varRows) || zem::anyNull(p...)) return zemStatusNullPointer;
    if (width < 1 || n < 1) return zemStatusBadSize;
    if (zem::anyNullRow(meanRows, n) || (!identity && zem::anyNullRow(varRows, n))) return zemStatusNullPointer;
    return zemStatusOk;
}

// ---- Per-Gaussian scores ------------------------------------------------------------------------

// Float and double: the weighted sums of Gaussians [g0, g0 + n) four (two) at a time, then
// score = (acc + 2 val) * 0.5 with acc the negative sum.  vals may be out itself.
template <class T, class G>
void floatScores(const G& gaussians, const T* x, int width, const T* vals, int g0, int n, T* out) {
    alignas(32) T sums[kBlock];
    zem::distance::block<T, false, false>(x, nullptr, width, sums, n, [&](int k) { return gaussians(g0 + k); });
    for (int k = 0; k < n; ++k) out[k] = ((-sums[k]) + (vals[k] + vals[k])) * T(0.5);
}

// 16-bit forms: the sums of the block forms with the final step of each form.
struct Plain16 {
    int sf;
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, Zem32s val) const {
        const int64_t k = static_cast<int64_t>(sf) + 1;
        const float p = shiftedOne(k), s = -g16::laneSumFloat(x, m, w, width);
        return zem::roundScoreToInt32(static_cast<float>(val) + (k > 0 ? s / p : s * p));
    }
};

struct Scaled16 {
    float f;
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, float val) const {
        return -g16::laneSumFloat(x, m, w, width) * f + val;
    }
};

struct Low16 {
    int sf;
    g16::LowShifts shifts;
    // For sf < 0 the float score r; the caller truncates or compares it.
    float negative(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, float val) const {
        return lowNegativeScore(x, m, w, width, val, sf);
    }
    int32_t integer(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, Zem32s val) const {
        return g16::wrapAdd(g16::lowSum<true>(x, m, w, width, shifts), val);
    }
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, Zem32s val) const {
        if (sf < 0) return _mm_cvttss_si32(_mm_set_ss(negative(x, m, w, width, static_cast<float>(val))));
        return integer(x, m, w, width, val);
    }
};

struct LowScaled16 {
    int sf;
    g16::LowShifts shifts;
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, float val) const {
        if (sf < 0) return lowNegativeScore(x, m, w, width, val, sf);
        return static_cast<float>(g16::lowSum<true>(x, m, w, width, shifts)) + val;
    }
};

Scaled16 scaled16(int sf) { return {zem::pow2Neg32f(clampedInt(static_cast<int64_t>(sf) + 1))}; }
Low16 low16(int sf) { return {sf, blockLowShifts(sf)}; }
LowScaled16 lowScaled16(int sf) { return {sf, blockLowShifts(sf)}; }

// Scores of Gaussians [g0, g0 + n) by the form's per-row rule; vals may be out itself.
template <class G, class V, class D, class Score>
void rowScores(const G& gaussians, const Zem16s* x, int width, const V* vals, int g0, int n, D* out, Score score) {
    for (int k = 0; k < n; ++k) {
        const auto [m, w] = gaussians(g0 + k);
        out[k] = score(x, m, w, width, vals[k]);
    }
}

// ---- Families ---------------------------------------------------------------------------------

// MultiMix: srcDst holds val on entry and the score on exit.
template <class T, class G>
void multiMixFloat(const G& gaussians, const T* x, int width, T* srcDst, int n) {
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        floatScores(gaussians, x, width, srcDst + g0, g0, count, srcDst + g0);
    }
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

// The mixture sum: each block's scores sit behind a slot that holds the running result
// (empty for the first block), and the block sum runs over slot and scores together.
template <class T, class Block>
T mixtureSum(int n, Block scoreBlock) {
    alignas(32) T buffer[kBlock + 1];
    T running = T(0);
    for (int g0 = 0; g0 < n; g0 += kBlock) {
        const int count = n - g0 < kBlock ? n - g0 : kBlock;
        scoreBlock(g0, count, buffer + 1);
        if (g0 == 0) {
            if constexpr (sizeof(T) == 4) ownLogSumBlock_32f(buffer + 1, &running, count);
            else ownLogSumBlock_64f(buffer + 1, &running, count);
        } else {
            buffer[0] = running;
            if constexpr (sizeof(T) == 4) ownLogSumBlock_32f(buffer, &running, count + 1);
            else ownLogSumBlock_64f(buffer, &running, count + 1);
        }
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
    if constexpr (sizeof(T) == 4) return floatMixtureSum(gaussians, x, width, val, n);
    else return mixtureSum<T>(n, [&](int g0, int c, T* out) { floatScores(gaussians, x, width, val + g0, g0, c, out); });
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

// Select: counters of 16 bits (wrapping) from the allocator, every dst at -4500000, then
// component by component, frame by frame, the selected scores through the public
// single-frame score and log addition; frames with no component take noneValue.
template <class X, class Frames, class Score>
ZemStatus selectMixture(const Frames& frames, const Zem8u* shortlist, int n, Zem32f* dst, int height, Zem32f noneValue,
                        Score score) {
    auto* counters = static_cast<Zem16u*>(zemMalloc(static_cast<int64_t>(height) * sizeof(Zem16u)));
    if (!counters) return zemStatusNoMemory;
    std::memset(counters, 0, static_cast<size_t>(height) * sizeof(Zem16u));
    for (int f = 0; f < height; ++f) dst[f] = -4500000.0f;
    const int64_t rowBytes = (static_cast<int64_t>(n) + 7) / 8;
    for (int c = 0; c < n; ++c)
        for (int f = 0; f < height; ++f) {
            if (!((shortlist[f * rowBytes + c / 8] >> (7 - c % 8)) & 1)) continue;
            Zem32f tmp;
            score(frames(f), c, &tmp);
            if (counters[f] != 0) zemsLogAdd_32f(&tmp, &dst[f], 1);
            else dst[f] = tmp;
            ++counters[f];
        }
    for (int f = 0; f < height; ++f)
        if (counters[f] == 0) dst[f] = noneValue;
    zemFree(counters);
    return zemStatusOk;
}

// The plain form runs under rounding toward zero (32-bit stores throughout); Low compares
// integers from scale factor 0 and truncated floats below it.
template <class G>
void maxMultiMixLow(const G& g, const Zem16s* src, int width, const Zem32s* val, Zem32s* srcDst, int n, int sf) {
    const Low16 score = low16(sf);
    for (int k = 0; k < n; ++k) {
        const auto [m, w] = g(k);
        if (sf < 0) {
            srcDst[k] = maxTruncated(srcDst[k], score.negative(src, m, w, width, static_cast<float>(val[k])));
        } else {
            const int32_t s = score.integer(src, m, w, width, val[k]);
            srcDst[k] = s > srcDst[k] ? s : srcDst[k];
        }
    }
}

}  // namespace

extern "C" {

// ---- zemsLogGaussMultiMix -------------------------------------------------------------------
#define ZEM_MULTIMIX_FLOAT(T)                                                                                        \
    ZEMSR_API ZemStatus zemsLogGaussMultiMix_##T##_D2(const Zem##T* mean, const Zem##T* var, int step,               \
                                                       const Zem##T* src, int width, Zem##T* srcDst, int n) {        \
        if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, mean, var, src, srcDst); s)          \
            return s;                                                                                                \
        multiMixFloat(GaussiansD2<Zem##T>{mean, var, step}, src, width, srcDst, n);                                  \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsLogGaussMultiMix_##T##_D2L(const Zem##T* const* meanRows, const Zem##T* const* varRows, \
                                                        const Zem##T* src, int width, Zem##T* srcDst, int n) {       \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, srcDst); s) return s;             \
        multiMixFloat(GaussiansD2L<Zem##T>{meanRows, varRows}, src, width, srcDst, n);                               \
        return zemStatusOk;                                                                                          \
    }
ZEM_MULTIMIX_FLOAT(32f)
ZEM_MULTIMIX_FLOAT(64f)

// 16-bit members: NAME, suffixes, destination type, score maker.
#define ZEM_MULTIMIX_16S(NAME, D2, D2L, D, MAKE)                                                                    \
    ZEMSR_API ZemStatus NAME##D2(const Zem16s* mean, const Zem16s* var, int step, const Zem16s* src, int width,     \
                                 D* srcDst, int n, int scaleFactor) {                                                \
        if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, mean, var, src, srcDst); s) return s; \
        rowScores(GaussiansD2<Zem16s>{mean, var, step}, src, width, srcDst, 0, n, srcDst, MAKE(scaleFactor));        \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##D2L(const Zem16s* const* meanRows, const Zem16s* const* varRows, const Zem16s* src,   \
                                  int width, D* srcDst, int n, int scaleFactor) {                                    \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, srcDst); s) return s;             \
        rowScores(GaussiansD2L<Zem16s>{meanRows, varRows}, src, width, srcDst, 0, n, srcDst, MAKE(scaleFactor));     \
        return zemStatusOk;                                                                                          \
    }
ZEM_MULTIMIX_16S(zemsLogGaussMultiMix_16s32s, _D2Sfs, _D2LSfs, Zem32s, Plain16)
ZEM_MULTIMIX_16S(zemsLogGaussMultiMix_Low_16s32s, _D2Sfs, _D2LSfs, Zem32s, low16)
ZEM_MULTIMIX_16S(zemsLogGaussMultiMix_Scaled_16s32f, _D2, _D2L, Zem32f, scaled16)
ZEM_MULTIMIX_16S(zemsLogGaussMultiMix_LowScaled_16s32f, _D2, _D2L, Zem32f, lowScaled16)

// ---- zemsLogGaussAddMultiMix and zemsLogGaussMaxMultiMix with float destinations ------------------
// FAMILY is joinMultiMix<Sink::Add> or <Sink::Max>; ORDER the _D2 check order.
#define ZEM_JOIN_FLOAT(NAME, FAMILY, ORDER, T)                                                                       \
    ZEMSR_API ZemStatus NAME##_D2(const T* mean, const T* var, int step, const T* src, int width, const T* val,      \
                                  T* srcDst, int n) {                                                                \
        if (const ZemStatus s = checkD2<ORDER>(step, width, n, mean, var, src, val, srcDst); s) return s;           \
        const GaussiansD2<T> g{mean, var, step};                                                                     \
        FAMILY(val, srcDst, n, [&](const T* v, int g0, int c, T* out) { floatScores(g, src, width, v, g0, c, out); }); \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const T* const* meanRows, const T* const* varRows, const T* src, int width,      \
                                   const T* val, T* srcDst, int n) {                                                 \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, val, srcDst); s) return s;        \
        const GaussiansD2L<T> g{meanRows, varRows};                                                                  \
        FAMILY(val, srcDst, n, [&](const T* v, int g0, int c, T* out) { floatScores(g, src, width, v, g0, c, out); }); \
        return zemStatusOk;                                                                                          \
    }
ZEM_JOIN_FLOAT(zemsLogGaussAddMultiMix_32f, joinMultiMix<Sink::Add>, Order::StrideNullSize, Zem32f)
ZEM_JOIN_FLOAT(zemsLogGaussAddMultiMix_64f, joinMultiMix<Sink::Add>, Order::StrideNullSize, Zem64f)
ZEM_JOIN_FLOAT(zemsLogGaussMaxMultiMix_32f, joinMultiMix<Sink::Max>, Order::StrideNullSize, Zem32f)
ZEM_JOIN_FLOAT(zemsLogGaussMaxMultiMix_64f, joinMultiMix<Sink::Max>, Order::StrideNullSize, Zem64f)

#define ZEM_JOIN_16S32F(NAME, FAMILY, ORDER, MAKE)                                                                   \
    ZEMSR_API ZemStatus NAME##_D2(const Zem16s* mean, const Zem16s* var, int step, const Zem16s* src, int width,    \
                                  const Zem32f* val, Zem32f* srcDst, int n, int scaleFactor) {                       \
        if (const ZemStatus s = checkD2<ORDER>(step, width, n, mean, var, src, val, srcDst); s) return s;           \
        const GaussiansD2<Zem16s> g{mean, var, step};                                                                \
        const auto score = MAKE(scaleFactor);                                                                        \
        FAMILY(val, srcDst, n, [&](const Zem32f* v, int g0, int c, Zem32f* out) { rowScores(g, src, width, v, g0, c, out, score); }); \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const Zem16s* const* meanRows, const Zem16s* const* varRows, const Zem16s* src,  \
                                   int width, const Zem32f* val, Zem32f* srcDst, int n, int scaleFactor) {           \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, val, srcDst); s) return s;        \
        const GaussiansD2L<Zem16s> g{meanRows, varRows};                                                             \
        const auto score = MAKE(scaleFactor);                                                                        \
        FAMILY(val, srcDst, n, [&](const Zem32f* v, int g0, int c, Zem32f* out) { rowScores(g, src, width, v, g0, c, out, score); }); \
        return zemStatusOk;                                                                                          \
    }
ZEM_JOIN_16S32F(zemsLogGaussAddMultiMix_Scaled_16s32f, joinMultiMix<Sink::Add>, Order::StrideNullSize, scaled16)
ZEM_JOIN_16S32F(zemsLogGaussAddMultiMix_LowScaled_16s32f, joinMultiMix<Sink::Add>, Order::StrideNullSize, lowScaled16)
ZEM_JOIN_16S32F(zemsLogGaussMaxMultiMix_Scaled_16s32f, joinMultiMix<Sink::Max>, Order::NullSizeStride, scaled16)
ZEM_JOIN_16S32F(zemsLogGaussMaxMultiMix_LowScaled_16s32f, joinMultiMix<Sink::Max>, Order::NullSizeStride, lowScaled16)

// ---- zemsLogGaussMaxMultiMix with integer destinations ----------------------------------------
#define ZEM_MAX_16S32S(NAME, BODY)                                                                                   \
    ZEMSR_API ZemStatus NAME##_D2Sfs(const Zem16s* mean, const Zem16s* var, int step, const Zem16s* src, int width, \
                                     const Zem32s* val, Zem32s* srcDst, int n, int scaleFactor) {                    \
        if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, mean, var, src, val, srcDst); s)     \
            return s;                                                                                                \
        BODY(GaussiansD2<Zem16s>{mean, var, step}, src, width, val, srcDst, n, scaleFactor);                        \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2LSfs(const Zem16s* const* meanRows, const Zem16s* const* varRows, const Zem16s* src, \
                                      int width, const Zem32s* val, Zem32s* srcDst, int n, int scaleFactor) {        \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, val, srcDst); s) return s;        \
        BODY(GaussiansD2L<Zem16s>{meanRows, varRows}, src, width, val, srcDst, n, scaleFactor);                     \
        return zemStatusOk;                                                                                          \
    }
ZEM_MAX_16S32S(zemsLogGaussMaxMultiMix_16s32s, maxMixture16TowardZero)
ZEM_MAX_16S32S(zemsLogGaussMaxMultiMix_Low_16s32s, maxMultiMixLow)

// ---- zemsLogGaussMixture ------------------------------------------------------------------------
#define ZEM_MIXTURE_FLOAT(T, ORDER)                                                                                  \
    ZEMSR_API ZemStatus zemsLogGaussMixture_##T##_D2(const Zem##T* src, const Zem##T* mean, const Zem##T* var,      \
                                                      int n, int step, int width, const Zem##T* val,                 \
                                                      Zem##T* pResult) {                                             \
        if (const ZemStatus s = checkD2<ORDER>(step, width, n, src, mean, var, val, pResult); s) return s;          \
        const GaussiansD2<Zem##T> g{mean, var, step};                                                                \
        *pResult = weightedMixture(g, src, width, val, n);                                                         \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsLogGaussMixture_##T##_D2L(const Zem##T* src, const Zem##T* const* meanRows,             \
                                                       const Zem##T* const* varRows, int n, int width,              \
                                                       const Zem##T* val, Zem##T* pResult) {                         \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, val, pResult); s) return s;       \
        const GaussiansD2L<Zem##T> g{meanRows, varRows};                                                             \
        *pResult = weightedMixture(g, src, width, val, n);                                                         \
        return zemStatusOk;                                                                                          \
    }
ZEM_MIXTURE_FLOAT(32f, Order::NullStrideSize)
ZEM_MIXTURE_FLOAT(64f, Order::NullStrideSize)

#define ZEM_MIXTURE_16S32F(NAME, MAKE)                                                                               \
    ZEMSR_API ZemStatus NAME##_D2(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int n, int step,        \
                                  int width, const Zem32f* val, Zem32f* pResult, int scaleFactor) {                  \
        if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, src, mean, var, val, pResult); s)    \
            return s;                                                                                                \
        const GaussiansD2<Zem16s> g{mean, var, step};                                                                \
        const auto score = MAKE(scaleFactor);                                                                        \
        *pResult = mixtureSum<Zem32f>(n, [&](int g0, int c, Zem32f* out) { rowScores(g, src, width, val + g0, g0, c, out, score); }); \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const Zem16s* src, const Zem16s* const* meanRows, const Zem16s* const* varRows,  \
                                   int n, int width, const Zem32f* val, Zem32f* pResult, int scaleFactor) {          \
        if (const ZemStatus s = checkD2L(meanRows, varRows, false, width, n, src, val, pResult); s) return s;       \
        const GaussiansD2L<Zem16s> g{meanRows, varRows};                                                             \
        const auto score = MAKE(scaleFactor);                                                                        \
        *pResult = mixtureSum<Zem32f>(n, [&](int g0, int c, Zem32f* out) { rowScores(g, src, width, val + g0, g0, c, out, score); }); \
        return zemStatusOk;                                                                                          \
    }
ZEM_MIXTURE_16S32F(zemsLogGaussMixture_Scaled_16s32f, scaled16)
ZEM_MIXTURE_16S32F(zemsLogGaussMixture_LowScaled_16s32f, lowScaled16)

// Identity variances: each Gaussian scored by the single-frame body.  SCORE(m, v) is the
// score of mean row m with constant v.
#define ZEM_MIXTURE_ID(NAME, X, V, ORDER, SF_PARAM, SF_ARG, SCORE)                                                  \
    ZEMSR_API ZemStatus NAME##_D2L(const X* src, const X* const* meanRows, int n, int width, const V* val,          \
                                   V* pResult SF_PARAM) {                                                            \
        if (const ZemStatus s = checkD2L<X>(meanRows, nullptr, true, width, n, src, val, pResult); s) return s;     \
        *pResult = mixtureSum<V>(n, [&](int g0, int c, V* out) {                                                     \
            for (int k = 0; k < c; ++k) out[k] = SCORE(meanRows[g0 + k], val[g0 + k]);                              \
        });                                                                                                          \
        return zemStatusOk;                                                                                          \
    }

#define ZEM_SF_PARAM , int scaleFactor
#define ZEM_NO_PARAM

// Single-frame identity scores of one mean row.
#define ZEM_SCORE_ID32F(m, v) zem::gaussfloat::pipelineA(src, m, nullptr, width, v)
#define ZEM_SCORE_ID64F(m, v) zem::gaussfloat::pipelineB<zem::gaussfloat::Weight::One, Zem64f>(src, m, nullptr, width, v)
#define ZEM_SCORE_IDSCALED(m, v) \
    ((v) - static_cast<float>(g16::identitySquares64(src, m, width)) * zem::pow2Neg32f(clampedInt(int64_t{scaleFactor} + 1)))
#define ZEM_SCORE_IDLOWSCALED(m, v) identityLowScaledScore(src, m, width, v, scaleFactor)

}  // extern "C"

namespace {
// Pipeline G of the single-frame form: t = s * 2^-(sf + 1) by integer powers of two.
float identityLowScaledScore(const Zem16s* x, const Zem16s* m, int width, float val, int sf) {
    const float s = -g16::pairLanesFloat<true>(x, m, width);
    const int64_t n = static_cast<int64_t>(sf) + 1;
    return val + (n < 1 ? s * shiftedOne(n) : s / shiftedOne(n));
}
}  // namespace

extern "C" {

ZEM_MIXTURE_ID(zemsLogGaussMixture_IdVar_32f, Zem32f, Zem32f, , ZEM_NO_PARAM, , ZEM_SCORE_ID32F)
ZEM_MIXTURE_ID(zemsLogGaussMixture_IdVar_64f, Zem64f, Zem64f, , ZEM_NO_PARAM, , ZEM_SCORE_ID64F)
ZEM_MIXTURE_ID(zemsLogGaussMixture_IdVarScaled_16s32f, Zem16s, Zem32f, , ZEM_SF_PARAM, , ZEM_SCORE_IDSCALED)
ZEM_MIXTURE_ID(zemsLogGaussMixture_IdVarLowScaled_16s32f, Zem16s, Zem32f, , ZEM_SF_PARAM, , ZEM_SCORE_IDLOWSCALED)

// The _D2 identity forms.  Zem32f runs the sequential pass instead of the blocks.
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_32f_D2(const Zem32f* src, const Zem32f* mean, int n, int step,
                                                      int width, const Zem32f* val, Zem32f* pResult) {
    if (const ZemStatus s = checkD2<Order::NullStrideSize>(step, width, n, src, mean, val, pResult); s) return s;
    *pResult = sequentialIdentityMixture(src, mean, step, n, width, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_64f_D2(const Zem64f* src, const Zem64f* mean, int n, int step,
                                                      int width, const Zem64f* val, Zem64f* pResult) {
    if (const ZemStatus s = checkD2<Order::NullStrideSize>(step, width, n, src, mean, val, pResult); s) return s;
    *pResult = mixtureSum<Zem64f>(n, [&](int g0, int c, Zem64f* out) {
        for (int k = 0; k < c; ++k) out[k] = ZEM_SCORE_ID64F(mean + int64_t{g0 + k} * step, val[g0 + k]);
    });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n, int step,
                                                               int width, const Zem32f* val, Zem32f* pResult,
                                                               int scaleFactor) {
    if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, src, mean, val, pResult); s) return s;
    *pResult = mixtureSum<Zem32f>(n, [&](int g0, int c, Zem32f* out) {
        for (int k = 0; k < c; ++k) out[k] = ZEM_SCORE_IDSCALED(mean + int64_t{g0 + k} * step, val[g0 + k]);
    });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n,
                                                                  int step, int width, const Zem32f* val,
                                                                  Zem32f* pResult, int scaleFactor) {
    if (const ZemStatus s = checkD2<Order::StrideNullSize>(step, width, n, src, mean, val, pResult); s) return s;
    *pResult = mixtureSum<Zem32f>(n, [&](int g0, int c, Zem32f* out) {
        for (int k = 0; k < c; ++k) out[k] = ZEM_SCORE_IDLOWSCALED(mean + int64_t{g0 + k} * step, val[g0 + k]);
    });
    return zemStatusOk;
}

// ---- Select --------------------------------------------------------------------------------------
// _D2: null, sizes (width, n, height), stride, memory.  _D2L: null, sizes, memory.
#define ZEM_SELECT(NAME, X, SINGLE_CALL, SF_PARAM)                                                                  \
    ZEMSR_API ZemStatus NAME##_D2(const X* src, const X* mean, const X* var, int step, int width, const Zem32f* val, \
                                  const Zem8u* shortlist, int n, Zem32f* dst, int height, Zem32f noneValue SF_PARAM) { \
        if (zem::anyNull(src, mean, var, val, shortlist, dst)) return zemStatusNullPointer;                         \
        if (width < 1 || n < 1 || height < 1) return zemStatusBadSize;                                               \
        if (width > step) return zemStatusBadStride;                                                                 \
        return selectMixture<X>(zem::gaussblock::FramesD2<X>{src, step}, shortlist, n, dst, height, noneValue,       \
                                [&](const X* x, int c, Zem32f* tmp) {                                                \
                                    const X* m = mean + int64_t{c} * step;                                           \
                                    const X* w = var + int64_t{c} * step;                                            \
                                    (void)w;                                                                         \
                                    SINGLE_CALL;                                                                     \
                                });                                                                                  \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const X* const* srcRows, const X* const* meanRows, const X* const* varRows,      \
                                   int width, const Zem32f* val, const Zem8u* shortlist, int n, Zem32f* dst,         \
                                   int height, Zem32f noneValue SF_PARAM) {                                          \
        if (zem::anyNull(srcRows, meanRows, varRows, val, shortlist, dst)) return zemStatusNullPointer;             \
        if (width < 1 || n < 1 || height < 1) return zemStatusBadSize;                                               \
        if (zem::anyNullRow(srcRows, height) || zem::anyNullRow(meanRows, n) || zem::anyNullRow(varRows, n))        \
            return zemStatusNullPointer;                                                                             \
        return selectMixture<X>(zem::gaussblock::FramesD2L<X>{srcRows}, shortlist, n, dst, height, noneValue,        \
                                [&](const X* x, int c, Zem32f* tmp) {                                                \
                                    const X* m = meanRows[c];                                                        \
                                    const X* w = varRows[c];                                                         \
                                    (void)w;                                                                         \
                                    SINGLE_CALL;                                                                     \
                                });                                                                                  \
    }

#define ZEM_SELECT_ID(NAME, X, SINGLE_CALL, SF_PARAM)                                                               \
    ZEMSR_API ZemStatus NAME##_D2(const X* src, const X* mean, int step, int width, const Zem32f* val,              \
                                  const Zem8u* shortlist, int n, Zem32f* dst, int height, Zem32f noneValue SF_PARAM) { \
        if (zem::anyNull(src, mean, val, shortlist, dst)) return zemStatusNullPointer;                              \
        if (width < 1 || n < 1 || height < 1) return zemStatusBadSize;                                               \
        if (width > step) return zemStatusBadStride;                                                                 \
        return selectMixture<X>(zem::gaussblock::FramesD2<X>{src, step}, shortlist, n, dst, height, noneValue,       \
                                [&](const X* x, int c, Zem32f* tmp) {                                                \
                                    const X* m = mean + int64_t{c} * step;                                           \
                                    SINGLE_CALL;                                                                     \
                                });                                                                                  \
    }                                                                                                                \
    ZEMSR_API ZemStatus NAME##_D2L(const X* const* srcRows, const X* const* meanRows, int width, const Zem32f* val, \
                                   const Zem8u* shortlist, int n, Zem32f* dst, int height, Zem32f noneValue SF_PARAM) { \
        if (zem::anyNull(srcRows, meanRows, val, shortlist, dst)) return zemStatusNullPointer;                      \
        if (width < 1 || n < 1 || height < 1) return zemStatusBadSize;                                               \
        if (zem::anyNullRow(srcRows, height) || zem::anyNullRow(meanRows, n)) return zemStatusNullPointer;          \
        return selectMixture<X>(zem::gaussblock::FramesD2L<X>{srcRows}, shortlist, n, dst, height, noneValue,        \
                                [&](const X* x, int c, Zem32f* tmp) {                                                \
                                    const X* m = meanRows[c];                                                        \
                                    SINGLE_CALL;                                                                     \
                                });                                                                                  \
    }

ZEM_SELECT(zemsLogGaussMixture_Select_32f, Zem32f, zemsLogGaussSingle_32f(x, m, w, width, tmp, val[c]), ZEM_NO_PARAM)
ZEM_SELECT(zemsLogGaussMixture_SelectScaled_16s32f, Zem16s,
           zemsLogGaussSingle_Scaled_16s32f(x, m, w, width, tmp, val[c], scaleFactor), ZEM_SF_PARAM)
ZEM_SELECT_ID(zemsLogGaussMixture_SelectIdVar_32f, Zem32f, zemsLogGaussSingle_IdVar_32f(x, m, width, tmp, val[c]),
              ZEM_NO_PARAM)
ZEM_SELECT_ID(zemsLogGaussMixture_SelectIdVarScaled_16s32f, Zem16s,
              zemsLogGaussSingle_IdVarScaled_16s32f(x, m, width, tmp, val[c], scaleFactor), ZEM_SF_PARAM)

}  // extern "C"
