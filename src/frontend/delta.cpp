// Delta and delta-delta features.
//
// Streaming: each call appends a block of frames to a feature matrix (statics X, then
// deltas D and delta-deltas E in every row) and finishes the rows whose window the block
// completes; the rows still open wait in the matrix for the next call.  Batch: deltas of
// any window over a whole utterance, in place.
#include <climits>
#include <cmath>
#include <cstdint>

#include "frame/check.h"
#include "frame/scale.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace {

namespace simd = zem::simd;

// ---- Integer rules ---------------------------------------------------------------------------------

// Shift by the scale factor, the count taken modulo 32: right (arithmetic) when positive,
// left when negative, in 32 bits.
inline int32_t scaleShift(int32_t v, int scaleFactor) {
    if (scaleFactor > 0) return v >> (scaleFactor & 31);
    if (scaleFactor < 0) return static_cast<int32_t>(static_cast<uint32_t>(v) << ((0u - static_cast<uint32_t>(scaleFactor)) & 31));
    return v;
}

inline int32_t mul32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(a) * b));
}

// The difference of two stored values: 32-bit, or wrapped to 16 bits.
template <bool kWrap>
inline int32_t diff(int32_t a, int32_t b) {
    const int32_t d = a - b;
    return kWrap ? static_cast<int16_t>(static_cast<uint16_t>(d)) : d;
}

// Float to integer, truncated toward zero and limited to the 32-bit range (NaN to 0).
inline int32_t truncate32(float v) {
    if (!(v == v)) return 0;
    if (v >= 2147483648.0f) return INT32_MAX;
    if (v <= -2147483648.0f) return INT32_MIN;
    return static_cast<int32_t>(v);
}

// ---- Streaming engine ------------------------------------------------------------------------------

// Row geometry of a family: history depth H, and the lags of the rows whose delta and
// delta-delta a new row completes.  Delta rows need radius rD of statics, delta-delta rows
// radius rE of deltas (or of statics in the nine-tap form).
struct Geometry {
    int h, dLag, eLag, rD, rE;
    bool hasE;
};

constexpr Geometry kDeltaWin1{2, 1, 0, 1, 0, false};
constexpr Geometry kDeltaWin2{4, 2, 0, 2, 0, false};
constexpr Geometry kDeltaDeltaWin1{3, 2, 1, 1, 1, true};
constexpr Geometry kDeltaDeltaWin2{6, 4, 2, 2, 2, true};
constexpr Geometry kAurora{8, 4, 4, 4, 4, true};

// Rows t-r .. t+r of the matrix, each index limited to lo .. hi (the nearest row of the
// utterance stands for one outside it).
template <class T>
struct Window {
    T* at[9];
    const T* operator[](int k) const { return at[k + 4]; }
};

template <class T>
Window<T> window(T* base, int64_t step, int64_t t, int r, int64_t lo, int64_t hi) {
    Window<T> w{};
    if (t - r >= lo && t + r <= hi) {
        T* p = base + (t - r) * step;
        for (int k = -r; k <= r; ++k, p += step) w.at[k + 4] = p;
        return w;
    }
    for (int k = -r; k <= r; ++k) {
        int64_t i = t + k;
        i = i < lo ? lo : (i > hi ? hi : i);
        w.at[k + 4] = base + i * step;
    }
    return w;
}

// Rows -r .. r around row p, none of them outside the matrix.
template <class T>
[[gnu::always_inline]] inline Window<T> around(T* p, int64_t step, int r) {
    Window<T> w{};
    for (int k = -r; k <= r; ++k) w.at[k + 4] = p + k * step;
    return w;
}

