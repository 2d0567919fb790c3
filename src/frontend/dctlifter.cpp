// DCT liftering: a type-II cosine transform in matrix form, each output multiplied by a
// lifter weight.  The cosine rows and the weights are built once; a frame is one
// matrix-vector product.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "frame/record.h"
#include "own.h"
#include "primitives/simd.h"

namespace {

constexpr double kPi = 3.141592653589793;

}  // namespace

struct ZemsDCTLifterState_32f {
    Zem32s nLifter;  // -1 in the Mul and MulC0 forms
    Zem32s lenDCT;
    Zem32s lenCepstrum;
    Zem32s withC0;
    Zem32f* lifter;    // lenCepstrum + 1 weights, entry 0 for the zeroth coefficient
    Zem32f** dctRows;  // lenCepstrum + 1 rows of lenDCT cosines, zero-padded to a multiple of 8
    zem::RecordHead head;  // after the state's own fields; Free releases only an owned block
};

struct ZemsDCTLifterState_16s {
    Zem32s nLifter;
    Zem32s lenDCT;
    Zem32s lenCepstrum;
    Zem32s withC0;
    Zem32f* lifter;
    Zem32f* work;  // the float results before their conversion
    Zem32f** dctRows;
    zem::RecordHead head;
};

namespace {

namespace simd = zem::simd;

// The 16-bit state has a work area for the float results; the float one writes to dst.
template <class State>
struct LifterTraits;
template <>
struct LifterTraits<ZemsDCTLifterState_32f> {
    static constexpr bool kHasWork = false;
    static constexpr int64_t kTail = 4;  // bytes a coefficient beyond the rows: 4K + 100
    static constexpr int64_t kFixed = 100;
};
template <>
struct LifterTraits<ZemsDCTLifterState_16s> {
    static constexpr bool kHasWork = true;
    static constexpr int64_t kTail = 8;  // 8K + 144
    static constexpr int64_t kFixed = 144;
};

int64_t rowStride(int lenDCT) { return (int64_t{lenDCT} + 7) & ~int64_t{7}; }

constexpr int64_t kTooBig = INT64_MAX;

// 8K + 36 + 4R(K+1) + tail K + fixed bytes, or kTooBig when the rows alone pass 2^31.
template <class State>
int64_t stateSize(int lenDCT, int lenCepstrum) {
    const int64_t k = lenCepstrum, rowFloats = rowStride(lenDCT) * (k + 1);
    if (rowFloats > (int64_t{1} << 29)) return kTooBig;
    return 8 * k + 36 + 4 * rowFloats + LifterTraits<State>::kTail * k + LifterTraits<State>::kFixed;
}

// The state of Init_MulC0_16s: 8K + 144 + (K+1)(4 lenDCT + 40).
int64_t mulC0Size16s(int lenDCT, int lenCepstrum) {
    const int64_t k = lenCepstrum;
    if ((k + 1) * lenDCT > (int64_t{1} << 29)) return kTooBig;
    return 8 * k + 144 + (k + 1) * (4 * int64_t{lenDCT} + 40);
}

ZemStatus reportSize(int64_t bytes, Zem32s* size) {
    if (bytes > INT32_MAX) return zemStatusBadSize;
    *size = static_cast<Zem32s>(bytes);
    return zemStatusOk;
}

// What the creation functions fill in besides the tables' memory.
struct Lifter {
    enum Kind { kPlain, kC0, kMul, kMulC0 } kind;
    int nLifter = -1;
    float val = 0, val0 = 0;
    const float* table = nullptr;    // Mul forms, copied bit for bit
    const Zem32s* table32s = nullptr;  // the integer table of Init_MulC0_16s

