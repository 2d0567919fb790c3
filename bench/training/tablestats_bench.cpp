// Column statistics over a 10 000 x 39 float table (the cepstral mean and variance
// normalisation of a long utterance), beside plain scalar loops of the same formulas
// (kept scalar), OpenBLAS sgemv with a ones vector for column sums (one thread), and
// a streaming read of the table that bounds what a single pass can reach.
#include <benchmark/benchmark.h>

#include <immintrin.h>

#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

namespace {

constexpr int kRows = 10000, kCols = 39;

struct Data {
    std::vector<float> table, weights, mean, invStd, out1, out2, ones;
    Data() : table(kRows * kCols), weights(kRows, 1.0f / kRows), mean(kCols, 0.0f), invStd(kCols, 1.0f),
             out1(kCols), out2(kCols), ones(kRows, 1.0f) {
        std::mt19937 g(5);
        std::uniform_real_distribution<float> d(-10.0f, 10.0f);
        for (float& x : table) x = d(g);
    }
};
Data& data() {
    static Data d;
    return d;
}

void count(benchmark::State& st) {
    st.SetItemsProcessed(st.iterations() * int64_t{kRows} * kCols);
    st.SetBytesProcessed(st.iterations() * int64_t{kRows} * kCols * 4);
}

#define SCALAR __attribute__((noinline, optimize("no-tree-vectorize")))

SCALAR void scalarSum(const float* t, float* s) {
    for (int j = 0; j < kCols; ++j) s[j] = 0.0f;
    for (int i = 0; i < kRows; ++i)
        for (int j = 0; j < kCols; ++j) s[j] += t[i * kCols + j];
}
SCALAR void scalarMeanVar(const float* t, float* m, float* v) {
    float s[kCols] = {}, q[kCols] = {};
    for (int i = 0; i < kRows; ++i)
        for (int j = 0; j < kCols; ++j) {
            const float x = t[i * kCols + j];
            s[j] += x;
            q[j] += x * x;
        }
    for (int j = 0; j < kCols; ++j) {
        m[j] = s[j] / kRows;
        v[j] = (q[j] - kRows * m[j] * m[j]) / (kRows - 1);
    }
}
SCALAR void scalarNormalize(float* t, const float* m, const float* is) {
    for (int i = 0; i < kRows; ++i)
        for (int j = 0; j < kCols; ++j) t[i * kCols + j] = (t[i * kCols + j] - m[j]) * is[j];
}
SCALAR void scalarWeightedMeanVar(const float* t, const float* w, float* m, float* v) {
    float s[kCols] = {}, q[kCols] = {};
    for (int i = 0; i < kRows; ++i)
        for (int j = 0; j < kCols; ++j) {
            const float wx = w[i] * t[i * kCols + j];
            s[j] += wx;
            q[j] += wx * t[i * kCols + j];
        }
    for (int j = 0; j < kCols; ++j) m[j] = s[j], v[j] = q[j] - s[j] * s[j];
}

void SumColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsSumColumn_32f_D2(d.table.data(), kCols, kRows, d.out1.data(), kCols);
        benchmark::DoNotOptimize(d.out1.data());
    }
    count(st);
}
void SumColumn_scalar(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        scalarSum(d.table.data(), d.out1.data());
        benchmark::DoNotOptimize(d.out1.data());
    }
    count(st);
}
#if defined(ZEMSR_BENCH_OPENBLAS)
void SumColumn_sgemv(benchmark::State& st) {
    Data& d = data();
    openblas_set_num_threads(1);
    for (auto _ : st) {
        cblas_sgemv(CblasRowMajor, CblasTrans, kRows, kCols, 1.0f, d.table.data(), kCols, d.ones.data(), 1, 0.0f,
                    d.out1.data(), 1);
        benchmark::DoNotOptimize(d.out1.data());
    }
    count(st);
}
BENCHMARK(SumColumn_sgemv);
#endif
void MeanColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsMeanColumn_32f_D2(d.table.data(), kRows, kCols, d.out1.data(), kCols);
        benchmark::DoNotOptimize(d.out1.data());
    }
    count(st);
}
void VarColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsVarColumn_32f_D2(d.table.data(), kRows, kCols, d.mean.data(), d.out1.data(), kCols);
        benchmark::DoNotOptimize(d.out1.data());
    }
    count(st);
}
void MeanVarColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsMeanVarColumn_32f_D2(d.table.data(), kRows, kCols, d.out1.data(), d.out2.data(), kCols);
        benchmark::DoNotOptimize(d.out2.data());
    }
    count(st);
}
void MeanVarColumn_scalar(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        scalarMeanVar(d.table.data(), d.out1.data(), d.out2.data());
        benchmark::DoNotOptimize(d.out2.data());
    }
    count(st);
}
// Mean 0 and inverse deviation 1 keep the table as it is from one iteration to the next.
void NormalizeColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsNormalizeColumn_32f_D2(d.table.data(), kCols, kRows, d.mean.data(), d.invStd.data(), kCols);
        benchmark::ClobberMemory();
    }
    count(st);
}
void NormalizeColumn_scalar(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        scalarNormalize(d.table.data(), d.mean.data(), d.invStd.data());
        benchmark::ClobberMemory();
    }
    count(st);
}
void WeightedMeanVarColumn_zemsr(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        zemsWeightedMeanVarColumn_32f_D2(d.table.data(), kCols, d.weights.data(), kRows, d.out1.data(), d.out2.data(),
                                         kCols);
        benchmark::DoNotOptimize(d.out2.data());
    }
    count(st);
}
void WeightedMeanVarColumn_scalar(benchmark::State& st) {
    Data& d = data();
    for (auto _ : st) {
        scalarWeightedMeanVar(d.table.data(), d.weights.data(), d.out1.data(), d.out2.data());
        benchmark::DoNotOptimize(d.out2.data());
    }
    count(st);
}
// The table read once with four independent vector sums: the streaming time of the table.
#if defined(__AVX__)
void StreamTable(benchmark::State& st) {
    Data& d = data();
    const float* t = d.table.data();
    const int n = kRows * kCols;
    for (auto _ : st) {
        __m256 a = _mm256_setzero_ps(), b = a, c = a, e = a;
        int i = 0;
        for (; i + 32 <= n; i += 32) {
            a = _mm256_add_ps(a, _mm256_loadu_ps(t + i));
            b = _mm256_add_ps(b, _mm256_loadu_ps(t + i + 8));
            c = _mm256_add_ps(c, _mm256_loadu_ps(t + i + 16));
            e = _mm256_add_ps(e, _mm256_loadu_ps(t + i + 24));
        }
        __m256 s = _mm256_add_ps(_mm256_add_ps(a, b), _mm256_add_ps(c, e));
        benchmark::DoNotOptimize(s);
    }
    count(st);
}
BENCHMARK(StreamTable);
#endif

BENCHMARK(SumColumn_zemsr);
BENCHMARK(SumColumn_scalar);
BENCHMARK(MeanColumn_zemsr);
BENCHMARK(VarColumn_zemsr);
BENCHMARK(MeanVarColumn_zemsr);
BENCHMARK(MeanVarColumn_scalar);
BENCHMARK(NormalizeColumn_zemsr);
BENCHMARK(NormalizeColumn_scalar);
BENCHMARK(WeightedMeanVarColumn_zemsr);
BENCHMARK(WeightedMeanVarColumn_scalar);

}  // namespace
