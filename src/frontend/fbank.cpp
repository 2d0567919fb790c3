// Filter banks: creation of mel, mixed and empty banks in float and 16-bit (Q14) weights,
// their sizes, release, and access to centres and weights.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <immintrin.h>
#include <type_traits>

#include "fbank.h"
#include "frame/carve.h"
#include "own.h"
#include "primitives/simd.h"
#include "zemcore.h"

using namespace zem::fbank;
namespace simd = zem::simd;

namespace {

// The transform length of a frame: the smallest order of at least 1 with 2^order >= frameLen.
int orderFor(int frameLen) {
    int order = 1;
    while ((int64_t{1} << order) < frameLen) ++order;
    return order;
}

bool modeAllowed(int mode) { return mode == 1 || mode == 2 || mode == 5 || mode == 6; }

int64_t rowsBytes(int64_t a, int64_t b) { return a * ((b + 7) & ~int64_t{7}) * 4 + a * 8 + 28; }

template <class State>
constexpr bool kIs16 = sizeof(State) != sizeof(ZemsFBankState_32f);

// The size formula of a mel bank's record and arrays, with the transform's sizes for
// mode bit 4.
template <class State>
int64_t bankSize(int frameLen, int nFilter, int mode) {
    const int order = orderFor(frameLen);
    const int64_t n = int64_t{1} << order;
    int64_t base = kIs16<State> ? 112 : 104;
    if (mode & 4) {
        Zem32s st = 0, in = 0, bf = 0;
        if constexpr (kIs16<State>) ownFFTGetSize_R_16s(order, 8, 2, &st, &in, &bf);
        else ownFFTGetSize_R_32f(order, 8, 2, &st, &in, &bf);
        base += int64_t{st} + in + bf + 96 + 8 * n + 64;
    }
    return rowsBytes(nFilter + 2, n / 2 + 3) + rowsBytes(nFilter + 2, n / 2) + 3 * int64_t{nFilter} * 4 + base + 188;
}

// Memory of a bank: carved from the caller's buffer at 32-byte boundaries, or taken
// from the allocator piece by piece (the pieces recorded in the bank for its release).
class Arena {
public:
    explicit Arena(Zem8u* buffer) : carver_(buffer), allocate_(false) {}
    Arena() : carver_(nullptr), allocate_(true) {}

