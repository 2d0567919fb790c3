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

// ---- The real Fourier transform of power-of-two lengths --------------------------------
// Layouts for N = 2^order: CCS (N + 2 values: R0, 0, R1, I1, .., R(N/2), 0), Pack (N: R0,
// R1, I1, .., R(N/2)) and Perm (N: R0, R(N/2), R1, I1, ..).  Flags: 1 scales the forward
// transform by 1/N, 2 the inverse by 1/N, 4 both by 1/sqrt(N), 8 neither.
struct ZemsFFTState_R_32f;
struct ZemsFFTState_R_16s;

ZemStatus ownFFTGetSize_R_32f(int order, int flag, int hint, Zem32s* sizeState, Zem32s* sizeInit, Zem32s* sizeBuf);
ZemStatus ownFFTGetSize_R_16s(int order, int flag, int hint, Zem32s* sizeState, Zem32s* sizeInit, Zem32s* sizeBuf);
ZemStatus ownFFTInit_R_32f(ZemsFFTState_R_32f** state, int order, int flag, int hint, Zem8u* memState, Zem8u* memInit);
ZemStatus ownFFTInit_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint, Zem8u* memState, Zem8u* memInit);
ZemStatus ownFFTInitAlloc_R_32f(ZemsFFTState_R_32f** state, int order, int flag, int hint);
ZemStatus ownFFTInitAlloc_R_16s(ZemsFFTState_R_16s** state, int order, int flag, int hint);
ZemStatus ownFFTFree_R_32f(ZemsFFTState_R_32f* state);
ZemStatus ownFFTFree_R_16s(ZemsFFTState_R_16s* state);
ZemStatus ownFFTGetBufSize_R_32f(const ZemsFFTState_R_32f* state, Zem32s* size);
ZemStatus ownFFTFwd_RToCCS_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer);
ZemStatus ownFFTFwd_RToPack_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer);
ZemStatus ownFFTFwd_RToPerm_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer);
ZemStatus ownFFTInv_PackToR_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer);
ZemStatus ownFFTFwd_RToCCS_16s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFFTState_R_16s* state, int scaleFactor,
                                   Zem8u* buffer);
// srcDst = src times the conjugate of srcDst, bin by bin, in Pack layout.
ZemStatus ownMulPackConj_32f(const Zem32f* src, Zem32f* srcDst, int len);
// Lags 0 .. nLags - 1 of the autocorrelation of src; lags from min(len, nLags) on are 0.
ZemStatus ownAutoCorr_32f(const Zem32f* src, int len, Zem32f* dst, int nLags);
