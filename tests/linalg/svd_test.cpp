#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

constexpr double kEps = 0x1p-52;

// A row-major m x n matrix.
struct Dense {
    int m, n;
    std::vector<double> a;
    Dense(int m, int n) : m(m), n(n), a(static_cast<size_t>(m) * n, 0.0) {}
    double& operator()(int r, int c) { return a[static_cast<size_t>(r) * n + c]; }
    double operator()(int r, int c) const { return a[static_cast<size_t>(r) * n + c]; }
    double maxAbs() const {
        double x = 0;
        for (double v : a) x = std::max(x, std::fabs(v));
        return x;
    }
};

Dense randomDense(int m, int n, uint32_t seed) {
    Dense d(m, n);
    d.a = zemtest::Random(seed).uniform<double>(d.a.size(), -1, 1);
    return d;
}

// An orthogonal k x k matrix: a product of three random reflections.
Dense randomOrthogonal(int k, uint32_t seed) {
    Dense q(k, k);
    for (int i = 0; i < k; ++i) q(i, i) = 1;
    zemtest::Random rnd(seed);
    for (int h = 0; h < 3; ++h) {
        const auto v = rnd.uniform<double>(k, -1, 1);
        double vv = 0;
        for (double x : v) vv += x * x;
        for (int r = 0; r < k; ++r) {
            double t = 0;
            for (int c = 0; c < k; ++c) t += q(r, c) * v[c];
            for (int c = 0; c < k; ++c) q(r, c) -= 2 * t * v[c] / vv;
        }
    }
    return q;
}

// P[:, :n] diag(sigma) Q^T with P (m x m) and Q (n x n) orthogonal: singular values known.
Dense withSingularValues(int m, int n, const std::vector<double>& sigma, uint32_t seed) {
    const Dense p = randomOrthogonal(m, seed), q = randomOrthogonal(n, seed + 1);
    Dense a(m, n);
    for (int r = 0; r < m; ++r)
        for (int c = 0; c < n; ++c) {
            long double s = 0;
            for (size_t k = 0; k < sigma.size(); ++k) s += (long double)p(r, k) * sigma[k] * q(c, k);
            a(r, c) = static_cast<double>(s);
        }
    return a;
}

// Singular values by one-sided Jacobi rotations in long double, descending.
std::vector<double> jacobiValues(const Dense& in) {
    const bool wide = in.m < in.n;
    const int m = wide ? in.n : in.m, n = wide ? in.m : in.n;
    std::vector<long double> a(static_cast<size_t>(m) * n);
    for (int r = 0; r < m; ++r)
        for (int c = 0; c < n; ++c) a[r * n + c] = wide ? in(c, r) : in(r, c);
    for (int sweep = 0; sweep < 60; ++sweep) {
        bool rotated = false;
        for (int p = 0; p < n; ++p)
            for (int q = p + 1; q < n; ++q) {
                long double al = 0, be = 0, ga = 0;
                for (int r = 0; r < m; ++r) {
                    al += a[r * n + p] * a[r * n + p];
                    be += a[r * n + q] * a[r * n + q];
                    ga += a[r * n + p] * a[r * n + q];
                }
                if (std::fabs(ga) <= 1e-19L * std::sqrt(al * be)) continue;
                rotated = true;
                const long double zeta = (be - al) / (2 * ga);
                const long double t = (zeta >= 0 ? 1 : -1) / (std::fabs(zeta) + std::sqrt(1 + zeta * zeta));
                const long double c = 1 / std::sqrt(1 + t * t), s = c * t;
                for (int r = 0; r < m; ++r) {
                    const long double x = a[r * n + p], y = a[r * n + q];
                    a[r * n + p] = c * x - s * y;
                    a[r * n + q] = s * x + c * y;
                }
            }
        if (!rotated) break;
    }
    std::vector<double> w(in.n, 0.0);
    for (int c = 0; c < n; ++c) {
        long double s = 0;
        for (int r = 0; r < m; ++r) s += a[r * n + c] * a[r * n + c];
        w[c] = static_cast<double>(std::sqrt(s));
    }
    std::sort(w.begin(), w.end(), std::greater<>());
    return w;
}

struct Svd {
    Dense u;
    std::vector<double> w;
    Dense v;
    ZemStatus status;
};

