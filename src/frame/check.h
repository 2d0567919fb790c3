// Argument check helpers: one line per check, in the family's order.
#pragma once

namespace zem {

template <class... P>
inline bool anyNull(const P*... p) {
    return ((p == nullptr) || ...);
}

}  // namespace zem
