// Filter bank evaluation: one routine for every bank, on a spectrum or (mode bit 4) on a
// time frame through the transform and its magnitudes.
#include <cstdint>
#include <cstring>
#include <limits>

#include "fbank.h"
#include "frame/check.h"
#include "frame/record.h"
#include "own.h"
#include "primitives/simd.h"

namespace simd = zem::simd;

// ---- Evaluation ----------------------------------------------------------------------------------

namespace {

// A float bank, span by span.  Span j holds the bins c[j] .. c[j+1]: all of them belong to
// the rising slope of filter j, and all but the first also to the falling slope of filter
// j-1, so each group of eight bins is loaded once for both.  Each filter's sum is kept as
// eight lane sums until four filters are reduced together.
struct Span {
    const float* x;     // the spectrum
    int64_t c0, c1;     // first and last bin
};

// Span j with both slopes: returns filter j-1, finished, and leaves filter j's rising sum
// in open.  Lane k of a group holds bin c0+k, rise[k] and fall[k-1].
inline simd::F32x8 sharedSpan(const Span& s, const float* rise, const float* fall, simd::F32x8& open) {
    using namespace simd;
    const int64_t n = s.c1 - s.c0 + 1;
    const float* x = s.x + s.c0;
    --fall;
    const FirstLanes m0 = firstLanes(static_cast<int>(n));
    const F32x8 x0 = load(x, m0);
    F32x8 up = load(rise, m0) * x0;
    F32x8 down = load(fall, butLane0(m0)) * x0;
    for (int64_t k = 8; k < n; k += 8) {
        const FirstLanes m = firstLanes(static_cast<int>(n - k));
        const F32x8 xv = load(x + k, m);
        up = up + load(rise + k, m) * xv;
        down = down + load(fall + k, m) * xv;
    }
    // An empty falling span still reads its one bin, against a zero weight of the row.
    if (n == 1) down = inLane0(fall[1] * x[1]);
    const F32x8 done = open + down;
    open = up;
    return done;
}

// w[0 .. n-1] times x[0 .. n-1] in eight lane sums, the last group zero-padded.
inline simd::F32x8 slope(const float* w, const float* x, int64_t n) {
    using namespace simd;
    F32x8 sum = splat(0.0f);
    int64_t k = 0;
    for (; k + 8 <= n; k += 8) sum = sum + load(w + k) * load(x + k);
    if (k < n) {
        const FirstLanes m = firstLanes(static_cast<int>(n - k));
        sum = sum + load(w + k, m) * load(x + k, m);
    }
    return sum;
}

// The last span: the falling slope of the last filter only, over bins c0+1 .. c1 (an
// empty one still reads its one bin, against a zero weight of the row).
inline simd::F32x8 lastSpan(const Span& s, const float* fall, simd::F32x8 open) {
    const int64_t n = s.c1 - s.c0;
    const float* x = s.x + s.c0 + 1;
    return open + (n == 0 ? simd::inLane0(fall[0] * x[0]) : slope(fall, x, n));
}

// The first span: the rising slope of filter 0 only.
inline simd::F32x8 firstSpan(const Span& s, const float* rise) { return slope(rise, s.x + s.c0, s.c1 - s.c0 + 1); }

void evalFloat(const float* x, float* dst, const ZemsFBankState_32f* st) {
    using simd::F32x8;
    const Zem32s* c = st->centers;
    const int nf = st->nFilter;
    float* const* low = st->lowCoeffs;
    float* const* high = st->highCoeffs;
    auto span = [&](int j) { return Span{x, c[j], c[j + 1]}; };
    F32x8 open = firstSpan(span(0), low[0]);
    // Spans 1 .. nf-1 finish filters 0 .. nf-2, four at a time; span nf finishes the last.
    int j = 1;
    for (; j + 4 <= nf; j += 4) {
        const F32x8 d0 = sharedSpan(span(j), low[j], high[j - 1], open);
        const F32x8 d1 = sharedSpan(span(j + 1), low[j + 1], high[j], open);
        const F32x8 d2 = sharedSpan(span(j + 2), low[j + 2], high[j + 1], open);
        const F32x8 d3 = sharedSpan(span(j + 3), low[j + 3], high[j + 2], open);
        simd::sumTree4(d0, d1, d2, d3, dst + j - 1);
    }
    // One to four filters left: spans j .. nf-1 and the last span, kept in registers.
    const F32x8 zero = simd::splat(0.0f);
    float sums[4];
    auto last = [&] { return lastSpan(span(nf), high[nf - 1], open); };
    auto shared = [&](int k) { return sharedSpan(span(k), low[k], high[k - 1], open); };
    const int r = nf - j + 1;
    if (r == 1) {
        simd::sumTree4(last(), zero, zero, zero, sums);
    } else if (r == 2) {
        const F32x8 d0 = shared(j);
        simd::sumTree4(d0, last(), zero, zero, sums);
    } else if (r == 3) {
        const F32x8 d0 = shared(j), d1 = shared(j + 1);
        simd::sumTree4(d0, d1, last(), zero, sums);
    } else {
        const F32x8 d0 = shared(j), d1 = shared(j + 1), d2 = shared(j + 2);
        simd::sumTree4(d0, d1, d2, last(), sums);
    }
    for (int k = 0; k < r; ++k) dst[j - 1 + k] = sums[k];
}

// Integer banks: each product in 64 bits (wrapped to 32 bits first when asked), summed in
// 64 bits, shifted by s without a rounding term.
template <class X, bool kWrapProducts>
int64_t filterSum64(const X* x, const Zem32s* c, int i, const Zem32s* low, const Zem32s* high) {
    int64_t sum = 0;
    auto term = [](int64_t w, int64_t v) {
        const int64_t p = w * v;
        return kWrapProducts ? static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(p))) : p;
    };
    for (int64_t k = c[i]; k <= c[i + 1]; ++k) sum += term(low[k - c[i]], x[k]);
    for (int64_t k = int64_t{c[i + 1]} + 1; k <= c[i + 2]; ++k) sum += term(high[k - c[i + 1] - 1], x[k]);
    return sum;
}

