// DCT liftering: a type-II cosine transform in matrix form, each output multiplied by a
// lifter weight.  The cosine rows and the weights are built once; a frame is one
// matrix-vector product.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/carve.h"
#include "own.h"
#include "primitives/simd.h"
#include "zemcore.h"

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
    // 1 when the record, the weights, the row block (its pointer array first) and the
    // work area are blocks of the allocator; 0 in a caller's buffer, where Free releases
    // nothing.
    Zem32s owned;
};

struct ZemsDCTLifterState_16s {
    Zem32s nLifter;
    Zem32s lenDCT;
    Zem32s lenCepstrum;
    Zem32s withC0;
    Zem32f* lifter;
    Zem32f* work;  // the float results before their conversion
    Zem32f** dctRows;
    Zem32s owned;
};

namespace {

namespace simd = zem::simd;

template <class State>
constexpr bool kIs16 = sizeof(State) != sizeof(ZemsDCTLifterState_32f);

int64_t rowStride(int lenDCT) { return (int64_t{lenDCT} + 7) & ~int64_t{7}; }

ZemStatus checkLengths(int lenDCT, int lenCepstrum) {
    return (lenDCT < 1 || lenCepstrum < 1 || lenDCT < lenCepstrum) ? zemStatusBadSize : zemStatusOk;
}

ZemStatus reportSize(int64_t bytes, Zem32s* size) {
    if (bytes > INT32_MAX) return zemStatusBadSize;
    *size = static_cast<Zem32s>(bytes);
    return zemStatusOk;
}

ZemStatus sizeOf32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (!size) return zemStatusNullPointer;
    if (const ZemStatus s = checkLengths(lenDCT, lenCepstrum)) return s;
    const int64_t k = lenCepstrum;
    return reportSize(8 * k + 36 + 4 * rowStride(lenDCT) * (k + 1) + 4 * k + 100, size);
}

ZemStatus sizeOf16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (!size) return zemStatusNullPointer;
    if (const ZemStatus s = checkLengths(lenDCT, lenCepstrum)) return s;
    const int64_t k = lenCepstrum;
    return reportSize(8 * k + 36 + 4 * rowStride(lenDCT) * (k + 1) + 8 * k + 144, size);
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

// Row pointers at p, the rows after them on the next 32-byte boundary.
float** placeRows(void* p, int lenDCT, int lenCepstrum) {
    float** rows = static_cast<float**>(p);
    float* first = zem::alignUp<float>(rows + lenCepstrum + 1, 32);
    const int64_t stride = rowStride(lenDCT);
    std::memset(first, 0, sizeof(float) * static_cast<size_t>(stride * (lenCepstrum + 1)));
    for (int i = 0; i <= lenCepstrum; ++i) rows[i] = first + i * stride;
    return rows;
}

// A state in the caller's buffer: the record at the buffer's start, then the lifter
// weights, the work area of the 16-bit form, the row pointers and the rows.
template <class State>
ZemStatus initIn(State* st, int lenDCT, int lenCepstrum, const Lifter& how) {
    std::memset(static_cast<void*>(st), 0, sizeof(State));
    zem::Carver carver(st + 1);
    st->lifter = carver.take<float>(lenCepstrum + 1, alignof(float));
    if constexpr (kIs16<State>) st->work = carver.take<float>(lenCepstrum + 1, alignof(float));
    st->dctRows = placeRows(carver.take<float*>(lenCepstrum + 1, alignof(float*)), lenDCT, lenCepstrum);
    fillTables(st, lenDCT, lenCepstrum, how);
    return zemStatusOk;
}

