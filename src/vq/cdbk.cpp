// Codebook objects: creation from a training set (list, or tree by binary splitting),
// creation in a caller's block, read-out and release.
//
// An allocated state is a set of separate blocks (record, rows, weights, scratch, the
// tree's nodes with their centroids, lists and caches, the cell index with its lists),
// all released by zemsCdbkFree_*.  A state made in a caller's block is one block laid out
// as record, rows, weights, scratch, each from a 32-byte boundary.
#include <cstring>

#include "frame/check.h"
#include "vq/cdbkbuild.h"

namespace zem::vq {
namespace {

constexpr int kMaxCodewords = 16383;

template <class T>
constexpr bool kIs16s = std::is_same_v<T, Zem16s>;

int64_t roundUp(int64_t v, int64_t m) { return (v + m - 1) / m * m; }

// Distance between codeword rows, by the creating function.
template <class T>
int64_t allocRowStep(int width, int step, int hint) {
    if constexpr (kIs16s<T>) {
        if (hint == ZEM_CDBK_LIST && (width == 1 || width == 2 || width == 4)) return width;
        return roundUp(step, 8);
    } else {
        if (hint == ZEM_CDBK_LIST && (width == 1 || width == 2 || width == 4 || width == 8)) return width;
        return roundUp(step, 4);
    }
}
int64_t bufferRowStep(int width, int step) {
    return width == 1 || width == 2 || width == 4 ? width : roundUp(step, 8);
}

// Bytes of a caller's block for a list state of cdbkSize rows.
template <class T>
int64_t bufferBytes(int width, int step, int cdbkSize) {
    const int64_t rowStep = bufferRowStep(width, step);
    if constexpr (kIs16s<T>) return int64_t{cdbkSize} * 4 + 208 + (width + rowStep * cdbkSize) * 2;
    else return (int64_t{cdbkSize} + width + cdbkSize * rowStep) * 4 + 176;
}

// The size tests shared by GetSize and Init: a list as long as the training set, whose
// block size fits the 32-bit size argument.
template <class T>
auto bufferSizeOk(int width, int step, int height, int cdbkSize) {
    return checkedBy([=] {
        if (width < 1 || step < 1 || height < 1 || cdbkSize < 1 || width > step || cdbkSize > kMaxCodewords ||
            cdbkSize != height)
            return zemStatusBadSize;
        return bufferBytes<T>(width, step, cdbkSize) > INT32_MAX ? zemStatusBadSize : zemStatusOk;
    });
}

auto notTreeHint(int hint) {
    return ensure(hint != ZEM_CDBK_SPLIT_WIDEST && hint != ZEM_CDBK_SPLIT_FULLEST, zemStatusBadCdbkHint);
}

template <class T>
void copyRows(T* dst, int64_t dstStep, const T* src, int64_t srcStep, int width, int height) {
    for (int64_t r = 0; r < height; ++r)
        std::memcpy(dst + r * dstStep, src + r * srcStep, static_cast<size_t>(width) * sizeof(T));
}

// Everything an allocated state holds; null blocks are skipped, so that a state failed
// halfway is released by the same walk.
template <class T>
void releaseState(State<T>* s) {
    if (s->grid) releaseGrid(s->grid, s->width);
    if (s->root) releaseTree(s->root);
    freeBlock(s->weights);
    freeBlock(s->rows);
    freeBlock(s->scratch);
    freeBlock(s);
}

template <class T>
ZemStatus getSize(int width, int step, int height, int cdbkSize, int hint, Zem32s* size) {
    if (const ZemStatus s = firstFailure(notTreeHint(hint), nonNull(size),
                                         bufferSizeOk<T>(width, step, height, cdbkSize)))
        return s;
    *size = static_cast<Zem32s>(bufferBytes<T>(width, step, cdbkSize));
    return zemStatusOk;
}

template <class T>
ZemStatus initInBuffer(State<T>* buffer, const T* src, int width, int step, int height, int cdbkSize, int hint) {
    if (const ZemStatus s = firstFailure(notTreeHint(hint), nonNull(src, buffer),
                                         bufferSizeOk<T>(width, step, height, cdbkSize)))
        return s;
    // The float form keeps the index width the caller left in the block.
    const Zem32s keptBits = buffer->indexBits;
    const int64_t rowStep = bufferRowStep(width, step);
    Arena a = Arena::forBuffer(buffer);
    State<T>* st = a.template record<State<T>>();
    st->rows = a.template take<T>(rowStep * height);
    st->weights = a.template take<T>(width);
    st->scratch = a.template take<Zem32f>(cdbkSize);
    st->width = width;
    st->hint = hint;
    st->rowStep = static_cast<Zem32s>(rowStep);
    st->numCodewords = height;
    st->maxDepth = cdbkSize - 1;
    for (int j = 0; j < width; ++j) st->weights[j] = T(1);
    copyRows(st->rows, rowStep, src, step, width, height);
    st->indexBits = kIs16s<T> ? indexBits(height) : keptBits;
    return zemStatusOk;
}

// The creation that both weighted and unit-weight forms run.
template <class T>
ZemStatus initAlloc(State<T>** out, const T* src, const T* weights, int width, int step, int height, int cdbkSize,
                    int hint) {
    if (const ZemStatus s = firstFailure(
            nonNull(src, weights), atLeastOne(width, step, height, cdbkSize),
            ensure(width <= step && cdbkSize <= kMaxCodewords && cdbkSize <= height, zemStatusBadSize),
            ensure(
                [&] {
                    for (int j = 0; j < width; ++j)
                        if (weights[j] < T(0)) return false;
                    return true;
                },
                zemStatusBadArg)))
        return s;

    State<T>* st = newBlock<State<T>>(1);
    if (!st) return zemStatusNoMemory;
    std::memset(static_cast<void*>(st), 0, sizeof(State<T>));
    st->width = width;
    st->hint = hint;
    const int64_t rowStep = allocRowStep<T>(width, step, hint);
    const int64_t heldRows = hint == ZEM_CDBK_LIST ? height : cdbkSize;
    // rowStep is a 32-bit field: a step that rounds past it cannot be held.
    st->rowStep = rowStep <= INT32_MAX ? static_cast<Zem32s>(rowStep) : 0;
    st->rows = rowStep <= INT32_MAX ? newBlock<T>(rowStep * heldRows) : nullptr;
    st->weights = st->rows ? newBlock<T>(width) : nullptr;
    // The work block: cdbkSize leaf pointers, then height assignments and height distances.
    char* work = st->weights ? newBlock<char>((int64_t{height} + cdbkSize) * 8) : nullptr;
    st->scratch = work ? newBlock<Zem32f>(heldRows) : nullptr;
    if (!st->scratch) {
        freeBlock(work);
        releaseState(st);
        return zemStatusNoMemory;
    }
    std::memset(st->rows, 0, static_cast<size_t>(rowStep * heldRows) * sizeof(T));
    std::memset(work, 0, static_cast<size_t>(cdbkSize) * 8);
    const TrainWork<T> tw{reinterpret_cast<ZemsCdbkNode<T>**>(work),
                          reinterpret_cast<Zem32s*>(work + int64_t{cdbkSize} * 8),
                          reinterpret_cast<Zem32f*>(work + int64_t{cdbkSize} * 8 + int64_t{height} * 4)};

    std::memcpy(st->weights, weights, static_cast<size_t>(width) * sizeof(T));
    st->flags = kFlagWeighted;
    bool allOne = true;
    for (int j = 0; j < width; ++j) allOne = allOne && weights[j] == T(1);
    if (allOne) st->flags = 0;

    ZemStatus status = zemStatusOk;
    if (hint == ZEM_CDBK_LIST) {
        st->numCodewords = height;
        copyRows(st->rows, rowStep, src, step, width, height);
        if ((width == 1 || width == 2) && height >= 11) status = buildCellIndex(st);
        st->maxDepth = height - 1;
        if (status == zemStatusOk && cdbkSize != height) status = zemStatusCdbkSizeWarning;
    } else if (hint == ZEM_CDBK_SPLIT_WIDEST || hint == ZEM_CDBK_SPLIT_FULLEST) {
        status = trainTree(st, TrainSet<T>{src, step, width, height, st->weights}, cdbkSize, tw);
    } else {
        status = zemStatusBadCdbkHint;
    }
    freeBlock(work);
    // Nowhere to deliver the state: every other outcome is the one stated for the arguments,
    // this one is refused last so that a null destination cannot be written through.
    if (status >= 0 && !out) status = zemStatusNullPointer;
    if (status < 0) {
        releaseState(st);
        return status;
    }
    st->indexBits = indexBits(st->numCodewords);
    *out = st;
    return status;
}

template <class T>
ZemStatus initAllocUnitWeights(State<T>** out, const T* src, int width, int step, int height, int cdbkSize,
                               int hint) {
    if (width < 1) return zemStatusBadSize;
    T* ones = newBlock<T>(width);
    if (!ones) return zemStatusNoMemory;
    for (int j = 0; j < width; ++j) ones[j] = T(1);
    const ZemStatus s = initAlloc(out, src, ones, width, step, height, cdbkSize, hint);
    freeBlock(ones);
    return s;
}

template <class T>
ZemStatus freeState(State<T>* st) {
    if (!st || !st->rows) return zemStatusNullPointer;
    if (st->hint == ZEM_CDBK_LIST) {
        if ((st->flags & kFlagCellIndex) && st->grid) releaseGrid(st->grid, st->width);
    } else if (st->hint == ZEM_CDBK_SPLIT_WIDEST || st->hint == ZEM_CDBK_SPLIT_FULLEST) {
        if (st->root) releaseTree(st->root);
    } else {
        return zemStatusInternal;
    }
    st->grid = nullptr;
    st->root = nullptr;
    releaseState(st);
    return zemStatusOk;
}

// One body for both forms: it reads numCodewords alone.
template <class T>
ZemStatus codewordCount(const State<T>* st, Zem32s* size) {
    if (const ZemStatus s = firstFailure(nonNull(st, size))) return s;
    *size = st->numCodewords;
    return zemStatusOk;
}

template <class T>
ZemStatus readCodebook(const State<T>* st, T* dst, int dstStep) {
    if (const ZemStatus s = firstFailure(nonNull(st, dst), ensure([&] { return dstStep >= 1 && dstStep >= st->width; },
                                                                  zemStatusBadSize)))
        return s;
    copyRows(dst, dstStep, st->rows, st->rowStep, st->width, st->numCodewords);
    return zemStatusOk;
}

}  // namespace
}  // namespace zem::vq

