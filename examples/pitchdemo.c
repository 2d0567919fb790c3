/* Tracks F0, voicing and the first two formants of the bundled utterances and prints, per
 * file, the median F0 and formants of the voiced frames and a contour every 50 ms:
 * F0/F1/F2 in Hz, or "." for an unvoiced stretch.  Run: pitchdemo [DIR]. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"
#include "pitchtrack.h"

static int byValue(const void* a, const void* b) {
    const float x = *(const float*)a, y = *(const float*)b;
    return (x > y) - (x < y);
}

static float median(float* v, int n) {
    if (n == 0) return 0;
    qsort(v, (size_t)n, sizeof *v, byValue);
    return v[n / 2];
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : ZEMSR_DEMO_DATA;
    static const char* const names[] = {"one.wav", "two.wav", "three.wav", "four.wav", "five.wav", "six.wav"};
    for (size_t f = 0; f < sizeof names / sizeof names[0]; ++f) {
        char path[1024];
        snprintf(path, sizeof path, "%s/%s", dir, names[f]);
        short* s = NULL;
        const int n = pipeReadWav(path, &s);
        if (n < TRACK_FRAME) {
            fprintf(stderr, "cannot read %s\n", path);
            free(s);
            return 1;
        }
        const int frames = 1 + (n - TRACK_FRAME) / TRACK_HOP;
        float* f0 = malloc(sizeof(float) * 3 * (size_t)frames);
        float *f1 = f0 + frames, *f2 = f1 + frames;
        int voiced = 0;
        printf("%s (%.2f s)\n ", names[f], (double)n / TRACK_RATE);
        for (int t = 0; t < frames; ++t) {
            TrackFrame tf;
            if (trackFrame(s + (size_t)t * TRACK_HOP, &tf)) {
                fprintf(stderr, "analysis failed\n");
                return 1;
            }
            if (tf.f0 > 0) {
                f0[voiced] = tf.f0, f1[voiced] = tf.f1, f2[voiced] = tf.f2;
                ++voiced;
            }
            if (t % 5 == 0) {
                if (tf.f0 > 0) printf(" %.0f/%.0f/%.0f", (double)tf.f0, (double)tf.f1, (double)tf.f2);
                else printf(" .");
                if (t % 50 == 45) printf("\n ");
            }
        }
        const int v = voiced;
        printf("\n  voiced %d of %d frames; median F0 %.0f Hz, F1 %.0f Hz, F2 %.0f Hz\n", v, frames,
               (double)median(f0, v), (double)median(f1, v), (double)median(f2, v));
        free(f0);
        free(s);
    }
    return 0;
}
