// The sweep's rows for linear prediction, its parameter conversions and the pitch
// measures (see table_likelihood.cpp for the roles).
#include <cmath>

#include "sweep.h"

namespace sweep {
namespace {

// The autocorrelation of a first-order process, r[k] = scale * 0.5^k: a stable model.
Fill autocorrelation(double scale) {
    return [scale](int64_t k) { return scale * std::pow(0.5, static_cast<double>(k)); };
}
// Line spectral pairs in decreasing order inside (-1, 1), times scale.
Fill lsp(double scale, int n) {
    return [scale, n](int64_t i) { return scale * 0.99 * std::cos(M_PI * static_cast<double>(i + 1) / (n + 1)); };
}
// Pitch marks at rising positions.
Fill marks(double spacing) {
    return [spacing](int64_t i) { return spacing * static_cast<double>(i + 1); };
}

}  // namespace

void addLpRows(Table& t) {
    t.family = "linear prediction";
    // L samples, order K.  A refused stage keeps the coefficients before it: partial stores.
    ROW(t, zemsLinearPrediction_Auto_32f, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K)}, kPartialStores);
    ROW(t, zemsLinearPredictionNeg_Auto_32f, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K)}, kPartialStores);
    ROW(t, zemsLinearPrediction_Cov_32f, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K)}, kPartialStores);
    ROW(t, zemsLinearPrediction_Auto_16s_Sfs, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K), Sf(-12)},
        kPartialStores);
    ROW(t, zemsLinearPredictionNeg_Auto_16s_Sfs, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K), Sf(-12)},
        kPartialStores);
    ROW(t, zemsLinearPrediction_Cov_16s_Sfs, {L(40), K(10)}, {In(L), Len(L), Out(K), Len(K), Sf(-12)},
        kPartialStores);
    ROW(t, zemsDurbin_32f, {K(10)}, {In(K + 1, autocorrelation(1)), Out(K), Len(K), Out(1)}, kPartialStores);
    ROW(t, zemsDurbin_16s_Sfs, {K(10)}, {In(K + 1, autocorrelation(16000)), Out(K), Len(K), Out(1), Sf(-12)},
        kPartialStores);
    ROW(t, zemsSchur_32f, {K(10)}, {In(K + 1, autocorrelation(1)), Out(K), Len(K), Out(1)});
    ROW(t, zemsSchur_16s_Sfs, {K(10)}, {In(K + 1, autocorrelation(16000)), Out(K), Len(K), Out(1), Sf(-12)});

    // Conversions of N coefficients.  An unstable stage keeps the values written before it.
    for (auto [fn, name] : {std::pair{&zemsLPToCepstrum_32f, "zemsLPToCepstrum_32f"},
                            std::pair{&zemsCepstrumToLP_32f, "zemsCepstrumToLP_32f"},
                            std::pair{&zemsLPToReflection_32f, "zemsLPToReflection_32f"},
                            std::pair{&zemsReflectionToLP_32f, "zemsReflectionToLP_32f"},
                            std::pair{&zemsReflectionToAR_32f, "zemsReflectionToAR_32f"},
                            std::pair{&zemsReflectionToTrueAR_32f, "zemsReflectionToTrueAR_32f"}})
        t.add(fn, name, {N(10)}, {In(N, -0.1, 0.1), Out(N), Len(N)}, kPartialStores);
    for (auto [fn, name] : {std::pair{&zemsLPToCepstrum_16s_Sfs, "zemsLPToCepstrum_16s_Sfs"},
                            std::pair{&zemsCepstrumToLP_16s_Sfs, "zemsCepstrumToLP_16s_Sfs"},
                            std::pair{&zemsLPToReflection_16s_Sfs, "zemsLPToReflection_16s_Sfs"},
                            std::pair{&zemsReflectionToLP_16s_Sfs, "zemsReflectionToLP_16s_Sfs"}})
        t.add(fn, name, {N(10)}, {In(N, -3000, 3000), Out(N), Len(N), Sf(-15)}, kPartialStores);
    for (auto [fn, name] : {std::pair{&zemsReflectionToAR_16s_Sfs, "zemsReflectionToAR_16s_Sfs"},
                            std::pair{&zemsReflectionToTrueAR_16s_Sfs, "zemsReflectionToTrueAR_16s_Sfs"}})
        t.add(fn, name, {N(10)}, {In(N, -3000, 3000), Sf(-15), Out(N), Len(N), Sf(-12)}, kPartialStores);
    ROW(t, zemsLSPToLP_32f, {N(10)}, {In(N, lsp(1, 10)), Out(N), Len(N)}, kPartialStores);
    ROW(t, zemsLSPToLP_16s_Sfs, {N(10)}, {In(N, lsp(32768, 10)), Size(15), Out(N), Len(N), Sf(-12)}, kPartialStores);
    ROW(t, zemsLPToLSP_32f, {N(10), M(128)}, {In(N, -0.1, 0.1), Out(N), Len(N), Out(1), Len(M), Size(8)},
        kPartialStores);
    ROW(t, zemsLPToLSP_16s_Sfs, {N(10), M(128)},
        {In(N, -3000, 3000), Sf(15), Out(N), Len(N), Out(1), Len(M), Size(8), Sf(-15)}, kPartialStores);
    // len coefficients into a spectrum of 2^order bins, len below 2^(order + 1).
    ROW(t, zemsLPToSpectrum_32f, {L(10), K(4)}, {In(L, -0.1, 0.1), Len(L), Out(16), Len(K), Val(1)});
    ROW(t, zemsLPToSpectrum_16s_Sfs, {L(10), K(4)}, {In(L), Len(L), Out(16), Len(K), Val(1000), Sf(-8)});
    ROW(t, zemsReflectionToLAR_32f, {N(10)}, {In(N, -0.9, 0.9), Out(N), Len(N), Val(0.99)}, kPartialStores);
    ROW(t, zemsReflectionToLAR_16s_Sfs, {N(10)}, {In(N, -3000, 3000), Sf(-15), Out(N), Len(N), Val(0.99), Sf(-12)},
        kPartialStores);
    ROW(t, zemsReflectionToTilt_32f, {N(10)}, {In(N, 0.1, 0.9), In(N, 0.1, 0.9), Out(N), Len(N)});
    ROW(t, zemsReflectionToAbsTilt_32f, {N(10)}, {In(N, 0.1, 0.9), In(N, 0.1, 0.9), Out(N), Len(N)});
    ROW(t, zemsReflectionToTilt_16s_Sfs, {N(10)}, {In(N, 100, 3000), In(N, 100, 3000), Out(N), Len(N), Sf(-12)});
    ROW(t, zemsReflectionToAbsTilt_16s_Sfs, {N(10)}, {In(N, 100, 3000), In(N, 100, 3000), Out(N), Len(N), Sf(-12)});

    // Pitch: lag functions of L values, periods between minPeriod and maxPeriod.
    ROW(t, zemsPeriodicity_32f, {L(200)}, {In(L, 0, 1), Len(L), Out(1), Out(1), Size(160), Size(20)});
    ROW(t, zemsPeriodicity_32s16s, {L(200)}, {In(L, 0, 1000), Len(L), Out(1), Out(1), Size(160), Size(20)});
    ROW(t, zemsPeriodicityLSPE_32f, {L(200)}, {In(L), Len(L), Out(1), Out(1), Size(100), Size(20)});
    ROW(t, zemsPeriodicityLSPE_16s, {L(200)}, {In(L), Len(L), Out(1), Out(1), Size(100), Size(20)});
    ROW(t, zemsCrossCorrCoeff_16s32f, {L(40)}, {In(L), In(L), Len(L), Out(1)});
    ROW(t, zemsCrossCorrCoeffPartial_16s32f, {L(40)}, {In(L), In(L), Len(L), Val(1e5), Out(1)});
    // A segment of minLen K against positions up to maxLen M, every S-th sample.
    ROW(t, zemsCrossCorrCoeffDecim_16s32f, {M(64), K(32), S(4)},
        {In(M), In(M), Len(M), Len(K), Out((M - K) / S + 1), Size(S)});
    ROW(t, zemsCrossCorrCoeffInterpolation_16s32f, {L(40)}, {In(L), In(L + 1), Len(L), Out(1), Out(1)});
    ROW(t, zemsPitchmarkToF0Cand_32f, {L(19)}, {In(L, marks(0.01)), Out(L), Len(L)});
    ROW(t, zemsPitchmarkToF0Cand_16s_Sfs, {L(19)}, {In(L, marks(100)), Out(L), Len(L), Sf()});
}

