// Block Gaussian scores of Zem32f and Zem64f frames against one Gaussian, shared by the
// block score family and the codebook searches that score tree centroids.
#pragma once

#include <utility>
#include <type_traits>

#include "kernels/distkernel.h"

namespace zem::gaussfloat {

// Float and double scores of frames [f0, f0 + n): the weighted sums of the distance
// kernel, then ((-sum) + (val + val)) * 0.5 in Zem32f, val - 0.5 * sum in Zem64f.  Below
// a width of 4 the Zem32f forms run a plain loop from acc = 2 val.
template <class T, bool kIdentity, class Frames>
inline void blockScores(const Frames& frames, const T* mean, const T* var, int width, T val, int f0, int n, T* out) {
    constexpr bool kFloat = std::is_same_v<T, float>;
    if constexpr (kFloat) {
        if (width < 4) {
            for (int k = 0; k < n; ++k) {
                const T* x = frames(f0 + k);
                float acc = val + val;
                for (int i = 0; i < width; ++i) {
                    const float t = x[i] - mean[i];
                    acc -= kIdentity ? t * t : t * t * var[i];
                }
                out[k] = acc * 0.5f;
            }
            return;
        }
    }
    const T twice = val + val;
    zem::distance::block<T, true, kIdentity>(
        mean, var, width, out, n, [&](int k) { return std::pair<const T*, const T*>{frames(f0 + k), nullptr}; },
        [=](T sum) {
            if constexpr (kFloat) return ((-sum) + twice) * 0.5f;
            else return val - 0.5 * sum;
        });
}

}  // namespace zem::gaussfloat
