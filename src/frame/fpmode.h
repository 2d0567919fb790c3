// Rounding-direction guards.  Only the rounding bits of the SSE control register are
// changed and put back: exception flags raised meanwhile stay as they are, so the
// caller's flags are neither cleared nor masked.
#pragma once

#include <immintrin.h>

namespace zem {

class RoundingGuard {
public:
    static constexpr unsigned kNearest = 0x0000u;
    static constexpr unsigned kTowardZero = 0x6000u;

    explicit RoundingGuard(unsigned mode) : saved_(_mm_getcsr() & kMask) {
        if (saved_ != mode) _mm_setcsr((_mm_getcsr() & ~kMask) | mode);
    }
    ~RoundingGuard() {
        const unsigned now = _mm_getcsr();
        if ((now & kMask) != saved_) _mm_setcsr((now & ~kMask) | saved_);
    }
    RoundingGuard(const RoundingGuard&) = delete;
    RoundingGuard& operator=(const RoundingGuard&) = delete;

private:
    static constexpr unsigned kMask = 0x6000u;
    unsigned saved_;
};

}  // namespace zem
