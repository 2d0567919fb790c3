// MCRA noise tracking and the Wiener and Ephraim-Malah gains: the state header and arrays
// against a reference written from the rules, at every rate and the transform-length
// limits, frame by frame; the gains against their formulas over the ratio range; checks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "check_order.h"
#include "own.h"
#include "test_support.h"
#include "zemsr.h"

namespace {

template <class T>
struct Header {
    int32_t sampleRate, fftLen, halfBits, step, windowLen, windowCount, firstFrame;
    T alphaD, alphaP, alphaS, delta;
    T *presence, *smooth, *minimum, *running;
    char spare[8];
};
static_assert(sizeof(Header<float>) == 88);

constexpr int32_t kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000};

struct Ref32f {
    int32_t windowLen = 0, windowCount = 0, bins = 0;
    bool first = true;
    float aD = 0, aP = 0, aS = 0;
    std::vector<float> p, S, Smin, Stmp;

    Ref32f(int32_t rate, int32_t fftLen, int32_t step) {
        const int32_t half = fftLen / 2;
        int hb = 0;
        while ((half >> hb) != 0) ++hb;
        if (step == 0) {
            windowLen = int32_t(float(double(float(rate)) * 0.008 / std::pow(2.0, hb - 1)) * 125.0f);
            step = half;
        } else {
            windowLen = int32_t(float(rate * 0.008) / float(step) * 125.0f);
        }
        const double t = float(step) * 125.0f / float(rate);
        aD = float(std::pow(0.7, t)), aS = float(std::pow(0.8, t)), aP = float(std::pow(0.2, t));
        bins = half + 1;
    }
    void update(const float* x, float* noise) {
        if (first) {
            S = Smin = Stmp = std::vector<float>(x, x + bins);
            p.assign(bins, 0.0f);
            std::copy(x, x + bins, noise);
        } else {
            const bool turn = windowCount == windowLen;
            for (int k = 0; k < bins; ++k) {
                S[k] = aS * S[k] + (1.0f - aS) * x[k];
                Smin[k] = std::min(S[k], turn ? Stmp[k] : Smin[k]);
                Stmp[k] = turn ? S[k] : std::min(S[k], Stmp[k]);
                p[k] = aP * p[k] + (S[k] > 5.0f * Smin[k] ? 1.0f - aP : 0.0f);
                const float a = aD + (1.0f - aD) * p[k];
                noise[k] = a * noise[k] + (1.0f - a) * x[k];
            }
            if (turn) windowCount = 0;
        }
        ++windowCount;
        first = false;
    }
};

// exp(t ln b) by the Q15 Taylor polynomial, returned in Q31.
int32_t taylor(int64_t tq, int64_t c) {
    const int64_t x = (tq * c) >> 31;
    const int64_t y = int64_t(int32_t((x * x) >> 15)) >> 1;
    const int64_t z = int32_t((y * x) >> 15);
    return int32_t(uint32_t(uint64_t(32768 + x + y + ((z * 715827883) >> 31)) << 16));
}

struct Ref32s {
    int32_t windowLen = 0, windowCount = 0, bins = 0;
    bool first = true;
    int32_t aD = 0, aP = 0, aS = 0;
    std::vector<int32_t> p, S, Smin, Stmp;

