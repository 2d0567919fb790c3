// The private allocators over zemMalloc: a count below 1 gives null without calling
// it; otherwise the count is scaled by the element size in 64 bits.
#include "own.h"
#include "zemcore.h"

namespace {
template <class T>
T* allocate(int count) {
    if (count < 1) return nullptr;
    return static_cast<T*>(zemMalloc(static_cast<int64_t>(count) * static_cast<int64_t>(sizeof(T))));
}
}  // namespace

Zem8u* ownMalloc_8u(int count) { return allocate<Zem8u>(count); }
Zem16s* ownMalloc_16s(int count) { return allocate<Zem16s>(count); }
Zem32s* ownMalloc_32s(int count) { return allocate<Zem32s>(count); }
Zem32f* ownMalloc_32f(int count) { return allocate<Zem32f>(count); }
Zem64f* ownMalloc_64f(int count) { return allocate<Zem64f>(count); }
void ownFree(void* ptr) { zemFree(ptr); }
