#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

// The stated order of the sums: from `foursFrom` terms on, four partial sums over the
// groups of four folded as (s0 + s1) + (s2 + s3), then the leftovers; otherwise in order.
double orderedSum(const std::vector<double>& t, size_t foursFrom) {
    double s = 0;
    if (t.size() < foursFrom) {
        for (double x : t) s += x;
        return s;
    }
    double p[4] = {};
    const size_t full = t.size() / 4 * 4;
    for (size_t k = 0; k < full; ++k) p[k % 4] += t[k];
    s = (p[0] + p[1]) + (p[2] + p[3]);
    for (size_t k = full; k < t.size(); ++k) s += t[k];
    return s;
}

struct Table {
    int height, width;
    std::vector<std::vector<double>> store;
    std::vector<double*> rows;
    Table(int h, int w, uint32_t seed) : height(h), width(w) {
        zemtest::Random rnd(seed);
        for (int r = 0; r < h; ++r) store.push_back(rnd.uniform<double>(w + r % 3, -1e6, 1e6));
        for (auto& row : store) rows.push_back(row.data());
    }
    std::vector<double> column(int c, int from) const {
        std::vector<double> v;
        for (int r = from; r < height; ++r) v.push_back(store[r][c]);
        return v;
    }
};

TEST(ColumnOps, SumsFollowTheFourRowOrder) {
    for (int height : {1, 2, 3, 4, 5, 7, 8, 9, 13, 40}) {
        Table t(height, 5, 100 + height);
        for (int from = 0; from < height; ++from) {
            const auto c1 = t.column(1, from), c3 = t.column(3, from);
            std::vector<double> abs, prod;
            for (size_t k = 0; k < c1.size(); ++k) {
                abs.push_back(std::fabs(c1[k]));
                prod.push_back(c1[k] * c3[k]);
            }
            double sum = 0;
            ASSERT_EQ(zemsSumColumnAbs_64f_D2L(t.rows.data(), 5, height, &sum, 1, from), zemStatusOk);
            EXPECT_TRUE(sameBits(sum, orderedSum(abs, 4))) << height << " from " << from;
            ASSERT_EQ(zemsDotProdColumn_64f_D2L(t.rows.data(), 5, height, &sum, 1, 3, from), zemStatusOk);
            EXPECT_TRUE(sameBits(sum, orderedSum(prod, 4))) << height << " from " << from;
        }
    }
}

TEST(ColumnOps, UpdatesTouchOnlyTheirColumnFromFirstRow) {
    Table t(11, 6, 7);
    const Table before = t;
    std::vector<double*> rows = t.rows;
    ASSERT_EQ(zemsAddMulColumn_64f_D2L(rows.data(), 6, 11, 4, 2, 3, -0.75), zemStatusOk);
    ASSERT_EQ(zemsMulColumn_64f_D2L(rows.data(), 6, 11, 5, 6, 3.5), zemStatusOk);
    for (int r = 0; r < 11; ++r)
        for (int c = 0; c < 6; ++c) {
            double want = before.store[r][c];
            if (c == 2 && r >= 3) want = want + before.store[r][4] * -0.75;
            if (c == 5 && r >= 6) want = want * 3.5;
            EXPECT_TRUE(sameBits(t.store[r][c], want)) << r << "," << c;
        }
}

TEST(ColumnOps, SquareSumsLeaveTheDataScaled) {
    Table t(9, 3, 8);
    const Table before = t;
    const auto col = t.column(2, 2);
    std::vector<double> sq;
    for (double x : col) sq.push_back((x * 0.5) * (x * 0.5));
    double sum = 0, again = 0;
    ASSERT_EQ(zemsSumColumnSqr_64f_D2L(t.rows.data(), 3, 9, &sum, 2, 2, 0.5), zemStatusOk);
    EXPECT_TRUE(sameBits(sum, orderedSum(sq, 4)));
    EXPECT_EQ(t.store[0][2], before.store[0][2]);
    EXPECT_EQ(t.store[1][2], before.store[1][2]);
    for (size_t k = 0; k < col.size(); ++k) EXPECT_EQ(t.store[2 + k][2], col[k] * 0.5);
    ASSERT_EQ(zemsSumColumnSqr_64f_D2L(t.rows.data(), 3, 9, &again, 2, 2, 1.0), zemStatusOk);
    EXPECT_TRUE(sameBits(again, sum)) << "a second call with 1 sums the scaled values";

    // Rows: below 16 elements in order, from 16 on in four partial sums.
    zemtest::Random rnd(9);
    for (int len : {1, 3, 15, 16, 17, 19, 64, 101}) {
        auto x = rnd.uniform<double>(len, -1e8, 1e8);
        std::vector<double> abs, sqr;
        for (double v : x) {
            abs.push_back(std::fabs(v));
            sqr.push_back((v * -2.0) * (v * -2.0));
        }
        const auto y = rnd.uniform<double>(len, -1, 1);
        auto z = y;
        ASSERT_EQ(zemsSumRowAbs_64f(x.data(), len, &sum), zemStatusOk);
        EXPECT_TRUE(sameBits(sum, orderedSum(abs, 16))) << len;
        ASSERT_EQ(zemsAddMulRow_64f(x.data(), z.data(), len, 0.25), zemStatusOk);
        for (int k = 0; k < len; ++k) EXPECT_EQ(z[k], y[k] + x[k] * 0.25);
        ASSERT_EQ(zemsSumRowSqr_64f(x.data(), len, &sum, -2.0), zemStatusOk);
        EXPECT_TRUE(sameBits(sum, orderedSum(sqr, 16))) << len;
    }
}