// The block form, not in place, with a row distance above the width and the outputs at
// an offset of 8 bytes.
Svd svdD2(const Dense& a, bool sorted, int nIter = 40) {
    const int step = a.n + 3;
    Buffer<double> src(static_cast<size_t>(a.m) * step, 8), dst(static_cast<size_t>(a.m) * step, 8),
        v(static_cast<size_t>(a.n) * step, 8), w(a.n, 8);
    for (int r = 0; r < a.m; ++r)
        for (int c = 0; c < a.n; ++c) src[r * step + c] = a(r, c);
    Svd out{Dense(a.m, a.n), {}, Dense(a.n, a.n), zemStatusOk};
    out.status = (sorted ? zemsSVDSort_64f_D2 : zemsSVD_64f_D2)(src.data(), dst.data(), a.m, w.data(), v.data(), a.n,
                                                                 step, nIter);
    for (int r = 0; r < a.m; ++r)
        for (int c = 0; c < a.n; ++c) out.u(r, c) = dst[r * step + c];
    for (int r = 0; r < a.n; ++r)
        for (int c = 0; c < a.n; ++c) out.v(r, c) = v[r * step + c];
    out.w.assign(w.begin(), w.end());
    return out;
}

// The row pointer form in place, each row at its own misalignment.
Svd svdD2LInPlace(const Dense& a, bool sorted, int nIter = 40) {
    std::vector<Buffer<double>> store;
    std::vector<double*> rows, vrows;
    for (int r = 0; r < a.m + a.n; ++r) store.emplace_back(a.n, (r % 3) * 8);
    for (int r = 0; r < a.m; ++r) {
        rows.push_back(store[r].data());
        for (int c = 0; c < a.n; ++c) rows[r][c] = a(r, c);
    }
    for (int r = 0; r < a.n; ++r) vrows.push_back(store[a.m + r].data());
    std::vector<double> w(a.n);
    Svd out{Dense(a.m, a.n), {}, Dense(a.n, a.n), zemStatusOk};
    out.status = (sorted ? zemsSVDSort_64f_D2L_I : zemsSVD_64f_D2L_I)(rows.data(), a.m, w.data(), vrows.data(), a.n,
                                                                       nIter);
    for (int r = 0; r < a.m; ++r)
        for (int c = 0; c < a.n; ++c) out.u(r, c) = rows[r][c];
    for (int r = 0; r < a.n; ++r)
        for (int c = 0; c < a.n; ++c) out.v(r, c) = vrows[r][c];
    out.w = w;
    return out;
}

// U diag(W) V^T reproduces A, V is orthogonal, U's columns of non-zero W are
// orthonormal; errors of a backward-stable method grow like max(m, n) eps |A|.
void expectDecomposes(const Dense& a, const Svd& s) {
    ASSERT_EQ(s.status, zemStatusOk);
    const int m = a.m, n = a.n;
    const double scale = std::max(a.maxAbs(), 1e-300);
    const double tol = 20.0 * std::max(m, n) * kEps;
    double worst = 0;
    for (int r = 0; r < m; ++r)
        for (int c = 0; c < n; ++c) {
            long double x = 0;
            for (int k = 0; k < n; ++k) x += (long double)s.u(r, k) * s.w[k] * s.v(c, k);
            worst = std::max(worst, static_cast<double>(std::fabs(x - a(r, c))));
        }
    EXPECT_LE(worst, tol * scale * std::sqrt(double(n))) << "reconstruction " << m << "x" << n;
    const double wmax = *std::max_element(s.w.begin(), s.w.end());
    for (int i = 0; i < n; ++i) {
        EXPECT_GE(s.w[i], 0.0);
        for (int j = 0; j < n; ++j) {
            long double vv = 0, uu = 0;
            for (int k = 0; k < n; ++k) vv += (long double)s.v(k, i) * s.v(k, j);
            for (int k = 0; k < m; ++k) uu += (long double)s.u(k, i) * s.u(k, j);
            EXPECT_NEAR(static_cast<double>(vv), i == j ? 1.0 : 0.0, tol) << "V " << i << "," << j;
            if (s.w[i] > tol * wmax && s.w[j] > tol * wmax) {
                EXPECT_NEAR(static_cast<double>(uu), i == j ? 1.0 : 0.0, tol) << "U " << i << "," << j;
            }
        }
    }
}

// Singular values against the reference, descending: the error of each is within a
// small multiple of max(m, n) eps sigma_max, so that a value sigma_i is good to a relative
// max(m, n) eps kappa_i with kappa_i = sigma_max / sigma_i.
void expectValues(std::vector<double> got, const std::vector<double>& want) {
    std::sort(got.begin(), got.end(), std::greater<>());
    const double tol = 20.0 * got.size() * kEps * std::max(want[0], 1e-300);
    for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(got[i], want[i], tol) << "value " << i;
}

