// Forward real transforms of 256 to 4096 points, beside FFTW's single-precision r2c plan
// (FFTW_MEASURE, out of place) where FFTW is installed.  Time per transform.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "own.h"

#if defined(ZEMSR_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace {

std::vector<float> signal(int n) {
    std::mt19937 g(41);
    std::uniform_real_distribution<float> d(-1, 1);
    std::vector<float> v(n);
    for (auto& x : v) x = d(g);
    return v;
}

void BM_RealTransform(benchmark::State& state) {
    const int order = static_cast<int>(state.range(0)), n = 1 << order;
    ZemsFFTState_R_32f* st = nullptr;
    ownFFTInitAlloc_R_32f(&st, order, 8, 0);
    Zem32s bufSize = 0;
    ownFFTGetBufSize_R_32f(st, &bufSize);
    std::vector<Zem8u> buffer(bufSize + 32);
    const auto x = signal(n);
    std::vector<float> out(n + 2);
    for (auto _ : state) {
        ownFFTFwd_RToCCS_32f(x.data(), out.data(), st, buffer.data());
        benchmark::DoNotOptimize(out.data());
    }
    ownFFTFree_R_32f(st);
}

#if defined(ZEMSR_BENCH_FFTW)
void BM_RealTransform_Fftw(benchmark::State& state) {
    const int n = 1 << state.range(0);
    float* in = fftwf_alloc_real(n);
    fftwf_complex* out = fftwf_alloc_complex(n / 2 + 1);
    fftwf_plan plan = fftwf_plan_dft_r2c_1d(n, in, out, FFTW_MEASURE);
    const auto x = signal(n);
    std::copy(x.begin(), x.end(), in);
    for (auto _ : state) {
        fftwf_execute(plan);
        benchmark::DoNotOptimize(out);
    }
    fftwf_destroy_plan(plan);
    fftwf_free(in);
    fftwf_free(out);
}
BENCHMARK(BM_RealTransform_Fftw)->Arg(8)->Arg(9)->Arg(10)->Arg(12);
#endif

}  // namespace

BENCHMARK(BM_RealTransform)->Arg(8)->Arg(9)->Arg(10)->Arg(12);
