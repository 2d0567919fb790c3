// Voice activity decisions, MCRA noise tracking and the Wiener and EMNS gains per frame,
// each beside a plain scalar loop of the same formulas compiled without vectorisation, and
// the whole enhancement chain per frame (window, forward transform, power, MCRA, Wiener and
// EMNS gains, gains applied, inverse transform, VAD decision) beside speexdsp's
// preprocessor (its denoiser and VAD) on frames of the same length.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "own.h"
#include "zemsr.h"

#if defined(ZEMSR_BENCH_SPEEX)
#include <speex/speex_preprocess.h>
#endif

#define ZEM_PLAIN __attribute__((optimize("no-tree-vectorize"), noinline))

namespace {

std::vector<float> noisy(int n, unsigned seed, float scale) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<float> u(0.5f, 1.5f);
    std::vector<float> v(n);
    for (auto& x : v) x = scale * u(g);
    return v;
}

// ---- VAD -----------------------------------------------------------------------------------

void VADDecision_32f(benchmark::State& st) {
    alignas(8) Zem8u record[64];
    auto* vad = reinterpret_cast<ZemsVADState_Aurora*>(record);
    zemsVADInit_Aurora_32f(vad);
    const auto bands = noisy(25 * 64, 1, 100.0f), spectrum = noisy(64 * 64, 2, 10.0f);
    Zem32s decision = 0;
    int f = 0;
    for (auto _ : st) {
        zemsVADDecision_Aurora_32f(&bands[25 * f], &spectrum[64 * f], 0, &decision, vad);
        f = (f + 1) & 63;
        benchmark::DoNotOptimize(decision);
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(VADDecision_32f);

// ---- MCRA ----------------------------------------------------------------------------------

struct Mcra {
    std::vector<Zem8u> buffer;
    ZemsMCRAState_32f* state;
    std::vector<float> noise;
    int bins;
    explicit Mcra(int rate, int fftLen) : bins(fftLen / 2 + 1) {
        Zem32s size = 0;
        zemsGetSizeMCRA_32f(fftLen, &size);
        buffer.resize(size + 8);
        state = reinterpret_cast<ZemsMCRAState_32f*>((reinterpret_cast<uintptr_t>(buffer.data()) + 7) & ~uintptr_t{7});
        zemsInitMCRA_32f(rate, fftLen, state);
        noise.assign(bins, 1.0f);
    }
};

// The same recursions written plainly: smoothed power, running minimum over a window of
// L frames (two minima, swapped at the window's end), speech presence and the adaptive
// average of the noise.
struct PlainMcra {
    std::vector<float> S, Smin, Stmp, p, N;
    float aS, aP, aD;
    int L, frame = 0;
    explicit PlainMcra(int rate, int fftLen) {
        const int bins = fftLen / 2 + 1;
        S.assign(bins, 0), Smin.assign(bins, 0), Stmp.assign(bins, 0), p.assign(bins, 0), N.assign(bins, 1.0f);
        const double t = 125.0 * (fftLen / 2) / rate;
        aS = (float)std::pow(0.8, t), aP = (float)std::pow(0.2, t), aD = (float)std::pow(0.7, t);
        L = (int)(rate / (fftLen / 2.0));
    }
};
ZEM_PLAIN void plainMcraUpdate(PlainMcra& m, const float* X) {
    const int bins = (int)m.S.size();
    const bool first = m.frame == 0, wrap = ++m.frame % m.L == 0;
    for (int k = 0; k < bins; ++k) {
        float s = first ? X[k] : m.aS * m.S[k] + (1 - m.aS) * X[k];
        m.S[k] = s;
        if (first) m.Smin[k] = m.Stmp[k] = s;
        else {
            m.Smin[k] = std::fmin(m.Smin[k], s);
            m.Stmp[k] = std::fmin(m.Stmp[k], s);
        }
        if (wrap) {
            m.Smin[k] = std::fmin(m.Stmp[k], s);
            m.Stmp[k] = s;
        }
        const float I = s > 5.0f * m.Smin[k] ? 1.0f : 0.0f;
        m.p[k] = m.aP * m.p[k] + (1 - m.aP) * I;
        const float a = m.aD + (1 - m.aD) * m.p[k];
        m.N[k] = first ? X[k] : a * m.N[k] + (1 - a) * X[k];
    }
}

void UpdateNoisePSDMCRA_32f(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), fftLen = static_cast<int>(st.range(1));
    Mcra m(rate, fftLen);
    const auto frames = noisy(m.bins * 32, 3, 1000.0f);
    int f = 0;
    for (auto _ : st) {
        zemsUpdateNoisePSDMCRA_32f_I(&frames[m.bins * f], m.state, m.noise.data());
        f = (f + 1) & 31;
        benchmark::DoNotOptimize(m.noise.data());
    }
    st.SetItemsProcessed(st.iterations());
}
void UpdateNoisePSDMCRA_plain(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), fftLen = static_cast<int>(st.range(1));
    PlainMcra m(rate, fftLen);
    const int bins = fftLen / 2 + 1;
    const auto frames = noisy(bins * 32, 3, 1000.0f);
    int f = 0;
    for (auto _ : st) {
        plainMcraUpdate(m, &frames[bins * f]);
        f = (f + 1) & 31;
        benchmark::DoNotOptimize(m.N.data());
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(UpdateNoisePSDMCRA_32f)->Args({8000, 256})->Args({16000, 512});
BENCHMARK(UpdateNoisePSDMCRA_plain)->Args({8000, 256})->Args({16000, 512});

// ---- Gains ---------------------------------------------------------------------------------

ZEM_PLAIN void plainWienerGain(const float* x, float* g, int n) {
    for (int k = 0; k < n; ++k) g[k] = x[k] / (1.0f + x[k]);
}
// w M(w g) with M(v) = sqrt(pi)/2 v^-1/2 e^-v/2 ((1 + v) I0(v/2) + v I1(v/2)).
ZEM_PLAIN void plainEmnsGain(const float* w, const float* g, float* dst, int n) {
    for (int k = 0; k < n; ++k) {
        const double v = std::fmax((double)w[k] * g[k], 1e-6);
        const double m = 0.886226925452758 / std::sqrt(v) * std::exp(-v / 2) *
                         ((1 + v) * std::cyl_bessel_i(0.0, v / 2) + v * std::cyl_bessel_i(1.0, v / 2));
        dst[k] = (float)(w[k] * m);
    }
}

void FilterUpdateEMNS_32f(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    auto w = noisy(n, 4, 0.6f), g = noisy(n, 5, 4.0f);
    std::vector<float> d(n);
    for (auto _ : st) {
        zemsFilterUpdateEMNS_32f(w.data(), g.data(), d.data(), n);
        benchmark::DoNotOptimize(d.data());
    }
    st.SetItemsProcessed(st.iterations());
}
void FilterUpdateEMNS_plain(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    auto w = noisy(n, 4, 0.6f), g = noisy(n, 5, 4.0f);
    std::vector<float> d(n);
    for (auto _ : st) {
        plainEmnsGain(w.data(), g.data(), d.data(), n);
        benchmark::DoNotOptimize(d.data());
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(FilterUpdateEMNS_32f)->Arg(129)->Arg(257);
BENCHMARK(FilterUpdateEMNS_plain)->Arg(129)->Arg(257);

// MCRA plus both gains on one frame's power: the per-frame work of the noise tracker.
void MCRAPlusGains_32f(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), fftLen = static_cast<int>(st.range(1));
    Mcra m(rate, fftLen);
    const int n = m.bins;
    const auto frames = noisy(n * 32, 3, 1000.0f);
    std::vector<float> post(n), prior(n), wiener(n), gain(n);
    int f = 0;
    for (auto _ : st) {
        const float* X = &frames[n * f];
        zemsUpdateNoisePSDMCRA_32f_I(X, m.state, m.noise.data());
        for (int k = 0; k < n; ++k) post[k] = X[k] / m.noise[k], prior[k] = std::fmax(post[k] - 1.0f, 0.0f);
        zemsFilterUpdateWiener_32f(prior.data(), wiener.data(), n);
        zemsFilterUpdateEMNS_32f(wiener.data(), post.data(), gain.data(), n);
        f = (f + 1) & 31;
        benchmark::DoNotOptimize(gain.data());
    }
    st.SetItemsProcessed(st.iterations());
}
void MCRAPlusGains_plain(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), fftLen = static_cast<int>(st.range(1));
    PlainMcra m(rate, fftLen);
    const int n = fftLen / 2 + 1;
    const auto frames = noisy(n * 32, 3, 1000.0f);
    std::vector<float> post(n), prior(n), wiener(n), gain(n);
    int f = 0;
    for (auto _ : st) {
        const float* X = &frames[n * f];
        plainMcraUpdate(m, X);
        for (int k = 0; k < n; ++k) post[k] = X[k] / m.N[k], prior[k] = std::fmax(post[k] - 1.0f, 0.0f);
        plainWienerGain(prior.data(), wiener.data(), n);
        plainEmnsGain(wiener.data(), post.data(), gain.data(), n);
        f = (f + 1) & 31;
        benchmark::DoNotOptimize(gain.data());
    }
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(MCRAPlusGains_32f)->Args({8000, 256})->Args({16000, 512});
BENCHMARK(MCRAPlusGains_plain)->Args({8000, 256})->Args({16000, 512});

// ---- The whole chain against speexdsp's preprocessor ----------------------------------------

// Frames of `hop` new samples analysed over 2 hop points, as the peer does.
void RobustChain_zemsr(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), hop = static_cast<int>(st.range(1)), fftLen = 2 * hop;
    int order = 0;
    while ((1 << order) < fftLen) ++order;
    ZemsFFTState_R_32f* fft = nullptr;
    ownFFTInitAlloc_R_32f(&fft, order, 8, 0);
    Zem32s bufSize = 0;
    ownFFTGetBufSize_R_32f(fft, &bufSize);
    std::vector<Zem8u> work(bufSize > 0 ? bufSize : 1);
    Mcra m(rate, fftLen);
    const int n = m.bins;
    alignas(8) Zem8u record[64];
    auto* vad = reinterpret_cast<ZemsVADState_Aurora*>(record);
    zemsVADInit_Aurora_32f(vad);
    std::vector<float> window(fftLen), frame(fftLen), spec(fftLen), power(n), post(n), prior(n), wiener(n), gain(n);
    std::vector<float> out(fftLen), bands(25);
    for (int i = 0; i < fftLen; ++i) window[i] = (float)std::sin(M_PI * (i + 0.5) / fftLen);
    const auto signal = noisy(hop * 64 + fftLen, 6, 3000.0f);
    Zem32s decision = 0;
    int f = 0;
    for (auto _ : st) {
        const float* x = &signal[hop * f];
        for (int i = 0; i < fftLen; ++i) frame[i] = x[i] * window[i];
        ownFFTFwd_RToPack_32f(frame.data(), spec.data(), fft, work.data());
        power[0] = spec[0] * spec[0];
        for (int k = 1; k < n - 1; ++k) power[k] = spec[2 * k - 1] * spec[2 * k - 1] + spec[2 * k] * spec[2 * k];
        power[n - 1] = spec[fftLen - 1] * spec[fftLen - 1];
        zemsUpdateNoisePSDMCRA_32f_I(power.data(), m.state, m.noise.data());
        for (int k = 0; k < n; ++k) post[k] = power[k] / m.noise[k], prior[k] = std::fmax(post[k] - 1.0f, 0.0f);
        zemsFilterUpdateWiener_32f(prior.data(), wiener.data(), n);
        zemsFilterUpdateEMNS_32f(wiener.data(), post.data(), gain.data(), n);
        spec[0] *= gain[0];
        for (int k = 1; k < n - 1; ++k) spec[2 * k - 1] *= gain[k], spec[2 * k] *= gain[k];
        spec[fftLen - 1] *= gain[n - 1];
        ownFFTInv_PackToR_32f(spec.data(), out.data(), fft, work.data());
        for (int b = 0; b < 25; ++b) bands[b] = power[1 + b * (n - 2) / 25];
        zemsVADDecision_Aurora_32f(bands.data(), power.data() + 1, 0, &decision, vad);
        f = (f + 1) & 63;
        benchmark::DoNotOptimize(out.data());
    }
    ownFFTFree_R_32f(fft);
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(RobustChain_zemsr)->Args({8000, 128})->Args({16000, 256});

#if defined(ZEMSR_BENCH_SPEEX)
void RobustChain_speexdsp(benchmark::State& st) {
    const int rate = static_cast<int>(st.range(0)), hop = static_cast<int>(st.range(1));
    SpeexPreprocessState* pp = speex_preprocess_state_init(hop, rate);
    int on = 1;
    speex_preprocess_ctl(pp, SPEEX_PREPROCESS_SET_DENOISE, &on);
    speex_preprocess_ctl(pp, SPEEX_PREPROCESS_SET_VAD, &on);
    const auto signal = noisy(hop * 64 + hop, 6, 3000.0f);
    std::vector<spx_int16_t> pcm(signal.size()), frame(hop);
    for (size_t i = 0; i < signal.size(); ++i) pcm[i] = (spx_int16_t)(signal[i] - 3000.0f);
    int f = 0;
    for (auto _ : st) {
        std::copy(&pcm[hop * f], &pcm[hop * f] + hop, frame.begin());
        benchmark::DoNotOptimize(speex_preprocess_run(pp, frame.data()));
        f = (f + 1) & 63;
    }
    speex_preprocess_state_destroy(pp);
    st.SetItemsProcessed(st.iterations());
}
BENCHMARK(RobustChain_speexdsp)->Args({8000, 128})->Args({16000, 256});
#endif

}  // namespace
