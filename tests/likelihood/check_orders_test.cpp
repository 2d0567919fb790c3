// The check order of every likelihood export, one table per family.  A row names the
// export and lists the ways to break its arguments in its stated order; the helper
// applies each break and each pair and asserts that the earlier check wins with the
// outputs untouched.
//
// The arguments are kept untyped in one struct; call(export) picks the adapter for the
// export's signature and casts them.  Trailing scalars (val, scale factors, hints) are
// passed as 1: they take no part in any check.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "check_order.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

// Storage for every type: zeros, a positive pattern valid as a weight of every type, a
// larger one for the log subtraction, and the destination.
struct Pools {
    alignas(32) unsigned char zeros[512] = {};
    alignas(32) unsigned char weights[512];
    alignas(32) unsigned char large[512];
    alignas(32) unsigned char out[512];
    const void* rows[8];
    const void* rowsWithNull[8];
    Pools() {
        std::memset(weights, 0x40, sizeof weights);
        std::memset(large, 0x7a, sizeof large);
        std::memset(out, 0x5a, sizeof out);
        for (int k = 0; k < 8; ++k) rows[k] = rowsWithNull[k] = zeros;
        rowsWithNull[1] = nullptr;
    }
};
Pools pools;

struct Args {
    const void* src = pools.zeros;
    const void* mean = pools.zeros;
    const void* var = pools.weights;
    const void* val = pools.zeros;
    void* dst = pools.out;
    const void* const* srcRows = pools.rows;
    const void* const* meanRows = pools.rows;
    const void* const* varRows = pools.rows;
    const void* matrix = &pools;  // any non-null: the adapter supplies the typed matrix
    const Zem8u* shortlist = pools.zeros;
    int step = 8, width = 4, len = 4, n = 2, height = 2;
    bool failAlloc = false;
};

template <class T>
const T* in(const void* p) { return static_cast<const T*>(p); }
template <class T>
T* out(void* p) { return static_cast<T*>(p); }
template <class T>
const T* const* rowsOf(const void* const* p) { return reinterpret_cast<const T* const*>(p); }

// Arms the allocation failure for one call.
struct FailGuard {
    explicit FailGuard(bool on) { zemcoreTestFailAllocation(on ? 1 : 0); }
    ~FailGuard() { zemcoreTestFailAllocation(0); }
};

// Block diagonal matrices of order 4, one per element type.
template <class M>
const M* matrixOf() {
    static M* m = [] {
        M* r = nullptr;
        const Zem32s size = 4;
        alignas(32) static const double row[4] = {1, 0, 0, 0};
        const void* rows[4] = {row, row, row, row};
        if constexpr (std::is_same_v<M, ZemsBlockDMatrix_16s>) zemsBlockDMatrixInitAlloc_16s(&r, rowsOf<Zem16s>(rows), &size, 1);
        else if constexpr (std::is_same_v<M, ZemsBlockDMatrix_32f>) zemsBlockDMatrixInitAlloc_32f(&r, rowsOf<Zem32f>(rows), &size, 1);
        else zemsBlockDMatrixInitAlloc_64f(&r, rowsOf<Zem64f>(rows), &size, 1);
        return r;
    }();
    return m;
}

using Call = std::function<ZemStatus(const Args&)>;
#define ZT_ADAPT(PARAMS, ...)                        \
    template <class T, class D, class... R>         \
    Call call(ZemStatus (*f) PARAMS) {               \
        return [f](const Args& a) {                  \
            FailGuard g(a.failAlloc);                \
            return f(__VA_ARGS__);                   \
        };                                           \
    }
