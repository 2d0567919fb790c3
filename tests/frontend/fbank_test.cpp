#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <tuple>
#include <limits>
#include <vector>

#include "alloc_walk.h"
#include "check_order.h"
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

// |X[k]| for k = 0 .. n/2 of a real frame of n samples, by the direct transform.
template <class T>
std::vector<long double> magnitudes(const std::vector<T>& frame, int n) {
    std::vector<long double> mag(n / 2 + 1);
    for (int k = 0; k <= n / 2; ++k) {
        std::complex<long double> s = 0;
        for (int t = 0; t < n; ++t) s += (long double)frame[t] * std::polar(1.0L, -2.0L * M_PI * k * t / n);
        mag[k] = std::abs(s);
    }
    return mag;
}

// Filter i of a Q14 bank over x: bin weights (k - c + 1) * 16384 / (width + 1) on the rising
// side and their mirror on the falling side, products and sums exact.
template <class R, class X>
R q14Sum(const Zem32s* c, int i, const X& x) {
    R sum = 0;
    for (int k = c[i]; k <= c[i + 1]; ++k) sum += R((k - c[i] + 1) * 16384 / (c[i + 1] - c[i] + 1)) * x[k];
    for (int k = c[i + 1] + 1; k <= c[i + 2]; ++k) sum += R((c[i + 2] - k + 1) * 16384 / (c[i + 2] - c[i + 1] + 1)) * x[k];
    return sum;
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
    EXPECT_EQ(zemsMelFBankGetSize_32f(400, 26, 4, &size), zemStatusBadMelFlag);  // bit 4 needs 1 or 2 beside it
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
    const std::vector<long double> mag = magnitudes(frame, n);
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
            const int64_t sum = q14Sum<int64_t>(c.data(), i, x);
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
}

TEST(FilterBank, EmptyBanksCentresAndChecks) {
    ZemsFBankState_32f* st = nullptr;
    Zem32s order = 0;
    ASSERT_EQ(zemsEmptyFBankInitAlloc_32f(&st, &order, 3, 2, 5), zemStatusOk);
    EXPECT_EQ(order, 2);  // frameLen 3: N = 4
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
    ZemsFBankState_16s* mixed = nullptr;
    ASSERT_EQ(zemsMelLinFBankInitAlloc_16s(&mixed, &order, 256, 8000, 100, 4000, 10, 1000, 4, 1127, 700, 1), zemStatusOk);
    Zem32s mixedCentres[12];
    EXPECT_EQ(zemsFBankGetCenters_16s(mixed, mixedCentres), zemStatusOk);
    for (int k = 1; k < 12; ++k) EXPECT_LE(mixedCentres[k - 1], mixedCentres[k]);
    zemsFBankFree_16s(mixed);
    // Every allocation failing in turn, in the transform mode: its state lives in the bank's
    // one block.
    static ZemsFBankState_32f* made;
    static Zem32s madeOrder;
    const std::vector<zemtest::Region> madeOut{zemtest::region(&made, 1), zemtest::region(&madeOrder, 1)};
    const auto release = [] { zemsFBankFree_32f(made); };
    EXPECT_GE(zemtest::expectAllocationWalk("mel", [] { return zemsMelFBankInitAlloc_32f(&made, &madeOrder, 400, 16000, 64, 8000, 26, 1127, 700, 5); }, madeOut, release), 1);
    EXPECT_GE(zemtest::expectAllocationWalk("mixed", [] { return zemsMelLinFBankInitAlloc_32f(&made, &madeOrder, 400, 16000, 64, 8000, 26, 1000, 4, 1127, 700, 5); }, madeOut, release), 1);
    EXPECT_GE(zemtest::expectAllocationWalk("empty", [] { return zemsEmptyFBankInitAlloc_32f(&made, &madeOrder, 400, 26, 5); }, madeOut, release), 1);
    const float mels[2] = {0.0f, 1000.0f};
    float back[2], lin[2];
    ASSERT_EQ(zemsMelToLinear_32f(mels, lin, 2, 1127.0f, 700.0f), zemStatusOk);
    ASSERT_EQ(zemsLinearToMel_32f(lin, back, 2, 1127.0f, 700.0f), zemStatusOk);
    EXPECT_NEAR(back[1], 1000.0f, 1e-3);
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
                    ASSERT_EQ(1 << order, frameLen == 512 ? 512 : 256);
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
    const std::vector<long double> mag = magnitudes(frame, 256);
    std::vector<Zem32s> cc(12);
    ASSERT_EQ(zemsFBankGetCenters_16s(st, cc.data()), zemStatusOk);
    for (int i = 0; i < 10; ++i) {
        // Magnitudes times 64 (two factors of 8), shifted by 14 + 6.
        const double want = double(q14Sum<long double>(cc.data(), i, mag) * 64 / (1 << 20));
        EXPECT_NEAR(y[i], want, std::fabs(want) * 1e-3 + 2) << i;
    }
    zemsFBankFree_16s(st);
}

