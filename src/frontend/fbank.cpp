// Filter banks: creation of mel, mixed and empty banks in float and 16-bit (Q14) weights,
// their sizes, release, and access to centres and weights.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <immintrin.h>
#include <type_traits>

#include "fbank.h"
#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "own.h"

using namespace zem::fbank;

namespace {

// The transform order of a frame: the smallest order of at least 1 with 2^order >= frameLen.
int orderFor(int frameLen) {
    int order = 1;
    while ((int64_t{1} << order) < frameLen) ++order;
    return order;
}

bool modeAllowed(int mode) { return mode == 1 || mode == 2 || mode == 5 || mode == 6; }

int64_t rowsBytes(int64_t a, int64_t b) { return a * ((b + 7) & ~int64_t{7}) * 4 + a * 8 + 28; }

constexpr int64_t kTooBig = INT64_MAX;

// The size formula of a mel bank's record and arrays, with the transform's sizes for mode
// bit 4, in 64 bits; kTooBig when the rows alone pass 2^31 bytes or the transform has no
// state of that order.
template <class State>
int64_t bankSize(int order, int nFilter, int mode) {
    const int64_t n = int64_t{1} << order;
    const int64_t rows = int64_t{nFilter} + 2;
    if (rows * (n / 2) > (int64_t{1} << 29)) return kTooBig;
    int64_t base = BankTraits<State>::kRecordBase;
    if (mode & 4) {
        Zem32s st = 0, in = 0, bf = 0;
        if (BankTraits<State>::transformSizes(order, &st, &in, &bf) != zemStatusOk) return kTooBig;
        base += int64_t{st} + in + bf + 96 + 8 * n + 64;
    }
    return rowsBytes(rows, n / 2 + 3) + rowsBytes(rows, n / 2) + 3 * int64_t{nFilter} * 4 + base + 188;
}

ZemStatus reportSize(int64_t bytes, Zem32s* size) {
    if (bytes > INT32_MAX) return zemStatusBadSize;
    *size = static_cast<Zem32s>(bytes);
    return zemStatusOk;
}

// The record and its arrays, in this order: record, centres, rising rows, falling rows,
// and with the transform its state, its set-up scratch, the work area and its buffer.
// Returns null while measuring.
template <class State>
State* layBank(zem::Arena& arena, int order, int nFilter, bool withTransform) {
    using Traits = BankTraits<State>;
    using W = WeightOf<State>;
    const int64_t n = int64_t{1} << order;
    State* st = arena.record<State>();
    Zem32s* centers = arena.take<Zem32s>(int64_t{nFilter} + 3);
    W** low = takeRows<W>(arena, int64_t{nFilter} + 2, n / 2 + 3, true);
    W** high = takeRows<W>(arena, int64_t{nFilter} + 2, n / 2, false);
    Zem8u *memState = nullptr, *memInit = nullptr, *buffer = nullptr;
    W* work = nullptr;
    if (withTransform) {
        Zem32s sizeState = 0, sizeInit = 0, sizeBuf = 0;
        Traits::transformSizes(order, &sizeState, &sizeInit, &sizeBuf);
        memState = arena.take<Zem8u>(sizeState);
        if (sizeInit > 0) memInit = arena.take<Zem8u>(sizeInit);
        work = arena.take<W>(2 * n + 20);
        if (sizeBuf > 0) buffer = arena.take<Zem8u>(sizeBuf);
    }
    if (arena.measuring()) return nullptr;
    st->centers = centers;
    st->lowCoeffs = low;
    st->highCoeffs = high;
    st->fftLength = static_cast<Zem32s>(n);
    st->fftOrder = order;
    st->nFilter = nFilter;
    if (withTransform) {
        Traits::transformInit(&st->fftState, order, memState, memInit);
        st->work = work;
        st->fftBuffer = buffer;
    }
    if constexpr (Traits::kQ14) st->weightScale = 14;
    return st;
}

// ---- Centres and weights -------------------------------------------------------------------

// melMul * ln(1 + q) with q and 1 + q in float, the logarithm and the product in double.
inline float melOfQuotient(float q, float melMul) {
    return static_cast<float>(static_cast<double>(melMul) * std::log(static_cast<double>(1.0f + q)));
}

// Weights are float, or Q14 integers truncated from float or integer quotients.
template <class W>
inline W melWeight(float numerator, float denominator) {
    if constexpr (std::is_integral_v<W>) return zem::truncToInt32((numerator * 16384.0f) / denominator);
    else return numerator / denominator;
}

template <class W>
inline W binWeight(int64_t numerator, int64_t denominator) {
    if constexpr (std::is_integral_v<W>) return static_cast<W>(numerator * 16384 / denominator);
    else return static_cast<float>(numerator) / static_cast<float>(denominator);
}

// Centres from bin positions: truncated for mel weights, nearest with ties to even for
// bin weights.
void centresFromBins(const float* b, int count, int mode, Zem32s* c) {
    for (int k = 0; k < count; ++k) c[k] = zem::truncToInt32((mode & 2) ? std::nearbyint(b[k]) : b[k]);
}

// Bin weights of filter i (row i - 1): straight lines whose peak 1 falls on c[i].
template <class W>
void binSlopes(W* low, W* high, const Zem32s* c, int i) {
    for (int64_t k = c[i - 1]; k <= c[i]; ++k) low[k - c[i - 1]] = binWeight<W>(k - c[i - 1] + 1, int64_t{c[i]} - c[i - 1] + 1);
    for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k)
        high[k - c[i] - 1] = binWeight<W>(c[i + 1] - k + 1, int64_t{c[i + 1]} - c[i] + 1);
}

