#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_support.h"
#include "zemsr.h"

using zemtest::Buffer;
using zemtest::sameBits;

namespace {

template <class T>
long double exactDistance(const T* x, const T* m, const T* w, int n) {
    long double s = 0;
    for (int i = 0; i < n; ++i) s += ((long double)x[i] - m[i]) * ((long double)x[i] - m[i]) * w[i];
    return s;
}

// A float sum of n positive terms in 8 lanes and a 3-level fold: n/8 + 3 roundings deep.
template <class T>
void expectNearExact(T got, long double want, int n) {
    const double eps = sizeof(T) == 4 ? 0x1p-24 : 0x1p-53;
    EXPECT_LE(std::fabs(got - want), std::fabs(want) * eps * (n / 8 + 6)) << n;
}

// Overloads that let one test body serve both float types.
ZemStatus callSingle(const Zem32f* x, const Zem32f* m, const Zem32f* w, int n, Zem32f* r) { return zemsMahDistSingle_32f(x, m, w, n, r); }
ZemStatus callSingle(const Zem64f* x, const Zem64f* m, const Zem64f* w, int n, Zem64f* r) { return zemsMahDistSingle_64f(x, m, w, n, r); }
ZemStatus callFrames(const Zem32f* s, int st, const Zem32f* m, const Zem32f* w, int n, Zem32f* d, int h) { return zemsMahDist_32f_D2(s, st, m, w, n, d, h); }
ZemStatus callFrames(const Zem64f* s, int st, const Zem64f* m, const Zem64f* w, int n, Zem64f* d, int h) { return zemsMahDist_64f_D2(s, st, m, w, n, d, h); }
ZemStatus callFrameRows(const Zem32f* const* s, const Zem32f* m, const Zem32f* w, int n, Zem32f* d, int h) { return zemsMahDist_32f_D2L(s, m, w, n, d, h); }
ZemStatus callFrameRows(const Zem64f* const* s, const Zem64f* m, const Zem64f* w, int n, Zem64f* d, int h) { return zemsMahDist_64f_D2L(s, m, w, n, d, h); }
ZemStatus callMixture(const Zem32f* m, const Zem32f* w, int st, const Zem32f* s, int n, Zem32f* d, int g) { return zemsMahDistMultiMix_32f_D2(m, w, st, s, n, d, g); }
ZemStatus callMixture(const Zem64f* m, const Zem64f* w, int st, const Zem64f* s, int n, Zem64f* d, int g) { return zemsMahDistMultiMix_64f_D2(m, w, st, s, n, d, g); }
ZemStatus callMixtureRows(const Zem32f* const* m, const Zem32f* const* w, const Zem32f* s, int n, Zem32f* d, int g) { return zemsMahDistMultiMix_32f_D2L(m, w, s, n, d, g); }
ZemStatus callMixtureRows(const Zem64f* const* m, const Zem64f* const* w, const Zem64f* s, int n, Zem64f* d, int g) { return zemsMahDistMultiMix_64f_D2L(m, w, s, n, d, g); }


template <class T>
void blockFormsAgreeWithSingle() {
    zemtest::Random rnd(301);
    for (int width : {1, 3, 4, 7, 8, 9, 16, 17, 39, 64}) {
        for (int count : {1, 2, 3, 4, 5, 9}) {
            const int step = width + 3;
            auto frames = rnd.uniform<T>(step * count, -5, 5);
            auto means = rnd.uniform<T>(step * count, -5, 5);
            auto vars = rnd.uniform<T>(step * count, 0.1, 2);
            std::vector<const T*> frameRows, meanRows, varRows;
            for (int r = 0; r < count; ++r) {
                frameRows.push_back(&frames[r * step]);
                meanRows.push_back(&means[r * step]);
                varRows.push_back(&vars[r * step]);
            }
            std::vector<T> d2(count), d2l(count), mm(count), mml(count);
            ASSERT_EQ(callFrames(frames.data(), step, means.data(), vars.data(), width, d2.data(), count), zemStatusOk);
            ASSERT_EQ(callFrameRows(frameRows.data(), means.data(), vars.data(), width, d2l.data(), count), zemStatusOk);
            ASSERT_EQ(callMixture(means.data(), vars.data(), step, frames.data(), width, mm.data(), count), zemStatusOk);
            ASSERT_EQ(callMixtureRows(meanRows.data(), varRows.data(), frames.data(), width, mml.data(), count), zemStatusOk);
            for (int r = 0; r < count; ++r) {
                T single;
                ASSERT_EQ(callSingle(frameRows[r], means.data(), vars.data(), width, &single), zemStatusOk);
                ASSERT_TRUE(sameBits(d2[r], single)) << "width " << width << " row " << r;
                ASSERT_TRUE(sameBits(d2l[r], single));
                ASSERT_EQ(callSingle(frames.data(), meanRows[r], varRows[r], width, &single), zemStatusOk);
                ASSERT_TRUE(sameBits(mm[r], single)) << "width " << width << " row " << r;
                ASSERT_TRUE(sameBits(mml[r], single));
                expectNearExact(single, exactDistance(frames.data(), meanRows[r], varRows[r], width), width);
            }
        }
    }
}

}  // namespace

TEST(MahDist, BlockFormsGiveEachRowItsSingleValue32f) { blockFormsAgreeWithSingle<Zem32f>(); }
TEST(MahDist, BlockFormsGiveEachRowItsSingleValue64f) { blockFormsAgreeWithSingle<Zem64f>(); }

