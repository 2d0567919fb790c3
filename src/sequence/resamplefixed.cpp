// Polyphase resampling, the fixed engine: a rational ratio reduced to lowest terms I / O,
// one ready filter per output phase, and a table of input steps per phase, so that an
// output is one dot product.  The record is one block laid out as
//   header | steps: O entries padded to 8 | filter pointers: (O + 4) & ~3 | O rows of
//   W = (len + 4) & ~3 taps
// in the caller's buffer (Init, sized by GetSize) or in an allocation (InitAlloc).
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "own.h"
#include "sequence/kaiser.h"

namespace zem::resample {

struct FixedFields {
    Zem32s inRate;      // I, reduced
    Zem32s outRate;     // O, reduced: the number of phases
    Zem32f normFactor;  // 1, or 2^-14 for Q14 taps
    Zem32s halfLen;     // ((len + 3) & ~3) / 2
    Zem32s flags;       // 1: built for accuracy, 2: fast
    Zem32s rowLen;      // W, taps per row
    Zem16s* steps;      // per phase, the input samples to advance by after an output
    void** filters;     // per phase, its row
};

}  // namespace zem::resample

struct ZemsResampleFixedState_32f : zem::resample::FixedFields {};
struct ZemsResampleFixedState_16s : zem::resample::FixedFields {
    Zem32s tapBytes;  // 2 for Q14 taps, 4 for float taps
    Zem32s spare;
};

