// Codebook search: list searches against brute force, tree searches against a reference of
// the descent and neighbour walk (plain distances, or the Gaussian score exports for a
// weighted tree), cell index slots, Sort and Thresh against a stable sort, check orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "check_order.h"
#include "test_support.h"
#include "vq_books.h"
#include "zemsr.h"

using namespace zemtest;
using zem::vq::ZemsCdbkNode;

namespace {

bool better(float a, float b) { return static_cast<double>(a) > 1.000001 * static_cast<double>(b); }
bool nearRel(float a, float b) {
    const double l = std::max<double>(a, b);
    return static_cast<double>(1e-4f) * std::fabs(l) >= std::fabs(static_cast<double>(a) - b);
}

// Squared distance, ascending, in float; w null for the plain form.  The 16-bit weighted
// list form at widths 1 and 2 takes the integer product of weight and difference first.
template <class T>
float sqDist(const T* a, const T* b, const T* w, int width, bool intProduct = false) {
    float s = 0.0f;
    for (int j = 0; j < width; ++j) {
        if (intProduct) {
            const int d = static_cast<int>(a[j]) - static_cast<int>(b[j]);
            s += static_cast<float>(static_cast<int>(w[j]) * d) * static_cast<float>(d);
            continue;
        }
        const float d = static_cast<float>(a[j]) - static_cast<float>(b[j]);
        s += w ? static_cast<float>(w[j]) * (d * d) : d * d;
    }
    return s;
}

template <class T>
int bruteList(const HandBook<T>& b, const T* x, float* best) {
    const bool weighted = b.st.flags & zem::vq::kFlagWeighted;
    const bool ip = std::is_same_v<T, Zem16s> && weighted && b.width <= 2;
    float m = std::numeric_limits<float>::max();
    int at = -1;
    for (int r = 0; r < b.st.numCodewords; ++r) {
        const float d = sqDist(x, b.row(r), weighted ? b.weights.data() : nullptr, b.width, ip);
        if (better(m, d)) m = d, at = r;
    }
    *best = m;
    return at;
}

// Scores of the weighted tree through the Gaussian score exports.
template <class T>
struct RefScores {
    const zem::vq::State<T>& b;
    int blockSf, singleSf;
    double single(const T* x, const T* c) const {
        if constexpr (std::is_same_v<T, Zem32f>) {
            Zem32f r;
            EXPECT_EQ(zemsLogGaussSingle_32f(x, c, b.weights, b.width, &r, 0.0f), zemStatusOk);
            return r;
        } else {
            Zem32s r;
            EXPECT_EQ(zemsLogGaussSingle_16s32s_Sfs(x, c, b.weights, b.width, &r, 0, singleSf), zemStatusOk);
            return r;
        }
    }
    std::vector<double> block(const std::vector<const T*>& rows, const T* x) const {
        std::vector<double> out(rows.size());
        if constexpr (std::is_same_v<T, Zem32f>) {
            std::vector<Zem32f> s(rows.size());
            EXPECT_EQ(zemsLogGauss_32f_D2L(rows.data(), x, b.weights, b.width, s.data(), int(rows.size()), 0.0f),
                      zemStatusOk);
            std::copy(s.begin(), s.end(), out.begin());
        } else {
            std::vector<Zem32s> s(rows.size());
            EXPECT_EQ(zemsLogGauss_16s32s_D2LSfs(rows.data(), x, b.weights, b.width, s.data(), int(rows.size()),
                                                 0, blockSf),
                      zemStatusOk);
            std::copy(s.begin(), s.end(), out.begin());
        }
        return out;
    }
};

// The tree's answer: the descent judged by the better grandchild of each side, then the
// neighbour walk.
template <class T>
int treeAnswer(const zem::vq::State<T>& b, const T* x, int singleSf) {
    using Node = ZemsCdbkNode<T>;
    const bool weighted = b.flags & zem::vq::kFlagWeighted;
    const int s16 = static_cast<int>(std::log(double(b.width)) / std::log(2.0)) + 1;
    const RefScores<T> sc{b, s16, singleSf};
    auto pair = [](const Node* c) {
        return c->isLeaf ? std::vector<const T*>{c->centroid, c->centroid}
                         : std::vector<const T*>{c->left->centroid, c->right->centroid};
    };
    const Node* n = b.root;
    while (!n->isLeaf) {
        const auto l = pair(n->left), r = pair(n->right);
        bool goLeft;
        if (!weighted) {
            const float a = std::min(sqDist<T>(x, l[0], nullptr, b.width), sqDist<T>(x, l[1], nullptr, b.width));
            const float c = std::min(sqDist<T>(x, r[0], nullptr, b.width), sqDist<T>(x, r[1], nullptr, b.width));
            goLeft = better(c, a);
        } else {
            const auto s = sc.block({l[0], l[1], r[0], r[1]}, x);
            const double lo = std::max(1.000001 * s[2], 1.000001 * s[3]);
            goLeft = std::max(s[0], s[1]) > lo;
        }
        n = goLeft ? n->left : n->right;
    }
    if (!weighted) {
        float best = sqDist<T>(x, n->centroid, nullptr, b.width);
        for (bool moved = true; moved;) {
            moved = false;
            for (int k = 0; k < n->neighbourCount && !moved; ++k) {
                const float d = sqDist<T>(x, n->neighbours[k]->centroid, nullptr, b.width);
                if (better(best, d) && !nearRel(d, best)) n = n->neighbours[k], best = d, moved = true;
            }
        }
    } else if (n->neighbourCount > 0) {
        double best = sc.single(x, n->centroid);
        for (bool moved = true; moved;) {
            moved = false;
            std::vector<const T*> rows;
            for (int k = 0; k < n->neighbourCount; ++k) rows.push_back(n->neighbours[k]->centroid);
            const auto s = sc.block(rows, x);
            for (int k = 0; k < n->neighbourCount && !moved; ++k)
                if (s[k] > 1.000001 * best && !nearRel(float(best), float(s[k]))) n = n->neighbours[k], best = s[k], moved = true;
        }
    }
    return n->index;
}

// The float to integer end of the 16-bit distances: scaled by 2^-sf, nearest, saturated.
Zem32s scaledRef(float v, int sf) {
    const double t = std::nearbyint(static_cast<double>(v) * std::ldexp(1.0, -sf));
    return static_cast<Zem32s>(std::clamp(t, -2147483648.0, 2147483647.0));
}

template <class T>
std::vector<T> vectors(Random& rng, int count, int step, double lo, double hi) {
    return rng.uniform<T>(int64_t{count} * step, lo, hi);
}

template <class T>
void blockSearchMatches(bool tree) {
    Random rng(tree ? 21 : 12);
    const double lo = std::is_same_v<T, Zem16s> ? -60 : -3, hi = -lo;
    for (int width : {1, 2, 3, 4, 5, 8, 9, 13, 70}) {
        for (bool weighted : {false, true}) {
            HandBook<T> b;
            if (tree) makeTree(b, rng, 23, width, 5, lo, hi, weighted);
            else makeList(b, rng, 37, width, lo, hi, weighted);
            const int step = width + 3, height = 41;
            for (size_t off : {size_t{0}, sizeof(T)}) {
                const auto v = vectors<T>(rng, height, step, lo, hi);
                Buffer<T> src(v.size(), off);
                std::copy(v.begin(), v.end(), src.begin());
                std::vector<Zem32s> idx(height, -7), idxD(height);
                std::vector<Zem32f> dist(height);
                std::vector<Zem32s> dist16(height);
                if constexpr (std::is_same_v<T, Zem32f>) {
                    ASSERT_EQ(zemsVQ_32f(src.data(), step, idx.data(), height, b.get()), zemStatusOk);
                    ASSERT_EQ(zemsVQDist_32f(src.data(), step, idxD.data(), dist.data(), height, b.get()), zemStatusOk);
                } else {
                    ASSERT_EQ(zemsVQ_16s(src.data(), step, idx.data(), height, b.get()), zemStatusOk);
                    ASSERT_EQ(zemsVQDist_16s32s_Sfs(src.data(), step, idxD.data(), dist16.data(), height, b.get(), -2),
                              zemStatusOk);
                }
                for (int i = 0; i < height; ++i) {
                    SCOPED_TRACE(testing::Message() << "width " << width << " weighted " << weighted << " vector " << i);
                    const T* x = v.data() + int64_t{i} * step;
                    float best;
                    const int s16 = static_cast<int>(std::log(double(width)) / std::log(2.0)) + 1;
                    const int want = tree ? treeAnswer<T>(b.st, x, s16) : bruteList(b, x, &best);
                    const int wantD = tree ? treeAnswer<T>(b.st, x, 0) : want;
                    EXPECT_EQ(idx[i], want);
                    EXPECT_EQ(idxD[i], wantD);
                    // Trees report the weighted distance whatever the flags; lists the one they compared.
                    const float d = tree ? std::sqrt(sqDist(x, b.row(wantD), b.weights.data(), width)) : std::sqrt(best);
                    if constexpr (std::is_same_v<T, Zem32f>) EXPECT_TRUE(sameBits(dist[i], d));
                    else EXPECT_EQ(dist16[i], scaledRef(d, -2));
                }
            }
        }
    }
}

TEST(VQSearch, ListSearchIsTheBruteForceNearest) {
    blockSearchMatches<Zem32f>(false);
    blockSearchMatches<Zem16s>(false);
}

TEST(VQSearch, TreeSearchFollowsTheDescentAndTheNeighbourWalk) {
    blockSearchMatches<Zem32f>(true);
    blockSearchMatches<Zem16s>(true);
}

// A trained tree (64 codewords of 13 over clustered vectors) searched with vectors it was
// not trained on: the answer is the reference's descent and walk over the trained nodes,
// and for most vectors also the nearest codeword by the measure that the search uses.
template <class T>
void trainedTreeSearch(bool weighted) {
    Random rng(weighted ? 31 : 32);
    constexpr int width = 13, trained = 3000, searched = 400, clusters = 24;
    const double spread = std::is_same_v<T, Zem16s> ? 400 : 4;
    const auto centres = rng.uniform<double>(clusters * width, -spread, spread);
    auto draw = [&](int n) {
        std::vector<T> v(int64_t{n} * width);
        for (int i = 0; i < n; ++i) {
            const int64_t c = rng.integer(0, clusters - 1);
            const auto noise = rng.uniform<double>(width, -spread / 3, spread / 3);
            for (int j = 0; j < width; ++j) v[int64_t{i} * width + j] = static_cast<T>(centres[c * width + j] + noise[j]);
        }
        return v;
    };
    const std::vector<T> training = draw(trained), x = draw(searched), w = weightsFor<T>(rng, width, weighted);
    zem::vq::StateT<T>* cb = nullptr;
    std::vector<Zem32s> idx(searched, -1);
    if constexpr (std::is_same_v<T, Zem32f>) {
        const int hint = ZEM_CDBK_SPLIT_WIDEST;
        ASSERT_EQ(weighted ? zemsCdbkInitAlloc_WgtL2_32f(&cb, training.data(), w.data(), width, width, trained, 64, hint)
                           : zemsCdbkInitAlloc_L2_32f(&cb, training.data(), width, width, trained, 64, hint),
                  zemStatusOk);
        ASSERT_EQ(zemsVQ_32f(x.data(), width, idx.data(), searched, cb), zemStatusOk);
    } else {
        ASSERT_EQ(zemsCdbkInitAlloc_WgtL2_16s(&cb, training.data(), w.data(), width, width, trained, 64,
                                              ZEM_CDBK_SPLIT_WIDEST),
                  zemStatusOk);
        ASSERT_EQ(zemsVQ_16s(x.data(), width, idx.data(), searched, cb), zemStatusOk);
    }
    const int s16 = static_cast<int>(std::log(double(width)) / std::log(2.0)) + 1;
    int nearest = 0;
    for (int i = 0; i < searched; ++i) {
        const T* v = x.data() + int64_t{i} * width;
        EXPECT_EQ(idx[i], treeAnswer<T>(*cb, v, s16)) << "vector " << i;
        float best = std::numeric_limits<float>::max();
        for (int r = 0; r < cb->numCodewords; ++r)
            best = std::min(best, sqDist(v, cb->rows + int64_t{r} * cb->rowStep, cb->weights, width));
        nearest += sqDist(v, cb->rows + int64_t{idx[i]} * cb->rowStep, cb->weights, width) == best;
    }
    EXPECT_GT(nearest, searched * 9 / 10);  // 98 to 99 % on these clusters
    if constexpr (std::is_same_v<T, Zem32f>) zemsCdbkFree_32f(cb);
    else zemsCdbkFree_16s(cb);
}

TEST(VQSearch, TrainedTreesGiveTheirOwnAnswerAndMostlyTheNearest) {
    trainedTreeSearch<Zem32f>(false);
    trainedTreeSearch<Zem32f>(true);
    trainedTreeSearch<Zem16s>(true);
}

TEST(VQSearch, ListTieKeepsTheFirstRowUnlessBeatenByTheMargin) {
    HandBook<Zem32f> b;
    b.width = 1;
    b.rows = {1.0f, -1.0f, 1.0f + 2e-7f, 0.9999995f};
    b.weights = {1.0f};
    b.finish(4, ZEM_CDBK_LIST, false);
    const Zem32f x = 0.0f;
    Zem32s idx = -1;
    ASSERT_EQ(zemsVQ_32f(&x, 1, &idx, 1, b.get()), zemStatusOk);
    EXPECT_EQ(idx, 0);  // rows 1..3 are within 1e-6 of row 0
    b.rows[3] = 0.99f;
    ASSERT_EQ(zemsVQ_32f(&x, 1, &idx, 1, b.get()), zemStatusOk);
    EXPECT_EQ(idx, 3);
}

// Each slot's list holds the slot's own number, so the answer names the slot.
TEST(VQSearch, CellIndexSlotsIncludingTheOuterRing) {
    auto slotted = [](auto& b, int slots, auto* grid, std::vector<std::vector<Zem32s>>& lists,
                      std::vector<Zem32s*>& ptrs, std::vector<Zem32s>& counts) {
        using T = std::remove_reference_t<decltype(b.rows[0])>;
        b.rows.assign(slots * b.width, T(0));
        b.weights.assign(b.width, T(1));
        b.finish(slots, ZEM_CDBK_LIST, false);
        for (int s = 0; s < slots; ++s) lists.push_back({s});
        for (auto& l : lists) ptrs.push_back(l.data()), counts.push_back(1);
        grid->lists = ptrs.data();
        grid->counts = counts.data();
        b.st.grid = grid;
        b.st.flags |= zem::vq::kFlagCellIndex;
    };
    {
        HandBook<Zem32f> b;
        b.width = 1;
        zem::vq::ZemsCdbkGrid1 g{4, 1.0f, 0.0f, 4.4f, nullptr, nullptr};
        std::vector<std::vector<Zem32s>> lists;
        std::vector<Zem32s*> ptrs;
        std::vector<Zem32s> counts;
        slotted(b, 6, &g, lists, ptrs, counts);
        const std::vector<std::pair<Zem32f, Zem32s>> cases = {
            {-0.5f, 0}, {0.0f, 1}, {0.99f, 1}, {3.5f, 4}, {4.0f, 5}, {1e15f, 5}, {-1e15f, 0}};
        for (auto [x, slot] : cases) {
            Zem32s idx = -1;
            ASSERT_EQ(zemsVQ_32f(&x, 1, &idx, 1, b.get()), zemStatusOk);
            EXPECT_EQ(idx, slot) << x;
        }
    }
    {
        // The 16-bit lookup adds 0.001 to the cell position: 3 / 3.002 lands in cell 1.
        HandBook<Zem16s> b;
        b.width = 1;
        zem::vq::ZemsCdbkGrid1 g{4, 3.002f, 0.0f, 13.0f, nullptr, nullptr};
        std::vector<std::vector<Zem32s>> lists;
        std::vector<Zem32s*> ptrs;
        std::vector<Zem32s> counts;
        slotted(b, 6, &g, lists, ptrs, counts);
        for (auto [x, slot] : std::vector<std::pair<Zem16s, Zem32s>>{{-1, 0}, {2, 1}, {3, 2}, {32767, 5}}) {
            Zem32s idx = -1;
            ASSERT_EQ(zemsVQ_16s(&x, 1, &idx, 1, b.get()), zemStatusOk);
            EXPECT_EQ(idx, slot) << x;
        }
    }
    {
        // Two dimensions: columns from lo0 upward, rows from hi1 downward, a ring around.
        HandBook<Zem32f> b;
        b.width = 2;
        zem::vq::ZemsCdbkGrid2 g{3, 2, 1.0f, 1.0f, 0.0f, 10.0f, 3.0f, 8.0f, nullptr, nullptr};
        std::vector<std::vector<Zem32s>> lists;
        std::vector<Zem32s*> ptrs;
        std::vector<Zem32s> counts;
        slotted(b, 4 * 5, &g, lists, ptrs, counts);
        struct P { Zem32f x0, x1; Zem32s slot; };
        for (const P p : {P{0.5f, 9.5f, 6}, P{2.5f, 8.5f, 13}, P{-1.0f, 11.0f, 0}, P{5.0f, 9.5f, 9},
                          P{1.5f, 2.0f, 17}, P{9.0f, -9.0f, 19}}) {
            const Zem32f x[2] = {p.x0, p.x1};
            Zem32s idx = -1;
            ASSERT_EQ(zemsVQ_32f(x, 2, &idx, 1, b.get()), zemStatusOk);
            EXPECT_EQ(idx, p.slot) << p.x0 << "," << p.x1;
        }
    }
}

TEST(VQSearch, SkipsAnUnknownFormAndFailsOnABrokenWeightedTree) {
    Random rng(5);
    HandBook<Zem32f> b;
    makeList(b, rng, 5, 3, -1, 1, false);
    b.st.hint = 0;
    const auto v = rng.uniform<Zem32f>(6, -1, 1);
    std::vector<Zem32s> idx(2, 77);
    std::vector<Zem32f> dist(2, 5.0f);
    EXPECT_EQ(zemsVQDist_32f(v.data(), 3, idx.data(), dist.data(), 2, b.get()), zemStatusOk);
    EXPECT_EQ(idx, (std::vector<Zem32s>{77, 77}));
    EXPECT_EQ(dist, (std::vector<Zem32f>{5.0f, 5.0f}));

    HandBook<Zem32f> t;
    makeTree(t, rng, 6, 3, 2, -1, 1, true);
    std::vector<Zem32s> ok(1);
    ASSERT_EQ(zemsVQ_32f(v.data(), 3, ok.data(), 1, t.get()), zemStatusOk);
    for (auto& l : t.lists) l[1] = nullptr;
    idx.assign(2, 77);
    EXPECT_EQ(zemsVQ_32f(v.data(), 3, idx.data(), 2, t.get()), zemStatusFailed);
    EXPECT_EQ(idx[1], 77);
}

// Sort and Thresh against a stable sort of the weighted distances, with repeated rows.
template <class T>
void singleSearchesMatch(bool tree) {
    Random rng(tree ? 8 : 9);
    const double lo = std::is_same_v<T, Zem16s> ? -40 : -2, hi = -lo;
    for (int width : {1, 3, 4, 7}) {
        HandBook<T> b;
        if (tree) makeTree(b, rng, 19, width, 4, lo, hi, true);
        else makeList(b, rng, 19, width, lo, hi, true);
        if (!tree) std::copy_n(b.row(3), width, b.rows.begin() + 11 * width);  // a tie: rows 3 and 11
        const int n = b.st.numCodewords;
        for (int trial = 0; trial < 6; ++trial) {
            const auto x = trial == 0 && !tree ? std::vector<T>(b.row(3), b.row(3) + width)
                                               : rng.uniform<T>(width, lo, hi);
            std::vector<float> d(n);
            for (int r = 0; r < n; ++r) d[r] = sqDist(x.data(), b.row(r), b.weights.data(), width);
            std::vector<int> order(n);
            std::iota(order.begin(), order.end(), 0);
            std::stable_sort(order.begin(), order.end(), [&](int a, int c) { return d[a] < d[c]; });
            for (int num : {1, 5, n}) {
                std::vector<Zem32s> idx(n, -1), idx2(n, -1), di(n);
                std::vector<Zem32f> df(n);
                if constexpr (std::is_same_v<T, Zem32f>) {
                    ASSERT_EQ(zemsVQSingle_Sort_32f(x.data(), idx.data(), b.get(), num), zemStatusOk);
                    ASSERT_EQ(zemsVQDistSingle_Sort_32f(x.data(), idx2.data(), df.data(), b.get(), num), zemStatusOk);
                } else {
                    ASSERT_EQ(zemsVQSingle_Sort_16s(x.data(), idx.data(), b.get(), num), zemStatusOk);
                    ASSERT_EQ(zemsVQDistSingle_Sort_16s32s_Sfs(x.data(), idx2.data(), di.data(), b.get(), num, 1),
                              zemStatusOk);
                }
                for (int k = 0; k < num; ++k) {
                    EXPECT_EQ(idx[k], order[k]) << k;
                    EXPECT_EQ(idx2[k], order[k]) << k;
                    if constexpr (std::is_same_v<T, Zem32f>) EXPECT_TRUE(sameBits(df[k], std::sqrt(d[order[k]])));
                    else EXPECT_EQ(di[k], scaledRef(std::sqrt(d[order[k]]), 1));
                }
                EXPECT_EQ(idx[num < n ? num : n - 1], num < n ? -1 : order[n - 1]);
            }
            // Thresh: the reference row comes from the block search.
            const int s16 = static_cast<int>(std::log(double(width)) / std::log(2.0)) + 1;
            float best;
            const int ref = tree ? treeAnswer<T>(b.st, x.data(), s16) : bruteList(b, x.data(), &best);
            const float r = std::sqrt(sqDist(x.data(), b.row(ref), b.weights.data(), width));
            for (Zem32f rel : {1.0f, 1.2f, 2.5f}) {
                const float limit = rel * rel * r * r;
                std::vector<int> want;
                for (int k = 0; k < n && !better(d[order[k]], limit); ++k) want.push_back(order[k]);
                std::vector<Zem32s> idx(n, -1), idx2(n, -1);
                std::vector<Zem32f> df(n);
                int count = -1, count2 = -1;
                if constexpr (std::is_same_v<T, Zem32f>) {
                    ASSERT_EQ(zemsVQSingle_Thresh_32f(x.data(), idx.data(), b.get(), rel, &count), zemStatusOk);
                    ASSERT_EQ(zemsVQDistSingle_Thresh_32f(x.data(), idx2.data(), df.data(), b.get(), rel, &count2),
                              zemStatusOk);
                } else {
                    ASSERT_EQ(zemsVQSingle_Thresh_16s(x.data(), idx.data(), b.get(), rel, &count), zemStatusOk);
                    count2 = count;
                    idx2 = idx;
                }
                ASSERT_EQ(count, static_cast<int>(want.size())) << rel;
                ASSERT_EQ(count2, count);
                for (int k = 0; k < count; ++k) {
                    EXPECT_EQ(idx[k], want[k]);
                    EXPECT_EQ(idx2[k], want[k]);
                    if constexpr (std::is_same_v<T, Zem32f>) {
                        EXPECT_TRUE(sameBits(df[k], std::sqrt(d[want[k]])));
                    }
                }
                EXPECT_NE(std::find(want.begin(), want.end(), ref), want.end()) << "the reference row is in";
            }
        }
    }
}

TEST(VQSearch, SortAndThreshFollowTheStableOrderOfDistances) {
    singleSearchesMatch<Zem32f>(false);
    singleSearchesMatch<Zem32f>(true);
    singleSearchesMatch<Zem16s>(false);
    singleSearchesMatch<Zem16s>(true);
}

// The integer Thresh: its limit is the scaled reference times relThreshold, truncated; an
// entry above it is skipped, and the float limit ends the scan only after the test.
TEST(VQSearch, IntegerThreshTestsEachEntryAgainstTheIntegerLimit) {
    Random rng(31);
    for (int sf : {-3, 0, 2, 5}) {
        HandBook<Zem16s> b;
        makeList(b, rng, 23, 3, -50, 50, false);
        const int n = 23;
        for (int trial = 0; trial < 5; ++trial) {
            const auto x = rng.uniform<Zem16s>(3, -50, 50);
            for (Zem32f rel : {1.0f, 1.3f, 3.0f}) {
                std::vector<float> d(n);
                for (int r = 0; r < n; ++r) d[r] = sqDist(x.data(), b.row(r), b.weights.data(), 3);
                std::vector<int> order(n);
                std::iota(order.begin(), order.end(), 0);
                std::stable_sort(order.begin(), order.end(), [&](int a, int c) { return d[a] < d[c]; });
                const Zem32s q = scaledRef(std::sqrt(d[order[0]]), sf);
                const float r = static_cast<float>(q) * std::ldexp(1.0f, sf);
                const float limit = rel * rel * r * r;
                const int64_t intLimit = static_cast<int64_t>(static_cast<float>(q) * rel);
                std::vector<Zem32s> wantIdx, wantDist;
                for (int k = 0; k < n; ++k) {
                    const Zem32s di = scaledRef(std::sqrt(d[order[k]]), sf);
                    if (di <= intLimit) wantIdx.push_back(order[k]), wantDist.push_back(di);
                    if (better(d[order[k]], limit)) break;
                }
                std::vector<Zem32s> idx(n, -1), dist(n, -1);
                int count = -1;
                ASSERT_EQ(zemsVQDistSingle_Thresh_16s32s_Sfs(x.data(), idx.data(), dist.data(), b.get(), rel, &count, sf),
                          zemStatusOk);
                ASSERT_EQ(count, static_cast<int>(wantIdx.size()));
                EXPECT_EQ(std::vector<Zem32s>(idx.begin(), idx.begin() + count), wantIdx);
                EXPECT_EQ(std::vector<Zem32s>(dist.begin(), dist.begin() + count), wantDist);
            }
        }
    }
}

TEST(VQSearch, CheckOrders) {
    Random rng(3);
    HandBook<Zem32f> f;
    makeList(f, rng, 6, 4, -1, 1, false);
    HandBook<Zem16s> s;
    makeList(s, rng, 6, 4, -9, 9, false);
    const auto xf = rng.uniform<Zem32f>(8, -1, 1);
    const auto xs = rng.uniform<Zem16s>(8, -9, 9);
    Zem32s idx[6];
    Zem32f df[6];
    Zem32s di[6];
    int count;
    const std::vector<Region> out = {region(idx, 6), region(df, 6), region(di, 6), region(&count, 1)};
    struct A {
        const void* src;
        int step = 4, height = 2, num = 3;
        Zem32s* idx;
        void* dist;
        void* cb;
        Zem32f rel = 1.5f;
        int* count;
    };
    auto blockBreaks = [](int width, bool withDist) {
        std::vector<Break<A>> v = {{"cdbk", [](A& a) { a.cb = nullptr; }, zemStatusNullPointer},
                                   {"src", [](A& a) { a.src = nullptr; }, zemStatusNullPointer},
                                   {"index", [](A& a) { a.idx = nullptr; }, zemStatusNullPointer},
                                   {"step", [](A& a) { a.step = 0; }, zemStatusBadSize},
                                   {"height", [](A& a) { a.height = -5; }, zemStatusBadSize},
                                   {"width", [width](A& a) { a.step = width - 1; }, zemStatusBadSize}};
        if (withDist) v.insert(v.begin() + 3, {"dist", [](A& a) { a.dist = nullptr; }, zemStatusNullPointer});
        return v;
    };
    const std::vector<Break<A>> sortBreaks = {{"src", [](A& a) { a.src = nullptr; }, zemStatusNullPointer},
                                              {"index", [](A& a) { a.idx = nullptr; }, zemStatusNullPointer},
                                              {"dist", [](A& a) { a.dist = nullptr; }, zemStatusNullPointer},
                                              {"cdbk", [](A& a) { a.cb = nullptr; }, zemStatusNullPointer},
                                              {"num", [](A& a) { a.num = 7; }, zemStatusBadSize}};
    const std::vector<Break<A>> threshBreaks = {{"src", [](A& a) { a.src = nullptr; }, zemStatusNullPointer},
                                                {"count", [](A& a) { a.count = nullptr; }, zemStatusNullPointer},
                                                {"cdbk", [](A& a) { a.cb = nullptr; }, zemStatusNullPointer},
                                                {"rel", [](A& a) { a.rel = 0.99f; }, zemStatusBadArg}};
    const A af{xf.data(), 4, 2, 3, idx, df, f.get(), 1.5f, &count};
    const A as{xs.data(), 4, 2, 3, idx, di, s.get(), 1.5f, &count};
    using SF = ZemsCdbkState_32f*;
    using SS = ZemsCdbkState_16s*;
    auto fx = [](const A& a) { return static_cast<const Zem32f*>(a.src); };
    auto sx = [](const A& a) { return static_cast<const Zem16s*>(a.src); };
    expectCheckOrder<A>("zemsVQ_32f", af, [&](const A& a) { return zemsVQ_32f(fx(a), a.step, a.idx, a.height, SF(a.cb)); },
                        blockBreaks(4, false), out);
    expectCheckOrder<A>("zemsVQ_16s", as, [&](const A& a) { return zemsVQ_16s(sx(a), a.step, a.idx, a.height, SS(a.cb)); },
                        blockBreaks(4, false), out);
    expectCheckOrder<A>("zemsVQDist_32f", af,
                        [&](const A& a) { return zemsVQDist_32f(fx(a), a.step, a.idx, (Zem32f*)a.dist, a.height, SF(a.cb)); },
                        blockBreaks(4, true), out);
    expectCheckOrder<A>("zemsVQDist_16s32s_Sfs", as, [&](const A& a) {
        return zemsVQDist_16s32s_Sfs(sx(a), a.step, a.idx, (Zem32s*)a.dist, a.height, SS(a.cb), 1);
    }, blockBreaks(4, true), out);
    expectCheckOrder<A>("zemsVQSingle_Sort_32f", af,
                        [&](const A& a) { return zemsVQSingle_Sort_32f(fx(a), a.idx, SF(a.dist ? a.cb : nullptr), a.num); },
                        sortBreaks, out);
    expectCheckOrder<A>("zemsVQSingle_Sort_16s", as,
                        [&](const A& a) { return zemsVQSingle_Sort_16s(sx(a), a.idx, SS(a.dist ? a.cb : nullptr), a.num); },
                        sortBreaks, out);
    expectCheckOrder<A>("zemsVQDistSingle_Sort_32f", af, [&](const A& a) {
        return zemsVQDistSingle_Sort_32f(fx(a), a.idx, (Zem32f*)a.dist, SF(a.cb), a.num);
    }, sortBreaks, out);
    expectCheckOrder<A>("zemsVQDistSingle_Sort_16s32s_Sfs", as, [&](const A& a) {
        return zemsVQDistSingle_Sort_16s32s_Sfs(sx(a), a.idx, (Zem32s*)a.dist, SS(a.cb), a.num, 0);
    }, sortBreaks, out);
    expectCheckOrder<A>("zemsVQSingle_Thresh_32f", af,
                        [&](const A& a) { return zemsVQSingle_Thresh_32f(fx(a), a.idx, SF(a.cb), a.rel, a.count); },
                        threshBreaks, out);
    expectCheckOrder<A>("zemsVQSingle_Thresh_16s", as,
                        [&](const A& a) { return zemsVQSingle_Thresh_16s(sx(a), a.idx, SS(a.cb), a.rel, a.count); },
                        threshBreaks, out);
    expectCheckOrder<A>("zemsVQDistSingle_Thresh_32f", af, [&](const A& a) {
        return zemsVQDistSingle_Thresh_32f(fx(a), a.idx, (Zem32f*)a.dist, SF(a.cb), a.rel, a.count);
    }, threshBreaks, out);
    expectCheckOrder<A>("zemsVQDistSingle_Thresh_16s32s_Sfs", as, [&](const A& a) {
        return zemsVQDistSingle_Thresh_16s32s_Sfs(sx(a), a.idx, (Zem32s*)a.dist, SS(a.cb), a.rel, a.count, 0);
    }, threshBreaks, out);
}

}  // namespace
