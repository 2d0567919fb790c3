// State records and scratch: the one way the library takes memory.
//
// A record is built by one function written against an Arena:
//
//     template <class A> Rec* build(A& arena, args...) {
//         Rec* r = arena.template record<Rec>();
//         r->table = arena.template take<float>(n);
//         ...
//     }
//
// and that same function serves three purposes, so that GetSize, Init and InitAlloc
// can never disagree:
//   - Arena::forMeasuring()     counts the bytes the layout needs from a base of any
//                                alignment (each sub-block charged its worst padding);
//   - Arena::forBuffer(buffer)   carves the record out of the caller's buffer;
//   - allocateRecord(...)       measures, takes one block from zemMalloc and carves in it,
//                                marking the record as owned so that Free releases it.
// Sub-blocks start at 32-byte boundaries (16 where a caller asks for matrix alignment)
// and are zero-filled.  Records that begin with RecordHead carry an id and the owned flag.
//
// Scratch<T, N> is a work array that lives on the stack up to N elements and comes from
// the allocator above that; it is released when it leaves scope, on every path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "frame/carve.h"
#include "zemcore.h"
#include "zemsr.h"

namespace zem {

// The first member of a record that needs to know how it was made.
struct RecordHead {
    Zem32s id;     // the family's id while the record is alive
    Zem32s owned;  // 1 when allocateRecord made it; Free releases `block` only then
    void* block;   // what zemMalloc returned
};

class Arena {
public:
    static Arena forMeasuring() { return Arena(nullptr, true); }
    static Arena forBuffer(void* buffer) { return Arena(static_cast<char*>(buffer), false); }

    // count elements of T at the next multiple of align, zero-filled.
    template <class T>
    T* take(int64_t count, size_t align = kStateAlign) {
        if (count < 0) count = 0;
        const int64_t bytes = count * static_cast<int64_t>(sizeof(T));
        if (measuring_) {
            bytes_ += bytes + static_cast<int64_t>(align) - 1;
            return nullptr;
        }
        T* p = alignUp<T>(cursor_, align);
        cursor_ = reinterpret_cast<char*>(p) + bytes;
        std::memset(static_cast<void*>(p), 0, static_cast<size_t>(bytes));
        return p;
    }

    // The same without the zero fill, for blocks whose contents a caller may have set
    // before and expects to stand.
    template <class T>
    T* place(int64_t count, size_t align = kStateAlign) {
        if (count < 0) count = 0;
        const int64_t bytes = count * static_cast<int64_t>(sizeof(T));
        if (measuring_) {
            bytes_ += bytes + static_cast<int64_t>(align) - 1;
            return nullptr;
        }
        T* p = alignUp<T>(cursor_, align);
        cursor_ = reinterpret_cast<char*>(p) + bytes;
        return p;
    }

    // The record itself.  In a caller's buffer it stands at the buffer's start, where the
    // caller keeps pointing; when measuring it is charged its size.
    template <class Rec>
    Rec* record() {
        if (measuring_) {
            bytes_ += static_cast<int64_t>(sizeof(Rec));
            return nullptr;
        }
        Rec* r = reinterpret_cast<Rec*>(cursor_);
        std::memset(static_cast<void*>(r), 0, sizeof(Rec));
        cursor_ += sizeof(Rec);
        return r;
    }

