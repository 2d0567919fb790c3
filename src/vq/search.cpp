// Codebook search: the block searches through the codebook's own structure (list, cell
// index or tree, see search.h), and the single-vector searches that rank every codeword by
// its weighted distance: the nearest num in order (Sort), or all within a relative
// threshold of the block search's answer (Thresh).  The single-vector searches keep their
// distances in the state's scratch.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "own.h"
#include "primitives/simd.h"
#include "vq/search.h"

using namespace zem::vq;

namespace {

// The 16-bit distance outputs hold Zem32f bits until the end of a call; then each value
// is scaled by 2^-sf, rounded to nearest and saturated, in place.
void floatsToScaledInts(Zem32s* dist, int64_t n, int sf) {
    constexpr int kChunk = 64;
    Zem32f f[kChunk];
    for (int64_t i = 0; i < n; i += kChunk) {
        const int m = static_cast<int>(n - i < kChunk ? n - i : kChunk);
        std::memcpy(f, dist + i, sizeof(Zem32f) * m);
        ownConvert_32f32s_Sfs(f, dist + i, m, 1, sf);
    }
}

Zem32s scaledInt(Zem32f v, int sf) {
    Zem32s out = 0;
    ownConvert_32f32s_Sfs(&v, &out, 1, 1, sf);
    return out;
}

void storeFloat(Zem32s* at, Zem32f v) { std::memcpy(at, &v, sizeof v); }

// How the distances of a block search leave: none, as Zem32f, or as Zem32f bits that are
// converted to scaled integers at the end.
enum class DistOut { None, Float, Scaled };

template <DistOut kOut, class D>
void putDistance(D* dist, int v, Zem32f d) {
    if constexpr (kOut == DistOut::Float) dist[v] = d;
    if constexpr (kOut == DistOut::Scaled) storeFloat(dist + v, d);
}

// ---- Exhaustive list search, eight vectors at a time -------------------------------------
//
// Lane l holds vector l of a group: dimension j of the eight vectors stands at xt[j * 8 + l]
// as Zem32f, and each codeword element is broadcast to all lanes.  Every lane sums its
// terms in ascending j as the one-vector search does, so answers and distances have its
// bits (a 16-bit sample, codeword element and their difference are exact in Zem32f).
// Four codewords are summed at a time and then taken in row order; a lane is screened by
// a plain comparison (a row that wins by cdbkBetter is smaller than the best) before the
// exact test.
constexpr int kLanes = 8;
constexpr int kLaneWidth = 64;  // the widest vector taken through lanes: 2 KiB of stack

template <class T>
bool lanesServe(const State<T>& cb) {
    if (cb.hint != ZEM_CDBK_LIST || cb.width > kLaneWidth) return false;
    if ((cb.flags & kFlagCellIndex) && cb.grid && (cb.width == 1 || cb.width == 2)) return false;
    // The 16-bit weighted distance at the widths 1 and 2 multiplies in integers first.
    if constexpr (std::is_same_v<T, Zem16s>) return !((cb.flags & kFlagWeighted) && cb.width <= 2);
    return true;
}

template <class T, bool kWeighted>
void scanLanes(const State<T>& cb, const Zem32f* xt, Zem32f* best, Zem32s* found) {
    namespace simd = zem::simd;
    const int width = cb.width;
    Zem32f w[kLaneWidth];
    for (int j = 0; j < width; ++j) w[j] = static_cast<Zem32f>(cb.weights[j]);
    for (int l = 0; l < kLanes; ++l) best[l] = ZEM_MAX_32F, found[l] = -1;
    simd::F32x8 bestV = simd::splat(ZEM_MAX_32F);
    auto term = [&](simd::F32x8 x, const T* row, int j) {
        const simd::F32x8 d = x - simd::splat(static_cast<Zem32f>(row[j]));
        if constexpr (kWeighted) return simd::splat(w[j]) * (d * d);
        else return d * d;
    };
    auto take = [&](simd::F32x8 s, Zem32s r) {
        unsigned lanes = static_cast<unsigned>(simd::signMask(simd::lt(s, bestV)));
        if (!lanes) return;
        Zem32f d[kLanes];
        simd::store(d, s);
        for (; lanes; lanes &= lanes - 1u) {
            const int l = __builtin_ctz(lanes);
            if (cdbkBetter(best[l], d[l])) best[l] = d[l], found[l] = r;
        }
        bestV = simd::load(best);
    };
    const int64_t step = cb.rowStep;
    Zem32s r = 0;
    for (; r + 4 <= cb.numCodewords; r += 4) {
        const T* r0 = cb.rows + r * step;
        const T *r1 = r0 + step, *r2 = r1 + step, *r3 = r2 + step;
        simd::F32x8 s0 = simd::splat(0.0f), s1 = s0, s2 = s0, s3 = s0;
        for (int j = 0; j < width; ++j) {
            const simd::F32x8 x = simd::load(xt + j * kLanes);
            s0 = s0 + term(x, r0, j);
            s1 = s1 + term(x, r1, j);
            s2 = s2 + term(x, r2, j);
            s3 = s3 + term(x, r3, j);
        }
        take(s0, r);
        take(s1, r + 1);
        take(s2, r + 2);
        take(s3, r + 3);
    }
    for (; r < cb.numCodewords; ++r) {
        const T* row = cb.rows + r * step;
        simd::F32x8 s = simd::splat(0.0f);
        for (int j = 0; j < width; ++j) s = s + term(simd::load(xt + j * kLanes), row, j);
        take(s, r);
    }
}

template <class T, DistOut kOut, class D>
void searchListLanes(const T* src, int step, Zem32s* index, D* dist, int height, const State<T>& cb) {
    const bool weighted = (cb.flags & kFlagWeighted) != 0;
    Zem32f xt[kLaneWidth * kLanes];
    Zem32f best[kLanes];
    Zem32s found[kLanes];
    for (int v0 = 0; v0 < height; v0 += kLanes) {
        const int m = height - v0 < kLanes ? height - v0 : kLanes;
        // A short last group repeats its last vector in the spare lanes.
        for (int l = 0; l < kLanes; ++l) {
            const T* x = src + int64_t{v0 + (l < m ? l : m - 1)} * step;
            for (int j = 0; j < cb.width; ++j) xt[j * kLanes + l] = static_cast<Zem32f>(x[j]);
        }
        if (weighted) scanLanes<T, true>(cb, xt, best, found);
        else scanLanes<T, false>(cb, xt, best, found);
        for (int l = 0; l < m; ++l) {
            index[v0 + l] = found[l];
            putDistance<kOut>(dist, v0 + l, std::sqrt(best[l]));
        }
    }
}

template <class T, DistOut kOut, class D>
ZemStatus searchBlock(const T* src, int step, Zem32s* index, D* dist, int height, const State<T>& cb, int singleSf) {
    if (lanesServe(cb)) {
        searchListLanes<T, kOut>(src, step, index, dist, height, cb);
        return zemStatusOk;
    }
    for (int v = 0; v < height; ++v) {
        const T* x = src + int64_t{v} * step;
        Zem32f d = 0.0f;
        Zem32s idx = 0;
        const Found f = searchOne(cb, x, singleSf, &idx, kOut == DistOut::None ? nullptr : &d);
        if (f == Found::Failed) return zemStatusFailed;
        if (f == Found::Skipped) continue;
        index[v] = idx;
        putDistance<kOut>(dist, v, d);
    }
    return zemStatusOk;
}

// Weighted distances of every row into the scratch.
template <class T>
void allDistances(const State<T>& cb, const T* x) {
    for (Zem32s r = 0; r < cb.numCodewords; ++r)
        cb.scratch[r] = wdist(x, cb.rows + int64_t{r} * cb.rowStep, cb.weights, cb.width);
}

// Takes the smallest scratch value (the lowest row on a tie) and replaces it by ZEM_MAX_32F.
template <class T>
Zem32f takeSmallest(const State<T>& cb, Zem32s* row) {
    Zem32s at = 0;
    for (Zem32s r = 1; r < cb.numCodewords; ++r)
        if (cb.scratch[r] < cb.scratch[at]) at = r;
    const Zem32f v = cb.scratch[at];
    cb.scratch[at] = ZEM_MAX_32F;
    *row = at;
    return v;
}

// The nearest num rows in order; distances square-rooted into dist (Zem32f, or Zem32f bits
// later converted).
template <class T, DistOut kOut, class D>
void sortSearch(const T* x, Zem32s* index, D* dist, State<T>& cb, int num) {
    allDistances(cb, x);
    for (int k = 0; k < num; ++k) {
        const Zem32f v = takeSmallest(cb, index + k);
        if constexpr (kOut == DistOut::Float) dist[k] = std::sqrt(v);
        if constexpr (kOut == DistOut::Scaled) storeFloat(dist + k, std::sqrt(v));
    }
}

// The reference distance of Thresh: the block search's answer for x.  A skipped or failed
// search leaves it 0.
template <class T>
Zem32f referenceDistance(const T* x, const State<T>& cb, int singleSf) {
    Zem32s idx = -1;
    Zem32f d = 0.0f;
    if constexpr (std::is_same_v<T, Zem32f>) {
        if (searchOne(cb, x, singleSf, &idx, &d) != Found::Index) return 0.0f;
        return d;
    } else {
        if (searchOne(cb, x, singleSf, &idx, nullptr) != Found::Index) return 0.0f;
        if (idx < 0 || idx >= cb.numCodewords) return 0.0f;
        return std::sqrt(wdist(x, cb.rows + int64_t{idx} * cb.rowStep, cb.weights, cb.width));
    }
}

// All rows within relThreshold of r, nearest first, stopping at the first beyond it.
template <class T>
int threshSearch(const T* x, Zem32s* index, Zem32f* dist, State<T>& cb, Zem32f relThreshold) {
    const Zem32f r = referenceDistance(x, cb, widthScale(cb.width));
    allDistances(cb, x);
    const Zem32f limit = relThreshold * relThreshold * r * r;
    int out = 0;
    while (out < cb.numCodewords) {
        Zem32s row;
        const Zem32f v = takeSmallest(cb, &row);
        if (cdbkBetter(v, limit)) break;
        index[out] = row;
        if (dist) dist[out] = std::sqrt(v);
        ++out;
    }
    return out;
}

// The integer form: the reference comes from the distance search at scaleFactor; an entry
// is output when its integer distance is within the integer limit, skipped otherwise, and
// the float limit ends the scan after the test.  At most numCodewords entries are taken.
int threshScaled(const Zem16s* x, Zem32s* index, Zem32s* dist, State<Zem16s>& cb, Zem32f relThreshold, int sf) {
    Zem32s q = 0;
    {
        Zem32s idx = -1;
        Zem32f d = 0.0f;
        if (searchOne(cb, x, 0, &idx, &d) == Found::Index) q = scaledInt(d, sf);
    }
    const Zem32f r = static_cast<Zem32f>(q) * zem::pow2Neg32f(sf == INT32_MIN ? INT32_MAX : -sf);
    const double product = static_cast<double>(static_cast<Zem32f>(q) * relThreshold);
    const int64_t intLimit = product != product ? 0
                             : product >= 9.3e18 ? INT64_MAX
                             : product <= -9.3e18 ? INT64_MIN
                                                  : static_cast<int64_t>(product);
    allDistances(cb, x);
    const Zem32f limit = relThreshold * relThreshold * r * r;
    int out = 0;
    for (Zem32s taken = 0; taken < cb.numCodewords && out < cb.numCodewords; ++taken) {
        Zem32s row;
        const Zem32f v = takeSmallest(cb, &row);
        const Zem32s di = scaledInt(std::sqrt(v), sf);
        if (di <= intLimit) {
            index[out] = row;
            dist[out] = di;
            ++out;
        }
        if (cdbkBetter(v, limit)) break;
    }
    return out;
}

template <class S>
auto blockChecks(const S* cdbk, const void* src, const void* index, const void* dist, int step, int height) {
    return zem::firstFailure(zem::nonNull(cdbk, src, index, dist), zem::atLeastOne(step, height),
                             zem::ensure([=] { return step >= cdbk->width; }, zemStatusBadSize));
}

// The single-vector searches need the rows, weights and scratch of the state.
template <class S>
bool stateReady(const S* cdbk) {
    return cdbk->rows && cdbk->weights && cdbk->scratch;
}

}  // namespace