    Ref32s(int32_t rate, int32_t fftLen, int32_t step) {
        const int32_t half = fftLen / 2;
        int hb = 0;
        while ((half >> hb) != 0) ++hb;
        if (step == 0) {
            const int64_t w = int32_t((int64_t(rate) * 17179869) >> 16) >> (hb - 1);
            windowLen = int32_t((w * 125 + 125) >> 15);
            step = half;
        } else {
            const int64_t w = ((int64_t(rate) * 17179869) / step) >> 16;
            windowLen = int32_t((w * 125 + 125) >> 15);
        }
        const int64_t tq = int64_t(step) * 4096000 / rate;
        aD = taylor(tq, -765953610), aS = taylor(tq, -479197128);
        int32_t b = taylor(tq, -432030200);
        for (int i = 0; i < 3; ++i) b = int32_t((int64_t(b) * b) >> 31);
        aP = b;
        bins = half + 1;
    }
    static int32_t rnd(double v) { return int32_t(std::nearbyint(v)); }
    void update(const int32_t* x, int32_t* noise) {
        if (first) {
            S = Smin = Stmp = std::vector<int32_t>(x, x + bins);
            p.assign(bins, 0);
            std::copy(x, x + bins, noise);
        } else {
            const bool turn = windowCount == windowLen;
            for (int k = 0; k < bins; ++k) {
                S[k] = int32_t((int64_t(S[k]) * aS + int64_t(x[k]) * (2147483647 - int64_t(aS))) >> 31);
                Smin[k] = std::min(S[k], turn ? Stmp[k] : Smin[k]);
                Stmp[k] = turn ? S[k] : std::min(S[k], Stmp[k]);
                double pp = double(p[k]) * aP * std::ldexp(1.0, -31);
                if (double(S[k]) > std::min(double(Smin[k]) * 163840.0 / 32768.0, 2147483647.0))
                    pp += double(2147483647 - int64_t(aP));
                const double a = aD + pp * double(2147483647 - int64_t(aD)) * std::ldexp(1.0, -31);
                const double n = a * noise[k] * std::ldexp(1.0, -31) + (2147483647.0 - a) * x[k] * std::ldexp(1.0, -31);
                p[k] = rnd(pp);
                noise[k] = rnd(n);
            }
            if (turn) windowCount = 0;
        }
        ++windowCount;
        first = false;
    }
};

template <class T, class Ref>
void expectSameState(const Header<T>& h, const Ref& r, const T* noise, const std::vector<T>& refNoise, int frame) {
    ASSERT_EQ(h.windowLen, r.windowLen);
    ASSERT_EQ(h.windowCount, r.windowCount) << frame;
    ASSERT_EQ(h.firstFrame, 0);
    ASSERT_TRUE(zemtest::sameBits(h.alphaD, r.aD) && zemtest::sameBits(h.alphaS, r.aS) && zemtest::sameBits(h.alphaP, r.aP));
    const size_t bytes = sizeof(T) * r.bins;
    ASSERT_EQ(std::memcmp(h.smooth, r.S.data(), bytes), 0) << "S, frame " << frame;
    ASSERT_EQ(std::memcmp(h.minimum, r.Smin.data(), bytes), 0) << "Smin, frame " << frame;
    ASSERT_EQ(std::memcmp(h.running, r.Stmp.data(), bytes), 0) << "Stmp, frame " << frame;
    ASSERT_EQ(std::memcmp(h.presence, r.p.data(), bytes), 0) << "presence, frame " << frame;
    ASSERT_EQ(std::memcmp(noise, refNoise.data(), bytes), 0) << "noise, frame " << frame;
}

// Noise power with bursts far above it at known frames, so that presence rises and falls.
template <class T>
std::vector<T> powerFrame(zemtest::Random& rnd, int bins, int frame, double level) {
    const bool burst = (frame % 60) >= 30 && (frame % 60) < 42;
    std::vector<double> v = rnd.uniform<double>(bins, 0.2 * level, level);
    std::vector<T> out(bins);
    for (int k = 0; k < bins; ++k) out[k] = T(v[k] * (burst && k % 3 == 0 ? 40.0 : 1.0));
    return out;
}

