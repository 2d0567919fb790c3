// Vector types of fixed lane count: 8 floats, 4 doubles, 8 int32.
//
// The default build maps them onto AVX2 registers; a build without AVX2 maps them onto
// pairs of SSE2 registers.  The lane count, the operations and their IEEE results are
// the same in both, so a kernel written once gives bit-identical results in either
// build.  Approximate reciprocals come from the same instructions family in both.
// Loads and stores are unaligned: "aligned" in this library means 16 bytes.
#pragma once

#include <cstdint>
#include <immintrin.h>

#if defined(__AVX2__)
#define ZEM_SIMD_AVX2 1
#else
#define ZEM_SIMD_AVX2 0
#endif

namespace zem::simd {

#if ZEM_SIMD_AVX2

struct F32x8 { __m256 v; };
struct F64x4 { __m256d v; };
struct I32x8 { __m256i v; };

inline F32x8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
inline void store(float* p, F32x8 a) { _mm256_storeu_ps(p, a.v); }
inline F32x8 splat(float x) { return {_mm256_set1_ps(x)}; }
// {p0, p1, p2, p3, p0, p1, p2, p3}
inline F32x8 loadTwice4(const float* p) { return {_mm256_broadcast_ps(reinterpret_cast<const __m128*>(p))}; }
inline F32x8 operator+(F32x8 a, F32x8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline F32x8 operator-(F32x8 a, F32x8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline F32x8 operator*(F32x8 a, F32x8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline F32x8 operator/(F32x8 a, F32x8 b) { return {_mm256_div_ps(a.v, b.v)}; }
inline F32x8 operator&(F32x8 a, F32x8 b) { return {_mm256_and_ps(a.v, b.v)}; }
inline F32x8 operator|(F32x8 a, F32x8 b) { return {_mm256_or_ps(a.v, b.v)}; }
// a < b ? a : b and a > b ? a : b, lane by lane: a NaN in either gives b.
inline F32x8 min(F32x8 a, F32x8 b) { return {_mm256_min_ps(a.v, b.v)}; }
inline F32x8 max(F32x8 a, F32x8 b) { return {_mm256_max_ps(a.v, b.v)}; }
inline F32x8 sqrt(F32x8 a) { return {_mm256_sqrt_ps(a.v)}; }
inline F32x8 rcpApprox(F32x8 a) { return {_mm256_rcp_ps(a.v)}; }
inline F32x8 rsqrtApprox(F32x8 a) { return {_mm256_rsqrt_ps(a.v)}; }
inline F32x8 lt(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
inline F32x8 le(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ)}; }
inline F32x8 eq(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }
inline F32x8 unordered(F32x8 a, F32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_UNORD_Q)}; }
// mask ? a : b
inline F32x8 select(F32x8 mask, F32x8 a, F32x8 b) { return {_mm256_blendv_ps(b.v, a.v, mask.v)}; }
inline int signMask(F32x8 a) { return _mm256_movemask_ps(a.v); }

inline F64x4 load(const double* p) { return {_mm256_loadu_pd(p)}; }
inline void store(double* p, F64x4 a) { _mm256_storeu_pd(p, a.v); }
inline F64x4 splat(double x) { return {_mm256_set1_pd(x)}; }
inline F64x4 operator+(F64x4 a, F64x4 b) { return {_mm256_add_pd(a.v, b.v)}; }
inline F64x4 operator-(F64x4 a, F64x4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
inline F64x4 operator*(F64x4 a, F64x4 b) { return {_mm256_mul_pd(a.v, b.v)}; }
inline F64x4 operator/(F64x4 a, F64x4 b) { return {_mm256_div_pd(a.v, b.v)}; }
inline F64x4 min(F64x4 a, F64x4 b) { return {_mm256_min_pd(a.v, b.v)}; }
inline F64x4 max(F64x4 a, F64x4 b) { return {_mm256_max_pd(a.v, b.v)}; }
inline F64x4 sqrt(F64x4 a) { return {_mm256_sqrt_pd(a.v)}; }
inline F64x4 lt(F64x4 a, F64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)}; }
inline F64x4 eq(F64x4 a, F64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)}; }
inline F64x4 le(F64x4 a, F64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LE_OQ)}; }
inline F64x4 operator&(F64x4 a, F64x4 b) { return {_mm256_and_pd(a.v, b.v)}; }
// -|a|: the sign bit set.
inline F64x4 negAbs(F64x4 a) { return {_mm256_or_pd(a.v, _mm256_set1_pd(-0.0))}; }
inline F64x4 select(F64x4 mask, F64x4 a, F64x4 b) { return {_mm256_blendv_pd(b.v, a.v, mask.v)}; }
inline int signMask(F64x4 a) { return _mm256_movemask_pd(a.v); }
// Four floats widened to doubles.
inline F64x4 widen4(const float* p) { return {_mm256_cvtps_pd(_mm_loadu_ps(p))}; }

