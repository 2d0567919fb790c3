// The real Fourier transform of power-of-two lengths N = 2^order.
//
// The N real values are read as N/2 complex points, transformed by a radix-4 Stockham
// autosort transform (a last radix-2 stage when the half length is not a power of 4),
// ping-ponging between the destination and the work buffer, and split into the N/2 + 1
// bins of the real transform.  Twiddles come from a quarter-wave sine table: a constant
// one of order 10 for the small orders, one computed at set-up above.  States keep their
// tables in the caller's or their own memory at 32-byte boundaries; the sizes are those
// of the fixed size formulas, whatever the tables occupy within them.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

#include "fftstate.h"
#include "frame/check.h"
#include "frame/record.h"
#include "own.h"

namespace {

constexpr int kMaxOrder = 27;  // 2^order must stay at or below 268435455

// sin(2 pi k / 1024) for k = 0 .. 256, with 1.0 at the quarter.
const float* quarterWave1024() {
    static const auto table = [] {
        struct T {
            float v[257];
        } t{};
        for (int k = 0; k < 256; ++k) t.v[k] = static_cast<float>(std::sin(2.0 * M_PI * k / 1024.0));
        t.v[256] = 1.0f;
        return t;
    }();
    return table.v;
}

// Sine and cosine at angle 2 pi a / N from a quarter-wave table q[0 .. N/4].
struct QuarterWave {
    const float* q;
    int64_t n;
    int stride;  // table elements per step of the angle
    float sinAt(int64_t a) const {
        a &= n - 1;
        const int64_t quarter = n / 4;
        if (a <= quarter) return q[a * stride];
        if (a <= 2 * quarter) return q[(2 * quarter - a) * stride];
        if (a <= 3 * quarter) return -q[(a - 2 * quarter) * stride];
        return -q[(n - a) * stride];
    }
    float cosAt(int64_t a) const { return sinAt(a + n / 4); }
};

struct Sizes {
    int64_t state, init, buf;
};

// The fixed size formulas.
Sizes fftSizes(int order) {
    if (order <= 4) return {168, 0, 0};
    const int64_t n = int64_t{1} << order, quarter = n / 4;
    const int h = order - 1;
    const int64_t h2 = int64_t{1} << h;
    Sizes s{0, 0, 0};
    if (h >= 6) {  // the formula of orders up to 18 serves the larger ones too
        s.state = (h2 * 8 + 39) & ~int64_t{31};
        s.buf = (h2 * 8 + 31) & ~int64_t{31};
    }
    if (h > 5) s.state += ((h2 / 4) * 4 + 35) & ~int64_t{31};
    s.state += ((quarter * 8 + 31) >> 5) * 64 + 192;
    s.init = order > 10 ? (((quarter * 4 + 35) & ~int64_t{31}) + s.init + 32) : 0;
    if (s.buf > 0) s.buf += 32;
    return s;
}

// Complex values of the radix-4 stage twiddles of a half length h2: per stage of length
// n (m = n/4), three arrays of m values w^p, w^2p, w^3p.
int64_t twiddleCount(int64_t h2) {
    int64_t count = 0;
    for (int64_t n = h2; n >= 4; n /= 4) count += 3 * (n / 4);
    return count;
}

void fillTwiddles(float* tw, int64_t h2, const QuarterWave& wave) {
    // w_n^p = exp(-2 pi i p s / h2) = exp(-2 pi i (2 p s) / N).
    int64_t s = 1;
    for (int64_t n = h2; n >= 4; n /= 4, s *= 4) {
        const int64_t m = n / 4;
        for (int r = 1; r <= 3; ++r)
            for (int64_t p = 0; p < m; ++p) {
                const int64_t a = 2 * r * p * s;
                *tw++ = wave.cosAt(a);
                *tw++ = -wave.sinAt(a);
            }
    }
}

// Real-split weights A(k) = (0.5 - 0.5 sin, -0.5 cos) at angle 2 pi k / N, k = 0 .. N/4.
void fillSplit(float* a, int64_t n, const QuarterWave& wave) {
    for (int64_t k = 0; k <= n / 4; ++k) {
        a[2 * k] = 0.5f - 0.5f * wave.sinAt(k);
        a[2 * k + 1] = -0.5f * wave.cosAt(k);
    }
}

// ---- Complex stages -------------------------------------------------------------------------

struct Cx {
    float re, im;
};
inline Cx operator+(Cx a, Cx b) { return {a.re + b.re, a.im + b.im}; }
inline Cx operator-(Cx a, Cx b) { return {a.re - b.re, a.im - b.im}; }
inline Cx mul(Cx a, Cx w) { return {a.re * w.re - a.im * w.im, a.im * w.re + a.re * w.im}; }
inline Cx conjOf(Cx a) { return {a.re, -a.im}; }
inline Cx timesI(Cx a) { return {-a.im, a.re}; }

#if defined(__AVX2__)
inline __m256 cmul(__m256 a, __m256 wr, __m256 wi) {
    return _mm256_addsub_ps(_mm256_mul_ps(a, wr), _mm256_mul_ps(_mm256_permute_ps(a, 0xB1), wi));
}
inline __m256 timesI(__m256 a) {  // i (x + iy) = -y + ix
    return _mm256_xor_ps(_mm256_permute_ps(a, 0xB1), _mm256_setr_ps(-0.0f, 0, -0.0f, 0, -0.0f, 0, -0.0f, 0));
}
inline __m256 conjOf(__m256 a) { return _mm256_xor_ps(a, _mm256_setr_ps(0, -0.0f, 0, -0.0f, 0, -0.0f, 0, -0.0f)); }
#endif

// One radix-4 Stockham stage of length n and stride s, from x to y.  The inverse uses the
// conjugate twiddles and turns the sign of i.
template <bool kInverse>
void radix4Stage(const float* x, float* y, int64_t n, int64_t s, const float* tw) {
    const int64_t m = n / 4;
    const Cx* X = reinterpret_cast<const Cx*>(x);
    Cx* Y = reinterpret_cast<Cx*>(y);
    const Cx* w1 = reinterpret_cast<const Cx*>(tw);
    const Cx *w2 = w1 + m, *w3 = w2 + m;
#if defined(__AVX2__)
    const __m256 flip = kInverse ? _mm256_set1_ps(-1.0f) : _mm256_set1_ps(1.0f);
    if (s >= 4) {
        for (int64_t p = 0; p < m; ++p) {
            const __m256 w1r = _mm256_set1_ps(w1[p].re), w1i = _mm256_set1_ps(w1[p].im) * flip;
            const __m256 w2r = _mm256_set1_ps(w2[p].re), w2i = _mm256_set1_ps(w2[p].im) * flip;
            const __m256 w3r = _mm256_set1_ps(w3[p].re), w3i = _mm256_set1_ps(w3[p].im) * flip;
            for (int64_t q = 0; q < s; q += 4) {
                const __m256 a = _mm256_loadu_ps(x + 2 * (q + s * p));
                const __m256 b = _mm256_loadu_ps(x + 2 * (q + s * (p + m)));
                const __m256 c = _mm256_loadu_ps(x + 2 * (q + s * (p + 2 * m)));
                const __m256 d = _mm256_loadu_ps(x + 2 * (q + s * (p + 3 * m)));
                const __m256 apc = a + c, amc = a - c, bpd = b + d;
                const __m256 jbmd = kInverse ? -timesI(b - d) : timesI(b - d);
                _mm256_storeu_ps(y + 2 * (q + s * (4 * p)), apc + bpd);
                _mm256_storeu_ps(y + 2 * (q + s * (4 * p + 1)), cmul(amc - jbmd, w1r, w1i));
                _mm256_storeu_ps(y + 2 * (q + s * (4 * p + 2)), cmul(apc - bpd, w2r, w2i));
                _mm256_storeu_ps(y + 2 * (q + s * (4 * p + 3)), cmul(amc + jbmd, w3r, w3i));
            }
        }
        return;
    }
    if (m >= 4) {  // s == 1: four butterflies a step, outputs transposed
        for (int64_t p = 0; p < m; p += 4) {
            const __m256 a = _mm256_loadu_ps(x + 2 * p), b = _mm256_loadu_ps(x + 2 * (p + m));
            const __m256 c = _mm256_loadu_ps(x + 2 * (p + 2 * m)), d = _mm256_loadu_ps(x + 2 * (p + 3 * m));
            const __m256 apc = a + c, amc = a - c, bpd = b + d;
            const __m256 jbmd = kInverse ? -timesI(b - d) : timesI(b - d);
            auto twiddled = [&](__m256 v, const Cx* w) {
                const __m256 wv = _mm256_loadu_ps(reinterpret_cast<const float*>(w + p));
                return cmul(v, _mm256_moveldup_ps(wv), _mm256_movehdup_ps(wv) * flip);
            };
            const __m256d y0 = _mm256_castps_pd(apc + bpd), y1 = _mm256_castps_pd(twiddled(amc - jbmd, w1));
            const __m256d y2 = _mm256_castps_pd(twiddled(apc - bpd, w2)), y3 = _mm256_castps_pd(twiddled(amc + jbmd, w3));
            const __m256d t0 = _mm256_unpacklo_pd(y0, y1), t1 = _mm256_unpackhi_pd(y0, y1);
            const __m256d t2 = _mm256_unpacklo_pd(y2, y3), t3 = _mm256_unpackhi_pd(y2, y3);
            _mm256_storeu_ps(y + 8 * p, _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x20)));
            _mm256_storeu_ps(y + 8 * (p + 1), _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x20)));
            _mm256_storeu_ps(y + 8 * (p + 2), _mm256_castpd_ps(_mm256_permute2f128_pd(t0, t2, 0x31)));
            _mm256_storeu_ps(y + 8 * (p + 3), _mm256_castpd_ps(_mm256_permute2f128_pd(t1, t3, 0x31)));
        }
        return;
    }
