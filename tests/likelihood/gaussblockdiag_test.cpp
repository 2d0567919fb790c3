#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

// Symmetric blocks of random values; rows kept for the reference.
template <class T>
struct Blocks {
    std::vector<Zem32s> sizes;
    std::vector<std::vector<T>> rows;
    int order = 0;
    Blocks(zemtest::Random& rnd, std::vector<Zem32s> s, double lo, double hi) : sizes(std::move(s)) {
        for (Zem32s n : sizes) {
            auto a = rnd.uniform<double>(n * n, lo, hi);
            for (int r = 0; r < n; ++r) {
                std::vector<T> row(n);
                for (int c = 0; c < n; ++c) row[c] = static_cast<T>(std::round((a[r * n + c] + a[c * n + r]) / 2));
                rows.push_back(row);
            }
            order += n;
        }
    }
    std::vector<const T*> pointers() const {
        std::vector<const T*> p;
        for (auto& r : rows) p.push_back(r.data());
        return p;
    }
    long double quadratic(const std::vector<long double>& d) const {
        long double acc = 0;
        int o = 0, row = 0;
        for (Zem32s n : sizes) {
            for (int r = 0; r < n; ++r, ++row)
                for (int c = 0; c < n; ++c) acc += d[o + r] * rows[row][c] * d[o + c];
            o += n;
        }
        return acc;
    }
};

}  // namespace

TEST(GaussBlockDiag, FloatFormsAgainstTheQuadraticForm) {
    zemtest::Random rnd(601);
    for (auto sizes : {std::vector<Zem32s>{1}, {3, 1, 5}, {8, 9, 2, 4}, {13}, {39}, {60, 60}}) {
        Blocks<float> b(rnd, sizes, -20, 20);
        auto rows = b.pointers();
        ZemsBlockDMatrix_32f* m32 = nullptr;
        ASSERT_EQ(zemsBlockDMatrixInitAlloc_32f(&m32, rows.data(), sizes.data(), int(sizes.size())), zemStatusOk);
        std::vector<const double*> rowsD;
        std::vector<std::vector<double>> copy;
        for (auto& r : b.rows) copy.emplace_back(r.begin(), r.end());
        for (auto& r : copy) rowsD.push_back(r.data());
        ZemsBlockDMatrix_64f* m64 = nullptr;
        ASSERT_EQ(zemsBlockDMatrixInitAlloc_64f(&m64, rowsD.data(), sizes.data(), int(sizes.size())), zemStatusOk);
        const int n = b.order;
        auto x = rnd.uniform<float>(n, -2, 2), mu = rnd.uniform<float>(n, -2, 2);
        std::vector<long double> d(n);
        long double magnitude = 0;
        for (int i = 0; i < n; ++i) d[i] = (long double)x[i] - mu[i], magnitude += std::fabs(d[i]) * 20 * 2 * n;
        const long double q = b.quadratic(d);
        float f;
        double r;
        ASSERT_EQ(zemsLogGaussSingle_BlockDVar_32f(x.data(), mu.data(), m32, n, &f, 1.0f), zemStatusOk);
        EXPECT_NEAR(f, 1.0 - 0.5 * (double)q, (double)magnitude * n * 0x1p-23 + 1e-4) << n;
        ASSERT_EQ(zemsLogGaussSingle_BlockDVar_32f64f(x.data(), mu.data(), m32, n, &r, 1.0), zemStatusOk);
        EXPECT_NEAR(r, 1.0 - 0.5 * (double)q, (double)magnitude * 0x1p-22);
        std::vector<double> xd(x.begin(), x.end()), md(mu.begin(), mu.end());
        ASSERT_EQ(zemsLogGaussSingle_BlockDVar_64f(xd.data(), md.data(), m64, n, &r, 1.0), zemStatusOk);
        EXPECT_NEAR(r, 1.0 - 0.5 * (double)q, (double)magnitude * 1e-14);
        // A length other than the matrix order is refused, even where the blocks would fit.
        EXPECT_EQ(zemsLogGaussSingle_BlockDVar_32f(x.data(), mu.data(), m32, n - 1 > 0 ? n - 1 : 2, &f, 1.0f), zemStatusBadSize);
        zemsBlockDMatrixFree_32f(m32);
        zemsBlockDMatrixFree_64f(m64);
    }
}

TEST(GaussBlockDiag, SixteenBitFormsSaturateThenWrapTheLastDifferences) {
    zemtest::Random rnd(603);
    for (auto sizes : {std::vector<Zem32s>{1}, {3, 4}, {5, 2}, {16, 7}, {120}}) {
        Blocks<Zem16s> b(rnd, sizes, -30, 30);
        auto rows = b.pointers();
        ZemsBlockDMatrix_16s* m = nullptr;
        ASSERT_EQ(zemsBlockDMatrixInitAlloc_16s(&m, rows.data(), sizes.data(), int(sizes.size())), zemStatusOk);
        const int n = b.order;
        auto x = rnd.integers<Zem16s>(n, -32768, 32767), mu = rnd.integers<Zem16s>(n, -32768, 32767);
        std::vector<long double> d(n);
        for (int i = 0; i < n; ++i)
            d[i] = i < (n & ~3) ? std::clamp(x[i] - mu[i], -32768, 32767) : static_cast<Zem16s>(x[i] - mu[i]);
        const long double q = b.quadratic(d);
        for (int sf : {0, 8, 20}) {
            const long double want = -0.5L * q * std::ldexp(1.0L, -sf);
            float f;
            Zem32s r;
            ASSERT_EQ(zemsLogGaussSingle_BlockDVarScaled_16s32f(x.data(), mu.data(), m, n, &f, 0.0f, sf), zemStatusOk);
            EXPECT_NEAR(f, (double)want, std::fabs((double)want) * n * 2e-6 + 1e-3) << n << " sf " << sf;
            ASSERT_EQ(zemsLogGaussSingle_BlockDVar_16s32s_Sfs(x.data(), mu.data(), m, n, &r, 0, sf), zemStatusOk);
            const long double clamped = std::clamp(want, -2147483648.0L, 2147483647.0L);
            EXPECT_NEAR(r, (double)clamped, std::fabs((double)clamped) * n * 2e-6 + 2) << n << " sf " << sf;
        }
        zemsBlockDMatrixFree_16s(m);
    }
}

TEST(GaussBlockDiag, ScratchOnlyFromTheLongLength) {
    zemtest::Random rnd(605);
    for (int n : {111, 112}) {
        Blocks<float> b(rnd, {n}, -1, 1);
        auto rows = b.pointers();
        ZemsBlockDMatrix_32f* m = nullptr;
        const Zem32s size = n;
        ASSERT_EQ(zemsBlockDMatrixInitAlloc_32f(&m, rows.data(), &size, 1), zemStatusOk);
        std::vector<float> x(n, 1.0f), mu(n, 0.0f);
        float f = 5.0f;
        const int64_t before = zemcoreTestAllocationCount(), live = zemcoreTestLiveAllocations();
        zemcoreTestFailAllocation(1);
        const ZemStatus s = zemsLogGaussSingle_BlockDVar_32f(x.data(), mu.data(), m, n, &f, 0.0f);
        zemcoreTestFailAllocation(0);
        if (n < 112) {
            EXPECT_EQ(s, zemStatusOk);
            EXPECT_EQ(zemcoreTestAllocationCount(), before);
        } else {
            EXPECT_EQ(s, zemStatusNoMemory);
            EXPECT_EQ(f, 5.0f);
        }
        EXPECT_EQ(zemcoreTestLiveAllocations(), live);
        zemsBlockDMatrixFree_32f(m);
    }
}

