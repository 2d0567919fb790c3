// Singular value decomposition A = U diag(W) V^T of an m x n matrix (m = height rows,
// n = width columns) by Householder reduction to bidiagonal form, accumulation of the
// left and right transformations, and implicit-shift QR on the bidiagonal.  U replaces
// A; V is n x n.  The caller bounds the QR sweeps per singular value.
//
// One body serves both layouts, over a row access (a block with a row distance, or row
// pointers) and an order of work.  The row-pointer form goes column by column through the
// loops of columnops.h.  The block form does the same arithmetic row by row: the dot
// products of one column against all later columns are summed together, each in the
// same four-row order, before the columns are updated, and the rotations of a QR sweep
// are applied to each row of U and V in turn after the sweep.  Neither changes any
// element's sequence of operations, so the two layouts give the same bits.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "linalg/columnops.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace lin = zem::linalg;
namespace simd = zem::simd;

namespace {

// |x| with the sign of f (f = 0 counts as positive).
inline double withSignOf(double x, double f) { return f >= 0.0 ? lin::absOf(x) : -lin::absOf(x); }

// sqrt(a^2 + b^2), rescaled by 2^-510 or 2^510 when the larger magnitude is at or
// beyond either bound.  The sum of squares is formed first, unscaled: arguments near
// the top of the range overflow in it on purpose.
inline double hypot2(double a, double b) {
    constexpr double K = 0x1p510, L = 0x1p-510;
    const double aa = lin::absOf(a), ab = lin::absOf(b);
    const double p = aa > ab ? aa : ab;
    const double q = a * a + b * b;
    if (p >= K) return K * __builtin_sqrt(q * L * L);
    if (L >= p) return L * __builtin_sqrt(q * K * K);
    return __builtin_sqrt(q);
}

template <class Rows>
struct Problem {
    Rows a;  // m x n, becomes U
    Rows v;  // n x n
    double* w;
    double* rv;  // the superdiagonal, n
    int m, n;
    // The row-by-row order: 4 n doubles of work for the column updates, and room for
    // U^T (n rows of m) and V^T (n rows of n) for the QR stage; the two may overlap.
    double* work;
    double* ut;
    int64_t utStride;
    double* vt;
    int64_t vtStride;
};

// ---- Orders of work ---------------------------------------------------------------------
//
// Column updates b[k][j] += b[k][src] * factor(t_j) for the columns j in [j0, n) and rows
// k in [updFrom, to), where t_j is the sum over rows k in [dotFrom, to) of x(k) * b[k][j]
// in the four-row order.  Column src lies before j0 and no t_j reads a column that
// another update writes, so the columns may be taken one at a time or all together.
struct ColumnByColumn {
    static constexpr bool kTransposed = false;
    template <class Rows, class X, class F>
    static void updateColumns(Rows b, int src, int j0, int n, int dotFrom, int updFrom, int to, X x, F factor,
                              double*) {
        for (int j = j0; j < n; ++j) {
            const double t = lin::sumInFours<lin::kColumnFoursFrom>(
                to - dotFrom, [&](int64_t k) { return x(dotFrom + k) * b[dotFrom + k][j]; });
            lin::addMulColumn(b, src, j, updFrom, to, factor(t));
        }
    }
};

struct RowByRow {
    static constexpr bool kTransposed = true;

    // The sums t_j of four adjacent columns j.. (the first `lanes` of them), kept in
    // registers: lane by lane the same four-row order as sumInFours.
    template <class Rows, class X>
    [[gnu::always_inline]] static simd::F64x4 columnDots4(Rows b, int64_t j, int lanes, int64_t from, int64_t to,
                                                         X x) {
        auto term = [&](int64_t k) {
            const double* row = b[k] + j;
            return simd::splat(x(k)) * (lanes == 4 ? simd::load(row) : simd::loadFirst(row, lanes));
        };
        simd::F64x4 t = simd::splat(0.0);
        int64_t k = from;
        if (to - from >= lin::kColumnFoursFrom) {
            simd::F64x4 s1 = t, s2 = t, s3 = t;
            for (; k + 4 <= to; k += 4) {
                t = t + term(k);
                s1 = s1 + term(k + 1);
                s2 = s2 + term(k + 2);
                s3 = s3 + term(k + 3);
            }
            t = (t + s1) + (s2 + s3);
        }
        for (; k < to; ++k) t = t + term(k);
        return t;
    }

