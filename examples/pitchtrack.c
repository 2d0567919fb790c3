#include "pitchtrack.h"

#include <math.h>
#include <string.h>

#include "zemsr.h"

#define LOW_RATE 8000
#define LOW_FRAME (TRACK_FRAME / 2)
#define MIN_PERIOD 20  /* 400 Hz */
#define MAX_PERIOD 160 /* 50 Hz */
#define LP_ORDER 18
#define SPECTRUM_ORDER 8 /* 256 bins over 0 .. 8 kHz */
#define VOICED 0.45f

static const double kPi = 3.14159265358979323846;

static int pitch(const short* samples, TrackFrame* out) {
    /* Down to 8 kHz by averaging pairs (a plain low-pass that is enough for F0). */
    float low[LOW_FRAME];
    short low16[LOW_FRAME];
    for (int i = 0; i < LOW_FRAME; ++i) {
        low[i] = 0.5f * ((float)samples[2 * i] + (float)samples[2 * i + 1]);
        low16[i] = (short)lrintf(low[i]);
    }
    float periodicity = 0;
    int period = 0;
    if (zemsPeriodicityLSPE_32f(low, LOW_FRAME, &periodicity, &period, MAX_PERIOD, MIN_PERIOD) != zemStatusOk)
        return -1;
    out->periodicity = periodicity;
    out->f0 = 0;
    if (period == 0 || periodicity < VOICED) return 0;
    /* A multiple of the true period fits as well: take the shortest whole fraction of
     * it at which the signal correlates with itself almost as strongly. */
    const int len = LOW_FRAME - MAX_PERIOD - 1;
    float full = 0;
    zemsCrossCorrCoeff_16s32f(low16, low16 + period, len, &full);
    for (int d = period / MIN_PERIOD; d >= 2; --d) {
        const int lag = (period + d / 2) / d;
        float c = 0;
        zemsCrossCorrCoeff_16s32f(low16, low16 + lag, len, &c);
        if (c >= 0.9f * full) {
            period = lag;
            break;
        }
    }
    /* The fractional part: the best match between lags period - 1 .. period + 1. */
    float where = (float)period, best = -1;
    for (int lag = period - 1; lag <= period; ++lag) {
        float beta = 0, r = -1;
        if (lag >= 1 && zemsCrossCorrCoeffInterpolation_16s32f(low16, low16 + lag, len, &beta, &r) == zemStatusOk &&
            r > best) {
            best = r;
            where = (float)lag + beta;
        }
    }
    out->f0 = (float)LOW_RATE / where;
    return 0;
}

static int formants(const short* samples, TrackFrame* out) {
    /* Pre-emphasis and a Hamming window, then the autocorrelation method. */
    float x[TRACK_FRAME];
    for (int i = 0; i < TRACK_FRAME; ++i) {
        const float prev = i > 0 ? (float)samples[i - 1] : 0.0f;
        const float w = (float)(0.54 - 0.46 * cos(2 * kPi * i / (TRACK_FRAME - 1)));
        x[i] = ((float)samples[i] - 0.97f * prev) * w;
    }
    /* (1, a[0], .., a[17]) so that the transform of (0, 1, a...) is e^-jw A(e^jw): the
     * spectrum export then gives the envelope 1/|A| in every bin. */
    float a[LP_ORDER + 1];
    a[0] = 1.0f;
    out->f1 = out->f2 = 0;
    if (zemsLinearPrediction_Auto_32f(x, TRACK_FRAME, a + 1, LP_ORDER) != zemStatusOk) return 0;
    float env[1 << SPECTRUM_ORDER];
    if (zemsLPToSpectrum_32f(a, LP_ORDER + 1, env, SPECTRUM_ORDER, 0.0f) < 0) return -1;
    const int bins = 1 << SPECTRUM_ORDER;
    const float hz = (float)TRACK_RATE / (2.0f * (float)bins);
    int found = 0;
    for (int k = 1; k + 1 < bins && found < 2; ++k) {
        if (k * hz < 150.0f || !(env[k] > env[k - 1] && env[k] >= env[k + 1])) continue;
        /* The parabola through the peak and its neighbours places it between bins. */
        const float l = logf(env[k - 1]), c = logf(env[k]), r = logf(env[k + 1]);
        const float d = l - 2 * c + r;
        const float shift = d < 0 ? 0.5f * (l - r) / d : 0.0f;
        const float f = ((float)k + shift) * hz;
        if (found == 0) out->f1 = f;
        else out->f2 = f;
        ++found;
    }
    return 0;
}

int trackFrame(const short* samples, TrackFrame* out) {
    memset(out, 0, sizeof *out);
    if (pitch(samples, out)) return -1;
    return formants(samples, out);
}
