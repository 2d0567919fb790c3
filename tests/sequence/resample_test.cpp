#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "check_order.h"
#include "test_support.h"
#include "zemcore.h"
#include "zemsr.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

double refI0(double x) {
    double sum = 1, u = 1;
    for (int m = 1; m < 1000; ++m) {
        u = u * (x * 0.5) / m;
        if (u * u < 1e-21 * sum) break;
        sum += u * u;
    }
    return sum;
}

// The variable prototype: T entries, sinc at spacing 1 / nStep, Kaiser over i / n, gain 1.
std::vector<double> refVariableTable(float window, int nStep, double rollf, double alpha) {
    const int n = int(float(nStep) * (window * 0.5f)), T = n + 1;
    std::vector<double> h(T);
    h[0] = rollf;
    for (int i = 1; i < T; ++i) {
        const double w = kPi / nStep, u = double(i) / n;
        h[i] = std::sin(rollf * w * i) / (w * i) * (1.0 / refI0(alpha)) * refI0(alpha * std::sqrt(1.0 - u * u));
    }
    double s = 0;
    for (int m = nStep; m < T; m += nStep) s += h[m];
    const double k = 1.0 / (h[0] + 2 * s);
    for (double& v : h) v *= k;
    h.push_back(h.back());
    return h;
}

// The variable run on a float table, outputs in double.
std::vector<double> refVariableRun(const std::vector<double>& tab, int nStep, const float* src, int len, double factor,
                                   float norm, double* time) {
    const double T = double(tab.size() - 1);
    std::vector<double> out;
    double t = *time;
    const double end = double(len + int(t));
    auto tap = [&](double p) {
        const int a = int(p);
        const double w = p - a;
        return tab[a] * (1 - w) + tab[a + 1] * w;
    };
    while (t < end) {
        const int i = int(t);
        const double f = t - i;
        double acc = 0;
        if (factor < 1) {
            const double d = factor * nStep;
            int q = 0;
            for (double p = d * f; p < T - 1e-5; p += d, ++q) acc += tap(p) * src[i - q];
            q = 0;
            for (double p = (1 - f) * d; p < T - 1e-5; p += d, ++q) acc += tap(p) * src[i + 1 + q];
            out.push_back(acc * (double(norm) * factor * 1.0));
        } else {
            for (int side = 0; side < 2; ++side) {
                const double s = nStep * (side ? 1 - f : f);
                const int a0 = int(1e-5 + s);
                const double w = s - a0;
                int q = 0;
                for (int a = a0; a < T; a += nStep, ++q)
                    acc += (tab[a] * (1 - w) + tab[a + 1] * w) * (side ? src[i + 1 + q] : src[i - q]);
            }
            out.push_back(acc * double(1.0f * norm));
        }
        t += 1 / factor;
    }
    *time = t;
    return out;
}

}  // namespace

TEST(ResampleVariable, RunsFollowTheDesignAndTheStretchedFilter) {
    zemtest::Random rnd(81);
    const int history = 200;
    auto sig = rnd.uniform<float>(3000, -1, 1);
    for (double factor : {0.5, 0.37, 1.0, 1.6, 2.0}) {
        ZemsResampleState_32f* st = nullptr;
        ASSERT_EQ(zemsResamplePolyphaseInitAlloc_32f(&st, 12.0f, 64, 0.9f, 8.0f, zemAlgHintAccurate), zemStatusOk);
        const auto tab = refVariableTable(12.0f, 64, 0.9, 8.0);
        const int len = 1000;
        std::vector<float> dst(size_t(len * factor) + 8);
        double t = 0.25, tr = 0.25;
        Zem32s n = 0;
        ASSERT_EQ(zemsResamplePolyphase_32f(st, &sig[history], len, dst.data(), factor, 0.8f, &t, &n), zemStatusOk);
        const auto want = refVariableRun(tab, 64, &sig[history], len, factor, 0.8f, &tr);
        ASSERT_EQ(size_t(n), want.size()) << factor;
        EXPECT_EQ(t, tr);
        for (int k = 0; k < n; ++k) ASSERT_NEAR(dst[k], want[k], 1e-6) << factor << " " << k;
        zemsResamplePolyphaseFree_32f(st);
    }
}

