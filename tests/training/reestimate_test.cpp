#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

// The reference log-sum: logs in double, runs of 512 summed separately and then added;
// +0.0 ends with +inf (kind 1), a set sign bit with kind 2.
template <class T>
int refLogSum(const std::vector<T>& v, double* out) {
    double total = 0;
    for (size_t r = 0; r < v.size(); r += 512) {
        double run = 0;
        for (size_t i = r; i < std::min(v.size(), r + 512); ++i) {
            if (v[i] == 0 && !std::signbit(v[i])) return 1;
            if (std::signbit(v[i])) return 2;
            run += std::log(double(v[i]));
        }
        total += run;
    }
    *out = total;
    return 0;
}

float negNaN32() {
    const uint32_t b = 0xFFC00000u;
    float f;
    std::memcpy(&f, &b, 4);
    return f;
}

}  // namespace

TEST(Update, MeansVariancesAndWeightsFollowTheirPrecision) {
    zemtest::Random rnd(61);
    for (int len : {1, 7, 8, 9, 39, 100}) {
        auto acc = rnd.uniform<float>(len, -5, 5), sq = rnd.uniform<float>(len, 1, 9), floor = rnd.uniform<float>(len, 0, 2);
        const float occ = 3.7f, occV = 2.9f;
        std::vector<float> mean = rnd.uniform<float>(len, -1, 1), ref = mean;
        ASSERT_EQ(zemsUpdateMean_32f(acc.data(), mean.data(), len, occ), zemStatusOk);
        const float r = 1.0f / occ;  // one reciprocal, then products
        for (int i = 0; i < len; ++i) ref[i] = ref[i] + acc[i] * r;
        for (int i = 0; i < len; ++i) ASSERT_TRUE(sameBits(mean[i], ref[i]));

        std::vector<double> accD(acc.begin(), acc.end()), meanD(len, 0.5), refD = meanD;
        ASSERT_EQ(zemsUpdateMean_64f(accD.data(), meanD.data(), len, 3.7), zemStatusOk);
        for (int i = 0; i < len; ++i) ASSERT_TRUE(sameBits(meanD[i], refD[i] + accD[i] / 3.7));

        std::vector<float> var(len);
        const ZemStatus s = zemsUpdateVar_32f(acc.data(), sq.data(), floor.data(), var.data(), len, occ, occV);
        int floored = 0;
        for (int i = 0; i < len; ++i) {
            const float m = acc[i] * (1.0f / occ), t = sq[i] * (1.0f / occV) - m * m;
            const float want = t > floor[i] ? t : floor[i];
            floored += !(t > floor[i]);
            ASSERT_TRUE(sameBits(var[i], want)) << len << " " << i;
        }
        EXPECT_EQ(s, floored == len ? zemStatusFloorWarning : zemStatusOk);

        std::vector<double> sqD(sq.begin(), sq.end()), floorD(len, -100.0), varD(len);
        ASSERT_EQ(zemsUpdateVar_64f(accD.data(), sqD.data(), floorD.data(), varD.data(), len, 3.7, 2.9), zemStatusOk);
        for (int i = 0; i < len; ++i) {
            const double m = accD[i] / 3.7, t = sqD[i] / 2.9 - m * m;
            ASSERT_TRUE(sameBits(varD[i], t > -100.0 ? t : -100.0));
        }

        std::vector<float> w(len);
        float sum = 0;
        const ZemStatus ws = zemsUpdateWeight_32f(sq.data(), w.data(), len, &sum, occ, 1.5f);
        float total = 0;
        int wFloored = 0;
        for (int i = 0; i < len; ++i) {
            const float t = sq[i] * r;
            wFloored += !(t > 1.5f);
            ASSERT_TRUE(sameBits(w[i], t > 1.5f ? t : 1.5f));
            total += w[i];
        }
        EXPECT_EQ(ws, wFloored == len ? zemStatusFloorWarning : zemStatusOk);
        EXPECT_TRUE(sameBits(sum, total));
    }
}

