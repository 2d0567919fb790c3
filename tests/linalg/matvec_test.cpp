#include <gtest/gtest.h>

#include <climits>
#include <type_traits>
#include <cmath>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

// ---- References -------------------------------------------------------------------------

// Float row sum: element j in lane j mod 8, lanes folded pairwise.
float rowDotRef(const float* row, const float* vec, int width) {
    float lane[8] = {};
    for (int j = 0; j < width; ++j) lane[j % 8] += row[j] * vec[j];
    return ((lane[0] + lane[1]) + (lane[2] + lane[3])) + ((lane[4] + lane[5]) + (lane[6] + lane[7]));
}

// Exact sum of 16-bit products, then floor(sum * 2^-sf), saturated.
template <class Out>
Out shiftRef(long double exact, int sf) {
    const int e = sf > 63 ? 63 : sf;
    const long double lo = std::is_same_v<Out, Zem16s> ? -32768.0L : -2147483648.0L;
    const long double hi = std::is_same_v<Out, Zem16s> ? 32767.0L : 2147483647.0L;
    long double v = e >= -100 ? std::floor(std::ldexp(exact, -e)) : (exact > 0 ? hi : (exact < 0 ? lo : 0));
    return static_cast<Out>(v < lo ? lo : (v > hi ? hi : v));
}

// A double sum scaled by 2^-sf, clamped and rounded to nearest, ties to even.
template <class Out>
Out roundRef(double sum, int sf) {
    const double lo = std::is_same_v<Out, Zem16s> ? -32768.0 : -2147483648.0;
    const double hi = std::is_same_v<Out, Zem16s> ? 32767.0 : 2147483647.0;
    const int e = sf < -1100 ? -1100 : (sf > 1100 ? 1100 : sf);
    double v = sum * std::ldexp(1.0, -e);
    if (std::isnan(v)) return 0;
    v = v < lo ? lo : (v > hi ? hi : v);
    return static_cast<Out>(std::nearbyint(v));
}

// A matrix of height rows, each row at its own misalignment, addressable as a block
// (step) and as row pointers.
template <class T>
struct Matrix {
    Buffer<T> block;
    std::vector<T*> rows;
    int step;
    Matrix(int height, int width, int step, size_t offset, const std::vector<T>& values)
        : block(static_cast<size_t>(height) * step + 1, offset), step(step) {
        for (int r = 0; r < height; ++r) {
            rows.push_back(block.data() + static_cast<size_t>(r) * step);
            for (int c = 0; c < width; ++c) rows[r][c] = values[static_cast<size_t>(r) * width + c];
        }
    }
    const T* const* ptrs() const { return rows.data(); }
};

template <class In, class Out>
std::vector<Out> intReference(const std::vector<In>& m, const std::vector<In>& v, int height, int width, bool matVec,
                              bool shifts, int sf) {
    std::vector<Out> out;
    if (matVec) {
        for (int r = 0; r < height; ++r) {
            long double exact = 0;
            double d = 0;
            for (int c = 0; c < width; ++c) {
                exact += static_cast<long double>(m[r * width + c]) * v[c];
                d += static_cast<double>(m[r * width + c]) * static_cast<double>(v[c]);
            }
            out.push_back(shifts ? shiftRef<Out>(exact, sf) : roundRef<Out>(d, sf));
        }
    } else {
        for (int c = 0; c < width; ++c) {
            double d = 0;
            for (int r = 0; r < height; ++r) d += static_cast<double>(v[r]) * static_cast<double>(m[r * width + c]);
            out.push_back(roundRef<Out>(d, sf));
        }
    }
    return out;
}

// Runs one integer export in both layouts over sizes, misalignments and scale factors.
template <class In, class Out, class D2, class D2L>
void checkIntForm(const char* name, bool matVec, bool shifts, D2 d2, D2L d2l, int64_t lo, int64_t hi) {
    SCOPED_TRACE(name);
    zemtest::Random rnd(77);
    const int sfs[] = {0, 1, 3, 15, 16, 31, 40, 63, 64, 1000, INT_MAX, -1, -3, -16, -31, -40, -1030, INT_MIN};
    for (int height : {1, 2, 3, 5, 8, 17}) {
        for (int width : {1, 2, 7, 8, 9, 33}) {
            const auto m = rnd.integers<In>(static_cast<size_t>(height) * width, lo, hi);
            const auto v = rnd.integers<In>(matVec ? width : height, lo, hi);
            const Matrix<In> mat(height, width, width + 1, height % 2 ? sizeof(In) : 0, m);
            for (int sf : sfs) {
                const auto want = intReference<In, Out>(m, v, height, width, matVec, shifts, sf);
                std::vector<Out> a(want.size()), b(want.size());
                ASSERT_EQ(d2(mat.block.data(), mat.step, v.data(), height, width, a.data(), sf), zemStatusOk);
                ASSERT_EQ(d2l(mat.ptrs(), v.data(), height, width, b.data(), sf), zemStatusOk);
                for (size_t k = 0; k < want.size(); ++k) {
                    ASSERT_EQ(a[k], want[k]) << height << "x" << width << " sf " << sf << " at " << k;
                    ASSERT_EQ(b[k], want[k]) << height << "x" << width << " sf " << sf << " at " << k;
                }
            }
        }
    }
}

