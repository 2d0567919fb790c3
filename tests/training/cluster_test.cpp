#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

constexpr double kC = 1.8378770664093;

// Merged variance of element i, in double.
template <class T>
void merged(T m1, T v1, T m2, T v2, double w1, double w2, double W, double* m, double* v) {
    *m = (w1 * m1 + w2 * m2) / W;
    *v = ((double(m1) * m1 + v1) * w1 + (double(m2) * m2 + v2) * w2) / W - *m * *m;
}

bool isNegNaN32(float f) {
    uint32_t b;
    std::memcpy(&b, &f, 4);
    return b == 0xFFC00000u;
}

}  // namespace

TEST(GaussianDist, MergedLogVarianceInDoubleAndTheFloatRounding) {
    zemtest::Random rnd(71);
    for (int len : {1, 12, 13, 39, 600}) {
        auto m1 = rnd.uniform<float>(len, -2, 2), v1 = rnd.uniform<float>(len, 0.1, 3);
        auto m2 = rnd.uniform<float>(len, -2, 2), v2 = rnd.uniform<float>(len, 0.1, 3);
        const float w1 = 0.3f, w2 = 1.7f, g1 = -12.5f, g2 = 3.25f;
        const double W = double(w1 + w2);
        double runs = 0, run = 0;  // logs summed in runs of 512
        for (int i = 0; i < len; ++i) {
            double m, v;
            merged(m1[i], v1[i], m2[i], v2[i], w1, w2, W, &m, &v);
            run += std::log(v);
            if ((i + 1) % 512 == 0 || i + 1 == len) runs += run, run = 0;
        }
        float dist;
        ASSERT_EQ(zemsGaussianDist_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, &dist, w1, g1, w2, g2), zemStatusOk);
        EXPECT_TRUE(sameBits(dist, float(double(w1 * g1 + w2 * g2) - W * (len * kC - runs)))) << len;

        std::vector<float> dm(len), dv(len);
        float gc;
        ASSERT_EQ(zemsGaussianMerge_32f(m1.data(), v1.data(), m2.data(), v2.data(), dm.data(), dv.data(), len, &gc, w1, w2),
                  zemStatusOk);
        double seq = 0;
        for (int i = 0; i < len; ++i) {
            double m, v;
            merged(m1[i], v1[i], m2[i], v2[i], w1, w2, W, &m, &v);
            ASSERT_TRUE(sameBits(dm[i], float(m)) && sameBits(dv[i], float(v)));
            seq += std::log(v);  // the float merge sums element by element
        }
        EXPECT_TRUE(sameBits(gc, float(len * kC - seq)));

        std::vector<double> a(m1.begin(), m1.end()), b(v1.begin(), v1.end()), c(m2.begin(), m2.end()), d(v2.begin(), v2.end());
        std::vector<double> em(len), ev(len);
        double gd, distD;
        ASSERT_EQ(zemsGaussianMerge_64f(a.data(), b.data(), c.data(), d.data(), em.data(), ev.data(), len, &gd, 0.3, 1.7), zemStatusOk);
        ASSERT_EQ(zemsGaussianDist_64f(a.data(), b.data(), c.data(), d.data(), len, &distD, 0.3, -12.5, 1.7, 3.25), zemStatusOk);
        double L = 0, r = 0;
        for (int i = 0; i < len; ++i) {
            double m, v;
            merged(a[i], b[i], c[i], d[i], 0.3, 1.7, 2.0, &m, &v);
            ASSERT_TRUE(sameBits(em[i], m) && sameBits(ev[i], v));
            r += std::log(v);
            if ((i + 1) % 512 == 0 || i + 1 == len) L += r, r = 0;
        }
        EXPECT_TRUE(sameBits(gd, len * kC - L));
        EXPECT_TRUE(sameBits(distD, 0.3 * -12.5 + 1.7 * 3.25 - 2.0 * (len * kC - L)));
    }
}

