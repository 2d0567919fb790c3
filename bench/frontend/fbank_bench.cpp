// A 26-filter mel bank over 400-sample frames (512-point transform, 257 bins), in time per
// frame: on a magnitude spectrum, and through the transform from the time frame.  Beside
// each, a plain loop over the same triangular weights, and FFTW's r2c plan for the
// transform path where FFTW is installed.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace {

constexpr int kFrame = 400, kFilters = 26;

std::vector<float> randomVector(int n, float lo, float hi) {
    std::mt19937 g(7);
    std::uniform_real_distribution<float> d(lo, hi);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

ZemsFBankState_32f* makeBank(int mode, int* fftOrder) {
    ZemsFBankState_32f* st = nullptr;
    zemsMelFBankInitAlloc_32f(&st, fftOrder, kFrame, 16000.0f, 64.0f, 8000.0f, kFilters, 1127.0f, 700.0f, mode);
    return st;
}

// The same bank as explicit rows: for filter i, the weights on bins c[i] .. c[i+2].
struct PlainBank {
    std::vector<Zem32s> c;
    std::vector<std::vector<float>> rows;

    explicit PlainBank(const ZemsFBankState_32f* st) : c(kFilters + 2), rows(kFilters) {
        zemsFBankGetCenters_32f(st, c.data());
        for (int i = 0; i < kFilters; ++i) {
            rows[i].resize(c[i + 2] - c[i] + 1);
            zemsFBankGetCoeffs_32f(st, i + 1, rows[i].data());
        }
    }
    void eval(const float* x, float* dst) const {
        for (int i = 0; i < kFilters; ++i) {
            float s = 0.0f;
            const float* w = rows[i].data();
            for (int k = c[i]; k <= c[i + 2]; ++k) s += w[k - c[i]] * x[k];
            dst[i] = s;
        }
    }
};

void BM_EvalFBank_Spectrum(benchmark::State& state) {
    int order = 0;
    ZemsFBankState_32f* st = makeBank(zemFBankMelWeights, &order);
    const auto x = randomVector((1 << order) / 2 + 1, 0.0f, 10.0f);
    float dst[kFilters];
    for (auto _ : state) {
        zemsEvalFBank_32f(x.data(), dst, st);
        benchmark::DoNotOptimize(dst);
    }
    zemsFBankFree_32f(st);
}
BENCHMARK(BM_EvalFBank_Spectrum);

void BM_EvalFBank_Spectrum_PlainLoop(benchmark::State& state) {
    int order = 0;
    ZemsFBankState_32f* st = makeBank(zemFBankMelWeights, &order);
    const PlainBank bank(st);
    const auto x = randomVector((1 << order) / 2 + 1, 0.0f, 10.0f);
    float dst[kFilters];
    for (auto _ : state) {
        bank.eval(x.data(), dst);
        benchmark::DoNotOptimize(dst);
    }
    zemsFBankFree_32f(st);
}
BENCHMARK(BM_EvalFBank_Spectrum_PlainLoop);

void BM_EvalFBank_Frame(benchmark::State& state) {
    int order = 0;
    ZemsFBankState_32f* st = makeBank(zemFBankMelWeights | zemFBankFftMagnitude, &order);
    const auto x = randomVector(kFrame, -1.0f, 1.0f);
    float dst[kFilters];
    for (auto _ : state) {
        zemsEvalFBank_32f(x.data(), dst, st);
        benchmark::DoNotOptimize(dst);
    }
    zemsFBankFree_32f(st);
}
BENCHMARK(BM_EvalFBank_Frame);

#if defined(ZEMSR_BENCH_FFTW)
// FFTW's r2c plan on the zero-padded frame, magnitudes, then the plain loop.
void BM_EvalFBank_Frame_FftwPlainLoop(benchmark::State& state) {
    int order = 0;
    ZemsFBankState_32f* st = makeBank(zemFBankMelWeights, &order);
    const PlainBank bank(st);
    const int n = 1 << order;
    float* in = fftwf_alloc_real(n);
    fftwf_complex* out = fftwf_alloc_complex(n / 2 + 1);
    fftwf_plan plan = fftwf_plan_dft_r2c_1d(n, in, out, FFTW_MEASURE);
    const auto x = randomVector(kFrame, -1.0f, 1.0f);
    std::vector<float> mag(n / 2 + 1);
    float dst[kFilters];
    for (auto _ : state) {
        std::copy(x.begin(), x.end(), in);
        std::fill(in + kFrame, in + n, 0.0f);
        fftwf_execute(plan);
        for (int k = 0; k <= n / 2; ++k) mag[k] = std::sqrt(out[k][0] * out[k][0] + out[k][1] * out[k][1]);
        bank.eval(mag.data(), dst);
        benchmark::DoNotOptimize(dst);
    }
    fftwf_destroy_plan(plan);
    fftwf_free(in);
    fftwf_free(out);
    zemsFBankFree_32f(st);
}
BENCHMARK(BM_EvalFBank_Frame_FftwPlainLoop);
#endif

void BM_EvalFBank_16s32s_Spectrum(benchmark::State& state) {
    ZemsFBankState_16s* st = nullptr;
    Zem32s order = 0;
    zemsMelFBankInitAlloc_16s(&st, &order, kFrame, 16000.0f, 64.0f, 8000.0f, kFilters, 1127.0f, 700.0f,
                              zemFBankMelWeights);
    std::vector<Zem16s> x((1 << order) / 2 + 1);
    std::mt19937 g(3);
    for (auto& v : x) v = static_cast<Zem16s>(g() % 20000);
    Zem32s dst[kFilters];
    for (auto _ : state) {
        zemsEvalFBank_16s32s_Sfs(x.data(), dst, st, 0);
        benchmark::DoNotOptimize(dst);
    }
    zemsFBankFree_16s(st);
}
BENCHMARK(BM_EvalFBank_16s32s_Spectrum);

}  // namespace