// Single frames, distances, log-domain and helper forms.
ZT_ADAPT((const T*, const T*, const T*, int, D*, R...), in<T>(a.src), in<T>(a.mean), in<T>(a.var), a.len, out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, const T*, int, D*, R...), in<T>(a.src), in<T>(a.mean), a.len, out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, D*, int, R...), in<T>(a.src), out<D>(a.dst), a.len, R(1)...)
ZT_ADAPT((const T*, const T*, D*, int), in<T>(a.src), in<T>(a.mean), out<D>(a.dst), a.len)
// Blocks of frames against one Gaussian.
ZT_ADAPT((const T*, int, const T*, const T*, int, D*, int, R...), in<T>(a.src), a.step, in<T>(a.mean), in<T>(a.var), a.width, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T*, int, const T*, int, D*, int, R...), in<T>(a.src), a.step, in<T>(a.mean), a.width, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T* const*, const T*, const T*, int, D*, int, R...), rowsOf<T>(a.srcRows), in<T>(a.mean), in<T>(a.var), a.width, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T* const*, const T*, int, D*, int, R...), rowsOf<T>(a.srcRows), in<T>(a.mean), a.width, out<D>(a.dst), a.height, R(1)...)
// One frame against the Gaussians of a mixture.
ZT_ADAPT((const T*, const T*, int, const T*, int, D*, int, R...), in<T>(a.mean), in<T>(a.var), a.step, in<T>(a.src), a.width, out<D>(a.dst), a.n, R(1)...)
ZT_ADAPT((const T*, const T*, int, const T*, int, const D*, D*, int, R...), in<T>(a.mean), in<T>(a.var), a.step, in<T>(a.src), a.width, in<D>(a.val), out<D>(a.dst), a.n, R(1)...)
ZT_ADAPT((const T* const*, const T* const*, const T*, int, D*, int, R...), rowsOf<T>(a.meanRows), rowsOf<T>(a.varRows), in<T>(a.src), a.width, out<D>(a.dst), a.n, R(1)...)
ZT_ADAPT((const T* const*, const T* const*, const T*, int, const D*, D*, int, R...), rowsOf<T>(a.meanRows), rowsOf<T>(a.varRows), in<T>(a.src), a.width, in<D>(a.val), out<D>(a.dst), a.n, R(1)...)
ZT_ADAPT((const T*, const T*, const T*, int, int, int, const D*, D*, R...), in<T>(a.src), in<T>(a.mean), in<T>(a.var), a.n, a.step, a.width, in<D>(a.val), out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, const T*, int, int, int, const D*, D*, R...), in<T>(a.src), in<T>(a.mean), a.n, a.step, a.width, in<D>(a.val), out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, const T* const*, const T* const*, int, int, const D*, D*, R...), in<T>(a.src), rowsOf<T>(a.meanRows), rowsOf<T>(a.varRows), a.n, a.width, in<D>(a.val), out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, const T* const*, int, int, const D*, D*, R...), in<T>(a.src), rowsOf<T>(a.meanRows), a.n, a.width, in<D>(a.val), out<D>(a.dst), R(1)...)
ZT_ADAPT((const T*, const T*, const T*, int, int, const D*, const Zem8u*, int, D*, int, R...), in<T>(a.src), in<T>(a.mean), in<T>(a.var), a.step, a.width, in<D>(a.val), a.shortlist, a.n, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T*, const T*, int, int, const D*, const Zem8u*, int, D*, int, R...), in<T>(a.src), in<T>(a.mean), a.step, a.width, in<D>(a.val), a.shortlist, a.n, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T* const*, const T* const*, const T* const*, int, const D*, const Zem8u*, int, D*, int, R...), rowsOf<T>(a.srcRows), rowsOf<T>(a.meanRows), rowsOf<T>(a.varRows), a.width, in<D>(a.val), a.shortlist, a.n, out<D>(a.dst), a.height, R(1)...)
ZT_ADAPT((const T* const*, const T* const*, int, const D*, const Zem8u*, int, D*, int, R...), rowsOf<T>(a.srcRows), rowsOf<T>(a.meanRows), a.width, in<D>(a.val), a.shortlist, a.n, out<D>(a.dst), a.height, R(1)...)
#undef ZT_ADAPT

