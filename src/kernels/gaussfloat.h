// The floating-point score pipelines shared by the single, block and mixture families.
#pragma once

#include <type_traits>

#include "primitives/simd.h"

namespace zem::gaussfloat {

// The Zem32f score: acc -= (t*t)*w with t = x - m, in two sets of four lanes (lanes
// 0-3 and 4-7 of one vector) over runs of 16 and then 8; the last elements one by one
// into a scalar.  The sets are added lane by lane and folded as (0 + 2) + (1 + 3), then
// the scalar joins.  The score is (acc + (val + val)) * 0.5.  w null is a weight of one.
inline float scoreInFloatLanes(const float* x, const float* m, const float* w, int len, float val) {
    using namespace simd;
    F32x8 acc = splat(0.0f);
    auto term = [&](int i) {
        const F32x8 t = load(x + i) - load(m + i);
        return w ? (t * t) * load(w + i) : t * t;
    };
    int i = 0;
    for (; i + 16 <= len; i += 16) {
        acc = acc - term(i);
        acc = acc - term(i + 8);
    }
    if (i + 8 <= len) {
        acc = acc - term(i);
        i += 8;
    }
    float tail = 0.0f;
    for (; i < len; ++i) {
        const float t = x[i] - m[i];
        tail -= w ? (t * t) * w[i] : t * t;
    }
    float l[8];
    store(l, acc);
    const float total = ((l[0] + l[4]) + (l[2] + l[6])) + ((l[1] + l[5]) + (l[3] + l[7])) + tail;
    return (total + (val + val)) * 0.5f;
}

// The Zem64f-accumulator score: acc = sum of t*t*w (or t*t / var for the dividing
// form) with t in Zem64f; eight double lanes in two vectors over runs of 8, the tail
// zero padded, folded pairwise.  T is the input type: Zem32f inputs are widened one by
// one before the subtraction.  The score is val - acc * 0.5.
enum class Weight { Multiply, Divide, One };

template <Weight kWeight, class T>
inline double scoreInDoubleLanes(const T* x, const T* m, const T* w, int len, double val) {
    using namespace simd;
    auto in = [](const T* p, int n) {
        if constexpr (std::is_same_v<T, double>) {
            return n == 4 ? load(p) : loadFirst(p, n);
        } else {
            float lanes[4] = {};
            for (int k = 0; k < n; ++k) lanes[k] = p[k];
            return n == 4 ? widen4(p) : widen4(lanes);
        }
    };
    auto term = [&](int i, int n) {
        const F64x4 t = in(x + i, n) - in(m + i, n);
        if constexpr (kWeight == Weight::Multiply) return t * t * in(w + i, n);
        else if constexpr (kWeight == Weight::Divide) {
            // Padded lanes divide 0 by 0; they are dropped before the sum.
            const F64x4 q = (t * t) / in(w + i, n);
            double lanes[4];
            store(lanes, q);
            for (int k = n; k < 4; ++k) lanes[k] = 0.0;
            return load(lanes);
        } else return t * t;
    };
    F64x4 a0 = splat(0.0), a1 = a0;
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        a0 = a0 + term(i, 4);
        a1 = a1 + term(i + 4, 4);
    }
    if (i + 4 <= len) {
        a0 = a0 + term(i, 4);
        i += 4;
    }
    if (i < len) a1 = a1 + term(i, len - i);
    double sums[2];
    sumTree2(a0 + a1, a0 + a1, sums);
    return val - sums[0] * 0.5;
}

}  // namespace zem::gaussfloat