TEST(Svd, RandomMatricesOfEveryShape) {
    const std::pair<int, int> shapes[] = {{1, 1}, {1, 6}, {6, 1}, {2, 2}, {3, 5}, {5, 3}, {7, 7}, {17, 9}, {39, 39}, {12, 30}};
    uint32_t seed = 1;
    for (auto [m, n] : shapes) {
        SCOPED_TRACE(testing::Message() << m << "x" << n);
        const Dense a = randomDense(m, n, seed++);
        const Svd s = svdD2(a, false);
        expectDecomposes(a, s);
        expectValues(s.w, jacobiValues(a));
    }
}

TEST(Svd, TallRankDeficientAndIllConditioned) {
    struct Case {
        int m, n;
        std::vector<double> sigma;
    };
    std::vector<double> tall(200), deficient(20), graded(30);
    for (int i = 0; i < 200; ++i) tall[i] = 1.0 + std::cos(0.37 * i);
    for (int i = 0; i < 20; ++i) deficient[i] = i < 14 ? 3.0 - 0.1 * i : 0.0;
    for (int i = 0; i < 30; ++i) graded[i] = std::pow(10.0, -12.0 * i / 29);  // condition number 1e12
    const Case cases[] = {{400, 200, tall}, {25, 20, deficient}, {30, 30, graded}};
    uint32_t seed = 50;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.m << "x" << c.n);
        const Dense a = withSingularValues(c.m, c.n, c.sigma, seed += 2);
        const Svd s = svdD2(a, true);
        expectDecomposes(a, s);
        auto want = c.sigma;
        std::sort(want.begin(), want.end(), std::greater<>());
        expectValues(s.w, want);
    }
}

TEST(Svd, LayoutsAndPlacesGiveTheSameBits) {
    for (auto [m, n] : {std::pair{9, 6}, {4, 7}, {33, 33}}) {
        const Dense a = randomDense(m, n, 900 + m);
        for (bool sorted : {false, true}) {
            const Svd x = svdD2(a, sorted), y = svdD2LInPlace(a, sorted);
            ASSERT_EQ(y.status, zemStatusOk);
            for (size_t k = 0; k < x.u.a.size(); ++k) ASSERT_TRUE(sameBits(x.u.a[k], y.u.a[k])) << "U " << k;
            for (size_t k = 0; k < x.v.a.size(); ++k) ASSERT_TRUE(sameBits(x.v.a[k], y.v.a[k])) << "V " << k;
            for (int k = 0; k < n; ++k) ASSERT_TRUE(sameBits(x.w[k], y.w[k])) << "W " << k;
        }
    }
    // The other two entries: block in place and row pointers from a separate source.
    const Dense a = randomDense(8, 5, 4);
    const Svd want = svdD2(a, false);
    Dense blk = a, vb(5, 5), dst(8, 5), vr(5, 5);
    std::vector<double> wb(5), wr(5);
    ASSERT_EQ(zemsSVD_64f_D2_I(blk.a.data(), 8, wb.data(), vb.a.data(), 5, 5, 40), zemStatusOk);
    std::vector<const double*> srcRows;
    std::vector<double*> dstRows, vRows;
    for (int r = 0; r < 8; ++r) srcRows.push_back(&a.a[r * 5]), dstRows.push_back(&dst.a[r * 5]);
    for (int r = 0; r < 5; ++r) vRows.push_back(&vr.a[r * 5]);
    ASSERT_EQ(zemsSVD_64f_D2L(srcRows.data(), dstRows.data(), 8, wr.data(), vRows.data(), 5, 40), zemStatusOk);
    EXPECT_EQ(blk.a, want.u.a);
    EXPECT_EQ(dst.a, want.u.a);
    EXPECT_EQ(vb.a, want.v.a);
    EXPECT_EQ(vr.a, want.v.a);
    EXPECT_EQ(wb, want.w);
    EXPECT_EQ(wr, want.w);
}

