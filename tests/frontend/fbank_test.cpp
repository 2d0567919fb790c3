#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

// A bank's rows read back through the public accessors: y[i] over a spectrum x by the row
// rule, in long double.
template <class State, class GetCenters, class GetCoeffs>
std::vector<long double> directSums(const State* st, int nFilter, const std::vector<long double>& x, GetCenters centers,
                                    GetCoeffs coeffs) {
    std::vector<Zem32s> c(nFilter + 2);
    EXPECT_EQ(centers(st, c.data()), zemStatusOk);
    std::vector<long double> y(nFilter);
    std::vector<float> run(4096);
    for (int i = 0; i < nFilter; ++i) {
        EXPECT_EQ(coeffs(st, i + 1, run.data()), zemStatusOk);
        int at = 0;
        if (c[i + 1] >= c[i])
            for (int k = c[i]; k <= c[i + 1]; ++k) y[i] += run[at++] * x[k];
        for (int k = c[i + 1] + 1; k <= c[i + 2]; ++k) y[i] += run[at++] * x[k];
    }
    return y;
}

}  // namespace

TEST(FilterBank, SizesOfTheFormulas) {
    Zem32s size = 0;
    ASSERT_EQ(zemsMelFBankGetSizeLow_Aurora_32f(&size), zemStatusOk);
    EXPECT_EQ(size, 15768);
    zemsMelFBankGetSizeLow_Aurora_16s(&size);
    EXPECT_EQ(size, 15776);
    zemsMelFBankGetSizeHigh_Aurora_32f(&size);
    EXPECT_EQ(size, 3184);
    zemsMelFBankGetSizeHigh_Aurora_16s(&size);
    EXPECT_EQ(size, 3192);
    // rows(a, b) = a * roundup8(b) * 4 + 8a + 28; 26 filters over N = 512.
    ASSERT_EQ(zemsMelFBankGetSize_32f(400, 26, 1, &size), zemStatusOk);
    EXPECT_EQ(size, (28 * 264 * 4 + 28 * 8 + 28) + (28 * 256 * 4 + 28 * 8 + 28) + 3 * 104 + 104 + 188);
    ASSERT_EQ(zemsMelFBankGetSize_32s(400, 20, 2, &size), zemStatusOk);
    EXPECT_EQ(size, 4 * 20 + 176 + 2 * 22 * (2 * 512 + 40));
    EXPECT_EQ(zemsMelFBankGetSize_32s(64, 33, 2, &size), zemStatusBadSize);  // nFilter = N/2 + 1
    EXPECT_EQ(zemsMelFBankGetSize_32f(400, 26, 3, &size), zemStatusBadMelFlag);
    EXPECT_EQ(zemsMelFBankGetSize_32f(400, 26, 4, &size), zemStatusBadMelFlag);
    EXPECT_EQ(zemsMelFBankGetSize_32f(0, 26, 1, &size), zemStatusBadSize);
    EXPECT_EQ(zemsMelFBankGetSize_32f(0, 26, 1, nullptr), zemStatusNullPointer);
}

