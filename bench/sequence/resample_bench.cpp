// Resampling speed and quality beside the peers a user would pick instead (libsamplerate,
// speexdsp's resampler, soxr), for 16 -> 8 kHz, 44.1 -> 16 kHz and 8 -> 16 kHz on 10 s of
// audio.  Speed: output samples per microsecond, one call over the whole signal.  Quality,
// measured the same way for every engine: pure tones through the converter, each output
// fitted by least squares with a sine and cosine of the tone's frequency (so delay does not
// matter) away from the edges; "pass" is the worst signal-to-residual ratio in dB over
// tones at 10 to 80 % of the lower band edge, "stop" the attenuation in dB of a tone at
// 1.25 times the output's Nyquist frequency (downsampling only).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "zemsr.h"

#if __has_include(<samplerate.h>)
#include <samplerate.h>
#define ZEM_HAVE_SRC 1
#endif
#if __has_include(<speex/speex_resampler.h>)
#include <speex/speex_resampler.h>
#define ZEM_HAVE_SPEEX 1
#endif
#if __has_include(<soxr.h>)
#include <soxr.h>
#define ZEM_HAVE_SOXR 1
#endif

namespace {

constexpr double kPi = 3.14159265358979323846;

// An engine: float samples in, float samples out at the new rate.
using Engine = std::function<std::vector<float>(const std::vector<float>&, int inRate, int outRate)>;

// Ours, fixed: history of the filter's half span kept in front of the block.
Engine oursFixed(int len, int hint, float rollf = 0.95f, float alpha = 9.0f) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        ZemsResampleFixedState_32f* st = nullptr;
        zemsResamplePolyphaseFixedInitAlloc_32f(&st, inRate, outRate, len, rollf, alpha, hint);
        const int pad = len;
        std::vector<float> in(x.size() + 2 * pad, 0.0f), out(size_t(double(x.size()) * outRate / inRate) + 16);
        std::copy(x.begin(), x.end(), in.begin() + pad);
        double t = 0;
        Zem32s n = 0;
        zemsResamplePolyphaseFixed_32f(st, in.data() + pad, int(x.size()), out.data(), 1.0f, &t, &n);
        zemsResamplePolyphaseFixedFree_32f(st);
        out.resize(size_t(n));
        return out;
    };
}

Engine oursFixed16(int len) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        ZemsResampleFixedState_16s* st = nullptr;
        zemsResamplePolyphaseFixedInitAlloc_16s(&st, inRate, outRate, len, 0.95f, 9.0f, zemAlgHintFast);
        const int pad = len;
        std::vector<Zem16s> in(x.size() + 2 * pad, 0), out(size_t(double(x.size()) * outRate / inRate) + 16);
        for (size_t k = 0; k < x.size(); ++k) in[pad + k] = Zem16s(std::lrint(x[k] * 16000.0f));
        double t = 0;
        Zem32s n = 0;
        zemsResamplePolyphaseFixed_16s(st, in.data() + pad, int(x.size()), out.data(), 1.0f, &t, &n);
        zemsResamplePolyphaseFixedFree_16s(st);
        std::vector<float> y(static_cast<size_t>(n));
        for (int k = 0; k < n; ++k) y[k] = out[k] / 16000.0f;
        return y;
    };
}

Engine oursVariable(float window, int nStep) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        ZemsResampleState_32f* st = nullptr;
        zemsResamplePolyphaseInitAlloc_32f(&st, window, nStep, 0.95f, 9.0f, zemAlgHintAccurate);
        const double factor = double(outRate) / inRate;
        const int pad = int(window / std::min(factor, 1.0)) + 2;
        std::vector<float> in(x.size() + 2 * pad, 0.0f), out(size_t(double(x.size()) * factor) + 16);
        std::copy(x.begin(), x.end(), in.begin() + pad);
        double t = 0;
        Zem32s n = 0;
        zemsResamplePolyphase_32f(st, in.data() + pad, int(x.size()), out.data(), factor, 1.0f, &t, &n);
        zemsResamplePolyphaseFree_32f(st);
        out.resize(size_t(n));
        return out;
    };
}

#if ZEM_HAVE_SRC
Engine libsamplerate(int type) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        std::vector<float> out(size_t(double(x.size()) * outRate / inRate) + 16);
        SRC_DATA d{};
        d.data_in = x.data();
        d.input_frames = long(x.size());
        d.data_out = out.data();
        d.output_frames = long(out.size());
        d.src_ratio = double(outRate) / inRate;
        d.end_of_input = 1;
        src_simple(&d, type, 1);
        out.resize(size_t(d.output_frames_gen));
        return out;
    };
}
#endif

#if ZEM_HAVE_SPEEX
Engine speex(int quality) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        int err = 0;
        SpeexResamplerState* st = speex_resampler_init(1, spx_uint32_t(inRate), spx_uint32_t(outRate), quality, &err);
        std::vector<float> out(size_t(double(x.size()) * outRate / inRate) + 16);
        spx_uint32_t inLen = spx_uint32_t(x.size()), outLen = spx_uint32_t(out.size());
        speex_resampler_process_float(st, 0, x.data(), &inLen, out.data(), &outLen);
        speex_resampler_destroy(st);
        out.resize(outLen);
        return out;
    };
}
#endif

