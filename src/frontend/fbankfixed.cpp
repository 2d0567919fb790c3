// Filter banks with fixed parameters (the Aurora low and high banks) and the mel bank in
// fixed point (Q30 weights, centres from integer logarithms and exponentials).
#include <cmath>
#include <cstdint>
#include <cstring>

#include "fbank.h"
#include "frame/check.h"
#include "frame/record.h"

namespace {

// ---- Aurora banks ----------------------------------------------------------------------------------

constexpr int kAuroraN = 128;

// Centres b = min(N/2, (N/8000) 700 (exp(m/2595) - 1)) for m = mLo + k (mHi - mLo) step,
// rounded to nearest with ties to even.
void auroraCentres(Zem32s* c, int count, double firstRatio, double stepDivisor) {
    const double mLo = 2595.0 * std::log(firstRatio), mHi = 2595.0 * std::log(6.714285850524902);
    for (int k = 0; k < count; ++k) {
        const double m = mLo + k * (mHi - mLo) / stepDivisor;
        double b = (kAuroraN / 8000.0) * 700.0 * (std::exp(m / 2595.0) - 1.0);
        b = b < kAuroraN * 0.5 ? b : kAuroraN * 0.5;
        c[k] = static_cast<Zem32s>(std::nearbyint(b));
    }
}

// Triangle slopes of filter rows: rising (k - c0)/(c1 - c0) for k = c0+1 .. c1, falling
// 1 - (k - c1)/(c2 - c1) for k = c1+1 .. c2-1; Q14 by integer division in the 16s form.
template <class W>
void triangle(W* low, W* high, int c0, int c1, int c2) {
    for (int k = c0 + 1; k <= c1; ++k) {
        if constexpr (std::is_integral_v<W>) low[k - c0] = ((k - c0) * 16384) / (c1 - c0);
        else low[k - c0] = static_cast<float>(k - c0) / static_cast<float>(c1 - c0);
    }
    for (int k = c1 + 1; k <= c2 - 1; ++k) {
        if constexpr (std::is_integral_v<W>) high[k - c1 - 1] = 16384 - ((k - c1) * 16384) / (c2 - c1);
        else high[k - c1 - 1] = 1.0f - static_cast<float>(k - c1) / static_cast<float>(c2 - c1);
    }
}

// Divides the entries of a row pair by their sum S (integer: (w * 16384) / S truncated);
// an empty pair stays zero.
template <class W>
void normalise(W* low, int lowCount, W* high, int highCount) {
    using Sum = std::conditional_t<std::is_integral_v<W>, int64_t, float>;
    Sum s = 0;
    for (int j = 0; j < lowCount; ++j) s += low[j];
    for (int j = 0; j < highCount; ++j) s += high[j];
    if (s == 0) return;
    auto scaled = [s](W w) -> W {
        if constexpr (std::is_integral_v<W>) return static_cast<W>((int64_t{w} * 16384) / s);
        else return w / s;
    };
    for (int j = 0; j < lowCount; ++j) low[j] = scaled(low[j]);
    for (int j = 0; j < highCount; ++j) high[j] = scaled(high[j]);
}

// The record, its centres and its two row blocks; null while measuring.
template <class State>
State* layAurora(zem::Arena& arena, int nFilter, int centreCount) {
    using W = zem::fbank::WeightOf<State>;
    State* st = arena.record<State>();
    Zem32s* centers = arena.take<Zem32s>(centreCount);
    W** low = zem::fbank::takeRows<W>(arena, nFilter + 2, kAuroraN / 2 + 3, true);
    W** high = zem::fbank::takeRows<W>(arena, nFilter + 2, kAuroraN / 2, false);
    if (arena.measuring()) return nullptr;
    st->centers = centers;
    st->lowCoeffs = low;
    st->highCoeffs = high;
    st->mode = 2;
    st->fftLength = kAuroraN;
    st->nFilter = nFilter;
    st->nLinear = nFilter;
    st->melMul = 2595.0f;
    st->melDiv = 700.0f;
    if constexpr (zem::fbank::BankTraits<State>::kQ14) st->weightScale = 14;
    st->ready = 1;
    return st;
}

// The low bank: a half triangle at DC and 25 triangles, each of unit area, then the
// centres shifted up by one with c[0] = 0 (28 entries; row 25 is an empty extra row).
template <class State>
void auroraLow(State* st) {
    using W = zem::fbank::WeightOf<State>;
    Zem32s c[27];
    auroraCentres(c, 27, 1.0014286041259766, 24.0);
    const int L = c[1] - c[0];
    W* low0 = st->lowCoeffs[0];
    W* high0 = st->highCoeffs[0];
    for (int j = 0; j < L; ++j) {
        if constexpr (std::is_integral_v<W>) low0[j] = static_cast<Zem16s>(16384 - (j * 16384) / L);  // passes 16 bits
        else low0[j] = 1.0f - static_cast<float>(j) / static_cast<float>(L);
    }
    for (int k = c[0] + 1; k <= L - 1; ++k) {
        if constexpr (std::is_integral_v<W>) high0[k - c[0] - 1] = static_cast<Zem16s>(16384 - (k * 16384) / L);
        else high0[k - c[0] - 1] = 1.0f - static_cast<float>(k) / static_cast<float>(L);
    }
    normalise(low0, L, high0, L - 1 - c[0] > 0 ? L - 1 - c[0] : 0);
    for (int i = 1; i <= 25; ++i) {
        triangle(st->lowCoeffs[i], st->highCoeffs[i], c[i - 1], c[i], c[i + 1]);
        normalise(st->lowCoeffs[i], c[i] - c[i - 1] + 1, st->highCoeffs[i], c[i + 1] - c[i] - 1 > 0 ? c[i + 1] - c[i] - 1 : 0);
    }
    st->centers[0] = 0;
    for (int k = 0; k < 27; ++k) st->centers[k + 1] = c[k];
}

template <class State>
void auroraHigh(State* st) {
    Zem32s* c = st->centers;
    auroraCentres(c, 5, 1.1142857074737549, 4.0);
    for (int i = 1; i <= 3; ++i) triangle(st->lowCoeffs[i - 1], st->highCoeffs[i - 1], c[i - 1], c[i], c[i + 1]);
}

constexpr Zem32s kLowSize32f = 15768, kLowSize16s = 15776, kHighSize32f = 3184, kHighSize16s = 3192;

// The low bank (25 filters, 28 centres) or the high one (3 filters, 5 centres), in the
// caller's buffer or in a block of its own.
template <class State, bool kLow>
void auroraBank(State* buffer, State** out) {
    auto lay = [](zem::Arena& arena) { return layAurora<State>(arena, kLow ? 25 : 3, kLow ? 28 : 5); };
    State* st = out ? *out : zem::buildInBuffer<State>(buffer, 0, lay);
    if (kLow) auroraLow(st);
    else auroraHigh(st);
}

template <class State, bool kLow>
ZemStatus auroraAlloc(State** out) {
    auto lay = [](zem::Arena& arena) { return layAurora<State>(arena, kLow ? 25 : 3, kLow ? 28 : 5); };
    State* st = nullptr;
    if (zem::allocateRecord(&st, 0, lay) != zemStatusOk) return zemStatusNoMemory;
    auroraBank<State, kLow>(nullptr, &st);
    *out = st;
    return zemStatusOk;
}

// ---- The fixed-point mel bank --------------------------------------------------------------------

constexpr int64_t kLn2Q31 = 1488522236;

// ln of a positive Q22 integer, in Q22: 31 fraction bits of log2 by repeated squaring.
int64_t lnQ22(int64_t x) {
    int e = 63 - __builtin_clzll(static_cast<uint64_t>(x));
    x = e > 29 ? x >> (e - 29) : x << (29 - e);
    int64_t fr = 0;
    for (int i = 0; i < 31; ++i) {
        const int64_t square = x * x;
        x = square >> 29;
        int bit = 0;
        if (x >= (int64_t{1} << 30)) {
            bit = 1;
            x = square >> 30;
        }
        fr = fr * 2 + bit;
    }
    return (e * kLn2Q31 + ((fr * kLn2Q31) >> 31) - 32747489192LL) >> 9;
}

// (a * b) >> 22 with a split into 32-bit halves so that the products stay within 64 bits.
int64_t mulShift22(int64_t a, int64_t b) {
    const int64_t hi = a >> 32, lo = a & 0xffffffffLL;
    return ((hi * b) << 10) + ((lo * b) >> 22);
}

// ln(1 + 2^-(i+1)) and ln(1 - 2^-(i+1)) in Q31, rounded to nearest; the last entries 0 and -1.
struct ExpTables {
    int64_t a[32], b[32];
    ExpTables() {
        for (int i = 0; i < 32; ++i) {
            a[i] = static_cast<int64_t>(std::llround(std::log1p(std::ldexp(1.0, -(i + 1))) * 2147483648.0));
            b[i] = static_cast<int64_t>(std::llround(std::log1p(-std::ldexp(1.0, -(i + 1))) * 2147483648.0));
        }
        a[31] = 0;
        b[31] = -1;
    }
};

const ExpTables& expTables() {
    static const ExpTables tables;
    return tables;
}

// The centre of mel value q (Q22): 2^(q / melMul / ln 2) by a Q53 logarithm, its integer
// power by a shift and its fraction by the product of (1 +- 2^-(i+1)) factors; then
// exp - 1, times ratio and melDiv, rounded with bit 21.
Zem32s fixedCentre(int64_t q, int64_t melMul, int64_t ratio, int64_t dq, int64_t half) {
    const ExpTables& tables = expTables();
    const int64_t t = ((q << 22) / (melMul << 7)) * 3098164009LL;
    const int64_t ip = t >> 53;
    int64_t r = (((t >> 22) - ip * (int64_t{1} << 31)) * kLn2Q31) >> 31;
    uint64_t p = uint64_t{1} << 31, step = uint64_t{1} << 30;
    for (int i = 0; i < 32; ++i) {
        if (r > tables.a[i]) {
            r -= tables.a[i];
            p = static_cast<uint64_t>((static_cast<unsigned __int128>(p) * (step + (uint64_t{1} << 31))) >> 31);
        } else if (r < tables.b[i]) {
            r -= tables.b[i];
            p = static_cast<uint64_t>((static_cast<unsigned __int128>(p) * ((uint64_t{1} << 31) - step)) >> 31);
        }
        step >>= 1;
    }
    int64_t e22;
    if (ip < 9) {
        e22 = static_cast<int64_t>(p >> (9 - ip));
    } else {
        const int64_t sh = ip - 9;
        e22 = (sh >= 63 || p > (static_cast<uint64_t>(INT64_MAX) >> sh)) ? INT64_MAX : static_cast<int64_t>(p << sh);
    }
    const int64_t u = e22 - (int64_t{1} << 22);
    const int64_t P = mulShift22(ratio, dq);
    const int64_t v = mulShift22(P, u);
    const int64_t c = (v >> 22) + ((v >> 21) & 1);
    // A centre past the spectrum (this form does not hold highFreq to half the rate) is
    // kept at N/2, so that no slope reaches beyond the rows of the bank.
    return static_cast<Zem32s>(c < 0 ? 0 : (c > half ? half : c));
}

int fixedOrderFor(int frameLen) {
    int order = 2;
    while ((1 << order) < frameLen) ++order;
    return order;
}

// The record, its centres and two blocks of nFilter + 2 rows of N/2 entries with room for
// a rising run of N/2 + 1, in the caller's buffer.
ZemsFBankState_32s* layFixed(void* buffer, int nFilter, int n) {
    zem::Arena arena = zem::Arena::forBuffer(buffer);
    auto* st = arena.record<ZemsFBankState_32s>();
    st->centers = arena.take<Zem32s>(int64_t{nFilter} + 2);
    auto rows = [&](int64_t count) {
        const int64_t stride = n / 2 + 4;
        Zem32s** pointers = arena.take<Zem32s*>(count);
        Zem32s* first = arena.take<Zem32s>(count * stride);
        for (int64_t r = 0; r < count; ++r) pointers[r] = first + r * stride;
        return pointers;
    };
    st->lowCoeffs = rows(int64_t{nFilter} + 2);
    st->highCoeffs = rows(int64_t{nFilter} + 2);
    st->mode = 2;
    st->nFilter = nFilter;
    st->halfLength = n / 2 + 1;
    return st;
}

// Centres from integer logarithms and exponentials, then Q30 bin weights.
void fixedBank(ZemsFBankState_32s* st, int n, Zem32s sampFreq, Zem32s lowFreq, Zem32s highFreq, Zem32s melMul,
               Zem32s melDiv) {
    const int nFilter = st->nFilter;
    const int64_t dq = int64_t{melDiv} << 7;
    const int64_t lnDq = lnQ22(dq);
    auto melQ22 = [&](int64_t f) { return ((lnQ22((f << 22) + dq) - lnDq) * melMul) >> 15; };
    const int64_t mLow = melQ22(lowFreq), delta = melQ22(highFreq) - mLow;
    const int64_t ratio = (int64_t{n} << 22) / sampFreq;
    int64_t acc = mLow * (nFilter + 1);
    Zem32s* c = st->centers;
    for (int k = 0; k <= nFilter + 1; ++k, acc += delta) c[k] = fixedCentre(acc / (nFilter + 1), melMul, ratio, dq, n / 2);
    for (int i = 1; i <= nFilter; ++i) {
        for (int64_t k = c[i - 1]; k <= c[i]; ++k)
            st->lowCoeffs[i - 1][k - c[i - 1]] = static_cast<Zem32s>(((k - c[i - 1] + 1) << 30) / (int64_t{c[i]} - c[i - 1] + 1));
        for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k)
            st->highCoeffs[i - 1][k - c[i] - 1] = static_cast<Zem32s>(((c[i + 1] + 1 - k) << 30) / (int64_t{c[i + 1]} - c[i] + 1));
    }
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsMelFBankGetSizeLow_Aurora_32f(Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size))) return s;
    *size = kLowSize32f;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankGetSizeLow_Aurora_16s(Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size))) return s;
    *size = kLowSize16s;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankGetSizeHigh_Aurora_32f(Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size))) return s;
    *size = kHighSize32f;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankGetSizeHigh_Aurora_16s(Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size))) return s;
    *size = kHighSize16s;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankInitLow_Aurora_32f(ZemsFBankState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    auroraBank<ZemsFBankState_32f, true>(state, nullptr);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankInitLow_Aurora_16s(ZemsFBankState_16s* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    auroraBank<ZemsFBankState_16s, true>(state, nullptr);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankInitHigh_Aurora_32f(ZemsFBankState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    auroraBank<ZemsFBankState_32f, false>(state, nullptr);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankInitHigh_Aurora_16s(ZemsFBankState_16s* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    auroraBank<ZemsFBankState_16s, false>(state, nullptr);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelFBankInitAllocLow_Aurora_32f(ZemsFBankState_32f** state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    return auroraAlloc<ZemsFBankState_32f, true>(state);
}

ZEMSR_API ZemStatus zemsMelFBankInitAllocLow_Aurora_16s(ZemsFBankState_16s** state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    return auroraAlloc<ZemsFBankState_16s, true>(state);
}

ZEMSR_API ZemStatus zemsMelFBankInitAllocHigh_Aurora_32f(ZemsFBankState_32f** state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    return auroraAlloc<ZemsFBankState_32f, false>(state);
}

ZEMSR_API ZemStatus zemsMelFBankInitAllocHigh_Aurora_16s(ZemsFBankState_16s** state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    return auroraAlloc<ZemsFBankState_16s, false>(state);
}

// nFilter above N/2 is refused here, one tighter than Init, on purpose.
ZEMSR_API ZemStatus zemsMelFBankGetSize_32s(int frameLen, int nFilter, int mode, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size),
                                              zem::atLeastOne(nFilter),
                                              zem::within(frameLen, 32, 8192, zemStatusBadSize),
                                              zem::ensure(mode == 2, zemStatusBadMelFlag),
                                              zem::checkedBy([&] { return nFilter > (1 << fixedOrderFor(frameLen)) / 2 ? zemStatusBadSize : zemStatusOk; })))
        return s;
    const int n = 1 << fixedOrderFor(frameLen);
    *size = 4 * nFilter + 176 + 2 * (nFilter + 2) * (2 * n + 40);
    return zemStatusOk;
}

// The last check comes after fftOrder is stored, as the form requires.
ZEMSR_API ZemStatus zemsMelFBankInit_32s(ZemsFBankState_32s* state, Zem32s* fftOrder, int frameLen, Zem32s sampFreq,
                                         Zem32s lowFreq, Zem32s highFreq, int nFilter, Zem32s melMul, Zem32s melDiv,
                                         int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, fftOrder),
                                              zem::ensure(nFilter >= 1 && highFreq >= 1, zemStatusBadSize),
                                              zem::within(frameLen, 32, 8192, zemStatusBadSize),
                                              zem::ensure(mode == 2, zemStatusBadMelFlag),
                                              zem::within(sampFreq, 1, 48000, zemStatusBadSize),
                                              zem::ensure(lowFreq >= 0, zemStatusBadSize),
                                              zem::ensure(highFreq > lowFreq && highFreq <= 24000, zemStatusBadFreqRange),
                                              zem::within(melDiv, 0x80001, 0x0FFFFFFF, zemStatusBadArg),
                                              zem::within(melMul, 0x80001, 0x3FFFFFFF, zemStatusBadArg)))
        return s;
    const int order = fixedOrderFor(frameLen), n = 1 << order;
    *fftOrder = order;
    if (const ZemStatus s = zem::firstFailure(zem::within(nFilter, 1, n / 2 + 1, zemStatusBadSize))) return s;
    fixedBank(layFixed(state, nFilter, n), n, sampFreq, lowFreq, highFreq, melMul, melDiv);
    return zemStatusOk;
}

}  // extern "C"