namespace {

// The arguments of the general bank exports in one record, and adapters from each signature.
struct BankArgs {
    void* state;  // a bank, a caller's buffer, or where InitAlloc stores the bank
    Zem32s* fftOrder;
    int frameLen;
    float sampFreq, lowFreq, highFreq, linFreq;
    int nFilter, nLinear, mode;
    Zem32s* size;
};
using BA = const BankArgs&;
using S32 = ZemsFBankState_32f;
using S16 = ZemsFBankState_16s;
using BankCall = std::function<ZemStatus(BA)>;
template <class S>
BankCall bankCall(ZemStatus (*f)(S, Zem32s*, int, Zem32f, Zem32f, Zem32f, int, Zem32f, Zem32f, int)) {
    return [f](BA a) {
        return f(static_cast<S>(a.state), a.fftOrder, a.frameLen, a.sampFreq, a.lowFreq, a.highFreq, a.nFilter, 1127.0f, 700.0f, a.mode);
    };
}
template <class S>
BankCall bankCall(ZemStatus (*f)(S, Zem32s*, int, Zem32f, Zem32f, Zem32f, int, Zem32f, int, Zem32f, Zem32f, int)) {
    return [f](BA a) {
        return f(static_cast<S>(a.state), a.fftOrder, a.frameLen, a.sampFreq, a.lowFreq, a.highFreq, a.nFilter, a.linFreq,
                 a.nLinear, 1127.0f, 700.0f, a.mode);
    };
}
template <class S>
BankCall bankCall(ZemStatus (*f)(S, Zem32s*, int, int, int)) {
    return [f](BA a) { return f(static_cast<S>(a.state), a.fftOrder, a.frameLen, a.nFilter, a.mode); };
}
BankCall bankCall(ZemStatus (*f)(int, int, int, Zem32s*)) {
    return [f](BA a) { return f(a.frameLen, a.nFilter, a.mode, a.size); };
}

}  // namespace

