/* Prints the library's version record and adds a few log likelihoods in the log domain. */
#include <stdio.h>

#include "zemsr.h"

int main(void) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    printf("%s %d.%d (build %d.%d, %s, target %s, built %s)\n", v->name, v->major, v->minor, v->majorBuild,
           v->build, v->version, v->targetCpu, v->buildDate);

    /* Three component scores of one frame: the frame's log likelihood is their log sum. */
    const Zem32f scores[3] = {-12.5f, -10.0f, -11.25f};
    Zem32f total;
    ZemStatus status = zemsLogSum_32f(scores, &total, 3);
    printf("log sum of {%.2f, %.2f, %.2f} = %.6f (status %d)\n", scores[0], scores[1], scores[2], total, status);

    /* A pairwise running sum, as a trainer accumulates occupancies. */
    Zem32f running[1] = {scores[0]};
    for (int i = 1; i < 3; ++i) zemsLogAdd_32f(&scores[i], running, 1);
    printf("pairwise log add                = %.6f\n", running[0]);
    return status == zemStatusOk ? 0 : 1;
}
