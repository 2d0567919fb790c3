/* zemsr: numeric primitives for automatic speech recognition.
 *
 * Plain C interface.  Every function takes memory that the caller owns, checks its
 * arguments and returns a ZemStatus: 0 for success, a negative number for an error
 * (nothing delivered), a positive number for a warning (results delivered).  Strides
 * are counted in elements, never in bytes. */
#ifndef ZEMSR_H
#define ZEMSR_H

#include <stdint.h>

#if defined(ZEMSR_BUILDING)
#define ZEMSR_API __attribute__((visibility("default")))
#else
#define ZEMSR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Sample types ---------------------------------------------------------- */
typedef uint8_t Zem8u;
typedef int8_t Zem8s;
typedef int16_t Zem16s;
typedef uint16_t Zem16u;
typedef int32_t Zem32s;
typedef uint32_t Zem32u;
typedef int64_t Zem64s;
typedef float Zem32f;
typedef double Zem64f;

/* ---- Status codes (numbers are fixed) -------------------------------------- */
typedef enum {
    zemStatusInternal = -9999,
    zemStatusSizeTooLarge = -119,
    zemStatusBadAutocorr = -117,
    zemStatusUnstableFilter = -116,
    zemStatusBadLsp = -115,
    zemStatusNoRoot = -114,
    zemStatusBadFreqRange = -71,
    zemStatusBadMelFlag = -70,
    zemStatusBadFBank = -69,
    zemStatusNegativeWeight = -67,
    zemStatusBadCdbkHint = -66,
    zemStatusNoConvergence = -65,
    zemStatusBadStride = -37,
    zemStatusBadContext = -17,
    zemStatusBadFlag = -16,
    zemStatusBadOrder = -15,
    zemStatusDivideByZero = -10,
    zemStatusNoMemory = -9,
    zemStatusNullPointer = -8,
    zemStatusOutOfRange = -7,
    zemStatusBadSize = -6,
    zemStatusBadArg = -5,
    zemStatusFailed = -2,
    zemStatusOk = 0,
    zemStatusInverseZeroWarning = 4,
    zemStatusDivideByZeroWarning = 6,
    zemStatusLogZeroWarning = 7,
    zemStatusLogNegativeWarning = 8,
    zemStatusFloorWarning = 11,
    zemStatusZeroOccupancyWarning = 16,
    zemStatusCdbkSizeWarning = 31
} ZemStatus;

/* ---- Small enumerations ---------------------------------------------------- */
/* Quality hint of the resampler and of sums: a test is always for one value, any
 * other value counts as the other case. */
typedef enum { zemAlgHintFast = 1, zemAlgHintAccurate = 2 } ZemHintAlgorithm;

/* Filter bank modes. */
enum { zemFBankMelWeights = 1, zemFBankFreqWeights = 2, zemFBankFftMagnitude = 4 };

/* Delta block flags. */
enum { zemDeltaFirstBlock = 1, zemDeltaLastBlock = 2 };

/* Codebook hints. */
enum { ZEM_CDBK_LIST = 1, ZEM_CDBK_SPLIT_WIDEST = 2, ZEM_CDBK_SPLIT_FULLEST = 3 };

/* ---- Version record ------------------------------------------------------- */
typedef struct {
    Zem32s major;         /* major version */
    Zem32s minor;         /* minor version */
    Zem32s majorBuild;    /* major build number */
    Zem32s build;         /* build number */
    char targetCpu[4];    /* target processor code, zero padded */
    const char* name;     /* library name */
    const char* version;  /* version text */
    const char* buildDate;
} ZemLibraryVersion;

/* ---- Opaque state records --------------------------------------------------- */
typedef struct ZemsFBankState_32f ZemsFBankState_32f;
typedef struct ZemsFBankState_16s ZemsFBankState_16s;
typedef struct ZemsFBankState_32s ZemsFBankState_32s;
typedef struct ZemsDCTLifterState_32f ZemsDCTLifterState_32f;
typedef struct ZemsDCTLifterState_16s ZemsDCTLifterState_16s;
typedef struct ZemsVADState_Aurora ZemsVADState_Aurora;
typedef struct ZemsMCRAState_32f ZemsMCRAState_32f;
typedef struct ZemsMCRAState_32s ZemsMCRAState_32s;
typedef struct ZemsCdbkState_16s ZemsCdbkState_16s;
typedef struct ZemsCdbkState_32f ZemsCdbkState_32f;
typedef struct ZemsBlockDMatrix_16s ZemsBlockDMatrix_16s;
typedef struct ZemsBlockDMatrix_32f ZemsBlockDMatrix_32f;
typedef struct ZemsBlockDMatrix_64f ZemsBlockDMatrix_64f;
typedef struct ZemsResampleState_16s ZemsResampleState_16s;
typedef struct ZemsResampleState_32f ZemsResampleState_32f;
typedef struct ZemsResampleFixedState_16s ZemsResampleFixedState_16s;
typedef struct ZemsResampleFixedState_32f ZemsResampleFixedState_32f;

/* ---- Version query ----------------------------------------------------------- */
/* The library's constant version record; never freed, the same pointer every call. */
/* Threads: any thread, any time; the record is constant.
 * Determinism: always the same record. */
ZEMSR_API const ZemLibraryVersion* zemsrGetLibVersion(void);

/* ---- Log-domain arithmetic ------------------------------------------------------- */
/* srcDst[i] = ln(exp(src[i]) + exp(srcDst[i])); -4500000 (single) and -1e10 (double)
 * are the floors that stand for a probability of zero. */
/* Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count (a fixed order of additions in the
 * sums). */
