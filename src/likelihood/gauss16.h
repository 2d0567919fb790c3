// The 16-bit feature sums shared by the distance and score families.
#pragma once

#include <cstdint>

#include "zemsr.h"

namespace zem::gauss16 {

inline int32_t saturatedDifference(Zem16s x, Zem16s m) {
    const int32_t d = int32_t{x} - int32_t{m};
    return d > 32767 ? 32767 : (d < -32768 ? -32768 : d);
}

// The float sum of 16-bit data: groups of 8 take the difference saturated to 16 bits,
// square it exactly in 32 bits and weight it in Zem32f; each group is summed as
// ((p1 + p5) + (p3 + p7)) + ((p0 + p4) + (p2 + p6)) and added to one running float.
// The leftover elements use the exact difference, squared in Zem32f.  var null means
// a weight of one.
inline float sumGroupsOf8(const Zem16s* x, const Zem16s* m, const Zem16s* var, int len) {
    float s = 0.0f;
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        float p[8];
        for (int k = 0; k < 8; ++k) {
            const int32_t d = saturatedDifference(x[i + k], m[i + k]);
            p[k] = static_cast<float>(d * d);
            if (var) p[k] = p[k] * static_cast<float>(var[i + k]);
        }
        s += ((p[1] + p[5]) + (p[3] + p[7])) + ((p[0] + p[4]) + (p[2] + p[6]));
    }
    for (; i < len; ++i) {
        const float e = static_cast<float>(int32_t{x[i]} - int32_t{m[i]});
        const float w = var ? static_cast<float>(var[i]) : 1.0f;
        s += (e * e) * w;
    }
    return s;
}

}  // namespace zem::gauss16