inline I32x8 loadI(const int32_t* p) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))}; }
inline void store(int32_t* p, I32x8 a) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.v); }
// Conversions under the current rounding direction, and with truncation; out of range
// and NaN give -2^31.
inline I32x8 toInt(F32x8 a) { return {_mm256_cvtps_epi32(a.v)}; }
inline I32x8 toIntTrunc(F32x8 a) { return {_mm256_cvttps_epi32(a.v)}; }
inline F32x8 toFloat(I32x8 a) { return {_mm256_cvtepi32_ps(a.v)}; }
inline F32x8 bits(I32x8 a) { return {_mm256_castsi256_ps(a.v)}; }
inline I32x8 bits(F32x8 a) { return {_mm256_castps_si256(a.v)}; }
inline I32x8 splatI(int32_t x) { return {_mm256_set1_epi32(x)}; }
inline I32x8 operator+(I32x8 a, I32x8 b) { return {_mm256_add_epi32(a.v, b.v)}; }
inline I32x8 operator-(I32x8 a, I32x8 b) { return {_mm256_sub_epi32(a.v, b.v)}; }
inline I32x8 operator&(I32x8 a, I32x8 b) { return {_mm256_and_si256(a.v, b.v)}; }
inline I32x8 operator|(I32x8 a, I32x8 b) { return {_mm256_or_si256(a.v, b.v)}; }
template <int n> inline I32x8 shiftRightLogical(I32x8 a) { return {_mm256_srli_epi32(a.v, n)}; }
// Sums of adjacent pairs of a then b: {a0+a1, a2+a3, a4+a5, a6+a7, b0+b1, ..., b6+b7}.
inline F32x8 pairSums(F32x8 a, F32x8 b) {
    const __m256 even = _mm256_shuffle_ps(a.v, b.v, _MM_SHUFFLE(2, 0, 2, 0));
    const __m256 odd = _mm256_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 1, 3, 1));
    const __m256 mixed = _mm256_add_ps(even, odd);  // {a01 a23 b01 b23 | a45 a67 b45 b67}
    return {_mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(mixed), _MM_SHUFFLE(3, 1, 2, 0)))};
}

#else  // SSE2: two halves per value

struct F32x8 { __m128 lo, hi; };
struct F64x4 { __m128d lo, hi; };
struct I32x8 { __m128i lo, hi; };

#define ZEM_SIMD_PAIR(T, a, b, op) T{op(a.lo, b.lo), op(a.hi, b.hi)}
#define ZEM_SIMD_ONE(T, a, op) T{op(a.lo), op(a.hi)}

inline __m128 sseSelect(__m128 m, __m128 a, __m128 b) { return _mm_or_ps(_mm_and_ps(m, a), _mm_andnot_ps(m, b)); }
inline __m128d sseSelect(__m128d m, __m128d a, __m128d b) { return _mm_or_pd(_mm_and_pd(m, a), _mm_andnot_pd(m, b)); }