// Every creation and size export of the general banks, in its check order, nothing written.
// Breaks that share a variable compose (a negated rate stays bad when it is also halved).
TEST(FilterBank, CreationChecksInOrder) {
    alignas(32) static Zem8u buffer[40000];
    static void* out;
    static Zem32s order, size;
    using B = zemtest::Break<BankArgs>;
    const B stateNull{"state", [](BankArgs& a) { a.state = nullptr; }, zemStatusNullPointer};
    const B orderNull{"fftOrder", [](BankArgs& a) { a.fftOrder = nullptr; }, zemStatusNullPointer};
    const B frameLen{"frameLen", [](BankArgs& a) { a.frameLen = 0; }, zemStatusBadSize};
    const B nFilter{"nFilter", [](BankArgs& a) { a.nFilter = 0; }, zemStatusBadSize};
    const B sampFreq{"sampFreq", [](BankArgs& a) { a.sampFreq = -a.sampFreq; }, zemStatusBadSize};
    const B lowFreq{"lowFreq", [](BankArgs& a) { a.lowFreq = -a.lowFreq; }, zemStatusBadSize};
    const B aboveHalf{"highFreq above half the rate", [](BankArgs& a) { a.sampFreq *= 0.5f; }, zemStatusBadFreqRange};
    const B mode{"mode", [](BankArgs& a) { a.mode = 3; }, zemStatusBadMelFlag};
    const std::vector<B> mel{stateNull, orderNull, frameLen, nFilter, sampFreq, lowFreq,
                             {"lowFreq above highFreq", [](BankArgs& a) { a.highFreq = a.lowFreq * 0.5f; }, zemStatusBadFreqRange},
                             aboveHalf, mode};
    // The mixed bank tests its pointers last; nLinear and linFreq join the list.  The empty
    // bank checks its sizes, then its pointers.
    const std::vector<B> mixed{frameLen, nFilter, sampFreq, lowFreq,
                               {"nLinear", [](BankArgs& a) { a.nLinear = 0; }, zemStatusBadSize},
                               {"nLinear above nFilter", [](BankArgs& a) { a.nLinear = a.nFilter + 1; }, zemStatusBadSize},
                               {"lowFreq above linFreq", [](BankArgs& a) { a.linFreq = a.lowFreq * 0.5f; }, zemStatusBadFreqRange},
                               {"linFreq above highFreq", [](BankArgs& a) { a.highFreq = a.linFreq * 0.5f; }, zemStatusBadFreqRange},
                               aboveHalf, mode, stateNull, orderNull},
                         empty{frameLen, nFilter, stateNull, orderNull},
                         sizes{{"size", [](BankArgs& a) { a.size = nullptr; }, zemStatusNullPointer}, frameLen, nFilter, mode};
    const BankArgs inBuffer{buffer, &order, 256, 8000.0f, 100.0f, 4000.0f, 1000.0f, 10, 4, 1, &size};
    BankArgs allocated = inBuffer;
    allocated.state = &out;
    const std::vector<zemtest::Region> bufferOut{zemtest::region(buffer, sizeof buffer), zemtest::region(&order, 1)},
        madeOut{zemtest::region(&out, 1), zemtest::region(&order, 1)}, sizeOut{zemtest::region(&size, 1)};
    struct Row {
        const char* name;
        BankCall call;
        const std::vector<B>& breaks;
        int where;  // 0 a caller's buffer, 1 allocated, 2 a size query
    };
    const std::vector<Row> rows{
        {"zemsMelFBankInit_32f", bankCall(zemsMelFBankInit_32f), mel, 0},
        {"zemsMelFBankInit_16s", bankCall(zemsMelFBankInit_16s), mel, 0},
        {"zemsMelFBankInitAlloc_32f", bankCall(zemsMelFBankInitAlloc_32f), mel, 1},
        {"zemsMelFBankInitAlloc_16s", bankCall(zemsMelFBankInitAlloc_16s), mel, 1},
        {"zemsMelLinFBankInitAlloc_32f", bankCall(zemsMelLinFBankInitAlloc_32f), mixed, 1},
        {"zemsMelLinFBankInitAlloc_16s", bankCall(zemsMelLinFBankInitAlloc_16s), mixed, 1},
        {"zemsEmptyFBankInitAlloc_32f", bankCall(zemsEmptyFBankInitAlloc_32f), empty, 1},
        {"zemsEmptyFBankInitAlloc_16s", bankCall(zemsEmptyFBankInitAlloc_16s), empty, 1},
        {"zemsMelFBankGetSize_32f", bankCall(zemsMelFBankGetSize_32f), sizes, 2},
        {"zemsMelFBankGetSize_16s", bankCall(zemsMelFBankGetSize_16s), sizes, 2},
    };
    // The valid InitAlloc calls are left out: their banks would need releasing.
    for (const Row& r : rows)
        zemtest::expectCheckOrder<BankArgs>(r.name, r.where == 1 ? allocated : inBuffer, r.call, r.breaks,
                                            r.where == 0 ? bufferOut : r.where == 1 ? madeOut : sizeOut,
                                            r.where == 1 ? zemtest::kSkipValidCall : zemStatusOk);
    // The Aurora banks and Free check only their one pointer: the sweep's.
}

namespace {
// The fixed-point bank's arguments.
struct FixedArgs {
    void* state;
    Zem32s* fftOrder;
    int frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode;
    Zem32s* size;
};
}  // namespace