// Whether every centre c[0 .. nFilter+1] lies in the spectrum, 0 .. N/2.  melMul and melDiv
// are not checked, and neither are NaN or infinite frequencies: centres computed from them can
// land anywhere.  Such a bank is left not ready, its rows zero, so that evaluation and the
// coefficient runs refuse it (zemStatusBadFBank) rather than leave the rows; setting a valid
// centre list makes it ready.
bool centresInside(const Zem32s* c, int nFilter, int n) {
    for (int k = 0; k <= nFilter + 1; ++k)
        if (c[k] < 0 || c[k] > n / 2) return false;
    return true;
}

template <class State>
void melCentresAndWeights(State* st, float sampFreq, float lowFreq, float highFreq) {
    using W = std::remove_pointer_t<decltype(State::work)>;
    const int nF = st->nFilter, n = st->fftLength;
    const float melMul = st->melMul, melDiv = st->melDiv;
    const float m0 = melOfQuotient(lowFreq / melDiv, melMul), m1 = melOfQuotient(highFreq / melDiv, melMul);
    const float d = m1 - m0;
    // m[k] = m0 + k d / (nF + 1) in float; b[k] = (N / sampFreq) melDiv (exp(m[k] / melMul) - 1).
    auto m = [&](int k) { return m0 + (static_cast<float>(k) * d) / static_cast<float>(nF + 1); };
    const float scale = (static_cast<float>(n) / sampFreq) * melDiv;
    Zem32s* c = st->centers;
    for (int k = 0; k <= nF + 1; ++k) {
        const float b = scale * static_cast<float>(std::exp(static_cast<double>(m(k) / melMul)) - 1.0);
        centresFromBins(&b, 1, st->mode, c + k);
    }
    st->ready = centresInside(c, nF, n) ? 1 : 0;
    if (!st->ready) return;
    const float binHz = sampFreq / static_cast<float>(n);
    auto melOf = [&](int64_t k) { return melOfQuotient((static_cast<float>(k) * binHz) / melDiv, melMul); };
    for (int i = 1; i <= nF; ++i) {
        W* low = st->lowCoeffs[i - 1];
        W* high = st->highCoeffs[i - 1];
        if (st->mode & 2) {
            binSlopes(low, high, c, i);
            continue;
        }
        low[0] = 0;
        const float mPrev = m(i - 1), mHere = m(i), mNext = m(i + 1);
        for (int64_t k = int64_t{c[i - 1]} + 1; k <= c[i]; ++k) low[k - c[i - 1]] = melWeight<W>(melOf(k) - mPrev, mHere - mPrev);
        for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k) high[k - c[i] - 1] = melWeight<W>(mNext - melOf(k), mNext - mHere);
    }
}

