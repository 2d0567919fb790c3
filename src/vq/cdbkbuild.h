// What building a codebook shares between its files: separate blocks for every part of an
// allocated state, the tree training with its neighbour lists, the cell index of a list
// codebook, and their release.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/record.h"
#include "vq/codebook.h"

namespace zem::vq {

// count elements of T in a block of their own, or null when the count is not positive or
// cannot be expressed in bytes.
template <class T>
inline T* newBlock(int64_t count) {
    if (count <= 0 || count > INT64_MAX / static_cast<int64_t>(sizeof(T))) return nullptr;
    return static_cast<T*>(allocateBlock(count * static_cast<int64_t>(sizeof(T))));
}
inline void freeBlock(void* p) {
    if (p) releaseBlock(p);
}

// The arrays training works on: the current leaves by leaf number, the leaf of each
// training vector and its distance from that leaf's centroid.
template <class T>
struct TrainWork {
    ZemsCdbkNode<T>** nodes;  // cdbkSize
    Zem32s* assign;           // height
    Zem32f* dist;             // height
};

// The training set and its metric.
template <class T>
struct TrainSet {
    const T* src;
    int step;
    int width;
    int height;
    const T* weights;
    const T* row(int i) const { return src + static_cast<int64_t>(i) * step; }
};

// Grows the tree of a hint-2 or hint-3 state to at most cdbkSize leaves, fills rows,
// numCodewords and maxDepth, and links neighbours and node caches.  Returns zemStatusOk,
// zemStatusCdbkSizeWarning when it stopped early, or the failure; on failure the partly
// built tree hangs from state->root for releaseState.
template <class T>
ZemStatus trainTree(State<T>* state, const TrainSet<T>& set, int cdbkSize, const TrainWork<T>& work);

// Tries the cell index of a width-1 or width-2 list codebook over its rows; sets grid and
// flags bit 0 when it is worth having.  zemStatusNoMemory leaves nothing allocated.
template <class T>
ZemStatus buildCellIndex(State<T>* state);

// Releases the tree below and including node, children first.
template <class T>
void releaseTree(ZemsCdbkNode<T>* node);

// Releases a cell index of the given width (each shared side list once).
void releaseGrid(void* grid, int width);

// Saturating rounding of a double to 16 bits, ties to even, and truncation towards zero.
inline Zem16s roundTo16s(double v) {
    const double r = std::nearbyint(v);
    return r >= 32767.0 ? Zem16s{32767} : r <= -32768.0 ? Zem16s{-32768} : static_cast<Zem16s>(r);
}
inline Zem16s truncTo16s(double v) {
    return v >= 32767.0 ? Zem16s{32767} : v <= -32768.0 ? Zem16s{-32768} : static_cast<Zem16s>(v);
}

}  // namespace zem::vq