template <class T, class Ref, class Init, class AltInit, class Update>
void runTracker(int32_t rate, int32_t fftLen, int32_t step, int frames, double level, Init init, AltInit alt,
                Update update) {
    SCOPED_TRACE(testing::Message() << "rate " << rate << " fftLen " << fftLen << " step " << step);
    int32_t size = 0;
    ASSERT_EQ(zemsGetSizeMCRA_32f(fftLen, &size), zemStatusOk);
    ASSERT_EQ(size, 16 * (fftLen / 2) + 104);
    zemtest::Buffer<unsigned char> mem(size, 8);
    std::memset(mem.data(), 0x5a, size);
    ASSERT_EQ(step ? alt(rate, fftLen, step, mem.data()) : init(rate, fftLen, mem.data()), zemStatusOk);
    const auto& h = *reinterpret_cast<const Header<T>*>(mem.data());
    Ref ref(rate, fftLen, step);
    EXPECT_EQ(h.step, step ? step : fftLen / 2);
    EXPECT_EQ(h.firstFrame, 1);
    EXPECT_EQ(h.windowCount, 0);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(h.presence), mem.data() + 88);
    EXPECT_EQ(h.running + ref.bins, reinterpret_cast<const T*>(mem.data() + size));
    zemtest::Random rnd{uint32_t(rate + fftLen + step)};
    std::vector<T> noise(ref.bins, T(7)), refNoise(ref.bins);
    for (int n = 0; n < frames; ++n) {
        const std::vector<T> x = powerFrame<T>(rnd, ref.bins, n, level);
        ASSERT_EQ(update(x.data(), mem.data(), noise.data()), zemStatusOk);
        ref.update(x.data(), refNoise.data());
        expectSameState(h, ref, noise.data(), refNoise, n);
    }
}

auto init32f = [](int32_t r, int32_t n, void* m) { return zemsInitMCRA_32f(r, n, (ZemsMCRAState_32f*)m); };
auto alt32f = [](int32_t r, int32_t n, int32_t s, void* m) { return zemsAltInitMCRA_32f(r, n, s, (ZemsMCRAState_32f*)m); };
auto upd32f = [](const float* x, void* m, float* n) { return zemsUpdateNoisePSDMCRA_32f_I(x, (ZemsMCRAState_32f*)m, n); };
auto init32s = [](int32_t r, int32_t n, void* m) { return zemsInitMCRA_32s(r, n, (ZemsMCRAState_32s*)m); };
auto alt32s = [](int32_t r, int32_t n, int32_t s, void* m) { return zemsAltInitMCRA_32s(r, n, s, (ZemsMCRAState_32s*)m); };
auto upd32s = [](const int32_t* x, void* m, int32_t* n) { return zemsUpdateNoisePSDMCRA_32s_I(x, (ZemsMCRAState_32s*)m, n); };

}  // namespace

namespace {
// Both forms over the same set-up; the integer power is scaled up to use its range.
void runBoth(int32_t rate, int32_t fftLen, int32_t step, int frames, double intLevel) {
    runTracker<float, Ref32f>(rate, fftLen, step, frames, 1e3, init32f, alt32f, upd32f);
    runTracker<int32_t, Ref32s>(rate, fftLen, step, frames, intLevel, init32s, alt32s, upd32s);
}
}  // namespace

TEST(Mcra, TrackerFollowsTheReferenceAtEveryRate) {
    for (int32_t rate : kRates)
        for (int32_t fftLen : {256, 512, 300}) {
            runBoth(rate, fftLen, 0, 260, 1e6);
            runBoth(rate, fftLen, fftLen / 4 + 1, 130, 1e6);
        }
}

TEST(Mcra, TransformLengthLimits) {
    for (int32_t fftLen : {8, 9, 8192})
        for (int32_t rate : {8000, 48000}) {
            runBoth(rate, fftLen, 0, 70, 1e5);
            runBoth(rate, fftLen, 1, 20, 1e5);
            runBoth(rate, fftLen, fftLen / 2, 20, 1e5);
        }
}

