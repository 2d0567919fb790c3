// Row access of a matrix, so that one body serves the block layout (rows a fixed
// distance apart) and the row-pointer layout.
#pragma once

#include <cstdint>

namespace zem::linalg {

// A block whose row r begins at base + r * step.
template <class T>
struct BlockRows {
    T* base;
    int64_t step;
    T* operator[](int64_t r) const { return base + r * step; }
};

// An array of row pointers.
template <class T>
struct PointerRows {
    T* const* rows;
    T* operator[](int64_t r) const { return rows[r]; }
};

}  // namespace zem::linalg