TEST(GaussianDist, ZeroAndNegativeVariancesAndThePartialFloatMerge) {
    // Element 1 merges to a zero variance: the float merge stops there, element 2 unwritten.
    const float m[3] = {1, 2, 3}, v[3] = {1, 0, 1}, vNeg[3] = {1, 1, -5};
    float dm[3] = {9, 9, 9}, dv[3] = {9, 9, 9}, g = 0, dist = 0;
    EXPECT_EQ(zemsGaussianMerge_32f(m, v, m, v, dm, dv, 3, &g, 1, 1), zemStatusLogZeroWarning);
    EXPECT_EQ(g, INFINITY);
    EXPECT_EQ(dm[1], 2.0f);
    EXPECT_EQ(dm[2], 9.0f);
    EXPECT_EQ(zemsGaussianDist_32f(m, vNeg, m, vNeg, 3, &dist, 1, 0, 1, 0), zemStatusLogNegativeWarning);
    EXPECT_TRUE(isNegNaN32(dist));
    const double md[3] = {1, 2, 3}, vd[3] = {1, 0, -1};
    double em[3] = {9, 9, 9}, ev[3] = {9, 9, 9}, gd;
    EXPECT_EQ(zemsGaussianMerge_64f(md, vd, md, vd, em, ev, 3, &gd, 1, 1), zemStatusLogZeroWarning);
    EXPECT_EQ(em[2], 3.0);  // the double merge writes every element first
}

TEST(GaussianSplit, FloatRootOnAlignedArraysDoubleRootOtherwise) {
    zemtest::Random rnd(72);
    const int len = 64;
    for (size_t off : {size_t(0), size_t(4)}) {
        zemtest::Buffer<float> m1(len, off), v1(len, off), m2(len, off), v2(len, off);
        auto mean = rnd.uniform<float>(len, -3, 3), var = rnd.uniform<float>(len, 0.01, 50);
        std::copy(mean.begin(), mean.end(), m1.begin());
        std::copy(var.begin(), var.end(), v1.begin());
        ASSERT_EQ(zemsGaussianSplit_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, 0.2f), zemStatusOk);
        for (int i = 0; i < len; ++i) {
            const float t = off == 0 ? 0.2f * std::sqrt(var[i]) : float(double(0.2f) * std::sqrt(double(var[i])));
            ASSERT_TRUE(sameBits(m2[i], mean[i] - t) && sameBits(m1[i], mean[i] + t) && sameBits(v2[i], var[i]));
        }
    }
}

TEST(BhatDist, FormulasScanRulesAndEqualGaussians) {
    zemtest::Random rnd(73);
    for (int len : {1, 3, 4, 5, 8, 39}) {
        auto m1 = rnd.uniform<float>(len, 0.5, 2), v1 = rnd.uniform<float>(len, 0.1, 3);
        auto m2 = rnd.uniform<float>(len, 0.5, 2), v2 = rnd.uniform<float>(len, 0.1, 3);
        float qf = 0;
        double qd = 0, sf = 0, sl = 0;
        std::vector<double> prod(len / 4 > 0 ? len / 4 : 1, 1.0), prodS = prod;
        for (int i = 0; i < len; ++i) {
            const float d = m1[i] - m2[i], s = v1[i] + v2[i];
            qf += d * d / s;
            const double dd = double(m1[i]) - m2[i], sd = double(v1[i]) + v2[i];
            qd += dd * dd / sd;
            sf += std::log(double(s * s / (v1[i] * v2[i])));
            sl += std::log(double(s));
            const size_t g = std::min<size_t>(i / 4, prod.size() - 1);
            prod[g] *= sd * sd / (double(v1[i]) * v2[i]);
            prodS[g] *= sd;
        }
        double sp = 0, sps = 0;
        for (size_t g = 0; g < prod.size(); ++g) sp += std::log(prod[g]), sps += std::log(prodS[g]);
        float df;
        double dd;
        ASSERT_EQ(zemsBhatDist_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, &df), zemStatusOk);
        EXPECT_TRUE(sameBits(df, (float(sf) * 0.5f - float(len) * 1.386294f * 0.5f) * 0.5f + qf * 0.25f)) << len;
        ASSERT_EQ(zemsBhatDist_32f64f(m1.data(), v1.data(), m2.data(), v2.data(), len, &dd), zemStatusOk);
        EXPECT_TRUE(sameBits(dd, (sp - len * 1.386294) * 0.5 * 0.5 + qd * 0.25)) << len;
        ASSERT_EQ(zemsBhatDistSLog_32f(m1.data(), v1.data(), m2.data(), v2.data(), len, &df, 1.5f, -0.25f), zemStatusOk);
        EXPECT_TRUE(sameBits(df, (float(sl) - float(len) * 0.693147f) * 0.5f - (1.5f + -0.25f) * 0.25f + qf * 0.25f));
        ASSERT_EQ(zemsBhatDistSLog_32f64f(m1.data(), v1.data(), m2.data(), v2.data(), len, &dd, 1.5f, -0.25f), zemStatusOk);
        EXPECT_TRUE(sameBits(dd, (sps - len * 0.693147) * 0.5 - double((1.5f + -0.25f) * 0.25f) + qd * 0.25));
        ASSERT_EQ(zemsBhatDist_32f(m1.data(), v1.data(), m1.data(), v1.data(), len, &df), zemStatusOk);
        EXPECT_NEAR(df, 0.0f, 1e-5f * len);
    }
    // A zero mean is refused like a zero variance; in one group of four a negative wins
    // over an earlier zero, across groups the first group decides.
    const float one[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    float z[8] = {0, 1, 1, 1, 1, 1, 1, 1}, zn[8] = {0, 1, -1, 1, 1, 1, 1, 1}, zThenN[8] = {0, 1, 1, 1, -1, 1, 1, 1};
    float dist;
    EXPECT_EQ(zemsBhatDist_32f(z, one, one, one, 8, &dist), zemStatusLogZeroWarning);
    EXPECT_EQ(dist, INFINITY);
    EXPECT_EQ(zemsBhatDist_32f(one, one, one, zn, 8, &dist), zemStatusLogNegativeWarning);
    EXPECT_TRUE(isNegNaN32(dist));
    EXPECT_EQ(zemsBhatDistSLog_32f(one, zThenN, one, one, 8, &dist, 0, 0), zemStatusLogZeroWarning);
}