// The three stages over one call.  Family supplies the statics of a frame and the delta
// and delta-delta of a row from its window.
template <class Family>
void stream(const typename Family::Src* src, typename Family::T* dst, int64_t step, int height, int flags,
            const Family& fam) {
    using T = typename Family::T;
    constexpr Geometry g = Family::kGeometry;
    const bool first = (flags & zemDeltaFirstBlock) != 0;
    const int64_t lo = first ? 0 : INT64_MIN / 2;
    const int64_t open = INT64_MAX / 2;
    auto doD = [&](int64_t t, int64_t hi) { fam.delta(dst + t * step, window(dst, step, t, g.rD, lo, hi)); };
    auto doE = [&](int64_t t, int64_t hi) {
        if constexpr (Family::kGeometry.hasE) fam.deltaDelta(dst + t * step, window(dst, step, t, g.rE, lo, hi));
    };
    const int64_t srcWidth = Family::srcWidth(fam);
    int f = 0;
    if (first) {  // the first H frames, then the rows they complete
        for (; f < g.h; ++f) fam.statics(src + f * srcWidth, dst + f * step);
        for (int64_t r = 0; r < g.dLag; ++r) doD(r, open);
        if (g.hasE)
            for (int64_t r = 0; r < g.eLag; ++r) doE(r, open);
    }
    // Each new frame enters row t and completes the delta of row t - H + dLag and the
    // delta-delta of row t - H + eLag; no row of these windows lies outside the matrix.
    for (int64_t t = (first ? 0 : g.h) + f; f < height; ++f, ++t) {
        fam.statics(src + f * srcWidth, dst + t * step);
        T* d = dst + (t - g.h + g.dLag) * step;
        fam.delta(d, around(d, step, g.rD));
        if constexpr (g.hasE) {
            T* e = dst + (t - g.h + g.eLag) * step;
            fam.deltaDelta(e, around(e, step, g.rE));
        }
    }
    if (flags & zemDeltaLastBlock) {
        const int64_t h = first ? height - g.h : height;
        const int64_t hi = h + g.h - 1;
        for (int64_t t = h + g.dLag; t <= hi; ++t) doD(t, hi);
        if (g.hasE)
            for (int64_t t = h + g.eLag; t <= hi; ++t) doE(t, hi);
    }
}

// The checks of the streaming family after its null test, in order: sizes (the nine-tap
// forms pass their fixed width of 13), an empty block that does not end the utterance,
// the stride for the row's two or three parts, and a first block shorter than the
// history depth.
template <class Family>
auto streamShape(int width, int height, int flags, int dstStep) {
    constexpr Geometry g = Family::kGeometry;
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::atLeastOne(width),
                                 zem::ensure(height >= 0, zemStatusBadSize),
                                 zem::ensure(height > 0 || (flags & zemDeltaLastBlock) != 0, zemStatusBadSize),
                                 zem::ensure(dstStep >= int64_t{g.hasE ? 3 : 2} * width, zemStatusBadStride),
                                 zem::ensure(!(flags & zemDeltaFirstBlock) || height >= g.h, zemStatusBadSize));
    });
}

// ---- Float Win families ----------------------------------------------------------------------------

// Columns in runs of 8, then 4, then single ones, the same partition for every row: the
// rows just written are read back at once by the next window, and loads that match the
// stores before them are forwarded from them.
template <class Run8, class Run4, class Run1>
[[gnu::always_inline]] inline void byColumns(int width, Run8 run8, Run4 run4, Run1 run1) {
    int j = 0;
    for (; j + 8 <= width; j += 8) run8(j);
    if (j + 4 <= width) {
        run4(j);
        j += 4;
    }
    for (; j < width; ++j) run1(j);
}

// out[j] = a[j] * (p1[j] - m1[j])  or  a[j] * ((p1[j] - m1[j]) + 2 (p2[j] - m2[j])); a is
// one value or a row of multipliers.
template <bool kWin2, bool kPerColumn>
[[gnu::always_inline]] inline void differenceRow(float* out, const float* m2, const float* m1, const float* p1,
                                                 const float* p2, const float* a, float aConst, int width) {
    using simd::F32x8;
    byColumns(
        width,
        [&](int j) {
            const F32x8 va = kPerColumn ? simd::load(a + j) : simd::splat(aConst);
            F32x8 d = simd::load(p1 + j) - simd::load(m1 + j);
            if constexpr (kWin2) d = d + simd::splat(2.0f) * (simd::load(p2 + j) - simd::load(m2 + j));
            simd::store(out + j, va * d);
        },
        [&](int j) {
            const __m128 va = kPerColumn ? _mm_loadu_ps(a + j) : _mm_set1_ps(aConst);
            __m128 d = _mm_sub_ps(_mm_loadu_ps(p1 + j), _mm_loadu_ps(m1 + j));
            if constexpr (kWin2)
                d = _mm_add_ps(d, _mm_mul_ps(_mm_set1_ps(2.0f), _mm_sub_ps(_mm_loadu_ps(p2 + j), _mm_loadu_ps(m2 + j))));
            _mm_storeu_ps(out + j, _mm_mul_ps(va, d));
        },
        [&](int j) {
            float d = p1[j] - m1[j];
            if constexpr (kWin2) d = d + 2.0f * (p2[j] - m2[j]);
            out[j] = (kPerColumn ? a[j] : aConst) * d;
        });
}

