// The elementwise special functions on 4096 elements beside plain libm loops in the same run:
// exp(-x^2) and sin(x)/x against loops over the double exp and sin they are defined by, the
// floored reciprocal square root against 1/sqrtf.  The loops are compiled without the
// compiler's vectoriser.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

#define SCALAR_LOOP __attribute__((noinline, optimize("no-tree-vectorize")))

namespace {

constexpr int kLen = 4096;

std::vector<float> randomFloats(float lo, float hi) {
    std::mt19937 g(9);
    std::uniform_real_distribution<float> d(lo, hi);
    std::vector<float> v(kLen);
    for (auto& x : v) x = d(g);
    return v;
}

template <ZemStatus (*F)(const Zem32f*, Zem32f*, int)>
void runExport(benchmark::State& state, float lo, float hi) {
    const auto x = randomFloats(lo, hi);
    std::vector<float> y(kLen);
    for (auto _ : state) {
        F(x.data(), y.data(), kLen);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kLen);
}

template <void (*F)(const float*, float*, int)>
void runLoop(benchmark::State& state, float lo, float hi) {
    const auto x = randomFloats(lo, hi);
    std::vector<float> y(kLen);
    for (auto _ : state) {
        F(x.data(), y.data(), kLen);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kLen);
}

SCALAR_LOOP void expLoop(const float* x, float* y, int n) {
    for (int i = 0; i < n; ++i) y[i] = static_cast<float>(std::exp(-static_cast<double>(x[i]) * x[i]));
}
SCALAR_LOOP void expfLoop(const float* x, float* y, int n) {
    for (int i = 0; i < n; ++i) y[i] = std::exp(-x[i] * x[i]);
}
SCALAR_LOOP void sincLoop(const float* x, float* y, int n) {
    for (int i = 0; i < n; ++i) y[i] = x[i] == 0.0f ? 1.0f : static_cast<float>(std::sin(static_cast<double>(x[i]))) / x[i];
}
SCALAR_LOOP void sincfLoop(const float* x, float* y, int n) {
    for (int i = 0; i < n; ++i) y[i] = x[i] == 0.0f ? 1.0f : std::sin(x[i]) / x[i];
}
SCALAR_LOOP void rsqrtLoop(const float* x, float* y, int n) {
    for (int i = 0; i < n; ++i) y[i] = 1.0f / std::sqrt(x[i]);
}

void BM_ExpNegSqr_32f(benchmark::State& s) { runExport<zemsExpNegSqr_32f>(s, -4, 4); }
void BM_ExpNegSqr_32f_DoubleExpLoop(benchmark::State& s) { runLoop<expLoop>(s, -4, 4); }
void BM_ExpNegSqr_32f_ExpfLoop(benchmark::State& s) { runLoop<expfLoop>(s, -4, 4); }
void BM_SinC_32f(benchmark::State& s) { runExport<zemsSinC_32f>(s, -30, 30); }
void BM_SinC_32f_DoubleSinLoop(benchmark::State& s) { runLoop<sincLoop>(s, -30, 30); }
void BM_SinC_32f_SinfLoop(benchmark::State& s) { runLoop<sincfLoop>(s, -30, 30); }
BENCHMARK(BM_ExpNegSqr_32f);
BENCHMARK(BM_ExpNegSqr_32f_DoubleExpLoop);
BENCHMARK(BM_ExpNegSqr_32f_ExpfLoop);
BENCHMARK(BM_SinC_32f);
BENCHMARK(BM_SinC_32f_DoubleSinLoop);
BENCHMARK(BM_SinC_32f_SinfLoop);

void BM_RecSqrt_32f(benchmark::State& state) {
    // In place, run after run: the values stay positive and above the floor.
    auto y = randomFloats(0.001f, 1000.0f);
    for (auto _ : state) {
        zemsRecSqrt_32f(y.data(), kLen, 1e-6f);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kLen);
}
BENCHMARK(BM_RecSqrt_32f);

void BM_RecSqrt_32f_OneOverSqrtfLoop(benchmark::State& s) { runLoop<rsqrtLoop>(s, 0.001f, 1000.0f); }
BENCHMARK(BM_RecSqrt_32f_OneOverSqrtfLoop);

}  // namespace