void addDtwRows(Table& t) {
    t.family = "dynamic time warping";
    // H and M frames of W features; the stride failure is zemStatusBadSize here.
    ROW(t, zemsDTW_L2_32f_D2L, {H(9), M(7), W(5)}, {Rows(H, W), Len(H), Rows(M, W), Len(M), Len(W), Out(1), Val(2), Val(10)});
    ROW(t, zemsDTW_L2_32f_D2, {H(9), M(7), W(5), S(8)},
        {In(D2(H, S, W)), Len(H), In(D2(M, S, W)), Len(M), Len(W), Step(S, W), Out(1), Val(2), Val(10)});
    ROW(t, zemsDTW_L2Low_16s32s_D2LSfs, {H(9), M(7), W(5)},
        {Rows(H, W), Len(H), Rows(M, W), Len(M), Len(W), Out(1), Val(2), Val(10), Sf()});
    ROW(t, zemsDTW_L2Low_16s32s_D2Sfs, {H(9), M(7), W(5), S(8)},
        {In(D2(H, S, W)), Len(H), In(D2(M, S, W)), Len(M), Len(W), Step(S, W), Out(1), Val(2), Val(10), Sf()});
    ROW(t, zemsDTW_L2_8u32s_D2LSfs, {H(9), M(7), W(5)},
        {Rows(H, W), Len(H), Rows(M, W), Len(M), Len(W), Out(1), Val(2), Val(10), Sf()});
    ROW(t, zemsDTW_L2_8u32s_D2Sfs, {H(9), M(7), W(5), S(8)},
        {In(D2(H, S, W)), Len(H), In(D2(M, S, W)), Len(M), Len(W), Step(S, W), Out(1), Val(2), Val(10), Sf()});
}

}  // namespace sweep
