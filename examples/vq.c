/* Vector quantisation of cepstra: a tree codebook trained by binary splitting on five of the
 * bundled utterances (13 cepstra a frame: c1 .. c12 and c0), then the sixth utterance
 * quantised through the tree and, for comparison, by an exhaustive search of the same
 * codewords.  It prints the training time, the distortion of both searches and how often
 * the tree finds the true nearest codeword, their speed, and a split quantiser (four
 * sub-vectors with their own codebooks) packed into a bit stream: bits per frame, the
 * stream's size against the float features, and the distortion after rebuilding. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"
#include "zemsr.h"

#ifndef ZEMSR_DEMO_DATA
#define ZEMSR_DEMO_DATA "examples/data"
#endif

enum { DIM = PIPE_CEPSTRA, MAX_FRAMES = 20000, SEARCH_REPEATS = 200 };

static const char* const kFiles[] = {"one.wav", "two.wav", "three.wav", "four.wav", "five.wav", "six.wav"};

/* The 13 static cepstra of every frame of a file appended to out; returns the frame count. */
static int cepstra(PipeFrontEnd* fe, const char* dir, const char* name, float* out, int room) {
    char path[512];
    snprintf(path, sizeof path, "%s/%s", dir, name);
    short* samples = NULL;
    const int n = pipeReadWav(path, &samples);
    if (n < 0) return -1;
    const int frames = pipeFrameCount(n);
    float* feats = malloc(sizeof(float) * (size_t)frames * PIPE_FEATURES);
    int kept = -1;
    if (feats && frames <= room && pipeFeatures(fe, samples, n, feats) == 0) {
        for (int t = 0; t < frames; ++t) memcpy(out + (size_t)t * DIM, feats + (size_t)t * PIPE_FEATURES, sizeof(float) * DIM);
        kept = frames;
    }
    free(feats);
    free(samples);
    return kept;
}

