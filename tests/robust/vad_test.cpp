// Voice activity decision: the record against a reference state machine written from the
// rules, field by field after every frame and flush; the ring, hangover and flush rules on
// hand-set records.  Every pointer null is the sweep's (tests/sweep/table_robust.cpp).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "own.h"
#include "test_support.h"
#include "zemsr.h"

namespace {

// The record as the caller sees it: 64 bytes, fields in order.
template <class T>
struct Rec {
    int16_t energyFlag, lowBandFlag, varianceFlag, onsetFlag;
    T energyMean, lowBandFloor, energyFloor, varianceFloor, lowBandPrev, lowBandLast;
    int32_t ringPos, flushAnchor, hangReload, hangCount, shortHang;
    uint8_t ring[7];
    int32_t frameCount;
};
static_assert(sizeof(Rec<float>) == 64 && offsetof(Rec<float>, frameCount) == 60);

ZemsVADState_Aurora* asState(void* p) { return static_cast<ZemsVADState_Aurora*>(p); }

// ---- Reference -----------------------------------------------------------------------------

int runOf(const Rec<int32_t>& r) {
    int best = 0, cur = 0;
    for (int i = 0; i < 7; ++i) {
        cur = r.ring[(r.ringPos + 1 + i) % 7] != 0 ? cur + 1 : 0;
        if (cur > best) best = cur;
    }
    return best;
}

void refMeasures(Rec<float>& r, const float* src, const float* spec, int f) {
    double sd = 0;
    for (int i = 0; i < 64; ++i) sd += spec[i];
    const float sum = float(sd);
    float dot = 0;
    ownDotProd_32f(spec, spec, 64, &dot);
    const float v = dot * 0.015625f - sum * 0.00024414063f * sum;
    if (f < 15) r.varianceFloor = std::fmax(r.varianceFloor, v);
    if (1.5f * r.varianceFloor > v && v > 0.85f * r.varianceFloor) r.varianceFloor = 0.2f * v + 0.8f * r.varianceFloor;
    if (0.25f * r.varianceFloor > v) r.varianceFloor = 0.03f * v + 0.97f * r.varianceFloor;
    r.varianceFlag = v > 1.65f * r.varianceFloor;

    double ed = 0;
    for (int i = 0; i < 25; ++i) ed += src[i];
    const float s = float(ed), e = s * s - 3.0f;
    if (f == 1) r.energyFloor = e;
    if (f < 15) {
        r.energyMean = (e + float(f - 1) * r.energyMean) * 1.1f / float(f);
        if (e / r.energyMean > 2.5f) r.onsetFlag = 1;
        if (!r.onsetFlag) r.energyFloor = std::fmax(r.energyFloor, e);
    }
    if (1.5f * r.energyFloor > e && e > 0.75f * r.energyFloor) r.energyFloor = 0.2f * e + 0.8f * r.energyFloor;
    if (0.5f * r.energyFloor >= e) r.energyFloor = 0.03f * e + 0.97f * r.energyFloor;
    r.energyFlag = e > 1.65f * r.energyFloor;

    const float m = (src[1] + src[2] + src[3]) / 3.0f, l = 0.25f * r.lowBandPrev + 0.75f * m;
    r.lowBandPrev = r.lowBandLast = m;
    if (f < 15) r.lowBandFloor = std::fmax(r.lowBandFloor, l);
    if (1.5f * r.lowBandFloor > l && l > 0.75f * r.lowBandFloor) r.lowBandFloor = 0.2f * l + 0.8f * r.lowBandFloor;
    if (0.5f * r.lowBandFloor >= l) r.lowBandFloor = 0.03f * l + 0.97f * r.lowBandFloor;
    r.lowBandFlag = l > 3.25f * r.lowBandFloor;
}

// Integer trackers: F times c wraps in 32 bits, then an arithmetic shift.
int64_t q(int32_t F, int32_t c, int sh) { return int32_t(uint32_t(F) * uint32_t(c)) >> sh; }

void refMeasures(Rec<int32_t>& r, const int16_t* src, const int16_t* spec, int f) {
    int64_t sum = 0, dot = 0;
    for (int i = 0; i < 64; ++i) sum += spec[i], dot += int32_t(spec[i]) * spec[i];
    const int64_t v = dot * 64 - sum * sum;
    int32_t& V = r.varianceFloor;
    if (f < 15 && v > V) V = int32_t(v);
    if (v < q(V, 48, 5) && v > q(V, 27, 5)) V = int32_t(((v * 6) >> 5) + q(V, 26, 5));
    if (v < q(V, 8, 5)) V = int32_t(q(V, 31, 5) + v);
    r.varianceFlag = v > q(V, 53, 5);

    int64_t s = 0;
    for (int i = 0; i < 25; ++i) s += src[i];
    const int64_t e = s * s - 3;
    int32_t& E = r.energyFloor;
    if (f == 1) E = int32_t(e);
    if (f < 15) {
        const int64_t prior = int32_t(uint32_t(f - 1) * uint32_t(r.energyMean));
        r.energyMean = int32_t(((prior + s * s - 3) * 141 / f) >> 7);
        if (r.energyMean != 0 && e * 128 / r.energyMean > 320) r.onsetFlag = 1;
        if (!r.onsetFlag && e > E) E = int32_t(e);
    }
    if (e < q(E, 192, 7) && e > q(E, 96, 7)) E = int32_t(((e * 26) >> 7) + q(E, 102, 7));
    if (e <= q(E, 64, 7)) E = int32_t(((e * 4) >> 7) + q(E, 124, 7));
    r.energyFlag = e > q(E, 211, 7);

    const int32_t m = 341 * (src[1] + src[2] + src[3]);
    const int32_t l = int32_t(q(r.lowBandPrev, 8, 5) + q(m, 24, 5));
    r.lowBandPrev = r.lowBandLast = m;
    int32_t& L = r.lowBandFloor;
    if (f < 15 && l > L) L = l;
    if (l < q(L, 48, 5) && l > q(L, 24, 5)) L = int32_t(q(L, 102, 7) + q(l, 26, 7));
    if (l <= q(L, 16, 5)) L = int32_t(q(l, 4, 7) + q(L, 124, 7));
    r.lowBandFlag = l > q(L, 416, 7);
}

template <class T, class E>
int refDecision(Rec<T>& r, const E* src, const E* spec, int activity) {
    const int f = ++r.frameCount;
    refMeasures(r, src, spec, f);
    if (f < 11) return zemVADUndecided;
    auto& c = reinterpret_cast<Rec<int32_t>&>(r);
    c.ringPos = (c.ringPos + 1) % 7;
    c.ring[c.ringPos] = (r.energyFlag || r.lowBandFlag || r.varianceFlag || activity >= 5) ? 1 : 0;
    const int run = runOf(c);
    if (run >= 4) {
        c.hangCount = c.hangReload;
        if (f < 36) c.hangReload = 40;
    }
    if (run < 3 && c.hangCount != 0) --c.hangCount;
    if (run < 3) c.shortHang = c.shortHang ? c.shortHang - 1 : 0;
    else c.shortHang = 5;
    return c.shortHang == 0 && c.hangCount == 0 && run < 3 ? zemVADNoise : zemVADSpeech;
}

int refFlush(Rec<int32_t>& c) {
    const int f = ++c.frameCount;
    if (c.flushAnchor == -1) c.flushAnchor = c.ringPos;
    c.ringPos = (c.ringPos + 1) % 7;
    if (c.ringPos == c.flushAnchor || f < 11) return zemVADUndecided;
    const int run = runOf(c);
    int h = c.hangCount;
    if (run >= 4) {
        h = c.hangReload;
        if (f < 36) c.hangReload = 40;
    }
    c.hangCount = h - 1;
    c.shortHang = run >= 3 ? 4 : c.shortHang - 1;
    return c.shortHang < 1 && c.hangCount < 1 && run < 3 ? zemVADNoise : zemVADSpeech;
}

// ---- Signals: noise with bursts of speech-like energy at known frames -----------------------

struct Frame {
    std::vector<float> bands, spectrum;
    int activity;
};

std::vector<Frame> burstSignal(uint32_t seed, int frames, float level) {
    zemtest::Random rnd(seed);
    std::vector<Frame> out;
    for (int n = 0; n < frames; ++n) {
        const bool burst = (n >= 40 && n < 70) || (n >= 110 && n < 118) || (n >= 150 && n < 152);
        const double gain = burst ? 8.0 : 1.0;
        Frame fr;
        fr.bands = rnd.uniform<float>(25, 0.5 * level, level * gain);
        fr.spectrum = rnd.uniform<float>(64, 0, level * gain * (burst ? 3 : 1));
        fr.activity = burst ? int(rnd.integer(0, 6)) : int(rnd.integer(0, 4));
        out.push_back(std::move(fr));
    }
    return out;
}

// Integer frames saturate (the loud bursts exceed 16 bits).
template <class E>
std::vector<E> as(const std::vector<float>& v) {
    std::vector<E> out;
    for (float x : v) {
        if constexpr (std::is_integral_v<E>)
            x = std::clamp(x, float(std::numeric_limits<E>::min()), float(std::numeric_limits<E>::max()));
        out.push_back(static_cast<E>(x));
    }
    return out;
}

// Runs the export and the reference side by side, frames then flushes, comparing every
// byte of the record (the fields the first frame writes are set the same in both).
template <class T, class E, class Decide, class Flush>
void runSideBySide(const std::vector<Frame>& frames, Decide decide, Flush flush, std::vector<int>* decisions = nullptr) {
    zemtest::Buffer<unsigned char> mem(64, 4);
    std::memset(mem.data(), 0x33, 64);
    ASSERT_EQ(zemsVADInit_Aurora_32f(asState(mem.data())), zemStatusOk);
    Rec<T> ref;
    std::memcpy(&ref, mem.data(), 64);
    for (size_t n = 0; n < frames.size(); ++n) {
        const std::vector<E> b = as<E>(frames[n].bands), s = as<E>(frames[n].spectrum);
        int32_t d = -1;
        ASSERT_EQ(decide(b.data(), s.data(), frames[n].activity, &d, asState(mem.data())), zemStatusOk);
        ASSERT_EQ(d, refDecision(ref, b.data(), s.data(), frames[n].activity)) << "frame " << n;
        ASSERT_EQ(std::memcmp(&ref, mem.data(), 64), 0) << "record after frame " << n;
        if (decisions) decisions->push_back(d);
    }
    for (int k = 1; k <= 7; ++k) {
        int32_t d = -1;
        ASSERT_EQ(flush(&d, asState(mem.data())), zemStatusOk);
        ASSERT_EQ(d, refFlush(reinterpret_cast<Rec<int32_t>&>(ref))) << "flush " << k;
        ASSERT_EQ(std::memcmp(&ref, mem.data(), 64), 0) << "record after flush " << k;
        if (k == 7) {
            EXPECT_EQ(d, zemVADUndecided);
        }
    }
}

}  // namespace

