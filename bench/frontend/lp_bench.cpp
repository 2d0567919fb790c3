// Frame-rate costs of linear prediction, its conversions and the periodicity measure,
// each beside a plain scalar loop of the same formula in the same run: LP analysis of 400
// samples (orders 12 and 24), LP to LSP (order 10, a grid of 128, 4 halvings), LP to
// cepstrum (order 12 to 13 values), LSPE over 50..400 Hz at 8 kHz (periods 20..160).
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

namespace {

std::vector<float> voiced(int len) {
    std::mt19937 g(9);
    std::uniform_real_distribution<float> d(-1, 1);
    std::vector<float> x(len);
    for (int n = 0; n < len; ++n) x[n] = d(g) + (n ? 1.3f * x[n - 1] : 0) - (n > 1 ? 0.8f * x[n - 2] : 0);
    return x;
}

void BM_LinearPredictionAuto(benchmark::State& state) {
    const int order = static_cast<int>(state.range(0));
    const auto x = voiced(400);
    std::vector<float> a(order);
    for (auto _ : state) {
        zemsLinearPrediction_Auto_32f(x.data(), 400, a.data(), order);
        benchmark::DoNotOptimize(a.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LinearPredictionAuto)->Arg(12)->Arg(24);

void BM_LinearPredictionAuto_PlainLoop(benchmark::State& state) {
    const int order = static_cast<int>(state.range(0));
    const auto x = voiced(400);
    std::vector<float> r(order + 1), a(order), t(order + 1);
    for (auto _ : state) {
        for (int k = 0; k <= order; ++k) {
            float s = 0;
            for (int n = k; n < 400; ++n) s += x[n] * x[n - k];
            r[k] = s;
        }
        float e = r[0];
        for (int m = 1; m <= order; ++m) {
            float acc = r[m];
            for (int i = 1; i < m; ++i) acc += r[m - i] * a[i - 1];
            const float k = acc / e;
            e *= 1 - k * k;
            for (int i = 1; i < m; ++i) t[i] = a[i - 1] - a[m - i - 1] * k;
            t[m] = -k;
            for (int i = 1; i <= m; ++i) a[i - 1] = t[i];
        }
        benchmark::DoNotOptimize(a.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LinearPredictionAuto_PlainLoop)->Arg(12)->Arg(24);

std::vector<float> predictor10() {
    const auto x = voiced(400);
    std::vector<float> a(10);
    zemsLinearPrediction_Auto_32f(x.data(), 400, a.data(), 10);
    return a;
}

void BM_LPToLSP(benchmark::State& state) {
    const auto a = predictor10();
    float lsp[10];
    Zem32s found;
    for (auto _ : state) {
        zemsLPToLSP_32f(a.data(), lsp, 10, &found, 128, 4);
        benchmark::DoNotOptimize(lsp);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LPToLSP);

// The same search written plainly: P and Q evaluated by Horner in cos w on the grid.
void BM_LPToLSP_PlainLoop(benchmark::State& state) {
    const auto a = predictor10();
    float p[6] = {1}, q[6] = {1}, lsp[10];
    for (int i = 1; i <= 5; ++i) {
        p[i] = a[i - 1] + a[10 - i] - p[i - 1];
        q[i] = a[i - 1] - a[10 - i] + q[i - 1];
    }
    auto eval = [](const float* c, float x) {
        float b0 = 1, b1 = 2 * x + c[1];
        for (int k = 2; k < 5; ++k) {
            const float t = 2 * x * b1 - b0 + c[k];
            b0 = b1, b1 = t;
        }
        return x * b1 - b0 + 0.5f * c[5];
    };
    for (auto _ : state) {
        int found = 0, which = 0;
        const float* c[2] = {p, q};
        float x = 1, v = eval(p, 1);
        for (int g = 1; g <= 128 && found < 10;) {
            const float y = 1 - 2.0f * g / 128, w = eval(c[which], y);
            if (v * w > 0) {
                x = y, v = w, ++g;
                continue;
            }
            float hi = x, lo = y, vh = v, vl = w;
            for (int i = 0; i < 4; ++i) {
                const float m = 0.5f * (hi + lo), u = eval(c[which], m);
                if (vh * u <= 0) lo = m, vl = u;
                else hi = m, vh = u;
            }
            lsp[found++] = lo - vl * (hi - lo) / (vh - vl);
            which ^= 1;
            x = lsp[found - 1], v = eval(c[which], x);
        }
        benchmark::DoNotOptimize(lsp);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LPToLSP_PlainLoop);

void BM_LPToCepstrum(benchmark::State& state) {
    auto a = predictor10();
    a.resize(13, 0.0f);
    float c[13];
    for (auto _ : state) {
        zemsLPToCepstrum_32f(a.data(), c, 13);
        benchmark::DoNotOptimize(c);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LPToCepstrum);

void BM_LPToCepstrum_PlainLoop(benchmark::State& state) {
    auto a = predictor10();
    a.resize(13, 0.0f);
    float c[13];
    for (auto _ : state) {
        for (int i = 1; i <= 13; ++i) {
            float s = 0;
            for (int j = 1; j < i; ++j) s += float(i - j) * a[j - 1] * c[i - j - 1];
            c[i - 1] = -a[i - 1] - s / float(i);
        }
        benchmark::DoNotOptimize(c);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LPToCepstrum_PlainLoop);

void BM_PeriodicityLSPE(benchmark::State& state) {
    const auto x = voiced(320);
    float r;
    Zem32s period;
    for (auto _ : state) {
        zemsPeriodicityLSPE_32f(x.data(), 320, &r, &period, 160, 20);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PeriodicityLSPE);

void BM_PeriodicityLSPE_PlainLoop(benchmark::State& state) {
    const auto x = voiced(320);
    for (auto _ : state) {
        float e = 0, best = 0;
        int period = 0;
        for (float v : x) e += v * v;
        for (int p = 20; p <= 160; ++p) {
            float A = 0, B = 0;
            for (int t = 0; t < p; ++t) {
                float s = 0, q = 0;
                int c = 0;
                for (int i = t; i < 320; i += p, ++c) s += x[i], q += x[i] * x[i];
                A += s * s / c;
                B += q / c;
            }
            if (e - B > 0 && A - B > 0 && (A - B) / (e - B) > best) best = (A - B) / (e - B), period = p;
        }
        benchmark::DoNotOptimize(best);
        benchmark::DoNotOptimize(period);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PeriodicityLSPE_PlainLoop);

}  // namespace
