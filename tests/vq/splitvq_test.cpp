// Split VQ and vector forming: the numbers of each layout against the block search, the
// bit field against a bit-by-bit reference for every indexBits from 1 to 16, forming back
// to the codewords bit for bit, the grouped forms' tail and offset rules, check orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <cmath>

#include "check_order.h"
#include "test_support.h"
#include "vq_books.h"
#include "zemsr.h"

using namespace zemtest;

namespace {

// A width-1 list codebook of n rows 0, 1, ..., n - 1: a value's number is its nearest row.
template <class T>
void ramp(HandBook<T>& b, int n) {
    b.width = 1;
    b.rows.resize(n);
    for (int i = 0; i < n; ++i) b.rows[i] = static_cast<T>(i);
    b.weights = {T(1)};
    b.finish(n, ZEM_CDBK_LIST, false);
}

// Writes value (bits wide) at bit p, one bit at a time, most significant first.
void putRef(std::vector<Zem8u>& f, int64_t p, uint32_t v, int bits) {
    for (int b = bits - 1; b >= 0; --b, ++p)
        if ((v >> b) & 1u) f[p / 8] = static_cast<Zem8u>(f[p / 8] | (0x80u >> (p % 8)));
}

// Codebooks of 1..16 index bits (2^(b-1) + 1 rows), fields crossing bytes at odd steps.
template <class T>
void bitFieldsRoundTrip() {
    Random rng(16);
    for (int bits = 1; bits <= 16; ++bits) {
        std::vector<HandBook<T>> books(3);
        const int sizes[3] = {(1 << (bits - 1)) + 1, 3, 1};  // the last takes no bits
        for (int k = 0; k < 3; ++k) ramp(books[k], sizes[k]);
        std::vector<zem::vq::StateT<T>*> cb = {books[0].get(), books[1].get(), books[2].get()};
        ASSERT_EQ(cb[0]->indexBits, bits);
        const int used = bits + 2, height = 7, srcStep = 5;
        for (int dstStep : {used, used + 3}) {
            std::vector<T> src(height * srcStep, T(-1));
            std::vector<std::array<int, 3>> want(height);
            for (int r = 0; r < height; ++r)
                for (int k = 0; k < 3; ++k) {
                    want[r][k] = static_cast<int>(rng.integer(0, sizes[k] - 1));
                    src[r * srcStep + k] = static_cast<T>(want[r][k]);
                }
            const size_t bytes = (size_t(dstStep) * height + 7) / 8;
            std::vector<Zem8u> field(bytes + 2, 0xEE), ref(bytes, 0);
            for (int r = 0; r < height; ++r) {
                putRef(ref, int64_t{r} * dstStep, want[r][0], bits);
                putRef(ref, int64_t{r} * dstStep + bits, want[r][1], 2);
            }
            ZemStatus s;
            if constexpr (std::is_same_v<T, Zem32f>) s = zemsSplitVQ_32f1u(src.data(), srcStep, field.data(), dstStep, height, cb.data(), 3);
            else s = zemsSplitVQ_16s1u(src.data(), srcStep, field.data(), dstStep, height, cb.data(), 3);
            ASSERT_EQ(s, zemStatusOk);
            EXPECT_TRUE(std::equal(ref.begin(), ref.end(), field.begin())) << "bits " << bits << " step " << dstStep;
            EXPECT_EQ(field[bytes], 0xEE);

            std::vector<T> back(height * 4, T(99));
            if constexpr (std::is_same_v<T, Zem32f>) s = zemsFormVectorVQ_1u32f(field.data(), dstStep, back.data(), 4, height, cb.data(), 3);
            else s = zemsFormVectorVQ_1u16s(field.data(), dstStep, back.data(), 4, height, cb.data(), 3);
            ASSERT_EQ(s, zemStatusOk);
            for (int r = 0; r < height; ++r) {
                for (int k = 0; k < 3; ++k) EXPECT_EQ(back[r * 4 + k], static_cast<T>(want[r][k]));
                EXPECT_EQ(back[r * 4 + 3], T(99));
            }
        }
    }
}

TEST(SplitVQ, BitFieldMatchesABitByBitWriterForEveryIndexWidth) {
    bitFieldsRoundTrip<Zem32f>();
    bitFieldsRoundTrip<Zem16s>();
}

TEST(SplitVQ, EightAndThreeBitRowsShareBytesTopFirst) {
    HandBook<Zem32f> a, b;
    ramp(a, 8);
    ramp(b, 2);
    ZemsCdbkState_32f* cb[2] = {a.get(), b.get()};
    const Zem32f src[6] = {5, 1, 2, 0, 7, 1};
    Zem8u out[2] = {0xFF, 0xFF};
    ASSERT_EQ(zemsSplitVQ_32f1u(src, 2, out, 4, 3, cb, 2), zemStatusOk);
    EXPECT_EQ(out[0], 0xB4);  // 101 1 | 010 0
    EXPECT_EQ(out[1], 0xF0);  // 111 1, the rest cleared
}

// Split VQ of real sub-vectors on list and tree codebooks, then forming back: every layout
// gives the block search's numbers and the codewords bit for bit.
template <class T>
void splitThenForm() {
    Random rng(53);
    const double lo = std::is_same_v<T, Zem16s> ? -99 : -2, hi = -lo;
    HandBook<T> b0, b1, b2;
    makeList(b0, rng, 29, 3, lo, hi, true);
    makeTree(b1, rng, 17, 4, 4, lo, hi, false);
    makeTree(b2, rng, 11, 2, 3, lo, hi, true);
    std::vector<zem::vq::StateT<T>*> cb = {b0.get(), b1.get(), b2.get()};
    const int widths[3] = {3, 4, 2}, offsets[3] = {0, 3, 7};
    const int height = 9, srcStep = 11, numStep = 4, vecStep = 10;
    const auto src = rng.uniform<T>(height * srcStep, lo, hi);
    std::vector<Zem32s> want(height * 3);
    for (int k = 0; k < 3; ++k) {
        if constexpr (std::is_same_v<T, Zem32f>)
            ASSERT_EQ(zemsVQ_32f(src.data() + offsets[k], srcStep, want.data() + k * height, height, cb[k]), zemStatusOk);
        else
            ASSERT_EQ(zemsVQ_16s(src.data() + offsets[k], srcStep, want.data() + k * height, height, cb[k]), zemStatusOk);
    }
    std::vector<Zem16s> n16(height * numStep, -5);
    std::vector<Zem8u> n8(height * numStep, 0xAB), bits((height * 14 + 7) / 8);
    if constexpr (std::is_same_v<T, Zem32f>) {
        ASSERT_EQ(zemsSplitVQ_32f16s(src.data(), srcStep, n16.data(), numStep, height, cb.data(), 3), zemStatusOk);
        ASSERT_EQ(zemsSplitVQ_32f8u(src.data(), srcStep, n8.data(), numStep, height, cb.data(), 3), zemStatusOk);
        ASSERT_EQ(zemsSplitVQ_32f1u(src.data(), srcStep, bits.data(), 14, height, cb.data(), 3), zemStatusOk);
    } else {
        ASSERT_EQ(zemsSplitVQ_16s16s(src.data(), srcStep, n16.data(), numStep, height, cb.data(), 3), zemStatusOk);
        ASSERT_EQ(zemsSplitVQ_16s8u(src.data(), srcStep, n8.data(), numStep, height, cb.data(), 3), zemStatusOk);
        ASSERT_EQ(zemsSplitVQ_16s1u(src.data(), srcStep, bits.data(), 14, height, cb.data(), 3), zemStatusOk);
    }
    for (int r = 0; r < height; ++r) {
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(n16[r * numStep + k], want[k * height + r]);
            EXPECT_EQ(n8[r * numStep + k], want[k * height + r]);
        }
        EXPECT_EQ(n16[r * numStep + 3], -5);
        EXPECT_EQ(n8[r * numStep + 3], 0xAB);
    }
    for (int layout = 0; layout < 3; ++layout) {
        std::vector<T> back(height * vecStep, T(77));
        ZemStatus s;
        if constexpr (std::is_same_v<T, Zem32f>) {
            s = layout == 0   ? zemsFormVectorVQ_16s32f(n16.data(), numStep, back.data(), vecStep, height, cb.data(), 3)
                : layout == 1 ? zemsFormVectorVQ_8u32f(n8.data(), numStep, back.data(), vecStep, height, cb.data(), 3)
                              : zemsFormVectorVQ_1u32f(bits.data(), 14, back.data(), vecStep, height, cb.data(), 3);
        } else {
            s = layout == 0   ? zemsFormVectorVQ_16s16s(n16.data(), numStep, back.data(), vecStep, height, cb.data(), 3)
                : layout == 1 ? zemsFormVectorVQ_8u16s(n8.data(), numStep, back.data(), vecStep, height, cb.data(), 3)
                              : zemsFormVectorVQ_1u16s(bits.data(), 14, back.data(), vecStep, height, cb.data(), 3);
        }
        ASSERT_EQ(s, zemStatusOk);
        for (int r = 0; r < height; ++r) {
            int at = r * vecStep;
            for (int k = 0; k < 3; ++k)
                for (int e = 0; e < widths[k]; ++e, ++at)
                    EXPECT_TRUE(sameBits(back[at], cb[k]->rows[want[k * height + r] * cb[k]->rowStep + e]));
            for (; at < (r + 1) * vecStep; ++at) EXPECT_EQ(back[at], T(77));
        }
    }
}

