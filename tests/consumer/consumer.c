/* Compiles as plain C99 against the installed header and links the installed library. */
#include <stdio.h>

#include "zemcore.h"
#include "zemsr.h"

int main(void) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    void* block = zemMalloc(64);
    if (!v || v->major != 6 || !block) return 1;
    zemFree(block);
    printf("consumer linked %s\n", v->version);
    return 0;
}