TEST(FilterBank, AuroraCentresAndUnitAreas) {
    ZemsFBankState_32f* low = nullptr;
    ASSERT_EQ(zemsMelFBankInitAllocLow_Aurora_32f(&low), zemStatusOk);
    std::vector<Zem32s> c(27);
    ASSERT_EQ(zemsFBankGetCenters_32f(low, c.data()), zemStatusOk);
    const Zem32s shifted[27] = {0, 0, 1, 2, 3, 4, 5, 7, 8, 10, 12, 14, 16, 18, 20, 23, 26, 29, 32, 36, 39, 44, 48, 53, 58, 64, 64};
    for (int k = 0; k < 27; ++k) EXPECT_EQ(c[k], shifted[k]) << k;
    std::vector<float> run(200);
    for (int f = 2; f <= 24; ++f) {  // rows 1 .. 23 (filter indices 2 .. 24) have unit area
        ASSERT_EQ(zemsFBankGetCoeffs_32f(low, f, run.data()), zemStatusOk);
        float s = 0;
        for (int k = 0; k < (c[f] - c[f - 1] + 1) + (c[f + 1] - c[f]); ++k) s += run[k];
        EXPECT_NEAR(s, 1.0f, 1e-5) << f;
    }
    EXPECT_EQ(zemsFBankGetCoeffs_32f(low, 26, run.data()), zemStatusOk);   // nFilter + 1: the extra row
    EXPECT_EQ(zemsFBankSetCoeffs_32f(low, 26, run.data()), zemStatusBadSize);
    EXPECT_EQ(zemsFBankFree_32f(low), zemStatusOk);
    ZemsFBankState_16s* high = nullptr;
    ASSERT_EQ(zemsMelFBankInitAllocHigh_Aurora_16s(&high), zemStatusOk);
    Zem32s hc[5];
    ASSERT_EQ(zemsFBankGetCenters_16s(high, hc), zemStatusOk);
    const Zem32s highCentres[5] = {1, 8, 19, 37, 64};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(hc[k], highCentres[k]);
    EXPECT_EQ(zemsFBankFree_16s(high), zemStatusOk);
    std::vector<Zem8u> buffer(15776);
    auto* inBuffer = reinterpret_cast<ZemsFBankState_16s*>(buffer.data());
    ASSERT_EQ(zemsMelFBankInitLow_Aurora_16s(inBuffer), zemStatusOk);
    ASSERT_EQ(zemsFBankGetCenters_16s(inBuffer, c.data()), zemStatusOk);
    EXPECT_EQ(c[26], 64);
}

TEST(FilterBank, MelBankEvaluationMatchesItsRows) {
    zemtest::Random rnd(1001);
    for (int mode : {1, 2}) {
        for (int frameLen : {256, 400}) {
            ZemsFBankState_32f* st = nullptr;
            Zem32s order = 0;
            ASSERT_EQ(zemsMelFBankInitAlloc_32f(&st, &order, frameLen, 16000.0f, 64.0f, 8000.0f, 26, 1127.0f, 700.0f, mode), zemStatusOk);
            const int n = 1 << order;
            EXPECT_EQ(n, frameLen == 256 ? 256 : 512);
            const auto spectrum = rnd.uniform<float>(n / 2 + 1, 0, 10);
            std::vector<long double> x(spectrum.begin(), spectrum.end());
            std::vector<float> y(26);
            ASSERT_EQ(zemsEvalFBank_32f(spectrum.data(), y.data(), st), zemStatusOk);
            const auto want = directSums(st, 26, x, zemsFBankGetCenters_32f, zemsFBankGetCoeffs_32f);
            for (int i = 0; i < 26; ++i) EXPECT_NEAR(y[i], (double)want[i], std::fabs((double)want[i]) * 1e-5 + 1e-5) << i;
            // The same bank inside a caller's buffer gives the same values.
            Zem32s size = 0;
            ASSERT_EQ(zemsMelFBankGetSize_32f(frameLen, 26, mode, &size), zemStatusOk);
            std::vector<Zem8u> buffer(size);
            auto* own = reinterpret_cast<ZemsFBankState_32f*>(buffer.data());
            ASSERT_EQ(zemsMelFBankInit_32f(own, &order, frameLen, 16000.0f, 64.0f, 8000.0f, 26, 1127.0f, 700.0f, mode), zemStatusOk);
            std::vector<float> y2(26);
            ASSERT_EQ(zemsEvalFBank_32f(spectrum.data(), y2.data(), own), zemStatusOk);
            for (int i = 0; i < 26; ++i) EXPECT_EQ(y[i], y2[i]);
            ASSERT_EQ(zemsFBankFree_32f(st), zemStatusOk);
        }
    }
}

