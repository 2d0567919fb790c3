// Dynamic time warping: the least cost of a monotone path through the local distances
// d(i, j) between the frames of two sequences, inside a parallelogram band and a beam.
//
// One Zem32f engine over row pointers does the work.  The longer sequence gives the rows
// (the second one on equal lengths) and the shorter the columns.  A path starts in the
// first row within dlt columns of the corner, advances 0, 1 or 2 columns a row, each
// step adding the new cell's distance, and the result is the least cost found in the
// last row reached, not normalised.  The other forms bring their data into row pointers
// of Zem32f and convert the result.
#include <climits>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "dtwkernel.h"
#include "frame/check.h"
#include "frame/record.h"
#include "own.h"
#include "primitives/simd.h"
#include "zemsr.h"

namespace {

namespace simd = zem::simd;
using zem::dtw::blockDistances;
using zem::dtw::cellDistance;

// Stands for "no path": cells outside the previous row, and the result when none ends.
constexpr float kNoPath = 3.4028235e38f;
// Added to the beam so that cells equal to the row's minimum up to one ulp of 1 survive.
constexpr float kBeamMargin = 1.1920929e-07f;
// Workspace (two rows and two band arrays) held in the stack frame up to this many elements.
constexpr int64_t kWorkOnStack = 512;
// Row pointers of the float _D2 form held in the stack frame: 2048 bytes.
constexpr int64_t kPointersOnStack = 2048 / sizeof(const Zem32f*);
// The feature-major copy of the columns held in the stack frame up to this many floats.
constexpr int64_t kColumnCopyOnStack = 4096;

// Reads the columns either through their row pointers or, when the feature-major copy
// could be made, eight cells to a register from the copy.  Both give the same bits.
class Columns {
public:
    Columns(const float* const* cols, int64_t count, int width)
        : rows_(cols), width_(width), pitch_((count + 14) & ~int64_t{7}), copy_(pitch_ * width) {
        if (!copy_.ok()) return;  // a speed aid only: without it every cell goes the plain way
        float* t = copy_.data();
        for (int f = 0; f < width; ++f) {
            float* line = t + f * pitch_;
            for (int64_t j = 0; j < count; ++j) line[j] = cols[j][f];
            for (int64_t j = count; j < pitch_; ++j) line[j] = 0.0f;
        }
        copy_ready_ = true;
    }

