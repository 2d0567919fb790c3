// The training rows behind the sweep's codebooks: 24 rows of 4 elements, 6 apart, from which
// the list codebooks keep every row and the trees grow 8 leaves.
#pragma once

#include <cstddef>
#include <vector>

namespace sweep::cdbk {

constexpr int kWidth = 4, kStep = 6, kRows = 24, kLeaves = 8;

template <class T>
const T* trainingRows() {
    static const std::vector<T> rows = [] {
        std::vector<T> v(kRows * kStep);
        for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<T>((i * 37 + 11) % 53) - T(26);
        return v;
    }();
    return rows.data();
}

}  // namespace sweep::cdbk