TEST(SplitVQ, EveryLayoutFormsBackTheCodewords) {
    splitThenForm<Zem32f>();
    splitThenForm<Zem16s>();
}

TEST(FormVector, GeneralFormCopiesEachRow) {
    const std::vector<Zem32f> t0 = {0, 1, 2, 3, 4, 5, 6, 7, 8}, t1 = {10, 11, 12, 13, 14, 15};
    const Zem32f* tables[2] = {t0.data(), t1.data()};
    const int sizes[2] = {3, 2}, lengths[2] = {2, 3}, strides[2] = {3, 3};
    const Zem8u idx[2] = {2, 1};
    std::vector<Zem32f> dst(6, -1);
    ASSERT_EQ(zemsFormVector_8u32f(idx, tables, sizes, lengths, strides, 2, dst.data()), zemStatusOk);
    EXPECT_EQ(dst, (std::vector<Zem32f>{6, 7, 13, 14, 15, -1}));
    const Zem8u bad[2] = {2, 2};
    EXPECT_EQ(zemsFormVector_8u32f(bad, tables, sizes, lengths, strides, 2, dst.data()), zemStatusBadSize);
    EXPECT_EQ(dst, (std::vector<Zem32f>{6, 7, 13, 14, 15, -1}));
}

// Grouped forms: short vectors copy whole groups; long ones copy in blocks, stop at a tail
// group of number 0 with zemStatusBadSize, and wrap a group's byte offset at 65536.
template <int G, class I, class T, class F>
void groupedCase(F form, int len, std::vector<int> numbers, int rows, ZemStatus want, int written) {
    std::vector<std::vector<T>> tabs(numbers.size());
    std::vector<const T*> tables;
    std::vector<int> sizes;
    for (size_t i = 0; i < numbers.size(); ++i) {
        tabs[i].resize(int64_t{rows} * G + G);
        for (size_t e = 0; e < tabs[i].size(); ++e) tabs[i][e] = static_cast<T>((i * 7 + e) % 1000);
        tables.push_back(tabs[i].data());
        sizes.push_back(rows);
    }
    std::vector<I> idx(numbers.begin(), numbers.end());
    std::vector<T> dst(len + 1, T(-3));
    ASSERT_EQ(form(idx.data(), tables.data(), sizes.data(), dst.data(), len), want) << len;
    const bool wraps = len > 4 * G;
    for (int i = 0; i < len / G; ++i)
        for (int e = 0; e < G; ++e) {
            int64_t at = int64_t{G} * numbers[i];
            if (wraps) at = ((at * int64_t{sizeof(T)}) & 0xFFFF) / int64_t{sizeof(T)};
            EXPECT_EQ(dst[G * i + e], i < written ? tabs[i][at + e] : T(-3)) << "len " << len << " group " << i;
        }
    for (int k = G * (len / G); k <= len; ++k) EXPECT_EQ(dst[k], T(-3));
}

