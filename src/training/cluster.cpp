// Gaussian clustering: the likelihood distance of two weighted diagonal Gaussians and
// their merge, the split of one Gaussian in two, the Bhattacharyya distance, and the
// statistics and log-likelihood of a cluster.  Means and variances are arrays of len.
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include "frame/align.h"
#include "frame/check.h"
#include "training/logsum.h"

namespace {

using zem::atLeastOne;
using zem::ensure;
using zem::firstFailure;
using zem::nonNull;
namespace tr = zem::training;

template <class T>
constexpr bool kIsFloat = std::is_same_v<T, float>;

// ---- Weighted merge -------------------------------------------------------------------------

// The merged mean and variance of element i, in double; W is weight1 + weight2, rounded
// to float in the float forms.
template <class T>
struct Merge {
    const T *mean1, *var1, *mean2, *var2;
    double w1, w2, W;

    Merge(const T* m1, const T* v1, const T* m2, const T* v2, T weight1, T weight2)
        : mean1(m1), var1(v1), mean2(m2), var2(v2), w1(weight1), w2(weight2),
          W(static_cast<T>(weight1 + weight2)) {}

    double mean(int i) const {
        return (w1 * static_cast<double>(mean1[i]) + w2 * static_cast<double>(mean2[i])) / W;
    }
    double var(int i, double m) const {
        const double a = static_cast<double>(mean1[i]), b = static_cast<double>(mean2[i]);
        return ((a * a + static_cast<double>(var1[i])) * w1 + (b * b + static_cast<double>(var2[i])) * w2) / W - m * m;
    }
    double var(int i) const { return var(i, mean(i)); }
};

template <class T>
ZemStatus badLog(tr::LogKind kind, T* out) {
    *out = kind == tr::LogKind::Zero ? std::numeric_limits<T>::infinity() : tr::negativeLogNaN<T>();
    return tr::logKindStatus<T>(kind);
}

// dist = weight1 gconst1 + weight2 gconst2 - W (n ln(2 pi) - L), L the log-sum of the
// merged variances.  The float form sums the two products in float and rounds the end.
template <class T>
ZemStatus gaussianDist(const T* mean1, const T* var1, const T* mean2, const T* var2, int len, T* dist, T weight1,
                       T gconst1, T weight2, T gconst2) {
    const Merge<T> g(mean1, var1, mean2, var2, weight1, weight2);
    const tr::LogSum L = tr::checkedLogSum<double>(len, [&](int64_t i) { return g.var(static_cast<int>(i)); });
    if (L.kind != tr::LogKind::Finite) return badLog(L.kind, dist);
    const double rest = g.W * (static_cast<double>(len) * tr::kLn2Pi - L.sum);
    if constexpr (kIsFloat<T>) {
        const float a = weight1 * gconst1 + weight2 * gconst2;
        *dist = static_cast<float>(static_cast<double>(a) - rest);
    } else {
        *dist = weight1 * gconst1 + weight2 * gconst2 - rest;
    }
    return zemStatusOk;
}

// The float form goes element by element, storing each mean and variance and stopping
// at the first zero or negative variance, so later elements stay unwritten; the double
// form writes every element and then takes the log-sum.
template <class T>
ZemStatus gaussianMerge(const T* mean1, const T* var1, const T* mean2, const T* var2, T* dstMean, T* dstVar, int len,
                        T* dstGconst, T weight1, T weight2) {
    const Merge<T> g(mean1, var1, mean2, var2, weight1, weight2);
    tr::LogSum L{0.0, tr::LogKind::Finite};
    if constexpr (kIsFloat<T>) {
        for (int i = 0; i < len; ++i) {
            const double m = g.mean(i), v = g.var(i, m);
            dstMean[i] = static_cast<T>(m);
            dstVar[i] = static_cast<T>(v);
            const tr::LogSum one = tr::checkedLogSum<double>(1, [&](int64_t) { return v; });
            if (one.kind != tr::LogKind::Finite) return badLog(one.kind, dstGconst);
            L.sum += one.sum;
        }
    } else {
        for (int i = 0; i < len; ++i) {
            const double m = g.mean(i);
            dstMean[i] = m;
            dstVar[i] = g.var(i, m);
        }
        L = tr::checkedLogSum<double>(len, [&](int64_t i) { return g.var(static_cast<int>(i)); });
        if (L.kind != tr::LogKind::Finite) return badLog(L.kind, dstGconst);
    }
    *dstGconst = static_cast<T>(static_cast<double>(len) * tr::kLn2Pi - L.sum);
    return zemStatusOk;
}

// t = val sqrt(var1): in float with 16-byte aligned arrays, otherwise in double from the
// variance and rounded; the two may differ in the last bit, on purpose.
template <class T>
void gaussianSplit(T* mean1, const T* var1, T* mean2, T* var2, int len, T val) {
    const bool floatRoot = kIsFloat<T> && zem::allAligned16(mean1, var1, mean2, var2);
    for (int i = 0; i < len; ++i) {
        T t;
        if (floatRoot) t = val * static_cast<T>(std::sqrt(static_cast<float>(var1[i])));
        else t = static_cast<T>(static_cast<double>(val) * std::sqrt(static_cast<double>(var1[i])));
        mean2[i] = mean1[i] - t;
        mean1[i] = mean1[i] + t;
        var2[i] = var1[i];
    }
}

// ---- Bhattacharyya ---------------------------------------------------------------------------

// The four arrays in groups of four elements, then one by one: a negative anywhere in the
// group wins over a zero in it.  Means are tested like variances.
template <class T>
tr::LogKind scanBhat(const T* m1, const T* v1, const T* m2, const T* v2, int len) {
    auto group = [&](int i0, int n) {
        bool zero = false;
        for (int i = i0; i < i0 + n; ++i)
            for (const T x : {m1[i], v1[i], m2[i], v2[i]}) {
                if (x < T(0)) return tr::LogKind::Negative;
                zero = zero || x == T(0);
            }
        return zero ? tr::LogKind::Zero : tr::LogKind::Finite;
    };
    int i = 0;
    for (; i + 4 <= len; i += 4)
        if (const tr::LogKind k = group(i, 4); k != tr::LogKind::Finite) return k;
    for (; i < len; ++i)
        if (const tr::LogKind k = group(i, 1); k != tr::LogKind::Finite) return k;
    return tr::LogKind::Finite;
}

// Q = sum of (mean1 - mean2)^2 / (var1 + var2), in the accumulator type A.
template <class A, class T>
A bhatQ(const T* m1, const T* v1, const T* m2, const T* v2, int len) {
    A q = A(0);
    for (int i = 0; i < len; ++i) {
        const A d = static_cast<A>(m1[i]) - static_cast<A>(m2[i]);
        q += d * d / (static_cast<A>(v1[i]) + static_cast<A>(v2[i]));
    }
    return q;
}

// The ratio of the plain distance, (v1 + v2)^2 / (v1 v2), or the sum of the SLog form.
template <class A, bool SLog>
A bhatFactor(float a, float b) {
    const A s = static_cast<A>(a) + static_cast<A>(b);
    if constexpr (SLog) return s;
    else return s * s / (static_cast<A>(a) * static_cast<A>(b));
}

// The double forms multiply the factors in groups of four (len / 4 groups, at least one;
// the last len % 4 factors go into the last group) and take the log-sum of the products.
template <bool SLog>
tr::LogSum groupedLogSum(const float* v1, const float* v2, int len) {
    const int groups = len / 4 > 0 ? len / 4 : 1;
    auto product = [&](int64_t g) {
        const int end = g == groups - 1 ? len : static_cast<int>(g) * 4 + 4;
        double p = 1.0;
        for (int i = static_cast<int>(g) * 4; i < end; ++i) p *= bhatFactor<double, SLog>(v1[i], v2[i]);
        return p;
    };
    return tr::checkedLogSum<double>(groups, product);
}

// dist for the plain (SLog false) and SLog forms; sumLogTerm is (sumLog1 + sumLog2) * 0.25
// rounded to float, used by SLog only.
template <class D, bool SLog>
ZemStatus bhatDist(const float* m1, const float* v1, const float* m2, const float* v2, int len, D* dist,
                   float sumLogTerm) {
    if (const tr::LogKind k = scanBhat(m1, v1, m2, v2, len); k != tr::LogKind::Finite) return badLog(k, dist);
    tr::LogSum S;
    if constexpr (kIsFloat<D>) {
        S = tr::checkedLogSum<float>(len, [&](int64_t i) { return bhatFactor<float, SLog>(v1[i], v2[i]); });
    } else {
        S = groupedLogSum<SLog>(v1, v2, len);
    }
    if (S.kind != tr::LogKind::Finite) return badLog(S.kind, dist);
    const D q = bhatQ<D>(m1, v1, m2, v2, len), n = static_cast<D>(len), s = static_cast<D>(S.sum);
    if constexpr (SLog) *dist = (s - n * D(0.693147)) * D(0.5) - static_cast<D>(sumLogTerm) + q * D(0.25);
    else if constexpr (kIsFloat<D>) *dist = (s * 0.5f - n * 1.386294f * 0.5f) * 0.5f + q * 0.25f;
    else *dist = (s - n * 1.386294) * 0.5 * 0.5 + q * 0.25;
    return zemStatusOk;
}

// ---- Cluster statistics -----------------------------------------------------------------------

template <class T, bool DirectVar>
void dcsAccumulate(const T* mean, const T* var, T* dstSum, T* dstSumSq, int len, T val) {
    for (int i = 0; i < len; ++i) {
        const T m = mean[i];
        dstSum[i] = val * m;
        if constexpr (DirectVar) dstSumSq[i] = val * (m * m + var[i]);
        else dstSumSq[i] = val * (T(1) / var[i] + m * m);
    }
}

// dst = occ / 2 (n (2 ln occ - 1 - ln(2 pi)) - sum of ln(occ sumSq - sum^2)), with -1e10
// written first; a zero t is remembered and the scan goes on, a negative one ends it.
template <class T>
ZemStatus dcsCompute(const T* sum, const T* sumSq, int len, Zem64f* dst, double occ) {
    *dst = -1e10;
    if (occ == 0.0) return zemStatusZeroOccupancyWarning;
    const double g = std::log(occ);
    double total = 0.0;
    bool zero = false;
    for (int i = 0; i < len; ++i) {
        const double s = static_cast<double>(sum[i]);
        const double t = occ * static_cast<double>(sumSq[i]) - s * s;
        if (t < 0.0) {
            *dst = -std::numeric_limits<double>::quiet_NaN();
            return zemStatusLogNegativeWarning;
        }
        if (t == 0.0) zero = true;
        else total += std::log(t);
    }
    if (zero) {
        *dst = -std::numeric_limits<double>::infinity();
        return zemStatusLogZeroWarning;
    }
    *dst = occ * 0.5 * (static_cast<double>(len) * (g - 1.0 - 1.8378770664093456 + g) - total);
    return zemStatusOk;
}

}  // namespace

