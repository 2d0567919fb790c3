/* The library's job end to end: synthesized utterances with silence and noise around them
 * go through the front end (mel bank, log, DCT lifter, deltas) and are scored frame by
 * frame against a speech and a non-speech Gaussian mixture.  The mixtures for each file
 * are estimated from the other files, whose speech spans are known.  Prints a timeline
 * per file, the known span under it, and the speed of the whole pipeline.
 *
 * Usage: demo [data directory]   (default: the examples/data of the source tree) */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"

#ifndef ZEMSR_DEMO_DATA
#define ZEMSR_DEMO_DATA "examples/data"
#endif

#define MAX_FILES 16
#define FRAMES_PER_MARK 4 /* 40 ms a character */

typedef struct {
    char name[64];
    char text[128];
    int leadMs, speechMs;
    short* samples;
    int count, frames;
    float* feats;
    unsigned char* truth;
    unsigned char* labels;
} Utterance;

static int load(const char* dir, Utterance* u, int* n) {
    char path[1024];
    snprintf(path, sizeof path, "%s/utterances.txt", dir);
    FILE* list = fopen(path, "r");
    if (!list) {
        fprintf(stderr, "cannot open %s\n", path);
        return -1;
    }
    *n = 0;
    char line[256];
    while (*n < MAX_FILES && fgets(line, sizeof line, list)) {
        Utterance* v = &u[*n];
        memset(v, 0, sizeof *v);
        int used = 0;
        if (sscanf(line, "%63s %d %d %n", v->name, &v->leadMs, &v->speechMs, &used) != 3) continue;
        snprintf(v->text, sizeof v->text, "%s", line + used);
        v->text[strcspn(v->text, "\n")] = 0;
        snprintf(path, sizeof path, "%s/%s", dir, v->name);
        v->count = pipeReadWav(path, &v->samples);
        v->frames = pipeFrameCount(v->count);
        if (v->count < 0 || v->frames < 6) {
            fprintf(stderr, "cannot read %s as 16 kHz mono 16-bit PCM\n", path);
            fclose(list);
            return -1;
        }
        v->feats = malloc(sizeof(float) * (size_t)v->frames * PIPE_FEATURES);
        v->truth = malloc((size_t)v->frames);
        v->labels = malloc((size_t)v->frames);
        if (!v->feats || !v->truth || !v->labels) return -1;
        for (int t = 0; t < v->frames; ++t) { /* the frame's centre inside the speech span */
            const double ms = (t * PIPE_HOP + PIPE_FRAME / 2) * 1000.0 / PIPE_RATE;
            v->truth[t] = ms >= v->leadMs && ms < v->leadMs + v->speechMs;
        }
        ++*n;
    }
    fclose(list);
    return *n > 1 ? 0 : -1;
}

/* The frames of every file but `skip`, speech and non-speech apart. */
static void trainFold(const Utterance* u, int n, int skip, PipeMixture* speech, PipeMixture* other) {
    int total = 0;
    for (int i = 0; i < n; ++i)
        if (i != skip) total += u[i].frames;
    float* s = malloc(sizeof(float) * (size_t)total * PIPE_FEATURES);
    float* o = malloc(sizeof(float) * (size_t)total * PIPE_FEATURES);
    int ns = 0, no = 0;
    for (int i = 0; i < n; ++i) {
        if (i == skip) continue;
        for (int t = 0; t < u[i].frames; ++t) {
            float* to = u[i].truth[t] ? s + (size_t)ns++ * PIPE_FEATURES : o + (size_t)no++ * PIPE_FEATURES;
            memcpy(to, u[i].feats + (size_t)t * PIPE_FEATURES, sizeof(float) * PIPE_FEATURES);
        }
    }
    pipeTrain(speech, s, ns);
    pipeTrain(other, o, no);
    free(s);
    free(o);
}

static void timeline(const char* label, const unsigned char* marks, int frames) {
    printf("  %-8s", label);
    for (int t = 0; t < frames; t += FRAMES_PER_MARK) {
        int on = 0, all = 0;
        for (int k = t; k < t + FRAMES_PER_MARK && k < frames; ++k, ++all) on += marks[k];
        putchar(2 * on >= all ? '#' : '.');
    }
    putchar('\n');
}

int main(int argc, char** argv) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    printf("%s %d.%d (%s, target %s)\n", v->name, v->major, v->minor, v->version, v->targetCpu);
    const char* dir = argc > 1 ? argv[1] : ZEMSR_DEMO_DATA;
    static Utterance u[MAX_FILES];
    int n = 0;
    if (load(dir, u, &n)) return 1;
    PipeFrontEnd fe;
    if (pipeFrontEndInit(&fe)) {
        fprintf(stderr, "front end set-up failed\n");
        return 1;
    }
    for (int i = 0; i < n; ++i)
        if (pipeFeatures(&fe, u[i].samples, u[i].count, u[i].feats)) return 1;

    printf("\nSpeech (#) and non-speech (.) every %d ms; each file scored with mixtures estimated from the others.\n",
           FRAMES_PER_MARK * 10);
    int agree = 0, frames = 0;
    static PipeMixture speech[MAX_FILES], other[MAX_FILES];
    for (int i = 0; i < n; ++i) {
        trainFold(u, n, i, &speech[i], &other[i]);
        if (pipeClassify(&fe, &speech[i], &other[i], u[i].feats, u[i].frames, u[i].labels)) return 1;
        int same = 0;
        for (int t = 0; t < u[i].frames; ++t) same += u[i].labels[t] == u[i].truth[t];
        printf("\n%s \"%s\": %d frames, %.1f %% as known\n", u[i].name, u[i].text, u[i].frames,
               100.0 * same / u[i].frames);
        timeline("scored", u[i].labels, u[i].frames);
        timeline("known", u[i].truth, u[i].frames);
        agree += same;
        frames += u[i].frames;
    }
    printf("\nAll files: %.1f %% of %d frames as known.\n", 100.0 * agree / frames, frames);

    /* Speed: the whole pipeline from samples to both mixtures' scores, over all files
     * again and again for about half a second. */
    memset(fe.seconds, 0, sizeof fe.seconds);
    long done = 0;
    const double start = pipeSeconds();
    do {
        for (int i = 0; i < n; ++i) {
            pipeFeatures(&fe, u[i].samples, u[i].count, u[i].feats);
            pipeClassify(&fe, &speech[i], &other[i], u[i].feats, u[i].frames, u[i].labels);
            done += u[i].frames;
        }
    } while (pipeSeconds() - start < 0.5);
    double staged = 0.0;
    for (int s = 0; s < PIPE_STAGES; ++s) staged += fe.seconds[s];
    printf("\nPipeline speed, one thread: %.0f frames per second (%ld frames, %.2f us a frame)\n",
           done / staged, done, 1e6 * staged / done);
    for (int s = 0; s < PIPE_STAGES; ++s)
        printf("  %-30s %5.1f %%  %6.0f ns a frame\n", pipeStageNames[s], 100.0 * fe.seconds[s] / staged,
               1e9 * fe.seconds[s] / done);

    pipeFrontEndFree(&fe);
    for (int i = 0; i < n; ++i) {
        free(u[i].samples);
        free(u[i].feats);
        free(u[i].truth);
        free(u[i].labels);
    }
    return 0;
}