TEST(VadAurora, RecordFollowsTheReferenceFrameByFrame) {
    for (uint32_t seed : {1u, 2u, 3u}) {
        std::vector<int> dec;
        runSideBySide<float, float>(burstSignal(seed, 200, 100.0f), zemsVADDecision_Aurora_32f, zemsVADFlush_Aurora_32f,
                                    &dec);
        for (int n = 0; n < 10; ++n) EXPECT_EQ(dec[n], zemVADUndecided);
        EXPECT_EQ(dec[55], zemVADSpeech);  // inside the long burst
        EXPECT_EQ(dec[100], zemVADNoise);  // long after it, hangover spent
    }
    // Integers, at a low level and at full scale; then frames whose energy mean computes to
    // zero, which the onset test must not divide by.
    std::vector<std::vector<Frame>> signals{burstSignal(4, 200, 300.0f), burstSignal(4, 60, 32767.0f),
                                            burstSignal(5, 200, 300.0f), burstSignal(5, 60, 32767.0f),
                                            {30, Frame{std::vector<float>(25, 0.0f), std::vector<float>(64, 0.0f), 0}}};
    for (const auto& frames : signals)
        runSideBySide<int32_t, int16_t>(frames, zemsVADDecision_Aurora_16s, zemsVADFlush_Aurora_16s);
}

