// Voice activity decision of the Aurora front end.  Three trackers follow the floor of
// three measures of a frame (spectral variance, energy of the mel bands, level of the
// three lowest bands); each raises a flag when its measure stands clearly above its floor.
// The combined flags of the last seven frames sit in a ring; the longest run of active
// frames in it drives a long and a short hangover, and those give the decision.  The
// first ten frames only train the trackers.  Flush drains the ring after the last frame.
//
// The record is 64 bytes of fixed layout shared by both element types; the trackers hold
// float in the _32f functions and int32 in the _16s ones.
#include <cstddef>
#include <cstdint>

#include "frame/check.h"
#include "own.h"

namespace {

using zem::firstFailure;
using zem::nonNull;

constexpr Zem32s kSpeech = 1, kNoise = 2, kUndecided = 4;
constexpr int kRing = 7;
constexpr int kTrainingFrames = 10;  // frames 1 .. 10 never enter the ring
constexpr int kStartUp = 15;         // frames below this raise the floors
constexpr int kEarlyOnset = 36;      // a run of 4 before this frame lengthens the long hangover

template <class T>
struct VadRecord {
    Zem16s energyFlag;
    Zem16s lowBandFlag;
    Zem16s varianceFlag;
    Zem16s onsetFlag;
    T energyMean;
    T lowBandFloor;
    T energyFloor;
    T varianceFloor;
    T lowBandPrev;
    T lowBandLast;  // kept beside lowBandPrev; nothing reads it
    Zem32s ringPos;
    Zem32s flushAnchor;
    Zem32s hangReload;
    Zem32s hangCount;
    Zem32s shortHang;
    Zem8u ring[kRing];
    Zem32s frameCount;
};
static_assert(sizeof(VadRecord<Zem32f>) == 64 && sizeof(VadRecord<Zem32s>) == 64);
static_assert(offsetof(VadRecord<Zem32f>, ringPos) == 32 && offsetof(VadRecord<Zem32f>, ring) == 52 &&
              offsetof(VadRecord<Zem32f>, frameCount) == 60);

template <class T>
VadRecord<T>* recordOf(ZemsVADState_Aurora* state) {
    return reinterpret_cast<VadRecord<T>*>(state);
}

// Counters step with 32-bit wrap: a record is never checked, so no value may overflow.
Zem32s plusOne(Zem32s v) { return static_cast<Zem32s>(static_cast<uint32_t>(v) + 1u); }
Zem32s minusOne(Zem32s v) { return static_cast<Zem32s>(static_cast<uint32_t>(v) - 1u); }
// The next ring slot; a position outside the ring (a record never initialised) restarts at 0.
Zem32s nextSlot(Zem32s pos) { return pos >= 0 && pos < kRing - 1 ? pos + 1 : 0; }

// The longest stretch of active entries read from the oldest (after pos) to the newest
// (pos); it does not wrap from the newest back to the oldest.
int longestRun(const Zem8u* ring, Zem32s pos) {
    int best = 0, run = 0;
    for (int i = 1; i <= kRing; ++i) {
        run = ring[(pos + i) % kRing] ? run + 1 : 0;
        best = run > best ? run : best;
    }
    return best;
}

// ---- The three trackers ------------------------------------------------------------------

// Float form.  Each tracker: raise to the measure in the start-up phase, follow it quickly
// when it is near the floor, slowly when far below, and flag it above a threshold.
struct FloatMeasures {
    using Elem = Zem32f;
    using Tracker = Zem32f;

    static void variance(VadRecord<Zem32f>& r, const Zem32f* spectrum, Zem32s f) {
        Zem32f sum = 0.0f, dot = 0.0f;
        ownSum_32f(spectrum, 64, &sum, zemAlgHintAccurate);
        ownDotProd_32f(spectrum, spectrum, 64, &dot);
        const Zem32f v = dot * 0.015625f - sum * 0.00024414063f * sum;
        Zem32f& F = r.varianceFloor;
        if (f < kStartUp && v > F) F = v;
        if (1.5f * F > v && v > 0.85f * F) F = 0.2f * v + 0.8f * F;
        if (0.25f * F > v) F = 0.03f * v + 0.97f * F;
        r.varianceFlag = v > 1.65f * F;
    }

    static void energy(VadRecord<Zem32f>& r, const Zem32f* bands, Zem32s f) {
        Zem32f s = 0.0f;
        ownSum_32f(bands, 25, &s, zemAlgHintAccurate);
        const Zem32f e = s * s - 3.0f;
        Zem32f& F = r.energyFloor;
        if (f == 1) F = e;
        if (f < kStartUp) {
            r.energyMean = (e + static_cast<Zem32f>(minusOne(f)) * r.energyMean) * 1.1f / static_cast<Zem32f>(f);
            if (e / r.energyMean > 2.5f) r.onsetFlag = 1;
            if (r.onsetFlag == 0 && e > F) F = e;
        }
        if (1.5f * F > e && e > 0.75f * F) F = 0.2f * e + 0.8f * F;
        if (0.5f * F >= e) F = 0.03f * e + 0.97f * F;
        r.energyFlag = e > 1.65f * F;
    }

