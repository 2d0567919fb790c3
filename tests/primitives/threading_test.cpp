#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <omp.h>
#include <set>
#include <vector>

#include "primitives/threading.h"
#include "test_support.h"

namespace {
struct Slice {
    int start, count, thread;
    bool inParallel;
};

std::vector<Slice> runAndRecord(int len, int* reports) {
    std::vector<Slice> slices;
    std::mutex m;
    *reports = zem::runThreaded(len, [&](int start, int count) {
        std::lock_guard<std::mutex> lock(m);
        slices.push_back({start, count, omp_get_thread_num(), omp_in_parallel() != 0});
        return start == 0;  // the first slice has something to report
    });
    return slices;
}
}  // namespace

TEST(Threading, OneThreadOrLessOpensNoRegion) {
    for (int n : {1, 0, -4}) {
        zemtest::ScopedThreads t(n);
        int reports = 0;
        const auto slices = runAndRecord(10000, &reports);
        ASSERT_EQ(slices.size(), 1u);
        EXPECT_FALSE(slices[0].inParallel);
        EXPECT_EQ(slices[0].count, 10000);
        EXPECT_EQ(reports, 1);
    }
}

TEST(Threading, AtMostTwoThreadsAndTheLastTakesTheRest) {
    for (int n : {2, 3, 64}) {
        zemtest::ScopedThreads t(n);
        int reports = 0;
        auto slices = runAndRecord(10001, &reports);
        ASSERT_EQ(slices.size(), 2u) << n;
        std::sort(slices.begin(), slices.end(), [](auto& a, auto& b) { return a.start < b.start; });
        EXPECT_EQ(slices[0].start, 0);
        EXPECT_EQ(slices[0].count, 5000);
        EXPECT_EQ(slices[1].start, 5000);
        EXPECT_EQ(slices[1].count, 5001);
        EXPECT_TRUE(slices[0].inParallel);
        EXPECT_NE(slices[0].thread, slices[1].thread);
        EXPECT_EQ(reports, 1);
    }
    // Fewer elements than threads: serial.
    zemtest::ScopedThreads t(3);
    int reports = 0;
    EXPECT_EQ(runAndRecord(2, &reports).size(), 1u);
}

TEST(Threading, InsideAnotherRegionTheTeamIsSerialised) {
    zemtest::ScopedThreads t(2);
    std::atomic<int> slicesSeen{0};
#pragma omp parallel num_threads(2)
    {
        zem::runThreaded(1000, [&](int, int count) {
            slicesSeen += count == 1000 ? 1 : 0;
            return false;
        });
    }
    EXPECT_EQ(slicesSeen.load(), 2);  // each outer thread ran one whole slice
}

TEST(Threading, ThresholdChoosesTheSerialBodyBelowIt) {
    zemtest::ScopedThreads t(2);
    int calls = 0;
    zem::runMaybeThreaded(511, 512, [&](int, int) { return ++calls, false; });
    EXPECT_EQ(calls, 1);
}