// A state of its own: the record, the lifter weights, the row block (and the work area)
// as separate blocks.  On a failure the record stays in *out and nothing is released.
template <class State>
ZemStatus initAlloc(State** out, int lenDCT, int lenCepstrum, const Lifter& how) {
    const int64_t k1 = int64_t{lenCepstrum} + 1;
    State* st = static_cast<State*>(zemMalloc(static_cast<int64_t>(sizeof(State))));
    if (!st) return zemStatusNoMemory;
    std::memset(static_cast<void*>(st), 0, sizeof(State));
    st->owned = 1;
    *out = st;
    st->lifter = static_cast<float*>(zemMalloc(4 * k1));
    if (!st->lifter) return zemStatusNoMemory;
    void* rows = zemMalloc(8 * k1 + 31 + 4 * rowStride(lenDCT) * k1);
    if (!rows) return zemStatusNoMemory;
    st->dctRows = placeRows(rows, lenDCT, lenCepstrum);
    if constexpr (kIs16<State>) {
        st->work = static_cast<float*>(zemMalloc(4 * k1));
        if (!st->work) return zemStatusNoMemory;
    }
    fillTables(st, lenDCT, lenCepstrum, how);
    return zemStatusOk;
}

template <class State>
ZemStatus create(State* st, State** out, int lenDCT, int lenCepstrum, const Lifter& how) {
    const bool needsTable = how.kind == Lifter::kMul || how.kind == Lifter::kMulC0;
    if (!st && !out) return zemStatusNullPointer;
    if (needsTable && !how.table && !how.table32s) return zemStatusNullPointer;
    if (const ZemStatus s = checkLengths(lenDCT, lenCepstrum)) return s;
    if (!needsTable && how.nLifter < 1) return zemStatusBadSize;
    if (out) return initAlloc(out, lenDCT, lenCepstrum, how);
    return initIn(st, lenDCT, lenCepstrum, how);
}

template <class State>
ZemStatus release(State* st) {
    if (!st) return zemStatusNullPointer;
    if (!st->owned) return zemStatusOk;
    zemFree(st->dctRows);
    zemFree(st->lifter);
    if constexpr (kIs16<State>) zemFree(st->work);
    zemFree(st);
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
ZemStatus liftInteger(const T* src, Zem16s* dst, const ZemsDCTLifterState_16s* st, int scaleFactor) {
    if (!st || !src || !dst) return zemStatusNullPointer;
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
    return zemStatusOk;
}

}  // namespace

extern "C" {

#define ZEM_DCT_SIZES(T, sizeFn)                                                                                     \
    ZEMSR_API ZemStatus zemsDCTLifterGetSize_##T(int lenDCT, int lenCepstrum, Zem32s* size) {                        \
        return sizeFn(lenDCT, lenCepstrum, size);                                                                    \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterGetSize_C0_##T(int lenDCT, int lenCepstrum, Zem32s* size) {                     \
        return sizeFn(lenDCT, lenCepstrum, size);                                                                    \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterGetSize_Mul_##T(int lenDCT, int lenCepstrum, Zem32s* size) {                    \
        return sizeFn(lenDCT, lenCepstrum, size);                                                                    \
    }

ZEM_DCT_SIZES(32f, sizeOf32f)
ZEM_DCT_SIZES(16s, sizeOf16s)

ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCepstrum, Zem32s* size) {
    return sizeOf32f(lenDCT, lenCepstrum, size);
}

ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCepstrum, Zem32s* size) {
    if (!size) return zemStatusNullPointer;
    if (const ZemStatus s = checkLengths(lenDCT, lenCepstrum)) return s;
    if (lenDCT >= 8193) return zemStatusBadSize;
    const int64_t k = lenCepstrum;
    return reportSize(8 * k + 144 + (k + 1) * (4 * int64_t{lenDCT} + 40), size);
}

