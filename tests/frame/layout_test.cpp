#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame/align.h"
#include "frame/carve.h"
#include "own.h"
#include "test_support.h"
#include "zemcore.h"

TEST(Alignment, PredicatesPickTheAlignedBody) {
    alignas(64) float block[64];
    EXPECT_TRUE(zem::allAligned16(block, block + 4, block + 8));
    EXPECT_FALSE(zem::allAligned16(block, block + 1));
    EXPECT_TRUE(zem::strideKeepsRowsAligned<float>(12));
    EXPECT_FALSE(zem::strideKeepsRowsAligned<float>(13));
    EXPECT_TRUE(zem::strideKeepsRowsAligned<Zem16s>(16));
    EXPECT_FALSE(zem::strideKeepsRowsAligned<Zem16s>(4));
    EXPECT_TRUE(zem::strideKeepsRowsAligned<double>(2));
    EXPECT_FALSE(zem::strideKeepsRowsAligned<double>(2, 4));
    const float* rows[4] = {block, block + 8, block + 3, nullptr};
    EXPECT_TRUE(zem::rowsAligned16(rows, 2));
    EXPECT_FALSE(zem::rowsAligned16(rows, 3));
    // The scan stops at the first misaligned row and never reads past height rows.
    EXPECT_FALSE(zem::rowsAligned16(rows, 4));
}

TEST(Carving, SubBlocksAreAlignedWhateverTheBase) {
    alignas(64) unsigned char buffer[1024];
    for (int shift = 0; shift < 32; ++shift) {
        zem::CarveSize size;
        size.add<double>(3).add<Zem16s>(5, zem::kMatrixAlign).add<float>(7);
        zem::Carver carver(buffer + shift);
        auto* a = carver.take<double>(3);
        auto* b = carver.take<Zem16s>(5, zem::kMatrixAlign);
        auto* c = carver.take<float>(7);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % 32, 0u);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 16, 0u);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(c) % 32, 0u);
        EXPECT_GE(reinterpret_cast<char*>(a), reinterpret_cast<char*>(buffer + shift));
        EXPECT_GE(reinterpret_cast<char*>(b), reinterpret_cast<char*>(a + 3));
        EXPECT_LE(carver.position(), reinterpret_cast<char*>(buffer + shift) + size.bytes());
    }
}

TEST(Allocation, CountsBelowOneNeverReachTheAllocator) {
    const int64_t before = zemcoreTestAllocationCount();
    EXPECT_EQ(ownMalloc_8u(0), nullptr);
    EXPECT_EQ(ownMalloc_64f(-5), nullptr);
    EXPECT_EQ(zemcoreTestAllocationCount(), before);
}

TEST(Allocation, ElementSizesAndRelease) {
    const int64_t live = zemcoreTestLiveAllocations();
    Zem8u* a = ownMalloc_8u(3);
    Zem16s* b = ownMalloc_16s(3);
    Zem32s* c = ownMalloc_32s(3);
    Zem32f* d = ownMalloc_32f(3);
    Zem64f* e = ownMalloc_64f(1 << 20);
    ASSERT_TRUE(a && b && c && d && e);
    e[(1 << 20) - 1] = 1.0;  // the whole count times the element size is usable
    EXPECT_EQ(zemcoreTestLiveAllocations(), live + 5);
    for (void* p : {static_cast<void*>(a), static_cast<void*>(b), static_cast<void*>(c), static_cast<void*>(d),
                    static_cast<void*>(e)})
        ownFree(p);
    ownFree(nullptr);
    EXPECT_EQ(zemcoreTestLiveAllocations(), live);
}

TEST(Allocation, FailureSwitchHitsTheKthAllocation) {
    zemcoreTestFailAllocation(2);
    Zem32f* first = ownMalloc_32f(4);
    Zem32f* second = ownMalloc_32f(4);
    Zem32f* third = ownMalloc_32f(4);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    ownFree(first);
    ownFree(third);
    zemcoreTestFailAllocation(1);
    zemcoreTestFailAllocation(0);  // disarmed again
    Zem32f* fourth = ownMalloc_32f(4);
    EXPECT_NE(fourth, nullptr);
    ownFree(fourth);
}

TEST(Threads, SwitchFixesTheReportedCount) {
    {
        zemtest::ScopedThreads one(-3);
        EXPECT_EQ(ownGetNumThreads(), -3);
    }
    EXPECT_GE(ownGetNumThreads(), 1);
}