// out[j] = src[j], or src[j] * mul[j].
template <bool kMul>
[[gnu::always_inline]] inline void staticRow(float* out, const float* src, const float* mul, int width) {
    byColumns(
        width,
        [&](int j) {
            const simd::F32x8 v = simd::load(src + j);
            simd::store(out + j, kMul ? v * simd::load(mul + j) : v);
        },
        [&](int j) {
            const __m128 v = _mm_loadu_ps(src + j);
            _mm_storeu_ps(out + j, kMul ? _mm_mul_ps(v, _mm_loadu_ps(mul + j)) : v);
        },
        [&](int j) { out[j] = kMul ? src[j] * mul[j] : src[j]; });
}

template <Geometry G, bool kMul>
struct WinFloat {
    using Src = Zem32f;
    using T = Zem32f;
    static constexpr Geometry kGeometry = G;
    static constexpr bool kWin2 = G.rD == 2;
    int width;
    float a, b;
    const float* mul;  // static, delta and delta-delta rows of width each (Mul forms)

    static int64_t srcWidth(const WinFloat& f) { return f.width; }
    void statics(const float* frame, float* row) const { staticRow<kMul>(row, frame, mul, width); }
    void delta(float* row, const Window<float>& w) const {
        const int o = 0;
        differenceRow<kWin2, kMul>(row + width, kWin2 ? w[-2] + o : nullptr, w[-1] + o, w[1] + o,
                                   kWin2 ? w[2] + o : nullptr, kMul ? mul + width : nullptr, a, width);
    }
    void deltaDelta(float* row, const Window<float>& w) const {
        const int o = width;
        differenceRow<kWin2, kMul>(row + 2 * width, kWin2 ? w[-2] + o : nullptr, w[-1] + o, w[1] + o,
                                   kWin2 ? w[2] + o : nullptr, kMul ? mul + 2 * width : nullptr, b, width);
    }
};

// ---- Integer Win families --------------------------------------------------------------------------

template <Geometry G, bool kMul, bool kWrap>
struct WinInt {
    using Src = Zem16s;
    using T = Zem16s;
    static constexpr Geometry kGeometry = G;
    static constexpr bool kWin2 = G.rD == 2;
    int width;
    int32_t a, b;
    const Zem16s* mul;
    int scaleFactor;

    static int64_t srcWidth(const WinInt& f) { return f.width; }
    void statics(const Zem16s* frame, Zem16s* row) const {
        for (int j = 0; j < width; ++j)
            row[j] = kMul ? zem::saturate16(scaleShift(mul32(frame[j], mul[j]), scaleFactor)) : frame[j];
    }
    // sat(scale(a * diff)), diff = d1 or d1 + 2 d2 of the columns at offset o.
    void differences(Zem16s* out, const Window<Zem16s>& w, int o, int32_t aConst, const Zem16s* aRow) const {
        for (int j = 0; j < width; ++j) {
            int32_t d = diff<kWrap>(w[1][o + j], w[-1][o + j]);
            if constexpr (kWin2) d = d + 2 * diff<kWrap>(w[2][o + j], w[-2][o + j]);
            const int32_t m = kMul ? aRow[j] : aConst;
            out[j] = zem::saturate16(scaleShift(mul32(m, d), scaleFactor));
        }
    }
    void delta(Zem16s* row, const Window<Zem16s>& w) const {
        differences(row + width, w, 0, a, kMul ? mul + width : nullptr);
    }
    void deltaDelta(Zem16s* row, const Window<Zem16s>& w) const {
        differences(row + 2 * width, w, width, b, kMul ? mul + 2 * width : nullptr);
    }
};

// ---- Nine-tap families -----------------------------------------------------------------------------

constexpr float kTapsD[9] = {-1.0f, -0.75f, -0.5f, -0.25f, 0.0f, 0.25f, 0.5f, 0.75f, 1.0f};
constexpr float kTapsE[9] = {1.0f, 0.25f, -0.285714f, -0.607143f, -0.714286f, -0.607143f, -0.285714f, 0.25f, 1.0f};
constexpr int kAuroraSrc = 14, kAuroraWidth = 13;

