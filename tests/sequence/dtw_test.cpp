// Time warping against a plain rendering of the stated engine (orientation, band, the
// free first row, three predecessors, lower cut, beam from both ends, early stop), in
// every form, with the check orders and the allocation walk.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

using Seq = std::vector<std::vector<float>>;
constexpr float kBig = 3.4028235e38f;

float localDistance(const std::vector<float>& a, const std::vector<float>& b) {
    const size_t w = a.size();
    if (w <= 13) {
        float s = 0.0f;
        for (size_t f = 0; f < w; ++f) s += (a[f] - b[f]) * (a[f] - b[f]);
        return std::sqrt(s);
    }
    double s = 0.0;
    for (size_t f = 0; f < w; ++f) s += static_cast<double>((a[f] - b[f]) * (a[f] - b[f]));
    return static_cast<float>(std::sqrt(s));
}

// The engine step by step, on whole rows of K cells with kBig outside the live range.
float reference(const Seq& s1, const Seq& s2, int delta, float beta) {
    const Seq& rows = s1.size() > s2.size() ? s1 : s2;
    const Seq& cols = s1.size() > s2.size() ? s2 : s1;
    const int64_t R = static_cast<int64_t>(rows.size()), K = static_cast<int64_t>(cols.size());
    const int64_t dlt = K > delta ? delta : K - 1;
    std::vector<float> a(K, kBig);
    for (int64_t j = 0; j <= dlt; ++j) a[j] = localDistance(rows[0], cols[j]);
    int64_t start = 0, count = dlt + 1;
    float m = kBig;
    for (int64_t i = 1; i < R; ++i) {
        int64_t upper = 3 * i < 2 * K - R ? dlt + 2 * i : K + dlt + ((i - R - 1) >> 1);
        upper = std::min(upper, K - 1);
        int64_t lower = 3 * i > 4 * R - 2 * K - 2 ? 2 * i + K - 2 * R - dlt + 1 : i / 2 - dlt;
        lower = std::max<int64_t>(lower, 0);
        auto old = [&](int64_t k) { return k >= start && k < start + count ? a[k] : kBig; };
        int64_t n = std::min(upper - start + 1, count + 2);
        std::vector<float> next(K, kBig);
        for (int64_t k = start; k < start + n; ++k)
            next[k] = localDistance(rows[i], cols[k]) + std::min({old(k), old(k - 1), old(k - 2)});
        if (start < lower) {
            n -= lower - start;
            start = lower;
        }
        m = kBig;
        if (n > 0) m = *std::min_element(next.begin() + start, next.begin() + start + n);
        count = n;
        a = next;
        if (m >= kBig) break;
        const float limit = std::max(0.0f, beta) + 1.1920929e-07f + m;
        while (count > 1 && a[start + count - 1] > limit) --count;
        while (count > 1 && a[start] > limit) ++start, --count;
    }
    return m;
}

// Rounded to nearest with ties to even after scaling by 2^-sf, saturated.
Zem32s scaledResult(float v, int sf) {
    const double t = std::ldexp(static_cast<double>(v), -sf);
    if (t >= 2147483648.0) return INT32_MAX;
    if (t < -2147483648.0) return INT32_MIN;
    return static_cast<Zem32s>(std::nearbyint(t));
}

Seq randomSeq(zemtest::Random& rnd, int height, int width, double lo, double hi) {
    Seq s(height);
    for (auto& row : s) row = rnd.uniform<float>(width, lo, hi);
    return s;
}

// A sequence laid out as one block of rows at the given stride and byte offset, with
// its row pointers.
template <class T>
struct Laid {
    zemtest::Buffer<T> block;
    std::vector<const T*> rows;
    Laid(const Seq& s, int step, size_t offset) : block(s.size() * step + 1, offset) {
        for (size_t r = 0; r < s.size(); ++r) {
            for (size_t f = 0; f < s[r].size(); ++f) block[r * step + f] = static_cast<T>(s[r][f]);
            rows.push_back(block.data() + r * step);
        }
    }
};

