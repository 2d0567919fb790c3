// Accumulation and re-estimation over 10000 frames of 39 features: weighted statistics,
// column sums, the covariance matrix and one EM iteration of a 64-component mixture, each
// beside a plain scalar loop of the same formula (compiled without vectorisation) and,
// for the covariance, OpenBLAS dsyrk on the centred frames (single thread).  Throughput
// in frame-features per ns (elements of the table per ns).
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

#define ZEM_PLAIN __attribute__((optimize("no-tree-vectorize"), noinline))

namespace {

constexpr int kD = 39, kT = 10000, kK = 64;

struct Data {
    std::vector<float> x, mean, weight;
    Data() : x(size_t(kT) * kD), mean(kD), weight(kT) {
        std::mt19937 g(5);
        std::normal_distribution<float> n(0, 1);
        std::uniform_real_distribution<float> u(0, 1);
        for (auto& v : x) v = n(g);
        for (auto& v : mean) v = 0.1f * n(g);
        for (auto& v : weight) v = u(g);
    }
};
const Data& data() {
    static Data d;
    return d;
}

void counters(benchmark::State& st, double elements) {
    st.counters["elem/ns"] = benchmark::Counter(elements * double(st.iterations()) * 1e-9, benchmark::Counter::kIsRate);
}

ZEM_PLAIN void plainMeanVarAcc(const float* x, const float* m, float* ma, float* va, int len, float w) {
    for (int i = 0; i < len; ++i) {
        const float d = x[i] - m[i], t = d * w;
        ma[i] += t;
        va[i] += d * t;
    }
}

void BM_MeanVarAcc_32f(benchmark::State& st) {
    std::vector<float> ma(kD), va(kD);
    for (auto _ : st)
        for (int t = 0; t < kT; ++t)
            zemsMeanVarAcc_32f(&data().x[size_t(t) * kD], data().mean.data(), ma.data(), va.data(), kD, data().weight[t]);
    benchmark::DoNotOptimize(ma.data());
    counters(st, double(kT) * kD);
}
void BM_MeanVarAcc_plain(benchmark::State& st) {
    std::vector<float> ma(kD), va(kD);
    for (auto _ : st)
        for (int t = 0; t < kT; ++t)
            plainMeanVarAcc(&data().x[size_t(t) * kD], data().mean.data(), ma.data(), va.data(), kD, data().weight[t]);
    benchmark::DoNotOptimize(ma.data());
    counters(st, double(kT) * kD);
}

ZEM_PLAIN void plainSumMeanVar(const float* x, int height, int width, float* s, float* q) {
    for (int j = 0; j < width; ++j) s[j] = q[j] = 0;
    for (int r = 0; r < height; ++r)
        for (int j = 0; j < width; ++j) {
            const float v = x[size_t(r) * width + j];
            s[j] += v;
            q[j] += v * v;
        }
}

void BM_SumMeanVar_32f(benchmark::State& st) {
    std::vector<float> s(kD), q(kD);
    for (auto _ : st) zemsSumMeanVar_32f(data().x.data(), kD, kT, s.data(), q.data(), kD);
    benchmark::DoNotOptimize(s.data());
    counters(st, double(kT) * kD);
}
void BM_SumMeanVar_plain(benchmark::State& st) {
    std::vector<float> s(kD), q(kD);
    for (auto _ : st) plainSumMeanVar(data().x.data(), kT, kD, s.data(), q.data());
    benchmark::DoNotOptimize(s.data());
    counters(st, double(kT) * kD);
}

ZEM_PLAIN void plainCovariance(const float* x, int height, const float* m, double* c, int w) {
    double d[kD];
    for (int r = 0; r < height; ++r) {
        for (int j = 0; j < w; ++j) d[j] = double(x[size_t(r) * w + j]) - m[j];
        for (int i = 0; i < w; ++i)
            for (int j = 0; j <= i; ++j) c[i * w + j] += d[i] * d[j];
    }
}

void BM_AccCovariance_32f64f_D2(benchmark::State& st) {
    std::vector<double> c(kD * kD);
    for (auto _ : st)
        zemsAccCovarianceMatrix_32f64f_D2(data().x.data(), kD, kT, data().mean.data(), c.data(), kD, kD, 1.0);
    benchmark::DoNotOptimize(c.data());
    counters(st, double(kT) * kD);
}
void BM_AccCovariance_plain(benchmark::State& st) {
    std::vector<double> c(kD * kD);
    for (auto _ : st) plainCovariance(data().x.data(), kT, data().mean.data(), c.data(), kD);
    benchmark::DoNotOptimize(c.data());
    counters(st, double(kT) * kD);
}
#if defined(ZEMSR_BENCH_OPENBLAS)
// The same job through BLAS: centre and widen the frames, then C += D^T D (lower).
void BM_AccCovariance_openblas_dsyrk(benchmark::State& st) {
    openblas_set_num_threads(1);
    std::vector<double> c(kD * kD), d(size_t(kT) * kD);
    for (auto _ : st) {
        for (size_t k = 0; k < d.size(); ++k) d[k] = double(data().x[k]) - data().mean[k % kD];
        cblas_dsyrk(CblasRowMajor, CblasLower, CblasTrans, kD, kT, 1.0, d.data(), kD, 1.0, c.data(), kD);
    }
    benchmark::DoNotOptimize(c.data());
    counters(st, double(kT) * kD);
}
BENCHMARK(BM_AccCovariance_openblas_dsyrk)->Unit(benchmark::kMicrosecond);
#endif

// One EM iteration of a 64-component diagonal mixture: per frame the component scores, the
// posteriors by the log sum, the weighted statistics; then the updates.
struct Model {
    std::vector<float> mean, ivar, var, val, weight, floor;
    Model() : mean(kK * kD), ivar(kK * kD, 1.0f), var(kK * kD, 1.0f), val(kK, -40.0f), weight(kK, 1.0f / kK), floor(kD, 1e-3f) {
        for (int k = 0; k < kK; ++k)
            for (int i = 0; i < kD; ++i) mean[k * kD + i] = data().x[size_t(k * 97) * kD + i];
    }
};

void BM_EMIteration_library(benchmark::State& st) {
    Model m;
    std::vector<float> ma(kK * kD), va(kK * kD), occ(kK), score(kK);
    for (auto _ : st) {
        std::fill(ma.begin(), ma.end(), 0.0f), std::fill(va.begin(), va.end(), 0.0f), std::fill(occ.begin(), occ.end(), 0.0f);
        for (int t = 0; t < kT; ++t) {
            const float* x = &data().x[size_t(t) * kD];
            float total;
            std::copy(m.val.begin(), m.val.end(), score.begin());
            zemsLogGaussMultiMix_32f_D2(m.mean.data(), m.ivar.data(), kD, x, kD, score.data(), kK);
            zemsLogSum_32f(score.data(), &total, kK);
            for (int k = 0; k < kK; ++k) {
                const float p = std::exp(score[k] - total);
                occ[k] += p;
                zemsMeanVarAcc_32f(x, &m.mean[k * kD], &ma[k * kD], &va[k * kD], kD, p);
            }
        }
        Model next = m;
        for (int k = 0; k < kK; ++k) {
            zemsUpdateVar_32f(&ma[k * kD], &va[k * kD], m.floor.data(), &next.var[k * kD], kD, occ[k], occ[k]);
            zemsUpdateMean_32f(&ma[k * kD], &next.mean[k * kD], kD, occ[k]);
        }
        float sum;
        zemsUpdateWeight_32f(occ.data(), next.weight.data(), kK, &sum, float(kT), 1e-4f);
        benchmark::DoNotOptimize(next.mean.data());
    }
    counters(st, double(kT) * kD * kK);
}

ZEM_PLAIN void plainEM(const Model& m, std::vector<double>& s1, std::vector<double>& s2, std::vector<double>& occ) {
    std::vector<double> score(kK);
    for (int t = 0; t < kT; ++t) {
        const float* x = &data().x[size_t(t) * kD];
        double best = -1e300;
        for (int k = 0; k < kK; ++k) {
            double s = m.val[k];
            for (int i = 0; i < kD; ++i) {
                const double e = x[i] - m.mean[k * kD + i];
                s -= 0.5 * e * e * m.ivar[k * kD + i];
            }
            score[k] = s;
            best = s > best ? s : best;
        }
        double total = 0;
        for (int k = 0; k < kK; ++k) total += score[k] = std::exp(score[k] - best);
        for (int k = 0; k < kK; ++k) {
            const double p = score[k] / total;
            occ[k] += p;
            for (int i = 0; i < kD; ++i) s1[k * kD + i] += p * x[i], s2[k * kD + i] += p * x[i] * x[i];
        }
    }
}

void BM_EMIteration_plain(benchmark::State& st) {
    Model m;
    std::vector<double> s1(kK * kD), s2(kK * kD), occ(kK);
    for (auto _ : st) {
        std::fill(s1.begin(), s1.end(), 0.0), std::fill(s2.begin(), s2.end(), 0.0), std::fill(occ.begin(), occ.end(), 0.0);
        plainEM(m, s1, s2, occ);
        benchmark::DoNotOptimize(s1.data());
    }
    counters(st, double(kT) * kD * kK);
}

}  // namespace

BENCHMARK(BM_MeanVarAcc_32f)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MeanVarAcc_plain)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SumMeanVar_32f)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SumMeanVar_plain)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AccCovariance_32f64f_D2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AccCovariance_plain)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EMIteration_library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EMIteration_plain)->Unit(benchmark::kMillisecond);