extern "C" {

// ---- Distance and merge: the size test stands before the null test -------------------------

ZEMSR_API ZemStatus zemsGaussianDist_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                         const Zem32f* var2, int len, Zem32f* dist, Zem32f weight1, Zem32f gconst1,
                                         Zem32f weight2, Zem32f gconst2) {
    if (const ZemStatus s = firstFailure(atLeastOne(len), nonNull(mean1, var1, mean2, var2, dist))) return s;
    return gaussianDist(mean1, var1, mean2, var2, len, dist, weight1, gconst1, weight2, gconst2);
}

ZEMSR_API ZemStatus zemsGaussianDist_64f(const Zem64f* mean1, const Zem64f* var1, const Zem64f* mean2,
                                         const Zem64f* var2, int len, Zem64f* dist, Zem64f weight1, Zem64f gconst1,
                                         Zem64f weight2, Zem64f gconst2) {
    if (const ZemStatus s = firstFailure(atLeastOne(len), nonNull(mean1, var1, mean2, var2, dist))) return s;
    return gaussianDist(mean1, var1, mean2, var2, len, dist, weight1, gconst1, weight2, gconst2);
}

ZEMSR_API ZemStatus zemsGaussianMerge_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                          const Zem32f* var2, Zem32f* dstMean, Zem32f* dstVar, int len,
                                          Zem32f* dstGconst, Zem32f weight1, Zem32f weight2) {
    if (const ZemStatus s = firstFailure(atLeastOne(len), nonNull(mean1, var1, mean2, var2, dstMean, dstVar, dstGconst)))
        return s;
    return gaussianMerge(mean1, var1, mean2, var2, dstMean, dstVar, len, dstGconst, weight1, weight2);
}