    template <class Rows, class X, class F>
    static void updateColumns(Rows b, int src, int j0, int n, int dotFrom, int updFrom, int to, X x, F factor,
                              double* work) {
        const int64_t cols = n - j0;
        if (cols <= 0) return;
        double* const t = work;
        for (int64_t j = 0; j < cols; j += 4) {
            const int lanes = cols - j < 4 ? static_cast<int>(cols - j) : 4;
            const simd::F64x4 sums = columnDots4(b, j0 + j, lanes, dotFrom, to, x);
            if (lanes == 4) {
                simd::store(t + j, sums);
            } else {
                double spill[4];
                simd::store(spill, sums);
                for (int q = 0; q < lanes; ++q) t[j + q] = spill[q];
            }
        }
        for (int64_t j = 0; j < cols; ++j) t[j] = factor(t[j]);
        for (int64_t r = updFrom; r < to; ++r) {
            double* const row = b[r];
            const double xs = row[src];
            double* const out = row + j0;
            for (int64_t j = 0; j < cols; ++j) out[j] = out[j] + xs * t[j];
        }
    }
};

// ---- The QR stage's view of U and V ------------------------------------------------------
//
// A rotation of columns col1 and col2 (x = col2, y = col1: col2 = c x + s y, col1 = y c - x s)
// of U (m rows) or V (n rows), and the sign flip of a column of V.

// Column by column in the matrices themselves.
template <class Rows>
struct ColumnPlane {
    Rows a, v;
    int m, n;
    void rotateU(int col1, int col2, double c, double s) const { lin::rotateColumns(a, col1, col2, m, c, s); }
    void rotateV(int col1, int col2, double c, double s) const { lin::rotateColumns(v, col1, col2, n, c, s); }
    void negateV(int col) const { lin::mulColumn(v, col, 0, n, -1.0); }
};

// On transposed copies, where a column is a contiguous row: U^T is n rows of m, V^T n
// rows of n, each row at its own stride.
struct TransposedPlane {
    double* ut;
    int64_t utStride;
    double* vt;
    int64_t vtStride;
    int m, n;
    void rotateU(int col1, int col2, double c, double s) const {
        lin::rotateRows(ut + col1 * utStride, ut + col2 * utStride, m, c, s);
    }
    void rotateV(int col1, int col2, double c, double s) const {
        lin::rotateRows(vt + col1 * vtStride, vt + col2 * vtStride, n, c, s);
    }
    void negateV(int col) const { lin::mulRow(vt + col * vtStride, n, -1.0); }
};

// dst (cols x rows, row stride dstStride) = src^T for src of rows x cols.
template <class Rows>
void transposeInto(Rows src, int rows, int cols, double* dst, int64_t dstStride) {
    for (int64_t r = 0; r < rows; ++r) {
        const double* in = src[r];
        for (int64_t c = 0; c < cols; ++c) dst[c * dstStride + r] = in[c];
    }
}

template <class Rows>
void transposeFrom(const double* src, int64_t srcStride, Rows dst, int rows, int cols) {
    for (int64_t r = 0; r < rows; ++r) {
        double* out = dst[r];
        for (int64_t c = 0; c < cols; ++c) out[c] = src[c * srcStride + r];
    }
}


// Householder reduction to bidiagonal form; returns the norm estimate and leaves g of
// the last step in *gOut.
template <class Order, class Rows>
double bidiagonalise(const Problem<Rows>& p, double* gOut) {
    Rows a = p.a;
    double* const w = p.w;
    double* const rv = p.rv;
    const int m = p.m, n = p.n;
    double g = 0.0, scale = 0.0, anorm = 0.0;
    for (int i = 0; i < n; ++i) {
        const int l = i + 1;
        rv[i] = scale * g;
        g = scale = 0.0;
        if (i < m) {
            scale = lin::sumColumnAbs(a, i, i, m);
            if (scale != 0.0) {
                const double s = lin::sumColumnSqr(a, i, i, m, 1.0 / scale);
                const double f = a[i][i];
                g = -withSignOf(__builtin_sqrt(s), f);
                const double h = f * g - s;
                a[i][i] = f - g;
                Order::updateColumns(a, i, l, n, i, i, m, [&](int64_t k) { return a[k][i]; },
                                     [h](double t) { return t / h; }, p.work);
                lin::mulColumn(a, i, i, m, scale);
            }
        }
        w[i] = scale * g;
        g = scale = 0.0;
        if (i < m && i != n - 1) {
            double* const ri = a[i];
            const int64_t len = n - l;
            scale = lin::sumRowAbs(ri + l, len);
            if (scale != 0.0) {
                const double s = lin::sumRowSqr(ri + l, len, 1.0 / scale);
                const double f = ri[l];
                g = -withSignOf(__builtin_sqrt(s), f);
                const double h = f * g - s;
                ri[l] = f - g;
                for (int k = l; k < n; ++k) rv[k] = ri[k] / h;
                for (int j = l; j < m; ++j) {
                    double* const rj = a[j];
                    lin::addMulRow(rv + l, rj + l, len, lin::dotRows(rj + l, ri + l, len));
                }
                lin::mulRow(ri + l, len, scale);
            }
        }
        const double t = lin::absOf(w[i]) + lin::absOf(rv[i]);
        anorm = anorm > t ? anorm : t;
    }
    *gOut = g;
    return anorm;
}

// V from the right transformations stored in the rows of A.
template <class Order, class Rows>
void accumulateRight(const Problem<Rows>& p, double g) {
    Rows a = p.a, v = p.v;
    const int n = p.n;
    int l = n;
    for (int i = n - 1; i >= 0; --i) {
        if (i < n - 1) {
            const double* const ri = a[i];
            if (g != 0.0) {
                for (int j = l; j < n; ++j) v[j][i] = (ri[j] / ri[l]) / g;
                Order::updateColumns(v, i, l, n, l, l, n, [ri](int64_t k) { return ri[k]; },
                                     [](double t) { return t; }, p.work);
            }
            for (int j = l; j < n; ++j) v[i][j] = v[j][i] = 0.0;
        }
        v[i][i] = 1.0;
        g = p.rv[i];
        l = i;
    }
}

// U from the left transformations stored in the columns of A.
template <class Order, class Rows>
void accumulateLeft(const Problem<Rows>& p) {
    Rows a = p.a;
    const int m = p.m, n = p.n;
    for (int i = (m < n ? m : n) - 1; i >= 0; --i) {
        const int l = i + 1;
        double g = p.w[i];
        for (int j = l; j < n; ++j) a[i][j] = 0.0;
        if (g != 0.0) {
            g = 1.0 / g;
            const double pivot = a[i][i];
            Order::updateColumns(a, i, l, n, l, i, m, [&](int64_t k) { return a[k][i]; },
                                 [pivot, g](double t) { return (t / pivot) * g; }, p.work);
            lin::mulColumn(a, i, i, m, g);
        } else {
            lin::setColumn(a, i, i, m, 0.0);
        }
        a[i][i] = a[i][i] + 1.0;
    }
}

// QR on the bidiagonal (w, rv) with the rotations applied to U and V.
template <class Plane>
ZemStatus diagonalise(const Plane& plane, double* w, double* rv, int n, double anorm, int nIter) {
    for (int k = n - 1; k >= 0; --k) {
        for (int its = 1;; ++its) {
            // Split test.  rv[0] is 0, so the scan ends at l = 0 at the latest; a NaN in
            // the data defeats the comparisons and stops it there too.
            bool cancel = true;
            int l = k;
            for (; l >= 0; --l) {
                if (anorm == lin::absOf(rv[l]) + anorm || l == 0) {
                    cancel = false;
                    break;
                }
                if (anorm == lin::absOf(w[l - 1]) + anorm) break;
            }
            if (cancel) {
                double c = 0.0, s = 1.0;
                const int q = l - 1;
                for (int i = l; i <= k; ++i) {
                    const double f = s * rv[i];
                    rv[i] = c * rv[i];
                    if (anorm == lin::absOf(f) + anorm) break;
                    const double g = w[i];
                    const double h = hypot2(f, g);
                    w[i] = h;
                    c = g / h;
                    s = f / (-h);
                    plane.rotateU(i, q, c, s);
                }
            }
            double z = w[k];
            if (l == k) {
                if (z < 0.0) {
                    w[k] = -z;
                    plane.negateV(k);
                }
                break;
            }
            if (its == nIter) return zemStatusNoConvergence;
            // The shift from the trailing 2 x 2 block.
            double x = w[l];
            const int q = k - 1;
            double y = w[q];
            double g = rv[q];
            double h = rv[k];
            double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
            g = hypot2(f, 1.0);
            f = ((x - z) * (x + z) + h * (y / (f + withSignOf(g, f)) - h)) / x;
            // One implicit QR sweep from l to k.
            double c = 1.0, s = 1.0;
            for (int j = l; j <= q; ++j) {
                const int i = j + 1;
                g = rv[i];
                y = w[i];
                h = s * g;
                g = c * g;
                z = hypot2(f, h);
                rv[j] = z;
                if (z != 0.0) {
                    c = f / z;
                    s = h / z;
                }
                f = x * c + g * s;
                g = g * c - x * s;
                h = y * s;
                y = y * c;
                plane.rotateV(i, j, c, s);
                z = hypot2(f, h);
                w[j] = z;
                if (z != 0.0) {
                    c = f / z;
                    s = h / z;
                }
                f = c * g + s * y;
                x = c * y - s * g;
                plane.rotateU(i, j, c, s);
            }
            rv[l] = 0.0;
            rv[k] = f;
            w[k] = x;
        }
    }
    return zemStatusOk;
}

template <class Order, class Rows>
ZemStatus decompose(const Problem<Rows>& p, int nIter) {
    double g = 0.0;
    const double anorm = bidiagonalise<Order>(p, &g);
    accumulateRight<Order>(p, g);
    accumulateLeft<Order>(p);
    if constexpr (Order::kTransposed) {
        // U and V go through the QR stage transposed and come back whatever its outcome.
        transposeInto(p.a, p.m, p.n, p.ut, p.utStride);
        transposeInto(p.v, p.n, p.n, p.vt, p.vtStride);
        const ZemStatus status = diagonalise(TransposedPlane{p.ut, p.utStride, p.vt, p.vtStride, p.m, p.n}, p.w,
                                             p.rv, p.n, anorm, nIter);
        transposeFrom(p.ut, p.utStride, p.a, p.m, p.n);
        transposeFrom(p.vt, p.vtStride, p.v, p.n, p.n);
        return status;
    } else {
        return diagonalise(ColumnPlane<Rows>{p.a, p.v, p.m, p.n}, p.w, p.rv, p.n, anorm, nIter);
    }
}

// The sorting pass's work block: the superdiagonal (reused for the sorted values), the
// permutation, and n x n and m x n working matrices with their row pointers, with n and
// m rounded up to multiples of 4.  (8 nr + 8) nr + 12 nr + mr (8 nr + 8) bytes.
struct SortBlock {
    int64_t nr, mr;
    static int64_t roundUp4(int v) { return (int64_t{v} + 3) / 4 * 4; }
    SortBlock(int m, int n) : nr(roundUp4(n)), mr(roundUp4(m)) {}
    // 0 when the count does not fit in 63 bits.
    int64_t bytes() const {
        const __int128 b = (8 * static_cast<__int128>(nr) + 8) * nr + 12 * static_cast<__int128>(nr) +
                           static_cast<__int128>(mr) * (8 * nr + 8);
        return b > INT64_MAX ? 0 : static_cast<int64_t>(b);
    }
};

struct SortViews {
    double* rv;
    double* spare;  // the V copy's area, free during the decomposition: nr^2 >= 4 n
    double* uData;
    lin::PointerRows<double> vWork, uWork;
    Zem32s* perm;
};

// Carves the block in the order: V copy, U copy, superdiagonal, V rows, U rows, perm.
SortViews carveSortBlock(double* block, const SortBlock& sizes, int m, int n) {
    double* vData = block;
    double* uData = vData + sizes.nr * sizes.nr;
    double* rv = uData + sizes.mr * sizes.nr;
    double** vRows = reinterpret_cast<double**>(rv + sizes.nr);
    double** uRows = vRows + sizes.nr;
    Zem32s* perm = reinterpret_cast<Zem32s*>(uRows + sizes.mr);
    for (int r = 0; r < n; ++r) vRows[r] = vData + r * sizes.nr;
    for (int r = 0; r < m; ++r) uRows[r] = uData + r * sizes.nr;
    return {rv, vData, uData, {vRows}, {uRows}, perm};
}

// Columns j of the first count rows take the old columns perm[j], through work.
template <class Rows>
void permuteColumns(Rows a, lin::PointerRows<double> work, const Zem32s* perm, int count, int n) {
    for (int r = 0; r < count; ++r) {
        const double* src = a[r];
        double* tmp = work[r];
        for (int j = 0; j < n; ++j) tmp[j] = src[perm[j]];
    }
    for (int r = 0; r < count; ++r) std::memcpy(a[r], work[r], sizeof(double) * static_cast<size_t>(n));
}

// W in descending order by selection (the first of equal maxima), U and V columns
// following.
template <class Rows>
void sortDescending(const Problem<Rows>& p, const SortViews& s) {
    const int n = p.n;
    double* const sorted = s.rv;
    std::memcpy(sorted, p.w, sizeof(double) * static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) s.perm[i] = i;
    for (int i = 0; i < n; ++i) {
        int best = i;
        for (int j = i + 1; j < n; ++j)
            if (sorted[j] > sorted[best]) best = j;
        const double tw = sorted[i];
        sorted[i] = sorted[best];
        sorted[best] = tw;
        const Zem32s tp = s.perm[i];
        s.perm[i] = s.perm[best];
        s.perm[best] = tp;
    }
    std::memcpy(p.w, sorted, sizeof(double) * static_cast<size_t>(n));
    permuteColumns(p.a, s.uWork, s.perm, p.m, n);
    permuteColumns(p.v, s.vWork, s.perm, n, n);
}

// No source: the in-place forms.
struct InPlace {};

// Takes the scratch, copies the source rows into A for the not-in-place forms, then
// decomposes (and sorts).  Nothing is written when the scratch cannot be had.
template <bool Sorted, class Order, class Src, class Rows>
ZemStatus svd(Src src, Rows a, int m, double* w, Rows v, int n, int nIter) {
    auto copySource = [&] {
        if constexpr (!std::is_same_v<Src, InPlace>)
            for (int r = 0; r < m; ++r) std::memmove(a[r], src[r], sizeof(double) * static_cast<size_t>(n));
    };
    if constexpr (Sorted) {
        const SortBlock sizes(m, n);
        const int64_t bytes = sizes.bytes();
        zem::HeapScratch<double> block(bytes / 8);
        if (bytes == 0 || !block.ok()) return zemStatusNoMemory;
        const SortViews views = carveSortBlock(block.data(), sizes, m, n);
        copySource();
        // The working copies serve the decomposition first: V's for the column work and V^T,
        // U's for U^T (n rows of m fit in mr x nr).
        const Problem<Rows> p{a, v, w, views.rv, m, n, views.spare, views.uData, sizes.mr, views.spare, sizes.nr};
        const ZemStatus status = decompose<Order>(p, nIter);
        if (status == zemStatusOk) sortDescending(p, views);
        return status;
    } else {
        // rv, then for the row-by-row order the column work, U^T and V^T.
        const int64_t n64 = n;
        const int64_t transposed = Order::kTransposed ? n64 * m + n64 * n64 : 0;
        zem::HeapScratch<double> scratch(5 * n64 + transposed);
        if (!scratch.ok()) return zemStatusNoMemory;
        copySource();
        double* const ut = scratch.data() + 5 * n64;
        return decompose<Order>(Problem<Rows>{a, v, w, scratch.data(), m, n, scratch.data() + n, ut, m, ut + n64 * m, n},
                                nIter);
    }
}

using Block = lin::BlockRows<Zem64f>;
using ConstBlock = lin::BlockRows<const Zem64f>;
using RowPtrs = lin::PointerRows<Zem64f>;
using ConstRowPtrs = lin::PointerRows<const Zem64f>;

// Checks of the block forms: pointers, sizes and nIter, then the row distance, which is
// a size error here.
auto blockChecks(const void* a, const void* w, const void* v, int height, int width, int step, int nIter) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::nonNull(a, w, v), zem::atLeastOne(height, width, nIter),
                                 zem::ensure(width <= step, zemStatusBadSize));
    });
}

