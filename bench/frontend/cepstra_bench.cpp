// Per-frame costs of the cepstral stages: DCT liftering of 26 log energies to 12 cepstra
// and C0, and the streaming delta-delta of width 13, each beside a plain loop of the same
// formula in the same run.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

namespace {

std::vector<float> randomVector(size_t n) {
    std::mt19937 g(5);
    std::uniform_real_distribution<float> d(-5, 5);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

void BM_DCTLifter(benchmark::State& state) {
    ZemsDCTLifterState_32f* st = nullptr;
    zemsDCTLifterInitAlloc_C0_32f(&st, 26, 12, 22, 1.0f, 1.0f);
    const auto x = randomVector(26);
    float y[13];
    for (auto _ : state) {
        zemsDCTLifter_32f(x.data(), y, st);
        benchmark::DoNotOptimize(y);
    }
    zemsDCTLifterFree_32f(st);
}
BENCHMARK(BM_DCTLifter);

void BM_DCTLifter_PlainLoop(benchmark::State& state) {
    float table[13][26], lifter[13];
    for (int p = 0; p < 13; ++p) {
        const int i = p < 12 ? p + 1 : 0;
        for (int j = 0; j < 26; ++j) table[p][j] = static_cast<float>(std::cos((j + 0.5) * i * M_PI / 26));
        lifter[p] = static_cast<float>(1.0 + 11.0 * std::sin(i * M_PI / 22));
    }
    const auto x = randomVector(26);
    float y[13];
    for (auto _ : state) {
        for (int p = 0; p < 13; ++p) {
            float s = 0.0f;
            for (int j = 0; j < 26; ++j) s += x[j] * table[p][j];
            y[p] = lifter[p] * s;
        }
        benchmark::DoNotOptimize(y);
    }
}
BENCHMARK(BM_DCTLifter_PlainLoop);

// Blocks of 100 frames in the middle of an utterance: the main loop of the stream.
constexpr int kWidth = 13, kBlock = 100, kStep = 39;

void BM_DeltaDeltaWin2(benchmark::State& state) {
    const auto src = randomVector(kBlock * kWidth);
    auto dst = randomVector((kBlock + 6) * kStep);
    for (auto _ : state) {
        zemsDeltaDelta_Win2_32f_D2(src.data(), kWidth, dst.data(), kStep, kBlock, 0.1f, 0.1f, 0);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}
BENCHMARK(BM_DeltaDeltaWin2);

void BM_DeltaDeltaWin2_PlainLoop(benchmark::State& state) {
    const auto src = randomVector(kBlock * kWidth);
    auto dst = randomVector((kBlock + 6) * kStep);
    const float a = 0.1f, b = 0.1f;
    for (auto _ : state) {
        float* m = dst.data();
        for (int i = 0; i < kBlock; ++i) {
            float* row = m + (i + 6) * kStep;
            for (int j = 0; j < kWidth; ++j) row[j] = src[i * kWidth + j];
            const int t = i + 4, e = i + 2;
            for (int j = 0; j < kWidth; ++j)
                m[t * kStep + kWidth + j] = a * ((m[(t + 1) * kStep + j] - m[(t - 1) * kStep + j]) +
                                                 2.0f * (m[(t + 2) * kStep + j] - m[(t - 2) * kStep + j]));
            for (int j = kWidth; j < 2 * kWidth; ++j)
                m[e * kStep + kWidth + j] = b * ((m[(e + 1) * kStep + j] - m[(e - 1) * kStep + j]) +
                                                 2.0f * (m[(e + 2) * kStep + j] - m[(e - 2) * kStep + j]));
        }
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}
BENCHMARK(BM_DeltaDeltaWin2_PlainLoop);

}  // namespace
