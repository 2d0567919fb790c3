// Matrix products and the singular value decomposition beside plain loops and, when
// installed, OpenBLAS sgemv and LAPACK dgesvd / dgesdd on one thread.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zemsr.h"

#if defined(ZEMSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

#if defined(ZEMSR_BENCH_LAPACK)
extern "C" {
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info);
void dgesdd_(const char* jobz, const int* m, const int* n, double* a, const int* lda, double* s, double* u,
             const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* iwork, int* info);
}
#endif

namespace {

template <class T>
std::vector<T> randomValues(size_t n, uint32_t seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<double> d(-1, 1);
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(d(g));
    return v;
}

// ---- Matrix times vector, rows of 39 features ----------------------------------------

constexpr int kWidth = 39;

struct Product {
    int height;
    std::vector<float> matrix, vec, out;
    explicit Product(int h)
        : height(h), matrix(randomValues<float>(size_t(h) * kWidth, 1)), vec(randomValues<float>(kWidth, 2)), out(h) {}
};

template <class Body>
void measureProduct(benchmark::State& state, Body body) {
    Product p(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        body(p);
        benchmark::DoNotOptimize(p.out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t{p.height} * kWidth);
}

void BM_MatVecMul_32f_D2(benchmark::State& state) {
    measureProduct(state, [](Product& p) {
        zemsMatVecMul_32f_D2(p.matrix.data(), kWidth, p.vec.data(), kWidth, p.out.data(), p.height);
    });
}

void BM_MatVecMul_ScalarLoop(benchmark::State& state) {
    measureProduct(state, [](Product& p) {
        for (int r = 0; r < p.height; ++r) {
            float s = 0;
            for (int j = 0; j < kWidth; ++j) s += p.matrix[r * kWidth + j] * p.vec[j];
            p.out[r] = s;
        }
    });
}
BENCHMARK(BM_MatVecMul_32f_D2)->Arg(39)->Arg(1000);
BENCHMARK(BM_MatVecMul_ScalarLoop)->Arg(39)->Arg(1000);

#if defined(ZEMSR_BENCH_OPENBLAS)
void BM_MatVecMul_OpenBLAS_sgemv(benchmark::State& state) {
    openblas_set_num_threads(1);
    measureProduct(state, [](Product& p) {
        cblas_sgemv(CblasRowMajor, CblasNoTrans, p.height, kWidth, 1.0f, p.matrix.data(), kWidth, p.vec.data(), 1,
                    0.0f, p.out.data(), 1);
    });
}
BENCHMARK(BM_MatVecMul_OpenBLAS_sgemv)->Arg(39)->Arg(1000);
#endif

// ---- Singular value decomposition ------------------------------------------------------

// U (m x n), W and V (n x n) of a random m x n matrix; LAPACK's thin U and V^T alike.
struct Decomposition {
    int m, n;
    std::vector<double> a, u, w, v, work;
    std::vector<int> iwork;
    Decomposition(int m, int n)
        : m(m), n(n), a(randomValues<double>(size_t(m) * n, 3)), u(a.size()), w(n), v(size_t(n) * n),
          iwork(8 * size_t(n)) {}
};

void BM_SVD_64f_D2(benchmark::State& state) {
    Decomposition d(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        const ZemStatus s = zemsSVD_64f_D2(d.a.data(), d.u.data(), d.m, d.w.data(), d.v.data(), d.n, d.n, 100);
        benchmark::DoNotOptimize(s);
        benchmark::DoNotOptimize(d.w.data());
    }
}
BENCHMARK(BM_SVD_64f_D2)->Args({39, 39})->Args({100, 100})->Args({400, 200})->Unit(benchmark::kMicrosecond);

#if defined(ZEMSR_BENCH_LAPACK)
// LAPACK is column-major: it decomposes the row-major matrix's transpose, n x m, whose
// singular values are the same; both sides copy the input once per call.
template <bool DivideAndConquer>
void lapackSvd(benchmark::State& state) {
#if defined(ZEMSR_BENCH_OPENBLAS)
    openblas_set_num_threads(1);
#endif
    Decomposition d(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const int rows = d.n, cols = d.m, k = d.n;  // the transpose: n x m, thin factors of n
    std::vector<double> work = d.a;
    int lwork = -1, info = 0;
    double query = 0;
    const char job = 'S';
    if (DivideAndConquer)
        dgesdd_(&job, &rows, &cols, work.data(), &rows, d.w.data(), d.v.data(), &rows, d.u.data(), &k, &query, &lwork,
                d.iwork.data(), &info);
    else
        dgesvd_(&job, &job, &rows, &cols, work.data(), &rows, d.w.data(), d.v.data(), &rows, d.u.data(), &k, &query,
                &lwork, &info);
    lwork = static_cast<int>(query);
    d.work.resize(lwork);
    for (auto _ : state) {
        work = d.a;
        if (DivideAndConquer)
            dgesdd_(&job, &rows, &cols, work.data(), &rows, d.w.data(), d.v.data(), &rows, d.u.data(), &k,
                    d.work.data(), &lwork, d.iwork.data(), &info);
        else
            dgesvd_(&job, &job, &rows, &cols, work.data(), &rows, d.w.data(), d.v.data(), &rows, d.u.data(), &k,
                    d.work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
        benchmark::DoNotOptimize(d.w.data());
    }
}
void BM_SVD_LAPACK_dgesvd(benchmark::State& state) { lapackSvd<false>(state); }
void BM_SVD_LAPACK_dgesdd(benchmark::State& state) { lapackSvd<true>(state); }
BENCHMARK(BM_SVD_LAPACK_dgesvd)->Args({39, 39})->Args({100, 100})->Args({400, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SVD_LAPACK_dgesdd)->Args({39, 39})->Args({100, 100})->Args({400, 200})->Unit(benchmark::kMicrosecond);
#endif

}  // namespace