TEST(ResampleVariable, StreamsInBlocksEqualOneCallAndSixteenBitTables) {
    zemtest::Random rnd(82);
    auto sig = rnd.uniform<float>(6000, -1, 1);
    std::vector<Zem16s> sig16(sig.size());
    for (size_t k = 0; k < sig.size(); ++k) sig16[k] = Zem16s(sig[k] * 20000);
    for (int hint : {zemAlgHintFast, zemAlgHintAccurate}) {
        ZemsResampleState_16s* st = nullptr;
        ASSERT_EQ(zemsResamplePolyphaseInitAlloc_16s(&st, 16.0f, 32, 0.95f, 6.0f, hint), zemStatusOk);
        for (double factor : {0.5, 2.0}) {  // 1 / factor exact: block times are exact too
            std::vector<Zem16s> whole(12000), parts(12000);
            double t = 0;
            Zem32s n = 0;
            ASSERT_EQ(zemsResamplePolyphase_16s(st, &sig16[100], 5000, whole.data(), factor, 1.0f, &t, &n), zemStatusOk);
            double tp = 0;
            int done = 0, consumed = 0;
            while (consumed < 5000) {
                const int block = std::min<int>(int(rnd.integer(1, 700)), 5000 - consumed);
                Zem32s m = 0;
                ASSERT_EQ(zemsResamplePolyphase_16s(st, &sig16[100 + consumed], block, &parts[done], factor, 1.0f, &tp, &m),
                          zemStatusOk);
                done += m, consumed += block, tp -= block;
            }
            // A block runs to len + truncate(time): a split stream reaches past the end of
            // the single call by up to one output step, on the same times.
            ASSERT_GE(done, n);
            for (int k = 0; k < n; ++k) ASSERT_EQ(parts[k], whole[k]) << hint << " " << factor << " " << k;
            // Against the float-table reference: within one unit (fast: the 16-bit table's
            // own rounding adds its share).
            double tr = 0;
            std::vector<float> sf(sig16.begin(), sig16.end());
            const auto want = refVariableRun(refVariableTable(16.0f, 32, 0.95, 6.0), 32, &sf[100], 5000, factor, 1.0f, &tr);
            for (int k = 0; k < n; ++k) ASSERT_NEAR(whole[k], want[k], hint == zemAlgHintAccurate ? 1.0 : 4.0) << k;
        }
        zemsResamplePolyphaseFree_16s(st);
    }
}

namespace {

// The fixed engine's taps from its design, as doubles by phase row (W taps each).
std::vector<double> refFixedRows(int inRate, int outRate, int len, double rollf, double alpha, int* O, int* I, int* W) {
    const int g = std::gcd(inRate, outRate);
    *I = inRate / g, *O = outRate / g;
    const int L = (len + 3) & ~3, h = L / 2;
    *W = (len + 4) & ~3;
    const double r = double(*O) / *I;
    const int c = r < 1 ? int(float(*I) * 0.5f * (float(L * r) + 1e-5f)) : int(float(*O) * 0.5f * (float(L) + 1e-5f));
    const int D = r < 1 ? *I : *O;
    std::vector<double> p(std::max(c + 2, *O * h + 1), 0.0);
    p[0] = rollf;
    for (int m = 1; m <= c; ++m) {
        const double w = kPi / D, u = double(m) / c, q = 1 - u * u;
        p[m] = std::sin(rollf * w * m) / (w * m) * (1.0 / refI0(alpha)) * refI0(q > 0 ? alpha * std::sqrt(q) : 0.0);
    }
    double s = 0;
    for (int m = D; m <= c; m += D) s += p[m];
    const double k = 1.0 / (p[0] + 2 * s);
    for (int m = 0; m <= c; ++m) p[m] *= k;
    std::vector<double> rows(size_t(*W) * *O, 0.0);
    auto at = [&](int row, int e) -> double& { return rows[size_t(row) * *W + e]; };
    at(0, h) = p[0];
    for (int i = 1; i < h; ++i) at(0, h + i) = at(0, h - i) = p[i * *O];
    at(0, 0) = p[c];
    if (*W > L || *O > 1) rows[L] = p[c];
    for (int ph = 1; ph < *O; ++ph)
        for (int i = 0; i < h; ++i) at(*O - ph, h + i) = at(ph, h - 1 - i) = p[ph + i * *O];
    return rows;
}

}  // namespace

