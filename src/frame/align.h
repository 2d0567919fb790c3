// Alignment predicates that choose between the aligned and the general body of an
// operation.  "Aligned" means 16 bytes throughout the library.
#pragma once

#include <cstdint>

namespace zem {

inline bool isAligned16(const void* p) { return (reinterpret_cast<uintptr_t>(p) & 15u) == 0; }

template <class... P>
inline bool allAligned16(const P*... p) {
    return (isAligned16(p) && ...);
}

// Elements of T in 16 bytes: 8 for Zem16s, 4 for Zem32f and Zem32s, 2 for Zem64f.
template <class T>
inline constexpr int kStrideUnit16 = static_cast<int>(16 / sizeof(T));

// A _D2 stride keeps every row aligned when it is a multiple of the unit; some Zem64f
// families ask for 4 rather than 2 and pass it.
template <class T>
inline bool strideKeepsRowsAligned(int step, int unit = kStrideUnit16<T>) {
    return step % unit == 0;
}

// _D2L: the first height row pointers must all be aligned; the scan stops at the
// first that is not.
template <class T>
inline bool rowsAligned16(const T* const* rows, int height) {
    for (int r = 0; r < height; ++r)
        if (!isAligned16(rows[r])) return false;
    return true;
}

}  // namespace zem