// The fixed-point bank, its size query (one tighter on nFilter than Init) and the mel
// conversions.
TEST(FilterBank, FixedPointAndConversionChecksInOrder) {
    alignas(32) static Zem8u buffer[40000];
    static Zem32s order, size;
    const FixedArgs valid{buffer, &order, 256, 16000, 64, 8000, 20, 1127 << 15, 700 << 15, 2, &size};
    zemtest::expectCheckOrder<FixedArgs>(
        "zemsMelFBankInit_32s", valid,
        [](const FixedArgs& a) {
            return zemsMelFBankInit_32s(static_cast<ZemsFBankState_32s*>(a.state), a.fftOrder, a.frameLen, a.sampFreq,
                                        a.lowFreq, a.highFreq, a.nFilter, a.melMul, a.melDiv, a.mode);
        },
        {{"state", [](FixedArgs& a) { a.state = nullptr; }, zemStatusNullPointer},
         {"fftOrder", [](FixedArgs& a) { a.fftOrder = nullptr; }, zemStatusNullPointer},
         {"nFilter", [](FixedArgs& a) { a.nFilter = 0; }, zemStatusBadSize},
         {"highFreq", [](FixedArgs& a) { a.highFreq = 0; }, zemStatusBadSize},
         {"frameLen short", [](FixedArgs& a) { a.frameLen = 31; }, zemStatusBadSize},
         {"frameLen long", [](FixedArgs& a) { a.frameLen = 8193; }, zemStatusBadSize},
         {"mode", [](FixedArgs& a) { a.mode = 6; }, zemStatusBadMelFlag},
         {"sampFreq", [](FixedArgs& a) { a.sampFreq = 0; }, zemStatusBadSize},
         {"sampFreq high", [](FixedArgs& a) { a.sampFreq = 48001; }, zemStatusBadSize},
         {"lowFreq", [](FixedArgs& a) { a.lowFreq = INT32_MIN / 2; }, zemStatusBadSize},
         {"highFreq not above lowFreq", [](FixedArgs& a) { a.lowFreq += a.highFreq; }, zemStatusBadFreqRange},
         {"highFreq above 24000", [](FixedArgs& a) { a.highFreq = a.highFreq < 1 ? a.highFreq : 24001; }, zemStatusBadFreqRange},
         {"melDiv", [](FixedArgs& a) { a.melDiv = 0x80000; }, zemStatusBadArg},
         {"melMul", [](FixedArgs& a) { a.melMul = 0x40000000; }, zemStatusBadArg}},
        {zemtest::region(buffer, sizeof buffer), zemtest::region(&order, 1)});
    // nFilter above N/2 + 1 is refused after fftOrder is stored.
    order = -1;
    EXPECT_EQ(zemsMelFBankInit_32s(reinterpret_cast<ZemsFBankState_32s*>(buffer), &order, 64, 16000, 64, 8000, 34,
                                   1127 << 15, 700 << 15, 2),
              zemStatusBadSize);
    EXPECT_EQ(order, 6);
    zemtest::expectCheckOrder<FixedArgs>(
        "zemsMelFBankGetSize_32s", valid,
        [](const FixedArgs& a) { return zemsMelFBankGetSize_32s(a.frameLen, a.nFilter, a.mode, a.size); },
        {{"size", [](FixedArgs& a) { a.size = nullptr; }, zemStatusNullPointer},
         {"nFilter", [](FixedArgs& a) { a.nFilter = 0; }, zemStatusBadSize},
         {"frameLen short", [](FixedArgs& a) { a.frameLen = 31; }, zemStatusBadSize},
         {"frameLen long", [](FixedArgs& a) { a.frameLen = 8193; }, zemStatusBadSize},
         {"mode", [](FixedArgs& a) { a.mode = 1; }, zemStatusBadMelFlag},
         {"nFilter above N/2", [](FixedArgs& a) { a.nFilter = a.nFilter > 0 ? 129 : 0; }, zemStatusBadSize}},
        {zemtest::region(&size, 1)});
    static float x[4] = {1, 2, 3, 4}, y[4];
    struct Conv {
        const float* src;
        float* dst;
        int len;
        float mul, div;
    };
    const std::vector<zemtest::Break<Conv>> convBreaks{{"src", [](Conv& a) { a.src = nullptr; }, zemStatusNullPointer},
                                                       {"dst", [](Conv& a) { a.dst = nullptr; }, zemStatusNullPointer},
                                                       {"len", [](Conv& a) { a.len = 0; }, zemStatusBadSize},
                                                       {"melMul", [](Conv& a) { a.mul = 0.0f; }, zemStatusBadSize},
                                                       {"melDiv", [](Conv& a) { a.div = -1.0f; }, zemStatusBadSize}};
    zemtest::expectCheckOrder<Conv>("zemsLinearToMel_32f", {x, y, 4, 1127.0f, 700.0f},
        [](const Conv& a) { return zemsLinearToMel_32f(a.src, a.dst, a.len, a.mul, a.div); }, convBreaks, {zemtest::region(y, 4)});
    zemtest::expectCheckOrder<Conv>("zemsMelToLinear_32f", {x, y, 4, 1127.0f, 700.0f},
        [](const Conv& a) { return zemsMelToLinear_32f(a.src, a.dst, a.len, a.mul, a.div); }, convBreaks, {zemtest::region(y, 4)});
}

namespace {
// The arguments of the bank consumers; notReady and noCentres pick a bank that fails that check.
struct UseArgs {
    bool bank;  // false: a null state
    bool notReady, noCentres;
    const void* src;
    void* dst;
    int index, scale;
};
}  // namespace

