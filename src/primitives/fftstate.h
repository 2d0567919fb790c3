// The records of the real transform.
#pragma once

#include "zemsr.h"

inline constexpr Zem32s kFFTStateId = 6;
inline constexpr Zem32s kFFTState16Id = 0x434d414f;  // "OAMC"

struct ZemsFFTState_R_32f {
    Zem32s id;  // 6 while alive, 0 once freed or failed
    Zem32s order;
    Zem32s scaleFwd;
    Zem32s scaleInv;
    Zem32f scale;
    Zem32s hint;
    Zem32s bufSize;
    Zem32s owned;
    // Tables: per radix-4 stage the twiddles w^p, w^2p, w^3p as complex pairs (null for
    // the small orders, which build them per call), and the real-split weights
    // A(k) = (0.5 - 0.5 sin, -0.5 cos) at angle 2 pi k / N for k = 0 .. N/4.
    Zem32f* twiddles;
    Zem32f* split;
    void* allocation;  // what InitAlloc took from the allocator
};

struct ZemsFFTState_R_16s {
    Zem32s id;
    Zem32s order;
    Zem32s hint;
    Zem32s bufSize;
    Zem32s owned;
    ZemsFFTState_R_32f* pState;
    void* allocation;
};

namespace zem {
class Arena;
namespace fft {
// A float state and its tables laid out by an arena (null while measuring), and its fields
// and tables filled in; memInit is the set-up scratch of orders above 10.  The 16-bit
// wrapper lays its float state out in its own block with these.
ZemsFFTState_R_32f* layState(Arena& arena, int order);
void fillState(ZemsFFTState_R_32f* st, int order, int flag, int hint, Zem8u* memInit);
}  // namespace fft
}  // namespace zem