    bool measuring() const { return measuring_; }
    int64_t bytes() const { return bytes_; }
    char* position() const { return cursor_; }

private:
    Arena(char* base, bool measuring) : cursor_(base), measuring_(measuring) {}
    char* cursor_;
    bool measuring_;
    int64_t bytes_ = 0;
};

// The bytes that build(arena) lays out, from a base of any alignment.
template <class Build>
inline int64_t measureRecord(Build&& build) {
    Arena a = Arena::forMeasuring();
    build(a);
    return a.bytes();
}

namespace detail {
// Records whose field order is fixed elsewhere (the transform states) keep their own
// id, owned and allocation fields in place of a RecordHead; both are marked alike.
template <class Rec>
inline void markRecord(Rec* r, Zem32s id, Zem32s owned, void* block) {
    if constexpr (requires { r->head; }) {
        r->head.id = id;
        r->head.owned = owned;
        r->head.block = block;
    } else {
        r->id = id;
        r->owned = owned;
        r->allocation = block;
    }
}
template <class Rec>
inline void* ownedBlock(const Rec* r) {
    if constexpr (requires { r->head; }) return r->head.owned ? r->head.block : nullptr;
    else return r->owned ? r->allocation : nullptr;
}
template <class Rec>
inline void markDead(Rec* r) {
    if constexpr (requires { r->head; }) r->head.id = 0;
    else r->id = 0;
}
}  // namespace detail

// Measures, allocates one block, aligns its start to 32 bytes and builds the record in
// it.  On success *out is the record, whose RecordHead says it owns the block.  On
// failure nothing was allocated and *out is untouched.  build(arena) returns the record.
template <class Rec, class Build>
inline ZemStatus allocateRecord(Rec** out, Zem32s id, Build&& build) {
    const int64_t bytes = measureRecord(build) + static_cast<int64_t>(kStateAlign);
    void* block = zemMalloc(bytes);
    if (!block) return zemStatusNoMemory;
    Arena a = Arena::forBuffer(alignUp<char>(block, kStateAlign));
    Rec* r = build(a);
    detail::markRecord(r, id, 1, block);
    *out = r;
    return zemStatusOk;
}

// Builds the record at the start of the caller's buffer, not owned.
template <class Rec, class Build>
inline Rec* buildInBuffer(void* buffer, Zem32s id, Build&& build) {
    Arena a = Arena::forBuffer(buffer);
    Rec* r = build(a);
    detail::markRecord(r, id, 0, nullptr);
    return r;
}

// Releases what allocateRecord took; a record in a caller's buffer is only marked dead.
template <class Rec>
inline void releaseRecord(Rec* r) {
    void* block = detail::ownedBlock(r);
    detail::markDead(r);
    if (block) zemFree(block);
}

// One separate block from the allocator, released by releaseBlock: the pieces of records
// made of many blocks, and the one block of a laid-out record (allocateLaidOut below).
inline void* allocateBlock(int64_t bytes) { return bytes > 0 ? zemMalloc(bytes) : nullptr; }
inline void releaseBlock(void* block) { zemFree(block); }

// A work array: on the stack up to StackCount elements, from the allocator above.  A
// count that cannot be allocated leaves ok() false; the caller returns
// zemStatusNoMemory before writing anything.
template <class T, int64_t StackCount>
class Scratch {
public:
    explicit Scratch(int64_t count) {
        if (count <= StackCount) {
            data_ = local_;
        } else {
            const uint64_t bytes = static_cast<uint64_t>(count) * sizeof(T);
            heap_ = bytes / sizeof(T) == static_cast<uint64_t>(count) && bytes <= uint64_t{INT64_MAX}
                        ? static_cast<T*>(zemMalloc(static_cast<int64_t>(bytes)))
                        : nullptr;
            data_ = heap_;
        }
    }
    ~Scratch() {
        if (heap_) zemFree(heap_);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    bool ok() const { return data_ != nullptr; }
    T* data() { return data_; }
    T& operator[](int64_t i) { return data_[i]; }

private:
    alignas(32) T local_[StackCount > 0 ? StackCount : 1];
    T* heap_ = nullptr;
    T* data_ = nullptr;
};

// Always from the allocator: for work whose size has no bound worth a stack frame.
template <class T>
using HeapScratch = Scratch<T, 0>;

// A record whose fields and size are fixed one by one and that carries no RecordHead: one
// block of exactly `bytes`; build(block) lays the record out in it (from whatever boundary
// its layout asks) and returns it.  The record keeps the block, at its start or in a field
// of its own, and its Free hands it to releaseBlock.  On failure *out is untouched.
template <class Rec, class Build>
inline ZemStatus allocateLaidOut(Rec** out, int64_t bytes, Build&& build) {
    void* block = allocateBlock(bytes);
    if (!block) return zemStatusNoMemory;
    *out = build(block);
    return zemStatusOk;
}

}  // namespace zem