    static Lifter computed(Kind kind, int nLifter, float val, float val0 = 0.0f) {
        Lifter how{kind};
        how.nLifter = nLifter;
        how.val = val;
        how.val0 = val0;
        return how;
    }
    static Lifter given(Kind kind, const float* table) {
        Lifter how{kind};
        how.table = table;
        return how;
    }
};

// The cosine rows and the lifter weights into a state whose arrays are in place.
template <class State>
void fillTables(State* st, int lenDCT, int lenCepstrum, const Lifter& how) {
    const int k = lenCepstrum;
    st->lenDCT = lenDCT;
    st->lenCepstrum = lenCepstrum;
    st->nLifter = how.kind == Lifter::kPlain || how.kind == Lifter::kC0 ? how.nLifter : -1;
    st->withC0 = how.kind == Lifter::kC0 || how.kind == Lifter::kMulC0 ? 1 : 0;
    for (int i = 0; i <= k; ++i) {
        float* row = st->dctRows[i];
        for (int j = 1; j <= lenDCT; ++j) {
            const double jm = static_cast<double>(static_cast<float>(j) - 0.5f);
            row[j - 1] = static_cast<float>(std::cos(jm * (static_cast<double>(i) * kPi) / static_cast<double>(lenDCT)));
        }
    }
    float* w = st->lifter;
    switch (how.kind) {
        case Lifter::kPlain:
        case Lifter::kC0: {
            const float half = static_cast<float>(how.nLifter) / 2.0f;
            for (int i = 0; i <= k; ++i) {
                const double s = std::sin(static_cast<double>(i) * kPi / static_cast<double>(how.nLifter));
                w[i] = static_cast<float>(1.0 + static_cast<double>(half) * s) * how.val;
            }
            if (how.kind == Lifter::kC0) w[0] = how.val0;
            break;
        }
        case Lifter::kMul:
        case Lifter::kMulC0:
            w[0] = 0.0f;
            if (how.table32s) {
                for (int i = 0; i < k; ++i) w[i + 1] = 1.0f;
                for (int i = 0; i < k; ++i) w[i + 1] = static_cast<float>(how.table32s[i]);
            } else {
                std::memcpy(w + 1, how.table, sizeof(float) * static_cast<size_t>(k));
            }
            if (how.kind == Lifter::kMulC0) w[0] = w[k];
            break;
    }
}

// The record, the lifter weights, the work area of the 16-bit form, the row pointers and
// the rows (zero-padded, the first on a 32-byte boundary), in that order; null while
// measuring.
template <class State>
State* layLifter(zem::Arena& arena, int lenDCT, int lenCepstrum) {
    const int64_t k1 = int64_t{lenCepstrum} + 1, stride = rowStride(lenDCT);
    State* st = arena.record<State>();
    float* lifter = arena.take<float>(k1, alignof(float));
    float* work = LifterTraits<State>::kHasWork ? arena.take<float>(k1, alignof(float)) : nullptr;
    float** rows = arena.take<float*>(k1, alignof(float*));
    float* first = arena.take<float>(stride * k1);
    if (arena.measuring()) return nullptr;
    st->lifter = lifter;
    if constexpr (LifterTraits<State>::kHasWork) st->work = work;
    for (int64_t i = 0; i < k1; ++i) rows[i] = first + i * stride;
    st->dctRows = rows;
    return st;
}

// A state in the caller's buffer (out null) or in one block of its own; nothing is
// written when it fails.  Sizes that no size query can report are refused.
template <class State>
ZemStatus makeLifter(State* buffer, State** out, int lenDCT, int lenCepstrum, const Lifter& how) {
    if (stateSize<State>(lenDCT, lenCepstrum) > INT32_MAX) return out ? zemStatusNoMemory : zemStatusBadSize;
    auto lay = [&](zem::Arena& arena) { return layLifter<State>(arena, lenDCT, lenCepstrum); };
    State* st = nullptr;
    if (!out) st = zem::buildInBuffer<State>(buffer, 0, lay);
    else if (zem::allocateRecord(&st, 0, lay) != zemStatusOk) return zemStatusNoMemory;
    fillTables(st, lenDCT, lenCepstrum, how);
    if (out) *out = st;
    return zemStatusOk;
}

// ---- Evaluation ----------------------------------------------------------------------------------

// Output p: row p+1 for p < lenCepstrum, row 0 (the zeroth coefficient) last.  The sums
// of four rows run in one pass over the source, eight lanes each; the rows are
// zero-padded, so only the source's last group is partial.  Columns from `at` on; the
// sums are stored, or added to what sums holds.
void rowSums(const float* x, int len, float* const* rows, int64_t at, int lenCepstrum, int count, float* sums,
             bool accumulate) {
    using simd::F32x8;
    auto row = [&](int p) { return rows[p < lenCepstrum ? p + 1 : 0] + at; };
    const int full = len / 8, rest = len % 8;
    auto xGroup = [&](int g) { return g < full ? simd::load(x + 8 * g) : simd::loadFirst(x + 8 * g, rest); };
    const int groups = full + (rest ? 1 : 0);
    auto emit = [&](const float* four, int n, int p) {
        for (int q = 0; q < n; ++q) sums[p + q] = accumulate ? sums[p + q] + four[q] : four[q];
    };
    int p = 0;
    for (; p + 4 <= count; p += 4) {
        const float *r0 = row(p), *r1 = row(p + 1), *r2 = row(p + 2), *r3 = row(p + 3);
        F32x8 a0 = simd::splat(0.0f), a1 = a0, a2 = a0, a3 = a0;
        for (int g = 0; g < groups; ++g) {
            const F32x8 xv = xGroup(g);
            a0 = a0 + simd::load(r0 + 8 * g) * xv;
            a1 = a1 + simd::load(r1 + 8 * g) * xv;
            a2 = a2 + simd::load(r2 + 8 * g) * xv;
            a3 = a3 + simd::load(r3 + 8 * g) * xv;
        }
        float four[4];
        simd::sumTree4(a0, a1, a2, a3, four);
        emit(four, 4, p);
    }
    for (; p < count; ++p) {
        const float* r = row(p);
        F32x8 a = simd::splat(0.0f);
        for (int g = 0; g < groups; ++g) a = a + simd::load(r + 8 * g) * xGroup(g);
        float four[4];
        simd::sumTree4(a, a, a, a, four);
        emit(four, 1, p);
    }
}

int outputCount(int lenCepstrum, int withC0) { return lenCepstrum + (withC0 ? 1 : 0); }

// Integer sources: converted to float a chunk at a time on the stack (chunks are
// multiples of 8 columns, so the rows stay aligned), each chunk's sums added in the work
// area, then weighted and converted.
template <class T>
void liftInteger(const T* src, Zem16s* dst, const ZemsDCTLifterState_16s* st, int scaleFactor) {
    const int count = outputCount(st->lenCepstrum, st->withC0);
    constexpr int kChunk = 512;
    alignas(32) float x[kChunk];
    float* work = st->work;
    for (int at = 0; at < st->lenDCT; at += kChunk) {
        const int n = st->lenDCT - at < kChunk ? st->lenDCT - at : kChunk;
        for (int j = 0; j < n; ++j) x[j] = static_cast<float>(src[at + j]);
        rowSums(x, n, st->dctRows, at, st->lenCepstrum, count, work, at > 0);
    }
    for (int p = 0; p < count; ++p) work[p] = st->lifter[p < st->lenCepstrum ? p + 1 : 0] * work[p];
    ownConvert_32f16s_Sfs(work, dst, count, 1, scaleFactor);
}

void liftFloat(const float* src, float* dst, const ZemsDCTLifterState_32f* st) {
    const int count = outputCount(st->lenCepstrum, st->withC0);
    rowSums(src, st->lenDCT, st->dctRows, 0, st->lenCepstrum, count, dst, false);
    const float* w = st->lifter;
    for (int p = 0; p < count; ++p) dst[p] = w[p < st->lenCepstrum ? p + 1 : 0] * dst[p];
}

// The Init form of MulC0_16s takes an integer table, each entry converted to float.
Lifter integerTable(const Zem32s* table) {
    Lifter how{Lifter::kMulC0};
    how.table32s = table;
    return how;
}

}  // namespace