#endif
    for (int64_t p = 0; p < m; ++p) {
        const Cx t1 = kInverse ? conjOf(w1[p]) : w1[p], t2 = kInverse ? conjOf(w2[p]) : w2[p];
        const Cx t3 = kInverse ? conjOf(w3[p]) : w3[p];
        for (int64_t q = 0; q < s; ++q) {
            const Cx a = X[q + s * p], b = X[q + s * (p + m)], c = X[q + s * (p + 2 * m)], d = X[q + s * (p + 3 * m)];
            const Cx apc = a + c, amc = a - c, bpd = b + d;
            Cx jbmd = timesI(b - d);
            if (kInverse) jbmd = {-jbmd.re, -jbmd.im};
            Y[q + s * (4 * p)] = apc + bpd;
            Y[q + s * (4 * p + 1)] = mul(amc - jbmd, t1);
            Y[q + s * (4 * p + 2)] = mul(apc - bpd, t2);
            Y[q + s * (4 * p + 3)] = mul(amc + jbmd, t3);
        }
    }
}

// The last radix-2 stage: length 2, stride s.
void radix2Stage(const float* x, float* y, int64_t s) {
    for (int64_t i = 0; i < 2 * s; ++i) {
        const float a = x[i], b = x[i + 2 * s];
        y[i] = a + b;
        y[i + 2 * s] = a - b;
    }
}