// ---- Float products ---------------------------------------------------------------------

TEST(MatVecFloat, MatVecFollowsTheLaneOrderInBothLayouts) {
    zemtest::Random rnd(11);
    for (int height : {1, 2, 3, 4, 5, 7, 8, 9, 13}) {
        for (int width = 1; width <= 41; ++width) {
            // Large terms of both signs make the order of the sums visible.
            const auto m = rnd.uniform<float>(static_cast<size_t>(height) * width, -1e4, 1e4);
            const auto v = rnd.uniform<float>(width, -1e3, 1e3);
            const Matrix<float> mat(height, width, width + (width % 3), width % 4 * 4, m);
            Buffer<float> a(height, 4), b(height, 8);
            ASSERT_EQ(zemsMatVecMul_32f_D2(mat.block.data(), mat.step, v.data(), width, a.data(), height), zemStatusOk);
            ASSERT_EQ(zemsMatVecMul_32f_D2L(mat.ptrs(), v.data(), width, b.data(), height), zemStatusOk);
            for (int r = 0; r < height; ++r) {
                const float want = rowDotRef(&m[static_cast<size_t>(r) * width], v.data(), width);
                ASSERT_TRUE(sameBits(a[r], want)) << height << "x" << width << " row " << r;
                ASSERT_TRUE(sameBits(b[r], want)) << height << "x" << width << " row " << r;
            }
        }
    }
}

TEST(MatVecFloat, VecMatSumsEachColumnInRowOrder) {
    zemtest::Random rnd(12);
    for (int height : {1, 2, 5, 9}) {
        for (int width : {1, 3, 7, 8, 9, 15, 31, 32, 33, 39, 40, 71}) {
            const auto m = rnd.uniform<float>(static_cast<size_t>(height) * width, -1e4, 1e4);
            const auto v = rnd.uniform<float>(height, -1e3, 1e3);
            const Matrix<float> mat(height, width, width + 2, 4, m);
            Buffer<float> a(width + 1, 12), b(width + 1, 0);
            a[width] = b[width] = 7.0f;
            ASSERT_EQ(zemsVecMatMul_32f_D2(v.data(), mat.block.data(), mat.step, height, a.data(), width), zemStatusOk);
            ASSERT_EQ(zemsVecMatMul_32f_D2L(v.data(), mat.ptrs(), height, b.data(), width), zemStatusOk);
            for (int c = 0; c < width; ++c) {
                float want = 0.0f;
                for (int r = 0; r < height; ++r) want += v[r] * m[static_cast<size_t>(r) * width + c];
                ASSERT_TRUE(sameBits(a[c], want)) << height << "x" << width << " column " << c;
                ASSERT_TRUE(sameBits(b[c], want)) << height << "x" << width << " column " << c;
            }
            EXPECT_EQ(a[width], 7.0f) << "written past the end";
            EXPECT_EQ(b[width], 7.0f) << "written past the end";
        }
    }
}

// ---- Integer products ---------------------------------------------------------------------

