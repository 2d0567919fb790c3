// Range normalisation against a scalar reference, every source and destination type and
// in place, with the degenerate ranges and their warning.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <type_traits>
#include <vector>

#include "test_support.h"
#include "zemsr.h"

namespace {

using zemtest::Buffer;

// One call shape for every form: in-place forms get the source copied into dst first,
// the forms without bounds ignore them.
template <class Src, class Dst>
using Call = std::function<ZemStatus(const Src* src, Dst* dst, int len, Src mn, Src mx, float lr, float ur, Dst r)>;

template <class Src, class Dst>
struct Form {
    const char* name;
    bool minMax;
    Call<Src, Dst> call;
};

template <class Dst>
Dst store(float v) {
    if constexpr (std::is_same_v<Dst, float>) {
        return v;
    } else {
        if (std::isnan(v)) return 0;
        const float top = static_cast<float>(std::numeric_limits<Dst>::max());
        return static_cast<Dst>(std::nearbyint(std::clamp(v, 0.0f, top)));  // ties to even
    }
}

template <class Src, class Dst>
ZemStatus reference(const std::vector<Src>& x, bool minMax, Src mnIn, Src mxIn, float lr, float ur, Dst range,
                    std::vector<Dst>& out) {
    const size_t len = x.size();
    out.assign(len, Dst(0));
    float mn = static_cast<float>(mnIn), mx = static_cast<float>(mxIn);
    if (!minMax) {
        if (len < (std::is_same_v<Src, int16_t> ? 3u : 2u)) return zemStatusInverseZeroWarning;
        mn = static_cast<float>(*std::min_element(x.begin(), x.end()));
        mx = static_cast<float>(*std::max_element(x.begin(), x.end()));
    }
    if (mn == mx) return zemStatusInverseZeroWarning;
    const float w = mx - mn, hi = ur * w, lo = w * lr, f = static_cast<float>(range) / (hi - lo);
    for (size_t i = 0; i < len; ++i)
        out[i] = store<Dst>(std::fmax(std::fmin(hi + mn, static_cast<float>(x[i])) - (mn + lo), 0.0f) * f);
    return zemStatusOk;
}

template <class Src, class Dst>
void runForm(const Form<Src, Dst>& form, uint32_t seed) {
    SCOPED_TRACE(form.name);
    zemtest::Random rnd(seed);
    const bool floatSrc = std::is_same_v<Src, float>;
    const Dst range = std::is_same_v<Dst, float> ? Dst(3.5f) : std::is_same_v<Dst, uint8_t> ? Dst(200) : Dst(30000);
    for (int len : zemtest::testLengths()) {
        std::vector<Src> x = floatSrc ? rnd.uniform<Src>(len, -50.0, 80.0) : rnd.integers<Src>(len, -20000, 30000);
        const Src mn = floatSrc ? Src(-20) : Src(-9000), mx = floatSrc ? Src(55.5f) : Src(20000);
        const float lr = len % 3 == 0 ? 0.0f : 0.15f, ur = len % 4 == 0 ? 1.0f : 0.8f;
        std::vector<Dst> want;
        const ZemStatus expect = reference(x, form.minMax, mn, mx, lr, ur, range, want);
        for (size_t off : {size_t{0}, size_t{4}, size_t{6}}) {
            // Each buffer keeps its element type's natural alignment: 6 bytes for 16 bits only.
            Buffer<Src> src(len, off / sizeof(Src) * sizeof(Src));
            Buffer<Dst> dst(len, off / sizeof(Dst) * sizeof(Dst));
            std::copy(x.begin(), x.end(), src.begin());
            ASSERT_EQ(form.call(src.data(), dst.data(), len, mn, mx, lr, ur, range), expect) << len;
            for (int i = 0; i < len; ++i)
                ASSERT_TRUE(zemtest::sameBits(dst[i], want[i]))
                    << "len " << len << " off " << off << " i " << i << ": " << +dst[i] << " want " << +want[i];
        }
    }
}

template <class T>
Call<T, T> inPlace(std::function<ZemStatus(T*, int, T, T, float, float, T)> f) {
    return [f](const T* src, T* dst, int len, T mn, T mx, float lr, float ur, T r) {
        std::copy(src, src + len, dst);
        return f(dst, len, mn, mx, lr, ur, r);
    };
}

TEST(NormalizeInRange, EveryFormAgainstTheReference) {
    using F = float;
    using S = int16_t;
    using U = uint8_t;
    runForm<F, F>({"MinMax_32f", true, zemsNormalizeInRangeMinMax_32f}, 1);
    runForm<F, S>({"MinMax_32f16s", true, zemsNormalizeInRangeMinMax_32f16s}, 2);
    runForm<F, U>({"MinMax_32f8u", true, zemsNormalizeInRangeMinMax_32f8u}, 3);
    runForm<S, S>({"MinMax_16s", true, zemsNormalizeInRangeMinMax_16s}, 4);
    runForm<S, U>({"MinMax_16s8u", true, zemsNormalizeInRangeMinMax_16s8u}, 5);
    runForm<F, F>({"MinMax_32f_I", true, inPlace<F>(zemsNormalizeInRangeMinMax_32f_I)}, 6);
    runForm<S, S>({"MinMax_16s_I", true, inPlace<S>(zemsNormalizeInRangeMinMax_16s_I)}, 7);
    auto found = [](auto f) {
        return [f](const auto* src, auto* dst, int len, auto, auto, float lr, float ur, auto r) {
            return f(src, dst, len, lr, ur, r);
        };
    };
    auto foundI = [](auto f) {
        return [f](auto* srcDst, int len, auto, auto, float lr, float ur, auto r) { return f(srcDst, len, lr, ur, r); };
    };
    runForm<F, F>({"32f", false, found(zemsNormalizeInRange_32f)}, 8);
    runForm<F, S>({"32f16s", false, found(zemsNormalizeInRange_32f16s)}, 9);
    runForm<F, U>({"32f8u", false, found(zemsNormalizeInRange_32f8u)}, 10);
    runForm<S, S>({"16s", false, found(zemsNormalizeInRange_16s)}, 11);
    runForm<S, U>({"16s8u", false, found(zemsNormalizeInRange_16s8u)}, 12);
    runForm<F, F>({"32f_I", false, inPlace<F>(foundI(zemsNormalizeInRange_32f_I))}, 13);
    runForm<S, S>({"16s_I", false, inPlace<S>(foundI(zemsNormalizeInRange_16s_I))}, 14);
}

TEST(NormalizeInRange, IntegerDestinationsRoundTiesToEven) {
    // w = 10, ratios 0 .. 1, range 10: f = 1, so the samples come out unchanged but rounded.
    const float x[] = {0.5f, 1.5f, 2.5f, 3.5f, 2.49999f, 7.5f, 9.5f, 10.5f, -3.0f};
    const int16_t want16[] = {0, 2, 2, 4, 2, 8, 10, 10, 0};
    int16_t d16[9];
    uint8_t d8[9];
    ASSERT_EQ(zemsNormalizeInRangeMinMax_32f16s(x, d16, 9, 0.0f, 10.0f, 0.0f, 1.0f, 10), zemStatusOk);
    ASSERT_EQ(zemsNormalizeInRangeMinMax_32f8u(x, d8, 9, 0.0f, 10.0f, 0.0f, 1.0f, 10), zemStatusOk);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(d16[i], want16[i]) << x[i];
        EXPECT_EQ(d8[i], want16[i]) << x[i];
    }
}