int stageCount(int64_t h2) {
    int count = 0;
    int64_t n = h2;
    for (; n >= 4; n /= 4) ++count;
    return count + (n == 2 ? 1 : 0);
}

// The complex transform of h2 points from `in`, its result in `target`; `other` is the
// ping-pong partner.  `in` may be `target` itself.
template <bool kInverse>
void complexTransform(const float* in, float* target, float* other, int64_t h2, const float* tw) {
    const int stages = stageCount(h2);
    if (stages == 0) {
        if (in != target) std::memmove(target, in, sizeof(float) * 2 * h2);
        return;
    }
    float* to = stages % 2 == 1 ? target : other;
    if (in == to) {  // a stage cannot read and write one array
        std::memcpy(to == target ? other : target, in, sizeof(float) * 2 * h2);
        in = to == target ? other : target;
    }
    const float* from = in;
    int64_t s = 1, n = h2;
    for (; n >= 4; n /= 4, s *= 4) {
        radix4Stage<kInverse>(from, to, n, s, tw);
        tw += 2 * 3 * (n / 4);
        from = to;
        to = to == target ? other : target;
    }
    if (n == 2) radix2Stage(from, to, s);
}

// ---- The real split -------------------------------------------------------------------------------

// Forward: X(0) and X(h2) from Z(0), X(h2/2) = conj Z(h2/2), and for the pairs k, h2 - k
// with Zc = conj Z(h2 - k), B = 1 - A:  X(k) = A Z(k) + B Zc,  X(h2 - k) = conj(A Zc + B Z(k)).
// Inverse: the same with 2 conj A and 2 conj B, from X to Z.  X(k) is read or written at
// x + 2k, Z(k) at z + 2k; in and out may be the same array.
template <bool kInverse>
void splitPairs(const float* in, float* out, int64_t h2, const float* weights) {
    const int64_t mid = h2 / 2;
    int64_t k = 1;
#if defined(__AVX2__)
    const __m256 one = _mm256_setr_ps(1, 0, 1, 0, 1, 0, 1, 0);
    auto reverse = [](__m256 v) { return _mm256_permute_pd(_mm256_castps_pd(_mm256_permute2f128_ps(v, v, 1)), 5); };
    for (; k + 3 < mid; k += 4) {
        const __m256 f = _mm256_loadu_ps(in + 2 * k);
        const __m256 zc = conjOf(_mm256_castpd_ps(reverse(_mm256_loadu_ps(in + 2 * (h2 - k - 3)))));
        __m256 a = _mm256_loadu_ps(weights + 2 * k);
        __m256 b = one - a;
        if (kInverse) {
            a = conjOf(a + a);
            b = conjOf(b + b);
        }
        const __m256 ar = _mm256_moveldup_ps(a), ai = _mm256_movehdup_ps(a);
        const __m256 br = _mm256_moveldup_ps(b), bi = _mm256_movehdup_ps(b);
        const __m256 front = cmul(f, ar, ai) + cmul(zc, br, bi);
        const __m256 back = conjOf(cmul(zc, ar, ai) + cmul(f, br, bi));
        _mm256_storeu_ps(out + 2 * k, front);
        _mm256_storeu_ps(out + 2 * (h2 - k - 3), _mm256_castpd_ps(reverse(back)));
    }
#endif
    for (; k < mid; ++k) {
        const Cx f{in[2 * k], in[2 * k + 1]}, zc{in[2 * (h2 - k)], -in[2 * (h2 - k) + 1]};
        Cx a{weights[2 * k], weights[2 * k + 1]};
        Cx b{1.0f - a.re, -a.im};
        if (kInverse) {
            a = conjOf({a.re + a.re, a.im + a.im});
            b = conjOf({b.re + b.re, b.im + b.im});
        }
        const Cx front = mul(f, a) + mul(zc, b), back = conjOf(mul(zc, a) + mul(f, b));
        out[2 * k] = front.re, out[2 * k + 1] = front.im;
        out[2 * (h2 - k)] = back.re, out[2 * (h2 - k) + 1] = back.im;
    }
    if (mid >= 1 && h2 >= 2) {
        const float scale = kInverse ? 2.0f : 1.0f;
        out[2 * mid] = scale * in[2 * mid];
        out[2 * mid + 1] = -scale * in[2 * mid + 1];
    }
}