ZEMSR_API ZemStatus zemsLogAdd_32f(const Zem32f* src, Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsLogAdd_64f(const Zem64f* src, Zem64f* srcDst, int len, int hint);
ZEMSR_API ZemStatus zemsLogAdd_16s_Sfs(const Zem16s* src, Zem16s* srcDst, int len, int scaleFactor);
ZEMSR_API ZemStatus zemsLogAdd_32s_Sfs(const Zem32s* src, Zem32s* srcDst, int len, int scaleFactor);
/* srcDst[i] = ln(exp(src[i]) - exp(srcDst[i])); srcDst[i] must be below src[i]. */
ZEMSR_API ZemStatus zemsLogSub_32f(const Zem32f* src, Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsLogSub_64f(const Zem64f* src, Zem64f* srcDst, int len);
ZEMSR_API ZemStatus zemsLogSub_16s_Sfs(const Zem16s* src, Zem16s* srcDst, int len, int scaleFactor);
ZEMSR_API ZemStatus zemsLogSub_32s_Sfs(const Zem32s* src, Zem32s* srcDst, int len, int scaleFactor);
/* *dst = ln(sum of exp(src[i])). */
ZEMSR_API ZemStatus zemsLogSum_32f(const Zem32f* src, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsLogSum_64f(const Zem64f* src, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsLogSum_16s_Sfs(const Zem16s* src, Zem16s* dst, int len, int scaleFactor);
ZEMSR_API ZemStatus zemsLogSum_32s_Sfs(const Zem32s* src, Zem32s* dst, int len, int scaleFactor);

/* ---- Filter banks -------------------------------------------------------------------------- */
/* A bank: centre bins c[0 .. nFilter+1] and per filter a rising and a falling row of weights.
 * mode: zemFBankMelWeights (1) or zemFBankFreqWeights (2), plus zemFBankFftMagnitude (4) to
 * evaluate time frames through the transform.  Init forms build the bank inside the caller's
 * buffer of the reported size (not to be freed); InitAlloc forms end with zemsFBankFree_*.
 * Centre lists (zemsFBankSetCenters_*, zemsFBankGetCenters_*) must also hold c[nFilter] within
 * 0 .. N/2, a check of this library's own that keeps every slope inside the bank's rows.
 * zemsMelLinFBankInitAlloc_* and zemsEmptyFBankInitAlloc_* test state and fftOrder for null
 * (zemStatusNullPointer, nothing written) after all their other checks: also this library's own.
 * melMul, melDiv and non-finite frequencies are not checked; a mel or mixed bank whose centres
 * then fall outside 0 .. N/2 is built but left not ready, its rows zero: evaluation and
 * Get/SetCoeffs give zemStatusBadFBank until a valid centre list is set (this library's own). */
/* Threads: a bank is read-only during evaluation and may be shared between threads, except a bank
 * built with zemFBankFftMagnitude (4), which holds a transform work area: one thread at a time per
 * such bank. Set/Get of centres and coefficients write the bank.
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsMelFBankGetSize_32f(int frameLen, int nFilter, int mode, Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankGetSize_16s(int frameLen, int nFilter, int mode, Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankGetSize_32s(int frameLen, int nFilter, int mode, Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                              Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                              Zem32f melMul, Zem32f melDiv, int mode);
ZEMSR_API ZemStatus zemsMelFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                              Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                              Zem32f melMul, Zem32f melDiv, int mode);
ZEMSR_API ZemStatus zemsMelFBankInit_32f(ZemsFBankState_32f* state, Zem32s* fftOrder, int frameLen, Zem32f sampFreq,
                                         Zem32f lowFreq, Zem32f highFreq, int nFilter, Zem32f melMul, Zem32f melDiv,
                                         int mode);
ZEMSR_API ZemStatus zemsMelFBankInit_16s(ZemsFBankState_16s* state, Zem32s* fftOrder, int frameLen, Zem32f sampFreq,
                                         Zem32f lowFreq, Zem32f highFreq, int nFilter, Zem32f melMul, Zem32f melDiv,
                                         int mode);
/* Fixed point: sampFreq, lowFreq and highFreq in Hertz, melMul and melDiv in Q15, weights in Q30. */
ZEMSR_API ZemStatus zemsMelFBankInit_32s(ZemsFBankState_32s* state, Zem32s* fftOrder, int frameLen, Zem32s sampFreq,
                                         Zem32s lowFreq, Zem32s highFreq, int nFilter, Zem32s melMul, Zem32s melDiv,
                                         int mode);
ZEMSR_API ZemStatus zemsMelLinFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                                 Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                                 Zem32f linFreq, int nLinear, Zem32f melMul, Zem32f melDiv, int mode);
ZEMSR_API ZemStatus zemsMelLinFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                                 Zem32f sampFreq, Zem32f lowFreq, Zem32f highFreq, int nFilter,
                                                 Zem32f linFreq, int nLinear, Zem32f melMul, Zem32f melDiv, int mode);
ZEMSR_API ZemStatus zemsEmptyFBankInitAlloc_32f(ZemsFBankState_32f** state, Zem32s* fftOrder, int frameLen,
                                                int nFilter, int mode);
ZEMSR_API ZemStatus zemsEmptyFBankInitAlloc_16s(ZemsFBankState_16s** state, Zem32s* fftOrder, int frameLen,
                                                int nFilter, int mode);
ZEMSR_API ZemStatus zemsMelFBankGetSizeLow_Aurora_32f(Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankGetSizeLow_Aurora_16s(Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankGetSizeHigh_Aurora_32f(Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankGetSizeHigh_Aurora_16s(Zem32s* size);
ZEMSR_API ZemStatus zemsMelFBankInitLow_Aurora_32f(ZemsFBankState_32f* state);
ZEMSR_API ZemStatus zemsMelFBankInitLow_Aurora_16s(ZemsFBankState_16s* state);
ZEMSR_API ZemStatus zemsMelFBankInitHigh_Aurora_32f(ZemsFBankState_32f* state);
ZEMSR_API ZemStatus zemsMelFBankInitHigh_Aurora_16s(ZemsFBankState_16s* state);
ZEMSR_API ZemStatus zemsMelFBankInitAllocLow_Aurora_32f(ZemsFBankState_32f** state);
ZEMSR_API ZemStatus zemsMelFBankInitAllocLow_Aurora_16s(ZemsFBankState_16s** state);
ZEMSR_API ZemStatus zemsMelFBankInitAllocHigh_Aurora_32f(ZemsFBankState_32f** state);
ZEMSR_API ZemStatus zemsMelFBankInitAllocHigh_Aurora_16s(ZemsFBankState_16s** state);
ZEMSR_API ZemStatus zemsFBankFree_32f(ZemsFBankState_32f* state);
ZEMSR_API ZemStatus zemsFBankFree_16s(ZemsFBankState_16s* state);
ZEMSR_API ZemStatus zemsFBankGetCenters_32f(const ZemsFBankState_32f* state, Zem32s* centers);
ZEMSR_API ZemStatus zemsFBankGetCenters_16s(const ZemsFBankState_16s* state, Zem32s* centers);
ZEMSR_API ZemStatus zemsFBankSetCenters_32f(ZemsFBankState_32f* state, const Zem32s* centers);
ZEMSR_API ZemStatus zemsFBankSetCenters_16s(ZemsFBankState_16s* state, const Zem32s* centers);
/* filterIndex counts from 1; coeffs: the rising run, then the falling run. */
ZEMSR_API ZemStatus zemsFBankGetCoeffs_32f(const ZemsFBankState_32f* state, int filterIndex, Zem32f* coeffs);
ZEMSR_API ZemStatus zemsFBankGetCoeffs_16s(const ZemsFBankState_16s* state, int filterIndex, Zem32f* coeffs);
ZEMSR_API ZemStatus zemsFBankSetCoeffs_32f(ZemsFBankState_32f* state, int filterIndex, const Zem32f* coeffs);
ZEMSR_API ZemStatus zemsFBankSetCoeffs_16s(ZemsFBankState_16s* state, int filterIndex, const Zem32f* coeffs);
/* dst[i] = the weighted sum of filter i over src (a spectrum, or a time frame with mode bit 4). */
ZEMSR_API ZemStatus zemsEvalFBank_32f(const Zem32f* src, Zem32f* dst, const ZemsFBankState_32f* state);
ZEMSR_API ZemStatus zemsEvalFBank_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsFBankState_16s* state,
                                          int scaleFactor);
ZEMSR_API ZemStatus zemsEvalFBank_16s32s_Sfs(const Zem16s* src, Zem32s* dst, const ZemsFBankState_16s* state,
                                             int scaleFactor);
ZEMSR_API ZemStatus zemsEvalFBank_32s_Sfs(const Zem32s* src, Zem32s* dst, const ZemsFBankState_32s* state,
                                          int scaleFactor);
/* mel(f) = melMul * ln(1 + f / melDiv) and its inverse, elementwise. */
ZEMSR_API ZemStatus zemsLinearToMel_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv);
ZEMSR_API ZemStatus zemsMelToLinear_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f melMul, Zem32f melDiv);

/* ---- DCT liftering ------------------------------------------------------------------------ */
/* dst[i-1] = lifter[i] * sum_j src[j] * cos((j + 0.5) * i * pi / lenDCT), i = 1 .. lenCepstrum;
 * the C0 forms append the zeroth coefficient last.  lifter[i] = (1 + nLifter/2 * sin(i pi /
 * nLifter)) * val; the Mul forms take lenCepstrum weights from the caller.  Init forms build
 * the state in the caller's buffer of the reported size (not to be freed). */
/* Threads: float lifters are read-only during use and may be shared between threads; a 16-bit
 * lifter holds a work area (one thread at a time per state).
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsDCTLifterGetSize_32f(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_C0_32f(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_16s(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_C0_16s(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCepstrum, Zem32s* size);
/* The size for zemsDCTLifterInit_MulC0_16s, whose rows have their own layout; lenDCT <= 8192. */
ZEMSR_API ZemStatus zemsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCepstrum, Zem32s* size);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_32f(ZemsDCTLifterState_32f** state, int lenDCT, int lenCepstrum,
                                               int nLifter, Zem32f val);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_16s(ZemsDCTLifterState_16s** state, int lenDCT, int lenCepstrum,
                                               int nLifter, Zem32f val);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_C0_32f(ZemsDCTLifterState_32f** state, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zem32f val, Zem32f val0);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_C0_16s(ZemsDCTLifterState_16s** state, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zem32f val, Zem32f val0);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_Mul_32f(ZemsDCTLifterState_32f** state, int lenDCT,
                                                   const Zem32f* lifterTable, int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_Mul_16s(ZemsDCTLifterState_16s** state, int lenDCT,
                                                   const Zem32f* lifterTable, int lenCepstrum);
/* MulC0: the zeroth coefficient takes the last entry of the table. */
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_MulC0_32f(ZemsDCTLifterState_32f** state, int lenDCT,
                                                     const Zem32f* lifterTable, int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterInitAlloc_MulC0_16s(ZemsDCTLifterState_16s** state, int lenDCT,
                                                     const Zem32f* lifterTable, int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterInit_32f(ZemsDCTLifterState_32f* state, int lenDCT, int lenCepstrum, int nLifter,
                                          Zem32f val);
ZEMSR_API ZemStatus zemsDCTLifterInit_16s(ZemsDCTLifterState_16s* state, int lenDCT, int lenCepstrum, int nLifter,
                                          Zem32f val);
ZEMSR_API ZemStatus zemsDCTLifterInit_C0_32f(ZemsDCTLifterState_32f* state, int lenDCT, int lenCepstrum,
                                             int nLifter, Zem32f val, Zem32f val0);
ZEMSR_API ZemStatus zemsDCTLifterInit_C0_16s(ZemsDCTLifterState_16s* state, int lenDCT, int lenCepstrum,
                                             int nLifter, Zem32f val, Zem32f val0);
ZEMSR_API ZemStatus zemsDCTLifterInit_Mul_32f(ZemsDCTLifterState_32f* state, int lenDCT, const Zem32f* lifterTable,
                                              int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterInit_Mul_16s(ZemsDCTLifterState_16s* state, int lenDCT, const Zem32f* lifterTable,
                                              int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_32f(ZemsDCTLifterState_32f* state, int lenDCT,
                                                const Zem32f* lifterTable, int lenCepstrum);
/* Here, unlike the allocating form, the table is integer: each entry is converted to float. */
ZEMSR_API ZemStatus zemsDCTLifterInit_MulC0_16s(ZemsDCTLifterState_16s* state, int lenDCT,
                                                const Zem32s* lifterTable, int lenCepstrum);
ZEMSR_API ZemStatus zemsDCTLifterFree_32f(ZemsDCTLifterState_32f* state);
ZEMSR_API ZemStatus zemsDCTLifterFree_16s(ZemsDCTLifterState_16s* state);
ZEMSR_API ZemStatus zemsDCTLifter_32f(const Zem32f* src, Zem32f* dst, const ZemsDCTLifterState_32f* state);
/* Computed in float, stored times 2^-scaleFactor, rounded to nearest and saturated. */
ZEMSR_API ZemStatus zemsDCTLifter_16s_Sfs(const Zem16s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                          int scaleFactor);
ZEMSR_API ZemStatus zemsDCTLifter_32s16s_Sfs(const Zem32s* src, Zem16s* dst, const ZemsDCTLifterState_16s* state,
                                             int scaleFactor);

/* ---- Delta features ------------------------------------------------------------------------ */
/* Streaming: each call takes `height` new frames, writes them into dst rows (dstStep elements
 * apart) as statics X followed by deltas D (and delta-deltas E), and finishes the rows whose
 * window is complete.  flags: zemDeltaFirstBlock, zemDeltaLastBlock.  Between calls dst must
 * stand H rows before the row of the next new frame (H = 2, 3, 4, 6 or 8 by family): the
 * matrix is the state.  Win1: D(t) = a (X(t+1) - X(t-1)); Win2 adds 2 (X(t+2) - X(t-2));
 * rows outside the utterance are replaced by the nearest one. */
/* Threads: no state beyond the caller's matrix; any number of threads on distinct matrices.
 * Determinism: the same bits for any alignment, thread count and any split of the utterance into
 * blocks. */
ZEMSR_API ZemStatus zemsDelta_Win1_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height,
                                          Zem32f val, int flags);
ZEMSR_API ZemStatus zemsDelta_Win2_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height,
                                          Zem32f val, int flags);
ZEMSR_API ZemStatus zemsDelta_Win1_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height,
                                             Zem16s val, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDelta_Win2_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height,
                                             Zem16s val, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaDelta_Win1_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height,
                                               Zem32f valD, Zem32f valDD, int flags);
ZEMSR_API ZemStatus zemsDeltaDelta_Win2_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height,
                                               Zem32f valD, Zem32f valDD, int flags);
ZEMSR_API ZemStatus zemsDeltaDelta_Win1_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep,
                                                  int height, Zem16s valD, Zem16s valDD, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaDelta_Win2_16s_D2Sfs(const Zem16s* src, int width, Zem16s* dst, int dstStep,
                                                  int height, Zem16s valD, Zem16s valDD, int flags, int scaleFactor);
/* Mul forms: mulTable holds the static multipliers, then those of the delta (and delta-delta). */
ZEMSR_API ZemStatus zemsDeltaMul_Win1_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst,
                                             int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaMul_Win2_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width, Zem32f* dst,
                                             int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win1_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width,
                                                  Zem32f* dst, int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win2_32f_D2(const Zem32f* src, const Zem32f* mulTable, int width,
                                                  Zem32f* dst, int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaMul_Win1_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst,
                                                int dstStep, int height, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaMul_Win2_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width, Zem16s* dst,
                                                int dstStep, int height, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win1_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width,
                                                     Zem16s* dst, int dstStep, int height, int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Win2_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, int width,
                                                     Zem16s* dst, int dstStep, int height, int flags, int scaleFactor);
/* Aurora: source frames of 14 (12 cepstra, c0, log energy), rows of 13 statics (the 13th is
 * 0.6 c0 / 23 + 0.4 logE), 13 deltas and 13 delta-deltas, nine-tap windows. */
ZEMSR_API ZemStatus zemsDeltaDelta_Aurora_32f_D2(const Zem32f* src, Zem32f* dst, int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaDelta_Aurora_16s_D2Sfs(const Zem16s* src, Zem16s* dst, int dstStep, int height,
                                                    int flags, int scaleFactor);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Aurora_32f_D2(const Zem32f* src, const Zem32f* mulTable, Zem32f* dst,
                                                    int dstStep, int height, int flags);
ZEMSR_API ZemStatus zemsDeltaDeltaMul_Aurora_16s_D2Sfs(const Zem16s* src, const Zem16s* mulTable, Zem16s* dst,
                                                       int dstStep, int height, int flags, int scaleFactor);
/* Batch, in place over a whole utterance: statics at columns offset .. offset+width-1, the
 * delta written after them.  D(t) = val * sum_{k=1..winSize} k (X(t+k) - X(t-k)), with row 0
 * for every past row in the first winSize rows and the last row for every future row in the
 * last winSize rows.  The Mul forms read the multipliers at mulTable[width + j]. */
ZEMSR_API ZemStatus zemsEvalDelta_32f_D2(Zem32f* srcDst, int height, int step, int width, int offset, int winSize,
                                         Zem32f val);
ZEMSR_API ZemStatus zemsEvalDelta_16s_D2Sfs(Zem16s* srcDst, int height, int step, int width, int offset,
                                            int winSize, Zem16s val, int scaleFactor);
ZEMSR_API ZemStatus zemsEvalDeltaMul_32f_D2(Zem32f* srcDst, int height, int step, const Zem32f* mulTable, int width,
                                            int offset, int winSize);
ZEMSR_API ZemStatus zemsEvalDeltaMul_16s_D2Sfs(Zem16s* srcDst, int height, int step, const Zem16s* mulTable,
                                               int width, int offset, int winSize, int scaleFactor);

/* ---- Single-frame Gaussian scores: val - 0.5 * sum of (x[i] - m[i])^2 * w[i] ----------- */
/* w is an inverse variance; IdVar forms have w = 1, DirectVar forms divide by a variance,
 * BlockDVar forms take a block diagonal precision matrix. */
/* Threads: no state; block diagonal matrices are read-only during scoring and may be shared between
 * threads.
 * Determinism: the same bits for any alignment and thread count (division of the DirectVar forms
 * splits by elements across at most two threads). */
ZEMSR_API ZemStatus zemsLogGaussSingle_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                           Zem32f* pResult, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int len,
                                           Zem64f* pResult, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                              Zem64f* pResult, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                                  Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_Scaled_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                     int len, Zem32f* pResult, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_Low_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                      int len, Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_LowScaled_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                        int len, Zem32f* pResult, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_32f(const Zem32f* src, const Zem32f* mean, int len, Zem32f* pResult,
                                                 Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_64f(const Zem64f* src, const Zem64f* mean, int len, Zem64f* pResult,
                                                 Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_32f64f(const Zem32f* src, const Zem32f* mean, int len, Zem64f* pResult,
                                                    Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, int len,
                                                        Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarScaled_16s32f(const Zem16s* src, const Zem16s* mean, int len,
                                                          Zem32f* pResult, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarLow_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, int len,
                                                           Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_IdVarLowScaled_16s32f(const Zem16s* src, const Zem16s* mean, int len,
                                                             Zem32f* pResult, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                     int len, Zem32f* pResult, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var,
                                                     int len, Zem64f* pResult, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                        int len, Zem64f* pResult, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                            int len, Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_DirectVarScaled_16s32f(const Zem16s* src, const Zem16s* mean,
                                                              const Zem16s* var, int len, Zem32f* pResult, Zem32f val,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_32f(const Zem32f* src, const Zem32f* mean,
                                                     const ZemsBlockDMatrix_32f* matrix, int len, Zem32f* pResult,
                                                     Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_64f(const Zem64f* src, const Zem64f* mean,
                                                     const ZemsBlockDMatrix_64f* matrix, int len, Zem64f* pResult,
                                                     Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_32f64f(const Zem32f* src, const Zem32f* mean,
                                                        const ZemsBlockDMatrix_32f* matrix, int len, Zem64f* pResult,
                                                        Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVar_16s32s_Sfs(const Zem16s* src, const Zem16s* mean,
                                                            const ZemsBlockDMatrix_16s* matrix, int len,
                                                            Zem32s* pResult, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussSingle_BlockDVarScaled_16s32f(const Zem16s* src, const Zem16s* mean,
                                                              const ZemsBlockDMatrix_16s* matrix, int len,
                                                              Zem32f* pResult, Zem32f val, int scaleFactor);

/* ---- Block Gaussian scores: one Gaussian against the frames (rows) of a matrix ---------- */
/* zemsLogGauss stores each frame's score, zemsLogGaussAdd adds it in the log domain to dst,
 * zemsLogGaussMax keeps the larger.  In zemsLogGaussMax_16s32s_* only height elements of
 * dst are written, also for an odd height (no extra element after the last frame). */
/* Threads: no state; any number of threads on distinct outputs from one constant model.
 * Determinism: the same bits for any alignment, row layout and thread count; a frame gets the same
 * score alone or in a block. */
ZEMSR_API ZemStatus zemsLogGauss_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var, int width,
                                        Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGauss_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                         int width, Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGauss_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var, int width,
                                        Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGauss_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                         int width, Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var,
                                           int width, Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                            int width, Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var,
                                           int width, Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                            int width, Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussMax_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var,
                                           int width, Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussMax_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                            int width, Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussMax_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var,
                                           int width, Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussMax_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                            int width, Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width, Zem32f* dst,
                                              int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                               Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width, Zem64f* dst,
                                              int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                               Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width,
                                                 Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                                  Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width,
                                                 Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                                  Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_32f_D2(const Zem32f* src, int step, const Zem32f* mean, int width,
                                                 Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, int width,
                                                  Zem32f* dst, int height, Zem32f val);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_64f_D2(const Zem64f* src, int step, const Zem64f* mean, int width,
                                                 Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, int width,
                                                  Zem64f* dst, int height, Zem64f val);
ZEMSR_API ZemStatus zemsLogGauss_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                   const Zem16s* var, int width, Zem32f* dst, int height, Zem32f val,
                                                   int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_Scaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_Scaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32f* dst, int height,
                                                     Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32f* dst, int height,
                                                      Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                        const Zem16s* var, int width, Zem32f* dst, int height,
                                                        Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                         const Zem16s* var, int width, Zem32f* dst, int height,
                                                         Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_LowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                        const Zem16s* var, int width, Zem32f* dst, int height,
                                                        Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_LowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                         const Zem16s* var, int width, Zem32f* dst, int height,
                                                         Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                              int width, Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, const Zem16s* var,
                                               int width, Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                 int width, Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_Low_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, const Zem16s* var,
                                                  int width, Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_Low_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                   const Zem16s* var, int width, Zem32s* dst, int height, Zem32s val,
                                                   int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_Low_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean,
                                                     const Zem16s* var, int width, Zem32s* dst, int height,
                                                     Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_Low_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                      const Zem16s* var, int width, Zem32s* dst, int height,
                                                      Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32f* dst, int height, Zem32f val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32f* dst, int height, Zem32f val,
                                                           int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                             int width, Zem32f* dst, int height, Zem32f val,
                                                             int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                              int width, Zem32f* dst, int height, Zem32f val,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLowScaled_16s32f_D2(const Zem16s* src, int step, const Zem16s* mean,
                                                             int width, Zem32f* dst, int height, Zem32f val,
                                                             int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Zem16s* const* srcRows, const Zem16s* mean,
                                                              int width, Zem32f* dst, int height, Zem32f val,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                    Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVar_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                     Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVar_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarLow_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                       Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGauss_IdVarLow_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean, int width,
                                                        Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Zem16s* src, int step, const Zem16s* mean, int width,
                                                          Zem32s* dst, int height, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Zem16s* const* srcRows, const Zem16s* mean,
                                                           int width, Zem32s* dst, int height, Zem32s val,
                                                           int scaleFactor);

/* ---- Mixture scores: one frame against the Gaussians (rows of mean and var) ------------- */
/* zemsLogGaussMultiMix: srcDst holds each Gaussian's val on entry and its score on exit.
 * zemsLogGaussAddMultiMix / zemsLogGaussMaxMultiMix join each score to srcDst.
 * zemsLogGaussMixture: the log of the sum of the exponentials of all scores.
 * Select forms: per frame, only the components whose shortlist bit is set ((n + 7) / 8
 * bytes a frame, most significant bit first); noneValue where none is. */
/* Threads: no state; any number of threads on distinct outputs from one constant model.
 * Determinism: the same bits for any alignment, row layout and thread count. */
ZEMSR_API ZemStatus zemsLogGaussMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                int width, Zem32f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                 const Zem32f* src, int width, Zem32f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                int width, Zem64f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                 const Zem64f* src, int width, Zem64f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                      const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                      int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_16s32s_D2LSfs(const Zem16s* const* meanRows, const Zem16s* const* varRows,
                                                       const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                       int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_Low_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                          const Zem16s* src, int width, Zem32s* srcDst, int n,
                                                          int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_Low_16s32s_D2LSfs(const Zem16s* const* meanRows,
                                                           const Zem16s* const* varRows, const Zem16s* src, int width,
                                                           Zem32s* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                          const Zem16s* src, int width, Zem32f* srcDst, int n,
                                                          int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                           const Zem16s* const* varRows, const Zem16s* src, int width,
                                                           Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, Zem32f* srcDst, int n,
                                                             int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                   int width, const Zem32f* val, Zem32f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                    const Zem32f* src, int width, const Zem32f* val, Zem32f* srcDst,
                                                    int n);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                   int width, const Zem64f* val, Zem64f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                    const Zem64f* src, int width, const Zem64f* val, Zem64f* srcDst,
                                                    int n);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                                   int width, const Zem32f* val, Zem32f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                    const Zem32f* src, int width, const Zem32f* val, Zem32f* srcDst,
                                                    int n);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                                   int width, const Zem64f* val, Zem64f* srcDst, int n);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                    const Zem64f* src, int width, const Zem64f* val, Zem64f* srcDst,
                                                    int n);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32f* val,
                                                             Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                                const Zem16s* src, int width, const Zem32f* val,
                                                                Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                                 const Zem16s* const* varRows, const Zem16s* src,
                                                                 int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                                 int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32f* val,
                                                             Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Zem16s* mean, const Zem16s* var, int step,
                                                                const Zem16s* src, int width, const Zem32f* val,
                                                                Zem32f* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Zem16s* const* meanRows,
                                                                 const Zem16s* const* varRows, const Zem16s* src,
                                                                 int width, const Zem32f* val, Zem32f* srcDst, int n,
                                                                 int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                         const Zem16s* src, int width, const Zem32s* val,
                                                         Zem32s* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_16s32s_D2LSfs(const Zem16s* const* meanRows, const Zem16s* const* varRows,
                                                          const Zem16s* src, int width, const Zem32s* val,
                                                          Zem32s* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Zem16s* mean, const Zem16s* var, int step,
                                                             const Zem16s* src, int width, const Zem32s* val,
                                                             Zem32s* srcDst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Zem16s* const* meanRows,
                                                              const Zem16s* const* varRows, const Zem16s* src,
                                                              int width, const Zem32s* val, Zem32s* srcDst, int n,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_32f_D2(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int n,
                                               int step, int width, const Zem32f* val, Zem32f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_32f_D2L(const Zem32f* src, const Zem32f* const* meanRows,
                                                const Zem32f* const* varRows, int n, int width, const Zem32f* val,
                                                Zem32f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_64f_D2(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int n,
                                               int step, int width, const Zem64f* val, Zem64f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_64f_D2L(const Zem64f* src, const Zem64f* const* meanRows,
                                                const Zem64f* const* varRows, int n, int width, const Zem64f* val,
                                                Zem64f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_Scaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                         int n, int step, int width, const Zem32f* val,
                                                         Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_Scaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                          const Zem16s* const* varRows, int n, int width,
                                                          const Zem32f* val, Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_LowScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, const Zem16s* var,
                                                            int n, int step, int width, const Zem32f* val,
                                                            Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_LowScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                             const Zem16s* const* varRows, int n, int width,
                                                             const Zem32f* val, Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_32f_D2(const Zem32f* src, const Zem32f* mean, int n, int step,
                                                     int width, const Zem32f* val, Zem32f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_32f_D2L(const Zem32f* src, const Zem32f* const* meanRows, int n,
                                                      int width, const Zem32f* val, Zem32f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_64f_D2(const Zem64f* src, const Zem64f* mean, int n, int step,
                                                     int width, const Zem64f* val, Zem64f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVar_64f_D2L(const Zem64f* src, const Zem64f* const* meanRows, int n,
                                                      int width, const Zem64f* val, Zem64f* pResult);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n, int step,
                                                              int width, const Zem32f* val, Zem32f* pResult,
                                                              int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                               int n, int width, const Zem32f* val, Zem32f* pResult,
                                                               int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int n,
                                                                 int step, int width, const Zem32f* val,
                                                                 Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Zem16s* src, const Zem16s* const* meanRows,
                                                                  int n, int width, const Zem32f* val,
                                                                  Zem32f* pResult, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_Select_32f_D2(const Zem32f* src, const Zem32f* mean, const Zem32f* var,
                                                      int step, int width, const Zem32f* val, const Zem8u* shortlist,
                                                      int n, Zem32f* dst, int height, Zem32f noneValue);
ZEMSR_API ZemStatus zemsLogGaussMixture_Select_32f_D2L(const Zem32f* const* srcRows, const Zem32f* const* meanRows,
                                                       const Zem32f* const* varRows, int width, const Zem32f* val,
                                                       const Zem8u* shortlist, int n, Zem32f* dst, int height,
                                                       Zem32f noneValue);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean,
                                                               const Zem16s* var, int step, int width,
                                                               const Zem32f* val, const Zem8u* shortlist, int n,
                                                               Zem32f* dst, int height, Zem32f noneValue,
                                                               int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectScaled_16s32f_D2L(const Zem16s* const* srcRows,
                                                                const Zem16s* const* meanRows,
                                                                const Zem16s* const* varRows, int width,
                                                                const Zem32f* val, const Zem8u* shortlist, int n,
                                                                Zem32f* dst, int height, Zem32f noneValue,
                                                                int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVar_32f_D2(const Zem32f* src, const Zem32f* mean, int step, int width,
                                                           const Zem32f* val, const Zem8u* shortlist, int n,
                                                           Zem32f* dst, int height, Zem32f noneValue);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVar_32f_D2L(const Zem32f* const* srcRows,
                                                            const Zem32f* const* meanRows, int width,
                                                            const Zem32f* val, const Zem8u* shortlist, int n,
                                                            Zem32f* dst, int height, Zem32f noneValue);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Zem16s* src, const Zem16s* mean, int step,
                                                                    int width, const Zem32f* val,
                                                                    const Zem8u* shortlist, int n, Zem32f* dst,
                                                                    int height, Zem32f noneValue, int scaleFactor);
ZEMSR_API ZemStatus zemsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Zem16s* const* srcRows,
                                                                     const Zem16s* const* meanRows, int width,
                                                                     const Zem32f* val, const Zem8u* shortlist, int n,
                                                                     Zem32f* dst, int height, Zem32f noneValue,
                                                                     int scaleFactor);

/* ---- Mahalanobis distances: sum of (x[i] - m[i])^2 * var[i], var an inverse variance - */
/* Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count, except zemsMahDistSingle_16s32f
 * and zemsMahDistSingle_16s32s_Sfs, whose aligned body (16-byte aligned inputs) saturates
 * differences in groups of 8 and, in the _Sfs form, ignores the scale factor: their results depend
 * on alignment by design. */
ZEMSR_API ZemStatus zemsMahDistSingle_32f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                          Zem32f* pResult);
ZEMSR_API ZemStatus zemsMahDistSingle_64f(const Zem64f* src, const Zem64f* mean, const Zem64f* var, int len,
                                          Zem64f* pResult);
ZEMSR_API ZemStatus zemsMahDistSingle_32f64f(const Zem32f* src, const Zem32f* mean, const Zem32f* var, int len,
                                             Zem64f* pResult);
ZEMSR_API ZemStatus zemsMahDistSingle_16s32f(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                             Zem32f* pResult);
ZEMSR_API ZemStatus zemsMahDistSingle_16s32s_Sfs(const Zem16s* src, const Zem16s* mean, const Zem16s* var, int len,
                                                 Zem32s* pResult, int scaleFactor);
/* Many frames (rows of src) against one Gaussian. */
ZEMSR_API ZemStatus zemsMahDist_32f_D2(const Zem32f* src, int step, const Zem32f* mean, const Zem32f* var, int width,
                                       Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsMahDist_64f_D2(const Zem64f* src, int step, const Zem64f* mean, const Zem64f* var, int width,
                                       Zem64f* dst, int height);
ZEMSR_API ZemStatus zemsMahDist_32f_D2L(const Zem32f* const* srcRows, const Zem32f* mean, const Zem32f* var,
                                        int width, Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsMahDist_64f_D2L(const Zem64f* const* srcRows, const Zem64f* mean, const Zem64f* var,
                                        int width, Zem64f* dst, int height);
/* One frame against many Gaussians (rows of mean and var). */
ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2(const Zem32f* mean, const Zem32f* var, int step, const Zem32f* src,
                                               int width, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2(const Zem64f* mean, const Zem64f* var, int step, const Zem64f* src,
                                               int width, Zem64f* dst, int n);
ZEMSR_API ZemStatus zemsMahDistMultiMix_32f_D2L(const Zem32f* const* meanRows, const Zem32f* const* varRows,
                                                const Zem32f* src, int width, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsMahDistMultiMix_64f_D2L(const Zem64f* const* meanRows, const Zem64f* const* varRows,
                                                const Zem64f* src, int width, Zem64f* dst, int n);

/* ---- Gaussian selection and output-probability helpers ------------------------------ */
/* Bit matrices: bit position p of a row is bit 7 - p % 8 of byte p / 8.  The shortlist
 * fillers toggle (exclusive or) and never clear. */
/* Threads: block diagonal matrices are read-only after creation and may be shared between threads;
 * everything else is stateless.
 * Determinism: the same bits for any alignment and thread count, except zemsOutProbPreCalc_32s and
 * _32s_I, which halve by rounding down or up depending on which loop reaches an element (len & ~1
 * when the inputs are 16-byte aligned, len & ~3 otherwise): by design. */
ZEMSR_API ZemStatus zemsFillShortlist_Row_1u(const Zem32s* indices, int numBits, int perRow, Zem8u** dstRows,
                                             int numRows, int rowBytes, int bitOffset);
ZEMSR_API ZemStatus zemsFillShortlist_RowVar_1u(const Zem32s* indices, const Zem32s* perRowCounts, int numBits,
                                                Zem8u** dstRows, int numRows, int rowBytes, int bitOffset);
ZEMSR_API ZemStatus zemsFillShortlist_Column_1u(const Zem32s* indices, int perColumn, Zem8u** dstRows, int numRows,
                                                int rowBytes, int bitOffset, int numColumns);
ZEMSR_API ZemStatus zemsFillShortlist_ColumnVar_1u(const Zem32s* indices, const Zem32s* perColumnCounts,
                                                   Zem8u** dstRows, int numRows, int rowBytes, int bitOffset,
                                                   int numColumns);
/* Row r of dst: the inclusive or of table rows indices[r * perRow ...], cut at bitOffset. */
ZEMSR_API ZemStatus zemsBuildSignTable_8u1u(const Zem32s* indices, int perRow, const Zem8u* const* tableRows,
                                            int numTableRows, int tableRowBytes, int bitOffset, Zem8u* dst,
                                            int height, int numBits);
ZEMSR_API ZemStatus zemsBuildSignTable_Var_8u1u(const Zem32s* indices, const Zem32s* perRowCounts,
                                                const Zem8u* const* tableRows, int numTableRows, int tableRowBytes,
                                                int bitOffset, Zem8u* dst, int height, int numBits);
/* dst[i] = src[i] - det[i] / 2; the in-place forms take det as src: srcDst[i] -= src[i] / 2. */
ZEMSR_API ZemStatus zemsOutProbPreCalc_32f(const Zem32f* src, const Zem32f* det, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsOutProbPreCalc_32f_I(const Zem32f* src, Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsOutProbPreCalc_64f(const Zem64f* src, const Zem64f* det, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsOutProbPreCalc_64f_I(const Zem64f* src, Zem64f* srcDst, int len);
ZEMSR_API ZemStatus zemsOutProbPreCalc_32s(const Zem32s* src, const Zem32s* det, Zem32s* dst, int len);
ZEMSR_API ZemStatus zemsOutProbPreCalc_32s_I(const Zem32s* src, Zem32s* srcDst, int len);
/* dst[i] = max(src[i], floor) * scale + add. */
ZEMSR_API ZemStatus zemsScaleLM_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f floor, Zem32f scale, Zem32f add);
ZEMSR_API ZemStatus zemsScaleLM_16s32s(const Zem16s* src, Zem32s* dst, int len, Zem16s floor, Zem16s scale,
                                       Zem32s add);
/* Block diagonal matrices: one allocation holding a copy of the rows. */
ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_16s(ZemsBlockDMatrix_16s** pMatrix, const Zem16s* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks);
ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_32f(ZemsBlockDMatrix_32f** pMatrix, const Zem32f* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks);
ZEMSR_API ZemStatus zemsBlockDMatrixInitAlloc_64f(ZemsBlockDMatrix_64f** pMatrix, const Zem64f* const* rows,
                                                  const Zem32s* blockSizes, int numBlocks);
ZEMSR_API ZemStatus zemsBlockDMatrixFree_16s(ZemsBlockDMatrix_16s* matrix);
ZEMSR_API ZemStatus zemsBlockDMatrixFree_32f(ZemsBlockDMatrix_32f* matrix);
ZEMSR_API ZemStatus zemsBlockDMatrixFree_64f(ZemsBlockDMatrix_64f* matrix);

/* ---- Frame conditioning: y[n] = x[n] - x[n-1] + val * y[n-1] and the other frame steps ---- */
/* Threads: no records; every call is a pure function of its arguments (the notch's history is
 * the caller's srcPrev and dstPrev, the real-time energy form takes the caller's maximum).
 * Determinism: the same result for any alignment and thread count. */
/* Mean removal, the DC notch (float, 16-bit with a Q12 or float recursion, Q15). */
ZEMSR_API ZemStatus zemsZeroMean_16s(Zem16s* srcDst, int len);
ZEMSR_API ZemStatus zemsCompensateOffset_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f* srcPrev,
                                             Zem32f dstPrev, Zem32f val);
ZEMSR_API ZemStatus zemsCompensateOffset_32f_I(Zem32f* srcDst, int len, Zem32f* srcPrev, Zem32f dstPrev,
                                               Zem32f val);
ZEMSR_API ZemStatus zemsCompensateOffset_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev,
                                             Zem16s dstPrev, Zem32f val);
ZEMSR_API ZemStatus zemsCompensateOffset_16s_I(Zem16s* srcDst, int len, Zem16s* srcPrev, Zem16s dstPrev,
                                               Zem32f val);
ZEMSR_API ZemStatus zemsCompensateOffsetQ15_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s* srcPrev,
                                                Zem16s dstPrev, Zem16s val);
ZEMSR_API ZemStatus zemsCompensateOffsetQ15_16s_I(Zem16s* srcDst, int len, Zem16s* srcPrev, Zem16s dstPrev,
                                                  Zem16s val);
/* Frame energies at srcDst[i * step]: y = norm - (maxE - max(x, maxE - silenceFloor dB)) * scale. */
ZEMSR_API ZemStatus zemsNormEnergy_32f(Zem32f* srcDst, int step, int height, Zem32f silenceFloor, Zem32f scale);
ZEMSR_API ZemStatus zemsNormEnergy_16s(Zem16s* srcDst, int step, int height, Zem16s silenceFloor, Zem16s normValue,
                                       Zem32f scale);
ZEMSR_API ZemStatus zemsNormEnergy_RT_32f(Zem32f* srcDst, int step, int height, Zem32f silenceFloor, Zem32f maxE,
                                          Zem32f scale);
ZEMSR_API ZemStatus zemsNormEnergy_RT_16s(Zem16s* srcDst, int step, int height, Zem16s silenceFloor, Zem16s maxE,
                                          Zem16s normValue, Zem32f scale);
/* Sign changes between neighbours; Count0 counts a passage through zero as one change. */
ZEMSR_API ZemStatus zemsSignChangeRate_32f(const Zem32f* src, int len, Zem32f* result);
ZEMSR_API ZemStatus zemsSignChangeRate_16s(const Zem16s* src, int len, Zem32s* result);
ZEMSR_API ZemStatus zemsSignChangeRate_Count0_32f(const Zem32f* src, int len, Zem32f* result);
ZEMSR_API ZemStatus zemsSignChangeRate_Count0_16s(const Zem16s* src, int len, Zem32s* result);
ZEMSR_API ZemStatus zemsSignChangeRateXor_32f(const Zem32f* src, int len, Zem32s* result);
/* Sum of x log2(x) over the positive samples (no negation). */
ZEMSR_API ZemStatus zemsEntropy_32f(const Zem32f* src, int len, Zem32f* result);
ZEMSR_API ZemStatus zemsEntropy_16s32s_Sfs(const Zem16s* src, int srcShift, int len, Zem32s* result,
                                           int scaleFactor);
ZEMSR_API ZemStatus zemsCopyWithPadding_32f(const Zem32f* src, int srcLen, Zem32f* dst, int dstLen);
ZEMSR_API ZemStatus zemsCopyWithPadding_16s(const Zem16s* src, int srcLen, Zem16s* dst, int dstLen);
/* dst = max(0, min(minVal + upperRatio w, x) - (minVal + lowerRatio w)) * range / ((upperRatio - lowerRatio) w),
 * w = maxVal - minVal, the bounds given (MinMax) or found in the source. */
ZEMSR_API ZemStatus zemsNormalizeInRange_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f lowerRatio,
                                             Zem32f upperRatio, Zem32f range);
ZEMSR_API ZemStatus zemsNormalizeInRange_32f16s(const Zem32f* src, Zem16s* dst, int len, Zem32f lowerRatio,
                                                Zem32f upperRatio, Zem16s range);
ZEMSR_API ZemStatus zemsNormalizeInRange_32f8u(const Zem32f* src, Zem8u* dst, int len, Zem32f lowerRatio,
                                               Zem32f upperRatio, Zem8u range);
ZEMSR_API ZemStatus zemsNormalizeInRange_16s(const Zem16s* src, Zem16s* dst, int len, Zem32f lowerRatio,
                                             Zem32f upperRatio, Zem16s range);
ZEMSR_API ZemStatus zemsNormalizeInRange_16s8u(const Zem16s* src, Zem8u* dst, int len, Zem32f lowerRatio,
                                               Zem32f upperRatio, Zem8u range);
ZEMSR_API ZemStatus zemsNormalizeInRange_32f_I(Zem32f* srcDst, int len, Zem32f lowerRatio, Zem32f upperRatio,
                                               Zem32f range);
ZEMSR_API ZemStatus zemsNormalizeInRange_16s_I(Zem16s* srcDst, int len, Zem32f lowerRatio, Zem32f upperRatio,
                                               Zem16s range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f minVal,
                                                   Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                   Zem32f range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f16s(const Zem32f* src, Zem16s* dst, int len, Zem32f minVal,
                                                      Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                      Zem16s range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f8u(const Zem32f* src, Zem8u* dst, int len, Zem32f minVal,
                                                     Zem32f maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                     Zem8u range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s(const Zem16s* src, Zem16s* dst, int len, Zem16s minVal,
                                                   Zem16s maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                   Zem16s range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s8u(const Zem16s* src, Zem8u* dst, int len, Zem16s minVal,
                                                     Zem16s maxVal, Zem32f lowerRatio, Zem32f upperRatio,
                                                     Zem8u range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_32f_I(Zem32f* srcDst, int len, Zem32f minVal, Zem32f maxVal,
                                                     Zem32f lowerRatio, Zem32f upperRatio, Zem32f range);
ZEMSR_API ZemStatus zemsNormalizeInRangeMinMax_16s_I(Zem16s* srcDst, int len, Zem16s minVal, Zem16s maxVal,
                                                     Zem32f lowerRatio, Zem32f upperRatio, Zem16s range);
/* The unit curve: 0 below 0, x^2 to 1, 2 - (2 - x)^2 to 2, then 2; qShift fraction bits in 16 bits. */
ZEMSR_API ZemStatus zemsUnitCurve_32f(const Zem32f* src, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsUnitCurve_32f_I(Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsUnitCurve_16s_Sfs(const Zem16s* src, int qShift, Zem16s* dst, int len, int scaleFactor);
ZEMSR_API ZemStatus zemsUnitCurve_16s_ISfs(Zem16s* srcDst, int qShift, int len, int scaleFactor);
/* dst[i] = 1 where a sample tops searchSize rising and falling steps of the (averaged) frame. */
ZEMSR_API ZemStatus zemsFindPeaks_32f8u(const Zem32f* src, Zem8u* dst, int len, int searchSize, int movingAvgSize);
ZEMSR_API ZemStatus zemsFindPeaks_32s8u(const Zem32s* src, Zem8u* dst, int len, int searchSize, int movingAvgSize);
/* The element at position n of the decreasing order (n = 0 the largest). */
ZEMSR_API ZemStatus zemsNthMaxElement_32f(const Zem32f* src, int len, int n, Zem32f* result);
ZEMSR_API ZemStatus zemsNthMaxElement_32s(const Zem32s* src, int len, int n, Zem32s* result);
ZEMSR_API ZemStatus zemsNthMaxElement_64f(const Zem64f* src, int len, int n, Zem64f* result);

/* ---- Linear prediction: A(z) = 1 + a[0] z^-1 + ... + a[order-1] z^-order ------------- */
/* Auto forms: r[k] = sum x[n] x[n-k] for order + 1 lags, then Levinson-Durbin; the Neg forms
 * and the covariance method give the predictor -a.  Schur gives reflection coefficients with
 * k[0] = -r[1]/r[0].  16-bit forms compute in float and store times 2^-scaleFactor, rounded
 * to nearest and saturated; err stays float.  A refused stage (zemStatusBadAutocorr) leaves
 * the coefficients of the stages before it in dst and err unwritten.
 * Threads: no records; any number of threads may call these on distinct buffers.
 * Determinism: the same result for any alignment and thread count. */
ZEMSR_API ZemStatus zemsLinearPrediction_Auto_32f(const Zem32f* src, int len, Zem32f* dst, int order);
ZEMSR_API ZemStatus zemsLinearPredictionNeg_Auto_32f(const Zem32f* src, int len, Zem32f* dst, int order);
ZEMSR_API ZemStatus zemsLinearPrediction_Cov_32f(const Zem32f* src, int len, Zem32f* dst, int order);
ZEMSR_API ZemStatus zemsLinearPrediction_Auto_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                      int scaleFactor);
ZEMSR_API ZemStatus zemsLinearPredictionNeg_Auto_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                         int scaleFactor);
ZEMSR_API ZemStatus zemsLinearPrediction_Cov_16s_Sfs(const Zem16s* src, int len, Zem16s* dst, int order,
                                                     int scaleFactor);
/* src holds the autocorrelation r[0..order]. */
ZEMSR_API ZemStatus zemsDurbin_32f(const Zem32f* src, Zem32f* dst, int order, Zem32f* err);
ZEMSR_API ZemStatus zemsDurbin_16s_Sfs(const Zem16s* src, Zem16s* dst, int order, Zem32f* err, int scaleFactor);
ZEMSR_API ZemStatus zemsSchur_32f(const Zem32f* src, Zem32f* dst, int order, Zem32f* err);
ZEMSR_API ZemStatus zemsSchur_16s_Sfs(const Zem16s* src, Zem16s* dst, int order, Zem32f* err, int scaleFactor);

/* ---- LP parameter conversions: predictor a, cepstrum c, reflection k, LSP x = cos w ------ */
/* A(z) = 1 + a[0] z^-1 + ...; c holds c1..cn; k = -(last coefficient of a stage), the opposite
 * sign of zemsSchur_*.  CepstrumToLP is the LP-to-cepstrum recursion with the two arrays
 * exchanged, which inverts it only for n <= 2.  LSPs decrease from near 1 to -1, P's roots
 * and Q's alternating; LPToLSP searches a grid of nGrid steps uniform in x with nBisect
 * halvings and returns zemStatusNoRoot with *nRoots below n when roots are missed.
 * LPToSpectrum gives 1/|F| for the bins 0 .. 2^order - 1 of the 2^(order+1)-point transform
 * of (0, src[0], .., src[len-1], 0, ..), val subtracted from bin 0 alone.  16-bit forms: in by
 * a power of two, out times 2^-scaleFactor rounded to nearest and saturated (LPToLSP_16s:
 * rounding half away from zero, not saturated).
 * Threads: no records; any number of threads may call these on distinct buffers.
 * Determinism: the same result for any alignment and thread count. */
ZEMSR_API ZemStatus zemsLPToCepstrum_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsLPToCepstrum_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsCepstrumToLP_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsCepstrumToLP_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLPToReflection_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsLPToReflection_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsReflectionToLP_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsReflectionToLP_16s_Sfs(const Zem16s* src, Zem16s* dst, int n, int scaleFactor);
/* Area ratios (1 - k)/(1 + k); TrueAR is their running product. */
ZEMSR_API ZemStatus zemsReflectionToAR_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsReflectionToAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsReflectionToTrueAR_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsReflectionToTrueAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n,
                                                   int scaleFactor);
/* ln((1 - k)/(1 + k)) with k limited to -limit..limit, 0 < limit < 1. */
ZEMSR_API ZemStatus zemsReflectionToLAR_32f(const Zem32f* src, Zem32f* dst, int n, Zem32f limit);
ZEMSR_API ZemStatus zemsReflectionToLAR_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n, Zem32f limit,
                                                int scaleFactor);
/* (|a| - |b|)/(a + b), and over |a| + |b| in the Abs forms. */
ZEMSR_API ZemStatus zemsReflectionToTilt_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsReflectionToTilt_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int n,
                                                 int scaleFactor);
ZEMSR_API ZemStatus zemsReflectionToAbsTilt_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsReflectionToAbsTilt_16s_Sfs(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int n,
                                                    int scaleFactor);
ZEMSR_API ZemStatus zemsLPToLSP_32f(const Zem32f* src, Zem32f* dst, int n, Zem32s* nRoots, int nGrid, int nBisect);
ZEMSR_API ZemStatus zemsLPToLSP_16s_Sfs(const Zem16s* src, int srcScale, Zem16s* dst, int n, Zem32s* nRoots,
                                        int nGrid, int nBisect, int dstScale);
/* srcShift is the number of fraction bits of the 16-bit LSPs (15 for Q15). */
ZEMSR_API ZemStatus zemsLSPToLP_32f(const Zem32f* src, Zem32f* dst, int n);
ZEMSR_API ZemStatus zemsLSPToLP_16s_Sfs(const Zem16s* src, int srcShift, Zem16s* dst, int n, int scaleFactor);
ZEMSR_API ZemStatus zemsLPToSpectrum_32f(const Zem32f* src, int len, Zem32f* dst, int order, Zem32f val);
ZEMSR_API ZemStatus zemsLPToSpectrum_16s_Sfs(const Zem16s* src, int len, Zem32s* dst, int order, Zem32s val,
                                             int scaleFactor);

/* ---- Pitch and periodicity: comb and least-squares periodicity, normalised correlation ---- */
/* Periodicity: the best weighted comb sum (at most six teeth, lag p) over the total, of a
 * non-negative lag function; LSPE: (A - B)/(E - B) of the least-squares periodic fit of a
 * signal, len <= 16 minPeriod.  Ties go to the smallest period.  CrossCorrCoeff:
 * sum ab / sqrt(sum a^2 sum b^2) from exact 64-bit sums; Interpolation estimates the
 * fractional lag beta between b[i] and b[i+1] (b holds len + 1 samples) and leaves result
 * unwritten when beta falls outside 0 <= beta < 1.  PitchmarkToF0Cand: 1/(t[i] - t[i-1]).
 * Threads: no records; any number of threads may call these on distinct buffers.
 * Determinism: the same result for any alignment and thread count. */
ZEMSR_API ZemStatus zemsPeriodicity_32f(const Zem32f* src, int len, Zem32f* periodicity, Zem32s* period, int maxPeriod,
                                        int minPeriod);
ZEMSR_API ZemStatus zemsPeriodicity_32s16s(const Zem32s* src, int len, Zem16s* periodicity, Zem32s* period,
                                           int maxPeriod, int minPeriod);
ZEMSR_API ZemStatus zemsPeriodicityLSPE_32f(const Zem32f* src, int len, Zem32f* periodicity, Zem32s* period,
                                            int maxPeriod, int minPeriod);
ZEMSR_API ZemStatus zemsPeriodicityLSPE_16s(const Zem16s* src, int len, Zem16s* periodicity, Zem32s* period,
                                            int maxPeriod, int minPeriod);
ZEMSR_API ZemStatus zemsCrossCorrCoeff_16s32f(const Zem16s* src1, const Zem16s* src2, int len, Zem32f* result);
ZEMSR_API ZemStatus zemsCrossCorrCoeffPartial_16s32f(const Zem16s* src1, const Zem16s* src2, int len,
                                                     Zem32f energy1, Zem32f* result);
/* src1 and src2 hold maxLen samples; dst receives (maxLen - minLen)/step + 1 coefficients. */
ZEMSR_API ZemStatus zemsCrossCorrCoeffDecim_16s32f(const Zem16s* src1, const Zem16s* src2, int maxLen, int minLen,
                                                   Zem32f* dst, int step);
ZEMSR_API ZemStatus zemsCrossCorrCoeffInterpolation_16s32f(const Zem16s* src1, const Zem16s* src2, int len,
                                                           Zem32f* beta, Zem32f* result);
ZEMSR_API ZemStatus zemsPitchmarkToF0Cand_32f(const Zem32f* src, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsPitchmarkToF0Cand_16s_Sfs(const Zem16s* src, Zem16s* dst, int len, int scaleFactor);

/* ---- Aurora noise reduction ------------------------------------------------------------ */
/* The frame steps of the two-stage Wiener noise reduction of the Aurora advanced front end
 * (8 kHz, 200-sample frames, a 256-point transform of 129 bins, 65 smoothed bins).  A front end
 * calls them in this order per frame: zemsSmoothedPowerSpectrumAurora_* on the packed spectrum
 * (element 0 the zero-frequency value, 1 the half-rate value, then re/im pairs), giving len/4 + 1
 * bins; zemsNoiseSpectrumUpdate_Aurora_* on non-speech frames (the decision comes from the
 * voice activity detector), B' = B (0.9 + 0.1 A/(A+B) (1 + B/(B + 0.1 A))); zemsWienerFilterDesign_
 * Aurora_* for the gains (eta = (0.98 D + 0.02 max(P - N, 0)) / N, floor -22 dB; _16s in Q14);
 * then the caller's mel filtering of the gains (zemsEvalFBank_* on an Aurora bank) and its own
 * inverse transform; zemsTabsCalculation_Aurora_* to mirror the 10-value half impulse response
 * into 17 taps; zemsResidualFilter_Aurora_* to filter 80 samples (src holds 16 of history, then
 * the 80).  zemsBlindEqualization_Aurora_* runs later, on the cepstrum.  All history is the
 * caller's.  Checks: null pointers, then len.
 * Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count; zemsNoiseSpectrumUpdate_Aurora_32f
 * runs under rounding toward zero and restores the caller's mode. */
ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32f(const Zem32f* src, Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_16s(const Zem16s* src, Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32s_Sfs(const Zem32s* src, Zem32s* dst, Zem32s len,
                                                            Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsSmoothedPowerSpectrumAurora_32s64s_Sfs(const Zem32s* src, Zem64s* dst, Zem32s len,
                                                               Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_32f(const Zem32f* src, const Zem32f* srcNoise, Zem32f* dstNoise,
                                                       Zem32s len);
ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Zem16s* src, const Zem16s* srcNoise,
                                                           Zem16s* dstNoise, Zem32s len, Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Zem32s* src, const Zem32s* srcNoise,
                                                           Zem32s* dstNoise, Zem32s len, Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsWienerFilterDesign_Aurora_32f(const Zem32f* src, const Zem32f* srcNoise, const Zem32f* srcDen,
                                                      Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsWienerFilterDesign_Aurora_16s(const Zem16s* src, const Zem16s* srcNoise, const Zem16s* srcDen,
                                                      Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsTabsCalculation_Aurora_32f(const Zem32f* src, Zem32f* dst);
ZEMSR_API ZemStatus zemsTabsCalculation_Aurora_16s(const Zem16s* src, Zem16s* dst);
ZEMSR_API ZemStatus zemsResidualFilter_Aurora_32f(const Zem32f* src, Zem32f* dst, const Zem32f* taps);
ZEMSR_API ZemStatus zemsResidualFilter_Aurora_16s_Sfs(const Zem16s* src, Zem16s* dst, const Zem16s* taps,
                                                      Zem32s scaleFactor);
/* logEnergy: Zem32f, or Q6 in the 16-bit form. */
ZEMSR_API ZemStatus zemsBlindEqualization_Aurora_32f(const Zem32f* srcRef, Zem32f* srcDstCep, Zem32f* srcDstBias,
                                                     Zem32s len, Zem32f logEnergy);
ZEMSR_API ZemStatus zemsBlindEqualization_Aurora_16s(const Zem16s* srcRef, Zem16s* srcDstCep, Zem16s* srcDstBias,
                                                     Zem32s len, Zem32s logEnergy);

/* ---- Aurora waveform processing and band coding --------------------------------------- */
/* zemsWaveProcessing_Aurora_*: a 200-sample frame with the samples around its pitch pulses
 * (found on the smoothed Teager energy) raised and those between lowered.  zemsLowHighFilter_
 * Aurora_*: low[n] = sum taps[k] src[2n+k], high[n] = (-1)^(n+1) sum (-1)^k taps[k] src[2n+k],
 * reading src up to element (len rounded down to even) + tapsLen - 2.  zemsHighBandCoding_Aurora_*:
 * three log values of the upper band from band sums of a 65-bin and a 129-bin spectrum.
 * Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsWaveProcessing_Aurora_32f(const Zem32f* src, Zem32f* dst);
ZEMSR_API ZemStatus zemsWaveProcessing_Aurora_16s(const Zem16s* src, Zem16s* dst);
ZEMSR_API ZemStatus zemsLowHighFilter_Aurora_32f(const Zem32f* src, Zem32f* dstLow, Zem32f* dstHigh, Zem32s len,
                                                 const Zem32f* taps, Zem32s tapsLen);
ZEMSR_API ZemStatus zemsLowHighFilter_Aurora_16s_Sfs(const Zem16s* src, Zem16s* dstLow, Zem16s* dstHigh, Zem32s len,
                                                     const Zem16s* taps, Zem32s tapsLen, Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsHighBandCoding_Aurora_32f(const Zem32f* srcBands, const Zem32f* srcLow, const Zem32f* srcHigh,
                                                  Zem32f* dst);
ZEMSR_API ZemStatus zemsHighBandCoding_Aurora_32s_Sfs(const Zem32s* srcBands, const Zem32s* srcLow,
                                                      const Zem32s* srcHigh, Zem32s* dst, Zem32s scaleFactor);

/* ---- Aurora voice activity detection --------------------------------------------------- */
/* Per frame: trackers follow the floors of the spectral variance, the energy (sum of the 25
 * mel bands, squared) and the low-band level; a frame is active when one stands above its
 * floor or activityCount >= 5; the longest run r of active frames among the last seven gives
 * zemVADSpeech while r >= 3 or a hangover (23 frames, 40 after an early onset; short one of 5)
 * runs, else zemVADNoise.  The first ten frames give zemVADUndecided; after the last frame call
 * zemsVADFlush_Aurora_* until it gives zemVADUndecided.  The record is 64 bytes in the caller's
 * buffer (4-byte aligned), shared by both element types, but one signal keeps to one type.
 * Checks: null pointers only.
 * Threads: a record belongs to one thread at a time; distinct records may run in parallel.
 * Determinism: the same bits for any alignment. */
enum { zemVADSpeech = 1, zemVADNoise = 2, zemVADUndecided = 4 };
ZEMSR_API ZemStatus zemsVADGetBufSize_Aurora_16s(Zem32s* size);
ZEMSR_API ZemStatus zemsVADGetBufSize_Aurora_32f(Zem32s* size);
ZEMSR_API ZemStatus zemsVADInit_Aurora_16s(ZemsVADState_Aurora* state);
ZEMSR_API ZemStatus zemsVADInit_Aurora_32f(ZemsVADState_Aurora* state);
/* src: the 25 mel band values of the frame; srcSpectrum: 64 spectrum values. */
ZEMSR_API ZemStatus zemsVADDecision_Aurora_16s(const Zem16s* src, const Zem16s* srcSpectrum, Zem32s activityCount,
                                                Zem32s* decision, ZemsVADState_Aurora* state);
ZEMSR_API ZemStatus zemsVADDecision_Aurora_32f(const Zem32f* src, const Zem32f* srcSpectrum, Zem32s activityCount,
                                                Zem32s* decision, ZemsVADState_Aurora* state);
ZEMSR_API ZemStatus zemsVADFlush_Aurora_16s(Zem32s* decision, ZemsVADState_Aurora* state);
ZEMSR_API ZemStatus zemsVADFlush_Aurora_32f(Zem32s* decision, ZemsVADState_Aurora* state);

/* ---- MCRA noise tracking and filter updates ------------------------------------------- */
/* Noise power per bin by minima controlled recursive averaging: S = aS S + (1 - aS) X;
 * Smin the minimum of S over a window of about a second; presence p = aP p + (1 - aP)[S > 5 Smin];
 * N = a N + (1 - a) X with a = aD + (1 - aD) p; aD, aS, aP = 0.7, 0.8, 0.2 to the power
 * 125 step / sampleRate.  The state (zemsGetSizeMCRA_*: 16 (fftLen/2) + 104 bytes, 8-byte
 * aligned) lives in the caller's buffer and points into itself: it cannot be moved after Init.
 * Spectra hold fftLen/2 + 1 bins; the _32s form holds Q31 constants.  Gains:
 * zemsFilterUpdateWiener_* gives x/(1 + x) (Q15 in, Q31 out in _32s, by table; zemStatusBadArg
 * when an element is negative, its gain 0); zemsFilterUpdateEMNS_* gives the Ephraim-Malah
 * amplitude gain w M(w g) from the Wiener gain w (0 .. 1, Q31) and the a posteriori ratio g
 * (Q15), by table.  Gains take 1 .. 65535 elements.
 * Threads: a state belongs to one thread at a time; the gains hold no state.
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsGetSizeMCRA_32f(Zem32s fftLen, Zem32s* size);
ZEMSR_API ZemStatus zemsGetSizeMCRA_32s(Zem32s fftLen, Zem32s* size);
ZEMSR_API ZemStatus zemsInitMCRA_32f(Zem32s sampleRate, Zem32s fftLen, ZemsMCRAState_32f* state);
ZEMSR_API ZemStatus zemsInitMCRA_32s(Zem32s sampleRate, Zem32s fftLen, ZemsMCRAState_32s* state);
ZEMSR_API ZemStatus zemsAltInitMCRA_32f(Zem32s sampleRate, Zem32s fftLen, Zem32s step, ZemsMCRAState_32f* state);
ZEMSR_API ZemStatus zemsAltInitMCRA_32s(Zem32s sampleRate, Zem32s fftLen, Zem32s step, ZemsMCRAState_32s* state);
ZEMSR_API ZemStatus zemsUpdateNoisePSDMCRA_32f_I(const Zem32f* src, ZemsMCRAState_32f* state, Zem32f* srcDstNoise);
ZEMSR_API ZemStatus zemsUpdateNoisePSDMCRA_32s_I(const Zem32s* src, ZemsMCRAState_32s* state, Zem32s* srcDstNoise);
ZEMSR_API ZemStatus zemsFilterUpdateEMNS_32f(const Zem32f* srcWiener, const Zem32f* srcPostSNR, Zem32f* dst,
                                             Zem32s len);
ZEMSR_API ZemStatus zemsFilterUpdateEMNS_32s(const Zem32s* srcWiener, const Zem32s* srcPostSNR, Zem32s* dst,
                                             Zem32s len);
ZEMSR_API ZemStatus zemsFilterUpdateWiener_32f(const Zem32f* src, Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFilterUpdateWiener_32s(const Zem32s* src, Zem32s* dst, Zem32s len);

/* ---- Codebook objects and training ------------------------------------------------ */
/* A codebook of codewords c[k] and weights w: d(x, c[k]) = sum over j of w[j] * (x[j] - c[k][j])^2.
 * hint ZEM_CDBK_LIST keeps every training vector (with a cell index at widths 1 and 2);
 * ZEM_CDBK_SPLIT_WIDEST and ZEM_CDBK_SPLIT_FULLEST grow a binary tree of k-means centroids to
 * cdbkSize leaves (fewer, with zemStatusCdbkSizeWarning, when no leaf can be split). */
/* Threads: creation and release are single-threaded; a codebook is read-only for the block
 * searches and may be shared by them, while the single-vector searches write its distance scratch
 * (one such call at a time per codebook).
 * Determinism: training gives the same codebook for the same data, whatever the alignment. */
ZEMSR_API ZemStatus zemsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, int hint, Zem32s* size);
ZEMSR_API ZemStatus zemsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, int hint, Zem32s* size);
ZEMSR_API ZemStatus zemsCdbkInit_L2_16s(ZemsCdbkState_16s* state, const Zem16s* src, int width, int step,
                                        int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkInit_L2_32f(ZemsCdbkState_32f* state, const Zem32f* src, int width, int step,
                                        int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkInitAlloc_L2_16s(ZemsCdbkState_16s** cdbk, const Zem16s* src, int width, int step,
                                             int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkInitAlloc_L2_32f(ZemsCdbkState_32f** cdbk, const Zem32f* src, int width, int step,
                                             int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkInitAlloc_WgtL2_16s(ZemsCdbkState_16s** cdbk, const Zem16s* src, const Zem16s* weights,
                                                int width, int step, int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkInitAlloc_WgtL2_32f(ZemsCdbkState_32f** cdbk, const Zem32f* src, const Zem32f* weights,
                                                int width, int step, int height, int cdbkSize, int hint);
ZEMSR_API ZemStatus zemsCdbkFree_16s(ZemsCdbkState_16s* cdbk);
ZEMSR_API ZemStatus zemsCdbkFree_32f(ZemsCdbkState_32f* cdbk);
ZEMSR_API ZemStatus zemsGetCdbkSize_16s(const ZemsCdbkState_16s* cdbk, Zem32s* size);
ZEMSR_API ZemStatus zemsGetCdbkSize_32f(const ZemsCdbkState_32f* cdbk, Zem32s* size);
ZEMSR_API ZemStatus zemsGetCodebook_16s(const ZemsCdbkState_16s* cdbk, Zem16s* dst, int dstStep);
ZEMSR_API ZemStatus zemsGetCodebook_32f(const ZemsCdbkState_32f* cdbk, Zem32f* dst, int dstStep);

/* ---- Codebook search --------------------------------------------------------------- */
/* index[v] = the codeword nearest to src[v] by sum_j w[j] (x[j] - c[j])^2: exhaustive or through
 * the cell index for a list codebook, the tree's answer (descent, then neighbour walk) for a
 * tree codebook; dist = sqrt of that distance.  Single-vector forms: the nearest num codewords
 * in order (Sort), or all within relThreshold times the block search's distance (Thresh).
 * Threads: zemsVQ_* and zemsVQDist_* only read the codebook, which any number of threads may
 * share; the single-vector searches write the codebook's scratch, one call at a time per codebook.
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsVQ_16s(const Zem16s* src, Zem32s step, Zem32s* index, Zem32s height,
                               const ZemsCdbkState_16s* cdbk);
ZEMSR_API ZemStatus zemsVQ_32f(const Zem32f* src, Zem32s step, Zem32s* index, Zem32s height,
                               const ZemsCdbkState_32f* cdbk);
ZEMSR_API ZemStatus zemsVQDist_32f(const Zem32f* src, Zem32s step, Zem32s* index, Zem32f* dist, Zem32s height,
                                   const ZemsCdbkState_32f* cdbk);
ZEMSR_API ZemStatus zemsVQDist_16s32s_Sfs(const Zem16s* src, Zem32s step, Zem32s* index, Zem32s* dist,
                                          Zem32s height, const ZemsCdbkState_16s* cdbk, Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsVQSingle_Sort_16s(const Zem16s* src, Zem32s* index, ZemsCdbkState_16s* cdbk, Zem32s num);
ZEMSR_API ZemStatus zemsVQSingle_Sort_32f(const Zem32f* src, Zem32s* index, ZemsCdbkState_32f* cdbk, Zem32s num);
ZEMSR_API ZemStatus zemsVQDistSingle_Sort_32f(const Zem32f* src, Zem32s* index, Zem32f* dist,
                                              ZemsCdbkState_32f* cdbk, Zem32s num);
ZEMSR_API ZemStatus zemsVQDistSingle_Sort_16s32s_Sfs(const Zem16s* src, Zem32s* index, Zem32s* dist,
                                                     ZemsCdbkState_16s* cdbk, Zem32s num, Zem32s scaleFactor);
ZEMSR_API ZemStatus zemsVQSingle_Thresh_16s(const Zem16s* src, Zem32s* index, ZemsCdbkState_16s* cdbk,
                                            Zem32f relThreshold, Zem32s* count);
ZEMSR_API ZemStatus zemsVQSingle_Thresh_32f(const Zem32f* src, Zem32s* index, ZemsCdbkState_32f* cdbk,
                                            Zem32f relThreshold, Zem32s* count);
ZEMSR_API ZemStatus zemsVQDistSingle_Thresh_32f(const Zem32f* src, Zem32s* index, Zem32f* dist,
                                                ZemsCdbkState_32f* cdbk, Zem32f relThreshold, Zem32s* count);
ZEMSR_API ZemStatus zemsVQDistSingle_Thresh_16s32s_Sfs(const Zem16s* src, Zem32s* index, Zem32s* dist,
                                                       ZemsCdbkState_16s* cdbk, Zem32f relThreshold, Zem32s* count,
                                                       Zem32s scaleFactor);

/* ---- Split VQ and vector forming --------------------------------------------------- */
/* Row r of numbers = (index of sub-vector 0 in cdbks[0], index of sub-vector 1 in cdbks[1], ...),
 * sub-vectors consecutive in src; stored one per Zem16s or Zem8u, or as a bit field (row r at bit
 * r * dstStepBits, indexBits of each codebook in turn, most significant bit first).  FormVector*
 * are the inverses: each sub-vector is row number k of its codebook or table.
 * Threads: the codebooks and tables are only read; any number of threads may share them.
 * Determinism: the same bits for any alignment and thread count. */
ZEMSR_API ZemStatus zemsSplitVQ_16s16s(const Zem16s* src, Zem32s srcStep, Zem16s* dst, Zem32s dstStep,
                                       Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsSplitVQ_16s8u(const Zem16s* src, Zem32s srcStep, Zem8u* dst, Zem32s dstStep,
                                      Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsSplitVQ_16s1u(const Zem16s* src, Zem32s srcStep, Zem8u* dst, Zem32s dstStepBits,
                                      Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsSplitVQ_32f16s(const Zem32f* src, Zem32s srcStep, Zem16s* dst, Zem32s dstStep,
                                       Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsSplitVQ_32f8u(const Zem32f* src, Zem32s srcStep, Zem8u* dst, Zem32s dstStep,
                                      Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsSplitVQ_32f1u(const Zem32f* src, Zem32s srcStep, Zem8u* dst, Zem32s dstStepBits,
                                      Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_16s16s(const Zem16s* src, Zem32s srcStep, Zem16s* dst, Zem32s dstStep,
                                            Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_8u16s(const Zem8u* src, Zem32s srcStep, Zem16s* dst, Zem32s dstStep,
                                           Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_1u16s(const Zem8u* src, Zem32s srcStepBits, Zem16s* dst, Zem32s dstStep,
                                           Zem32s height, ZemsCdbkState_16s* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_16s32f(const Zem16s* src, Zem32s srcStep, Zem32f* dst, Zem32s dstStep,
                                            Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_8u32f(const Zem8u* src, Zem32s srcStep, Zem32f* dst, Zem32s dstStep,
                                           Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVectorVQ_1u32f(const Zem8u* src, Zem32s srcStepBits, Zem32f* dst, Zem32s dstStep,
                                           Zem32s height, ZemsCdbkState_32f* const* cdbks, Zem32s n);
ZEMSR_API ZemStatus zemsFormVector_16s16s(const Zem16s* index, const Zem16s* const* tables, const Zem32s* sizes,
                                          const Zem32s* lengths, const Zem32s* strides, Zem32s n, Zem16s* dst);
ZEMSR_API ZemStatus zemsFormVector_16s32f(const Zem16s* index, const Zem32f* const* tables, const Zem32s* sizes,
                                          const Zem32s* lengths, const Zem32s* strides, Zem32s n, Zem32f* dst);
ZEMSR_API ZemStatus zemsFormVector_8u16s(const Zem8u* index, const Zem16s* const* tables, const Zem32s* sizes,
                                         const Zem32s* lengths, const Zem32s* strides, Zem32s n, Zem16s* dst);
ZEMSR_API ZemStatus zemsFormVector_8u32f(const Zem8u* index, const Zem32f* const* tables, const Zem32s* sizes,
                                         const Zem32s* lengths, const Zem32s* strides, Zem32s n, Zem32f* dst);
/* Sub-vectors of exactly 2 or 4 elements, len / 2 or len / 4 of them, from packed tables. */
ZEMSR_API ZemStatus zemsFormVector_2i_16s16s(const Zem16s* index, const Zem16s* const* tables, const Zem32s* sizes,
                                             Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_2i_16s32f(const Zem16s* index, const Zem32f* const* tables, const Zem32s* sizes,
                                             Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_2i_8u16s(const Zem8u* index, const Zem16s* const* tables, const Zem32s* sizes,
                                            Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_2i_8u32f(const Zem8u* index, const Zem32f* const* tables, const Zem32s* sizes,
                                            Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_4i_16s16s(const Zem16s* index, const Zem16s* const* tables, const Zem32s* sizes,
                                             Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_4i_16s32f(const Zem16s* index, const Zem32f* const* tables, const Zem32s* sizes,
                                             Zem32f* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_4i_8u16s(const Zem8u* index, const Zem16s* const* tables, const Zem32s* sizes,
                                            Zem16s* dst, Zem32s len);
ZEMSR_API ZemStatus zemsFormVector_4i_8u32f(const Zem8u* index, const Zem32f* const* tables, const Zem32s* sizes,
                                            Zem32f* dst, Zem32s len);

/* ---- Column and row statistics ----------------------------------------------
 * Over a table whose rows are feature vectors: column sums s[j] = sum_i x[i][j], means
 * s[j] / height, variances (sum_i x[i][j]^2 - height * mean[j]^2) / (height - 1), their
 * weighted forms, row sums, normalisation, row subtraction and column copies.
 * Threads: no records; every call is reentrant on distinct outputs.
 * Determinism: same result for any alignment, either layout and any thread count; each
 * column sums its rows in order 0 .. height - 1, each row sum folds 8 (Zem64f: 4) lanes
 * in a fixed tree. */
ZEMSR_API ZemStatus zemsSumColumn_32f_D2(const Zem32f* src, int step, int height, Zem32f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_32f_D2L(const Zem32f* const* srcRows, int height, Zem32f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_64f_D2(const Zem64f* src, int step, int height, Zem64f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_64f_D2L(const Zem64f* const* srcRows, int height, Zem64f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_16s32f_D2(const Zem16s* src, int step, int height, Zem32f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_16s32f_D2L(const Zem16s* const* srcRows, int height, Zem32f* dst, int width);
ZEMSR_API ZemStatus zemsSumColumn_16s32s_D2Sfs(const Zem16s* src, int step, int height, Zem32s* dst, int width,
                                               int scaleFactor);
ZEMSR_API ZemStatus zemsSumColumn_16s32s_D2LSfs(const Zem16s* const* srcRows, int height, Zem32s* dst, int width,
                                                int scaleFactor);
ZEMSR_API ZemStatus zemsSumRow_32f_D2(const Zem32f* src, int width, int step, Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_32f_D2L(const Zem32f* const* srcRows, int width, Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_64f_D2(const Zem64f* src, int width, int step, Zem64f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_64f_D2L(const Zem64f* const* srcRows, int width, Zem64f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_16s32f_D2(const Zem16s* src, int width, int step, Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_16s32f_D2L(const Zem16s* const* srcRows, int width, Zem32f* dst, int height);
ZEMSR_API ZemStatus zemsSumRow_16s32s_D2Sfs(const Zem16s* src, int width, int step, Zem32s* dst, int height,
                                            int scaleFactor);
ZEMSR_API ZemStatus zemsSumRow_16s32s_D2LSfs(const Zem16s* const* srcRows, int width, Zem32s* dst, int height,
                                             int scaleFactor);
ZEMSR_API ZemStatus zemsMeanColumn_32f_D2(const Zem32f* src, int height, int step, Zem32f* dstMean, int width);
ZEMSR_API ZemStatus zemsMeanColumn_32f_D2L(const Zem32f* const* srcRows, int height, Zem32f* dstMean, int width);
ZEMSR_API ZemStatus zemsMeanColumn_16s_D2(const Zem16s* src, int height, int step, Zem16s* dstMean, int width);
ZEMSR_API ZemStatus zemsMeanColumn_16s_D2L(const Zem16s* const* srcRows, int height, Zem16s* dstMean, int width);
ZEMSR_API ZemStatus zemsVarColumn_32f_D2(const Zem32f* src, int height, int step, const Zem32f* mean, Zem32f* dstVar,
                                         int width);
ZEMSR_API ZemStatus zemsVarColumn_32f_D2L(const Zem32f* const* srcRows, int height, const Zem32f* mean,
                                          Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsVarColumn_16s_D2Sfs(const Zem16s* src, int height, int step, const Zem16s* mean,
                                            Zem16s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVarColumn_16s_D2LSfs(const Zem16s* const* srcRows, int height, const Zem16s* mean,
                                             Zem16s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsMeanVarColumn_32f_D2(const Zem32f* src, int height, int step, Zem32f* dstMean,
                                             Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsMeanVarColumn_32f_D2L(const Zem32f* const* srcRows, int height, Zem32f* dstMean,
                                              Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s_D2Sfs(const Zem16s* src, int height, int step, Zem16s* dstMean,
                                                Zem16s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s_D2LSfs(const Zem16s* const* srcRows, int height, Zem16s* dstMean,
                                                 Zem16s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s32s_D2Sfs(const Zem16s* src, int height, int step, Zem32s* dstMean,
                                                   Zem32s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s32s_D2LSfs(const Zem16s* const* srcRows, int height, Zem32s* dstMean,
                                                    Zem32s* dstVar, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s16s32s_D2(const Zem16s* src, int height, int step, Zem16s* dstMean,
                                                   Zem32s* dstVar, int width);
ZEMSR_API ZemStatus zemsMeanVarColumn_16s16s32s_D2L(const Zem16s* const* srcRows, int height, Zem16s* dstMean,
                                                    Zem32s* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedMeanColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                  Zem32f* dstMean, int width);
ZEMSR_API ZemStatus zemsWeightedMeanColumn_32f_D2L(const Zem32f* const* srcRows, const Zem32f* weights, int height,
                                                   Zem32f* dstMean, int width);
ZEMSR_API ZemStatus zemsWeightedMeanColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                  Zem64f* dstMean, int width);
ZEMSR_API ZemStatus zemsWeightedMeanColumn_64f_D2L(const Zem64f* const* srcRows, const Zem64f* weights, int height,
                                                   Zem64f* dstMean, int width);
ZEMSR_API ZemStatus zemsWeightedVarColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                 const Zem32f* mean, Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedVarColumn_32f_D2L(const Zem32f* const* srcRows, const Zem32f* weights, int height,
                                                  const Zem32f* mean, Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedVarColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                 const Zem64f* mean, Zem64f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedVarColumn_64f_D2L(const Zem64f* const* srcRows, const Zem64f* weights, int height,
                                                  const Zem64f* mean, Zem64f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_32f_D2(const Zem32f* src, int step, const Zem32f* weights, int height,
                                                     Zem32f* dstMean, Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_32f_D2L(const Zem32f* const* srcRows, const Zem32f* weights,
                                                      int height, Zem32f* dstMean, Zem32f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_64f_D2(const Zem64f* src, int step, const Zem64f* weights, int height,
                                                     Zem64f* dstMean, Zem64f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedMeanVarColumn_64f_D2L(const Zem64f* const* srcRows, const Zem64f* weights,
                                                      int height, Zem64f* dstMean, Zem64f* dstVar, int width);
ZEMSR_API ZemStatus zemsWeightedSum_32f(const Zem32f* src1, const Zem32f* src2, Zem32f* dst, int len,
                                        Zem32f weight1, Zem32f weight2);
ZEMSR_API ZemStatus zemsWeightedSum_64f(const Zem64f* src1, const Zem64f* src2, Zem64f* dst, int len,
                                        Zem64f weight1, Zem64f weight2);
ZEMSR_API ZemStatus zemsWeightedSum_16s(const Zem16s* src1, const Zem16s* src2, Zem16s* dst, int len,
                                        Zem32f weight1, Zem32f weight2);
ZEMSR_API ZemStatus zemsWeightedSumHalf_32f(const Zem32f* weightedSrc1, const Zem32f* src2, Zem32f* dst, int len,
                                            Zem32f weight1, Zem32f weight2);
ZEMSR_API ZemStatus zemsWeightedSumHalf_64f(const Zem64f* weightedSrc1, const Zem64f* src2, Zem64f* dst, int len,
                                            Zem64f weight1, Zem64f weight2);
ZEMSR_API ZemStatus zemsWeightedSumHalf_16s(const Zem16s* weightedSrc1, const Zem16s* src2, Zem16s* dst, int len,
                                            Zem32f weight1, Zem32f weight2);
ZEMSR_API ZemStatus zemsNormalizeColumn_32f_D2(Zem32f* srcDst, int step, int height, const Zem32f* mean,
                                               const Zem32f* invStd, int width);
ZEMSR_API ZemStatus zemsNormalizeColumn_32f_D2L(Zem32f* const* srcDstRows, int height, const Zem32f* mean,
                                                const Zem32f* invStd, int width);
ZEMSR_API ZemStatus zemsNormalizeColumn_16s_D2Sfs(Zem16s* srcDst, int step, int height, const Zem16s* mean,
                                                  const Zem16s* invStd, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsNormalizeColumn_16s_D2LSfs(Zem16s* const* srcDstRows, int height, const Zem16s* mean,
                                                   const Zem16s* invStd, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsSubRow_32f_D2(const Zem32f* row, int width, Zem32f* srcDst, int step, int height);
ZEMSR_API ZemStatus zemsSubRow_32f_D2L(const Zem32f* row, int width, Zem32f* const* srcDstRows, int height);
ZEMSR_API ZemStatus zemsSubRow_16s_D2(const Zem16s* row, int width, Zem16s* srcDst, int step, int height);
ZEMSR_API ZemStatus zemsSubRow_16s_D2L(const Zem16s* row, int width, Zem16s* const* srcDstRows, int height);
ZEMSR_API ZemStatus zemsAddAllRowSum_32f_D2(const Zem32f* src, int step, int height, Zem32f* srcDst, int width);
ZEMSR_API ZemStatus zemsAddAllRowSum_32f_D2L(const Zem32f* const* srcRows, int height, Zem32f* srcDst, int width);
ZEMSR_API ZemStatus zemsAddNRows_32f_D2(const Zem32f* src, int height, int offset, int step, const Zem32s* rowBase,
                                        const Zem16u* rowCounts, int n, Zem32f* dst, int width, Zem32f val);
ZEMSR_API ZemStatus zemsCopyColumn_32f_D2(const Zem32f* src, int width, Zem32f* dst, int dstStep, int height);
ZEMSR_API ZemStatus zemsCopyColumn_16s_D2(const Zem16s* src, int width, Zem16s* dst, int dstStep, int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_32f_D2(const Zem32f* src, int srcWidth, int srcStep, Zem32f* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_32f_D2L(const Zem32f* const* srcRows, int srcWidth,
                                                    Zem32f* const* dstRows, const Zem32s* index, int dstWidth,
                                                    int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_64f_D2(const Zem64f* src, int srcWidth, int srcStep, Zem64f* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_64f_D2L(const Zem64f* const* srcRows, int srcWidth,
                                                    Zem64f* const* dstRows, const Zem32s* index, int dstWidth,
                                                    int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_16s_D2(const Zem16s* src, int srcWidth, int srcStep, Zem16s* dst,
                                                   const Zem32s* index, int dstWidth, int dstStep, int height);
ZEMSR_API ZemStatus zemsCopyColumn_Indirect_16s_D2L(const Zem16s* const* srcRows, int srcWidth,
                                                    Zem16s* const* dstRows, const Zem32s* index, int dstWidth,
                                                    int height);

/* ---- Gaussian re-estimation ------------------------------------------------------------ */
/* Accumulation: meanAcc += (x - m) val, varAcc += (x - m)^2 val; column sums and sums of squares;
 * covariance dst += val * sum of (x - m)(x - m)^T (lower triangle accumulated, then the whole
 * matrix scaled by val and mirrored).  Updates: mean += acc / occ; var = varAcc / occVar -
 * (meanAcc / occMean)^2 floored; weight = max(acc / occ, floor) with their sum; gconst = n ln(2 pi)
 * -+ sum ln var.  An occupancy at or below the smallest normal value returns
 * zemStatusZeroOccupancyWarning with nothing written; zemStatusFloorWarning when every element took
 * its floor; log of a zero or negative variance gives +inf or a NaN and the log warnings.
 * The row pointers of the _D2L covariance forms are tested for null (an addition of this library).
 * Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count, except zemsNewVar_32s_Sfs and
 * _32s_ISfs, which round to nearest when mean and the source are 16-byte aligned and truncate
 * otherwise: by design. */
ZEMSR_API ZemStatus zemsUpdateMean_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f occ);
ZEMSR_API ZemStatus zemsUpdateMean_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f occ);
ZEMSR_API ZemStatus zemsUpdateVar_32f(const Zem32f* meanAcc, const Zem32f* varAcc, const Zem32f* floor, Zem32f* dst,
                                      int len, Zem32f occMean, Zem32f occVar);
ZEMSR_API ZemStatus zemsUpdateVar_64f(const Zem64f* meanAcc, const Zem64f* varAcc, const Zem64f* floor, Zem64f* dst,
                                      int len, Zem64f occMean, Zem64f occVar);
ZEMSR_API ZemStatus zemsUpdateWeight_32f(const Zem32f* src, Zem32f* dst, int len, Zem32f* sum, Zem32f occ,
                                         Zem32f floor);
ZEMSR_API ZemStatus zemsUpdateWeight_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f* sum, Zem64f occ,
                                         Zem64f floor);
/* var holds inverse variances (gconst = n ln(2 pi) - sum ln var); DirectVar: variances (+). */
ZEMSR_API ZemStatus zemsUpdateGConst_32f(const Zem32f* var, int len, Zem32f* gconst);
ZEMSR_API ZemStatus zemsUpdateGConst_64f(const Zem64f* var, int len, Zem64f* gconst);
ZEMSR_API ZemStatus zemsUpdateGConst_DirectVar_32f(const Zem32f* var, int len, Zem32f* gconst);
ZEMSR_API ZemStatus zemsUpdateGConst_DirectVar_64f(const Zem64f* var, int len, Zem64f* gconst);
ZEMSR_API ZemStatus zemsMeanVarAcc_32f(const Zem32f* src, const Zem32f* mean, Zem32f* meanAcc, Zem32f* varAcc,
                                       int len, Zem32f val);
ZEMSR_API ZemStatus zemsMeanVarAcc_64f(const Zem64f* src, const Zem64f* mean, Zem64f* meanAcc, Zem64f* varAcc,
                                       int len, Zem64f val);
/* Column sums and sums of squares of a height x width matrix; _I forms add to dstSum/dstSumSq. */
ZEMSR_API ZemStatus zemsSumMeanVar_32f(const Zem32f* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                       int width);
ZEMSR_API ZemStatus zemsSumMeanVar_32f_I(const Zem32f* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                         int width);
ZEMSR_API ZemStatus zemsSumMeanVar_16s32f(const Zem16s* src, int step, int height, Zem32f* dstSum, Zem32f* dstSumSq,
                                          int width);
ZEMSR_API ZemStatus zemsSumMeanVar_16s32f_I(const Zem16s* src, int step, int height, Zem32f* dstSum,
                                            Zem32f* dstSumSq, int width);
ZEMSR_API ZemStatus zemsSumMeanVar_16s32s_Sfs(const Zem16s* src, int step, int height, Zem32s* dstSum,
                                              Zem32s* dstSumSq, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsSumMeanVar_16s32s_ISfs(const Zem16s* src, int step, int height, Zem32s* dstSum,
                                               Zem32s* dstSumSq, int width, int scaleFactor);
/* dst = scale (sumSq - meanWeight mean^2). */
ZEMSR_API ZemStatus zemsNewVar_32f(const Zem32f* mean, const Zem32f* sumSq, Zem32f* dst, int len, Zem32f meanWeight,
                                   Zem32f scale);
ZEMSR_API ZemStatus zemsNewVar_32f_I(const Zem32f* mean, Zem32f* srcDst, int len, Zem32f meanWeight, Zem32f scale);
ZEMSR_API ZemStatus zemsNewVar_32s_Sfs(const Zem32s* mean, const Zem32s* sumSq, Zem32s* dst, int len,
                                       Zem32f meanWeight, Zem32f scale, int scaleFactor);
ZEMSR_API ZemStatus zemsNewVar_32s_ISfs(const Zem32s* mean, Zem32s* srcDst, int len, Zem32f meanWeight, Zem32f scale,
                                        int scaleFactor);
ZEMSR_API ZemStatus zemsAccCovarianceMatrix_32f64f_D2(const Zem32f* src, int srcStep, int height, const Zem32f* mean,
                                                      Zem64f* dst, int width, int dstStep, Zem64f val);
ZEMSR_API ZemStatus zemsAccCovarianceMatrix_16s64f_D2(const Zem16s* src, int srcStep, int height, const Zem16s* mean,
                                                      Zem64f* dst, int width, int dstStep, Zem64f val);
ZEMSR_API ZemStatus zemsAccCovarianceMatrix_32f64f_D2L(const Zem32f* const* srcRows, int height, const Zem32f* mean,
                                                       Zem64f* const* dstRows, int width, Zem64f val);
ZEMSR_API ZemStatus zemsAccCovarianceMatrix_16s64f_D2L(const Zem16s* const* srcRows, int height, const Zem16s* mean,
                                                       Zem64f* const* dstRows, int width, Zem64f val);

/* ---- Gaussian clustering ---------------------------------------------------------------- */
/* Two weighted diagonal Gaussians merged: m = (w1 m1 + w2 m2) / W, v = ((m1^2 + v1) w1 + (m2^2 +
 * v2) w2) / W - m^2, W = w1 + w2; the distance is w1 g1 + w2 g2 - W (n ln(2 pi) - sum ln v).  Split:
 * mean1 +- val sqrt(var1).  Bhattacharyya: Q / 4 + (sum ln((v1 + v2)^2 / (v1 v2)) - n ln 4) / 4 (SLog:
 * from the callers' sums of ln var).  Clusters: per-element statistics (overwritten, the caller
 * adds them up) and the cluster log-likelihood.  Zero and negative values give +inf (-inf for a
 * cluster) or a NaN with zemStatusLogZeroWarning or zemStatusLogNegativeWarning.
 * Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment and thread count, except zemsGaussianSplit_32f,
 * whose square root is taken in float when all four arrays are 16-byte aligned and in double
 * otherwise: by design. */
ZEMSR_API ZemStatus zemsGaussianDist_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                         const Zem32f* var2, int len, Zem32f* dist, Zem32f weight1, Zem32f gconst1,
                                         Zem32f weight2, Zem32f gconst2);
ZEMSR_API ZemStatus zemsGaussianDist_64f(const Zem64f* mean1, const Zem64f* var1, const Zem64f* mean2,
                                         const Zem64f* var2, int len, Zem64f* dist, Zem64f weight1, Zem64f gconst1,
                                         Zem64f weight2, Zem64f gconst2);
ZEMSR_API ZemStatus zemsGaussianMerge_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                          const Zem32f* var2, Zem32f* dstMean, Zem32f* dstVar, int len,
                                          Zem32f* dstGconst, Zem32f weight1, Zem32f weight2);
ZEMSR_API ZemStatus zemsGaussianMerge_64f(const Zem64f* mean1, const Zem64f* var1, const Zem64f* mean2,
                                          const Zem64f* var2, Zem64f* dstMean, Zem64f* dstVar, int len,
                                          Zem64f* dstGconst, Zem64f weight1, Zem64f weight2);
ZEMSR_API ZemStatus zemsGaussianSplit_32f(Zem32f* mean1, const Zem32f* var1, Zem32f* mean2, Zem32f* var2, int len,
                                          Zem32f val);
ZEMSR_API ZemStatus zemsGaussianSplit_64f(Zem64f* mean1, const Zem64f* var1, Zem64f* mean2, Zem64f* var2, int len,
                                          Zem64f val);
ZEMSR_API ZemStatus zemsBhatDist_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2, const Zem32f* var2,
                                     int len, Zem32f* dist);
ZEMSR_API ZemStatus zemsBhatDist_32f64f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                        const Zem32f* var2, int len, Zem64f* dist);
ZEMSR_API ZemStatus zemsBhatDistSLog_32f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                         const Zem32f* var2, int len, Zem32f* dist, Zem32f sumLog1, Zem32f sumLog2);
ZEMSR_API ZemStatus zemsBhatDistSLog_32f64f(const Zem32f* mean1, const Zem32f* var1, const Zem32f* mean2,
                                            const Zem32f* var2, int len, Zem64f* dist, Zem32f sumLog1,
                                            Zem32f sumLog2);
/* var holds inverse variances; DirectVar: variances. */
ZEMSR_API ZemStatus zemsDcsClustLAccumulate_32f(const Zem32f* mean, const Zem32f* var, Zem32f* dstSum,
                                                Zem32f* dstSumSq, int len, Zem32f val);
ZEMSR_API ZemStatus zemsDcsClustLAccumulate_64f(const Zem64f* mean, const Zem64f* var, Zem64f* dstSum,
                                                Zem64f* dstSumSq, int len, Zem64f val);
ZEMSR_API ZemStatus zemsDcsClustLAccumulate_DirectVar_32f(const Zem32f* mean, const Zem32f* var, Zem32f* dstSum,
                                                          Zem32f* dstSumSq, int len, Zem32f val);
ZEMSR_API ZemStatus zemsDcsClustLAccumulate_DirectVar_64f(const Zem64f* mean, const Zem64f* var, Zem64f* dstSum,
                                                          Zem64f* dstSumSq, int len, Zem64f val);
/* dst = occ/2 (n (2 ln occ - 1 - ln(2 pi)) - sum ln(occ sumSq - sum^2)); -1e10 and
 * zemStatusZeroOccupancyWarning for occ 0. */
ZEMSR_API ZemStatus zemsDcsClustLCompute_64f(const Zem64f* sum, const Zem64f* sumSq, int len, Zem64f* dst, Zem64f occ);
ZEMSR_API ZemStatus zemsDcsClustLCompute_32f64f(const Zem32f* sum, const Zem32f* sumSq, int len, Zem64f* dst,
                                                Zem32f occ);

/* ---- Matrix and vector products ------------------------------------------------
 * MatVecMul: dst[i] = sum over j of matrix[i][j] * vec[j], i < height, j < width.
 * VecMatMul: dst[j] = sum over i of vec[i] * matrix[i][j].
 * Float forms sum in Zem32f.  The 16-bit MatVecMul forms sum exactly in 64 bits and shift
 * right by scaleFactor (toward minus infinity); the 32-bit MatVecMul and every integer
 * VecMatMul sum in double, scale by 2^-scaleFactor and round to nearest, ties to even.
 * Results saturate to the destination.  The Zem64f row and column operations address
 * rows firstRow..height-1 of an array of row pointers.
 * Threads: no state; any number of threads may call them on distinct outputs.
 * Determinism: fixed summation orders; the same result for any alignment. */
ZEMSR_API ZemStatus zemsMatVecMul_32f_D2(const Zem32f* matrix, int step, const Zem32f* vec, int width, Zem32f* dst,
                                         int height);
ZEMSR_API ZemStatus zemsMatVecMul_32f_D2L(const Zem32f* const* matrix, const Zem32f* vec, int width, Zem32f* dst,
                                          int height);
ZEMSR_API ZemStatus zemsMatVecMul_16s_D2Sfs(const Zem16s* matrix, int step, const Zem16s* vec, int width,
                                            Zem16s* dst, int height, int scaleFactor);
ZEMSR_API ZemStatus zemsMatVecMul_16s_D2LSfs(const Zem16s* const* matrix, const Zem16s* vec, int width, Zem16s* dst,
                                             int height, int scaleFactor);
ZEMSR_API ZemStatus zemsMatVecMul_16s32s_D2Sfs(const Zem16s* matrix, int step, const Zem16s* vec, int width,
                                               Zem32s* dst, int height, int scaleFactor);
ZEMSR_API ZemStatus zemsMatVecMul_16s32s_D2LSfs(const Zem16s* const* matrix, const Zem16s* vec, int width,
                                                Zem32s* dst, int height, int scaleFactor);
ZEMSR_API ZemStatus zemsMatVecMul_32s_D2Sfs(const Zem32s* matrix, int step, const Zem32s* vec, int width,
                                            Zem32s* dst, int height, int scaleFactor);
ZEMSR_API ZemStatus zemsMatVecMul_32s_D2LSfs(const Zem32s* const* matrix, const Zem32s* vec, int width, Zem32s* dst,
                                             int height, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_32f_D2(const Zem32f* vec, const Zem32f* matrix, int step, int height, Zem32f* dst,
                                         int width);
ZEMSR_API ZemStatus zemsVecMatMul_32f_D2L(const Zem32f* vec, const Zem32f* const* matrix, int height, Zem32f* dst,
                                          int width);
ZEMSR_API ZemStatus zemsVecMatMul_16s_D2Sfs(const Zem16s* vec, const Zem16s* matrix, int step, int height,
                                            Zem16s* dst, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_16s_D2LSfs(const Zem16s* vec, const Zem16s* const* matrix, int height, Zem16s* dst,
                                             int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_16s32s_D2Sfs(const Zem16s* vec, const Zem16s* matrix, int step, int height,
                                               Zem32s* dst, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_16s32s_D2LSfs(const Zem16s* vec, const Zem16s* const* matrix, int height,
                                                Zem32s* dst, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_32s_D2Sfs(const Zem32s* vec, const Zem32s* matrix, int step, int height,
                                            Zem32s* dst, int width, int scaleFactor);
ZEMSR_API ZemStatus zemsVecMatMul_32s_D2LSfs(const Zem32s* vec, const Zem32s* const* matrix, int height, Zem32s* dst,
                                             int width, int scaleFactor);
ZEMSR_API ZemStatus zemsSumColumnAbs_64f_D2L(const Zem64f* const* matrix, int width, int height, Zem64f* sum,
                                             int column, int firstRow);
ZEMSR_API ZemStatus zemsSumColumnSqr_64f_D2L(Zem64f* const* matrix, int width, int height, Zem64f* sum, int column,
                                             int firstRow, Zem64f val);
ZEMSR_API ZemStatus zemsDotProdColumn_64f_D2L(const Zem64f* const* matrix, int width, int height, Zem64f* sum,
                                              int column1, int column2, int firstRow);
ZEMSR_API ZemStatus zemsAddMulColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int srcColumn,
                                             int dstColumn, int firstRow, Zem64f val);
ZEMSR_API ZemStatus zemsMulColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int column, int firstRow,
                                          Zem64f val);
ZEMSR_API ZemStatus zemsSumRowAbs_64f(const Zem64f* src, int len, Zem64f* sum);
ZEMSR_API ZemStatus zemsSumRowSqr_64f(Zem64f* srcDst, int len, Zem64f* sum, Zem64f val);
ZEMSR_API ZemStatus zemsAddMulRow_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f val);

/* ---- Singular value decomposition ---------------------------------------------
 * A = U * diag(W) * V^T for A of height rows and width columns: U replaces A (or the
 * copy in dst), W has width values, V is width x width.  nIter bounds the QR sweeps per
 * singular value (zemStatusNoConvergence when it runs out, the outputs then hold
 * intermediate values).  The Sort forms order W descending with U and V columns
 * following.  In the _D2 forms step is the row distance of src, dst and V alike.
 * QRTransColumn rotates two columns: x = row[column2], y = row[column1],
 * row[column2] = c x + s y, row[column1] = y c - x s.
 * Threads: no state; any number of threads may call them on distinct outputs.
 * Determinism: the same result for any alignment, and in both layouts. */
ZEMSR_API ZemStatus zemsSVD_64f_D2(const Zem64f* src, Zem64f* dst, int height, Zem64f* W, Zem64f* V, int width,
                                   int step, int nIter);
ZEMSR_API ZemStatus zemsSVD_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                     int nIter);
ZEMSR_API ZemStatus zemsSVD_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                    Zem64f* const* V, int width, int nIter);
ZEMSR_API ZemStatus zemsSVD_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                      int nIter);
ZEMSR_API ZemStatus zemsSVDSort_64f_D2(const Zem64f* src, Zem64f* dst, int height, Zem64f* W, Zem64f* V, int width,
                                       int step, int nIter);
ZEMSR_API ZemStatus zemsSVDSort_64f_D2_I(Zem64f* srcDst, int height, Zem64f* W, Zem64f* V, int width, int step,
                                         int nIter);
ZEMSR_API ZemStatus zemsSVDSort_64f_D2L(const Zem64f* const* src, Zem64f* const* dst, int height, Zem64f* W,
                                        Zem64f* const* V, int width, int nIter);
ZEMSR_API ZemStatus zemsSVDSort_64f_D2L_I(Zem64f* const* srcDst, int height, Zem64f* W, Zem64f* const* V, int width,
                                          int nIter);
ZEMSR_API ZemStatus zemsQRTransColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int column1, int column2,
                                              Zem64f c, Zem64f s);

/* ---- Polyphase resampling ------------------------------------------------------------- */
/* Band-limited resampling by a Kaiser-windowed sinc.  Variable engine: any real ratio factor
 * (output rate / input rate), which may change between calls, from a finely sampled half
 * filter of nStep entries per input sample.  Fixed engine: the ratio outRate / inRate reduced
 * to lowest terms and one filter per output phase.  Both read src before index 0 and after
 * len - 1 as far as the filter reaches: the caller keeps that history and look-ahead.  time
 * (in input samples from src[0]) carries the stream between calls: a block consumes len input
 * samples of time, so the caller subtracts len and moves src on.  16-bit outputs are rounded
 * half away from zero and saturated.  hint: zemAlgHintAccurate (2) or fast (any other value).
 * The row copies of Get/SetFixedFilter stop at the end of the state's rows (a safety limit
 * of this library), whatever height is given.
 * Threads: a state holds only filters and is read-only during runs: one state may serve
 * several streams and threads at once (their time values are the callers').
 * Determinism: the same bits for any alignment, thread count and split of a stream into blocks. */
ZEMSR_API ZemStatus zemsResamplePolyphaseInitAlloc_32f(ZemsResampleState_32f** state, Zem32f window, Zem32s nStep,
                                                       Zem32f rollf, Zem32f alpha, Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseInitAlloc_16s(ZemsResampleState_16s** state, Zem32f window, Zem32s nStep,
                                                       Zem32f rollf, Zem32f alpha, Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFree_32f(ZemsResampleState_32f* state);
ZEMSR_API ZemStatus zemsResamplePolyphaseFree_16s(ZemsResampleState_16s* state);
ZEMSR_API ZemStatus zemsResamplePolyphase_32f(const ZemsResampleState_32f* state, const Zem32f* src, Zem32s len,
                                              Zem32f* dst, Zem64f factor, Zem32f norm, Zem64f* time,
                                              Zem32s* outLen);
ZEMSR_API ZemStatus zemsResamplePolyphase_16s(const ZemsResampleState_16s* state, const Zem16s* src, Zem32s len,
                                              Zem16s* dst, Zem64f factor, Zem32f norm, Zem64f* time,
                                              Zem32s* outLen);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedGetSize_32f(Zem32s inRate, Zem32s outRate, Zem32s len, Zem32s* size,
                                                          Zem32s* filterLen, Zem32s* numFilters);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedGetSize_16s(Zem32s inRate, Zem32s outRate, Zem32s len, Zem32s* size,
                                                          Zem32s* filterLen, Zem32s* numFilters, Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInit_32f(ZemsResampleFixedState_32f* state, Zem32s inRate,
                                                       Zem32s outRate, Zem32s len, Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInit_16s(ZemsResampleFixedState_16s* state, Zem32s inRate,
                                                       Zem32s outRate, Zem32s len, Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInitAlloc_32f(ZemsResampleFixedState_32f** state, Zem32s inRate,
                                                            Zem32s outRate, Zem32s len, Zem32f rollf, Zem32f alpha,
                                                            Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedInitAlloc_16s(ZemsResampleFixedState_16s** state, Zem32s inRate,
                                                            Zem32s outRate, Zem32s len, Zem32f rollf, Zem32f alpha,
                                                            Zem32s hint);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedFree_32f(ZemsResampleFixedState_32f* state);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixedFree_16s(ZemsResampleFixedState_16s* state);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixed_32f(const ZemsResampleFixedState_32f* state, const Zem32f* src,
                                                   Zem32s len, Zem32f* dst, Zem32f norm, Zem64f* time,
                                                   Zem32s* outLen);
ZEMSR_API ZemStatus zemsResamplePolyphaseFixed_16s(const ZemsResampleFixedState_16s* state, const Zem16s* src,
                                                   Zem32s len, Zem16s* dst, Zem32f norm, Zem64f* time,
                                                   Zem32s* outLen);
/* Filter rows to and from a matrix of height rows step elements apart. */
ZEMSR_API ZemStatus zemsResamplePolyphaseGetFixedFilter_32f(const ZemsResampleFixedState_32f* state, Zem32f* dst,
                                                            Zem32s step, Zem32s height);
ZEMSR_API ZemStatus zemsResamplePolyphaseGetFixedFilter_16s(const ZemsResampleFixedState_16s* state, Zem16s* dst,
                                                            Zem32s step, Zem32s height);
ZEMSR_API ZemStatus zemsResamplePolyphaseSetFixedFilter_32f(ZemsResampleFixedState_32f* state, const Zem32f* src,
                                                            Zem32s step, Zem32s height);
ZEMSR_API ZemStatus zemsResamplePolyphaseSetFixedFilter_16s(ZemsResampleFixedState_16s* state, const Zem16s* src,
                                                            Zem32s step, Zem32s height);

/* ---- Dynamic time warping: the least cost of a monotone path through d(i, j) = ||row_i - col_j|| - */
/* A path advances 0, 1 or 2 columns a row inside a parallelogram band widened by delta, and a
 * beam keeps the cells within max(0, beta) of each row's minimum.  The longer sequence gives the
 * rows (src2 on equal lengths); the result is the least cost in the last row reached, not
 * normalised: 3.4028235e38 when no row follows the first (2147483647 in the integer forms at
 * scale factor 0). */
/* Threads: no state; any number of threads on distinct outputs.
 * Determinism: the same bits for any alignment, row layout and thread count. */
ZEMSR_API ZemStatus zemsDTW_L2_32f_D2L(const Zem32f* const* src1, int height1, const Zem32f* const* src2,
                                       int height2, int width, Zem32f* dst, int delta, Zem32f beta);
ZEMSR_API ZemStatus zemsDTW_L2_32f_D2(const Zem32f* src1, int height1, const Zem32f* src2, int height2, int width,
                                      int step, Zem32f* dst, int delta, Zem32f beta);
ZEMSR_API ZemStatus zemsDTW_L2Low_16s32s_D2LSfs(const Zem16s* const* src1, int height1, const Zem16s* const* src2,
                                                int height2, int width, Zem32s* dst, int delta, Zem32f beta,
                                                int scaleFactor);
ZEMSR_API ZemStatus zemsDTW_L2Low_16s32s_D2Sfs(const Zem16s* src1, int height1, const Zem16s* src2, int height2,
                                               int width, int step, Zem32s* dst, int delta, Zem32f beta,
                                               int scaleFactor);
ZEMSR_API ZemStatus zemsDTW_L2_8u32s_D2LSfs(const Zem8u* const* src1, int height1, const Zem8u* const* src2,
                                            int height2, int width, Zem32s* dst, int delta, Zem32f beta,
                                            int scaleFactor);
ZEMSR_API ZemStatus zemsDTW_L2_8u32s_D2Sfs(const Zem8u* src1, int height1, const Zem8u* src2, int height2, int width,
                                           int step, Zem32s* dst, int delta, Zem32f beta, int scaleFactor);

/* ---- Elementwise special functions: exp(-x^2), sin(x)/x, 1/sqrt(max-floored x) ---- */
/* Threads: no records; calls on distinct buffers may run at the same time.
 * Determinism: the same result for any alignment and thread count, except zemsRecSqrt_32s_Sfs,
 * which rounds to nearest when srcDst is 16-byte aligned and truncates otherwise. */
ZEMSR_API ZemStatus zemsExpNegSqr_32f(const Zem32f* src, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsExpNegSqr_32f_I(Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsExpNegSqr_32f64f(const Zem32f* src, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsExpNegSqr_64f(const Zem64f* src, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsExpNegSqr_64f_I(Zem64f* srcDst, int len);
ZEMSR_API ZemStatus zemsSinC_32f(const Zem32f* src, Zem32f* dst, int len);
ZEMSR_API ZemStatus zemsSinC_32f_I(Zem32f* srcDst, int len);
ZEMSR_API ZemStatus zemsSinC_32f64f(const Zem32f* src, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsSinC_64f(const Zem64f* src, Zem64f* dst, int len);
ZEMSR_API ZemStatus zemsSinC_64f_I(Zem64f* srcDst, int len);
/* Elements at or below val become val itself; zemsRecSqrt_32s16s_Sfs and the unaligned route of
 * zemsRecSqrt_32s_Sfs replace only those below it. */
ZEMSR_API ZemStatus zemsRecSqrt_32f(Zem32f* srcDst, int len, Zem32f val);
ZEMSR_API ZemStatus zemsRecSqrt_32s_Sfs(Zem32s* srcDst, int len, Zem32s val, int scaleFactor);
ZEMSR_API ZemStatus zemsRecSqrt_32s16s_Sfs(const Zem32s* src, Zem16s* dst, int len, Zem32s val, int scaleFactor);

#ifdef __cplusplus
}
#endif

#endif /* ZEMSR_H */