TEST(ResampleFixed, DesignStepsAndTheIntegerRunBitForBit) {
    zemtest::Random rnd(83);
    for (auto [in, out, len] : {std::array<int, 3>{16000, 8000, 32}, {44100, 16000, 24}, {8000, 16000, 30}, {3, 3, 16},
                                 {160, 147, 20}}) {
        int O, I, W;
        const auto rows = refFixedRows(in, out, len, 0.95, 7.0, &O, &I, &W);
        ZemsResampleFixedState_16s* st = nullptr;
        ASSERT_EQ(zemsResamplePolyphaseFixedInitAlloc_16s(&st, in, out, len, 0.95f, 7.0f, zemAlgHintFast), zemStatusOk);
        const int L = (len + 3) & ~3, h = L / 2, rowLen = L + 4;
        std::vector<Zem16s> taps(size_t(rowLen + 1) * O, 0);
        ASSERT_EQ(zemsResamplePolyphaseGetFixedFilter_16s(st, taps.data(), rowLen + 1, O), zemStatusOk);
        for (int p = 0; p < O; ++p)
            for (int e = 0; e < std::min(W, L + 1); ++e) {
                if (e == L && p == 0 && W == L) continue;  // that slot is row 1's first tap
                const double want = rows[size_t(p) * W + e] * 16384;
                ASSERT_NEAR(taps[size_t(p) * (rowLen + 1) + e], std::round(want), 1.0) << in << "/" << out << " " << p << "," << e;
            }
        // The run with the record's own taps: Q14 dot products, exact.
        auto sig = rnd.integers<Zem16s>(4000, -30000, 30000);
        std::vector<Zem16s> dst(4000);
        double t = 0.5;
        Zem32s n = 0;
        const int blockLen = 1000;
        ASSERT_EQ(zemsResamplePolyphaseFixed_16s(st, &sig[200], blockLen, dst.data(), 0.9f, &t, &n), zemStatusOk);
        // Reference: phases and steps from their definitions.
        std::vector<int> steps(O);
        for (int i = 0; i < O; ++i) steps[size_t(int64_t(i) * I % O)] = int((int64_t(i) + 1) * I / O - int64_t(i) * I / O);
        steps[0] += 1, steps[size_t(int64_t(O - 1) * I % O)] -= 1;
        const double gain = 6.1035156e-05 * double(0.9f) * std::min(1.0, double(O) / I);
        const int64_t phase0 = int64_t(O * 0.5 + 0.5);
        const Zem16s* x = &sig[200] - h + 1 - (phase0 == 0);
        int64_t pos = phase0, count = 0;
        for (; pos < int64_t(blockLen) * O; pos += I, ++count) {
            const int64_t p = pos % O;
            const int nt = p == 0 && !(W == L && O == 1) ? L + 1 : L;
            int64_t acc = 0;
            for (int k = 0; k < nt; ++k) acc += int32_t(x[k]) * taps[size_t(p) * (rowLen + 1) + k];
            const double v = double(int32_t(acc)) * gain;
            const Zem16s want = v > 32767 ? 32767 : v < -32768 ? -32768 : Zem16s(v >= 0 ? v + 0.5 : v - 0.5);
            ASSERT_EQ(dst[count], want) << in << "/" << out << " output " << count;
            x += steps[p];
        }
        EXPECT_EQ(n, count);
        EXPECT_DOUBLE_EQ(t, 0.5 - double(phase0) / O + double(pos) / O);
        zemsResamplePolyphaseFixedFree_16s(st);
    }
}