inline F32x8 load(const float* p) { return {_mm_loadu_ps(p), _mm_loadu_ps(p + 4)}; }
inline void store(float* p, F32x8 a) { _mm_storeu_ps(p, a.lo); _mm_storeu_ps(p + 4, a.hi); }
inline F32x8 splat(float x) { return {_mm_set1_ps(x), _mm_set1_ps(x)}; }
inline F32x8 loadTwice4(const float* p) { return {_mm_loadu_ps(p), _mm_loadu_ps(p)}; }
inline F32x8 operator+(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_add_ps); }
inline F32x8 operator-(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_sub_ps); }
inline F32x8 operator*(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_mul_ps); }
inline F32x8 operator/(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_div_ps); }
inline F32x8 operator&(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_and_ps); }
inline F32x8 operator|(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_or_ps); }
inline F32x8 min(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_min_ps); }
inline F32x8 max(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_max_ps); }
inline F32x8 sqrt(F32x8 a) { return ZEM_SIMD_ONE(F32x8, a, _mm_sqrt_ps); }
inline F32x8 rcpApprox(F32x8 a) { return ZEM_SIMD_ONE(F32x8, a, _mm_rcp_ps); }
inline F32x8 rsqrtApprox(F32x8 a) { return ZEM_SIMD_ONE(F32x8, a, _mm_rsqrt_ps); }
inline F32x8 lt(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_cmplt_ps); }
inline F32x8 le(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_cmple_ps); }
inline F32x8 eq(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_cmpeq_ps); }
inline F32x8 unordered(F32x8 a, F32x8 b) { return ZEM_SIMD_PAIR(F32x8, a, b, _mm_cmpunord_ps); }
inline F32x8 select(F32x8 m, F32x8 a, F32x8 b) { return {sseSelect(m.lo, a.lo, b.lo), sseSelect(m.hi, a.hi, b.hi)}; }
inline int signMask(F32x8 a) { return _mm_movemask_ps(a.lo) | (_mm_movemask_ps(a.hi) << 4); }

inline F64x4 load(const double* p) { return {_mm_loadu_pd(p), _mm_loadu_pd(p + 2)}; }
inline void store(double* p, F64x4 a) { _mm_storeu_pd(p, a.lo); _mm_storeu_pd(p + 2, a.hi); }
inline F64x4 splat(double x) { return {_mm_set1_pd(x), _mm_set1_pd(x)}; }
inline F64x4 operator+(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_add_pd); }
inline F64x4 operator-(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_sub_pd); }
inline F64x4 operator*(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_mul_pd); }
inline F64x4 operator/(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_div_pd); }
inline F64x4 min(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_min_pd); }
inline F64x4 max(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_max_pd); }
inline F64x4 sqrt(F64x4 a) { return ZEM_SIMD_ONE(F64x4, a, _mm_sqrt_pd); }
inline F64x4 lt(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_cmplt_pd); }
inline F64x4 eq(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_cmpeq_pd); }
inline F64x4 le(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_cmple_pd); }
inline F64x4 operator&(F64x4 a, F64x4 b) { return ZEM_SIMD_PAIR(F64x4, a, b, _mm_and_pd); }
inline F64x4 negAbs(F64x4 a) { return {_mm_or_pd(a.lo, _mm_set1_pd(-0.0)), _mm_or_pd(a.hi, _mm_set1_pd(-0.0))}; }
inline F64x4 select(F64x4 m, F64x4 a, F64x4 b) { return {sseSelect(m.lo, a.lo, b.lo), sseSelect(m.hi, a.hi, b.hi)}; }
inline int signMask(F64x4 a) { return _mm_movemask_pd(a.lo) | (_mm_movemask_pd(a.hi) << 2); }
inline F64x4 widen4(const float* p) {
    const __m128 f = _mm_loadu_ps(p);
    return {_mm_cvtps_pd(f), _mm_cvtps_pd(_mm_movehl_ps(f, f))};
}

