// Codebooks built by hand for the search tests: list codebooks with or without weights and
// a cell index, and trees of random shape with random neighbour lists, so that the search
// references do not depend on the training.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "test_support.h"
#include "vq/codebook.h"

namespace zemtest {

template <class T>
struct HandBook {
    using Node = zem::vq::ZemsCdbkNode<T>;
    int width = 0;
    std::vector<T> rows, weights;
    std::vector<Zem32f> scratch;
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<std::vector<T>> centroids;
    std::vector<std::vector<Node*>> lists;
    std::vector<Node*> leaves;
    zem::vq::StateT<T> st{};

    zem::vq::StateT<T>* get() { return &st; }
    const T* row(int r) const { return rows.data() + int64_t{r} * st.rowStep; }

    void finish(int numCodewords, int hint, bool weighted) {
        scratch.assign(numCodewords, 0.0f);
        st.numCodewords = numCodewords;
        st.width = width;
        st.rowStep = width;
        st.hint = hint;
        st.rows = rows.data();
        st.weights = weights.data();
        st.scratch = scratch.data();
        st.flags = weighted ? zem::vq::kFlagWeighted : 0u;
        st.indexBits = zem::vq::indexBits(numCodewords);
    }

    Node* newNode(Random& rng, double lo, double hi, int depth) {
        nodes.push_back(std::make_unique<Node>());
        Node* n = nodes.back().get();
        *n = Node{};
        centroids.push_back(rng.uniform<T>(width, lo, hi));
        n->centroid = centroids.back().data();
        n->isLeaf = 1;
        n->depth = depth;
        return n;
    }
};

template <class T>
inline std::vector<T> weightsFor(Random& rng, int width, bool weighted) {
    if (!weighted) return std::vector<T>(width, T(1));
    return std::is_same_v<T, Zem16s> ? rng.integers<T>(width, 1, 4) : rng.uniform<T>(width, 0.25, 2.0);
}

// A list codebook of n random rows.
template <class T>
inline void makeList(HandBook<T>& b, Random& rng, int n, int width, double lo, double hi, bool weighted) {
    b.width = width;
    b.rows = rng.uniform<T>(int64_t{n} * width, lo, hi);
    b.weights = weightsFor<T>(rng, width, weighted);
    b.finish(n, ZEM_CDBK_LIST, weighted);
}

// A tree of `leaves` leaves grown by splitting random leaves, random centroids everywhere,
// and neighbour lists of `k` random other leaves (repeats allowed).
template <class T>
inline void makeTree(HandBook<T>& b, Random& rng, int leaves, int width, int k, double lo, double hi, bool weighted) {
    b.width = width;
    b.weights = weightsFor<T>(rng, width, weighted);
    b.nodes.reserve(2 * leaves);
    b.centroids.reserve(2 * leaves);
    b.st.root = b.newNode(rng, lo, hi, 1);
    b.leaves = {b.st.root};
    while (static_cast<int>(b.leaves.size()) < leaves) {
        const int at = static_cast<int>(rng.integer(0, static_cast<int64_t>(b.leaves.size()) - 1));
        auto* p = b.leaves[at];
        p->isLeaf = 0;
        p->left = b.newNode(rng, lo, hi, p->depth + 1);
        p->right = b.newNode(rng, lo, hi, p->depth + 1);
        b.leaves[at] = p->right;
        b.leaves.push_back(p->left);
    }
    b.rows.assign(int64_t{leaves} * width, T(0));
    b.lists.resize(leaves);
    for (int j = 0; j < leaves; ++j) {
        auto* leaf = b.leaves[j];
        leaf->index = j;
        for (int e = 0; e < width; ++e) b.rows[int64_t{j} * width + e] = leaf->centroid[e];
        if (leaves < 2) continue;
        for (int m = 0; m < k; ++m) {
            int other = static_cast<int>(rng.integer(0, leaves - 2));
            if (other >= j) ++other;
            b.lists[j].push_back(b.leaves[other]);
        }
        leaf->neighbourCount = k;
        leaf->neighbours = b.lists[j].data();
    }
    b.finish(leaves, ZEM_CDBK_SPLIT_WIDEST, weighted);
}

}  // namespace zemtest
