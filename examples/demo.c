/* Prints the library's version record, then scores one feature vector against a small
 * Gaussian mixture, the inner step of a recogniser. */
#include <math.h>
#include <stdio.h>

#include "zemsr.h"

#define FEATURES 4
#define COMPONENTS 3

int main(void) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    printf("%s %d.%d (build %d.%d, %s, target %s, built %s)\n", v->name, v->major, v->minor, v->majorBuild,
           v->build, v->version, v->targetCpu, v->buildDate);

    /* Means and inverse variances of three components, one row each. */
    const Zem32f mean[COMPONENTS][FEATURES] = {{0.0f, 1.0f, -1.0f, 0.5f}, {1.0f, 0.0f, 0.0f, 0.0f}, {-2.0f, 2.0f, 1.0f, -1.0f}};
    const Zem32f invVar[COMPONENTS][FEATURES] = {{1.0f, 2.0f, 1.0f, 4.0f}, {0.5f, 0.5f, 0.5f, 0.5f}, {1.0f, 1.0f, 1.0f, 1.0f}};
    const Zem32f weight[COMPONENTS] = {0.5f, 0.3f, 0.2f};
    const Zem32f frame[FEATURES] = {0.2f, 0.8f, -0.7f, 0.4f};

    /* val = log weight + the normalising term -0.5 * (d log(2 pi) - log det(invVar)). */
    Zem32f val[COMPONENTS], scores[COMPONENTS];
    for (int c = 0; c < COMPONENTS; ++c) {
        double logDet = 0.0;
        for (int i = 0; i < FEATURES; ++i) logDet += log(invVar[c][i]);
        val[c] = (Zem32f)(log(weight[c]) - 0.5 * (FEATURES * log(2.0 * 3.14159265358979) - logDet));
        scores[c] = val[c];
    }

    Zem32f logLikelihood;
    ZemStatus status = zemsLogGaussMixture_32f_D2(frame, &mean[0][0], &invVar[0][0], COMPONENTS, FEATURES, FEATURES,
                                                  val, &logLikelihood);
    if (status == zemStatusOk)
        status = zemsLogGaussMultiMix_32f_D2(&mean[0][0], &invVar[0][0], FEATURES, frame, FEATURES, scores, COMPONENTS);
    if (status != zemStatusOk) {
        printf("scoring failed with status %d\n", status);
        return 1;
    }
    for (int c = 0; c < COMPONENTS; ++c) printf("component %d: log weight + log density = %.6f\n", c, scores[c]);
    printf("frame log likelihood under the mixture = %.6f\n", logLikelihood);
    return 0;
}