    static void lowBand(VadRecord<Zem32f>& r, const Zem32f* bands, Zem32s f) {
        const Zem32f m = (bands[1] + bands[2] + bands[3]) / 3.0f;
        const Zem32f l = 0.25f * r.lowBandPrev + 0.75f * m;
        r.lowBandPrev = r.lowBandLast = m;
        Zem32f& F = r.lowBandFloor;
        if (f < kStartUp && l > F) F = l;
        if (1.5f * F > l && l > 0.75f * F) F = 0.2f * l + 0.8f * F;
        if (0.5f * F >= l) F = 0.03f * l + 0.97f * F;
        r.lowBandFlag = l > 3.25f * F;
    }
};

// Integer form.  A tracker times a constant wraps in 32 bits and is shifted arithmetically;
// the variance and energy measures are 64-bit and meet the tracker sign-extended; a store
// keeps the low 32 bits.
struct FixedMeasures {
    using Elem = Zem16s;
    using Tracker = Zem32s;

    static int32_t scaled(int32_t F, int32_t c, int shift) {
        return static_cast<int32_t>(static_cast<uint32_t>(F) * static_cast<uint32_t>(c)) >> shift;
    }
    static int32_t low32(int64_t v) { return static_cast<int32_t>(v); }

    static void variance(VadRecord<Zem32s>& r, const Zem16s* spectrum, Zem32s f) {
        Zem32s sum = 0;
        Zem64s dot = 0;
        ownSum_16s32s_Sfs(spectrum, 64, &sum, 0);
        ownDotProd_16s64s(spectrum, spectrum, 64, &dot);
        const int64_t v = dot * 64 - int64_t{sum} * sum;  // 4096 times the variance
        Zem32s& F = r.varianceFloor;
        if (f < kStartUp && v > F) F = low32(v);
        if (v < scaled(F, 48, 5) && v > scaled(F, 27, 5)) F = low32(((v * 6) >> 5) + scaled(F, 26, 5));
        // The whole measure joins the floor here, not a 32nd of it: this form's own rule.
        if (v < scaled(F, 8, 5)) F = low32(scaled(F, 31, 5) + v);
        r.varianceFlag = v > scaled(F, 53, 5);
    }

    static void energy(VadRecord<Zem32s>& r, const Zem16s* bands, Zem32s f) {
        Zem32s s = 0;
        ownSum_16s32s_Sfs(bands, 25, &s, 0);
        const int64_t e = int64_t{s} * s - 3;
        Zem32s& F = r.energyFloor;
        if (f == 1) F = low32(e);
        if (f < kStartUp) {
            const int32_t prior =
                static_cast<int32_t>(static_cast<uint32_t>(minusOne(f)) * static_cast<uint32_t>(r.energyMean));
            // f is 0 only after 2^32 frames; the mean then stands.
            if (f != 0) r.energyMean = low32(((int64_t{prior} + int64_t{s} * s - 3) * 141 / f) >> 7);
            // A zero mean leaves the ratio undefined: it counts as not above the threshold.
            if (r.energyMean != 0 && (e * 128) / r.energyMean > 320) r.onsetFlag = 1;
            if (r.onsetFlag == 0 && e > F) F = low32(e);
        }
        if (e < scaled(F, 192, 7) && e > scaled(F, 96, 7)) F = low32(((e * 26) >> 7) + scaled(F, 102, 7));
        if (e <= scaled(F, 64, 7)) F = low32(((e * 4) >> 7) + scaled(F, 124, 7));
        r.energyFlag = e > scaled(F, 211, 7);
    }

