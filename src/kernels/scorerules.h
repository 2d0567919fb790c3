// How a 16-bit score ends: from the sum of weighted squared differences to the value
// stored, form by form.  Each rule below is written once and serves the single-frame,
// block and mixture families alike.
//
// A form's rule is a small object holding the width and the scale factor; it is called
// as rule(x, m, w, val) for a frame row x, a mean row m, a var row w (unused by the
// identity forms) and the Gaussian's constant val, and returns the score.  Forms that
// keep the larger of score and destination also offer rule.larger(dst, x, m, w, val).
#pragma once

#include <cstdint>
#include <immintrin.h>

#include "frame/scale.h"
#include "kernels/gauss16.h"
#include "zemsr.h"

namespace zem::scorerules {

// 2^|n| from an integer shift, the count held to 63.
inline float shiftedOne(int64_t n) {
    if (n < 0) n = -n;
    return static_cast<float>(uint64_t{1} << (n > 63 ? 63 : n));
}

inline int clampedInt(int64_t v) { return static_cast<int>(v > INT32_MAX ? INT32_MAX : (v < INT32_MIN ? INT32_MIN : v)); }

// 2^-(sf + 1) from the float table: the +1 stands for halving the sum.
inline float halvingScale(int sf) { return pow2Neg32f(clampedInt(int64_t{sf} + 1)); }

// val - s * f: the end of the forms that scale by the float table.
inline float scaledScore(float val, float s, float f) { return val - s * f; }

// val + s * 2^-n with the power of two built from an integer shift: multiplied for n
// below 0, divided from 0 on.  s is the sum held negative.
inline float plusShifted(float val, float s, int64_t n) {
    return n < 0 ? val + s * shiftedOne(n) : val + s / shiftedOne(n);
}

inline Zem32s truncated(float r) { return _mm_cvttss_si32(_mm_set_ss(r)); }

// The Max rule of a float score against an integer destination: the destination goes
// to float and the larger is truncated back, so a destination beyond 24 bits may move.
inline Zem32s maxTruncated(Zem32s dst, float r) {
    const float d = static_cast<float>(dst);
    return truncated(r > d ? r : d);
}

// The rounded integer end: halve, scale by a power of two built from the low 6 bits of
// |sf|, subtract from val, clamp to [-2^31, 2^31] and round; 2^31 converts to -2^31.
inline Zem32s halvedShiftedRounded(float s, Zem32s val, int sf) {
    s = s * 0.5f;
    const uint32_t magnitude = sf < 0 ? 0u - static_cast<uint32_t>(sf) : static_cast<uint32_t>(sf);
    const float p = shiftedOne(magnitude & 63u);
    s = sf >= 0 ? s / p : s * p;
    return roundScoreToInt32(static_cast<float>(val) - s);
}

// Weighted 16-bit forms below scale factor 0 (and the single-frame Low forms there): the
// float sum of groups of 8, held negative, scaled by 2^-(sf + 1) onto val.
inline float lowBelowZero(const Zem16s* x, const Zem16s* m, const Zem16s* w, int width, float val, int sf) {
    return plusShifted(val, -gauss16::sumGroupsOf8(x, m, w, width), int64_t{sf} + 1);
}

// ---- Weighted block and mixture rules -------------------------------------------------

// Integer destination, rounded to nearest: r = float(val) + s scaled by 2^-(sf + 1).
struct PlainRounded16 {
    int width, sf;
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, Zem32s val) const {
        return roundScoreToInt32(plusShifted(static_cast<float>(val), -gauss16::laneSumFloat(x, m, w, width),
                                             int64_t{sf} + 1));
    }
};

// Float destination: val - s * 2^-(sf + 1).
struct Scaled16 {
    int width;
    float f;
    Scaled16(int w, int sf) : width(w), f(halvingScale(sf)) {}
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, float val) const {
        return scaledScore(val, gauss16::laneSumFloat(x, m, w, width), f);
    }
};

