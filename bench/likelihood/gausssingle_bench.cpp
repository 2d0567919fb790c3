// Single-frame scores at 39 features, beside plain scalar loops of the same formula
// compiled without vectorisation.  Reported as time per call (one Gaussian).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "zemsr.h"

namespace {

constexpr int kLen = 39;

struct Frame {
    alignas(32) float x[40], m[40], w[40];
    alignas(32) Zem16s xs[40], ms[40], ws[40];
    Frame() {
        std::mt19937 g(11);
        std::uniform_real_distribution<float> d(-3, 3), v(0.2f, 2.0f);
        std::uniform_int_distribution<int> di(-2000, 2000), vi(1, 30);
        for (int i = 0; i < 40; ++i) x[i] = d(g), m[i] = d(g), w[i] = v(g), xs[i] = di(g), ms[i] = di(g), ws[i] = vi(g);
    }
};

const Frame& frame() {
    static const Frame f;
    return f;
}

__attribute__((noinline, optimize("no-tree-vectorize"))) float scalarScore(const float* x, const float* m,
                                                                            const float* w, int n, float val) {
    float acc = 0.0f;
    for (int i = 0; i < n; ++i) acc += (x[i] - m[i]) * (x[i] - m[i]) * w[i];
    return val - 0.5f * acc;
}

__attribute__((noinline, optimize("no-tree-vectorize"))) Zem32s scalarScoreLow(const Zem16s* x, const Zem16s* m,
                                                                                const Zem16s* w, int n, Zem32s val,
                                                                                int sf) {
    int64_t acc = 0;
    for (int i = 0; i < n; ++i) {
        const int64_t d = int64_t{x[i]} - m[i];
        acc += d * d * w[i];
    }
    return val - static_cast<Zem32s>(acc >> (sf + 1));
}

void BM_LogGaussSingle32f(benchmark::State& state) {
    const Frame& f = frame();
    float r;
    for (auto _ : state) {
        zemsLogGaussSingle_32f(f.x, f.m, f.w, kLen, &r, -10.0f);
        benchmark::DoNotOptimize(r);
    }
}

void BM_LogGaussSingle32f_ScalarLoop(benchmark::State& state) {
    const Frame& f = frame();
    for (auto _ : state) benchmark::DoNotOptimize(scalarScore(f.x, f.m, f.w, kLen, -10.0f));
}

void BM_LogGaussSingleLow16s32s(benchmark::State& state) {
    const Frame& f = frame();
    Zem32s r;
    for (auto _ : state) {
        zemsLogGaussSingle_Low_16s32s_Sfs(f.xs, f.ms, f.ws, kLen, &r, -100, 4);
        benchmark::DoNotOptimize(r);
    }
}

void BM_LogGaussSingleLow16s32s_ScalarLoop(benchmark::State& state) {
    const Frame& f = frame();
    for (auto _ : state) benchmark::DoNotOptimize(scalarScoreLow(f.xs, f.ms, f.ws, kLen, -100, 4));
}

}  // namespace

BENCHMARK(BM_LogGaussSingle32f);
BENCHMARK(BM_LogGaussSingle32f_ScalarLoop);
BENCHMARK(BM_LogGaussSingleLow16s32s);
BENCHMARK(BM_LogGaussSingleLow16s32s_ScalarLoop);