// Centres, weights and evaluation on banks in caller's buffers, nothing written on error.
TEST(FilterBank, ConsumerChecksInOrder) {
    alignas(32) static Zem8u ready32[20000], headless32[20000], ready16[20000], headless16[20000];
    Zem32s order = 0;
    ASSERT_EQ(zemsMelFBankInit_32f(reinterpret_cast<S32*>(ready32), &order, 256, 8000, 100, 4000, 10, 1127, 700, 1), zemStatusOk);
    ASSERT_EQ(zemsMelFBankInit_16s(reinterpret_cast<S16*>(ready16), &order, 256, 8000, 100, 4000, 10, 1127, 700, 1), zemStatusOk);
    // A bank whose centres pointer (its first field) is null, and one that is not ready.
    std::memcpy(headless32, ready32, sizeof ready32);
    std::memcpy(headless16, ready16, sizeof ready16);
    std::memset(headless32, 0, sizeof(void*));
    std::memset(headless16, 0, sizeof(void*));
    ZemsFBankState_32f* e32 = nullptr;
    ZemsFBankState_16s* e16 = nullptr;
    ASSERT_EQ(zemsEmptyFBankInitAlloc_32f(&e32, &order, 256, 10, 1), zemStatusOk);
    ASSERT_EQ(zemsEmptyFBankInitAlloc_16s(&e16, &order, 256, 10, 1), zemStatusOk);
    auto pick32 = [&](const UseArgs& a) -> S32* {
        return !a.bank ? nullptr : a.noCentres ? reinterpret_cast<S32*>(headless32) : a.notReady ? e32 : reinterpret_cast<S32*>(ready32);
    };
    auto pick16 = [&](const UseArgs& a) -> S16* {
        return !a.bank ? nullptr : a.noCentres ? reinterpret_cast<S16*>(headless16) : a.notReady ? e16 : reinterpret_cast<S16*>(ready16);
    };
    alignas(32) static float spectrum[512], out[64];
    static Zem32s centres[12] = {0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22};
    using B = zemtest::Break<UseArgs>;
    const B state{"state", [](UseArgs& a) { a.bank = false; }, zemStatusNullPointer};
    const B src{"src", [](UseArgs& a) { a.src = nullptr; }, zemStatusNullPointer};
    const B dst{"dst", [](UseArgs& a) { a.dst = nullptr; }, zemStatusNullPointer};
    const B noCentres{"centres pointer", [](UseArgs& a) { a.noCentres = true; }, zemStatusNullPointer};
    const B notReady{"not ready", [](UseArgs& a) { a.notReady = true; }, zemStatusBadFBank};
    const B indexLow{"filterIndex", [](UseArgs& a) { a.index = 0; }, zemStatusBadSize};
    const UseArgs valid{true, false, false, spectrum, out, 1, 0};
    const std::vector<zemtest::Region> outs{zemtest::region(out, 64)};
    using C = std::function<ZemStatus(const UseArgs&)>;
    const std::vector<std::tuple<const char*, C, std::vector<B>>> rows{
        {"zemsEvalFBank_32f", [&](const UseArgs& a) { return zemsEvalFBank_32f(static_cast<const float*>(a.src), static_cast<float*>(a.dst), pick32(a)); },
         {src, dst, state, noCentres, notReady}},
        {"zemsEvalFBank_16s_Sfs", [&](const UseArgs& a) { return zemsEvalFBank_16s_Sfs(static_cast<const Zem16s*>(a.src), static_cast<Zem16s*>(a.dst), pick16(a), a.scale); },
         {src, dst, state, noCentres, notReady}},
        {"zemsEvalFBank_16s32s_Sfs", [&](const UseArgs& a) { return zemsEvalFBank_16s32s_Sfs(static_cast<const Zem16s*>(a.src), static_cast<Zem32s*>(a.dst), pick16(a), a.scale); },
         {src, dst, state, noCentres, notReady}},
        {"zemsFBankGetCenters_32f", [&](const UseArgs& a) { return zemsFBankGetCenters_32f(pick32(a), static_cast<Zem32s*>(a.dst)); }, {state, dst, notReady}},
        {"zemsFBankGetCenters_16s", [&](const UseArgs& a) { return zemsFBankGetCenters_16s(pick16(a), static_cast<Zem32s*>(a.dst)); }, {state, dst, notReady}},
        {"zemsFBankGetCoeffs_32f", [&](const UseArgs& a) { return zemsFBankGetCoeffs_32f(pick32(a), a.index, static_cast<float*>(a.dst)); },
         {state, dst, notReady, indexLow, {"filterIndex above nFilter + 1", [](UseArgs& a) { a.index = 12; }, zemStatusBadSize}}},
        {"zemsFBankGetCoeffs_16s", [&](const UseArgs& a) { return zemsFBankGetCoeffs_16s(pick16(a), a.index, static_cast<float*>(a.dst)); },
         {state, dst, notReady, indexLow, {"filterIndex above nFilter + 1", [](UseArgs& a) { a.index = 12; }, zemStatusBadSize}}},
    };
    for (const auto& [name, call, breaks] : rows) zemtest::expectCheckOrder<UseArgs>(name, valid, call, breaks, outs);
    // Setters write into the bank: it must come out of the table as it went in.
    const std::vector<Zem8u> before32(ready32, ready32 + sizeof ready32), before16(ready16, ready16 + sizeof ready16);
    static const Zem32s unordered[12] = {0, 5, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22};
    const UseArgs setValid{true, false, false, centres, nullptr, 1, 0};
    const std::vector<zemtest::Region> bank32, bank16;
    const B centresNull{"centers", [](UseArgs& a) { a.src = nullptr; }, zemStatusNullPointer};
    const B badCentres{"centres out of order", [](UseArgs& a) { a.src = a.src ? unordered : nullptr; }, zemStatusBadFBank};
    zemtest::expectCheckOrder<UseArgs>("zemsFBankSetCenters_32f", setValid,
        [&](const UseArgs& a) { return zemsFBankSetCenters_32f(pick32(a), static_cast<const Zem32s*>(a.src)); },
        {state, centresNull, badCentres}, bank32, zemtest::kSkipValidCall);
    zemtest::expectCheckOrder<UseArgs>("zemsFBankSetCenters_16s", setValid,
        [&](const UseArgs& a) { return zemsFBankSetCenters_16s(pick16(a), static_cast<const Zem32s*>(a.src)); },
        {state, centresNull, badCentres}, bank16, zemtest::kSkipValidCall);
    const B indexHigh{"filterIndex above nFilter", [](UseArgs& a) { a.index = 11; }, zemStatusBadSize};
    zemtest::expectCheckOrder<UseArgs>("zemsFBankSetCoeffs_32f", setValid,
        [&](const UseArgs& a) { return zemsFBankSetCoeffs_32f(pick32(a), a.index, static_cast<const float*>(a.src)); },
        {state, centresNull, notReady, indexLow, indexHigh}, bank32, zemtest::kSkipValidCall);
    zemtest::expectCheckOrder<UseArgs>("zemsFBankSetCoeffs_16s", setValid,
        [&](const UseArgs& a) { return zemsFBankSetCoeffs_16s(pick16(a), a.index, static_cast<const float*>(a.src)); },
        {state, centresNull, notReady, indexLow, indexHigh}, bank16, zemtest::kSkipValidCall);
    EXPECT_EQ(std::memcmp(before32.data(), ready32, sizeof ready32), 0);
    EXPECT_EQ(std::memcmp(before16.data(), ready16, sizeof ready16), 0);
    // The Q30 bank: pointers, then the scale factor held to -31 .. 31.
    alignas(32) static Zem8u fixed[40000];
    ASSERT_EQ(zemsMelFBankInit_32s(reinterpret_cast<ZemsFBankState_32s*>(fixed), &order, 256, 16000, 64, 8000, 20, 1127 << 15, 700 << 15, 2), zemStatusOk);
    for (int bad : {32, -32, INT32_MIN, INT32_MAX})
        zemtest::expectCheckOrder<UseArgs>("zemsEvalFBank_32s_Sfs", {true, false, false, spectrum, out, 1, bad},
            [&](const UseArgs& a) {
                return zemsEvalFBank_32s_Sfs(static_cast<const Zem32s*>(a.src), static_cast<Zem32s*>(a.dst),
                                             a.bank ? reinterpret_cast<ZemsFBankState_32s*>(fixed) : nullptr, a.scale);
            },
            {src, dst, state, {"scaleFactor", [](UseArgs&) {}, zemStatusBadArg}}, outs, zemtest::kSkipValidCall);
    zemsFBankFree_32f(e32);
    zemsFBankFree_16s(e16);
}

