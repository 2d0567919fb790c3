// Reductions: extremes, sums and dot products.
//
// Floating-point sums run in fixed lanes (8 floats or 4 doubles per vector, several
// vectors wide) and finish in a fixed order, so a result never depends on alignment or
// on the instruction set of the build.  Extremes ignore NaN elements unless the first
// element is NaN, exactly as a plain left-to-right scan with a strict comparison does.
#include <cstdint>

#include "frame/check.h"
#include "frame/scale.h"
#include "own.h"
#include "simd.h"

namespace simd = zem::simd;

namespace {

template <class T>
struct MinRule {
    static bool better(T a, T b) { return a < b; }
    static simd::Vec<T> pick(simd::Vec<T> x, simd::Vec<T> acc) { return simd::min(x, acc); }
};

template <class T>
struct MaxRule {
    static bool better(T a, T b) { return a > b; }
    static simd::Vec<T> pick(simd::Vec<T> x, simd::Vec<T> acc) { return simd::max(x, acc); }
};

// The extreme of init and src[0..n), by the rule's strict comparison.
template <class T, class Rule>
T extremeFrom(const T* src, int n, T init) {
    constexpr int L = simd::kLanes<T>;
    T best = init;
    int i = 0;
    if (n >= L) {
        simd::Vec<T> acc = simd::splat(init);
        for (; i + L <= n; i += L) acc = Rule::pick(simd::load(src + i), acc);
        T lanes[L];
        simd::spill(acc, lanes);
        for (T v : lanes)
            if (Rule::better(v, best)) best = v;
    }
    for (; i < n; ++i)
        if (Rule::better(src[i], best)) best = src[i];
    return best;
}

template <class T, class Rule>
ZemStatus extreme(const T* src, int len, T* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    *dst = extremeFrom<T, Rule>(src + 1, len - 1, src[0]);
    return zemStatusOk;
}

// The extreme and the first index at which it stands.  Short vectors are scanned
// plainly; longer ones are taken in blocks of 2048 by a pure value pass, and the index
// is searched only in a block that improves on the running extreme.
template <class T, class Rule>
ZemStatus extremeIndex(const T* src, int len, T* dst, int* index) {
    if (!index) return extreme<T, Rule>(src, len, dst);
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    constexpr int kPlainBelow = 34;
    constexpr int kBlock = 2048;
    T best = src[0];
    int at = 0;
    if (len < kPlainBelow) {
        for (int i = 1; i < len; ++i)
            if (Rule::better(src[i], best)) best = src[i], at = i;
    } else {
        for (int start = 0; start < len; start += kBlock) {
            const int n = len - start < kBlock ? len - start : kBlock;
            const T blockBest = extremeFrom<T, Rule>(src + start, n, best);
            if (!Rule::better(blockBest, best)) continue;
            int i = start;
            while (!(src[i] == blockBest)) ++i;
            best = src[i];
            at = i;
        }
    }
    *dst = best;
    *index = at;
    return zemStatusOk;
}

// Sum of four vectors of lanes, in the fixed order (a0 + a1) + (a2 + a3), then the
// lanes from first to last.
template <class V, class T = typename simd::Lanes<V>::T>
T foldLanes(V a0, V a1, V a2, V a3) {
    T lanes[simd::Lanes<V>::n];
    simd::spill((a0 + a1) + (a2 + a3), lanes);
    T s = lanes[0];
    for (int k = 1; k < simd::Lanes<V>::n; ++k) s += lanes[k];
    return s;
}

// Fast sum: blocks of 1024 elements summed in Zem32f over 32 lanes, block sums added
// in Zem64f.
double sumFast32f(const float* src, int len) {
    constexpr int kBlock = 1024;
    double total = 0.0;
    for (int start = 0; start < len; start += kBlock) {
        const float* p = src + start;
        const int n = len - start < kBlock ? len - start : kBlock;
        simd::F32x8 a0 = simd::splat(0.0f), a1 = a0, a2 = a0, a3 = a0;
        int i = 0;
        for (; i + 32 <= n; i += 32) {
            a0 = a0 + simd::load(p + i);
            a1 = a1 + simd::load(p + i + 8);
            a2 = a2 + simd::load(p + i + 16);
            a3 = a3 + simd::load(p + i + 24);
        }
        float block = foldLanes(a0, a1, a2, a3);
        for (; i < n; ++i) block += p[i];
        total += block;
    }
    return total;
}

// Accurate sum: every element widened and summed in Zem64f over 16 lanes.
double sumAccurate32f(const float* src, int len) {
    simd::F64x4 a0 = simd::splat(0.0), a1 = a0, a2 = a0, a3 = a0;
    int i = 0;
    for (; i + 16 <= len; i += 16) {
        a0 = a0 + simd::widen4(src + i);
        a1 = a1 + simd::widen4(src + i + 4);
        a2 = a2 + simd::widen4(src + i + 8);
        a3 = a3 + simd::widen4(src + i + 12);
    }
    double s = foldLanes(a0, a1, a2, a3);
    for (; i < len; ++i) s += src[i];
    return s;
}

// Dot products in 32 float lanes or 16 double lanes; products are rounded to the
// accumulator's type before they are added.
float dot32f(const float* x, const float* y, int len) {
    simd::F32x8 a0 = simd::splat(0.0f), a1 = a0, a2 = a0, a3 = a0;
    int i = 0;
    for (; i + 32 <= len; i += 32) {
        a0 = a0 + simd::load(x + i) * simd::load(y + i);
        a1 = a1 + simd::load(x + i + 8) * simd::load(y + i + 8);
        a2 = a2 + simd::load(x + i + 16) * simd::load(y + i + 16);
        a3 = a3 + simd::load(x + i + 24) * simd::load(y + i + 24);
    }
    float s = foldLanes(a0, a1, a2, a3);
    for (; i < len; ++i) s += x[i] * y[i];
    return s;
}

// Zem64f lanes over elements that load() brings in as doubles: either doubles, or
// floats widened exactly.
template <class T>
double dotIn64f(const T* x, const T* y, int len) {
    auto in = [](const T* p) {
        if constexpr (sizeof(T) == 4) return simd::widen4(p);
        else return simd::load(p);
    };
    simd::F64x4 a0 = simd::splat(0.0), a1 = a0, a2 = a0, a3 = a0;
    int i = 0;
    for (; i + 16 <= len; i += 16) {
        a0 = a0 + in(x + i) * in(y + i);
        a1 = a1 + in(x + i + 4) * in(y + i + 4);
        a2 = a2 + in(x + i + 8) * in(y + i + 8);
        a3 = a3 + in(x + i + 12) * in(y + i + 12);
    }
    double s = foldLanes(a0, a1, a2, a3);
    for (; i < len; ++i) s += static_cast<double>(x[i]) * static_cast<double>(y[i]);
    return s;
}

int64_t dot16s(const Zem16s* x, const Zem16s* y, int len) {
    int64_t s = 0;
    for (int i = 0; i < len; ++i) s += int32_t{x[i]} * int32_t{y[i]};
    return s;
}

}  // namespace

