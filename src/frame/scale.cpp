#include "scale.h"

#include <immintrin.h>

namespace zem {

namespace {
constexpr float kTwo31 = 2147483648.0f;
float clampScore(float v) { return v < -kTwo31 ? -kTwo31 : (v > kTwo31 ? kTwo31 : v); }
}  // namespace

// cvtss2si answers 2^31 with the integer indefinite -2^31, which is the stated result.
Zem32s roundScoreToInt32(float v) { return _mm_cvtss_si32(_mm_set_ss(clampScore(v))); }

Zem32s truncScoreToInt32(float v) { return _mm_cvttss_si32(_mm_set_ss(clampScore(v))); }

}  // namespace zem
