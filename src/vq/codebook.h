// Codebook records and the rules every codebook routine shares.
//
// A codebook holds numCodewords rows of T (Zem16s or Zem32f), one non-negative weight per
// dimension and a search structure: nothing (exhaustive list), a cell index of one or two
// dimensions (list form, widths 1 and 2) or a binary tree of centroids whose leaves are the
// codewords, each leaf linked to its nearest other leaves.  The field order of every record
// here is fixed; the searches and the split quantiser read them directly.
//
// Distances are weighted squared distances, sum over j of w[j] * (a[j] - b[j])^2, taken
// element by element in ascending j and accumulated in Zem32f (16-bit operands and weights
// are converted to Zem32f first).  Candidates are compared with cdbkBetter and cdbkNear on
// the values widened to double.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "zemsr.h"

namespace zem::vq {

// The largest finite Zem32f: the start of every minimum search.
inline constexpr Zem32f ZEM_MAX_32F = std::numeric_limits<Zem32f>::max();

// Bits of State::flags.
inline constexpr Zem32u kFlagCellIndex = 1u;  // grid holds a cell index
inline constexpr Zem32u kFlagWeighted = 2u;   // the weights are not all one

template <class T>
struct ZemsCdbkNode;

// Blocks behind a node, for the widths 1, 2, 4 and 8.  An internal node fills quad with
// the centroids of its grandchildren (left-left, left-right, right-left, right-right, a
// leaf child standing for both of its places), width elements each; a leaf with neighbours
// fills neighbourCentroids (neighbourCount rows of width) and neighbourNodes.
template <class T>
struct ZemsCdbkNodeCache {
    T* quad;
    T* neighbourCentroids;
    ZemsCdbkNode<T>** neighbourNodes;
};

// One node of a tree codebook.
template <class T>
struct ZemsCdbkNode {
    Zem32f distortion;  // leaf: twice the largest member distance; 0 below two members
    T* centroid;        // width elements; a leaf's is a copy of its codeword
    Zem32s index;       // leaf: codeword number; 0 in an internal node
    Zem32s count;       // members; an internal node keeps its count at the split
    Zem32s isLeaf;      // 1 leaf, 0 internal
    Zem32s depth;       // root 1
    ZemsCdbkNode* left;
    ZemsCdbkNode* right;
    Zem32s neighbourCount;        // length of neighbours
    ZemsCdbkNode** neighbours;    // nearest other leaves, nearest first
    ZemsCdbkNodeCache<T>* cache;  // null unless the width is 1, 2, 4 or 8
};

// Cell index of one dimension.  Slot e + 1 holds the list of cell e; slots 0 and bins + 1
// serve values below and above the cells.
struct ZemsCdbkGrid1 {
    Zem32s bins;
    Zem32f cellWidth;
    Zem32f lo;
    Zem32f hi;
    Zem32s** lists;  // bins + 2 lists of codeword numbers
    Zem32s* counts;  // bins + 2 lengths
};

// Cell index of two dimensions.  Cell (r, c) stands in slot (r + 1) * (cols + 2) + c + 1;
// the outer ring of slots serves vectors outside the grid, each side one shared list.
// Dimension 0 runs along a row from lo0 upward, dimension 1 down the rows from hi1.
struct ZemsCdbkGrid2 {
    Zem32s cols;
    Zem32s rows;
    Zem32f cellWidth0;
    Zem32f cellWidth1;
    Zem32f lo0;
    Zem32f hi1;
    Zem32f hi0;
    Zem32f lo1;
    Zem32s** lists;  // (rows + 2) * (cols + 2) lists
    Zem32s* counts;
};

template <class T>
struct State {
    Zem32s maxDepth;  // list: height - 1; tree: depth of the deepest leaf (root 1)
    Zem32s numCodewords;
    Zem32s width;
    Zem32s rowStep;  // elements between rows
    Zem32s hint;     // ZEM_CDBK_LIST, _SPLIT_WIDEST, _SPLIT_FULLEST (an Init state may hold another)
    T* rows;
    ZemsCdbkNode<T>* root;  // null in the list form
    Zem32u flags;           // kFlagCellIndex | kFlagWeighted
    T* weights;             // width weights
    void* grid;             // ZemsCdbkGrid1 (width 1), ZemsCdbkGrid2 (width 2) or null
    Zem32s indexBits;       // bits that hold a codeword number
    Zem32f* scratch;        // numCodewords distances for the single-vector searches
};

// b beats a: a is greater than 1.000001 times b.  A later candidate replaces the best only
// by this margin, so the first of nearly equal candidates stays.
inline bool cdbkBetter(Zem32f a, Zem32f b) {
    return static_cast<double>(a) > 1.000001 * static_cast<double>(b);
}

// a and b agree to a relative 1e-4 (the single-precision constant) of the larger.
inline bool cdbkNear(Zem32f a, Zem32f b) {
    const double da = a, db = b;
    const double larger = da > db ? da : db;
    return static_cast<double>(1e-4f) * std::fabs(larger) >= std::fabs(da - db);
}

// Weighted squared distance over the width, ascending j, in Zem32f.
template <class T>
inline Zem32f wdist(const T* a, const T* b, const T* w, int width) {
    Zem32f s = 0.0f;
    for (int j = 0; j < width; ++j) {
        const Zem32f d = static_cast<Zem32f>(a[j]) - static_cast<Zem32f>(b[j]);
        s += static_cast<Zem32f>(w[j]) * (d * d);
    }
    return s;
}

// The same without weights.
template <class T>
inline Zem32f plainDist(const T* a, const T* b, int width) {
    Zem32f s = 0.0f;
    for (int j = 0; j < width; ++j) {
        const Zem32f d = static_cast<Zem32f>(a[j]) - static_cast<Zem32f>(b[j]);
        s += d * d;
    }
    return s;
}

// The smallest b with 2^b >= n; 0 for n <= 1.
inline Zem32s indexBits(Zem32s n) {
    Zem32s b = 0;
    while (b < 31 && (int64_t{1} << b) < n) ++b;
    return b;
}

}  // namespace zem::vq

// The public opaque records are the two typed states.
struct ZemsCdbkState_16s : zem::vq::State<Zem16s> {};
struct ZemsCdbkState_32f : zem::vq::State<Zem32f> {};

namespace zem::vq {

// The state record of an element type.
template <class T>
struct StateOf;
template <>
struct StateOf<Zem16s> {
    using type = ZemsCdbkState_16s;
};
template <>
struct StateOf<Zem32f> {
    using type = ZemsCdbkState_32f;
};
template <class T>
using StateT = typename StateOf<T>::type;

}  // namespace zem::vq
