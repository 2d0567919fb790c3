// Fills and copies: plain bit moves.  Zero fills and copies share one byte-based body.
#include <cstring>

#include "frame/check.h"
#include "own.h"


namespace {

template <class T>
ZemStatus setBody(T val, T* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dst), zem::atLeastOne(len))) return s;
    for (int i = 0; i < len; ++i) dst[i] = val;
    return zemStatusOk;
}

ZemStatus zeroBytes(void* dst, int len, size_t elementSize) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(dst), zem::atLeastOne(len))) return s;
    std::memset(dst, 0, static_cast<size_t>(len) * elementSize);
    return zemStatusOk;
}

ZemStatus copyBytes(const void* src, void* dst, int len, size_t elementSize) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    std::memcpy(dst, src, static_cast<size_t>(len) * elementSize);
    return zemStatusOk;
}

}  // namespace

ZemStatus ownSet_8u(Zem8u val, Zem8u* dst, int len) { return setBody(val, dst, len); }
ZemStatus ownSet_16s(Zem16s val, Zem16s* dst, int len) { return setBody(val, dst, len); }
ZemStatus ownSet_32s(Zem32s val, Zem32s* dst, int len) { return setBody(val, dst, len); }
ZemStatus ownSet_32f(Zem32f val, Zem32f* dst, int len) { return setBody(val, dst, len); }
ZemStatus ownSet_64f(Zem64f val, Zem64f* dst, int len) { return setBody(val, dst, len); }

ZemStatus ownZero_8u(Zem8u* dst, int len) { return zeroBytes(dst, len, sizeof(Zem8u)); }
ZemStatus ownZero_16s(Zem16s* dst, int len) { return zeroBytes(dst, len, sizeof(Zem16s)); }
ZemStatus ownZero_32f(Zem32f* dst, int len) { return zeroBytes(dst, len, sizeof(Zem32f)); }

ZemStatus ownCopy_8u(const Zem8u* src, Zem8u* dst, int len) { return copyBytes(src, dst, len, sizeof(Zem8u)); }
ZemStatus ownCopy_16s(const Zem16s* src, Zem16s* dst, int len) { return copyBytes(src, dst, len, sizeof(Zem16s)); }
ZemStatus ownCopy_32f(const Zem32f* src, Zem32f* dst, int len) { return copyBytes(src, dst, len, sizeof(Zem32f)); }
ZemStatus ownCopy_64f(const Zem64f* src, Zem64f* dst, int len) { return copyBytes(src, dst, len, sizeof(Zem64f)); }

ZemStatus ownMove_32f(const Zem32f* src, Zem32f* dst, int len) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    std::memmove(dst, src, static_cast<size_t>(len) * sizeof(Zem32f));
    return zemStatusOk;
}
