// The sweep's rows for the spectral front end (see table_likelihood.cpp for the roles).
#include <vector>

#include "sweep.h"

namespace sweep {
namespace {

// The sweep's banks: 256-sample frames at 8 kHz, ten filters from 100 to 3800 Hz.
constexpr int kFrame = 256, kFilters = 10, kHalf = kFrame / 2;
constexpr float kRate = 8000, kLow = 100, kHigh = 3800, kMul = 2595, kDiv = 700;

template <class St, class GetSize, class Init, class Alloc, class Free>
RecordKind bankKind(const char* name, int mode, GetSize getSize, Init init, Alloc alloc, Free release) {
    return {name,
            [=] {
                Zem32s s = -1;
                return getSize(kFrame, kFilters, mode, &s) < 0 ? int64_t{-1} : int64_t{s};
            },
            [=](void* buf) {
                Zem32s order;
                return init(static_cast<St*>(buf), &order, kFrame, kRate, kLow, kHigh, kFilters, kMul, kDiv, mode);
            },
            [=](void** out) {
                Zem32s order;
                return alloc(reinterpret_cast<St**>(out), &order, kFrame, kRate, kLow, kHigh, kFilters, kMul, kDiv,
                             mode);
            },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}

const RecordKind kMel32f = bankKind<ZemsFBankState_32f>("mel bank 32f", 1, zemsMelFBankGetSize_32f,
                                                        zemsMelFBankInit_32f, zemsMelFBankInitAlloc_32f,
                                                        zemsFBankFree_32f);
const RecordKind kMel32fFft = bankKind<ZemsFBankState_32f>("mel bank 32f, transform mode", 5,
                                                           zemsMelFBankGetSize_32f, zemsMelFBankInit_32f,
                                                           zemsMelFBankInitAlloc_32f, zemsFBankFree_32f);
const RecordKind kMel16s = bankKind<ZemsFBankState_16s>("bin bank 16s", 2, zemsMelFBankGetSize_16s,
                                                        zemsMelFBankInit_16s, zemsMelFBankInitAlloc_16s,
                                                        zemsFBankFree_16s);
const RecordKind kMel16sFft = bankKind<ZemsFBankState_16s>("bin bank 16s, transform mode", 6,
                                                           zemsMelFBankGetSize_16s, zemsMelFBankInit_16s,
                                                           zemsMelFBankInitAlloc_16s, zemsFBankFree_16s);
// Fixed point: Hertz, and the mel constants in Q15.
const RecordKind kMel32s = {"bin bank 32s",
                            [] {
                                Zem32s s = -1;
                                return zemsMelFBankGetSize_32s(kFrame, kFilters, 2, &s) < 0 ? int64_t{-1}
                                                                                            : int64_t{s};
                            },
                            [](void* buf) {
                                Zem32s order;
                                return zemsMelFBankInit_32s(static_cast<ZemsFBankState_32s*>(buf), &order, kFrame,
                                                            8000, 100, 3800, kFilters, 2595 << 15, 700 << 15, 2);
                            },
                            {},
                            {}};
template <class St>
RecordKind auroraKind(const char* name, ZemStatus (*getSize)(Zem32s*), ZemStatus (*init)(St*),
                      ZemStatus (*alloc)(St**), ZemStatus (*release)(St*)) {
    return {name,
            [=] {
                Zem32s s = -1;
                return getSize(&s) < 0 ? int64_t{-1} : int64_t{s};
            },
            [=](void* buf) { return init(static_cast<St*>(buf)); },
            [=](void** out) { return alloc(reinterpret_cast<St**>(out)); },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}
const RecordKind kAuroraLow32f =
    auroraKind<ZemsFBankState_32f>("Aurora low bank 32f", zemsMelFBankGetSizeLow_Aurora_32f,
                                   zemsMelFBankInitLow_Aurora_32f, zemsMelFBankInitAllocLow_Aurora_32f,
                                   zemsFBankFree_32f);
const RecordKind kAuroraHigh16s =
    auroraKind<ZemsFBankState_16s>("Aurora high bank 16s", zemsMelFBankGetSizeHigh_Aurora_16s,
                                   zemsMelFBankInitHigh_Aurora_16s, zemsMelFBankInitAllocHigh_Aurora_16s,
                                   zemsFBankFree_16s);

// The centres of a kind's bank, read back through its query.
template <class St>
std::vector<Zem32s> centersOf(const RecordKind& k, ZemStatus (*get)(const St*, Zem32s*), int nFilter) {
    std::vector<Zem32s> c(64, 0);
    void* rec = nullptr;
    if (k.alloc(&rec) >= 0) {
        get(static_cast<const St*>(rec), c.data());
        k.release(rec);
    }
    c.resize(nFilter + 2);
    return c;
}
// The bins a spectrum evaluation reads: 0 .. the last centre, and the bin after it when
// the last falling span is empty (the evaluation visits one bin of every span).
int64_t spectrumOf(const std::vector<Zem32s>& c) {
    const size_t n = c.size();
    return int64_t{c[n - 1]} + (c[n - 1] == c[n - 2] ? 2 : 1);
}
Ex spectrum32f(const RecordKind& k, int nFilter) {
    return Ex([&k, nFilter](const Dims&) {
        return spectrumOf(centersOf<ZemsFBankState_32f>(k, zemsFBankGetCenters_32f, nFilter));
    });
}
Ex spectrum16s(const RecordKind& k, int nFilter) {
    return Ex([&k, nFilter](const Dims&) {
        return spectrumOf(centersOf<ZemsFBankState_16s>(k, zemsFBankGetCenters_16s, nFilter));
    });
}
// The run of filter j (from 1): rising c[j] - c[j-1] + 1, falling c[j+1] - c[j].
template <class St>
Ex coeffRun(const RecordKind& k, ZemStatus (*get)(const St*, Zem32s*), int j) {
    return Ex([&k, get, j](const Dims&) {
        const std::vector<Zem32s> c = centersOf<St>(k, get, kFilters);
        return int64_t{c[j] - c[j - 1] + 1} + (c[j + 1] - c[j]);
    });
}
Fill centres() {
    return [](int64_t i) { return static_cast<double>(i * 10); };
}
Ex bankSize(ZemStatus (*getSize)(int, int, int, Zem32s*), int mode) {
    return Ex([getSize, mode](const Dims&) {
        Zem32s s = -1;
        return getSize(kFrame, kFilters, mode, &s) < 0 ? int64_t{-1} : int64_t{s};
    });
}
Ex auroraSize(ZemStatus (*getSize)(Zem32s*)) {
    return Ex([getSize](const Dims&) {
        Zem32s s = -1;
        return getSize(&s) < 0 ? int64_t{-1} : int64_t{s};
    });
}

// Lifters: 24 inputs, 12 cepstra, lifter 22.
constexpr int kDct = 24, kCep = 12, kLifter = 22;
const RecordKind kLift32f = {"lifter 32f",
                             [] {
                                 Zem32s s = -1;
                                 return zemsDCTLifterGetSize_32f(kDct, kCep, &s) < 0 ? int64_t{-1} : int64_t{s};
                             },
                             [](void* buf) {
                                 return zemsDCTLifterInit_32f(static_cast<ZemsDCTLifterState_32f*>(buf), kDct, kCep,
                                                              kLifter, 1.0f);
                             },
                             [](void** out) {
                                 return zemsDCTLifterInitAlloc_32f(reinterpret_cast<ZemsDCTLifterState_32f**>(out),
                                                                   kDct, kCep, kLifter, 1.0f);
                             },
                             [](void* rec) { return zemsDCTLifterFree_32f(static_cast<ZemsDCTLifterState_32f*>(rec)); }};
const RecordKind kLiftC016s = {
    "lifter 16s with C0",
    [] {
        Zem32s s = -1;
        return zemsDCTLifterGetSize_C0_16s(kDct, kCep, &s) < 0 ? int64_t{-1} : int64_t{s};
    },
    [](void* buf) {
        return zemsDCTLifterInit_C0_16s(static_cast<ZemsDCTLifterState_16s*>(buf), kDct, kCep, kLifter, 1.0f, 0.5f);
    },
    [](void** out) {
        return zemsDCTLifterInitAlloc_C0_16s(reinterpret_cast<ZemsDCTLifterState_16s**>(out), kDct, kCep, kLifter,
                                             1.0f, 0.5f);
    },
    [](void* rec) { return zemsDCTLifterFree_16s(static_cast<ZemsDCTLifterState_16s*>(rec)); }};
Ex lifterSize(ZemStatus (*getSize)(int, int, Zem32s*)) {
    return Ex([getSize](const Dims&) {
        Zem32s s = -1;
        return getSize(kDct, kCep, &s) < 0 ? int64_t{-1} : int64_t{s};
    });
}

// Frame conditioning: the DC notch carries x[-1] in srcPrev; energies stand step apart; the
// 16-bit energy takes its integer path (height of at least 11, scale below 1.001) with the
// allocator's scratch above 1024 frames.
void addConditioningRows(Table& t) {
    ROW(t, zemsZeroMean_16s, {L(70)}, {In(L), Len(L)});
    ROW(t, zemsCompensateOffset_32f, {L(19)}, {In(L), Out(L), Len(L), In(1), Val(0.25), Val(0.97)});
    ROW(t, zemsCompensateOffset_32f_I, {L(19)}, {In(L), Len(L), In(1), Val(0.25), Val(0.97)});
    ROW(t, zemsCompensateOffset_16s, {L(19)}, {In(L), Out(L), Len(L), In(1), Val(7), Val(0.97)});
    ROW(t, zemsCompensateOffset_16s_I, {L(19)}, {In(L), Len(L), In(1), Val(7), Val(0.97)});
    ROW(t, zemsCompensateOffsetQ15_16s, {L(19)}, {In(L), Out(L), Size(L), In(1), Val(7), Val(31785)});
    ROW(t, zemsCompensateOffsetQ15_16s_I, {L(19)}, {In(L), Size(L), In(1), Val(7), Val(31785)});
    ROW(t, zemsNormEnergy_32f, {H(13), S(3)}, {In(D2(H, S, 1)), Step(S, 1), Len(H), Val(50), Val(0.1)});
    ROW(t, zemsNormEnergy_16s, {H(1100), S(2)}, {In(D2(H, S, 1)), Step(S, 1), Len(H), Val(50), Val(1000), Val(0.5)});
    ROW(t, zemsNormEnergy_RT_32f, {H(13), S(3)}, {In(D2(H, S, 1)), Step(S, 1), Len(H), Val(50), Val(0.5), Val(0.1)});
    ROW(t, zemsNormEnergy_RT_16s, {H(1100), S(2)},
        {In(D2(H, S, 1)), Step(S, 1), Len(H), Val(50), Val(90), Val(1000), Val(0.5)});
    ROW(t, zemsSignChangeRate_32f, {L(19)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsSignChangeRate_16s, {L(19)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsSignChangeRate_Count0_32f, {L(19)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsSignChangeRate_Count0_16s, {L(19)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsSignChangeRateXor_32f, {L(19)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsEntropy_32f, {L(19)}, {In(L, 0, 1), Len(L), Out(1)});
    ROW(t, zemsEntropy_16s32s_Sfs, {L(19)}, {In(L, 0, 100), Sf(4), Len(L), Out(1), Sf()});
    ROW(t, zemsCopyWithPadding_32f, {L(13), K(19)}, {In(L), Size(L), Out(K), Len(K, L)});
    ROW(t, zemsCopyWithPadding_16s, {L(13), K(19)}, {In(L), Size(L), Out(K), Len(K, L)});
    ROW(t, zemsNormalizeInRange_32f, {L(19)}, {In(L), Out(L), Len(L), Val(0.1), Val(0.9), Val(100)});
    ROW(t, zemsNormalizeInRange_32f16s, {L(19)}, {In(L), Out(L), Len(L), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsNormalizeInRange_32f8u, {L(19)}, {In(L), Out(L), Len(L), Val(0.1), Val(0.9), Val(200)});
    ROW(t, zemsNormalizeInRange_16s, {L(19)}, {In(L), Out(L), Len(L), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsNormalizeInRange_16s8u, {L(19)}, {In(L), Out(L), Len(L), Val(0.1), Val(0.9), Val(200)});
    ROW(t, zemsNormalizeInRange_32f_I, {L(19)}, {In(L), Len(L), Val(0.1), Val(0.9), Val(100)});
    ROW(t, zemsNormalizeInRange_16s_I, {L(19)}, {In(L), Len(L), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsNormalizeInRangeMinMax_32f, {L(19)}, {In(L), Out(L), Len(L), Val(-2), Val(2), Val(0.1), Val(0.9), Val(100)});
    ROW(t, zemsNormalizeInRangeMinMax_32f16s, {L(19)},
        {In(L), Out(L), Len(L), Val(-2), Val(2), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsNormalizeInRangeMinMax_32f8u, {L(19)}, {In(L), Out(L), Len(L), Val(-2), Val(2), Val(0.1), Val(0.9), Val(200)});
    ROW(t, zemsNormalizeInRangeMinMax_16s, {L(19)},
        {In(L), Out(L), Len(L), Val(-200), Val(200), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsNormalizeInRangeMinMax_16s8u, {L(19)},
        {In(L), Out(L), Len(L), Val(-200), Val(200), Val(0.1), Val(0.9), Val(200)});
    ROW(t, zemsNormalizeInRangeMinMax_32f_I, {L(19)}, {In(L), Len(L), Val(-2), Val(2), Val(0.1), Val(0.9), Val(100)});
    ROW(t, zemsNormalizeInRangeMinMax_16s_I, {L(19)}, {In(L), Len(L), Val(-200), Val(200), Val(0.1), Val(0.9), Val(1000)});
    ROW(t, zemsUnitCurve_32f, {L(19)}, {In(L, -1, 3), Out(L), Len(L)});
    ROW(t, zemsUnitCurve_32f_I, {L(19)}, {In(L, -1, 3), Len(L)});
    ROW(t, zemsUnitCurve_16s_Sfs, {L(19)}, {In(L, -100, 600), Sf(8), Out(L), Len(L), Sf()});
    ROW(t, zemsUnitCurve_16s_ISfs, {L(19)}, {In(L, -100, 600), Sf(8), Len(L), Sf()});
    // Peaks with and without the moving average; searchSize from 1, movingAvgSize from 0.
    // Sizes with an upper limit (len to 65535, searchSize and movingAvgSize to 127, n below
    // len) must be safe at INT_MAX too.
    for (int avg : {0, 2}) {
        ROW(t, zemsFindPeaks_32f8u, {L(40)}, {In(L), Out(L), Size(L), Size(2), Size(avg, 0)});
        ROW(t, zemsFindPeaks_32s8u, {L(40)}, {In(L), Out(L), Size(L), Size(2), Size(avg, 0)});
    }
    ROW(t, zemsNthMaxElement_32f, {L(19)}, {In(L), Len(L), Size(3, 0), Out(1)});
    ROW(t, zemsNthMaxElement_32s, {L(19)}, {In(L), Len(L), Size(3, 0), Out(1)});
    ROW(t, zemsNthMaxElement_64f, {L(19)}, {In(L), Len(L), Size(3, 0), Out(1)});
}

}  // namespace

void addFrontendRows(Table& t) {
    addConditioningRows(t);
    t.family = "frontend";
    // Banks.  Arguments that change a record's size stay fixed in the Init forms (a larger
    // bank in the same buffer is the caller's fault); the mode is broken only to refused values.
    const auto badModes = {0.0, 3.0, 8.0, -1.0, 2147483647.0};
    for (auto [fn, name] : {std::pair{&zemsMelFBankGetSize_32f, "zemsMelFBankGetSize_32f"},
                            std::pair{&zemsMelFBankGetSize_16s, "zemsMelFBankGetSize_16s"}})
        t.add(fn, name, {}, {Size(kFrame), Size(kFilters), Alt(1, {2, 5, 6, 0, 3, 7, -1, 2147483647}), Out(1)});
    ROW(t, zemsMelFBankGetSize_32s, {}, {Size(kFrame), Size(kFilters), Alt(2, {0, 1, 6, -1}), Out(1)});
    ROW(t, zemsMelFBankInitAlloc_32f, {},
        {NewRec(kMel32f), Out(1), Size(kFrame), Val(kRate), Val(kLow), Val(kHigh), Size(kFilters), Val(kMul),
         Val(kDiv), Alt(1, {2, 5, 6, 0, 3, -1})});
    ROW(t, zemsMelFBankInitAlloc_16s, {},
        {NewRec(kMel16s), Out(1), Size(kFrame), Val(kRate), Val(kLow), Val(kHigh), Size(kFilters), Val(kMul),
         Val(kDiv), Alt(2, {1, 5, 6, 0, 3, -1})});
    ROW(t, zemsMelFBankInit_32f, {},
        {RecBuf(bankSize(zemsMelFBankGetSize_32f, 1)), Out(1), Len(kFrame), Val(kRate), Val(kLow), Val(kHigh),
         Len(kFilters), Val(kMul), Val(kDiv), Alt(1, badModes)});
    ROW(t, zemsMelFBankInit_16s, {},
        {RecBuf(bankSize(zemsMelFBankGetSize_16s, 6)), Out(1), Len(kFrame), Val(kRate), Val(kLow), Val(kHigh),
         Len(kFilters), Val(kMul), Val(kDiv), Alt(6, badModes)});
    ROW(t, zemsMelFBankInit_32s, {},
        {RecBuf(bankSize(zemsMelFBankGetSize_32s, 2)), Out(1), Len(kFrame, 32), Val(8000), Val(100), Val(3800),
         Len(kFilters), Val(2595 << 15), Val(700 << 15), Alt(2, {0, 1, 3, -1})});
    ROW(t, zemsMelLinFBankInitAlloc_32f, {},
        {nullable(NewRec(kMel32f)), nullable(Out(1)), Size(kFrame), Val(kRate), Val(kLow), Val(kHigh), Size(kFilters),
         Val(1000), Size(4), Val(kMul), Val(kDiv), Alt(1, {2, 5, 6, 0, 3, -1})});
    ROW(t, zemsMelLinFBankInitAlloc_16s, {},
        {nullable(NewRec(kMel16s)), nullable(Out(1)), Size(kFrame), Val(kRate), Val(kLow), Val(kHigh), Size(kFilters),
         Val(1000), Size(4), Val(kMul), Val(kDiv), Alt(2, {1, 5, 6, 0, 3, -1})});
    ROW(t, zemsEmptyFBankInitAlloc_32f, {},
        {nullable(NewRec(kMel32f)), nullable(Out(1)), Size(kFrame), Size(kFilters), Alt(1, {2, 5, 0, -1})});
    ROW(t, zemsEmptyFBankInitAlloc_16s, {},
        {nullable(NewRec(kMel16s)), nullable(Out(1)), Size(kFrame), Size(kFilters), Alt(1, {2, 6, 0, -1})});
    ROW(t, zemsMelFBankGetSizeLow_Aurora_32f, {}, {Out(1)});
    ROW(t, zemsMelFBankGetSizeLow_Aurora_16s, {}, {Out(1)});
    ROW(t, zemsMelFBankGetSizeHigh_Aurora_32f, {}, {Out(1)});
    ROW(t, zemsMelFBankGetSizeHigh_Aurora_16s, {}, {Out(1)});
    ROW(t, zemsMelFBankInitLow_Aurora_32f, {}, {RecBuf(auroraSize(zemsMelFBankGetSizeLow_Aurora_32f))});
    ROW(t, zemsMelFBankInitLow_Aurora_16s, {}, {RecBuf(auroraSize(zemsMelFBankGetSizeLow_Aurora_16s))});
    ROW(t, zemsMelFBankInitHigh_Aurora_32f, {}, {RecBuf(auroraSize(zemsMelFBankGetSizeHigh_Aurora_32f))});
    ROW(t, zemsMelFBankInitHigh_Aurora_16s, {}, {RecBuf(auroraSize(zemsMelFBankGetSizeHigh_Aurora_16s))});
    ROW(t, zemsMelFBankInitAllocLow_Aurora_32f, {}, {NewRec(kAuroraLow32f)});
    ROW(t, zemsMelFBankInitAllocLow_Aurora_16s, {}, {NewRec(kAuroraHigh16s)});
    ROW(t, zemsMelFBankInitAllocHigh_Aurora_32f, {}, {NewRec(kAuroraLow32f)});
    ROW(t, zemsMelFBankInitAllocHigh_Aurora_16s, {}, {NewRec(kAuroraHigh16s)});
    ROW(t, zemsFBankFree_32f, {}, {OwnRec(kMel32fFft)});
    ROW(t, zemsFBankFree_16s, {}, {OwnRec(kMel16sFft)});
    ROW(t, zemsFBankGetCenters_32f, {}, {Rec(kMel32f), Out(kFilters + 2)});
    ROW(t, zemsFBankGetCenters_16s, {}, {Rec(kAuroraHigh16s), Out(5)});
    ROW(t, zemsFBankSetCenters_32f, {}, {Rec(kMel32f), In(kFilters + 2, centres())});
    ROW(t, zemsFBankSetCenters_16s, {}, {Rec(kMel16s), In(kFilters + 2, centres())});
    ROW(t, zemsFBankGetCoeffs_32f, {}, {Rec(kMel32f), Size(3), Out(coeffRun(kMel32f, zemsFBankGetCenters_32f, 3))});
    ROW(t, zemsFBankGetCoeffs_16s, {}, {Rec(kMel16s), Size(4), Out(coeffRun(kMel16s, zemsFBankGetCenters_16s, 4))});
    ROW(t, zemsFBankSetCoeffs_32f, {}, {Rec(kMel32f), Size(3), In(coeffRun(kMel32f, zemsFBankGetCenters_32f, 3))});
    ROW(t, zemsFBankSetCoeffs_16s, {}, {Rec(kMel16s), Size(4), In(coeffRun(kMel16s, zemsFBankGetCenters_16s, 4))});
    ROW(t, zemsEvalFBank_32f, {}, {In(spectrum32f(kMel32f, kFilters), 0, 10), Out(kFilters), Rec(kMel32f)});
    ROW(t, zemsEvalFBank_32f, {}, {In(kFrame), Out(kFilters), Rec(kMel32fFft)});
    ROW(t, zemsEvalFBank_32f, {}, {In(spectrum32f(kAuroraLow32f, 25), 0, 10), Out(25), Rec(kAuroraLow32f)});
    ROW(t, zemsEvalFBank_16s_Sfs, {}, {In(spectrum16s(kMel16s, kFilters), 0, 100), Out(kFilters), Rec(kMel16s), Sf()});
    ROW(t, zemsEvalFBank_16s_Sfs, {}, {In(kFrame), Out(kFilters), Rec(kMel16sFft), Sf()}, kAllocFailureIgnored);
    ROW(t, zemsEvalFBank_16s32s_Sfs, {}, {In(spectrum16s(kMel16s, kFilters), 0, 100), Out(kFilters), Rec(kMel16s), Sf()});
    ROW(t, zemsEvalFBank_16s32s_Sfs, {}, {In(kFrame), Out(kFilters), Rec(kMel16sFft), Sf()}, kAllocFailureIgnored);
    ROW(t, zemsEvalFBank_16s32s_Sfs, {}, {In(spectrum16s(kAuroraHigh16s, 3), 0, 100), Out(3), Rec(kAuroraHigh16s), Sf()});
    // The fixed-point bank has no centre query: its spectrum is the N/2 + 1 bins.
    ROW(t, zemsEvalFBank_32s_Sfs, {}, {In(kHalf + 1, 0, 1000), Out(kFilters), Rec(kMel32s), Sf()});
    ROW(t, zemsLinearToMel_32f, {L(19)}, {In(L, 0, 4000), Out(L), Len(L), Val(kMul), Val(kDiv)});
    ROW(t, zemsMelToLinear_32f, {L(19)}, {In(L, 0, 2000), Out(L), Len(L), Val(kMul), Val(kDiv)});

    // Lifters.  In the Init forms the sizes may only be broken downwards.
    for (auto [fn, name] : {std::pair{&zemsDCTLifterGetSize_32f, "zemsDCTLifterGetSize_32f"},
                            std::pair{&zemsDCTLifterGetSize_C0_32f, "zemsDCTLifterGetSize_C0_32f"},
                            std::pair{&zemsDCTLifterGetSize_Mul_32f, "zemsDCTLifterGetSize_Mul_32f"},
                            std::pair{&zemsDCTLifterGetSize_MulC0_32f, "zemsDCTLifterGetSize_MulC0_32f"},
                            std::pair{&zemsDCTLifterGetSize_16s, "zemsDCTLifterGetSize_16s"},
                            std::pair{&zemsDCTLifterGetSize_C0_16s, "zemsDCTLifterGetSize_C0_16s"},
                            std::pair{&zemsDCTLifterGetSize_Mul_16s, "zemsDCTLifterGetSize_Mul_16s"},
                            std::pair{&zemsDCTLifterGetSize_MulC0_16s, "zemsDCTLifterGetSize_MulC0_16s"}})
        t.add(fn, name, {}, {Size(kDct), Size(kCep), Out(1)});
    ROW(t, zemsDCTLifterInitAlloc_32f, {}, {NewRec(kLift32f), Size(kDct), Size(kCep), Size(kLifter), Val(1)});
    ROW(t, zemsDCTLifterInitAlloc_16s, {}, {NewRec(kLiftC016s), Size(kDct), Size(kCep), Size(kLifter), Val(1)});
    ROW(t, zemsDCTLifterInitAlloc_C0_32f, {},
        {NewRec(kLift32f), Size(kDct), Size(kCep), Size(kLifter), Val(1), Val(0.5)});
    ROW(t, zemsDCTLifterInitAlloc_C0_16s, {},
        {NewRec(kLiftC016s), Size(kDct), Size(kCep), Size(kLifter), Val(1), Val(0.5)});
    ROW(t, zemsDCTLifterInitAlloc_Mul_32f, {L(kCep)}, {NewRec(kLift32f), Size(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInitAlloc_Mul_16s, {L(kCep)}, {NewRec(kLiftC016s), Size(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInitAlloc_MulC0_32f, {L(kCep)}, {NewRec(kLift32f), Size(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInitAlloc_MulC0_16s, {L(kCep)}, {NewRec(kLiftC016s), Size(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInit_32f, {}, {RecBuf(lifterSize(zemsDCTLifterGetSize_32f)), Len(kDct), Len(kCep), Size(kLifter), Val(1)});
    ROW(t, zemsDCTLifterInit_16s, {}, {RecBuf(lifterSize(zemsDCTLifterGetSize_16s)), Len(kDct), Len(kCep), Size(kLifter), Val(1)});
    ROW(t, zemsDCTLifterInit_C0_32f, {},
        {RecBuf(lifterSize(zemsDCTLifterGetSize_C0_32f)), Len(kDct), Len(kCep), Size(kLifter), Val(1), Val(0.5)});
    ROW(t, zemsDCTLifterInit_C0_16s, {},
        {RecBuf(lifterSize(zemsDCTLifterGetSize_C0_16s)), Len(kDct), Len(kCep), Size(kLifter), Val(1), Val(0.5)});
    ROW(t, zemsDCTLifterInit_Mul_32f, {L(kCep)}, {RecBuf(lifterSize(zemsDCTLifterGetSize_Mul_32f)), Len(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInit_Mul_16s, {L(kCep)}, {RecBuf(lifterSize(zemsDCTLifterGetSize_Mul_16s)), Len(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInit_MulC0_32f, {L(kCep)},
        {RecBuf(lifterSize(zemsDCTLifterGetSize_MulC0_32f)), Len(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterInit_MulC0_16s, {L(kCep)},
        {RecBuf(lifterSize(zemsDCTLifterGetSize_MulC0_16s)), Len(kDct), In(L), Len(L)});
    ROW(t, zemsDCTLifterFree_32f, {}, {OwnRec(kLift32f)});
    ROW(t, zemsDCTLifterFree_16s, {}, {OwnRec(kLiftC016s)});
    ROW(t, zemsDCTLifter_32f, {}, {In(kDct), Out(kCep), Rec(kLift32f)});
    ROW(t, zemsDCTLifter_16s_Sfs, {}, {In(kDct), Out(kCep + 1), Rec(kLiftC016s), Sf()});
    ROW(t, zemsDCTLifter_32s16s_Sfs, {}, {In(kDct), Out(kCep + 1), Rec(kLiftC016s), Sf()});

    // Deltas: one block that is the whole utterance (flags 3) of H frames of W features;
    // flags are broken only to values that keep the call inside the block.
    const auto flags = Alt(3, {1, 7, 5});
    for (auto [fn, name, depth] : {std::tuple{&zemsDelta_Win1_32f_D2, "zemsDelta_Win1_32f_D2", 2},
                                   std::tuple{&zemsDelta_Win2_32f_D2, "zemsDelta_Win2_32f_D2", 4}})
        t.add(fn, name, {W(13), H(9), S(28)},
              {In(H * W), Size(W), Out(D2(H, S, 2 * W)), Step(S, 2 * W), Len(H, depth), Val(0.5), flags});
    for (auto [fn, name, depth] : {std::tuple{&zemsDelta_Win1_16s_D2Sfs, "zemsDelta_Win1_16s_D2Sfs", 2},
                                   std::tuple{&zemsDelta_Win2_16s_D2Sfs, "zemsDelta_Win2_16s_D2Sfs", 4}})
        t.add(fn, name, {W(13), H(9), S(28)},
              {In(H * W), Size(W), Out(D2(H, S, 2 * W)), Step(S, 2 * W), Len(H, depth), Val(3), flags, Sf()});
    for (auto [fn, name, depth] : {std::tuple{&zemsDeltaDelta_Win1_32f_D2, "zemsDeltaDelta_Win1_32f_D2", 3},
                                   std::tuple{&zemsDeltaDelta_Win2_32f_D2, "zemsDeltaDelta_Win2_32f_D2", 6}})
        t.add(fn, name, {W(13), H(9), S(40)},
              {In(H * W), Size(W), Out(D2(H, S, 3 * W)), Step(S, 3 * W), Len(H, depth), Val(0.5), Val(0.25), flags});
    for (auto [fn, name, depth] : {std::tuple{&zemsDeltaDelta_Win1_16s_D2Sfs, "zemsDeltaDelta_Win1_16s_D2Sfs", 3},
                                   std::tuple{&zemsDeltaDelta_Win2_16s_D2Sfs, "zemsDeltaDelta_Win2_16s_D2Sfs", 6}})
        t.add(fn, name, {W(13), H(9), S(40)},
              {In(H * W), Size(W), Out(D2(H, S, 3 * W)), Step(S, 3 * W), Len(H, depth), Val(3), Val(2), flags, Sf()});
    for (auto [fn, name, depth] : {std::tuple{&zemsDeltaMul_Win1_32f_D2, "zemsDeltaMul_Win1_32f_D2", 2},
                                   std::tuple{&zemsDeltaMul_Win2_32f_D2, "zemsDeltaMul_Win2_32f_D2", 4}})
        t.add(fn, name, {W(12), H(9), S(24)},
              {In(H * W), In(2 * W), Size(W), Out(D2(H, S, 2 * W)), Step(S, 2 * W), Len(H, depth), flags});
    for (auto [fn, name, depth] : {std::tuple{&zemsDeltaDeltaMul_Win1_32f_D2, "zemsDeltaDeltaMul_Win1_32f_D2", 3},
                                   std::tuple{&zemsDeltaDeltaMul_Win2_32f_D2, "zemsDeltaDeltaMul_Win2_32f_D2", 6}})
        t.add(fn, name, {W(13), H(9), S(39)},
              {In(H * W), In(3 * W), Size(W), Out(D2(H, S, 3 * W)), Step(S, 3 * W), Len(H, depth), flags});
    for (auto [fn, name, depth] : {std::tuple{&zemsDeltaMul_Win1_16s_D2Sfs, "zemsDeltaMul_Win1_16s_D2Sfs", 2},
                                   std::tuple{&zemsDeltaMul_Win2_16s_D2Sfs, "zemsDeltaMul_Win2_16s_D2Sfs", 4}})
        t.add(fn, name, {W(12), H(9), S(24)},
              {In(H * W), In(2 * W), Size(W), Out(D2(H, S, 2 * W)), Step(S, 2 * W), Len(H, depth), flags, Sf()});
    for (auto [fn, name, depth] :
         {std::tuple{&zemsDeltaDeltaMul_Win1_16s_D2Sfs, "zemsDeltaDeltaMul_Win1_16s_D2Sfs", 3},
          std::tuple{&zemsDeltaDeltaMul_Win2_16s_D2Sfs, "zemsDeltaDeltaMul_Win2_16s_D2Sfs", 6}})
        t.add(fn, name, {W(13), H(9), S(39)},
              {In(H * W), In(3 * W), Size(W), Out(D2(H, S, 3 * W)), Step(S, 3 * W), Len(H, depth), flags, Sf()});
    ROW(t, zemsDeltaDelta_Aurora_32f_D2, {H(10), S(40)}, {In(H * 14), Out(D2(H, S, 39)), Step(S, 39), Len(H, 8), flags});
    ROW(t, zemsDeltaDelta_Aurora_16s_D2Sfs, {H(10), S(40)},
        {In(H * 14), Out(D2(H, S, 39)), Step(S, 39), Len(H, 8), flags, Sf()});
    ROW(t, zemsDeltaDeltaMul_Aurora_32f_D2, {H(10), S(40)},
        {In(H * 14), In(39), Out(D2(H, S, 39)), Step(S, 39), Len(H, 8), flags});
    ROW(t, zemsDeltaDeltaMul_Aurora_16s_D2Sfs, {H(10), S(40)},
        {In(H * 14), In(39), Out(D2(H, S, 39)), Step(S, 39), Len(H, 8), flags, Sf()});
    // Batch: statics from column K, W of them, then their deltas; window M.
    ROW(t, zemsEvalDelta_32f_D2, {H(11), S(32), W(12), K(3), M(2)},
        {In(D2(H, S, K + 2 * W)), Len(H, 2 * M), Step(S, K + 2 * W), Size(W), Size(K, 0), Size(M), Val(0.5)});
    ROW(t, zemsEvalDelta_16s_D2Sfs, {H(11), S(32), W(12), K(3), M(2)},
        {In(D2(H, S, K + 2 * W)), Len(H, 2 * M), Step(S, K + 2 * W), Size(W), Size(K, 0), Size(M), Val(3), Sf()});
    ROW(t, zemsEvalDeltaMul_32f_D2, {H(11), S(32), W(12), K(3), M(2)},
        {In(D2(H, S, K + 2 * W)), Len(H, 2 * M), Step(S, K + 2 * W), In(2 * W), Size(W), Size(K, 0), Size(M)});
    ROW(t, zemsEvalDeltaMul_16s_D2Sfs, {H(11), S(32), W(12), K(3), M(2)},
        {In(D2(H, S, K + 2 * W)), Len(H, 2 * M), Step(S, K + 2 * W), In(2 * W), Size(W), Size(K, 0), Size(M), Sf()});
}

}  // namespace sweep
