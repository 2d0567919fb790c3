#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <cmath>
#include <vector>

#include "gauss_reference.h"
#include "test_support.h"
#include "zemsr.h"

using namespace gaussref;
using zemtest::sameBits;

namespace {

// A matrix of `height` frames with a row stride, its row pointers, and one row shifted
// off its 16-byte boundary in the pointer form.
template <class T>
struct FrameMatrix {
    int width, height, step;
    std::vector<T> data;
    std::vector<T> odd;  // a misaligned copy of frame 0
    std::vector<const T*> rows;
    FrameMatrix(zemtest::Random& rnd, int w, int h, double lo, double hi) : width(w), height(h), step(w + 5) {
        data = rnd.uniform<T>(static_cast<size_t>(step) * h, lo, hi);
        if constexpr (std::is_integral_v<T>) data = rnd.integers<T>(static_cast<size_t>(step) * h, int64_t(lo), int64_t(hi));
        odd.assign(w + 1, 0);
        std::copy(data.begin(), data.begin() + w, odd.begin() + 1);
        for (int f = 0; f < h; ++f) rows.push_back(f == 0 ? odd.data() + 1 : &data[static_cast<size_t>(f) * step]);
    }
    const T* frame(int f) const { return &data[static_cast<size_t>(f) * step]; }
};

const std::vector<int> kWidths = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 23, 39, 40};
const std::vector<int> kHeights = {1, 2, 3, 5, 9, 129};

// Positive float sum of the block forms: four lanes by element, saturated differences in
// groups of 8, exact ones after, squares in float.
float refLanes(const Zem16s* x, const Zem16s* m, const Zem16s* v, int w) {
    float l[4] = {};
    for (int i = 0; i < w; ++i) {
        const float d = i < (w & ~7) ? float(sat16(x[i] - m[i])) : float(x[i]) - float(m[i]);
        l[i % 4] += (d * d) * float(v[i]);
    }
    return (l[0] + l[2]) + (l[1] + l[3]);
}

// Positive pair-sum lanes (runs of 8, 4, 2; a last element exact, squared in float or
// in 64 bits).
float refPairs(const Zem16s* x, const Zem16s* m, int w, bool in64) {
    float l[4] = {};
    auto pair = [&](int p) { return wrap(int64_t{sat16(x[p] - m[p])} * sat16(x[p] - m[p]) + int64_t{sat16(x[p + 1] - m[p + 1])} * sat16(x[p + 1] - m[p + 1])); };
    int i = 0;
    for (; i + 8 <= w; i += 8)
        for (int j = 0; j < 4; ++j) l[j] += float(pair(i + 2 * j));
    for (int run : {4, 2})
        if (w - i >= run) {
            for (int j = 0; j < run / 2; ++j) l[j] += float(pair(i + 2 * j));
            i += run;
        }
    if (i < w) {
        const int64_t e = int64_t{x[i]} - m[i];
        l[0] += in64 ? float(e * e) : (float(x[i]) - float(m[i])) * (float(x[i]) - float(m[i]));
    }
    return (l[0] + l[2]) + (l[1] + l[3]);
}

// The Low lanes of the block forms: a group of 8 puts its pair j in lane j; after the
// groups, a run of 4, a run of 2 and a last element each number their pairs from lane 0
// (so the run of 4 feeds lanes 0 and 1, the others lane 0); all are shifted once at the
// end.
int32_t refBlockLow(const Zem16s* x, const Zem16s* m, const Zem16s* v, int w, int sf) {
    int32_t hi[4] = {}, lo[4] = {};
    auto into = [&](int i, int lane) {
        const int d = sat16(x[i] - m[i]), q = d * d;
        hi[lane] = wrap(int64_t{hi[lane]} - int64_t{q >> 16} * v[i]);
        lo[lane] = wrap(int64_t{lo[lane]} - int64_t{(q & 0xffff) >> 1} * v[i]);
    };
    int i = 0;
    for (; i + 8 <= w; i += 8)
        for (int k = 0; k < 8; ++k) into(i + k, k / 2);
    for (int run : {4, 2, 1})
        if (w - i >= run) {
            for (int k = 0; k < run; ++k) into(i + k, k / 2);
            i += run;
        }
    int32_t t = 0;
    for (int j = 0; j < 4; ++j) {
        const int32_t a = sf <= 15 ? wrap(int64_t{hi[j]} * (1 << (15 - sf))) : hi[j] >> std::min(sf - 15, 31);
        t = wrap(int64_t{t} + a + (lo[j] >> std::min(sf, 31)));
    }
    return t;
}

