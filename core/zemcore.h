/* zemcore: the platform services that libzemsr draws on.
 *
 * zemMalloc/zemFree are the only allocators the library uses; ownGetNumThreads
 * caps the threads of its parallel regions.  The zemcoreTest* switches exist for
 * test programs: they make allocations fail on demand and fix the thread count. */
#ifndef ZEMCORE_H
#define ZEMCORE_H

#include <stdint.h>

#if defined(ZEMCORE_BUILDING)
#define ZEMCORE_API __attribute__((visibility("default")))
#else
#define ZEMCORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Allocates length bytes; null for a length below 1 or on failure. */
ZEMCORE_API void* zemMalloc(int64_t length);
/* Releases what zemMalloc returned; null is ignored. */
ZEMCORE_API void zemFree(void* ptr);
/* The number of threads a parallel region of the library may use. */
ZEMCORE_API int ownGetNumThreads(void);

/* Test switches. */
/* Makes the k-th allocation from now (k >= 1) fail; k <= 0 disarms. */
ZEMCORE_API void zemcoreTestFailAllocation(int64_t k);
/* Allocations attempted since the process started (failed ones included). */
ZEMCORE_API int64_t zemcoreTestAllocationCount(void);
/* Blocks handed out by zemMalloc and not yet given back to zemFree. */
ZEMCORE_API int64_t zemcoreTestLiveAllocations(void);
/* Fixes the value that ownGetNumThreads reports, any value included. */
ZEMCORE_API void zemcoreTestSetNumThreads(int n);
/* Goes back to reporting the processors online. */
ZEMCORE_API void zemcoreTestResetNumThreads(void);

#ifdef __cplusplus
}
#endif

#endif
