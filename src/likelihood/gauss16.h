// The 16-bit feature pipelines shared by the distance and score families.
//
// Every pipeline forms d = x - m in groups of 8 with 16-bit saturation.  The leftover
// elements are treated differently from pipeline to pipeline, which shows only when a
// difference does not fit in 16 bits; each function below says what it does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
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

// Scale factors 0 to 15 and above 15 (the low part capped at 15), as in the weighted
// pipeline; identity-variance scores add the negative regime.
inline LowShifts lowShifts(int sf) {
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

struct LowParts {
    int32_t hi, lo;
};
inline LowParts splitSquare(int32_t d, int32_t var) {
    const int32_t q = d * d;
    return {(q >> 16) * var, ((q & 0xffff) >> 1) * var};
}

// Lanes of groups of 8: laneHi[j] and laneLo[j] less the pair sums of elements 2j, 2j+1.
// The AVX2 build takes two groups a step in eight lanes and folds them to four, which
// gives the same wrapped sums.  Returns the number of elements consumed.
inline int lowGroupLanes(const Zem16s* x, const Zem16s* m, const Zem16s* var, int len, int32_t laneHi[4],
                         int32_t laneLo[4]) {
    __m128i hiAcc = _mm_setzero_si128(), loAcc = _mm_setzero_si128();
    int i = 0;
#if defined(__AVX2__)
    __m256i hi2 = _mm256_setzero_si256(), lo2 = _mm256_setzero_si256();
    for (; i + 16 <= len; i += 16) {
        const __m256i d = _mm256_subs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + i)),
                                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m + i)));
        const __m256i w = var ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(var + i)) : _mm256_set1_epi16(1);
        hi2 = _mm256_sub_epi32(hi2, _mm256_madd_epi16(_mm256_mulhi_epi16(d, d), w));
        lo2 = _mm256_sub_epi32(lo2, _mm256_madd_epi16(_mm256_srli_epi16(_mm256_mullo_epi16(d, d), 1), w));
    }
    hiAcc = _mm_add_epi32(_mm256_castsi256_si128(hi2), _mm256_extracti128_si256(hi2, 1));
    loAcc = _mm_add_epi32(_mm256_castsi256_si128(lo2), _mm256_extracti128_si256(lo2, 1));
#endif
    for (; i + 8 <= len; i += 8) {
        const __m128i d = _mm_subs_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i)),
                                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(m + i)));
        const __m128i w = var ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(var + i)) : _mm_set1_epi16(1);
        hiAcc = _mm_sub_epi32(hiAcc, _mm_madd_epi16(_mm_mulhi_epi16(d, d), w));
        loAcc = _mm_sub_epi32(loAcc, _mm_madd_epi16(_mm_srli_epi16(_mm_mullo_epi16(d, d), 1), w));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(laneHi), hiAcc);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(laneLo), loAcc);
    return i;
}

// The contribution of a run of 2k elements (k pairs) after the groups: per pair, the
// positive hi and lo pair sums are shifted first and then subtracted.
inline int32_t lowRunContribution(const Zem16s* x, const Zem16s* m, const Zem16s* var, int start, int count,
                                  const LowShifts& shifts) {
    int32_t total = 0;
    for (int p = start; p < start + count; p += 2) {
        const LowParts a = splitSquare(saturatedDifference(x[p], m[p]), var ? var[p] : 1);
        const LowParts b = splitSquare(saturatedDifference(x[p + 1], m[p + 1]), var ? var[p + 1] : 1);
        total = wrapAdd(total, shifts.apply(wrapAdd(a.hi, b.hi), wrapAdd(a.lo, b.lo)));
    }
    return total;
}

}  // namespace zem::gauss16
