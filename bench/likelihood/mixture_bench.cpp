// Mixture scores of 39 features: one frame against mixtures of 8, 32 and 1000
// components, beside a plain scalar loop of the same scores with a
// max + log(sum(exp)) reduction.  Gaussian-features per second, and time per frame.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

namespace {

constexpr int kWidth = 39, kStep = 40, kMaxComponents = 1000;

struct Model {
    std::vector<float> mean, var, val, frame, scores;
    std::vector<Zem16s> mean16, var16, frame16;
    Model() : mean(kMaxComponents * kStep), var(kMaxComponents * kStep), val(kMaxComponents), frame(kStep),
              scores(kMaxComponents), mean16(kMaxComponents * kStep), var16(kMaxComponents * kStep), frame16(kStep) {
        std::mt19937 g(31);
        std::uniform_real_distribution<float> d(-2, 2), v(0.3f, 2.0f), c(-30, -10);
        std::uniform_int_distribution<int> di(-2000, 2000), vi(1, 20);
        for (auto& x : mean) x = d(g);
        for (auto& x : var) x = v(g);
        for (auto& x : val) x = c(g);
        for (auto& x : frame) x = d(g);
        for (auto& x : mean16) x = di(g);
        for (auto& x : var16) x = vi(g);
        for (auto& x : frame16) x = di(g);
    }
};
Model& model() {
    static Model m;
    return m;
}

void report(benchmark::State& state, int n) {
    state.SetItemsProcessed(state.iterations() * int64_t{n} * kWidth);
    state.counters["ns_per_frame"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_Mixture32f(benchmark::State& state) {
    Model& m = model();
    const int n = static_cast<int>(state.range(0));
    float r;
    for (auto _ : state) {
        zemsLogGaussMixture_32f_D2(m.frame.data(), m.mean.data(), m.var.data(), n, kStep, kWidth, m.val.data(), &r);
        benchmark::DoNotOptimize(r);
    }
    report(state, n);
}

void BM_MultiMix32f(benchmark::State& state) {
    Model& m = model();
    const int n = static_cast<int>(state.range(0));
    std::copy(m.val.begin(), m.val.begin() + n, m.scores.begin());
    for (auto _ : state) {
        // Each call's scores serve as the next call's constants: the work is the same.
        zemsLogGaussMultiMix_32f_D2(m.mean.data(), m.var.data(), kStep, m.frame.data(), kWidth, m.scores.data(), n);
        benchmark::DoNotOptimize(m.scores.data());
    }
    report(state, n);
}

void BM_Mixture32f_ScalarLoop(benchmark::State& state) {
    Model& m = model();
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        float best = -INFINITY;
        for (int g = 0; g < n; ++g) {
            float acc = 0;
            for (int i = 0; i < kWidth; ++i) {
                const float t = m.frame[i] - m.mean[g * kStep + i];
                acc += t * t * m.var[g * kStep + i];
            }
            m.scores[g] = m.val[g] - 0.5f * acc;
            best = std::max(best, m.scores[g]);
        }
        float sum = 0;
        for (int g = 0; g < n; ++g) sum += std::exp(m.scores[g] - best);
        benchmark::DoNotOptimize(best + std::log(sum));
    }
    report(state, n);
}

void BM_MixtureScaled16s32f(benchmark::State& state) {
    Model& m = model();
    const int n = static_cast<int>(state.range(0));
    float r;
    for (auto _ : state) {
        zemsLogGaussMixture_Scaled_16s32f_D2(m.frame16.data(), m.mean16.data(), m.var16.data(), n, kStep, kWidth,
                                             m.val.data(), &r, 4);
        benchmark::DoNotOptimize(r);
    }
    report(state, n);
}

void BM_MixtureScaled16s32f_ScalarLoop(benchmark::State& state) {
    Model& m = model();
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        float best = -INFINITY;
        for (int g = 0; g < n; ++g) {
            float acc = 0;
            for (int i = 0; i < kWidth; ++i) {
                const float t = float(m.frame16[i] - m.mean16[g * kStep + i]);
                acc += t * t * float(m.var16[g * kStep + i]);
            }
            m.scores[g] = m.val[g] - acc * 0.03125f;
            best = std::max(best, m.scores[g]);
        }
        float sum = 0;
        for (int g = 0; g < n; ++g) sum += std::exp(m.scores[g] - best);
        benchmark::DoNotOptimize(best + std::log(sum));
    }
    report(state, n);
}

}  // namespace

BENCHMARK(BM_Mixture32f)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_MultiMix32f)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_Mixture32f_ScalarLoop)->Arg(8)->Arg(32)->Arg(1000);
BENCHMARK(BM_MixtureScaled16s32f)->Arg(32);
BENCHMARK(BM_MixtureScaled16s32f_ScalarLoop)->Arg(32);