namespace {

using namespace zem::resample;
using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;

constexpr int64_t kMaxBlock = 2147483646;

template <class State>
constexpr bool kIs16 = std::is_same_v<State, ZemsResampleFixedState_16s>;

int64_t gcd(int64_t a, int64_t b) {
    while (b) {
        const int64_t t = a % b;
        a = b;
        b = t;
    }
    return a;
}

// The geometry of a record: rates in lowest terms, half length, row length and bytes.
struct Geometry {
    int64_t I, O, L, halfLen, W, stepEntries, pointerEntries, bytes;
};

template <class State>
Geometry geometry(int inRate, int outRate, int len, int64_t tapBytes) {
    Geometry g;
    const int64_t d = gcd(inRate, outRate);
    g.I = inRate / d;
    g.O = outRate / d;
    g.L = (int64_t{len} + 3) & ~int64_t{3};
    g.halfLen = g.L / 2;
    g.W = (int64_t{len} + 4) & ~int64_t{3};
    g.stepEntries = (g.O + 7) & ~int64_t{7};
    g.pointerEntries = (g.O + 4) & ~int64_t{3};
    g.bytes = static_cast<int64_t>(sizeof(State)) + g.stepEntries * 2 + g.pointerEntries * 8 + g.W * g.O * tapBytes;
    return g;
}

template <class State>
int64_t tapBytesFor(int hint, bool allocating) {
    if constexpr (kIs16<State>) return allocating && hint == zemAlgHintAccurate ? 4 : 2;
    else return 4;
}

// Lays the record out in the block: header, steps, pointers and rows (zeroed when
// zeroRows, else left as they stood), and the step table.
template <class State>
State* layOut(void* block, const Geometry& g, int64_t tapBytes, bool zeroRows) {
    zem::Arena arena = zem::Arena::forBuffer(block);
    State* st = arena.template record<State>();
    st->inRate = static_cast<Zem32s>(g.I);
    st->outRate = static_cast<Zem32s>(g.O);
    st->halfLen = static_cast<Zem32s>(g.halfLen);
    st->rowLen = static_cast<Zem32s>(g.W);
    if constexpr (kIs16<State>) st->tapBytes = static_cast<Zem32s>(tapBytes);
    st->steps = arena.template take<Zem16s>(g.stepEntries, alignof(Zem16s));
    st->filters = arena.template take<void*>(g.pointerEntries, alignof(void*));
    char* rows = zeroRows ? arena.template take<char>(g.W * g.O * tapBytes, 4) : arena.template place<char>(g.W * g.O * tapBytes, 4);
    for (int64_t p = 0; p < g.O; ++p) st->filters[p] = rows + p * g.W * tapBytes;
    // Phase p = (i I) mod O advances by floor((i + 1) I / O) - floor(i I / O); phase 0 takes
    // one sample more for its extra tap and the last phase of the cycle one less.
    for (int64_t i = 0; i < g.O; ++i)
        st->steps[(i * g.I) % g.O] = static_cast<Zem16s>((i + 1) * g.I / g.O - i * g.I / g.O);
    st->steps[0] = static_cast<Zem16s>(st->steps[0] + 1);
    const int64_t last = ((g.O - 1) * g.I) % g.O;
    st->steps[last] = static_cast<Zem16s>(st->steps[last] - 1);
    return st;
}

// The number of design points minus one, c, and the spacing D of the prototype.
struct Design {
    int64_t c, D;
};

Design designSize(const Geometry& g) {
    const double r = static_cast<double>(g.O) / static_cast<double>(g.I);
    if (r < 1.0) {
        const float Lr = static_cast<float>(static_cast<double>(g.L) * r);
        return {truncToInt(static_cast<float>(g.I) * 0.5f * (Lr + 1e-5f)), g.I};
    }
    return {truncToInt(static_cast<float>(g.O) * 0.5f * (static_cast<float>(g.L) + 1e-5f)), g.O};
}

// g(0) = rollf, g(m) = sin(rollf (pi / D) m) / ((pi / D) m) windowed over m / c, at gain 1.
void designFixed(double* g, const Design& d, double rollf, double alpha) {
    const double w = kPi / static_cast<double>(d.D), invI0 = 1.0 / besselI0(alpha);
    g[0] = rollf;
    for (int64_t m = 1; m <= d.c; ++m) {
        const double x = static_cast<double>(m);
        g[m] = std::sin(rollf * w * x) / (w * x) * kaiser(x / static_cast<double>(d.c), alpha, invI0);
    }
    g[d.c + 1] = 0.0;
    normaliseGain(g, d.c + 1, d.D);
}

template <class Tap>
Tap toTap(double v) {
    if constexpr (std::is_same_v<Tap, Zem16s>) return roundHalfAway16(v * 16384.0);
    else return static_cast<float>(v);
}

// Filter 0 is symmetric around halfLen with g(c) at both ends; phase p holds g(p + i O)
// rising from halfLen and its mirror phase O - p the same values falling from halfLen - 1.
// The last tap of filter 0 lies one past a row of L taps: where no row or block follows,
// it is not stored.
template <class Tap>
void fillRows(Tap* const* rows, const Geometry& geo, const double* g, const Design& d) {
    const int64_t h = geo.halfLen, O = geo.O;
    rows[0][h] = toTap<Tap>(g[0]);
    for (int64_t i = 1; i < h; ++i) rows[0][h + i] = rows[0][h - i] = toTap<Tap>(g[i * O]);
    rows[0][0] = toTap<Tap>(g[d.c]);
    if (geo.W > geo.L || O > 1) rows[0][geo.L] = toTap<Tap>(g[d.c]);
    for (int64_t p = 1; p < O; ++p)
        for (int64_t i = 0; i < h; ++i) {
            const Tap v = toTap<Tap>(g[p + i * O]);
            rows[O - p][h + i] = v;
            rows[p][h - 1 - i] = v;
        }
}

template <class State>
ZemStatus initAllocFixed(State** state, int inRate, int outRate, int len, float rollf, float alpha, int hint) {
    const int64_t tapBytes = tapBytesFor<State>(hint, true);
    const Geometry geo = geometry<State>(inRate, outRate, len, tapBytes);
    const Design d = designSize(geo);
    if (geo.bytes + 8 * (d.c + 1) > kMaxBlock || d.c < 1) return zemStatusBadArg;
    // The rows read g up to O halfLen - 1, which the float rounding of c may leave just
    // past the design: such points are 0.
    const int64_t points = d.c + 2 > geo.O * geo.halfLen + 1 ? d.c + 2 : geo.O * geo.halfLen + 1;
    zem::HeapScratch<double> g(points);
    if (!g.ok()) return zemStatusNoMemory;
    for (int64_t m = d.c + 1; m < points; ++m) g[m] = 0.0;
    designFixed(g.data(), d, rollf, alpha);
    return zem::allocateLaidOut(state, geo.bytes, [&](void* block) {
        State* st = layOut<State>(block, geo, tapBytes, true);
        st->flags = hint == zemAlgHintAccurate ? 1 : 2;
        if (tapBytes == 2) {
            st->normFactor = 6.1035156e-05f;
            fillRows(reinterpret_cast<Zem16s* const*>(st->filters), geo, g.data(), d);
        } else {
            st->normFactor = 1.0f;
            fillRows(reinterpret_cast<float* const*>(st->filters), geo, g.data(), d);
        }
        return st;
    });
}

// Init designs nothing: the caller sets the rows.
template <class State>
ZemStatus initFixed(State* buffer, int inRate, int outRate, int len, int hint) {
    const Geometry geo = geometry<State>(inRate, outRate, len, tapBytesFor<State>(hint, false));
    if (geo.bytes > kMaxBlock) return zemStatusBadSize;
    State* st = layOut<State>(buffer, geo, tapBytesFor<State>(hint, false), false);
    st->flags = hint == zemAlgHintAccurate ? 1 : 2;
    st->normFactor = kIs16<State> ? 6.1035156e-05f : 1.0f;
    return zemStatusOk;
}

template <class State>
ZemStatus getSizeFixed(int inRate, int outRate, int len, Zem32s* size, Zem32s* filterLen, Zem32s* numFilters) {
    const Geometry geo = geometry<State>(inRate, outRate, len, tapBytesFor<State>(zemAlgHintFast, false));
    if (geo.bytes > kMaxBlock) return zemStatusBadSize;
    *size = static_cast<Zem32s>(geo.bytes);
    *filterLen = static_cast<Zem32s>(geo.W);
    *numFilters = static_cast<Zem32s>(geo.O);
    return zemStatusOk;
}

template <class State>
int64_t tapBytesOf(const State& st) {
    if constexpr (kIs16<State>) return st.tapBytes;
    else return 4;
}

// ---- The run ---------------------------------------------------------------------------

// The dot product of n taps with x by the record's kind.
template <class State, class X>
double dot(const State& st, const void* taps, const X* x, int n) {
    if constexpr (std::is_same_v<X, float>) {
        if (st.flags & 1) {
            Zem64f y;
            ownDotProd_32f64f(static_cast<const float*>(taps), x, n, &y);
            return y;
        }
        Zem32f y;
        ownDotProd_32f(static_cast<const float*>(taps), x, n, &y);
        return y;
    } else if (st.tapBytes == 4) {
        // Float taps: each product in float, the sum in double, narrowed to float.
        const float* t = static_cast<const float*>(taps);
        double acc = 0.0;
        for (int k = 0; k < n; ++k) acc += static_cast<double>(static_cast<float>(x[k]) * t[k]);
        return static_cast<float>(acc);
    } else {
        // Q14 taps: products of pairs added in 32 bits (wrapping), the whole in 64 bits,
        // cut to 32 bits.
        const Zem16s* t = static_cast<const Zem16s*>(taps);
        int64_t acc = 0;
        int k = 0;
        for (; k + 2 <= n; k += 2) {
            const uint32_t pair = static_cast<uint32_t>(int32_t{x[k]} * t[k]) + static_cast<uint32_t>(int32_t{x[k + 1]} * t[k + 1]);
            acc += static_cast<int32_t>(pair);
        }
        if (k < n) acc += int32_t{x[k]} * t[k];
        return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(acc)));
    }
}