TEST(DcsClust, AccumulateAndComputeWithTheirSentinels) {
    const float mean[3] = {1, -2, 0.5f}, ivar[3] = {2, 4, 0.5f};
    float s[3], q[3];
    ASSERT_EQ(zemsDcsClustLAccumulate_32f(mean, ivar, s, q, 3, 0.5f), zemStatusOk);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(sameBits(q[i], 0.5f * (1.0f / ivar[i] + mean[i] * mean[i])));
    ASSERT_EQ(zemsDcsClustLAccumulate_DirectVar_32f(mean, ivar, s, q, 3, 0.5f), zemStatusOk);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(sameBits(q[i], 0.5f * (mean[i] * mean[i] + ivar[i])) && s[i] == 0.5f * mean[i]);

    const double sum[3] = {2, 3, 1}, sq[3] = {3, 5, 4};
    double dst;
    ASSERT_EQ(zemsDcsClustLCompute_64f(sum, sq, 3, &dst, 2.0), zemStatusOk);
    const double g = std::log(2.0), T = std::log(2.0 * 3 - 4) + std::log(2.0 * 5 - 9) + std::log(2.0 * 4 - 1);
    EXPECT_TRUE(sameBits(dst, 2.0 * 0.5 * (3 * (g - 1.0 - 1.8378770664093456 + g) - T)));
    EXPECT_EQ(zemsDcsClustLCompute_64f(sum, sq, 3, &dst, 0.0), zemStatusZeroOccupancyWarning);
    EXPECT_EQ(dst, -1e10);
    // A zero t is remembered and the scan runs on: a later negative decides.
    const double sumZ[3] = {2, 2, 3}, sqZ[3] = {2, 3, 1};
    EXPECT_EQ(zemsDcsClustLCompute_64f(sumZ, sqZ, 2, &dst, 2.0), zemStatusLogZeroWarning);
    EXPECT_EQ(dst, -INFINITY);
    EXPECT_EQ(zemsDcsClustLCompute_64f(sumZ, sqZ, 3, &dst, 2.0), zemStatusLogNegativeWarning);
    EXPECT_TRUE(std::isnan(dst) && std::signbit(dst));
    const float sumF[1] = {1}, sqF[1] = {1};
    EXPECT_EQ(zemsDcsClustLCompute_32f64f(sumF, sqF, 1, &dst, 2.0f), zemStatusOk);
}

