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

void BM_LogAdd32f(benchmark::State& state) {
    std::vector<float> out = data().b;
    for (auto _ : state) {
        state.PauseTiming();  // the refill is not part of the measurement
        std::copy(data().b.begin(), data().b.end(), out.begin());
        state.ResumeTiming();
        zemsLogAdd_32f(data().a.data(), out.data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogAdd32f_LibmLoop(benchmark::State& state) {
    std::vector<float> out = data().b;
    for (auto _ : state) {
        state.PauseTiming();  // the refill is not part of the measurement
        std::copy(data().b.begin(), data().b.end(), out.begin());
        state.ResumeTiming();
        const float* a = data().a.data();
        for (int i = 0; i < kN; ++i) {
            const float m = std::max(a[i], out[i]);
            out[i] = m + log1pf(expf(-std::fabs(a[i] - out[i])));
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogAdd32f_ScalarCore(benchmark::State& state) {
    std::vector<float> out = data().b;
    for (auto _ : state) {
        state.PauseTiming();  // the refill is not part of the measurement
        std::copy(data().b.begin(), data().b.end(), out.begin());
        state.ResumeTiming();
        const float* a = data().a.data();
        for (int i = 0; i < kN; ++i) out[i] = zem::logdomain::addSingle32(a[i], out[i]);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogSum32f(benchmark::State& state) {
    float r;
    for (auto _ : state) {
        zemsLogSum_32f(data().a.data(), &r, kN);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogSum32f_LibmLoop(benchmark::State& state) {
    for (auto _ : state) {
        const float* a = data().a.data();
        float r = a[0];
        for (int i = 1; i < kN; ++i) {
            const float m = std::max(r, a[i]);
            r = m + log1pf(expf(-std::fabs(r - a[i])));
        }
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

void BM_LogSum32f_ScalarCore(benchmark::State& state) {
    for (auto _ : state) {
        const float* a = data().a.data();
        float r = a[0];
        for (int i = 1; i < kN; ++i) r = zem::logdomain::addSingle32(r, a[i]);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * kN);
}

}  // namespace

BENCHMARK(BM_LogAdd32f);
BENCHMARK(BM_LogAdd32f_LibmLoop);
BENCHMARK(BM_LogAdd32f_ScalarCore);
BENCHMARK(BM_LogSum32f);
BENCHMARK(BM_LogSum32f_LibmLoop);
BENCHMARK(BM_LogSum32f_ScalarCore);
