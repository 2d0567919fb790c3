// Where a chunk of computed statistics goes: straight into a Zem32f / Zem64f result, or
// through the private float-to-integer conversion (rounding to nearest, ties to even,
// the scale factor, saturation).  Each takes put(j0, n, values) for columns j0 .. j0 + n - 1.
#pragma once

#include <cstdint>
#include <type_traits>

#include "own.h"

namespace zem::table {

template <class T>
struct Direct {
    T* dst;
    void put(int64_t j0, int n, const T* v) const {
        for (int c = 0; c < n; ++c) dst[j0 + c] = v[c];
    }
};

template <class D>
struct Converted {
    D* dst;
    int scaleFactor;
    void put(int64_t j0, int n, const Zem32f* v) const {
        if constexpr (std::is_same_v<D, Zem16s>) ownConvert_32f16s_Sfs(v, dst + j0, n, 1, scaleFactor);
        else ownConvert_32f32s_Sfs(v, dst + j0, n, 1, scaleFactor);
    }
};

// The accumulator of a source element type: Zem64f for Zem64f, Zem32f for the rest.
template <class Src>
using AccOf = std::conditional_t<std::is_same_v<std::remove_const_t<Src>, Zem64f>, Zem64f, Zem32f>;

}  // namespace zem::table
