/* Isolated words: features, the two warping distances and the recognition loop. */
#include "words.h"

#include <float.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

const char* const wordNames[WORD_COUNT] = {"zero", "one", "two",   "three", "four", "five",
                                           "six",  "seven", "eight", "nine",  "yes",  "no"};

/* The band lets a path start or end this many frames off the corner; the beam keeps the
 * cells within this cost of each row's best. */
#define WORDS_DELTA 8
#define WORDS_BEAM 200.0f

static int wordIndex(const char* w) {
    for (int i = 0; i < WORD_COUNT; ++i)
        if (strcmp(w, wordNames[i]) == 0) return i;
    return -1;
}

/* Cepstral mean normalisation: the statics' utterance mean taken off, which removes most
 * of what a voice's spectral tilt adds to every frame. */
static void removeMean(float* feats, int frames) {
    for (int c = 0; c < PIPE_CEPSTRA; ++c) {
        double sum = 0.0;
        for (int t = 0; t < frames; ++t) sum += feats[t * PIPE_FEATURES + c];
        const float mean = (float)(sum / frames);
        for (int t = 0; t < frames; ++t) feats[t * PIPE_FEATURES + c] -= mean;
    }
}

int wordsLoad(const char* dir, WordSet* set) {
    char path[1024], line[256];
    snprintf(path, sizeof path, "%s/words.txt", dir);
    FILE* list = fopen(path, "r");
    if (!list) {
        fprintf(stderr, "cannot open %s\n", path);
        return -1;
    }
    PipeFrontEnd fe;
    if (pipeFrontEndInit(&fe) != 0) {
        fclose(list);
        return -1;
    }
    memset(set, 0, sizeof *set);
    int capacity = 0, status = 0;
    while (fgets(line, sizeof line, list)) {
        WordItem it;
        char word[32];
        memset(&it, 0, sizeof it);
        if (sscanf(line, "%95s %15s %d %31s", it.file, it.voice, &it.speed, word) != 4) continue;
        if ((it.word = wordIndex(word)) < 0) continue;
        snprintf(path, sizeof path, "%s/%s", dir, it.file);
        short* samples = NULL;
        const int n = pipeReadWav(path, &samples);
        it.frames = n < 0 ? 0 : pipeFrameCount(n);
        it.feats = it.frames > 0 ? malloc(sizeof(float) * (size_t)it.frames * PIPE_FEATURES) : NULL;
        if (!it.feats || pipeFeatures(&fe, samples, n, it.feats) != 0) {
            fprintf(stderr, "cannot read %s as 16 kHz mono 16-bit PCM\n", path);
            free(samples);
            free(it.feats);
            status = -1;
            break;
        }
        free(samples);
        removeMean(it.feats, it.frames);
        if (set->count == capacity) {
            capacity = capacity ? 2 * capacity : 64;
            WordItem* grown = realloc(set->items, sizeof(WordItem) * (size_t)capacity);
            if (!grown) {
                free(it.feats);
                status = -1;
                break;
            }
            set->items = grown;
        }
        set->items[set->count++] = it;
    }
    fclose(list);
    pipeFrontEndFree(&fe);
    if (status != 0 || set->count == 0) {
        wordsFree(set);
        return -1;
    }
    return 0;
}

void wordsFree(WordSet* set) {
    for (int i = 0; i < set->count; ++i) free(set->items[i].feats);
    free(set->items);
    memset(set, 0, sizeof *set);
}

static double frameDistance(const float* a, const float* b) {
    double s = 0.0;
    for (int f = 0; f < PIPE_FEATURES; ++f) {
        const double t = (double)a[f] - (double)b[f];
        s += t * t;
    }
    return sqrt(s);
}

/* g(i, j) = min(g(i-1, j) + d, g(i-1, j-1) + 2 d, g(i, j-1) + d), g(0, 0) = 2 d(0, 0),
 * divided by I + J: every path has the same total weight, so the lengths cancel. */
static double symmetricWarp(const WordItem* x, const WordItem* y) {
    const int I = x->frames, J = y->frames;
    double* g = malloc(sizeof(double) * (size_t)I * (size_t)J);
    if (!g) return DBL_MAX;
    for (int i = 0; i < I; ++i)
        for (int j = 0; j < J; ++j) {
            const double d = frameDistance(x->feats + i * PIPE_FEATURES, y->feats + j * PIPE_FEATURES);
            double best = DBL_MAX;
            if (i == 0 && j == 0) best = 2.0 * d;
            if (i > 0 && g[(i - 1) * J + j] + d < best) best = g[(i - 1) * J + j] + d;
            if (j > 0 && g[i * J + j - 1] + d < best) best = g[i * J + j - 1] + d;
            if (i > 0 && j > 0 && g[(i - 1) * J + j - 1] + 2.0 * d < best) best = g[(i - 1) * J + j - 1] + 2.0 * d;
            g[i * J + j] = best;
        }
    const double total = g[I * J - 1] / (I + J);
    free(g);
    return total;
}

double wordsDistance(int method, const WordItem* test, const WordItem* tmpl) {
    if (method == WORDS_BASELINE) return symmetricWarp(test, tmpl);
    Zem32f cost = 0.0f;
    if (zemsDTW_L2_32f_D2(test->feats, test->frames, tmpl->feats, tmpl->frames, PIPE_FEATURES, PIPE_FEATURES, &cost,
                          WORDS_DELTA, WORDS_BEAM) != zemStatusOk ||
        cost >= 3.4028235e38f)
        return DBL_MAX; /* no path inside the band */
    /* A path has one cell in each row of the longer sequence. */
    return cost / (double)(test->frames > tmpl->frames ? test->frames : tmpl->frames);
}

void wordsRecognise(const WordSet* set, const char* templateVoice, int templateSpeed, int method, WordScore* score) {
    memset(score, 0, sizeof *score);
    const WordItem* templates[WORD_COUNT] = {0};
    for (int i = 0; i < set->count; ++i) {
        const WordItem* it = &set->items[i];
        if (strcmp(it->voice, templateVoice) == 0 && it->speed == templateSpeed) templates[it->word] = it;
    }
    const double t0 = pipeSeconds();
    for (int i = 0; i < set->count; ++i) {
        const WordItem* it = &set->items[i];
        if (strcmp(it->voice, templateVoice) == 0) continue;
        int best = -1;
        double bestCost = DBL_MAX;
        for (int w = 0; w < WORD_COUNT; ++w) {
            if (!templates[w]) continue;
            const double c = wordsDistance(method, it, templates[w]);
            if (best < 0 || c < bestCost) best = w, bestCost = c;
        }
        if (best < 0) continue;
        score->confusion[it->word][best] += 1;
        score->correct += best == it->word;
        score->total += 1;
    }
    score->seconds = pipeSeconds() - t0;
}