// Arguments at the ends of their types stay defined and inside the memory of the call.
TEST(FilterBank, ExtremeArgumentsStayDefined) {
    Zem32s size = -7, order = -7;
    for (int mode : {1, 5}) {
        EXPECT_EQ(zemsMelFBankGetSize_32f(INT32_MAX, INT32_MAX, mode, &size), zemStatusBadSize);
        EXPECT_EQ(zemsMelFBankGetSize_16s(1, INT32_MAX, mode, &size), zemStatusBadSize);
        EXPECT_EQ(zemsMelFBankGetSize_16s(INT32_MAX, 1, mode, &size), zemStatusBadSize);
    }
    EXPECT_EQ(size, -7);
    // Banks that cannot be allocated: NoMemory with every output as it was.
    ZemsFBankState_32f* f = nullptr;
    ZemsFBankState_16s* g = nullptr;
    EXPECT_EQ(zemsMelFBankInitAlloc_32f(&f, &order, 256, 8000, 100, 4000, INT32_MAX, 1127, 700, 1), zemStatusNoMemory);
    EXPECT_EQ(zemsMelFBankInitAlloc_16s(&g, &order, 1 << 30, 8000, 100, 4000, 10, 1127, 700, 6), zemStatusNoMemory);
    EXPECT_EQ(zemsMelLinFBankInitAlloc_32f(&f, &order, 256, 8000, 100, 4000, INT32_MAX, 1000, 4, 1127, 700, 1), zemStatusNoMemory);
    EXPECT_EQ(zemsEmptyFBankInitAlloc_16s(&g, &order, 256, INT32_MAX, 1), zemStatusNoMemory);
    EXPECT_EQ(zemsEmptyFBankInitAlloc_32f(&f, &order, INT32_MAX, 1, 1), zemStatusNoMemory);
    EXPECT_TRUE(f == nullptr && g == nullptr && order == -7);
    // No buffer can be of a size that no query reports.
    alignas(32) static Zem8u buffer[4096];
    EXPECT_EQ(zemsMelFBankInit_32f(reinterpret_cast<ZemsFBankState_32f*>(buffer), &order, 256, 8000, 100, 4000, INT32_MAX, 1127, 700, 1), zemStatusBadSize);
    // Scale factors at the ends of int: the shift count is held to 63 either way.
    auto* bank = reinterpret_cast<ZemsFBankState_16s*>(buffer);
    ASSERT_EQ(zemsMelFBankGetSize_16s(64, 6, 2, &size), zemStatusOk);
    ASSERT_LE(size, 4096);
    ASSERT_EQ(zemsMelFBankInit_16s(bank, &order, 64, 8000, 100, 4000, 6, 1127, 700, 2), zemStatusOk);
    zemtest::Random rnd(1302);
    const auto x = rnd.integers<Zem16s>(64, -3000, 3000);
    auto eval16 = [&](int sf) {
        std::vector<Zem16s> y(6);
        EXPECT_EQ(zemsEvalFBank_16s_Sfs(x.data(), y.data(), bank, sf), zemStatusOk);
        return y;
    };
    auto eval32 = [&](int sf) {
        std::vector<Zem32s> y(6);
        EXPECT_EQ(zemsEvalFBank_16s32s_Sfs(x.data(), y.data(), bank, sf), zemStatusOk);
        return y;
    };
    EXPECT_EQ(eval16(INT32_MAX), eval16(100));
    EXPECT_EQ(eval32(INT32_MAX), eval32(100));
    EXPECT_EQ(eval16(INT32_MIN), eval16(-100));
    EXPECT_EQ(eval32(INT32_MIN), eval32(-100));
    // A huge melMul: the Q14 quotients overflow to infinity, and their truncation gives
    // INT32_MIN (as the processor's conversion does) rather than an undefined conversion.
    ZemsFBankState_16s* huge = nullptr;
    ASSERT_EQ(zemsMelFBankInitAlloc_16s(&huge, &order, 256, 8000, 100, 3000, 10, 1e36f, 700, 1), zemStatusOk);
    std::vector<Zem32f> run(130);
    ASSERT_EQ(zemsFBankGetCoeffs_16s(huge, 5, run.data()), zemStatusOk);
    EXPECT_TRUE(std::count(run.begin(), run.end(), -131072.0f) > 0);
    zemsFBankFree_16s(huge);
}

