#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>
#include <string>
#include <utility>

#include "check_order.h"
#include "test_support.h"
#include "zemsr.h"

namespace {

// ---- References over a whole utterance --------------------------------------------------------------

int clampRow(int t, int rows) { return t < 0 ? 0 : (t >= rows ? rows - 1 : t); }

// Rows of X, D (and E) for T frames of the Win windows, rows replicated at both ends.
struct WinShape {
    bool win2, dd;
};

std::vector<float> winReference(const std::vector<float>& src, int T, int w, WinShape s, const float* mul, float a,
                                 float b) {
    const int cols = (s.dd ? 3 : 2) * w;
    std::vector<float> m(static_cast<size_t>(T) * cols);
    auto at = [&](int t, int c) -> float& { return m[static_cast<size_t>(clampRow(t, T)) * cols + c]; };
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < w; ++j) at(t, j) = mul ? src[t * w + j] * mul[j] : src[t * w + j];
    auto differences = [&](int from, int to, float k, const float* kRow) {
        for (int t = 0; t < T; ++t)
            for (int j = 0; j < w; ++j) {
                float d = at(t + 1, from + j) - at(t - 1, from + j);
                if (s.win2) d = d + 2.0f * (at(t + 2, from + j) - at(t - 2, from + j));
                at(t, to + j) = (kRow ? kRow[j] : k) * d;
            }
    };
    differences(0, w, a, mul ? mul + w : nullptr);
    if (s.dd) differences(w, 2 * w, b, mul ? mul + 2 * w : nullptr);
    return m;
}

int16_t sat16(int64_t v) { return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }
int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
int32_t scaled(int32_t v, int sf) {
    if (sf > 0) return v >> (sf & 31);
    if (sf < 0) return wrap32(static_cast<int64_t>(static_cast<uint32_t>(v) << ((-sf) & 31)));
    return v;
}

std::vector<int16_t> winReference16(const std::vector<int16_t>& src, int T, int w, WinShape s, bool wrap,
                                    const int16_t* mul, int a, int b, int sf) {
    const int cols = (s.dd ? 3 : 2) * w;
    std::vector<int16_t> m(static_cast<size_t>(T) * cols);
    auto at = [&](int t, int c) -> int16_t& { return m[static_cast<size_t>(clampRow(t, T)) * cols + c]; };
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < w; ++j)
            at(t, j) = mul ? sat16(scaled(wrap32(int64_t{src[t * w + j]} * mul[j]), sf)) : src[t * w + j];
    auto dif = [&](int x, int y) -> int32_t { return wrap ? static_cast<int16_t>(x - y) : x - y; };
    auto differences = [&](int from, int to, int k, const int16_t* kRow) {
        for (int t = 0; t < T; ++t)
            for (int j = 0; j < w; ++j) {
                int32_t d = dif(at(t + 1, from + j), at(t - 1, from + j));
                if (s.win2) d += 2 * dif(at(t + 2, from + j), at(t - 2, from + j));
                at(t, to + j) = sat16(scaled(wrap32(int64_t{kRow ? kRow[j] : k} * d), sf));
            }
    };
    differences(0, w, a, mul ? mul + w : nullptr);
    if (s.dd) differences(w, 2 * w, b, mul ? mul + 2 * w : nullptr);
    return m;
}

// ---- Streaming driver -------------------------------------------------------------------------------

// Feeds T frames in blocks: a first block of at least H frames, then blocks of 1 to 7,
// the last flag on the last frames or on a closing call of height 0.  Each call's dst
// stands H rows before the row of its first new frame.
template <class T>
void feed(int frames, int h, int srcWidth, int step, zemtest::Random& rnd, bool closingCall,
          const std::function<ZemStatus(const T* src, T* dst, int height, int flags)>& call, const std::vector<T>& src,
          std::vector<T>& dst) {
    int done = 0;
    while (done < frames) {
        const bool first = done == 0;
        int n = first ? static_cast<int>(rnd.integer(h, h + 5)) : static_cast<int>(rnd.integer(1, 7));
        if (n > frames - done) n = frames - done;
        const bool lastFrames = done + n == frames;
        const int flags = (first ? zemDeltaFirstBlock : 0) | (lastFrames && !closingCall ? zemDeltaLastBlock : 0);
        T* at = dst.data() + static_cast<size_t>(first ? 0 : done - h) * step;
        ASSERT_EQ(call(src.data() + static_cast<size_t>(done) * srcWidth, at, n, flags), zemStatusOk);
        done += n;
    }
    if (closingCall) {
        ASSERT_EQ(call(src.data(), dst.data() + static_cast<size_t>(frames - h) * step, 0, zemDeltaLastBlock), zemStatusOk);
    }
}