TEST(Update, FloorsOccupanciesAndWarnings) {
    // Floors: a t equal to its floor and a NaN count as floored; the warning needs all.
    const float meanAcc[2] = {0, 0}, varAcc[2] = {2, NAN}, floorHalf[2] = {2, 1}, floorLow[2] = {1, 1};
    float dst[2];
    EXPECT_EQ(zemsUpdateVar_32f(meanAcc, varAcc, floorHalf, dst, 2, 1, 1), zemStatusFloorWarning);
    EXPECT_EQ(dst[0], 2.0f);
    EXPECT_EQ(dst[1], 1.0f);
    EXPECT_EQ(zemsUpdateVar_32f(meanAcc, varAcc, floorLow, dst, 2, 1, 1), zemStatusOk);
    float w[2], sum;
    const float src[2] = {0.1f, 0.2f};
    EXPECT_EQ(zemsUpdateWeight_32f(src, w, 2, &sum, 1, 0.5f), zemStatusFloorWarning);
    EXPECT_EQ(sum, 1.0f);

    // Occupancies: negative first, then at or below the smallest normal (also -0.0):
    // the warning with nothing written.
    float out[2] = {7, 7};
    EXPECT_EQ(zemsUpdateMean_32f(src, out, 2, -1.0f), zemStatusNegativeWeight);
    for (float occ : {0.0f, -0.0f, std::numeric_limits<float>::min(), -std::numeric_limits<float>::denorm_min()})
        EXPECT_EQ(zemsUpdateMean_32f(src, out, 2, occ), occ < 0 ? zemStatusNegativeWeight : zemStatusZeroOccupancyWarning);
    EXPECT_EQ(out[0], 7.0f);
    const double srcD[1] = {1};
    double outD[1] = {7};
    EXPECT_EQ(zemsUpdateMean_64f(srcD, outD, 1, std::numeric_limits<double>::min()), zemStatusZeroOccupancyWarning);
    EXPECT_EQ(zemsUpdateVar_64f(srcD, srcD, srcD, outD, 1, 1.0, 0.0), zemStatusZeroOccupancyWarning);
    EXPECT_EQ(outD[0], 7.0);
}

TEST(Update, GConstSumsLogsInRunsOf512AndTheFirstBadElementDecides) {
    zemtest::Random rnd(62);
    for (int len : {1, 5, 511, 512, 513, 1300}) {
        auto v = rnd.uniform<float>(len, 0.01, 40);
        double S = 0;
        ASSERT_EQ(refLogSum(v, &S), 0);
        const double nc = len * 1.8378770664093;
        float g;
        ASSERT_EQ(zemsUpdateGConst_32f(v.data(), len, &g), zemStatusOk);
        EXPECT_TRUE(sameBits(g, float(nc) - float(S))) << len;
        ASSERT_EQ(zemsUpdateGConst_DirectVar_32f(v.data(), len, &g), zemStatusOk);
        EXPECT_TRUE(sameBits(g, float(nc) + float(S))) << len;
        std::vector<double> vd(v.begin(), v.end());
        double gd;
        ASSERT_EQ(refLogSum(vd, &S), 0);
        ASSERT_EQ(zemsUpdateGConst_64f(vd.data(), len, &gd), zemStatusOk);
        EXPECT_TRUE(sameBits(gd, nc - S));
        ASSERT_EQ(zemsUpdateGConst_DirectVar_64f(vd.data(), len, &gd), zemStatusOk);
        EXPECT_TRUE(sameBits(gd, nc + S));
    }
    float g;
    double gd;
    const float zeroThenNeg[3] = {1, 0, -1}, negThenZero[3] = {1, -0.0f, 0}, nan[2] = {NAN, 2};
    EXPECT_EQ(zemsUpdateGConst_DirectVar_32f(zeroThenNeg, 3, &g), zemStatusLogZeroWarning);
    EXPECT_EQ(g, INFINITY);
    EXPECT_EQ(zemsUpdateGConst_32f(negThenZero, 3, &g), zemStatusLogNegativeWarning);
    EXPECT_TRUE(sameBits(g, negNaN32()));
    const double negD[1] = {-2};
    EXPECT_EQ(zemsUpdateGConst_64f(negD, 1, &gd), zemStatusLogNegativeWarning);
    EXPECT_TRUE(sameBits(gd, double(negNaN32())));
    EXPECT_EQ(zemsUpdateGConst_32f(nan, 2, &g), zemStatusOk);
    EXPECT_TRUE(std::isnan(g));
}

