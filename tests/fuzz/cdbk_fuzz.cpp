// A codebook trained on fuzzed vectors, then searched with every search, and a split
// quantisation through two copies of it formed back into vectors: the numbers must name
// codewords, and forming must give back exactly the codewords they name.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz.h"

namespace {

template <class T>
T value(FuzzedDataProvider& in) {
    if constexpr (std::is_same_v<T, Zem32f>) return fuzzFloat(in);
    else return in.ConsumeBool() ? in.ConsumeIntegralInRange<Zem16s>(-300, 300) : in.ConsumeIntegral<Zem16s>();
}

struct Api32f {
    using T = Zem32f;
    using State = ZemsCdbkState_32f;
    static ZemStatus train(State** s, const T* src, const T* w, int width, int step, int height, int size, int hint) {
        return w ? zemsCdbkInitAlloc_WgtL2_32f(s, src, w, width, step, height, size, hint)
                 : zemsCdbkInitAlloc_L2_32f(s, src, width, step, height, size, hint);
    }
    static ZemStatus release(State* s) { return zemsCdbkFree_32f(s); }
    static ZemStatus count(const State* s, Zem32s* n) { return zemsGetCdbkSize_32f(s, n); }
    static ZemStatus rows(const State* s, T* dst, int step) { return zemsGetCodebook_32f(s, dst, step); }
    static ZemStatus search(const T* src, int step, Zem32s* idx, int height, const State* s) {
        return zemsVQ_32f(src, step, idx, height, s);
    }
    static ZemStatus sorted(const T* src, Zem32s* idx, State* s, int num) { return zemsVQSingle_Sort_32f(src, idx, s, num); }
    static ZemStatus near(const T* src, Zem32s* idx, State* s, float rel, Zem32s* count) {
        return zemsVQSingle_Thresh_32f(src, idx, s, rel, count);
    }
    static ZemStatus split(const T* src, int step, Zem8u* dst, int bits, int height, State* const* s, int n) {
        return zemsSplitVQ_32f1u(src, step, dst, bits, height, s, n);
    }
    static ZemStatus form(const Zem8u* src, int bits, T* dst, int step, int height, State* const* s, int n) {
        return zemsFormVectorVQ_1u32f(src, bits, dst, step, height, s, n);
    }
};

struct Api16s {
    using T = Zem16s;
    using State = ZemsCdbkState_16s;
    static ZemStatus train(State** s, const T* src, const T* w, int width, int step, int height, int size, int hint) {
        return w ? zemsCdbkInitAlloc_WgtL2_16s(s, src, w, width, step, height, size, hint)
                 : zemsCdbkInitAlloc_L2_16s(s, src, width, step, height, size, hint);
    }
    static ZemStatus release(State* s) { return zemsCdbkFree_16s(s); }
    static ZemStatus count(const State* s, Zem32s* n) { return zemsGetCdbkSize_16s(s, n); }
    static ZemStatus rows(const State* s, T* dst, int step) { return zemsGetCodebook_16s(s, dst, step); }
    static ZemStatus search(const T* src, int step, Zem32s* idx, int height, const State* s) {
        return zemsVQ_16s(src, step, idx, height, s);
    }
    static ZemStatus sorted(const T* src, Zem32s* idx, State* s, int num) { return zemsVQSingle_Sort_16s(src, idx, s, num); }
    static ZemStatus near(const T* src, Zem32s* idx, State* s, float rel, Zem32s* count) {
        return zemsVQSingle_Thresh_16s(src, idx, s, rel, count);
    }
    static ZemStatus split(const T* src, int step, Zem8u* dst, int bits, int height, State* const* s, int n) {
        return zemsSplitVQ_16s1u(src, step, dst, bits, height, s, n);
    }
    static ZemStatus form(const Zem8u* src, int bits, T* dst, int step, int height, State* const* s, int n) {
        return zemsFormVectorVQ_1u16s(src, bits, dst, step, height, s, n);
    }
};

template <class Api>
void run(FuzzedDataProvider& in) {
    using T = typename Api::T;
    const int width = in.ConsumeIntegralInRange<int>(1, 6);
    const int step = width + in.ConsumeIntegralInRange<int>(0, 2);
    const int height = in.ConsumeIntegralInRange<int>(1, 48);
    const int size = in.ConsumeIntegralInRange<int>(-1, height + 2);
    const int hint = in.ConsumeBool() ? in.ConsumeIntegralInRange<int>(1, 3) : in.ConsumeIntegral<int>();
    std::vector<T> train(static_cast<size_t>((height - 1) * step + width));
    for (T& v : train) v = value<T>(in);
    std::vector<T> weights(static_cast<size_t>(width));
    for (T& v : weights) v = value<T>(in);
    const bool weighted = in.ConsumeBool();

    typename Api::State* book = nullptr;
    const ZemStatus st = Api::train(&book, train.data(), weighted ? weights.data() : nullptr, width, step, height, size, hint);
    if (st < 0) {
        FUZZ_REQUIRE(book == nullptr || st == zemStatusNoMemory);
        return;
    }
    Zem32s count = 0;
    FUZZ_REQUIRE(Api::count(book, &count) >= 0 && count >= 1);
    std::vector<T> words(static_cast<size_t>(count) * width);
    FUZZ_REQUIRE(Api::rows(book, words.data(), width) >= 0);

    // Block search of fuzzed queries: every answer names a codeword, or is -1 where a list
    // finds no distance below the largest float (infinite or NaN distances).
    const int queries = in.ConsumeIntegralInRange<int>(1, 16);
    std::vector<T> q(static_cast<size_t>(queries) * width);
    for (T& v : q) v = value<T>(in);
    std::vector<Zem32s> idx(static_cast<size_t>(queries), -1);
    if (Api::search(q.data(), width, idx.data(), queries, book) >= 0)
        for (Zem32s k : idx) FUZZ_REQUIRE(k >= (hint == ZEM_CDBK_LIST ? -1 : 0) && k < count);

    // Single-vector searches: the nearest num in order, and all near the best.
    const int num = in.ConsumeIntegralInRange<int>(1, count);
    std::vector<Zem32s> best(static_cast<size_t>(count), -1);
    if (Api::sorted(q.data(), best.data(), book, num) >= 0)
        for (int j = 0; j < num; ++j) FUZZ_REQUIRE(best[j] >= 0 && best[j] < count);
    Zem32s within = -1;
    if (Api::near(q.data(), best.data(), book, in.ConsumeFloatingPointInRange<float>(1.0f, 4.0f), &within) >= 0) {
        FUZZ_REQUIRE(within >= 0 && within <= count);
        for (int j = 0; j < within; ++j) FUZZ_REQUIRE(best[j] >= 0 && best[j] < count);
    }

    // Split quantisation through the codebook twice, then back: the formed vectors are
    // exactly the codewords the stream names.
    if (hint >= 1 && hint <= 3) {
        typename Api::State* const books[2] = {book, book};
        std::vector<T> pairs(static_cast<size_t>(queries) * 2 * width);
        for (T& v : pairs) v = value<T>(in);
        const int bits = 40;
        std::vector<Zem8u> stream(static_cast<size_t>((queries * bits + 7) / 8));
        if (Api::split(pairs.data(), 2 * width, stream.data(), bits, queries, books, 2) >= 0) {
            std::vector<T> formed(pairs.size());
            FUZZ_REQUIRE(Api::form(stream.data(), bits, formed.data(), 2 * width, queries, books, 2) >= 0);
            for (int r = 0; r < queries; ++r)
                for (int k = 0; k < 2; ++k) {
                    Zem32s found = -1;
                    FUZZ_REQUIRE(Api::search(&pairs[(2 * r + k) * width], width, &found, 1, book) >= 0);
                    if (found < 0) continue;
                    FUZZ_REQUIRE(std::memcmp(&formed[(2 * r + k) * width], &words[found * width], sizeof(T) * width) == 0);
                }
        }
    }
    FUZZ_REQUIRE(Api::release(book) == zemStatusOk);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    if (in.ConsumeBool()) run<Api32f>(in);
    else run<Api16s>(in);
    return 0;
}