#if ZEM_HAVE_SOXR
Engine soxrEngine(unsigned long recipe) {
    return [=](const std::vector<float>& x, int inRate, int outRate) {
        std::vector<float> out(size_t(double(x.size()) * outRate / inRate) + 16);
        size_t odone = 0;
        const soxr_quality_spec_t q = soxr_quality_spec(recipe, 0);
        soxr_oneshot(inRate, outRate, 1, x.data(), x.size(), nullptr, out.data(), out.size(), &odone, nullptr, &q, nullptr);
        out.resize(odone);
        return out;
    };
}
#endif

std::vector<float> tone(double f, int rate, size_t n) {
    std::vector<float> x(n);
    for (size_t k = 0; k < n; ++k) x[k] = float(0.5 * std::sin(2 * kPi * f * double(k) / rate));
    return x;
}

// Power of y and of its residual after a least-squares fit of a sine and cosine at f.
void fit(const std::vector<float>& y, double f, int rate, double* signal, double* residual) {
    const size_t a = y.size() / 5, b = y.size() - y.size() / 5;
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
    for (size_t k = a; k < b; ++k) {
        const double s = std::sin(2 * kPi * f * double(k) / rate), c = std::cos(2 * kPi * f * double(k) / rate);
        ss += s * s, cc += c * c, sc += s * c, ys += y[k] * s, yc += y[k] * c;
    }
    const double det = ss * cc - sc * sc, p = (ys * cc - yc * sc) / det, q = (yc * ss - ys * sc) / det;
    double sig = 0, res = 0;
    for (size_t k = a; k < b; ++k) {
        const double m = p * std::sin(2 * kPi * f * double(k) / rate) + q * std::cos(2 * kPi * f * double(k) / rate);
        sig += m * m, res += (y[k] - m) * (y[k] - m);
    }
    *signal = sig, *residual = res;
}

void quality(const Engine& e, int inRate, int outRate, double* passDb, double* stopDb) {
    const int edge = std::min(inRate, outRate) / 2;
    *passDb = 1e9;
    for (double share : {0.1, 0.3, 0.5, 0.8}) {
        const double f = share * edge;
        double s, r;
        fit(e(tone(f, inRate, size_t(inRate)), inRate, outRate), f, outRate, &s, &r);
        *passDb = std::min(*passDb, 10 * std::log10(s / std::max(r, 1e-30)));
    }
    *stopDb = 0;
    if (outRate < inRate) {
        const double f = 1.25 * outRate / 2;
        const auto y = e(tone(f, inRate, size_t(inRate)), inRate, outRate);
        double p = 0;
        for (size_t k = y.size() / 5; k < y.size() - y.size() / 5; ++k) p += double(y[k]) * y[k];
        p /= double(y.size() - 2 * (y.size() / 5));
        *stopDb = -10 * std::log10(std::max(p, 1e-30) / 0.125);
    }
}

void run(benchmark::State& st, Engine e, int inRate, int outRate) {
    std::vector<float> x(size_t(inRate) * 10);
    for (size_t k = 0; k < x.size(); ++k)  // a sweep over the lower band
        x[k] = float(0.5 * std::sin(kPi * std::min(inRate, outRate) * 0.45 * double(k) * double(k) / (double(x.size()) * inRate)));
    size_t produced = 0;
    for (auto _ : st) produced = e(x, inRate, outRate).size();
    double pass, stop;
    quality(e, inRate, outRate, &pass, &stop);
    st.counters["out/us"] = benchmark::Counter(double(produced) * double(st.iterations()) * 1e-6, benchmark::Counter::kIsRate);
    st.counters["pass_dB"] = pass;
    st.counters["stop_dB"] = stop;
}

void registerAll() {
    struct Named {
        const char* name;
        Engine e;
    };
    std::vector<Named> engines = {
        {"ours_fixed_32f_fast_len32", oursFixed(32, zemAlgHintFast)},
        {"ours_fixed_32f_accurate_len32", oursFixed(32, zemAlgHintAccurate)},
        {"ours_fixed_16s_fast_len32", oursFixed16(32)},
        {"ours_fixed_32f_fast_len16", oursFixed(16, zemAlgHintFast)},
        {"ours_fixed_32f_fast_len64_rollf0.85", oursFixed(64, zemAlgHintFast, 0.85f, 10.0f)},
        {"ours_variable_32f_w16_n128", oursVariable(16.0f, 128)},
#if ZEM_HAVE_SRC
        {"libsamplerate_sinc_fastest", libsamplerate(SRC_SINC_FASTEST)},
#endif
#if ZEM_HAVE_SPEEX
        {"speexdsp_q3", speex(3)},
#endif
#if ZEM_HAVE_SOXR
        {"soxr_quick", soxrEngine(SOXR_QQ)},
        {"soxr_low", soxrEngine(SOXR_LQ)},
#endif
    };
    for (auto [in, out] : {std::pair{16000, 8000}, {44100, 16000}, {8000, 16000}})
        for (const auto& n : engines) {
            const std::string name = std::string(n.name) + "/" + std::to_string(in) + "->" + std::to_string(out);
            benchmark::RegisterBenchmark(name.c_str(), run, n.e, in, out)->Unit(benchmark::kMillisecond)->MinTime(0.2);
        }
}

const int registered = (registerAll(), 0);

}  // namespace
