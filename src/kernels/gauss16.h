// The 16-bit feature pipelines shared by the distance and score families.
//
// Every pipeline forms d = x - m in groups of 8 with 16-bit saturation.  The leftover
// elements are treated differently from pipeline to pipeline, which shows only when a
// difference does not fit in 16 bits; each function below says what it does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <initializer_list>
#include <type_traits>

#include "zemsr.h"

namespace zem::gauss16 {

inline int32_t saturatedDifference(Zem16s x, Zem16s m) {
    const int32_t d = int32_t{x} - int32_t{m};
    return d > 32767 ? 32767 : (d < -32768 ? -32768 : d);
}

inline float weightOf(const Zem16s* var, int i) { return static_cast<float>(var[i]); }
inline float weightOf(const float* var, int i) { return var[i]; }
inline float weightOf(std::nullptr_t, int) { return 1.0f; }

// The float sum of 16-bit data: groups of 8 take the saturated difference, square it
// exactly in 32 bits and weight it in Zem32f; each group is summed as
// ((p1 + p5) + (p3 + p7)) + ((p0 + p4) + (p2 + p6)) and added to one running float.
// Leftover elements use the exact difference, squared in Zem32f.  W is Zem16s weights,
// float weights (reciprocals), or nullptr for a weight of one.
template <class W>
inline float sumGroupsOf8(const Zem16s* x, const Zem16s* m, W var, int len) {
    constexpr bool kWeighted = !std::is_same_v<W, std::nullptr_t>;
    float s = 0.0f;
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        float p[8];
        for (int k = 0; k < 8; ++k) {
            const int32_t d = saturatedDifference(x[i + k], m[i + k]);
            p[k] = static_cast<float>(d * d);
            if constexpr (kWeighted) p[k] = p[k] * weightOf(var, i + k);
        }
        s += ((p[1] + p[5]) + (p[3] + p[7])) + ((p[0] + p[4]) + (p[2] + p[6]));
    }
    for (; i < len; ++i) {
        const float e = static_cast<float>(int32_t{x[i]} - int32_t{m[i]});
        s += kWeighted ? (e * e) * weightOf(var, i) : e * e;
    }
    return s;
}

// ---- The integer Low pipeline -------------------------------------------------------
// Each square q = d*d splits into hi = q >> 16 and lo = (q mod 65536) >> 1, so that
// d*d*var/2 = hi*var*2^15 + lo*var; neighbouring elements share one 32-bit lane.  All
// sums wrap in 32 bits.