using zem::vq::State;

extern "C" {

ZEMSR_API ZemStatus zemsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, int hint, Zem32s* size) {
    return zem::vq::getSize<Zem16s>(width, step, height, cdbkSize, hint, size);
}
ZEMSR_API ZemStatus zemsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, int hint, Zem32s* size) {
    return zem::vq::getSize<Zem32f>(width, step, height, cdbkSize, hint, size);
}

ZEMSR_API ZemStatus zemsCdbkInit_L2_16s(ZemsCdbkState_16s* state, const Zem16s* src, int width, int step,
                                        int height, int cdbkSize, int hint) {
    return zem::vq::initInBuffer<Zem16s>(state, src, width, step, height, cdbkSize, hint);
}
ZEMSR_API ZemStatus zemsCdbkInit_L2_32f(ZemsCdbkState_32f* state, const Zem32f* src, int width, int step,
                                        int height, int cdbkSize, int hint) {
    return zem::vq::initInBuffer<Zem32f>(state, src, width, step, height, cdbkSize, hint);
}

ZEMSR_API ZemStatus zemsCdbkInitAlloc_L2_16s(ZemsCdbkState_16s** cdbk, const Zem16s* src, int width, int step,
                                             int height, int cdbkSize, int hint) {
    return zem::vq::initAllocUnitWeights<Zem16s>(reinterpret_cast<State<Zem16s>**>(cdbk), src, width, step, height,
                                                 cdbkSize, hint);
}
ZEMSR_API ZemStatus zemsCdbkInitAlloc_L2_32f(ZemsCdbkState_32f** cdbk, const Zem32f* src, int width, int step,
                                             int height, int cdbkSize, int hint) {
    return zem::vq::initAllocUnitWeights<Zem32f>(reinterpret_cast<State<Zem32f>**>(cdbk), src, width, step, height,
                                                 cdbkSize, hint);
}
ZEMSR_API ZemStatus zemsCdbkInitAlloc_WgtL2_16s(ZemsCdbkState_16s** cdbk, const Zem16s* src, const Zem16s* weights,
                                                int width, int step, int height, int cdbkSize, int hint) {
    return zem::vq::initAlloc<Zem16s>(reinterpret_cast<State<Zem16s>**>(cdbk), src, weights, width, step, height,
                                      cdbkSize, hint);
}
ZEMSR_API ZemStatus zemsCdbkInitAlloc_WgtL2_32f(ZemsCdbkState_32f** cdbk, const Zem32f* src, const Zem32f* weights,
                                                int width, int step, int height, int cdbkSize, int hint) {
    return zem::vq::initAlloc<Zem32f>(reinterpret_cast<State<Zem32f>**>(cdbk), src, weights, width, step, height,
                                      cdbkSize, hint);
}

