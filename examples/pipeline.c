#include "pipeline.h"

#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

const char* const pipeStageNames[PIPE_STAGES] = {"window + transform + mel bank", "log", "DCT lifter",
                                                 "deltas", "mixture scores"};

double pipeSeconds(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

/* ---- WAV --------------------------------------------------------------------------------- */

static uint32_t le32(const unsigned char* p) { return p[0] | (p[1] << 8) | (p[2] << 16) | ((uint32_t)p[3] << 24); }
static uint16_t le16(const unsigned char* p) { return (uint16_t)(p[0] | (p[1] << 8)); }

int pipeReadWav(const char* path, short** samples) {
    FILE* f = fopen(path, "rb");
    if (!f) return -1;
    unsigned char head[12], chunk[8];
    int n = -1, format = 0;
    if (fread(head, 1, 12, f) != 12 || memcmp(head, "RIFF", 4) || memcmp(head + 8, "WAVE", 4)) goto done;
    while (fread(chunk, 1, 8, f) == 8) {
        const uint32_t size = le32(chunk + 4);
        if (!memcmp(chunk, "fmt ", 4)) {
            unsigned char fmt[16];
            if (size < 16 || fread(fmt, 1, 16, f) != 16) goto done;
            /* PCM (1) or extensible (0xfffe), one channel, 16 kHz, 16 bits */
            format = (le16(fmt) == 1 || le16(fmt) == 0xfffe) && le16(fmt + 2) == 1 && le32(fmt + 4) == PIPE_RATE &&
                     le16(fmt + 14) == 16;
            if (fseek(f, (long)(size - 16 + (size & 1)), SEEK_CUR)) goto done;
        } else if (!memcmp(chunk, "data", 4)) {
            if (!format) goto done;
            const int count = (int)(size / 2);
            unsigned char* raw = malloc(size ? size : 1);
            short* s = malloc(sizeof(short) * (size_t)(count ? count : 1));
            if (raw && s && fread(raw, 1, size, f) == size) {
                for (int i = 0; i < count; ++i) s[i] = (short)le16(raw + 2 * i);
                *samples = s;
                s = NULL;
                n = count;
            }
            free(raw);
            free(s);
            goto done;
        } else if (fseek(f, (long)(size + (size & 1)), SEEK_CUR)) {
            goto done;
        }
    }
done:
    fclose(f);
    return n;
}

/* ---- Front end --------------------------------------------------------------------------- */

int pipeFrontEndInit(PipeFrontEnd* fe) {
    memset(fe, 0, sizeof(*fe));
    Zem32s order = 0;
    if (zemsMelFBankInitAlloc_32f(&fe->bank, &order, PIPE_FRAME, (float)PIPE_RATE, 64.0f, 8000.0f, PIPE_FILTERS,
                                  1127.0f, 700.0f, zemFBankMelWeights | zemFBankFftMagnitude) != zemStatusOk)
        return -1;
    if ((1 << order) != 512) return -1;
    if (zemsDCTLifterInitAlloc_C0_32f(&fe->lifter, PIPE_FILTERS, PIPE_CEPSTRA - 1, 22, 1.0f, 1.0f) != zemStatusOk)
        return -1;
    for (int i = 0; i < PIPE_FRAME; ++i) fe->window[i] = (float)(0.54 - 0.46 * cos(2.0 * M_PI * i / (PIPE_FRAME - 1)));
    return 0;
}

void pipeFrontEndFree(PipeFrontEnd* fe) {
    if (fe->bank) zemsFBankFree_32f(fe->bank);
    if (fe->lifter) zemsDCTLifterFree_32f(fe->lifter);
    fe->bank = NULL;
    fe->lifter = NULL;
}

int pipeFrameCount(int n) { return n < PIPE_FRAME + 5 * PIPE_HOP ? 0 : 1 + (n - PIPE_FRAME) / PIPE_HOP; }

/* Frames go through the stages a block at a time (each stage timed once a block); the
 * block's cepstra are handed to the streaming delta-delta, which places them in the
 * feature rows next to their derivatives. */
#define BLOCK 32

int pipeFeatures(PipeFrontEnd* fe, const short* samples, int n, float* feats) {
    const int frames = pipeFrameCount(n);
    if (frames < 6) return -1; /* the first block holds the window's history of 6 frames */
    float frame[512], energies[BLOCK * PIPE_FILTERS], cepstra[BLOCK * PIPE_CEPSTRA];
    memset(frame, 0, sizeof(frame)); /* the transform reads 512 samples: 400 and zeros */
    for (int done = 0; done < frames;) {
        const int height = frames - done < BLOCK ? frames - done : BLOCK;
        const double t0 = pipeSeconds();
        for (int k = 0; k < height; ++k) {
            const short* x = samples + (size_t)(done + k) * PIPE_HOP;
            float prev = (float)x[0];
            for (int i = 0; i < PIPE_FRAME; ++i) { /* pre-emphasis and window */
                const float s = (float)x[i];
                frame[i] = (s - 0.97f * prev) * fe->window[i];
                prev = s;
            }
            if (zemsEvalFBank_32f(frame, energies + k * PIPE_FILTERS, fe->bank) != zemStatusOk) return -1;
        }
        const double t1 = pipeSeconds();
        for (int i = 0; i < height * PIPE_FILTERS; ++i) energies[i] = logf(energies[i] > 1e-3f ? energies[i] : 1e-3f);
        const double t2 = pipeSeconds();
        for (int k = 0; k < height; ++k)
            if (zemsDCTLifter_32f(energies + k * PIPE_FILTERS, cepstra + k * PIPE_CEPSTRA, fe->lifter) != zemStatusOk)
                return -1;
        const double t3 = pipeSeconds();
        const int flags = (done == 0 ? zemDeltaFirstBlock : 0) | (done + height == frames ? zemDeltaLastBlock : 0);
        float* rows = feats + (size_t)(done == 0 ? 0 : done - 6) * PIPE_FEATURES;
        if (zemsDeltaDelta_Win2_32f_D2(cepstra, PIPE_CEPSTRA, rows, PIPE_FEATURES, height, 0.1f, 0.1f, flags) !=
            zemStatusOk)
            return -1;
        const double t4 = pipeSeconds();
        fe->seconds[PIPE_STAGE_FBANK] += t1 - t0;
        fe->seconds[PIPE_STAGE_LOG] += t2 - t1;
        fe->seconds[PIPE_STAGE_LIFTER] += t3 - t2;
        fe->seconds[PIPE_STAGE_DELTA] += t4 - t3;
        done += height;
    }
    return 0;
}

/* ---- Mixtures ---------------------------------------------------------------------------- */

/* Expectation-maximisation with the library's training steps: each frame is scored
 * against every component (zemsLogGaussMultiMix_32f_D2) and its posteriors come from the
 * log sum (zemsLogSum_32f); zemsMeanVarAcc_32f gathers the weighted statistics around the
 * current means; zemsUpdateMean_32f, zemsUpdateVar_32f (with a variance floor) and
 * zemsUpdateWeight_32f (with a weight floor) re-estimate; zemsUpdateGConst_DirectVar_32f
 * gives each component's normalising term.  A component that no frame reaches keeps its
 * parameters (the update reports zero occupancy and writes nothing). */
void pipeTrain(PipeMixture* m, const float* x, int count) {
    enum { K = PIPE_COMPONENTS, D = PIPE_FEATURES };
    float var[K][D], weight[K], floor[D], sum[D], sumSq[D];
    /* Start: means at frames spread over the data, the global variance, equal weights. */
    if (zemsSumMeanVar_32f(x, D, count, sum, sumSq, D) != zemStatusOk) return;
    for (int d = 0; d < D; ++d) {
        const float mu = sum[d] / (float)count;
        const float v = sumSq[d] / (float)count - mu * mu;
        floor[d] = 1e-2f * v;
        for (int k = 0; k < K; ++k) var[k][d] = v;
    }
    for (int k = 0; k < K; ++k) {
        const int t = (int)(((long)k * 2 + 1) * count / (2 * K));
        memcpy(m->mean[k], x + (size_t)t * D, sizeof m->mean[k]);
        weight[k] = 1.0f / K;
    }
    for (int iter = 0; iter <= 12; ++iter) {
        /* Scoring form of the current model: inverse variances and val = ln w - gconst / 2. */
        for (int k = 0; k < K; ++k) {
            float gconst = 0.0f;
            for (int d = 0; d < D; ++d) m->invVar[k][d] = 1.0f / var[k][d];
            zemsUpdateGConst_DirectVar_32f(var[k], D, &gconst);
            m->val[k] = logf(weight[k]) - 0.5f * gconst;
        }
        if (iter == 12) break;
        static float meanAcc[K][D], varAcc[K][D];
        float occ[K] = {0};
        memset(meanAcc, 0, sizeof meanAcc);
        memset(varAcc, 0, sizeof varAcc);
        for (int t = 0; t < count; ++t) {
            const float* frame = x + (size_t)t * D;
            float score[K], total;
            memcpy(score, m->val, sizeof score);
            zemsLogGaussMultiMix_32f_D2(&m->mean[0][0], &m->invVar[0][0], D, frame, D, score, K);
            zemsLogSum_32f(score, &total, K);
            for (int k = 0; k < K; ++k) {
                const float post = expf(score[k] - total);
                occ[k] += post;
                zemsMeanVarAcc_32f(frame, m->mean[k], meanAcc[k], varAcc[k], D, post);
            }
        }
        for (int k = 0; k < K; ++k)
            if (zemsUpdateVar_32f(meanAcc[k], varAcc[k], floor, var[k], D, occ[k], occ[k]) >= 0)
                zemsUpdateMean_32f(meanAcc[k], m->mean[k], D, occ[k]);
        float total;
        zemsUpdateWeight_32f(occ, weight, K, &total, (float)count, 1e-4f);
    }
}

int pipeClassify(PipeFrontEnd* fe, const PipeMixture* speech, const PipeMixture* other, const float* feats,
                 int frames, unsigned char* labels) {
    const double t0 = pipeSeconds();
    for (int t = 0; t < frames; ++t) {
        Zem32f a, b;
        const float* x = feats + (size_t)t * PIPE_FEATURES;
        if (zemsLogGaussMixture_32f_D2(x, &speech->mean[0][0], &speech->invVar[0][0], PIPE_COMPONENTS, PIPE_FEATURES,
                                       PIPE_FEATURES, speech->val, &a) != zemStatusOk ||
            zemsLogGaussMixture_32f_D2(x, &other->mean[0][0], &other->invVar[0][0], PIPE_COMPONENTS, PIPE_FEATURES,
                                       PIPE_FEATURES, other->val, &b) != zemStatusOk)
            return -1;
        labels[t] = a > b;
    }
    fe->seconds[PIPE_STAGE_SCORE] += pipeSeconds() - t0;
    return 0;
}
