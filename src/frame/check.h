// Argument check helpers: one line per check, in the family's order.
#pragma once

#include <cstdint>

namespace zem {

template <class... P>
inline bool anyNull(const P*... p) {
    return ((p == nullptr) || ...);
}

// True when any of the first count pointers of an array of row pointers is null.
template <class P>
inline bool anyNullRow(P* const* rows, int64_t count) {
    for (int64_t r = 0; r < count; ++r)
        if (!rows[r]) return true;
    return false;
}

}  // namespace zem