ZemStatus ownMin_32f(const Zem32f* src, int len, Zem32f* dst) { return extreme<Zem32f, MinRule<Zem32f>>(src, len, dst); }
ZemStatus ownMax_32f(const Zem32f* src, int len, Zem32f* dst) { return extreme<Zem32f, MaxRule<Zem32f>>(src, len, dst); }
ZemStatus ownMin_64f(const Zem64f* src, int len, Zem64f* dst) { return extreme<Zem64f, MinRule<Zem64f>>(src, len, dst); }
ZemStatus ownMax_64f(const Zem64f* src, int len, Zem64f* dst) { return extreme<Zem64f, MaxRule<Zem64f>>(src, len, dst); }

ZemStatus ownMinMax_32f(const Zem32f* src, int len, Zem32f* dstMin, Zem32f* dstMax) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dstMin, dstMax), zem::atLeastOne(len))) return s;
    *dstMin = extremeFrom<Zem32f, MinRule<Zem32f>>(src + 1, len - 1, src[0]);
    *dstMax = extremeFrom<Zem32f, MaxRule<Zem32f>>(src + 1, len - 1, src[0]);
    return zemStatusOk;
}

ZemStatus ownMinIndx_32f(const Zem32f* src, int len, Zem32f* dst, int* index) {
    return extremeIndex<Zem32f, MinRule<Zem32f>>(src, len, dst, index);
}
ZemStatus ownMaxIndx_32f(const Zem32f* src, int len, Zem32f* dst, int* index) {
    return extremeIndex<Zem32f, MaxRule<Zem32f>>(src, len, dst, index);
}
ZemStatus ownMaxIndx_64f(const Zem64f* src, int len, Zem64f* dst, int* index) {
    return extremeIndex<Zem64f, MaxRule<Zem64f>>(src, len, dst, index);
}