// 0.6 c0 / 23 + 0.4 logE, in float.
inline float composite(float c0, float logE) { return (0.6f * c0) / 23.0f + 0.4f * logE; }

// sum over k = -4 .. 4 of taps[k] X(t+k)[j], in that order, for the 13 columns.
inline void tapRow(float* out, const Window<float>& w, const float* taps) {
    using simd::F32x8;
    F32x8 lo = simd::splat(taps[0]) * simd::load(w[-4]);
    F32x8 hi = simd::splat(taps[0]) * simd::loadFirst(w[-4] + 8, 5);
    for (int k = -3; k <= 4; ++k) {
        lo = lo + simd::splat(taps[k + 4]) * simd::load(w[k]);
        hi = hi + simd::splat(taps[k + 4]) * simd::loadFirst(w[k] + 8, 5);
    }
    simd::store(out, lo);
    float tail[8];
    simd::store(tail, hi);
    for (int k = 0; k < 5; ++k) out[8 + k] = tail[k];
}

template <bool kMul>
struct AuroraFloat {
    using Src = Zem32f;
    using T = Zem32f;
    static constexpr Geometry kGeometry = kAurora;
    const float* mul;  // 39 entries: statics, deltas, delta-deltas

    static int64_t srcWidth(const AuroraFloat&) { return kAuroraSrc; }
    void statics(const float* frame, float* row) const {
        for (int j = 0; j < 12; ++j) row[j] = kMul ? frame[j] * mul[j] : frame[j];
        const float c = composite(frame[12], frame[13]);
        row[12] = kMul ? c * mul[12] : c;
    }
    void delta(float* row, const Window<float>& w) const {
        tapRow(row + kAuroraWidth, w, kTapsD);
        if constexpr (kMul)
            for (int j = 0; j < kAuroraWidth; ++j) row[kAuroraWidth + j] = mul[13 + j] * row[kAuroraWidth + j];
    }
    void deltaDelta(float* row, const Window<float>& w) const {
        tapRow(row + 2 * kAuroraWidth, w, kTapsE);
        if constexpr (kMul)
            for (int j = 0; j < kAuroraWidth; ++j) row[26 + j] = mul[26 + j] * row[26 + j];
    }
};

// The integer nine-tap forms shift right by the low five bits of the scale factor, also
// when it is negative; the deltas by two more.
template <bool kMul>
struct AuroraInt {
    using Src = Zem16s;
    using T = Zem16s;
    static constexpr Geometry kGeometry = kAurora;
    const Zem16s* mul;
    int shift;  // scaleFactor & 31

    static int64_t srcWidth(const AuroraInt&) { return kAuroraSrc; }
    void statics(const Zem16s* frame, Zem16s* row) const {
        for (int j = 0; j < 12; ++j)
            row[j] = kMul ? zem::saturate16(mul32(mul[j], frame[j]) >> shift) : static_cast<Zem16s>(frame[j] >> shift);
        float c = composite(static_cast<float>(frame[12]), static_cast<float>(frame[13]));
        if constexpr (kMul) c = c * static_cast<float>(mul[12]);
        row[12] = zem::saturate16(truncate32(c) >> shift);
    }
    void delta(Zem16s* row, const Window<Zem16s>& w) const {
        const int s = (shift + 2) & 31;
        for (int j = 0; j < kAuroraWidth; ++j) {
            int32_t sum = 0;
            for (int k = 1; k <= 4; ++k) sum += k * (int32_t{w[k][j]} - w[-k][j]);
            if constexpr (kMul) sum = mul32(mul[13 + j], sum);
            row[kAuroraWidth + j] = zem::saturate16(sum >> s);
        }
    }
    void deltaDelta(Zem16s* row, const Window<Zem16s>& w) const {
        for (int j = 0; j < kAuroraWidth; ++j) {
            float sum = kTapsE[0] * static_cast<float>(w[-4][j]);
            for (int k = -3; k <= 4; ++k) sum = sum + kTapsE[k + 4] * static_cast<float>(w[k][j]);
            if constexpr (kMul) sum = static_cast<float>(mul[26 + j]) * sum;
            row[26 + j] = zem::saturate16(truncate32(sum) >> shift);
        }
    }
};

// ---- Batch ----------------------------------------------------------------------------------------

// The rows a delta of row t reads for lag k: row 0 for every past term in the first W rows,
// the last row for every future term in the last W rows.
struct BatchRows {
    int64_t plus, minus;
};