// Random centre layouts (coinciding centres, spans of 0 to 40 bins, 1 to 11 filters) with
// random rows.  The spectrum holds exactly the bins up to one past the last centre, the
// most the evaluation may read, and every bin outside the filters is infinite.
TEST(FilterBank, FloatEvaluationOverArbitrarySpans) {
    zemtest::Random rnd(1003);
    for (int trial = 0; trial < 300; ++trial) {
        const int nf = static_cast<int>(rnd.integer(1, 11));
        ZemsFBankState_32f* st = nullptr;
        Zem32s order = 0;
        ASSERT_EQ(zemsEmptyFBankInitAlloc_32f(&st, &order, 1024, nf, 1), zemStatusOk);
        std::vector<Zem32s> c(nf + 2);
        c[0] = static_cast<Zem32s>(rnd.integer(0, 20));
        for (int i = 1; i < nf + 2; ++i) c[i] = c[i - 1] + static_cast<Zem32s>(rnd.integer(0, 4) == 0 ? 0 : rnd.integer(1, 40));
        ASSERT_EQ(zemsFBankSetCenters_32f(st, c.data()), zemStatusOk);
        for (int i = 1; i <= nf; ++i) {
            const auto w = rnd.uniform<float>(c[i + 1] - c[i - 1] + 1, -1, 1);
            ASSERT_EQ(zemsFBankSetCoeffs_32f(st, i, w.data()), zemStatusOk);
        }
        std::vector<float> spectrum = rnd.uniform<float>(c[nf + 1] + 2, 0, 10);
        for (int k = 0; k < c[0]; ++k) spectrum[k] = INFINITY;
        // Past a last span of several bins the extra bin is outside every filter too.
        if (c[nf + 1] > c[nf]) spectrum[c[nf + 1] + 1] = INFINITY;
        std::vector<long double> x(spectrum.begin(), spectrum.end());
        std::vector<float> y(nf);
        ASSERT_EQ(zemsEvalFBank_32f(spectrum.data(), y.data(), st), zemStatusOk);
        const auto want = directSums(st, nf, x, zemsFBankGetCenters_32f, zemsFBankGetCoeffs_32f);
        for (int i = 0; i < nf; ++i)
            EXPECT_NEAR(y[i], (double)want[i], 1e-5 * (c[i + 2] - c[i] + 1) * 10) << trial << " " << i;
        // An empty last span still reads its one bin.
        if (c[nf + 1] == c[nf]) {
            spectrum[c[nf + 1] + 1] = NAN;
            ASSERT_EQ(zemsEvalFBank_32f(spectrum.data(), y.data(), st), zemStatusOk);
            EXPECT_TRUE(std::isnan(y[nf - 1]));
        }
        ASSERT_EQ(zemsFBankFree_32f(st), zemStatusOk);
    }
}

TEST(FilterBank, TransformPathAgainstADoubleSpectrum) {
    zemtest::Random rnd(1003);
    ZemsFBankState_32f* st = nullptr;
    Zem32s order = 0;
    ASSERT_EQ(zemsMelFBankInitAlloc_32f(&st, &order, 400, 16000.0f, 64.0f, 8000.0f, 20, 1127.0f, 700.0f, 5), zemStatusOk);
    const int n = 1 << order;
    const auto frame = rnd.uniform<float>(n, -1, 1);
    std::vector<long double> mag(n / 2 + 1);
    for (int k = 0; k <= n / 2; ++k) {
        std::complex<long double> s = 0;
        for (int t = 0; t < n; ++t) s += (long double)frame[t] * std::polar(1.0L, -2.0L * M_PI * k * t / n);
        mag[k] = std::abs(s);
    }
    std::vector<float> y(20);
    ASSERT_EQ(zemsEvalFBank_32f(frame.data(), y.data(), st), zemStatusOk);
    const auto want = directSums(st, 20, mag, zemsFBankGetCenters_32f, zemsFBankGetCoeffs_32f);
    for (int i = 0; i < 20; ++i) EXPECT_NEAR(y[i], (double)want[i], std::fabs((double)want[i]) * 1e-3 + 1e-3) << i;
    ASSERT_EQ(zemsFBankFree_32f(st), zemStatusOk);
}