enum class Layout { CCS, Pack, Perm };

// ---- States ----------------------------------------------------------------------------------------

}  // namespace

namespace zem::fft {

// The state and its tables at 32-byte boundaries: the record, the stage twiddles (half
// lengths of 64 points and more) and the real-split weights (orders above 4); null while
// measuring.
ZemsFFTState_R_32f* layState(zem::Arena& arena, int order) {
    auto* st = arena.take<ZemsFFTState_R_32f>(1);
    const int64_t n = int64_t{1} << order, h2 = n / 2;
    float* twiddles = order > 4 && order - 1 >= 6 ? arena.take<float>(2 * twiddleCount(h2)) : nullptr;
    float* split = order > 4 ? arena.take<float>(2 * (n / 4 + 1)) : nullptr;
    if (arena.measuring()) return nullptr;
    st->twiddles = twiddles;
    st->split = split;
    return st;
}

// The fields and tables of a laid-out state, using memInit as scratch for the large orders.
void fillState(ZemsFFTState_R_32f* st, int order, int flag, int hint, Zem8u* memInit) {
    const int64_t n = int64_t{1} << order;
    st->order = order;
    st->scaleFwd = flag == 1 || flag == 4;
    st->scaleInv = flag == 2 || flag == 4;
    st->scale = flag == 4 ? static_cast<float>(1.0 / std::sqrt(static_cast<double>(n)))
                          : (flag == 8 ? 1.0f : static_cast<float>(1.0 / static_cast<double>(n)));
    st->hint = hint;
    st->bufSize = static_cast<Zem32s>(fftSizes(order).buf);
    if (order <= 4) return;
    const int64_t h2 = n / 2;
    QuarterWave wave{quarterWave1024(), n, order <= 10 ? 1 << (10 - order) : 1};
    if (order > 10) {
        // The quarter-wave table of this order: sines to N/8 in double, then cosines.
        float* q = zem::alignUp<float>(memInit, 32);
        for (int64_t k = 0; k <= n / 8; ++k) q[k] = static_cast<float>(std::sin(2.0 * M_PI * static_cast<double>(k) / n));
        for (int64_t k = n / 8 + 1; k <= n / 4; ++k)
            q[k] = static_cast<float>(std::cos(2.0 * M_PI * static_cast<double>(n / 4 - k) / n));
        wave = {q, n, 1};
    }
    if (st->twiddles) fillTwiddles(st->twiddles, h2, wave);
    fillSplit(st->split, n, wave);
}

}  // namespace zem::fft