extern "C" {

// ---- Block searches ----------------------------------------------------------------------

ZEMSR_API ZemStatus zemsVQ_16s(const Zem16s* src, int step, Zem32s* index, int height, const ZemsCdbkState_16s* cdbk) {
    if (const ZemStatus s = blockChecks(cdbk, src, index, index, step, height)) return s;
    return searchBlock<Zem16s, DistOut::None>(src, step, index, static_cast<Zem32f*>(nullptr), height, *cdbk,
                                              widthScale(cdbk->width));
}

ZEMSR_API ZemStatus zemsVQ_32f(const Zem32f* src, int step, Zem32s* index, int height, const ZemsCdbkState_32f* cdbk) {
    if (const ZemStatus s = blockChecks(cdbk, src, index, index, step, height)) return s;
    return searchBlock<Zem32f, DistOut::None>(src, step, index, static_cast<Zem32f*>(nullptr), height, *cdbk, 0);
}

ZEMSR_API ZemStatus zemsVQDist_32f(const Zem32f* src, int step, Zem32s* index, Zem32f* dist, int height,
                                   const ZemsCdbkState_32f* cdbk) {
    if (const ZemStatus s = blockChecks(cdbk, src, index, dist, step, height)) return s;
    return searchBlock<Zem32f, DistOut::Float>(src, step, index, dist, height, *cdbk, 0);
}

// The leaves of a weighted tree are scored at scale 0 here, their neighbours at the
// width's scale, unlike zemsVQ_16s: this sibling difference is intended.
ZEMSR_API ZemStatus zemsVQDist_16s32s_Sfs(const Zem16s* src, int step, Zem32s* index, Zem32s* dist, int height,
                                          const ZemsCdbkState_16s* cdbk, int scaleFactor) {
    if (const ZemStatus s = blockChecks(cdbk, src, index, dist, step, height)) return s;
    const ZemStatus s = searchBlock<Zem16s, DistOut::Scaled>(src, step, index, dist, height, *cdbk, 0);
    if (s == zemStatusOk) floatsToScaledInts(dist, height, scaleFactor);
    return s;
}

// ---- Single vector: the nearest num in order -----------------------------------------------

ZEMSR_API ZemStatus zemsVQSingle_Sort_16s(const Zem16s* src, Zem32s* index, ZemsCdbkState_16s* cdbk, int num) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, cdbk),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure([=] { return num >= 1 && num <= cdbk->numCodewords; },
                                                          zemStatusBadSize)))
        return s;
    sortSearch<Zem16s, DistOut::None>(src, index, static_cast<Zem32f*>(nullptr), *cdbk, num);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQSingle_Sort_32f(const Zem32f* src, Zem32s* index, ZemsCdbkState_32f* cdbk, int num) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, cdbk),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure([=] { return num >= 1 && num <= cdbk->numCodewords; },
                                                          zemStatusBadSize)))
        return s;
    sortSearch<Zem32f, DistOut::None>(src, index, static_cast<Zem32f*>(nullptr), *cdbk, num);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQDistSingle_Sort_32f(const Zem32f* src, Zem32s* index, Zem32f* dist, ZemsCdbkState_32f* cdbk,
                                              int num) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, dist, cdbk),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure([=] { return num >= 1 && num <= cdbk->numCodewords; },
                                                          zemStatusBadSize)))
        return s;
    sortSearch<Zem32f, DistOut::Float>(src, index, dist, *cdbk, num);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQDistSingle_Sort_16s32s_Sfs(const Zem16s* src, Zem32s* index, Zem32s* dist,
                                                     ZemsCdbkState_16s* cdbk, int num, int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, dist, cdbk),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure([=] { return num >= 1 && num <= cdbk->numCodewords; },
                                                          zemStatusBadSize)))
        return s;
    sortSearch<Zem16s, DistOut::Scaled>(src, index, dist, *cdbk, num);
    floatsToScaledInts(dist, num, scaleFactor);
    return zemStatusOk;
}

