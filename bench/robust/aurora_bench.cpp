// The Aurora noise-reduction steps per 8 kHz frame (a 256-point packed spectrum, 65
// smoothed bins, 80-sample residual filtering, 200-sample waveform processing), each
// beside a plain scalar loop of the same formula compiled without vectorisation, and the
// chain of the library's steps without the caller's transforms.  Time per frame.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

#define ZEM_PLAIN __attribute__((optimize("no-tree-vectorize"), noinline))

namespace {

struct Frame {
    std::vector<float> spectrum, power, noise, den, gains, half, taps, signal, out, wave;
    Frame() : spectrum(256), power(65), noise(65), den(65), gains(65), half(10), taps(17), signal(96), out(80), wave(200) {
        std::mt19937 g(3);
        std::uniform_real_distribution<float> u(-1, 1), p(0.1f, 10);
        for (auto& v : spectrum) v = 100 * u(g);
        for (auto& v : noise) v = p(g);
        for (auto& v : den) v = p(g);
        for (auto& v : half) v = 0.1f * u(g);
        for (auto& v : signal) v = 1000 * u(g);
        for (int n = 0; n < 200; ++n) wave[n] = (n % 57 == 3 ? 3000.0f : 0.0f) + 100 * u(g);
    }
};
Frame& frame() {
    static Frame f;
    return f;
}

ZEM_PLAIN void plainSmoothed(const float* s, float* d) {
    d[0] = (s[0] * s[0] + s[2] * s[2] + s[3] * s[3]) / 2;
    for (int k = 1; k < 64; ++k) d[k] = (s[4 * k] * s[4 * k] + s[4 * k + 1] * s[4 * k + 1] + s[4 * k + 2] * s[4 * k + 2] + s[4 * k + 3] * s[4 * k + 3]) / 2;
    d[64] = s[1] * s[1];
}
ZEM_PLAIN void plainWiener(const float* P, const float* N, const float* D, float* g) {
    for (int k = 0; k < 65; ++k) {
        const float eta = (0.98f * D[k] + 0.02f * std::max(P[k] - N[k], 0.0f)) / N[k];
        float x = eta / (eta + 1) * P[k] / N[k];
        x = x < 0.07943282f ? 0.07943282f : x;
        g[k] = x / (x + 1);
    }
}
ZEM_PLAIN void plainResidual(const float* x, float* y, const float* t) {
    for (int n = 0; n < 80; ++n) {
        float a = 0;
        for (int k = 0; k < 17; ++k) a += t[k] * x[n + k];
        y[n] = a;
    }
}

void BM_Smoothed_32f(benchmark::State& st) {
    for (auto _ : st) zemsSmoothedPowerSpectrumAurora_32f(frame().spectrum.data(), frame().power.data(), 256);
}
void BM_Smoothed_plain(benchmark::State& st) {
    for (auto _ : st) plainSmoothed(frame().spectrum.data(), frame().power.data());
}
void BM_Wiener_32f(benchmark::State& st) {
    Frame& f = frame();
    for (auto _ : st) zemsWienerFilterDesign_Aurora_32f(f.power.data(), f.noise.data(), f.den.data(), f.gains.data(), 65);
}
void BM_Wiener_plain(benchmark::State& st) {
    Frame& f = frame();
    for (auto _ : st) plainWiener(f.power.data(), f.noise.data(), f.den.data(), f.gains.data());
}
void BM_Residual_32f(benchmark::State& st) {
    Frame& f = frame();
    for (auto _ : st) zemsResidualFilter_Aurora_32f(f.signal.data(), f.out.data(), f.taps.data());
}
void BM_Residual_plain(benchmark::State& st) {
    Frame& f = frame();
    for (auto _ : st) plainResidual(f.signal.data(), f.out.data(), f.taps.data());
}
void BM_WaveProcessing_32f(benchmark::State& st) {
    std::vector<float> out(200);
    for (auto _ : st) zemsWaveProcessing_Aurora_32f(frame().wave.data(), out.data());
}
// One frame of the library's part of the chain: smoothed spectrum, noise update, Wiener
// gains, taps, and the residual filter over the frame's 80-sample steps (2.5 per frame).
void BM_Chain_32f(benchmark::State& st) {
    Frame& f = frame();
    for (auto _ : st) {
        zemsSmoothedPowerSpectrumAurora_32f(f.spectrum.data(), f.power.data(), 256);
        zemsNoiseSpectrumUpdate_Aurora_32f(f.power.data(), f.noise.data(), f.noise.data(), 65);
        zemsWienerFilterDesign_Aurora_32f(f.power.data(), f.noise.data(), f.den.data(), f.gains.data(), 65);
        zemsTabsCalculation_Aurora_32f(f.half.data(), f.taps.data());
        zemsResidualFilter_Aurora_32f(f.signal.data(), f.out.data(), f.taps.data());
        zemsResidualFilter_Aurora_32f(f.signal.data(), f.out.data(), f.taps.data());
        zemsResidualFilter_Aurora_32f(f.signal.data(), f.out.data(), f.taps.data());
    }
}

}  // namespace

BENCHMARK(BM_Smoothed_32f);
BENCHMARK(BM_Smoothed_plain);
BENCHMARK(BM_Wiener_32f);
BENCHMARK(BM_Wiener_plain);
BENCHMARK(BM_Residual_32f);
BENCHMARK(BM_Residual_plain);
BENCHMARK(BM_WaveProcessing_32f);
BENCHMARK(BM_Chain_32f);
