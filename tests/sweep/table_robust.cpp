// The sweep's rows for the Aurora noise-reduction and waveform steps (see table_likelihood.cpp
// for the roles).  Sizes are built in where the steps fix them: 10 half-response values and
// 17 taps, 96 samples read for 80 filtered, 200-sample frames, 65- and 129-bin spectra.
#include "sweep.h"

namespace sweep {

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
}

}  // namespace sweep
