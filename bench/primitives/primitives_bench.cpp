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

// Runs body(n) per iteration with the thread count fixed at `threads`, and reports
// elements per second.
template <class Body>
void measure(benchmark::State& state, int threads, Body body) {
    const int n = static_cast<int>(state.range(0));
    zemcoreTestSetNumThreads(threads);
    for (auto _ : state) body(n);
    zemcoreTestResetNumThreads();
    state.SetItemsProcessed(state.iterations() * n);
}

struct DivData {
    std::vector<float> den, num, out;
    explicit DivData(int n) : den(uniform(n, 1, 10, 1)), num(uniform(n, -10, 10, 2)), out(n) {}
};

void BM_Div32f(benchmark::State& state) {
    DivData d(static_cast<int>(state.range(0)));
    measure(state, 1, [&](int n) {
        ownDiv_32f(d.den.data(), d.num.data(), d.out.data(), n);
        benchmark::DoNotOptimize(d.out.data());
    });
}

void BM_Div32f_TwoThreads(benchmark::State& state) {
    DivData d(static_cast<int>(state.range(0)));
    measure(state, 2, [&](int n) {
        ownDiv_32f(d.den.data(), d.num.data(), d.out.data(), n);
        benchmark::DoNotOptimize(d.out.data());
    });
}

void BM_Div32f_ScalarLoop(benchmark::State& state) {
    DivData d(static_cast<int>(state.range(0)));
    measure(state, 1, [&](int n) {
        for (int i = 0; i < n; ++i) {
            const float q = d.den[i];
            d.out[i] = q == 0.0f ? (d.num[i] > 0 ? INFINITY : -INFINITY) : d.num[i] / q;
        }
        benchmark::DoNotOptimize(d.out.data());
    });
}

void BM_Sum32f_Fast(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), -1, 1, 3);
    measure(state, 1, [&](int n) {
        float s;
        ownSum_32f(v.data(), n, &s, zemAlgHintFast);
        benchmark::DoNotOptimize(s);
    });
}

void BM_Sum32f_Accurate(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), -1, 1, 3);
    measure(state, 1, [&](int n) {
        float s;
        ownSum_32f(v.data(), n, &s, zemAlgHintAccurate);
        benchmark::DoNotOptimize(s);
    });
}

void BM_Sum32f_ScalarLoop(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), -1, 1, 3);
    measure(state, 1, [&](int n) {
        double s = 0;
        for (int i = 0; i < n; ++i) s += v[i];
        benchmark::DoNotOptimize(s);
    });
}

// Both logarithm variants refill their buffer the same way inside the timed loop.
void BM_Ln32f(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), 1e-3f, 1e3f, 4);
    std::vector<float> w(v.size());
    measure(state, 1, [&](int n) {
        std::copy(v.begin(), v.end(), w.begin());
        ownLn_32f_I(w.data(), n);
        benchmark::DoNotOptimize(w.data());
    });
}

void BM_Ln32f_ScalarLoop(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), 1e-3f, 1e3f, 4);
    std::vector<float> w(v.size());
    measure(state, 1, [&](int n) {
        std::copy(v.begin(), v.end(), w.begin());
        for (int i = 0; i < n; ++i) w[i] = std::log(w[i]);
        benchmark::DoNotOptimize(w.data());
    });
}

void BM_Convert32f16s(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), -40000, 40000, 5);
    std::vector<Zem16s> out(v.size());
    measure(state, 1, [&](int n) {
        ownConvert_32f16s_Sfs(v.data(), out.data(), n, 1, 2);
        benchmark::DoNotOptimize(out.data());
    });
}

void BM_Convert32f16s_ScalarLoop(benchmark::State& state) {
    const auto v = uniform(static_cast<int>(state.range(0)), -40000, 40000, 5);
    std::vector<Zem16s> out(v.size());
    measure(state, 1, [&](int n) {
        for (int i = 0; i < n; ++i) {
            const long r = std::lrint(v[i] * 0.25f);
            out[i] = static_cast<Zem16s>(r > 32767 ? 32767 : (r < -32768 ? -32768 : r));
        }
        benchmark::DoNotOptimize(out.data());
    });
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
