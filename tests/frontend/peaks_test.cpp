// Peak picking against a literal rendering of its scan, and order statistics against
// sorting.  The order statistic's allocation walk is the sweep's.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "test_support.h"
#include "zemsr.h"

namespace {

// ---- FindPeaks ------------------------------------------------------------------------------------

// The scan as stated, step by step, over a precomputed smoothed signal.  Flags the scan
// never sets stay 0.
template <class V>
std::vector<uint8_t> peaksReference(const std::vector<V>& s, int searchSize, int avg,
                                    const std::function<bool(V, V)>& significant) {
    const int len = static_cast<int>(s.size());
    std::vector<uint8_t> dst(len, 0);
    if (len == 1) {
        dst[0] = 1;
        return dst;
    }
    if (avg >= len - 1) return dst;
    int i = 1, d = 0;
    while (i < len && s[i] < s[i - 1]) dst[i - 1] = 0, ++d, ++i;
    if (i == len) {
        dst[len - 1] = 0;
        dst[0] = 1;
        return dst;
    }
    if (d >= searchSize) dst[0] = 1;
    int c = i;
    if (c == len - 1) {
        dst[len - 1] = s[len - 1] > s[len - 2] && searchSize == 1;
        return dst;
    }
    while (c < len) {
        int up = significant(s[c - 1], s[c]) ? 1 : 0;
        while (c < len - 1 && s[c] < s[c + 1]) dst[c] = 0, ++c, ++up;
        if (c == len - 1) {
            dst[c] = up >= std::min(c, searchSize);
            return dst;
        }
        if (significant(s[c], s[c + 1])) {
            int down = 1;
            ++c;
            while (c < len - 1 && s[c + 1] < s[c]) dst[c] = 0, ++c, ++down;
            const int p = c - down;
            dst[p] = up >= std::min(p, searchSize) && down >= (p < len - searchSize ? searchSize : len - 1 - p);
        }
        ++c;
    }
    dst[c - 1] = 0;
    return dst;
}

std::vector<double> smoothed(const std::vector<float>& x, int w) {
    const int len = static_cast<int>(x.size());
    std::vector<double> s(len);
    for (int i = 0; i < len; ++i) {
        double sum = 0;
        int n = 0;
        for (int k = std::max(0, i - w); k <= std::min(len - 1, i + w); ++k) sum += x[k], ++n;
        s[i] = w == 0 ? x[i] : sum / n;
    }
    return s;
}

std::vector<int64_t> smoothed(const std::vector<int32_t>& x, int w) {
    const int len = static_cast<int>(x.size());
    std::vector<int64_t> s(len);
    for (int i = 0; i < len; ++i) {
        int64_t sum = 0;
        int n = 0;
        for (int k = std::max(0, i - w); k <= std::min(len - 1, i + w); ++k) sum += x[k], ++n;
        s[i] = sum / n;
    }
    return s;
}

TEST(FindPeaks, RandomFramesWithPlateausAgainstTheScan) {
    zemtest::Random rnd(31);
    const std::function<bool(double, double)> relative = [](double a, double b) {
        return std::fabs(a - b) > 1e-6 * std::fabs(std::max(a, b));
    };
    const std::function<bool(int64_t, int64_t)> differs = [](int64_t a, int64_t b) { return a != b; };
    int peaks = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const int len = trial < 100 ? 1 + trial % 12 : static_cast<int>(rnd.integer(2, 600));
        const int searchSize = static_cast<int>(rnd.integer(1, 6));
        const int avg = trial % 5 == 0 ? static_cast<int>(rnd.integer(1, 4)) : 0;
        // Coarse levels make plateaus; a random walk makes runs of rising and falling steps.
        std::vector<int32_t> xi(len);
        int32_t level = 0;
        for (int i = 0; i < len; ++i) xi[i] = level += static_cast<int32_t>(rnd.integer(-3, 3));
        std::vector<float> xf(xi.begin(), xi.end());
        if (trial % 7 == 0 && len > 3) xf[len / 2] += 1e-7f * xf[len / 2];  // a step too small to count
        std::vector<uint8_t> gotF(len, 9), gotI(len, 9);
        ASSERT_EQ(zemsFindPeaks_32f8u(xf.data(), gotF.data(), len, searchSize, avg), zemStatusOk);
        ASSERT_EQ(zemsFindPeaks_32s8u(xi.data(), gotI.data(), len, searchSize, avg), zemStatusOk);
        EXPECT_EQ(gotF, peaksReference(smoothed(xf, avg), searchSize, avg, relative)) << "trial " << trial;
        EXPECT_EQ(gotI, peaksReference(smoothed(xi, avg), searchSize, avg, differs)) << "trial " << trial;
        peaks += static_cast<int>(std::count(gotF.begin(), gotF.end(), 1));
    }
    EXPECT_GT(peaks, 100);
}