TEST(FilterBank, IntegerBanksAreExact) {
    zemtest::Random rnd(1005);
    ZemsFBankState_16s* st = nullptr;
    Zem32s order = 0;
    ASSERT_EQ(zemsMelFBankInitAlloc_16s(&st, &order, 256, 8000.0f, 100.0f, 4000.0f, 12, 1127.0f, 700.0f, 2), zemStatusOk);
    const auto x = rnd.integers<Zem16s>(129, -2000, 2000);
    std::vector<Zem32s> c(14);
    ASSERT_EQ(zemsFBankGetCenters_16s(st, c.data()), zemStatusOk);
    for (int sf : {-2, 0, 3}) {
        std::vector<Zem16s> y16(12);
        std::vector<Zem32s> y32(12);
        ASSERT_EQ(zemsEvalFBank_16s_Sfs(x.data(), y16.data(), st, sf), zemStatusOk);
        ASSERT_EQ(zemsEvalFBank_16s32s_Sfs(x.data(), y32.data(), st, sf), zemStatusOk);
        for (int i = 0; i < 12; ++i) {
            // Q14 bin weights (k - c + 1) * 16384 / (width + 1), products and sums exact.
            int64_t sum = 0;
            for (int k = c[i]; k <= c[i + 1]; ++k) sum += int64_t((k - c[i] + 1) * 16384 / (c[i + 1] - c[i] + 1)) * x[k];
            for (int k = c[i + 1] + 1; k <= c[i + 2]; ++k) sum += int64_t((c[i + 2] - k + 1) * 16384 / (c[i + 2] - c[i + 1] + 1)) * x[k];
            const int s = sf + 14;
            const int64_t v = s > 0 ? sum >> s : sum << -s;
            EXPECT_EQ(y32[i], std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)) << i << " sf " << sf;
            EXPECT_EQ(y16[i], std::clamp<int64_t>(v, -32768, 32767)) << i << " sf " << sf;
        }
    }
    ASSERT_EQ(zemsFBankFree_16s(st), zemStatusOk);
    // The fixed-point bank: Q30 weights over its integer centres.
    Zem32s size = 0;
    ASSERT_EQ(zemsMelFBankGetSize_32s(256, 20, 2, &size), zemStatusOk);
    std::vector<Zem8u> buffer(size);
    auto* b32 = reinterpret_cast<ZemsFBankState_32s*>(buffer.data());
    ASSERT_EQ(zemsMelFBankInit_32s(b32, &order, 256, 16000, 64, 8000, 20, 1127 << 15, 700 << 15, 2), zemStatusOk);
    EXPECT_EQ(order, 8);
    const auto s32 = rnd.integers<Zem32s>(129, 0, 100000);
    std::vector<Zem32s> y(20);
    ASSERT_EQ(zemsEvalFBank_32s_Sfs(s32.data(), y.data(), b32, 0), zemStatusOk);
    // The centres rise and stay within the spectrum, and every band holds energy.
    for (int i = 0; i < 20; ++i) EXPECT_GT(y[i], 0) << i;
    EXPECT_EQ(zemsEvalFBank_32s_Sfs(s32.data(), y.data(), b32, 32), zemStatusBadArg);
    // Checks of the fixed-point form, in their order.
    EXPECT_EQ(zemsMelFBankInit_32s(b32, &order, 16, 16000, 64, 8000, 20, 1127 << 15, 700 << 15, 2), zemStatusBadSize);
    EXPECT_EQ(zemsMelFBankInit_32s(b32, &order, 256, 16000, 64, 8000, 20, 1127 << 15, 700 << 15, 1), zemStatusBadMelFlag);
    EXPECT_EQ(zemsMelFBankInit_32s(b32, &order, 256, 16000, 8000, 8000, 20, 1127 << 15, 700 << 15, 2), zemStatusBadFreqRange);
    EXPECT_EQ(zemsMelFBankInit_32s(b32, &order, 256, 16000, 64, 8000, 20, 1127 << 15, 1, 2), zemStatusBadArg);
}

