#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "logdomain_reference.h"
#include "test_support.h"
#include "zemsr.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

// Differences that cover the three segments, both sides of every limit and threshold,
// and the drop region.
std::vector<float> interestingDifferences32() {
    std::vector<float> d = {0.0f, -1e-7f, -1.0f, -2.549999952316284f, -6.800000190734863f, -15.319587707519531f,
                            -15.5f, -30.0f, -1e6f};
    for (float edge : {-2.549999952316284f, -6.800000190734863f, -15.319587707519531f}) {
        d.push_back(std::nextafter(edge, 0.0f));
        d.push_back(std::nextafter(edge, -100.0f));
    }
    zemtest::Random rnd(101);
    for (float x : rnd.uniform<float>(400, -17, 0)) d.push_back(x);
    return d;
}

// Pairs (a, b) with b - a taking each difference, in both orders, around several bases,
// including bases far below the floor.
void makePairs32(std::vector<float>& a, std::vector<float>& b) {
    for (float base : {0.0f, -3.25f, 12.5f, -4499999.0f, -5000000.0f, -9e6f})
        for (float d : interestingDifferences32()) {
            a.push_back(base), b.push_back(base + d);
            a.push_back(base + d), b.push_back(base);
        }
}

}  // namespace

TEST(LogAdd32f, GroupBodyMatchesTheReferenceAtEveryLengthAndOffset) {
    std::vector<float> a, b;
    makePairs32(a, b);
    const int total = static_cast<int>(a.size());
    for (int len : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, total}) {
        for (size_t off : {size_t{0}, size_t{4}, size_t{12}}) {
            for (int start = 0; start + len <= total; start += std::max(len, 97)) {
                Buffer<float> src(len, off), sd(len, 16 - off);
                for (int i = 0; i < len; ++i) src[i] = a[start + i], sd[i] = b[start + i];
                ASSERT_EQ(zemsLogAdd_32f(src.data(), sd.data(), len), zemStatusOk);
                for (int i = 0; i < len; ++i)
                    ASSERT_TRUE(sameBits(sd[i], logref::add32(a[start + i], b[start + i], false)))
                        << a[start + i] << " " << b[start + i];
            }
        }
    }
}

TEST(LogAdd32f, StatedValuesAtTheEdges) {
    auto L = [](float x, float y) {
        zemsLogAdd_32f(&x, &y, 1);
        return y;
    };
    EXPECT_EQ(L(-3.0f, -3.0f), -3.0f + 0.6931471824645996f);
    EXPECT_EQ(L(-4500001.0f, -9000000.0f), -4500000.0f);                 // floor on the drop branch
    EXPECT_LT(L(-4500001.0f, -4500002.0f), -4500000.0f);                 // no floor when both terms count
    EXPECT_GT(L(0.0f, -15.319587707519531f), 0.0f);                      // at the threshold a group keeps the term
    EXPECT_EQ(L(0.0f, -6.800000190734863f), 0.0011131507344543934f);     // the group body takes segment 3
    EXPECT_EQ(L(0.0f, std::nextafter(-15.319587707519531f, -20.0f)), 0.0f);
    // The same element with src and srcDst the same array.
    float v[3] = {1.0f, 2.0f, 3.0f};
    zemsLogAdd_32f(v, v, 3);
    EXPECT_EQ(v[2], 3.0f + 0.6931471824645996f);
}

TEST(LogAdd32f, TablesApproximateTheTrueFunction) {
    // A check of the coefficient tables themselves against ln(1 + e^d).
    for (float d = -15.3f; d <= 0.0f; d += 0.0137f) {
        const float r = logref::add32(0.0f, d, false);
        EXPECT_NEAR(r, std::log1p(std::exp(static_cast<double>(d))), 3e-7) << d;
    }
    for (double d = -23.0; d <= 0.0; d += 0.0071) {
        EXPECT_NEAR(logref::add64(0.0, d, false, false), std::log1p(std::exp(d)), 5e-14) << d;
        EXPECT_NEAR(logref::add64(0.0, d, false, true), std::log1p(std::exp(d)), 5e-14) << d;
    }
}

TEST(LogAdd64f, MatchesTheReferenceAndHonoursTheHint) {
    std::vector<double> a, b;
    zemtest::Random rnd(103);
    std::vector<double> ds = {0.0, -3.5, -9.0, -23.0258509299405, std::nextafter(-23.0258509299405, 0.0),
                              std::nextafter(-23.0258509299405, -30.0), std::nextafter(-3.5, 0.0),
                              std::nextafter(-9.0, -10.0), -40.0};
    for (double x : rnd.uniform<double>(300, -25, 0)) ds.push_back(x);
    for (double base : {0.0, -7.5, -8999999999.0, -9500000000.0})
        for (double d : ds) a.push_back(base), b.push_back(base + d), a.push_back(base + d), b.push_back(base);
    const int n = static_cast<int>(a.size());
    for (int len : {1, 2, 3, 4, 5, n}) {
        for (size_t off : {size_t{0}, size_t{8}}) {
            Buffer<double> src(len, off), sd(len, off);
            for (int i = 0; i < len; ++i) src[i] = a[i], sd[i] = b[i];
            ASSERT_EQ(zemsLogAdd_64f(src.data(), sd.data(), len, 1), zemStatusOk);
            for (int i = 0; i < len; ++i) ASSERT_TRUE(sameBits(sd[i], logref::add64(a[i], b[i], false, false))) << i;
        }
    }
    auto L = [](double x, double y) {
        zemsLogAdd_64f(&x, &y, 1, 0);
        return y;
    };
    EXPECT_EQ(L(-2.0, -2.0), -2.0 + 0.6931471805599475);
    EXPECT_EQ(L(-9500000000.0, -9500000050.0), -10000000000.0);
    EXPECT_EQ(L(-8999999999.0, -9000000050.0), -8999999999.0);
    for (int hint : {3, -1, 1000}) {
        double x = 1.0, y = 1.0;
        EXPECT_EQ(zemsLogAdd_64f(&x, &y, 1, hint), zemStatusOk);
        EXPECT_EQ(y, 1.0);
    }
    double x = 1.0, y = 1.0;
    EXPECT_EQ(zemsLogAdd_64f(&x, &y, 1, 2), zemStatusOk);
    EXPECT_NE(y, 1.0);
}