TEST(ColumnOps, CheckOrderOfEveryRowAndColumnOperation) {
    double data[4][4] = {}, out = 0;
    struct A {
        bool nullMatrix = false, nullSum = false, nullRow = false;
        int width = 4, height = 4, c1 = 1, c2 = 2, first = 1;
    };
    using B = zemtest::Break<A>;
    std::vector<double*> rows(4);
    auto rowsOf = [&](const A& a) -> double** {
        for (int r = 0; r < 4; ++r) rows[r] = data[r];
        if (a.nullRow) rows[3] = nullptr;
        return a.nullMatrix ? nullptr : rows.data();
    };
    auto sumOf = [&](const A& a) { return a.nullSum ? nullptr : &out; };
    const B matrix{"matrix", [](A& a) { a.nullMatrix = true; }, zemStatusNullPointer};
    const B sum{"sum", [](A& a) { a.nullSum = true; }, zemStatusNullPointer};
    const B width{"width", [](A& a) { a.width = 0; }, zemStatusBadSize};
    const B height{"height", [](A& a) { a.height = INT_MIN; }, zemStatusBadSize};
    const B col1{"column", [](A& a) { a.c1 = 4; }, zemStatusBadSize};
    const B col2{"column2", [](A& a) { a.c2 = -1; }, zemStatusBadSize};
    const B first{"firstRow", [](A& a) { a.first = 4; }, zemStatusBadSize};
    const B row{"row", [](A& a) { a.nullRow = true; }, zemStatusNullPointer};
    const std::vector<zemtest::Region> outs = {zemtest::region(&data[0][0], 16), zemtest::region(&out, 1)};
    zemtest::expectCheckOrder<A>("zemsSumColumnAbs_64f_D2L", {}, [&](const A& a) {
        return zemsSumColumnAbs_64f_D2L(rowsOf(a), a.width, a.height, sumOf(a), a.c1, a.first);
    }, {matrix, sum, width, height, col1, first, row}, outs);
    zemtest::expectCheckOrder<A>("zemsSumColumnSqr_64f_D2L", {}, [&](const A& a) {
        return zemsSumColumnSqr_64f_D2L(rowsOf(a), a.width, a.height, sumOf(a), a.c1, a.first, 2.0);
    }, {matrix, sum, width, height, col1, first, row}, outs);
    zemtest::expectCheckOrder<A>("zemsDotProdColumn_64f_D2L", {}, [&](const A& a) {
        return zemsDotProdColumn_64f_D2L(rowsOf(a), a.width, a.height, sumOf(a), a.c1, a.c2, a.first);
    }, {matrix, sum, width, height, col1, col2, first, row}, outs);
    zemtest::expectCheckOrder<A>("zemsAddMulColumn_64f_D2L", {}, [&](const A& a) {
        return zemsAddMulColumn_64f_D2L(rowsOf(a), a.width, a.height, a.c1, a.c2, a.first, 2.0);
    }, {matrix, width, height, col1, col2, first, row}, outs);
    zemtest::expectCheckOrder<A>("zemsMulColumn_64f_D2L", {}, [&](const A& a) {
        return zemsMulColumn_64f_D2L(rowsOf(a), a.width, a.height, a.c1, a.first, 2.0);
    }, {matrix, width, height, col1, first, row}, outs);
    zemtest::expectCheckOrder<A>("zemsQRTransColumn_64f_D2L", {}, [&](const A& a) {
        return zemsQRTransColumn_64f_D2L(rowsOf(a), a.width, a.height, a.c1, a.c2, 0.6, 0.8);
    }, {matrix, width, height, col1, col2, row}, outs);
    // Rows: the pointers, then the length.
    const B len{"len", [](A& a) { a.width = -5; }, zemStatusBadSize};
    auto rowOf = [&](const A& a) { return a.nullMatrix ? nullptr : &data[0][0]; };
    zemtest::expectCheckOrder<A>("zemsSumRowAbs_64f", {}, [&](const A& a) {
        return zemsSumRowAbs_64f(rowOf(a), a.width, sumOf(a));
    }, {matrix, sum, len}, outs);
    zemtest::expectCheckOrder<A>("zemsSumRowSqr_64f", {}, [&](const A& a) {
        return zemsSumRowSqr_64f(rowOf(a), a.width, sumOf(a), 3.0);
    }, {matrix, sum, len}, outs);
    zemtest::expectCheckOrder<A>("zemsAddMulRow_64f", {}, [&](const A& a) {
        return zemsAddMulRow_64f(rowOf(a), a.nullSum ? nullptr : &data[1][0], a.width, 3.0);
    }, {matrix, sum, len}, outs);
}

TEST(ColumnOps, RotationOfTwoColumns) {
    Table t(6, 4, 21);
    const Table before = t;
    const double c = 0.28, s = -0.96;
    ASSERT_EQ(zemsQRTransColumn_64f_D2L(t.rows.data(), 4, 6, 3, 0, c, s), zemStatusOk);
    for (int r = 0; r < 6; ++r) {
        const double x = before.store[r][0], y = before.store[r][3];
        EXPECT_TRUE(sameBits(t.store[r][0], c * x + s * y));
        EXPECT_TRUE(sameBits(t.store[r][3], y * c - x * s));
        EXPECT_EQ(t.store[r][1], before.store[r][1]);
    }
}

}  // namespace