TEST(ResampleFixed, FloatEnginesStreamsAndInitInTheCallersBuffer) {
    zemtest::Random rnd(84);
    auto sig = rnd.uniform<float>(5000, -1, 1);
    for (int hint : {zemAlgHintFast, zemAlgHintAccurate}) {
        ZemsResampleFixedState_32f* st = nullptr;
        ASSERT_EQ(zemsResamplePolyphaseFixedInitAlloc_32f(&st, 44100, 16000, 32, 0.95f, 8.0f, hint), zemStatusOk);
        std::vector<float> whole(3000), parts(3000);
        double t = 0;
        Zem32s n = 0;
        ASSERT_EQ(zemsResamplePolyphaseFixed_32f(st, &sig[100], 4000, whole.data(), 1.0f, &t, &n), zemStatusOk);
        double tp = 0;
        int done = 0, consumed = 0;
        while (consumed < 4000) {
            const int block = std::min<int>(int(rnd.integer(1, 500)), 4000 - consumed);
            Zem32s m = 0;
            ASSERT_EQ(zemsResamplePolyphaseFixed_32f(st, &sig[100 + consumed], block, &parts[done], 1.0f, &tp, &m), zemStatusOk);
            done += m, consumed += block, tp -= block;
        }
        ASSERT_GE(done, n);  // a block runs to len + truncate(time): the split stream reaches further
        for (int k = 0; k < n; ++k) ASSERT_EQ(parts[k], whole[k]) << k;
        // A record in the caller's buffer of exactly GetSize bytes, at several offsets,
        // given the same rows, gives the same outputs.
        Zem32s size = 0, filterLen = 0, numFilters = 0;
        ASSERT_EQ(zemsResamplePolyphaseFixedGetSize_32f(44100, 16000, 32, &size, &filterLen, &numFilters), zemStatusOk);
        EXPECT_EQ(numFilters, 160);
        EXPECT_EQ(filterLen, 36);
        EXPECT_EQ(size, ((160 + 7) & ~7) * 2 + ((160 + 4) & ~3) * 8 + 36 * 160 * 4 + 40);
        std::vector<float> rows(size_t(36) * 160);
        ASSERT_EQ(zemsResamplePolyphaseGetFixedFilter_32f(st, rows.data(), 36, 160), zemStatusOk);
        for (size_t off : {0, 8, 16, 24}) {
            std::vector<unsigned char> mem(size_t(size) + off);
            auto* own = reinterpret_cast<ZemsResampleFixedState_32f*>(mem.data() + off);
            ASSERT_EQ(zemsResamplePolyphaseFixedInit_32f(own, 44100, 16000, 32, hint), zemStatusOk);
            ASSERT_EQ(zemsResamplePolyphaseSetFixedFilter_32f(own, rows.data(), 36, 160), zemStatusOk);
            std::vector<float> again(3000);
            double ta = 0;
            Zem32s na = 0;
            ASSERT_EQ(zemsResamplePolyphaseFixed_32f(own, &sig[100], 4000, again.data(), 1.0f, &ta, &na), zemStatusOk);
            ASSERT_EQ(na, n);
            for (int k = 0; k < n; ++k) ASSERT_EQ(again[k], whole[k]);
        }
        // A tone well inside the passband comes out at the new rate with unit gain.
        std::vector<float> tone(6000), res(3000);
        for (int k = 0; k < 6000; ++k) tone[k] = float(std::sin(2 * kPi * 1000.0 * k / 44100));
        double tt = 0;
        Zem32s nt = 0;
        ASSERT_EQ(zemsResamplePolyphaseFixed_32f(st, &tone[200], 5000, res.data(), 1.0f, &tt, &nt), zemStatusOk);
        double power = 0;  // over 80 whole periods of 16 samples
        for (int k = 100; k < 100 + 80 * 16; ++k) power += double(res[k]) * res[k];
        EXPECT_NEAR(std::sqrt(2 * power / (80 * 16)), 1.0, 2e-3);
        zemsResamplePolyphaseFixedFree_32f(st);
    }
}