// The mixed bank: linear centres up to linFreq, mel ones above.
template <class State>
void mixedCentresAndWeights(State* st, float sampFreq, float lowFreq, float highFreq, float linFreq) {
    using W = std::remove_pointer_t<decltype(State::work)>;
    const int nF = st->nFilter, nL = st->nLinear, n = st->fftLength;
    const float melMul = st->melMul, melDiv = st->melDiv;
    const float perHz = static_cast<float>(n) / sampFreq;
    // Linear frequencies F[k] for k = 0 .. nF + 1 (all linear) or 0 .. nL.
    auto F = [&](int k) {
        return (static_cast<float>(k) * (linFreq - lowFreq)) / static_cast<float>(nL == nF ? nF + 1 : nL) + lowFreq;
    };
    const float m0 = melOfQuotient(linFreq / melDiv, melMul), m1 = melOfQuotient(highFreq / melDiv, melMul);
    Zem32s* c = st->centers;
    for (int k = 0; k <= nF + 1; ++k) {
        float b;
        if (nL == nF || k < nL) {
            b = perHz * F(k);
        } else {  // the mel run, from index nL on
            const int j = k - nL;
            const float mj = m0 + (static_cast<float>(j) * (m1 - m0)) / static_cast<float>(nF - nL + 1);
            b = (perHz * melDiv) * static_cast<float>(std::exp(static_cast<double>(mj / melMul)) - 1.0);
        }
        centresFromBins(&b, 1, st->mode, c + k);
    }
    st->ready = centresInside(c, nF, n) ? 1 : 0;
    if (!st->ready) return;
    const float binHz = sampFreq / static_cast<float>(n);
    // melOf(k) unrounded here: the quotients run in double.
    auto melOf = [&](int64_t k) {
        return static_cast<double>(melMul) * std::log(static_cast<double>(1.0f + (static_cast<float>(k) * binHz) / melDiv));
    };
    auto mel = [&](float f) { return static_cast<double>(melOfQuotient(f / melDiv, melMul)); };
    // A slope value num / den limited to 0 or above; Q14 multiplies before the division.
    auto weight = [](double num, double den) -> W {
        if constexpr (std::is_integral_v<W>) {
            const double q = (num * 16384.0) / den;
            const W w = q > 2147483647.0 ? INT32_MAX : zem::truncToInt32(q);
            return w < 0 ? 0 : w;
        } else {
            const double q = num / den;
            return static_cast<float>(q < 0.0 ? 0.0 : q);
        }
    };
    const int melFilters = nL == nF ? nF : nL - 1;
    for (int i = 1; i <= nF; ++i) {
        W* low = st->lowCoeffs[i - 1];
        W* high = st->highCoeffs[i - 1];
        if ((st->mode & 2) || i > nL) {
            binSlopes(low, high, c, i);
            continue;
        }
        const double a = mel(F(i - 1)), mid = mel(F(i));
        for (int64_t k = c[i - 1]; k <= c[i]; ++k) low[k - c[i - 1]] = weight(melOf(k) - a, mid - a);
        if (i <= melFilters) {
            const double z = mel(F(i + 1));
            for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k) high[k - c[i] - 1] = weight(z - melOf(k), z - mid);
        } else {
            // The junction filter sets a bin index against a mel value: in ordinary use
            // negative, so zero.  Kept as it stands.
            for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k)
                high[k - c[i] - 1] = weight(static_cast<double>(c[i + 1]) - melOf(k), static_cast<double>(c[i + 1] - c[i]));
        }
    }
}

// What a creation function asks for.
struct BankRequest {
    enum Kind { kMel, kMixed, kEmpty } kind;
    int frameLen, nFilter, mode;
    float sampFreq = 0.0f, lowFreq = 0.0f, highFreq = 0.0f, linFreq = 0.0f;
    int nLinear = 0;
    float melMul = 0.0f, melDiv = 1.0f;
};

// Builds a bank in the caller's buffer (out null) or in one block of its own, then stores
// fftOrder and *out: nothing is written when it fails.  A size that cannot be represented
// is a bad size in a caller's buffer (no size query reports it) and no memory otherwise.
template <class State>
ZemStatus makeBank(State* buffer, State** out, Zem32s* fftOrder, const BankRequest& r) {
    const int order = orderFor(r.frameLen);
    const bool withTransform = (r.mode & 4) != 0;
    if (bankSize<State>(order, r.nFilter, r.mode) > INT32_MAX) return out ? zemStatusNoMemory : zemStatusBadSize;
    auto lay = [&](zem::Arena& arena) { return layBank<State>(arena, order, r.nFilter, withTransform); };
    State* st = nullptr;
    if (!out) st = zem::buildInBuffer<State>(buffer, 0, lay);
    else if (zem::allocateRecord(&st, 0, lay) != zemStatusOk) return zemStatusNoMemory;
    st->mode = r.kind == BankRequest::kEmpty ? 1 : r.mode;
    st->nLinear = r.kind == BankRequest::kMixed ? r.nLinear : r.nFilter;
    st->melMul = r.melMul;
    st->melDiv = r.melDiv;
    if (r.kind == BankRequest::kMel) melCentresAndWeights(st, r.sampFreq, r.lowFreq, r.highFreq);
    if (r.kind == BankRequest::kMixed) mixedCentresAndWeights(st, r.sampFreq, r.lowFreq, r.highFreq, r.linFreq);
    *fftOrder = order;
    if (out) *out = st;
    return zemStatusOk;
}