TEST(Clustering, CheckOrders) {
    float f[4] = {1, 1, 1, 1}, out[4];
    double d[4] = {1, 1, 1, 1}, od[4];
    struct A {
        const void* in;
        void* out;
        int len = 1;
        double occ = 1;
    };
    using B = zemtest::Break<A>;
    const B in{"in", [](A& a) { a.in = nullptr; }, zemStatusNullPointer};
    const B outB{"out", [](A& a) { a.out = nullptr; }, zemStatusNullPointer};
    const B len{"len", [](A& a) { a.len = 0; }, zemStatusBadSize};
    const B neg{"occ", [](A& a) { a.occ = -1; }, zemStatusNegativeWeight};
    const auto F = [](const void* p) { return static_cast<const float*>(p); };
    const auto D = [](const void* p) { return static_cast<const double*>(p); };
    const std::vector<zemtest::Region> fo{zemtest::region(out, 4)}, doo{zemtest::region(od, 4)};
    using zemtest::expectCheckOrder;
    // Distance, merge and the float split test the size first.
    expectCheckOrder<A>("GaussianDist_32f", {f, out}, [&](const A& a) { return zemsGaussianDist_32f(F(a.in), f, f, f, a.len, (float*)a.out, 1, 1, 1, 1); }, {len, in, outB}, fo);
    expectCheckOrder<A>("GaussianDist_64f", {d, od}, [&](const A& a) { return zemsGaussianDist_64f(D(a.in), d, d, d, a.len, (double*)a.out, 1, 1, 1, 1); }, {len, in, outB}, doo);
    expectCheckOrder<A>("GaussianMerge_32f", {f, out}, [&](const A& a) { return zemsGaussianMerge_32f(F(a.in), f, f, f, (float*)a.out, out + 1, a.len, out + 2, 1, 1); }, {len, in, outB}, fo);
    expectCheckOrder<A>("GaussianMerge_64f", {d, od}, [&](const A& a) { return zemsGaussianMerge_64f(D(a.in), d, d, d, (double*)a.out, od + 1, a.len, od + 2, 1, 1); }, {len, in, outB}, doo);
    expectCheckOrder<A>("GaussianSplit_32f", {f, out}, [&](const A& a) { return zemsGaussianSplit_32f((float*)a.out, F(a.in), out + 1, out + 2, a.len, 1); }, {len, in, outB}, fo);
    expectCheckOrder<A>("GaussianSplit_64f", {d, od}, [&](const A& a) { return zemsGaussianSplit_64f((double*)a.out, D(a.in), od + 1, od + 2, a.len, 1); }, {in, outB, len}, doo);
    expectCheckOrder<A>("BhatDist_32f", {f, out}, [&](const A& a) { return zemsBhatDist_32f(F(a.in), f, f, f, a.len, (float*)a.out); }, {in, outB, len}, fo);
    expectCheckOrder<A>("BhatDist_32f64f", {f, od}, [&](const A& a) { return zemsBhatDist_32f64f(F(a.in), f, f, f, a.len, (double*)a.out); }, {in, outB, len}, doo);
    expectCheckOrder<A>("BhatDistSLog_32f", {f, out}, [&](const A& a) { return zemsBhatDistSLog_32f(F(a.in), f, f, f, a.len, (float*)a.out, 0, 0); }, {in, outB, len}, fo);
    expectCheckOrder<A>("BhatDistSLog_32f64f", {f, od}, [&](const A& a) { return zemsBhatDistSLog_32f64f(F(a.in), f, f, f, a.len, (double*)a.out, 0, 0); }, {in, outB, len}, doo);
    expectCheckOrder<A>("DcsClustLAccumulate_32f", {f, out}, [&](const A& a) { return zemsDcsClustLAccumulate_32f(F(a.in), f, (float*)a.out, out + 2, a.len, 1); }, {in, outB, len}, fo);
    expectCheckOrder<A>("DcsClustLAccumulate_64f", {d, od}, [&](const A& a) { return zemsDcsClustLAccumulate_64f(D(a.in), d, (double*)a.out, od + 2, a.len, 1); }, {in, outB, len}, doo);
    expectCheckOrder<A>("DcsClustLAccumulate_DirectVar_32f", {f, out}, [&](const A& a) { return zemsDcsClustLAccumulate_DirectVar_32f(F(a.in), f, (float*)a.out, out + 2, a.len, 1); }, {in, outB, len}, fo);
    expectCheckOrder<A>("DcsClustLAccumulate_DirectVar_64f", {d, od}, [&](const A& a) { return zemsDcsClustLAccumulate_DirectVar_64f(D(a.in), d, (double*)a.out, od + 2, a.len, 1); }, {in, outB, len}, doo);
    const double sq[4] = {2, 2, 2, 2};
    const float sqf[4] = {2, 2, 2, 2};
    expectCheckOrder<A>("DcsClustLCompute_64f", {d, od}, [&](const A& a) { return zemsDcsClustLCompute_64f(D(a.in), sq, a.len, (double*)a.out, a.occ); }, {in, outB, len, neg}, doo);
    expectCheckOrder<A>("DcsClustLCompute_32f64f", {f, od}, [&](const A& a) { return zemsDcsClustLCompute_32f64f(F(a.in), sqf, a.len, (double*)a.out, float(a.occ)); }, {in, outB, len, neg}, doo);
}