extern "C" {

// ---- Sizes: one formula per state type, and its own for the state of Init_MulC0_16s ----------

ZEMSR_API ZemStatus zemsDCTLifterGetSize_32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_32f>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_C0_32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_32f>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_32f>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_32f>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_16s>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_C0_16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_16s>(lenDCT, lenCepstrum), size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return reportSize(stateSize<ZemsDCTLifterState_16s>(lenDCT, lenCepstrum), size);
}

// lenDCT of 8193 and more is refused here only; the Init form does not repeat the limit.
ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(size), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize),
                                              zem::ensure(lenDCT < 8193, zemStatusBadSize)))
        return s;
    return reportSize(mulC0Size16s(lenDCT, lenCepstrum), size);
}

// ---- Creation --------------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_32f(ZemsDCTLifterState_32f** state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(nullptr, state, lenDCT, lenCepstrum, Lifter::computed(Lifter::kPlain, nLifter, val));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_C0_32f(ZemsDCTLifterState_32f** state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val,
                                              Zem32f val0) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(nullptr, state, lenDCT, lenCepstrum, Lifter::computed(Lifter::kC0, nLifter, val, val0));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_Mul_32f(ZemsDCTLifterState_32f** state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(nullptr, state, lenDCT, lenCepstrum, Lifter::given(Lifter::kMul, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_MulC0_32f(ZemsDCTLifterState_32f** state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(nullptr, state, lenDCT, lenCepstrum, Lifter::given(Lifter::kMulC0, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_32f(ZemsDCTLifterState_32f* state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(state, nullptr, lenDCT, lenCepstrum, Lifter::computed(Lifter::kPlain, nLifter, val));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_C0_32f(ZemsDCTLifterState_32f* state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val,
                                              Zem32f val0) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(state, nullptr, lenDCT, lenCepstrum, Lifter::computed(Lifter::kC0, nLifter, val, val0));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_Mul_32f(ZemsDCTLifterState_32f* state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(state, nullptr, lenDCT, lenCepstrum, Lifter::given(Lifter::kMul, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_32f(ZemsDCTLifterState_32f* state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_32f>(state, nullptr, lenDCT, lenCepstrum, Lifter::given(Lifter::kMulC0, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterFree_32f(ZemsDCTLifterState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    zem::releaseRecord(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_16s(ZemsDCTLifterState_16s** state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(nullptr, state, lenDCT, lenCepstrum, Lifter::computed(Lifter::kPlain, nLifter, val));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_C0_16s(ZemsDCTLifterState_16s** state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val,
                                              Zem32f val0) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(nullptr, state, lenDCT, lenCepstrum, Lifter::computed(Lifter::kC0, nLifter, val, val0));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_Mul_16s(ZemsDCTLifterState_16s** state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(nullptr, state, lenDCT, lenCepstrum, Lifter::given(Lifter::kMul, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_MulC0_16s(ZemsDCTLifterState_16s** state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(nullptr, state, lenDCT, lenCepstrum, Lifter::given(Lifter::kMulC0, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_16s(ZemsDCTLifterState_16s* state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(state, nullptr, lenDCT, lenCepstrum, Lifter::computed(Lifter::kPlain, nLifter, val));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_C0_16s(ZemsDCTLifterState_16s* state, int lenDCT, int lenCepstrum, int nLifter, Zem32f val,
                                              Zem32f val0) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state), zem::atLeastOne(lenDCT, lenCepstrum, nLifter),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(state, nullptr, lenDCT, lenCepstrum, Lifter::computed(Lifter::kC0, nLifter, val, val0));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_Mul_16s(ZemsDCTLifterState_16s* state, int lenDCT, const Zem32f* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(state, nullptr, lenDCT, lenCepstrum, Lifter::given(Lifter::kMul, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_16s(ZemsDCTLifterState_16s* state, int lenDCT, const Zem32s* lifterTable, int lenCepstrum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, lifterTable), zem::atLeastOne(lenDCT, lenCepstrum),
                                              zem::ensure(lenCepstrum <= lenDCT, zemStatusBadSize)))
        return s;
    return makeLifter<ZemsDCTLifterState_16s>(state, nullptr, lenDCT, lenCepstrum, integerTable(lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterFree_16s(ZemsDCTLifterState_16s* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state))) return s;
    zem::releaseRecord(state);
    return zemStatusOk;
}

// ---- Evaluation -------------------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsDCTLifter_32f(const Zem32f* src, Zem32f* dst, const ZemsDCTLifterState_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, src, dst))) return s;
    liftFloat(src, dst, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDCTLifter_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                          int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, src, dst))) return s;
    liftInteger(src, dst, state, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDCTLifter_32s16s_Sfs(const Zem32s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                             int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, src, dst))) return s;
    liftInteger(src, dst, state, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
