/* A speech front end and a speech / non-speech classifier built on zemsr: frames of 25 ms
 * every 10 ms, a 26-filter mel bank through the transform, log, DCT liftering to 12
 * cepstra and C0, streaming deltas and delta-deltas (39 features a frame), then two
 * Gaussian mixtures scored frame by frame. */
#ifndef ZEMSR_EXAMPLE_PIPELINE_H
#define ZEMSR_EXAMPLE_PIPELINE_H

#include "zemsr.h"

#ifdef __cplusplus
extern "C" {
#endif

#define PIPE_RATE 16000
#define PIPE_FRAME 400   /* 25 ms */
#define PIPE_HOP 160     /* 10 ms */
#define PIPE_FILTERS 26
#define PIPE_CEPSTRA 13  /* c1 .. c12, then c0 */
#define PIPE_FEATURES 39 /* statics, deltas, delta-deltas */
#define PIPE_COMPONENTS 8

/* Reads a 16-bit mono PCM WAV file at 16 kHz.  Returns the sample count, or -1; the
 * samples are malloc'ed. */
int pipeReadWav(const char* path, short** samples);

/* A monotonic clock in seconds. */
double pipeSeconds(void);

/* Stage times in seconds, summed over calls. */
enum { PIPE_STAGE_FBANK, PIPE_STAGE_LOG, PIPE_STAGE_LIFTER, PIPE_STAGE_DELTA, PIPE_STAGE_SCORE, PIPE_STAGES };
extern const char* const pipeStageNames[PIPE_STAGES];

typedef struct {
    ZemsFBankState_32f* bank;
    ZemsDCTLifterState_32f* lifter;
    float window[PIPE_FRAME];
    double seconds[PIPE_STAGES];
} PipeFrontEnd;

int pipeFrontEndInit(PipeFrontEnd* fe);
void pipeFrontEndFree(PipeFrontEnd* fe);

/* Frames of n samples: 1 + (n - PIPE_FRAME) / PIPE_HOP, at least 6. */
int pipeFrameCount(int n);

/* Features of every frame into feats (frames x PIPE_FEATURES).  Returns 0 on success. */
int pipeFeatures(PipeFrontEnd* fe, const short* samples, int n, float* feats);

/* A diagonal Gaussian mixture in the form the scorer takes: means, inverse variances and
 * per-component constants (log weight and normalising term). */
typedef struct {
    float mean[PIPE_COMPONENTS][PIPE_FEATURES];
    float invVar[PIPE_COMPONENTS][PIPE_FEATURES];
    float val[PIPE_COMPONENTS];
} PipeMixture;

/* Estimates a mixture from count frames by a few rounds of expectation-maximisation. */
void pipeTrain(PipeMixture* m, const float* frames, int count);

/* Labels each frame 1 (speech) or 0 from the two mixtures' log likelihoods. */
int pipeClassify(PipeFrontEnd* fe, const PipeMixture* speech, const PipeMixture* other, const float* feats,
                 int frames, unsigned char* labels);

#ifdef __cplusplus
}
#endif

#endif
