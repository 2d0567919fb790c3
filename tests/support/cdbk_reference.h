// A plain reference of codebook tree training for the tests: binary splitting with up to
// 20 k-means passes after each split, written from the rules (leaf choice, nearer-half
// seeding, margins of 1.000001, no leaf emptied, the nudge of collapsed centroids) over
// std::vector leaves, without the library's records.  The tree is kept as parent links so
// that a test can compare its shape with a state's nodes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "zemsr.h"

namespace zemtest {

inline bool refBetter(float a, float b) { return double(a) > 1.000001 * double(b); }

template <class T>
struct RefTree {
    struct Node {
        int left = -1, right = -1, depth = 1, count = 0, leaf = -1;  // leaf number, or -1 when split
        std::vector<T> centroid;
    };
    std::vector<Node> nodes;       // nodes[0] is the root
    std::vector<int> leafNode;     // node of each leaf number
    std::vector<float> distortion; // by leaf number
    std::vector<std::vector<int>> neighbours;
    ZemStatus status = zemStatusOk;
    int maxDepth = 1;
};

template <class T>
class RefTrainer {
public:
    static constexpr bool k16 = std::is_same_v<T, Zem16s>;
    RefTrainer(const T* src, int step, int width, int height, const std::vector<T>& w)
        : src_(src), step_(step), width_(width), height_(height), w_(w) {}

    float wd(const T* a, const T* b) const {
        float s = 0.0f;
        for (int j = 0; j < width_; ++j) {
            const float d = float(a[j]) - float(b[j]);
            s += float(w_[j]) * (d * d);
        }
        return s;
    }
    const T* x(int i) const { return src_ + int64_t(i) * step_; }
    static T fromMean(double m) {
        if constexpr (k16) {
            const double r = std::nearbyint(m);
            return T(r > 32767 ? 32767 : r < -32768 ? -32768 : r);
        } else {
            return T(m);
        }
    }

    RefTree<T> train(int size, int hint) {
        RefTree<T> t;
        const int n = height_;
        assign_.assign(n, 0);
        dist_.assign(n, 0.0f);
        typename RefTree<T>::Node root;
        root.count = n;
        root.leaf = 0;
        root.centroid.assign(width_, T(0));
        float rootDist = 0.0f;
        if (n == 1) {
            root.centroid.assign(x(0), x(0) + width_);
        } else if constexpr (k16) {
            for (int j = 0; j < width_; ++j) {
                double s = 0;
                for (int i = 0; i < n; ++i) s += x(i)[j];
                root.centroid[j] = fromMean(s / n);
            }
        } else {
            std::vector<float> s(width_, 0.0f);
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < width_; ++j) s[j] += x(i)[j];
            float mx = -std::numeric_limits<float>::max(), mn = std::numeric_limits<float>::max();
            for (int j = 0; j < width_; ++j) {
                root.centroid[j] = s[j] / float(n);
                mx = std::max(mx, root.centroid[j]);
                mn = std::min(mn, root.centroid[j]);
            }
            const float tol = std::max(mx * 1e-6f, mn * -1e-6f);
            for (int i = 0; i < n; ++i) {
                const float d = wd(x(i), root.centroid.data());
                dist_[i] = double(d) <= double(tol) * 1.000001 ? 0.0f : d;
            }
        }
        if (n > 1 && k16)
            for (int i = 0; i < n; ++i) dist_[i] = wd(x(i), root.centroid.data());
        if (n > 1)
            for (int i = 0; i < n; ++i)
                if (refBetter(dist_[i], rootDist)) rootDist = dist_[i];
        t.nodes.push_back(root);
        t.leafNode.push_back(0);
        t.distortion.push_back(2.0f * rootDist);
        for (int leaves = 1; leaves < size; ++leaves) {
            int pick = -1;
            float best = 0.0f;
            for (int l = 0; l < leaves; ++l) {
                const auto& node = t.nodes[t.leafNode[l]];
                const float key = hint == ZEM_CDBK_SPLIT_WIDEST ? t.distortion[l] : float(node.count);
                if (refBetter(key, best) && (hint == ZEM_CDBK_SPLIT_WIDEST || t.distortion[l] > 0.0f)) {
                    pick = l;
                    best = key;
                }
            }
            if (pick < 0) {
                t.status = zemStatusCdbkSizeWarning;
                break;
            }
            t.status = split(t, pick, leaves);
            if (t.status != zemStatusOk) return t;
        }
        finish(t);
        return t;
    }

private:
    // Means of every leaf from the assignments; 16-bit means kept in double.
    void means(RefTree<T>& t, int leaves) {
        mean_.assign(size_t(leaves) * width_, 0.0);
        std::vector<float> fsum(size_t(leaves) * width_, 0.0f);
        std::vector<int> count(leaves, 0);
        for (int i = 0; i < height_; ++i) {
            for (int j = 0; j < width_; ++j) {
                mean_[size_t(assign_[i]) * width_ + j] += x(i)[j];
                fsum[size_t(assign_[i]) * width_ + j] += float(x(i)[j]);
            }
            ++count[assign_[i]];
        }
        for (int l = 0; l < leaves; ++l) {
            auto& node = t.nodes[t.leafNode[l]];
            node.count = count[l];
            for (int j = 0; j < width_; ++j) {
                if (k16) {
                    double& m = mean_[size_t(l) * width_ + j];
                    if (count[l]) m /= count[l];
                    node.centroid[j] = fromMean(m);
                } else {
                    const float s = fsum[size_t(l) * width_ + j];
                    node.centroid[j] = T(count[l] ? s / float(count[l]) : s);
                }
            }
        }
    }

