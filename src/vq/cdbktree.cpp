// Tree codebooks: k-means with binary splitting.
//
// The root is the mean of the training set.  While fewer than cdbkSize leaves exist, the
// leaf of largest distortion (hint 2) or of most members with a positive distortion
// (hint 3) is split: its nearer half of members seeds a new leaf, then up to 20 k-means
// passes run over all leaves and all training vectors.  Leaves are numbered: the left
// child of a split takes the new number, the right child keeps its parent's.  When
// training ends, internal nodes take the count-weighted mean of their children, leaves
// become the codeword rows and each leaf is linked to its nearest other leaves.
//
// Sums and means are Zem32f in the float form; the 16-bit form keeps a double mean beside
// each 16-bit centroid and rounds it to the nearest integer.
#include <cstring>

#include "primitives/simd.h"
#include "vq/cdbkbuild.h"

namespace zem::vq {
namespace {

template <class T>
constexpr bool kIs16s = std::is_same_v<T, Zem16s>;

template <class T>
using NodeT = ZemsCdbkNode<T>;

bool hasCache(int width) { return width == 1 || width == 2 || width == 4 || width == 8; }

// The candidate that a scan in order keeps when a later one replaces the best only by
// cdbkBetter, starting from ZEM_MAX_32F: its index, or -1 when none qualifies.  d is
// readable up to n rounded up to 8.  Only a value below the current best can beat it, so
// a group of 8 is screened by that comparison and its remaining lanes get the exact test
// in order.
int marginArgMin(const Zem32f* d, int n, Zem32f* bestOut) {
    Zem32f best = ZEM_MAX_32F;
    int pick = -1;
    for (int g = 0; g < n; g += 8) {
        const unsigned valid = n - g >= 8 ? 0xffu : (1u << (n - g)) - 1u;
        const simd::F32x8 v = simd::load(d + g);
        unsigned lanes = static_cast<unsigned>(simd::signMask(simd::lt(v, simd::splat(best)))) & valid;
        while (lanes) {
            const int lane = __builtin_ctz(lanes);
            lanes &= lanes - 1u;
            if (!cdbkBetter(best, d[g + lane])) continue;
            pick = g + lane;
            best = d[pick];
            lanes &= static_cast<unsigned>(simd::signMask(simd::lt(v, simd::splat(best))));
        }
    }
    *bestOut = best;
    return pick;
}

template <class T>
NodeT<T>* newNode(int width, int depth) {
    NodeT<T>* node = newBlock<NodeT<T>>(1);
    if (!node) return nullptr;
    std::memset(static_cast<void*>(node), 0, sizeof(NodeT<T>));
    node->centroid = newBlock<T>(width);
    if (!node->centroid) {
        freeBlock(node);
        return nullptr;
    }
    std::memset(node->centroid, 0, static_cast<size_t>(width) * sizeof(T));
    node->isLeaf = 1;
    node->depth = depth;
    return node;
}

template <class T>
void releaseNode(NodeT<T>* node) {
    if (node->cache) {
        freeBlock(node->cache->quad);
        freeBlock(node->cache->neighbourCentroids);
        freeBlock(node->cache->neighbourNodes);
        freeBlock(node->cache);
    }
    freeBlock(node->neighbours);
    freeBlock(node->centroid);
    freeBlock(node);
}

// The training run of one codebook.
template <class T>
class Trainer {
public:
    Trainer(State<T>* st, const TrainSet<T>& set, int cdbkSize, const TrainWork<T>& work)
        : st_(st), set_(set), cdbkSize_(cdbkSize), nodes_(work.nodes), assign_(work.assign), dist_(work.dist) {}

    ZemStatus run();

private:
    ZemStatus grow();
    Zem32f wd(const T* a, const T* b) const { return wdist(a, b, set_.weights, set_.width); }
    const T* x(int i) const { return set_.row(i); }

    ZemStatus makeRoot();
    int chooseLeaf(int n) const;
    ZemStatus split(int a, int n);
    void recompute(int leaves);
    bool nudge(int a, int n, Zem32s parentCount);
    int reassign(int leaves, Zem32f* total);
    void distortions(int leaves);
    ZemStatus finish(int leaves);
    void meanOfChildren(NodeT<T>* node);
    ZemStatus caches(NodeT<T>* node);
    ZemStatus neighbourLists(int leaves);

