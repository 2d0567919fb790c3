// Single-frame scores with a block diagonal precision matrix.
//
// The differences go to a work buffer: on the stack below 112 elements, from the
// allocator above.  Checks: null pointers, a length below 1, a length other than the
// matrix order, then memory.
#include <cstdint>
#include <immintrin.h>

#include "blockdmatrix.h"
#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "kernels/gauss16.h"

namespace {

// A work buffer of len elements: on the stack below 112.
template <class T>
using WorkBuffer = zem::Scratch<T, 111>;

// The matrix's order is the length.
template <class Record>
auto lengthIsOrder(int len, const Record* matrix) {
    return zem::ensure([=] { return len == matrix->order; }, zemStatusBadSize);
}

// The quadratic form of the float and double matrices: for each row of each block, a dot of the row with the block's differences
// in four lanes (runs of 8, 4, 2 and 1 columns), multiplied lane by lane by the row's own
// difference into a four-lane acc folded at the end as (0 + 2) + (1 + 3).  D is the dot's
// type, A the accumulator's: float and float, float and double, or double and double.
template <class D, class A, class Record>
A blockQuadraticForm(const Record* matrix, const D* d) {
    A acc[4] = {0, 0, 0, 0};
    int o = 0;
    for (int b = 0; b < matrix->numBlocks; ++b) {
        const int n = matrix->blockSizes[b];
        for (int r = 0; r < n; ++r) {
            const auto* row = matrix->rows[o + r];
            D dot[4] = {0, 0, 0, 0};
            int c = 0;
            for (; c + 8 <= n; c += 8) {
                for (int k = 0; k < 4; ++k) dot[k] += d[o + c + k] * static_cast<D>(row[c + k]);
                for (int k = 0; k < 4; ++k) dot[k] += d[o + c + 4 + k] * static_cast<D>(row[c + 4 + k]);
            }
            for (int run : {4, 2, 1})
                if (n - c >= run) {
                    for (int k = 0; k < run; ++k) dot[k] += d[o + c + k] * static_cast<D>(row[c + k]);
                    c += run;
                }
            for (int k = 0; k < 4; ++k) acc[k] += static_cast<A>(d[o + r]) * static_cast<A>(dot[k]);
        }
        o += n;
    }
    return (acc[0] + acc[2]) + (acc[1] + acc[3]);
}

template <class T, class D>
void differences(const T* x, const T* m, D* d, int len) {
    for (int i = 0; i < len; ++i) d[i] = static_cast<D>(x[i]) - static_cast<D>(m[i]);
}

// The quadratic form of the 16-bit matrices: saturated 16-bit differences in runs of 16, 8 and 4, the last (up to
// three) wrapping; row dots of exact 32-bit products converted to float, four lanes over
// the columns up to the last multiple of 4 (folded (0 + 2) + (1 + 3)), the rest as a
// scalar added after; acc += float(d) * dot in one float.
float blockQuadraticForm16(const ZemsBlockDMatrix_16s* matrix, const Zem16s* x, const Zem16s* m, Zem16s* d, int len) {
    const int saturatedEnd = len & ~3;
    for (int i = 0; i < saturatedEnd; ++i) d[i] = static_cast<Zem16s>(zem::gauss16::saturatedDifference(x[i], m[i]));
    for (int i = saturatedEnd; i < len; ++i) d[i] = static_cast<Zem16s>(static_cast<uint16_t>(x[i] - m[i]));
    float acc = 0.0f;
    int o = 0;
    for (int b = 0; b < matrix->numBlocks; ++b) {
        const int n = matrix->blockSizes[b];
        for (int r = 0; r < n; ++r) {
            const Zem16s* row = matrix->rows[o + r];
            float lane[4] = {0, 0, 0, 0};
            const int n4 = n & ~3;
            for (int c = 0; c < n4; ++c) lane[c & 3] += static_cast<float>(int32_t{row[c]} * d[o + c]);
            float rest = 0.0f;
            for (int c = n4; c < n; ++c) rest += static_cast<float>(int32_t{row[c]} * d[o + c]);
            const float dot = ((lane[0] + lane[2]) + (lane[1] + lane[3])) + rest;
            acc += static_cast<float>(d[o + r]) * dot;
        }
        o += n;
    }
    return acc;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_32f(const Zem32f* src, const Zem32f* mean,
                                                     const ZemsBlockDMatrix_32f* matrix, int len, Zem32f* pResult,
                                                     Zem32f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, matrix, pResult),
                                              zem::atLeastOne(len),
                                              lengthIsOrder(len, matrix)))
        return s;
    WorkBuffer<float> d(len);
    if (!d.ok()) return zemStatusNoMemory;
    differences(src, mean, d.data(), len);
    const float acc = blockQuadraticForm<float, float>(matrix, d.data());
    *pResult = static_cast<float>(static_cast<double>(val) - static_cast<double>(acc) * 0.5);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_32f64f(const Zem32f* src, const Zem32f* mean,
                                                        const ZemsBlockDMatrix_32f* matrix, int len, Zem64f* pResult,
                                                        Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, matrix, pResult),
                                              zem::atLeastOne(len),
                                              lengthIsOrder(len, matrix)))
        return s;
    WorkBuffer<float> d(len);
    if (!d.ok()) return zemStatusNoMemory;
    differences(src, mean, d.data(), len);
    *pResult = val - blockQuadraticForm<float, double>(matrix, d.data()) * 0.5;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_64f(const Zem64f* src, const Zem64f* mean,
                                                     const ZemsBlockDMatrix_64f* matrix, int len, Zem64f* pResult,
                                                     Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, matrix, pResult),
                                              zem::atLeastOne(len),
                                              lengthIsOrder(len, matrix)))
        return s;
    WorkBuffer<double> d(len);
    if (!d.ok()) return zemStatusNoMemory;
    differences(src, mean, d.data(), len);
    *pResult = val - blockQuadraticForm<double, double>(matrix, d.data()) * 0.5;
    return zemStatusOk;
}

// Truncating: below -2^31 gives -2^31, above 2^31 gives 2^31 - 1, and 2^31 itself
// converts to -2^31.
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean,
                                                            const ZemsBlockDMatrix_16s* matrix, int len,
                                                            Zem32s* pResult, Zem32s val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, matrix, pResult),
                                              zem::atLeastOne(len),
                                              lengthIsOrder(len, matrix)))
        return s;
    WorkBuffer<Zem16s> d(len);
    if (!d.ok()) return zemStatusNoMemory;
    const float acc = blockQuadraticForm16(matrix, src, mean, d.data(), len);
    const float v = static_cast<float>(val) - (acc * zem::pow2Neg32f(scaleFactor)) * 0.5f;
    if (v < -2147483648.0f) *pResult = INT32_MIN;
    else if (v > 2147483648.0f) *pResult = INT32_MAX;
    else *pResult = _mm_cvttss_si32(_mm_set_ss(v));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVarScaled_16s32f(const Zem16s* src, const Zem16s* mean,
                                                              const ZemsBlockDMatrix_16s* matrix, int len,
                                                              Zem32f* pResult, Zem32f val, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, mean, matrix, pResult),
                                              zem::atLeastOne(len),
                                              lengthIsOrder(len, matrix)))
        return s;
    WorkBuffer<Zem16s> d(len);
    if (!d.ok()) return zemStatusNoMemory;
    const float acc = blockQuadraticForm16(matrix, src, mean, d.data(), len);
    *pResult = val - (acc * 0.5f) * zem::pow2Neg32f(scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
