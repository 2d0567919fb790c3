// Linear prediction of a frame: the autocorrelation method (Levinson-Durbin), the
// covariance method (a packed triangular factorisation) and the Schur recursion.  All
// arithmetic is in float except the covariance matrix, whose float products are summed
// in double.  The 16-bit forms convert around the float bodies.
//
// Sign convention: a[] are the coefficients of A(z) = 1 + a[0] z^-1 + ... ; the Neg forms
// and the covariance method give the predictor, -a.
#include <cstdint>

#include "frame/check.h"
#include "frontend/lpshared.h"
#include "own.h"
#include "zemsr.h"

namespace {

using zem::Scratch;
using zem::lp::placeBy;

// Outcome of the recursion: its status and how many leading coefficients it committed
// (all of them on success, the stages before the refused one otherwise).
struct Solved {
    ZemStatus status;
    int written;
};

// Levinson-Durbin over r[0..order].  The test of E follows its update, so a reflection
// coefficient of magnitude one or more is refused at its own stage and that stage's
// coefficients are not committed.  t holds order + 1 floats.
Solved levinson(const float* r, float* a, int order, float* err, float* t) {
    float e = r[0];
    if (!(e > 0.0f)) return {zemStatusBadAutocorr, 0};
    float k = r[1] / e;
    e = e * (1.0f - k * k);
    if (!(e > 0.0f)) return {zemStatusBadAutocorr, 0};
    a[0] = -k;
    for (int m = 2; m <= order; ++m) {
        float acc = r[m];
        for (int i = 1; i < m; ++i) acc = acc + r[m - i] * a[i - 1];
        k = acc / e;
        e = e * (1.0f - k * k);
        if (!(e > 0.0f)) return {zemStatusBadAutocorr, m - 1};
        for (int i = 1; i < m; ++i) t[i] = a[i - 1] - a[m - i - 1] * k;
        t[m] = -k;
        for (int i = 1; i <= m; ++i) a[i - 1] = t[i];
    }
    *err = e;
    return {zemStatusOk, order};
}

// The scratch of the recursion is on the stack below order 64.
Solved durbin(const float* r, float* a, int order, float* err) {
    Scratch<float, 64> t(int64_t{order} + 1);
    if (!t.ok()) return {zemStatusNoMemory, 0};
    return levinson(r, a, order, err, t.data());
}

// Autocorrelation for order + 1 lags (on the stack below order 63), then the recursion.
Solved autoMethod(const float* src, int len, float* a, int order) {
    Scratch<float, 63> r(int64_t{order} + 1);
    if (!r.ok()) return {zemStatusNoMemory, 0};
    if (const ZemStatus s = ownAutoCorr_32f(src, len, r.data(), order + 1); s != zemStatusOk) return {s, 0};
    float err;
    return durbin(r.data(), a, order, &err);
}

// Negation on the sign bits, so that the result is that of -x for every value.
void negate(float* v, int n) {
    for (int i = 0; i < n; ++i) v[i] = -v[i];
}

// Schur recursion over r[0..order]: reflection coefficients without the predictor and
// without a stability test.  Three work vectors sit on the stack below order 1024.
ZemStatus schur(const float* r, float* k, int order, float* err) {
    Scratch<float, 3 * 1024> work(3 * (int64_t{order} + 1));
    if (!work.ok()) return zemStatusNoMemory;
    float* u = work.data();  // u[1..order]
    float* v = u + order + 1;
    float* kk = v + order + 1;
    v[1] = r[0];
    for (int i = 1; i < order; ++i) u[i] = v[i + 1] = r[i];
    u[order] = r[order];
    for (int m = 1; m <= order; ++m) {
        const float km = -u[m] / v[m];
        kk[m] = km;
        for (int j = order; j > m; --j) {
            u[j] = u[j] + km * v[j];
            v[j] = km * u[j - 1] + v[j - 1];
        }
    }
    for (int i = 0; i < order; ++i) k[i] = kk[i + 1];
    *err = kk[order] * u[order] + v[order];
    return zemStatusOk;
}

// Covariance method.  One block holds three packed triangles and four vectors, sized
// 3 T + 4 ceil4(p + 3) elements with T = (p^2 - p)/2 rounded up to a multiple of 4.
ZemStatus covariance(const float* x, int len, float* dst, int p) {
    const int64_t tri = ((int64_t{p} * p - p) / 2 + 3) & ~int64_t{3};
    const int64_t vec = (int64_t{p} + 3 + 3) & ~int64_t{3};
    zem::HeapScratch<float> block(3 * tri + 4 * vec);
    if (3 * tri + 4 * vec < 1 || !block.ok()) return zemStatusNoMemory;
    float* phi = block.data();  // strictly lower phi(i, j), packed by rows from row 2
    float* lp = phi + tri;      // strictly lower L, packed the same way
    float* psi = lp + 2 * tri;  // psi[1..p], then y in place
    float* diag = psi + vec;    // phi(i, i) for i = 1..p
    float* d = diag + vec;      // D[1..p]
    float* w = d + vec;         // w[1..p]
    auto at = [](int64_t i, int64_t j) { return (i - 2) * (i - 1) / 2 + (j - 1); };  // (i, j), j < i

    for (int m = 1; m <= p; ++m) {
        float s = 0.0f;
        for (int64_t n = 0; n < int64_t{len} - m; ++n) s = s + x[n] * x[n + m];
        psi[m] = s;
    }
    for (int i = 1; i <= p; ++i)
        for (int j = 1; j <= i; ++j) {
            double s = 0.0;
            for (int64_t n = 0; n < int64_t{len} - i; ++n) s += static_cast<double>(x[n] * x[n + i - j]);
            (j == i ? diag[i] : phi[at(i, j)]) = static_cast<float>(s);
        }

    d[1] = diag[1];
    for (int i = 2; i <= p; ++i) {
        for (int j = 1; j < i; ++j) {
            // Reads the packed array from its start for every j, not row j of L: the
            // defined result, kept as it is.
            float s = phi[at(i, j)];
            for (int m = 1; m < j; ++m) s = s - w[m] * lp[m - 1];
            const float l = s / d[j];
            lp[at(i, j)] = l;
            w[j] = l * d[j];
        }
        float s = diag[i];
        for (int m = 1; m < i; ++m) s = s - w[m] * lp[at(i, m)];
        d[i] = s;
    }
    for (int i = 1; i <= p; ++i) {
        float s = psi[i];
        for (int m = 1; m < i; ++m) s = s - lp[at(i, m)] * psi[m];
        psi[i] = s;
    }
    for (int i = p; i >= 1; --i) {
        float s = psi[i] / d[i];
        for (int m = i + 1; m <= p; ++m) s = s - lp[at(m, i)] * dst[m - 1];
        dst[i - 1] = s;
    }
    return zemStatusOk;
}

ZemStatus checkAnalysis(const void* src, int len, const void* dst, int order) {
    return zem::firstFailure(zem::nonNull(dst, src), zem::atLeastOne(len, order),
                             zem::ensure(order <= len, zemStatusBadSize));
}

ZemStatus checkRecursion(const void* src, const void* dst, int order, const void* err) {
    // The size test stands between the two tests for null.
    return zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(order), zem::nonNull(err));
}

