// Log-domain addition: srcDst[i] = ln(exp(src[i]) + exp(srcDst[i])), elementwise.
//
// Every element goes through the group body, eight lanes at a time; the last few are
// padded into one more group.  Integer forms convert blocks of at most 128 elements to
// Zem32f on the stack, scale, add, and convert back truncating.
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/scale.h"
#include "logcore.h"
#include "own.h"

namespace simd = zem::simd;
namespace ld = zem::logdomain;

namespace {

// Applies a group body to all of src/srcDst; the lanes past the end are padded with
// zeros, which cannot disturb the others.
template <class T, class Group>
void addInGroups(const T* src, T* srcDst, int len, Group group) {
    constexpr int L = simd::kLanes<T>;
    int i = 0;
    for (; i + L <= len; i += L) simd::store(srcDst + i, group(simd::load(src + i), simd::load(srcDst + i)));
    if (i < len) {
        T a[L] = {}, b[L] = {};
        for (int k = 0; k < len - i; ++k) a[k] = src[i + k], b[k] = srcDst[i + k];
        simd::store(b, group(simd::load(a), simd::load(b)));
        for (int k = 0; k < len - i; ++k) srcDst[i + k] = b[k];
    }
}

template <class T>
void logAddInteger(const T* src, T* srcDst, int len, int scaleFactor) {
    constexpr bool k16 = std::is_same_v<T, Zem16s>;
    const float factor = static_cast<float>(zem::pow2Neg64f(scaleFactor));
    const int64_t back64 = -static_cast<int64_t>(scaleFactor);
    const int back = static_cast<int>(back64 > INT32_MAX ? INT32_MAX : back64);
    constexpr int kBlock = 128;
    alignas(32) Zem32f a[kBlock];
    alignas(32) Zem32f b[kBlock];
    for (int start = 0; start < len; start += kBlock) {
        const int n = len - start < kBlock ? len - start : kBlock;
        if constexpr (k16) {
            ownConvert_16s32f(src + start, a, n);
            ownConvert_16s32f(srcDst + start, b, n);
        } else {
            ownConvert_32s32f(src + start, a, n);
            ownConvert_32s32f(srcDst + start, b, n);
        }
        ownMulC_32f_I(factor, a, n);
        ownMulC_32f_I(factor, b, n);
        ownLogAddBlock_32f(a, b, n);
        if constexpr (k16) ownConvert_32f16s_Sfs(b, srcDst + start, n, 0, back);
        else ownConvert_32f32s_Sfs(b, srcDst + start, n, 0, back);
    }
}

}  // namespace

void ownLogAddBlock_32f(const Zem32f* src, Zem32f* srcDst, int len) { addInGroups(src, srcDst, len, ld::addGroup32); }

void ownLogAddBlock_64f(const Zem64f* src, Zem64f* srcDst, int len) {
    addInGroups(src, srcDst, len, ld::addGroup64<ld::Horner64>);
}

extern "C" {

// The family's check order: the length first, then the pointers.
ZEMSR_API ZemStatus zemsLogAdd_32f(const Zem32f* src, Zem32f* srcDst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst)))
        return s;
    ownLogAddBlock_32f(src, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogAdd_64f(const Zem64f* src, Zem64f* srcDst, int len, int hint) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst)))
        return s;
    // Hints 0, 1 and 2 select nothing; any other value returns success untouched.
    if (hint < 0 || hint > 2) return zemStatusOk;
    ownLogAddBlock_64f(src, srcDst, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogAdd_16s_Sfs(const Zem16s* src, Zem16s* srcDst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst)))
        return s;
    logAddInteger(src, srcDst, len, scaleFactor);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsLogAdd_32s_Sfs(const Zem32s* src, Zem32s* srcDst, int len, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::atLeastOne(len),
                                              zem::nonNull(src, srcDst)))
        return s;
    logAddInteger(src, srcDst, len, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
