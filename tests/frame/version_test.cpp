#include <gtest/gtest.h>

#include <cstring>

#include "zemsr.h"

TEST(Version, RecordHoldsTheBuildConstants) {
    const ZemLibraryVersion* v = zemsrGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zemsrGetLibVersion());
    EXPECT_EQ(v->major, 6);
    EXPECT_EQ(v->minor, 1);
    EXPECT_EQ(v->majorBuild, 137);
    EXPECT_EQ(v->build, 782);
    EXPECT_EQ(std::memcmp(v->targetCpu, "e9\0\0", 4), 0);
    EXPECT_STREQ(v->name, "zemsre9-6.1.dll");
    EXPECT_STREQ(v->version, "6.1 build 137.20");
    EXPECT_STREQ(v->buildDate, "Jun 10 2009");
}

TEST(Version, SampleTypesAndStatusNumbers) {
    EXPECT_EQ(sizeof(Zem8u) + sizeof(Zem8s), 2u);
    EXPECT_EQ(sizeof(Zem16s) + sizeof(Zem16u), 4u);
    EXPECT_EQ(sizeof(Zem64s), 8u);
    EXPECT_EQ(sizeof(ZemStatus), 4u);
    EXPECT_LT(Zem16s(-1), 0);
    EXPECT_GT(Zem16u(-1), 0);
    // A sample of the table; the numbers are part of the interface.
    EXPECT_EQ(zemStatusBadStride, -37);
    EXPECT_EQ(zemStatusSizeTooLarge, -119);
    EXPECT_EQ(zemStatusInternal, -9999);
    EXPECT_EQ(zemStatusCdbkSizeWarning, 31);
    EXPECT_EQ(zemStatusZeroOccupancyWarning, 16);
    EXPECT_EQ(zemAlgHintAccurate, 2);
    EXPECT_EQ(zemFBankFftMagnitude, 4);
    EXPECT_EQ(ZEM_CDBK_SPLIT_FULLEST, 3);
}
