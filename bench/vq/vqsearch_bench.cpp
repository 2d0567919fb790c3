// Block search of 10 000 vectors of 13 and of 39 features against codebooks of 256 and
// 1024 codewords, in vectors per second.  The codewords come from a tree trained with
// ZEM_CDBK_SPLIT_WIDEST on 16 384 other vectors of the same source; the same codewords
// are searched as a tree, as an exhaustive list (ZEM_CDBK_LIST), by a plain scalar loop,
// and, where faiss is installed, by its exact IndexFlatL2 and, in the tree's role, by an
// IndexHNSWFlat graph (M 16, efConstruction 40, efSearch 16) and an IndexIVFFlat (32
// cells, 2 probed), all on one thread.  The counter "exact" is the share of vectors whose
// answer lies at the true nearest distance.
//
// The vectors are drawn from a fixed-seed mixture of 64 Gaussians whose spread falls with
// the dimension as cepstra do; at 39 the dimensions 13..25 and 26..38 play the deltas and
// accelerations with half and a quarter of the spread.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_FAISS)
#include <faiss/IndexFlat.h>
#include <faiss/IndexHNSW.h>
#include <faiss/IndexIVFFlat.h>
#include <omp.h>
#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif
#endif

namespace {

constexpr int kSearched = 10000, kTraining = 16384, kClusters = 64;

// The plain squared distance, ascending dimensions, in float.
float distance(const float* a, const float* b, int width) {
    float s = 0.0f;
    for (int j = 0; j < width; ++j) {
        const float d = a[j] - b[j];
        s += d * d;
    }
    return s;
}

struct Case {
    int width = 0;
    int words = 0;
    std::vector<float> training, searched, rows;
    std::vector<float> nearest;  // the true nearest squared distance of each searched vector
    ZemsCdbkState_32f* tree = nullptr;
    ZemsCdbkState_32f* list = nullptr;
    bool ok = false;

    Case(int w, int size) : width(w) {
        std::mt19937 rng(1000u + unsigned(w));
        std::normal_distribution<float> unit(0.0f, 1.0f);
        std::vector<float> centres(size_t(kClusters) * w), spread(w);
        for (int j = 0; j < w; ++j) spread[j] = 1.0f / float(1 + j % 13) / float(1 << (j / 13));
        for (int c = 0; c < kClusters; ++c)
            for (int j = 0; j < w; ++j) centres[size_t(c) * w + j] = unit(rng) * 8.0f * spread[j];
        auto draw = [&](std::vector<float>& v, int n) {
            v.resize(size_t(n) * w);
            for (int i = 0; i < n; ++i) {
                const int c = int(rng() % kClusters);
                for (int j = 0; j < w; ++j) v[size_t(i) * w + j] = centres[size_t(c) * w + j] + unit(rng) * 2.0f * spread[j];
            }
        };
        draw(training, kTraining);
        draw(searched, kSearched);
        if (zemsCdbkInitAlloc_L2_32f(&tree, training.data(), w, w, kTraining, size, ZEM_CDBK_SPLIT_WIDEST) < 0) return;
        zemsGetCdbkSize_32f(tree, &words);
        rows.resize(size_t(words) * w);
        zemsGetCodebook_32f(tree, rows.data(), w);
        if (zemsCdbkInitAlloc_L2_32f(&list, rows.data(), w, w, words, words, ZEM_CDBK_LIST) < 0) return;
        nearest.resize(kSearched);
        for (int i = 0; i < kSearched; ++i) {
            float best = 3.4e38f;
            for (int k = 0; k < words; ++k) {
                const float d = distance(&searched[size_t(i) * w], &rows[size_t(k) * w], w);
                best = d < best ? d : best;
            }
            nearest[i] = best;
        }
        ok = true;
    }
    ~Case() {
        if (tree) zemsCdbkFree_32f(tree);
        if (list) zemsCdbkFree_32f(list);
    }