TEST(FindPeaks, FramesThatNeverTurn) {
    // A frame that falls throughout peaks at its first sample; one that ends rising, at its last.
    const float falling[] = {5, 4, 3, 2};
    const float rising[] = {1, 2, 3, 4, 5, 6};
    uint8_t d[6];
    ASSERT_EQ(zemsFindPeaks_32f8u(falling, d, 4, 3, 0), zemStatusOk);
    EXPECT_EQ(std::vector<uint8_t>(d, d + 4), (std::vector<uint8_t>{1, 0, 0, 0}));
    ASSERT_EQ(zemsFindPeaks_32f8u(rising, d, 6, 3, 0), zemStatusOk);
    EXPECT_EQ(std::vector<uint8_t>(d, d + 6), (std::vector<uint8_t>{0, 0, 0, 0, 0, 1}));
    ASSERT_EQ(zemsFindPeaks_32f8u(rising, d, 6, 3, 5), zemStatusOk);  // the window covers the frame
    EXPECT_EQ(std::vector<uint8_t>(d, d + 6), (std::vector<uint8_t>(6, 0)));
    ASSERT_EQ(zemsFindPeaks_32f8u(rising, d, 1, 3, 0), zemStatusOk);
    EXPECT_EQ(d[0], 1);
}

// ---- NthMaxElement -----------------------------------------------------------------------------

template <class T>
void nthAgainstSorting(const std::function<ZemStatus(const T*, int, int, T*)>& f, uint32_t seed) {
    zemtest::Random rnd(seed);
    for (int len : {1, 2, 3, 7, 64, 65, 1023, 4096}) {
        for (int spread : {1, 4, 1000000}) {  // few distinct values make many duplicates
            std::vector<T> x = rnd.integers<T>(len, -spread, spread);
            if (spread == 1000000)
                for (auto& v : x) v = static_cast<T>(v) / T(7);
            std::vector<T> sorted = x;
            std::sort(sorted.begin(), sorted.end(), std::greater<T>());
            const std::vector<T> before = x;
            for (int n : {0, len / 3, len / 2, len - 1}) {
                T r{};
                ASSERT_EQ(f(x.data(), len, n, &r), zemStatusOk);
                ASSERT_EQ(r, sorted[n]) << "len " << len << " n " << n << " spread " << spread;
            }
            ASSERT_EQ(x, before);  // the search runs on a copy
        }
    }
}

TEST(NthMaxElement, AgreesWithSortingWithManyDuplicates) {
    nthAgainstSorting<float>(zemsNthMaxElement_32f, 41);
    nthAgainstSorting<double>(zemsNthMaxElement_64f, 42);
    nthAgainstSorting<int32_t>(zemsNthMaxElement_32s, 43);
    const std::vector<float> equal(100, 2.5f);
    for (int n : {0, 50, 99}) {
        float r = 0;
        ASSERT_EQ(zemsNthMaxElement_32f(equal.data(), 100, n, &r), zemStatusOk);
        EXPECT_EQ(r, 2.5f);
    }
    // Sorted input either way, the pivot's worst case, still ends.
    std::vector<int32_t> up(3000);
    for (int i = 0; i < 3000; ++i) up[i] = i;
    int32_t r = 0;
    ASSERT_EQ(zemsNthMaxElement_32s(up.data(), 3000, 2999, &r), zemStatusOk);
    EXPECT_EQ(r, 0);
    // NaN makes no order, but the search stays in bounds and ends.
    std::vector<double> withNaN = {1.0, NAN, 3.0, NAN, 2.0};
    double dr;
    for (int n = 0; n < 5; ++n) EXPECT_EQ(zemsNthMaxElement_64f(withNaN.data(), 5, n, &dr), zemStatusOk);
}

}  // namespace
