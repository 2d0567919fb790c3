/* The noise-robust chain on the bundled noisy utterances (robust.txt: the clean file and
 * the same at 20 and 5 dB): per file the voice activity timeline against the known speech
 * span (one character a frame of 10 ms: S speech found, n speech missed, s noise marked
 * speech, . noise, ? undecided), the share of each found, and the segmental SNR against the
 * clean file before and after the noise suppression.  Run: robustdemo [DIR] [--wav OUTDIR]
 * (with --wav the cleaned signals are written as OUTDIR/NAME-clean.wav). */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pipeline.h"
#include "robustchain.h"

static void writeWav(const char* path, const short* s, int n) {
    FILE* f = fopen(path, "wb");
    if (!f) return;
    const unsigned bytes = 2u * (unsigned)n;
    unsigned char h[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16, 0, 0, 0, 1, 0, 1, 0,
                           0x80, 0x3e, 0, 0, 0, 0x7d, 0, 0, 2, 0, 16, 0, 'd', 'a', 't', 'a', 0, 0, 0, 0};
    for (int i = 0; i < 4; ++i) h[4 + i] = (unsigned char)((bytes + 36) >> (8 * i)), h[40 + i] = (unsigned char)(bytes >> (8 * i));
    fwrite(h, 1, 44, f);
    for (int i = 0; i < n; ++i) {
        const unsigned char b[2] = {(unsigned char)(s[i] & 0xff), (unsigned char)((unsigned short)s[i] >> 8)};
        fwrite(b, 1, 2, f);
    }
    fclose(f);
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 && strcmp(argv[1], "--wav") ? argv[1] : ZEMSR_DEMO_DATA;
    const char* wavDir = NULL;
    for (int i = 1; i + 1 < argc; ++i)
        if (!strcmp(argv[i], "--wav")) wavDir = argv[i + 1];
    char path[1024], name[256], snr[32];
    snprintf(path, sizeof path, "%s/robust.txt", dir);
    FILE* list = fopen(path, "r");
    if (!list) {
        fprintf(stderr, "cannot read %s\n", path);
        return 1;
    }
    short* clean = NULL;
    int cleanLen = 0, lead = 0, speech = 0;
    while (fscanf(list, "%255s %d %d %31s", name, &lead, &speech, snr) == 4) {
        snprintf(path, sizeof path, "%s/%s", dir, name);
        short* x = NULL;
        const int n = pipeReadWav(path, &x);
        const int frames = rcFrames(n);
        if (frames < 1) {
            fprintf(stderr, "cannot read %s\n", path);
            return 1;
        }
        if (!strcmp(snr, "clean")) {
            free(clean);
            clean = x, cleanLen = n;
            continue;
        }
        int* d = malloc(sizeof(int) * (size_t)frames);
        short* y = malloc(sizeof(short) * (size_t)n);
        unsigned char* inSpeech = malloc((size_t)frames);
        if (!d || !y || !inSpeech || rcProcess(x, n, d, y)) {
            fprintf(stderr, "processing failed\n");
            return 1;
        }
        int found = 0, speechFrames = 0, quiet = 0, noiseFrames = 0;
        printf("%s (%s dB)\n ", name, snr);
        for (int f = 0; f < frames; ++f) {
            const double centre = (f * RC_HOP + RC_FRAME / 2) * 1000.0 / RC_RATE;
            inSpeech[f] = centre >= lead && centre < lead + speech;
            speechFrames += inSpeech[f], found += inSpeech[f] && d[f] == 1;
            noiseFrames += !inSpeech[f], quiet += !inSpeech[f] && d[f] == 2;
            putchar(d[f] == 1 ? (inSpeech[f] ? 'S' : 's') : d[f] == 2 ? (inSpeech[f] ? 'n' : '.') : '?');
            if (f % 100 == 99) printf("\n ");
        }
        printf("\n  speech frames found %d of %d, noise frames marked noise %d of %d\n", found, speechFrames, quiet,
               noiseFrames);
        if (clean && cleanLen == n)
            printf("  segmental SNR over the speech span: %.1f dB before, %.1f dB after\n",
                   rcSegmentalSnr(clean, x, n, inSpeech), rcSegmentalSnr(clean, y, n, inSpeech));
        if (wavDir) {
            char out[1024];
            snprintf(out, sizeof out, "%s/%.*s-clean.wav", wavDir, (int)(strlen(name) - 4), name);
            writeWav(out, y, n);
        }
        free(d), free(y), free(inSpeech), free(x);
    }
    fclose(list);
    free(clean);
    return 0;
}
