// The sweep's rows for re-estimation and clustering (see table_likelihood.cpp for the roles).
#include "sweep.h"

namespace sweep {

void addTrainingRows(Table& t) {
    t.family = "training";
    ROW(t, zemsUpdateMean_32f, {L(19)}, {In(L), In(L), Len(L), Val(3)});
    ROW(t, zemsUpdateMean_64f, {L(19)}, {In(L), In(L), Len(L), Val(3)});
    ROW(t, zemsUpdateVar_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L, 0.01, 0.02), In(L), Len(L), Val(3), Val(3)});
    ROW(t, zemsUpdateVar_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L, 0.01, 0.02), In(L), Len(L), Val(3), Val(3)});
    ROW(t, zemsUpdateWeight_32f, {L(19)}, {In(L, 0, 1), In(L), Len(L), Out(1), Val(3), Val(0.01)});
    ROW(t, zemsUpdateWeight_64f, {L(19)}, {In(L, 0, 1), In(L), Len(L), Out(1), Val(3), Val(0.01)});
    ROW(t, zemsUpdateGConst_32f, {L(19)}, {In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsUpdateGConst_64f, {L(19)}, {In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsUpdateGConst_DirectVar_32f, {L(19)}, {In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsUpdateGConst_DirectVar_64f, {L(19)}, {In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsMeanVarAcc_32f, {L(19)}, {In(L), In(L), In(L), In(L, 0.5, 2), Len(L), Val(0.5)});
    ROW(t, zemsMeanVarAcc_64f, {L(19)}, {In(L), In(L), In(L), In(L, 0.5, 2), Len(L), Val(0.5)});
    ROW(t, zemsSumMeanVar_32f, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsSumMeanVar_32f_I, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsSumMeanVar_16s32f, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsSumMeanVar_16s32f_I, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsSumMeanVar_16s32s_Sfs, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W), Sf()});
    ROW(t, zemsSumMeanVar_16s32s_ISfs, {W(7), H(5), S(8)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W), Sf()});
    ROW(t, zemsNewVar_32f, {L(19)}, {In(L), In(L, 0.5, 2), Out(L), Len(L), Val(1), Val(0.5)});
    ROW(t, zemsNewVar_32f_I, {L(19)}, {In(L), In(L), Len(L), Val(1), Val(0.5)});
    ROW(t, zemsNewVar_32s_Sfs, {L(19)}, {In(L), In(L, 50, 100), Out(L), Len(L), Val(1), Val(0.5), Sf()});
    ROW(t, zemsNewVar_32s_ISfs, {L(19)}, {In(L), In(L), Len(L), Val(1), Val(0.5), Sf()});
    ROW(t, zemsAccCovarianceMatrix_32f64f_D2, {W(7), H(5), S(8), K(9)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(D2(W, K, W)), Len(W), Step(K, W), Val(0.5)});
    ROW(t, zemsAccCovarianceMatrix_16s64f_D2, {W(7), H(5), S(8), K(9)}, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(D2(W, K, W)), Len(W), Step(K, W), Val(0.5)});
    ROW(t, zemsAccCovarianceMatrix_32f64f_D2L, {W(7), H(5)}, {Rows(H, W), Len(H), In(W), Rows(W, W), Len(W), Val(0.5)});
    ROW(t, zemsAccCovarianceMatrix_16s64f_D2L, {W(7), H(5)}, {Rows(H, W), Len(H), In(W), Rows(W, W), Len(W), Val(0.5)});
    ROW(t, zemsGaussianDist_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(1), Val(1), Val(1), Val(1)});
    ROW(t, zemsGaussianDist_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(1), Val(1), Val(1), Val(1)});
    ROW(t, zemsGaussianMerge_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Out(L), Out(L), Len(L), Out(1), Val(1), Val(1)});
    ROW(t, zemsGaussianMerge_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Out(L), Out(L), Len(L), Out(1), Val(1), Val(1)});
    ROW(t, zemsGaussianSplit_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Val(0.5)});
    ROW(t, zemsGaussianSplit_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Val(0.5)});
    ROW(t, zemsBhatDist_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsBhatDist_32f64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1)});
    ROW(t, zemsBhatDistSLog_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(1), Val(1)});
    ROW(t, zemsBhatDistSLog_32f64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L, 0.5, 2), Len(L), Out(1), Val(1), Val(1)});
    ROW(t, zemsDcsClustLAccumulate_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L), Len(L), Val(0.5)});
    ROW(t, zemsDcsClustLAccumulate_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L), Len(L), Val(0.5)});
    ROW(t, zemsDcsClustLAccumulate_DirectVar_32f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L), Len(L), Val(0.5)});
    ROW(t, zemsDcsClustLAccumulate_DirectVar_64f, {L(19)}, {In(L), In(L, 0.5, 2), In(L), In(L), Len(L), Val(0.5)});
    ROW(t, zemsDcsClustLCompute_64f, {L(19)}, {In(L), In(L, 5, 6), Len(L), Out(1), Val(3)});
    ROW(t, zemsDcsClustLCompute_32f64f, {L(19)}, {In(L), In(L, 5, 6), Len(L), Out(1), Val(3)});
}

}  // namespace sweep
