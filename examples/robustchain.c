/* The noise-robust chain: see robustchain.h. */
#include "robustchain.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "zemsr.h"

#define BINS (RC_FFT / 2 + 1)
#define MEL_BANDS 25
#define VAD_SPECTRUM 64
/* A decision reflects the ring of the last seven frames; it is given to the frame in the
 * ring's middle, and the flushes after the last frame fill the frames still held. */
#define VAD_DELAY 3

#ifndef M_PI
#define M_PI 3.14159265358979323846
#endif

int rcFrames(int n) { return n < RC_FRAME ? 0 : 1 + (n - RC_FRAME) / RC_HOP; }

/* In-place radix-2 transform of RC_FFT complex values; sign -1 forward, +1 inverse
 * (unscaled). */
static void fft(double* re, double* im, int sign) {
    for (int i = 1, j = 0; i < RC_FFT; ++i) {
        int bit = RC_FFT >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j |= bit;
        if (i < j) {
            double t = re[i];
            re[i] = re[j], re[j] = t;
            t = im[i], im[i] = im[j], im[j] = t;
        }
    }
    for (int len = 2; len <= RC_FFT; len <<= 1) {
        const double a = sign * 2 * M_PI / len;
        for (int i = 0; i < RC_FFT; i += len)
            for (int k = 0; k < len / 2; ++k) {
                const double c = cos(a * k), s = sin(a * k);
                double* ur = re + i + k;
                double* ui = im + i + k;
                const double vr = ur[len / 2] * c - ui[len / 2] * s, vi = ur[len / 2] * s + ui[len / 2] * c;
                ur[len / 2] = *ur - vr, ui[len / 2] = *ui - vi;
                *ur += vr, *ui += vi;
            }
    }
}

static double melOf(double hz) { return 2595.0 * log10(1.0 + hz / 700.0); }

/* Triangular mel bands from 64 Hz to 8 kHz over the transform's bins. */
static void melBands(const float* power, float* bands) {
    const double lo = melOf(64.0), hi = melOf(RC_RATE / 2.0);
    double edge[MEL_BANDS + 2];
    for (int b = 0; b < MEL_BANDS + 2; ++b) {
        const double m = lo + (hi - lo) * b / (MEL_BANDS + 1);
        edge[b] = 700.0 * (pow(10.0, m / 2595.0) - 1.0) * RC_FFT / RC_RATE;
    }
    for (int b = 0; b < MEL_BANDS; ++b) {
        double sum = 0;
        for (int k = (int)edge[b]; k <= (int)edge[b + 2] + 1 && k < BINS; ++k) {
            double w = k < edge[b + 1] ? (k - edge[b]) / (edge[b + 1] - edge[b])
                                       : (edge[b + 2] - k) / (edge[b + 2] - edge[b + 1]);
            if (w > 0) sum += w * power[k];
        }
        bands[b] = (float)sum;
    }
}

static void putDecision(int* decisions, int frames, int call, int d) {
    const int at = call - VAD_DELAY;
    if (at >= 0 && at < frames) decisions[at] = d;
}