TEST(NormalizeInRange, EmptyRangesWarnAndWriteZeros) {
    const int16_t pair16[] = {1, 2};
    const float pair32[] = {1.0f, 2.0f};
    int16_t d16[2] = {9, 9};
    float d32[2] = {9, 9};
    EXPECT_EQ(zemsNormalizeInRange_16s(pair16, d16, 2, 0.0f, 1.0f, 100), zemStatusInverseZeroWarning);
    EXPECT_EQ(d16[0], 0);
    EXPECT_EQ(d16[1], 0);
    EXPECT_EQ(zemsNormalizeInRange_32f(pair32, d32, 2, 0.0f, 1.0f, 100.0f), zemStatusOk);
    EXPECT_EQ(d32[0], 0.0f);
    EXPECT_EQ(d32[1], 100.0f);
    EXPECT_EQ(zemsNormalizeInRange_32f(pair32, d32, 1, 0.0f, 1.0f, 100.0f), zemStatusInverseZeroWarning);
    EXPECT_EQ(d32[0], 0.0f);
    const float same[] = {4.0f, 4.0f, 4.0f};
    float d3[3] = {9, 9, 9};
    EXPECT_EQ(zemsNormalizeInRangeMinMax_32f(same, d3, 3, 4.0f, 4.0f, 0.0f, 1.0f, 1.0f), zemStatusInverseZeroWarning);
    EXPECT_EQ(d3[2], 0.0f);
    // A NaN ratio passes the checks; integer destinations store 0 for the NaN results.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    int16_t dn[3] = {9, 9, 9};
    EXPECT_EQ(zemsNormalizeInRangeMinMax_32f16s(same, dn, 3, 0.0f, 8.0f, 0.0f, nan, 100), zemStatusOk);
    EXPECT_EQ(dn[0], 0);
}

}  // namespace