// Shift by s without a rounding term: right when positive, left when negative, the
// count held to 63.  s is formed in 64 bits, so every scale factor is defined.
inline int64_t shiftBy(int64_t v, int64_t s) {
    if (s > 0) return v >> (s > 63 ? 63 : s);
    if (s < 0) return static_cast<int64_t>(static_cast<uint64_t>(v) << (-s > 63 ? 63 : -s));
    return v;
}

// The transform path of a float bank: the CCS spectrum, then its magnitudes from N floats
// plus 8 bytes on, at a 16-byte boundary.
const float* magnitudes32f(const Zem32f* src, const ZemsFBankState_32f* st) {
    const int n = st->fftLength;
    float* work = st->work;
    std::memset(work, 0, sizeof(float) * static_cast<size_t>(2 * n + 20));
    ownFFTFwd_RToCCS_32f(src, work, st->fftState, st->fftBuffer);
    float* x = zem::alignUp<float>(work + n + 2, 16);
    ownMagnitude_32fc(work, x, n / 2 + 1);
    return x;
}

// The transform path of a 16-bit bank: the CCS spectrum in Zem32s times 8, then
// magnitudes times 8.  A failed temporary is not reported: the work area stands as it is.
const Zem32s* magnitudes16(const Zem16s* src, const ZemsFBankState_16s* st) {
    const int n = st->fftLength;
    Zem32s* work = st->work;
    std::memset(work, 0, sizeof(Zem32s) * static_cast<size_t>(2 * n + 20));
    ownFFTFwd_RToCCS_16s_Sfs(src, work, st->fftState, -3, nullptr);
    Zem32s* x = zem::alignUp<Zem32s>(work + n + 2, 16);
    ownMagnitude_32sc_Sfs(work, x, n / 2 + 1, -3);
    return x;
}