namespace {

using zem::fft::fillState;
using zem::fft::layState;

bool flagAllowed(int flag) { return flag == 1 || flag == 2 || flag == 4 || flag == 8; }

}  // namespace

// ---- Set-up ------------------------------------------------------------------------------------------

// Orders 28 to 30 pass the first order test and fail the second, after the flag.
ZemStatus ownFFTGetSize_R_32f(int order, int flag, int, Zem32s* sizeState, Zem32s* sizeInit, Zem32s* sizeBuf) {
    if (const ZemStatus s = zem::firstFailure(zem::within(order, 0, 30, zemStatusBadOrder),
                                              zem::nonNull(sizeState, sizeInit, sizeBuf),
                                              zem::ensure(flagAllowed(flag), zemStatusBadFlag),
                                              zem::within(order, 0, kMaxOrder, zemStatusBadOrder)))
        return s;
    const Sizes s = fftSizes(order);
    *sizeState = static_cast<Zem32s>(s.state);
    *sizeInit = static_cast<Zem32s>(s.init);
    *sizeBuf = static_cast<Zem32s>(s.buf);
    return zemStatusOk;
}

ZemStatus ownFFTInit_R_32f(ZemsFFTState_R_32f** state, int order, int flag, int hint, Zem8u* memState, Zem8u* memInit) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::within(order, 0, 30, zemStatusBadOrder),
                                              zem::nonNull(memState),
                                              zem::ensure(memInit || order <= 10, zemStatusNullPointer),
                                              zem::ensure(flagAllowed(flag), zemStatusBadFlag),
                                              zem::within(order, 0, kMaxOrder, zemStatusBadOrder)))
        return s;
    ZemsFFTState_R_32f* st = zem::buildInBuffer<ZemsFFTState_R_32f>(
        memState, kFFTStateId, [&](zem::Arena& arena) { return layState(arena, order); });
    fillState(st, order, flag, hint, memInit);
    *state = st;
    return zemStatusOk;
}