TEST(Mcra, SizesAndTheWorkedSetUp) {
    // The float form's sizes are checked by every tracker run; the refused lengths by the table.
    int32_t size = 0, big = 0;
    EXPECT_TRUE(zemsGetSizeMCRA_32s(8, &size) == zemStatusOk && zemsGetSizeMCRA_32s(8192, &big) == zemStatusOk);
    EXPECT_TRUE(size == 168 && big == 65640);
    std::vector<unsigned char> mem(16 * 64 + 104 + 8);
    void* m = mem.data() + (8 - reinterpret_cast<uintptr_t>(mem.data()) % 8) % 8;
    ASSERT_EQ(init32f(8000, 128, m), zemStatusOk);
    const auto& h = *static_cast<const Header<float>*>(m);
    EXPECT_TRUE(h.halfBits == 7 && h.windowLen == 125);
    EXPECT_TRUE(h.alphaD == 0.7f && h.alphaS == 0.8f && h.alphaP == 0.2f && h.delta == 5.0f);
    ASSERT_EQ(init32s(8000, 128, m), zemStatusOk);
    const auto& q = *static_cast<const Header<int32_t>*>(m);
    EXPECT_EQ(q.windowLen, 125);
    EXPECT_EQ(q.delta, 163840);
    // The polynomial's own error: a few parts in 10^4 against the exact powers.
    EXPECT_NEAR(q.alphaD * 0x1p-31, 0.7, 2e-3);
    EXPECT_NEAR(q.alphaS * 0x1p-31, 0.8, 2e-3);
    EXPECT_NEAR(q.alphaP * 0x1p-31, 0.2, 2e-3);
}

TEST(Mcra, WienerGains) {
    // Float: x/(1+x), the negative elements 0 and zemStatusBadArg.  Lengths past the 4096 from
    // which the quotient kernel splits its work give the same bits as one call of it.
    for (int len : {1, 5, 255, 257, 5000}) {
        zemtest::Random rnd{uint32_t(len)};
        std::vector<float> x = rnd.uniform<float>(len, 0, 1e4), out(len), ref(len), den(len);
        ASSERT_EQ(zemsFilterUpdateWiener_32f(x.data(), out.data(), len), zemStatusOk);
        for (int k = 0; k < len; ++k) den[k] = x[k] + 1.0f;
        ownDiv_32f(den.data(), x.data(), ref.data(), len);
        ASSERT_EQ(std::memcmp(out.data(), ref.data(), 4 * len), 0) << len;
        for (int k = 0; k < len; ++k) ASSERT_LE(zemtest::ulpDistance(out[k], x[k] / (x[k] + 1.0f)), 2);
        x[len / 2] = -3.0f;
        ASSERT_EQ(zemsFilterUpdateWiener_32f(x.data(), out.data(), len), zemStatusBadArg);
        EXPECT_EQ(out[len / 2], 0.0f);
        if (len > 1) {
            EXPECT_EQ(out[len / 2 - 1], ref[len / 2 - 1]);
        }
    }
    // Q15 in, Q31 out: x/(1+x) sampled at the grain of the source's range, truncated.
    std::vector<int32_t> v;
    for (int64_t s = -5; s < (int64_t(1) << 26); s = s < 70000 ? s + 777 : s * 5 / 4) v.push_back(int32_t(s));
    for (int32_t e : {32768, 1 << 25, (1 << 25) - 1, 0, INT32_MAX, (1 << 17) - 1, 1 << 17, 1 << 21, 1 << 24}) v.push_back(e);
    std::vector<int32_t> out(v.size());
    ASSERT_EQ(zemsFilterUpdateWiener_32s(v.data(), out.data(), int(v.size())), zemStatusBadArg);
    for (size_t k = 0; k < v.size(); ++k) {
        const int64_t s = v[k];
        int64_t want;
        if (s < 0) want = 0;
        else if (s >= (int64_t(1) << 25)) want = INT32_MAX;
        else {
            const int64_t grain = s < (1 << 17) ? 2048 : s < (1 << 21) ? (1 << 17) : s < (1 << 24) ? (1 << 21) : (1 << 24);
            const int64_t num = s / grain * grain;  // the sampled x, in Q15
            want = (int64_t(1) << 31) * num / (num + 32768);
        }
        ASSERT_EQ(out[k], want) << "v = " << s;
    }
}

namespace {

double besselM(double v) {
    return std::sqrt(M_PI) / 2 / std::sqrt(v) * std::exp(-v / 2) *
           ((1 + v) * std::cyl_bessel_i(0.0, v / 2) + v * std::cyl_bessel_i(1.0, v / 2));
}

}  // namespace