// The three forms of the 16-bit autocorrelation method.
enum class AutoForm { kPlain, kNegated };

template <AutoForm Form>
ZemStatus autoMethod16(const Zem16s* src, int len, Zem16s* dst, int order, int scaleFactor) {
    const bool small = len < 64 && order < 64;
    Scratch<float, 128> work(placeBy(small, int64_t{len} + order, 128));
    if (!work.ok()) return zemStatusNoMemory;
    float* x = work.data();
    float* a = x + len;
    ownConvert_16s32f(src, x, len);
    const Solved s = autoMethod(x, len, a, order);
    if constexpr (Form == AutoForm::kNegated) {
        // Returns before negation and conversion when the float step fails.
        if (s.status != zemStatusOk) return s.status;
        negate(a, order);
    }
    if (s.written > 0) ownConvert_32f16s_Sfs(a, dst, s.written, 1, scaleFactor);
    return s.status;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsLinearPrediction_Auto_32f(const Zem32f* src, int len, Zem32f* dst, int order) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    return autoMethod(src, len, dst, order).status;
}

ZEMSR_API ZemStatus zemsLinearPredictionNeg_Auto_32f(const Zem32f* src, int len, Zem32f* dst, int order) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    const Solved s = autoMethod(src, len, dst, order);
    negate(dst, s.written);  // the partial solution of a refused stage is negated too
    return s.status;
}