float dtw32f(const Seq& a, const Seq& b, int delta, float beta, bool rowList, size_t offset = 4) {
    const int width = static_cast<int>(a[0].size()), step = width + (rowList ? 0 : 3);
    Laid<float> la(a, step, offset), lb(b, step, offset);
    float out = -1.0f;
    const ZemStatus s = rowList ? zemsDTW_L2_32f_D2L(la.rows.data(), int(a.size()), lb.rows.data(), int(b.size()),
                                                     width, &out, delta, beta)
                                : zemsDTW_L2_32f_D2(la.block.data(), int(a.size()), lb.block.data(), int(b.size()),
                                                    width, step, &out, delta, beta);
    EXPECT_EQ(s, zemStatusOk);
    return out;
}

TEST(Dtw, WorkedCasesAndStatedValues) {
    const Seq shortSeq = {{0.0f}, {2.0f}}, longSeq = {{0.0f}, {1.0f}, {2.0f}};
    // Rows 0, 1, 2 against columns 0, 2 with dlt 0: the last row's band starts at column 1.
    EXPECT_EQ(dtw32f(shortSeq, longSeq, 0, 0.0f, true), 1.0f);
    EXPECT_EQ(dtw32f(longSeq, shortSeq, 0, 0.0f, false), 1.0f);
    EXPECT_EQ(dtw32f({{1.0f, 2.0f}}, {{1.0f, 2.0f}}, 5, 1.0f, true), kBig);  // one row: no path
    zemtest::Random rnd(7);
    const Seq same = randomSeq(rnd, 23, 5, -1, 1);
    EXPECT_EQ(dtw32f(same, same, 0, 0.0f, true), 0.0f);
    const Seq other = randomSeq(rnd, 9, 5, -1, 1);
    EXPECT_EQ(dtw32f(same, other, 8, 0.5f, true), dtw32f(same, other, 1000, 0.5f, true));  // delta cut to K - 1
    EXPECT_EQ(dtw32f(same, other, 0, -3.0f, true), dtw32f(same, other, 0, 0.0f, true));    // beta below 0 is 0

    const Zem16s one16[2] = {3, 4};
    const Zem16s* rows16[1] = {one16};
    const Zem8u one8[2] = {3, 4};
    Zem32s out = 0;
    EXPECT_EQ(zemsDTW_L2Low_16s32s_D2LSfs(rows16, 1, rows16, 1, 2, &out, 0, 0.0f, 0), zemStatusOk);
    EXPECT_EQ(out, INT32_MAX);
    EXPECT_EQ(zemsDTW_L2_8u32s_D2Sfs(one8, 1, one8, 1, 2, 2, &out, 0, 0.0f, 40), zemStatusOk);
    EXPECT_EQ(out, INT32_MAX);
}

TEST(Dtw, FloatFormsMatchReferenceAcrossWidthsLengthsBandsAndBeams) {
    // (height1, height2): equal, one frame, R <= 2K - 1 and beyond it, both orders, and
    // long enough for the 32-cell groups.
    const std::pair<int, int> heights[] = {{1, 4},  {4, 1},  {2, 2},  {6, 6},   {9, 5},   {5, 9},
                                           {13, 6}, {6, 13}, {40, 33}, {70, 45}, {45, 70}, {120, 30}};
    const int deltas[] = {INT_MIN, -2, 0, 2, 7, INT_MAX};
    const float betas[] = {-1.0f, 0.0f, 0.4f, 1e30f, std::nanf("")};
    zemtest::Random rnd(2026);
    for (int width = 1; width <= 40; ++width)
        for (auto [h1, h2] : heights) {
            // Odd widths take data small enough that the beam's margin decides cells.
            const double r = width % 2 ? 1e-6 : 1.0;
            const Seq a = randomSeq(rnd, h1, width, -r, r), b = randomSeq(rnd, h2, width, -r, r);
            for (int delta : deltas)
                for (float beta : betas) {
                    SCOPED_TRACE(testing::Message() << "width " << width << " heights " << h1 << "x" << h2
                                                    << " delta " << delta << " beta " << beta);
                    const float want = reference(a, b, delta, beta);
                    ASSERT_TRUE(zemtest::sameBits(dtw32f(a, b, delta, beta, true, 4 * (width % 4)), want));
                    ASSERT_TRUE(zemtest::sameBits(dtw32f(a, b, delta, beta, false, 4 * (h1 % 3)), want));
                }
        }
}