    template <class Index>
    double exactShare(const Index* answer) const {
        int hits = 0;
        for (int i = 0; i < kSearched; ++i)
            hits += answer[i] >= 0 && answer[i] < words &&
                    distance(&searched[size_t(i) * width], &rows[size_t(answer[i]) * width], width) == nearest[i];
        return double(hits) / kSearched;
    }
};

// One case per (width, codewords), built on first use: training the 1024-codeword trees
// takes seconds, outside every timed region.
Case& caseOf(benchmark::State& state) {
    static std::map<std::pair<int, int>, std::unique_ptr<Case>> cases;
    const auto key = std::make_pair(int(state.range(0)), int(state.range(1)));
    auto& c = cases[key];
    if (!c) c = std::make_unique<Case>(key.first, key.second);
    return *c;
}

template <class Search, class Index>
void run(benchmark::State& state, Search search, std::vector<Index>& answer) {
    Case& c = caseOf(state);
    if (!c.ok) {
        state.SkipWithError("codebook training failed");
        return;
    }
    answer.assign(kSearched, Index(-1));
    for (auto _ : state) {
        search(c, answer.data());
        benchmark::DoNotOptimize(answer.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t{kSearched});
    state.counters["codewords"] = c.words;
    state.counters["exact"] = c.exactShare(answer.data());
}

void VQ_List(benchmark::State& state) {
    std::vector<Zem32s> index;
    run(state, [](Case& c, Zem32s* out) { zemsVQ_32f(c.searched.data(), c.width, out, kSearched, c.list); }, index);
}

void VQ_Tree(benchmark::State& state) {
    std::vector<Zem32s> index;
    run(state, [](Case& c, Zem32s* out) { zemsVQ_32f(c.searched.data(), c.width, out, kSearched, c.tree); }, index);
}

void VQ_PlainLoop(benchmark::State& state) {
    std::vector<int> index;
    run(state,
        [](Case& c, int* out) {
            for (int i = 0; i < kSearched; ++i) {
                float best = 3.4e38f;
                int at = -1;
                for (int k = 0; k < c.words; ++k) {
                    const float d = distance(&c.searched[size_t(i) * c.width], &c.rows[size_t(k) * c.width], c.width);
                    if (d < best) best = d, at = k;
                }
                out[i] = at;
            }
        },
        index);
}

#if defined(ZEMSR_BENCH_FAISS)
void singleThread() {
    omp_set_num_threads(1);
#if defined(ZEMSR_BENCH_OPENBLAS)
    openblas_set_num_threads(1);
#endif
}

// The index is built on the case's codewords before the timed loop.
template <class Index, class Make>
void searchFaiss(benchmark::State& state, Make make) {
    singleThread();
    Case& c = caseOf(state);
    std::unique_ptr<Index> index;
    if (c.ok) index = make(c);
    std::vector<float> dist(kSearched);
    std::vector<faiss::Index::idx_t> labels;
    run(state, [&](Case& cs, faiss::Index::idx_t* out) { index->search(kSearched, cs.searched.data(), 1, dist.data(), out); },
        labels);
}

void Faiss_FlatL2(benchmark::State& state) {
    searchFaiss<faiss::IndexFlatL2>(state, [](Case& c) {
        auto index = std::make_unique<faiss::IndexFlatL2>(c.width);
        index->add(c.words, c.rows.data());
        return index;
    });
}

void Faiss_HNSW(benchmark::State& state) {
    searchFaiss<faiss::IndexHNSWFlat>(state, [](Case& c) {
        auto index = std::make_unique<faiss::IndexHNSWFlat>(c.width, 16);
        index->hnsw.efConstruction = 40;
        index->add(c.words, c.rows.data());
        index->hnsw.efSearch = 16;
        return index;
    });
}

// An inverted file of 32 cells trained on the training vectors, searched in the 2 cells
// nearest each vector.
struct IvfFlat {
    faiss::IndexFlatL2 quantizer;
    faiss::IndexIVFFlat index;
    explicit IvfFlat(const Case& c) : quantizer(c.width), index(&quantizer, c.width, 32) {
        index.train(kTraining, c.training.data());
        index.add(c.words, c.rows.data());
        index.nprobe = 2;
    }
    void search(faiss::Index::idx_t n, const float* x, faiss::Index::idx_t k, float* d, faiss::Index::idx_t* i) const {
        index.search(n, x, k, d, i);
    }
};

void Faiss_IVFFlat(benchmark::State& state) {
    searchFaiss<IvfFlat>(state, [](Case& c) { return std::make_unique<IvfFlat>(c); });
}
#endif

void sizes(benchmark::internal::Benchmark* b) {
    for (int width : {13, 39})
        for (int words : {256, 1024}) b->Args({width, words});
    b->ArgNames({"width", "codewords"})->Unit(benchmark::kMillisecond);
}

BENCHMARK(VQ_List)->Apply(sizes);
BENCHMARK(VQ_Tree)->Apply(sizes);
BENCHMARK(VQ_PlainLoop)->Apply(sizes);
#if defined(ZEMSR_BENCH_FAISS)
BENCHMARK(Faiss_FlatL2)->Apply(sizes);
BENCHMARK(Faiss_HNSW)->Apply(sizes);
BENCHMARK(Faiss_IVFFlat)->Apply(sizes);
#endif

}  // namespace