    bool nudge(RefTree<T>& t, int a, int n, int parentCount) {
        auto& A = t.nodes[t.leafNode[n]].centroid;
        const auto& B = t.nodes[t.leafNode[a]].centroid;
        std::vector<int> pair;
        for (int i = 0; i < height_; ++i)
            if (assign_[i] == n || assign_[i] == a) pair.push_back(i);
        size_t p = 0;
        if (pair.empty()) return false;
        for (int k = 1;; ++k) {
            while (k16 ? wd(x(pair[p]), A.data()) == 0.0f : wd(x(pair[p]), A.data()) < 1e-5f)
                if (++p == pair.size()) return false;
            if (k > 1000) return false;
            for (int j = 0; j < width_; ++j) {
                if constexpr (k16) {
                    double& m = mean_[size_t(n) * width_ + j];
                    m = m + (k / 100.0) * ((m + x(pair[p])[j]) / 2.0 - m);
                    A[j] = T(std::trunc(m));
                } else {
                    A[j] = A[j] + (float(k) / 100.0f) * ((A[j] + x(pair[p])[j]) / 2.0f - A[j]);
                }
            }
            double gain = 0;
            for (int i : pair) {
                const float da = wd(x(i), A.data()), db = wd(x(i), B.data());
                gain += da > 0 ? std::fabs(double(da) - db) / da : std::fabs(double(da) - db);
            }
            if (k16 ? gain > 0 : gain > 1e-6 * parentCount) return true;
        }
    }