template <class T>
void integerFormsMatch(ZemStatus (*rowsForm)(const T* const*, int, const T* const*, int, int, Zem32s*, int, Zem32f, int),
                       ZemStatus (*blockForm)(const T*, int, const T*, int, int, int, Zem32s*, int, Zem32f, int),
                       double lo, double hi) {
    zemtest::Random rnd(11);
    for (int width : {1, 3, 13, 14, 39})
        for (auto [h1, h2] : {std::pair{1, 1}, {3, 8}, {50, 37}, {37, 50}})
            for (int sf : {-3, 0, 4}) {
                Seq a = randomSeq(rnd, h1, width, lo, hi), b = randomSeq(rnd, h2, width, lo, hi);
                for (Seq* s : {&a, &b})
                    for (auto& row : *s)
                        for (float& v : row) v = std::floor(v);
                const Zem32s want = scaledResult(reference(a, b, 3, 2.0f), sf);
                const int step = width + 1;
                Laid<T> la(a, step, 2), lb(b, step, 2);
                Zem32s got[2] = {0, 0};
                ASSERT_EQ(rowsForm(la.rows.data(), h1, lb.rows.data(), h2, width, &got[0], 3, 2.0f, sf), zemStatusOk);
                ASSERT_EQ(blockForm(la.block.data(), h1, lb.block.data(), h2, width, step, &got[1], 3, 2.0f, sf),
                          zemStatusOk);
                EXPECT_EQ(got[0], want) << width << " " << h1 << "x" << h2 << " sf " << sf;
                EXPECT_EQ(got[1], want) << width << " " << h1 << "x" << h2 << " sf " << sf;
            }
}

TEST(Dtw, IntegerFormsWidenRunTheEngineAndRoundTiesToEven) {
    integerFormsMatch<Zem16s>(zemsDTW_L2Low_16s32s_D2LSfs, zemsDTW_L2Low_16s32s_D2Sfs, -32768, 32768);
    integerFormsMatch<Zem8u>(zemsDTW_L2_8u32s_D2LSfs, zemsDTW_L2_8u32s_D2Sfs, 0, 256);
    // Two rows of one feature against {0, 0}: the result is the last row's value x, and
    // at scale factor 1 the halves round to even.
    const Zem16s zero[1] = {0}, three[1] = {3}, five[1] = {5};
    const Zem16s* cols[2] = {zero, zero};
    for (auto [x, want] : {std::pair{three, 2}, {five, 2}}) {
        const Zem16s* rows[2] = {zero, x};
        Zem32s out = 0;
        ASSERT_EQ(zemsDTW_L2Low_16s32s_D2LSfs(cols, 2, rows, 2, 1, &out, 0, 0.0f, 1), zemStatusOk);
        EXPECT_EQ(out, want);
    }
}

struct OrderArgs {
    bool src1 = true, src2 = true, dst = true, rowsSet = true;
    int h1 = 2, h2 = 2, width = 3, step = 4;
};

std::vector<zemtest::Break<OrderArgs>> orderBreaks(bool rowList) {
    using A = OrderArgs;
    std::vector<zemtest::Break<A>> b = {{"src1", [](A& a) { a.src1 = false; }, zemStatusNullPointer},
                                        {"src2", [](A& a) { a.src2 = false; }, zemStatusNullPointer},
                                        {"dst", [](A& a) { a.dst = false; }, zemStatusNullPointer},
                                        {"height1", [](A& a) { a.h1 = INT_MIN; }, zemStatusBadSize},
                                        {"height2", [](A& a) { a.h2 = 0; }, zemStatusBadSize},
                                        {"width", [](A& a) { a.width = -1; }, zemStatusBadSize}};
    if (rowList)
        b.push_back({"a row of src1", [](A& a) { a.rowsSet = false; }, zemStatusNullPointer});
    else
        b.push_back({"step below width", [](A& a) { a.step = 2; }, zemStatusBadSize});
    return b;
}