BankRequest melRequest(int frameLen, float sampFreq, float lowFreq, float highFreq, int nFilter, float melMul,
                       float melDiv, int mode) {
    BankRequest r{BankRequest::kMel, frameLen, nFilter, mode};
    r.sampFreq = sampFreq, r.lowFreq = lowFreq, r.highFreq = highFreq, r.melMul = melMul, r.melDiv = melDiv;
    return r;
}

BankRequest mixedRequest(int frameLen, float sampFreq, float lowFreq, float highFreq, int nFilter, float linFreq,
                         int nLinear, float melMul, float melDiv, int mode) {
    BankRequest r = melRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode);
    r.kind = BankRequest::kMixed, r.linFreq = linFreq, r.nLinear = nLinear;
    return r;
}

// An empty bank: zero rows, not ready, melMul 0 and melDiv 1.  The stored mode is 1
// whatever was passed; bit 4 still builds the transform, which such a bank then never
// uses.  Kept as it is.
BankRequest emptyRequest(int frameLen, int nFilter, int mode) { return {BankRequest::kEmpty, frameLen, nFilter, mode}; }

// Release of an allocated bank: the transform through its own release, then the block.
template <class State>
void freeBank(State* st) {
    st->centers = nullptr;
    st->lowCoeffs = nullptr;
    st->highCoeffs = nullptr;
    st->ready = 0;
    if (st->fftState) BankTraits<State>::transformFree(st->fftState);
    zem::releaseRecord(st);
}

// The centre test: c[0] >= 0, c[i-1] <= c[i] <= c[i+1] for i = 1 .. nFilter-1, and
// c[nFilter+1] <= N/2.  The library adds c[nFilter] within 0 .. N/2: with it every centre
// lies in the spectrum, so no run of Get/SetCoeffs and no span of evaluation leaves the
// rows.
bool centresValid(const Zem32s* c, int nFilter, int n) {
    if (c[0] < 0) return false;
    for (int i = 1; i <= nFilter - 1; ++i)
        if (c[i - 1] > c[i] || c[i] > c[i + 1]) return false;
    return c[nFilter + 1] <= n / 2 && c[nFilter] >= 0 && c[nFilter] <= n / 2;
}

template <class State>
bool storedCentresValid(const State* st) {
    return st->ready && centresValid(st->centers, st->nFilter, st->fftLength);
}

template <class State>
void copyCenters(const Zem32s* from, Zem32s* to, const State* st) {
    std::memcpy(to, from, sizeof(Zem32s) * static_cast<size_t>(st->nFilter + 2));
}

// The run of row j - 1: the rising slope's c[j] - c[j-1] + 1 entries, then the falling
// slope's c[j+1] - c[j] entries, each only when its length is positive.  The centre test
// leaves c[nFilter+1] free below and never sees c[nFilter+2], which the extra row of Get
// reads: the runs are held to N/2 + 1 and N/2 entries, the longest any centre list inside
// the spectrum gives, so that no run leaves the bank's rows.
template <class State, class Copy>
void forRuns(const State* st, int j, Copy copy) {
    const Zem32s* c = st->centers;
    const int64_t half = st->fftLength / 2;
    int at = 0;
    const int rising = static_cast<int>(std::min<int64_t>(int64_t{c[j]} - c[j - 1] + 1, half + 1));
    const int falling = static_cast<int>(std::min<int64_t>(int64_t{c[j + 1]} - c[j], half));
    if (c[j] >= c[j - 1]) {
        copy(st->lowCoeffs[j - 1], at, rising);
        at += rising;
    }
    if (falling > 0) copy(st->highCoeffs[j - 1], at, falling);
}

// Weights as float: Q14 rows are scaled by 2^-14.
template <class State>
void getCoeffs(const State* st, int filterIndex, Zem32f* coeffs) {
    forRuns(st, filterIndex, [&](const auto* row, int at, int count) {
        for (int k = 0; k < count; ++k) {
            if constexpr (BankTraits<State>::kQ14) coeffs[at + k] = static_cast<float>(row[k]) * 6.1035156e-5f;
            else coeffs[at + k] = row[k];
        }
    });
}