    static void lowBand(VadRecord<Zem32s>& r, const Zem16s* bands, Zem32s f) {
        // 341/1024 stands for the third: the measure keeps the scale of 1024.
        const int32_t m = 341 * (int32_t{bands[1]} + bands[2] + bands[3]);
        const int32_t l = static_cast<int32_t>(static_cast<uint32_t>(scaled(r.lowBandPrev, 8, 5)) +
                                               static_cast<uint32_t>(scaled(m, 24, 5)));
        r.lowBandPrev = r.lowBandLast = m;
        Zem32s& F = r.lowBandFloor;
        if (f < kStartUp && l > F) F = l;
        if (l < scaled(F, 48, 5) && l > scaled(F, 24, 5))
            F = low32(int64_t{scaled(F, 102, 7)} + scaled(l, 26, 7));
        if (l <= scaled(F, 16, 5)) F = low32(int64_t{scaled(l, 4, 7)} + scaled(F, 124, 7));
        r.lowBandFlag = l > scaled(F, 416, 7);
    }
};

// ---- Decision and flush --------------------------------------------------------------------

template <class M>
void decide(const typename M::Elem* bands, const typename M::Elem* spectrum, Zem32s activityCount, Zem32s* decision,
            VadRecord<typename M::Tracker>& r) {
    *decision = kUndecided;
    const Zem32s f = r.frameCount = plusOne(r.frameCount);
    M::variance(r, spectrum, f);
    M::energy(r, bands, f);
    M::lowBand(r, bands, f);
    if (f <= kTrainingFrames) return;

    r.ringPos = nextSlot(r.ringPos);
    r.ring[r.ringPos] = (r.energyFlag || r.lowBandFlag || r.varianceFlag || activityCount >= 5) ? 1 : 0;
    const int run = longestRun(r.ring, r.ringPos);

    if (run >= 4) {
        r.hangCount = r.hangReload;
        if (f < kEarlyOnset) r.hangReload = 40;
    }
    if (run < 3) {
        if (r.hangCount != 0) r.hangCount = minusOne(r.hangCount);
        if (r.shortHang != 0) r.shortHang = minusOne(r.shortHang);
    } else {
        r.shortHang = 5;
    }
    *decision = (r.shortHang == 0 && r.hangCount == 0 && run < 3) ? kNoise : kSpeech;
}

// The flush reads only the counters and the ring, which lie alike in both forms.  Its
// hangover differs on purpose: the long counter always steps down (below zero too), the
// short one reloads to 4, and the tests are "below 1".
void flush(Zem32s* decision, VadRecord<Zem32s>& r) {
    const Zem32s f = r.frameCount = plusOne(r.frameCount);
    if (r.flushAnchor == -1) r.flushAnchor = r.ringPos;
    r.ringPos = nextSlot(r.ringPos);
    *decision = kUndecided;
    if (r.ringPos == r.flushAnchor || f <= kTrainingFrames) return;

    const int run = longestRun(r.ring, r.ringPos);
    Zem32s h = r.hangCount;
    if (run >= 4) {
        h = r.hangReload;
        if (f < kEarlyOnset) r.hangReload = 40;
    }
    r.hangCount = minusOne(h);
    r.shortHang = run >= 3 ? 4 : minusOne(r.shortHang);
    *decision = (r.shortHang < 1 && r.hangCount < 1 && run < 3) ? kNoise : kSpeech;
}

// Clears what a new signal needs; the two flags and the copy of the low-band level that
// the first decision writes before reading are left as they stand.
void init(ZemsVADState_Aurora* state) {
    VadRecord<Zem32s>& r = *recordOf<Zem32s>(state);
    r.energyFlag = 0;
    r.onsetFlag = 0;
    r.energyMean = r.lowBandFloor = r.energyFloor = r.varianceFloor = r.lowBandPrev = 0;
    r.ringPos = 0;
    r.flushAnchor = -1;
    r.hangReload = 23;
    r.hangCount = 0;
    r.shortHang = 0;
    for (Zem8u& e : r.ring) e = 0;
    r.frameCount = 0;
}

}  // namespace

extern "C" {

// ---- Size and set-up: one function under two names; only null pointers fail -------------

ZEMSR_API ZemStatus zemsVADGetBufSize_Aurora_16s(Zem32s* size) {
    if (const ZemStatus s = firstFailure(nonNull(size))) return s;
    *size = 64;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVADGetBufSize_Aurora_32f(Zem32s* size) {
    if (const ZemStatus s = firstFailure(nonNull(size))) return s;
    *size = 64;
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVADInit_Aurora_16s(ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    init(state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVADInit_Aurora_32f(ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(state))) return s;
    init(state);
    return zemStatusOk;
}

// ---- One frame: null pointers only; the record's contents are not checked ----------------

ZEMSR_API ZemStatus zemsVADDecision_Aurora_16s(const Zem16s* src, const Zem16s* srcSpectrum, Zem32s activityCount,
                                                Zem32s* decision, ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcSpectrum, decision, state))) return s;
    decide<FixedMeasures>(src, srcSpectrum, activityCount, decision, *recordOf<Zem32s>(state));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVADDecision_Aurora_32f(const Zem32f* src, const Zem32f* srcSpectrum, Zem32s activityCount,
                                                Zem32s* decision, ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(src, srcSpectrum, decision, state))) return s;
    decide<FloatMeasures>(src, srcSpectrum, activityCount, decision, *recordOf<Zem32f>(state));
    return zemStatusOk;
}

// ---- Draining the ring after the last frame ------------------------------------------------

ZEMSR_API ZemStatus zemsVADFlush_Aurora_16s(Zem32s* decision, ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(decision, state))) return s;
    flush(decision, *recordOf<Zem32s>(state));
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVADFlush_Aurora_32f(Zem32s* decision, ZemsVADState_Aurora* state) {
    if (const ZemStatus s = firstFailure(nonNull(decision, state))) return s;
    flush(decision, *recordOf<Zem32s>(state));
    return zemStatusOk;
}

}  // extern "C"