TEST(FilterBank, EmptyBanksCentresAndChecks) {
    ZemsFBankState_32f* st = nullptr;
    Zem32s order = 0;
    ASSERT_EQ(zemsEmptyFBankInitAlloc_32f(&st, &order, 3, 2, 5), zemStatusOk);
    EXPECT_EQ(order, 2);  // frameLen 3: N = 4
    Zem32s c[4];
    float v[8] = {};
    EXPECT_EQ(zemsFBankGetCenters_32f(st, c), zemStatusBadFBank);
    EXPECT_EQ(zemsEvalFBank_32f(v, v, st), zemStatusBadFBank);
    const Zem32s bad[4] = {-1, 0, 1, 2}, tooFar[4] = {0, 1, 2, 3}, good[4] = {0, 1, 1, 2};
    EXPECT_EQ(zemsFBankSetCenters_32f(st, bad), zemStatusBadFBank);
    EXPECT_EQ(zemsFBankSetCenters_32f(st, tooFar), zemStatusBadFBank);
    ASSERT_EQ(zemsFBankSetCenters_32f(st, good), zemStatusOk);
    const float w1[3] = {0.5f, 1.0f, 0.25f}, w2[3] = {1.0f, 1.0f, 2.0f};
    ASSERT_EQ(zemsFBankSetCoeffs_32f(st, 1, w1), zemStatusOk);
    ASSERT_EQ(zemsFBankSetCoeffs_32f(st, 2, w2), zemStatusOk);
    // Stored mode 1: even with bit 4 passed, src is a spectrum.
    const float x[3] = {2.0f, 4.0f, 8.0f};
    float y[2];
    ASSERT_EQ(zemsEvalFBank_32f(x, y, st), zemStatusOk);
    EXPECT_EQ(y[0], 0.5f * 2 + 1.0f * 4);  // rising bins 0..1; c[2] = c[1]: no falling run
    EXPECT_EQ(y[1], 1.0f * 4 + 1.0f * 8);  // one rising weight (bin 1), one falling (bin 2)
    EXPECT_EQ(zemsFBankFree_32f(st), zemStatusOk);
    EXPECT_EQ(zemsFBankFree_32f(nullptr), zemStatusNullPointer);
    // Creation checks, in order.
    ZemsFBankState_32f* m = nullptr;
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(nullptr, &order, 0, 0, 0, 0, 0, 1, 1, 9), zemStatusNullPointer);
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(&m, &order, 0, 8000, 100, 4000, 10, 1, 1, 9), zemStatusBadSize);
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(&m, &order, 256, 8000, 500, 400, 10, 1, 1, 9), zemStatusBadFreqRange);
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(&m, &order, 256, 8000, 100, 4001, 10, 1, 1, 9), zemStatusBadFreqRange);
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(&m, &order, 256, 8000, 100, 4000, 10, 1, 1, 3), zemStatusBadMelFlag);
    EXPECT_EQ(zemsMelLinFBankInitAlloc_32f(&m, &order, 256, 8000, 100, 4000, 10, 1000, 11, 1, 1, 1), zemStatusBadSize);
    ZemsFBankState_16s* mixed = nullptr;
    ASSERT_EQ(zemsMelLinFBankInitAlloc_16s(&mixed, &order, 256, 8000, 100, 4000, 10, 1000, 4, 1127, 700, 1), zemStatusOk);
    Zem32s mixedCentres[12];
    EXPECT_EQ(zemsFBankGetCenters_16s(mixed, mixedCentres), zemStatusOk);
    for (int k = 1; k < 12; ++k) EXPECT_LE(mixedCentres[k - 1], mixedCentres[k]);
    zemsFBankFree_16s(mixed);
    // Allocation failures return NoMemory and leave nothing behind once freed.
    const int64_t live = zemcoreTestLiveAllocations();
    for (int k = 1; k <= 6; ++k) {
        zemcoreTestFailAllocation(k);
        ZemsFBankState_32f* f = nullptr;
        const ZemStatus s = zemsMelFBankInitAlloc_32f(&f, &order, 400, 16000, 64, 8000, 26, 1127, 700, 5);
        zemcoreTestFailAllocation(0);
        if (s == zemStatusNoMemory && f) zemsFBankFree_32f(f);
        if (s == zemStatusOk) zemsFBankFree_32f(f);
        EXPECT_EQ(zemcoreTestLiveAllocations(), live) << k;
    }
    const float mels[2] = {0.0f, 1000.0f};
    float back[2], lin[2];
    ASSERT_EQ(zemsMelToLinear_32f(mels, lin, 2, 1127.0f, 700.0f), zemStatusOk);
    ASSERT_EQ(zemsLinearToMel_32f(lin, back, 2, 1127.0f, 700.0f), zemStatusOk);
    EXPECT_NEAR(back[1], 1000.0f, 1e-3);
    EXPECT_EQ(zemsLinearToMel_32f(mels, back, 2, 0.0f, 700.0f), zemStatusBadSize);
}

