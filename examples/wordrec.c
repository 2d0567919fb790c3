/* Isolated words (zero .. nine, yes, no) recognised by time warping against one template
 * per word from another voice.  Prints the accuracy of the library's warp and of a plain
 * symmetric warp in double precision on the same features, and the confusion matrix.
 *
 * Usage: wordrec [words directory]   (default: examples/data/words of the source tree) */
#include <stdio.h>

#include "words.h"

#ifndef ZEMSR_DEMO_DATA
#define ZEMSR_DEMO_DATA "examples/data"
#endif

#define TEMPLATE_VOICE "en+m3"
#define TEMPLATE_SPEED 130

static void printConfusion(const WordScore* s) {
    printf("%8s", "");
    for (int w = 0; w < WORD_COUNT; ++w) printf(" %5.5s", wordNames[w]);
    printf("\n");
    for (int w = 0; w < WORD_COUNT; ++w) {
        printf("%8s", wordNames[w]);
        for (int r = 0; r < WORD_COUNT; ++r) printf(" %5d", s->confusion[w][r]);
        printf("\n");
    }
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : ZEMSR_DEMO_DATA "/words";
    WordSet set;
    if (wordsLoad(dir, &set) != 0) return 1;
    WordScore lib, base;
    wordsRecognise(&set, TEMPLATE_VOICE, TEMPLATE_SPEED, WORDS_LIBRARY, &lib);
    wordsRecognise(&set, TEMPLATE_VOICE, TEMPLATE_SPEED, WORDS_BASELINE, &base);
    printf("%d files; templates: voice %s at speed %d; tests: the %d files of the other voices\n\n", set.count,
           TEMPLATE_VOICE, TEMPLATE_SPEED, lib.total);
    printf("zemsDTW_L2_32f_D2 (band, beam, per frame)  accuracy %5.1f%% (%d/%d)  %8.2f ms\n",
           100.0 * lib.correct / lib.total, lib.correct, lib.total, 1e3 * lib.seconds);
    printf("symmetric warp, float64, full matrix        accuracy %5.1f%% (%d/%d)  %8.2f ms\n\n",
           100.0 * base.correct / base.total, base.correct, base.total, 1e3 * base.seconds);
    printf("Confusion of zemsDTW_L2_32f_D2 (rows spoken, columns recognised):\n");
    printConfusion(&lib);
    wordsFree(&set);
    return 0;
}