static float squared(const float* a, const float* b, int width) {
    float s = 0.0f;
    for (int j = 0; j < width; ++j) s += (a[j] - b[j]) * (a[j] - b[j]);
    return s;
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : ZEMSR_DEMO_DATA;
    PipeFrontEnd fe;
    if (pipeFrontEndInit(&fe) != 0) return 1;
    float* train = malloc(sizeof(float) * MAX_FRAMES * DIM);
    float* test = malloc(sizeof(float) * MAX_FRAMES * DIM);
    if (!train || !test) return 1;
    int trainFrames = 0;
    for (int f = 0; f < 5; ++f) {
        const int got = cepstra(&fe, dir, kFiles[f], train + (size_t)trainFrames * DIM, MAX_FRAMES - trainFrames);
        if (got < 0) return fprintf(stderr, "cannot read %s/%s\n", dir, kFiles[f]), 1;
        trainFrames += got;
    }
    const int testFrames = cepstra(&fe, dir, kFiles[5], test, MAX_FRAMES);
    if (testFrames < 0) return fprintf(stderr, "cannot read %s/%s\n", dir, kFiles[5]), 1;
    pipeFrontEndFree(&fe);
    printf("Training frames: %d (one.wav .. five.wav); quantised: %d frames of %s; %d cepstra a frame.\n\n",
           trainFrames, testFrames, kFiles[5], DIM);

    Zem32s* treeIndex = malloc(sizeof(Zem32s) * (size_t)testFrames);
    Zem32s* listIndex = malloc(sizeof(Zem32s) * (size_t)testFrames);
    Zem32f* treeDist = malloc(sizeof(Zem32f) * (size_t)testFrames);
    Zem32f* listDist = malloc(sizeof(Zem32f) * (size_t)testFrames);
    if (!treeIndex || !listIndex || !treeDist || !listDist) return 1;

    printf("codewords  trained  train ms   tree: distortion   exact   k vec/s   list: distortion   k vec/s\n");
    for (int size = 16; size <= 256; size *= 4) {
        ZemsCdbkState_32f* tree = NULL;
        double t0 = pipeSeconds();
        ZemStatus st = zemsCdbkInitAlloc_L2_32f(&tree, train, DIM, DIM, trainFrames, size, ZEM_CDBK_SPLIT_WIDEST);
        const double trainMs = (pipeSeconds() - t0) * 1e3;
        if (st < 0) return fprintf(stderr, "training failed: %d\n", (int)st), 1;
        Zem32s words = 0;
        zemsGetCdbkSize_32f(tree, &words);
        /* The same codewords as an exhaustive list. */
        float* rows = malloc(sizeof(float) * (size_t)words * DIM);
        ZemsCdbkState_32f* list = NULL;
        if (!rows) return 1;
        zemsGetCodebook_32f(tree, rows, DIM);
        if (zemsCdbkInitAlloc_L2_32f(&list, rows, DIM, DIM, words, words, ZEM_CDBK_LIST) < 0) return 1;

        t0 = pipeSeconds();
        for (int r = 0; r < SEARCH_REPEATS; ++r) zemsVQDist_32f(test, DIM, treeIndex, treeDist, testFrames, tree);
        const double treeRate = (double)testFrames * SEARCH_REPEATS / (pipeSeconds() - t0);
        t0 = pipeSeconds();
        for (int r = 0; r < SEARCH_REPEATS; ++r) zemsVQDist_32f(test, DIM, listIndex, listDist, testFrames, list);
        const double listRate = (double)testFrames * SEARCH_REPEATS / (pipeSeconds() - t0);

        double treeErr = 0, listErr = 0;
        int exact = 0;
        for (int t = 0; t < testFrames; ++t) {
            treeErr += (double)treeDist[t] * treeDist[t];
            listErr += (double)listDist[t] * listDist[t];
            exact += squared(test + (size_t)t * DIM, rows + (size_t)treeIndex[t] * DIM, DIM) ==
                     squared(test + (size_t)t * DIM, rows + (size_t)listIndex[t] * DIM, DIM);
        }
        printf("%9d  %7d  %8.1f   %16.2f  %5.1f %%  %8.0f   %16.2f  %8.0f\n", size, (int)words, trainMs,
               treeErr / testFrames, 100.0 * exact / testFrames, treeRate / 1e3, listErr / testFrames, listRate / 1e3);
        if (size == 64) {
            printf("           first 40 frames' codewords (tree):");
            for (int t = 0; t < 40 && t < testFrames; ++t) printf(" %d", (int)treeIndex[t]);
            printf("\n");
        }
        zemsCdbkFree_32f(list);
        zemsCdbkFree_32f(tree);
        free(rows);
    }

    /* Split quantiser: c1..c4, c5..c8, c9..c12 and c0, each with its own tree codebook. */
    enum { PARTS = 4 };
    const int start[PARTS] = {0, 4, 8, 12}, width[PARTS] = {4, 4, 4, 1}, words[PARTS] = {64, 64, 32, 16};
    ZemsCdbkState_32f* books[PARTS] = {0};
    int bits = 0;
    for (int k = 0; k < PARTS; ++k) {
        if (zemsCdbkInitAlloc_L2_32f(&books[k], train + start[k], width[k], DIM, trainFrames, words[k],
                                     ZEM_CDBK_SPLIT_WIDEST) < 0)
            return 1;
        Zem32s got = 0;
        zemsGetCdbkSize_32f(books[k], &got);
        int b = 0;
        while ((1 << b) < got) ++b;
        bits += b;
    }
    const int streamBytes = (bits * testFrames + 7) / 8;
    unsigned char* stream = calloc((size_t)streamBytes + 1, 1);
    float* rebuilt = malloc(sizeof(float) * (size_t)testFrames * DIM);
    if (!stream || !rebuilt) return 1;
    double t0 = pipeSeconds();
    ZemStatus st = zemsSplitVQ_32f1u(test, DIM, stream, bits, testFrames, books, PARTS);
    const double splitMs = (pipeSeconds() - t0) * 1e3;
    if (st < 0 || zemsFormVectorVQ_1u32f(stream, bits, rebuilt, DIM, testFrames, books, PARTS) < 0)
        return fprintf(stderr, "split quantiser failed\n"), 1;
    double err = 0;
    for (int t = 0; t < testFrames; ++t) err += squared(test + (size_t)t * DIM, rebuilt + (size_t)t * DIM, DIM);
    printf("\nSplit quantiser, codebooks of %d, %d, %d and %d codewords over c1-c4, c5-c8, c9-c12, c0:\n", words[0],
           words[1], words[2], words[3]);
    printf("  %d bits a frame, %d bytes for %d frames (the float cepstra take %d bytes: %.0fx smaller)\n", bits,
           streamBytes, testFrames, testFrames * DIM * 4, (double)testFrames * DIM * 4 / streamBytes);
    printf("  distortion after rebuilding: %.2f a frame; quantised in %.2f ms\n", err / testFrames, splitMs);
    for (int k = 0; k < PARTS; ++k) zemsCdbkFree_32f(books[k]);
    free(stream);
    free(rebuilt);
    free(treeIndex);
    free(listIndex);
    free(treeDist);
    free(listDist);
    free(train);
    free(test);
    return 0;
}
