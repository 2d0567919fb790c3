// The Max forms of the plain and IdVar 16s32s block scores.  Their whole kernel runs
// rounding toward zero, the caller's direction restored at the end: val and the
// destination are converted in that mode, the sums are rounded in it, and
// r = s * 2^-(sf + 1) + val is clamped to [-2^31, 2^31], compared with the destination
// and truncated.  Only the height elements of dst are written.
#include <immintrin.h>

#include "frame/fpmode.h"
#include "frame/scale.h"
#include "gauss16.h"
#include "gaussblock.h"

namespace zem::gaussblock {

namespace {

template <class F, class Sum>
void maxTowardZero(const F& frames, Zem32s* dst, int height, Zem32s val, int sf, Sum negativeSum) {
    RoundingGuard towardZero(RoundingGuard::kTowardZero);
    const float v = _mm_cvtss_f32(_mm_cvtsi32_ss(_mm_setzero_ps(), val));
    const float f = pow2Neg32f(clampedInt(static_cast<int64_t>(sf) + 1));
    for (int k = 0; k < height; ++k) {
        float r = negativeSum(frames(k)) * f + v;
        r = r < -2147483648.0f ? -2147483648.0f : (r > 2147483648.0f ? 2147483648.0f : r);
        const float d = _mm_cvtss_f32(_mm_cvtsi32_ss(_mm_setzero_ps(), dst[k]));
        dst[k] = _mm_cvttss_si32(_mm_set_ss(r > d ? r : d));
    }
}

}  // namespace

template <class F>
void maxPlain16TowardZero(const F& frames, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height,
                          Zem32s val, int sf) {
    maxTowardZero(frames, dst, height, val, sf,
                  [&](const Zem16s* x) { return -gauss16::laneSumFloat(x, mean, var, width); });
}

template <class F>
void maxIdentity16TowardZero(const F& frames, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val,
                             int sf) {
    maxTowardZero(frames, dst, height, val, sf,
                  [&](const Zem16s* x) { return -gauss16::pairLanesFloat<false>(x, mean, width); });
}

template void maxPlain16TowardZero(const FramesD2<Zem16s>&, const Zem16s*, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxPlain16TowardZero(const FramesD2L<Zem16s>&, const Zem16s*, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxIdentity16TowardZero(const FramesD2<Zem16s>&, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxIdentity16TowardZero(const FramesD2L<Zem16s>&, const Zem16s*, int, Zem32s*, int, Zem32s, int);

}  // namespace zem::gaussblock