TEST(Resample, SizesEdgesAndAllocationFailures) {
    Zem32s size, filterLen, numFilters;
    ASSERT_EQ(zemsResamplePolyphaseFixedGetSize_16s(44100, 8000, 20, &size, &filterLen, &numFilters, zemAlgHintFast), zemStatusOk);
    EXPECT_EQ(numFilters, 80);
    EXPECT_EQ(size, ((80 + 4) & ~3) * 8 + 48 + (((80 + 7) & ~7) + 24 * 80) * 2);
    EXPECT_EQ(zemsResamplePolyphaseFixedGetSize_16s(44100, 8000, 20, &size, &filterLen, &numFilters, 2), zemStatusBadArg);
    EXPECT_EQ(zemsResamplePolyphaseFixedGetSize_32f(1, 1 << 30, 64, &size, &filterLen, &numFilters), zemStatusBadSize);
    // Window just under 2 / nStep is refused; rollf 1 and alpha 1 are allowed.
    ZemsResampleState_32f* v = nullptr;
    EXPECT_EQ(zemsResamplePolyphaseInitAlloc_32f(&v, std::nextafter(2.0f / 16, 0.0f), 16, 1.0f, 1.0f, 1), zemStatusBadArg);
    EXPECT_EQ(zemsResamplePolyphaseInitAlloc_32f(&v, 1e9f, 16, 1.0f, 1.0f, 1), zemStatusBadArg);
    ASSERT_EQ(zemsResamplePolyphaseInitAlloc_32f(&v, 8.0f, 16, 1.0f, 1.0f, 1), zemStatusOk);
    // Factor 1 at whole times with rollf 1 copies the source (sinc zeros at the samples).
    std::vector<float> src(400), dst(400);
    for (int k = 0; k < 400; ++k) src[k] = float(k % 7) - 3.0f;
    double t = 0;
    Zem32s n = 0;
    ASSERT_EQ(zemsResamplePolyphase_32f(v, &src[100], 200, dst.data(), 1.0, 1.0f, &t, &n), zemStatusOk);
    ASSERT_EQ(n, 200);
    for (int k = 0; k < 200; ++k) ASSERT_NEAR(dst[k], src[100 + k], 1e-5);
    t = 2147483600.0;  // len + truncate(t) wraps in 32 bits: t is past the end, nothing
    ASSERT_EQ(zemsResamplePolyphase_32f(v, &src[100], 200, dst.data(), 1.0, 1.0f, &t, &n), zemStatusOk);
    EXPECT_EQ(n, 0);
    zemsResamplePolyphaseFree_32f(v);
    // Allocation failures: each allocation of each set-up, nothing leaked; the first of
    // the 16-bit fast table answers with a null-pointer status, as it always has.
    const int64_t live = zemcoreTestLiveAllocations();
    for (int k = 1; k <= 2; ++k) {
        ZemsResampleState_16s* s16 = nullptr;
        zemcoreTestFailAllocation(k);
        EXPECT_EQ(zemsResamplePolyphaseInitAlloc_16s(&s16, 8.0f, 16, 0.9f, 4.0f, zemAlgHintFast),
                  k == 1 ? zemStatusNullPointer : zemStatusNoMemory);
        zemcoreTestFailAllocation(k);
        EXPECT_EQ(zemsResamplePolyphaseInitAlloc_16s(&s16, 8.0f, 16, 0.9f, 4.0f, zemAlgHintAccurate), zemStatusNoMemory);
        ZemsResampleFixedState_32f* f = nullptr;
        zemcoreTestFailAllocation(k);
        EXPECT_EQ(zemsResamplePolyphaseFixedInitAlloc_32f(&f, 3, 2, 16, 0.9f, 4.0f, 1), zemStatusNoMemory);
        EXPECT_EQ(f, nullptr);
        zemcoreTestFailAllocation(0);
    }
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
}