int rcProcess(const short* x, int n, int* decisions, short* enhanced) {
    const int frames = rcFrames(n);
    if (frames < 1) return -1;
    Zem32s size = 0;
    if (zemsGetSizeMCRA_32f(RC_FFT, &size) != zemStatusOk) return -1;
    void* mcra = malloc((size_t)size);
    unsigned char vad[64];
    double* acc = calloc((size_t)n, sizeof(double));
    if (!mcra || !acc) {
        free(mcra), free(acc);
        return -1;
    }
    zemsAltInitMCRA_32f(RC_RATE, RC_FFT, RC_HOP, (ZemsMCRAState_32f*)mcra);
    zemsVADInit_Aurora_32f((ZemsVADState_Aurora*)vad);

    float power[BINS], noise[BINS], xi[BINS], post[BINS], wiener[BINS], gain[BINS], prevClean[BINS];
    float bands[MEL_BANDS], spectrum[VAD_SPECTRUM];
    double re[RC_FFT], im[RC_FFT], window[RC_FRAME];
    for (int i = 0; i < RC_FRAME; ++i) window[i] = 0.5 - 0.5 * cos(2 * M_PI * i / RC_FRAME);
    for (int f = 0; f < frames; ++f) decisions[f] = zemVADUndecided;

    for (int f = 0; f < frames; ++f) {
        const short* s = x + (size_t)f * RC_HOP;
        for (int i = 0; i < RC_FFT; ++i) {
            re[i] = i < RC_FRAME ? window[i] * s[i] : 0.0;
            im[i] = 0.0;
        }
        fft(re, im, -1);
        for (int k = 0; k < BINS; ++k) power[k] = (float)(re[k] * re[k] + im[k] * im[k]) + 1.0f;
        zemsUpdateNoisePSDMCRA_32f_I(power, (ZemsMCRAState_32f*)mcra, noise);

        /* Decision-directed a priori ratio, the Wiener gain of it, and the amplitude gain. */
        for (int k = 0; k < BINS; ++k) {
            post[k] = power[k] / noise[k];
            const float fresh = post[k] > 1.0f ? post[k] - 1.0f : 0.0f;
            xi[k] = f == 0 ? fresh : 0.98f * prevClean[k] / noise[k] + 0.02f * fresh;
            if (xi[k] < 0.003f) xi[k] = 0.003f;
        }
        zemsFilterUpdateWiener_32f(xi, wiener, BINS);
        for (int k = 0; k < BINS; ++k)
            if (wiener[k] > 1.0f) wiener[k] = 1.0f;
        zemsFilterUpdateEMNS_32f(wiener, post, gain, BINS);
        for (int k = 0; k < BINS; ++k) {
            float g = gain[k] < 0.1f ? 0.1f : gain[k] > 1.0f ? 1.0f : gain[k];
            prevClean[k] = g * g * power[k];
            power[k] = prevClean[k];
        }

        /* Voice activity on the cleaned frame. */
        melBands(power, bands);
        for (int b = 0; b < MEL_BANDS; ++b) bands[b] = logf(bands[b] > 1.0f ? bands[b] : 1.0f);
        for (int i = 0; i < VAD_SPECTRUM; ++i) spectrum[i] = logf(power[2 * i] + power[2 * i + 1]);
        Zem32s d = zemVADUndecided;
        zemsVADDecision_Aurora_32f(bands, spectrum, 0, &d, (ZemsVADState_Aurora*)vad);
        putDecision(decisions, frames, f, d);

        if (enhanced) {
            for (int k = 0; k < BINS; ++k) {
                const double g = sqrt(prevClean[k] / ((re[k] * re[k] + im[k] * im[k]) + 1.0));
                re[k] *= g, im[k] *= g;
                if (k > 0 && k < RC_FFT / 2) re[RC_FFT - k] = re[k], im[RC_FFT - k] = -im[k];
            }
            fft(re, im, 1);
            /* Hann windows at half overlap sum to one. */
            for (int i = 0; i < RC_FRAME; ++i) acc[(size_t)f * RC_HOP + i] += re[i] / RC_FFT;
        }
    }
    for (int call = frames;; ++call) {
        Zem32s d = zemVADUndecided;
        zemsVADFlush_Aurora_32f(&d, (ZemsVADState_Aurora*)vad);
        if (d == zemVADUndecided) break;
        putDecision(decisions, frames, call, d);
    }
    if (enhanced)
        for (int i = 0; i < n; ++i) {
            const double v = floor(acc[i] + 0.5);
            enhanced[i] = (short)(v > 32767 ? 32767 : v < -32768 ? -32768 : v);
        }
    free(mcra);
    free(acc);
    return 0;
}

double rcSegmentalSnr(const short* x, const short* y, int n, const unsigned char* mask) {
    const int frames = rcFrames(n);
    double sum = 0;
    int count = 0;
    for (int f = 0; f < frames; ++f) {
        if (mask && !mask[f]) continue;
        double sig = 0, err = 0;
        for (int i = 0; i < RC_FRAME; ++i) {
            const double a = x[f * RC_HOP + i], e = a - y[f * RC_HOP + i];
            sig += a * a, err += e * e;
        }
        double snr = 10 * log10((sig + 1e-9) / (err + 1e-9));
        snr = snr < -10 ? -10 : snr > 35 ? 35 : snr;
        sum += snr;
        ++count;
    }
    return count ? sum / count : 0.0;
}