// One block for the state; the set-up scratch of the large orders only for the call.
ZemStatus ownFFTInitAlloc_R_32f(ZemsFFTState_R_32f** state, int order, int flag, int hint) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::within(order, 0, 30, zemStatusBadOrder),
                                              zem::ensure(flagAllowed(flag), zemStatusBadFlag),
                                              zem::within(order, 0, kMaxOrder, zemStatusBadOrder)))
        return s;
    zem::HeapScratch<Zem8u> init(fftSizes(order).init);
    ZemsFFTState_R_32f* st = nullptr;
    if (!init.ok() || zem::allocateRecord(&st, kFFTStateId, [&](zem::Arena& arena) { return layState(arena, order); }) !=
                          zemStatusOk)
        return zemStatusNoMemory;
    fillState(st, order, flag, hint, init.data());
    *state = st;
    return zemStatusOk;
}

ZemStatus ownFFTFree_R_32f(ZemsFFTState_R_32f* state) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state),
                                              zem::ensure([&] { return state->id == kFFTStateId; }, zemStatusBadContext)))
        return s;
    zem::releaseRecord(state);
    return zemStatusOk;
}

ZemStatus ownFFTGetBufSize_R_32f(const ZemsFFTState_R_32f* state, Zem32s* size) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(state, size),
                                              zem::ensure([&] { return state->id == kFFTStateId; }, zemStatusBadContext)))
        return s;
    *size = state->bufSize;
    return zemStatusOk;
}

// ---- Transforms -----------------------------------------------------------------------------------------