template <class State, class X>
void runFixed(const State& st, const X* src, int len, X* dst, float norm, double* time, Zem32s* outLen) {
    const int64_t I = st.inRate, O = st.outRate, h = st.halfLen, L = 2 * h;
    const double ratio = static_cast<double>(O) / static_cast<double>(I);
    const double gain = static_cast<double>(st.normFactor) * static_cast<double>(norm) * (ratio < 1.0 ? ratio : 1.0);
    const int64_t k = truncToInt(*time);
    const double f = *time - static_cast<double>(k);
    const int64_t phase0 = truncToInt(static_cast<double>(O) * f + 0.5);
    const X* x = src + (k - h + 1 - (phase0 == 0 ? 1 : 0));
    // Phase 0 has one tap more, where the record holds it (see fillRows).
    const int zeroTaps = static_cast<int>(st.rowLen > L || O > 1 ? L + 1 : L);
    int64_t pos = k * O + phase0;
    const int64_t endPos = (k + len) * O;
    int32_t count = 0;
    while (pos < endPos) {
        const int64_t p = ((pos % O) + O) % O;
        const double y = dot(st, st.filters[p], x, p == 0 ? zeroTaps : static_cast<int>(L));
        if constexpr (std::is_same_v<X, Zem16s>) dst[count] = roundHalfAway16(y * gain);
        else dst[count] = static_cast<float>(y * gain);
        ++count;
        x += st.steps[p];
        pos += I;
    }
    *outLen = count;
    *time = f + static_cast<double>(pos - phase0) / static_cast<double>(O);
}