namespace {
// The mel bank's centres and weights from the stated steps: float quotients, double
// logarithms and exponentials rounded to float, truncation or ties to even by mode.
struct MelReference {
    std::vector<Zem32s> c;
    std::vector<std::vector<float>> rising, falling;
    MelReference(int n, float fs, float lo, float hi, int nF, float mul, float div, int mode) : c(nF + 2) {
        auto melQ = [&](float q) { return float(double(mul) * std::log(double(1.0f + q))); };
        const float m0 = melQ(lo / div), m1 = melQ(hi / div), d = m1 - m0;
        std::vector<float> m(nF + 2);
        for (int k = 0; k <= nF + 1; ++k) {
            m[k] = m0 + (float(k) * d) / float(nF + 1);
            const float e = float(std::exp(double(m[k] / mul)) - 1.0);
            const float b = ((float(n) / fs) * div) * e;
            c[k] = (mode & 2) ? Zem32s(std::nearbyint(b)) : Zem32s(b);
        }
        auto melOf = [&](int k) { return melQ((float(k) * (fs / float(n))) / div); };
        for (int i = 1; i <= nF; ++i) {
            std::vector<float> r, f;
            for (int k = c[i - 1]; k <= c[i]; ++k) {
                if (mode & 2) r.push_back(float(k - c[i - 1] + 1) / float(c[i] - c[i - 1] + 1));
                else r.push_back(k == c[i - 1] ? 0.0f : (melOf(k) - m[i - 1]) / (m[i] - m[i - 1]));
            }
            for (int k = c[i] + 1; k <= c[i + 1]; ++k) {
                if (mode & 2) f.push_back(float(c[i + 1] - k + 1) / float(c[i + 1] - c[i] + 1));
                else f.push_back((m[i + 1] - melOf(k)) / (m[i + 1] - m[i]));
            }
            rising.push_back(r);
            falling.push_back(f);
        }
    }
};
}  // namespace