TEST(MatVecInteger, EveryFormAgainstItsRoundingRule) {
    // Full-range data saturate, small data exercise the rounding of the low bits.
    for (auto [lo, hi] : {std::pair<int64_t, int64_t>{-32768, 32767}, {-40, 40}}) {
        checkIntForm<Zem16s, Zem16s>(
            "MatVecMul_16s", true, true,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_16s_D2Sfs(m, st, v, w, d, h, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_16s_D2LSfs(m, v, w, d, h, sf); }, lo, hi);
        checkIntForm<Zem16s, Zem32s>(
            "MatVecMul_16s32s", true, true,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_16s32s_D2Sfs(m, st, v, w, d, h, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_16s32s_D2LSfs(m, v, w, d, h, sf); }, lo, hi);
        checkIntForm<Zem16s, Zem16s>(
            "VecMatMul_16s", false, false,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_16s_D2Sfs(v, m, st, h, d, w, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_16s_D2LSfs(v, m, h, d, w, sf); }, lo, hi);
        checkIntForm<Zem16s, Zem32s>(
            "VecMatMul_16s32s", false, false,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_16s32s_D2Sfs(v, m, st, h, d, w, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_16s32s_D2LSfs(v, m, h, d, w, sf); }, lo, hi);
    }
    for (auto [lo, hi] : {std::pair<int64_t, int64_t>{INT32_MIN, INT32_MAX}, {-3000, 3000}}) {
        checkIntForm<Zem32s, Zem32s>(
            "MatVecMul_32s", true, false,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_32s_D2Sfs(m, st, v, w, d, h, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsMatVecMul_32s_D2LSfs(m, v, w, d, h, sf); }, lo, hi);
        checkIntForm<Zem32s, Zem32s>(
            "VecMatMul_32s", false, false,
            [](auto m, int st, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_32s_D2Sfs(v, m, st, h, d, w, sf); },
            [](auto m, auto v, int h, int w, auto d, int sf) { return zemsVecMatMul_32s_D2LSfs(v, m, h, d, w, sf); }, lo, hi);
    }
}

TEST(MatVecInteger, SixteenBitDirectionsRoundDifferently) {
    // A sum of -1 at scale factor 1: the shift gives -1, the rounding -0.5 to even, 0.
    const Zem16s m[2] = {1, 2}, v[2] = {1, -1};
    Zem16s a = 5, b = 5;
    ASSERT_EQ(zemsMatVecMul_16s_D2Sfs(m, 2, v, 2, &a, 1, 1), zemStatusOk);
    EXPECT_EQ(a, -1);
    const Zem16s col[2] = {1, 2};  // a 2 x 1 matrix
    ASSERT_EQ(zemsVecMatMul_16s_D2Sfs(v, col, 1, 2, &b, 1, 1), zemStatusOk);
    EXPECT_EQ(b, 0);
    // -3 at scale factor 1: -1.5 rounds to -2 (even) and shifts to -2; 3 shifts to 1, rounds to 2.
    const Zem16s three[2] = {3, 0}, one[2] = {1, 0}, minus[2] = {-1, 0};
    ASSERT_EQ(zemsMatVecMul_16s_D2Sfs(three, 2, one, 2, &a, 1, 1), zemStatusOk);
    EXPECT_EQ(a, 1);
    ASSERT_EQ(zemsVecMatMul_16s_D2Sfs(minus, three, 1, 2, &b, 1, 1), zemStatusOk);
    EXPECT_EQ(b, -2);
}

// ---- Checks -------------------------------------------------------------------------------

