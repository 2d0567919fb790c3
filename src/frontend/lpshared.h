// What the linear prediction, LP conversion and pitch families share: work arrays whose
// place (stack or allocator) is fixed by a size threshold of each function, and the
// 16-bit forms' conversions around the float algorithms.
#pragma once

#include <cstdint>

#include "frame/record.h"
#include "frame/scale.h"
#include "own.h"
#include "zemsr.h"

namespace zem::lp {

// A Scratch count that lands on the stack exactly when `small` holds: a count that would
// fit under the stack bound is raised past it when the function's threshold says heap,
// so that calls above a threshold always take the allocator (and can fail) and calls
// below never do.
inline int64_t placeBy(bool small, int64_t count, int64_t stackBound) {
    return small || count > stackBound ? count : stackBound + 1;
}

// 2^s for the conversions of the LP parameter forms, s limited to -150..128: 2^128 is
// +inf and 2^-150 is 0.
inline float pow2f(int64_t s) {
    const int c = static_cast<int>(s < -150 ? -150 : (s > 128 ? 128 : s));
    return exactPow2f(c);
}

// dst[i] = src[i] * factor in float.
template <class Int>
inline void widenScaled(const Int* src, float* dst, int n, float factor) {
    for (int i = 0; i < n; ++i) dst[i] = static_cast<float>(src[i]) * factor;
}

// The float results times factor, rounded to nearest (ties to even) and saturated to 16
// bits; work is overwritten by the scaled values.
inline void narrowScaled(float* work, Zem16s* dst, int n, float factor) {
    for (int i = 0; i < n; ++i) work[i] = work[i] * factor;
    ownConvert_32f16s_Sfs(work, dst, n, 1, 0);
}

}  // namespace zem::lp

namespace zem::lp {

// What a float body delivered: its status and the range of outputs it wrote.
struct Span {
    ZemStatus status;
    int begin, end;
};

// A 16-bit form around a float body: the input times inFactor in float, body(in, out),
// then the written range times outFactor, rounded and saturated into dst.  The work
// array (input and output floats) is on the stack when `small`, else allocated.
template <int64_t StackFloats, class Int, class Body>
ZemStatus aroundFloat(const Int* src, int nIn, float inFactor, Zem16s* dst, int nOut, float outFactor, bool small,
                      Body body) {
    Scratch<float, StackFloats> work(placeBy(small, int64_t{nIn} + nOut, StackFloats));
    if (!work.ok()) return zemStatusNoMemory;
    float* in = work.data();
    float* out = in + nIn;
    widenScaled(src, in, nIn, inFactor);
    const Span s = body(static_cast<const float*>(in), out);
    if (s.status != zemStatusNoMemory && s.end > s.begin)
        narrowScaled(out + s.begin, dst + s.begin, s.end - s.begin, outFactor);
    return s.status;
}

}  // namespace zem::lp
