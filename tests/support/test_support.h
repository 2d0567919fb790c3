// Shared helpers of the test programs: seeded random data, buffers at chosen
// misalignments, sentinels, ulp distances and scoped switches of the companion library.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "zemcore.h"

namespace zemtest {

// A buffer of n elements whose first element sits `offset` bytes past a 64-byte
// boundary, so that tests pick aligned (0, 16, 32) and misaligned (4, 8, 12) starts.
template <class T>
class Buffer {
public:
    explicit Buffer(size_t n, size_t offset = 0) : store_(n * sizeof(T) + offset + 64) {
        const uintptr_t base = reinterpret_cast<uintptr_t>(store_.data());
        data_ = reinterpret_cast<T*>(((base + 63) & ~uintptr_t{63}) + offset);
        n_ = n;
    }
    T* data() { return data_; }
    const T* data() const { return data_; }
    size_t size() const { return n_; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    T* begin() { return data_; }
    T* end() { return data_ + n_; }

private:
    std::vector<unsigned char> store_;
    T* data_;
    size_t n_;
};

// Bitwise equality, so that NaNs and signed zeros compare as stored.
template <class T>
inline bool sameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
inline void fillSentinel(T* p, size_t n) {
    std::memset(static_cast<void*>(p), 0x5a, n * sizeof(T));
}

template <class T>
inline bool untouched(const T* p, size_t n) {
    const unsigned char* b = reinterpret_cast<const unsigned char*>(p);
    for (size_t i = 0; i < n * sizeof(T); ++i)
        if (b[i] != 0x5a) return false;
    return true;
}

// Distance in units of the last place between two finite floats of one type.
inline int64_t ulpDistance(float a, float b) {
    auto key = [](float x) {
        int32_t i;
        std::memcpy(&i, &x, 4);
        return i < 0 ? int64_t{INT32_MIN} - i : int64_t{i};
    };
    const int64_t d = key(a) - key(b);
    return d < 0 ? -d : d;
}

class Random {
public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    template <class T>
    std::vector<T> uniform(size_t n, double lo, double hi) {
        std::uniform_real_distribution<double> d(lo, hi);
        std::vector<T> v(n);
        for (auto& x : v) x = static_cast<T>(d(engine_));
        return v;
    }
    template <class T>
    std::vector<T> integers(size_t n, int64_t lo, int64_t hi) {
        std::uniform_int_distribution<int64_t> d(lo, hi);
        std::vector<T> v(n);
        for (auto& x : v) x = static_cast<T>(d(engine_));
        return v;
    }
    int64_t integer(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(engine_); }

private:
    std::mt19937 engine_;
};

// Sets the thread count that the companion library reports, for one scope.
class ScopedThreads {
public:
    explicit ScopedThreads(int n) { zemcoreTestSetNumThreads(n); }
    ~ScopedThreads() { zemcoreTestResetNumThreads(); }
};

// Lengths worth walking: every length through a few vector groups, then long ones.
inline std::vector<int> testLengths() {
    std::vector<int> lens;
    for (int n = 1; n <= 70; ++n) lens.push_back(n);
    for (int n : {127, 128, 129, 255, 256, 257, 511, 512, 513, 1000, 1023, 1024, 1025, 2047, 2048, 2049, 4095,
                  4096, 4097, 5003})
        lens.push_back(n);
    return lens;
}

inline constexpr size_t kOffsets[] = {0, 4, 8, 12, 16};

}  // namespace zemtest
