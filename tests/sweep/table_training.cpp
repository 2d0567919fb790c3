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
    // Column and row statistics over 5 rows of 7 (stride 8), the 16-bit means through the
    // allocator's scratch.  Variances need two rows.
    const std::initializer_list<Bind> d2 = {W(7), H(5), S(8)}, d2l = {W(7), H(5)};
    ROW(t, zemsSumColumn_32f_D2, d2, {In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_32f_D2L, d2l, {Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_64f_D2, d2, {In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_64f_D2L, d2l, {Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_16s32f_D2, d2, {In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_16s32f_D2L, d2l, {Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsSumColumn_16s32s_D2Sfs, d2, {In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsSumColumn_16s32s_D2LSfs, d2l, {Rows(H, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsSumRow_32f_D2, d2, {In(D2(H, S, W)), Len(W), Step(S, W), Out(H), Len(H)});
    ROW(t, zemsSumRow_32f_D2L, d2l, {Rows(H, W), Len(W), Out(H), Len(H)});
    ROW(t, zemsSumRow_64f_D2, d2, {In(D2(H, S, W)), Len(W), Step(S, W), Out(H), Len(H)});
    ROW(t, zemsSumRow_64f_D2L, d2l, {Rows(H, W), Len(W), Out(H), Len(H)});
    ROW(t, zemsSumRow_16s32f_D2, d2, {In(D2(H, S, W)), Len(W), Step(S, W), Out(H), Len(H)});
    ROW(t, zemsSumRow_16s32f_D2L, d2l, {Rows(H, W), Len(W), Out(H), Len(H)});
    ROW(t, zemsSumRow_16s32s_D2Sfs, d2, {In(D2(H, S, W)), Len(W), Step(S, W), Out(H), Len(H), Sf()});
    ROW(t, zemsSumRow_16s32s_D2LSfs, d2l, {Rows(H, W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMeanColumn_32f_D2, d2, {In(D2(H, S, W)), Len(H), Step(S, W), Out(W), Len(W)});
    ROW(t, zemsMeanColumn_32f_D2L, d2l, {Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsMeanColumn_16s_D2, d2, {In(D2(H, S, W)), Len(H), Step(S, W), Out(W), Len(W)});
    ROW(t, zemsMeanColumn_16s_D2L, d2l, {Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsVarColumn_32f_D2, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), In(W), Out(W), Len(W)});
    ROW(t, zemsVarColumn_32f_D2L, d2l, {Rows(H, W), Len(H, 2), In(W), Out(W), Len(W)});
    ROW(t, zemsVarColumn_16s_D2Sfs, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), In(W), Out(W), Len(W), Sf()});
    ROW(t, zemsVarColumn_16s_D2LSfs, d2l, {Rows(H, W), Len(H, 2), In(W), Out(W), Len(W), Sf()});
    ROW(t, zemsMeanVarColumn_32f_D2, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), Out(W), Out(W), Len(W)});
    ROW(t, zemsMeanVarColumn_32f_D2L, d2l, {Rows(H, W), Len(H, 2), Out(W), Out(W), Len(W)});
    ROW(t, zemsMeanVarColumn_16s_D2Sfs, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), Out(W), Out(W), Len(W), Sf()});
    ROW(t, zemsMeanVarColumn_16s_D2LSfs, d2l, {Rows(H, W), Len(H, 2), Out(W), Out(W), Len(W), Sf()});
    ROW(t, zemsMeanVarColumn_16s32s_D2Sfs, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), Out(W), Out(W), Len(W), Sf()});
    ROW(t, zemsMeanVarColumn_16s32s_D2LSfs, d2l, {Rows(H, W), Len(H, 2), Out(W), Out(W), Len(W), Sf()});
    ROW(t, zemsMeanVarColumn_16s16s32s_D2, d2, {In(D2(H, S, W)), Len(H, 2), Step(S, W), Out(W), Out(W), Len(W)});
    ROW(t, zemsMeanVarColumn_16s16s32s_D2L, d2l, {Rows(H, W), Len(H, 2), Out(W), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanColumn_32f_D2, d2, {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanColumn_32f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanColumn_64f_D2, d2, {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanColumn_64f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), Out(W), Len(W)});
    ROW(t, zemsWeightedVarColumn_32f_D2, d2, {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), In(W), Out(W), Len(W)});
    ROW(t, zemsWeightedVarColumn_32f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), In(W), Out(W), Len(W)});
    ROW(t, zemsWeightedVarColumn_64f_D2, d2, {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), In(W), Out(W), Len(W)});
    ROW(t, zemsWeightedVarColumn_64f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), In(W), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanVarColumn_32f_D2, d2,
        {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), Out(W), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanVarColumn_32f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), Out(W), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanVarColumn_64f_D2, d2,
        {In(D2(H, S, W)), Step(S, W), In(H, 0, 1), Len(H), Out(W), Out(W), Len(W)});
    ROW(t, zemsWeightedMeanVarColumn_64f_D2L, d2l, {Rows(H, W), In(H, 0, 1), Len(H), Out(W), Out(W), Len(W)});
    ROW(t, zemsWeightedSum_32f, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsWeightedSum_64f, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsWeightedSum_16s, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsWeightedSumHalf_32f, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsWeightedSumHalf_64f, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsWeightedSumHalf_16s, {L(19)}, {In(L), In(L), Out(L), Len(L), Val(0.3), Val(0.7)});
    ROW(t, zemsNormalizeColumn_32f_D2, d2, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsNormalizeColumn_32f_D2L, d2l, {Rows(H, W), Len(H), In(W), In(W), Len(W)});
    ROW(t, zemsNormalizeColumn_16s_D2Sfs, d2, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), In(W), Len(W), Sf()});
    ROW(t, zemsNormalizeColumn_16s_D2LSfs, d2l, {Rows(H, W), Len(H), In(W), In(W), Len(W), Sf()});
    ROW(t, zemsSubRow_32f_D2, d2, {In(W), Len(W), In(D2(H, S, W)), Step(S, W), Len(H)});
    ROW(t, zemsSubRow_32f_D2L, d2l, {In(W), Len(W), Rows(H, W), Len(H)});
    ROW(t, zemsSubRow_16s_D2, d2, {In(W), Len(W), In(D2(H, S, W)), Step(S, W), Len(H)});
    ROW(t, zemsSubRow_16s_D2L, d2l, {In(W), Len(W), Rows(H, W), Len(H)});
    ROW(t, zemsAddAllRowSum_32f_D2, d2, {In(D2(H, S, W)), Step(S, W), Len(H), In(W), Len(W)});
    ROW(t, zemsAddAllRowSum_32f_D2L, d2l, {Rows(H, W), Len(H), In(W), Len(W)});
    // Rows base[r] + counts[r] (1 .. 3 of 5) from column offset K; every offset and height
    // must be safe, being checked against step and the row numbers.
    ROW(t, zemsAddNRows_32f_D2, {W(5), H(5), S(9), K(3), N(4)},
        {In(D2(H, S, K + W)), Size(H), Size(K, 0), Step(S, K + W), In(N, [](int64_t i) { return double(i % 3); }),
         In(N, [](int64_t) { return 1.0; }), Len(N), Out(W), Size(W), Val(0.5)});
    ROW(t, zemsCopyColumn_32f_D2, d2, {In(H * W), Len(W), Out(D2(H, S, W)), Step(S, W), Len(H)});
    ROW(t, zemsCopyColumn_16s_D2, d2, {In(H * W), Len(W), Out(D2(H, S, W)), Step(S, W), Len(H)});
    // Indirect copies: 4 of the source's 7 columns into rows of 4 (stride 6).
    const auto index = [](int64_t i) { return double((i * 3) % 7); };
    ROW(t, zemsCopyColumn_Indirect_32f_D2, {W(7), H(5), S(8), K(4), M(6)},
        {In(D2(H, S, W)), Len(W), Step(S, W), Out(D2(H, M, K)), In(K, index), Len(K), Step(M, K), Len(H)});
    ROW(t, zemsCopyColumn_Indirect_32f_D2L, {W(7), H(5), K(4)},
        {Rows(H, W), Len(W), Rows(H, K), In(K, index), Len(K), Len(H)});
    ROW(t, zemsCopyColumn_Indirect_64f_D2, {W(7), H(5), S(8), K(4), M(6)},
        {In(D2(H, S, W)), Len(W), Step(S, W), Out(D2(H, M, K)), In(K, index), Len(K), Step(M, K), Len(H)});
    ROW(t, zemsCopyColumn_Indirect_64f_D2L, {W(7), H(5), K(4)},
        {Rows(H, W), Len(W), Rows(H, K), In(K, index), Len(K), Len(H)});
    ROW(t, zemsCopyColumn_Indirect_16s_D2, {W(7), H(5), S(8), K(4), M(6)},
        {In(D2(H, S, W)), Len(W), Step(S, W), Out(D2(H, M, K)), In(K, index), Len(K), Step(M, K), Len(H)});
    ROW(t, zemsCopyColumn_Indirect_16s_D2L, {W(7), H(5), K(4)},
        {Rows(H, W), Len(W), Rows(H, K), In(K, index), Len(K), Len(H)});
}

}  // namespace sweep