int32_t refIdLow(const Zem16s* x, const Zem16s* m, int w, int64_t n) {
    auto sh = [n](int64_t p, int bits) -> int64_t {
        if (n >= 0) return p >> std::min<int64_t>(n, bits - 1);
        return -n >= bits ? 0 : static_cast<int64_t>(static_cast<uint64_t>(p) << -n);
    };
    int32_t t = 0;
    int i = 0;
    for (; i + 2 <= w; i += 2) {
        const int a = sat16(x[i] - m[i]), b = sat16(x[i + 1] - m[i + 1]);
        t = wrap(int64_t{t} - wrap(sh(wrap(int64_t{a} * a + int64_t{b} * b), 32)));
    }
    if (i < w) t = wrap(int64_t{t} - wrap(sh((int64_t{x[i]} - m[i]) * (int64_t{x[i]} - m[i]), 64)));
    return t;
}

float pow2f(int64_t e) { return std::ldexp(1.0f, static_cast<int>(std::clamp<int64_t>(e, -200, 200))); }

}  // namespace

TEST(GaussBlock, FloatFamiliesInBothLayouts) {
    zemtest::Random rnd(701);
    for (int w : kWidths)
        for (int h : kHeights) {
            FrameMatrix<float> fm(rnd, w, h, -3, 3);
            auto mean = rnd.uniform<float>(w, -3, 3), var = rnd.uniform<float>(w, 0.2, 2);
            std::vector<float> store(h), storeL(h), id(h);
            ASSERT_EQ(zemsLogGauss_32f_D2(fm.data.data(), fm.step, mean.data(), var.data(), w, store.data(), h, -4.0f), zemStatusOk);
            ASSERT_EQ(zemsLogGauss_32f_D2L(fm.rows.data(), mean.data(), var.data(), w, storeL.data(), h, -4.0f), zemStatusOk);
            ASSERT_EQ(zemsLogGauss_IdVar_32f_D2(fm.data.data(), fm.step, mean.data(), w, id.data(), h, -4.0f), zemStatusOk);
            for (int f = 0; f < h; ++f) {
                long double q = 0, qi = 0;
                for (int i = 0; i < w; ++i) {
                    const long double t = (long double)fm.frame(f)[i] - mean[i];
                    q += t * t * var[i], qi += t * t;
                }
                ASSERT_TRUE(sameBits(store[f], storeL[f])) << w << " " << h;
                EXPECT_NEAR(store[f], -4.0 - 0.5 * (double)q, (double)q * (w / 8 + 6) * 0x1p-24 + 4 * 0x1p-23);
                EXPECT_NEAR(id[f], -4.0 - 0.5 * (double)qi, (double)qi * (w / 8 + 6) * 0x1p-24 + 4 * 0x1p-23);
            }
            // Add and Max join the same scores to a random destination.
            const auto start = rnd.uniform<float>(h, -30, 5);
            std::vector<float> add(start), max(start), addL(start), want(start);
            ASSERT_EQ(zemsLogGaussAdd_32f_D2(fm.data.data(), fm.step, mean.data(), var.data(), w, add.data(), h, -4.0f), zemStatusOk);
            ASSERT_EQ(zemsLogGaussAdd_32f_D2L(fm.rows.data(), mean.data(), var.data(), w, addL.data(), h, -4.0f), zemStatusOk);
            ASSERT_EQ(zemsLogGaussMax_32f_D2(fm.data.data(), fm.step, mean.data(), var.data(), w, max.data(), h, -4.0f), zemStatusOk);
            if (w >= 4) zemsLogAdd_32f(store.data(), want.data(), h);
            for (int f = 0; f < h; ++f) {
                ASSERT_TRUE(sameBits(add[f], addL[f]));
                if (w >= 4) {
                    ASSERT_TRUE(sameBits(add[f], want[f])) << w << " " << h;
                }
                // Narrow widths add through the double short path: within float rounding.
                const double exact = std::log(std::exp((double)start[f]) + std::exp((double)store[f]));
                EXPECT_NEAR(add[f], exact, std::fabs(exact) * 2e-6 + 2e-6);
                ASSERT_EQ(max[f], std::max(store[f], start[f]));
            }
            // Double forms.
            std::vector<double> xd(fm.data.begin(), fm.data.end()), md(mean.begin(), mean.end()), vd(var.begin(), var.end());
            std::vector<double> sd(h), addD(h, -1.0), maxD(h, -1.0);
            ASSERT_EQ(zemsLogGauss_64f_D2(xd.data(), fm.step, md.data(), vd.data(), w, sd.data(), h, -4.0), zemStatusOk);
            ASSERT_EQ(zemsLogGaussAdd_IdVar_64f_D2(xd.data(), fm.step, md.data(), w, addD.data(), h, 0.0), zemStatusOk);
            ASSERT_EQ(zemsLogGaussMax_64f_D2(xd.data(), fm.step, md.data(), vd.data(), w, maxD.data(), h, -4.0), zemStatusOk);
            for (int f = 0; f < h; ++f) {
                double q = 0;
                for (int i = 0; i < w; ++i) q += (xd[f * fm.step + i] - md[i]) * (xd[f * fm.step + i] - md[i]) * vd[i];
                EXPECT_NEAR(sd[f], -4.0 - 0.5 * q, q * 1e-14 + 1e-14);
                ASSERT_EQ(maxD[f], std::max(sd[f], -1.0));
            }
        }
}

