// Block scores of 39 features over 1000 frames against one Gaussian, beside a plain
// scalar loop of the direct formula and, where OpenBLAS is installed, the GEMM form
// gconst + (mean * invvar) . x - 0.5 * invvar . x^2 (single thread; the augmented frames
// [x, x^2] are built once outside the timed region, as a recogniser builds them once per
// frame for all its Gaussians).  Throughput in Gaussian-features per second.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

namespace {

constexpr int kWidth = 39, kFrames = 1000, kStep = 40;

struct Data {
    std::vector<float> frames, mean, var, augmented, weights;
    std::vector<Zem16s> frames16, mean16, var16;
    float gconst = -20.0f;
    Data() : frames(kFrames * kStep), mean(kStep), var(kStep), augmented(kFrames * 2 * kWidth), weights(2 * kWidth),
             frames16(kFrames * kStep), mean16(kStep), var16(kStep) {
        std::mt19937 g(21);
        std::uniform_real_distribution<float> d(-3, 3), v(0.2f, 2.0f);
        std::uniform_int_distribution<int> di(-3000, 3000), vi(1, 20);
        for (auto& x : frames) x = d(g);
        for (int i = 0; i < kStep; ++i) mean[i] = d(g), var[i] = v(g), mean16[i] = di(g), var16[i] = vi(g);
        for (auto& x : frames16) x = di(g);
        for (int f = 0; f < kFrames; ++f)
            for (int i = 0; i < kWidth; ++i) {
                const float x = frames[f * kStep + i];
                augmented[f * 2 * kWidth + i] = x;
                augmented[f * 2 * kWidth + kWidth + i] = x * x;
            }
        for (int i = 0; i < kWidth; ++i) weights[i] = mean[i] * var[i], weights[kWidth + i] = -0.5f * var[i];
        for (int i = 0; i < kWidth; ++i) gconst -= 0.5f * mean[i] * mean[i] * var[i];
    }
};
Data& data() {
    static Data d;
    return d;
}

template <class Body>
void measure(benchmark::State& state, Body body) {
    for (auto _ : state) body();
    state.SetItemsProcessed(state.iterations() * int64_t{kFrames} * kWidth);
}

float scalarScore(const float* x) {
    const Data& d = data();
    float acc = 0;
    for (int i = 0; i < kWidth; ++i) acc += (x[i] - d.mean[i]) * (x[i] - d.mean[i]) * d.var[i];
    return -10.0f - 0.5f * acc;
}

float libmLogAdd(float a, float b) { return std::max(a, b) + log1pf(expf(-std::fabs(a - b))); }

std::vector<float> out(kFrames), acc(kFrames, -30.0f);
std::vector<Zem32s> out32(kFrames, -2000000000);

void BM_LogGauss32f(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        zemsLogGauss_32f_D2(d.frames.data(), kStep, d.mean.data(), d.var.data(), kWidth, out.data(), kFrames, -10.0f);
        benchmark::DoNotOptimize(out.data());
    });
}
void BM_LogGauss32f_ScalarLoop(benchmark::State& state) {
    measure(state, [&] {
        for (int f = 0; f < kFrames; ++f) out[f] = scalarScore(&data().frames[f * kStep]);
        benchmark::DoNotOptimize(out.data());
    });
}
void BM_LogGaussAdd32f(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        zemsLogGaussAdd_32f_D2(d.frames.data(), kStep, d.mean.data(), d.var.data(), kWidth, acc.data(), kFrames, -10.0f);
        benchmark::DoNotOptimize(acc.data());
    });
}
void BM_LogGaussAdd32f_ScalarLoop(benchmark::State& state) {
    measure(state, [&] {
        for (int f = 0; f < kFrames; ++f) acc[f] = libmLogAdd(acc[f], scalarScore(&data().frames[f * kStep]));
        benchmark::DoNotOptimize(acc.data());
    });
}
void BM_LogGaussMax16s32s(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        zemsLogGaussMax_16s32s_D2Sfs(d.frames16.data(), kStep, d.mean16.data(), d.var16.data(), kWidth, out32.data(), kFrames, -100, 4);
        benchmark::DoNotOptimize(out32.data());
    });
}
void BM_LogGaussMax16s32s_ScalarLoop(benchmark::State& state) {
    Data& d = data();
    measure(state, [&] {
        for (int f = 0; f < kFrames; ++f) {
            int64_t s = 0;
            for (int i = 0; i < kWidth; ++i) {
                const int64_t t = d.frames16[f * kStep + i] - d.mean16[i];
                s += t * t * d.var16[i];
            }
            const Zem32s r = -100 - static_cast<Zem32s>(s >> 5);
            out32[f] = std::max(out32[f], r);
        }
        benchmark::DoNotOptimize(out32.data());
    });
}

#if defined(ZEMSR_BENCH_OPENBLAS)
// Scores of all frames as one matrix product: augmented frames (1000 x 78) times the
// weight column, plus gconst.
void gemmScores(float* scores) {
    Data& d = data();
    for (int f = 0; f < kFrames; ++f) scores[f] = d.gconst;
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, kFrames, 1, 2 * kWidth, 1.0f, d.augmented.data(), 2 * kWidth,
                d.weights.data(), 1, 1.0f, scores, 1);
}
void BM_LogGauss32f_Gemm(benchmark::State& state) {
    openblas_set_num_threads(1);
    measure(state, [&] {
        gemmScores(out.data());
        benchmark::DoNotOptimize(out.data());
    });
}
void BM_LogGaussAdd32f_Gemm(benchmark::State& state) {
    openblas_set_num_threads(1);
    measure(state, [&] {
        gemmScores(out.data());
        for (int f = 0; f < kFrames; ++f) acc[f] = libmLogAdd(acc[f], out[f]);
        benchmark::DoNotOptimize(acc.data());
    });
}
void BM_LogGaussMax16s32s_Gemm(benchmark::State& state) {
    openblas_set_num_threads(1);
    measure(state, [&] {
        gemmScores(out.data());
        for (int f = 0; f < kFrames; ++f) out32[f] = std::max(out32[f], static_cast<Zem32s>(out[f]));
        benchmark::DoNotOptimize(out32.data());
    });
}
BENCHMARK(BM_LogGauss32f_Gemm);
BENCHMARK(BM_LogGaussAdd32f_Gemm);
BENCHMARK(BM_LogGaussMax16s32s_Gemm);
#endif

}  // namespace

BENCHMARK(BM_LogGauss32f);
BENCHMARK(BM_LogGauss32f_ScalarLoop);
BENCHMARK(BM_LogGaussAdd32f);
BENCHMARK(BM_LogGaussAdd32f_ScalarLoop);
BENCHMARK(BM_LogGaussMax16s32s);
BENCHMARK(BM_LogGaussMax16s32s_ScalarLoop);
