// Singular value decomposition A = U diag(W) V^T of an m x n matrix (m = height rows,
// n = width columns) by Householder reduction to bidiagonal form, accumulation of the
// left and right transformations, and implicit-shift QR on the bidiagonal.  U replaces
// A; V is n x n.  The caller bounds the QR sweeps per singular value.
//
// One body serves both layouts: it reaches the matrices only through the row and
// column loops of columnops.h over a row access (a block with a row distance, or row
// pointers), so the two layouts give the same bits.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "linalg/columnops.h"
#include "zemsr.h"

namespace lin = zem::linalg;

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
};

// Householder reduction to bidiagonal form; returns the norm estimate and leaves g of
// the last step in *gOut.
template <class Rows>
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
                for (int j = l; j < n; ++j)
                    lin::addMulColumn(a, i, j, i, m, lin::dotColumns(a, i, j, i, m) / h);
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
template <class Rows>
void accumulateRight(const Problem<Rows>& p, double g) {
    Rows a = p.a, v = p.v;
    const int n = p.n;
    int l = n;
    for (int i = n - 1; i >= 0; --i) {
        if (i < n - 1) {
            const double* const ri = a[i];
            if (g != 0.0) {
                for (int j = l; j < n; ++j) v[j][i] = (ri[j] / ri[l]) / g;
                for (int j = l; j < n; ++j) {
                    const double t = lin::sumInFours<lin::kColumnFoursFrom>(
                        n - l, [&](int64_t k) { return ri[l + k] * v[l + k][j]; });
                    lin::addMulColumn(v, i, j, l, n, t);
                }
            }
            for (int j = l; j < n; ++j) v[i][j] = v[j][i] = 0.0;
        }
        v[i][i] = 1.0;
        g = p.rv[i];
        l = i;
    }
}

// U from the left transformations stored in the columns of A.
template <class Rows>
void accumulateLeft(const Problem<Rows>& p) {
    Rows a = p.a;
    const int m = p.m, n = p.n;
    for (int i = (m < n ? m : n) - 1; i >= 0; --i) {
        const int l = i + 1;
        double g = p.w[i];
        for (int j = l; j < n; ++j) a[i][j] = 0.0;
        if (g != 0.0) {
            g = 1.0 / g;
            for (int j = l; j < n; ++j) {
                const double f = (lin::dotColumns(a, i, j, l, m) / a[i][i]) * g;
                lin::addMulColumn(a, i, j, i, m, f);
            }
            lin::mulColumn(a, i, i, m, g);
        } else {
            lin::setColumn(a, i, i, m, 0.0);
        }
        a[i][i] = a[i][i] + 1.0;
    }
}

// QR on the bidiagonal (w, rv) with the rotations applied to U and V.
template <class Rows>
ZemStatus diagonalise(const Problem<Rows>& p, double anorm, int nIter) {
    double* const w = p.w;
    double* const rv = p.rv;
    const int m = p.m, n = p.n;
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
                    lin::rotateColumns(p.a, i, q, m, c, s);
                }
            }
            double z = w[k];
            if (l == k) {
                if (z < 0.0) {
                    w[k] = -z;
                    lin::mulColumn(p.v, k, 0, n, -1.0);
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
                lin::rotateColumns(p.v, i, j, n, c, s);
                z = hypot2(f, h);
                w[j] = z;
                if (z != 0.0) {
                    c = f / z;
                    s = h / z;
                }
                f = c * g + s * y;
                x = c * y - s * g;
                lin::rotateColumns(p.a, i, j, m, c, s);
            }
            rv[l] = 0.0;
            rv[k] = f;
            w[k] = x;
        }
    }
    return zemStatusOk;
}

template <class Rows>
ZemStatus decompose(const Problem<Rows>& p, int nIter) {
    double g = 0.0;
    const double anorm = bidiagonalise(p, &g);
    accumulateRight(p, g);
    accumulateLeft(p);
    return diagonalise(p, anorm, nIter);
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
    return {rv, {vRows}, {uRows}, perm};
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
template <bool Sorted, class Src, class Rows>
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
        const Problem<Rows> p{a, v, w, views.rv, m, n};
        const ZemStatus status = decompose(p, nIter);
        if (status == zemStatusOk) sortDescending(p, views);
        return status;
    } else {
        zem::HeapScratch<double> rv(n);
        if (!rv.ok()) return zemStatusNoMemory;
        copySource();
        return decompose(Problem<Rows>{a, v, w, rv.data(), m, n}, nIter);
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
    return svd<false>(ConstBlock{src, step}, Block{dst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                     int nIter) {
    if (const ZemStatus s = blockChecks(srcDst, W, V, height, width, step, nIter)()) return s;
    return svd<false>(InPlace{}, Block{srcDst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                    Zem64f* const* V, int width, int nIter) {
    if (const ZemStatus s = rowChecks(src, dst, W, V, height, width, nIter)()) return s;
    return svd<false>(ConstRowPtrs{src}, RowPtrs{dst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVD_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                      int nIter) {
    if (const ZemStatus s = rowChecks(srcDst, srcDst, W, V, height, width, nIter)()) return s;
    return svd<false>(InPlace{}, RowPtrs{srcDst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2(const Zem64f* src, Zem64f* dst, int height, Zem64f* W, Zem64f* V, int width,
                                       int step, int nIter) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src), blockChecks(dst, W, V, height, width, step, nIter)))
        return s;
    return svd<true>(ConstBlock{src, step}, Block{dst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                         int nIter) {
    if (const ZemStatus s = blockChecks(srcDst, W, V, height, width, step, nIter)()) return s;
    return svd<true>(InPlace{}, Block{srcDst, step}, height, W, Block{V, step}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                        Zem64f* const* V, int width, int nIter) {
    if (const ZemStatus s = rowChecks(src, dst, W, V, height, width, nIter)()) return s;
    return svd<true>(ConstRowPtrs{src}, RowPtrs{dst}, height, W, RowPtrs{V}, width, nIter);
}

ZEMSR_API ZemStatus zemsSVDSort_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                          int nIter) {
    if (const ZemStatus s = rowChecks(srcDst, srcDst, W, V, height, width, nIter)()) return s;
    return svd<true>(InPlace{}, RowPtrs{srcDst}, height, W, RowPtrs{V}, width, nIter);
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
