// Mahalanobis distances of 39 features: one frame against 1000 Gaussians and 1000
// frames against one Gaussian, beside a plain scalar loop of the same formula.
// Throughput is reported in Gaussian-features per second (rows times features).
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zemsr.h"

namespace {

constexpr int kWidth = 39;
constexpr int kRows = 1000;
constexpr int kStep = 40;  // rows start at 16-byte boundaries

struct Model {
    std::vector<float> rows, means, vars, frame;
    std::vector<float> out = std::vector<float>(kRows);
    Model() : rows(kRows * kStep), means(kRows * kStep), vars(kRows * kStep), frame(kStep) {
        std::mt19937 g(7);
        std::uniform_real_distribution<float> d(-3, 3), v(0.2f, 2.0f);
        for (auto& x : rows) x = d(g);
        for (auto& x : means) x = d(g);
        for (auto& x : vars) x = v(g);
        for (auto& x : frame) x = d(g);
    }
};

Model& model() {
    static Model m;
    return m;
}

// Rows of (x, mean, var) given by a function of the row number.
template <class Row>
void scalarDistances(Row row, float* out) {
    for (int r = 0; r < kRows; ++r) {
        const auto [x, m, w] = row(r);
        float s = 0;
        for (int i = 0; i < kWidth; ++i) s += (x[i] - m[i]) * (x[i] - m[i]) * w[i];
        out[r] = s;
    }
}

template <class Body>
void measure(benchmark::State& state, Body body) {
    for (auto _ : state) {
        body();
        benchmark::DoNotOptimize(model().out.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t{kRows} * kWidth);
}

void BM_MahDistMultiMix32f(benchmark::State& state) {
    Model& m = model();
    measure(state, [&] { zemsMahDistMultiMix_32f_D2(m.means.data(), m.vars.data(), kStep, m.frame.data(), kWidth, m.out.data(), kRows); });
}

void BM_MahDistMultiMix32f_ScalarLoop(benchmark::State& state) {
    Model& m = model();
    measure(state, [&] {
        scalarDistances([&](int r) { return std::tuple(m.frame.data(), &m.means[r * kStep], &m.vars[r * kStep]); }, m.out.data());
    });
}

void BM_MahDist32f(benchmark::State& state) {
    Model& m = model();
    measure(state, [&] { zemsMahDist_32f_D2(m.rows.data(), kStep, m.means.data(), m.vars.data(), kWidth, m.out.data(), kRows); });
}

void BM_MahDist32f_ScalarLoop(benchmark::State& state) {
    Model& m = model();
    measure(state, [&] {
        scalarDistances([&](int r) { return std::tuple(&m.rows[r * kStep], m.means.data(), m.vars.data()); }, m.out.data());
    });
}

}  // namespace

BENCHMARK(BM_MahDistMultiMix32f);
BENCHMARK(BM_MahDistMultiMix32f_ScalarLoop);
BENCHMARK(BM_MahDist32f);
BENCHMARK(BM_MahDist32f_ScalarLoop);