// ---- Filter rows ------------------------------------------------------------------------

// Rows copied between the record and the caller's matrix, in elements of X: the whole
// block at once when step is 2 halfLen + 4, else row by row, min(2 halfLen + 4, step)
// elements each.  Copies stop at the end of the record's rows.
template <class State, class X, bool ToRecord>
void copyRows(State& st, X* rows, int step, int height) {
    const int64_t tapBytes = tapBytesOf(st), rowUnits = st.rowLen * tapBytes / static_cast<int64_t>(sizeof(X));
    const int64_t total = rowUnits * st.outRate, rowLen = 2 * int64_t{st.halfLen} + 4;
    X* base = static_cast<X*>(st.filters[0]);
    auto copy = [&](int64_t at, X* caller, int64_t n) {
        if (at >= total) return;
        n = n < total - at ? n : total - at;
        if (ToRecord) std::memcpy(base + at, caller, static_cast<size_t>(n) * sizeof(X));
        else std::memcpy(caller, base + at, static_cast<size_t>(n) * sizeof(X));
    };
    if (step == rowLen) {
        copy(0, rows, int64_t{step} * height);
        return;
    }
    const int64_t n = rowLen < step ? rowLen : step;
    for (int64_t r = 0; r < height; ++r) copy(r * rowUnits, rows + r * step, n);
}