    ZemStatus split(RefTree<T>& t, int a, int n) {
        const int parent = t.leafNode[a];
        const int parentCount = t.nodes[parent].count;
        if (parentCount < 2) return zemStatusBadSize;
        typename RefTree<T>::Node child;
        child.depth = t.nodes[parent].depth + 1;
        child.centroid.assign(width_, T(0));
        const int A = int(t.nodes.size()), B = A + 1;
        t.nodes.push_back(child);
        t.nodes.push_back(child);
        t.nodes[parent].left = A;
        t.nodes[parent].right = B;
        t.nodes[parent].leaf = -1;
        t.nodes[A].leaf = n;
        t.nodes[B].leaf = a;
        t.leafNode.push_back(A);
        t.leafNode[a] = B;
        t.distortion.push_back(0.0f);
        for (int s = 0; s < parentCount / 2; ++s) {
            int pick = -1;
            float best = std::numeric_limits<float>::max();
            for (int i = 0; i < height_; ++i)
                if (assign_[i] == a && refBetter(best, dist_[i])) best = dist_[i], pick = i;
            if (pick < 0) break;
            assign_[pick] = n;
            dist_[pick] = std::numeric_limits<float>::max();
        }
        const int leaves = n + 1;
        float previous = 0.0f;
        for (int it = 1;; ++it) {
            means(t, leaves);
            const float sep = wd(t.nodes[A].centroid.data(), t.nodes[B].centroid.data());
            if ((k16 ? sep == 0.0f : sep <= 1e-6f) && !nudge(t, a, n, parentCount)) return zemStatusBadArg;
            std::vector<int> count(leaves);
            for (int l = 0; l < leaves; ++l) count[l] = t.nodes[t.leafNode[l]].count;
            int moved = 0;
            float total = 0.0f;
            for (int i = 0; i < height_; ++i) {
                float best = std::numeric_limits<float>::max();
                int to = 0;
                for (int l = 0; l < leaves; ++l) {
                    const float d = wd(x(i), t.nodes[t.leafNode[l]].centroid.data());
                    if (refBetter(best, d)) best = d, to = l;
                }
                const int from = assign_[i];
                if (to == from) {
                    dist_[i] = best;
                } else if (count[from] < 2) {
                    dist_[i] = wd(x(i), t.nodes[t.leafNode[from]].centroid.data());
                } else {
                    dist_[i] = best;
                    ++count[to];
                    --count[from];
                    assign_[i] = to;
                    ++moved;
                }
                total += dist_[i];
            }
            for (int l = 0; l < leaves; ++l) t.nodes[t.leafNode[l]].count = count[l];
            const double change = double(total) - previous;
            if ((moved == 0 && std::fabs(change) <= 1e-4 * total) || it == 20) break;
            previous = total;
        }
        std::vector<float> largest(leaves, 0.0f);
        for (int i = 0; i < height_; ++i)
            if (refBetter(dist_[i], largest[assign_[i]])) largest[assign_[i]] = dist_[i];
        for (int l = 0; l < leaves; ++l)
            t.distortion[l] = t.nodes[t.leafNode[l]].count < 2 ? 0.0f : 2.0f * largest[l];
        return zemStatusOk;
    }

    void internalMeans(RefTree<T>& t, int node) {
        auto& nd = t.nodes[node];
        if (nd.left < 0) return;
        internalMeans(t, nd.left);
        internalMeans(t, nd.right);
        const auto& L = t.nodes[nd.left];
        const auto& R = t.nodes[nd.right];
        for (int j = 0; j < width_; ++j) {
            if constexpr (k16) {
                double s = 0;
                for (int c = 0; c < L.count; ++c) s += L.centroid[j];
                for (int c = 0; c < R.count; ++c) s += R.centroid[j];
                nd.centroid[j] = T(std::trunc(s / (L.count + R.count)));
            } else {
                float s = 0.0f;
                for (int c = 0; c < L.count; ++c) s += L.centroid[j];
                for (int c = 0; c < R.count; ++c) s += R.centroid[j];
                nd.centroid[j] = s / float(L.count + R.count);
            }
        }
    }

    void finish(RefTree<T>& t) {
        const int leaves = int(t.leafNode.size());
        for (int l = 0; l < leaves; ++l) t.maxDepth = std::max(t.maxDepth, t.nodes[t.leafNode[l]].depth);
        internalMeans(t, 0);
        t.neighbours.assign(leaves, {});
        if (leaves < 3) return;
        int L = std::max(4, int(std::log(double(leaves)) / std::log(2.0)));
        const int K = L + (leaves > (1 << L) ? 1 : 0);
        for (int a = 0; a < leaves; ++a) {
            std::vector<float> d(leaves);
            for (int b = 0; b < leaves; ++b)
                d[b] = wd(t.nodes[t.leafNode[a]].centroid.data(), t.nodes[t.leafNode[b]].centroid.data());
            d[a] = std::numeric_limits<float>::max();
            int last = 0;
            for (int j = 0; j < K; ++j) {
                if (j < std::min(K, leaves)) {
                    last = int(std::min_element(d.begin(), d.end()) - d.begin());
                    d[last] = std::numeric_limits<float>::max();
                }
                t.neighbours[a].push_back(last);
            }
        }
    }

    const T* src_;
    int step_, width_, height_;
    std::vector<T> w_;
    std::vector<int> assign_;
    std::vector<float> dist_;
    std::vector<double> mean_;
};

}  // namespace zemtest
