// Shared pieces of the block score families: frame access, checks, and the per-frame
// score rules.
#pragma once

#include <cstdint>

#include "frame/check.h"
#include "zemsr.h"

namespace zem::gaussblock {

// Frames of a _D2 block: row f at f * step.
template <class T>
struct FramesD2 {
    const T* src;
    int step;
    const T* operator()(int f) const { return src + static_cast<int64_t>(f) * step; }
};

// Frames of a _D2L matrix: one pointer per row.
template <class T>
struct FramesD2L {
    const T* const* rows;
    const T* operator()(int f) const { return rows[f]; }
};

// _D2: the stride first, then null pointers, then sizes.
template <class... P>
inline ZemStatus checkD2(int step, int width, int height, const P*... p) {
    if (width > step) return zemStatusBadStride;
    if (anyNull(p...)) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    return zemStatusOk;
}

// _D2L: null pointers, then sizes; row pointers in use are then checked for null.
template <class T, class... P>
inline ZemStatus checkD2L(const T* const* rows, int width, int height, const P*... p) {
    if (!rows || anyNull(p...)) return zemStatusNullPointer;
    if (width < 1 || height < 1) return zemStatusBadSize;
    if (anyNullRow(rows, height)) return zemStatusNullPointer;
    return zemStatusOk;
}

// 2^|n| from an integer shift, the count held to 63.
inline float shiftedOne(int64_t n) {
    if (n < 0) n = -n;
    return static_cast<float>(uint64_t{1} << (n > 63 ? 63 : n));
}

inline int clampedInt(int64_t v) { return static_cast<int>(v > INT32_MAX ? INT32_MAX : (v < INT32_MIN ? INT32_MIN : v)); }

// The Max forms of the plain and IdVar 16s32s scores run their whole kernel rounding
// toward zero (gaussblockmax.cpp); F is FramesD2 or FramesD2L of Zem16s.
template <class F>
void maxPlain16TowardZero(const F& frames, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height,
                          Zem32s val, int sf);
template <class F>
void maxIdentity16TowardZero(const F& frames, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val,
                             int sf);

}  // namespace zem::gaussblock