TEST(Svd, SortOrdersValuesAndCarriesTheColumns) {
    const Dense a = randomDense(10, 7, 61);
    const Svd plain = svdD2(a, false), sorted = svdD2(a, true);
    ASSERT_EQ(sorted.status, zemStatusOk);
    EXPECT_TRUE(std::is_sorted(sorted.w.begin(), sorted.w.end(), std::greater<>()));
    for (int j = 0; j < 7; ++j) {
        const int from = static_cast<int>(std::find(plain.w.begin(), plain.w.end(), sorted.w[j]) - plain.w.begin());
        ASSERT_LT(from, 7);
        for (int r = 0; r < 10; ++r) EXPECT_EQ(sorted.u(r, j), plain.u(r, from));
        for (int r = 0; r < 7; ++r) EXPECT_EQ(sorted.v(r, j), plain.v(r, from));
    }
    // diag(1, 3, 2): 3, 2, 1 with the columns of the identity permuted to match.
    Dense d(3, 3);
    d(0, 0) = 1, d(1, 1) = 3, d(2, 2) = 2;
    const Svd s = svdD2LInPlace(d, true);
    EXPECT_EQ(s.w, (std::vector<double>{3, 2, 1}));
    expectDecomposes(d, s);
    EXPECT_EQ(std::fabs(s.v(1, 0)), 1.0);
    EXPECT_EQ(std::fabs(s.v(2, 1)), 1.0);
    EXPECT_EQ(std::fabs(s.v(0, 2)), 1.0);
}

TEST(Svd, SmallAndDegenerateCases) {
    Dense one(1, 1);
    one(0, 0) = -3;
    const Svd s = svdD2(one, false);
    EXPECT_EQ(s.w[0], 3.0);
    EXPECT_EQ(s.u(0, 0), -1.0);
    EXPECT_EQ(s.v(0, 0), 1.0);

    // A zero matrix: W all zero, V the identity, no failure.
    const Svd z = svdD2(Dense(4, 3), true);
    ASSERT_EQ(z.status, zemStatusOk);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(z.w[i], 0.0);
        for (int j = 0; j < 3; ++j) EXPECT_EQ(z.v(i, j), i == j ? 1.0 : 0.0);
    }

    // Fewer rows than columns: the trailing values are zero.
    const Dense wide = randomDense(2, 5, 3);
    const Svd w = svdD2(wide, true);
    expectDecomposes(wide, w);
    EXPECT_LE(w.w[2] + w.w[3] + w.w[4], 1e-14);

    // NaN data end in a status, not a hang or a stray read.
    Dense bad = randomDense(4, 4, 5);
    bad(2, 1) = NAN;
    const Svd b = svdD2LInPlace(bad, false, 5);
    EXPECT_TRUE(b.status == zemStatusOk || b.status == zemStatusNoConvergence);
}

TEST(Svd, SweepLimitPerValue) {
    const Dense a = randomDense(5, 5, 71);
    EXPECT_EQ(svdD2(a, false, 1).status, zemStatusNoConvergence);
    EXPECT_EQ(svdD2(a, true, 1).status, zemStatusNoConvergence);
    // A diagonal matrix needs no sweep at all.
    Dense d(3, 3);
    d(0, 0) = 2, d(1, 1) = -1, d(2, 2) = 5;
    EXPECT_EQ(svdD2(d, false, 1).status, zemStatusOk);
    // The smallest limit that succeeds gives the same bits as a generous one.
    int least = 1;
    while (svdD2(a, false, least).status == zemStatusNoConvergence) ++least;
    const Svd x = svdD2(a, false, least), y = svdD2(a, false, INT_MAX);
    EXPECT_EQ(x.w, y.w);
    EXPECT_EQ(x.u.a, y.u.a);
}

TEST(Svd, AllocationFailureWritesNothingAndLeaksNothing) {
    const int m = 6, n = 4;
    const Dense a = randomDense(m, n, 8);
    for (bool sorted : {false, true}) {
        for (int64_t k = 1;; ++k) {
            std::vector<double> dst(m * n), w(n), v(n * n);
            zemtest::fillSentinel(dst.data(), dst.size());
            zemtest::fillSentinel(w.data(), w.size());
            zemtest::fillSentinel(v.data(), v.size());
            const int64_t live = zemcoreTestLiveAllocations();
            zemcoreTestFailAllocation(k);
            const ZemStatus st = (sorted ? zemsSVDSort_64f_D2 : zemsSVD_64f_D2)(a.a.data(), dst.data(), m, w.data(),
                                                                                v.data(), n, n, 40);
            zemcoreTestFailAllocation(0);
            EXPECT_EQ(zemcoreTestLiveAllocations(), live);
            if (st == zemStatusOk) {
                EXPECT_GT(k, 1) << "the decomposition takes scratch";
                break;
            }
            ASSERT_EQ(st, zemStatusNoMemory);
            EXPECT_TRUE(zemtest::untouched(dst.data(), dst.size()));
            EXPECT_TRUE(zemtest::untouched(w.data(), w.size()));
            EXPECT_TRUE(zemtest::untouched(v.data(), v.size()));
        }
    }
}