inline int32_t wrapAdd(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
inline int32_t wrapSub(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }
inline int32_t shiftLeft(int32_t v, int n) { return n >= 32 ? 0 : static_cast<int32_t>(static_cast<uint32_t>(v) << n); }
inline int32_t shiftRight(int32_t v, int n) { return v >> (n > 31 ? 31 : n); }

// The shifts that bring the two parts of a lane to the scale factor.
struct LowShifts {
    int hiLeft = 0, hiRight = 0, loLeft = 0, loRight = 0;
    int32_t apply(int32_t hi, int32_t lo) const {
        return wrapAdd(shiftRight(shiftLeft(hi, hiLeft), hiRight), shiftRight(shiftLeft(lo, loLeft), loRight));
    }
};

// The single-frame shifts, applied per run: scale factors 0 to 15 and above 15 (the low
// part capped at 15); identity-variance scores add the negative regime.
inline LowShifts lowShiftsPerRun(int sf) {
    LowShifts s;
    if (sf < 0) {
        // Counts of 32 or more give zero.
        const int64_t up = -static_cast<int64_t>(sf);
        s.hiLeft = static_cast<int>(15 + up > 32 ? 32 : 15 + up);
        s.loLeft = static_cast<int>(up > 32 ? 32 : up);
    } else if (sf <= 15) {
        s.hiLeft = 15 - sf;
        s.loRight = sf;
    } else {
        s.hiRight = sf - 15;
        s.loRight = 15;
    }
    return s;
}

// The block shifts, applied once to lanes that every run fed: the low part shifted by
// the full scale factor, counts capped at 31.  Only scale factors from 0 use them; below
// 0 no count is formed (15 - sf would leave the int range near INT_MIN).
inline LowShifts lowShiftsAtEnd(int sf) {
    LowShifts s;
    if (sf < 0) return s;
    if (sf <= 15) {
        s.hiLeft = 15 - sf;
        s.loRight = sf;
    } else {
        s.hiRight = sf - 15 > 31 ? 31 : sf - 15;
        s.loRight = sf > 31 ? 31 : sf;
    }
    return s;
}

struct LowParts {
    int32_t hi, lo;
};
inline LowParts splitSquare(int32_t d, int32_t var) {
    const int32_t q = d * d;
    return {(q >> 16) * var, ((q & 0xffff) >> 1) * var};
}

// The positive hi and lo pair sums of eight elements: lane j holds elements 2j, 2j+1.
inline void lowPairSums(__m128i x, __m128i m, __m128i w, __m128i* hi, __m128i* lo) {
    const __m128i d = _mm_subs_epi16(x, m);
    *hi = _mm_madd_epi16(_mm_mulhi_epi16(d, d), w);
    *lo = _mm_madd_epi16(_mm_srli_epi16(_mm_mullo_epi16(d, d), 1), w);
}

// The regime's shifts, lane by lane: counts of 32 or more shift left to zero and right
// to the sign, as in the scalar form.
inline __m128i shiftLanes(__m128i hi, __m128i lo, const LowShifts& s) {
    const __m128i h = _mm_sra_epi32(_mm_sll_epi32(hi, _mm_cvtsi32_si128(s.hiLeft)), _mm_cvtsi32_si128(s.hiRight));
    const __m128i l = _mm_sra_epi32(_mm_sll_epi32(lo, _mm_cvtsi32_si128(s.loLeft)), _mm_cvtsi32_si128(s.loRight));
    return _mm_add_epi32(h, l);
}

// Elements start..end-1 (at most 8) of p in lanes 0.., the other lanes zero, reading
// nothing outside p[0..end).  From 8 elements on, the 8 that end at `end` are loaded and
// shifted down; shorter vectors are gathered element by element.
inline __m128i loadTail(const Zem16s* p, int start, int end) {
    const int r = end - start;
    if (end < 8) {
        alignas(16) Zem16s lanes[8] = {};
        for (int k = 0; k < r; ++k) lanes[k] = p[start + k];
        return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes));
    }
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + end - 8));
    switch (8 - r) {
        case 1: return _mm_srli_si128(v, 2);
        case 2: return _mm_srli_si128(v, 4);
        case 3: return _mm_srli_si128(v, 6);
        case 4: return _mm_srli_si128(v, 8);
        case 5: return _mm_srli_si128(v, 10);
        case 6: return _mm_srli_si128(v, 12);
        case 7: return _mm_srli_si128(v, 14);
        default: return v;
    }
}

inline int32_t wrappedLaneSum(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(v);
}

// The lanes of the rest after the groups of 8 as its runs use them: the rest runs as 4,
// 2 and 1 elements, each run numbering its pairs from lane 0, so a run of 4 fills lanes 0
// and 1 and the run of 2 and the last element both go to lane 0.  p holds the rest's
// pair sums by position (pair k = elements 2k and 2k + 1 of the rest).
inline __m128i restIntoRunLanes(__m128i p, int rest) {
    alignas(16) int32_t pair[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(pair), p);
    if (rest >= 4) return _mm_setr_epi32(wrapAdd(pair[0], wrapAdd(pair[2], pair[3])), pair[1], 0, 0);
    return _mm_setr_epi32(wrapAdd(pair[0], pair[1]), 0, 0, 0);
}

