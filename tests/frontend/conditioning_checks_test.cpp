// Check orders of the frame conditioning family, one row per export: every break and
// every pair of breaks, the earlier check's status winning, no output byte changed.
#include <gtest/gtest.h>

#include <cstdint>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

namespace {

using zemtest::Break;
using zemtest::expectCheckOrder;
using zemtest::region;

constexpr ZemStatus kNull = zemStatusNullPointer, kSize = zemStatusBadSize, kArg = zemStatusBadArg;

// One argument set serves every export; each row breaks the fields its export takes.
struct Bufs {
    float f[16], fo[16], fPrev = 0.0f;
    int16_t s[16], so[16], sPrev = 0;
    int32_t i[16], io;
    double d[16], dOut;
    uint8_t u[16];
    float fResult;
    int32_t iResult;
    Bufs() {
        for (int k = 0; k < 16; ++k) {
            f[k] = static_cast<float>(k % 5) - 1.5f;
            s[k] = static_cast<int16_t>(k * 7 - 40);
            i[k] = k * 3 - 10;
            d[k] = k * 0.25;
            fo[k] = 0.0f;
            so[k] = 0;
            u[k] = 0;
        }
    }
};

struct A {
    const float* f;
    float* fo;
    float* fPrev;
    const int16_t* s;
    int16_t* so;
    int16_t* sPrev;
    const int32_t* i;
    const double* d;
    uint8_t* u;
    float* fResult;
    int32_t* iResult;
    double* dResult;
    int len = 16, len2 = 16, n = 3, step = 1;
    float lower = 0.1f, upper = 0.9f, range = 10.0f;
    int rangeInt = 100;
    float minF = -2.0f, maxF = 3.0f;
    int16_t minS = -40, maxS = 70;
    int16_t q15 = 1000;
    int search = 2, avg = 1;
};

A validFor(Bufs& b) {
    A a;
    a.f = b.f;
    a.fo = b.fo;
    a.fPrev = &b.fPrev;
    a.s = b.s;
    a.so = b.so;
    a.sPrev = &b.sPrev;
    a.i = b.i;
    a.d = b.d;
    a.u = b.u;
    a.fResult = &b.fResult;
    a.iResult = &b.iResult;
    a.dResult = &b.dOut;
    return a;
}

template <class F>
Break<A> brk(const char* what, F f, ZemStatus s) {
    return {what, f, s};
}

#define NULLS(field) brk(#field, [](A& a) { a.field = nullptr; }, kNull)
const Break<A> kLen0 = brk("len 0", [](A& a) { a.len = 0; }, kSize);
const Break<A> kLenMin = brk("len INT_MIN", [](A& a) { a.len = INT32_MIN; }, kSize);
const Break<A> kLowerNeg = brk("lowerRatio < 0", [](A& a) { a.lower = -0.1f; }, kArg);
const Break<A> kLowerAbove = brk("lowerRatio >= upperRatio", [](A& a) { a.lower = 0.9f; }, kArg);
const Break<A> kUpperAbove1 = brk("upperRatio > 1", [](A& a) { a.upper = 1.5f; }, kArg);

TEST(ConditioningChecks, OrderTable) {
    Bufs b;
    const A v = validFor(b);
    auto outs = [&] {
        return std::vector<zemtest::Region>{region(b.fo, 16), region(&b.fPrev, 1), region(b.so, 16),
                                            region(&b.sPrev, 1), region(b.u, 16), region(&b.fResult, 1),
                                            region(&b.iResult, 1), region(&b.dOut, 1)};
    };
    using C = std::function<ZemStatus(const A&)>;
    auto row = [&](const std::string& name, C call, std::vector<Break<A>> breaks, int validStatus = zemStatusOk) {
        expectCheckOrder<A>(name.c_str(), v, call, breaks, outs(), validStatus);
    };
    // A row: the export, its arguments from the set, its breaks in check order (and the valid
    // call's status when it is a warning).
#define ROW(fn, args, ...) row(#fn, [&](const A& a) { return fn args; }, __VA_ARGS__)
#define ROWAS(what, fn, args, ...) row(#fn " " what, [&](const A& a) { return fn args; }, __VA_ARGS__)
    const std::vector<Break<A>> inPlace16 = {NULLS(so), kLen0};
    const std::vector<Break<A>> inPlace32 = {NULLS(fo), kLen0};

    // Size before null: the one export of the family that tests them the other way round.
    ROW(zemsZeroMean_16s, (a.so, a.len), {kLen0, NULLS(so)});

    ROW(zemsCompensateOffset_32f, (a.f, a.fo, a.len, a.fPrev, 0.5f, 0.9f), {NULLS(f), NULLS(fo), NULLS(fPrev), kLen0});
    ROW(zemsCompensateOffset_32f_I, (a.fo, a.len, a.fPrev, 0.5f, 0.9f), {NULLS(fo), NULLS(fPrev), kLen0});
    ROW(zemsCompensateOffset_16s, (a.s, a.so, a.len, a.sPrev, 3, 0.9f), {NULLS(s), NULLS(so), NULLS(sPrev), kLen0});
    ROW(zemsCompensateOffset_16s_I, (a.so, a.len, a.sPrev, 3, 0.9f), {NULLS(so), NULLS(sPrev), kLen0});
    const Break<A> len65536 = brk("len 65536", [](A& a) { a.len = 65536; }, kSize);
    const Break<A> q15Neg = brk("val < 0", [](A& a) { a.q15 = -1; }, kArg);
    ROW(zemsCompensateOffsetQ15_16s, (a.s, a.so, a.len, a.sPrev, 3, a.q15),
        {NULLS(s), NULLS(so), NULLS(sPrev), kLen0, q15Neg});
    ROWAS("(long)", zemsCompensateOffsetQ15_16s, (a.s, a.so, a.len, a.sPrev, 3, a.q15), {NULLS(s), len65536, q15Neg});
    ROW(zemsCompensateOffsetQ15_16s_I, (a.so, a.len, a.sPrev, 3, a.q15), {NULLS(so), NULLS(sPrev), len65536, q15Neg});

    const Break<A> step0 = brk("step 0", [](A& a) { a.step = 0; }, kSize);
    ROW(zemsNormEnergy_32f, (a.fo, a.step, a.len, 30.0f, 0.1f), {NULLS(fo), step0, kLen0});
    ROW(zemsNormEnergy_RT_32f, (a.fo, a.step, a.len, 30.0f, 5.0f, 0.1f), {NULLS(fo), kLenMin, step0});
    ROW(zemsNormEnergy_16s, (a.so, a.step, a.len, 30, 100, 0.5f), {NULLS(so), step0, kLen0});
    ROW(zemsNormEnergy_RT_16s, (a.so, a.step, a.len, 30, 50, 100, 0.5f), {NULLS(so), kLen0, step0});

    const std::vector<Break<A>> rateF = {NULLS(f), NULLS(fResult), kLen0};
    const std::vector<Break<A>> rateS = {NULLS(s), NULLS(iResult), kLen0};
    ROW(zemsSignChangeRate_32f, (a.f, a.len, a.fResult), rateF);
    ROW(zemsSignChangeRate_Count0_32f, (a.f, a.len, a.fResult), rateF);
    ROW(zemsSignChangeRate_16s, (a.s, a.len, a.iResult), rateS);
    ROW(zemsSignChangeRate_Count0_16s, (a.s, a.len, a.iResult), rateS);
    ROW(zemsSignChangeRateXor_32f, (a.f, a.len, a.iResult), {NULLS(f), NULLS(iResult), kLen0});
    ROW(zemsEntropy_32f, (a.f, a.len, a.fResult), rateF, zemStatusLogNegativeWarning);
    ROW(zemsEntropy_16s32s_Sfs, (a.s, 2, a.len, a.iResult, 0), rateS, zemStatusLogNegativeWarning);

    const Break<A> dstShort = brk("dstLen < srcLen", [](A& a) { a.len2 = a.len - 1; }, kSize);
    const Break<A> dstLen0 = brk("dstLen 0", [](A& a) { a.len2 = 0; }, kSize);
    ROW(zemsCopyWithPadding_32f, (a.f, a.len, a.fo, a.len2), {NULLS(f), NULLS(fo), kLen0, dstLen0});
    ROW(zemsCopyWithPadding_16s, (a.s, a.len, a.so, a.len2), {NULLS(s), NULLS(so), dstShort});

    // Range normalisation: null, size, then the ratio group, then the upper/range/bounds group.
    const Break<A> rangeNegF = brk("range < 0", [](A& a) { a.range = -1.0f; }, kArg);
    const Break<A> rangeNegS = brk("range < 0", [](A& a) { a.rangeInt = -1; }, kArg);
    const Break<A> minAboveF = brk("minVal > maxVal", [](A& a) { a.minF = 4.0f; }, kArg);
    const Break<A> minAboveS = brk("minVal > maxVal", [](A& a) { a.minS = 80; }, kArg);
    auto u8 = [](const A& a) { return static_cast<Zem8u>(a.rangeInt); };
    auto s16 = [](const A& a) { return static_cast<Zem16s>(a.rangeInt); };
    ROW(zemsNormalizeInRange_32f, (a.f, a.fo, a.len, a.lower, a.upper, a.range),
        {NULLS(f), NULLS(fo), kLen0, kLowerNeg, kUpperAbove1});
    ROWAS("(range)", zemsNormalizeInRange_32f, (a.f, a.fo, a.len, a.lower, a.upper, a.range), {kLowerAbove, rangeNegF});
    ROW(zemsNormalizeInRange_32f16s, (a.f, a.so, a.len, a.lower, a.upper, s16(a)),
        {NULLS(f), NULLS(so), kLen0, kLowerAbove, rangeNegS});
    ROW(zemsNormalizeInRange_32f8u, (a.f, a.u, a.len, a.lower, a.upper, u8(a)),
        {NULLS(f), NULLS(u), kLen0, kLowerNeg, kUpperAbove1});
    ROW(zemsNormalizeInRange_16s, (a.s, a.so, a.len, a.lower, a.upper, s16(a)),
        {NULLS(s), NULLS(so), kLen0, kLowerAbove, rangeNegS});
    ROW(zemsNormalizeInRange_16s8u, (a.s, a.u, a.len, a.lower, a.upper, u8(a)),
        {NULLS(s), NULLS(u), kLen0, kLowerNeg, kUpperAbove1});
    ROW(zemsNormalizeInRange_32f_I, (a.fo, a.len, a.lower, a.upper, a.range),
        {NULLS(fo), kLen0, kLowerAbove, rangeNegF}, zemtest::kSkipValidCall);
    ROW(zemsNormalizeInRange_16s_I, (a.so, a.len, a.lower, a.upper, s16(a)),
        {NULLS(so), kLen0, kLowerNeg, rangeNegS}, zemtest::kSkipValidCall);
    ROW(zemsNormalizeInRangeMinMax_32f, (a.f, a.fo, a.len, a.minF, a.maxF, a.lower, a.upper, a.range),
        {NULLS(f), NULLS(fo), kLen0, kLowerNeg, minAboveF});
    ROWAS("(range)", zemsNormalizeInRangeMinMax_32f, (a.f, a.fo, a.len, a.minF, a.maxF, a.lower, a.upper, a.range),
        {kLowerAbove, kUpperAbove1, rangeNegF});
    ROW(zemsNormalizeInRangeMinMax_32f16s, (a.f, a.so, a.len, a.minF, a.maxF, a.lower, a.upper, s16(a)),
        {NULLS(f), NULLS(so), kLen0, kLowerAbove, rangeNegS, minAboveF});
    ROW(zemsNormalizeInRangeMinMax_32f8u, (a.f, a.u, a.len, a.minF, a.maxF, a.lower, a.upper, u8(a)),
        {NULLS(f), NULLS(u), kLen0, kLowerNeg, minAboveF});
    ROW(zemsNormalizeInRangeMinMax_16s, (a.s, a.so, a.len, a.minS, a.maxS, a.lower, a.upper, s16(a)),
        {NULLS(s), NULLS(so), kLen0, kLowerNeg, rangeNegS, minAboveS});
    ROW(zemsNormalizeInRangeMinMax_16s8u, (a.s, a.u, a.len, a.minS, a.maxS, a.lower, a.upper, u8(a)),
        {NULLS(s), NULLS(u), kLen0, kLowerAbove, kUpperAbove1, minAboveS});
    ROW(zemsNormalizeInRangeMinMax_32f_I, (a.fo, a.len, a.minF, a.maxF, a.lower, a.upper, a.range),
        {NULLS(fo), kLen0, kLowerNeg, minAboveF});
    ROW(zemsNormalizeInRangeMinMax_16s_I, (a.so, a.len, a.minS, a.maxS, a.lower, a.upper, s16(a)),
        {NULLS(so), kLen0, kLowerAbove, rangeNegS});

    ROW(zemsUnitCurve_32f, (a.f, a.fo, a.len), {NULLS(f), NULLS(fo), kLen0});
    ROW(zemsUnitCurve_32f_I, (a.fo, a.len), inPlace32);
    ROW(zemsUnitCurve_16s_Sfs, (a.s, 4, a.so, a.len, 0), {NULLS(s), NULLS(so), kLenMin});
    ROW(zemsUnitCurve_16s_ISfs, (a.so, 4, a.len, 0), inPlace16);

    // Peaks: a length outside 1 .. 65535 is zemStatusSizeTooLarge, then the window sizes.
    const std::vector<Break<A>> peaks = {
        brk("len 65536", [](A& a) { a.len = 65536; }, zemStatusSizeTooLarge),
        brk("searchSize 128", [](A& a) { a.search = 128; }, kSize),
        brk("movingAvgSize -1", [](A& a) { a.avg = -1; }, kSize)};
    auto withNull = [&](std::vector<Break<A>> first) {
        first.insert(first.end(), peaks.begin(), peaks.end());
        return first;
    };
    ROW(zemsFindPeaks_32f8u, (a.f, a.u, a.len, a.search, a.avg), withNull({NULLS(f), NULLS(u)}));
    ROW(zemsFindPeaks_32s8u, (a.i, a.u, a.len, a.search, a.avg), withNull({NULLS(i), NULLS(u)}));
    ROWAS("(small)", zemsFindPeaks_32s8u, (a.i, a.u, a.len, a.search, a.avg),
        {brk("len 0", [](A& a) { a.len = 0; }, zemStatusSizeTooLarge), brk("searchSize 0", [](A& a) { a.search = 0; }, kSize),
         brk("movingAvgSize 128", [](A& a) { a.avg = 128; }, kSize)});

    const std::vector<Break<A>> nth = {kLen0, brk("n < 0", [](A& a) { a.n = -1; }, kArg)};
    const Break<A> nAtLen = brk("n = len", [](A& a) { a.n = a.len; }, kArg);
    ROW(zemsNthMaxElement_32f, (a.f, a.len, a.n, a.fResult), {NULLS(f), NULLS(fResult), kLen0, nAtLen});
    ROW(zemsNthMaxElement_32s, (a.i, a.len, a.n, a.iResult), {NULLS(i), NULLS(iResult), nth[0], nth[1]});
    ROW(zemsNthMaxElement_64f, (a.d, a.len, a.n, a.dResult), {NULLS(d), NULLS(dResult), kLenMin, nAtLen});
}

}  // namespace
