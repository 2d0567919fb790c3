/* Isolated-word recognition by time warping: each test word goes to the template whose
 * warping distance, per frame of the longer sequence, is least.  Features come from the
 * demo's front end (pipeline.h), with the utterance mean taken off the cepstra. */
#ifndef ZEMSR_EXAMPLE_WORDS_H
#define ZEMSR_EXAMPLE_WORDS_H

#include "pipeline.h"

#ifdef __cplusplus
extern "C" {
#endif

#define WORD_COUNT 12

extern const char* const wordNames[WORD_COUNT]; /* zero .. nine, yes, no */

typedef struct {
    char file[96];
    char voice[16];
    int speed;
    int word; /* index into wordNames */
    int frames;
    float* feats; /* frames x PIPE_FEATURES */
} WordItem;

typedef struct {
    WordItem* items;
    int count;
} WordSet;

/* Reads dir/words.txt and the files it lists, and computes their features. */
int wordsLoad(const char* dir, WordSet* set);
void wordsFree(WordSet* set);

/* Warping distances per frame of the longer sequence: the library's engine (band and beam
 * as set in words.c), and a plain symmetric warp in double precision over the full matrix
 * (diagonal steps weighted 2, divided by the sum of the lengths) as the baseline. */
enum { WORDS_LIBRARY, WORDS_BASELINE };
double wordsDistance(int method, const WordItem* test, const WordItem* tmpl);

typedef struct {
    int confusion[WORD_COUNT][WORD_COUNT]; /* [spoken][recognised] */
    int correct, total;
    double seconds; /* time spent in the distances */
} WordScore;

/* Templates: the items of one voice and speed.  Tests: every item of another voice. */
void wordsRecognise(const WordSet* set, const char* templateVoice, int templateSpeed, int method, WordScore* score);

#ifdef __cplusplus
}
#endif

#endif
