// Split vector quantisation: each vector is cut into consecutive sub-vectors, one per
// codebook, and each is replaced by its codeword number; and the inverse, which rebuilds
// vectors from rows of numbers.  The numbers of a row are stored one per element (Zem16s
// or Zem8u) or as a bit field: row r starts at bit r * step, codebook k takes indexBits(k)
// bits in codebook order, bits run from the top of each byte down and each number is
// written most significant bit first.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/check.h"
#include "vq/search.h"

using namespace zem::vq;

namespace {

// Numbers kept one per element (Zem16s or Zem8u) or as bits.
struct Bits {};

template <class N>
constexpr bool kIsBits = std::is_same_v<N, Bits>;

// Writes the low `bits` bits of v at bit p, most significant first, into a cleared field.
void putBits(Zem8u* field, int64_t p, uint32_t v, int bits) {
    Zem8u* byte = field + p / 8;
    int free = 8 - static_cast<int>(p % 8);
    int left = bits;
    while (left >= free) {
        *byte = static_cast<Zem8u>(*byte | ((v >> (left - free)) & ((1u << free) - 1u)));
        left -= free;
        if (left == 0) return;
        ++byte;
        free = 8;
    }
    *byte = static_cast<Zem8u>(*byte | ((v & ((1u << left) - 1u)) << (free - left)));
}

uint32_t getBits(const Zem8u* field, int64_t p, int bits) {
    uint32_t v = 0;
    for (int b = 0; b < bits; ++b, ++p) v = (v << 1) | ((field[p / 8] >> (7 - p % 8)) & 1u);
    return v;
}

bool searched(Zem32s hint) {
    return hint == ZEM_CDBK_LIST || hint == ZEM_CDBK_SPLIT_WIDEST || hint == ZEM_CDBK_SPLIT_FULLEST;
}

// The per-codebook checks and the sums of widths and indexBits.
template <class T, class N>
struct CodebookSums {
    int64_t widths = 0;
    int64_t bits = 0;
};

template <class T, class N>
ZemStatus checkCodebooks(const StateT<T>* const* cdbks, int n, CodebookSums<T, N>* sums) {
    for (int k = 0; k < n; ++k) {
        const StateT<T>* cb = cdbks[k];
        if (!cb || !cb->rows || !cb->weights) return zemStatusNullPointer;
        if (std::is_same_v<N, Zem8u> && cb->numCodewords > 256) return zemStatusBadSize;
        // A bit field of a number is 0 to 31 bits wide (a caller-built state may hold anything).
        if (kIsBits<N> && (cb->indexBits < 0 || cb->indexBits > 31)) return zemStatusBadSize;
        sums->widths += cb->width;
        sums->bits += cb->indexBits;
    }
    return zemStatusOk;
}

// The common checks of both directions: `numStep` is the step of the numbers, `vecStep`
// that of the vectors.
template <class T, class N>
ZemStatus splitChecks(const void* src, const void* dst, const StateT<T>* const* cdbks, int numStep, int vecStep,
                      int height, int n, CodebookSums<T, N>* sums) {
    return zem::firstFailure(
        zem::nonNull(cdbks, src, dst), zem::atLeastOne(vecStep, numStep, height, n),
        zem::ensure(kIsBits<N> || n <= numStep, zemStatusBadSize),
        zem::checkedBy([=] { return checkCodebooks<T, N>(cdbks, n, sums); }),
        zem::ensure([=] { return sums->widths <= vecStep; }, zemStatusBadSize),
        zem::ensure([=] { return !kIsBits<N> || sums->bits <= numStep; }, zemStatusBadSize));
}

template <class T, class N>
using NumberPtr = std::conditional_t<kIsBits<N>, Zem8u, N>;

template <class T, class N>
ZemStatus splitVQ(const T* src, int srcStep, NumberPtr<T, N>* dst, int dstStep, int height,
                  const StateT<T>* const* cdbks, int n) {
    CodebookSums<T, N> sums;
    if (const ZemStatus s = splitChecks<T, N>(src, dst, cdbks, dstStep, srcStep, height, n, &sums)) return s;
    if constexpr (kIsBits<N>) std::memset(dst, 0, static_cast<size_t>((int64_t{dstStep} * height + 7) / 8));
    // src and dst walk as pointers: a codebook that is passed over moves neither.
    int64_t at = 0, out = 0;
    for (int r = 0; r < height; ++r) {
        int64_t bit = int64_t{r} * dstStep;
        for (int k = 0; k < n; ++k) {
            const State<T>& cb = *cdbks[k];
            if (!searched(cb.hint)) continue;
            Zem32s idx = 0;
            const int singleSf = std::is_same_v<T, Zem16s> ? widthScale(cb.width) : 0;
            if (searchOne(cb, src + at, singleSf, &idx, nullptr) == Found::Failed) return zemStatusFailed;
            if constexpr (kIsBits<N>) {
                putBits(dst, bit, static_cast<uint32_t>(idx), cb.indexBits);
                bit += cb.indexBits;
            } else {
                dst[out++] = static_cast<N>(idx);
            }
            at += cb.width;
        }
        at += srcStep - sums.widths;
        if constexpr (!kIsBits<N>) out += dstStep - n;
    }
    return zemStatusOk;
}

// A number outside the codebook copies nothing; dst still moves by the width.
template <class T, class N>
ZemStatus formVectorVQ(const NumberPtr<T, N>* src, int srcStep, T* dst, int dstStep, int height,
                       const StateT<T>* const* cdbks, int n) {
    CodebookSums<T, N> sums;
    if (const ZemStatus s = splitChecks<T, N>(src, dst, cdbks, srcStep, dstStep, height, n, &sums)) return s;
    int64_t out = 0;
    for (int r = 0; r < height; ++r) {
        int64_t bit = int64_t{r} * srcStep;
        for (int k = 0; k < n; ++k) {
            const State<T>& cb = *cdbks[k];
            int64_t number;
            if constexpr (kIsBits<N>) {
                number = getBits(src, bit, cb.indexBits);
                bit += cb.indexBits;
            } else {
                number = src[int64_t{r} * srcStep + k];
            }
            if (number >= 0 && number < cb.numCodewords)
                std::memcpy(dst + out, cb.rows + number * cb.rowStep, sizeof(T) * static_cast<size_t>(cb.width));
            out += cb.width;
        }
        out += dstStep - sums.widths;
    }
    return zemStatusOk;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsSplitVQ_16s16s(const Zem16s* src, int srcStep, Zem16s* dst, int dstStep, int height,
                                       ZemsCdbkState_16s* const* cdbks, int n) {
    return splitVQ<Zem16s, Zem16s>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsSplitVQ_16s8u(const Zem16s* src, int srcStep, Zem8u* dst, int dstStep, int height,
                                      ZemsCdbkState_16s* const* cdbks, int n) {
    return splitVQ<Zem16s, Zem8u>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsSplitVQ_16s1u(const Zem16s* src, int srcStep, Zem8u* dst, int dstStepBits, int height,
                                      ZemsCdbkState_16s* const* cdbks, int n) {
    return splitVQ<Zem16s, Bits>(src, srcStep, dst, dstStepBits, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsSplitVQ_32f16s(const Zem32f* src, int srcStep, Zem16s* dst, int dstStep, int height,
                                       ZemsCdbkState_32f* const* cdbks, int n) {
    return splitVQ<Zem32f, Zem16s>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsSplitVQ_32f8u(const Zem32f* src, int srcStep, Zem8u* dst, int dstStep, int height,
                                      ZemsCdbkState_32f* const* cdbks, int n) {
    return splitVQ<Zem32f, Zem8u>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsSplitVQ_32f1u(const Zem32f* src, int srcStep, Zem8u* dst, int dstStepBits, int height,
                                      ZemsCdbkState_32f* const* cdbks, int n) {
    return splitVQ<Zem32f, Bits>(src, srcStep, dst, dstStepBits, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_16s16s(const Zem16s* src, int srcStep, Zem16s* dst, int dstStep, int height,
                                            ZemsCdbkState_16s* const* cdbks, int n) {
    return formVectorVQ<Zem16s, Zem16s>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_8u16s(const Zem8u* src, int srcStep, Zem16s* dst, int dstStep, int height,
                                           ZemsCdbkState_16s* const* cdbks, int n) {
    return formVectorVQ<Zem16s, Zem8u>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_1u16s(const Zem8u* src, int srcStepBits, Zem16s* dst, int dstStep, int height,
                                           ZemsCdbkState_16s* const* cdbks, int n) {
    return formVectorVQ<Zem16s, Bits>(src, srcStepBits, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_16s32f(const Zem16s* src, int srcStep, Zem32f* dst, int dstStep, int height,
                                            ZemsCdbkState_32f* const* cdbks, int n) {
    return formVectorVQ<Zem32f, Zem16s>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_8u32f(const Zem8u* src, int srcStep, Zem32f* dst, int dstStep, int height,
                                           ZemsCdbkState_32f* const* cdbks, int n) {
    return formVectorVQ<Zem32f, Zem8u>(src, srcStep, dst, dstStep, height, cdbks, n);
}

ZEMSR_API ZemStatus zemsFormVectorVQ_1u32f(const Zem8u* src, int srcStepBits, Zem32f* dst, int dstStep, int height,
                                           ZemsCdbkState_32f* const* cdbks, int n) {
    return formVectorVQ<Zem32f, Bits>(src, srcStepBits, dst, dstStep, height, cdbks, n);
}

}  // extern "C"
