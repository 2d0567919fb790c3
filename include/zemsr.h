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
ZEMSR_API const ZemLibraryVersion* zemsrGetLibVersion(void);

/* ---- Log-domain arithmetic ------------------------------------------------------- */
/* srcDst[i] = ln(exp(src[i]) + exp(srcDst[i])); -4500000 (single) and -1e10 (double)
 * are the floors that stand for a probability of zero. */
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

#ifdef __cplusplus
}
#endif

#endif /* ZEMSR_H */