// The Low sum t of n elements: groups of 8 subtract their pair sums from four lanes,
// which are then shifted; the rest (runs of 4 and 2 and a last element, all with the
// saturated difference) is shifted per pair first and then subtracted.  The block forms
// (kTailIntoLanes) subtract the rest from the lanes of its runs (restIntoRunLanes) and
// shift once at the end, so there the lane a pair lands in shows in the result.  The
// rest is loaded as one zero-padded step: padded pairs contribute nothing.  The AVX2
// build takes two groups a step and folds them, which gives the same wrapped sums.  var
// null is a weight of one.
template <bool kTailIntoLanes = false>
inline int32_t lowSum(const Zem16s* x, const Zem16s* m, const Zem16s* var, int n, const LowShifts& shifts) {
    auto load8 = [](const Zem16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    const __m128i ones = _mm_set1_epi16(1);
    __m128i laneHi = _mm_setzero_si128(), laneLo = _mm_setzero_si128();
    int i = 0;
#if defined(__AVX2__)
    __m256i hi2 = _mm256_setzero_si256(), lo2 = _mm256_setzero_si256();
    for (; i + 16 <= n; i += 16) {
        const __m256i d = _mm256_subs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + i)),
                                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m + i)));
        const __m256i w = var ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(var + i)) : _mm256_set1_epi16(1);
        hi2 = _mm256_sub_epi32(hi2, _mm256_madd_epi16(_mm256_mulhi_epi16(d, d), w));
        lo2 = _mm256_sub_epi32(lo2, _mm256_madd_epi16(_mm256_srli_epi16(_mm256_mullo_epi16(d, d), 1), w));
    }
    laneHi = _mm_add_epi32(_mm256_castsi256_si128(hi2), _mm256_extracti128_si256(hi2, 1));
    laneLo = _mm_add_epi32(_mm256_castsi256_si128(lo2), _mm256_extracti128_si256(lo2, 1));
#endif
    for (; i + 8 <= n; i += 8) {
        __m128i hi, lo;
        lowPairSums(load8(x + i), load8(m + i), var ? load8(var + i) : ones, &hi, &lo);
        laneHi = _mm_sub_epi32(laneHi, hi);
        laneLo = _mm_sub_epi32(laneLo, lo);
    }
    __m128i tailHi = _mm_setzero_si128(), tailLo = _mm_setzero_si128();
    if (i < n) {
        // Padded lanes have x = m = 0, so their weight does not matter.
        lowPairSums(loadTail(x, i, n), loadTail(m, i, n), var ? loadTail(var, i, n) : ones, &tailHi, &tailLo);
    }
    if constexpr (kTailIntoLanes) {
        tailHi = restIntoRunLanes(tailHi, n - i);
        tailLo = restIntoRunLanes(tailLo, n - i);
        return wrappedLaneSum(shiftLanes(_mm_sub_epi32(laneHi, tailHi), _mm_sub_epi32(laneLo, tailLo), shifts));
    } else {
        return wrappedLaneSum(_mm_sub_epi32(shiftLanes(laneHi, laneLo, shifts), shiftLanes(tailHi, tailLo, shifts)));
    }
}

// ---- Identity-variance pair sums -----------------------------------------------------

// Pair sums of saturated squares as 32-bit values that wrap.
inline int32_t pairSquares(const Zem16s* x, const Zem16s* m, int p) {
    const int32_t a = saturatedDifference(x[p], m[p]), b = saturatedDifference(x[p + 1], m[p + 1]);
    return wrapAdd(a * a, b * b);
}

// The exact sum of squares: pairs of a group as wrapped 32-bit values widened to 64
// bits, leftovers one at a time through the saturated difference.
inline int64_t identitySquares64(const Zem16s* x, const Zem16s* m, int len) {
    int64_t sum = 0;
    int i = 0;
    for (; i + 8 <= len; i += 8)
        for (int p = i; p < i + 8; p += 2) sum += pairSquares(x, m, p);
    for (; i < len; ++i) {
        const int64_t d = saturatedDifference(x[i], m[i]);
        sum += d * d;
    }
    return sum;
}