TEST(GaussBlock, SixteenBitFamiliesFollowTheirPerFrameRules) {
    zemtest::Random rnd(703);
    for (int w : kWidths)
        for (int h : {1, 2, 3, 9}) {
            FrameMatrix<Zem16s> fm(rnd, w, h, -32768, 32767);
            const auto mean = rnd.integers<Zem16s>(w, -32768, 32767), var = rnd.integers<Zem16s>(w, 0, 40);
            for (int sf : {-20, -1, 0, 3, 15, 16, 20}) {
                std::vector<Zem32s> plain(h), low(h), id(h), idLow(h), lowL(h);
                std::vector<float> scaled(h), lowScaled(h), idScaled(h), idLowScaled(h);
                const Zem16s *x = fm.data.data(), *m = mean.data(), *v = var.data();
                ASSERT_EQ(zemsLogGauss_16s32s_D2Sfs(x, fm.step, m, v, w, plain.data(), h, -50, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_Low_16s32s_D2Sfs(x, fm.step, m, v, w, low.data(), h, -50, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_Low_16s32s_D2LSfs(fm.rows.data(), m, v, w, lowL.data(), h, -50, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_IdVar_16s32s_D2Sfs(x, fm.step, m, w, id.data(), h, -50, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_IdVarLow_16s32s_D2Sfs(x, fm.step, m, w, idLow.data(), h, -50, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_Scaled_16s32f_D2(x, fm.step, m, v, w, scaled.data(), h, 1.5f, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_LowScaled_16s32f_D2(x, fm.step, m, v, w, lowScaled.data(), h, 1.5f, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_IdVarScaled_16s32f_D2(x, fm.step, m, w, idScaled.data(), h, 1.5f, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_IdVarLowScaled_16s32f_D2(x, fm.step, m, w, idLowScaled.data(), h, 1.5f, sf), zemStatusOk);
                const int64_t n = int64_t{sf} + 1;
                const float p = float(uint64_t{1} << std::min<int64_t>(std::abs(n), 63));
                for (int f = 0; f < h; ++f) {
                    const Zem16s* xf = fm.frame(f);
                    const float s = -refLanes(xf, m, v, w);
                    float r = std::clamp(-50.0f + (n >= 0 ? s / p : s * p), -2147483648.0f, 2147483648.0f);
                    ASSERT_EQ(plain[f], r == 2147483648.0f ? INT32_MIN : Zem32s(std::nearbyint(r))) << w << " sf " << sf;
                    ASSERT_TRUE(sameBits(scaled[f], s * pow2f(-n) + 1.5f));
                    const float sp = refPairs(xf, m, w, false);
                    const float ri = -50.0f - (n >= 0 ? sp / p : sp * p);
                    ASSERT_EQ(id[f], std::fabs(ri) < 2147483648.0f ? Zem32s(std::trunc(ri)) : INT32_MIN) << w << " sf " << sf;
                    ASSERT_TRUE(sameBits(idScaled[f], 1.5f - sp * pow2f(-n)));
                    ASSERT_EQ(idLow[f], wrap(int64_t{refIdLow(xf, m, w, n)} - 50)) << w << " sf " << sf;
                    const float g = -refPairs(xf, m, w, true);
                    ASSERT_TRUE(sameBits(idLowScaled[f], 1.5f + (n < 1 ? g * p : g / p)));
                    ASSERT_EQ(low[f], lowL[f]);
                    if (sf >= 0) {
                        const int32_t t = refBlockLow(xf, m, v, w, sf);
                        ASSERT_EQ(low[f], wrap(int64_t{t} - 50)) << w << " sf " << sf;
                        ASSERT_TRUE(sameBits(lowScaled[f], float(t) + 1.5f));
                    } else {
                        std::vector<float> wf(v, v + w);
                        const float k = -refGroupsOf8(xf, m, wf.data(), w);
                        const float rl = n < 0 ? -50.0f + k * p : -50.0f + k / p;
                        ASSERT_EQ(low[f], std::fabs(rl) < 2147483648.0f ? Zem32s(std::trunc(rl)) : INT32_MIN);
                        ASSERT_TRUE(sameBits(lowScaled[f], (n < 0 ? 1.5f + k * p : 1.5f + k / p)));
                    }
                }
            }
        }
}

// After the groups of 8, the runs of 4, 2 and 1 take their own lanes: seen through each
// lane's shift (rounding) and through the 32-bit wrap, at every width mod 8.
TEST(GaussBlock, LowRunsAfterTheGroupsTakeTheirOwnLanes) {
    auto low = [](std::vector<Zem16s> x, std::vector<Zem16s> v, int sf) {
        const std::vector<Zem16s> m(x.size(), 0);
        Zem32s r;
        EXPECT_EQ(zemsLogGauss_Low_16s32s_D2Sfs(x.data(), int(x.size()), m.data(), v.data(), int(x.size()), &r, 1, 0, sf), zemStatusOk);
        return r;
    };
    EXPECT_EQ(low({2, 0, 2}, {1, 1, 1}, 3), -1);  // both lo terms in lane 0: -4 >> 3
    EXPECT_EQ(low({255, 255, 0, 0, 255, 255}, std::vector<Zem16s>(6, 32767), 3), 4210560);  // lane 0 wraps
    zemtest::Random rnd(707);
    for (int w = 1; w <= 24; ++w)
        for (bool wide : {false, true}) {
            // Small values make a lane's rounding show; large ones with large weights wrap.
            const int lim = wide ? 32767 : 3;
            auto x = rnd.integers<Zem16s>(w, -lim, lim), v = rnd.integers<Zem16s>(w, wide ? 20000 : 1, wide ? 32767 : 3);
            std::vector<Zem16s> mean(w, 0), mixtureMean(x);
            for (int sf : {0, 1, 3, 5, 15, 17}) {
                const int32_t t = refBlockLow(x.data(), mean.data(), v.data(), w, sf);
                Zem32s block, multi = 7, larger = INT32_MIN;
                float scaled, multiScaled = 0.5f;
                const Zem32s val = 7;
                ASSERT_EQ(zemsLogGauss_Low_16s32s_D2Sfs(x.data(), w, mean.data(), v.data(), w, &block, 1, val, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGauss_LowScaled_16s32f_D2(x.data(), w, mean.data(), v.data(), w, &scaled, 1, 0.5f, sf), zemStatusOk);
                // The mixture forms see the same rows from the other side: frame 0, mean x.
                ASSERT_EQ(zemsLogGaussMultiMix_Low_16s32s_D2Sfs(x.data(), v.data(), w, mean.data(), w, &multi, 1, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMultiMix_LowScaled_16s32f_D2(x.data(), v.data(), w, mean.data(), w, &multiScaled, 1, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(x.data(), v.data(), w, mean.data(), w, &val, &larger, 1, sf), zemStatusOk);
                ASSERT_EQ(block, wrap(int64_t{t} + val)) << w << (wide ? " wide" : " small") << " sf " << sf;
                ASSERT_TRUE(sameBits(scaled, float(t) + 0.5f)) << w << " sf " << sf;
                ASSERT_EQ(multi, block) << w << " sf " << sf;
                ASSERT_TRUE(sameBits(multiScaled, scaled)) << w << " sf " << sf;
                ASSERT_EQ(larger, block) << w << " sf " << sf;
            }
        }
}

// Scale factors are never range-checked: INT_MIN and INT_MAX score as the smallest and
// largest factors whose shift counts are already capped, in every block, multi-mix and
// mixture Low form.
TEST(GaussBlock, LowFormsAtTheScaleFactorExtremes) {
    zemtest::Random rnd(709);
    const int w = 13, n = 3;
    const auto x = rnd.integers<Zem16s>(w, -3000, 3000);
    const auto mean = rnd.integers<Zem16s>(w * n, -3000, 3000), var = rnd.integers<Zem16s>(w * n, 0, 9);
    const std::vector<Zem32s> valS = {-5, 0, 9};
    const std::vector<float> valF = {-5.5f, 0.0f, 9.25f};
    for (auto [extreme, capped] : {std::pair{INT_MIN, -64}, std::pair{INT_MAX, 47}}) {
        auto scores = [&](int sf) {
            std::vector<Zem32s> i(8 * n, -7);
            std::vector<float> f(8 * n, -7.0f);
            zemsLogGauss_Low_16s32s_D2Sfs(mean.data(), w, x.data(), var.data(), w, &i[0], n, 3, sf);
            zemsLogGaussMax_Low_16s32s_D2Sfs(mean.data(), w, x.data(), var.data(), w, &i[n], n, 3, sf);
            zemsLogGauss_LowScaled_16s32f_D2(mean.data(), w, x.data(), var.data(), w, &f[0], n, 1.5f, sf);
            zemsLogGaussAdd_LowScaled_16s32f_D2(mean.data(), w, x.data(), var.data(), w, &f[n], n, 1.5f, sf);
            zemsLogGaussMax_LowScaled_16s32f_D2(mean.data(), w, x.data(), var.data(), w, &f[2 * n], n, 1.5f, sf);
            std::copy(valS.begin(), valS.end(), &i[2 * n]);
            zemsLogGaussMultiMix_Low_16s32s_D2Sfs(mean.data(), var.data(), w, x.data(), w, &i[2 * n], n, sf);
            zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(mean.data(), var.data(), w, x.data(), w, valS.data(), &i[3 * n], n, sf);
            std::copy(valF.begin(), valF.end(), &f[3 * n]);
            zemsLogGaussMultiMix_LowScaled_16s32f_D2(mean.data(), var.data(), w, x.data(), w, &f[3 * n], n, sf);
            zemsLogGaussAddMultiMix_LowScaled_16s32f_D2(mean.data(), var.data(), w, x.data(), w, valF.data(), &f[4 * n], n, sf);
            zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2(mean.data(), var.data(), w, x.data(), w, valF.data(), &f[5 * n], n, sf);
            zemsLogGaussMixture_LowScaled_16s32f_D2(x.data(), mean.data(), var.data(), n, w, w, valF.data(), &f[6 * n], sf);
            return std::pair{i, f};
        };
        const auto [gotI, gotF] = scores(extreme);
        const auto [wantI, wantF] = scores(capped);
        EXPECT_EQ(gotI, wantI) << extreme;
        for (size_t k = 0; k < gotF.size(); ++k) EXPECT_TRUE(sameBits(gotF[k], wantF[k])) << extreme << " " << k;
    }
}

TEST(GaussBlock, IntegerMaxRules) {
    zemtest::Random rnd(705);
    for (int w : {1, 7, 8, 39})
        for (int h : {1, 2, 3, 129}) {
            FrameMatrix<Zem16s> fm(rnd, w, h, -3000, 3000);
            const auto mean = rnd.integers<Zem16s>(w, -3000, 3000), var = rnd.integers<Zem16s>(w, 0, 9);
            const Zem16s *x = fm.data.data(), *m = mean.data(), *v = var.data();
            for (int sf : {-2, 0, 4}) {
                const auto start = rnd.integers<Zem32s>(h, -5000000, 0);
                std::vector<Zem32s> got(start), gotId(start), gotLow(start), store(h);
                ASSERT_EQ(zemsLogGaussMax_16s32s_D2Sfs(x, fm.step, m, v, w, got.data(), h, -100, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMax_IdVar_16s32s_D2LSfs(fm.rows.data(), m, w, gotId.data(), h, -100, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMax_Low_16s32s_D2Sfs(x, fm.step, m, v, w, gotLow.data(), h, -100, sf), zemStatusOk);
                zemsLogGauss_Low_16s32s_D2Sfs(x, fm.step, m, v, w, store.data(), h, -100, sf);
                const int saved = std::fegetround();
                for (int f = 0; f < h; ++f) {
                    // The whole kernel rounds toward zero.
                    std::fesetround(FE_TOWARDZERO);
                    const volatile float fv = -100.0f;
                    const float fsf = std::ldexp(1.0f, -(sf + 1));
                    float r = -refLanes(fm.frame(f), m, v, w) * fsf + fv;
                    float ri = -refPairs(fm.frame(f), m, w, false) * fsf + fv;
                    const volatile float d = float(start[f]);
                    const Zem32s want = Zem32s(std::max(std::clamp(r, -2147483648.0f, 2147483648.0f), float(d)));
                    const Zem32s wantId = Zem32s(std::max(std::clamp(ri, -2147483648.0f, 2147483648.0f), float(d)));
                    std::fesetround(saved);
                    ASSERT_EQ(got[f], want) << w << " " << h << " sf " << sf;
                    ASSERT_EQ(gotId[f], wantId) << w << " " << h << " sf " << sf;
                    if (sf >= 0) {
                        ASSERT_EQ(gotLow[f], std::max(store[f], start[f]));
                    }
                }
                EXPECT_EQ(std::fegetround(), saved);
            }
        }
    // An odd height writes exactly height elements.
    FrameMatrix<Zem16s> fm(rnd, 8, 3, -10, 10);
    const std::vector<Zem16s> m(8, 0), v(8, 1);
    std::vector<Zem32s> dst(4, -2000000000);
    ASSERT_EQ(zemsLogGaussMax_16s32s_D2Sfs(fm.data.data(), fm.step, m.data(), v.data(), 8, dst.data(), 3, 0, 0), zemStatusOk);
    EXPECT_EQ(dst[3], -2000000000);
    // Low keeps a 25-bit destination exactly at scale factor 0 and rounds it through float below 0.
    std::vector<Zem32s> big = {16777217};
    const std::vector<Zem16s> far(8, 1000), zero(8, 0);
    ASSERT_EQ(zemsLogGaussMax_Low_16s32s_D2Sfs(far.data(), 8, zero.data(), v.data(), 8, big.data(), 1, 0, 0), zemStatusOk);
    EXPECT_EQ(big[0], 16777217);
    ASSERT_EQ(zemsLogGaussMax_Low_16s32s_D2Sfs(far.data(), 8, zero.data(), v.data(), 8, big.data(), 1, 0, -2), zemStatusOk);
    EXPECT_EQ(big[0], 16777216);
}

TEST(GaussBlock, AddNarrowWidths) {
    // Width 3 (double short path) and width 4 (block addition) agree within float rounding.
    const float x[8] = {1, 2, 3, 0, 1, 2, 3, 0}, mean[4] = {0.5f, 1, 1, 0}, var[4] = {1, 2, 3, 1};
    float a3[2] = {-2, -1}, a4[2] = {-2, -1};
    zemsLogGaussAdd_32f_D2(x, 4, mean, var, 3, a3, 2, -1.0f);
    zemsLogGaussAdd_32f_D2(x, 4, mean, var, 4, a4, 2, -1.0f);
    EXPECT_NEAR(a3[0], a4[0], 1e-5);
    EXPECT_NEAR(a3[1], a4[1], 1e-5);
}