// ---- Single vector: all within a relative threshold ----------------------------------------

ZEMSR_API ZemStatus zemsVQSingle_Thresh_16s(const Zem16s* src, Zem32s* index, ZemsCdbkState_16s* cdbk,
                                            Zem32f relThreshold, int* count) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, cdbk, count),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure(!(relThreshold < 1.0f), zemStatusBadArg)))
        return s;
    *count = threshSearch(src, index, static_cast<Zem32f*>(nullptr), *cdbk, relThreshold);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQSingle_Thresh_32f(const Zem32f* src, Zem32s* index, ZemsCdbkState_32f* cdbk,
                                            Zem32f relThreshold, int* count) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, cdbk, count),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure(!(relThreshold < 1.0f), zemStatusBadArg)))
        return s;
    *count = threshSearch(src, index, static_cast<Zem32f*>(nullptr), *cdbk, relThreshold);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQDistSingle_Thresh_32f(const Zem32f* src, Zem32s* index, Zem32f* dist,
                                                ZemsCdbkState_32f* cdbk, Zem32f relThreshold, int* count) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, dist, cdbk, count),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure(!(relThreshold < 1.0f), zemStatusBadArg)))
        return s;
    *count = threshSearch(src, index, dist, *cdbk, relThreshold);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsVQDistSingle_Thresh_16s32s_Sfs(const Zem16s* src, Zem32s* index, Zem32s* dist,
                                                       ZemsCdbkState_16s* cdbk, Zem32f relThreshold, int* count,
                                                       int scaleFactor) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, index, dist, cdbk, count),
                                              zem::ensure([=] { return stateReady(cdbk); }, zemStatusNullPointer),
                                              zem::ensure(!(relThreshold < 1.0f), zemStatusBadArg)))
        return s;
    *count = threshScaled(src, index, dist, *cdbk, relThreshold, scaleFactor);
    return zemStatusOk;
}

}  // extern "C"