    State<T>* st_;
    TrainSet<T> set_;
    int cdbkSize_;
    NodeT<T>** nodes_;
    Zem32s* assign_;
    Zem32f* dist_;
    double* mean_ = nullptr;  // 16-bit form: a double mean per leaf, width each, during a split

    // The assignment pass measures one vector against 8 leaves at a time: the centroids
    // stand transposed as Zem32f, dimension j of leaf l at columns_[j * lanes_ + l], and
    // each lane sums its leaf's terms in ascending j, so that every distance has the bits
    // of wdist.
    void refreshColumns(int leaves);
    template <bool kUnit>
    void leafDistances(int leaves);
    Zem32f* xf_ = nullptr;        // the vector being assigned, as Zem32f
    int lanes_ = 0;               // cdbkSize rounded up to 8
    Zem32f* columns_ = nullptr;   // width * lanes_
    Zem32f* leafDist_ = nullptr;  // lanes_ distances of one vector
    Zem32f* weights_ = nullptr;   // width weights as Zem32f
};

template <class T>
ZemStatus Trainer<T>::makeRoot() {
    const int width = set_.width, height = set_.height;
    NodeT<T>* root = newNode<T>(width, 1);
    if (!root) return zemStatusNoMemory;
    st_->root = root;
    nodes_[0] = root;
    for (int i = 0; i < height; ++i) assign_[i] = 0;
    if (height == 1) {
        std::memcpy(root->centroid, x(0), static_cast<size_t>(width) * sizeof(T));
        root->count = 1;
        dist_[0] = 0.0f;
        return zemStatusOk;
    }
    root->count = height;
    Zem32f tol = 0.0f;
    if constexpr (kIs16s<T>) {
        for (int j = 0; j < width; ++j) {
            double s = 0.0;
            for (int i = 0; i < height; ++i) s += x(i)[j];
            root->centroid[j] = roundTo16s(s / height);
        }
    } else {
        Zem32f* c = root->centroid;
        for (int i = 0; i < height; ++i)
            for (int j = 0; j < width; ++j) c[j] += x(i)[j];
        Zem32f hi = -ZEM_MAX_32F, lo = ZEM_MAX_32F;
        for (int j = 0; j < width; ++j) {
            c[j] /= static_cast<Zem32f>(height);
            hi = c[j] > hi ? c[j] : hi;
            lo = c[j] < lo ? c[j] : lo;
        }
        // Distances this small against the centroid's own size count as zero.
        const Zem32f up = hi * 1e-6f, down = lo * -1e-6f;
        tol = up > down ? up : down;
    }
    Zem32f largest = 0.0f;
    for (int i = 0; i < height; ++i) {
        const Zem32f d = wd(x(i), root->centroid);
        if constexpr (kIs16s<T>) dist_[i] = d;
        else dist_[i] = static_cast<double>(d) <= static_cast<double>(tol) * 1.000001 ? 0.0f : d;
        if (cdbkBetter(dist_[i], largest)) largest = dist_[i];
    }
    root->distortion = 2.0f * largest;
    return zemStatusOk;
}

// The leaf to split next, or -1 when none qualifies.
template <class T>
int Trainer<T>::chooseLeaf(int n) const {
    int chosen = -1;
    Zem32f best = 0.0f;
    for (int l = 0; l < n; ++l) {
        const NodeT<T>* leaf = nodes_[l];
        if (st_->hint == ZEM_CDBK_SPLIT_WIDEST) {
            if (cdbkBetter(leaf->distortion, best)) {
                chosen = l;
                best = leaf->distortion;
            }
        } else if (cdbkBetter(static_cast<Zem32f>(leaf->count), best) && leaf->distortion > 0.0f) {
            chosen = l;
            best = static_cast<Zem32f>(leaf->count);
        }
    }
    return chosen;
}

// Every leaf becomes the mean of its members.
template <class T>
void Trainer<T>::recompute(int leaves) {
    const int width = set_.width, height = set_.height;
    for (int l = 0; l < leaves; ++l) nodes_[l]->count = 0;
    if constexpr (kIs16s<T>) {
        std::memset(mean_, 0, static_cast<size_t>(leaves) * width * sizeof(double));
        for (int i = 0; i < height; ++i) {
            double* m = mean_ + static_cast<int64_t>(assign_[i]) * width;
            for (int j = 0; j < width; ++j) m[j] += x(i)[j];
            ++nodes_[assign_[i]]->count;
        }
        for (int l = 0; l < leaves; ++l) {
            double* m = mean_ + static_cast<int64_t>(l) * width;
            const Zem32s c = nodes_[l]->count;
            for (int j = 0; j < width; ++j) {
                if (c > 0) m[j] /= c;
                nodes_[l]->centroid[j] = roundTo16s(m[j]);
            }
        }
    } else {
        for (int l = 0; l < leaves; ++l) std::memset(nodes_[l]->centroid, 0, static_cast<size_t>(width) * sizeof(T));
        for (int i = 0; i < height; ++i) {
            Zem32f* c = nodes_[assign_[i]]->centroid;
            for (int j = 0; j < width; ++j) c[j] += x(i)[j];
            ++nodes_[assign_[i]]->count;
        }
        for (int l = 0; l < leaves; ++l) {
            const Zem32s c = nodes_[l]->count;
            if (c > 0)
                for (int j = 0; j < width; ++j) nodes_[l]->centroid[j] /= static_cast<Zem32f>(c);
        }
    }
}

// Moves the new leaf's centroid (leaf n) towards a member of the pair until it separates
// from leaf a.  Steps past k = 100 overshoot the member; that is intended.
template <class T>
bool Trainer<T>::nudge(int a, int n, Zem32s parentCount) {
    const int width = set_.width, height = set_.height;
    T* ca = nodes_[n]->centroid;
    const T* cb = nodes_[a]->centroid;
    auto inPair = [&](int i) { return assign_[i] == n || assign_[i] == a; };
    int i = 0;
    while (i < height && !inPair(i)) ++i;
    if (i == height) return false;
    for (int k = 1;; ++k) {
        for (;;) {
            const Zem32f d = wd(x(i), ca);
            if (kIs16s<T> ? d != 0.0f : d >= 1e-5f) break;
            do ++i;
            while (i < height && !inPair(i));
            if (i == height) return false;
        }
        if (k > 1000) return false;
        if constexpr (kIs16s<T>) {
            double* m = mean_ + static_cast<int64_t>(n) * width;
            const double f = k / 100.0;
            for (int j = 0; j < width; ++j) {
                m[j] = m[j] + f * ((m[j] + x(i)[j]) / 2.0 - m[j]);
                ca[j] = truncTo16s(m[j]);
            }
        } else {
            const Zem32f f = static_cast<Zem32f>(k) / 100.0f;
            for (int j = 0; j < width; ++j) ca[j] = ca[j] + f * ((ca[j] + x(i)[j]) / 2.0f - ca[j]);
        }
        double gain = 0.0;
        for (int jv = 0; jv < height; ++jv) {
            if (!inPair(jv)) continue;
            const Zem32f da = wd(x(jv), ca), db = wd(x(jv), cb);
            const double diff = std::fabs(static_cast<double>(da) - static_cast<double>(db));
            gain += da > 0.0f ? diff / da : diff;
        }
        if (kIs16s<T> ? gain > 0.0 : gain > 1e-6 * parentCount) return true;
    }
}

// One k-means assignment pass over all vectors; returns the number that moved.  A vector
// never leaves a leaf of fewer than two members, so no leaf empties.
template <class T>
void Trainer<T>::refreshColumns(int leaves) {
    for (int l = 0; l < lanes_; ++l)
        for (int j = 0; j < set_.width; ++j)
            columns_[int64_t{j} * lanes_ + l] = l < leaves ? static_cast<Zem32f>(nodes_[l]->centroid[j]) : 0.0f;
}

// Distances of the vector in xf_ from every leaf into leafDist_, 8 leaves a lane group and
// up to four groups sharing the broadcasts of one dimension.  With unit weights the
// product by the weight is left out: it would not change a bit.
template <class T>
template <bool kUnit>
void Trainer<T>::leafDistances(int leaves) {
    using simd::F32x8;
    const int width = set_.width;
    for (int g = 0; g < leaves; g += 32) {
        const int groups = (leaves - g + 7) / 8 < 4 ? (leaves - g + 7) / 8 : 4;
        F32x8 acc[4] = {simd::splat(0.0f), simd::splat(0.0f), simd::splat(0.0f), simd::splat(0.0f)};
        const Zem32f* col = columns_ + g;
        for (int j = 0; j < width; ++j, col += lanes_) {
            const F32x8 xj = simd::splat(xf_[j]);
            const F32x8 wj = simd::splat(weights_[j]);
            for (int k = 0; k < 4; ++k) {
                if (k >= groups) break;
                const F32x8 d = xj - simd::load(col + 8 * k);
                acc[k] = acc[k] + (kUnit ? d * d : wj * (d * d));
            }
        }
        for (int k = 0; k < groups; ++k) simd::store(leafDist_ + g + 8 * k, acc[k]);
    }
}

template <class T>
int Trainer<T>::reassign(int leaves, Zem32f* total) {
    refreshColumns(leaves);
    const int width = set_.width;
    const bool unit = (st_->flags & kFlagWeighted) == 0;
    int moved = 0;
    Zem32f sum = 0.0f;
    for (int i = 0; i < set_.height; ++i) {
        const T* xi = x(i);
        for (int j = 0; j < width; ++j) xf_[j] = static_cast<Zem32f>(xi[j]);
        if (unit) leafDistances<true>(leaves);
        else leafDistances<false>(leaves);
        // The first of nearly equal leaves stays.
        Zem32f best = ZEM_MAX_32F;
        const int found = marginArgMin(leafDist_, leaves, &best);
        const int bestLeaf = found < 0 ? 0 : found;
        const int cur = assign_[i];
        if (bestLeaf == cur) {
            dist_[i] = best;
        } else if (nodes_[cur]->count < 2) {
            dist_[i] = wd(x(i), nodes_[cur]->centroid);
        } else {
            dist_[i] = best;
            ++nodes_[bestLeaf]->count;
            --nodes_[cur]->count;
            assign_[i] = bestLeaf;
            ++moved;
        }
        sum += dist_[i];
    }
    *total = sum;
    return moved;
}

template <class T>
void Trainer<T>::distortions(int leaves) {
    for (int l = 0; l < leaves; ++l) nodes_[l]->distortion = 0.0f;
    for (int i = 0; i < set_.height; ++i) {
        NodeT<T>* leaf = nodes_[assign_[i]];
        if (cdbkBetter(dist_[i], leaf->distortion)) leaf->distortion = dist_[i];
    }
    for (int l = 0; l < leaves; ++l)
        nodes_[l]->distortion = nodes_[l]->count < 2 ? 0.0f : 2.0f * nodes_[l]->distortion;
}

template <class T>
ZemStatus Trainer<T>::split(int a, int n) {
    const int width = set_.width, height = set_.height;
    NodeT<T>* parent = nodes_[a];
    if (parent->count < 2) return zemStatusBadSize;
    NodeT<T>* left = newNode<T>(width, parent->depth + 1);
    NodeT<T>* right = left ? newNode<T>(width, parent->depth + 1) : nullptr;
    if (!right) {
        if (left) releaseNode(left);
        return zemStatusNoMemory;
    }
    const int leaves = n + 1;
    Scratch<Zem32s, 2048> memberList(parent->count);
    Scratch<Zem32f, 2048> memberDist(int64_t{parent->count} + 8);
    if (!memberList.ok() || !memberDist.ok()) {
        releaseNode(left);
        releaseNode(right);
        return zemStatusNoMemory;
    }
    if constexpr (kIs16s<T>) {
        // The double means, sized as the training's own block: (leaves + 4) rows and
        // their row pointers.
        const int64_t bytes = (int64_t{leaves} + 4) * width * 8 + int64_t{leaves} * 8;
        mean_ = newBlock<double>(bytes / 8);
        if (!mean_) {
            releaseNode(left);
            releaseNode(right);
            return zemStatusNoMemory;
        }
    }
    parent->isLeaf = 0;
    parent->left = left;
    parent->right = right;
    nodes_[n] = left;
    nodes_[a] = right;

    // The nearer half of the parent's members seeds the new leaf: count / 2 times the
    // first member of least distance (by cdbkBetter) moves over.  Only members are
    // scanned, in training order, as a scan of all vectors would meet them.
    // A member that has moved holds ZEM_MAX_32F, which nothing beats, so the scans run
    // over a packed copy of the members' distances.
    int members = 0;
    for (int i = 0; i < height && members < parent->count; ++i)
        if (assign_[i] == a) {
            memberList[members] = i;
            memberDist[members++] = dist_[i];
        }
    for (int k = members; k < (members + 7) / 8 * 8; ++k) memberDist[k] = ZEM_MAX_32F;
    for (int s = parent->count / 2; s > 0; --s) {
        Zem32f best;
        const int k = marginArgMin(memberDist.data(), members, &best);
        if (k < 0) break;
        assign_[memberList[k]] = n;
        dist_[memberList[k]] = ZEM_MAX_32F;
        memberDist[k] = ZEM_MAX_32F;
    }

    ZemStatus status = zemStatusOk;
    Zem32f previous = 0.0f;
    for (int iteration = 0;;) {
        recompute(leaves);
        const Zem32f sep = wd(left->centroid, right->centroid);
        const bool collapsed = kIs16s<T> ? sep == 0.0f : sep <= 1e-6f;
        if (collapsed && !nudge(a, n, parent->count)) {
            // Undo: the parent is a leaf again under its old number; assignments stay.
            parent->isLeaf = 1;
            parent->left = parent->right = nullptr;
            nodes_[a] = parent;
            nodes_[n] = nullptr;
            releaseNode(left);
            releaseNode(right);
            status = zemStatusBadArg;
            break;
        }
        Zem32f total = 0.0f;
        const int moved = reassign(leaves, &total);
        ++iteration;
        const double change = static_cast<double>(total) - previous;
        const double band = 1e-4 * static_cast<double>(total);
        if ((moved == 0 && change <= band && change >= -band) || iteration == 20) break;
        previous = total;
    }
    if (status == zemStatusOk) distortions(leaves);
    freeBlock(mean_);
    mean_ = nullptr;
    return status;
}

// Count-weighted mean of the children, by repeated addition as the children's counts say.
template <class T>
void Trainer<T>::meanOfChildren(NodeT<T>* node) {
    const int width = set_.width;
    const NodeT<T>* l = node->left;
    const NodeT<T>* r = node->right;
    const Zem32s total = l->count + r->count;
    if constexpr (kIs16s<T>) {
        // Sums of 16-bit values in double are exact, so products stand for the additions.
        for (int j = 0; j < width; ++j) {
            const double s = static_cast<double>(l->centroid[j]) * l->count + static_cast<double>(r->centroid[j]) * r->count;
            node->centroid[j] = truncTo16s(s / total);
        }
    } else {
        for (int j = 0; j < width; ++j) {
            Zem32f s = 0.0f;
            for (Zem32s c = 0; c < l->count; ++c) s += l->centroid[j];
            for (Zem32s c = 0; c < r->count; ++c) s += r->centroid[j];
            node->centroid[j] = s / static_cast<Zem32f>(total);
        }
    }
}

// Children first: internal centroids, and the caches with their grandchildren quads.
template <class T>
ZemStatus Trainer<T>::caches(NodeT<T>* node) {
    const int width = set_.width;
    if (!node->isLeaf) {
        if (const ZemStatus s = caches(node->left)) return s;
        if (const ZemStatus s = caches(node->right)) return s;
        meanOfChildren(node);
    }
    if (!hasCache(width)) return zemStatusOk;
    node->cache = newBlock<ZemsCdbkNodeCache<T>>(1);
    if (!node->cache) return zemStatusNoMemory;
    std::memset(static_cast<void*>(node->cache), 0, sizeof(ZemsCdbkNodeCache<T>));
    if (node->isLeaf) return zemStatusOk;
    T* quad = newBlock<T>(4 * int64_t{width});
    if (!quad) return zemStatusNoMemory;
    node->cache->quad = quad;
    const NodeT<T>* kids[2] = {node->left, node->right};
    for (int k = 0; k < 2; ++k) {
        const NodeT<T>* c = kids[k];
        const T* first = c->isLeaf ? c->centroid : c->left->centroid;
        const T* second = c->isLeaf ? c->centroid : c->right->centroid;
        std::memcpy(quad + (2 * k) * width, first, static_cast<size_t>(width) * sizeof(T));
        std::memcpy(quad + (2 * k + 1) * width, second, static_cast<size_t>(width) * sizeof(T));
    }
    return zemStatusOk;
}

template <class T>
ZemStatus Trainer<T>::neighbourLists(int leaves) {
    if (leaves < 3) return zemStatusOk;
    const int width = set_.width;
    int lengthBits = static_cast<int>(std::log(static_cast<double>(leaves)) / std::log(2.0));
    if (lengthBits < 4) lengthBits = 4;
    const int K = lengthBits + ((int64_t{1} << lengthBits) < leaves ? 1 : 0);
    Zem32f* d = dist_;  // training is over: its distances serve as the leaf distances
    for (int a = 0; a < leaves; ++a) {
        NodeT<T>* leaf = nodes_[a];
        leaf->neighbourCount = K;
        leaf->neighbours = newBlock<NodeT<T>*>(K);
        if (!leaf->neighbours) return zemStatusNoMemory;
        ZemsCdbkNodeCache<T>* cache = leaf->cache;
        if (cache) {
            cache->neighbourCentroids = newBlock<T>(int64_t{K} * width);
            if (!cache->neighbourCentroids) return zemStatusNoMemory;
            cache->neighbourNodes = newBlock<NodeT<T>*>(K);
            if (!cache->neighbourNodes) return zemStatusNoMemory;
        }
        for (int b = 0; b < leaves; ++b) d[b] = wd(leaf->centroid, nodes_[b]->centroid);
        d[a] = ZEM_MAX_32F;
        const int found = K < leaves ? K : leaves;
        int last = 0;
        for (int j = 0; j < K; ++j) {
            if (j < found) {
                last = 0;
                for (int b = 1; b < leaves; ++b)
                    if (d[b] < d[last]) last = b;
                d[last] = ZEM_MAX_32F;
            }
            leaf->neighbours[j] = nodes_[last];
            if (cache) {
                std::memcpy(cache->neighbourCentroids + int64_t{j} * width, nodes_[last]->centroid,
                            static_cast<size_t>(width) * sizeof(T));
                cache->neighbourNodes[j] = nodes_[last];
            }
        }
    }
    return zemStatusOk;
}

template <class T>
ZemStatus Trainer<T>::finish(int leaves) {
    const int width = set_.width;
    Zem32s depth = 0;
    for (int l = 0; l < leaves; ++l) {
        NodeT<T>* leaf = nodes_[l];
        leaf->index = l;
        std::memcpy(st_->rows + static_cast<int64_t>(l) * st_->rowStep, leaf->centroid,
                    static_cast<size_t>(width) * sizeof(T));
        depth = leaf->depth > depth ? leaf->depth : depth;
    }
    st_->numCodewords = leaves;
    st_->maxDepth = depth;
    if (const ZemStatus s = caches(st_->root)) return s;
    return neighbourLists(leaves);
}

template <class T>
ZemStatus Trainer<T>::run() {
    const int width = set_.width;
    lanes_ = (cdbkSize_ + 7) / 8 * 8;
    Zem32f* work = newBlock<Zem32f>((int64_t{width} + 1) * lanes_ + 2 * int64_t{width});
    if (!work) return zemStatusNoMemory;
    columns_ = work;
    leafDist_ = work + int64_t{width} * lanes_;
    weights_ = leafDist_ + lanes_;
    xf_ = weights_ + width;
    for (int j = 0; j < width; ++j) weights_[j] = static_cast<Zem32f>(set_.weights[j]);
    const ZemStatus s = grow();
    freeBlock(work);
    return s;
}

template <class T>
ZemStatus Trainer<T>::grow() {
    if (const ZemStatus s = makeRoot()) return s;
    int leaves = 1;
    ZemStatus result = zemStatusOk;
    for (int n = 1; n < cdbkSize_; ++n) {
        const int a = chooseLeaf(n);
        if (a < 0) {
            result = zemStatusCdbkSizeWarning;
            break;
        }
        if (const ZemStatus s = split(a, n)) return s;
        leaves = n + 1;
    }
    if (const ZemStatus s = finish(leaves)) return s;
    return result;
}

}  // namespace

template <class T>
ZemStatus trainTree(State<T>* state, const TrainSet<T>& set, int cdbkSize, const TrainWork<T>& work) {
    Trainer<T> trainer(state, set, cdbkSize, work);
    return trainer.run();
}

template <class T>
void releaseTree(ZemsCdbkNode<T>* node) {
    if (!node) return;
    releaseTree(node->left);
    releaseTree(node->right);
    releaseNode(node);
}

template ZemStatus trainTree<Zem16s>(State<Zem16s>*, const TrainSet<Zem16s>&, int, const TrainWork<Zem16s>&);
template ZemStatus trainTree<Zem32f>(State<Zem32f>*, const TrainSet<Zem32f>&, int, const TrainWork<Zem32f>&);
template void releaseTree<Zem16s>(ZemsCdbkNode<Zem16s>*);
template void releaseTree<Zem32f>(ZemsCdbkNode<Zem32f>*);

}  // namespace zem::vq