// Single frames with a block diagonal matrix: the adapter supplies the matrix of the type.
template <class T, class M, class D, class... R>
    requires std::is_class_v<M>
Call call(ZemStatus (*f)(const T*, const T*, const M*, int, D*, R...)) {
    return [f](const Args& a) { return f(in<T>(a.src), in<T>(a.mean), a.matrix ? matrixOf<M>() : nullptr, a.len, out<D>(a.dst), R(1)...); };
}

using B = zemtest::Break<Args>;
const B src{"src", [](Args& a) { a.src = nullptr; }, zemStatusNullPointer};
const B mean{"mean", [](Args& a) { a.mean = nullptr; }, zemStatusNullPointer};
const B var{"var", [](Args& a) { a.var = nullptr; }, zemStatusNullPointer};
const B val{"val", [](Args& a) { a.val = nullptr; }, zemStatusNullPointer};
const B dst{"dst", [](Args& a) { a.dst = nullptr; }, zemStatusNullPointer};
const B matrix{"matrix", [](Args& a) { a.matrix = nullptr; }, zemStatusNullPointer};
const B shortlist{"shortlist", [](Args& a) { a.shortlist = nullptr; }, zemStatusNullPointer};
const B srcRows{"srcRows", [](Args& a) { a.srcRows = nullptr; }, zemStatusNullPointer};
const B meanRows{"meanRows", [](Args& a) { a.meanRows = nullptr; }, zemStatusNullPointer};
const B varRows{"varRows", [](Args& a) { a.varRows = nullptr; }, zemStatusNullPointer};
// A null row among those in use (kept null when the array itself is).
const B srcRow{"a src row", [](Args& a) { if (a.srcRows) a.srcRows = pools.rowsWithNull; }, zemStatusNullPointer};
const B meanRow{"a mean row", [](Args& a) { if (a.meanRows) a.meanRows = pools.rowsWithNull; }, zemStatusNullPointer};
const B varRow{"a var row", [](Args& a) { if (a.varRows) a.varRows = pools.rowsWithNull; }, zemStatusNullPointer};
const B stride{"stride", [](Args& a) { a.step = -1; }, zemStatusBadStride};
const B width{"width", [](Args& a) { a.width = 0; }, zemStatusBadSize};
const B len{"len", [](Args& a) { a.len = 0; }, zemStatusBadSize};
const B count{"n", [](Args& a) { a.n = 0; }, zemStatusBadSize};
const B height{"height", [](Args& a) { a.height = -3; }, zemStatusBadSize};
const B order{"len != order", [](Args& a) { a.len = 3; }, zemStatusBadSize};
const B memory{"memory", [](Args& a) { a.failAlloc = true; }, zemStatusNoMemory};

struct Row {
    const char* name;
    Call run;
    std::vector<B> breaks;
};

void expectTable(const std::vector<Row>& rows, const Args& valid = {}) {
    for (const Row& r : rows)
        zemtest::expectCheckOrder<Args>(r.name, valid, r.run, r.breaks, {zemtest::region(pools.out, sizeof pools.out)});
}

#define ROW(F, ...) Row{#F, call(F), {__VA_ARGS__}}

}  // namespace

TEST(CheckOrder, LogDomain) {
    // The length first, then the pointers; the subtraction then tests every element's range.
    const B range{"range", [](Args& a) { if (a.src) a.src = pools.zeros; }, zemStatusOutOfRange};
    Args valid;
    valid.src = pools.large;
    expectTable({ROW(zemsLogAdd_32f, len, src, dst), ROW(zemsLogAdd_64f, len, src, dst),
                 ROW(zemsLogAdd_16s_Sfs, len, src, dst), ROW(zemsLogAdd_32s_Sfs, len, src, dst),
                 ROW(zemsLogSum_32f, len, src, dst), ROW(zemsLogSum_64f, len, src, dst),
                 ROW(zemsLogSum_16s_Sfs, len, src, dst), ROW(zemsLogSum_32s_Sfs, len, src, dst),
                 ROW(zemsLogSub_32f, len, src, dst, range), ROW(zemsLogSub_64f, len, src, dst, range),
                 ROW(zemsLogSub_16s_Sfs, len, src, dst, range), ROW(zemsLogSub_32s_Sfs, len, src, dst, range)},
                valid);
}

