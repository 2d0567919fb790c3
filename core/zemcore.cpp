// The companion library: allocation and thread count, with switches for tests.
#include "zemcore.h"

#include <atomic>
#include <cstdlib>
#include <unistd.h>

namespace {

// Blocks carry a 64-byte header so that zemFree can find the start again; the library
// aligns its own sub-blocks and relies on nothing here beyond a usable pointer.
constexpr int64_t kHeader = 64;

std::atomic<int64_t> attempts{0};
std::atomic<int64_t> live{0};
std::atomic<int64_t> failAt{0};  // absolute attempt number that fails, 0 when disarmed
std::atomic<int> forcedThreads{0};
std::atomic<bool> threadsForced{false};

}  // namespace

extern "C" {

void* zemMalloc(int64_t length) {
    const int64_t attempt = attempts.fetch_add(1) + 1;
    if (length < 1) return nullptr;
    int64_t expected = attempt;
    if (failAt.load() == attempt && failAt.compare_exchange_strong(expected, 0)) return nullptr;
    if (length > INT64_MAX - 2 * kHeader) return nullptr;
    const int64_t total = (length + kHeader + kHeader - 1) / kHeader * kHeader;
    void* block = std::aligned_alloc(kHeader, static_cast<size_t>(total));
    if (!block) return nullptr;
    live.fetch_add(1);
    return static_cast<char*>(block) + kHeader;
}

void zemFree(void* ptr) {
    if (!ptr) return;
    live.fetch_sub(1);
    std::free(static_cast<char*>(ptr) - kHeader);
}

int ownGetNumThreads(void) {
    if (threadsForced.load()) return forcedThreads.load();
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online < 1 ? 1 : static_cast<int>(online);
}

void zemcoreTestFailAllocation(int64_t k) { failAt.store(k >= 1 ? attempts.load() + k : 0); }

int64_t zemcoreTestAllocationCount(void) { return attempts.load(); }

int64_t zemcoreTestLiveAllocations(void) { return live.load(); }

void zemcoreTestSetNumThreads(int n) {
    forcedThreads.store(n);
    threadsForced.store(true);
}

void zemcoreTestResetNumThreads(void) { threadsForced.store(false); }

}  // extern "C"