TEST(Resample, CheckOrders) {
    ZemsResampleState_32f* v = nullptr;
    ZemsResampleFixedState_32f* f = nullptr;
    ASSERT_EQ(zemsResamplePolyphaseInitAlloc_32f(&v, 8.0f, 16, 0.9f, 4.0f, 1), zemStatusOk);
    ASSERT_EQ(zemsResamplePolyphaseFixedInitAlloc_32f(&f, 2, 3, 8, 0.9f, 4.0f, 1), zemStatusOk);
    float src[64] = {}, dst[64];
    Zem32s outLen;
    double time = 0;
    struct A {
        const void* state;
        const float* src;
        float* dst;
        Zem32s* outLen;
        double* time;
        int len = 4;
        double factor = 1;
    };
    using B = zemtest::Break<A>;
    const std::vector<zemtest::Region> outs{zemtest::region(dst, 64), zemtest::region(&outLen, 1)};
    const B state{"state", [](A& a) { a.state = nullptr; }, zemStatusNullPointer};
    const B time_{"time", [](A& a) { a.time = nullptr; }, zemStatusNullPointer};
    const B src_{"src", [](A& a) { a.src = nullptr; }, zemStatusNullPointer};
    const B dst_{"dst", [](A& a) { a.dst = nullptr; }, zemStatusNullPointer};
    const B out_{"outLen", [](A& a) { a.outLen = nullptr; }, zemStatusNullPointer};
    const B factor{"factor", [](A& a) { a.factor = 0; }, zemStatusBadSize};
    const B len{"len", [](A& a) { a.len = 0; }, zemStatusBadSize};
    // time is reset by the valid call; the breaks leave it alone.
    zemtest::expectCheckOrder<A>("Polyphase_32f", {v, src + 32, dst, &outLen, &time},
        [&](const A& a) { time = 0; return zemsResamplePolyphase_32f((const ZemsResampleState_32f*)a.state, a.src, a.len, a.dst, a.factor, 1, a.time, a.outLen); },
        {state, time_, src_, dst_, out_, factor, len}, outs);
    zemtest::expectCheckOrder<A>("PolyphaseFixed_32f", {f, src + 32, dst, &outLen, &time},
        [&](const A& a) { time = 0; return zemsResamplePolyphaseFixed_32f((const ZemsResampleFixedState_32f*)a.state, a.src, a.len, a.dst, 1, a.time, a.outLen); },
        {state, src_, dst_, out_, time_, len}, outs);
    // Set-up: state, sizes, then the design arguments.
    struct S {
        bool state = true;
        int in = 2, out = 3, len = 8, nStep = 16;
        float rollf = 0.9f, alpha = 4.0f, window = 8.0f;
        int hint = 1;
    };
    using C = zemtest::Break<S>;
    const C nullState{"state", [](S& a) { a.state = false; }, zemStatusNullPointer};
    const C in{"inRate", [](S& a) { a.in = 0; }, zemStatusBadSize};
    const C lenS{"len", [](S& a) { a.len = -1; }, zemStatusBadSize};
    const C rollf{"rollf", [](S& a) { a.rollf = 1.5f; }, zemStatusBadArg};
    const C alpha{"alpha", [](S& a) { a.alpha = 0.5f; }, zemStatusBadArg};
    const C nStep{"nStep", [](S& a) { a.nStep = 0; }, zemStatusBadSize};
    const C window{"window", [](S& a) { a.window = 0.01f; }, zemStatusBadArg};
    const C hugeTable{"table", [](S& a) { a.window = 1e9f; }, zemStatusBadArg};
    const C hint{"hint", [](S& a) { a.hint = 2; }, zemStatusBadArg};
    const int64_t live = zemcoreTestLiveAllocations();

    zemtest::expectCheckOrder<S>("FixedInitAlloc_16s", {}, [&](const S& a) {
        ZemsResampleFixedState_16s* p = nullptr;
        const ZemStatus s = zemsResamplePolyphaseFixedInitAlloc_16s(a.state ? &p : nullptr, a.in, a.out, a.len, a.rollf, a.alpha, a.hint);
        if (s == zemStatusOk) zemsResamplePolyphaseFixedFree_16s(p);
        return s;
    }, {nullState, in, lenS, rollf, alpha}, {});
    zemtest::expectCheckOrder<S>("InitAlloc_16s", {}, [&](const S& a) {
        ZemsResampleState_16s* p = nullptr;
        const ZemStatus s = zemsResamplePolyphaseInitAlloc_16s(a.state ? &p : nullptr, a.window, a.nStep, a.rollf, a.alpha, a.hint);
        if (s == zemStatusOk) zemsResamplePolyphaseFree_16s(p);
        return s;
    }, {nullState, nStep, window, rollf, alpha}, {});
    EXPECT_EQ(zemsResamplePolyphaseInitAlloc_32f(&v, 1e9f, 16, 0.5f, 1.0f, 1), zemStatusBadArg);  // hugeTable after the others
    (void)hugeTable;
    Zem32s size, fl, nf;
    std::vector<unsigned char> mem(4096);
    zemtest::expectCheckOrder<S>("FixedInit_16s", {}, [&](const S& a) {
        return zemsResamplePolyphaseFixedInit_16s(a.state ? (ZemsResampleFixedState_16s*)mem.data() : nullptr, a.in, a.out, a.len, a.hint == 1 ? 1 : 2);
    }, {nullState, in, lenS, hint}, {});
    zemtest::expectCheckOrder<S>("FixedGetSize_16s", {}, [&](const S& a) {
        return zemsResamplePolyphaseFixedGetSize_16s(a.in, a.out, a.len, a.state ? &size : nullptr, &fl, &nf, a.hint);
    }, {nullState, in, lenS, hint}, {});
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
    EXPECT_EQ(zemsResamplePolyphaseGetFixedFilter_32f(nullptr, dst, 0, 0), zemStatusNullPointer);
    EXPECT_EQ(zemsResamplePolyphaseSetFixedFilter_32f(f, src, 4, 0), zemStatusBadSize);
    EXPECT_EQ(zemsResamplePolyphaseFree_32f(nullptr), zemStatusNullPointer);
    EXPECT_EQ(zemsResamplePolyphaseFixedFree_16s(nullptr), zemStatusNullPointer);
    zemsResamplePolyphaseFree_32f(v);
    zemsResamplePolyphaseFixedFree_32f(f);
}
