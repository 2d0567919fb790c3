// The private layer: small vector operations on which the exported families stand.
// Each entry point checks null pointers, then a length below 1, then works; callers
// whose own checks have passed may ignore the result.
#pragma once

#include "zemsr.h"

// Internal note of ownSqrt_64f_I: a negative element was met.  No caller reads it.
inline constexpr ZemStatus ownStatusSqrtOfNegative = static_cast<ZemStatus>(3);

// Allocation: a count below 1 gives null without calling the allocator.
Zem8u* ownMalloc_8u(int count);
Zem16s* ownMalloc_16s(int count);
Zem32s* ownMalloc_32s(int count);
Zem32f* ownMalloc_32f(int count);
Zem64f* ownMalloc_64f(int count);
void ownFree(void* ptr);

// Fill and copy.
ZemStatus ownSet_8u(Zem8u val, Zem8u* dst, int len);
ZemStatus ownSet_16s(Zem16s val, Zem16s* dst, int len);
ZemStatus ownSet_32s(Zem32s val, Zem32s* dst, int len);
ZemStatus ownSet_32f(Zem32f val, Zem32f* dst, int len);
ZemStatus ownSet_64f(Zem64f val, Zem64f* dst, int len);
ZemStatus ownZero_8u(Zem8u* dst, int len);
ZemStatus ownZero_16s(Zem16s* dst, int len);
ZemStatus ownZero_32f(Zem32f* dst, int len);
ZemStatus ownCopy_8u(const Zem8u* src, Zem8u* dst, int len);
ZemStatus ownCopy_16s(const Zem16s* src, Zem16s* dst, int len);
ZemStatus ownCopy_32f(const Zem32f* src, Zem32f* dst, int len);
ZemStatus ownCopy_64f(const Zem64f* src, Zem64f* dst, int len);
ZemStatus ownMove_32f(const Zem32f* src, Zem32f* dst, int len);

// Elementwise arithmetic.
ZemStatus ownAdd_32f_I(const Zem32f* src, Zem32f* srcDst, int len);
ZemStatus ownAdd_64f_I(const Zem64f* src, Zem64f* srcDst, int len);
ZemStatus ownSub_32f_I(const Zem32f* src, Zem32f* srcDst, int len);
ZemStatus ownSub_64f_I(const Zem64f* src, Zem64f* srcDst, int len);
ZemStatus ownAddC_32f(const Zem32f* src, Zem32f val, Zem32f* dst, int len);
ZemStatus ownAddC_32f_I(Zem32f val, Zem32f* srcDst, int len);
ZemStatus ownMul_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len);
ZemStatus ownMul_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int len, int scaleFactor);
ZemStatus ownMulC_32f_I(Zem32f val, Zem32f* srcDst, int len);
ZemStatus ownMulC_64f_I(Zem64f val, Zem64f* srcDst, int len);
// dst[i] = src2[i] / src1[i]: the first vector is the denominator.
ZemStatus ownDiv_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len);
ZemStatus ownDiv_64f(const Zem64f* src1, const Zem64f* src2, Zem64f* dst, int len);
ZemStatus ownDiv_32f_I(const Zem32f* src, Zem32f* srcDst, int len);
ZemStatus ownDivC_64f(const Zem64f* src, Zem64f val, Zem64f* dst, int len);
ZemStatus ownDivC_64f_I(Zem64f val, Zem64f* srcDst, int len);
ZemStatus ownAbs_64f(const Zem64f* src, Zem64f* dst, int len);
ZemStatus ownSqrt_64f_I(Zem64f* srcDst, int len);
ZemStatus ownMinEvery_32f_I(const Zem32f* src, Zem32f* srcDst, int len);
ZemStatus ownMinEvery_32s_I(const Zem32s* src, Zem32s* srcDst, int len);
ZemStatus ownMaxEvery_32f_I(const Zem32f* src, Zem32f* srcDst, int len);