inline BatchRows batchRows(int64_t t, int k, int64_t height, int win) {
    if (t < win) return {t + k, 0};
    if (t >= height - win) return {height - 1, t - k};
    return {t + k, t - k};
}

// The checks of the batch family after its null test, in order.
inline auto batchShape(int height, int step, int width, int offset, int winSize) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::atLeastOne(height, width, winSize),
                                 zem::ensure(offset >= 0 && height >= 2 * int64_t{winSize}, zemStatusBadSize),
                                 zem::ensure(step >= int64_t{offset} + 2 * int64_t{width}, zemStatusBadStride));
    });
}

// sum over k = 1 .. W of k (X+ - X-), in that order, times val or mul[j]; eight columns a step.
template <bool kPerColumn>
void batchFloat(float* srcDst, int height, int step, const float* mul, float val, int width, int offset, int win) {
    using simd::F32x8;
    for (int64_t t = 0; t < height; ++t) {
        float* out = srcDst + t * step + offset + width;
        for (int j = 0; j < width; j += 8) {
            const int n = width - j < 8 ? width - j : 8;
            auto get = [&](const float* p) { return n == 8 ? simd::load(p) : simd::loadFirst(p, n); };
            F32x8 sum = simd::splat(0.0f);
            for (int k = 1; k <= win; ++k) {
                const BatchRows r = batchRows(t, k, height, win);
                const F32x8 d = get(srcDst + r.plus * step + offset + j) - get(srcDst + r.minus * step + offset + j);
                sum = sum + simd::splat(static_cast<float>(k)) * d;
            }
            const F32x8 v = (kPerColumn ? get(mul + width + j) : simd::splat(val)) * sum;
            float lanes[8];
            simd::store(lanes, v);
            for (int q = 0; q < n; ++q) out[j + q] = lanes[q];
        }
    }
}

template <bool kPerColumn>
void batchInt(Zem16s* srcDst, int height, int step, const Zem16s* mul, int32_t val, int width, int offset, int win,
              int scaleFactor) {
    for (int64_t t = 0; t < height; ++t) {
        Zem16s* out = srcDst + t * step + offset + width;
        for (int j = 0; j < width; ++j) {
            int32_t sum = 0;
            for (int k = 1; k <= win; ++k) {
                const BatchRows r = batchRows(t, k, height, win);
                sum = static_cast<int32_t>(static_cast<uint32_t>(sum) +
                                           static_cast<uint32_t>(mul32(k, diff<true>(srcDst[r.plus * step + offset + j],
                                                                                    srcDst[r.minus * step + offset + j]))));
            }
            out[j] = zem::saturate16(scaleShift(mul32(kPerColumn ? mul[width + j] : val, sum), scaleFactor));
        }
    }
}

}  // namespace

extern "C" {

// ---- Win exports ---------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsDelta_Win1_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height, Zem32f val,
                                              int flags) {
    using Family = WinFloat<kDeltaWin1, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, val, 0.0f, nullptr});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDelta_Win2_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height, Zem32f val,
                                              int flags) {
    using Family = WinFloat<kDeltaWin2, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, val, 0.0f, nullptr});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDelta_Win1_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height, Zem32f valD, Zem32f valDD,
                                                   int flags) {
    using Family = WinFloat<kDeltaDeltaWin1, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, valD, valDD, nullptr});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDelta_Win2_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height, Zem32f valD, Zem32f valDD,
                                                   int flags) {
    using Family = WinFloat<kDeltaDeltaWin2, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, valD, valDD, nullptr});
    return zemStatusOk;
}

// Differences in 32 bits here.
ZEMSR_API ZemStatus zemsDelta_Win1_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height, Zem16s val,
                                                 int flags, int scaleFactor) {
    using Family = WinInt<kDeltaWin1, false, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, val, 0, nullptr, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDelta_Win2_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height, Zem16s val,
                                                 int flags, int scaleFactor) {
    using Family = WinInt<kDeltaWin2, false, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, val, 0, nullptr, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDelta_Win1_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height, Zem16s valD, Zem16s valDD,
                                                      int flags, int scaleFactor) {
    using Family = WinInt<kDeltaDeltaWin1, false, false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, valD, valDD, nullptr, scaleFactor});
    return zemStatusOk;
}