    // Calls cells(k, F32x8) for groups of eight cells and cell(k, float) for the rest,
    // over columns first .. first + n - 1 against the row frame x, in rising k.
    template <class Eight, class One>
    void forEach(const float* x, int64_t first, int64_t n, Eight&& cells, One&& cell) {
        const int64_t end = first + n;
        int64_t k = first;
        if (copy_ready_) {
            const float* t = copy_.data();
            for (; k + 32 <= end; k += 32) {
                simd::F32x8 d[4];
                blockDistances<4>(x, t + k, pitch_, width_, d);
                for (int g = 0; g < 4; ++g) cells(k + 8 * g, d[g]);
            }
            if (k + 16 <= end) {
                simd::F32x8 d[2];
                blockDistances<2>(x, t + k, pitch_, width_, d);
                cells(k, d[0]);
                cells(k + 8, d[1]);
                k += 16;
            }
            if (k + 8 <= end) {
                simd::F32x8 d[1];
                blockDistances<1>(x, t + k, pitch_, width_, d);
                cells(k, d[0]);
                k += 8;
            }
            if (k < end) {  // the copy's padding lets the last group read eight columns
                simd::F32x8 d[1];
                blockDistances<1>(x, t + k, pitch_, width_, d);
                float lanes[8];
                simd::store(lanes, d[0]);
                for (int64_t l = 0; k + l < end; ++l) cell(k + l, lanes[l]);
            }
            return;
        }
        for (; k < end; ++k) cell(k, cellDistance(x, rows_[k], width_));
    }

private:
    const float* const* rows_;
    int width_;
    int64_t pitch_;
    zem::Scratch<float, kColumnCopyOnStack> copy_;
    bool copy_ready_ = false;
};

// One row of the recurrence: next[k] = d(i, k) + min(prev[k], prev[k-1], prev[k-2]) for
// k = first .. first + n - 1; returns the least of them.  The caller has put kNoPath
// into the cells of prev that lie outside its live range and are read.
float advanceRow(Columns& columns, const float* x, const float* prev, float* next, int64_t first, int64_t n) {
    simd::F32x8 least8 = simd::splat(__builtin_inff());
    float least = __builtin_inff();
    columns.forEach(
        x, first, n,
        [&](int64_t k, simd::F32x8 d) {
            const simd::F32x8 before =
                simd::min(simd::load(prev + k), simd::min(simd::load(prev + k - 1), simd::load(prev + k - 2)));
            const simd::F32x8 v = d + before;
            simd::store(next + k, v);
            least8 = simd::min(v, least8);
        },
        [&](int64_t k, float d) {
            const float a = prev[k], b = prev[k - 1], c = prev[k - 2];
            const float bc = b < c ? b : c;
            const float v = d + (a < bc ? a : bc);
            next[k] = v;
            least = v < least ? v : least;
        });
    float lanes[8];
    simd::store(lanes, least8);
    for (float v : lanes) least = v < least ? v : least;
    return least;
}

// The band of row i: the first and last column a path may reach there.  Bounds outside
// 0 .. K are held at -1 and K, which cut a row exactly as the unbounded values would.
void fillBand(int32_t* upper, int32_t* lower, int64_t rowCount, int64_t colCount, int64_t dlt) {
    const int64_t R = rowCount, K = colCount;
    for (int64_t i = 0; i < R; ++i) {
        int64_t up = 3 * i < 2 * K - R ? dlt + 2 * i : K + dlt + ((i - R - 1) >> 1);
        if (up >= K) up = K - 1;
        int64_t lo = 3 * i > 4 * R - 2 * K - 2 ? 2 * i + K - 2 * R - dlt + 1 : i / 2 - dlt;
        if (lo < 0) lo = 0;
        upper[i] = static_cast<int32_t>(up < -1 ? -1 : up);
        lower[i] = static_cast<int32_t>(lo > K ? K : lo);
    }
}

// The engine.  Sizes are at least 1 and every row pointer is set.
ZemStatus warp(const Zem32f* const* src1, int height1, const Zem32f* const* src2, int height2, int width,
               int delta, float beta, float* result) {
    const bool firstGivesRows = height1 > height2;
    const Zem32f* const* rows = firstGivesRows ? src1 : src2;
    const Zem32f* const* cols = firstGivesRows ? src2 : src1;
    const int64_t R = firstGivesRows ? height1 : height2;
    const int64_t K = firstGivesRows ? height2 : height1;
    const int64_t dlt = K > delta ? delta : K - 1;

    // Two rows of cells, each with two guard cells in front, and the band.
    const int64_t rowLen = (K + 8) & ~int64_t{3};
    const int64_t bandLen = (R + 3) & ~int64_t{3};
    zem::Scratch<unsigned char, kWorkOnStack * 4> work((2 * rowLen + 2 * bandLen) * 4);
    if (!work.ok()) return zemStatusNoMemory;
    float* prev = reinterpret_cast<float*>(work.data()) + 2;
    float* next = prev + rowLen;
    int32_t* upper = reinterpret_cast<int32_t*>(work.data() + 8 * rowLen);
    int32_t* lower = upper + bandLen;
    fillBand(upper, lower, R, K, dlt);

    Columns columns(cols, K, width);

    // The first row is free: a path may start in any of its first dlt + 1 cells.
    int64_t start = 0, count = dlt + 1;
    if (count > 0)
        columns.forEach(
            rows[0], 0, count, [&](int64_t k, simd::F32x8 d) { simd::store(prev + k, d); },
            [&](int64_t k, float d) { prev[k] = d; });

    float least = kNoPath;
    const float beam = (beta > 0.0f ? beta : 0.0f) + kBeamMargin;
    for (int64_t i = 1; i < R; ++i) {
        const int64_t reach = upper[i] - start + 1;
        int64_t n = reach < count + 2 ? reach : count + 2;
        int64_t first = start;
        if (first < lower[i]) {
            n -= lower[i] - first;
            first = lower[i];
        }
        if (n <= 0) {
            least = kNoPath;
            break;
        }
        // n > 0 means count >= -1: the cells read around the live range exist.
        prev[start - 2] = prev[start - 1] = kNoPath;
        prev[start + count] = prev[start + count + 1] = kNoPath;
        least = advanceRow(columns, rows[i], prev, next, first, n);
        std::swap(prev, next);
        start = first;
        count = n;
        if (least >= kNoPath) break;

        const float limit = beam + least;
        while (count > 1 && prev[start + count - 1] > limit) --count;
        while (count > 1 && prev[start] > limit) {
            ++start;
            --count;
        }
    }
    *result = least;
    return zemStatusOk;
}

// ---- The forms ------------------------------------------------------------------------------

// A sequence as row pointers or as one block with a stride.
template <class T>
struct RowList {
    const T* const* rows;
    const T* row(int64_t r) const { return rows[r]; }
};
template <class T>
struct Block {
    const T* base;
    int step;
    const T* row(int64_t r) const { return base + r * step; }
};

// The result: stored as it is, or rounded to nearest (ties to even), scaled and saturated.
struct FloatResult {
    Zem32f* dst;
    void put(float v) const { *dst = v; }
};
struct ScaledResult {
    Zem32s* dst;
    int scaleFactor;
    void put(float v) const { ownConvert_32f32s_Sfs(&v, dst, 1, 1, scaleFactor); }
};

inline ZemStatus widenRow(const Zem16s* src, Zem32f* dst, int len) { return ownConvert_16s32f(src, dst, len); }
inline ZemStatus widenRow(const Zem8u* src, Zem32f* dst, int len) { return ownConvert_8u32f(src, dst, len); }

// Float rows given as pointers go straight to the engine; a float block gets a pointer
// array (in the stack frame up to 2048 bytes); integer rows are widened into two blocks
// of Zem32f with their own pointer array.
template <class T, class Seq, class Result>
ZemStatus run(Seq s1, int height1, Seq s2, int height2, int width, Result out, int delta, float beta) {
    float value = 0.0f;
    const int64_t total = int64_t{height1} + height2;
    if constexpr (std::is_same_v<T, Zem32f> && std::is_same_v<Seq, RowList<Zem32f>>) {
        if (const ZemStatus s = warp(s1.rows, height1, s2.rows, height2, width, delta, beta, &value)) return s;
    } else if constexpr (std::is_same_v<T, Zem32f>) {
        zem::Scratch<const Zem32f*, kPointersOnStack> ptrs(total);
        if (!ptrs.ok()) return zemStatusNoMemory;
        for (int64_t r = 0; r < height1; ++r) ptrs[r] = s1.row(r);
        for (int64_t r = 0; r < height2; ++r) ptrs[height1 + r] = s2.row(r);
        if (const ZemStatus s = warp(ptrs.data(), height1, ptrs.data() + height1, height2, width, delta, beta, &value))
            return s;
    } else {
        zem::HeapScratch<const Zem32f*> ptrs(total);
        if (!ptrs.ok()) return zemStatusNoMemory;
        zem::HeapScratch<Zem32f> block1(int64_t{height1} * width);
        if (!block1.ok()) return zemStatusNoMemory;
        zem::HeapScratch<Zem32f> block2(int64_t{height2} * width);
        if (!block2.ok()) return zemStatusNoMemory;
        auto widen = [&](const Seq& seq, int height, Zem32f* block, const Zem32f** into) {
            for (int64_t r = 0; r < height; ++r) {
                Zem32f* row = block + r * width;
                widenRow(seq.row(r), row, width);
                into[r] = row;
            }
        };
        widen(s1, height1, block1.data(), ptrs.data());
        widen(s2, height2, block2.data(), ptrs.data() + height1);
        if (const ZemStatus s = warp(ptrs.data(), height1, ptrs.data() + height1, height2, width, delta, beta, &value))
            return s;
    }
    out.put(value);
    return zemStatusOk;
}

// Checks of the row-pointer forms: the arrays, the sizes, then every row pointer (the
// engine reads them all).
template <class T>
ZemStatus checkRows(const T* const* src1, int height1, const T* const* src2, int height2, int width, const void* dst) {
    return zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(height1, height2, width),
                             zem::noNullRows(src1, height1), zem::noNullRows(src2, height2));
}