ZemStatus ownSum_32f(const Zem32f* src, int len, Zem32f* dst, int hint) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    *dst = static_cast<Zem32f>(hint == zemAlgHintFast ? sumFast32f(src, len) : sumAccurate32f(src, len));
    return zemStatusOk;
}

ZemStatus ownSum_16s32s_Sfs(const Zem16s* src, int len, Zem32s* dst, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    int64_t sum = 0;
    for (int i = 0; i < len; ++i) sum += src[i];
    double v = static_cast<double>(sum) * zem::pow2Neg64f(scaleFactor);
    v = v < -2147483648.0 ? -2147483648.0 : (v > 2147483647.0 ? 2147483647.0 : v);
    *dst = static_cast<Zem32s>(zem::roundHalfEven(v));
    return zemStatusOk;
}

ZemStatus ownSum_32s_Sfs(const Zem32s* src, int len, Zem32s* dst, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    int64_t sum = 0;
    for (int i = 0; i < len; ++i) sum += src[i];
    if (scaleFactor > 0) {
        sum = zem::roundShiftRightEven(sum, scaleFactor > 63 ? 63 : scaleFactor);
    } else if (scaleFactor < 0) {
        // Left shift by at most 31; anything that leaves the Zem32s range saturates.
        const int shift = scaleFactor < -31 ? 31 : -scaleFactor;
        const __int128 wide = static_cast<__int128>(sum) << shift;
        sum = wide > INT32_MAX ? INT32_MAX : (wide < INT32_MIN ? INT32_MIN : static_cast<int64_t>(wide));
    }
    *dst = zem::saturate32(sum);
    return zemStatusOk;
}

ZemStatus ownDotProd_32f(const Zem32f* src1, const Zem32f* src2, int len, Zem32f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    *dst = dot32f(src1, src2, len);
    return zemStatusOk;
}

ZemStatus ownDotProd_32f64f(const Zem32f* src1, const Zem32f* src2, int len, Zem64f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    *dst = dotIn64f(src1, src2, len);
    return zemStatusOk;
}

ZemStatus ownDotProd_64f(const Zem64f* src1, const Zem64f* src2, int len, Zem64f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    *dst = dotIn64f(src1, src2, len);
    return zemStatusOk;
}

ZemStatus ownDotProd_16s64s(const Zem16s* src1, const Zem16s* src2, int len, Zem64s* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    *dst = dot16s(src1, src2, len);
    return zemStatusOk;
}

ZemStatus ownDotProd_16s32f(const Zem16s* src1, const Zem16s* src2, int len, Zem32f* dst) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(len))) return s;
    *dst = static_cast<Zem32f>(dot16s(src1, src2, len));
    return zemStatusOk;
}