// Weights from float: Q14 rows take the product by 16384 limited to +-2^31, truncated.
template <class State>
void setCoeffs(State* st, int filterIndex, const Zem32f* coeffs) {
    forRuns(st, filterIndex, [&](auto* row, int at, int count) {
        for (int k = 0; k < count; ++k) {
            if constexpr (BankTraits<State>::kQ14) {
                float v = coeffs[at + k] * 16384.0f;
                v = v > 2147483648.0f ? 2147483648.0f : (v < -2147483648.0f ? -2147483648.0f : v);
                row[k] = _mm_cvttss_si32(_mm_set_ss(v));
            } else {
                row[k] = coeffs[at + k];
            }
        }
    });
}

}  // namespace

extern "C" {

// ---- Mel, mixed and empty banks -----------------------------------------------------------------

ZEMSR_API ZemStatus zemsMelFBankGetSize_32f(int frameLen, int nFilter, int mode, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return reportSize(bankSize<ZemsFBankState_32f>(orderFor(frameLen), nFilter, mode), size);
}

ZEMSR_API ZemStatus zemsMelFBankGetSize_16s(int frameLen, int nFilter, int mode, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return reportSize(bankSize<ZemsFBankState_16s>(orderFor(frameLen), nFilter, mode), size);
}

ZEMSR_API ZemStatus zemsMelFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                              Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                              Zem32f melMul, Zem32f melDiv, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, fftOrder), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return makeBank<ZemsFBankState_32f>(nullptr, state, fftOrder,
                                        melRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode));
}

ZEMSR_API ZemStatus zemsMelFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                              Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                              Zem32f melMul, Zem32f melDiv, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, fftOrder), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return makeBank<ZemsFBankState_16s>(nullptr, state, fftOrder,
                                        melRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode));
}

ZEMSR_API ZemStatus zemsMelFBankInit_32f(ZemsFBankState_32f* state, Zem32s* fftOrder, int frameLen, Zem32f sampFreq,
                                         Zem32f lowFreq, Zem32f highFreq, int nFilter, Zem32f melMul, Zem32f melDiv,
                                         int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, fftOrder), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return makeBank<ZemsFBankState_32f>(state, nullptr, fftOrder,
                                        melRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode));
}

ZEMSR_API ZemStatus zemsMelFBankInit_16s(ZemsFBankState_16s* state, Zem32s* fftOrder, int frameLen, Zem32f sampFreq,
                                         Zem32f lowFreq, Zem32f highFreq, int nFilter, Zem32f melMul, Zem32f melDiv,
                                         int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, fftOrder), zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag)))
        return s;
    return makeBank<ZemsFBankState_16s>(state, nullptr, fftOrder,
                                        melRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode));
}

// The mixed and the empty bank test state and fftOrder for null last, after every other
// check: the library's own test, so that every other break keeps its status.
ZEMSR_API ZemStatus zemsMelLinFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                                 Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                                 Zem32f linFreq, int nLinear, Zem32f melMul, Zem32f melDiv, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::within(nLinear, 1, nFilter, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > linFreq || linFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag),
                                              zem::nonNull(state, fftOrder)))
        return s;
    return makeBank<ZemsFBankState_32f>(nullptr, state, fftOrder,
                                        mixedRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, linFreq, nLinear,
                                                     melMul, melDiv, mode));
}

ZEMSR_API ZemStatus zemsMelLinFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                                 Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                                 Zem32f linFreq, int nLinear, Zem32f melMul, Zem32f melDiv, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(frameLen, nFilter),
                                              zem::ensure(sampFreq > 0.0f && lowFreq > 0.0f, zemStatusBadSize),
                                              zem::within(nLinear, 1, nFilter, zemStatusBadSize),
                                              zem::ensure(!(lowFreq > linFreq || linFreq > highFreq), zemStatusBadFreqRange),
                                              zem::ensure(!(highFreq > sampFreq * 0.5f), zemStatusBadFreqRange),
                                              zem::ensure(modeAllowed(mode), zemStatusBadMelFlag),
                                              zem::nonNull(state, fftOrder)))
        return s;
    return makeBank<ZemsFBankState_16s>(nullptr, state, fftOrder,
                                        mixedRequest(frameLen, sampFreq, lowFreq, highFreq, nFilter, linFreq, nLinear,
                                                     melMul, melDiv, mode));
}

