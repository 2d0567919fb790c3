#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "test_support.h"
#include "zemcore.h"
#include "own.h"
#include "zemsr.h"

using zemtest::Buffer;

#include "gauss_reference.h"

namespace {

using namespace gaussref;

Zem32s refRounded(float s, Zem32s val, int sf) {
    s *= 0.5f;
    const unsigned k = static_cast<unsigned>(std::abs(static_cast<int64_t>(sf))) & 63u;
    const float p = static_cast<float>(uint64_t{1} << k);
    float r = static_cast<float>(val) - (sf >= 0 ? s / p : s * p);
    r = std::clamp(r, -2147483648.0f, 2147483648.0f);
    return r == 2147483648.0f ? INT32_MIN : static_cast<Zem32s>(std::nearbyint(r));
}

// The integer Low lanes (weighted and identity), from their stated steps: hi/lo parts of each
// square, pair lanes for groups of 8, shifted lane sums, runs of 4 and 2 and a last
// element shifted before they are subtracted, all wrapping.
struct LowRef {
    int sf;
    bool identity;
    int32_t hiS(int32_t v) const {
        if (sf < 0) return 15 - int64_t{sf} >= 32 ? 0 : wrap(int64_t{v} * (int64_t{1} << (15 - sf)));
        if (sf <= 15) return wrap(int64_t{v} * (1 << (15 - sf)));
        return v >> std::min(sf - 15, 31);
    }
    int32_t loS(int32_t v) const {
        if (sf < 0) return -int64_t{sf} >= 32 ? 0 : wrap(int64_t{v} * (int64_t{1} << -sf));
        return v >> std::min(sf, 15);
    }
    int32_t operator()(const Zem16s* x, const Zem16s* m, const Zem16s* var, int len) const {
        auto hi = [&](int d, int i) { return wrap(int64_t{(d * d) >> 16} * (identity ? 1 : var[i])); };
        auto lo = [&](int d, int i) { return wrap(int64_t{((d * d) & 0xffff) >> 1} * (identity ? 1 : var[i])); };
        int32_t laneHi[4] = {}, laneLo[4] = {};
        int i = 0;
        for (; i + 8 <= len; i += 8)
            for (int j = 0; j < 4; ++j) {
                const int a = sat16(x[i + 2 * j] - m[i + 2 * j]), b = sat16(x[i + 2 * j + 1] - m[i + 2 * j + 1]);
                laneHi[j] = wrap(int64_t{laneHi[j]} - hi(a, i + 2 * j) - hi(b, i + 2 * j + 1));
                laneLo[j] = wrap(int64_t{laneLo[j]} - lo(a, i + 2 * j) - lo(b, i + 2 * j + 1));
            }
        int32_t t = 0;
        for (int j = 0; j < 4; ++j) t = wrap(int64_t{t} + hiS(laneHi[j]) + loS(laneLo[j]));
        for (int run : {4, 2})
            if (len - i >= run) {
                for (int p = i; p < i + run; p += 2) {
                    const int a = sat16(x[p] - m[p]), b = sat16(x[p + 1] - m[p + 1]);
                    t = wrap(int64_t{t} - hiS(wrap(int64_t{hi(a, p)} + hi(b, p + 1))) - loS(wrap(int64_t{lo(a, p)} + lo(b, p + 1))));
                }
                i += run;
            }
        if (i < len) {
            if (identity && sf < 0) {
                const int64_t e = int64_t{x[i]} - m[i];
                t = wrap(int64_t{t} - loS(static_cast<int32_t>(static_cast<u32>(e * e)) >> 1));
            } else {
                const int d = identity ? static_cast<Zem16s>(x[i] - m[i]) : sat16(x[i] - m[i]);
                t = wrap(int64_t{t} - hiS(hi(d, i)) - loS(lo(d, i)));
            }
        }
        return t;
    }
};

// Wrapped 32-bit pair sums of saturated squares.
int32_t pairSum(const Zem16s* x, const Zem16s* m, int p) {
    const int a = sat16(x[p] - m[p]), b = sat16(x[p + 1] - m[p + 1]);
    return wrap(int64_t{a * a} + b * b);
}

struct Data16 {
    std::vector<Zem16s> x, m, w;
};

// Random 16-bit frames whose differences often leave the 16-bit range.
Data16 data16(zemtest::Random& rnd, int n, bool wide) {
    Data16 d{rnd.integers<Zem16s>(n, wide ? -32768 : -300, wide ? 32767 : 300),
             rnd.integers<Zem16s>(n, wide ? -32768 : -300, wide ? 32767 : 300), rnd.integers<Zem16s>(n, -5, 60)};
    return d;
}

std::vector<int> lengths() {
    std::vector<int> v;
    for (int n = 1; n <= 40; ++n) v.push_back(n);
    for (int n : {63, 64, 111, 112, 200}) v.push_back(n);
    return v;
}

}  // namespace