// A centre list whose last pair leaves the spectrum is refused, the bank unchanged.
TEST(FilterBank, CentresOutsideTheSpectrumAreRefused) {
    ZemsFBankState_32f* st = nullptr;
    Zem32s order = 0;
    ASSERT_EQ(zemsMelFBankInitAlloc_32f(&st, &order, 256, 8000, 100, 4000, 10, 1127, 700, 2), zemStatusOk);
    Zem32s before[12], after[12];
    ASSERT_EQ(zemsFBankGetCenters_32f(st, before), zemStatusOk);
    const Zem32s far[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 100000, 128}, below[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -5, 128};
    EXPECT_EQ(zemsFBankSetCenters_32f(st, far), zemStatusBadFBank);
    EXPECT_EQ(zemsFBankSetCenters_32f(st, below), zemStatusBadFBank);
    ASSERT_EQ(zemsFBankGetCenters_32f(st, after), zemStatusOk);
    EXPECT_TRUE(std::equal(before, before + 12, after));
    // One filter: its middle centre has no other test.
    ZemsFBankState_16s* one = nullptr;
    ASSERT_EQ(zemsEmptyFBankInitAlloc_16s(&one, &order, 256, 1, 1), zemStatusOk);
    const Zem32s single[3] = {5, -100000, 10}, fine[3] = {5, 128, 10};
    EXPECT_EQ(zemsFBankSetCenters_16s(one, single), zemStatusBadFBank);
    EXPECT_EQ(zemsFBankSetCenters_16s(one, fine), zemStatusOk);
    zemsFBankFree_16s(one);
    // The last centre may lie far below (the test leaves it free), and Get's extra row reads
    // one centre past the list: the runs stay within the rows, N/2 + 1 and N/2 entries.
    ZemsFBankState_32f* wide = nullptr;
    ASSERT_EQ(zemsEmptyFBankInitAlloc_32f(&wide, &order, 1024, 1, 2), zemStatusOk);
    const Zem32s low[3] = {176, 432, -682605492};
    ASSERT_EQ(zemsFBankSetCenters_32f(wide, low), zemStatusOk);
    std::vector<Zem32f> run(1030, -7.0f);
    EXPECT_EQ(zemsFBankGetCoeffs_32f(wide, 2, run.data()), zemStatusOk);
    EXPECT_EQ(std::count(run.begin(), run.end(), -7.0f), 1030 - 512);
    zemsFBankFree_32f(wide);
    zemsFBankFree_32f(st);
}