    template <class T>
    T* take(int64_t count, void** pieces = nullptr, Zem32s* pieceCount = nullptr) {
        const int64_t bytes = count * static_cast<int64_t>(sizeof(T));
        if (!allocate_) {
            T* p = carver_.take<T>(count, 32);
            std::memset(static_cast<void*>(p), 0, static_cast<size_t>(bytes));
            return p;
        }
        void* block = zemMalloc(bytes + 32);
        if (!block) return nullptr;
        if (pieces) pieces[(*pieceCount)++] = block;
        T* p = zem::alignUp<T>(block, 32);
        std::memset(static_cast<void*>(p), 0, static_cast<size_t>(bytes));
        return p;
    }
    // The record itself: from the allocator, its block is the bank's first piece.
    // In a caller's buffer the record stands at the buffer's start, where the caller
    // keeps pointing.
    template <class State>
    State* takeRecord() {
        if (!allocate_) {
            State* st = reinterpret_cast<State*>(carver_.position());
            std::memset(static_cast<void*>(st), 0, sizeof(State));
            carver_.take<State>(1, 1);
            return st;
        }
        void* block = zemMalloc(static_cast<int64_t>(sizeof(State)) + 32);
        if (!block) return nullptr;
        State* st = zem::alignUp<State>(block, 32);
        std::memset(static_cast<void*>(st), 0, sizeof(State));
        st->pieces[st->pieceCount++] = block;
        return st;
    }
    bool allocating() const { return allocate_; }

private:
    zem::Carver carver_;
    bool allocate_;
};

// One block of `count` rows of `len` elements: pointers, then rows at a 32-byte boundary
// with a stride of len rounded up to 8; rising rows advanced by 3.
template <class W, class State>
W** takeRows(Arena& arena, State* st, int count, int64_t len, bool rising) {
    const int64_t stride = (len + 7) & ~int64_t{7};
    const int64_t pointerWords = (count * 8 + 31) / 32 * 8;  // pointers, padded to 32 bytes, in floats
    W* block = arena.take<W>(pointerWords + count * stride, st->pieces, &st->pieceCount);
    if (!block) return nullptr;
    W** rows = reinterpret_cast<W**>(block);
    W* first = block + pointerWords;
    for (int r = 0; r < count; ++r) rows[r] = first + r * stride + (rising ? kRisingAdvance : 0);
    return rows;
}

// The record and its arrays.  On an allocation failure the record, if made, is already
// in *out.
template <class State>
ZemStatus buildRecord(Arena& arena, State** out, int order, int nFilter, int mode, int storedMode, int nLinear,
                      float melMul, float melDiv) {
    using W = std::remove_pointer_t<decltype(State::work)>;
    State* st = arena.template takeRecord<State>();
    if (!st) return zemStatusNoMemory;
    *out = st;
    const int64_t n = int64_t{1} << order;
    st->mode = storedMode;
    st->fftLength = static_cast<Zem32s>(n);
    st->fftOrder = order;
    st->nFilter = nFilter;
    st->nLinear = nLinear;
    st->melMul = melMul;
    st->melDiv = melDiv;
    if constexpr (kIs16<State>) st->weightScale = 14;
    st->centers = arena.template take<Zem32s>(nFilter + 3, st->pieces, &st->pieceCount);
    if (!st->centers) return zemStatusNoMemory;
    st->lowCoeffs = takeRows<W>(arena, st, nFilter + 2, n / 2 + 3, true);
    if (!st->lowCoeffs) return zemStatusNoMemory;
    st->highCoeffs = takeRows<W>(arena, st, nFilter + 2, n / 2, false);
    if (!st->highCoeffs) return zemStatusNoMemory;
    if (mode & 4) {
        Zem32s sizeState = 0, sizeInit = 0, sizeBuf = 0;
        if constexpr (kIs16<State>) ownFFTGetSize_R_16s(order, 8, 2, &sizeState, &sizeInit, &sizeBuf);
        else ownFFTGetSize_R_32f(order, 8, 2, &sizeState, &sizeInit, &sizeBuf);
        if (arena.allocating()) {
            ZemStatus s;
            if constexpr (kIs16<State>) s = ownFFTInitAlloc_R_16s(&st->fftState, order, 8, 2);
            else s = ownFFTInitAlloc_R_32f(&st->fftState, order, 8, 2);
            if (s != zemStatusOk) return zemStatusNoMemory;
        } else {
            Zem8u* memState = arena.template take<Zem8u>(sizeState);
            Zem8u* memInit = sizeInit > 0 ? arena.template take<Zem8u>(sizeInit) : nullptr;
            if constexpr (kIs16<State>) ownFFTInit_R_16s(&st->fftState, order, 8, 2, memState, memInit);
            else ownFFTInit_R_32f(&st->fftState, order, 8, 2, memState, memInit);
        }
        st->work = arena.template take<W>(2 * n + 20, st->pieces, &st->pieceCount);
        if (!st->work) return zemStatusNoMemory;
        if (sizeBuf > 0) {
            st->fftBuffer = arena.template take<Zem8u>(sizeBuf, st->pieces, &st->pieceCount);
            if (!st->fftBuffer) return zemStatusNoMemory;
        }
    }
    return zemStatusOk;
}

// ---- Centres and weights -------------------------------------------------------------------

// melMul * ln(1 + q) with q and 1 + q in float, the logarithm and the product in double.
inline float melOfQuotient(float q, float melMul) {
    return static_cast<float>(static_cast<double>(melMul) * std::log(static_cast<double>(1.0f + q)));
}

// Weights are float, or Q14 integers truncated from float or integer quotients.
template <class W>
inline W melWeight(float numerator, float denominator) {
    if constexpr (sizeof(W) == 4 && std::is_integral_v<W>) return static_cast<W>((numerator * 16384.0f) / denominator);
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
    for (int k = 0; k < count; ++k) c[k] = (mode & 2) ? static_cast<Zem32s>(std::nearbyint(b[k])) : static_cast<Zem32s>(b[k]);
}

// Bin weights of filter i (row i - 1): straight lines whose peak 1 falls on c[i].
template <class W>
void binSlopes(W* low, W* high, const Zem32s* c, int i) {
    for (int64_t k = c[i - 1]; k <= c[i]; ++k) low[k - c[i - 1]] = binWeight<W>(k - c[i - 1] + 1, int64_t{c[i]} - c[i - 1] + 1);
    for (int64_t k = int64_t{c[i]} + 1; k <= c[i + 1]; ++k)
        high[k - c[i] - 1] = binWeight<W>(c[i + 1] - k + 1, int64_t{c[i + 1]} - c[i] + 1);
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
    st->ready = 1;
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
    st->ready = 1;
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
            const W w = q > 2147483647.0 ? INT32_MAX : (q < -2147483648.0 ? INT32_MIN : static_cast<W>(q));
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

template <class State>
ZemStatus checkMelArguments(const void* state, const void* fftOrder, int frameLen, float sampFreq, float lowFreq,
                            float highFreq, int nFilter, int mode) {
    if (!state || !fftOrder) return zemStatusNullPointer;
    if (frameLen < 1 || nFilter < 1 || !(sampFreq > 0.0f) || !(lowFreq > 0.0f)) return zemStatusBadSize;
    if (lowFreq > highFreq) return zemStatusBadFreqRange;
    if (highFreq > sampFreq * 0.5f) return zemStatusBadFreqRange;
    if (!modeAllowed(mode)) return zemStatusBadMelFlag;
    return zemStatusOk;
}

template <class State>
ZemStatus melBank(Arena& arena, State** state, Zem32s* fftOrder, int frameLen, float sampFreq, float lowFreq,
                  float highFreq, int nFilter, float melMul, float melDiv, int mode) {
    const int order = orderFor(frameLen);
    *fftOrder = order;
    if (const ZemStatus s = buildRecord(arena, state, order, nFilter, mode, mode, nFilter, melMul, melDiv); s != zemStatusOk)
        return s;
    melCentresAndWeights(*state, sampFreq, lowFreq, highFreq);
    return zemStatusOk;
}

template <class State>
ZemStatus melLinBank(State** state, Zem32s* fftOrder, int frameLen, float sampFreq, float lowFreq, float highFreq,
                     int nFilter, float linFreq, int nLinear, float melMul, float melDiv, int mode) {
    if (frameLen < 1 || nFilter < 1 || !(sampFreq > 0.0f) || !(lowFreq > 0.0f) || nLinear < 1 || nLinear > nFilter)
        return zemStatusBadSize;
    if (lowFreq > linFreq || linFreq > highFreq) return zemStatusBadFreqRange;
    if (highFreq > sampFreq * 0.5f) return zemStatusBadFreqRange;
    if (!modeAllowed(mode)) return zemStatusBadMelFlag;
    const int order = orderFor(frameLen);
    *fftOrder = order;
    Arena arena;
    if (const ZemStatus s = buildRecord(arena, state, order, nFilter, mode, mode, nLinear, melMul, melDiv); s != zemStatusOk)
        return s;
    mixedCentresAndWeights(*state, sampFreq, lowFreq, highFreq, linFreq);
    return zemStatusOk;
}

template <class State>
ZemStatus emptyBank(State** state, Zem32s* fftOrder, int frameLen, int nFilter, int mode) {
    if (frameLen < 1 || nFilter < 1) return zemStatusBadSize;
    const int order = orderFor(frameLen);
    *fftOrder = order;
    Arena arena;
    // The stored mode is 1 whatever was passed; bit 4 still builds the transform, which
    // such a bank then never uses.  Kept as it is.
    return buildRecord(arena, state, order, nFilter, mode & 4, 1, nFilter, 0.0f, 1.0f);
}

template <class State>
ZemStatus freeBank(State* st) {
    if (!st) return zemStatusNullPointer;
    st->centers = nullptr;
    st->lowCoeffs = nullptr;
    st->highCoeffs = nullptr;
    st->ready = 0;
    if (st->fftState) {
        if constexpr (kIs16<State>) ownFFTFree_R_16s(st->fftState);
        else ownFFTFree_R_32f(st->fftState);
    }
    // The record's own block is the first piece; it goes last.
    for (int k = st->pieceCount - 1; k >= 1; --k) zemFree(st->pieces[k]);
    zemFree(st->pieces[0]);
    return zemStatusOk;
}

// The centre test: c[0] >= 0, c[i-1] <= c[i] <= c[i+1] for i = 1 .. nFilter-1, and
// c[nFilter+1] <= N/2.
bool centresValid(const Zem32s* c, int nFilter, int n) {
    if (c[0] < 0) return false;
    for (int i = 1; i <= nFilter - 1; ++i)
        if (c[i - 1] > c[i] || c[i] > c[i + 1]) return false;
    return c[nFilter + 1] <= n / 2;
}

template <class State>
ZemStatus getCenters(const State* st, Zem32s* centers) {
    if (!st || !centers) return zemStatusNullPointer;
    if (!st->ready || !centresValid(st->centers, st->nFilter, st->fftLength)) return zemStatusBadFBank;
    std::memcpy(centers, st->centers, sizeof(Zem32s) * static_cast<size_t>(st->nFilter + 2));
    return zemStatusOk;
}

template <class State>
ZemStatus setCenters(State* st, const Zem32s* centers) {
    if (!st || !centers) return zemStatusNullPointer;
    if (!centresValid(centers, st->nFilter, st->fftLength)) return zemStatusBadFBank;
    std::memcpy(st->centers, centers, sizeof(Zem32s) * static_cast<size_t>(st->nFilter + 2));
    st->ready = 1;
    return zemStatusOk;
}

// The run of row j - 1: the rising slope's c[j] - c[j-1] + 1 entries, then the falling
// slope's c[j+1] - c[j] entries, each only when its length is positive.
template <class State, class Copy>
void forRuns(const State* st, int j, Copy copy) {
    const Zem32s* c = st->centers;
    int at = 0;
    const int rising = c[j] - c[j - 1] + 1, falling = c[j + 1] - c[j];
    if (c[j] >= c[j - 1]) {
        copy(st->lowCoeffs[j - 1], at, rising);
        at += rising;
    }
    if (falling > 0) copy(st->highCoeffs[j - 1], at, falling);
}

template <class State>
ZemStatus getCoeffs(const State* st, int filterIndex, Zem32f* coeffs) {
    if (!st || !coeffs) return zemStatusNullPointer;
    if (!st->ready) return zemStatusBadFBank;
    if (filterIndex < 1 || filterIndex > st->nFilter + 1) return zemStatusBadSize;
    forRuns(st, filterIndex, [&](const auto* row, int at, int count) {
        for (int k = 0; k < count; ++k) {
            if constexpr (kIs16<State>) coeffs[at + k] = static_cast<float>(row[k]) * 6.1035156e-5f;
            else coeffs[at + k] = row[k];
        }
    });
    return zemStatusOk;
}

template <class State>
ZemStatus setCoeffs(State* st, int filterIndex, const Zem32f* coeffs) {
    if (!st || !coeffs) return zemStatusNullPointer;
    if (!st->ready) return zemStatusBadFBank;
    if (filterIndex < 1 || filterIndex > st->nFilter) return zemStatusBadSize;
    forRuns(st, filterIndex, [&](auto* row, int at, int count) {
        for (int k = 0; k < count; ++k) {
            if constexpr (kIs16<State>) {
                float v = coeffs[at + k] * 16384.0f;
                v = v > 2147483648.0f ? 2147483648.0f : (v < -2147483648.0f ? -2147483648.0f : v);
                row[k] = _mm_cvttss_si32(_mm_set_ss(v));
            } else {
                row[k] = coeffs[at + k];
            }
        }
    });
    return zemStatusOk;
}

}  // namespace

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

inline int64_t shiftBy(int64_t v, int s) {
    if (s > 0) return v >> (s > 63 ? 63 : s);
    if (s < 0) return static_cast<int64_t>(static_cast<uint64_t>(v) << (-s > 63 ? 63 : -s));
    return v;
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

template <class D, bool kWrapOnTransform>
ZemStatus eval16(const Zem16s* src, D* dst, const ZemsFBankState_16s* st, int scaleFactor) {
    if (!src || !dst || !st || !st->centers) return zemStatusNullPointer;
    if (!st->ready) return zemStatusBadFBank;
    int s = scaleFactor + st->weightScale;
    constexpr int64_t lo = sizeof(D) == 2 ? INT16_MIN : INT32_MIN, hi = sizeof(D) == 2 ? INT16_MAX : INT32_MAX;
    if (st->mode & 4) {
        s += 6;
        const Zem32s* x = magnitudes16(src, st);
        for (int i = 0; i < st->nFilter; ++i) {
            const int64_t v = shiftBy(filterSum64<Zem32s, kWrapOnTransform>(x, st->centers, i, st->lowCoeffs[i], st->highCoeffs[i]), s);
            dst[i] = static_cast<D>(v < lo ? lo : (v > hi ? hi : v));
        }
        return zemStatusOk;
    }
    for (int i = 0; i < st->nFilter; ++i) {
        const int64_t v = shiftBy(filterSum64<Zem16s, false>(src, st->centers, i, st->lowCoeffs[i], st->highCoeffs[i]), s);
        dst[i] = static_cast<D>(v < lo ? lo : (v > hi ? hi : v));
    }
    return zemStatusOk;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsEvalFBank_32f(const Zem32f* src, Zem32f* dst, const ZemsFBankState_32f* state) {
    if (!src || !dst || !state || !state->centers) return zemStatusNullPointer;
    if (!state->ready) return zemStatusBadFBank;
    if (state->mode & 4) {
        const int n = state->fftLength;
        float* work = state->work;
        std::memset(work, 0, sizeof(float) * static_cast<size_t>(2 * n + 20));
        ownFFTFwd_RToCCS_32f(src, work, state->fftState, state->fftBuffer);
        float* x = zem::alignUp<float>(work + n + 2, 16);
        ownMagnitude_32fc(work, x, n / 2 + 1);
        evalFloat(x, dst, state);
        return zemStatusOk;
    }
    evalFloat(src, dst, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsEvalFBank_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsFBankState_16s* state,
                                          int scaleFactor) {
    // On the transform path each product is wrapped to 32 bits before the sum.
    return eval16<Zem16s, true>(src, dst, state, scaleFactor);
}

ZEMSR_API ZemStatus zemsEvalFBank_16s32s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFBankState_16s* state,
                                             int scaleFactor) {
    return eval16<Zem32s, false>(src, dst, state, scaleFactor);
}

// Q30 weights: each product shifted right by 8 (sums in Q22), the two slopes summed apart
// and added, scaled, then rounded with bit 21 and held below 2^31 (no lower limit).
ZEMSR_API ZemStatus zemsEvalFBank_32s_Sfs(const Zem32s* src, Zem32s* dst, const ZemsFBankState_32s* state,
                                          int scaleFactor) {
    if (!src || !dst || !state) return zemStatusNullPointer;
    if (scaleFactor < -31 || scaleFactor > 31) return zemStatusBadArg;
    const Zem32s* c = state->centers;
    for (int i = 0; i < state->nFilter; ++i) {
        int64_t rising = 0, falling = 0;
        for (int64_t k = c[i]; k <= c[i + 1]; ++k) rising += (int64_t{state->lowCoeffs[i][k - c[i]]} * src[k]) >> 8;
        for (int64_t k = int64_t{c[i + 1]} + 1; k <= c[i + 2]; ++k)
            falling += (int64_t{state->highCoeffs[i][k - c[i + 1] - 1]} * src[k]) >> 8;
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
    return zemStatusOk;
}

// ---- Mel banks ------------------------------------------------------------------------------------

#define ZEM_MEL_BANK(T)                                                                                              \
    ZEMSR_API ZemStatus zemsMelFBankGetSize_##T(int frameLen, int nFilter, int mode, Zem32s* size) {                 \
        if (!size) return zemStatusNullPointer;                                                                      \
        if (frameLen < 1 || nFilter < 1) return zemStatusBadSize;                                                    \
        if (!modeAllowed(mode)) return zemStatusBadMelFlag;                                                          \
        const int64_t bytes = bankSize<ZemsFBankState_##T>(frameLen, nFilter, mode);                                 \
        if (bytes > INT32_MAX) return zemStatusBadSize;                                                              \
        *size = static_cast<Zem32s>(bytes);                                                                          \
        return zemStatusOk;                                                                                          \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsMelFBankInitAlloc_##T(ZemsFBankState_##T** state, Zem32s* fftOrder, int frameLen,        \
                                                  Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,     \
                                                  Zem32f melMul, Zem32f melDiv, int mode) {                          \
        if (const ZemStatus s = checkMelArguments<ZemsFBankState_##T>(state, fftOrder, frameLen, sampFreq, lowFreq,  \
                                                                     highFreq, nFilter, mode);                      \
            s != zemStatusOk)                                                                                        \
            return s;                                                                                                \
        Arena arena;                                                                                                 \
        return melBank(arena, state, fftOrder, frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode); \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsMelFBankInit_##T(ZemsFBankState_##T* state, Zem32s* fftOrder, int frameLen,              \
                                             Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,          \
                                             Zem32f melMul, Zem32f melDiv, int mode) {                               \
        if (const ZemStatus s = checkMelArguments<ZemsFBankState_##T>(state, fftOrder, frameLen, sampFreq, lowFreq,  \
                                                                     highFreq, nFilter, mode);                      \
            s != zemStatusOk)                                                                                        \
            return s;                                                                                                \
        Arena arena(reinterpret_cast<Zem8u*>(state));                                                                \
        ZemsFBankState_##T* built = nullptr;                                                                         \
        return melBank(arena, &built, fftOrder, frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode); \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsMelLinFBankInitAlloc_##T(ZemsFBankState_##T** state, Zem32s* fftOrder, int frameLen,     \
                                                     Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,  \
                                                     Zem32f linFreq, int nLinear, Zem32f melMul, Zem32f melDiv,      \
                                                     int mode) {                                                     \
        return melLinBank(state, fftOrder, frameLen, sampFreq, lowFreq, highFreq, nFilter, linFreq, nLinear, melMul,  \
                          melDiv, mode);                                                                             \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsEmptyFBankInitAlloc_##T(ZemsFBankState_##T** state, Zem32s* fftOrder, int frameLen,      \
                                                    int nFilter, int mode) {                                         \
        return emptyBank(state, fftOrder, frameLen, nFilter, mode);                                                  \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsFBankFree_##T(ZemsFBankState_##T* state) { return freeBank(state); }                     \
    ZEMSR_API ZemStatus zemsFBankGetCenters_##T(const ZemsFBankState_##T* state, Zem32s* centers) {                  \
        return getCenters(state, centers);                                                                           \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsFBankSetCenters_##T(ZemsFBankState_##T* state, const Zem32s* centers) {                  \
        return setCenters(state, centers);                                                                           \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsFBankGetCoeffs_##T(const ZemsFBankState_##T* state, int filterIndex, Zem32f* coeffs) {   \
        return getCoeffs(state, filterIndex, coeffs);                                                                \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsFBankSetCoeffs_##T(ZemsFBankState_##T* state, int filterIndex, const Zem32f* coeffs) {   \
        return setCoeffs(state, filterIndex, coeffs);                                                                \
    }

ZEM_MEL_BANK(32f)
ZEM_MEL_BANK(16s)

// ---- Mel conversions, in double and rounded to float on the store -------------------------------
ZEMSR_API ZemStatus zemsLinearToMel_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv) {
    if (!src || !dst) return zemStatusNullPointer;
    if (len <= 0 || !(melMul > 0.0f) || !(melDiv > 0.0f)) return zemStatusBadSize;
    const double inv = 1.0 / melDiv;
    for (int i = 0; i < len; ++i) dst[i] = static_cast<float>(melMul * std::log(1.0 + src[i] * inv));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMelToLinear_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv) {
    if (!src || !dst) return zemStatusNullPointer;
    if (len <= 0 || !(melMul > 0.0f) || !(melDiv > 0.0f)) return zemStatusBadSize;
    const double inv = 1.0 / melMul;
    for (int i = 0; i < len; ++i) dst[i] = static_cast<float>(melDiv * (std::exp(src[i] * inv) - 1.0));
    return zemStatusOk;
}

}  // extern "C"