// One table for the decomposition: every form, breaks in the check order.
TEST(Svd, CheckOrderOfEveryForm) {
    double src[16] = {}, dst[16], w[4], v[16];
    for (int i = 0; i < 16; ++i) src[i] = (i * 7) % 5 - 2.0;
    struct A {
        int nulls = 0;  // bits: src, dst, W, V, a src row, a dst row, a V row
        int height = 4, width = 3, step = 4, nIter = 30;
    };
    using B = zemtest::Break<A>;
    auto bit = [](int b) { return [b](A& a) { a.nulls |= b; }; };
    const B srcB{"src", bit(1), zemStatusNullPointer}, dstB{"dst", bit(2), zemStatusNullPointer},
        wB{"W", bit(4), zemStatusNullPointer}, vB{"V", bit(8), zemStatusNullPointer},
        hB{"height", [](A& a) { a.height = 0; }, zemStatusBadSize},
        nB{"width", [](A& a) { a.width = INT_MIN; }, zemStatusBadSize},
        iB{"nIter", [](A& a) { a.nIter = 0; }, zemStatusBadSize},
        sB{"step", [](A& a) { a.step = 2; }, zemStatusBadSize},
        srB{"src row", bit(16), zemStatusNullPointer}, drB{"dst row", bit(32), zemStatusNullPointer},
        vrB{"V row", bit(64), zemStatusNullPointer};
    // The in-place forms work in src, so it is an output too; the sentinel is a valid matrix.
    const std::vector<zemtest::Region> out = {zemtest::region(dst, 16), zemtest::region(w, 4), zemtest::region(v, 16)};
    const std::vector<zemtest::Region> outIn = {zemtest::region(src, 16), zemtest::region(w, 4), zemtest::region(v, 16)};
    auto p = [](const A& a, int b, double* x) { return (a.nulls & b) ? nullptr : x; };
    std::vector<double*> sr(4), dr(4), vr(4);
    auto rows = [](const A& a, int self, int rowBit, double* base, std::vector<double*>& r) -> double** {
        for (int k = 0; k < 4; ++k) r[k] = base + 4 * k;
        if (a.nulls & rowBit) r[2] = nullptr;
        return (a.nulls & self) ? nullptr : r.data();
    };
    for (bool sorted : {false, true}) {
        auto d2 = sorted ? zemsSVDSort_64f_D2 : zemsSVD_64f_D2;
        auto d2i = sorted ? zemsSVDSort_64f_D2_I : zemsSVD_64f_D2_I;
        auto d2l = sorted ? zemsSVDSort_64f_D2L : zemsSVD_64f_D2L;
        auto d2li = sorted ? zemsSVDSort_64f_D2L_I : zemsSVD_64f_D2L_I;
        zemtest::expectCheckOrder<A>(sorted ? "zemsSVDSort_64f_D2" : "zemsSVD_64f_D2", {}, [&](const A& a) {
            return d2(p(a, 1, src), p(a, 2, dst), a.height, p(a, 4, w), p(a, 8, v), a.width, a.step, a.nIter);
        }, {srcB, dstB, wB, vB, hB, nB, iB, sB}, out);
        zemtest::expectCheckOrder<A>(sorted ? "zemsSVDSort_64f_D2_I" : "zemsSVD_64f_D2_I", {}, [&](const A& a) {
            return d2i(p(a, 1, src), a.height, p(a, 4, w), p(a, 8, v), a.width, a.step, a.nIter);
        }, {srcB, wB, vB, hB, nB, iB, sB}, outIn);
        zemtest::expectCheckOrder<A>(sorted ? "zemsSVDSort_64f_D2L" : "zemsSVD_64f_D2L", {}, [&](const A& a) {
            return d2l(rows(a, 1, 16, src, sr), rows(a, 2, 32, dst, dr), a.height, p(a, 4, w), rows(a, 8, 64, v, vr),
                       a.width, a.nIter);
        }, {srcB, dstB, wB, vB, hB, nB, iB, srB, drB, vrB}, out);
        zemtest::expectCheckOrder<A>(sorted ? "zemsSVDSort_64f_D2L_I" : "zemsSVD_64f_D2L_I", {}, [&](const A& a) {
            return d2li(rows(a, 1, 16, src, sr), a.height, p(a, 4, w), rows(a, 8, 64, v, vr), a.width, a.nIter);
        }, {srcB, wB, vB, hB, nB, iB, srB, vrB}, outIn);
    }
}

}  // namespace