ZEMSR_API ZemStatus zemsGaussianMerge_64f(const Zem64f* mean1, const Zem64f* var1, const Zem64f* mean2,
                                          const Zem64f* var2, Zem64f* dstMean, Zem64f* dstVar, int len,
                                          Zem64f* dstGconst, Zem64f weight1, Zem64f weight2) {
    if (const ZemStatus s = firstFailure(atLeastOne(len), nonNull(mean1, var1, mean2, var2, dstMean, dstVar, dstGconst)))
        return s;
    return gaussianMerge(mean1, var1, mean2, var2, dstMean, dstVar, len, dstGconst, weight1, weight2);
}

// ---- Split: the float form tests the size first, the double form the pointers first -------

ZEMSR_API ZemStatus zemsGaussianSplit_32f(Zem32f* mean1, const Zem32f* var1, Zem32f* mean2, Zem32f* var2, int len,
                                          Zem32f val) {
    if (const ZemStatus s = firstFailure(atLeastOne(len), nonNull(mean1, var1, mean2, var2))) return s;
    gaussianSplit(mean1, var1, mean2, var2, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsGaussianSplit_64f(Zem64f* mean1, const Zem64f* var1, Zem64f* mean2, Zem64f* var2, int len,
                                          Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(mean1, var1, mean2, var2), atLeastOne(len))) return s;
    gaussianSplit(mean1, var1, mean2, var2, len, val);
    return zemStatusOk;
}