// Four float lanes over the pair sums of groups of 8, then of runs of 4 and 2 (lanes
// 0, 1 and lane 0); a last single element adds its exact square to lane 0, squared in
// 64 bits (kSquareIn64) or in float.  Folded (0 + 2) + (1 + 3); the sum is positive.
template <bool kSquareIn64>
inline float pairLanesFloat(const Zem16s* x, const Zem16s* m, int len) {
    float lane[4] = {0, 0, 0, 0};
    int i = 0;
    for (; i + 8 <= len; i += 8)
        for (int j = 0; j < 4; ++j) lane[j] += static_cast<float>(pairSquares(x, m, i + 2 * j));
    for (int run : {4, 2})
        if (len - i >= run) {
            for (int j = 0; j < run / 2; ++j) lane[j] += static_cast<float>(pairSquares(x, m, i + 2 * j));
            i += run;
        }
    if (i < len) {
        if constexpr (kSquareIn64) {
            const int64_t e = int64_t{x[i]} - int64_t{m[i]};
            lane[0] += static_cast<float>(e * e);
        } else {
            const float e = static_cast<float>(x[i]) - static_cast<float>(m[i]);
            lane[0] += e * e;
        }
    }
    return (lane[0] + lane[2]) + (lane[1] + lane[3]);
}

// The identity Low sum of the block forms: each pair sum shifted by n (right, capped at
// 31, or left, zero from 32) before it is subtracted; a last single element the same on
// its exact 64-bit square.  The sum wraps.
inline int32_t identityLowSum(const Zem16s* x, const Zem16s* m, int width, int64_t n) {
    auto shift32 = [n](int32_t v) { return n >= 0 ? v >> (n > 31 ? 31 : n) : shiftLeft(v, -n >= 32 ? 32 : static_cast<int>(-n)); };
    int32_t t = 0;
    int i = 0;
    for (; i + 2 <= width; i += 2) t = wrapSub(t, shift32(pairSquares(x, m, i)));
    if (i < width) {
        const int64_t e = int64_t{x[i]} - int64_t{m[i]}, q = e * e;
        const int64_t shifted = n >= 0 ? q >> (n > 63 ? 63 : n) : (-n >= 64 ? 0 : static_cast<int64_t>(static_cast<uint64_t>(q) << -n));
        t = wrapSub(t, static_cast<int32_t>(static_cast<uint32_t>(shifted)));
    }
    return t;
}

// The weighted float sum of the block forms: four float lanes, element i in lane i mod 4,
// (float(d) * float(d)) * float(var) with d saturated in groups of 8 and exact (as
// float(x) - float(m)) after them; folded (0 + 2) + (1 + 3).  Positive.  The vector form
// adds four elements a step in element order, so each lane sees the same sequence.
inline float laneSumFloat(const Zem16s* x, const Zem16s* m, const Zem16s* var, int len) {
    auto widen = [](__m128i v16, bool high) {
        const __m128i sign = _mm_srai_epi16(v16, 15);
        return _mm_cvtepi32_ps(high ? _mm_unpackhi_epi16(v16, sign) : _mm_unpacklo_epi16(v16, sign));
    };
    __m128 lanes = _mm_setzero_ps();
    const int groups = len & ~7;
    for (int i = 0; i < groups; i += 8) {
        const __m128i d = _mm_subs_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i)),
                                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(m + i)));
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(var + i));
        const __m128 d0 = widen(d, false), d1 = widen(d, true);
        lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(d0, d0), widen(w, false)));
        lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(d1, d1), widen(w, true)));
    }
    if (groups < len) {
        // The exact differences of the rest, zero padded: padded lanes add 0.
        const __m128i xt = loadTail(x, groups, len), mt = loadTail(m, groups, len), wt = loadTail(var, groups, len);
        const __m128 d0 = _mm_sub_ps(widen(xt, false), widen(mt, false));
        const __m128 d1 = _mm_sub_ps(widen(xt, true), widen(mt, true));
        lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(d0, d0), widen(wt, false)));
        lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(d1, d1), widen(wt, true)));
    }
    alignas(16) float lane[4];
    _mm_store_ps(lane, lanes);
    return (lane[0] + lane[2]) + (lane[1] + lane[3]);
}

}  // namespace zem::gauss16
