// Waveform processing (raise the samples around the pitch pulses of a 200-sample frame,
// lower those between), the split of a signal into two half-rate bands, and the three
// logarithmic values of the upper band.  All stateless; the waveform step works wholly in
// its stack frame.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "own.h"

namespace {

using zem::atLeastOne;
using zem::firstFailure;
using zem::nonNull;

constexpr int kFrame = 200;

// ---- Waveform processing -------------------------------------------------------------------

// Float: energies and sums in float, weights 0.8 / 1.2 / 1.0, runs of 0.8 of a period.
struct FloatWave {
    using S = float;
    using W = float;
    static constexpr W kBase = 0.8f, kRaised = 1.2f, kMark = 1.0f;
    static S teager(float a, float b, float c) { return std::fabs(b * b - a * c); }
    static S edge(float x, float nb) { return std::fabs((x - nb) * x); }
    static S add(S a, S b) { return a + b; }
    static S sub(S a, S b) { return a - b; }
    static int run(int d) { return static_cast<int>(0.8f * static_cast<float>(d)); }
    static float out(W w, float x) { return w * x; }
};

// 16 bits: 32-bit wrapping energies and sums, Q5 weights 27 / 38 / 32, runs of 27/32 of a
// period, output rounded to nearest (ties to even) and saturated.
struct IntWave {
    using S = int32_t;
    using W = int32_t;
    static constexpr W kBase = 27, kRaised = 38, kMark = 32;
    static S wrap(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
    static S absWrap(S v) { return v < 0 ? wrap(-int64_t{v}) : v; }
    static S teager(Zem16s a, Zem16s b, Zem16s c) { return absWrap(wrap(int64_t{b} * b - int64_t{a} * c)); }
    static S edge(Zem16s x, Zem16s nb) { return absWrap(wrap((int64_t{x} - nb) * x)); }
    static S add(S a, S b) { return wrap(int64_t{a} + b); }
    static S sub(S a, S b) { return wrap(int64_t{a} - b); }
    static int run(int d) { return (d * 27) >> 5; }
    static Zem16s out(W w, Zem16s x) { return zem::saturate16(zem::roundShiftRightEven(int64_t{w} * x, 5)); }
};

// Index of the first maximum of S[from .. from + n - 1].
template <class S>
int firstMax(const S* s, int from, int n) {
    int best = from;
    for (int k = from + 1; k < from + n; ++k)
        if (s[k] > s[best]) best = k;
    return best;
}

template <class P, class X>
void waveProcessing(const X* x, X* dst) {
    using S = typename P::S;
    using W = typename P::W;
    // T, then the weights W in the same storage once T is spent.
    union {
        S t[kFrame];
        W w[kFrame];
    } tw;
    S s[kFrame];
    S* t = tw.t;
    t[0] = P::edge(x[0], x[1]);
    for (int n = 1; n < kFrame - 1; ++n) t[n] = P::teager(x[n - 1], x[n], x[n + 1]);
    t[kFrame - 1] = P::edge(x[kFrame - 1], x[kFrame - 2]);

    // The centred moving sum of 9, ends repeated, in running form.
    S acc = P::add(P::add(P::add(t[1], t[2]), t[3]), t[4]);
    for (int k = 0; k < 5; ++k) acc = P::add(acc, t[0]);
    s[0] = acc;
    for (int n = 1; n <= 4; ++n) s[n] = P::sub(P::add(s[n - 1], t[n + 4]), t[0]);
    for (int n = 5; n <= 195; ++n) s[n] = P::add(P::sub(s[n - 1], t[n - 5]), t[n + 4]);
    for (int n = 196; n < kFrame; ++n) s[n] = P::add(P::sub(s[n - 1], t[n - 5]), t[kFrame - 1]);

    // Peaks: the global maximum, then searches forward and backward at least 25 apart.
    const int pos = firstMax(s, 0, kFrame);
    int F[20], B[20], M[40];
    int f = 0, b = 0;
    F[0] = B[0] = pos;
    if (pos < 175) do {
            const int a = F[f];
            const int L = a < 121 ? 55 : 175 - a;
            F[f + 1] = firstMax(s, a + 25, L);
            ++f;
        } while (F[f] < 175);
    if (pos > 25) do {
            const int a = B[b];
            const int L = (a < 79 ? a : 79) - 24;
            B[b + 1] = firstMax(s, a - L - 24, L);
            ++b;
        } while (B[b] > 25);
    int count = 0;
    for (int i = b; i >= 1; --i) M[count++] = B[i];
    for (int i = 0; i <= f; ++i) M[count++] = F[i];

    // Weights: raised runs from 4 before each peak over 0.8 of the period, marks at their
    // edges; later stores overwrite earlier ones.  Positions outside the frame are dropped.
    W* w = tw.w;
    for (int k = 0; k < kFrame; ++k) w[k] = P::kBase;
    auto set = [&](int k, W v) {
        if (k >= 0 && k < kFrame) w[k] = v;
    };
    for (int i = 0; i + 1 < count; ++i) {
        const int s0 = M[i] < 4 ? 0 : M[i] - 4;
        const int e = M[i] + P::run(M[i + 1] - M[i]) - 4;
        for (int k = s0; k < e; ++k) set(k, P::kRaised);
        const int p = s0 < e ? e : s0;
        if (s0 > 0) set(s0 - 1, P::kMark), set(s0, P::kMark);
        set(p - 1, P::kMark), set(p, P::kMark);
    }
    const int m = M[count - 1], d = m - M[count - 2];
    const int s0 = m - 4;
    int e = m + P::run(d) - 4;
    e = e < kFrame ? e : kFrame;
    int end = s0;
    if (s0 < e) {
        for (int k = s0; k < e; ++k) set(k, P::kRaised);
        end = e;
    }
    if (s0 < 198) set(s0 - 1, P::kMark), set(s0, P::kMark);
    if (end < kFrame) set(end - 1, P::kMark), set(end, P::kMark);
    for (int n = 0; n < kFrame; ++n) dst[n] = P::out(w[n], x[n]);
}

// ---- Band split ------------------------------------------------------------------------------

// low[n] = sum taps[k] src[2n + k]; high[n] = (-1)^(n+1) sum (-1)^k taps[k] src[2n + k].
template <class X, class A, class Store>
void lowHigh(const X* src, X* low, X* high, int len, const X* taps, int tapsLen, Store store) {
    const int outputs = (len & ~1) / 2;
    for (int n = 0; n < outputs; ++n) {
        const X* x = src + 2 * static_cast<int64_t>(n);
        A lo = A(0), hi = A(0);
        for (int k = 0; k < tapsLen; ++k) {
            const A p = static_cast<A>(taps[k]) * static_cast<A>(x[k]);
            lo += p;
            hi += (k & 1) ? -p : p;
        }
        low[n] = store(lo);
        high[n] = store((n & 1) ? hi : -hi);
    }
}

// ---- High band coding ------------------------------------------------------------------------

double logFloor(double v) { return v > std::exp(-10.0) ? std::log(v) : -10.0; }

void highBand32f(const float* bands, const float* lowBins, const float* highBins, float* dst) {
    auto lowSum = [&](int from, int to) {
        float a = 0.0f;
        for (int k = from; k <= to; ++k) a += lowBins[k];
        return logFloor(a);
    };
    auto highSum = [&](int from, int to) {
        Zem32f a = 0.0f;
        ownSum_32f(highBins + from, to - from + 1, &a, zemAlgHintAccurate);
        return logFloor(static_cast<double>(a * 0.5f));
    };
    const double l[3] = {lowSum(33, 38), lowSum(39, 48), lowSum(49, 64)};
    const double h[3] = {highSum(66, 76), highSum(78, 96), highSum(98, 128)};
    for (int j = 0; j < 3; ++j) {
        const double bj = logFloor(bands[j]);
        dst[j] = static_cast<float>(0.1 * (h[0] - (l[0] - bj)) + 0.2 * (h[1] - (l[1] - bj)) + 0.7 * (h[2] - (l[2] - bj)));
    }
}

// Logs in Q7 through the private integer log; -1280 for values that are not positive.
int32_t logQ7(int32_t v) {
    if (v <= 0) return -1280;
    Zem32s r = 0;
    ownLn_32s_Sfs(&v, &r, 1, -7);
    return r;
}

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }

void highBand32s(const Zem32s* bands, const Zem32s* lowBins, const Zem32s* highBins, Zem32s* dst, int scaleFactor) {
    auto sum = [](const Zem32s* p, int from, int to, int sf) {
        Zem32s a = 0;
        ownSum_32s_Sfs(p + from, to - from + 1, &a, sf);
        return a;
    };
    const int32_t l[3] = {logQ7(sum(lowBins, 33, 38, 0)), logQ7(sum(lowBins, 39, 48, 0)), logQ7(sum(lowBins, 49, 64, 0))};
    int32_t h[3];
    const int ranges[3][2] = {{66, 76}, {78, 96}, {98, 128}};
    for (int i = 0; i < 3; ++i) {
        const Zem32s a = sum(highBins, ranges[i][0], ranges[i][1], 3);
        h[i] = a > 0 ? wrap32(int64_t{logQ7(a)} + 177) : -1280;
    }
    constexpr int32_t kWeights[3] = {102, 205, 717};
    const int64_t t = int64_t{scaleFactor} + 7;
    for (int j = 0; j < 3; ++j) {
        const int32_t bj = logQ7(bands[j]);
        int32_t c = 0;
        for (int i = 0; i < 3; ++i) {
            const int32_t diff = wrap32(int64_t{h[i]} - wrap32(int64_t{l[i]} - bj));
            c = wrap32(int64_t{c} + (wrap32(int64_t{diff} * kWeights[i]) >> 10));
        }
        // Right by t from scale factor -7 up (31 at most: the sign), otherwise left by t
        // modulo 32, so that -8 shifts by 31.
        if (t >= 0) dst[j] = c >> (t < 31 ? t : 31);
        else dst[j] = static_cast<int32_t>(static_cast<uint32_t>(c) << (((t % 32) + 32) % 32));
    }
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsWaveProcessing_Aurora_32f(const Zem32f* src, Zem32f* dst) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst))) return s;
    waveProcessing<FloatWave>(src, dst);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsWaveProcessing_Aurora_16s(const Zem16s* src, Zem16s* dst) {
    if (const ZemStatus s = firstFailure(nonNull(src, dst))) return s;
    waveProcessing<IntWave>(src, dst);
    return zemStatusOk;
}

