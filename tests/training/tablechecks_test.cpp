// Check orders of every table statistics export, from one table.  P is a null pointer,
// Z a size below 1 (or a height of 1 for the variances), S a row width above its row
// distance; the _D2L row pointers are scanned after the sizes.  A stride break uses a
// negative step so that it stays broken whatever size break joins it.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "check_order.h"
#include "zemsr.h"

namespace {

constexpr int H = 4, W = 8;

// Arguments of any member, as untyped buffers: a check never reads the elements.
struct A {
    void* src;
    void* const* rows;
    void* out1;
    void* out2;
    void* aux1;
    void* aux2;
    void* const* dstRows;
    Zem32s* index;
    Zem32s* base;
    Zem16u* counts;
    int step = W, height = H, width = W, srcWidth = W, dstWidth = W, dstStep = W, n = 2, offset = 0;
    int len = W;
};

struct Fixture {
    alignas(64) double table[H * W] = {}, out1[H * W] = {}, out2[H * W] = {}, aux1[H * W] = {}, aux2[H * W] = {};
    void* rows[H];
    void* rowsWithNull[H];
    void* dstRows[H];
    Zem32s index[W] = {};
    Zem32s base[2] = {0, 1};
    Zem32s baseTooFar[2] = {0, H - 1};  // with counts[1] = 1: row H, one past the end
    Zem16u counts[2] = {0, 1};
    Fixture() {
        for (int i = 0; i < H; ++i) {
            rows[i] = table + i * W;
            rowsWithNull[i] = i == H - 1 ? nullptr : table + i * W;
            dstRows[i] = out1 + i * W;
        }
        for (int i = 0; i < H * W; ++i) aux1[i] = aux2[i] = 1.0;
    }
    A valid() {
        A a{};
        a.src = table, a.rows = rows, a.out1 = out1, a.out2 = out2, a.aux1 = aux1, a.aux2 = aux2;
        a.dstRows = dstRows, a.index = index, a.base = base, a.counts = counts;
        return a;
    }
    std::vector<zemtest::Region> outputs() {
        return {zemtest::region(table, H * W), zemtest::region(out1, H * W), zemtest::region(out2, H * W)};
    }
};

using B = zemtest::Break<A>;
template <class M>
B null(const char* what, M A::*m) {
    return {what, [m](A& a) { a.*m = nullptr; }, zemStatusNullPointer};
}
B zero(const char* what, int A::*m, int v = 0) {
    return {what, [m, v](A& a) { a.*m = v; }, zemStatusBadSize};
}
B narrow(const char* what, int A::*m) {
    return {what, [m](A& a) { a.*m = -5; }, zemStatusBadStride};
}
B nullRow(Fixture& f, bool dst = false) {
    void** with = f.rowsWithNull;
    if (dst) return {"a null destination row", [with](A& a) { a.dstRows = with; }, zemStatusNullPointer};
    return {"a null row", [with](A& a) { a.rows = with; }, zemStatusNullPointer};
}

template <class T>
T* p(void* v) {
    return static_cast<T*>(v);
}
template <class T>
const T* const* r(void* const* v) {
    return reinterpret_cast<const T* const*>(v);
}
template <class T>
T* const* rw(void* const* v) {
    return reinterpret_cast<T* const*>(v);
}

struct Row {
    const char* name;
    std::function<ZemStatus(const A&)> call;
    std::vector<B> breaks;
    int validStatus = zemStatusOk;
};

TEST(TableChecks, EveryExportChecksInItsOrder) {
    Fixture f;
    const B pSrc = null("src", &A::src), pRows = null("rows", &A::rows), pOut1 = null("out1", &A::out1),
            pOut2 = null("out2", &A::out2), pAux1 = null("aux1", &A::aux1), pAux2 = null("aux2", &A::aux2);
    const B zH = zero("height", &A::height), zW = zero("width", &A::width), zH1 = zero("height 1", &A::height, 1);
    const B sStep = narrow("step", &A::step);
    const B rowNull = nullRow(f);
    // SumColumn, SumRow, AddAllRowSum: P, Z, S
    const std::vector<B> pzs = {pSrc, pOut1, zH, zW, sStep}, pzL = {pRows, pOut1, zH, zW, rowNull};
    // MeanColumn, VarColumn: S, P, Z
    const std::vector<B> spz = {sStep, pSrc, pOut1, zH, zW};
    const std::vector<B> varD2 = {sStep, pSrc, pAux1, pOut1, zH1, zW}, varD2L = {pRows, pAux1, pOut1, zH1, zW, rowNull};
    // MeanVarColumn: P, Z (height >= 2), S
    const std::vector<B> mvD2 = {pSrc, pOut1, pOut2, zH1, zW, sStep}, mvD2L = {pRows, pOut1, pOut2, zH1, zW, rowNull};
    // Weighted: P, S, Z
    const std::vector<B> wm = {pSrc, pAux1, pOut1, sStep, zH, zW}, wmL = {pRows, pAux1, pOut1, zH, zW, rowNull};
    const std::vector<B> wv = {pSrc, pAux1, pAux2, pOut1, sStep, zH, zW},
                         wvL = {pRows, pAux1, pAux2, pOut1, zH, zW, rowNull};
    const std::vector<B> wmv = {pSrc, pAux1, pOut1, pOut2, sStep, zH, zW},
                         wmvL = {pRows, pAux1, pOut1, pOut2, zH, zW, rowNull};
    // NormalizeColumn (srcDst in src), SubRow (row in aux1): P, Z, S
    const std::vector<B> norm = {pSrc, pAux1, pAux2, zH, zW, sStep}, normL = {pRows, pAux1, pAux2, zH, zW, rowNull};
    const std::vector<B> sub = {pAux1, pSrc, zW, zH, sStep}, subL = {pAux1, pRows, zW, zH, rowNull};
    const std::vector<B> copy = {pSrc, pOut1, zW, zH, narrow("dstStep", &A::dstStep)};
    const std::vector<B> ind = {pSrc, pOut1, null("index", &A::index), zero("srcWidth", &A::srcWidth),
                                narrow("srcStep", &A::step), zero("dstWidth", &A::dstWidth),
                                narrow("dstStep", &A::dstStep), zH};
    const std::vector<B> indL = {pRows, null("dstRows", &A::dstRows), null("index", &A::index),
                                 zero("srcWidth", &A::srcWidth), zero("dstWidth", &A::dstWidth), zH, rowNull,
                                 nullRow(f, true)};
    const std::vector<B> nrows = {pSrc, null("base", &A::base), null("counts", &A::counts), pOut1, zero("n", &A::n),
                                  zH, zW, zero("offset", &A::offset, -1), narrow("step", &A::step),
                                  {"row number", [&f](A& a) { if (a.base) a.base = f.baseTooFar; }, zemStatusBadSize}};
    const std::vector<B> ws = {pSrc, pAux1, pOut1, zero("len", &A::len)};

    const std::vector<Row> table = {
        {"zemsSumColumn_32f_D2", [](const A& a) { return zemsSumColumn_32f_D2(p<Zem32f>(a.src), a.step, a.height, p<Zem32f>(a.out1), a.width); }, pzs},
        {"zemsSumColumn_32f_D2L", [](const A& a) { return zemsSumColumn_32f_D2L(r<Zem32f>(a.rows), a.height, p<Zem32f>(a.out1), a.width); }, pzL},
        {"zemsSumColumn_64f_D2", [](const A& a) { return zemsSumColumn_64f_D2(p<Zem64f>(a.src), a.step, a.height, p<Zem64f>(a.out1), a.width); }, pzs},
        {"zemsSumColumn_64f_D2L", [](const A& a) { return zemsSumColumn_64f_D2L(r<Zem64f>(a.rows), a.height, p<Zem64f>(a.out1), a.width); }, pzL},
        {"zemsSumColumn_16s32f_D2", [](const A& a) { return zemsSumColumn_16s32f_D2(p<Zem16s>(a.src), a.step, a.height, p<Zem32f>(a.out1), a.width); }, pzs},
        {"zemsSumColumn_16s32f_D2L", [](const A& a) { return zemsSumColumn_16s32f_D2L(r<Zem16s>(a.rows), a.height, p<Zem32f>(a.out1), a.width); }, pzL},
        {"zemsSumColumn_16s32s_D2Sfs", [](const A& a) { return zemsSumColumn_16s32s_D2Sfs(p<Zem16s>(a.src), a.step, a.height, p<Zem32s>(a.out1), a.width, 1); }, pzs},
        {"zemsSumColumn_16s32s_D2LSfs", [](const A& a) { return zemsSumColumn_16s32s_D2LSfs(r<Zem16s>(a.rows), a.height, p<Zem32s>(a.out1), a.width, 1); }, pzL},
        {"zemsSumRow_32f_D2", [](const A& a) { return zemsSumRow_32f_D2(p<Zem32f>(a.src), a.width, a.step, p<Zem32f>(a.out1), a.height); }, pzs},
        {"zemsSumRow_32f_D2L", [](const A& a) { return zemsSumRow_32f_D2L(r<Zem32f>(a.rows), a.width, p<Zem32f>(a.out1), a.height); }, pzL},
        {"zemsSumRow_64f_D2", [](const A& a) { return zemsSumRow_64f_D2(p<Zem64f>(a.src), a.width, a.step, p<Zem64f>(a.out1), a.height); }, pzs},
        {"zemsSumRow_64f_D2L", [](const A& a) { return zemsSumRow_64f_D2L(r<Zem64f>(a.rows), a.width, p<Zem64f>(a.out1), a.height); }, pzL},
        {"zemsSumRow_16s32f_D2", [](const A& a) { return zemsSumRow_16s32f_D2(p<Zem16s>(a.src), a.width, a.step, p<Zem32f>(a.out1), a.height); }, pzs},
        {"zemsSumRow_16s32f_D2L", [](const A& a) { return zemsSumRow_16s32f_D2L(r<Zem16s>(a.rows), a.width, p<Zem32f>(a.out1), a.height); }, pzL},
        {"zemsSumRow_16s32s_D2Sfs", [](const A& a) { return zemsSumRow_16s32s_D2Sfs(p<Zem16s>(a.src), a.width, a.step, p<Zem32s>(a.out1), a.height, 0); }, pzs},
        {"zemsSumRow_16s32s_D2LSfs", [](const A& a) { return zemsSumRow_16s32s_D2LSfs(r<Zem16s>(a.rows), a.width, p<Zem32s>(a.out1), a.height, 0); }, pzL},
        {"zemsMeanColumn_32f_D2", [](const A& a) { return zemsMeanColumn_32f_D2(p<Zem32f>(a.src), a.height, a.step, p<Zem32f>(a.out1), a.width); }, spz},
        {"zemsMeanColumn_32f_D2L", [](const A& a) { return zemsMeanColumn_32f_D2L(r<Zem32f>(a.rows), a.height, p<Zem32f>(a.out1), a.width); }, pzL},
        {"zemsMeanColumn_16s_D2", [](const A& a) { return zemsMeanColumn_16s_D2(p<Zem16s>(a.src), a.height, a.step, p<Zem16s>(a.out1), a.width); }, spz},
        {"zemsMeanColumn_16s_D2L", [](const A& a) { return zemsMeanColumn_16s_D2L(r<Zem16s>(a.rows), a.height, p<Zem16s>(a.out1), a.width); }, pzL},
        {"zemsVarColumn_32f_D2", [](const A& a) { return zemsVarColumn_32f_D2(p<Zem32f>(a.src), a.height, a.step, p<Zem32f>(a.aux1), p<Zem32f>(a.out1), a.width); }, varD2},
        {"zemsVarColumn_32f_D2L", [](const A& a) { return zemsVarColumn_32f_D2L(r<Zem32f>(a.rows), a.height, p<Zem32f>(a.aux1), p<Zem32f>(a.out1), a.width); }, varD2L},
        {"zemsVarColumn_16s_D2Sfs", [](const A& a) { return zemsVarColumn_16s_D2Sfs(p<Zem16s>(a.src), a.height, a.step, p<Zem16s>(a.aux1), p<Zem16s>(a.out1), a.width, 0); }, varD2},
        {"zemsVarColumn_16s_D2LSfs", [](const A& a) { return zemsVarColumn_16s_D2LSfs(r<Zem16s>(a.rows), a.height, p<Zem16s>(a.aux1), p<Zem16s>(a.out1), a.width, 0); }, varD2L},
        {"zemsMeanVarColumn_32f_D2", [](const A& a) { return zemsMeanVarColumn_32f_D2(p<Zem32f>(a.src), a.height, a.step, p<Zem32f>(a.out1), p<Zem32f>(a.out2), a.width); }, mvD2},
        {"zemsMeanVarColumn_32f_D2L", [](const A& a) { return zemsMeanVarColumn_32f_D2L(r<Zem32f>(a.rows), a.height, p<Zem32f>(a.out1), p<Zem32f>(a.out2), a.width); }, mvD2L},
        {"zemsMeanVarColumn_16s_D2Sfs", [](const A& a) { return zemsMeanVarColumn_16s_D2Sfs(p<Zem16s>(a.src), a.height, a.step, p<Zem16s>(a.out1), p<Zem16s>(a.out2), a.width, 0); }, mvD2},
        {"zemsMeanVarColumn_16s_D2LSfs", [](const A& a) { return zemsMeanVarColumn_16s_D2LSfs(r<Zem16s>(a.rows), a.height, p<Zem16s>(a.out1), p<Zem16s>(a.out2), a.width, 0); }, mvD2L},
        {"zemsMeanVarColumn_16s32s_D2Sfs", [](const A& a) { return zemsMeanVarColumn_16s32s_D2Sfs(p<Zem16s>(a.src), a.height, a.step, p<Zem32s>(a.out1), p<Zem32s>(a.out2), a.width, 0); }, mvD2},
        {"zemsMeanVarColumn_16s32s_D2LSfs", [](const A& a) { return zemsMeanVarColumn_16s32s_D2LSfs(r<Zem16s>(a.rows), a.height, p<Zem32s>(a.out1), p<Zem32s>(a.out2), a.width, 0); }, mvD2L},
        {"zemsMeanVarColumn_16s16s32s_D2", [](const A& a) { return zemsMeanVarColumn_16s16s32s_D2(p<Zem16s>(a.src), a.height, a.step, p<Zem16s>(a.out1), p<Zem32s>(a.out2), a.width); }, mvD2},
        {"zemsMeanVarColumn_16s16s32s_D2L", [](const A& a) { return zemsMeanVarColumn_16s16s32s_D2L(r<Zem16s>(a.rows), a.height, p<Zem16s>(a.out1), p<Zem32s>(a.out2), a.width); }, mvD2L},
        {"zemsWeightedMeanColumn_32f_D2", [](const A& a) { return zemsWeightedMeanColumn_32f_D2(p<Zem32f>(a.src), a.step, p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.out1), a.width); }, wm},
        {"zemsWeightedMeanColumn_32f_D2L", [](const A& a) { return zemsWeightedMeanColumn_32f_D2L(r<Zem32f>(a.rows), p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.out1), a.width); }, wmL},
        {"zemsWeightedMeanColumn_64f_D2", [](const A& a) { return zemsWeightedMeanColumn_64f_D2(p<Zem64f>(a.src), a.step, p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.out1), a.width); }, wm},
        {"zemsWeightedMeanColumn_64f_D2L", [](const A& a) { return zemsWeightedMeanColumn_64f_D2L(r<Zem64f>(a.rows), p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.out1), a.width); }, wmL},
        {"zemsWeightedVarColumn_32f_D2", [](const A& a) { return zemsWeightedVarColumn_32f_D2(p<Zem32f>(a.src), a.step, p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.aux2), p<Zem32f>(a.out1), a.width); }, wv},
        {"zemsWeightedVarColumn_32f_D2L", [](const A& a) { return zemsWeightedVarColumn_32f_D2L(r<Zem32f>(a.rows), p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.aux2), p<Zem32f>(a.out1), a.width); }, wvL},
        {"zemsWeightedVarColumn_64f_D2", [](const A& a) { return zemsWeightedVarColumn_64f_D2(p<Zem64f>(a.src), a.step, p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.aux2), p<Zem64f>(a.out1), a.width); }, wv},
        {"zemsWeightedVarColumn_64f_D2L", [](const A& a) { return zemsWeightedVarColumn_64f_D2L(r<Zem64f>(a.rows), p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.aux2), p<Zem64f>(a.out1), a.width); }, wvL},
        {"zemsWeightedMeanVarColumn_32f_D2", [](const A& a) { return zemsWeightedMeanVarColumn_32f_D2(p<Zem32f>(a.src), a.step, p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.out1), p<Zem32f>(a.out2), a.width); }, wmv},
        {"zemsWeightedMeanVarColumn_32f_D2L", [](const A& a) { return zemsWeightedMeanVarColumn_32f_D2L(r<Zem32f>(a.rows), p<Zem32f>(a.aux1), a.height, p<Zem32f>(a.out1), p<Zem32f>(a.out2), a.width); }, wmvL},
        {"zemsWeightedMeanVarColumn_64f_D2", [](const A& a) { return zemsWeightedMeanVarColumn_64f_D2(p<Zem64f>(a.src), a.step, p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.out1), p<Zem64f>(a.out2), a.width); }, wmv},
        {"zemsWeightedMeanVarColumn_64f_D2L", [](const A& a) { return zemsWeightedMeanVarColumn_64f_D2L(r<Zem64f>(a.rows), p<Zem64f>(a.aux1), a.height, p<Zem64f>(a.out1), p<Zem64f>(a.out2), a.width); }, wmvL},
        {"zemsWeightedSum_32f", [](const A& a) { return zemsWeightedSum_32f(p<Zem32f>(a.src), p<Zem32f>(a.aux1), p<Zem32f>(a.out1), a.len, 1.0f, 2.0f); }, ws},
        {"zemsWeightedSum_64f", [](const A& a) { return zemsWeightedSum_64f(p<Zem64f>(a.src), p<Zem64f>(a.aux1), p<Zem64f>(a.out1), a.len, 1.0, 2.0); }, ws},
        {"zemsWeightedSum_16s", [](const A& a) { return zemsWeightedSum_16s(p<Zem16s>(a.src), p<Zem16s>(a.aux1), p<Zem16s>(a.out1), a.len, 1.0f, 2.0f); }, ws},
        {"zemsWeightedSumHalf_32f", [](const A& a) { return zemsWeightedSumHalf_32f(p<Zem32f>(a.src), p<Zem32f>(a.aux1), p<Zem32f>(a.out1), a.len, 1.0f, -1.0f); }, ws, zemStatusDivideByZeroWarning},
        {"zemsWeightedSumHalf_64f", [](const A& a) { return zemsWeightedSumHalf_64f(p<Zem64f>(a.src), p<Zem64f>(a.aux1), p<Zem64f>(a.out1), a.len, 1.0, 2.0); }, ws},
        {"zemsWeightedSumHalf_16s", [](const A& a) { return zemsWeightedSumHalf_16s(p<Zem16s>(a.src), p<Zem16s>(a.aux1), p<Zem16s>(a.out1), a.len, 1.0f, 2.0f); }, ws},
        {"zemsNormalizeColumn_32f_D2", [](const A& a) { return zemsNormalizeColumn_32f_D2(p<Zem32f>(a.src), a.step, a.height, p<Zem32f>(a.aux1), p<Zem32f>(a.aux2), a.width); }, norm},
        {"zemsNormalizeColumn_32f_D2L", [](const A& a) { return zemsNormalizeColumn_32f_D2L(rw<Zem32f>(a.rows), a.height, p<Zem32f>(a.aux1), p<Zem32f>(a.aux2), a.width); }, normL},
        {"zemsNormalizeColumn_16s_D2Sfs", [](const A& a) { return zemsNormalizeColumn_16s_D2Sfs(p<Zem16s>(a.src), a.step, a.height, p<Zem16s>(a.aux1), p<Zem16s>(a.aux2), a.width, 3); }, norm},
        {"zemsNormalizeColumn_16s_D2LSfs", [](const A& a) { return zemsNormalizeColumn_16s_D2LSfs(rw<Zem16s>(a.rows), a.height, p<Zem16s>(a.aux1), p<Zem16s>(a.aux2), a.width, 3); }, normL},
        {"zemsSubRow_32f_D2", [](const A& a) { return zemsSubRow_32f_D2(p<Zem32f>(a.aux1), a.width, p<Zem32f>(a.src), a.step, a.height); }, sub},
        {"zemsSubRow_32f_D2L", [](const A& a) { return zemsSubRow_32f_D2L(p<Zem32f>(a.aux1), a.width, rw<Zem32f>(a.rows), a.height); }, subL},
        {"zemsSubRow_16s_D2", [](const A& a) { return zemsSubRow_16s_D2(p<Zem16s>(a.aux1), a.width, p<Zem16s>(a.src), a.step, a.height); }, sub},
        {"zemsSubRow_16s_D2L", [](const A& a) { return zemsSubRow_16s_D2L(p<Zem16s>(a.aux1), a.width, rw<Zem16s>(a.rows), a.height); }, subL},
        {"zemsAddAllRowSum_32f_D2", [](const A& a) { return zemsAddAllRowSum_32f_D2(p<Zem32f>(a.src), a.step, a.height, p<Zem32f>(a.out1), a.width); }, pzs},
        {"zemsAddAllRowSum_32f_D2L", [](const A& a) { return zemsAddAllRowSum_32f_D2L(r<Zem32f>(a.rows), a.height, p<Zem32f>(a.out1), a.width); }, pzL},
        {"zemsAddNRows_32f_D2", [](const A& a) { return zemsAddNRows_32f_D2(p<Zem32f>(a.src), a.height, a.offset, a.step, a.base, a.counts, a.n, p<Zem32f>(a.out1), a.width, 1.0f); }, nrows},
        {"zemsCopyColumn_32f_D2", [](const A& a) { return zemsCopyColumn_32f_D2(p<Zem32f>(a.src), a.width, p<Zem32f>(a.out1), a.dstStep, a.height); }, copy},
        {"zemsCopyColumn_16s_D2", [](const A& a) { return zemsCopyColumn_16s_D2(p<Zem16s>(a.src), a.width, p<Zem16s>(a.out1), a.dstStep, a.height); }, copy},
        {"zemsCopyColumn_Indirect_32f_D2", [](const A& a) { return zemsCopyColumn_Indirect_32f_D2(p<Zem32f>(a.src), a.srcWidth, a.step, p<Zem32f>(a.out1), a.index, a.dstWidth, a.dstStep, a.height); }, ind},
        {"zemsCopyColumn_Indirect_32f_D2L", [](const A& a) { return zemsCopyColumn_Indirect_32f_D2L(r<Zem32f>(a.rows), a.srcWidth, rw<Zem32f>(a.dstRows), a.index, a.dstWidth, a.height); }, indL},
        {"zemsCopyColumn_Indirect_64f_D2", [](const A& a) { return zemsCopyColumn_Indirect_64f_D2(p<Zem64f>(a.src), a.srcWidth, a.step, p<Zem64f>(a.out1), a.index, a.dstWidth, a.dstStep, a.height); }, ind},
        {"zemsCopyColumn_Indirect_64f_D2L", [](const A& a) { return zemsCopyColumn_Indirect_64f_D2L(r<Zem64f>(a.rows), a.srcWidth, rw<Zem64f>(a.dstRows), a.index, a.dstWidth, a.height); }, indL},
        {"zemsCopyColumn_Indirect_16s_D2", [](const A& a) { return zemsCopyColumn_Indirect_16s_D2(p<Zem16s>(a.src), a.srcWidth, a.step, p<Zem16s>(a.out1), a.index, a.dstWidth, a.dstStep, a.height); }, ind},
        {"zemsCopyColumn_Indirect_16s_D2L", [](const A& a) { return zemsCopyColumn_Indirect_16s_D2L(r<Zem16s>(a.rows), a.srcWidth, rw<Zem16s>(a.dstRows), a.index, a.dstWidth, a.height); }, indL},
    };
    ASSERT_EQ(table.size(), 69u);
    for (const Row& row : table)
        zemtest::expectCheckOrder<A>(row.name, f.valid(), row.call, row.breaks, f.outputs(), row.validStatus);
}

}  // namespace