// The integer lanes from scale factor 0, the float sum below it.
struct Low16 {
    int width, sf;
    gauss16::LowShifts shifts;
    Low16(int w, int s) : width(w), sf(s), shifts(gauss16::lowShiftsAtEnd(s)) {}
    int32_t integer(const Zem16s* x, const Zem16s* m, const Zem16s* w, Zem32s val) const {
        return gauss16::wrapAdd(gauss16::lowSum<true>(x, m, w, width, shifts), val);
    }
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, Zem32s val) const {
        if (sf < 0) return truncated(lowBelowZero(x, m, w, width, static_cast<float>(val), sf));
        return integer(x, m, w, val);
    }
    // Integers are compared from scale factor 0; below it the float rule.
    Zem32s larger(Zem32s dst, const Zem16s* x, const Zem16s* m, const Zem16s* w, Zem32s val) const {
        if (sf < 0) return maxTruncated(dst, lowBelowZero(x, m, w, width, static_cast<float>(val), sf));
        const int32_t s = integer(x, m, w, val);
        return s > dst ? s : dst;
    }
};

struct LowScaled16 {
    int width, sf;
    gauss16::LowShifts shifts;
    LowScaled16(int w, int s) : width(w), sf(s), shifts(gauss16::lowShiftsAtEnd(s)) {}
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, float val) const {
        if (sf < 0) return lowBelowZero(x, m, w, width, val, sf);
        return static_cast<float>(gauss16::lowSum<true>(x, m, w, width, shifts)) + val;
    }
};

// The single-frame Scaled form: the float sum of groups of 8, val - s * 2^-(sf + 1).
struct GroupsScaled16 {
    int width;
    float f;
    GroupsScaled16(int w, int sf) : width(w), f(halvingScale(sf)) {}
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s* w, float val) const {
        return scaledScore(val, gauss16::sumGroupsOf8(x, m, w, width), f);
    }
};

// ---- Identity-variance rules ----------------------------------------------------------

// The single-frame IdVarScaled form: the exact 64-bit sum of squares to float.
struct IdSquaresScaled16 {
    int width;
    float f;
    IdSquaresScaled16(int w, int sf) : width(w), f(halvingScale(sf)) {}
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s*, float val) const {
        return scaledScore(val, static_cast<float>(gauss16::identitySquares64(x, m, width)), f);
    }
};

// Float destination over float pair lanes: val - s * 2^-(sf + 1).
struct IdScaled16 {
    int width;
    float f;
    IdScaled16(int w, int sf) : width(w), f(halvingScale(sf)) {}
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s*, float val) const {
        return scaledScore(val, gauss16::pairLanesFloat<false>(x, m, width), f);
    }
};

// Float pair lanes, a last element squared in 64 bits, scaled by an integer power of two.
struct IdLowScaled16 {
    int width, sf;
    float operator()(const Zem16s* x, const Zem16s* m, const Zem16s*, float val) const {
        return plusShifted(val, -gauss16::pairLanesFloat<true>(x, m, width), int64_t{sf} + 1);
    }
};

// Integer destination, truncated toward zero without a clamp.
struct IdTruncated16 {
    int width, sf;
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s*, Zem32s val) const {
        return truncated(plusShifted(static_cast<float>(val), -gauss16::pairLanesFloat<false>(x, m, width),
                                     int64_t{sf} + 1));
    }
};

// Each pair shifted before it is subtracted; integers compared for n = sf + 1 >= 0.
struct IdLow16 {
    int width, sf;
    Zem32s operator()(const Zem16s* x, const Zem16s* m, const Zem16s*, Zem32s val) const {
        return gauss16::wrapAdd(gauss16::identityLowSum(x, m, width, int64_t{sf} + 1), val);
    }
    Zem32s larger(Zem32s dst, const Zem16s* x, const Zem16s* m, const Zem16s* w, Zem32s val) const {
        const int32_t s = (*this)(x, m, w, val);
        if (int64_t{sf} + 1 < 0) return maxTruncated(dst, static_cast<float>(s));
        return s > dst ? s : dst;
    }
};

}  // namespace zem::scorerules
