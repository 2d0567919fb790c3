// Shared pieces of the table statistics tests: a table in both layouts at a chosen
// misalignment, the shapes worth walking, and reference conversions.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "test_support.h"
#include "zemsr.h"

namespace tabletest {

// height rows of width elements, rows step apart in one block whose start sits `off`
// bytes past a 64-byte boundary for Zem32f (scaled by the element size for the other
// types, so that every element keeps its natural alignment); rows() is the same table as an array of row pointers.
template <class T>
struct Table {
    int height, width, step;
    size_t offset;
    zemtest::Buffer<T> block;
    std::vector<T*> rowPtrs;
    Table(int h, int w, size_t off, int extra, zemtest::Random& rnd, double lo, double hi)
        : height(h), width(w), step(w + extra), offset(off * sizeof(T) / 4), block(static_cast<size_t>(h) * (w + extra), offset) {
        const auto v = std::is_integral_v<T> ? rnd.integers<T>(block.size(), static_cast<int64_t>(lo),
                                                                static_cast<int64_t>(hi))
                                             : rnd.uniform<T>(block.size(), lo, hi);
        for (size_t i = 0; i < v.size(); ++i) block[i] = v[i];
        for (int i = 0; i < h; ++i) rowPtrs.push_back(block.data() + static_cast<size_t>(i) * step);
    }
    // A copy with its own storage at the same misalignment.
    Table(const Table& o) : height(o.height), width(o.width), step(o.step), offset(o.offset), block(o.block.size(), o.offset) {
        for (size_t i = 0; i < block.size(); ++i) block[i] = o.block[i];
        for (int i = 0; i < height; ++i) rowPtrs.push_back(block.data() + static_cast<size_t>(i) * step);
    }
    Table& operator=(const Table&) = delete;
    T at(int i, int j) const { return rowPtrs[i][j]; }
    T* const* rows() const { return rowPtrs.data(); }
    const T* const* crows() const { return rowPtrs.data(); }
};

struct Shape {
    int height, width;
    size_t offset;
    int extra;  // step - width
};

// Widths through and past every vector group and chunk, a few heights, aligned and
// misaligned starts with strides that keep or break row alignment; then the long ones.
inline std::vector<Shape> shapes() {
    std::vector<Shape> s;
    for (int w = 1; w <= 70; ++w)
        for (int h : {1, 2, 5}) s.push_back({h, w, static_cast<size_t>(w % 3 == 0 ? 0 : 4), w % 2});
    s.push_back({1000, 39, 0, 0});
    s.push_back({1000, 39, 4, 1});
    s.push_back({37, 129, 8, 3});
    s.push_back({3, 257, 0, 0});
    return s;
}

// v * 2^-sf rounded to nearest with ties to even, saturated to [lo, hi].
inline int64_t convertRef(float v, int sf, int64_t lo, int64_t hi) {
    const double t = std::nearbyint(static_cast<double>(v) * std::ldexp(1.0, -sf));
    return t < static_cast<double>(lo) ? lo : (t > static_cast<double>(hi) ? hi : static_cast<int64_t>(t));
}
inline Zem16s to16(float v, int sf) { return static_cast<Zem16s>(convertRef(v, sf, INT16_MIN, INT16_MAX)); }
inline Zem32s to32(float v, int sf) { return static_cast<Zem32s>(convertRef(v, sf, INT32_MIN, INT32_MAX)); }

}  // namespace tabletest