// The row pointer forms check the row pointers they read after the sizes.
template <class S, class D>
auto rowChecks(S* const* src, D* const* dst, const Zem64f* w, Zem64f* const* v, int height, int width, int nIter) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::nonNull(src, dst, w, v), zem::atLeastOne(height, width, nIter),
                                 zem::noNullRows(src, height), zem::noNullRows(dst, height),
                                 zem::noNullRows(v, width));
    });
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsSVD_64f_D2(const Zem64f* src, Zem64f* dst, int height, Zem64f* W, Zem64f* V, int width,
                                   int step, int nIter) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src), blockChecks(dst, W, V, height, width, step, nIter)))
        return s;
    return svd<false, RowByRow>(ConstBlock{src, step}, Block{dst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                     int nIter) {
    if (const ZemStatus s = blockChecks(srcDst, W, V, height, width, step, nIter)()) return s;
    return svd<false, RowByRow>(InPlace{}, Block{srcDst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                    Zem64f* const* V, int width, int nIter) {
    if (const ZemStatus s = rowChecks(src, dst, W, V, height, width, nIter)()) return s;
    return svd<false, ColumnByColumn>(ConstRowPtrs{src}, RowPtrs{dst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                      int nIter) {
    if (const ZemStatus s = rowChecks(srcDst, srcDst, W, V, height, width, nIter)()) return s;
    return svd<false, ColumnByColumn>(InPlace{}, RowPtrs{srcDst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2(const Zem64f* src, Zem64f* dst, int height, Zem64f* W, Zem64f* V, int width,
                                       int step, int nIter) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src), blockChecks(dst, W, V, height, width, step, nIter)))
        return s;
    return svd<true, RowByRow>(ConstBlock{src, step}, Block{dst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                         int nIter) {
    if (const ZemStatus s = blockChecks(srcDst, W, V, height, width, step, nIter)()) return s;
    return svd<true, RowByRow>(InPlace{}, Block{srcDst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                        Zem64f* const* V, int width, int nIter) {
    if (const ZemStatus s = rowChecks(src, dst, W, V, height, width, nIter)()) return s;
    return svd<true, ColumnByColumn>(ConstRowPtrs{src}, RowPtrs{dst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                          int nIter) {
    if (const ZemStatus s = rowChecks(srcDst, srcDst, W, V, height, width, nIter)()) return s;
    return svd<true, ColumnByColumn>(InPlace{}, RowPtrs{srcDst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsQRTransColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int column1, int column2,
                                              Zem64f c, Zem64f s) {
    if (const ZemStatus st = zem::firstFailure(
            zem::nonNull(matrix), zem::atLeastOne(width, height),
            zem::within(column1, 0, int64_t{width} - 1, zemStatusBadSize),
            zem::within(column2, 0, int64_t{width} - 1, zemStatusBadSize), zem::noNullRows(matrix, height)))
        return st;
    lin::rotateColumns(RowPtrs{matrix}, column1, column2, height, c, s);
    return zemStatusOk;
}

}  // extern "C"