#define ZEM_DCT_CREATE(T)                                                                                            \
    ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_##T(ZemsDCTLifterState_##T** state, int lenDCT, int lenCepstrum,      \
                                                   int nLifter, Zem32f val) {                                        \
        return create<ZemsDCTLifterState_##T>(nullptr, state, lenDCT, lenCepstrum,                                   \
                                              Lifter::computed(Lifter::kPlain, nLifter, val));                       \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInit_##T(ZemsDCTLifterState_##T* state, int lenDCT, int lenCepstrum,            \
                                              int nLifter, Zem32f val) {                                             \
        return create<ZemsDCTLifterState_##T>(state, nullptr, lenDCT, lenCepstrum,                                   \
                                              Lifter::computed(Lifter::kPlain, nLifter, val));                       \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_C0_##T(ZemsDCTLifterState_##T** state, int lenDCT, int lenCepstrum,   \
                                                      int nLifter, Zem32f val, Zem32f val0) {                        \
        return create<ZemsDCTLifterState_##T>(nullptr, state, lenDCT, lenCepstrum,                                   \
                                              Lifter::computed(Lifter::kC0, nLifter, val, val0));                    \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInit_C0_##T(ZemsDCTLifterState_##T* state, int lenDCT, int lenCepstrum,         \
                                                 int nLifter, Zem32f val, Zem32f val0) {                             \
        return create<ZemsDCTLifterState_##T>(state, nullptr, lenDCT, lenCepstrum,                                   \
                                              Lifter::computed(Lifter::kC0, nLifter, val, val0));                    \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_Mul_##T(ZemsDCTLifterState_##T** state, int lenDCT,                   \
                                                       const Zem32f* lifterTable, int lenCepstrum) {                 \
        return create<ZemsDCTLifterState_##T>(nullptr, state, lenDCT, lenCepstrum,                                   \
                                              Lifter::given(Lifter::kMul, lifterTable));                             \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInit_Mul_##T(ZemsDCTLifterState_##T* state, int lenDCT,                         \
                                                  const Zem32f* lifterTable, int lenCepstrum) {                      \
        return create<ZemsDCTLifterState_##T>(state, nullptr, lenDCT, lenCepstrum,                                   \
                                              Lifter::given(Lifter::kMul, lifterTable));                             \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_MulC0_##T(ZemsDCTLifterState_##T** state, int lenDCT,                 \
                                                         const Zem32f* lifterTable, int lenCepstrum) {               \
        return create<ZemsDCTLifterState_##T>(nullptr, state, lenDCT, lenCepstrum,                                   \
                                              Lifter::given(Lifter::kMulC0, lifterTable));                           \
    }                                                                                                                \
    ZEMSR_API ZemStatus zemsDCTLifterFree_##T(ZemsDCTLifterState_##T* state) { return release(state); }

ZEM_DCT_CREATE(32f)
ZEM_DCT_CREATE(16s)

ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_32f(ZemsDCTLifterState_32f* state, int lenDCT, const Zem32f* lifterTable,
                                                int lenCepstrum) {
    return create<ZemsDCTLifterState_32f>(state, nullptr, lenDCT, lenCepstrum,
                                          Lifter::given(Lifter::kMulC0, lifterTable));
}

ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_16s(ZemsDCTLifterState_16s* state, int lenDCT, const Zem32s* lifterTable,
                                                int lenCepstrum) {
    Lifter how{Lifter::kMulC0};
    how.table32s = lifterTable;
    return create<ZemsDCTLifterState_16s>(state, nullptr, lenDCT, lenCepstrum, how);
}

ZEMSR_API ZemStatus zemsDCTLifter_32f(const Zem32f* src, Zem32f* dst, const ZemsDCTLifterState_32f* state) {
    if (!state || !src || !dst) return zemStatusNullPointer;
    const int count = outputCount(state->lenCepstrum, state->withC0);
    rowSums(src, state->lenDCT, state->dctRows, 0, state->lenCepstrum, count, dst, false);
    const float* w = state->lifter;
    for (int p = 0; p < count; ++p) dst[p] = w[p < state->lenCepstrum ? p + 1 : 0] * dst[p];
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDCTLifter_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                          int scaleFactor) {
    return liftInteger(src, dst, state, scaleFactor);
}

ZEMSR_API ZemStatus zemsDCTLifter_32s16s_Sfs(const Zem32s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                             int scaleFactor) {
    return liftInteger(src, dst, state, scaleFactor);
}

}  // extern "C"
