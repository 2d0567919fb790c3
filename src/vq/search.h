// The search of one vector in a codebook, shared by the block searches and the split
// quantiser.
//
// A list codebook is scanned row by row, or only through the list of the vector's cell
// when it has a cell index.  A tree is descended from the root, two children at a time,
// each judged by the better of its own two children; the leaf reached then walks its
// neighbour list while a neighbour is clearly nearer.  The tree's answer is the leaf where
// the walk ends, not always the nearest codeword.  With weights that are not all one the
// tree is judged by Gaussian scores (larger is nearer) from the score kernels, the
// centroids taken as frames, the vector as the mean and the weights as the variance.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "kernels/gauss16.h"
#include "kernels/gaussblockscores.h"
#include "kernels/gaussfloat.h"
#include "kernels/scorerules.h"
#include "vq/codebook.h"

namespace zem::vq {

// What a search of one vector came to.
enum class Found { Index, Skipped, Failed };

// Scores of the weighted tree: the block score of up to four centroids in one call, and
// the single-frame score of a leaf.
template <class T>
struct TreeScorer;

template <>
struct TreeScorer<Zem32f> {
    using Score = Zem32f;
    int width;
    const Zem32f* w;
    void block(const Zem32f* const* centroids, int n, const Zem32f* x, Score* out) const {
        gaussfloat::blockScores<Zem32f, false>([centroids](int k) { return centroids[k]; }, x, w, width, 0.0f, 0, n,
                                               out);
    }
    Score single(const Zem32f* x, const Zem32f* c) const { return gaussfloat::scoreInFloatLanes(x, c, w, width, 0.0f); }
};

// The 16-bit block scores take the scale factor blockSf; the single score takes singleSf,
// which a caller may set apart (the distance search scores its leaves at scale 0).
template <>
struct TreeScorer<Zem16s> {
    using Score = Zem32s;
    int width;
    const Zem16s* w;
    int blockSf;
    int singleSf;
    void block(const Zem16s* const* centroids, int n, const Zem16s* x, Score* out) const {
        const scorerules::PlainRounded16 rule{width, blockSf};
        for (int k = 0; k < n; ++k) out[k] = rule(centroids[k], x, w, 0);
    }
    Score single(const Zem16s* x, const Zem16s* c) const {
        return scorerules::halvedShiftedRounded(gauss16::sumGroupsOf8(x, c, w, width), 0, singleSf);
    }
};

// The 16-bit scale factor of a codebook's width: trunc(log2(width)) + 1.
inline int widthScale(int width) {
    return static_cast<int>(std::log(static_cast<double>(width)) / std::log(2.0)) + 1;
}

// Distance of a list row from x: weighted or plain by the flags.  The 16-bit weighted
// form at the widths 1 and 2 multiplies weight and difference as integers first.
template <class T>
inline Zem32f listDist(const T* x, const T* row, const T* w, int width, bool weighted) {
    if (!weighted) return plainDist(x, row, width);
    if constexpr (std::is_same_v<T, Zem16s>) {
        if (width <= 2) {
            Zem32f s = 0.0f;
            for (int j = 0; j < width; ++j) {
                const int32_t d = int32_t{x[j]} - int32_t{row[j]};
                s += static_cast<Zem32f>(int32_t{w[j]} * d) * static_cast<Zem32f>(d);
            }
            return s;
        }
    }
    return wdist(x, row, w, width);
}

// Cell number of t = (x - lo) / cellWidth: -1 below the grid, at most `cells`.
inline int cellOf(double t, int cells) {
    if (t < 0.0) return -1;
    if (t < static_cast<double>(cells)) return static_cast<int>(t);
    return cells;
}

// t of a value against a grid axis; the 16-bit forms lift it by 0.001 in double.
template <class T>
inline double cellPosition(T x, Zem32f from, Zem32f cellWidth, bool downward) {
    if constexpr (std::is_same_v<T, Zem16s>) {
        const double d = downward ? static_cast<double>(from) - x : static_cast<double>(x) - from;
        return d / cellWidth + 0.001;
    } else {
        return downward ? (from - x) / cellWidth : (x - from) / cellWidth;
    }
}

// The codeword numbers to scan for x in a cell-indexed list codebook.
template <class T>
inline void cellList(const State<T>& cb, const T* x, const Zem32s** list, Zem32s* count) {
    int slot;
    if (cb.width == 1) {
        const auto* g = static_cast<const ZemsCdbkGrid1*>(cb.grid);
        slot = cellOf(cellPosition(x[0], g->lo, g->cellWidth, false), g->bins) + 1;
        *list = g->lists[slot];
        *count = g->counts[slot];
    } else {
        const auto* g = static_cast<const ZemsCdbkGrid2*>(cb.grid);
        const int col = cellOf(cellPosition(x[0], g->lo0, g->cellWidth0, false), g->cols);
        const int row = cellOf(cellPosition(x[1], g->hi1, g->cellWidth1, true), g->rows);
        slot = (row + 1) * (g->cols + 2) + col + 1;
        *list = g->lists[slot];
        *count = g->counts[slot];
    }
}

template <class T>
inline Found searchList(const State<T>& cb, const T* x, Zem32s* index, Zem32f* dist) {
    const bool weighted = (cb.flags & kFlagWeighted) != 0;
    Zem32f best = ZEM_MAX_32F;
    Zem32s found = -1;
    auto consider = [&](Zem32s r) {
        const Zem32f d = listDist(x, cb.rows + int64_t{r} * cb.rowStep, cb.weights, cb.width, weighted);
        if (cdbkBetter(best, d)) {
            best = d;
            found = r;
        }
    };
    if ((cb.flags & kFlagCellIndex) && cb.grid && (cb.width == 1 || cb.width == 2)) {
        const Zem32s* list = nullptr;
        Zem32s count = 0;
        cellList(cb, x, &list, &count);
        for (Zem32s k = 0; k < count; ++k) consider(list[k]);
    } else {
        for (Zem32s r = 0; r < cb.numCodewords; ++r) consider(r);
    }
    *index = found;
    if (dist) *dist = std::sqrt(best);
    return Found::Index;
}

// Plain descent: go left when both of R's distances clearly exceed one of L's; an exact
// tie goes right.
template <class T>
inline const ZemsCdbkNode<T>* descendPlain(const ZemsCdbkNode<T>* node, const T* x, int width) {
    while (node && !node->isLeaf) {
        const ZemsCdbkNode<T>* l = node->left;
        const ZemsCdbkNode<T>* r = node->right;
        if (!l || !r) return nullptr;
        auto pair = [&](const ZemsCdbkNode<T>* c, Zem32f* d1, Zem32f* d2) {
            if (c->isLeaf) {
                *d1 = *d2 = plainDist(x, c->centroid, width);
            } else {
                *d1 = plainDist(x, c->left->centroid, width);
                *d2 = plainDist(x, c->right->centroid, width);
            }
        };
        if ((!l->isLeaf && (!l->left || !l->right)) || (!r->isLeaf && (!r->left || !r->right))) return nullptr;
        Zem32f a1, a2, b1, b2;
        pair(l, &a1, &a2);
        pair(r, &b1, &b2);
        const bool left = (cdbkBetter(b1, a1) && cdbkBetter(b2, a1)) || (cdbkBetter(b1, a2) && cdbkBetter(b2, a2));
        node = left ? l : r;
    }
    return node;
}

// Plain neighbour walk: move to a neighbour that is better by the margin and not near,
// and start again at the head of its list.
template <class T>
inline const ZemsCdbkNode<T>* walkPlain(const ZemsCdbkNode<T>* leaf, const T* x, int width) {
    Zem32f best = plainDist(x, leaf->centroid, width);
    for (bool moved = true; moved;) {
        moved = false;
        for (Zem32s k = 0; k < leaf->neighbourCount; ++k) {
            const ZemsCdbkNode<T>* nb = leaf->neighbours[k];
            if (!nb) return nullptr;
            const Zem32f d = plainDist(x, nb->centroid, width);
            if (cdbkBetter(best, d) && !cdbkNear(d, best)) {
                leaf = nb;
                best = d;
                moved = true;
                break;
            }
        }
    }
    return leaf;
}

template <class S>
inline bool clearlyAbove(S a, S b) {
    return static_cast<double>(a) > 1.000001 * static_cast<double>(b);
}

// Scored descent: the candidates of L and R in one block call, L taken when one of its
// scores clearly exceeds both of R's.
template <class T>
inline const ZemsCdbkNode<T>* descendScored(const ZemsCdbkNode<T>* node, const T* x, const TreeScorer<T>& scorer) {
    using Score = typename TreeScorer<T>::Score;
    while (node && !node->isLeaf) {
        const ZemsCdbkNode<T>* l = node->left;
        const ZemsCdbkNode<T>* r = node->right;
        if (!l || !r) return nullptr;
        const T* rows[4];
        int n = 0;
        int at[4];  // s1..s4 as positions in the call
        auto add = [&](const ZemsCdbkNode<T>* c, int first) {
            if (c->isLeaf) {
                at[first] = at[first + 1] = n;
                rows[n++] = c->centroid;
            } else {
                if (!c->left || !c->right) return false;
                at[first] = n;
                rows[n++] = c->left->centroid;
                at[first + 1] = n;
                rows[n++] = c->right->centroid;
            }
            return true;
        };
        if (!add(l, 0) || !add(r, 2)) return nullptr;
        for (int k = 0; k < n; ++k)
            if (!rows[k]) return nullptr;
        Score s[4];
        scorer.block(rows, n, x, s);
        const Score s1 = s[at[0]], s2 = s[at[1]], s3 = s[at[2]], s4 = s[at[3]];
        const bool left = (clearlyAbove(s1, s3) && clearlyAbove(s1, s4)) || (clearlyAbove(s2, s3) && clearlyAbove(s2, s4));
        node = left ? l : r;
    }
    return node;
}

// Scored neighbour walk: the whole list scored in one call; the first neighbour clearly
// above the best and not near it is taken.
template <class T>
inline const ZemsCdbkNode<T>* walkScored(const ZemsCdbkNode<T>* leaf, const T* x, const TreeScorer<T>& scorer) {
    using Score = typename TreeScorer<T>::Score;
    if (leaf->neighbourCount < 1) return leaf;
    Score best = scorer.single(x, leaf->centroid);
    for (;;) {
        const Zem32s count = leaf->neighbourCount;
        if (count < 1) return leaf;
        const ZemsCdbkNode<T>* next = nullptr;
        // Lists are scored four at a time so that no stack array depends on their length.
        for (Zem32s k0 = 0; k0 < count && !next; k0 += 4) {
            const int n = count - k0 < 4 ? static_cast<int>(count - k0) : 4;
            const T* rows[4];
            for (int k = 0; k < n; ++k) {
                const ZemsCdbkNode<T>* nb = leaf->neighbours[k0 + k];
                if (!nb || !nb->centroid) return nullptr;
                rows[k] = nb->centroid;
            }
            Score s[4];
            scorer.block(rows, n, x, s);
            for (int k = 0; k < n; ++k) {
                if (clearlyAbove(s[k], best) && !cdbkNear(static_cast<Zem32f>(best), static_cast<Zem32f>(s[k]))) {
                    next = leaf->neighbours[k0 + k];
                    best = s[k];
                    break;
                }
            }
        }
        if (!next) return leaf;
        leaf = next;
    }
}

template <class T>
inline TreeScorer<T> treeScorer(const State<T>& cb, int singleSf) {
    if constexpr (std::is_same_v<T, Zem16s>) return {cb.width, cb.weights, widthScale(cb.width), singleSf};
    else return {cb.width, cb.weights};
}

// Searches one vector.  singleSf is the leaf score's scale factor of the 16-bit weighted
// tree; the float forms ignore it.
template <class T>
inline Found searchOne(const State<T>& cb, const T* x, int singleSf, Zem32s* index, Zem32f* dist) {
    if (cb.hint == ZEM_CDBK_LIST) return searchList(cb, x, index, dist);
    if (cb.hint != ZEM_CDBK_SPLIT_WIDEST && cb.hint != ZEM_CDBK_SPLIT_FULLEST) return Found::Skipped;
    const ZemsCdbkNode<T>* leaf;
    if (!(cb.flags & kFlagWeighted)) {
        leaf = descendPlain(cb.root, x, cb.width);
        if (leaf) leaf = walkPlain(leaf, x, cb.width);
    } else {
        TreeScorer<T> scorer = treeScorer(cb, singleSf);
        leaf = descendScored(cb.root, x, scorer);
        if (leaf) leaf = walkScored(leaf, x, scorer);
    }
    if (!leaf || !leaf->centroid) return Found::Failed;
    *index = leaf->index;
    if (dist) *dist = std::sqrt(wdist(x, leaf->centroid, cb.weights, cb.width));
    return Found::Index;
}

}  // namespace zem::vq