TEST(Mcra, EmnsGainsFollowTheCurveAndTheIntegerRules) {
    // The plain entries are M rounded: reach i = 0 .. 130 with the ratio at its floor.
    for (int i = 1; i <= 128; ++i) {
        const float w = float(i + 0.5) / 130.0f / 1.0000001f;
        const float g = 3.1e-5f;
        float o = 0;
        ASSERT_EQ(zemsFilterUpdateEMNS_32f(&w, &g, &o, 1), zemStatusOk);
        const int64_t idx = int64_t(double(g * w) * 4194304.0);
        ASSERT_EQ(o, w * float(std::lround(idx ? besselM(idx / 4194304.0) : 0.0))) << i;
    }
    // Over the range the octave pieces stay within 1 % of w M(w g), in both forms alike.
    zemtest::Random rnd(9);
    const int n = 4000;
    std::vector<float> w = rnd.uniform<float>(n, 0.01, 1.0), g(n), out(n);
    for (int k = 0; k < n; ++k) g[k] = float(std::pow(10.0, rnd.uniform<double>(1, -1.5, 2.0)[0]));
    ASSERT_EQ(zemsFilterUpdateEMNS_32f(w.data(), g.data(), out.data(), n), zemStatusOk);
    std::vector<int32_t> wq(n), gq(n), outq(n);
    for (int k = 0; k < n; ++k) wq[k] = int32_t(w[k] * 0x1p31f), gq[k] = int32_t(std::min(g[k], 100.0f) * 32768.0f);
    ASSERT_EQ(zemsFilterUpdateEMNS_32s(wq.data(), gq.data(), outq.data(), n), zemStatusOk);
    for (int k = 0; k < n; ++k) {
        const double v = double(w[k]) * std::min(std::max(double(g[k]), 3.1e-5), 100.0);
        if (v * 4194304.0 < 129) continue;
        const double exact = w[k] * besselM(v);
        ASSERT_NEAR(out[k] / exact, 1.0, 0.01) << "w " << w[k] << " g " << g[k];
        if (g[k] >= 1.0f && exact < 1.0) {
            ASSERT_NEAR(outq[k] * 0x1p-31 / exact, 1.0, 0.01) << k;
        }
    }
    // Integer edges: w = 0 gives 0; i = 0 saturates; the ratio is held to 2^-15 .. 100, so a
    // negative ratio lands on the steep plain entries and saturates too.
    const int32_t half = 1 << 30;
    const int32_t ws[] = {0, 100, half, half}, gs[] = {5, 0, -7, INT32_MAX};
    int32_t o[4];
    ASSERT_EQ(zemsFilterUpdateEMNS_32s(ws, gs, o, 4), zemStatusOk);
    EXPECT_EQ(o[0], 0);
    EXPECT_EQ(o[1], INT32_MAX);  // i = 0: w times 2^31 - 1
    EXPECT_EQ(o[2], INT32_MAX);  // i = 64: w T[64] is past the Q31 range
    EXPECT_NEAR(o[3] * 0x1p-31, 0.5 * besselM(50.0), 0.005);
}