inline I32x8 loadI(const int32_t* p) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4))};
}
inline void store(int32_t* p, I32x8 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.lo);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 4), a.hi);
}
inline I32x8 toInt(F32x8 a) { return {_mm_cvtps_epi32(a.lo), _mm_cvtps_epi32(a.hi)}; }
inline I32x8 toIntTrunc(F32x8 a) { return {_mm_cvttps_epi32(a.lo), _mm_cvttps_epi32(a.hi)}; }
inline F32x8 toFloat(I32x8 a) { return {_mm_cvtepi32_ps(a.lo), _mm_cvtepi32_ps(a.hi)}; }
inline F32x8 bits(I32x8 a) { return {_mm_castsi128_ps(a.lo), _mm_castsi128_ps(a.hi)}; }
inline I32x8 bits(F32x8 a) { return {_mm_castps_si128(a.lo), _mm_castps_si128(a.hi)}; }
inline I32x8 splatI(int32_t x) { return {_mm_set1_epi32(x), _mm_set1_epi32(x)}; }
inline I32x8 operator+(I32x8 a, I32x8 b) { return ZEM_SIMD_PAIR(I32x8, a, b, _mm_add_epi32); }
inline I32x8 operator-(I32x8 a, I32x8 b) { return ZEM_SIMD_PAIR(I32x8, a, b, _mm_sub_epi32); }
inline I32x8 operator&(I32x8 a, I32x8 b) { return ZEM_SIMD_PAIR(I32x8, a, b, _mm_and_si128); }
inline I32x8 operator|(I32x8 a, I32x8 b) { return ZEM_SIMD_PAIR(I32x8, a, b, _mm_or_si128); }
template <int n> inline I32x8 shiftRightLogical(I32x8 a) { return {_mm_srli_epi32(a.lo, n), _mm_srli_epi32(a.hi, n)}; }
inline __m128 ssePairSums(__m128 lo, __m128 hi) {
    return _mm_add_ps(_mm_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0)), _mm_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1)));
}
inline F32x8 pairSums(F32x8 a, F32x8 b) { return {ssePairSums(a.lo, a.hi), ssePairSums(b.lo, b.hi)}; }

#undef ZEM_SIMD_PAIR
#undef ZEM_SIMD_ONE

#endif

// Per-lane choice among three values a, b, c: lanes whose `second` mask is set take b,
// lanes whose `third` mask is also set take c, the others a.  A coefficient table row
// holds a, b, c in its first three slots (six for doubles); one choice serves every row.
#if ZEM_SIMD_AVX2
struct Choice3 { __m256i index; };
inline Choice3 choice3(F32x8 second, F32x8 third) {
    // A set mask is -1 as an integer: 0 - second - third counts the set masks.
    const __m256i s = _mm256_sub_epi32(_mm256_setzero_si256(), _mm256_castps_si256(second.v));
    return {_mm256_sub_epi32(s, _mm256_castps_si256(third.v))};
}
inline Choice3 choice3(F64x4 second, F64x4 third) {
    // Each double lane picks the two 32-bit halves 2k and 2k + 1 of entry k.
    const __m256i s = _mm256_srli_epi32(_mm256_castpd_si256(second.v), 31);
    const __m256i t = _mm256_srli_epi32(_mm256_castpd_si256(third.v), 31);
    const __m256i k = _mm256_add_epi32(s, t);
    return {_mm256_add_epi32(_mm256_add_epi32(k, k), _mm256_set_epi32(1, 0, 1, 0, 1, 0, 1, 0))};
}
inline F32x8 pick(const Choice3& c, const float* row) { return {_mm256_permutevar8x32_ps(_mm256_loadu_ps(row), c.index)}; }
inline F64x4 pick(const Choice3& c, const double* row) {
    return {_mm256_castps_pd(_mm256_permutevar8x32_ps(_mm256_loadu_ps(reinterpret_cast<const float*>(row)), c.index))};
}
#else
template <class V> struct Choice3Of { V second, third; };
inline Choice3Of<F32x8> choice3(F32x8 second, F32x8 third) { return {second, third}; }
inline Choice3Of<F64x4> choice3(F64x4 second, F64x4 third) { return {second, third}; }
inline F32x8 pick(const Choice3Of<F32x8>& c, const float* row) {
    return select(c.third, splat(row[2]), select(c.second, splat(row[1]), splat(row[0])));
}
inline F64x4 pick(const Choice3Of<F64x4>& c, const double* row) {
    return select(c.third, splat(row[2]), select(c.second, splat(row[1]), splat(row[0])));
}
#endif