namespace {

// The work area of one transform: the caller's buffer from its next 32-byte boundary, a
// block allocated for the call, or the stack for the small orders.
class Work {
public:
    Work(const ZemsFFTState_R_32f* st, Zem8u* buffer) : heap_(st->bufSize > 0 && !buffer ? st->bufSize : 0) {
        if (st->bufSize == 0) data_ = local_;
        else if (buffer) data_ = zem::alignUp<float>(buffer, 32);
        else data_ = heap_.ok() ? zem::alignUp<float>(heap_.data(), 32) : nullptr;
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    float* data() const { return data_; }

private:
    alignas(32) float local_[64];  // orders up to 6: 32 complex points
    zem::HeapScratch<Zem8u> heap_;
    float* data_ = nullptr;
};

// Twiddles for the orders whose state keeps none: built per call on the stack.
struct StageTwiddles {
    alignas(32) float local[2 * 48];
    const float* get(const ZemsFFTState_R_32f* st, int64_t h2) {
        if (st->twiddles) return st->twiddles;
        fillTwiddles(local, h2, QuarterWave{quarterWave1024(), 2 * h2, 1 << (10 - st->order)});
        return local;
    }
};

struct SplitWeights {
    alignas(32) float local[2 * 5];
    const float* get(const ZemsFFTState_R_32f* st, int64_t n) {
        if (st->split) return st->split;
        fillSplit(local, n, QuarterWave{quarterWave1024(), n, 1 << (10 - st->order)});
        return local;
    }
};

// The checks of a transform: the state, its id, then the arrays.
inline auto transformChecks(const void* src, const void* dst, const ZemsFFTState_R_32f* st) {
    return zem::checkedBy([=] {
        return zem::firstFailure(zem::nonNull(st), zem::ensure([&] { return st->id == kFFTStateId; }, zemStatusBadContext),
                                 zem::nonNull(src, dst));
    });
}

template <Layout L>
ZemStatus forward(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* st, Zem8u* buffer) {
    if (const ZemStatus s = zem::firstFailure(transformChecks(src, dst, st))) return s;
    const int64_t n = int64_t{1} << st->order;
    const float scale = st->scaleFwd ? st->scale : 1.0f;
    if (n == 1) {
        dst[0] = src[0] * scale;
        if (L == Layout::CCS) dst[1] = 0.0f;
        return zemStatusOk;
    }
    Work work(st, buffer);
    if (!work.data()) return zemStatusNoMemory;
    const int64_t h2 = n / 2;
    StageTwiddles tw;
    SplitWeights sw;
    // CCS ends the complex transform in dst and splits in place; the other layouts end
    // it in the work area and split into dst.
    float* z = L == Layout::CCS ? dst : work.data();
    float* other = L == Layout::CCS ? work.data() : dst;
    complexTransform<false>(src, z, other, h2, tw.get(st, h2));
    if (st->scaleFwd) ownMulC_32f_I(scale, z, static_cast<int>(n));
    const float r0 = z[0] + z[1], rn = z[0] - z[1];
    float* x = L == Layout::Pack ? dst - 1 : dst;  // bin k at x + 2k
    splitPairs<false>(z, x, h2, sw.get(st, n));
    dst[0] = r0;
    if constexpr (L == Layout::CCS) {
        dst[1] = 0.0f;
        dst[n] = rn;
        dst[n + 1] = 0.0f;
    } else if constexpr (L == Layout::Pack) {
        dst[n - 1] = rn;
    } else {
        dst[1] = rn;
    }
    return zemStatusOk;
}

}  // namespace

ZemStatus ownFFTFwd_RToCCS_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer) {
    return forward<Layout::CCS>(src, dst, state, buffer);
}
ZemStatus ownFFTFwd_RToPack_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer) {
    return forward<Layout::Pack>(src, dst, state, buffer);
}
ZemStatus ownFFTFwd_RToPerm_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer) {
    return forward<Layout::Perm>(src, dst, state, buffer);
}

ZemStatus ownFFTInv_PackToR_32f(const Zem32f* src, Zem32f* dst, const ZemsFFTState_R_32f* state, Zem8u* buffer) {
    if (const ZemStatus s = zem::firstFailure(transformChecks(src, dst, state))) return s;
    const int64_t n = int64_t{1} << state->order;
    const float scale = state->scaleInv ? state->scale : 1.0f;
    if (n == 1) {
        dst[0] = src[0] * scale;
        return zemStatusOk;
    }
    Work work(state, buffer);
    if (!work.data()) return zemStatusNoMemory;
    const int64_t h2 = n / 2;
    StageTwiddles tw;
    SplitWeights sw;
    float* buf = work.data();
    // The split's output must start the stages on the side that ends them in dst.
    const bool startInDst = stageCount(h2) % 2 == 0;
    const float* x = src;
    if (startInDst && src == dst) {
        std::memcpy(buf, src, sizeof(float) * n);
        x = buf;
    }
    float* z = startInDst ? dst : buf;
    const float x0 = x[0], xn = x[n - 1];
    splitPairs<true>(x - 1, z, h2, sw.get(state, n));
    z[0] = x0 + xn;
    z[1] = x0 - xn;
    complexTransform<true>(z, dst, buf, h2, tw.get(state, h2));
    if (state->scaleInv) ownMulC_32f_I(scale, dst, static_cast<int>(n));
    return zemStatusOk;
}