TEST(FilterBank, MelCentresAndWeightsFollowTheirFormulas) {
    for (float fs : {8000.0f, 16000.0f, 22050.0f})
        for (int frameLen : {200, 256, 512})
            for (int nF : {1, 13, 26, 40})
                for (int mode : {1, 2}) {
                    ZemsFBankState_32f* st = nullptr;
                    Zem32s order = 0;
                    const float hi = fs / 2;
                    ASSERT_EQ(zemsMelFBankInitAlloc_32f(&st, &order, frameLen, fs, 60.0f, hi, nF, 1127.0f, 700.0f, mode), zemStatusOk);
                    const MelReference ref(1 << order, fs, 60.0f, hi, nF, 1127.0f, 700.0f, mode);
                    std::vector<Zem32s> c(nF + 2);
                    const ZemStatus got = zemsFBankGetCenters_32f(st, c.data());
                    ASSERT_EQ(got, zemStatusOk);
                    ASSERT_EQ(c, ref.c) << fs << " " << frameLen << " " << nF << " " << mode;
                    std::vector<float> run(1024);
                    for (int i = 1; i <= nF; ++i) {
                        ASSERT_EQ(zemsFBankGetCoeffs_32f(st, i, run.data()), zemStatusOk);
                        size_t at = 0;
                        for (float w : ref.rising[i - 1]) ASSERT_EQ(run[at++], w) << "rising, filter " << i;
                        for (float w : ref.falling[i - 1]) ASSERT_EQ(run[at++], w) << "falling, filter " << i;
                    }
                    zemsFBankFree_32f(st);
                }
}

TEST(FilterBank, FixedPointCentresAndTheSixteenBitTransformPath) {
    // The integer centres agree with the float formula to within one bin.
    Zem32s size = 0;
    ASSERT_EQ(zemsMelFBankGetSize_32s(400, 24, 2, &size), zemStatusOk);
    std::vector<Zem8u> buffer(size);
    auto* b32 = reinterpret_cast<ZemsFBankState_32s*>(buffer.data());
    Zem32s order = 0;
    ASSERT_EQ(zemsMelFBankInit_32s(b32, &order, 400, 16000, 64, 8000, 24, 1127 << 15, 700 << 15, 2), zemStatusOk);
    const Zem32s* c = *reinterpret_cast<Zem32s* const*>(b32);  // the record's first field
    const double m0 = 1127.0 * std::log(1 + 64 / 700.0), m1 = 1127.0 * std::log(1 + 8000 / 700.0);
    for (int k = 0; k <= 25; ++k) {
        const double b = 512.0 / 16000.0 * 700.0 * (std::exp((m0 + k * (m1 - m0) / 25) / 1127.0) - 1.0);
        EXPECT_NEAR(c[k], b, 1.0) << k;
    }
    // The 16-bit transform path: magnitudes of the frame through the bank's own rows.
    zemtest::Random rnd(1007);
    ZemsFBankState_16s* st = nullptr;
    ASSERT_EQ(zemsMelFBankInitAlloc_16s(&st, &order, 256, 8000.0f, 100.0f, 4000.0f, 10, 1127.0f, 700.0f, 6), zemStatusOk);
    const auto frame = rnd.integers<Zem16s>(256, -1000, 1000);
    std::vector<Zem32s> y(10);
    ASSERT_EQ(zemsEvalFBank_16s32s_Sfs(frame.data(), y.data(), st, 0), zemStatusOk);
    std::vector<long double> mag(129);
    for (int k = 0; k <= 128; ++k) {
        std::complex<long double> s = 0;
        for (int t = 0; t < 256; ++t) s += (long double)frame[t] * std::polar(1.0L, -2.0L * M_PI * k * t / 256);
        mag[k] = std::abs(s);
    }
    std::vector<Zem32s> cc(12);
    ASSERT_EQ(zemsFBankGetCenters_16s(st, cc.data()), zemStatusOk);
    for (int i = 0; i < 10; ++i) {
        // Q14 weights, magnitudes times 64 (two factors of 8), shifted by 14 + 6.
        long double sum = 0;
        for (int k = cc[i]; k <= cc[i + 1]; ++k) sum += (long double)((k - cc[i] + 1) * 16384 / (cc[i + 1] - cc[i] + 1)) * mag[k];
        for (int k = cc[i + 1] + 1; k <= cc[i + 2]; ++k) sum += (long double)((cc[i + 2] - k + 1) * 16384 / (cc[i + 2] - cc[i + 1] + 1)) * mag[k];
        const double want = double(sum * 64 / (1 << 20));
        EXPECT_NEAR(y[i], want, std::fabs(want) * 1e-3 + 2) << i;
    }
    zemsFBankFree_16s(st);
}