// The family's own order: source and taps, the tap count, the outputs, the length.
ZEMSR_API ZemStatus zemsLowHighFilter_Aurora_32f(const Zem32f* src, Zem32f* dstLow, Zem32f* dstHigh, Zem32s len,
                                                 const Zem32f* taps, Zem32s tapsLen) {
    if (const ZemStatus s = firstFailure(nonNull(src, taps), atLeastOne(tapsLen), nonNull(dstLow, dstHigh),
                                         atLeastOne(len)))
        return s;
    lowHigh<Zem32f, float>(src, dstLow, dstHigh, len, taps, tapsLen, [](float v) { return v; });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLowHighFilter_Aurora_16s_Sfs(const Zem16s* src, Zem16s* dstLow, Zem16s* dstHigh, Zem32s len,
                                                     const Zem16s* taps, Zem32s tapsLen, Zem32s scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(src, taps), atLeastOne(tapsLen), nonNull(dstLow, dstHigh),
                                         atLeastOne(len)))
        return s;
    const double scale = zem::pow2Neg64f(scaleFactor);
    lowHigh<Zem16s, double>(src, dstLow, dstHigh, len, taps, tapsLen, [scale](double v) {
        v *= scale;
        v = v > 32767.0 ? 32767.0 : (v < -32768.0 ? -32768.0 : v);
        return v == v ? static_cast<Zem16s>(zem::roundHalfEven(v)) : Zem16s{0};
    });
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsHighBandCoding_Aurora_32f(const Zem32f* srcBands, const Zem32f* srcLow, const Zem32f* srcHigh,
                                                  Zem32f* dst) {
    if (const ZemStatus s = firstFailure(nonNull(srcBands, srcLow, srcHigh, dst))) return s;
    highBand32f(srcBands, srcLow, srcHigh, dst);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsHighBandCoding_Aurora_32s_Sfs(const Zem32s* srcBands, const Zem32s* srcLow,
                                                      const Zem32s* srcHigh, Zem32s* dst, Zem32s scaleFactor) {
    if (const ZemStatus s = firstFailure(nonNull(srcBands, srcLow, srcHigh, dst))) return s;
    highBand32s(srcBands, srcLow, srcHigh, dst, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