TEST(CheckOrder, SingleFrameScores) {
    // Null pointers, the length, the matrix order, then memory.
    expectTable({
        ROW(zemsLogGaussSingle_32f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_64f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_32f64f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_16s32s_Sfs, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_Scaled_16s32f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_Low_16s32s_Sfs, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_LowScaled_16s32f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_IdVar_32f, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVar_64f, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVar_32f64f, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVar_16s32s_Sfs, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVarScaled_16s32f, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVarLow_16s32s_Sfs, src, mean, dst, len),
        ROW(zemsLogGaussSingle_IdVarLowScaled_16s32f, src, mean, dst, len),
        ROW(zemsLogGaussSingle_DirectVar_32f, src, mean, var, dst, len, memory),
        ROW(zemsLogGaussSingle_DirectVar_64f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_DirectVar_32f64f, src, mean, var, dst, len),
        ROW(zemsLogGaussSingle_DirectVar_16s32s_Sfs, src, mean, var, dst, len, memory),
        ROW(zemsLogGaussSingle_DirectVarScaled_16s32f, src, mean, var, dst, len, memory),
        ROW(zemsLogGaussSingle_BlockDVar_32f, src, mean, matrix, dst, len, order),
        ROW(zemsLogGaussSingle_BlockDVar_64f, src, mean, matrix, dst, len, order),
        ROW(zemsLogGaussSingle_BlockDVar_32f64f, src, mean, matrix, dst, len, order),
        ROW(zemsLogGaussSingle_BlockDVar_16s32s_Sfs, src, mean, matrix, dst, len, order),
        ROW(zemsLogGaussSingle_BlockDVarScaled_16s32f, src, mean, matrix, dst, len, order),
    });
}