// ---- Bhattacharyya distances --------------------------------------------------------------------

ZEMSR_API ZemStatus zemsBhatDist_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2, const Zem32f* var2,
                                     int len, Zem32f* dist) {
    if (const ZemStatus s = firstFailure(nonNull(mean1, var1, mean2, var2, dist), atLeastOne(len))) return s;
    return bhatDist<Zem32f, false>(mean1, var1, mean2, var2, len, dist, 0.0f);
}

ZEMSR_API ZemStatus zemsBhatDist_32f64f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                        const Zem32f* var2, int len, Zem64f* dist) {
    if (const ZemStatus s = firstFailure(nonNull(mean1, var1, mean2, var2, dist), atLeastOne(len))) return s;
    return bhatDist<Zem64f, false>(mean1, var1, mean2, var2, len, dist, 0.0f);
}

ZEMSR_API ZemStatus zemsBhatDistSLog_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                         const Zem32f* var2, int len, Zem32f* dist, Zem32f sumLog1, Zem32f sumLog2) {
    if (const ZemStatus s = firstFailure(nonNull(mean1, var1, mean2, var2, dist), atLeastOne(len))) return s;
    return bhatDist<Zem32f, true>(mean1, var1, mean2, var2, len, dist, (sumLog1 + sumLog2) * 0.25f);
}

ZEMSR_API ZemStatus zemsBhatDistSLog_32f64f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                            const Zem32f* var2, int len, Zem64f* dist, Zem32f sumLog1,
                                            Zem32f sumLog2) {
    if (const ZemStatus s = firstFailure(nonNull(mean1, var1, mean2, var2, dist), atLeastOne(len))) return s;
    return bhatDist<Zem64f, true>(mean1, var1, mean2, var2, len, dist, (sumLog1 + sumLog2) * 0.25f);
}

// ---- Cluster statistics ---------------------------------------------------------------------------

ZEMSR_API ZemStatus zemsDcsClustLAccumulate_32f(const Zem32f* mean, const Zem32f* var, Zem32f* dstSum,
                                                Zem32f* dstSumSq, int len, Zem32f val) {
    if (const ZemStatus s = firstFailure(nonNull(mean, var, dstSum, dstSumSq), atLeastOne(len))) return s;
    dcsAccumulate<Zem32f, false>(mean, var, dstSum, dstSumSq, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDcsClustLAccumulate_64f(const Zem64f* mean, const Zem64f* var, Zem64f* dstSum,
                                                Zem64f* dstSumSq, int len, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(mean, var, dstSum, dstSumSq), atLeastOne(len))) return s;
    dcsAccumulate<Zem64f, false>(mean, var, dstSum, dstSumSq, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDcsClustLAccumulate_DirectVar_32f(const Zem32f* mean, const Zem32f* var, Zem32f* dstSum,
                                                          Zem32f* dstSumSq, int len, Zem32f val) {
    if (const ZemStatus s = firstFailure(nonNull(mean, var, dstSum, dstSumSq), atLeastOne(len))) return s;
    dcsAccumulate<Zem32f, true>(mean, var, dstSum, dstSumSq, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDcsClustLAccumulate_DirectVar_64f(const Zem64f* mean, const Zem64f* var, Zem64f* dstSum,
                                                          Zem64f* dstSumSq, int len, Zem64f val) {
    if (const ZemStatus s = firstFailure(nonNull(mean, var, dstSum, dstSumSq), atLeastOne(len))) return s;
    dcsAccumulate<Zem64f, true>(mean, var, dstSum, dstSumSq, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDcsClustLCompute_64f(const Zem64f* sum, const Zem64f* sumSq, int len, Zem64f* dst, Zem64f occ) {
    if (const ZemStatus s = firstFailure(nonNull(sum, sumSq, dst), atLeastOne(len),
                                         ensure(!(occ < 0.0), zemStatusNegativeWeight)))
        return s;
    return dcsCompute(sum, sumSq, len, dst, occ);
}

ZEMSR_API ZemStatus zemsDcsClustLCompute_32f64f(const Zem32f* sum, const Zem32f* sumSq, int len, Zem64f* dst,
                                                Zem32f occ) {
    if (const ZemStatus s = firstFailure(nonNull(sum, sumSq, dst), atLeastOne(len),
                                         ensure(!(occ < 0.0f), zemStatusNegativeWeight)))
        return s;
    return dcsCompute(sum, sumSq, len, dst, static_cast<double>(occ));
}

}  // extern "C"