TEST(Accumulate, MeanVarAndColumnSums) {
    zemtest::Random rnd(63);
    const int len = 21;
    auto x = rnd.uniform<float>(len, -3, 3), m = rnd.uniform<float>(len, -1, 1);
    std::vector<float> ma(len, 0.25f), va(len, 1.5f), ma0 = ma, va0 = va;
    ASSERT_EQ(zemsMeanVarAcc_32f(x.data(), m.data(), ma.data(), va.data(), len, 0.3f), zemStatusOk);
    for (int i = 0; i < len; ++i) {
        const float d = x[i] - m[i], t = d * 0.3f;
        ASSERT_TRUE(sameBits(ma[i], ma0[i] + t));
        ASSERT_TRUE(sameBits(va[i], va0[i] + d * t));
    }
    for (int width : {1, 7, 8, 9, 64, 65, 130})
        for (int height : {1, 3, 50}) {
            const int step = width + 3;
            auto f = rnd.uniform<float>(size_t(step) * height, -4, 4);
            auto s = rnd.integers<Zem16s>(size_t(step) * height, -32768, 32767);
            std::vector<float> rs(width, 0), rq(width, 0), rs16(width, 0), rq16(width, 0);
            for (int r = 0; r < height; ++r)
                for (int j = 0; j < width; ++j) {
                    const float a = f[size_t(r) * step + j], b = float(s[size_t(r) * step + j]);
                    rs[j] += a, rq[j] += a * a, rs16[j] += b, rq16[j] += b * b;
                }
            std::vector<float> sum(width, 2.0f), sq(width, 3.0f);
            ASSERT_EQ(zemsSumMeanVar_32f_I(f.data(), step, height, sum.data(), sq.data(), width), zemStatusOk);
            for (int j = 0; j < width; ++j) ASSERT_TRUE(sameBits(sum[j], 2.0f + rs[j]) && sameBits(sq[j], 3.0f + rq[j]));
            ASSERT_EQ(zemsSumMeanVar_16s32f(s.data(), step, height, sum.data(), sq.data(), width), zemStatusOk);
            for (int j = 0; j < width; ++j) ASSERT_TRUE(sameBits(sum[j], rs16[j]) && sameBits(sq[j], rq16[j]));
            // The accumulating integer form converts the old integers unscaled: each call
            // rescales what was there.
            std::vector<Zem32s> is(width, 1000), iq(width, 4);
            ASSERT_EQ(zemsSumMeanVar_16s32s_ISfs(s.data(), step, height, is.data(), iq.data(), width, 3), zemStatusOk);
            for (int j = 0; j < width; ++j) {
                const double want = std::nearbyint(double(1000.0f + rs16[j]) / 8);
                ASSERT_EQ(is[j], Zem32s(std::min(std::max(want, -2147483648.0), 2147483647.0)));
            }
        }
}

TEST(NewVar, FloatFormulasAndTheTwoIntegerRoutes) {
    zemtest::Random rnd(64);
    const int len = 37;
    auto mean = rnd.uniform<float>(len, -3, 3), sq = rnd.uniform<float>(len, 0, 20);
    std::vector<float> dst(len), io = sq;
    ASSERT_EQ(zemsNewVar_32f(mean.data(), sq.data(), dst.data(), len, 0.7f, 1.3f), zemStatusOk);
    ASSERT_EQ(zemsNewVar_32f_I(mean.data(), io.data(), len, 0.7f, 1.3f), zemStatusOk);
    for (int i = 0; i < len; ++i) {
        const float m2 = mean[i] * mean[i];
        ASSERT_TRUE(sameBits(dst[i], float(double(1.3f) * (double(sq[i]) - double(0.7f) * double(m2)))));
        ASSERT_TRUE(sameBits(io[i], (sq[i] - m2 * 0.7f) * 1.3f));
    }
    // Integers: aligned inputs round to nearest with the scale factor, others scale and
    // truncate; a value past 2^31 saturates (rounding) or wraps to -2^31 (truncation).
    zemtest::Buffer<Zem32s> m(len + 1, 0), s(len + 1, 0), mu(len + 1, 4), su(len + 1, 4);
    for (int i = 0; i < len; ++i) m[i] = mu[i] = Zem32s(rnd.integer(-300, 300)), s[i] = su[i] = Zem32s(rnd.integer(0, 90000));
    m[0] = mu[0] = 0, s[0] = su[0] = 2000000000;
    std::vector<Zem32s> a(len), b(len);
    ASSERT_EQ(zemsNewVar_32s_Sfs(m.data(), s.data(), a.data(), len, 0.9f, 1.1f, 1), zemStatusOk);
    ASSERT_EQ(zemsNewVar_32s_Sfs(mu.data(), su.data(), b.data(), len, 0.9f, 1.1f, -1), zemStatusOk);
    int differ = 0;
    for (int i = 0; i < len; ++i) {
        const float v = float(double(1.1f) * (double(float(s[i])) - double(0.9f) * double(float(m[i]) * float(m[i]))));
        ASSERT_EQ(a[i], Zem32s(std::nearbyint(double(v) * 0.5))) << i;
        const float t = v * 2.0f;
        ASSERT_EQ(b[i], i == 0 ? INT32_MIN : Zem32s(t)) << i;
        differ += Zem32s(std::nearbyint(double(v) * 0.5)) != Zem32s(v * 0.5f);
    }
    EXPECT_GT(differ, 0);  // the routes do differ on these values
}

