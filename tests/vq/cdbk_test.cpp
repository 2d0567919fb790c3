// Codebook objects: check orders, the caller-block layout, list codebooks with their cell
// index, tree training against a plain reference, and allocation failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "cdbk_reference.h"
#include "check_order.h"
#include "test_support.h"
#include "vq/codebook.h"
#include "zemsr.h"

namespace {

using zem::vq::State;
using zem::vq::ZemsCdbkGrid1;
using zem::vq::ZemsCdbkGrid2;
using zem::vq::ZemsCdbkNode;
using zemtest::Break;
using zemtest::Random;

// The two element types behind one set of names.
template <class T>
struct Api;
template <>
struct Api<Zem32f> {
    using S = ZemsCdbkState_32f;
    static constexpr auto getSize = zemsCdbkGetSize_32f;
    static constexpr auto init = zemsCdbkInit_L2_32f;
    static constexpr auto alloc = zemsCdbkInitAlloc_L2_32f;
    static constexpr auto allocW = zemsCdbkInitAlloc_WgtL2_32f;
    static constexpr auto release = zemsCdbkFree_32f;
    static constexpr auto count = zemsGetCdbkSize_32f;
    static constexpr auto read = zemsGetCodebook_32f;
};
template <>
struct Api<Zem16s> {
    using S = ZemsCdbkState_16s;
    static constexpr auto getSize = zemsCdbkGetSize_16s;
    static constexpr auto init = zemsCdbkInit_L2_16s;
    static constexpr auto alloc = zemsCdbkInitAlloc_L2_16s;
    static constexpr auto allocW = zemsCdbkInitAlloc_WgtL2_16s;
    static constexpr auto release = zemsCdbkFree_16s;
    static constexpr auto count = zemsGetCdbkSize_16s;
    static constexpr auto read = zemsGetCodebook_16s;
};

template <class T>
std::vector<T> data(Random& r, size_t n) {
    if constexpr (std::is_same_v<T, Zem16s>)
        return r.integers<T>(n, -3000, 3000);
    else
        return r.uniform<T>(n, -3.0, 3.0);
}

template <class T>
State<T>* st(typename Api<T>::S* s) {
    return s;
}

// ---- Check orders ----------------------------------------------------------------------

template <class T>
void checkOrders() {
    using A = Api<T>;
    Random r(7);
    const int W = 3, S = 5, H = 12;
    const std::vector<T> src = data<T>(r, S * H);
    std::vector<T> w(W, T(2)), neg = w;
    neg[2] = T(-1);
    struct Args {
        const T* src;
        const T* w;
        int width, step, height, size, hint;
        typename A::S* cdbk;
        T* dst;
        int dstStep;
        Zem32s* out;
    };
    typename A::S* made = nullptr;
    Zem32s sizeOut = 0;
    std::vector<unsigned char> block(1 << 16);
    std::vector<T> dst(W * H);
    // A list state to read from and a tree state to release.
    ASSERT_EQ(A::alloc(&made, src.data(), W, S, H, H, ZEM_CDBK_LIST), zemStatusOk);
    const Args valid{src.data(), w.data(), W, S, H, 4, ZEM_CDBK_SPLIT_WIDEST, made, dst.data(), W, &sizeOut};
    const std::vector<zemtest::Region> none;
    auto sizes = [](ZemStatus s, bool equal) {
        std::vector<Break<Args>> b = {{"width 0", [](Args& a) { a.width = 0; }, s},
                                      {"step 0", [](Args& a) { a.step = 0; }, s},
                                      {"height 0", [](Args& a) { a.height = 0; }, s},
                                      {"size 0", [](Args& a) { a.size = 0; }, s},
                                      {"width > step", [](Args& a) { a.width = a.step + 1; }, s},
                                      {"size 16384", [](Args& a) { a.size = a.height = 16384; }, s}};
        if (equal)
            b.push_back({"size != height", [](Args& a) { a.size = a.height - 1; }, s});
        else
            b.push_back({"size > height", [](Args& a) { a.size = a.height + 1; }, s});
        return b;
    };
    auto join = [](std::vector<Break<Args>> a, const std::vector<Break<Args>>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    const Break<Args> treeHint{"hint 2", [](Args& a) { a.hint = ZEM_CDBK_SPLIT_WIDEST; }, zemStatusBadCdbkHint};
    const Break<Args> badHint{"hint 0", [](Args& a) { a.hint = 0; }, zemStatusBadCdbkHint};
    Args listArgs = valid;
    listArgs.hint = ZEM_CDBK_LIST;
    listArgs.size = H;

    zemtest::expectCheckOrder<Args>(
        "GetSize", listArgs, [](const Args& a) { return A::getSize(a.width, a.step, a.height, a.size, a.hint, a.out); },
        join({treeHint, {"size null", [](Args& a) { a.out = nullptr; }, zemStatusNullPointer}},
             sizes(zemStatusBadSize, true)),
        {zemtest::region(&sizeOut, 1)});
    zemtest::expectCheckOrder<Args>(
        "Init_L2", listArgs,
        [&](const Args& a) {
            return A::init(a.cdbk ? reinterpret_cast<typename A::S*>(block.data()) : nullptr, a.src, a.width, a.step,
                           a.height, a.size, a.hint);
        },
        join({treeHint,
              {"src null", [](Args& a) { a.src = nullptr; }, zemStatusNullPointer},
              {"state null", [](Args& a) { a.cdbk = nullptr; }, zemStatusNullPointer}},
             sizes(zemStatusBadSize, true)),
        {zemtest::region(block.data(), block.size())}, -1000000);
    // The allocating forms: the L2 form tests the width before anything else, the weighted
    // form its pointers, sizes, weights, and the hint only once every block was allocated.
    auto allocCall = [](bool weighted) {
        return [weighted](const Args& a) {
            typename A::S* out = reinterpret_cast<typename A::S*>(uintptr_t{0x5a5a5a5a5a5a5a5a});
            const ZemStatus s = weighted ? A::allocW(&out, a.src, a.w, a.width, a.step, a.height, a.size, a.hint)
                                         : A::alloc(&out, a.src, a.width, a.step, a.height, a.size, a.hint);
            if (s >= 0)
                A::release(out);
            else
                EXPECT_EQ(out, reinterpret_cast<typename A::S*>(uintptr_t{0x5a5a5a5a5a5a5a5a}));
            return s;
        };
    };
    // The L2 form tests the width first, so the size list goes on without it.
    const std::vector<Break<Args>> all = sizes(zemStatusBadSize, false), tail(all.begin() + 1, all.end());
    zemtest::expectCheckOrder<Args>("InitAlloc_L2", valid, allocCall(false),
                                    join(join({{"width -1", [](Args& a) { a.width = -1; }, zemStatusBadSize},
                                               {"src null", [](Args& a) { a.src = nullptr; }, zemStatusNullPointer}},
                                              tail),
                                         {badHint}),
                                    none);
    zemtest::expectCheckOrder<Args>(
        "InitAlloc_WgtL2", valid, allocCall(true),
        join(join({{"src null", [](Args& a) { a.src = nullptr; }, zemStatusNullPointer},
                   {"weights null", [](Args& a) { a.w = nullptr; }, zemStatusNullPointer}},
                  sizes(zemStatusBadSize, false)),
             {{"negative weight", [&](Args& a) { a.w = a.w ? neg.data() : a.w; }, zemStatusBadArg}, badHint}),
        none);
    zemtest::expectCheckOrder<Args>("GetCdbkSize", valid, [](const Args& a) { return A::count(a.cdbk, a.out); },
                                    {{"cdbk null", [](Args& a) { a.cdbk = nullptr; }, zemStatusNullPointer},
                                     {"size null", [](Args& a) { a.out = nullptr; }, zemStatusNullPointer}},
                                    {zemtest::region(&sizeOut, 1)});
    zemtest::expectCheckOrder<Args>("GetCodebook", valid,
                                    [](const Args& a) { return A::read(a.cdbk, a.dst, a.dstStep); },
                                    {{"cdbk null", [](Args& a) { a.cdbk = nullptr; }, zemStatusNullPointer},
                                     {"dst null", [](Args& a) { a.dst = nullptr; }, zemStatusNullPointer},
                                     {"dstStep 0", [](Args& a) { a.dstStep = 0; }, zemStatusBadSize},
                                     {"dstStep < width", [](Args& a) { a.dstStep = W - 1; }, zemStatusBadSize}},
                                    {zemtest::region(dst.data(), dst.size())});
    EXPECT_EQ(A::release(nullptr), zemStatusNullPointer);
    // No place for the state: refused after the stated checks, and nothing stays allocated.
    const int64_t live = zemcoreTestLiveAllocations();
    EXPECT_EQ(A::alloc(nullptr, src.data(), W, S, H, 4, ZEM_CDBK_SPLIT_WIDEST), zemStatusNullPointer);
    EXPECT_EQ(A::alloc(nullptr, src.data(), W, S, H, 4, 0), zemStatusBadCdbkHint);
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
    // A state of an unknown hint is not released (nothing is known of its blocks).
    const Zem32s hint = st<T>(made)->hint;
    st<T>(made)->hint = 7;
    EXPECT_EQ(A::release(made), zemStatusInternal);
    st<T>(made)->hint = hint;
    EXPECT_EQ(A::release(made), zemStatusOk);
}

TEST(CdbkChecks, OrdersOfEveryExport) {
    checkOrders<Zem32f>();
    checkOrders<Zem16s>();
}

// ---- Caller's block -------------------------------------------------------------------

template <class T>
void callerBlock() {
    using A = Api<T>;
    Random r(11);
    for (const auto& [width, step] : {std::pair{1, 3}, {2, 2}, {4, 9}, {3, 3}, {8, 8}, {13, 17}})
        for (size_t offset : {0, 8, 24}) {
            const int H = 9;
            const std::vector<T> src = data<T>(r, size_t(step) * H);
            Zem32s bytes = 0;
            ASSERT_EQ(A::getSize(width, step, H, H, 0, &bytes), zemStatusOk);
            const int64_t rowStep = width <= 2 || width == 4 ? width : (step + 7) / 8 * 8;
            const int64_t expect = std::is_same_v<T, Zem32f> ? (H + width + H * rowStep) * 4 + 176
                                                             : H * 4 + 208 + (width + rowStep * H) * 2;
            EXPECT_EQ(bytes, expect);
            std::vector<unsigned char> raw(size_t(bytes) + 64 + offset);
            unsigned char* base =
                reinterpret_cast<unsigned char*>((reinterpret_cast<uintptr_t>(raw.data()) + 63) / 64 * 64 + offset);
            std::memset(base, 0x77, size_t(bytes));
            st<T>(reinterpret_cast<typename A::S*>(base))->indexBits = 99;
            auto* s = reinterpret_cast<typename A::S*>(base);
            ASSERT_EQ(A::init(s, src.data(), width, step, H, H, 0), zemStatusOk);
            const State<T>* v = s;
            auto at32 = [](const void* p) { return reinterpret_cast<uintptr_t>(p) % 32 == 0; };
            EXPECT_TRUE(at32(v->rows) && at32(v->weights) && at32(v->scratch));
            EXPECT_GE(reinterpret_cast<const unsigned char*>(v->rows), base + sizeof(State<T>));
            EXPECT_LT(reinterpret_cast<const unsigned char*>(v->rows), base + sizeof(State<T>) + 32);
            EXPECT_LE(reinterpret_cast<const unsigned char*>(v->scratch + H), base + bytes) << "blocks past the size";
            EXPECT_EQ(v->rowStep, rowStep);
            EXPECT_EQ(v->hint, 0);
            EXPECT_EQ(v->numCodewords, H);
            EXPECT_EQ(v->maxDepth, H - 1);
            EXPECT_EQ(v->flags, 0u);
            EXPECT_EQ(v->indexBits, (std::is_same_v<T, Zem16s> ? 4 : 99)) << "the float form keeps the field";
            for (int j = 0; j < width; ++j) EXPECT_EQ(v->weights[j], T(1));
            std::vector<T> out(size_t(width) * H);
            ASSERT_EQ(A::read(s, out.data(), width), zemStatusOk);
            for (int i = 0; i < H; ++i)
                for (int j = 0; j < width; ++j) ASSERT_EQ(out[size_t(i) * width + j], src[size_t(i) * step + j]);
        }
}

TEST(CdbkCallerBlock, SizeFormulaLayoutAndContents) {
    callerBlock<Zem32f>();
    callerBlock<Zem16s>();
    Zem32s size = 0;
    EXPECT_EQ(zemsCdbkGetSize_32f(4, 4, 16383, 16383, 1, &size), zemStatusOk);
    EXPECT_EQ(zemsCdbkGetSize_32f(4, 4, 16384, 16384, 1, &size), zemStatusBadSize);
    EXPECT_EQ(zemsCdbkGetSize_32f(4, 4, 16, 16, ZEM_CDBK_SPLIT_WIDEST, nullptr), zemStatusBadCdbkHint);
    // A block that cannot be described by a 32-bit size.
    EXPECT_EQ(zemsCdbkGetSize_16s(5, 2000000000, 100, 100, 1, &size), zemStatusBadSize);
}

// ---- List codebooks -------------------------------------------------------------------

template <class T>
void listForm() {
    using A = Api<T>;
    Random r(3);
    for (int width : {1, 2, 3, 4, 5, 8, 9}) {
        const int step = width + 3, H = 10;
        const std::vector<T> src = data<T>(r, size_t(step) * H);
        typename A::S* s = nullptr;
        ASSERT_EQ(A::alloc(&s, src.data(), width, step, H, 3, ZEM_CDBK_LIST), zemStatusCdbkSizeWarning);
        const State<T>* v = s;
        const bool packed = width <= 2 || width == 4 || (width == 8 && std::is_same_v<T, Zem32f>);
        const int q = std::is_same_v<T, Zem32f> ? 4 : 8;
        EXPECT_EQ(v->rowStep, packed ? width : (step + q - 1) / q * q) << width;
        EXPECT_EQ(v->numCodewords, H);
        EXPECT_EQ(v->maxDepth, H - 1);
        EXPECT_EQ(v->indexBits, 4);
        EXPECT_EQ(v->grid, nullptr) << "ten rows get no cell index";
        EXPECT_EQ(v->root, nullptr);
        Zem32s n = 0;
        EXPECT_EQ(A::count(s, &n), zemStatusOk);
        EXPECT_EQ(n, H);
        std::vector<T> out(size_t(width + 2) * H, T(5));
        ASSERT_EQ(A::read(s, out.data(), width + 2), zemStatusOk);
        for (int i = 0; i < H; ++i) {
            for (int j = 0; j < width; ++j) ASSERT_EQ(out[size_t(i) * (width + 2) + j], src[size_t(i) * step + j]);
            EXPECT_EQ(out[size_t(i) * (width + 2) + width], T(5)) << "the gap between rows stays";
        }
        EXPECT_EQ(A::release(s), zemStatusOk);
    }
    // Unit weights given explicitly make the same state as the L2 form; others set flags bit 1.
    const std::vector<T> src = data<T>(r, 40);
    std::vector<T> ones(4, T(1)), twos(4, T(2));
    typename A::S *a = nullptr, *b = nullptr, *c = nullptr;
    ASSERT_EQ(A::alloc(&a, src.data(), 4, 4, 10, 10, 1), zemStatusOk);
    ASSERT_EQ(A::allocW(&b, src.data(), ones.data(), 4, 4, 10, 10, 1), zemStatusOk);
    ASSERT_EQ(A::allocW(&c, src.data(), twos.data(), 4, 4, 10, 10, 1), zemStatusOk);
    EXPECT_EQ(st<T>(a)->flags, 0u);
    EXPECT_EQ(st<T>(b)->flags, 0u);
    EXPECT_EQ(st<T>(c)->flags, 2u);
    EXPECT_EQ((std::memcmp(st<T>(a)->rows, st<T>(b)->rows, 40 * sizeof(T))), 0);
    EXPECT_EQ(st<T>(c)->weights[3], T(2));
    for (auto* s : {a, b, c}) EXPECT_EQ(A::release(s), zemStatusOk);
}

TEST(CdbkList, RowsRowStepAndReadOut) {
    listForm<Zem32f>();
    listForm<Zem16s>();
}

// Nearest codeword of x among all, by weighted distance in double.
template <class T>
int nearest(const State<T>* s, const float* x) {
    int best = 0;
    double bd = 1e300;
    for (int k = 0; k < s->numCodewords; ++k) {
        double d = 0;
        for (int j = 0; j < s->width; ++j) {
            const double t = double(x[j]) - double(s->rows[int64_t(k) * s->rowStep + j]);
            d += double(s->weights[j]) * t * t;
        }
        if (d < bd) bd = d, best = k;
    }
    return best;
}

bool inList(const Zem32s* list, int n, int k) { return std::find(list, list + n, k) != list + n; }

// Every point of a cell finds its true nearest codeword in the cell's list, points
// outside find a non-empty outer list, and side slots share one list.
template <class T>
void cellIndex() {
    using A = Api<T>;
    Random r(5);
    const double scale = std::is_same_v<T, Zem16s> ? 1000.0 : 1.0;
    for (int height : {11, 40, 300}) {
        // Width 1.
        std::vector<T> src1 = data<T>(r, size_t(height));
        typename A::S* s = nullptr;
        ASSERT_EQ(A::alloc(&s, src1.data(), 1, 1, height, height, 1), zemStatusOk);
        const State<T>* v = s;
        if (height >= 40) {
            ASSERT_TRUE(v->flags & 1u) << "uniform data of " << height << " get an index";
        }
        if (v->flags & 1u) {
            const auto* g = static_cast<const ZemsCdbkGrid1*>(v->grid);
            EXPECT_GE(g->bins, 4);
            for (int q = 0; q < 2000; ++q) {
                const float x = float(r.uniform<double>(1, -4.0 * scale, 4.0 * scale)[0]);
                const double t = (double(x) - g->lo) / g->cellWidth;
                const int slot = t < 0 ? 0 : t >= g->bins ? g->bins + 1 : int(t) + 1;
                ASSERT_GT(g->counts[slot], 0);
                const bool inside = t >= 0.01 && t < g->bins - 0.01 && std::fabs(t - std::round(t)) > 0.01;
                if (inside) {
                    ASSERT_TRUE(inList(g->lists[slot], g->counts[slot], nearest(v, &x))) << x;
                }
            }
            EXPECT_EQ(g->counts[0], g->counts[1]);
            EXPECT_EQ(std::memcmp(g->lists[0], g->lists[1], sizeof(Zem32s) * g->counts[0]), 0);
        }
        EXPECT_EQ(A::release(s), zemStatusOk);

        // Width 2 with weights.
        std::vector<T> src2 = data<T>(r, size_t(2) * height);
        std::vector<T> w = {T(1), T(3)};
        ASSERT_EQ(A::allocW(&s, src2.data(), w.data(), 2, 2, height, height, 1), zemStatusOk);
        v = s;
        if (height >= 300) {
            ASSERT_TRUE(v->flags & 1u);
        }
        if (v->flags & 1u) {
            const auto* g = static_cast<const ZemsCdbkGrid2*>(v->grid);
            const int span = g->cols + 2;
            for (int q = 0; q < 2000; ++q) {
                const std::vector<double> p = r.uniform<double>(2, -4.0 * scale, 4.0 * scale);
                const float x[2] = {float(p[0]), float(p[1])};
                const double t0 = (double(x[0]) - g->lo0) / g->cellWidth0, t1 = (double(g->hi1) - x[1]) / g->cellWidth1;
                const int col = t0 < 0 ? -1 : t0 >= g->cols ? g->cols : int(t0);
                const int row = t1 < 0 ? -1 : t1 >= g->rows ? g->rows : int(t1);
                const int slot = (row + 1) * span + col + 1;
                ASSERT_GT(g->counts[slot], 0);
                const bool inside = col >= 0 && col < g->cols && row >= 0 && row < g->rows;
                if (inside) {
                    ASSERT_TRUE(inList(g->lists[slot], g->counts[slot], nearest(v, x)));
                }
            }
            // Each side is one list; a corner holds its row and column.
            EXPECT_EQ(g->lists[1], g->lists[g->cols]);
            EXPECT_EQ(g->lists[span], g->lists[g->rows * span]);
            EXPECT_NE(g->lists[0], g->lists[1]);
            // The top-left corner is exactly the union of row 0 and column 0, ascending.
            std::vector<int> corner;
            for (int c = 0; c < g->cols; ++c)
                corner.insert(corner.end(), g->lists[span + c + 1], g->lists[span + c + 1] + g->counts[span + c + 1]);
            for (int r = 0; r < g->rows; ++r)
                corner.insert(corner.end(), g->lists[(r + 1) * span + 1],
                              g->lists[(r + 1) * span + 1] + g->counts[(r + 1) * span + 1]);
            std::sort(corner.begin(), corner.end());
            corner.erase(std::unique(corner.begin(), corner.end()), corner.end());
            EXPECT_EQ(std::vector<int>(g->lists[0], g->lists[0] + g->counts[0]), corner);
            for (int k = 1; k < g->counts[1]; ++k) EXPECT_LT(g->lists[1][k - 1], g->lists[1][k]) << "ascending";
        }
        EXPECT_EQ(A::release(s), zemStatusOk);
    }
    // Data far from zero against their spread leave the first cells empty; equal values
    // have no range: neither gets an index.
    std::vector<T> far(30), flat(30, T(4));
    for (int i = 0; i < 30; ++i) far[i] = T(100 + i * (std::is_same_v<T, Zem16s> ? 1 : 0.03));
    for (auto* d : {&far, &flat}) {
        typename A::S* s = nullptr;
        ASSERT_EQ(A::alloc(&s, d->data(), 1, 1, 30, 30, 1), zemStatusOk);
        EXPECT_EQ(st<T>(s)->flags & 1u, 0u);
        EXPECT_EQ(st<T>(s)->grid, nullptr);
        EXPECT_EQ(A::release(s), zemStatusOk);
    }
    // A NaN among the rows falls in no cell, without an undefined conversion of its position.
    if constexpr (std::is_same_v<T, Zem32f>) {
        std::vector<T> odd(60);
        for (int i = 0; i < 60; ++i) odd[i] = T(i % 7) * 1.5f;
        odd[9] = std::numeric_limits<float>::quiet_NaN();
        for (int width : {1, 2}) {
            typename A::S* s = nullptr;
            ASSERT_EQ(A::alloc(&s, odd.data(), width, width, 60 / width, 60 / width, 1), zemStatusOk);
            EXPECT_EQ(A::release(s), zemStatusOk);
        }
    }
}

TEST(CdbkList, CellIndexHoldsTheNearestCodeword) {
    cellIndex<Zem32f>();
    cellIndex<Zem16s>();
}

// ---- Trees ----------------------------------------------------------------------------

template <class T>
void compareNode(const zemtest::RefTree<T>& ref, int r, const ZemsCdbkNode<T>* n, int width, int& leaves) {
    const auto& rn = ref.nodes[r];
    ASSERT_NE(n, nullptr);
    ASSERT_EQ(n->isLeaf, rn.left < 0 ? 1 : 0);
    EXPECT_EQ(n->depth, rn.depth);
    EXPECT_EQ(n->count, rn.count);
    for (int j = 0; j < width; ++j) ASSERT_TRUE(zemtest::sameBits(n->centroid[j], rn.centroid[j])) << "node " << r;
    if (n->isLeaf) {
        ++leaves;
        ASSERT_EQ(n->index, rn.leaf);
        EXPECT_TRUE(zemtest::sameBits(n->distortion, ref.distortion[rn.leaf]));
        const auto& nb = ref.neighbours[rn.leaf];
        ASSERT_EQ(n->neighbourCount, int(nb.size()));
        for (size_t k = 0; k < nb.size(); ++k) {
            ASSERT_EQ(n->neighbours[k]->index, nb[k]);
            if (n->cache) {
                EXPECT_EQ(std::memcmp(n->cache->neighbourCentroids + k * width, n->neighbours[k]->centroid,
                                      width * sizeof(T)),
                          0);
            }
        }
        return;
    }
    if (n->cache) {
        const ZemsCdbkNode<T>* q[4] = {
            n->left->isLeaf ? n->left : n->left->left, n->left->isLeaf ? n->left : n->left->right,
            n->right->isLeaf ? n->right : n->right->left, n->right->isLeaf ? n->right : n->right->right};
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ(std::memcmp(n->cache->quad + k * width, q[k]->centroid, width * sizeof(T)), 0);
    }
    compareNode(ref, rn.left, n->left, width, leaves);
    compareNode(ref, rn.right, n->right, width, leaves);
}

template <class T>
void expectSameTraining(const std::vector<T>& src, const std::vector<T>& w, int width, int step, int height, int size,
                        int hint) {
    SCOPED_TRACE(::testing::Message() << "width " << width << " height " << height << " size " << size << " hint "
                                      << hint);
    using A = Api<T>;
    zemtest::RefTrainer<T> reference(src.data(), step, width, height, w);
    const zemtest::RefTree<T> ref = reference.train(size, hint);
    typename A::S* s = nullptr;
    const ZemStatus status = A::allocW(&s, src.data(), w.data(), width, step, height, size, hint);
    ASSERT_EQ(status, ref.status);
    if (status < 0) return;
    const State<T>* v = s;
    const int leaves = int(ref.leafNode.size());
    EXPECT_EQ(v->numCodewords, leaves);
    EXPECT_EQ(v->maxDepth, ref.maxDepth);
    EXPECT_EQ(v->indexBits, zem::vq::indexBits(leaves));
    const bool cached = width == 1 || width == 2 || width == 4 || width == 8;
    EXPECT_EQ(v->root->cache != nullptr, cached);
    int seen = 0;
    compareNode(ref, 0, v->root, width, seen);
    EXPECT_EQ(seen, leaves);
    std::vector<T> rows(size_t(leaves) * width);
    ASSERT_EQ(A::read(s, rows.data(), width), zemStatusOk);
    for (int l = 0; l < leaves; ++l)
        for (int j = 0; j < width; ++j)
            ASSERT_TRUE(zemtest::sameBits(rows[size_t(l) * width + j], ref.nodes[ref.leafNode[l]].centroid[j]));
    EXPECT_EQ(A::release(s), zemStatusOk);
}

template <class T>
void treesOnRandomData() {
    Random r(17);
    for (int hint : {ZEM_CDBK_SPLIT_WIDEST, ZEM_CDBK_SPLIT_FULLEST})
        for (const auto& [width, step, height, size] : {std::array{1, 1, 60, 9},
                                                        {2, 3, 150, 16},
                                                        {3, 3, 90, 7},
                                                        {8, 8, 200, 23},
                                                        {13, 16, 400, 32},
                                                        {5, 5, 7, 7},
                                                        {4, 4, 1, 1}}) {
            const std::vector<T> src = data<T>(r, size_t(step) * height);
            std::vector<T> w(width, T(1));
            expectSameTraining(src, w, width, step, height, size, hint);
            for (int j = 0; j < width; ++j) w[j] = T(1 + j % 3);
            expectSameTraining(src, w, width, step, height, size, hint);
        }
}

TEST(CdbkTree, TrainingMatchesThePlainReference) {
    treesOnRandomData<Zem32f>();
    treesOnRandomData<Zem16s>();
}

TEST(CdbkTree, StopsWhereNoLeafCanBeSplit) {
    // Identical vectors: the root has no distortion, one codeword, a warning.
    const std::vector<float> same(12 * 3, 0.5f);
    ZemsCdbkState_32f* s = nullptr;
    ASSERT_EQ(zemsCdbkInitAlloc_L2_32f(&s, same.data(), 3, 3, 12, 4, ZEM_CDBK_SPLIT_WIDEST), zemStatusCdbkSizeWarning);
    EXPECT_EQ(st<Zem32f>(s)->numCodewords, 1);
    EXPECT_EQ(st<Zem32f>(s)->root->distortion, 0.0f);
    EXPECT_EQ(st<Zem32f>(s)->indexBits, 0);
    EXPECT_EQ(zemsCdbkFree_32f(s), zemStatusOk);
    // Two distinct vectors: two leaves of no distortion and no neighbour lists.
    const std::vector<Zem16s> two = {1, 2, 30, 40};
    ZemsCdbkState_16s* t = nullptr;
    ASSERT_EQ(zemsCdbkInitAlloc_L2_16s(&t, two.data(), 2, 2, 2, 2, ZEM_CDBK_SPLIT_FULLEST), zemStatusOk);
    const State<Zem16s>* v = t;
    EXPECT_EQ(v->numCodewords, 2);
    EXPECT_EQ(v->maxDepth, 2);
    EXPECT_EQ(v->root->left->neighbourCount + v->root->right->neighbourCount, 0);
    EXPECT_EQ(v->rows[v->rowStep], 30) << "the left child takes the new number and the nearer half";
    EXPECT_EQ(zemsCdbkFree_16s(t), zemStatusOk);
    // Three leaves: four neighbours each, the last found repeated.
    const std::vector<float> three = {0, 0, 0, 10, 10, 10, 20, 20.5f};
    ASSERT_EQ(zemsCdbkInitAlloc_L2_32f(&s, three.data(), 1, 1, 8, 3, ZEM_CDBK_SPLIT_WIDEST), zemStatusOk);
    for (int l = 0; l < 3; ++l) {
        std::vector<const ZemsCdbkNode<Zem32f>*> stack = {st<Zem32f>(s)->root};
        while (!stack.empty()) {
            const auto* n = stack.back();
            stack.pop_back();
            if (!n->isLeaf) {
                stack.push_back(n->left);
                stack.push_back(n->right);
            } else {
                ASSERT_EQ(n->neighbourCount, 4);
                EXPECT_EQ(n->neighbours[3], n->neighbours[2]);
            }
        }
    }
    EXPECT_EQ(zemsCdbkFree_32f(s), zemStatusOk);
}

TEST(CdbkTree, FullestPrefersManyCloseMembers) {
    // A tight cluster of 20 and a wide pair: the widest rule splits the pair, the fullest
    // rule the cluster.
    std::vector<float> src;
    for (int i = 0; i < 20; ++i) src.push_back(float(i % 5) * 0.01f);
    src.push_back(50.0f);
    src.push_back(90.0f);
    for (const auto& [hint, splitsPair] : {std::pair{ZEM_CDBK_SPLIT_WIDEST, true}, {ZEM_CDBK_SPLIT_FULLEST, false}}) {
        ZemsCdbkState_32f* s = nullptr;
        ASSERT_EQ(zemsCdbkInitAlloc_L2_32f(&s, src.data(), 1, 1, 22, 3, hint), zemStatusOk);
        std::vector<float> rows(3);
        ASSERT_EQ(zemsGetCodebook_32f(s, rows.data(), 1), zemStatusOk);
        int far = 0;
        for (float c : rows) far += c > 40.0f;
        EXPECT_EQ(far, splitsPair ? 2 : 1) << hint;
        EXPECT_EQ(zemsCdbkFree_32f(s), zemStatusOk);
    }
}

// ---- Allocation failure -----------------------------------------------------------------

template <class T>
void allocationWalk(int width, int height, int size, int hint) {
    SCOPED_TRACE(::testing::Message() << "width " << width << " hint " << hint);
    using A = Api<T>;
    Random r(23);
    const std::vector<T> src = data<T>(r, size_t(width) * height);
    const int64_t live = zemcoreTestLiveAllocations();
    const int64_t before = zemcoreTestAllocationCount();
    typename A::S* s = nullptr;
    const ZemStatus good = A::alloc(&s, src.data(), width, width, height, size, hint);
    ASSERT_GE(good, 0);
    const int64_t used = zemcoreTestAllocationCount() - before;
    ASSERT_EQ(A::release(s), zemStatusOk);
    ASSERT_EQ(zemcoreTestLiveAllocations(), live);
    for (int64_t k = 1; k <= used; ++k) {
        auto* marker = reinterpret_cast<typename A::S*>(uintptr_t{0x1234});
        s = marker;
        zemcoreTestFailAllocation(k);
        const ZemStatus status = A::alloc(&s, src.data(), width, width, height, size, hint);
        zemcoreTestFailAllocation(0);
        ASSERT_EQ(status, zemStatusNoMemory) << "allocation " << k << " of " << used;
        ASSERT_EQ(s, marker);
        ASSERT_EQ(zemcoreTestLiveAllocations(), live) << "allocation " << k;
    }
}

TEST(CdbkAllocation, EveryFailureReleasesEverything) {
    allocationWalk<Zem32f>(2, 120, 12, ZEM_CDBK_SPLIT_WIDEST);
    allocationWalk<Zem16s>(8, 120, 9, ZEM_CDBK_SPLIT_FULLEST);
    allocationWalk<Zem32f>(3, 60, 5, ZEM_CDBK_SPLIT_WIDEST);
    allocationWalk<Zem32f>(1, 200, 200, ZEM_CDBK_LIST);
    allocationWalk<Zem16s>(2, 300, 300, ZEM_CDBK_LIST);
}

}  // namespace
