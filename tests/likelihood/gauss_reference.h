// Scalar references of the 16-bit score sums, written from their stated steps.
#pragma once

#include <algorithm>
#include <cstdint>

#include "zemsr.h"

namespace gaussref {

using u32 = uint32_t;
inline int32_t sat16(int v) { return std::clamp(v, -32768, 32767); }
inline int32_t wrap(int64_t v) { return static_cast<int32_t>(static_cast<u32>(v)); }

// The float sum of 16-bit data in groups of 8, from its stated steps.
inline float refGroupsOf8(const Zem16s* x, const Zem16s* m, const float* w, int len) {
    float s = 0;
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        float p[8];
        for (int k = 0; k < 8; ++k) {
            const int d = sat16(x[i + k] - m[i + k]);
            p[k] = float(d * d) * (w ? w[i + k] : 1.0f);
        }
        s += ((p[1] + p[5]) + (p[3] + p[7])) + ((p[0] + p[4]) + (p[2] + p[6]));
    }
    for (; i < len; ++i) {
        const float e = float(x[i] - m[i]);
        s += (e * e) * (w ? w[i] : 1.0f);
    }
    return s;
}

}  // namespace gaussref