// One table for the family: every export, each break in the export's check order.
TEST(MatVecChecks, CheckOrderOfEveryProduct) {
    float f[64] = {}, fd[16];
    const float* frows[4] = {f, f + 8, f + 16, f + 24};
    Zem16s s[64] = {}, sd[16];
    const Zem16s* srows[4] = {s, s + 8, s + 16, s + 24};
    Zem32s i[64] = {}, id[16];
    const Zem32s* irows[4] = {i, i + 8, i + 16, i + 24};
    struct A {
        int which = 0;  // matrix, vec, dst null: 1, 2, 3
        int height = 4, width = 6, step = 8;
        bool nullRow = false;
    };
    using B = zemtest::Break<A>;
    const std::vector<B> d2Breaks = {{"matrix", [](A& a) { a.which |= 1; }, zemStatusNullPointer},
                                     {"vec", [](A& a) { a.which |= 2; }, zemStatusNullPointer},
                                     {"dst", [](A& a) { a.which |= 4; }, zemStatusNullPointer},
                                     {"height", [](A& a) { a.height = 0; }, zemStatusBadSize},
                                     {"width", [](A& a) { a.width = INT_MIN; }, zemStatusBadSize},
                                     {"step", [](A& a) { a.step = 5; }, zemStatusBadStride}};
    const std::vector<B> d2lBreaks = {{"matrix", [](A& a) { a.which |= 1; }, zemStatusNullPointer},
                                      {"vec", [](A& a) { a.which |= 2; }, zemStatusNullPointer},
                                      {"dst", [](A& a) { a.which |= 4; }, zemStatusNullPointer},
                                      {"height", [](A& a) { a.height = -1; }, zemStatusBadSize},
                                      {"width", [](A& a) { a.width = 0; }, zemStatusBadSize},
                                      {"row", [](A& a) { a.nullRow = true; }, zemStatusNullPointer}};
    auto pick = [](const A& a, int bit, auto* p) { return (a.which & bit) ? nullptr : p; };
    auto rowsOf = [](const A& a, auto* const* rows, auto* copy) {
        for (int r = 0; r < 4; ++r) copy[r] = rows[r];
        if (a.nullRow) copy[3] = nullptr;
        return copy;
    };
    const std::vector<zemtest::Region> out = {zemtest::region(fd, 16), zemtest::region(sd, 16), zemtest::region(id, 16)};
#define D2(name, ...) \
    zemtest::expectCheckOrder<A>(#name, {}, [&](const A& a) { return name(__VA_ARGS__); }, d2Breaks, out)
#define D2L(name, ...) \
    zemtest::expectCheckOrder<A>(#name, {}, [&](const A& a) { return name(__VA_ARGS__); }, d2lBreaks, out)
    // The macros only spell the table rows; every export is still called under its own name.
    D2(zemsMatVecMul_32f_D2, pick(a, 1, f), a.step, pick(a, 2, f), a.width, pick(a, 4, fd), a.height);
    D2(zemsMatVecMul_16s_D2Sfs, pick(a, 1, s), a.step, pick(a, 2, s), a.width, pick(a, 4, sd), a.height, 0);
    D2(zemsMatVecMul_16s32s_D2Sfs, pick(a, 1, s), a.step, pick(a, 2, s), a.width, pick(a, 4, id), a.height, 0);
    D2(zemsMatVecMul_32s_D2Sfs, pick(a, 1, i), a.step, pick(a, 2, i), a.width, pick(a, 4, id), a.height, 0);
    D2(zemsVecMatMul_32f_D2, pick(a, 2, f), pick(a, 1, f), a.step, a.height, pick(a, 4, fd), a.width);
    D2(zemsVecMatMul_16s_D2Sfs, pick(a, 2, s), pick(a, 1, s), a.step, a.height, pick(a, 4, sd), a.width, 0);
    D2(zemsVecMatMul_16s32s_D2Sfs, pick(a, 2, s), pick(a, 1, s), a.step, a.height, pick(a, 4, id), a.width, 0);
    D2(zemsVecMatMul_32s_D2Sfs, pick(a, 2, i), pick(a, 1, i), a.step, a.height, pick(a, 4, id), a.width, 0);
    const float* fr[4];
    const Zem16s* sr[4];
    const Zem32s* ir[4];
    D2L(zemsMatVecMul_32f_D2L, pick(a, 1, rowsOf(a, frows, fr)), pick(a, 2, f), a.width, pick(a, 4, fd), a.height);
    D2L(zemsMatVecMul_16s_D2LSfs, pick(a, 1, rowsOf(a, srows, sr)), pick(a, 2, s), a.width, pick(a, 4, sd), a.height, 0);
    D2L(zemsMatVecMul_16s32s_D2LSfs, pick(a, 1, rowsOf(a, srows, sr)), pick(a, 2, s), a.width, pick(a, 4, id), a.height, 0);
    D2L(zemsMatVecMul_32s_D2LSfs, pick(a, 1, rowsOf(a, irows, ir)), pick(a, 2, i), a.width, pick(a, 4, id), a.height, 0);
    D2L(zemsVecMatMul_32f_D2L, pick(a, 2, f), pick(a, 1, rowsOf(a, frows, fr)), a.height, pick(a, 4, fd), a.width);
    D2L(zemsVecMatMul_16s_D2LSfs, pick(a, 2, s), pick(a, 1, rowsOf(a, srows, sr)), a.height, pick(a, 4, sd), a.width, 0);
    D2L(zemsVecMatMul_16s32s_D2LSfs, pick(a, 2, s), pick(a, 1, rowsOf(a, srows, sr)), a.height, pick(a, 4, id), a.width, 0);
    D2L(zemsVecMatMul_32s_D2LSfs, pick(a, 2, i), pick(a, 1, rowsOf(a, irows, ir)), a.height, pick(a, 4, id), a.width, 0);
#undef D2
#undef D2L
}

TEST(MatVecChecks, WidthEqualToStepIsAllowed) {
    const float m[6] = {1, 2, 3, 4, 5, 6}, v[3] = {1, 1, 1};
    float d[2];
    ASSERT_EQ(zemsMatVecMul_32f_D2(m, 3, v, 3, d, 2), zemStatusOk);
    EXPECT_EQ(d[0], 6.0f);
    EXPECT_EQ(d[1], 15.0f);
    EXPECT_EQ(zemsMatVecMul_32f_D2(m, 2, v, 3, d, 2), zemStatusBadStride);
}

}  // namespace