TEST(Covariance, LowerTriangleInRowOrderThenScaledAndMirrored) {
    zemtest::Random rnd(65);
    for (int width : {1, 3, 39, 513})
        for (int height : {1, 4, 7}) {
            const int step = width + 1;
            auto x = rnd.uniform<float>(size_t(step) * height, -2, 2), mean = rnd.uniform<float>(width, -1, 1);
            auto start = rnd.uniform<double>(size_t(step) * width, -1, 1);
            std::vector<double> ref = start, got = start, gotL = start;
            for (int r = 0; r < height; ++r)
                for (int i = 0; i < width; ++i)
                    for (int j = 0; j <= i; ++j)
                        ref[size_t(i) * step + j] += (double(x[size_t(r) * step + i]) - mean[i]) *
                                                     (double(x[size_t(r) * step + j]) - mean[j]);
            for (int j = 0; j < width; ++j)
                for (int i = j; i < width; ++i) ref[size_t(j) * step + i] = ref[size_t(i) * step + j] *= 0.25;
            ASSERT_EQ(zemsAccCovarianceMatrix_32f64f_D2(x.data(), step, height, mean.data(), got.data(), width, step, 0.25),
                      zemStatusOk);
            std::vector<const float*> rows;
            std::vector<double*> out;
            for (int r = 0; r < height; ++r) rows.push_back(&x[size_t(r) * step]);
            for (int i = 0; i < width; ++i) out.push_back(&gotL[size_t(i) * step]);
            ASSERT_EQ(zemsAccCovarianceMatrix_32f64f_D2L(rows.data(), height, mean.data(), out.data(), width, 0.25),
                      zemStatusOk);
            for (size_t k = 0; k < ref.size(); ++k) ASSERT_TRUE(sameBits(got[k], ref[k]) && sameBits(gotL[k], ref[k]));
        }
    // 16-bit: the difference in integers.
    const Zem16s x16[2] = {-32768, 32767}, m16[2] = {32767, -32768};
    double c[4] = {};
    ASSERT_EQ(zemsAccCovarianceMatrix_16s64f_D2(x16, 2, 1, m16, c, 2, 2, 1.0), zemStatusOk);
    EXPECT_EQ(c[0], 65535.0 * 65535.0);
    EXPECT_EQ(c[1], -65535.0 * 65535.0);
    // Width 513 takes its scratch from the allocator: a failure leaves dst untouched.
    std::vector<float> big(513, 1.0f);
    std::vector<double> dst(513 * 513, 5.0);
    zemcoreTestFailAllocation(1);
    EXPECT_EQ(zemsAccCovarianceMatrix_32f64f_D2(big.data(), 513, 1, big.data(), dst.data(), 513, 513, 1.0),
              zemStatusNoMemory);
    zemcoreTestFailAllocation(0);
    EXPECT_EQ(dst[0], 5.0);
}

