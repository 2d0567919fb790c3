// Frame conditioning beside plain scalar loops of the same formulas in the same run: the DC
// notch and mean removal on 400-sample frames, the sign-change rate and the range
// normalisation to 16 bits on 4096 samples.  The plain loops are compiled without the
// compiler's vectoriser, so that the ratio shows what the library's own vector code buys.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "zemsr.h"

#define SCALAR_LOOP __attribute__((noinline, optimize("no-tree-vectorize")))

namespace {

std::vector<float> randomFloats(size_t n, float lo, float hi) {
    std::mt19937 g(7);
    std::uniform_real_distribution<float> d(lo, hi);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

std::vector<int16_t> randomShorts(size_t n) {
    std::mt19937 g(8);
    std::uniform_int_distribution<int> d(-8000, 9000);
    std::vector<int16_t> v(n);
    for (auto& x : v) x = static_cast<int16_t>(d(g));
    return v;
}

constexpr int kFrame = 400, kLong = 4096;

void BM_CompensateOffset_32f(benchmark::State& state) {
    const auto x = randomFloats(kFrame, -1000, 1000);
    std::vector<float> y(kFrame);
    float prev = 0.0f;
    for (auto _ : state) {
        zemsCompensateOffset_32f(x.data(), y.data(), kFrame, &prev, y[kFrame - 1], 0.97f);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kFrame);
}
BENCHMARK(BM_CompensateOffset_32f);

SCALAR_LOOP void notchLoop(const float* x, float* y, int len, float* prev, float yPrev, float val) {
    float p = *prev, v = yPrev;
    for (int n = 0; n < len; ++n) {
        v = (x[n] - p) + val * v;
        p = x[n];
        y[n] = v;
    }
    *prev = p;
}

void BM_CompensateOffset_32f_PlainLoop(benchmark::State& state) {
    const auto x = randomFloats(kFrame, -1000, 1000);
    std::vector<float> y(kFrame);
    float prev = 0.0f;
    for (auto _ : state) {
        notchLoop(x.data(), y.data(), kFrame, &prev, y[kFrame - 1], 0.97f);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kFrame);
}
BENCHMARK(BM_CompensateOffset_32f_PlainLoop);

void BM_ZeroMean_16s(benchmark::State& state) {
    const auto x = randomShorts(kFrame);
    std::vector<int16_t> y(kFrame);
    for (auto _ : state) {
        y = x;
        zemsZeroMean_16s(y.data(), kFrame);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kFrame);
}
BENCHMARK(BM_ZeroMean_16s);

SCALAR_LOOP void zeroMeanLoop(int16_t* x, int len) {
    int64_t sum = 0;
    for (int i = 0; i < len; ++i) sum += x[i];
    const int32_t m2 = static_cast<int32_t>(static_cast<double>(2 * sum) / len);
    const int tail = len - len % 8;
    for (int i = 0; i < len; ++i) {
        const int32_t v = 2 * x[i] - m2;
        const int32_t h = i < tail ? v >> 1 : (v >= 0 ? (v + 1) >> 1 : -((1 - v) >> 1));
        x[i] = static_cast<int16_t>(h > 32767 ? 32767 : (h < -32768 ? -32768 : h));
    }
}

void BM_ZeroMean_16s_PlainLoop(benchmark::State& state) {
    const auto x = randomShorts(kFrame);
    std::vector<int16_t> y(kFrame);
    for (auto _ : state) {
        y = x;
        zeroMeanLoop(y.data(), kFrame);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kFrame);
}
BENCHMARK(BM_ZeroMean_16s_PlainLoop);

void BM_SignChangeRate_32f(benchmark::State& state) {
    const auto x = randomFloats(kLong, -1, 1);
    float r;
    for (auto _ : state) {
        zemsSignChangeRate_32f(x.data(), kLong, &r);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kLong);
}
BENCHMARK(BM_SignChangeRate_32f);

SCALAR_LOOP float signChangeLoop(const float* x, int len) {
    int count = 0;
    for (int i = 0; i + 1 < len; ++i) count += x[i] * x[i + 1] < 0.0f;
    return static_cast<float>(count);
}

void BM_SignChangeRate_32f_PlainLoop(benchmark::State& state) {
    const auto x = randomFloats(kLong, -1, 1);
    for (auto _ : state) benchmark::DoNotOptimize(signChangeLoop(x.data(), kLong));
    state.SetItemsProcessed(state.iterations() * kLong);
}
BENCHMARK(BM_SignChangeRate_32f_PlainLoop);

void BM_NormalizeInRangeMinMax_32f16s(benchmark::State& state) {
    const auto x = randomFloats(kLong, -10, 70);
    std::vector<int16_t> y(kLong);
    for (auto _ : state) {
        zemsNormalizeInRangeMinMax_32f16s(x.data(), y.data(), kLong, 0.0f, 60.0f, 0.1f, 0.9f, 32000);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kLong);
}
BENCHMARK(BM_NormalizeInRangeMinMax_32f16s);

SCALAR_LOOP void normalizeLoop(const float* x, int16_t* y, int len, float mn, float mx, float lr, float ur,
                               int16_t range) {
    const float w = mx - mn, hi = ur * w, lo = w * lr, f = range / (hi - lo);
    for (int i = 0; i < len; ++i) {
        const float t = std::fmax(std::fmin(hi + mn, x[i]) - (mn + lo), 0.0f) * f;
        y[i] = static_cast<int16_t>(std::lrintf(std::fmin(t, 32767.0f)));
    }
}

void BM_NormalizeInRangeMinMax_32f16s_PlainLoop(benchmark::State& state) {
    const auto x = randomFloats(kLong, -10, 70);
    std::vector<int16_t> y(kLong);
    for (auto _ : state) {
        normalizeLoop(x.data(), y.data(), kLong, 0.0f, 60.0f, 0.1f, 0.9f, 32000);
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * kLong);
}
BENCHMARK(BM_NormalizeInRangeMinMax_32f16s_PlainLoop);

}  // namespace