TEST(GaussSingle16s, FloatSumsAndTheirEnds) {
    zemtest::Random rnd(501);
    for (int n : lengths()) {
        for (bool wide : {false, true}) {
            const Data16 d = data16(rnd, n, wide);
            std::vector<float> wf(d.w.begin(), d.w.end());
            const float s = refGroupsOf8(d.x.data(), d.m.data(), wf.data(), n);
            const float sId = refGroupsOf8(d.x.data(), d.m.data(), nullptr, n);
            for (int sf : {-20, -3, 0, 1, 7, 15, 16, 40}) {
                Zem32s r;
                float f;
                ASSERT_EQ(zemsLogGaussSingle_16s32s_Sfs(d.x.data(), d.m.data(), d.w.data(), n, &r, -1000, sf), zemStatusOk);
                ASSERT_EQ(r, refRounded(s, -1000, sf)) << n << " sf " << sf;
                ASSERT_EQ(zemsLogGaussSingle_IdVar_16s32s_Sfs(d.x.data(), d.m.data(), n, &r, 77, sf), zemStatusOk);
                ASSERT_EQ(r, refRounded(sId, 77, sf)) << n << " sf " << sf;
                ASSERT_EQ(zemsLogGaussSingle_Scaled_16s32f(d.x.data(), d.m.data(), d.w.data(), n, &f, -3.5f, sf), zemStatusOk);
                ASSERT_TRUE(zemtest::sameBits(f, -3.5f - s * std::ldexp(1.0f, -(sf + 1)))) << n << " sf " << sf;
                int64_t sum = 0;  // exact squares in 64 bits
                int i = 0;
                for (; i + 8 <= n; i += 8)
                    for (int p = i; p < i + 8; p += 2) sum += pairSum(d.x.data(), d.m.data(), p);
                for (; i < n; ++i) sum += int64_t{sat16(d.x[i] - d.m[i])} * sat16(d.x[i] - d.m[i]);
                ASSERT_EQ(zemsLogGaussSingle_IdVarScaled_16s32f(d.x.data(), d.m.data(), n, &f, 2.0f, sf), zemStatusOk);
                ASSERT_TRUE(zemtest::sameBits(f, 2.0f - float(sum) * std::ldexp(1.0f, -(sf + 1)))) << n << " sf " << sf;
            }
        }
    }
}

TEST(GaussSingle16s, LowSumsInEveryScaleRegime) {
    zemtest::Random rnd(503);
    for (int n : lengths()) {
        for (bool wide : {false, true}) {
            const Data16 d = data16(rnd, n, wide);
            for (int sf : {-40, -17, -3, -1, 0, 1, 9, 15, 16, 17, 31, 50}) {
                Zem32s r;
                float f;
                if (sf >= 0) {
                    const int32_t t = LowRef{sf, false}(d.x.data(), d.m.data(), d.w.data(), n);
                    ASSERT_EQ(zemsLogGaussSingle_Low_16s32s_Sfs(d.x.data(), d.m.data(), d.w.data(), n, &r, 123456, sf), zemStatusOk);
                    ASSERT_EQ(r, wrap(int64_t{123456} + t)) << n << " sf " << sf;
                    ASSERT_EQ(zemsLogGaussSingle_LowScaled_16s32f(d.x.data(), d.m.data(), d.w.data(), n, &f, 0.5f, sf), zemStatusOk);
                    ASSERT_TRUE(zemtest::sameBits(f, float(t) + 0.5f));
                } else {
                    std::vector<float> wf(d.w.begin(), d.w.end());
                    const float s = refGroupsOf8(d.x.data(), d.m.data(), wf.data(), n);
                    const float factor = float(uint64_t{1} << std::min<int64_t>(-(int64_t{sf} + 1), 63));
                    ASSERT_EQ(zemsLogGaussSingle_Low_16s32s_Sfs(d.x.data(), d.m.data(), d.w.data(), n, &r, -50, sf), zemStatusOk);
                    const float want = -50.0f - s * factor;
                    ASSERT_EQ(r, std::fabs(want) < 2147483648.0f ? Zem32s(std::trunc(want)) : INT32_MIN) << n << " sf " << sf;
                }
                const int32_t ti = LowRef{sf, true}(d.x.data(), d.m.data(), nullptr, n);
                ASSERT_EQ(zemsLogGaussSingle_IdVarLow_16s32s_Sfs(d.x.data(), d.m.data(), n, &r, -9, sf), zemStatusOk);
                ASSERT_EQ(r, wrap(int64_t{-9} + ti)) << n << " sf " << sf;
                // Float pair lanes: four float lanes, runs of 8, 4, 2, a last exact square.
                float lane[4] = {};
                int i = 0;
                for (; i + 8 <= n; i += 8)
                    for (int j = 0; j < 4; ++j) lane[j] -= float(pairSum(d.x.data(), d.m.data(), i + 2 * j));
                for (int run : {4, 2})
                    if (n - i >= run) {
                        for (int j = 0; j < run / 2; ++j) lane[j] -= float(pairSum(d.x.data(), d.m.data(), i + 2 * j));
                        i += run;
                    }
                if (i < n) lane[0] -= float(int64_t{d.x[i] - d.m[i]} * (d.x[i] - d.m[i]));
                const float s = (lane[0] + lane[2]) + (lane[1] + lane[3]);
                const int64_t k = int64_t{sf} + 1;
                const float t = k < 1 ? s * float(uint64_t{1} << std::min<int64_t>(-k, 63)) : s / float(uint64_t{1} << std::min<int64_t>(k, 63));
                ASSERT_EQ(zemsLogGaussSingle_IdVarLowScaled_16s32f(d.x.data(), d.m.data(), n, &f, 1.25f, sf), zemStatusOk);
                ASSERT_TRUE(zemtest::sameBits(f, 1.25f + t)) << n << " sf " << sf;
            }
        }
    }
}