ZEMSR_API ZemStatus zemsLinearPrediction_Cov_32f(const Zem32f* src, int len, Zem32f* dst, int order) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    return covariance(src, len, dst, order);
}

ZEMSR_API ZemStatus zemsLinearPrediction_Auto_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                      int scaleFactor) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    return autoMethod16<AutoForm::kPlain>(src, len, dst, order, scaleFactor);
}

ZEMSR_API ZemStatus zemsLinearPredictionNeg_Auto_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                         int scaleFactor) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    return autoMethod16<AutoForm::kNegated>(src, len, dst, order, scaleFactor);
}

ZEMSR_API ZemStatus zemsLinearPrediction_Cov_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                     int scaleFactor) {
    if (const ZemStatus s = checkAnalysis(src, len, dst, order)) return s;
    zem::HeapScratch<float> work(int64_t{len} + order);
    if (!work.ok()) return zemStatusNoMemory;
    ownConvert_16s32f(src, work.data(), len);
    const ZemStatus s = covariance(work.data(), len, work.data() + len, order);
    if (s != zemStatusNoMemory) ownConvert_32f16s_Sfs(work.data() + len, dst, order, 1, scaleFactor);
    return s;
}

ZEMSR_API ZemStatus zemsDurbin_32f(const Zem32f* src, Zem32f* dst, int order, Zem32f* err) {
    if (const ZemStatus s = checkRecursion(src, dst, order, err)) return s;
    return durbin(src, dst, order, err).status;
}

ZEMSR_API ZemStatus zemsDurbin_16s_Sfs(const Zem16s* src, Zem16s* dst, int order, Zem32f* err, int scaleFactor) {
    if (const ZemStatus s = checkRecursion(src, dst, order, err)) return s;
    Scratch<float, 128> work(placeBy(order < 64, 2 * int64_t{order} + 1, 128));
    if (!work.ok()) return zemStatusNoMemory;
    float* r = work.data();
    float* a = r + order + 1;
    ownConvert_16s32f(src, r, order + 1);
    const Solved s = durbin(r, a, order, err);
    if (s.written > 0) ownConvert_32f16s_Sfs(a, dst, s.written, 1, scaleFactor);
    return s.status;
}

ZEMSR_API ZemStatus zemsSchur_32f(const Zem32f* src, Zem32f* dst, int order, Zem32f* err) {
    if (const ZemStatus s = checkRecursion(src, dst, order, err)) return s;
    return schur(src, dst, order, err);
}

ZEMSR_API ZemStatus zemsSchur_16s_Sfs(const Zem16s* src, Zem16s* dst, int order, Zem32f* err, int scaleFactor) {
    if (const ZemStatus s = checkRecursion(src, dst, order, err)) return s;
    Scratch<float, 2 * 1024> work(2 * int64_t{order} + 1);
    if (!work.ok()) return zemStatusNoMemory;
    float* r = work.data();
    float* k = r + order + 1;
    ownConvert_16s32f(src, r, order + 1);
    float e;
    const ZemStatus s = schur(r, k, order, &e);
    if (s != zemStatusOk) return s;
    ownConvert_32f16s_Sfs(k, dst, order, 1, scaleFactor);
    *err = e;
    return zemStatusOk;
}

}  // extern "C"
