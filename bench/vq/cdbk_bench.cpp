// Tree codebook training: 64 and 256 codewords on 20 000 frames of 13 cepstrum-like
// features, beside a plain scalar k-means with the same splitting and tie rules (the
// tests' reference).  Each benchmark reports the mean training distortion, the sum of the
// squared distances of the frames from their nearest codeword divided by the frames, so
// that the two can be compared.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "../../tests/support/cdbk_reference.h"
#include "vq/codebook.h"
#include "zemsr.h"

namespace {

constexpr int kFrames = 20000, kDims = 13;

// Frames from 48 Gaussian clusters of decreasing spread per dimension, as cepstra have.
const std::vector<float>& frames() {
    static const std::vector<float> data = [] {
        std::mt19937 rng(2024);
        std::normal_distribution<float> unit(0.0f, 1.0f);
        std::vector<float> centres(48 * kDims);
        for (int c = 0; c < 48; ++c)
            for (int j = 0; j < kDims; ++j) centres[c * kDims + j] = unit(rng) * 8.0f / float(1 + j);
        std::vector<float> v(size_t(kFrames) * kDims);
        for (int i = 0; i < kFrames; ++i) {
            const int c = int(rng() % 48);
            for (int j = 0; j < kDims; ++j) v[size_t(i) * kDims + j] = centres[c * kDims + j] + unit(rng) * 2.0f / float(1 + j);
        }
        return v;
    }();
    return data;
}

double meanDistortion(const float* rows, int step, int n) {
    const std::vector<float>& x = frames();
    double total = 0;
    for (int i = 0; i < kFrames; ++i) {
        float best = 3.0e38f;
        for (int k = 0; k < n; ++k) {
            float d = 0;
            for (int j = 0; j < kDims; ++j) {
                const float t = x[size_t(i) * kDims + j] - rows[size_t(k) * step + j];
                d += t * t;
            }
            best = d < best ? d : best;
        }
        total += best;
    }
    return total / kFrames;
}

void Train_Library(benchmark::State& state) {
    const int size = int(state.range(0));
    double distortion = 0;
    for (auto _ : state) {
        ZemsCdbkState_32f* cdbk = nullptr;
        if (zemsCdbkInitAlloc_L2_32f(&cdbk, frames().data(), kDims, kDims, kFrames, size, ZEM_CDBK_SPLIT_WIDEST) < 0) {
            state.SkipWithError("training failed");
            return;
        }
        state.PauseTiming();
        const zem::vq::State<Zem32f>* st = cdbk;
        distortion = meanDistortion(st->rows, st->rowStep, st->numCodewords);
        zemsCdbkFree_32f(cdbk);
        state.ResumeTiming();
    }
    state.counters["distortion"] = distortion;
}

void Train_PlainKMeans(benchmark::State& state) {
    const int size = int(state.range(0));
    const std::vector<float> w(kDims, 1.0f);
    double distortion = 0;
    for (auto _ : state) {
        zemtest::RefTrainer<float> trainer(frames().data(), kDims, kDims, kFrames, w);
        const zemtest::RefTree<float> tree = trainer.train(size, ZEM_CDBK_SPLIT_WIDEST);
        state.PauseTiming();
        std::vector<float> rows;
        for (int node : tree.leafNode) rows.insert(rows.end(), tree.nodes[node].centroid.begin(), tree.nodes[node].centroid.end());
        distortion = meanDistortion(rows.data(), kDims, int(tree.leafNode.size()));
        state.ResumeTiming();
    }
    state.counters["distortion"] = distortion;
}

BENCHMARK(Train_Library)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Train_PlainKMeans)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
