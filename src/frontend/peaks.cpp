// Peak picking and order statistics over one frame.
//
// FindPeaks flags the samples that stand at the top of at least searchSize rising and
// searchSize falling steps, on the frame itself or on its moving average; the demand is
// relaxed near both ends.  NthMaxElement returns the element at position n of the
// decreasing order by a quickselect on a copy of the frame.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/check.h"
#include "frame/record.h"
#include "zemsr.h"

namespace {

// ---- The signal a peak search reads -------------------------------------------------------------

// s[i]: x[i], or the mean of x over i - w .. i + w cut to the frame, computed when asked
// for (never stored).  Float means are summed in double from the left; the significance
// of a step is relative: |a - b| > 1e-6 |max(a, b)|.
struct Smoothed32f {
    const Zem32f* x;
    int len, w;
    double operator()(int i) const {
        if (w == 0) return x[i];
        const int lo = i - w < 0 ? 0 : i - w, hi = i + w > len - 1 ? len - 1 : i + w;
        double sum = 0.0;
        for (int k = lo; k <= hi; ++k) sum += x[k];
        return sum / (hi - lo + 1);
    }
    static bool significant(double a, double b) { return std::fabs(a - b) > 1e-6 * std::fabs(a > b ? a : b); }
};

// Integer means: 64-bit sums, quotients truncated toward zero; every change is significant.
struct Smoothed32s {
    const Zem32s* x;
    int len, w;
    int64_t operator()(int i) const {
        if (w == 0) return x[i];
        const int lo = i - w < 0 ? 0 : i - w, hi = i + w > len - 1 ? len - 1 : i + w;
        int64_t sum = 0;
        for (int k = lo; k <= hi; ++k) sum += x[k];
        return sum / (hi - lo + 1);
    }
    static bool significant(int64_t a, int64_t b) { return a != b; }
};

inline int minOf(int a, int b) { return a < b ? a : b; }

// One scan from the left.  Every flag starts at 0 and only peaks are raised.  A step that
// is not significant (a plateau) restarts the count of rising steps.
template <class Signal>
void findPeaks(const Signal& s, Zem8u* dst, int len, int searchSize) {
    std::memset(dst, 0, static_cast<size_t>(len));
    if (len == 1) {
        dst[0] = 1;
        return;
    }
    if (s.w >= len - 1) return;  // nothing to search
    // A falling start: its first sample is a peak when it falls long enough.
    int c = 1, falling = 0;
    while (c < len && s(c) < s(c - 1)) ++c, ++falling;
    if (c == len) {
        dst[0] = 1;
        return;
    }
    if (falling >= searchSize) dst[0] = 1;
    if (c == len - 1) {
        dst[c] = s(c) > s(c - 1) && searchSize == 1;
        return;
    }
    while (c < len) {
        int up = Signal::significant(s(c - 1), s(c)) ? 1 : 0;
        while (c < len - 1 && s(c) < s(c + 1)) ++c, ++up;
        if (c == len - 1) {  // rising to the end: the demand shrinks to the steps there are
            dst[c] = up >= minOf(c, searchSize);
            return;
        }
        if (Signal::significant(s(c), s(c + 1))) {
            int down = 1;
            ++c;
            while (c < len - 1 && s(c + 1) < s(c)) ++c, ++down;
            const int p = c - down;
            const int needDown = p < len - searchSize ? searchSize : len - 1 - p;
            dst[p] = up >= minOf(p, searchSize) && down >= needDown;
        }
        ++c;
    }
}

ZemStatus checkPeaks(const void* src, const void* dst, int len, int searchSize, int movingAvgSize) {
    return zem::firstFailure(zem::nonNull(src, dst), zem::within(len, 1, 65535, zemStatusSizeTooLarge),
                             zem::within(searchSize, 1, 127, zemStatusBadSize),
                             zem::within(movingAvgSize, 0, 127, zemStatusBadSize));
}

// ---- Order statistics ------------------------------------------------------------------------------

// Quickselect for the decreasing order: the first element of the range is the pivot, the
// range is split by scans from both ends with swaps, and the pivot goes to its place.  The
// run of elements equal to the pivot just before it belongs to the pivot's place too, so
// that a frame of duplicates ends at once.  Every scan is bounded by the range, whatever
// the comparisons answer (NaN included).
template <class T>
T nthLargest(T* a, int len, int n) {
    int lo = 0, hi = len - 1;
    while (lo < hi) {
        const T pivot = a[lo];
        int i = lo, j = hi + 1;
        for (;;) {
            do ++i;
            while (i <= hi && a[i] > pivot);
            do --j;
            while (j > lo && a[j] < pivot);
            if (i >= j) break;
            const T t = a[i];
            a[i] = a[j];
            a[j] = t;
        }
        a[lo] = a[j];
        a[j] = pivot;
        int k = j;
        while (k > lo && a[k - 1] == pivot) --k;
        if (n >= k && n <= j) return pivot;
        if (n < k) hi = k - 1;
        else lo = j + 1;
    }
    return a[lo];
}

template <class T>
ZemStatus nthMax(const T* src, int len, int n, T* result) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, result), zem::atLeastOne(len),
                                              zem::ensure(n >= 0 && n < len, zemStatusBadArg)))
        return s;
    zem::HeapScratch<T> copy(len);
    if (!copy.ok()) return zemStatusNoMemory;
    std::memcpy(copy.data(), src, static_cast<size_t>(len) * sizeof(T));
    *result = nthLargest(copy.data(), len, n);
    return zemStatusOk;
}

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsFindPeaks_32f8u(const Zem32f* src, Zem8u* dst, int len, int searchSize, int movingAvgSize) {
    if (const ZemStatus s = checkPeaks(src, dst, len, searchSize, movingAvgSize)) return s;
    findPeaks(Smoothed32f{src, len, movingAvgSize}, dst, len, searchSize);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsFindPeaks_32s8u(const Zem32s* src, Zem8u* dst, int len, int searchSize, int movingAvgSize) {
    if (const ZemStatus s = checkPeaks(src, dst, len, searchSize, movingAvgSize)) return s;
    findPeaks(Smoothed32s{src, len, movingAvgSize}, dst, len, searchSize);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsNthMaxElement_32f(const Zem32f* src, int len, int n, Zem32f* result) {
    return nthMax(src, len, n, result);
}

ZEMSR_API ZemStatus zemsNthMaxElement_32s(const Zem32s* src, int len, int n, Zem32s* result) {
    return nthMax(src, len, n, result);
}

ZEMSR_API ZemStatus zemsNthMaxElement_64f(const Zem64f* src, int len, int n, Zem64f* result) {
    return nthMax(src, len, n, result);
}

}  // extern "C"
