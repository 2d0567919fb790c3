// The rows of the mixture families: one frame against the Gaussians of a mixture, whose
// means and inverse variances are the rows of two matrices and whose constants val are
// per Gaussian.  Gaussians go in blocks of 100: the block fixes the order of the
// mixture sum.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kernels/distkernel.h"
#include "kernels/gaussfloat.h"
#include "zemsr.h"

namespace zem::mixturerows {

namespace gf = zem::gaussfloat;

inline constexpr int kBlock = 100;

// Float and double: the weighted sums of Gaussians [g0, g0 + n) four (two) at a time, then
// score = (acc + 2 val) * 0.5 with acc the negative sum.  vals may be out itself.
template <class T, class G>
inline void floatScores(const G& gaussians, const T* x, int width, const T* vals, int g0, int n, T* out) {
    alignas(32) T sums[kBlock];
    zem::distance::block<T, false, false>(x, nullptr, width, sums, n, [&](int k) { return gaussians(g0 + k); });
    for (int k = 0; k < n; ++k) out[k] = ((-sums[k]) + (vals[k] + vals[k])) * T(0.5);
}

// The single-frame float scores as rules (w null for the identity forms).
struct FloatLanes32 {
    int width;
    float operator()(const Zem32f* x, const Zem32f* m, const Zem32f* w, Zem32f val) const {
        return gf::scoreInFloatLanes(x, m, w, width, val);
    }
};
struct IdDoubleLanes64 {
    int width;
    double operator()(const Zem64f* x, const Zem64f* m, const Zem64f*, Zem64f val) const {
        return gf::scoreInDoubleLanes<gf::Weight::One, Zem64f>(x, m, nullptr, width, val);
    }
};

// Scores of Gaussians [g0, g0 + n) by the form's rule; vals may be out itself.
template <class G, class X, class V, class D, class Rule>
inline void rowScores(const G& gaussians, const X* x, const V* vals, int g0, int n, D* out, const Rule& rule) {
    for (int k = 0; k < n; ++k) {
        const auto [m, w] = gaussians(g0 + k);
        out[k] = rule(x, m, w, vals[k]);
    }
}

}  // namespace zem::mixturerows