// Reductions.
ZemStatus ownMin_32f(const Zem32f* src, int len, Zem32f* dst);
ZemStatus ownMax_32f(const Zem32f* src, int len, Zem32f* dst);
ZemStatus ownMin_64f(const Zem64f* src, int len, Zem64f* dst);
ZemStatus ownMax_64f(const Zem64f* src, int len, Zem64f* dst);
ZemStatus ownMinMax_32f(const Zem32f* src, int len, Zem32f* dstMin, Zem32f* dstMax);
ZemStatus ownMinIndx_32f(const Zem32f* src, int len, Zem32f* dst, int* index);
ZemStatus ownMaxIndx_32f(const Zem32f* src, int len, Zem32f* dst, int* index);
ZemStatus ownMaxIndx_64f(const Zem64f* src, int len, Zem64f* dst, int* index);
ZemStatus ownSum_32f(const Zem32f* src, int len, Zem32f* dst, int hint);
ZemStatus ownSum_16s32s_Sfs(const Zem16s* src, int len, Zem32s* dst, int scaleFactor);
ZemStatus ownSum_32s_Sfs(const Zem32s* src, int len, Zem32s* dst, int scaleFactor);
ZemStatus ownSumLn_32f(const Zem32f* src, int len, Zem32f* dst);
ZemStatus ownSumLn_64f(const Zem64f* src, int len, Zem64f* dst);
ZemStatus ownDotProd_32f(const Zem32f* src1, const Zem32f* src2, int len, Zem32f* dst);
ZemStatus ownDotProd_32f64f(const Zem32f* src1, const Zem32f* src2, int len, Zem64f* dst);
ZemStatus ownDotProd_64f(const Zem64f* src1, const Zem64f* src2, int len, Zem64f* dst);
ZemStatus ownDotProd_16s64s(const Zem16s* src1, const Zem16s* src2, int len, Zem64s* dst);
ZemStatus ownDotProd_16s32f(const Zem16s* src1, const Zem16s* src2, int len, Zem32f* dst);

// Conversions.  mode 0 truncates toward zero, mode 1 rounds to nearest with ties to even.
ZemStatus ownConvert_8u32f(const Zem8u* src, Zem32f* dst, int len);
ZemStatus ownConvert_16s32f(const Zem16s* src, Zem32f* dst, int len);
ZemStatus ownConvert_32s32f(const Zem32s* src, Zem32f* dst, int len);
ZemStatus ownConvert_16s32f_Sfs(const Zem16s* src, Zem32f* dst, int len, int scaleFactor);
ZemStatus ownConvert_32s32f_Sfs(const Zem32s* src, Zem32f* dst, int len, int scaleFactor);
ZemStatus ownConvert_16s64f_Sfs(const Zem16s* src, Zem64f* dst, int len, int scaleFactor);
ZemStatus ownConvert_32s16s_Sfs(const Zem32s* src, Zem16s* dst, int len, int scaleFactor);
ZemStatus ownConvert_32f16s_Sfs(const Zem32f* src, Zem16s* dst, int len, int mode, int scaleFactor);
ZemStatus ownConvert_32f32s_Sfs(const Zem32f* src, Zem32s* dst, int len, int mode, int scaleFactor);
ZemStatus ownConvert_64f32s_Sfs(const Zem64f* src, Zem32s* dst, int len, int mode, int scaleFactor);

// Logarithms and magnitudes.
ZemStatus ownLn_32f_I(Zem32f* srcDst, int len);
ZemStatus ownLn_32s_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor);
ZemStatus ownLn_32s_ISfs(Zem32s* srcDst, int len, int scaleFactor);
// src holds len pairs (re, im).
ZemStatus ownMagnitude_32fc(const Zem32f* src, Zem32f* dst, int len);
ZemStatus ownMagnitude_32sc_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor);

// Log-domain block routines on which the scoring families accumulate: exactly the
// addition and the sum of the exports without their checks (len of at least 1).
void ownLogAddBlock_32f(const Zem32f* src, Zem32f* srcDst, int len);
void ownLogAddBlock_64f(const Zem64f* src, Zem64f* srcDst, int len);
void ownLogSumBlock_32f(const Zem32f* src, Zem32f* dst, int len);
void ownLogSumBlock_64f(const Zem64f* src, Zem64f* dst, int len);
