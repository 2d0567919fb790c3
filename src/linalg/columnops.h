// Row and column operations on Zem64f matrices: the loops of which the singular value
// decomposition is built, written once over the matrix's row access so that a block
// with a row distance and an array of row pointers give the same bits.
//
// Sums have one fixed order.  Column sums over count rows take the rows four at a
// time into four partial sums (row 4g + q into sum q), fold them as (s0 + s1) + (s2 + s3)
// and add the leftover rows in order; fewer than four rows are summed in order.  Row
// sums do the same over elements from a length of 16 on and sum shorter rows in order.
// Nothing depends on alignment.
#pragma once

#include <cstdint>

#include "linalg/rows.h"
#include "primitives/simd.h"

namespace zem::linalg {

namespace simd = zem::simd;

// Four-at-a-time columns, and rows from this length on.
inline constexpr int64_t kColumnFoursFrom = 4;
inline constexpr int64_t kRowFoursFrom = 16;

// The sum of term(k) for k in [0, count) in the order stated above.
template <int64_t FoursFrom, class Term>
[[gnu::always_inline]] inline double sumInFours(int64_t count, Term term) {
    if (count < FoursFrom) {
        double s = 0.0;
        for (int64_t k = 0; k < count; ++k) s += term(k);
        return s;
    }
    double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
    int64_t k = 0;
    for (; k + 4 <= count; k += 4) {
        s0 += term(k);
        s1 += term(k + 1);
        s2 += term(k + 2);
        s3 += term(k + 3);
    }
    double s = (s0 + s1) + (s2 + s3);
    for (; k < count; ++k) s += term(k);
    return s;
}

inline double absOf(double x) { return __builtin_fabs(x); }

// ---- Columns: rows from..to-1 of a column (an empty range sums to 0) --------------------

template <class Rows>
double sumColumnAbs(Rows a, int col, int from, int to) {
    return sumInFours<kColumnFoursFrom>(to - from, [&](int64_t k) { return absOf(a[from + k][col]); });
}

// Scales the column by val in place and sums the squares of the scaled values.
template <class Rows>
double sumColumnSqr(Rows a, int col, int from, int to, double val) {
    return sumInFours<kColumnFoursFrom>(to - from, [&](int64_t k) {
        double& x = a[from + k][col];
        x = x * val;
        return x * x;
    });
}

template <class Rows>
double dotColumns(Rows a, int col1, int col2, int from, int to) {
    return sumInFours<kColumnFoursFrom>(to - from, [&](int64_t k) {
        const auto* row = a[from + k];
        return row[col1] * row[col2];
    });
}

// a[r][dst] += a[r][src] * val.
template <class Rows>
void addMulColumn(Rows a, int src, int dst, int from, int to, double val) {
    for (int64_t r = from; r < to; ++r) {
        double* row = a[r];
        row[dst] = row[dst] + row[src] * val;
    }
}

template <class Rows>
void mulColumn(Rows a, int col, int from, int to, double val) {
    for (int64_t r = from; r < to; ++r) a[r][col] = a[r][col] * val;
}

template <class Rows>
void setColumn(Rows a, int col, int from, int to, double val) {
    for (int64_t r = from; r < to; ++r) a[r][col] = val;
}

// The plane rotation of columns col1 and col2 over the first count rows: with
// x = row[col2] and y = row[col1], row[col2] = c x + s y and row[col1] = y c - x s.
template <class Rows>
void rotateColumns(Rows a, int col1, int col2, int count, double c, double s) {
    for (int64_t r = 0; r < count; ++r) {
        double* row = a[r];
        const double x = row[col2], y = row[col1];
        row[col2] = c * x + s * y;
        row[col1] = y * c - x * s;
    }
}

// ---- Rows of len elements -----------------------------------------------------------

inline double sumRowAbs(const double* x, int64_t len) {
    return sumInFours<kRowFoursFrom>(len, [&](int64_t k) { return absOf(x[k]); });
}

// Scales the row by val in place and sums the squares of the scaled values.
inline double sumRowSqr(double* x, int64_t len, double val) {
    return sumInFours<kRowFoursFrom>(len, [&](int64_t k) {
        x[k] = x[k] * val;
        return x[k] * x[k];
    });
}

inline double dotRows(const double* x, const double* y, int64_t len) {
    return sumInFours<kRowFoursFrom>(len, [&](int64_t k) { return x[k] * y[k]; });
}

// dst[k] += src[k] * val.
inline void addMulRow(const double* src, double* dst, int64_t len, double val) {
    for (int64_t k = 0; k < len; ++k) dst[k] = dst[k] + src[k] * val;
}

// The rotation of rotateColumns on two rows: with x = row2[k] and y = row1[k],
// row2[k] = c x + s y and row1[k] = y c - x s.
inline void rotateRows(double* row1, double* row2, int64_t len, double c, double s) {
    const simd::F64x4 cv = simd::splat(c), sv = simd::splat(s);
    int64_t k = 0;
    for (; k + 4 <= len; k += 4) {
        const simd::F64x4 x = simd::load(row2 + k), y = simd::load(row1 + k);
        simd::store(row2 + k, cv * x + sv * y);
        simd::store(row1 + k, y * cv - x * sv);
    }
    for (; k < len; ++k) {
        const double x = row2[k], y = row1[k];
        row2[k] = c * x + s * y;
        row1[k] = y * c - x * s;
    }
}

inline void mulRow(double* x, int64_t len, double val) {
    for (int64_t k = 0; k < len; ++k) x[k] = x[k] * val;
}

}  // namespace zem::linalg
