// Time warping of 300 x 280 frames: the library's engine beside a plain loop of the same
// engine (one cell at a time) and, with OpenBLAS, the whole matrix of distances from one
// sgemm (|x|^2 + |y|^2 - 2 x.y) followed by the same recurrence.  Throughput is in cells
// of the band that the engine evaluates, the same count for all three, so the ratios
// are ratios of time.  Arguments: width, then 0 for the widest band and no beam or 1
// for a band of 10 frames and a beam.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

namespace {

constexpr int kRows = 300, kCols = 280;
constexpr float kNoPath = 3.4028235e38f;

struct Setting {
    int delta;
    float beta;
};
Setting setting(int which) { return which == 0 ? Setting{INT_MAX, 1e30f} : Setting{10, 20.0f}; }

// Two random walks in feature space, so that a warp has something to follow.
struct Data {
    int width;
    std::vector<float> rows, cols;
    std::vector<const float*> rowPtr, colPtr;
    explicit Data(int w) : width(w), rows(size_t(kRows) * w), cols(size_t(kCols) * w) {
        std::mt19937 gen(3);
        std::normal_distribution<float> step(0.0f, 0.3f);
        for (auto* v : {&rows, &cols}) {
            std::vector<float> x(w, 0.0f);
            for (size_t i = 0; i < v->size(); ++i) {
                float& xf = x[i % w];
                xf = 0.9f * xf + step(gen);
                (*v)[i] = xf;
            }
        }
        for (int r = 0; r < kRows; ++r) rowPtr.push_back(rows.data() + size_t(r) * w);
        for (int c = 0; c < kCols; ++c) colPtr.push_back(cols.data() + size_t(c) * w);
    }
};

float plainDistance(const float* x, const float* y, int w) {
    if (w <= 13) {
        float s = 0.0f;
        for (int f = 0; f < w; ++f) s += (x[f] - y[f]) * (x[f] - y[f]);
        return std::sqrt(s);
    }
    double s = 0.0;
    for (int f = 0; f < w; ++f) s += double((x[f] - y[f]) * (x[f] - y[f]));
    return float(std::sqrt(s));
}

// The engine as a plain loop, over distances from dist(i, j); counts the cells.
template <class Dist>
float plainWarp(int64_t R, int64_t K, int delta, float beta, Dist dist, int64_t* cells) {
    const int64_t dlt = K > delta ? delta : K - 1;
    std::vector<float> a(K + 2, kNoPath), next(K + 2, kNoPath);
    int64_t start = 0, count = dlt + 1, visited = count;
    for (int64_t j = 0; j <= dlt; ++j) a[j + 2] = dist(0, j);
    float m = kNoPath;
    for (int64_t i = 1; i < R; ++i) {
        const int64_t upper = std::min(3 * i < 2 * K - R ? dlt + 2 * i : K + dlt + ((i - R - 1) >> 1), K - 1);
        const int64_t lower = std::max<int64_t>(3 * i > 4 * R - 2 * K - 2 ? 2 * i + K - 2 * R - dlt + 1 : i / 2 - dlt, 0);
        int64_t n = std::min(upper - start + 1, count + 2), first = start;
        if (first < lower) n -= lower - first, first = lower;
        if (n <= 0) return kNoPath;
        auto old = [&](int64_t k) { return k >= start && k < start + count ? a[k + 2] : kNoPath; };
        m = kNoPath;
        for (int64_t k = first; k < first + n; ++k) {
            next[k + 2] = dist(i, k) + std::min({old(k), old(k - 1), old(k - 2)});
            m = std::min(m, next[k + 2]);
        }
        visited += n;
        std::swap(a, next);
        start = first;
        count = n;
        if (m >= kNoPath) break;
        const float limit = std::max(0.0f, beta) + 1.1920929e-07f + m;
        while (count > 1 && a[start + count + 1] > limit) --count;
        while (count > 1 && a[start + 2] > limit) ++start, --count;
    }
    *cells = visited;
    return m;
}

int64_t bandCells(const Data& d, const Setting& s) {
    int64_t cells = 0;
    plainWarp(kRows, kCols, s.delta, s.beta,
              [&](int64_t i, int64_t j) { return plainDistance(d.rowPtr[i], d.colPtr[j], d.width); }, &cells);
    return cells;
}

void BM_DTW_Library(benchmark::State& state) {
    const Data d(int(state.range(0)));
    const Setting s = setting(int(state.range(1)));
    float out = 0.0f;
    for (auto _ : state) {
        zemsDTW_L2_32f_D2L(d.rowPtr.data(), kRows, d.colPtr.data(), kCols, d.width, &out, s.delta, s.beta);
        benchmark::DoNotOptimize(out);
    }
    state.SetItemsProcessed(state.iterations() * bandCells(d, s));
}

void BM_DTW_PlainLoop(benchmark::State& state) {
    const Data d(int(state.range(0)));
    const Setting s = setting(int(state.range(1)));
    int64_t cells = 0;
    for (auto _ : state) {
        float out = plainWarp(kRows, kCols, s.delta, s.beta,
                              [&](int64_t i, int64_t j) { return plainDistance(d.rowPtr[i], d.colPtr[j], d.width); },
                              &cells);
        benchmark::DoNotOptimize(out);
    }
    state.SetItemsProcessed(state.iterations() * cells);
}

#if defined(ZEMSR_BENCH_OPENBLAS)
void BM_DTW_Sgemm(benchmark::State& state) {
    const Data d(int(state.range(0)));
    const Setting s = setting(int(state.range(1)));
    openblas_set_num_threads(1);
    std::vector<float> dots(size_t(kRows) * kCols), rowNorm(kRows), colNorm(kCols);
    int64_t cells = 0;
    for (auto _ : state) {
        cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasTrans, kRows, kCols, d.width, -2.0f, d.rows.data(), d.width,
                    d.cols.data(), d.width, 0.0f, dots.data(), kCols);
        for (int r = 0; r < kRows; ++r)
            rowNorm[r] = float(cblas_sdot(d.width, d.rowPtr[r], 1, d.rowPtr[r], 1));
        for (int c = 0; c < kCols; ++c)
            colNorm[c] = float(cblas_sdot(d.width, d.colPtr[c], 1, d.colPtr[c], 1));
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kCols; ++c) {
                float& v = dots[size_t(r) * kCols + c];
                v = std::sqrt(std::max(0.0f, v + rowNorm[r] + colNorm[c]));
            }
        float out = plainWarp(kRows, kCols, s.delta, s.beta,
                              [&](int64_t i, int64_t j) { return dots[size_t(i) * kCols + j]; }, &cells);
        benchmark::DoNotOptimize(out);
    }
    state.SetItemsProcessed(state.iterations() * cells);
}
BENCHMARK(BM_DTW_Sgemm)->ArgsProduct({{13, 39}, {0, 1}});
#endif

BENCHMARK(BM_DTW_Library)->ArgsProduct({{13, 39}, {0, 1}});
BENCHMARK(BM_DTW_PlainLoop)->ArgsProduct({{13, 39}, {0, 1}});

}  // namespace