TEST(GaussSingle16s, StatedEdges) {
    // 32767 - (-32768) saturates inside a group of 8 and counts in full as a leftover.
    std::vector<Zem16s> x(9, 0), m(9, 0), w(9, 1);
    x[0] = x[8] = 32767;
    m[0] = m[8] = -32768;
    Zem32f f;
    zemsLogGaussSingle_Scaled_16s32f(x.data(), m.data(), w.data(), 9, &f, 0.0f, -1);
    EXPECT_EQ(f, -(32767.0f * 32767.0f + 65535.0f * 65535.0f));
    // A huge positive score converts to the most negative integer.
    const Zem16s one = 0, far = 0;
    Zem32s r;
    zemsLogGaussSingle_16s32s_Sfs(&one, &far, &one, 1, &r, INT32_MAX, 0);
    EXPECT_EQ(r, INT32_MIN);
    // Low with scale factor 16 takes the low part as if it were 15.
    const Zem16s xs[8] = {3, 0, 0, 0, 0, 0, 0, 0}, ms[8] = {0}, ws[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    Zem32s r15, r16;
    zemsLogGaussSingle_Low_16s32s_Sfs(xs, ms, ws, 8, &r15, 0, 15);
    zemsLogGaussSingle_Low_16s32s_Sfs(xs, ms, ws, 8, &r16, 0, 16);
    EXPECT_EQ(r15, -1);  // lo = 9 >> 1 = 4, lane -4 >> 15 = -1
    EXPECT_EQ(r16, -1);
    // src equal to mean gives val exactly.
    zemtest::Random rnd(505);
    for (int n : {1, 8, 39}) {
        const auto v = rnd.integers<Zem16s>(n, -30000, 30000), wv = rnd.integers<Zem16s>(n, 1, 9);
        for (int sf : {-2, 0, 5}) {
            zemsLogGaussSingle_Low_16s32s_Sfs(v.data(), v.data(), wv.data(), n, &r, -4321, sf);
            EXPECT_EQ(r, -4321);
            zemsLogGaussSingle_IdVarLow_16s32s_Sfs(v.data(), v.data(), n, &r, -4321, sf);
            EXPECT_EQ(r, -4321);
            zemsLogGaussSingle_16s32s_Sfs(v.data(), v.data(), wv.data(), n, &r, -4321, sf);
            EXPECT_EQ(r, -4321);
            zemsLogGaussSingle_IdVarLowScaled_16s32f(v.data(), v.data(), n, &f, -2.5f, sf);
            EXPECT_EQ(f, -2.5f);
        }
    }
}

TEST(GaussSingleFloat, FloatAndDoubleLanesAgainstTheFormula) {
    zemtest::Random rnd(507);
    for (int n : lengths()) {
        for (size_t off : {size_t{0}, size_t{4}}) {
            auto xv = rnd.uniform<float>(n, -4, 4), mv = rnd.uniform<float>(n, -4, 4), wv = rnd.uniform<float>(n, 0.1, 3);
            Buffer<float> x(n, off), m(n, 16 - off), w(n, off);
            std::copy(xv.begin(), xv.end(), x.begin());
            std::copy(mv.begin(), mv.end(), m.begin());
            std::copy(wv.begin(), wv.end(), w.begin());
            long double q = 0, qi = 0, qd = 0;
            for (int i = 0; i < n; ++i) {
                const long double t = (long double)xv[i] - mv[i];
                q += t * t * wv[i], qi += t * t, qd += t * t / wv[i];
            }
            const double bound = (double)q * n * 0x1p-23;
            float f;
            double d;
            ASSERT_EQ(zemsLogGaussSingle_32f(x.data(), m.data(), w.data(), n, &f, -7.0f), zemStatusOk);
            EXPECT_NEAR(f, -7.0 - 0.5 * (double)q, bound + 1e-5);
            ASSERT_EQ(zemsLogGaussSingle_IdVar_32f(x.data(), m.data(), n, &f, -7.0f), zemStatusOk);
            EXPECT_NEAR(f, -7.0 - 0.5 * (double)qi, (double)qi * n * 0x1p-23 + 1e-5);
            ASSERT_EQ(zemsLogGaussSingle_32f64f(x.data(), m.data(), w.data(), n, &d, -7.0), zemStatusOk);
            EXPECT_NEAR(d, -7.0 - 0.5 * (double)q, (double)q * 1e-13);
            ASSERT_EQ(zemsLogGaussSingle_IdVar_32f64f(x.data(), m.data(), n, &d, 1.0), zemStatusOk);
            EXPECT_NEAR(d, 1.0 - 0.5 * (double)qi, (double)qi * 1e-13);
            ASSERT_EQ(zemsLogGaussSingle_DirectVar_32f(x.data(), m.data(), w.data(), n, &f, 0.0f), zemStatusOk);
            EXPECT_NEAR(f, -0.5 * (double)qd, (double)qd * n * 0x1p-21 + 1e-5);
            ASSERT_EQ(zemsLogGaussSingle_DirectVar_32f64f(x.data(), m.data(), w.data(), n, &d, 0.0), zemStatusOk);
            EXPECT_NEAR(d, -0.5 * (double)qd, (double)qd * 1e-13);
            std::vector<double> xd(xv.begin(), xv.end()), md(mv.begin(), mv.end()), wd(wv.begin(), wv.end());
            ASSERT_EQ(zemsLogGaussSingle_64f(xd.data(), md.data(), wd.data(), n, &d, -7.0), zemStatusOk);
            EXPECT_NEAR(d, -7.0 - 0.5 * (double)q, (double)q * 1e-13);
            ASSERT_EQ(zemsLogGaussSingle_IdVar_64f(xd.data(), md.data(), n, &d, -7.0), zemStatusOk);
            EXPECT_NEAR(d, -7.0 - 0.5 * (double)qi, (double)qi * 1e-13);
            ASSERT_EQ(zemsLogGaussSingle_DirectVar_64f(xd.data(), md.data(), wd.data(), n, &d, 0.0), zemStatusOk);
            EXPECT_NEAR(d, -0.5 * (double)qd, (double)qd * 1e-13);
            // src equal to mean gives val exactly.
            ASSERT_EQ(zemsLogGaussSingle_32f(x.data(), x.data(), w.data(), n, &f, -7.25f), zemStatusOk);
            EXPECT_EQ(f, -7.25f);
        }
    }
}

TEST(GaussSingleDirectVar, ZeroVariancesAndScratchFailures) {
    const float x[3] = {1, 2, 3}, m[3] = {0, 0, 0}, v[3] = {1, 0, 2};
    double d = 42.0;
    EXPECT_EQ(zemsLogGaussSingle_DirectVar_32f64f(x, m, v, 3, &d, 0.0), zemStatusDivideByZeroWarning);
    EXPECT_EQ(d, 42.0);  // nothing stored
    const double xd[3] = {1, 2, 3}, md[3] = {0, 0, 0}, vd[3] = {1, 0, 2};
    EXPECT_EQ(zemsLogGaussSingle_DirectVar_64f(xd, md, vd, 3, &d, 0.0), zemStatusOk);
    EXPECT_EQ(d, -std::numeric_limits<double>::infinity());
    float f;
    EXPECT_EQ(zemsLogGaussSingle_DirectVar_32f(x, m, v, 3, &f, 0.0f), zemStatusDivideByZeroWarning);
    EXPECT_EQ(f, -std::numeric_limits<float>::infinity());  // the primitive's +inf reciprocal
    // A zero variance under a non-zero difference: an infinite sum, converted to the top
    // of the range, subtracted from val in 64 bits.  The score is still stored.
    const Zem16s xs[3] = {4, 1, 2}, ms[3] = {0, 0, 0}, vs[3] = {2, 0, 1};
    Zem32s r;
    EXPECT_EQ(zemsLogGaussSingle_DirectVar_16s32s_Sfs(xs, ms, vs, 3, &r, 100, 0), zemStatusDivideByZeroWarning);
    EXPECT_EQ(r, 100 - INT32_MAX);
    const Zem16s vOk[3] = {2, 1, 1};
    EXPECT_EQ(zemsLogGaussSingle_DirectVar_16s32s_Sfs(xs, ms, vOk, 3, &r, 100, 0), zemStatusOk);
    EXPECT_EQ(r, 100 - 6);  // (16/2 + 1 + 4) / 2 = 6.5, rounded to even
    const int64_t live = zemcoreTestLiveAllocations();
    for (int k = 1; k <= 1; ++k) {
        zemcoreTestFailAllocation(k);
        f = 9.0f;
        EXPECT_EQ(zemsLogGaussSingle_DirectVar_32f(x, m, v, 3, &f, 0.0f), zemStatusNoMemory);
        EXPECT_EQ(f, 9.0f);
        zemcoreTestFailAllocation(k);
        EXPECT_EQ(zemsLogGaussSingle_DirectVarScaled_16s32f(xs, ms, vs, 3, &f, 0.0f, 0), zemStatusNoMemory);
        zemcoreTestFailAllocation(k);
        EXPECT_EQ(zemsLogGaussSingle_DirectVar_16s32s_Sfs(xs, ms, vs, 3, &r, 0, 0), zemStatusNoMemory);
    }
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
}

TEST(GaussSingle16s, ReciprocalFormsAndMisalignedInputs) {
    zemtest::Random rnd(509);
    for (int n : {1, 7, 9, 39, 64}) {
        const Data16 d = data16(rnd, n, true);
        std::vector<Zem16s> v(d.w);
        for (auto& e : v) e = static_cast<Zem16s>(std::abs(e) + 1);
        // Groups of 8 over the division primitive's reciprocals; val - (s * 0.5) * 2^-sf.
        std::vector<float> vf(v.begin(), v.end()), w(n, 1.0f);
        ownDiv_32f(vf.data(), w.data(), w.data(), n);
        const float s = refGroupsOf8(d.x.data(), d.m.data(), w.data(), n);
        float f;
        ASSERT_EQ(zemsLogGaussSingle_DirectVarScaled_16s32f(d.x.data(), d.m.data(), v.data(), n, &f, 1.0f, 3), zemStatusOk);
        EXPECT_TRUE(zemtest::sameBits(f, 1.0f - (s * 0.5f) * 0.125f)) << n;
        // The same calls on inputs 2 bytes off a 16-byte boundary give the same results.
        Buffer<Zem16s> x(n, 2), m(n, 6), wv(n, 10);
        std::copy(d.x.begin(), d.x.end(), x.begin());
        std::copy(d.m.begin(), d.m.end(), m.begin());
        std::copy(d.w.begin(), d.w.end(), wv.begin());
        for (int sf : {-2, 0, 17}) {
            Zem32s a, b;
            zemsLogGaussSingle_Low_16s32s_Sfs(d.x.data(), d.m.data(), d.w.data(), n, &a, 5, sf);
            zemsLogGaussSingle_Low_16s32s_Sfs(x.data(), m.data(), wv.data(), n, &b, 5, sf);
            EXPECT_EQ(a, b);
            zemsLogGaussSingle_IdVarLow_16s32s_Sfs(d.x.data(), d.m.data(), n, &a, 5, sf);
            zemsLogGaussSingle_IdVarLow_16s32s_Sfs(x.data(), m.data(), n, &b, 5, sf);
            EXPECT_EQ(a, b);
            zemsLogGaussSingle_16s32s_Sfs(d.x.data(), d.m.data(), d.w.data(), n, &a, 5, sf);
            zemsLogGaussSingle_16s32s_Sfs(x.data(), m.data(), wv.data(), n, &b, 5, sf);
            EXPECT_EQ(a, b);
        }
    }
}