auto fixedSizes(int inRate, int outRate, int len) { return atLeastOne(inRate, outRate, len); }

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedGetSize_32f(Zem32s inRate, Zem32s outRate, Zem32s len, Zem32s* size,
                                                          Zem32s* filterLen, Zem32s* numFilters) {
    if (const ZemStatus s = firstFailure(nonNull(size, filterLen, numFilters), fixedSizes(inRate, outRate, len)))
        return s;
    return getSizeFixed<ZemsResampleFixedState_32f>(inRate, outRate, len, size, filterLen, numFilters);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedGetSize_16s(Zem32s inRate, Zem32s outRate, Zem32s len, Zem32s* size,
                                                          Zem32s* filterLen, Zem32s* numFilters, Zem32s hint) {
    if (const ZemStatus s = firstFailure(nonNull(size, filterLen, numFilters), fixedSizes(inRate, outRate, len),
                                         ensure(hint == zemAlgHintFast, zemStatusBadArg)))
        return s;
    return getSizeFixed<ZemsResampleFixedState_16s>(inRate, outRate, len, size, filterLen, numFilters);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInit_32f(ZemsResampleFixedState_32f* state, Zem32s inRate,
                                                       Zem32s outRate, Zem32s len, Zem32s hint) {
    if (const ZemStatus s = firstFailure(nonNull(state), fixedSizes(inRate, outRate, len))) return s;
    return initFixed(state, inRate, outRate, len, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInit_16s(ZemsResampleFixedState_16s* state, Zem32s inRate,
                                                       Zem32s outRate, Zem32s len, Zem32s hint) {
    if (const ZemStatus s = firstFailure(nonNull(state), fixedSizes(inRate, outRate, len),
                                         ensure(hint == zemAlgHintFast, zemStatusBadArg)))
        return s;
    return initFixed(state, inRate, outRate, len, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInitAlloc_32f(ZemsResampleFixedState_32f** state, Zem32s inRate,
                                                            Zem32s outRate, Zem32s len, Zem32f rollf, Zem32f alpha,
                                                            Zem32s hint) {
    if (const ZemStatus s = firstFailure(nonNull(state), fixedSizes(inRate, outRate, len),
                                         ensure(rollf > 0.0f && rollf <= 1.0f && alpha >= 1.0f, zemStatusBadArg)))
        return s;
    return initAllocFixed(state, inRate, outRate, len, rollf, alpha, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInitAlloc_16s(ZemsResampleFixedState_16s** state, Zem32s inRate,
                                                            Zem32s outRate, Zem32s len, Zem32f rollf, Zem32f alpha,
                                                            Zem32s hint) {
    if (const ZemStatus s = firstFailure(nonNull(state), fixedSizes(inRate, outRate, len),
                                         ensure(rollf > 0.0f && rollf <= 1.0f && alpha >= 1.0f, zemStatusBadArg)))
        return s;
    return initAllocFixed(state, inRate, outRate, len, rollf, alpha, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedFree_32f(ZemsResampleFixedState_32f* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    zem::releaseBlock(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixedFree_16s(ZemsResampleFixedState_16s* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    zem::releaseBlock(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixed_32f(const ZemsResampleFixedState_32f* state, const Zem32f* src,
                                                   Zem32s len, Zem32f* dst, Zem32f norm, Zem64f* time,
                                                   Zem32s* outLen) {
    if (const ZemStatus s = firstFailure(nonNull(state, src, dst, outLen, time), atLeastOne(len))) return s;
    runFixed(*state, src, len, dst, norm, time, outLen);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFixed_16s(const ZemsResampleFixedState_16s* state, const Zem16s* src,
                                                   Zem32s len, Zem16s* dst, Zem32f norm, Zem64f* time,
                                                   Zem32s* outLen) {
    if (const ZemStatus s = firstFailure(nonNull(state, src, dst, outLen, time), atLeastOne(len))) return s;
    runFixed(*state, src, len, dst, norm, time, outLen);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseGetFixedFilter_32f(const ZemsResampleFixedState_32f* state, Zem32f* dst,
                                                            Zem32s step, Zem32s height) {
    if (const ZemStatus s = firstFailure(nonNull(state, dst), atLeastOne(step, height))) return s;
    copyRows<const ZemsResampleFixedState_32f, Zem32f, false>(*state, dst, step, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseGetFixedFilter_16s(const ZemsResampleFixedState_16s* state, Zem16s* dst,
                                                            Zem32s step, Zem32s height) {
    if (const ZemStatus s = firstFailure(nonNull(state, dst), atLeastOne(step, height))) return s;
    copyRows<const ZemsResampleFixedState_16s, Zem16s, false>(*state, dst, step, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseSetFixedFilter_32f(ZemsResampleFixedState_32f* state, const Zem32f* src,
                                                            Zem32s step, Zem32s height) {
    if (const ZemStatus s = firstFailure(nonNull(state, src), atLeastOne(step, height))) return s;
    copyRows<ZemsResampleFixedState_32f, Zem32f, true>(*state, const_cast<Zem32f*>(src), step, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseSetFixedFilter_16s(ZemsResampleFixedState_16s* state, const Zem16s* src,
                                                            Zem32s step, Zem32s height) {
    if (const ZemStatus s = firstFailure(nonNull(state, src), atLeastOne(step, height))) return s;
    copyRows<ZemsResampleFixedState_16s, Zem16s, true>(*state, const_cast<Zem16s*>(src), step, height);
    return zemStatusOk;
}

}  // extern "C"
