// The checked sum of natural logarithms shared by re-estimation and clustering.
//
// The logs are taken in double and summed in runs of at most 512 elements, each run
// summed in order from 0 and the run sums added in order.  The scan stops at the first
// element that is exactly +0.0 (a log of zero) or whose sign bit is set, -0.0 and
// negative NaNs included (a log of a negative).  A NaN without its sign bit only makes
// the sum NaN; the scan goes on.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "zemsr.h"

namespace zem::training {

enum class LogKind { Finite, Zero, Negative };

struct LogSum {
    double sum;
    LogKind kind;
};

template <class T>
inline bool signBitSet(T x) {
    return std::signbit(x);
}

template <class T>
inline bool isPositiveZero(T x) {
    return x == T(0) && !std::signbit(x);
}

// value(i) gives element i as T.
template <class T, class Value>
inline LogSum checkedLogSum(int64_t len, Value value) {
    constexpr int64_t kRun = 512;
    double total = 0.0;
    for (int64_t r0 = 0; r0 < len; r0 += kRun) {
        const int64_t r1 = len - r0 < kRun ? len : r0 + kRun;
        double run = 0.0;
        for (int64_t i = r0; i < r1; ++i) {
            const T x = value(i);
            if (isPositiveZero(x)) return {HUGE_VAL, LogKind::Zero};
            if (signBitSet(x)) return {0.0, LogKind::Negative};
            run += std::log(static_cast<double>(x));
        }
        total += run;
    }
    return {total, LogKind::Finite};
}

// The NaN that stands for the log of a negative: the quiet NaN 0xFFC00000, widened for
// doubles.
template <class T>
inline T negativeLogNaN() {
    const uint32_t bits = 0xFFC00000u;
    float f;
    std::memcpy(&f, &bits, 4);
    return static_cast<T>(f);
}

template <class T>
inline ZemStatus logKindStatus(LogKind k) {
    return k == LogKind::Zero ? zemStatusLogZeroWarning
                              : (k == LogKind::Negative ? zemStatusLogNegativeWarning : zemStatusOk);
}

// ln(2 pi) cut to the digits the Gaussian constants use.
inline constexpr double kLn2Pi = 1.8378770664093;

}  // namespace zem::training