TEST(FormVector, GroupedFormsBlocksTailAndOffsets) {
    // 2i, len 7: three groups, dst[6] untouched.
    groupedCase<2, Zem16s, Zem16s>(zemsFormVector_2i_16s16s, 7, {1, 0, 2}, 4, zemStatusOk, 3);
    // 4i, len 20: a block of four and a tail of one; a 0 there stops after the block.
    groupedCase<4, Zem8u, Zem16s>(zemsFormVector_4i_8u16s, 20, {1, 0, 2, 3, 1}, 4, zemStatusOk, 5);
    groupedCase<4, Zem8u, Zem16s>(zemsFormVector_4i_8u16s, 20, {1, 0, 2, 3, 0}, 4, zemStatusBadSize, 4);
    groupedCase<4, Zem8u, Zem32f>(zemsFormVector_4i_8u32f, 16, {0, 0, 0, 0}, 4, zemStatusOk, 4);
    // 2i, 13 groups: a block of eight, then four (more than four remain), then a tail of one.
    groupedCase<2, Zem8u, Zem32f>(zemsFormVector_2i_8u32f, 26, {1, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0, 0, 2}, 3, zemStatusOk, 13);
    groupedCase<2, Zem8u, Zem16s>(zemsFormVector_2i_8u16s, 26, {1, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}, 3, zemStatusBadSize, 12);
    // 2i, 12 groups: one block of eight, then four groups taken one by one as the tail.
    groupedCase<2, Zem8u, Zem16s>(zemsFormVector_2i_8u16s, 24, {1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1}, 3, zemStatusBadSize, 9);
    // Offsets past 65536 bytes wrap on the long path, not on the short one.
    groupedCase<4, Zem16s, Zem32f>(zemsFormVector_4i_16s32f, 20, {4097, 4100, 1, 2, 5000}, 5001, zemStatusOk, 5);
    groupedCase<4, Zem16s, Zem16s>(zemsFormVector_4i_16s16s, 16, {8193, 1, 2, 9000}, 9001, zemStatusOk, 4);
    groupedCase<2, Zem16s, Zem32f>(zemsFormVector_2i_16s32f, 18, {8193, 1, 2, 3, 4, 5, 6, 7, 8200}, 8201, zemStatusOk, 9);
    groupedCase<2, Zem16s, Zem16s>(zemsFormVector_2i_16s16s, 18, {16385, 1, 2, 3, 4, 5, 6, 7, 9}, 16386, zemStatusOk, 9);
    // Below one group nothing is written.
    groupedCase<4, Zem16s, Zem16s>(zemsFormVector_4i_16s16s, 3, {1}, 4, zemStatusOk, 0);
}

