/* The C side of the package's timing script: the same work as the Python calls, timed
 * in C so that the script can report both from one run. */
#include <stddef.h>

#include "pipeline.h"
#include "zemsr.h"

/* Nanoseconds per zemsLogGaussSingle_32f call over 39 features (best of `rounds`). */
double pybenchGaussNs(int calls, int rounds) {
    float x[39], mean[39], var[39], result = 0.0f;
    for (int i = 0; i < 39; ++i) {
        x[i] = 0.1f * (float)i;
        mean[i] = 0.05f * (float)i;
        var[i] = 1.0f + 0.01f * (float)i;
    }
    double best = 1e30;
    volatile float sink = 0.0f;
    for (int r = 0; r < rounds; ++r) {
        const double t0 = pipeSeconds();
        for (int i = 0; i < calls; ++i) {
            zemsLogGaussSingle_32f(x, mean, var, 39, &result, -10.0f);
            sink += result;
        }
        const double t = (pipeSeconds() - t0) / calls;
        if (t < best) best = t;
    }
    (void)sink;
    return best * 1e9;
}

/* Seconds for the demo's features of n samples into feats (best of `rounds`), or -1. */
double pybenchFeaturesSeconds(const short* samples, int n, float* feats, int rounds) {
    PipeFrontEnd fe;
    if (pipeFrontEndInit(&fe) != 0) return -1.0;
    double best = 1e30;
    for (int r = 0; r < rounds; ++r) {
        const double t0 = pipeSeconds();
        if (pipeFeatures(&fe, samples, n, feats) != 0) {
            best = -1.0;
            break;
        }
        const double t = pipeSeconds() - t0;
        if (t < best) best = t;
    }
    pipeFrontEndFree(&fe);
    return best;
}
