/* Resampling in a real pipeline: each bundled 16 kHz utterance is converted to 8 kHz with
 * the fixed polyphase engine (16-bit, fast hint), and a telephone-band front end (a 20-filter
 * mel bank at 8 kHz over 25 ms frames with the transform) runs on the result.  Beside it the
 * same front end runs on the original, band-limited by the mel bank to the same 4 kHz, so
 * the two energy contours printed per file should agree by eye; the mean absolute
 * difference of their log energies is printed too, with the resampler's speed. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"
#include "zemsr.h"

#ifndef ZEMSR_DEMO_DATA
#define ZEMSR_DEMO_DATA "examples/data"
#endif

enum { LEN = 48, FILTERS = 20, FRAME_MS = 25, HOP_MS = 10 };

/* Log energy (sum of the mel bands up to 4 kHz) of each frame of a signal at rate. */
static int contour(const short* x, int n, int rate, float* out, int maxFrames) {
    const int frame = rate * FRAME_MS / 1000, hop = rate * HOP_MS / 1000;
    ZemsFBankState_32f* bank = NULL;
    Zem32s order = 0;
    if (zemsMelFBankInitAlloc_32f(&bank, &order, frame, (float)rate, 64.0f, 3800.0f, FILTERS, 1127.0f, 700.0f,
                                  zemFBankMelWeights | zemFBankFftMagnitude) != zemStatusOk)
        return -1;
    float buf[1024] = {0}, bands[FILTERS];
    int frames = 0;
    for (int start = 0; start + frame <= n && frames < maxFrames; start += hop, ++frames) {
        for (int i = 0; i < frame; ++i)
            buf[i] = (float)x[start + i] * (float)(0.54 - 0.46 * cos(2.0 * M_PI * i / (frame - 1)));
        zemsEvalFBank_32f(buf, bands, bank);
        double e = 0;
        for (int b = 0; b < FILTERS; ++b) e += bands[b];
        /* The 8 kHz frame has half the samples: energies are compared per sample. */
        out[frames] = (float)log10(e / frame + 1.0);
    }
    zemsFBankFree_32f(bank);
    return frames;
}

static char shade(float v, float lo, float hi) {
    static const char ramp[] = " .:-=+*#%@";
    int k = (int)((v - lo) / (hi - lo) * 9.0f + 0.5f);
    return ramp[k < 0 ? 0 : (k > 9 ? 9 : k)];
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : ZEMSR_DEMO_DATA;
    const char* files[] = {"one.wav", "two.wav", "three.wav", "four.wav", "five.wav", "six.wav"};
    ZemsResampleFixedState_16s* st = NULL;
    if (zemsResamplePolyphaseFixedInitAlloc_16s(&st, 16000, 8000, LEN, 0.9f, 9.0f, zemAlgHintFast) != zemStatusOk) return 1;
    printf("16 kHz -> 8 kHz with the fixed polyphase engine (%d taps a phase), then an 8 kHz mel front end.\n", LEN);
    printf("Per file: energy every 30 ms, original at 16 kHz (top) and resampled (bottom).\n\n");
    double seconds = 0, audio = 0;
    for (int f = 0; f < 6; ++f) {
        char path[512];
        snprintf(path, sizeof path, "%s/%s", dir, files[f]);
        short* x = NULL;
        const int n = pipeReadWav(path, &x);
        if (n <= 0) {
            fprintf(stderr, "cannot read %s\n", path);
            return 1;
        }
        /* The engine reads half a filter on each side of the block: zeros around it. */
        short* padded = calloc((size_t)n + 2 * LEN, sizeof(short));
        short* y = calloc((size_t)n / 2 + 16, sizeof(short));
        if (!padded || !y) return 1;
        memcpy(padded + LEN, x, (size_t)n * sizeof(short));
        double t = 0;
        Zem32s m = 0;
        const double t0 = pipeSeconds();
        if (zemsResamplePolyphaseFixed_16s(st, padded + LEN, n, y, 1.0f, &t, &m) != zemStatusOk) return 1;
        seconds += pipeSeconds() - t0;
        audio += n / 16000.0;

        float a[1000], b[1000];
        const int fa = contour(x, n, 16000, a, 1000), fb = contour(y, m, 8000, b, 1000);
        const int frames = fa < fb ? fa : fb;
        float lo = 1e9f, hi = -1e9f, diff = 0;
        for (int k = 0; k < frames; ++k) {
            lo = fminf(lo, fminf(a[k], b[k]));
            hi = fmaxf(hi, fmaxf(a[k], b[k]));
            diff += fabsf(a[k] - b[k]);
        }
        printf("%-10s %d -> %d samples, mean |difference| of log10 energies %.3f\n", files[f], n, m, diff / frames);
        printf("  16 kHz  ");
        for (int k = 0; k < frames; k += 3) putchar(shade(a[k], lo, hi));
        printf("\n   8 kHz  ");
        for (int k = 0; k < frames; k += 3) putchar(shade(b[k], lo, hi));
        printf("\n\n");
        free(x);
        free(padded);
        free(y);
    }
    printf("Resampler speed: %.0f times real time (%.1f s of audio in %.2f ms)\n", audio / seconds, audio,
           seconds * 1e3);
    zemsResamplePolyphaseFixedFree_16s(st);
    return 0;
}
