// The sweep's rows for matrix products, the Zem64f row and column operations and the singular
// value decomposition (see table_likelihood.cpp for the roles).  Column numbers and firstRow
// are checked against width and height, so every value of them must be safe.
#include "sweep.h"

namespace sweep {

void addLinalgRows(Table& t) {
    t.family = "linalg";
    ROW(t, zemsMatVecMul_32f_D2, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H)});
    ROW(t, zemsMatVecMul_32f_D2L, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H)});
    ROW(t, zemsMatVecMul_16s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMatVecMul_16s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMatVecMul_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMatVecMul_16s32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMatVecMul_32s_D2Sfs, {W(13), H(5), S(16)}, {In(D2(H, S, W)), Step(S, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsMatVecMul_32s_D2LSfs, {W(13), H(5)}, {Rows(H, W), In(W), Len(W), Out(H), Len(H), Sf()});
    ROW(t, zemsVecMatMul_32f_D2, {W(13), H(5), S(16)}, {In(H), In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsVecMatMul_32f_D2L, {W(13), H(5)}, {In(H), Rows(H, W), Len(H), Out(W), Len(W)});
    ROW(t, zemsVecMatMul_16s_D2Sfs, {W(13), H(5), S(16)}, {In(H), In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsVecMatMul_16s_D2LSfs, {W(13), H(5)}, {In(H), Rows(H, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsVecMatMul_16s32s_D2Sfs, {W(13), H(5), S(16)}, {In(H), In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsVecMatMul_16s32s_D2LSfs, {W(13), H(5)}, {In(H), Rows(H, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsVecMatMul_32s_D2Sfs, {W(13), H(5), S(16)}, {In(H), In(D2(H, S, W)), Step(S, W), Len(H), Out(W), Len(W), Sf()});
    ROW(t, zemsVecMatMul_32s_D2LSfs, {W(13), H(5)}, {In(H), Rows(H, W), Len(H), Out(W), Len(W), Sf()});
    // Column operations over rows firstRow .. height - 1 of a 9 by 5 matrix; firstRow 0, so
    // that a null first row is one the call reads.
    ROW(t, zemsSumColumnAbs_64f_D2L, {W(5), H(9)}, {Rows(H, W), Size(W), Len(H), Out(1), Size(2, 0), Size(0, 0)});
    ROW(t, zemsSumColumnSqr_64f_D2L, {W(5), H(9)}, {Rows(H, W), Size(W), Len(H), Out(1), Size(2, 0), Size(0, 0), Val(0.5)});
    ROW(t, zemsDotProdColumn_64f_D2L, {W(5), H(9)},
        {Rows(H, W), Size(W), Len(H), Out(1), Size(1, 0), Size(4, 0), Size(0, 0)});
    ROW(t, zemsAddMulColumn_64f_D2L, {W(5), H(9)}, {Rows(H, W), Size(W), Len(H), Size(1, 0), Size(4, 0), Size(0, 0), Val(0.5)});
    ROW(t, zemsMulColumn_64f_D2L, {W(5), H(9)}, {Rows(H, W), Size(W), Len(H), Size(2, 0), Size(0, 0), Val(0.5)});
    ROW(t, zemsQRTransColumn_64f_D2L, {W(5), H(9)}, {Rows(H, W), Size(W), Len(H), Size(1, 0), Size(4, 0), Val(0.6), Val(0.8)});
    // The row operations; 20 elements reach the vector path of the absolute sum.
    ROW(t, zemsSumRowAbs_64f, {L(20)}, {In(L), Len(L), Out(1)});
    ROW(t, zemsSumRowSqr_64f, {L(20)}, {In(L), Len(L), Out(1), Val(0.5)});
    ROW(t, zemsAddMulRow_64f, {L(20)}, {In(L), In(L), Len(L), Val(0.5)});
    // The decomposition, on a taller and a wider matrix.  U, W and V hold intermediate values
    // when the sweeps run out, which extreme inputs may cause: the first shape has ordinary
    // data and no stores on an error, the second extremes with the partial stores allowed.
    for (const bool extremes : {false, true}) {
        const int h = extremes ? 4 : 7, w = extremes ? 6 : 5;
        const unsigned flags = extremes ? unsigned{kPartialStores} : 0u;
        auto m = [extremes](Arg a) { return extremes ? a : noExtremes(a); };
        ROW(t, zemsSVD_64f_D2, {W(w), H(h), S(8)},
            {m(In(D2(H, S, W))), Out(D2(H, S, W)), Len(H), Out(W), Out(D2(W, S, W)), Len(W), Step(S, W), Size(30)},
            flags);
        ROW(t, zemsSVD_64f_D2_I, {W(w), H(h), S(8)},
            {m(In(D2(H, S, W))), Len(H), Out(W), Out(D2(W, S, W)), Len(W), Step(S, W), Size(30)}, flags);
        ROW(t, zemsSVD_64f_D2L, {W(w), H(h)},
            {m(Rows(H, W)), m(Rows(H, W)), Len(H), Out(W), m(Rows(W, W)), Len(W), Size(30)}, flags);
        ROW(t, zemsSVD_64f_D2L_I, {W(w), H(h)}, {m(Rows(H, W)), Len(H), Out(W), m(Rows(W, W)), Len(W), Size(30)}, flags);
        ROW(t, zemsSVDSort_64f_D2, {W(w), H(h), S(8)},
            {m(In(D2(H, S, W))), Out(D2(H, S, W)), Len(H), Out(W), Out(D2(W, S, W)), Len(W), Step(S, W), Size(30)},
            flags);
        ROW(t, zemsSVDSort_64f_D2_I, {W(w), H(h), S(8)},
            {m(In(D2(H, S, W))), Len(H), Out(W), Out(D2(W, S, W)), Len(W), Step(S, W), Size(30)}, flags);
        ROW(t, zemsSVDSort_64f_D2L, {W(w), H(h)},
            {m(Rows(H, W)), m(Rows(H, W)), Len(H), Out(W), m(Rows(W, W)), Len(W), Size(30)}, flags);
        ROW(t, zemsSVDSort_64f_D2L_I, {W(w), H(h)},
            {m(Rows(H, W)), Len(H), Out(W), m(Rows(W, W)), Len(W), Size(30)}, flags);
    }
}

}  // namespace sweep