// Differences wrapped to 16 bits here, as in all the integer Mul forms.
ZEMSR_API ZemStatus zemsDeltaDelta_Win2_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height, Zem16s valD, Zem16s valDD,
                                                      int flags, int scaleFactor) {
    using Family = WinInt<kDeltaDeltaWin2, false, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, valD, valDD, nullptr, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaMul_Win1_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst, int dstStep,
                                                 int height, int flags) {
    using Family = WinFloat<kDeltaWin1, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0.0f, 0.0f, mulTable});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaMul_Win1_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst, int dstStep,
                                                    int height, int flags, int scaleFactor) {
    using Family = WinInt<kDeltaWin1, true, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0, 0, mulTable, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaMul_Win2_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst, int dstStep,
                                                 int height, int flags) {
    using Family = WinFloat<kDeltaWin2, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0.0f, 0.0f, mulTable});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaMul_Win2_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst, int dstStep,
                                                    int height, int flags, int scaleFactor) {
    using Family = WinInt<kDeltaWin2, true, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0, 0, mulTable, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win1_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst, int dstStep,
                                                      int height, int flags) {
    using Family = WinFloat<kDeltaDeltaWin1, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0.0f, 0.0f, mulTable});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win1_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst, int dstStep,
                                                         int height, int flags, int scaleFactor) {
    using Family = WinInt<kDeltaDeltaWin1, true, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0, 0, mulTable, scaleFactor});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win2_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst, int dstStep,
                                                      int height, int flags) {
    using Family = WinFloat<kDeltaDeltaWin2, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0.0f, 0.0f, mulTable});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win2_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst, int dstStep,
                                                         int height, int flags, int scaleFactor) {
    using Family = WinInt<kDeltaDeltaWin2, true, true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(width, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{width, 0, 0, mulTable, scaleFactor});
    return zemStatusOk;
}

// ---- Nine-tap exports: a fixed width of 13 ----------------------------------------------------------

ZEMSR_API ZemStatus zemsDeltaDelta_Aurora_32f_D2(const Zem32f* src, Zem32f* dst, int dstStep, int height, int flags) {
    using Family = AuroraFloat<false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(13, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{nullptr});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Aurora_32f_D2(const Zem32f* src, const Zem32f* mulTable, Zem32f* dst,
                                                    int dstStep, int height, int flags) {
    using Family = AuroraFloat<true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(13, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{mulTable});
    return zemStatusOk;
}

// The shift count of the nine-tap integer forms is the low five bits of scaleFactor.
ZEMSR_API ZemStatus zemsDeltaDelta_Aurora_16s_D2Sfs(const Zem16s* src, Zem16s* dst, int dstStep, int height, int flags,
                                                    int scaleFactor) {
    using Family = AuroraInt<false>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), streamShape<Family>(13, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{nullptr, scaleFactor & 31});
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDeltaDeltaMul_Aurora_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, Zem16s* dst,
                                                       int dstStep, int height, int flags, int scaleFactor) {
    using Family = AuroraInt<true>;
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, mulTable), streamShape<Family>(13, height, flags, dstStep)))
        return s;
    stream(src, dst, dstStep, height, flags, Family{mulTable, scaleFactor & 31});
    return zemStatusOk;
}

// ---- Batch exports --------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsEvalDelta_32f_D2(Zem32f* srcDst, int height, int step, int width, int offset, int winSize,
                                         Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), batchShape(height, step, width, offset, winSize)))
        return s;
    batchFloat<false>(srcDst, height, step, nullptr, val, width, offset, winSize);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalDeltaMul_32f_D2(Zem32f* srcDst, int height, int step, const Zem32f* mulTable, int width,
                                            int offset, int winSize) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, mulTable), batchShape(height, step, width, offset, winSize)))
        return s;
    batchFloat<true>(srcDst, height, step, mulTable, 0.0f, width, offset, winSize);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalDelta_16s_D2Sfs(Zem16s* srcDst, int height, int step, int width, int offset, int winSize,
                                            Zem16s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst), batchShape(height, step, width, offset, winSize)))
        return s;
    batchInt<false>(srcDst, height, step, nullptr, val, width, offset, winSize, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalDeltaMul_16s_D2Sfs(Zem16s* srcDst, int height, int step, const Zem16s* mulTable, int width,
                                               int offset, int winSize, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, mulTable), batchShape(height, step, width, offset, winSize)))
        return s;
    batchInt<true>(srcDst, height, step, mulTable, 0, width, offset, winSize, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