ZEMSR_API ZemStatus zemsEmptyFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                                int nFilter, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(frameLen, nFilter), zem::nonNull(state, fftOrder))) return s;
    return makeBank<ZemsFBankState_32f>(nullptr, state, fftOrder, emptyRequest(frameLen, nFilter, mode));
}

ZEMSR_API ZemStatus zemsEmptyFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                                int nFilter, int mode) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(frameLen, nFilter), zem::nonNull(state, fftOrder))) return s;
    return makeBank<ZemsFBankState_16s>(nullptr, state, fftOrder, emptyRequest(frameLen, nFilter, mode));
}

ZEMSR_API ZemStatus zemsFBankFree_32f(ZemsFBankState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    freeBank(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankFree_16s(ZemsFBankState_16s* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    freeBank(state);
    return zemStatusOk;
}

// ---- Centres and weights ------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsFBankGetCenters_32f(const ZemsFBankState_32f* state, Zem32s* centers) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, centers),
                                              zem::ensure([&] { return storedCentresValid(state); }, zemStatusBadFBank)))
        return s;
    copyCenters(state->centers, centers, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankGetCenters_16s(const ZemsFBankState_16s* state, Zem32s* centers) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, centers),
                                              zem::ensure([&] { return storedCentresValid(state); }, zemStatusBadFBank)))
        return s;
    copyCenters(state->centers, centers, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankSetCenters_32f(ZemsFBankState_32f* state, const Zem32s* centers) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, centers),
            zem::ensure([&] { return centresValid(centers, state->nFilter, state->fftLength); }, zemStatusBadFBank)))
        return s;
    copyCenters(centers, state->centers, state);
    state->ready = 1;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankSetCenters_16s(ZemsFBankState_16s* state, const Zem32s* centers) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, centers),
            zem::ensure([&] { return centresValid(centers, state->nFilter, state->fftLength); }, zemStatusBadFBank)))
        return s;
    copyCenters(centers, state->centers, state);
    state->ready = 1;
    return zemStatusOk;
}

// Get reaches row nFilter (the extra row of the Aurora low bank), Set stops at nFilter - 1.
ZEMSR_API ZemStatus zemsFBankGetCoeffs_32f(const ZemsFBankState_32f* state, int filterIndex, Zem32f* coeffs) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, coeffs), zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank),
            zem::ensure([&] { return filterIndex >= 1 && filterIndex <= int64_t{state->nFilter} + 1; }, zemStatusBadSize)))
        return s;
    getCoeffs(state, filterIndex, coeffs);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankGetCoeffs_16s(const ZemsFBankState_16s* state, int filterIndex, Zem32f* coeffs) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, coeffs), zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank),
            zem::ensure([&] { return filterIndex >= 1 && filterIndex <= int64_t{state->nFilter} + 1; }, zemStatusBadSize)))
        return s;
    getCoeffs(state, filterIndex, coeffs);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankSetCoeffs_32f(ZemsFBankState_32f* state, int filterIndex, const Zem32f* coeffs) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, coeffs), zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank),
            zem::ensure([&] { return filterIndex >= 1 && filterIndex <= state->nFilter; }, zemStatusBadSize)))
        return s;
    setCoeffs(state, filterIndex, coeffs);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFBankSetCoeffs_16s(ZemsFBankState_16s* state, int filterIndex, const Zem32f* coeffs) {
    if (const ZemStatus s = zem::firstFailure(
            zem::nonNull(state, coeffs), zem::ensure([&] { return state->ready != 0; }, zemStatusBadFBank),
            zem::ensure([&] { return filterIndex >= 1 && filterIndex <= state->nFilter; }, zemStatusBadSize)))
        return s;
    setCoeffs(state, filterIndex, coeffs);
    return zemStatusOk;
}

// ---- Mel conversions, in double and rounded to float on the store -------------------------------

ZEMSR_API ZemStatus zemsLinearToMel_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len),
                                              zem::ensure(melMul > 0.0f && melDiv > 0.0f, zemStatusBadSize)))
        return s;
    const double inv = 1.0 / melDiv;
    for (int i = 0; i < len; ++i) dst[i] = static_cast<float>(melMul * std::log(1.0 + src[i] * inv));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelToLinear_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len),
                                              zem::ensure(melMul > 0.0f && melDiv > 0.0f, zemStatusBadSize)))
        return s;
    const double inv = 1.0 / melMul;
    for (int i = 0; i < len; ++i) dst[i] = static_cast<float>(melDiv * (std::exp(src[i] * inv) - 1.0));
    return zemStatusOk;
}

}  // extern "C"