TEST(VadAurora, InitSizeAndUntouchedFields) {
    int32_t size16 = 0, size32 = 0;
    EXPECT_EQ(zemsVADGetBufSize_Aurora_16s(&size16) | zemsVADGetBufSize_Aurora_32f(&size32), zemStatusOk);
    EXPECT_TRUE(size16 == 64 && size32 == 64);
    unsigned char a[64], b[64];
    std::memset(a, 0x77, 64);
    std::memset(b, 0x77, 64);
    zemsVADInit_Aurora_16s(asState(a));
    zemsVADInit_Aurora_32f(asState(b));
    EXPECT_EQ(std::memcmp(a, b, 64), 0);
    Rec<float> r;
    std::memcpy(&r, a, 64);
    EXPECT_TRUE(r.lowBandFlag == 0x7777 && r.varianceFlag == 0x7777);  // not set by Init
    EXPECT_TRUE(r.flushAnchor == -1 && r.hangReload == 23 && r.frameCount == 0 && r.energyFloor == 0.0f);
}

// Hand-set rings, drained by flushes: the run decides the counters as the flush's rules say.
TEST(VadAurora, RunRuleAndFlushHangover) {
    struct Case {
        uint8_t ring[7];  // from the oldest entry
        int frame;        // frameCount before the flush
        int hangCount, shortHang, hangReload;
        int wantHang, wantShort, wantReload, want;
    };
    const Case cases[] = {
        {{1, 1, 1, 1, 1, 1, 1}, 100, 0, 0, 23, 22, 4, 23, zemVADSpeech},  // r = 7, late: reload kept
        {{1, 1, 1, 1, 1, 1, 1}, 20, 0, 0, 23, 22, 4, 40, zemVADSpeech},   // early run of 4: reload 40
        {{1, 1, 0, 1, 1, 1, 0}, 100, 0, 0, 23, -1, 4, 23, zemVADSpeech},  // r = 3
        {{1, 1, 0, 1, 1, 0, 1}, 100, 0, 0, 23, -1, -1, 23, zemVADNoise},  // r = 2; counters below 0
        {{1, 1, 0, 0, 0, 1, 1}, 100, 2, 0, 23, 1, -1, 23, zemVADSpeech},  // no wrap from newest to oldest
        {{0, 0, 0, 0, 0, 0, 0}, 5, 9, 9, 23, 9, 9, 23, zemVADUndecided},  // before frame 11
        {{1, 1, 1, 1, 1, 1, 1}, 10, 9, 9, 23, 9, 9, 23, zemVADUndecided}, // frame 10 still trains
    };
    for (const Case& c : cases) {
        Rec<int32_t> r{};
        zemsVADInit_Aurora_16s(asState(&r));
        // The flush first steps ringPos to 0; the oldest entry is then ring[1].
        for (int i = 0; i < 7; ++i) r.ring[(1 + i) % 7] = c.ring[i];
        r.ringPos = 6;
        r.frameCount = c.frame - 1;
        r.hangCount = c.hangCount;
        r.shortHang = c.shortHang;
        r.hangReload = c.hangReload;
        int32_t d = 0;
        ASSERT_EQ(zemsVADFlush_Aurora_32f(&d, asState(&r)), zemStatusOk);
        EXPECT_EQ(d, c.want) << c.frame << " " << int(c.ring[2]);
        EXPECT_TRUE(r.hangCount == c.wantHang && r.shortHang == c.wantShort && r.hangReload == c.wantReload)
            << c.frame << ": " << r.hangCount << " " << r.shortHang << " " << r.hangReload;
        EXPECT_EQ(r.flushAnchor, 6);
    }
    // A fresh record: the first flush is undecided at once; the seventh meets the anchor.
    Rec<int32_t> r{};
    zemsVADInit_Aurora_32f(asState(&r));
    int32_t d = 0;
    zemsVADFlush_Aurora_16s(&d, asState(&r));
    EXPECT_EQ(d, zemVADUndecided);
}