TEST(MahDist, WidenedFormEqualMeanAndNegativeWeights) {
    zemtest::Random rnd(303);
    for (int n : {1, 3, 4, 5, 39, 100}) {
        for (size_t off : {size_t{0}, size_t{4}}) {
            auto x = rnd.uniform<float>(n, -100, 100), m = rnd.uniform<float>(n, -100, 100), w = rnd.uniform<float>(n, -1, 1);
            Buffer<float> bx(n, off);
            std::copy(x.begin(), x.end(), bx.begin());
            double d;
            ASSERT_EQ(zemsMahDistSingle_32f64f(bx.data(), m.data(), w.data(), n, &d), zemStatusOk);
            EXPECT_NEAR(d, (double)exactDistance(x.data(), m.data(), w.data(), n), 1e-9 * n * 1e4);
            float f;
            ASSERT_EQ(zemsMahDistSingle_32f(x.data(), x.data(), w.data(), n, &f), zemStatusOk);
            EXPECT_EQ(f, 0.0f);
            ASSERT_EQ(zemsMahDistSingle_32f64f(x.data(), x.data(), w.data(), n, &d), zemStatusOk);
            EXPECT_EQ(d, 0.0);
        }
    }
    const float x[2] = {1, 0}, m[2] = {0, 0}, w[2] = {-2, 1};
    float r;
    zemsMahDistSingle_32f(x, m, w, 2, &r);
    EXPECT_EQ(r, -2.0f);  // a negative weight is not rejected
}

namespace {
// The float sum of 16-bit groups of 8: saturated differences, exact squares, the stated
// association; exact leftovers squared in float.
float groupsOf8Reference(const Zem16s* x, const Zem16s* m, const Zem16s* w, int n) {
    float s = 0;
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        float p[8];
        for (int k = 0; k < 8; ++k) {
            const int d = std::clamp(int(x[i + k]) - int(m[i + k]), -32768, 32767);
            p[k] = float(d * d) * float(w[i + k]);
        }
        s += ((p[1] + p[5]) + (p[3] + p[7])) + ((p[0] + p[4]) + (p[2] + p[6]));
    }
    for (; i < n; ++i) {
        const float e = float(int(x[i]) - int(m[i]));
        s += (e * e) * float(w[i]);
    }
    return s;
}
}  // namespace

TEST(MahDist16s, TheTwoBodiesAndTheirScaleFactors) {
    zemtest::Random rnd(305);
    for (int n : {1, 7, 8, 9, 16, 39}) {
        auto x = rnd.integers<Zem16s>(n, -32768, 32767), m = rnd.integers<Zem16s>(n, -32768, 32767);
        auto w = rnd.integers<Zem16s>(n, 0, 50);
        Buffer<Zem16s> ax(n, 0), am(n, 16), aw(n, 32), ux(n, 2);
        std::copy(x.begin(), x.end(), ax.begin());
        std::copy(m.begin(), m.end(), am.begin());
        std::copy(w.begin(), w.end(), aw.begin());
        std::copy(x.begin(), x.end(), ux.begin());
        float f;
        ASSERT_EQ(zemsMahDistSingle_16s32f(ax.data(), am.data(), aw.data(), n, &f), zemStatusOk);
        EXPECT_TRUE(sameBits(f, groupsOf8Reference(x.data(), m.data(), w.data(), n))) << n;
        ASSERT_EQ(zemsMahDistSingle_16s32f(ux.data(), am.data(), aw.data(), n, &f), zemStatusOk);
        const long double exact = exactDistance(x.data(), m.data(), w.data(), n);
        EXPECT_LE(std::fabs(f - exact), exact * 0x1p-24 * (n + 4)) << n;  // unsaturated, float lanes

        Zem32s r0, r3;
        ASSERT_EQ(zemsMahDistSingle_16s32s_Sfs(ax.data(), am.data(), aw.data(), n, &r0, 0), zemStatusOk);
        ASSERT_EQ(zemsMahDistSingle_16s32s_Sfs(ax.data(), am.data(), aw.data(), n, &r3, 3), zemStatusOk);
        EXPECT_EQ(r0, r3);  // the aligned body ignores the scale factor
        const float s = groupsOf8Reference(x.data(), m.data(), w.data(), n);
        EXPECT_EQ(r0, s >= 2147483648.0f ? INT32_MIN : static_cast<Zem32s>(std::nearbyint(s)));
        int64_t exactSum = 0;
        for (int i = 0; i < n; ++i) exactSum += int64_t(int(x[i]) - int(m[i])) * (int(x[i]) - int(m[i])) * w[i];
        for (int sf : {0, 3, 40, -2, -40}) {
            ASSERT_EQ(zemsMahDistSingle_16s32s_Sfs(ux.data(), am.data(), aw.data(), n, &r3, sf), zemStatusOk);
            const long double shifted = sf >= 0 ? (long double)(exactSum >> std::min(sf, 63)) : std::ldexp((long double)exactSum, -sf);
            EXPECT_EQ(r3, static_cast<Zem32s>(std::clamp(shifted, (long double)INT32_MIN, (long double)INT32_MAX))) << sf;
        }
    }
    // A difference beyond 16 bits: the aligned body saturates it, the general one does not.
    alignas(16) Zem16s x[8] = {32767, 0, 0, 0, 0, 0, 0, 0}, m[8] = {-32768, 0, 0, 0, 0, 0, 0, 0};
    alignas(16) Zem16s w[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    alignas(16) Zem16s shifted[9] = {0, 32767, 0, 0, 0, 0, 0, 0, 0};
    float a, u;
    zemsMahDistSingle_16s32f(x, m, w, 8, &a);
    zemsMahDistSingle_16s32f(shifted + 1, m, w, 8, &u);
    EXPECT_EQ(a, 32767.0f * 32767.0f);
    EXPECT_EQ(u, 65535.0f * 65535.0f);
}

