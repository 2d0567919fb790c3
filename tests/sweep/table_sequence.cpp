// The sweep's rows for the sequence tools (see table_likelihood.cpp for the roles).
#include "sweep.h"

namespace sweep {
namespace {

// Variable engine: window 8, 16 steps a sample.  Fixed engine: 44100 to 16000 Hz, 32 taps.
template <class St, class Alloc, class Free>
RecordKind variableKind(const char* name, Alloc alloc, Free release) {
    return {name, {}, {},
            [=](void** out) { return alloc(reinterpret_cast<St**>(out), 8.0f, 16, 0.9f, 4.0f, 1); },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}
const RecordKind kVar32f = variableKind<ZemsResampleState_32f>("resampler 32f", zemsResamplePolyphaseInitAlloc_32f,
                                                               zemsResamplePolyphaseFree_32f);
const RecordKind kVar16s = variableKind<ZemsResampleState_16s>("resampler 16s", zemsResamplePolyphaseInitAlloc_16s,
                                                               zemsResamplePolyphaseFree_16s);

constexpr int kIn = 44100, kOut = 16000, kTaps = 32;

int64_t fixedSize(bool is16, int which) {
    Zem32s size = -1, filterLen = -1, numFilters = -1;
    const ZemStatus st = is16 ? zemsResamplePolyphaseFixedGetSize_16s(kIn, kOut, kTaps, &size, &filterLen, &numFilters, 1)
                              : zemsResamplePolyphaseFixedGetSize_32f(kIn, kOut, kTaps, &size, &filterLen, &numFilters);
    if (st < 0) return -1;
    return which == 0 ? size : which == 1 ? filterLen : numFilters;
}

template <class St, class Init, class Alloc, class Free>
RecordKind fixedKind(const char* name, bool is16, Init init, Alloc alloc, Free release) {
    return {name, [=] { return fixedSize(is16, 0); },
            [=](void* buf) { return init(static_cast<St*>(buf), kIn, kOut, kTaps, 1); },
            [=](void** out) { return alloc(reinterpret_cast<St**>(out), kIn, kOut, kTaps, 0.95f, 8.0f, 1); },
            [=](void* rec) { return release(static_cast<St*>(rec)); }};
}
const RecordKind kFix32f =
    fixedKind<ZemsResampleFixedState_32f>("fixed resampler 32f", false, zemsResamplePolyphaseFixedInit_32f,
                                          zemsResamplePolyphaseFixedInitAlloc_32f, zemsResamplePolyphaseFixedFree_32f);
const RecordKind kFix16s =
    fixedKind<ZemsResampleFixedState_16s>("fixed resampler 16s", true, zemsResamplePolyphaseFixedInit_16s,
                                          zemsResamplePolyphaseFixedInitAlloc_16s, zemsResamplePolyphaseFixedFree_16s);

Ex fixedEx(bool is16, int which) {
    return Ex([is16, which](const Dims&) { return fixedSize(is16, which); });
}

}  // namespace

void addSequenceRows(Table& t) {
    t.family = "sequence";
    // Streams read history before src[0] and look-ahead after len - 1: the source holds 64
    // samples on each side (more than the filters reach).  The time is the caller's stream
    // position; a NaN or infinite one is not swept.  Outputs have room for len * ratio + 4.
    const auto hints = Alt(1, {2, 0, -1, 2147483647});
    ROW(t, zemsResamplePolyphaseInitAlloc_32f, {}, {NewRec(kVar32f), Val(8), Size(16), Val(0.9), Val(4), hints});
    // The 16-bit fast table answers a failure of its first allocation with zemStatusNullPointer.
    ROW(t, zemsResamplePolyphaseInitAlloc_16s, {}, {NewRec(kVar16s), Val(8), Size(16), Val(0.9), Val(4), hints},
        kAllocFailureAnyError);
    ROW(t, zemsResamplePolyphaseFree_32f, {}, {OwnRec(kVar32f)});
    ROW(t, zemsResamplePolyphaseFree_16s, {}, {OwnRec(kVar16s)});
    ROW(t, zemsResamplePolyphase_32f, {L(200)},
        {Rec(kVar32f), InMid(64, L + 128), Len(L), Out(L / 2 + 4), Fixed(0.5), Val(1), noExtremes(In(1, 0, 0)), Out(1)});
    ROW(t, zemsResamplePolyphase_16s, {L(200)},
        {Rec(kVar16s), InMid(64, L + 128), Len(L), Out(L / 2 + 4), Fixed(0.5), Val(1), noExtremes(In(1, 0, 0)), Out(1)});
    ROW(t, zemsResamplePolyphaseFixedGetSize_32f, {}, {Size(kIn), Size(kOut), Size(kTaps), Out(1), Out(1), Out(1)});
    ROW(t, zemsResamplePolyphaseFixedGetSize_16s, {},
        {Size(kIn), Size(kOut), Size(kTaps), Out(1), Out(1), Out(1), Alt(1, {2, 0, -1})});
    ROW(t, zemsResamplePolyphaseFixedInit_32f, {},
        {RecBuf(fixedEx(false, 0)), Fixed(kIn), Fixed(kOut), Fixed(kTaps), Alt(1, {2, 0, -1})});
    ROW(t, zemsResamplePolyphaseFixedInit_16s, {},
        {RecBuf(fixedEx(true, 0)), Fixed(kIn), Fixed(kOut), Fixed(kTaps), Fixed(1)});
    ROW(t, zemsResamplePolyphaseFixedInitAlloc_32f, {},
        {NewRec(kFix32f), Size(kIn), Size(kOut), Size(kTaps), Val(0.95), Val(8), hints});
    ROW(t, zemsResamplePolyphaseFixedInitAlloc_16s, {},
        {NewRec(kFix16s), Size(kIn), Size(kOut), Size(kTaps), Val(0.95), Val(8), hints});
    ROW(t, zemsResamplePolyphaseFixedFree_32f, {}, {OwnRec(kFix32f)});
    ROW(t, zemsResamplePolyphaseFixedFree_16s, {}, {OwnRec(kFix16s)});
    ROW(t, zemsResamplePolyphaseFixed_32f, {L(441)},
        {Rec(kFix32f), InMid(64, L + 128), Len(L), Out(164), Val(1), noExtremes(In(1, 0, 0)), Out(1)}, kBlankInit);
    ROW(t, zemsResamplePolyphaseFixed_16s, {L(441)},
        {Rec(kFix16s), InMid(64, L + 128), Len(L), Out(164), Val(1), noExtremes(In(1, 0, 0)), Out(1)}, kBlankInit);
    // Filter rows: numFilters rows of filterLen taps, S apart (the row copies have their own
    // length limit, so the stride is only a size here).  Init leaves the filters to the caller.
    ROW(t, zemsResamplePolyphaseGetFixedFilter_32f, {S(40)},
        {Rec(kFix32f), Out(D2(fixedEx(false, 2), S, fixedEx(false, 1))), Len(S), Len(fixedEx(false, 2))}, kBlankInit);
    ROW(t, zemsResamplePolyphaseGetFixedFilter_16s, {S(40)},
        {Rec(kFix16s), Out(D2(fixedEx(true, 2), S, fixedEx(true, 1))), Len(S), Len(fixedEx(true, 2))}, kBlankInit);
    ROW(t, zemsResamplePolyphaseSetFixedFilter_32f, {S(40)},
        {Rec(kFix32f), In(D2(fixedEx(false, 2), S, fixedEx(false, 1))), Len(S), Len(fixedEx(false, 2))}, kBlankInit);
    ROW(t, zemsResamplePolyphaseSetFixedFilter_16s, {S(40)},
        {Rec(kFix16s), In(D2(fixedEx(true, 2), S, fixedEx(true, 1))), Len(S), Len(fixedEx(true, 2))}, kBlankInit);
    // The elementwise special functions; RecSqrt's floor must be above 0.
    ROW(t, zemsExpNegSqr_32f, {L(19)}, {In(L, -3, 3), Out(L), Len(L)});
    ROW(t, zemsExpNegSqr_32f_I, {L(19)}, {In(L, -3, 3), Len(L)});
    ROW(t, zemsExpNegSqr_32f64f, {L(19)}, {In(L, -3, 3), Out(L), Len(L)});
    ROW(t, zemsExpNegSqr_64f, {L(19)}, {In(L, -3, 3), Out(L), Len(L)});
    ROW(t, zemsExpNegSqr_64f_I, {L(19)}, {In(L, -3, 3), Len(L)});
    ROW(t, zemsSinC_32f, {L(19)}, {In(L, -10, 10), Out(L), Len(L)});
    ROW(t, zemsSinC_32f_I, {L(19)}, {In(L, -10, 10), Len(L)});
    ROW(t, zemsSinC_32f64f, {L(19)}, {In(L, -10, 10), Out(L), Len(L)});
    ROW(t, zemsSinC_64f, {L(19)}, {In(L, -10, 10), Out(L), Len(L)});
    ROW(t, zemsSinC_64f_I, {L(19)}, {In(L, -10, 10), Len(L)});
    ROW(t, zemsRecSqrt_32f, {L(19)}, {In(L, 0, 10), Len(L), Val(0.5)});
    ROW(t, zemsRecSqrt_32s_Sfs, {L(19)}, {In(L, 0, 1000), Len(L), Val(4), Sf(-10)});
    ROW(t, zemsRecSqrt_32s16s_Sfs, {L(19)}, {In(L, 0, 1000), Out(L), Len(L), Val(4), Sf(-10)});
}

}  // namespace sweep