// Constant frames keep all three flags down, so activityCount alone fills the ring: a run of
// three (frames 11 .. 13) holds the short hangover at 5 while it stays in the ring (to frame
// 17), then four more frames give speech and the fifth noise.
TEST(VadAurora, ShortHangoverAndActivityCount) {
    for (int level : {4, 5}) {
        Rec<int32_t> r{};
        zemsVADInit_Aurora_16s(asState(&r));
        const std::vector<int16_t> c(64, 10);
        std::vector<int32_t> d(30, 0);
        for (int f = 1; f < 30; ++f)
            zemsVADDecision_Aurora_16s(c.data(), c.data(), f >= 11 && f <= 13 ? level : 0, &d[f], asState(&r));
        EXPECT_EQ(r.energyFlag | r.lowBandFlag | r.varianceFlag, 0);
        if (level == 4) {
            EXPECT_EQ(d[11], zemVADNoise);
            EXPECT_EQ(d[20], zemVADNoise);
            continue;
        }
        EXPECT_EQ(d[10], zemVADUndecided);
        EXPECT_EQ(d[12], zemVADNoise);  // r = 2
        for (int f = 13; f <= 21; ++f) EXPECT_EQ(d[f], zemVADSpeech) << f;
        EXPECT_EQ(d[22], zemVADNoise);
        EXPECT_EQ(r.hangCount, 0);
    }
}