ZEMSR_API ZemStatus zemsCdbkFree_16s(ZemsCdbkState_16s* cdbk) { return zem::vq::freeState<Zem16s>(cdbk); }
ZEMSR_API ZemStatus zemsCdbkFree_32f(ZemsCdbkState_32f* cdbk) { return zem::vq::freeState<Zem32f>(cdbk); }

ZEMSR_API ZemStatus zemsGetCdbkSize_16s(const ZemsCdbkState_16s* cdbk, Zem32s* size) {
    return zem::vq::codewordCount<Zem16s>(cdbk, size);
}
ZEMSR_API ZemStatus zemsGetCdbkSize_32f(const ZemsCdbkState_32f* cdbk, Zem32s* size) {
    return zem::vq::codewordCount<Zem32f>(cdbk, size);
}

ZEMSR_API ZemStatus zemsGetCodebook_16s(const ZemsCdbkState_16s* cdbk, Zem16s* dst, int dstStep) {
    return zem::vq::readCodebook<Zem16s>(cdbk, dst, dstStep);
}
ZEMSR_API ZemStatus zemsGetCodebook_32f(const ZemsCdbkState_32f* cdbk, Zem32f* dst, int dstStep) {
    return zem::vq::readCodebook<Zem32f>(cdbk, dst, dstStep);
}

}  // extern "C"
