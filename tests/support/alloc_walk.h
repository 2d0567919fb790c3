// The allocation-failure walk: the call is made once to count the allocations it asks for,
// then once more for each of them with that one failing.  Every failing call must return
// zemStatusNoMemory, leave the output regions as they were and leave no block behind.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "check_order.h"
#include "zemcore.h"

namespace zemtest {

// release (if given) undoes what the counting call built, e.g. frees a record it made.
// Returns the number of allocations the counting call asked for (0 makes the walk empty:
// callers that need one assert it).
inline int64_t expectAllocationWalk(const char* name, const std::function<ZemStatus()>& call,
                                    const std::vector<Region>& outputs = {},
                                    const std::function<void()>& release = {}) {
    SCOPED_TRACE(name);
    const int64_t live = zemcoreTestLiveAllocations(), before = zemcoreTestAllocationCount();
    call();
    const int64_t count = zemcoreTestAllocationCount() - before;
    if (release) release();
    EXPECT_EQ(zemcoreTestLiveAllocations(), live) << "the call without failures leaked";
    for (int64_t k = 1; k <= count; ++k) {
        detail::arm(outputs);
        zemcoreTestFailAllocation(k);
        const ZemStatus s = call();
        zemcoreTestFailAllocation(0);
        EXPECT_EQ(s, zemStatusNoMemory) << "allocation " << k;
        EXPECT_TRUE(detail::intact(outputs)) << "allocation " << k << ": an output changed";
        EXPECT_EQ(zemcoreTestLiveAllocations(), live) << "allocation " << k << ": a block was left behind";
    }
    return count;
}

}  // namespace zemtest
