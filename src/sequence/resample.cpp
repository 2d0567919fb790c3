// Polyphase resampling, the variable engine: one finely sampled half of a Kaiser-windowed
// sinc, nStep entries per input sample, interpolated linearly for any real ratio.  The
// caller holds the time between calls and the history around each block.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "sequence/kaiser.h"

namespace zem::resample {

// The record: the header, then the table of tableLen + 1 entries (the last repeating the
// one before it, so that interpolation may read one past the end).
struct VariableFields {
    Zem32f stepInv;     // 1 / nStep
    Zem32s nStep;       // table entries per input sample
    Zem32s tableLen;    // T
    Zem32f normFactor;  // 1, or peak / 16383 for a 16-bit table
    Zem32s flags;       // bit 0: a float table built for accuracy; bit 1: the fast hint
    void* table;
};

}  // namespace zem::resample

struct ZemsResampleState_32f : zem::resample::VariableFields {};
struct ZemsResampleState_16s : zem::resample::VariableFields {};

namespace {

using namespace zem::resample;
using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;

constexpr float kMaxSpan = 268435454.0f;  // tables of 268435455 entries or more are refused

// n = truncate(nStep * window / 2) in float: the table has n + 1 entries.
float tableSpan(float window, int nStep) { return static_cast<float>(nStep) * (window * 0.5f); }

// The prototype: h[0] = rollf, h[i] = sin(rollf w i) / (w i) with w = pi / nStep, windowed
// by Kaiser over i / n, then scaled to gain 1 at zero frequency.
void designVariable(double* h, int64_t T, int nStep, double rollf, double alpha) {
    const double w = kPi / nStep, invI0 = 1.0 / besselI0(alpha), n = static_cast<double>(T - 1);
    h[0] = rollf;
    for (int64_t i = 1; i < T; ++i) {
        const double x = static_cast<double>(i);
        const double u = x / n;
        h[i] = std::sin(rollf * w * x) / (w * x) * invI0 * besselI0(alpha * std::sqrt(1.0 - u * u));
    }
    normaliseGain(h, T, nStep);
}

// Builds the record in one block; the design array is the first of two allocations.  For
// the 16-bit fast table a failure of that first allocation answers zemStatusNullPointer,
// a long-standing inconsistency kept on purpose.
template <class State, bool Sixteen>
ZemStatus initVariable(State** state, float window, int nStep, float rollf, float alpha, int hint) {
    const int64_t T = int64_t{truncToInt(tableSpan(window, nStep))} + 1;
    const bool intTable = Sixteen && hint != zemAlgHintAccurate;
    zem::HeapScratch<double> h(T);
    if (!h.ok()) return intTable ? zemStatusNullPointer : zemStatusNoMemory;
    designVariable(h.data(), T, nStep, rollf, alpha);

    const int64_t entryBytes = intTable ? 2 : 4;
    const int64_t bytes = static_cast<int64_t>(sizeof(State)) + 31 + (T + 1) * entryBytes;
    return zem::allocateLaidOut(state, bytes, [&](void* block) {
        zem::Arena arena = zem::Arena::forBuffer(block);
        State* st = arena.template record<State>();
        st->stepInv = 1.0f / static_cast<float>(nStep);
        st->nStep = nStep;
        st->tableLen = static_cast<Zem32s>(T);
        st->normFactor = 1.0f;
        if (intTable) {
            double peak = 0.0;
            for (int64_t i = 0; i < T; ++i) peak = std::fmax(peak, std::fabs(h[i]));
            const double k = 16383.0 / peak;
            Zem16s* table = arena.template take<Zem16s>(T + 1);
            for (int64_t i = 0; i < T; ++i) table[i] = roundHalfAway16(h[i] * k);
            table[T] = table[T - 1];
            st->normFactor = static_cast<float>(peak / 16383.0);
            st->table = table;
            st->flags = 2;
        } else {
            float* table = arena.template take<float>(T + 1);
            for (int64_t i = 0; i < T; ++i) table[i] = static_cast<float>(h[i]);
            table[T] = table[T - 1];
            st->table = table;
            st->flags = hint == zemAlgHintAccurate ? 1 : 2;
        }
        return st;
    });
}

// One side of the filter at a stretched spacing (factor below 1): taps at p, p + d, ...
// while p < T - 1e-5, each interpolated between two entries, added to acc.  step is -1
// for the past side (src[i], src[i-1], ...) and +1 for the future side (src[i+1], ...).
template <class E, class X>
void stretchedSide(const E* table, int64_t T, const X* at, int step, double p, double d, double& acc) {
    for (int64_t q = 0; p < static_cast<double>(T) - 1e-5; p += d, ++q) {
        const int64_t a = static_cast<int64_t>(p);
        if (a < 0) continue;  // before the table's start (negative times only)
        const double w = p - static_cast<double>(a);
        const double tap = static_cast<double>(table[a]) * (1.0 - w) + static_cast<double>(table[a + 1]) * w;
        acc += tap * static_cast<double>(at[step * q]);
    }
}

// One side at the table's own spacing (factor 1 or above): entries a, a + nStep, ... below
// T, all with the same fraction w, added to acc.
template <class E, class X>
void plainSide(const E* table, int64_t T, int nStep, const X* at, int step, double s, double& acc) {
    const int64_t a0 = static_cast<int64_t>(1e-5 + s);
    const double w = s - static_cast<double>(a0);
    int64_t q = 0;
    for (int64_t a = a0; a < T; a += nStep, ++q) {
        if (a < 0) continue;  // before the table's start (negative times only)
        const double tap = static_cast<double>(table[a]) * (1.0 - w) + static_cast<double>(table[a + 1]) * w;
        acc += tap * static_cast<double>(at[step * q]);
    }
}

template <class X>
void store(X* dst, double v) {
    if constexpr (std::is_same_v<X, Zem16s>) *dst = roundHalfAway16(v);
    else *dst = static_cast<float>(v);
}

// The run: outputs while t is below end = len + truncate(t) (a 32-bit sum); each output
// is the past side then the future side around sample truncate(t), and t advances by
// 1 / factor.
template <class E, class X>
void runVariable(const zem::resample::VariableFields& st, const X* src, int len, X* dst, double factor, float norm,
                 double* time, Zem32s* outLen) {
    const E* table = static_cast<const E*>(st.table);
    const int64_t T = st.tableLen;
    const int nStep = st.nStep;
    double t = *time;
    const int32_t end32 = static_cast<int32_t>(static_cast<uint32_t>(len) + static_cast<uint32_t>(truncToInt(t)));
    const double end = static_cast<double>(end32);
    const double stretchedGain = static_cast<double>(norm) * factor * static_cast<double>(st.normFactor);
    const double plainGain = static_cast<double>(st.normFactor * norm);
    const double d = factor * nStep;
    int32_t count = 0;
    while (t < end) {
        const int32_t i = truncToInt(t);
        const double f = t - static_cast<double>(i);
        const X* at = src + i;
        double acc = 0.0;
        if (factor < 1.0) {
            stretchedSide(table, T, at, -1, d * f, d, acc);
            stretchedSide(table, T, at + 1, 1, (1.0 - f) * d, d, acc);
        } else {
            plainSide(table, T, nStep, at, -1, nStep * f, acc);
            plainSide(table, T, nStep, at + 1, 1, nStep * (1.0 - f), acc);
        }
        store(dst + count, acc * (factor < 1.0 ? stretchedGain : plainGain));
        ++count;
        t = t + 1.0 / factor;
    }
    *outLen = count;
    *time = t;
}

auto variableSetupChecks(const void* state, float window, int nStep, float rollf, float alpha) {
    return firstFailure(nonNull(state), atLeastOne(nStep),
                        ensure(!(2.0 / nStep > window) && rollf > 0.0f && rollf <= 1.0f && alpha >= 1.0f,
                               zemStatusBadArg),
                        ensure(tableSpan(window, nStep) < kMaxSpan, zemStatusBadArg));
}

auto variableRunChecks(const void* state, const double* time, const void* src, const void* dst, const Zem32s* outLen,
                       double factor, int len) {
    return firstFailure(nonNull(state, time, src, dst, outLen), ensure(factor > 0.0, zemStatusBadSize),
                        atLeastOne(len));
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsResamplePolyphaseInitAlloc_32f(ZemsResampleState_32f** state, Zem32f window, Zem32s nStep,
                                                       Zem32f rollf, Zem32f alpha, Zem32s hint) {
    if (const ZemStatus s = variableSetupChecks(state, window, nStep, rollf, alpha)) return s;
    return initVariable<ZemsResampleState_32f, false>(state, window, nStep, rollf, alpha, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseInitAlloc_16s(ZemsResampleState_16s** state, Zem32f window, Zem32s nStep,
                                                       Zem32f rollf, Zem32f alpha, Zem32s hint) {
    if (const ZemStatus s = variableSetupChecks(state, window, nStep, rollf, alpha)) return s;
    return initVariable<ZemsResampleState_16s, true>(state, window, nStep, rollf, alpha, hint);
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFree_32f(ZemsResampleState_32f* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    zem::releaseBlock(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphaseFree_16s(ZemsResampleState_16s* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    zem::releaseBlock(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsResamplePolyphase_32f(const ZemsResampleState_32f* state, const Zem32f* src, Zem32s len,
                                              Zem32f* dst, Zem64f factor, Zem32f norm, Zem64f* time,
                                              Zem32s* outLen) {
    if (const ZemStatus s = variableRunChecks(state, time, src, dst, outLen, factor, len)) return s;
    runVariable<float>(*state, src, len, dst, factor, norm, time, outLen);
    return zemStatusOk;
}

// The table's element type follows the flags: 16 bits when built with the fast hint.
ZEMSR_API ZemStatus zemsResamplePolyphase_16s(const ZemsResampleState_16s* state, const Zem16s* src, Zem32s len,
                                              Zem16s* dst, Zem64f factor, Zem32f norm, Zem64f* time,
                                              Zem32s* outLen) {
    if (const ZemStatus s = variableRunChecks(state, time, src, dst, outLen, factor, len)) return s;
    if (state->flags & 1) runVariable<float>(*state, src, len, dst, factor, norm, time, outLen);
    else runVariable<Zem16s>(*state, src, len, dst, factor, norm, time, outLen);
    return zemStatusOk;
}

}  // extern "C"