TEST(Mcra, CheckOrder) {
    alignas(8) unsigned char st[200];
    float a[8] = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}, out[8];
    int32_t size = 0;
    struct A {
        int32_t rate = 8000, fftLen = 8, step = 2, len = 8;
        void* state;
        const float* x;
        float* dst;
        int32_t* size;
        bool wide = false;  // the gains' range scan meets a bad element
    };
    using B = zemtest::Break<A>;
    const std::vector<zemtest::Region> regions{zemtest::region(st, sizeof st), zemtest::region(&size, 1)};
    const A valid{8000, 8, 2, 8, st, a, out, &size};
    const B nullState{"state", [](A& x) { x.state = nullptr; }, zemStatusNullPointer};
    const B lowRate{"rate", [](A& x) { x.rate = 7999; }, zemStatusOutOfRange};
    const B highRate{"rate", [](A& x) { x.rate = 48001; }, zemStatusOutOfRange};
    const B bigStep{"step", [](A& x) { x.step = 5000; }, zemStatusOutOfRange};
    const B zeroStep{"step", [](A& x) { x.step = 0; }, zemStatusOutOfRange};
    const B badLen{"fftLen", [](A& x) { x.fftLen = INT32_MIN; }, zemStatusBadSize};
    const B bigLen{"fftLen", [](A& x) { x.fftLen = 8193; }, zemStatusBadSize};
    const B smallLen{"fftLen", [](A& x) { x.fftLen = 7; }, zemStatusBadSize};
    using zemtest::expectCheckOrder;
    expectCheckOrder<A>("Size_32f", valid, [](const A& x) { return zemsGetSizeMCRA_32f(x.fftLen, x.size); },
                        {{"size", [](A& x) { x.size = nullptr; }, zemStatusNullPointer}, badLen, bigLen}, regions);
    expectCheckOrder<A>("Size_32s", valid, [](const A& x) { return zemsGetSizeMCRA_32s(x.fftLen, x.size); },
                        {{"size", [](A& x) { x.size = nullptr; }, zemStatusNullPointer}, smallLen, bigLen}, regions);
    expectCheckOrder<A>("Init_32f", valid, [](const A& x) { return init32f(x.rate, x.fftLen, x.state); },
                        {nullState, lowRate, badLen}, regions);
    expectCheckOrder<A>("Init_32s", valid, [](const A& x) { return init32s(x.rate, x.fftLen, x.state); },
                        {nullState, highRate, bigLen}, regions);
    // The step is tested before the fftLen that bounds it: the pair of a step of 5000 and an
    // fftLen of 9000 is refused as out of range.
    const B altLen{"fftLen", [](A& x) { x.fftLen = 9000; }, zemStatusBadSize};
    expectCheckOrder<A>("AltInit_32f", valid, [](const A& x) { return alt32f(x.rate, x.fftLen, x.step, x.state); },
                        {nullState, lowRate, zeroStep, bigStep, altLen}, regions);
    expectCheckOrder<A>("AltInit_32s", valid, [](const A& x) { return alt32s(x.rate, x.fftLen, x.step, x.state); },
                        {nullState, highRate, bigStep, altLen}, regions);
    // The noise update's checks are its three pointers: the sweep's.
    const B src{"src", [](A& x) { x.x = nullptr; }, zemStatusNullPointer};
    const B dst{"dst", [](A& x) { x.dst = nullptr; }, zemStatusNullPointer};
    const B len0{"len", [](A& x) { x.len = 0; }, zemStatusSizeTooLarge};
    const B lenBig{"len", [](A& x) { x.len = 65536; }, zemStatusSizeTooLarge};
    const std::vector<zemtest::Region> gainOut{zemtest::region(out, 8)};
    expectCheckOrder<A>("Wiener_32f", valid, [](const A& x) { return zemsFilterUpdateWiener_32f(x.x, x.dst, x.len); },
                        {src, dst, len0}, gainOut);
    expectCheckOrder<A>("Wiener_32s", valid, [](const A& x) {
        return zemsFilterUpdateWiener_32s((const int32_t*)x.x, (int32_t*)x.dst, x.len); }, {src, dst, lenBig}, gainOut);
    // The Wiener gains' range is scanned last; 1.5 (and a negative Q31 value) fails it.
    static float wide[8] = {0.5f, 1.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};
    static int32_t negative[8] = {1, 2, 3, -4, 5, 6, 7, 8};
    const B range{"range", [](A& x) { x.wide = true; }, zemStatusOutOfRange};
    expectCheckOrder<A>("EMNS_32f", valid, [&](const A& x) { return zemsFilterUpdateEMNS_32f(x.x && x.wide ? wide : x.x, a, x.dst, x.len); },
                        {src, dst, len0, range}, gainOut);
    expectCheckOrder<A>("EMNS_32s", valid, [&](const A& x) {
        return zemsFilterUpdateEMNS_32s(x.x && x.wide ? negative : (const int32_t*)x.x, (const int32_t*)a, (int32_t*)x.dst, x.len); },
        {src, dst, lenBig, range}, gainOut);
}
