// The Max forms of the plain and IdVar 16s32s block scores.  Their whole kernel runs
// rounding toward zero, the caller's direction restored at the end: val and the
// destination are converted in that mode, the sums are rounded in it, and
// r = s * 2^-(sf + 1) + val is clamped to [-2^31, 2^31], compared with the destination
// and truncated.  Only the height elements of dst are written.
#include <immintrin.h>

#include "frame/fpmode.h"
#include "kernels/gauss16.h"
#include "kernels/scorerules.h"
#include "scorerows.h"

namespace zem::scorerows {

namespace {

inline float toFloat(Zem32s v) { return _mm_cvtss_f32(_mm_cvtsi32_ss(_mm_setzero_ps(), v)); }

// sum(k) and valueOf(k) give row k's sum and its val.
template <class Sum, class Val>
void maxTowardZero(Zem32s* dst, int count, int sf, Sum sum, Val valueOf) {
    RoundingGuard towardZero(RoundingGuard::kTowardZero);
    const float f = scorerules::halvingScale(sf);
    for (int k = 0; k < count; ++k) {
        float r = scorerules::scaledScore(toFloat(valueOf(k)), sum(k), f);
        r = r < -2147483648.0f ? -2147483648.0f : (r > 2147483648.0f ? 2147483648.0f : r);
        const float d = toFloat(dst[k]);
        dst[k] = _mm_cvttss_si32(_mm_set_ss(r > d ? r : d));
    }
}

}  // namespace

template <class F>
void maxPlain16TowardZero(const F& frames, const Zem16s* mean, const Zem16s* var, int width, Zem32s* dst, int height,
                          Zem32s val, int sf) {
    maxTowardZero(dst, height, sf, [&](int k) { return gauss16::laneSumFloat(frames(k), mean, var, width); },
                  [val](int) { return val; });
}

template <class F>
void maxIdentity16TowardZero(const F& frames, const Zem16s* mean, int width, Zem32s* dst, int height, Zem32s val,
                             int sf) {
    maxTowardZero(dst, height, sf, [&](int k) { return gauss16::pairLanesFloat<false>(frames(k), mean, width); },
                  [val](int) { return val; });
}

template <class G>
void maxMixture16TowardZero(const G& gaussians, const Zem16s* x, int width, const Zem32s* val, Zem32s* srcDst, int n,
                            int sf) {
    maxTowardZero(
        srcDst, n, sf,
        [&](int g) {
            const auto [m, w] = gaussians(g);
            return gauss16::laneSumFloat(x, m, w, width);
        },
        [val](int g) { return val[g]; });
}

template void maxPlain16TowardZero(const FramesD2<Zem16s>&, const Zem16s*, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxPlain16TowardZero(const FramesD2L<Zem16s>&, const Zem16s*, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxIdentity16TowardZero(const FramesD2<Zem16s>&, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxIdentity16TowardZero(const FramesD2L<Zem16s>&, const Zem16s*, int, Zem32s*, int, Zem32s, int);
template void maxMixture16TowardZero(const GaussiansD2<Zem16s>&, const Zem16s*, int, const Zem32s*, Zem32s*, int, int);
template void maxMixture16TowardZero(const GaussiansD2L<Zem16s>&, const Zem16s*, int, const Zem32s*, Zem32s*, int, int);

}  // namespace zem::scorerows