// Q14 banks: s = scaleFactor + 14, and 6 more on the transform path; saturated to D.
template <class D, bool kWrapOnTransform>
void eval16(const Zem16s* src, D* dst, const ZemsFBankState_16s* st, int scaleFactor) {
    constexpr int64_t lo = std::numeric_limits<D>::min(), hi = std::numeric_limits<D>::max();
    const bool transform = (st->mode & 4) != 0;
    const int64_t s = int64_t{scaleFactor} + st->weightScale + (transform ? 6 : 0);
    auto put = [&](int i, int64_t sum) {
        const int64_t v = shiftBy(sum, s);
        dst[i] = static_cast<D>(v < lo ? lo : (v > hi ? hi : v));
    };
    if (transform) {
        const Zem32s* x = magnitudes16(src, st);
        for (int i = 0; i < st->nFilter; ++i)
            put(i, filterSum64<Zem32s, kWrapOnTransform>(x, st->centers, i, st->lowCoeffs[i], st->highCoeffs[i]));
        return;
    }
    for (int i = 0; i < st->nFilter; ++i)
        put(i, filterSum64<Zem16s, false>(src, st->centers, i, st->lowCoeffs[i], st->highCoeffs[i]));
}

// Q30 weights: each product shifted right by 8 (sums in Q22), the two slopes summed apart
// and added, scaled, then rounded with bit 21 and held below 2^31 (no lower limit).
void eval32s(const Zem32s* src, Zem32s* dst, const ZemsFBankState_32s* st, int scaleFactor) {
    const Zem32s* c = st->centers;
    for (int i = 0; i < st->nFilter; ++i) {
        int64_t rising = 0, falling = 0;
        for (int64_t k = c[i]; k <= c[i + 1]; ++k) rising += (int64_t{st->lowCoeffs[i][k - c[i]]} * src[k]) >> 8;
        for (int64_t k = int64_t{c[i + 1]} + 1; k <= c[i + 2]; ++k)
            falling += (int64_t{st->highCoeffs[i][k - c[i + 1] - 1]} * src[k]) >> 8;
        int64_t v = rising + falling;
        if (scaleFactor >= 0) {
            v >>= scaleFactor;
        } else {
            const int sh = -scaleFactor;
            v = (v > (INT64_MAX >> sh) || v < (INT64_MIN >> sh)) ? INT64_MAX : static_cast<int64_t>(static_cast<uint64_t>(v) << sh);
        }
        int64_t r = (v >> 22) + ((v >> 21) & 1);
        if (r > INT32_MAX) r = INT32_MAX;
        dst[i] = static_cast<Zem32s>(static_cast<uint32_t>(r));
    }
}

}  // namespace

extern "C" {

// ---- Evaluation -----------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsEvalFBank_32f(const Zem32f* src, Zem32f* dst, const ZemsFBankState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, state),
                                              zem::ensure([&] { return state->centers != nullptr; }, zemStatusNullPointer),
                                              zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank)))
        return s;
    evalFloat(state->mode & 4 ? magnitudes32f(src, state) : src, dst, state);
    return zemStatusOk;
}

// On the transform path each product is wrapped to 32 bits before the sum.
ZEMSR_API ZemStatus zemsEvalFBank_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsFBankState_16s* state,
                                          int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, state),
                                              zem::ensure([&] { return state->centers != nullptr; }, zemStatusNullPointer),
                                              zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank)))
        return s;
    eval16<Zem16s, true>(src, dst, state, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalFBank_16s32s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFBankState_16s* state,
                                             int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, state),
                                              zem::ensure([&] { return state->centers != nullptr; }, zemStatusNullPointer),
                                              zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank)))
        return s;
    eval16<Zem32s, false>(src, dst, state, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalFBank_32s_Sfs(const Zem32s* src, Zem32s* dst, const ZemsFBankState_32s* state,
                                          int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst, state),
                                              zem::within(scaleFactor, -31, 31, zemStatusBadArg)))
        return s;
    eval32s(src, dst, state, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