template <class T>
void expectRows(const std::vector<T>& got, int step, const std::vector<T>& want, int cols, int frames, const char* what) {
    for (int t = 0; t < frames; ++t)
        for (int c = 0; c < cols; ++c)
            ASSERT_TRUE(zemtest::sameBits(got[static_cast<size_t>(t) * step + c], want[static_cast<size_t>(t) * cols + c]))
                << what << " row " << t << " col " << c << " of " << frames;
}

// One call shape for every streaming export: the arguments it has, from one record.
struct StreamArgs {
    const void* src;
    const void* mul;
    int width;
    void* dst;
    int dstStep, height, flags;
    float a = 0.5f, b = 0.25f;  // val (valD) and valDD, integral values in the 16-bit forms
    int scale = 0;
};
const float* f(const void* p) { return static_cast<const float*>(p); }
float* f(void* p) { return static_cast<float*>(p); }
const Zem16s* i16(const void* p) { return static_cast<const Zem16s*>(p); }
Zem16s* i16(void* p) { return static_cast<Zem16s*>(p); }

// The streaming exports with their history depth, row parts and kind.
struct StreamExport {
    const char* name;
    int h, parts;
    bool mul, nineTap;
    bool win2() const { return std::string(name).find("Win2") != std::string::npos; }
    bool is16() const { return std::string(name).find("16s") != std::string::npos; }
    // Differences wrapped to 16 bits: DeltaDelta_Win2 and the Mul forms of the 16-bit exports.
    bool wrap() const { return is16() && (mul || std::string(name).find("DeltaDelta_Win2") != std::string::npos); }
    std::function<ZemStatus(const StreamArgs&)> call;
};

