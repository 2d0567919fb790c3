// Carving of records and their sub-blocks out of one block of memory.  Every sub-block
// is aligned by the carver itself, never by the allocator: 16 bytes for matrices,
// 32 bytes for state sub-blocks and work buffers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zem {

inline constexpr size_t kMatrixAlign = 16;
inline constexpr size_t kStateAlign = 32;

template <class T>
inline T* alignUp(void* p, size_t align) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(p);
    return reinterpret_cast<T*>((a + align - 1) & ~static_cast<uintptr_t>(align - 1));
}

inline constexpr int64_t alignUpSize(int64_t n, int64_t align) { return (n + align - 1) / align * align; }

// Hands out consecutive sub-blocks of a buffer, each starting at the next multiple of
// its alignment.
class Carver {
public:
    explicit Carver(void* base) : cursor_(static_cast<char*>(base)) {}

    template <class T>
    T* take(int64_t count, size_t align = kStateAlign) {
        T* p = alignUp<T>(cursor_, align);
        cursor_ = reinterpret_cast<char*>(p + count);
        return p;
    }

    char* position() const { return cursor_; }

private:
    char* cursor_;
};

// The byte count that a Carver needs for the same sequence of sub-blocks when the base
// may have any alignment: each sub-block is charged its size plus the worst padding.
class CarveSize {
public:
    template <class T>
    CarveSize& add(int64_t count, size_t align = kStateAlign) {
        bytes_ += count * static_cast<int64_t>(sizeof(T)) + static_cast<int64_t>(align) - 1;
        return *this;
    }
    int64_t bytes() const { return bytes_; }

private:
    int64_t bytes_ = 0;
};

}  // namespace zem
