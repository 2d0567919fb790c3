#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "likelihood/logcore.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

using zemtest::sameBits;

namespace {

// A mixture of n Gaussians of `width` features: rows of mean and var at a stride, their
// row pointers, and one val per Gaussian.
template <class T>
struct Mixture {
    int width, n, step;
    std::vector<T> mean, var, frame, val;
    std::vector<const T*> meanRows, varRows;
    Mixture(zemtest::Random& rnd, int w, int count, double lo, double hi, double vlo, double vhi) : width(w), n(count), step(w + 3) {
        if constexpr (std::is_integral_v<T>) {
            mean = rnd.integers<T>(size_t(step) * n, int64_t(lo), int64_t(hi));
            var = rnd.integers<T>(size_t(step) * n, int64_t(vlo), int64_t(vhi));
            frame = rnd.integers<T>(step, int64_t(lo), int64_t(hi));
        } else {
            mean = rnd.uniform<T>(size_t(step) * n, lo, hi);
            var = rnd.uniform<T>(size_t(step) * n, vlo, vhi);
            frame = rnd.uniform<T>(step, lo, hi);
        }
        for (int g = 0; g < n; ++g) meanRows.push_back(&mean[size_t(g) * step]), varRows.push_back(&var[size_t(g) * step]);
    }
};

// The mixture sum in blocks of 100, each later block behind the running result.
template <class T, class LogSum>
T blockOrderSum(const std::vector<T>& scores, LogSum logSum) {
    T running = 0;
    for (size_t g0 = 0; g0 < scores.size(); g0 += 100) {
        std::vector<T> block;
        if (g0 > 0) block.push_back(running);
        for (size_t g = g0; g < std::min(scores.size(), g0 + 100); ++g) block.push_back(scores[g]);
        logSum(block.data(), &running, int(block.size()));
    }
    return running;
}

const std::vector<int> kCounts = {1, 2, 3, 99, 100, 101, 250};

}  // namespace

TEST(Mixture, FloatFamiliesAgreeAndSumInBlocksOf100) {
    zemtest::Random rnd(801);
    for (int w : {1, 3, 4, 9, 39})
        for (int n : kCounts) {
            Mixture<float> m(rnd, w, n, -2, 2, 0.2, 2);
            m.val = rnd.uniform<float>(n, -20, -5);
            std::vector<float> scores(m.val), scoresL(m.val);
            ASSERT_EQ(zemsLogGaussMultiMix_32f_D2(m.mean.data(), m.var.data(), m.step, m.frame.data(), w, scores.data(), n), zemStatusOk);
            ASSERT_EQ(zemsLogGaussMultiMix_32f_D2L(m.meanRows.data(), m.varRows.data(), m.frame.data(), w, scoresL.data(), n), zemStatusOk);
            for (int g = 0; g < n; ++g) {
                ASSERT_TRUE(sameBits(scores[g], scoresL[g]));
                long double q = 0;
                for (int i = 0; i < w; ++i) q += ((long double)m.frame[i] - m.meanRows[g][i]) * ((long double)m.frame[i] - m.meanRows[g][i]) * m.varRows[g][i];
                EXPECT_NEAR(scores[g], m.val[g] - 0.5 * (double)q, (double)q * (w / 8 + 6) * 0x1p-24 + 40 * 0x1p-24);
            }
            const auto start = rnd.uniform<float>(n, -30, 0);
            std::vector<float> add(start), max(start), want(start);
            ASSERT_EQ(zemsLogGaussAddMultiMix_32f_D2(m.mean.data(), m.var.data(), m.step, m.frame.data(), w, m.val.data(), add.data(), n), zemStatusOk);
            ASSERT_EQ(zemsLogGaussMaxMultiMix_32f_D2L(m.meanRows.data(), m.varRows.data(), m.frame.data(), w, m.val.data(), max.data(), n), zemStatusOk);
            zemsLogAdd_32f(scores.data(), want.data(), n);
            for (int g = 0; g < n; ++g) {
                ASSERT_TRUE(sameBits(add[g], want[g]));
                ASSERT_EQ(max[g], std::max(scores[g], start[g]));
            }
            float mix, mixL;
            ASSERT_EQ(zemsLogGaussMixture_32f_D2(m.frame.data(), m.mean.data(), m.var.data(), n, m.step, w, m.val.data(), &mix), zemStatusOk);
            ASSERT_EQ(zemsLogGaussMixture_32f_D2L(m.frame.data(), m.meanRows.data(), m.varRows.data(), n, w, m.val.data(), &mixL), zemStatusOk);
            ASSERT_TRUE(sameBits(mix, blockOrderSum(scores, zemsLogSum_32f))) << w << " " << n;
            ASSERT_TRUE(sameBits(mix, mixL));
            if (n == 1) {
                EXPECT_TRUE(sameBits(mix, scores[0]));
            }
            // Double forms.
            std::vector<double> md(m.mean.begin(), m.mean.end()), vd(m.var.begin(), m.var.end()), xd(m.frame.begin(), m.frame.end()), valD(m.val.begin(), m.val.end());
            std::vector<double> sd(valD);
            ASSERT_EQ(zemsLogGaussMultiMix_64f_D2(md.data(), vd.data(), m.step, xd.data(), w, sd.data(), n), zemStatusOk);
            double mixD;
            ASSERT_EQ(zemsLogGaussMixture_64f_D2(xd.data(), md.data(), vd.data(), n, m.step, w, valD.data(), &mixD), zemStatusOk);
            ASSERT_TRUE(sameBits(mixD, blockOrderSum(sd, zemsLogSum_64f)));
            std::vector<double> addD(n, -1.0), wantD(n, -1.0);
            ASSERT_EQ(zemsLogGaussAddMultiMix_64f_D2(md.data(), vd.data(), m.step, xd.data(), w, valD.data(), addD.data(), n), zemStatusOk);
            zemsLogAdd_64f(sd.data(), wantD.data(), n, 0);
            for (int g = 0; g < n; ++g) ASSERT_TRUE(sameBits(addD[g], wantD[g]));
        }
}

