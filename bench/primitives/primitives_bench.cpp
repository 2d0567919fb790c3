// The private layer's hot operations beside plain scalar loops of the same formula.
// Throughput is reported as elements per second.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "own.h"
#include "zemcore.h"

namespace {

std::vector<float> uniform(int n, float lo, float hi, unsigned seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<float> d(lo, hi);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

void setItems(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * state.range(0)); }

// Division, one thread so that the kernel itself is measured.
void BM_Div32f(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    zemcoreTestSetNumThreads(1);
    auto den = uniform(n, 1, 10, 1), num = uniform(n, -10, 10, 2);
    std::vector<float> out(n);
    for (auto _ : state) {
        ownDiv_32f(den.data(), num.data(), out.data(), n);
        benchmark::DoNotOptimize(out.data());
    }
    zemcoreTestResetNumThreads();
    setItems(state);
}

void BM_Div32f_TwoThreads(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    zemcoreTestSetNumThreads(2);
    auto den = uniform(n, 1, 10, 1), num = uniform(n, -10, 10, 2);
    std::vector<float> out(n);
    for (auto _ : state) {
        ownDiv_32f(den.data(), num.data(), out.data(), n);
        benchmark::DoNotOptimize(out.data());
    }
    zemcoreTestResetNumThreads();
    setItems(state);
}

void BM_Div32f_ScalarLoop(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto den = uniform(n, 1, 10, 1), num = uniform(n, -10, 10, 2);
    std::vector<float> out(n);
    for (auto _ : state) {
        for (int i = 0; i < n; ++i) {
            const float d = den[i];
            out[i] = d == 0.0f ? (num[i] > 0 ? INFINITY : -INFINITY) : num[i] / d;
        }
        benchmark::DoNotOptimize(out.data());
    }
    setItems(state);
}

void BM_Sum32f_Fast(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto v = uniform(n, -1, 1, 3);
    float s;
    for (auto _ : state) {
        ownSum_32f(v.data(), n, &s, zemAlgHintFast);
        benchmark::DoNotOptimize(s);
    }
    setItems(state);
}

void BM_Sum32f_Accurate(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto v = uniform(n, -1, 1, 3);
    float s;
    for (auto _ : state) {
        ownSum_32f(v.data(), n, &s, zemAlgHintAccurate);
        benchmark::DoNotOptimize(s);
    }
    setItems(state);
}

void BM_Sum32f_ScalarLoop(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto v = uniform(n, -1, 1, 3);
    for (auto _ : state) {
        double s = 0;
        for (int i = 0; i < n; ++i) s += v[i];
        benchmark::DoNotOptimize(s);
    }
    setItems(state);
}

void BM_Ln32f(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto v = uniform(n, 1e-3f, 1e3f, 4);
    std::vector<float> w(n);
    for (auto _ : state) {
        std::copy(v.begin(), v.end(), w.begin());  // the same refill in both variants
        ownLn_32f_I(w.data(), n);
        benchmark::DoNotOptimize(w.data());
    }
    setItems(state);
}

void BM_Ln32f_ScalarLoop(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto v = uniform(n, 1e-3f, 1e3f, 4);
    std::vector<float> w(n);
    for (auto _ : state) {
        std::copy(v.begin(), v.end(), w.begin());  // the same refill in both variants
        for (int i = 0; i < n; ++i) w[i] = std::log(w[i]);
        benchmark::DoNotOptimize(w.data());
    }
    setItems(state);
}

void BM_Convert32f16s(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto v = uniform(n, -40000, 40000, 5);
    std::vector<Zem16s> out(n);
    for (auto _ : state) {
        ownConvert_32f16s_Sfs(v.data(), out.data(), n, 1, 2);
        benchmark::DoNotOptimize(out.data());
    }
    setItems(state);
}

void BM_Convert32f16s_ScalarLoop(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    auto v = uniform(n, -40000, 40000, 5);
    std::vector<Zem16s> out(n);
    for (auto _ : state) {
        for (int i = 0; i < n; ++i) {
            const long r = std::lrint(v[i] * 0.25f);
            out[i] = static_cast<Zem16s>(r > 32767 ? 32767 : (r < -32768 ? -32768 : r));
        }
        benchmark::DoNotOptimize(out.data());
    }
    setItems(state);
}

}  // namespace

BENCHMARK(BM_Div32f)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Div32f_TwoThreads)->Arg(16384)->UseRealTime();
BENCHMARK(BM_Div32f_ScalarLoop)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Sum32f_Fast)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Sum32f_Accurate)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Sum32f_ScalarLoop)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Ln32f)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Ln32f_ScalarLoop)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Convert32f16s)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Convert32f16s_ScalarLoop)->Arg(1024)->Arg(16384);
