/* Prints the library's version record. */
#include <stdio.h>

#include "zemsr.h"

int main(void) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    printf("%s %d.%d (build %d.%d, %s, target %s, built %s)\n", v->name, v->major, v->minor, v->majorBuild,
           v->build, v->version, v->targetCpu, v->buildDate);
    return 0;
}