// The first n (0 <= n <= lanes) elements at p, the other lanes zero; nothing past
// p + n is read.
#if ZEM_SIMD_AVX2
inline __m256i firstLanesMask32(int n) {
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_set_epi32(7, 6, 5, 4, 3, 2, 1, 0));
}
inline F32x8 loadFirst(const float* p, int n) { return {_mm256_maskload_ps(p, firstLanesMask32(n))}; }
// The same as loadFirst for several arrays with one mask.
// n may exceed the lane count: all lanes.
struct FirstLanes { __m256i m; };
inline FirstLanes firstLanes(int n) { return {firstLanesMask32(n)}; }
// The same lanes but lane 0.
inline FirstLanes butLane0(FirstLanes n) {
    return {_mm256_and_si256(n.m, _mm256_set_epi32(-1, -1, -1, -1, -1, -1, -1, 0))};
}
inline F32x8 load(const float* p, FirstLanes n) { return {_mm256_maskload_ps(p, n.m)}; }
// {v, 0, 0, 0, 0, 0, 0, 0}
inline F32x8 inLane0(float v) { return {_mm256_zextps128_ps256(_mm_set_ss(v))}; }
inline F64x4 loadFirst(const double* p, int n) {
    return {_mm256_maskload_pd(p, _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_set_epi64x(3, 2, 1, 0)))};
}
// Lane sums of one value in the tree ((l0 + l1) + (l2 + l3)) + ((l4 + l5) + (l6 + l7)),
// four values at once: out[k] is the tree of vk.
inline void sumTree4(F32x8 v0, F32x8 v1, F32x8 v2, F32x8 v3, float* out) {
    const __m256 h = _mm256_hadd_ps(_mm256_hadd_ps(v0.v, v1.v), _mm256_hadd_ps(v2.v, v3.v));
    _mm_storeu_ps(out, _mm_add_ps(_mm256_castps256_ps128(h), _mm256_extractf128_ps(h, 1)));
}
// (l0 + l1) + (l2 + l3) of two values.
inline void sumTree2(F64x4 v0, F64x4 v1, double* out) {
    const __m256d h = _mm256_hadd_pd(v0.v, v1.v);
    _mm_storeu_pd(out, _mm_add_pd(_mm256_castpd256_pd128(h), _mm256_extractf128_pd(h, 1)));
}
#else
inline F32x8 loadFirst(const float* p, int n) {
    float lanes[8] = {};
    for (int k = 0; k < n; ++k) lanes[k] = p[k];
    return load(lanes);
}
struct FirstLanes { int from, n; };
inline FirstLanes firstLanes(int n) { return {0, n < 8 ? n : 8}; }
inline FirstLanes butLane0(FirstLanes n) { return {n.n > 0 ? 1 : 0, n.n}; }
inline F32x8 load(const float* p, FirstLanes n) {
    float lanes[8] = {};
    for (int k = n.from; k < n.n; ++k) lanes[k] = p[k];
    return load(lanes);
}
inline F32x8 inLane0(float v) { return {_mm_set_ss(v), _mm_setzero_ps()}; }
inline F64x4 loadFirst(const double* p, int n) {
    double lanes[4] = {};
    for (int k = 0; k < n; ++k) lanes[k] = p[k];
    return load(lanes);
}
inline void sumTree4(F32x8 v0, F32x8 v1, F32x8 v2, F32x8 v3, float* out) {
    const F32x8 v[4] = {v0, v1, v2, v3};
    for (int k = 0; k < 4; ++k) {
        float l[8];
        store(l, v[k]);
        out[k] = ((l[0] + l[1]) + (l[2] + l[3])) + ((l[4] + l[5]) + (l[6] + l[7]));
    }
}
inline void sumTree2(F64x4 v0, F64x4 v1, double* out) {
    double a[4], b[4];
    store(a, v0);
    store(b, v1);
    out[0] = (a[0] + a[1]) + (a[2] + a[3]);
    out[1] = (b[0] + b[1]) + (b[2] + b[3]);
}
#endif

// Lane-count helpers shared by both builds.
template <class V> struct Lanes;
template <> struct Lanes<F32x8> { static constexpr int n = 8; using T = float; };
template <> struct Lanes<F64x4> { static constexpr int n = 4; using T = double; };

template <class T> struct VecOf;
template <> struct VecOf<float> { using type = F32x8; };
template <> struct VecOf<double> { using type = F64x4; };
template <class T> using Vec = typename VecOf<T>::type;
template <class T> inline constexpr int kLanes = Lanes<Vec<T>>::n;

// Lanes to memory, for reductions that finish in a fixed scalar order.
template <class V>
inline void spill(V a, typename Lanes<V>::T* out) { store(out, a); }

}  // namespace zem::simd