TEST(CheckOrder, BlockScores) {
    // _D2: the stride, null pointers, sizes.  _D2L: null pointers, sizes, the rows in use.
    expectTable({
        ROW(zemsLogGauss_32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_64f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_64f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_16s32s_D2Sfs, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_16s32s_D2LSfs, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_Low_16s32s_D2Sfs, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_Low_16s32s_D2LSfs, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_Scaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_Scaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_LowScaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGauss_LowScaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVar_32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVar_32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVar_64f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVar_64f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVar_16s32s_D2Sfs, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVar_16s32s_D2LSfs, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVarLow_16s32s_D2Sfs, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVarLow_16s32s_D2LSfs, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVarScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVarScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGauss_IdVarLowScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGauss_IdVarLowScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussAdd_32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_64f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussAdd_64f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_Scaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussAdd_Scaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_LowScaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussAdd_LowScaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_IdVar_32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussAdd_IdVar_32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_IdVar_64f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussAdd_IdVar_64f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_IdVarScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussAdd_IdVarScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussAdd_IdVarLowScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussAdd_IdVarLowScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_64f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_64f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_16s32s_D2Sfs, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_16s32s_D2LSfs, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_Low_16s32s_D2Sfs, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_Low_16s32s_D2LSfs, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_Scaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_Scaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_LowScaled_16s32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsLogGaussMax_LowScaled_16s32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVar_32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVar_32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVar_64f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVar_64f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVar_16s32s_D2Sfs, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVar_16s32s_D2LSfs, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVarLow_16s32s_D2Sfs, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVarLow_16s32s_D2LSfs, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVarScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVarScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
        ROW(zemsLogGaussMax_IdVarLowScaled_16s32f_D2, stride, src, mean, dst, width, height),
        ROW(zemsLogGaussMax_IdVarLowScaled_16s32f_D2L, srcRows, mean, dst, width, height, srcRow),
    });
}

TEST(CheckOrder, MixtureScores) {
    // The families' _D2 orders differ (stride-null-size, null-size-stride, null-stride-size);
    // every _D2L form tests null pointers, sizes, then the rows in use.
    expectTable({
        ROW(zemsLogGaussMultiMix_32f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_32f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMultiMix_64f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_64f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMultiMix_16s32s_D2Sfs, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_16s32s_D2LSfs, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMultiMix_Low_16s32s_D2Sfs, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_Low_16s32s_D2LSfs, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMultiMix_Scaled_16s32f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_Scaled_16s32f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMultiMix_LowScaled_16s32f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsLogGaussMultiMix_LowScaled_16s32f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussAddMultiMix_32f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussAddMultiMix_32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussAddMultiMix_64f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussAddMultiMix_64f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussAddMultiMix_Scaled_16s32f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussAddMultiMix_Scaled_16s32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussAddMultiMix_LowScaled_16s32f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussAddMultiMix_LowScaled_16s32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_32f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussMaxMultiMix_32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_64f_D2, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussMaxMultiMix_64f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_16s32s_D2Sfs, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussMaxMultiMix_16s32s_D2LSfs, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs, stride, mean, var, src, val, dst, width, count),
        ROW(zemsLogGaussMaxMultiMix_Low_16s32s_D2LSfs, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_Scaled_16s32f_D2, mean, var, src, val, dst, width, count, stride),
        ROW(zemsLogGaussMaxMultiMix_Scaled_16s32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2, mean, var, src, val, dst, width, count, stride),
        ROW(zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2L, meanRows, varRows, src, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMixture_32f_D2, src, mean, var, val, dst, stride, width, count),
        ROW(zemsLogGaussMixture_32f_D2L, src, meanRows, varRows, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMixture_64f_D2, src, mean, var, val, dst, stride, width, count),
        ROW(zemsLogGaussMixture_64f_D2L, src, meanRows, varRows, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMixture_Scaled_16s32f_D2, stride, src, mean, var, val, dst, width, count),
        ROW(zemsLogGaussMixture_Scaled_16s32f_D2L, src, meanRows, varRows, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMixture_LowScaled_16s32f_D2, stride, src, mean, var, val, dst, width, count),
        ROW(zemsLogGaussMixture_LowScaled_16s32f_D2L, src, meanRows, varRows, val, dst, width, count, meanRow, varRow),
        ROW(zemsLogGaussMixture_IdVar_32f_D2, src, mean, val, dst, stride, width, count),
        ROW(zemsLogGaussMixture_IdVar_32f_D2L, src, meanRows, val, dst, width, count, meanRow),
        ROW(zemsLogGaussMixture_IdVar_64f_D2, src, mean, val, dst, stride, width, count),
        ROW(zemsLogGaussMixture_IdVar_64f_D2L, src, meanRows, val, dst, width, count, meanRow),
        ROW(zemsLogGaussMixture_IdVarScaled_16s32f_D2, stride, src, mean, val, dst, width, count),
        ROW(zemsLogGaussMixture_IdVarScaled_16s32f_D2L, src, meanRows, val, dst, width, count, meanRow),
        ROW(zemsLogGaussMixture_IdVarLowScaled_16s32f_D2, stride, src, mean, val, dst, width, count),
        ROW(zemsLogGaussMixture_IdVarLowScaled_16s32f_D2L, src, meanRows, val, dst, width, count, meanRow),
        // Select: null pointers, sizes (width, n, height), the stride, then memory.
        ROW(zemsLogGaussMixture_Select_32f_D2, src, mean, var, val, shortlist, dst, width, count, height, stride, memory),
        ROW(zemsLogGaussMixture_Select_32f_D2L, srcRows, meanRows, varRows, val, shortlist, dst, width, count, height,
            srcRow, meanRow, varRow, memory),
        ROW(zemsLogGaussMixture_SelectScaled_16s32f_D2, src, mean, var, val, shortlist, dst, width, count, height, stride, memory),
        ROW(zemsLogGaussMixture_SelectScaled_16s32f_D2L, srcRows, meanRows, varRows, val, shortlist, dst, width, count,
            height, srcRow, meanRow, varRow, memory),
        ROW(zemsLogGaussMixture_SelectIdVar_32f_D2, src, mean, val, shortlist, dst, width, count, height, stride, memory),
        ROW(zemsLogGaussMixture_SelectIdVar_32f_D2L, srcRows, meanRows, val, shortlist, dst, width, count, height, srcRow,
            meanRow, memory),
        ROW(zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2, src, mean, val, shortlist, dst, width, count, height, stride,
            memory),
        ROW(zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2L, srcRows, meanRows, val, shortlist, dst, width, count, height,
            srcRow, meanRow, memory),
    });
}

TEST(CheckOrder, Distances) {
    expectTable({
        ROW(zemsMahDistSingle_32f, src, mean, var, dst, len),
        ROW(zemsMahDistSingle_64f, src, mean, var, dst, len),
        ROW(zemsMahDistSingle_32f64f, src, mean, var, dst, len),
        ROW(zemsMahDistSingle_16s32f, src, mean, var, dst, len),
        ROW(zemsMahDistSingle_16s32s_Sfs, src, mean, var, dst, len),
        ROW(zemsMahDist_32f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsMahDist_32f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsMahDist_64f_D2, stride, src, mean, var, dst, width, height),
        ROW(zemsMahDist_64f_D2L, srcRows, mean, var, dst, width, height, srcRow),
        ROW(zemsMahDistMultiMix_32f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsMahDistMultiMix_32f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
        ROW(zemsMahDistMultiMix_64f_D2, stride, mean, var, src, dst, width, count),
        ROW(zemsMahDistMultiMix_64f_D2L, meanRows, varRows, src, dst, width, count, meanRow, varRow),
    });
}

TEST(CheckOrder, ModelHelpers) {
    // Null pointers, then the length.  In place: srcDst and the determinants.
    const B det{"det", [](Args& a) { a.mean = nullptr; }, zemStatusNullPointer};
    const B srcDst{"srcDst", [](Args& a) { a.dst = nullptr; }, zemStatusNullPointer};
    expectTable({
        ROW(zemsOutProbPreCalc_32f, src, det, dst, len),
        ROW(zemsOutProbPreCalc_64f, src, det, dst, len),
        ROW(zemsOutProbPreCalc_32s, src, det, dst, len),
        ROW(zemsOutProbPreCalc_32f_I, src, srcDst, len),
        ROW(zemsOutProbPreCalc_64f_I, src, srcDst, len),
        ROW(zemsOutProbPreCalc_32s_I, src, srcDst, len),
        ROW(zemsScaleLM_32f, src, dst, len),
        ROW(zemsScaleLM_16s32s, src, dst, len),
    });
}

// Shortlists and sign tables: null pointers, sizes, counts (RowVar before the stride,
// ColumnVar after it), the stride, the index range, then the rows.
TEST(CheckOrder, Selection) {
    struct S {
        Zem32s indices[16] = {};
        Zem32s counts[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
        bool noIdx = false, noCnt = false;
        const Zem32s* idx() const { return noIdx ? nullptr : indices; }
        const Zem32s* cnt() const { return noCnt ? nullptr : counts; }
        Zem8u** rows = nullptr;
        const Zem8u* const* table = nullptr;
        int numBits = 16, per = 1, numRows = 2, rowBytes = 2, bitOffset = 0, numTable = 2;
    };
    static Zem8u bytes[2][2];
    static Zem8u* dstRows[2] = {bytes[0], bytes[1]};
    static Zem8u* dstRowsWithNull[2] = {bytes[0], nullptr};
    static const Zem8u* tableRows[2] = {pools.zeros, pools.zeros};
    static const Zem8u* tableRowsWithNull[2] = {nullptr, pools.zeros};
    S valid;
    valid.rows = dstRows;
    valid.table = tableRows;
    using SB = zemtest::Break<S>;
    const SB idx{"indices", [](S& a) { a.noIdx = true; }, zemStatusNullPointer};
    const SB cnt{"counts", [](S& a) { a.noCnt = true; }, zemStatusNullPointer};
    const SB rows{"rows", [](S& a) { a.rows = nullptr; a.table = nullptr; }, zemStatusNullPointer};
    const SB size{"numRows", [](S& a) { a.numRows = 0; }, zemStatusBadSize};
    const SB bits{"numBits", [](S& a) { a.numBits = 0; }, zemStatusBadSize};
    const SB per{"per", [](S& a) { a.per = 0; }, zemStatusBadSize};
    const SB offset{"bitOffset", [](S& a) { a.bitOffset = -1; }, zemStatusBadSize};
    const SB zeroCount{"a count", [](S& a) { a.counts[1] = 0; }, zemStatusBadSize};
    const SB narrow{"rowBytes", [](S& a) { a.rowBytes = 1; }, zemStatusBadStride};
    const SB range{"index range", [](S& a) { a.indices[1] = 16; }, zemStatusBadArg};
    const SB nullRow{"a row", [](S& a) { if (a.rows) a.rows = dstRowsWithNull, a.table = tableRowsWithNull; }, zemStatusNullPointer};
    const std::vector<zemtest::Region> outs = {zemtest::region(&bytes[0][0], 4), zemtest::region(pools.out, 8)};
    zemtest::expectCheckOrder<S>("zemsFillShortlist_Row_1u", valid, [](const S& a) {
        return zemsFillShortlist_Row_1u(a.idx(), a.numBits, a.per, a.rows, a.numRows, a.rowBytes, a.bitOffset); },
        {idx, rows, size, bits, per, offset, narrow, range, nullRow}, outs);
    zemtest::expectCheckOrder<S>("zemsFillShortlist_RowVar_1u", valid, [](const S& a) {
        return zemsFillShortlist_RowVar_1u(a.idx(), a.cnt(), a.numBits, a.rows, a.numRows, a.rowBytes, a.bitOffset); },
        {idx, cnt, rows, size, bits, offset, zeroCount, narrow, range, nullRow}, outs);
    zemtest::expectCheckOrder<S>("zemsFillShortlist_Column_1u", valid, [](const S& a) {
        return zemsFillShortlist_Column_1u(a.idx(), a.per, a.rows, a.numRows, a.rowBytes, a.bitOffset, a.numBits); },
        {idx, rows, size, bits, per, offset, narrow, range, nullRow}, outs);
    zemtest::expectCheckOrder<S>("zemsFillShortlist_ColumnVar_1u", valid, [](const S& a) {
        return zemsFillShortlist_ColumnVar_1u(a.idx(), a.cnt(), a.rows, a.numRows, a.rowBytes, a.bitOffset, a.numBits); },
        {idx, cnt, rows, size, bits, offset, narrow, zeroCount, range, nullRow}, outs);
    zemtest::expectCheckOrder<S>("zemsBuildSignTable_8u1u", valid, [](const S& a) {
        return zemsBuildSignTable_8u1u(a.idx(), a.per, a.table, a.numTable, a.rowBytes, a.bitOffset, pools.out, a.numRows, a.numBits); },
        {idx, rows, size, bits, per, offset, narrow, range, nullRow}, outs);
    zemtest::expectCheckOrder<S>("zemsBuildSignTable_Var_8u1u", valid, [](const S& a) {
        return zemsBuildSignTable_Var_8u1u(a.idx(), a.cnt(), a.table, a.numTable, a.rowBytes, a.bitOffset, pools.out, a.numRows, a.numBits); },
        {idx, cnt, rows, size, bits, offset, narrow, zeroCount, range, nullRow}, outs);
}

TEST(CheckOrder, BlockDiagonalMatrices) {
    // Null pointers, the block count, a block size, the source rows, then memory.
    struct M {
        void* out = nullptr;
        const void* const* rows = pools.rows;
        Zem32s sizes[2] = {1, 1};
        bool noSizes = false;
        const Zem32s* blockSizes() const { return noSizes ? nullptr : sizes; }
        int numBlocks = 2;
        bool failAlloc = false;
    };
    static void* made;
    using MB = zemtest::Break<M>;
    const std::vector<MB> breaks = {
        {"pMatrix", [](M& a) { a.out = nullptr; }, zemStatusNullPointer},
        {"rows", [](M& a) { a.rows = nullptr; }, zemStatusNullPointer},
        {"blockSizes", [](M& a) { a.noSizes = true; }, zemStatusNullPointer},
        {"numBlocks", [](M& a) { a.numBlocks = 0; }, zemStatusBadSize},
        {"a block size", [](M& a) { a.sizes[1] = 0; }, zemStatusBadSize},
        {"a row", [](M& a) { if (a.rows) a.rows = pools.rowsWithNull; }, zemStatusNullPointer},
        {"memory", [](M& a) { a.failAlloc = true; }, zemStatusNoMemory}};
    auto runs = [](auto init, auto release) {
        return [=](const M& a) {
            ZemStatus s;
            {
                FailGuard g(a.failAlloc);
                s = init(a);
            }
            if (s == zemStatusOk) release(made);
            return s;
        };
    };
    M valid;
    valid.out = &made;
    zemtest::expectCheckOrder<M>("zemsBlockDMatrixInitAlloc_16s", valid,
        runs([](const M& a) { return zemsBlockDMatrixInitAlloc_16s(static_cast<ZemsBlockDMatrix_16s**>(a.out), rowsOf<Zem16s>(a.rows), a.blockSizes(), a.numBlocks); },
             [](void* m) { zemsBlockDMatrixFree_16s(static_cast<ZemsBlockDMatrix_16s*>(m)); }), breaks, {zemtest::region(&made, 1)});
    zemtest::expectCheckOrder<M>("zemsBlockDMatrixInitAlloc_32f", valid,
        runs([](const M& a) { return zemsBlockDMatrixInitAlloc_32f(static_cast<ZemsBlockDMatrix_32f**>(a.out), rowsOf<Zem32f>(a.rows), a.blockSizes(), a.numBlocks); },
             [](void* m) { zemsBlockDMatrixFree_32f(static_cast<ZemsBlockDMatrix_32f*>(m)); }), breaks, {zemtest::region(&made, 1)});
    zemtest::expectCheckOrder<M>("zemsBlockDMatrixInitAlloc_64f", valid,
        runs([](const M& a) { return zemsBlockDMatrixInitAlloc_64f(static_cast<ZemsBlockDMatrix_64f**>(a.out), rowsOf<Zem64f>(a.rows), a.blockSizes(), a.numBlocks); },
             [](void* m) { zemsBlockDMatrixFree_64f(static_cast<ZemsBlockDMatrix_64f*>(m)); }), breaks, {zemtest::region(&made, 1)});
    EXPECT_EQ(zemsBlockDMatrixFree_16s(nullptr), zemStatusNullPointer);
    EXPECT_EQ(zemsBlockDMatrixFree_32f(nullptr), zemStatusNullPointer);
    EXPECT_EQ(zemsBlockDMatrixFree_64f(nullptr), zemStatusNullPointer);
}