// Parameters that are not checked (melMul, melDiv, an infinite rate) can put the centres of a
// mel or mixed bank anywhere: such a bank is built but not ready, and evaluation and the
// coefficient runs refuse it instead of reading outside the spectrum, until a valid centre
// list is set.  A bank whose centres stay inside is untouched by the rule.
TEST(FilterBank, CentresFromUncheckedParametersLeaveTheBankNotReady) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<Zem32f> spectrum(130, 1.0f), out(10, -7.0f), coeffs(130);
    Zem32s centers[12], order = 0;
    struct Case {
        float sampFreq, melMul, melDiv;
        bool mixed;
    };
    for (const Case& c : {Case{inf, nan, 700, false}, Case{8000, nan, 700, false}, Case{8000, 1127, -300, false},
                          Case{8000, 0, 700, false},
                          Case{8000, 1127, -300, true}}) {
        ZemsFBankState_32f* st = nullptr;
        out.assign(10, -7.0f);
        ASSERT_EQ(c.mixed ? zemsMelLinFBankInitAlloc_32f(&st, &order, 256, c.sampFreq, 100, 3000, 10, 1000, 4, c.melMul, c.melDiv, 1)
                          : zemsMelFBankInitAlloc_32f(&st, &order, 256, c.sampFreq, 100, 3000, 10, c.melMul, c.melDiv, 1),
                  zemStatusOk);
        EXPECT_EQ(zemsFBankGetCenters_32f(st, centers), zemStatusBadFBank);
        EXPECT_EQ(zemsEvalFBank_32f(spectrum.data(), out.data(), st), zemStatusBadFBank);
        EXPECT_EQ(zemsFBankGetCoeffs_32f(st, 10, coeffs.data()), zemStatusBadFBank);
        EXPECT_EQ(zemsFBankSetCoeffs_32f(st, 1, coeffs.data()), zemStatusBadFBank);
        EXPECT_EQ(out[0], -7.0f);
        const Zem32s valid[12] = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110};
        ASSERT_EQ(zemsFBankSetCenters_32f(st, valid), zemStatusOk);
        EXPECT_EQ(zemsEvalFBank_32f(spectrum.data(), out.data(), st), zemStatusOk);
        EXPECT_EQ(out[0], 0.0f);  // rows stay zero until the caller sets them
        zemsFBankFree_32f(st);
    }
}

// The fixed-point bank at a rate of 1 Hz: every check passes and the bank stays inside a
// buffer of exactly the reported size (a heap block, so that the sanitizer sees its end).
TEST(FilterBank, FixedPointBankStaysInsideItsSize) {
    Zem32s size = 0, order = 0;
    ASSERT_EQ(zemsMelFBankGetSize_32s(256, 10, 2, &size), zemStatusOk);
    std::vector<Zem8u> buffer(size);
    auto* st = reinterpret_cast<ZemsFBankState_32s*>(buffer.data());
    ASSERT_EQ(zemsMelFBankInit_32s(st, &order, 256, 1, 100, 3800, 10, 2595 << 15, 700 << 15, 2), zemStatusOk);
    const Zem32s* c = *reinterpret_cast<Zem32s* const*>(st);  // the record's first field
    for (int k = 0; k < 12; ++k) EXPECT_TRUE(c[k] >= 0 && c[k] <= 128) << k;
    std::vector<Zem32s> x(129, 1000), y(10);
    EXPECT_EQ(zemsEvalFBank_32s_Sfs(x.data(), y.data(), st, 0), zemStatusOk);
}