TEST(FormVector, OnlyThe2iFloatFormAcceptsANumberEqualToTheSize) {
    const std::vector<Zem32f> t = {1, 2, 3, 4, 5, 6};
    const std::vector<Zem16s> t16 = {1, 2, 3, 4, 5, 6};
    const Zem32f* tf[1] = {t.data()};
    const Zem16s* ts[1] = {t16.data()};
    const int sizes[1] = {2};
    const Zem16s idx[1] = {2};
    const Zem8u idx8[1] = {2};
    Zem32f df[2] = {0, 0};
    Zem16s ds[2] = {0, 0};
    EXPECT_EQ(zemsFormVector_2i_16s32f(idx, tf, sizes, df, 2), zemStatusOk);
    EXPECT_EQ(df[0], 5.0f);
    EXPECT_EQ(zemsFormVector_2i_16s16s(idx, ts, sizes, ds, 2), zemStatusBadSize);
    EXPECT_EQ(zemsFormVector_2i_8u32f(idx8, tf, sizes, df, 2), zemStatusBadSize);
    EXPECT_EQ(zemsFormVector_4i_16s32f(idx, tf, sizes, df, 4), zemStatusBadSize);
}

TEST(SplitVQ, CheckOrders) {
    HandBook<Zem32f> a, b, big;
    ramp(a, 8);
    ramp(b, 2);
    ramp(big, 257);
    Zem32f src[8] = {};
    Zem32f vec[8];
    Zem16s n16[8];
    Zem8u n8[8];
    struct A {
        ZemsCdbkState_32f* cb[2];
        const void* src;
        void* dst;
        int srcStep = 2, dstStep = 4, height = 2, n = 2;
    };
    const std::vector<Region> out = {region(vec, 8), region(n16, 8), region(n8, 8)};
    // Split: null array, src, dst; sizes; the codebooks; their widths; the bits.
    auto splitBreaks = [&](bool bytes, bool bitsForm) {
        std::vector<Break<A>> v;
        v.push_back({"src", [](A& x) { x.src = nullptr; }, zemStatusNullPointer});
        v.push_back({"dst", [](A& x) { x.dst = nullptr; }, zemStatusNullPointer});
        v.push_back({"height", [](A& x) { x.height = 0; }, zemStatusBadSize});
        if (!bitsForm) v.push_back({"n>step", [](A& x) { x.n = 5; x.dstStep = 4; x.srcStep = 4; }, zemStatusBadSize});
        v.push_back({"cdbk[0]", [](A& x) { x.cb[0] = nullptr; }, zemStatusNullPointer});
        if (bytes) v.push_back({"257 rows", [&](A& x) { x.cb[1] = big.get(); }, zemStatusBadSize});
        v.push_back({"widths", [](A& x) { x.srcStep = 1; }, zemStatusBadSize});
        if (bitsForm) v.push_back({"bits", [](A& x) { x.dstStep = 3; }, zemStatusBadSize});
        return v;
    };
    const A valid{{a.get(), b.get()}, src, nullptr};
    auto with = [&](void* dst) { A v = valid; v.dst = dst; return v; };
    using C = ZemsCdbkState_32f* const*;
    auto f = [](const A& x) { return static_cast<const Zem32f*>(x.src); };
    expectCheckOrder<A>("zemsSplitVQ_32f16s", with(n16), [&](const A& x) {
        return zemsSplitVQ_32f16s(f(x), x.srcStep, (Zem16s*)x.dst, x.dstStep, x.height, C(x.cb), x.n);
    }, splitBreaks(false, false), out);
    expectCheckOrder<A>("zemsSplitVQ_32f8u", with(n8), [&](const A& x) {
        return zemsSplitVQ_32f8u(f(x), x.srcStep, (Zem8u*)x.dst, x.dstStep, x.height, C(x.cb), x.n);
    }, splitBreaks(true, false), out);
    expectCheckOrder<A>("zemsSplitVQ_32f1u", with(n8), [&](const A& x) {
        return zemsSplitVQ_32f1u(f(x), x.srcStep, (Zem8u*)x.dst, x.dstStep, x.height, C(x.cb), x.n);
    }, splitBreaks(false, true), out);
    // Forming: numbers in src, vectors in dst; dstStep is the vector step.
    A form = valid;
    form.src = n8;
    form.dst = vec;
    form.srcStep = 4;
    form.dstStep = 2;
    std::memset(n8, 0, sizeof n8);
    auto formBreaks = [&](bool bytes, bool bitsForm) {
        std::vector<Break<A>> v;
        v.push_back({"src", [](A& x) { x.src = nullptr; }, zemStatusNullPointer});
        v.push_back({"dst", [](A& x) { x.dst = nullptr; }, zemStatusNullPointer});
        v.push_back({"height", [](A& x) { x.height = 0; }, zemStatusBadSize});
        if (!bitsForm) v.push_back({"n>step", [](A& x) { x.n = 5; x.srcStep = 4; x.dstStep = 4; }, zemStatusBadSize});
        v.push_back({"cdbk[0]", [](A& x) { x.cb[0] = nullptr; }, zemStatusNullPointer});
        if (bytes) v.push_back({"257 rows", [&](A& x) { x.cb[1] = big.get(); }, zemStatusBadSize});
        v.push_back({"widths", [](A& x) { x.dstStep = 1; }, zemStatusBadSize});
        if (bitsForm) v.push_back({"bits", [](A& x) { x.srcStep = 3; }, zemStatusBadSize});
        return v;
    };
    const std::vector<Region> vecOut = {region(vec, 8)};
    expectCheckOrder<A>("zemsFormVectorVQ_8u32f", form, [&](const A& x) {
        return zemsFormVectorVQ_8u32f((const Zem8u*)x.src, x.srcStep, (Zem32f*)x.dst, x.dstStep, x.height, C(x.cb), x.n);
    }, formBreaks(true, false), vecOut);
    expectCheckOrder<A>("zemsFormVectorVQ_1u32f", form, [&](const A& x) {
        return zemsFormVectorVQ_1u32f((const Zem8u*)x.src, x.srcStep, (Zem32f*)x.dst, x.dstStep, x.height, C(x.cb), x.n);
    }, formBreaks(false, true), vecOut);
}

}  // namespace
