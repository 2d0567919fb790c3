// Shared by the fuzz targets: a failed invariant stops the run with the line that failed.
#pragma once

#include <cstdio>
#include <cstdlib>

#include <fuzzer/FuzzedDataProvider.h>

#include "zemsr.h"

#define FUZZ_REQUIRE(cond)                                                             \
    do {                                                                               \
        if (!(cond)) {                                                                 \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                              \
        }                                                                              \
    } while (0)

// Floats for data: mostly ordinary values, now and then an extreme, NaN or infinity.
inline float fuzzFloat(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange<int>(0, 15)) {
        case 0: return in.ConsumeFloatingPoint<float>();
        case 1: return __builtin_nanf("");
        case 2: return in.ConsumeBool() ? __builtin_inff() : -__builtin_inff();
        default: return in.ConsumeFloatingPointInRange<float>(-100.0f, 100.0f);
    }
}