std::vector<StreamExport> streamExports() {
    using A = const StreamArgs&;
    return {
        {"zemsDelta_Win1_32f_D2", 2, 2, false, false, [](A a) { return zemsDelta_Win1_32f_D2(f(a.src), a.width, f(a.dst), a.dstStep, a.height, a.a, a.flags); }},
        {"zemsDelta_Win2_32f_D2", 4, 2, false, false, [](A a) { return zemsDelta_Win2_32f_D2(f(a.src), a.width, f(a.dst), a.dstStep, a.height, a.a, a.flags); }},
        {"zemsDeltaDelta_Win1_32f_D2", 3, 3, false, false, [](A a) { return zemsDeltaDelta_Win1_32f_D2(f(a.src), a.width, f(a.dst), a.dstStep, a.height, a.a, a.b, a.flags); }},
        {"zemsDeltaDelta_Win2_32f_D2", 6, 3, false, false, [](A a) { return zemsDeltaDelta_Win2_32f_D2(f(a.src), a.width, f(a.dst), a.dstStep, a.height, a.a, a.b, a.flags); }},
        {"zemsDelta_Win1_16s_D2Sfs", 2, 2, false, false, [](A a) { return zemsDelta_Win1_16s_D2Sfs(i16(a.src), a.width, i16(a.dst), a.dstStep, a.height, Zem16s(a.a), a.flags, a.scale); }},
        {"zemsDelta_Win2_16s_D2Sfs", 4, 2, false, false, [](A a) { return zemsDelta_Win2_16s_D2Sfs(i16(a.src), a.width, i16(a.dst), a.dstStep, a.height, Zem16s(a.a), a.flags, a.scale); }},
        {"zemsDeltaDelta_Win1_16s_D2Sfs", 3, 3, false, false, [](A a) { return zemsDeltaDelta_Win1_16s_D2Sfs(i16(a.src), a.width, i16(a.dst), a.dstStep, a.height, Zem16s(a.a), Zem16s(a.b), a.flags, a.scale); }},
        {"zemsDeltaDelta_Win2_16s_D2Sfs", 6, 3, false, false, [](A a) { return zemsDeltaDelta_Win2_16s_D2Sfs(i16(a.src), a.width, i16(a.dst), a.dstStep, a.height, Zem16s(a.a), Zem16s(a.b), a.flags, a.scale); }},
        {"zemsDeltaMul_Win1_32f_D2", 2, 2, true, false, [](A a) { return zemsDeltaMul_Win1_32f_D2(f(a.src), f(a.mul), a.width, f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaMul_Win2_32f_D2", 4, 2, true, false, [](A a) { return zemsDeltaMul_Win2_32f_D2(f(a.src), f(a.mul), a.width, f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaDeltaMul_Win1_32f_D2", 3, 3, true, false, [](A a) { return zemsDeltaDeltaMul_Win1_32f_D2(f(a.src), f(a.mul), a.width, f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaDeltaMul_Win2_32f_D2", 6, 3, true, false, [](A a) { return zemsDeltaDeltaMul_Win2_32f_D2(f(a.src), f(a.mul), a.width, f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaMul_Win1_16s_D2Sfs", 2, 2, true, false, [](A a) { return zemsDeltaMul_Win1_16s_D2Sfs(i16(a.src), i16(a.mul), a.width, i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
        {"zemsDeltaMul_Win2_16s_D2Sfs", 4, 2, true, false, [](A a) { return zemsDeltaMul_Win2_16s_D2Sfs(i16(a.src), i16(a.mul), a.width, i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
        {"zemsDeltaDeltaMul_Win1_16s_D2Sfs", 3, 3, true, false, [](A a) { return zemsDeltaDeltaMul_Win1_16s_D2Sfs(i16(a.src), i16(a.mul), a.width, i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
        {"zemsDeltaDeltaMul_Win2_16s_D2Sfs", 6, 3, true, false, [](A a) { return zemsDeltaDeltaMul_Win2_16s_D2Sfs(i16(a.src), i16(a.mul), a.width, i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
        {"zemsDeltaDelta_Aurora_32f_D2", 8, 3, false, true, [](A a) { return zemsDeltaDelta_Aurora_32f_D2(f(a.src), f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaDeltaMul_Aurora_32f_D2", 8, 3, true, true, [](A a) { return zemsDeltaDeltaMul_Aurora_32f_D2(f(a.src), f(a.mul), f(a.dst), a.dstStep, a.height, a.flags); }},
        {"zemsDeltaDelta_Aurora_16s_D2Sfs", 8, 3, false, true, [](A a) { return zemsDeltaDelta_Aurora_16s_D2Sfs(i16(a.src), i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
        {"zemsDeltaDeltaMul_Aurora_16s_D2Sfs", 8, 3, true, true, [](A a) { return zemsDeltaDeltaMul_Aurora_16s_D2Sfs(i16(a.src), i16(a.mul), i16(a.dst), a.dstStep, a.height, a.flags, a.scale); }},
    };
}

// The nine-tap windows by their definition, rows replicated at both ends.
constexpr float kTapsD[9] = {-1.0f, -0.75f, -0.5f, -0.25f, 0.0f, 0.25f, 0.5f, 0.75f, 1.0f};
constexpr float kTapsE[9] = {1.0f, 0.25f, -0.285714f, -0.607143f, -0.714286f, -0.607143f, -0.285714f, 0.25f, 1.0f};

std::vector<float> auroraReference(const std::vector<float>& src, int T, const float* mul) {
    std::vector<float> m(static_cast<size_t>(T) * 39);
    auto x = [&](int t, int j) { return m[static_cast<size_t>(clampRow(t, T)) * 39 + j]; };
    for (int t = 0; t < T; ++t) {
        for (int j = 0; j < 12; ++j) m[t * 39 + j] = mul ? src[t * 14 + j] * mul[j] : src[t * 14 + j];
        const float c = (0.6f * src[t * 14 + 12]) / 23.0f + 0.4f * src[t * 14 + 13];
        m[t * 39 + 12] = mul ? c * mul[12] : c;
    }
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < 13; ++j) {
            float d = kTapsD[0] * x(t - 4, j), e = kTapsE[0] * x(t - 4, j);
            for (int k = -3; k <= 4; ++k) {
                d = d + kTapsD[k + 4] * x(t + k, j);
                e = e + kTapsE[k + 4] * x(t + k, j);
            }
            m[t * 39 + 13 + j] = mul ? mul[13 + j] * d : d;
            m[t * 39 + 26 + j] = mul ? mul[26 + j] * e : e;
        }
    return m;
}

int32_t trunc32(float v) { return static_cast<int32_t>(std::trunc(v)); }

std::vector<int16_t> auroraReference16(const std::vector<int16_t>& src, int T, const int16_t* mul, int sf) {
    const int s = sf & 31;
    std::vector<int16_t> m(static_cast<size_t>(T) * 39);
    auto x = [&](int t, int j) { return m[static_cast<size_t>(clampRow(t, T)) * 39 + j]; };
    for (int t = 0; t < T; ++t) {
        for (int j = 0; j < 12; ++j)
            m[t * 39 + j] = mul ? sat16(wrap32(int64_t{mul[j]} * src[t * 14 + j]) >> s) : static_cast<int16_t>(src[t * 14 + j] >> s);
        float c = (0.6f * static_cast<float>(src[t * 14 + 12])) / 23.0f + 0.4f * static_cast<float>(src[t * 14 + 13]);
        if (mul) c = c * static_cast<float>(mul[12]);
        m[t * 39 + 12] = sat16(trunc32(c) >> s);
    }
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < 13; ++j) {
            int32_t d = -4 * x(t - 4, j) - 3 * x(t - 3, j) - 2 * x(t - 2, j) - x(t - 1, j) + x(t + 1, j) + 2 * x(t + 2, j) +
                        3 * x(t + 3, j) + 4 * x(t + 4, j);
            if (mul) d = wrap32(int64_t{mul[13 + j]} * d);
            m[t * 39 + 13 + j] = sat16(d >> ((s + 2) & 31));
            float e = kTapsE[0] * static_cast<float>(x(t - 4, j));
            for (int k = -3; k <= 4; ++k) e = e + kTapsE[k + 4] * static_cast<float>(x(t + k, j));
            if (mul) e = static_cast<float>(mul[26 + j]) * e;
            m[t * 39 + 26 + j] = sat16(trunc32(e) >> s);
        }
    return m;
}

}  // namespace

// Every float Win family, fed in random blocks (with and without a closing call of height
// 0, and as one call with both flags), equals the whole-utterance reference bit for bit.
TEST(StreamingDeltas, FloatWindowsInBlocksEqualTheReference) {
    zemtest::Random rnd(3001);
    for (const auto& fam : streamExports()) {
        if (fam.is16() || fam.nineTap) continue;
        const WinShape shape{fam.win2(), fam.parts == 3};
        for (int width : {1, 4, 7, 8, 13, 20}) {
            for (int trial = 0; trial < 6; ++trial) {
                const int frames = static_cast<int>(rnd.integer(fam.h, 40));
                const int cols = fam.parts * width, step = cols + static_cast<int>(rnd.integer(0, 3));
                const auto src = rnd.uniform<float>(static_cast<size_t>(frames) * width, -10, 10);
                const auto mul = rnd.uniform<float>(3 * width, 0.5, 2);
                const float a = 0.5f, b = 0.25f;
                const auto want = winReference(src, frames, width, shape, fam.mul ? mul.data() : nullptr, a, b);
                std::vector<float> dst(static_cast<size_t>(frames) * step, -777.0f);
                auto call = [&](const float* s, float* d, int n, int flags) {
                    return fam.call({s, mul.data(), width, d, step, n, flags, a, b});
                };
                if (trial == 0) ASSERT_EQ(call(src.data(), dst.data(), frames, 3), zemStatusOk);
                else feed<float>(frames, fam.h, width, step, rnd, trial % 2 == 0, call, src, dst);
                expectRows(dst, step, want, cols, frames, fam.name);
                for (int t = 0; t < frames; ++t)  // the gap between rows is not written
                    for (int c = cols; c < step; ++c) ASSERT_EQ(dst[static_cast<size_t>(t) * step + c], -777.0f);
            }
        }
    }
}

TEST(StreamingDeltas, IntegerWindowsInBlocksEqualTheReference) {
    zemtest::Random rnd(3003);
    for (const auto& fam : streamExports()) {
        if (!fam.is16() || fam.nineTap) continue;
        const WinShape shape{fam.win2(), fam.parts == 3};
        for (int width : {1, 5, 13}) {
            for (int sf : {-3, 0, 2, 33}) {
                for (int trial = 0; trial < 3; ++trial) {
                    const int frames = static_cast<int>(rnd.integer(fam.h, 30));
                    const int cols = fam.parts * width, step = cols + 1;
                    // Large values so that differences leave 16 bits and products 32 bits.
                    const auto src = rnd.integers<Zem16s>(static_cast<size_t>(frames) * width, -32768, 32767);
                    const auto mul = rnd.integers<Zem16s>(3 * width, -40, 40);
                    const Zem16s a = 3000, b = -7;
                    const auto want = winReference16(src, frames, width, shape, fam.wrap(), fam.mul ? mul.data() : nullptr, a,
                                                     b, sf);
                    std::vector<Zem16s> dst(static_cast<size_t>(frames) * step);
                    feed<Zem16s>(frames, fam.h, width, step, rnd, trial == 1,
                                 [&](const Zem16s* s, Zem16s* d, int n, int flags) {
                                     return fam.call({s, mul.data(), width, d, step, n, flags, float(a), float(b), sf});
                                 },
                                 src, dst);
                    expectRows(dst, step, want, cols, frames, fam.name);
                }
            }
        }
    }
    // The two widths of a difference: 32767 - (-32768) saturates in the 32-bit form and
    // wraps to -1 in the Mul form.
    const Zem16s src[2] = {-32768, 32767}, ones[6] = {1, 1, 1, 1, 1, 1};
    Zem16s dst[4];
    ASSERT_EQ(zemsDelta_Win1_16s_D2Sfs(src, 1, dst, 2, 2, 1, 3, 0), zemStatusOk);
    EXPECT_EQ(dst[1], 32767);
    ASSERT_EQ(zemsDeltaMul_Win1_16s_D2Sfs(src, ones, 1, dst, 2, 2, 3, 0), zemStatusOk);
    EXPECT_EQ(dst[1], -1);
}

TEST(StreamingDeltas, NineTapFormsEqualTheReference) {
    zemtest::Random rnd(3005);
    for (bool mul : {false, true}) {
        for (int trial = 0; trial < 8; ++trial) {
            const int frames = static_cast<int>(rnd.integer(8, 40)), step = 39 + trial % 2;
            const auto src = rnd.uniform<float>(static_cast<size_t>(frames) * 14, -20, 20);
            const auto table = rnd.uniform<float>(39, 0.5, 2);
            const auto want = auroraReference(src, frames, mul ? table.data() : nullptr);
            std::vector<float> dst(static_cast<size_t>(frames) * step);
            feed<float>(frames, 8, 14, step, rnd, trial % 3 == 0,
                        [&](const float* s, float* d, int n, int flags) {
                            return mul ? zemsDeltaDeltaMul_Aurora_32f_D2(s, table.data(), d, step, n, flags)
                                       : zemsDeltaDelta_Aurora_32f_D2(s, d, step, n, flags);
                        },
                        src, dst);
            expectRows(dst, step, want, 39, frames, "Aurora 32f");

            const auto src16 = rnd.integers<Zem16s>(static_cast<size_t>(frames) * 14, -32768, 32767);
            const auto table16 = rnd.integers<Zem16s>(39, -30, 30);
            for (int sf : {0, 3, -2}) {
                const auto want16 = auroraReference16(src16, frames, mul ? table16.data() : nullptr, sf);
                std::vector<Zem16s> dst16(static_cast<size_t>(frames) * step);
                feed<Zem16s>(frames, 8, 14, step, rnd, trial % 3 == 1,
                             [&](const Zem16s* s, Zem16s* d, int n, int flags) {
                                 return mul ? zemsDeltaDeltaMul_Aurora_16s_D2Sfs(s, table16.data(), d, step, n, flags, sf)
                                            : zemsDeltaDelta_Aurora_16s_D2Sfs(s, d, step, n, flags, sf);
                             },
                             src16, dst16);
                expectRows(dst16, step, want16, 39, frames, "Aurora 16s");
            }
        }
    }
    // The composite of c0 = 23 and logE = 0 is 0.6.
    std::vector<float> frame(14 * 8, 0.0f), dst(39 * 8);
    for (int t = 0; t < 8; ++t) frame[t * 14 + 12] = 23.0f;
    ASSERT_EQ(zemsDeltaDelta_Aurora_32f_D2(frame.data(), dst.data(), 39, 8, 3), zemStatusOk);
    EXPECT_FLOAT_EQ(dst[12], 0.6f);
}

// The first-stage rows, a first block without the last flag, and the statuses in order
// with nothing written.
TEST(StreamingDeltas, StagesAndStatuses) {
    // A first block of exactly H frames finishes D(0), D(1) of Win2 and leaves the rest.
    std::vector<float> src = {0, 1, 3, 6}, dst(8, -1.0f);
    ASSERT_EQ(zemsDelta_Win2_32f_D2(src.data(), 1, dst.data(), 2, 4, 1.0f, zemDeltaFirstBlock), zemStatusOk);
    EXPECT_EQ(dst[1], (1.0f - 0.0f) + 2.0f * (3.0f - 0.0f));
    EXPECT_EQ(dst[3], (3.0f - 0.0f) + 2.0f * (6.0f - 0.0f));
    EXPECT_EQ(dst[5], -1.0f);
    EXPECT_EQ(dst[7], -1.0f);
    // Two frames as a whole utterance: D(0) = D(1) = a (X(1) - X(0)).
    std::vector<float> two = {2, 5}, out(4);
    ASSERT_EQ(zemsDelta_Win1_32f_D2(two.data(), 1, out.data(), 2, 2, 0.5f, 3), zemStatusOk);
    EXPECT_EQ(out[1], 1.5f);
    EXPECT_EQ(out[3], 1.5f);
}

// Every streaming export: nulls, sizes, an empty block without the last flag, the stride
// for its parts (13 columns in the nine-tap forms), a first block below H; nothing written.
TEST(StreamingDeltas, ChecksInOrder) {
    alignas(32) static float src[256], mul[64], dst[512];
    for (const StreamExport& e : streamExports()) {
        const int width = e.nineTap ? 13 : 4;
        const StreamArgs valid{src, mul, width, dst, e.parts * width, e.h + 2, zemDeltaFirstBlock | zemDeltaLastBlock};
        std::vector<zemtest::Break<StreamArgs>> breaks = {
            {"src", [](StreamArgs& a) { a.src = nullptr; }, zemStatusNullPointer},
            {"dst", [](StreamArgs& a) { a.dst = nullptr; }, zemStatusNullPointer}};
        if (e.mul) breaks.push_back({"mulTable", [](StreamArgs& a) { a.mul = nullptr; }, zemStatusNullPointer});
        if (!e.nineTap) breaks.push_back({"width", [](StreamArgs& a) { a.width = 0; }, zemStatusBadSize});
        const int h = e.h, narrow = e.parts * width - 1;
        breaks.push_back({"height", [](StreamArgs& a) { a.height = -1; }, zemStatusBadSize});
        breaks.push_back({"empty block, not last", [](StreamArgs& a) { a.height = 0, a.flags = zemDeltaFirstBlock; }, zemStatusBadSize});
        breaks.push_back({"dstStep", [narrow](StreamArgs& a) { a.dstStep = narrow; }, zemStatusBadStride});
        breaks.push_back({"first block below H", [h](StreamArgs& a) { a.height = h - 1; }, zemStatusBadSize});
        zemtest::expectCheckOrder<StreamArgs>(e.name, valid, e.call, breaks, {zemtest::region(dst, 512)});
    }
    // A block of no frames that ends the utterance is valid; dstStep = 2 width suffices for Delta only.
    EXPECT_EQ(zemsDelta_Win1_32f_D2(src, 2, dst + 12, 6, 0, 1.0f, zemDeltaLastBlock), zemStatusOk);
    EXPECT_EQ(zemsDelta_Win1_32f_D2(src, 2, dst, 4, 2, 1.0f, 3), zemStatusOk);
}

namespace {

std::vector<float> batchReference(const std::vector<float>& m, int T, int step, int w, int off, int W, const float* mul,
                                  float val) {
    std::vector<float> out(m);
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < w; ++j) {
            float sum = 0.0f;
            for (int k = 1; k <= W; ++k) {
                const int plus = t >= T - W ? T - 1 : t + k, minus = t < W ? 0 : t - k;
                sum = sum + static_cast<float>(k) * (m[plus * step + off + j] - m[minus * step + off + j]);
            }
            out[t * step + off + w + j] = (mul ? mul[w + j] : val) * sum;
        }
    return out;
}

}  // namespace

TEST(BatchDeltas, EdgeFormulasAndIntegerWrap) {
    // The ramp X(t) = t with W = 3: 28 in the middle, 14 at row 0, 26 at row 2.
    const int T = 10, step = 2;
    std::vector<float> ramp(T * step);
    for (int t = 0; t < T; ++t) ramp[t * step] = static_cast<float>(t);
    ASSERT_EQ(zemsEvalDelta_32f_D2(ramp.data(), T, step, 1, 0, 3, 1.0f), zemStatusOk);
    EXPECT_EQ(ramp[0 * step + 1], 14.0f);
    EXPECT_EQ(ramp[2 * step + 1], 26.0f);
    EXPECT_EQ(ramp[5 * step + 1], 28.0f);

    zemtest::Random rnd(3007);
    for (int width : {1, 8, 13}) {
        for (int W : {1, 2, 4}) {
            for (int T : {2 * W, 2 * W + 1, 25}) {
                const int off = 2, step = off + 2 * width + 1;
                auto m = rnd.uniform<float>(static_cast<size_t>(T) * step, -5, 5);
                const auto mul = rnd.uniform<float>(2 * width, 0.5, 2);
                for (bool withMul : {false, true}) {
                    const auto want = batchReference(m, T, step, width, off, W, withMul ? mul.data() : nullptr, 0.5f);
                    auto got = m;
                    ASSERT_EQ(withMul ? zemsEvalDeltaMul_32f_D2(got.data(), T, step, mul.data(), width, off, W)
                                      : zemsEvalDelta_32f_D2(got.data(), T, step, width, off, W, 0.5f),
                              zemStatusOk);
                    for (size_t i = 0; i < got.size(); ++i) ASSERT_TRUE(zemtest::sameBits(got[i], want[i])) << i;
                }
                // Integer: the differences wrap to 16 bits, the sum and product to 32.
                auto m16 = rnd.integers<Zem16s>(static_cast<size_t>(T) * step, -32768, 32767);
                const auto mul16 = rnd.integers<Zem16s>(2 * width, -9, 9);
                for (int sf : {-1, 0, 4}) {
                    auto got = m16;
                    ASSERT_EQ(zemsEvalDeltaMul_16s_D2Sfs(got.data(), T, step, mul16.data(), width, off, W, sf), zemStatusOk);
                    auto got2 = m16;
                    ASSERT_EQ(zemsEvalDelta_16s_D2Sfs(got2.data(), T, step, width, off, W, 77, sf), zemStatusOk);
                    for (int t = 0; t < T; ++t)
                        for (int j = 0; j < width; ++j) {
                            int32_t sum = 0;
                            for (int k = 1; k <= W; ++k) {
                                const int plus = t >= T - W ? T - 1 : t + k, minus = t < W ? 0 : t - k;
                                sum += k * static_cast<int16_t>(m16[plus * step + off + j] - m16[minus * step + off + j]);
                            }
                            ASSERT_EQ(got[t * step + off + width + j], sat16(scaled(wrap32(int64_t{mul16[width + j]} * sum), sf)));
                            ASSERT_EQ(got2[t * step + off + width + j], sat16(scaled(wrap32(int64_t{77} * sum), sf)));
                            ASSERT_EQ(got[t * step + off + j], m16[t * step + off + j]);  // statics stay
                        }
                }
            }
        }
    }
}

namespace {
struct BatchArgs {
    void* srcDst;
    const void* mul;
    int height, step, width, offset, winSize;
    int scale = 0;
};
}  // namespace

// Every batch export: nulls, sizes (height below 2 winSize among them), then the stride.
TEST(BatchDeltas, ChecksInOrder) {
    alignas(32) static float m[256], mul[16];
    using A = const BatchArgs&;
    const std::vector<std::pair<const char*, std::function<ZemStatus(A)>>> exports = {
        {"zemsEvalDelta_32f_D2", [](A a) { return zemsEvalDelta_32f_D2(f(a.srcDst), a.height, a.step, a.width, a.offset, a.winSize, 1.0f); }},
        {"zemsEvalDeltaMul_32f_D2", [](A a) { return zemsEvalDeltaMul_32f_D2(f(a.srcDst), a.height, a.step, f(a.mul), a.width, a.offset, a.winSize); }},
        {"zemsEvalDelta_16s_D2Sfs", [](A a) { return zemsEvalDelta_16s_D2Sfs(i16(a.srcDst), a.height, a.step, a.width, a.offset, a.winSize, 1, a.scale); }},
        {"zemsEvalDeltaMul_16s_D2Sfs", [](A a) { return zemsEvalDeltaMul_16s_D2Sfs(i16(a.srcDst), a.height, a.step, i16(a.mul), a.width, a.offset, a.winSize, a.scale); }},
    };
    for (const auto& [name, call] : exports) {
        std::vector<zemtest::Break<BatchArgs>> breaks = {{"srcDst", [](BatchArgs& a) { a.srcDst = nullptr; }, zemStatusNullPointer}};
        if (std::string(name).find("Mul") != std::string::npos)
            breaks.push_back({"mulTable", [](BatchArgs& a) { a.mul = nullptr; }, zemStatusNullPointer});
        breaks.insert(breaks.end(), {{"height", [](BatchArgs& a) { a.height = 0; }, zemStatusBadSize},
                                     {"width", [](BatchArgs& a) { a.width = 0; }, zemStatusBadSize},
                                     {"winSize", [](BatchArgs& a) { a.winSize = 0; }, zemStatusBadSize},
                                     {"offset", [](BatchArgs& a) { a.offset = -1; }, zemStatusBadSize},
                                     {"height below 2 winSize", [](BatchArgs& a) { a.height = 3; }, zemStatusBadSize},
                                     {"step", [](BatchArgs& a) { a.step = 6; }, zemStatusBadStride}});
        zemtest::expectCheckOrder<BatchArgs>(name, {m, mul, 8, 7, 3, 1, 2}, call, breaks, {zemtest::region(m, 256)});
    }
}


// The shift count of the 16-bit forms is the scale factor modulo 32, for every value:
// INT_MIN and 32 shift by 0, -33 by one to the left, 33 by one to the right.
TEST(StreamingDeltas, EveryScaleFactorIsAShiftModulo32) {
    zemtest::Random rnd(1301);
    const auto src = rnd.integers<Zem16s>(14 * 10, -300, 300), mul = rnd.integers<Zem16s>(39, -3, 3);
    for (const StreamExport& e : streamExports()) {
        if (std::string(e.name).find("16s") == std::string::npos) continue;
        const int width = e.nineTap ? 13 : 4;
        auto run = [&](int scale) {
            std::vector<Zem16s> dst(e.parts * width * (e.h + 2));
            const StreamArgs a{src.data(), mul.data(), width, dst.data(), e.parts * width, e.h + 2, 3, 3.0f, -2.0f, scale};
            EXPECT_EQ(e.call(a), zemStatusOk) << e.name;
            return dst;
        };
        for (const auto& [odd, plain] : {std::pair{INT32_MIN, 0}, std::pair{32, 0}, std::pair{-33, -1}, std::pair{33, 1}, std::pair{INT32_MAX, 31}})
            EXPECT_EQ(run(odd), run(plain)) << e.name << " " << odd;
    }
    std::vector<Zem16s> m = rnd.integers<Zem16s>(8 * 7, -300, 300);
    using A = const BatchArgs&;
    for (const auto& call : {std::function<ZemStatus(A)>([](A a) { return zemsEvalDelta_16s_D2Sfs(i16(a.srcDst), a.height, a.step, a.width, a.offset, a.winSize, 3, a.scale); }),
                             std::function<ZemStatus(A)>([](A a) { return zemsEvalDeltaMul_16s_D2Sfs(i16(a.srcDst), a.height, a.step, i16(a.mul), a.width, a.offset, a.winSize, a.scale); })}) {
        auto run = [&](int scale) {
            std::vector<Zem16s> d = m;
            BatchArgs a{d.data(), mul.data(), 8, 7, 3, 1, 2};
            a.scale = scale;
            EXPECT_EQ(call(a), zemStatusOk);
            return d;
        };
        EXPECT_EQ(run(INT32_MIN), run(0));
        EXPECT_EQ(run(-33), run(-1));
    }
}