// Checks of the block forms: a stride below the width is a bad size here.
template <class T>
ZemStatus checkBlock(const T* src1, int height1, const T* src2, int height2, int width, int step, const void* dst) {
    return zem::firstFailure(zem::nonNull(src1, src2, dst), zem::atLeastOne(height1, height2, width),
                             zem::ensure(step >= width, zemStatusBadSize));
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsDTW_L2_32f_D2L(const Zem32f* const* src1, int height1, const Zem32f* const* src2,
                                       int height2, int width, Zem32f* dst, int delta, Zem32f beta) {
    if (const ZemStatus s = checkRows(src1, height1, src2, height2, width, dst)) return s;
    return run<Zem32f>(RowList<Zem32f>{src1}, height1, RowList<Zem32f>{src2}, height2, width, FloatResult{dst},
                       delta, beta);
}

ZEMSR_API ZemStatus zemsDTW_L2_32f_D2(const Zem32f* src1, int height1, const Zem32f* src2, int height2, int width,
                                      int step, Zem32f* dst, int delta, Zem32f beta) {
    if (const ZemStatus s = checkBlock(src1, height1, src2, height2, width, step, dst)) return s;
    return run<Zem32f>(Block<Zem32f>{src1, step}, height1, Block<Zem32f>{src2, step}, height2, width,
                       FloatResult{dst}, delta, beta);
}

ZEMSR_API ZemStatus zemsDTW_L2Low_16s32s_D2LSfs(const Zem16s* const* src1, int height1, const Zem16s* const* src2,
                                                int height2, int width, Zem32s* dst, int delta, Zem32f beta,
                                                int scaleFactor) {
    if (const ZemStatus s = checkRows(src1, height1, src2, height2, width, dst)) return s;
    return run<Zem16s>(RowList<Zem16s>{src1}, height1, RowList<Zem16s>{src2}, height2, width,
                       ScaledResult{dst, scaleFactor}, delta, beta);
}

ZEMSR_API ZemStatus zemsDTW_L2Low_16s32s_D2Sfs(const Zem16s* src1, int height1, const Zem16s* src2, int height2,
                                               int width, int step, Zem32s* dst, int delta, Zem32f beta,
                                               int scaleFactor) {
    if (const ZemStatus s = checkBlock(src1, height1, src2, height2, width, step, dst)) return s;
    return run<Zem16s>(Block<Zem16s>{src1, step}, height1, Block<Zem16s>{src2, step}, height2, width,
                       ScaledResult{dst, scaleFactor}, delta, beta);
}

ZEMSR_API ZemStatus zemsDTW_L2_8u32s_D2LSfs(const Zem8u* const* src1, int height1, const Zem8u* const* src2,
                                            int height2, int width, Zem32s* dst, int delta, Zem32f beta,
                                            int scaleFactor) {
    if (const ZemStatus s = checkRows(src1, height1, src2, height2, width, dst)) return s;
    return run<Zem8u>(RowList<Zem8u>{src1}, height1, RowList<Zem8u>{src2}, height2, width,
                      ScaledResult{dst, scaleFactor}, delta, beta);
}

ZEMSR_API ZemStatus zemsDTW_L2_8u32s_D2Sfs(const Zem8u* src1, int height1, const Zem8u* src2, int height2, int width,
                                           int step, Zem32s* dst, int delta, Zem32f beta, int scaleFactor) {
    if (const ZemStatus s = checkBlock(src1, height1, src2, height2, width, step, dst)) return s;
    return run<Zem8u>(Block<Zem8u>{src1, step}, height1, Block<Zem8u>{src2, step}, height2, width,
                      ScaledResult{dst, scaleFactor}, delta, beta);
}

}  // extern "C"
