// Log-domain addition and sums over 1M elements, beside a libm loop of
// max + log1pf(expf(-|d|)) and a scalar loop of the library's own polynomial core.
// Throughput is reported as elements per second.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "likelihood/logcore.h"
#include "zemsr.h"

namespace {

constexpr int kN = 1 << 20;

// Log likelihoods of the kind a recogniser adds: most pairs within the polynomial's
// reach, some far enough apart to be dropped.
struct Data {
    std::vector<float> a, b;
    Data() : a(kN), b(kN) {
        std::mt19937 g(1);
        std::uniform_real_distribution<float> d(-20.0f, 0.0f);
        for (int i = 0; i < kN; ++i) a[i] = d(g), b[i] = d(g);
    }
};
const Data& data() {
    static const Data d;
    return d;
}

// Elementwise addition into a copy of b; the refill is not part of the measurement.
template <class Add>
void measureAdd(benchmark::State& state, Add add) {
    std::vector<float> out = data().b;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(data().b.begin(), data().b.end(), out.begin());
        state.ResumeTiming();
        add(data().a.data(), out.data());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

// A sum of a, one step after the other.
template <class Step>
void measureSequentialSum(benchmark::State& state, Step step) {
    for (auto _ : state) {
        const float* a = data().a.data();
        float r = a[0];
        for (int i = 1; i < kN; ++i) r = step(r, a[i]);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

float libmAdd(float x, float y) { return std::max(x, y) + log1pf(expf(-std::fabs(x - y))); }

void BM_LogAdd32f(benchmark::State& state) {
    measureAdd(state, [](const float* a, float* out) { zemsLogAdd_32f(a, out, kN); });
}

void BM_LogAdd32f_LibmLoop(benchmark::State& state) {
    measureAdd(state, [](const float* a, float* out) {
        for (int i = 0; i < kN; ++i) out[i] = libmAdd(a[i], out[i]);
    });
}

void BM_LogAdd32f_ScalarCore(benchmark::State& state) {
    measureAdd(state, [](const float* a, float* out) {
        for (int i = 0; i < kN; ++i) out[i] = zem::logdomain::addSingle32(a[i], out[i]);
    });
}

void BM_LogSum32f(benchmark::State& state) {
    for (auto _ : state) {
        float r;
        zemsLogSum_32f(data().a.data(), &r, kN);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogSum32f_LibmLoop(benchmark::State& state) { measureSequentialSum(state, libmAdd); }

void BM_LogSum32f_ScalarCore(benchmark::State& state) { measureSequentialSum(state, zem::logdomain::addSingle32); }

}  // namespace

BENCHMARK(BM_LogAdd32f);
BENCHMARK(BM_LogAdd32f_LibmLoop);
BENCHMARK(BM_LogAdd32f_ScalarCore);
BENCHMARK(BM_LogSum32f);
BENCHMARK(BM_LogSum32f_LibmLoop);
BENCHMARK(BM_LogSum32f_ScalarCore);
