// Vector forming from plain tables: sub-vector i of the result is row index[i] of table i.
// The general form takes a length and a row distance per table; the 2i and 4i forms take
// sub-vectors of exactly G = 2 or 4 elements from packed tables, len / G of them.
//
// The grouped forms copy long vectors in blocks of groups and the rest one group at a
// time, and two rules of that path are intended: a tail group whose number is 0 ends the
// call with zemStatusBadSize (the groups before it written), and a group's byte offset in
// its table is formed in 16 bits, so it wraps modulo 65536.  Short vectors copy without
// either rule.
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "zemsr.h"

namespace {

template <class I, class T>
ZemStatus formVector(const I* index, const T* const* tables, const int* sizes, const int* lengths, const int* strides,
                     int n, T* dst) {
    auto subVectorsValid = [=] {
        for (int i = 0; i < n; ++i)
            if (lengths[i] < 1 || strides[i] < 1 || index[i] < 0 || index[i] >= sizes[i]) return false;
        return true;
    };
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(index, tables, sizes, lengths, strides, dst),
                                              zem::noNullRows(tables, n), zem::atLeastOne(n),
                                              zem::ensure(subVectorsValid, zemStatusBadSize)))
        return s;
    int64_t at = 0;
    for (int i = 0; i < n; ++i) {
        std::memcpy(dst + at, tables[i] + int64_t{index[i]} * strides[i], sizeof(T) * static_cast<size_t>(lengths[i]));
        at += lengths[i];
    }
    return zemStatusOk;
}

// Which numbers a grouped form accepts: 0 to sizes[i] - 1, or to sizes[i] for the one
// member whose upper test is looser.
enum class Upper { Below, UpTo };

template <int G, Upper kUpper, class I, class T>
ZemStatus formGroups(const I* index, const T* const* tables, const int* sizes, T* dst, int len) {
    const int groups = len > 0 ? len / G : 0;
    auto numbersValid = [=] {
        for (int i = 0; i < groups; ++i) {
            const int64_t top = kUpper == Upper::UpTo ? int64_t{sizes[i]} : int64_t{sizes[i]} - 1;
            if (index[i] < 0 || index[i] > top) return false;
        }
        return true;
    };
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(index, tables, sizes, dst), zem::noNullRows(tables, groups),
                                              zem::atLeastOne(len), zem::ensure(numbersValid, zemStatusBadSize)))
        return s;
    auto copyPlain = [&](int i) { std::memcpy(dst + G * i, tables[i] + G * int64_t{index[i]}, sizeof(T) * G); };
    // The long path's offset: G * element size * number in bytes, modulo 65536.
    auto copyWrapped = [&](int i) {
        const uint32_t bytes = (static_cast<uint32_t>(G * sizeof(T)) * static_cast<uint32_t>(index[i])) & 0xFFFFu;
        std::memcpy(dst + G * i, tables[i] + bytes / sizeof(T), sizeof(T) * G);
    };
    if (len <= 4 * G) {
        for (int i = 0; i < groups; ++i) copyPlain(i);
        return zemStatusOk;
    }
    int i = 0;
    if constexpr (G == 4) {
        for (; groups - i >= 4; i += 4)
            for (int k = 0; k < 4; ++k) copyWrapped(i + k);
    } else {
        for (; groups - i >= 8; i += 8)
            for (int k = 0; k < 8; ++k) copyWrapped(i + k);
        if (groups - i > 4) {
            for (int k = 0; k < 4; ++k) copyWrapped(i + k);
            i += 4;
        }
    }
    for (; i < groups; ++i) {
        if (index[i] == 0) return zemStatusBadSize;
        copyWrapped(i);
    }
    return zemStatusOk;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsFormVector_16s16s(const Zem16s* index, const Zem16s* const* tables, const int* sizes,
                                          const int* lengths, const int* strides, int n, Zem16s* dst) {
    return formVector(index, tables, sizes, lengths, strides, n, dst);
}

ZEMSR_API ZemStatus zemsFormVector_16s32f(const Zem16s* index, const Zem32f* const* tables, const int* sizes,
                                          const int* lengths, const int* strides, int n, Zem32f* dst) {
    return formVector(index, tables, sizes, lengths, strides, n, dst);
}

ZEMSR_API ZemStatus zemsFormVector_8u16s(const Zem8u* index, const Zem16s* const* tables, const int* sizes,
                                         const int* lengths, const int* strides, int n, Zem16s* dst) {
    return formVector(index, tables, sizes, lengths, strides, n, dst);
}

ZEMSR_API ZemStatus zemsFormVector_8u32f(const Zem8u* index, const Zem32f* const* tables, const int* sizes,
                                         const int* lengths, const int* strides, int n, Zem32f* dst) {
    return formVector(index, tables, sizes, lengths, strides, n, dst);
}

ZEMSR_API ZemStatus zemsFormVector_2i_16s16s(const Zem16s* index, const Zem16s* const* tables, const int* sizes,
                                             Zem16s* dst, int len) {
    return formGroups<2, Upper::Below>(index, tables, sizes, dst, len);
}

// The one grouped member that also accepts a number equal to its table's size.
ZEMSR_API ZemStatus zemsFormVector_2i_16s32f(const Zem16s* index, const Zem32f* const* tables, const int* sizes,
                                             Zem32f* dst, int len) {
    return formGroups<2, Upper::UpTo>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_2i_8u16s(const Zem8u* index, const Zem16s* const* tables, const int* sizes,
                                            Zem16s* dst, int len) {
    return formGroups<2, Upper::Below>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_2i_8u32f(const Zem8u* index, const Zem32f* const* tables, const int* sizes,
                                            Zem32f* dst, int len) {
    return formGroups<2, Upper::Below>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_4i_16s16s(const Zem16s* index, const Zem16s* const* tables, const int* sizes,
                                             Zem16s* dst, int len) {
    return formGroups<4, Upper::Below>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_4i_16s32f(const Zem16s* index, const Zem32f* const* tables, const int* sizes,
                                             Zem32f* dst, int len) {
    return formGroups<4, Upper::Below>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_4i_8u16s(const Zem8u* index, const Zem16s* const* tables, const int* sizes,
                                            Zem16s* dst, int len) {
    return formGroups<4, Upper::Below>(index, tables, sizes, dst, len);
}

ZEMSR_API ZemStatus zemsFormVector_4i_8u32f(const Zem8u* index, const Zem32f* const* tables, const int* sizes,
                                            Zem32f* dst, int len) {
    return formGroups<4, Upper::Below>(index, tables, sizes, dst, len);
}

}  // extern "C"