TEST(Mixture, SixteenBitScoresEqualTheBlockFormsPerGaussian) {
    zemtest::Random rnd(803);
    for (int w : {1, 7, 8, 9, 39})
        for (int n : {1, 3, 101}) {
            Mixture<Zem16s> m(rnd, w, n, -32768, 32767, 0, 30);
            const auto valS = rnd.integers<Zem32s>(n, -100000, 0);
            const auto valF = rnd.uniform<float>(n, -50, 0);
            for (int sf : {-3, 0, 2, 17}) {
                std::vector<Zem32s> plain(valS), low(valS);
                std::vector<float> scaled(valF), lowScaled(valF);
                ASSERT_EQ(zemsLogGaussMultiMix_16s32s_D2Sfs(m.mean.data(), m.var.data(), m.step, m.frame.data(), w, plain.data(), n, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMultiMix_Low_16s32s_D2LSfs(m.meanRows.data(), m.varRows.data(), m.frame.data(), w, low.data(), n, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMultiMix_Scaled_16s32f_D2(m.mean.data(), m.var.data(), m.step, m.frame.data(), w, scaled.data(), n, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMultiMix_LowScaled_16s32f_D2L(m.meanRows.data(), m.varRows.data(), m.frame.data(), w, lowScaled.data(), n, sf), zemStatusOk);
                const auto start = rnd.integers<Zem32s>(n, -3000000, 0);
                std::vector<Zem32s> maxPlain(start), maxLow(start);
                ASSERT_EQ(zemsLogGaussMaxMultiMix_16s32s_D2Sfs(m.mean.data(), m.var.data(), m.step, m.frame.data(), w, valS.data(), maxPlain.data(), n, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(m.meanRows.data(), m.varRows.data(), m.frame.data(), w, valS.data(), maxLow.data(), n, sf), zemStatusOk);
                for (int g = 0; g < n; ++g) {
                    // The same frame against Gaussian g through the block forms.
                    const Zem16s *mg = m.meanRows[g], *vg = m.varRows[g], *x = m.frame.data();
                    Zem32s p, l, mp = start[g], ml = start[g];
                    float s, ls;
                    zemsLogGauss_16s32s_D2Sfs(x, w, mg, vg, w, &p, 1, valS[g], sf);
                    zemsLogGauss_Low_16s32s_D2Sfs(x, w, mg, vg, w, &l, 1, valS[g], sf);
                    zemsLogGauss_Scaled_16s32f_D2(x, w, mg, vg, w, &s, 1, valF[g], sf);
                    zemsLogGauss_LowScaled_16s32f_D2(x, w, mg, vg, w, &ls, 1, valF[g], sf);
                    zemsLogGaussMax_16s32s_D2Sfs(x, w, mg, vg, w, &mp, 1, valS[g], sf);
                    zemsLogGaussMax_Low_16s32s_D2Sfs(x, w, mg, vg, w, &ml, 1, valS[g], sf);
                    ASSERT_EQ(plain[g], p) << w << " " << n << " sf " << sf;
                    ASSERT_EQ(low[g], l);
                    ASSERT_TRUE(sameBits(scaled[g], s));
                    ASSERT_TRUE(sameBits(lowScaled[g], ls));
                    ASSERT_EQ(maxPlain[g], mp);
                    ASSERT_EQ(maxLow[g], ml);
                }
                float mix;
                ASSERT_EQ(zemsLogGaussMixture_Scaled_16s32f_D2(m.frame.data(), m.mean.data(), m.var.data(), n, m.step, w, valF.data(), &mix, sf), zemStatusOk);
                ASSERT_TRUE(sameBits(mix, blockOrderSum(scaled, zemsLogSum_32f)));
            }
        }
}

TEST(Mixture, IdentityFormsScoreEachGaussianByTheSingleFrameBody) {
    zemtest::Random rnd(805);
    for (int w : {1, 5, 39})
        for (int n : {1, 2, 100, 101, 250}) {
            Mixture<float> m(rnd, w, n, -2, 2, 1, 1);
            m.val = rnd.uniform<float>(n, -20, -5);
            std::vector<float> single(n);
            for (int g = 0; g < n; ++g) zemsLogGaussSingle_IdVar_32f(m.frame.data(), m.meanRows[g], w, &single[g], m.val[g]);
            float mixL, mixD2;
            ASSERT_EQ(zemsLogGaussMixture_IdVar_32f_D2L(m.frame.data(), m.meanRows.data(), n, w, m.val.data(), &mixL), zemStatusOk);
            ASSERT_TRUE(sameBits(mixL, blockOrderSum(single, zemsLogSum_32f)));
            // The _D2 form: a strictly sequential pass with the double short path.
            ASSERT_EQ(zemsLogGaussMixture_IdVar_32f_D2(m.frame.data(), m.mean.data(), n, m.step, w, m.val.data(), &mixD2), zemStatusOk);
            float want = 0;
            for (int g = 0; g < n; ++g) {
                float acc = m.val[g] + m.val[g];
                for (int i = 0; i < w; ++i) acc -= (m.frame[i] - m.meanRows[g][i]) * (m.frame[i] - m.meanRows[g][i]);
                want = g == 0 ? 0.5f * acc : float(zem::logdomain::addShortPath(want, 0.5f * acc));
            }
            ASSERT_TRUE(sameBits(mixD2, want)) << w << " " << n;
            std::vector<double> xd(m.frame.begin(), m.frame.end()), md(m.mean.begin(), m.mean.end()), vd(m.val.begin(), m.val.end());
            std::vector<double> sd(n);
            for (int g = 0; g < n; ++g) zemsLogGaussSingle_IdVar_64f(xd.data(), &md[size_t(g) * m.step], w, &sd[g], vd[g]);
            double mix64;
            ASSERT_EQ(zemsLogGaussMixture_IdVar_64f_D2(xd.data(), md.data(), n, m.step, w, vd.data(), &mix64), zemStatusOk);
            ASSERT_TRUE(sameBits(mix64, blockOrderSum(sd, zemsLogSum_64f)));
            Mixture<Zem16s> m16(rnd, w, n, -30000, 30000, 1, 1);
            for (int sf : {-1, 3}) {
                std::vector<float> e(n), g(n);
                for (int k = 0; k < n; ++k) {
                    zemsLogGaussSingle_IdVarScaled_16s32f(m16.frame.data(), m16.meanRows[k], w, &e[k], m.val[k], sf);
                    zemsLogGaussSingle_IdVarLowScaled_16s32f(m16.frame.data(), m16.meanRows[k], w, &g[k], m.val[k], sf);
                }
                float mixE, mixG;
                ASSERT_EQ(zemsLogGaussMixture_IdVarScaled_16s32f_D2(m16.frame.data(), m16.mean.data(), n, m16.step, w, m.val.data(), &mixE, sf), zemStatusOk);
                ASSERT_EQ(zemsLogGaussMixture_IdVarLowScaled_16s32f_D2L(m16.frame.data(), m16.meanRows.data(), n, w, m.val.data(), &mixG, sf), zemStatusOk);
                ASSERT_TRUE(sameBits(mixE, blockOrderSum(e, zemsLogSum_32f)));
                ASSERT_TRUE(sameBits(mixG, blockOrderSum(g, zemsLogSum_32f)));
            }
        }
}

TEST(MixtureSelect, ShortlistsDriveSequentialSums) {
    zemtest::Random rnd(807);
    for (int n : {1, 9, 20}) {
        const int w = 5, height = 6, rowBytes = (n + 7) / 8;
        Mixture<float> m(rnd, w, n, -2, 2, 0.5, 1.5);
        m.val = rnd.uniform<float>(n, -10, -2);
        auto frames = rnd.uniform<float>(size_t(height) * m.step, -2, 2);
        std::vector<const float*> frameRows;
        for (int f = 0; f < height; ++f) frameRows.push_back(&frames[size_t(f) * m.step]);
        std::vector<Zem8u> shortlist(size_t(height) * rowBytes, 0);
        for (int f = 0; f < height; ++f)
            for (int c = 0; c < n; ++c) {
                const bool on = f == 1 ? true : (f == 2 ? false : rnd.integer(0, 2) == 0);  // a full and an empty row
                if (on) shortlist[f * rowBytes + c / 8] |= 0x80 >> (c % 8);
            }
        std::vector<float> dst(height, 99.0f), dstL(height, 99.0f);
        ASSERT_EQ(zemsLogGaussMixture_Select_32f_D2(frames.data(), m.mean.data(), m.var.data(), m.step, w, m.val.data(), shortlist.data(), n, dst.data(), height, -1.5f), zemStatusOk);
        ASSERT_EQ(zemsLogGaussMixture_Select_32f_D2L(frameRows.data(), m.meanRows.data(), m.varRows.data(), w, m.val.data(), shortlist.data(), n, dstL.data(), height, -1.5f), zemStatusOk);
        for (int f = 0; f < height; ++f) {
            float want = -1.5f;
            bool any = false;
            for (int c = 0; c < n; ++c) {
                if (!((shortlist[f * rowBytes + c / 8] >> (7 - c % 8)) & 1)) continue;
                float tmp;
                zemsLogGaussSingle_32f(frameRows[f], m.meanRows[c], m.varRows[c], w, &tmp, m.val[c]);
                if (any) zemsLogAdd_32f(&tmp, &want, 1);
                else want = tmp;
                any = true;
            }
            ASSERT_TRUE(sameBits(dst[f], want)) << n << " frame " << f;
            ASSERT_TRUE(sameBits(dstL[f], want));
        }
        EXPECT_EQ(dst[2], -1.5f);  // nothing selected: noneValue
    }
    // No memory for the counters: nothing is written.
    float x[4] = {}, dst[2] = {7, 7}, val[1] = {0};
    const Zem8u list[2] = {0x80, 0x80};
    zemcoreTestFailAllocation(1);
    EXPECT_EQ(zemsLogGaussMixture_SelectIdVar_32f_D2(x, x, 2, 2, val, list, 1, dst, 2, 0.0f), zemStatusNoMemory);
    EXPECT_EQ(dst[0], 7.0f);
}