TEST(Reestimation, CheckOrders) {
    float f[4] = {1, 1, 1, 1}, out[4], sum;
    Zem16s s16[4] = {};
    Zem32s i32[4] = {}, o32[4];
    double d[4] = {1, 1, 1, 1}, od[4];
    const float* rows[1] = {f};
    double* drows[1] = {od};
    struct A {
        const void* p1;
        void* p2;
        int len = 1, step = 2, height = 1;
        float occ = 1;
    };
    using B = zemtest::Break<A>;
    const B p1{"p1", [](A& a) { a.p1 = nullptr; }, zemStatusNullPointer};
    const B p2{"p2", [](A& a) { a.p2 = nullptr; }, zemStatusNullPointer};
    const B len{"len", [](A& a) { a.len = 0; }, zemStatusBadSize};
    const B height{"height", [](A& a) { a.height = 0; }, zemStatusBadSize};
    const B stride{"stride", [](A& a) { a.step = -1; }, zemStatusBadStride};
    const B negative{"occ<0", [](A& a) { a.occ = -1; }, zemStatusNegativeWeight};
    const auto F = [](const void* p) { return static_cast<const float*>(p); };
    const auto D = [](const void* p) { return static_cast<const double*>(p); };
    const std::vector<zemtest::Region> fo{zemtest::region(out, 4), zemtest::region(&sum, 1)};
    const std::vector<zemtest::Region> doo{zemtest::region(od, 4)};
    using zemtest::expectCheckOrder;
    expectCheckOrder<A>("UpdateMean_32f", {f, out}, [&](const A& a) { return zemsUpdateMean_32f(F(a.p1), (float*)a.p2, a.len, a.occ); }, {p1, p2, len, negative}, fo);
    expectCheckOrder<A>("UpdateMean_64f", {d, od}, [&](const A& a) { return zemsUpdateMean_64f(D(a.p1), (double*)a.p2, a.len, a.occ); }, {p1, p2, len, negative}, doo);
    expectCheckOrder<A>("UpdateVar_32f", {f, out}, [&](const A& a) { return zemsUpdateVar_32f(F(a.p1), f, f, (float*)a.p2, a.len, 1, a.occ); }, {p1, p2, len, negative}, fo, zemStatusFloorWarning);
    expectCheckOrder<A>("UpdateVar_64f", {d, od}, [&](const A& a) { return zemsUpdateVar_64f(D(a.p1), d, d, (double*)a.p2, a.len, a.occ, 1); }, {p1, p2, len, negative}, doo, zemStatusFloorWarning);
    expectCheckOrder<A>("UpdateWeight_32f", {f, out}, [&](const A& a) { return zemsUpdateWeight_32f(F(a.p1), (float*)a.p2, a.len, &sum, a.occ, 0); }, {p1, p2, len, negative}, fo);
    expectCheckOrder<A>("UpdateWeight_64f", {d, od}, [&](const A& a) { double s; return zemsUpdateWeight_64f(D(a.p1), (double*)a.p2, a.len, &s, a.occ, 0); }, {p1, p2, len, negative}, doo);
    expectCheckOrder<A>("UpdateGConst_32f", {f, out}, [&](const A& a) { return zemsUpdateGConst_32f(F(a.p1), a.len, (float*)a.p2); }, {p1, p2, len}, fo);
    expectCheckOrder<A>("UpdateGConst_64f", {d, od}, [&](const A& a) { return zemsUpdateGConst_64f(D(a.p1), a.len, (double*)a.p2); }, {p1, p2, len}, doo);
    expectCheckOrder<A>("UpdateGConst_DirectVar_32f", {f, out}, [&](const A& a) { return zemsUpdateGConst_DirectVar_32f(F(a.p1), a.len, (float*)a.p2); }, {p1, p2, len}, fo);
    expectCheckOrder<A>("UpdateGConst_DirectVar_64f", {d, od}, [&](const A& a) { return zemsUpdateGConst_DirectVar_64f(D(a.p1), a.len, (double*)a.p2); }, {p1, p2, len}, doo);
    expectCheckOrder<A>("MeanVarAcc_32f", {f, out}, [&](const A& a) { return zemsMeanVarAcc_32f(F(a.p1), f, (float*)a.p2, out + 2, a.len, 1); }, {p1, p2, len}, fo);
    expectCheckOrder<A>("MeanVarAcc_64f", {d, od}, [&](const A& a) { return zemsMeanVarAcc_64f(D(a.p1), d, (double*)a.p2, od + 2, a.len, 1); }, {p1, p2, len}, doo);
    // Column sums: stride before null before sizes.
    const std::vector<B> sums{stride, p1, p2, height, len};
    expectCheckOrder<A>("SumMeanVar_32f", {f, out}, [&](const A& a) { return zemsSumMeanVar_32f(F(a.p1), a.step, a.height, (float*)a.p2, out + 2, a.len); }, sums, fo);
    expectCheckOrder<A>("SumMeanVar_32f_I", {f, out}, [&](const A& a) { return zemsSumMeanVar_32f_I(F(a.p1), a.step, a.height, (float*)a.p2, out + 2, a.len); }, sums, fo);
    expectCheckOrder<A>("SumMeanVar_16s32f", {s16, out}, [&](const A& a) { return zemsSumMeanVar_16s32f((const Zem16s*)a.p1, a.step, a.height, (float*)a.p2, out + 2, a.len); }, sums, fo);
    expectCheckOrder<A>("SumMeanVar_16s32f_I", {s16, out}, [&](const A& a) { return zemsSumMeanVar_16s32f_I((const Zem16s*)a.p1, a.step, a.height, (float*)a.p2, out + 2, a.len); }, sums, fo);
    const std::vector<zemtest::Region> io{zemtest::region(o32, 4)};
    expectCheckOrder<A>("SumMeanVar_16s32s_Sfs", {s16, o32}, [&](const A& a) { return zemsSumMeanVar_16s32s_Sfs((const Zem16s*)a.p1, a.step, a.height, (Zem32s*)a.p2, o32 + 2, a.len, 0); }, sums, io);
    expectCheckOrder<A>("SumMeanVar_16s32s_ISfs", {s16, o32}, [&](const A& a) { return zemsSumMeanVar_16s32s_ISfs((const Zem16s*)a.p1, a.step, a.height, (Zem32s*)a.p2, o32 + 2, a.len, 0); }, sums, io);
    expectCheckOrder<A>("NewVar_32f", {f, out}, [&](const A& a) { return zemsNewVar_32f(F(a.p1), f, (float*)a.p2, a.len, 1, 1); }, {p1, p2, len}, fo);
    expectCheckOrder<A>("NewVar_32f_I", {f, out}, [&](const A& a) { return zemsNewVar_32f_I(F(a.p1), (float*)a.p2, a.len, 1, 1); }, {p1, p2, len}, fo);
    expectCheckOrder<A>("NewVar_32s_Sfs", {i32, o32}, [&](const A& a) { return zemsNewVar_32s_Sfs((const Zem32s*)a.p1, i32, (Zem32s*)a.p2, a.len, 1, 1, 0); }, {p1, p2, len}, io);
    expectCheckOrder<A>("NewVar_32s_ISfs", {i32, o32}, [&](const A& a) { return zemsNewVar_32s_ISfs((const Zem32s*)a.p1, (Zem32s*)a.p2, a.len, 1, 1, 0); }, {p1, p2, len}, io);
    // Covariance: null, sizes, then either stride (_D2) or the row pointers (_D2L).
    const B dstStride{"dstStep", [](A& a) { a.occ = 0; }, zemStatusBadStride};
    const std::vector<B> cov{p1, p2, height, len, stride, dstStride};
    expectCheckOrder<A>("AccCovarianceMatrix_32f64f_D2", {f, od}, [&](const A& a) { return zemsAccCovarianceMatrix_32f64f_D2(F(a.p1), a.step, a.height, f, (double*)a.p2, a.len, a.occ > 0 ? 2 : 0, 1); }, cov, doo);
    expectCheckOrder<A>("AccCovarianceMatrix_16s64f_D2", {s16, od}, [&](const A& a) { return zemsAccCovarianceMatrix_16s64f_D2((const Zem16s*)a.p1, a.step, a.height, s16, (double*)a.p2, a.len, a.occ > 0 ? 2 : 0, 1); }, cov, doo);
    const float* nullRow[1] = {nullptr};
    const B nullSrcRow{"src row", [](A& a) { a.step = -5; }, zemStatusNullPointer};
    expectCheckOrder<A>("AccCovarianceMatrix_32f64f_D2L", {rows, drows}, [&](const A& a) { return zemsAccCovarianceMatrix_32f64f_D2L(a.step == -5 ? nullRow : (const float* const*)a.p1, a.height, f, (double* const*)a.p2, a.len, 1); }, {p1, p2, height, len, nullSrcRow}, doo);
    const Zem16s* rows16[1] = {s16};
    const Zem16s* nullRow16[1] = {nullptr};
    expectCheckOrder<A>("AccCovarianceMatrix_16s64f_D2L", {rows16, drows}, [&](const A& a) { return zemsAccCovarianceMatrix_16s64f_D2L(a.step == -5 ? nullRow16 : (const Zem16s* const*)a.p1, a.height, s16, (double* const*)a.p2, a.len, 1); }, {p1, p2, height, len, nullSrcRow}, doo);
}