// The row-pointer and the block form of one type: two rows of three at a stride of four.
template <class T, class Out, class RowsCall, class BlockCall>
void checkOrders(const char* rowsName, const char* blockName, const T* data, Out* out, RowsCall rowsCall,
                 BlockCall blockCall) {
    zemtest::expectCheckOrder<OrderArgs>(
        rowsName, {},
        [=](const OrderArgs& a) {
            const T* r1[2] = {data, a.rowsSet ? data + 4 : nullptr};
            const T* r2[2] = {data, data + 4};
            return rowsCall(a.src1 ? r1 : nullptr, a.h1, a.src2 ? r2 : nullptr, a.h2, a.width, a.dst ? out : nullptr);
        },
        orderBreaks(true), {zemtest::region(out, 1)});
    zemtest::expectCheckOrder<OrderArgs>(
        blockName, {},
        [=](const OrderArgs& a) {
            return blockCall(a.src1 ? data : nullptr, a.h1, a.src2 ? data : nullptr, a.h2, a.width, a.step,
                             a.dst ? out : nullptr);
        },
        orderBreaks(false), {zemtest::region(out, 1)});
}

TEST(Dtw, StatusesInCheckOrderWriteNothing) {
    const Zem32f f[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const Zem16s s[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const Zem8u u[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Zem32f outF;
    Zem32s outS;
    checkOrders("zemsDTW_L2_32f_D2L", "zemsDTW_L2_32f_D2", f, &outF,
                [](auto... p) { return zemsDTW_L2_32f_D2L(p..., 1, 0.0f); },
                [](auto... p) { return zemsDTW_L2_32f_D2(p..., 1, 0.0f); });
    checkOrders("zemsDTW_L2Low_16s32s_D2LSfs", "zemsDTW_L2Low_16s32s_D2Sfs", s, &outS,
                [](auto... p) { return zemsDTW_L2Low_16s32s_D2LSfs(p..., 1, 0.0f, 0); },
                [](auto... p) { return zemsDTW_L2Low_16s32s_D2Sfs(p..., 1, 0.0f, 0); });
    checkOrders("zemsDTW_L2_8u32s_D2LSfs", "zemsDTW_L2_8u32s_D2Sfs", u, &outS,
                [](auto... p) { return zemsDTW_L2_8u32s_D2LSfs(p..., 1, 0.0f, 0); },
                [](auto... p) { return zemsDTW_L2_8u32s_D2Sfs(p..., 1, 0.0f, 0); });
}

// Walks a failure over every allocation of a call: each fails the call with nothing
// written and nothing kept, except the column copy, whose loss only slows the call.
template <class Call>
void walkAllocations(const char* what, int64_t expectAllocations, bool lastIsCopy, float want, Call call) {
    SCOPED_TRACE(what);
    const int64_t live = zemcoreTestLiveAllocations(), before = zemcoreTestAllocationCount();
    float out = 0.0f;
    ASSERT_EQ(call(&out), zemStatusOk);
    ASSERT_EQ(zemcoreTestAllocationCount() - before, expectAllocations);
    EXPECT_TRUE(zemtest::sameBits(out, want));
    for (int64_t k = 1; k <= expectAllocations; ++k) {
        zemcoreTestFailAllocation(k);
        out = -7.0f;
        const ZemStatus s = call(&out);
        zemcoreTestFailAllocation(0);
        if (lastIsCopy && k == expectAllocations) {
            EXPECT_EQ(s, zemStatusOk) << k;
            EXPECT_TRUE(zemtest::sameBits(out, want)) << k;
        } else {
            EXPECT_EQ(s, zemStatusNoMemory) << k;
            EXPECT_EQ(out, -7.0f) << k;
        }
        EXPECT_EQ(zemcoreTestLiveAllocations(), live) << k;
    }
}

TEST(Dtw, WorkspaceOnTheStackUpTo512ElementsAndEveryAllocationWalked) {
    zemtest::Random rnd(5);
    // 2 * ((K + 8) & ~3) + 2 * ((R + 3) & ~3): K = 120, R = 128 gives 512; R = 129 gives 520.
    const Seq a = randomSeq(rnd, 120, 2, -1, 1), b128 = randomSeq(rnd, 128, 2, -1, 1),
              b129 = randomSeq(rnd, 129, 2, -1, 1);
    Laid<float> la(a, 2, 0), l128(b128, 2, 0), l129(b129, 2, 0);
    walkAllocations("512 elements", 0, false, reference(a, b128, 4, 1.0f), [&](float* out) {
        return zemsDTW_L2_32f_D2L(la.rows.data(), 120, l128.rows.data(), 128, 2, out, 4, 1.0f);
    });
    walkAllocations("520 elements", 1, false, reference(a, b129, 4, 1.0f), [&](float* out) {
        return zemsDTW_L2_32f_D2L(la.rows.data(), 120, l129.rows.data(), 129, 2, out, 4, 1.0f);
    });
    // 300 x 280 frames of 39: the workspace and the column copy from the allocator; in
    // the block form also the 580 row pointers; integer forms widen into two blocks.
    const Seq x = randomSeq(rnd, 300, 39, 0, 200), y = randomSeq(rnd, 280, 39, 0, 200);
    Laid<float> lx(x, 40, 4), ly(y, 40, 4);
    const float want = reference(x, y, 10, 50.0f);
    walkAllocations("D2L", 2, true, want, [&](float* out) {
        return zemsDTW_L2_32f_D2L(lx.rows.data(), 300, ly.rows.data(), 280, 39, out, 10, 50.0f);
    });
    walkAllocations("D2", 3, true, want, [&](float* out) {
        return zemsDTW_L2_32f_D2(lx.block.data(), 300, ly.block.data(), 280, 39, 40, out, 10, 50.0f);
    });
    Seq xi = x, yi = y;
    for (Seq* s : {&xi, &yi})
        for (auto& row : *s)
            for (float& v : row) v = std::floor(v);
    Laid<Zem8u> ux(xi, 39, 0), uy(yi, 39, 0);
    const float wantInt = static_cast<float>(scaledResult(reference(xi, yi, 10, 50.0f), 0));
    walkAllocations("8u D2", 5, true, wantInt, [&](float* out) {
        Zem32s v = 0;
        const ZemStatus s = zemsDTW_L2_8u32s_D2Sfs(ux.block.data(), 300, uy.block.data(), 280, 39, 39, &v, 10, 50.0f, 0);
        if (s == zemStatusOk) *out = static_cast<float>(v);
        return s;
    });
}

}  // namespace

namespace {

// Columns too many for the stack copy: when the copy cannot be allocated (the call's
// last allocation), every cell is computed one at a time, to the same bits.  The two
// sequences differ only in their last frame, so the result is one cell's distance and
// shows its last bit; four tries a width, as one cell's sums may well agree.
TEST(Dtw, CellByCellWithoutTheColumnCopyGivesTheSameBits) {
    zemtest::Random rnd(9);
    for (int width : {5, 5, 5, 5, 13, 13, 13, 13, 14, 14, 14, 14, 40, 40, 40, 40}) {
        const int K = 4096 / width + 10;
        const Seq a = randomSeq(rnd, K, width, -1, 1);
        Seq b = a;
        b.back() = rnd.uniform<float>(width, -1, 1);
        Laid<float> la(a, width, 4), lb(b, width, 4);
        const float want = reference(a, b, 0, 0.0f);
        float out = 0.0f;
        const int64_t before = zemcoreTestAllocationCount();
        ASSERT_EQ(zemsDTW_L2_32f_D2L(la.rows.data(), K, lb.rows.data(), K, width, &out, 0, 0.0f), zemStatusOk);
        zemcoreTestFailAllocation(zemcoreTestAllocationCount() - before);
        out = 0.0f;
        ASSERT_EQ(zemsDTW_L2_32f_D2L(la.rows.data(), K, lb.rows.data(), K, width, &out, 0, 0.0f), zemStatusOk);
        zemcoreTestFailAllocation(0);
        EXPECT_TRUE(zemtest::sameBits(out, want)) << width;
    }
}

}  // namespace
