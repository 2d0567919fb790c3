// The sweep's rows for the Aurora noise-reduction and waveform steps (see table_likelihood.cpp
// for the roles).  Sizes are built in where the steps fix them: 10 half-response values and
// 17 taps, 96 samples read for 80 filtered, 200-sample frames, 65- and 129-bin spectra.
#include "sweep.h"

namespace sweep {
namespace {

// The voice activity record (64 bytes) and MCRA states for a 256-point transform (129 bins).
constexpr Zem32s kMcraFft = 256, kMcraBytes = 16 * (kMcraFft / 2) + 104;

const RecordKind kVad = {"VAD record", [] { return int64_t{64}; },
                         [](void* buf) { return zemsVADInit_Aurora_32f(static_cast<ZemsVADState_Aurora*>(buf)); }, {},
                         {}};
template <class St>
RecordKind mcraKind(const char* name, ZemStatus (*init)(Zem32s, Zem32s, St*)) {
    return {name, [] { return int64_t{kMcraBytes}; },
            [=](void* buf) { return init(16000, kMcraFft, static_cast<St*>(buf)); }, {}, {}};
}
const RecordKind kMcra32f = mcraKind<ZemsMCRAState_32f>("MCRA state 32f", zemsInitMCRA_32f);
const RecordKind kMcra32s = mcraKind<ZemsMCRAState_32s>("MCRA state 32s", zemsInitMCRA_32s);

}  // namespace

void addRobustRows(Table& t) {
    t.family = "robust";
    ROW(t, zemsSmoothedPowerSpectrumAurora_32f, {L(16)}, {In(L), Out(5), Len(L)});
    ROW(t, zemsSmoothedPowerSpectrumAurora_16s, {L(16)}, {In(L), Out(5), Len(L)});
    ROW(t, zemsSmoothedPowerSpectrumAurora_32s_Sfs, {L(16)}, {In(L), Out(5), Len(L), Sf()});
    ROW(t, zemsSmoothedPowerSpectrumAurora_32s64s_Sfs, {L(16)}, {In(L), Out(5), Len(L), Sf()});
    ROW(t, zemsNoiseSpectrumUpdate_Aurora_32f, {L(19)}, {In(L, 0, 100), In(L, 0, 100), Out(L), Len(L)});
    ROW(t, zemsNoiseSpectrumUpdate_Aurora_16s_Sfs, {L(19)}, {In(L, 0, 100), In(L, 0, 100), Out(L), Len(L), Sf()});
    ROW(t, zemsNoiseSpectrumUpdate_Aurora_32s_Sfs, {L(19)}, {In(L, 0, 100), In(L, 0, 100), Out(L), Len(L), Sf()});
    ROW(t, zemsWienerFilterDesign_Aurora_32f, {L(19)}, {In(L, 0, 100), In(L, 1, 100), In(L, 0, 100), Out(L), Len(L)});
    ROW(t, zemsWienerFilterDesign_Aurora_16s, {L(19)}, {In(L, 0, 100), In(L, 1, 100), In(L, 0, 100), Out(L), Len(L)});
    ROW(t, zemsTabsCalculation_Aurora_32f, {L(10)}, {In(L), Out(17)});
    ROW(t, zemsTabsCalculation_Aurora_16s, {L(10)}, {In(L), Out(17)});
    ROW(t, zemsResidualFilter_Aurora_32f, {L(96)}, {In(L), Out(80), In(17)});
    ROW(t, zemsResidualFilter_Aurora_16s_Sfs, {L(96)}, {In(L), Out(80), In(17), Sf()});
    ROW(t, zemsBlindEqualization_Aurora_32f, {L(13)}, {In(L), In(L), In(L), Len(L), Val(4)});
    ROW(t, zemsBlindEqualization_Aurora_16s, {L(13)}, {In(L), In(L), In(L), Len(L), Val(250)});
    ROW(t, zemsWaveProcessing_Aurora_32f, {L(200)}, {In(L), Out(L)});
    ROW(t, zemsWaveProcessing_Aurora_16s, {L(200)}, {In(L), Out(L)});
    // The source ends where reading ends: (len rounded down to even) + tapsLen - 1 elements.
    ROW(t, zemsLowHighFilter_Aurora_32f, {L(20), K(5)}, {In(L + K - 1), Out(10), Out(10), Len(L), In(K), Len(K)});
    ROW(t, zemsLowHighFilter_Aurora_16s_Sfs, {L(20), K(5)},
        {In(L + K - 1), Out(10), Out(10), Len(L), In(K), Len(K), Sf()});
    ROW(t, zemsHighBandCoding_Aurora_32f, {L(65), K(129)}, {In(3), In(L), In(K), Out(3)});
    ROW(t, zemsHighBandCoding_Aurora_32s_Sfs, {L(65), K(129)}, {In(3), In(L), In(K), Out(3), Sf()});

    // Voice activity: 25 mel bands and 64 spectrum values a frame.
    ROW(t, zemsVADGetBufSize_Aurora_16s, {}, {Out(1)});
    ROW(t, zemsVADGetBufSize_Aurora_32f, {}, {Out(1)});
    ROW(t, zemsVADInit_Aurora_16s, {}, {RecBuf(64)}, kBlankInit);
    ROW(t, zemsVADInit_Aurora_32f, {}, {RecBuf(64)}, kBlankInit);
    ROW(t, zemsVADDecision_Aurora_16s, {}, {In(25), In(64), Val(3), Out(1), Rec(kVad)});
    ROW(t, zemsVADDecision_Aurora_32f, {}, {In(25), In(64), Val(3), Out(1), Rec(kVad)});
    ROW(t, zemsVADFlush_Aurora_16s, {}, {Out(1), Rec(kVad)});
    ROW(t, zemsVADFlush_Aurora_32f, {}, {Out(1), Rec(kVad)});

    // MCRA: rates are values, fftLen a size of 8 or more; the gains take 1 .. 65535 elements
    // and a negative Wiener source is refused with the other gains computed.
    ROW(t, zemsGetSizeMCRA_32f, {}, {Size(kMcraFft, 8), Out(1)});
    ROW(t, zemsGetSizeMCRA_32s, {}, {Size(kMcraFft, 8), Out(1)});
    ROW(t, zemsInitMCRA_32f, {}, {Val(16000), Size(kMcraFft, 8), RecBuf(kMcraBytes)});
    ROW(t, zemsInitMCRA_32s, {}, {Val(16000), Size(kMcraFft, 8), RecBuf(kMcraBytes)});
    ROW(t, zemsAltInitMCRA_32f, {}, {Val(16000), Size(kMcraFft, 8), Val(100), RecBuf(kMcraBytes)});
    ROW(t, zemsAltInitMCRA_32s, {}, {Val(16000), Size(kMcraFft, 8), Val(100), RecBuf(kMcraBytes)});
    ROW(t, zemsUpdateNoisePSDMCRA_32f_I, {L(kMcraFft / 2 + 1)}, {In(L, 0, 100), Rec(kMcra32f), In(L, 0, 100)});
    ROW(t, zemsUpdateNoisePSDMCRA_32s_I, {L(kMcraFft / 2 + 1)}, {In(L, 0, 1e6), Rec(kMcra32s), In(L, 0, 1e6)});
    ROW(t, zemsFilterUpdateEMNS_32f, {L(19)}, {In(L, 0, 1), In(L, 0, 100), Out(L), Len(L)});
    ROW(t, zemsFilterUpdateEMNS_32s, {L(19)}, {In(L, 0, 2147483647), In(L, 0, 3276800), Out(L), Len(L)});
    ROW(t, zemsFilterUpdateWiener_32f, {L(19)}, {In(L, 0, 100), Out(L), Len(L)}, kPartialStores);
    ROW(t, zemsFilterUpdateWiener_32s, {L(19)}, {In(L, 0, 1 << 26), Out(L), Len(L)}, kPartialStores);
}

}  // namespace sweep
