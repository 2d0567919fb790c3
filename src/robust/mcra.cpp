// Minima controlled recursive averaging (MCRA) of the noise power spectrum, and the two
// gain rules that turn a signal-to-noise ratio into a gain per bin.
//
// MCRA smooths each frame's power spectrum (S), follows its minimum over a window of about
// a second (Smin, with Stmp the minimum of the window under way), and where S stands more
// than delta times above Smin counts the bin as speech: its presence p rises, and the noise
// estimate then follows the frame less.  The constants are meant for 125 frames a second
// and are raised to the power t = 125 step / sampleRate for the real frame rate.
//
// The state is an 88-byte header followed by four arrays of half + 1 elements, in the
// caller's buffer; the header points into the buffer, so the state cannot be moved.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/check.h"
#include "frame/record.h"
#include "frame/scale.h"
#include "own.h"

namespace {

using zem::ensure;
using zem::firstFailure;
using zem::nonNull;
using zem::within;

constexpr Zem32s kMinRate = 8000, kMaxRate = 48000;
constexpr Zem32s kMinFft = 8, kMaxFft = 8192;
constexpr Zem32s kMaxGainLen = 65535;

template <class T>
struct McraHeader {
    Zem32s sampleRate;
    Zem32s fftLen;
    Zem32s halfBits;
    Zem32s step;
    Zem32s windowLen;
    Zem32s windowCount;
    Zem32s firstFrame;
    T alphaD;  // Q31 in the integer form
    T alphaP;
    T alphaS;
    T delta;  // Q15 in the integer form
    T* pPresence;
    T* pSmooth;
    T* pMin;
    T* pTemp;
    Zem8u spare[8];  // the header is 88 bytes; these are not used
};
static_assert(sizeof(McraHeader<Zem32f>) == 88 && sizeof(McraHeader<Zem32s>) == 88);
static_assert(offsetof(McraHeader<Zem32f>, pPresence) == 48);

// The header, then presence, smoothed spectrum, minimum and running minimum, packed with
// no gaps: the size is 16 half + 104 bytes from any base.
template <class T, class A>
McraHeader<T>* buildState(A& arena, Zem32s fftLen) {
    const int64_t bins = fftLen / 2 + 1;
    McraHeader<T>* h = arena.template record<McraHeader<T>>();
    T* presence = arena.template take<T>(bins, 1);
    T* smooth = arena.template take<T>(bins, 1);
    T* minimum = arena.template take<T>(bins, 1);
    T* running = arena.template take<T>(bins, 1);
    if (h) *h = {0, 0, 0, 0, 0, 0, 0, T{}, T{}, T{}, T{}, presence, smooth, minimum, running, {}};
    return h;
}

Zem32s stateBytes(Zem32s fftLen) {
    return static_cast<Zem32s>(zem::measureRecord([&](auto& a) { return buildState<Zem32f>(a, fftLen); }));
}

int bitLength(Zem32s v) {
    int n = 0;
    for (; v > 0; v >>= 1) ++n;
    return n;
}

// ---- Set-up: the float and the Q31 forms of the constants -----------------------------------

struct FloatForm {
    using T = Zem32f;

    // The window spans 8 ms per sample-rate kilohertz' worth of frames: with the plain set-up
    // the frame advance is taken as the power of two at or below half.
    static Zem32s windowLen(Zem32s rate, Zem32s halfBits, Zem32s step, bool givenStep) {
        if (!givenStep) {
            const double y = static_cast<double>(static_cast<float>(rate)) * 0.008 / std::ldexp(1.0, halfBits - 1);
            return static_cast<Zem32s>(static_cast<float>(y) * 125.0f);
        }
        const float y = static_cast<float>(static_cast<double>(rate) * 0.008);
        return static_cast<Zem32s>(y / static_cast<float>(step) * 125.0f);
    }

    static void constants(McraHeader<T>& h) {
        const double t = static_cast<float>(h.step) * 125.0f / static_cast<float>(h.sampleRate);
        h.alphaD = static_cast<float>(std::pow(0.7, t));
        h.alphaS = static_cast<float>(std::pow(0.8, t));
        h.alphaP = static_cast<float>(std::pow(0.2, t));
        h.delta = 5.0f;
    }
};

struct FixedForm {
    using T = Zem32s;

    static Zem32s windowLen(Zem32s rate, Zem32s halfBits, Zem32s step, bool givenStep) {
        constexpr int64_t kEightMsQ31 = 17179869;
        int64_t w;
        if (!givenStep) w = static_cast<int32_t>((int64_t{rate} * kEightMsQ31) >> 16) >> (halfBits - 1);
        else w = ((int64_t{rate} * kEightMsQ31) / step) >> 16;
        return static_cast<Zem32s>((w * 125 + 125) >> 15);
    }

    // base^t in Q31 from a third-order Taylor polynomial of exp(t ln base) in Q15, where
    // lnBase is the Q31 logarithm of the base and tq the exponent in Q15.
    static int32_t taylorPow(int64_t tq, int64_t lnBase) {
        const int64_t x = (tq * lnBase) >> 31;
        const int64_t y = static_cast<int32_t>((x * x) >> 15) >> 1;  // x^2 / 2
        const int64_t z = static_cast<int32_t>((y * x) >> 15);       // x^3 / 2
        const int64_t q15 = 32768 + x + y + ((z * 715827883) >> 31);  // 715827883 is 1/3 in Q31
        return static_cast<int32_t>(static_cast<uint64_t>(q15) << 16);
    }

    static void constants(McraHeader<T>& h) {
        const int64_t tq = (int64_t{h.step} * 4096000) / int64_t{h.sampleRate};  // 125 t in Q15
        h.alphaD = taylorPow(tq, -765953610);                                    // ln 0.7
        h.alphaS = taylorPow(tq, -479197128);                                    // ln 0.8
        // 0.2^t as (0.2^(t/8))^8: the polynomial holds only for small exponents.
        int32_t b = taylorPow(tq, -432030200);
        for (int i = 0; i < 3; ++i) b = static_cast<int32_t>((int64_t{b} * b) >> 31);
        h.alphaP = b;
        h.delta = 163840;  // 5.0 in Q15
    }
};

template <class Form>
void initState(Zem32s rate, Zem32s fftLen, Zem32s step, bool givenStep, void* buffer) {
    zem::Arena arena = zem::Arena::forBuffer(buffer);
    McraHeader<typename Form::T>& h = *buildState<typename Form::T>(arena, fftLen);
    const Zem32s half = fftLen / 2;
    h.sampleRate = rate;
    h.fftLen = fftLen;
    h.halfBits = bitLength(half);
    h.step = givenStep ? step : half;
    h.windowLen = Form::windowLen(rate, h.halfBits, h.step, givenStep);
    h.windowCount = 0;
    h.firstFrame = 1;
    Form::constants(h);
}

auto initChecks(const void* state, Zem32s rate, Zem32s fftLen) {
    return firstFailure(nonNull(state), within(rate, kMinRate, kMaxRate, zemStatusOutOfRange),
                        within(fftLen, kMinFft, kMaxFft, zemStatusBadSize));
}

// The step's limit depends on fftLen, yet it is tested first.
auto altInitChecks(const void* state, Zem32s rate, Zem32s fftLen, Zem32s step) {
    return firstFailure(nonNull(state), within(rate, kMinRate, kMaxRate, zemStatusOutOfRange),
                        within(step, 1, fftLen / 2, zemStatusOutOfRange),
                        within(fftLen, kMinFft, kMaxFft, zemStatusBadSize));
}

// ---- Noise update --------------------------------------------------------------------------

// Smoothing and the minima, common to both forms; smooth(S, x) is the form's recursion.
template <class T, class Smooth>
void trackMinima(McraHeader<T>& h, const T* src, int bins, Smooth smooth) {
    T *S = h.pSmooth, *Smin = h.pMin, *Stmp = h.pTemp;
    for (int k = 0; k < bins; ++k) S[k] = smooth(S[k], src[k]);
    if (h.windowCount == h.windowLen) {
        for (int k = 0; k < bins; ++k) {
            Smin[k] = S[k] < Stmp[k] ? S[k] : Stmp[k];
            Stmp[k] = S[k];
        }
        h.windowCount = 0;
    } else {
        for (int k = 0; k < bins; ++k) {
            Smin[k] = S[k] < Smin[k] ? S[k] : Smin[k];
            Stmp[k] = S[k] < Stmp[k] ? S[k] : Stmp[k];
        }
    }
}

void presenceAndNoise(McraHeader<Zem32f>& h, const Zem32f* src, Zem32f* noise, int bins) {
    const Zem32f aP = h.alphaP, aD = h.alphaD, delta = h.delta;
    for (int k = 0; k < bins; ++k) {
        Zem32f p = aP * h.pPresence[k];
        if (h.pSmooth[k] > delta * h.pMin[k]) p = p + (1.0f - aP);
        h.pPresence[k] = p;
        const Zem32f a = aD + (1.0f - aD) * p;
        noise[k] = a * noise[k] + (1.0f - a) * src[k];
    }
}

// The integer form decides presence and mixes the noise in double from the Q31 values.
Zem32s roundToInt32(double v) {
    const double r = zem::roundHalfEven(v);
    if (!(r > -2147483648.0)) return INT32_MIN;
    return r >= 2147483647.0 ? INT32_MAX : static_cast<Zem32s>(r);
}

void presenceAndNoise(McraHeader<Zem32s>& h, const Zem32s* src, Zem32s* noise, int bins) {
    constexpr double kQ31 = 0x1p-31, kQ15 = 0x1p-15, kOne = 2147483647.0;
    const double aP = h.alphaP, aD = h.alphaD, delta = h.delta;
    const double AP = static_cast<double>(2147483647 - int64_t{h.alphaP});
    const double AD = static_cast<double>(2147483647 - int64_t{h.alphaD});
    for (int k = 0; k < bins; ++k) {
        double p = static_cast<double>(h.pPresence[k]) * aP * kQ31;
        const double bound = static_cast<double>(h.pMin[k]) * delta * kQ15;
        if (static_cast<double>(h.pSmooth[k]) > (bound < kOne ? bound : kOne)) p = p + AP;
        const double a = aD + p * AD * kQ31;
        const double n = a * static_cast<double>(noise[k]) * kQ31 + (kOne - a) * static_cast<double>(src[k]) * kQ31;
        h.pPresence[k] = roundToInt32(p);
        noise[k] = roundToInt32(n);
    }
}

template <class T>
void updateNoise(const T* src, McraHeader<T>& h, T* noise) {
    const int bins = h.fftLen / 2 + 1;
    if (h.firstFrame) {
        for (int k = 0; k < bins; ++k) {
            h.pSmooth[k] = h.pMin[k] = h.pTemp[k] = noise[k] = src[k];
            h.pPresence[k] = T{};
        }
    } else {
        if constexpr (std::is_same_v<T, Zem32f>) {
            const Zem32f aS = h.alphaS, rest = 1.0f - aS;
            trackMinima(h, src, bins, [=](Zem32f s, Zem32f x) { return aS * s + rest * x; });
        } else {
            // (S aS + x (1 - aS)) >> 31 in 64 bits; the sum wraps rather than overflow for
            // a header whose constants were not set by Init.
            const int64_t aS = h.alphaS, rest = 2147483647 - aS;
            trackMinima(h, src, bins, [=](Zem32s s, Zem32s x) {
                const uint64_t sum = static_cast<uint64_t>(s * aS) + static_cast<uint64_t>(x * rest);
                return static_cast<Zem32s>(static_cast<int64_t>(sum) >> 31);
            });
        }
        presenceAndNoise(h, src, noise, bins);
    }
    h.windowCount = static_cast<Zem32s>(static_cast<uint32_t>(h.windowCount) + 1u);
    h.firstFrame = 0;
}

// ---- Wiener gain ------------------------------------------------------------------------------

// x / (1 + x) with x the source held at 0 or more when any element is negative.  The
// quotients come from ownDiv_32f in chunks whose length is a multiple of its four-element
// blocks, which gives the bits of one call over the whole vector without a heap buffer.
ZemStatus wienerGain32f(const Zem32f* src, Zem32f* dst, int len) {
    constexpr int kChunk = 256;
    Zem32f m = 0.0f;
    ownMin_32f(src, len, &m);
    const bool clamp = m * 1.000001f < 0.0f;
    Zem32f x[kChunk], y[kChunk];
    for (int at = 0; at < len; at += kChunk) {
        const int n = len - at < kChunk ? len - at : kChunk;
        for (int k = 0; k < n; ++k) {
            const Zem32f v = src[at + k];
            x[k] = clamp && !(v >= 0.0f) ? 0.0f : v;
            y[k] = x[k] + 1.0f;
        }
        ownDiv_32f(y, x, dst + at, n);
    }
    return clamp ? zemStatusBadArg : zemStatusOk;
}

// x/(1+x) sampled in three grains of the Q15 source, in Q31, entries truncated.
struct WienerTables {
    Zem32s fine[64];    // x = i/16
    Zem32s middle[15];  // x = 4j
    Zem32s coarse[7];   // x = 64m
};
constexpr WienerTables kWiener = [] {
    WienerTables t{};
    for (int64_t i = 0; i < 64; ++i) t.fine[i] = static_cast<Zem32s>((int64_t{1} << 31) * i / (i + 16));
    for (int64_t j = 1; j <= 15; ++j) t.middle[j - 1] = static_cast<Zem32s>((int64_t{1} << 31) * 4 * j / (1 + 4 * j));
    for (int64_t m = 1; m <= 7; ++m) t.coarse[m - 1] = static_cast<Zem32s>((int64_t{1} << 31) * 64 * m / (1 + 64 * m));
    return t;
}();
static_assert(kWiener.fine[16] == (1 << 30));

ZemStatus wienerGain32s(const Zem32s* src, Zem32s* dst, int len) {
    ZemStatus status = zemStatusOk;
    for (int k = 0; k < len; ++k) {
        const Zem32s v = src[k];
        if (v < 0) {
            dst[k] = 0;
            status = zemStatusBadArg;
        } else if (v < (1 << 17)) {
            dst[k] = kWiener.fine[v >> 11];
        } else if (v < (1 << 21)) {
            dst[k] = kWiener.middle[(v >> 17) - 1];
        } else if (v < (1 << 24)) {
            dst[k] = kWiener.coarse[(v >> 21) - 1];
        } else {
            dst[k] = v < (1 << 25) ? 2143297520 : 2147483647;  // x = 512, then 1
        }
    }
    return status;
}

// ---- Ephraim-Malah gain -------------------------------------------------------------------------

// M(v) = sqrt(pi)/2 v^-1/2 exp(-v/2) ((1 + v) I0(v/2) + v I1(v/2)) at v = i / 2^22, rounded;
// the first entry stands for the pole at 0.
constexpr Zem32s kEmnsPlain[129] = {
    2147483647, 1815, 1283, 1048, 907, 812, 741, 686, 642, 605, 574, 547, 524, 503, 485, 469, 454, 440,
    428,        416,  406,  396,  387, 378, 370, 363, 356, 349, 343, 337, 331, 326, 321, 316, 311, 307,
    303,        298,  294,  291,  287, 283, 280, 277, 274, 271, 268, 265, 262, 259, 257, 254, 252, 249,
    247,        245,  243,  240,  238, 236, 234, 232, 231, 229, 227, 225, 223, 222, 220, 219, 217, 215,
    214,        212,  211,  210,  208, 207, 206, 204, 203, 202, 200, 199, 198, 197, 196, 195, 193, 192,
    191,        190,  189,  188,  187, 186, 185, 184, 183, 182, 182, 181, 180, 179, 178, 177, 176, 175,
    175,        174,  173,  172,  172, 171, 170, 169, 169, 168, 167, 166, 166, 165, 164, 164, 163, 162,
    162,        161,  160};

// One quadratic per octave of i above 128, in Q22: base, curvature and slope of octave j,
// which starts at i = 2^(j+7).
struct EmnsPiece {
    int64_t base, curve, slope;
};
constexpr EmnsPiece kEmnsPieces[24] = {
    {669498645, 1576642499, 72453962}, {473414302, 557423223, 51231813}, {334764744, 197075987, 36225125},
    {236728959, 69674844, 25613282},   {167413213, 24632335, 18108852},  {118408092, 8707825, 12801395},
    {83768274, 3077959, 9047010},      {59291231, 1087711, 6390220},     {42007360, 384201, 4508716},
    {29819668, 135577, 3174276},       {21249233, 47749, 2225121},       {15255427, 16748, 1546422},
    {11108711, 5823, 1056723},         {8299601, 1986, 698929},          {6470760, 648, 435261},
    {5361107, 193, 245271},            {4756698, 49, 121987},            {4463049, 11, 56781},
    {4325745, 2, 27183},               {4259445, 0, 13368},              {4226742, 0, 6635},
    {4210491, 0, 3306},                {4202389, 0, 1650},               {4198345, 0, 824}};

// The piecewise curve at i > 128, in Q22.
int32_t emnsCurve(int64_t i) {
    int top = 63 - __builtin_clzll(static_cast<uint64_t>(i));
    int j = top - 7;
    j = j > 23 ? 23 : j;
    const EmnsPiece& p = kEmnsPieces[j];
    const int64_t d = i - (int64_t{1} << (j + 7));
    const int32_t diff = static_cast<int32_t>(((p.curve * d) >> 13) - p.slope);
    return static_cast<int32_t>(p.base + ((int64_t{diff} * d) >> (j + 5)));
}

void emnsGain32f(const Zem32f* w, const Zem32f* g, Zem32f* dst, int len) {
    for (int k = 0; k < len; ++k) {
        Zem32f snr = g[k];
        if (!(snr >= 3.1e-5f)) snr = 3.1e-5f;  // a NaN takes the lower bound too
        if (snr > 100.0f) snr = 100.0f;
        const double q22 = static_cast<double>(snr * w[k]) * 4194304.0;
        const int64_t i = q22 >= 0.0 ? static_cast<int64_t>(q22) : 0;
        if (i <= 128) dst[k] = w[k] * static_cast<Zem32f>(kEmnsPlain[i]);
        else dst[k] = static_cast<Zem32f>(static_cast<double>(static_cast<Zem32f>(emnsCurve(i)) * w[k]) / 4194304.0);
    }
}

void emnsGain32s(const Zem32s* w, const Zem32s* g, Zem32s* dst, int len) {
    for (int k = 0; k < len; ++k) {
        int64_t snr = g[k] < 1 ? 1 : g[k];  // the least positive Q15 value .. 100.0
        snr = snr > 3276800 ? 3276800 : snr;
        const int64_t i = (snr * w[k]) >> 24;
        const int64_t v = i <= 128 ? int64_t{w[k]} * kEmnsPlain[i] : (int64_t{w[k]} * emnsCurve(i)) >> 22;
        dst[k] = v >= 2147483647 ? 2147483647 : static_cast<Zem32s>(v);
    }
}

auto gainChecks(const void* src, const void* dst, Zem32s len) {
    return firstFailure(nonNull(src, dst), within(len, 1, kMaxGainLen, zemStatusSizeTooLarge));
}

// Float gains lie in 0 .. 1, where a NaN passes; Q31 gains are not negative.
bool gainsInRange(const Zem32f* w, int len) {
    for (int k = 0; k < len; ++k)
        if (w[k] < 0.0f || w[k] > 1.0f) return false;
    return true;
}
bool gainsInRange(const Zem32s* w, int len) {
    for (int k = 0; k < len; ++k)
        if (w[k] < 0) return false;
    return true;
}

}  // namespace

extern "C" {

// ---- Size: one function under two names -----------------------------------------------------

ZEMSR_API ZemStatus zemsGetSizeMCRA_32f(Zem32s fftLen, Zem32s* size) {
    if (const ZemStatus s = firstFailure(nonNull(size), within(fftLen, kMinFft, kMaxFft, zemStatusBadSize))) return s;
    *size = stateBytes(fftLen);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsGetSizeMCRA_32s(Zem32s fftLen, Zem32s* size) {
    if (const ZemStatus s = firstFailure(nonNull(size), within(fftLen, kMinFft, kMaxFft, zemStatusBadSize))) return s;
    *size = stateBytes(fftLen);
    return zemStatusOk;
}

// ---- Set-up: the frame advance is half the transform, or given ------------------------------

ZEMSR_API ZemStatus zemsInitMCRA_32f(Zem32s sampleRate, Zem32s fftLen, ZemsMCRAState_32f* state) {
    if (const ZemStatus s = initChecks(state, sampleRate, fftLen)) return s;
    initState<FloatForm>(sampleRate, fftLen, 0, false, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsInitMCRA_32s(Zem32s sampleRate, Zem32s fftLen, ZemsMCRAState_32s* state) {
    if (const ZemStatus s = initChecks(state, sampleRate, fftLen)) return s;
    initState<FixedForm>(sampleRate, fftLen, 0, false, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsAltInitMCRA_32f(Zem32s sampleRate, Zem32s fftLen, Zem32s step, ZemsMCRAState_32f* state) {
    if (const ZemStatus s = altInitChecks(state, sampleRate, fftLen, step)) return s;
    initState<FloatForm>(sampleRate, fftLen, step, true, state);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsAltInitMCRA_32s(Zem32s sampleRate, Zem32s fftLen, Zem32s step, ZemsMCRAState_32s* state) {
    if (const ZemStatus s = altInitChecks(state, sampleRate, fftLen, step)) return s;
    initState<FixedForm>(sampleRate, fftLen, step, true, state);
    return zemStatusOk;
}

// ---- Noise update: null pointers only; the state is trusted ----------------------------------

ZEMSR_API ZemStatus zemsUpdateNoisePSDMCRA_32f_I(const Zem32f* src, ZemsMCRAState_32f* state, Zem32f* srcDstNoise) {
    if (const ZemStatus s = firstFailure(nonNull(src, state, srcDstNoise))) return s;
    updateNoise(src, *reinterpret_cast<McraHeader<Zem32f>*>(state), srcDstNoise);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsUpdateNoisePSDMCRA_32s_I(const Zem32s* src, ZemsMCRAState_32s* state, Zem32s* srcDstNoise) {
    if (const ZemStatus s = firstFailure(nonNull(src, state, srcDstNoise))) return s;
    updateNoise(src, *reinterpret_cast<McraHeader<Zem32s>*>(state), srcDstNoise);
    return zemStatusOk;
}

// ---- Gains: null, then a length of 1 .. 65535 ---------------------------------------------------

ZEMSR_API ZemStatus zemsFilterUpdateWiener_32f(const Zem32f* src, Zem32f* dst, Zem32s len) {
    if (const ZemStatus s = gainChecks(src, dst, len)) return s;
    return wienerGain32f(src, dst, len);
}

ZEMSR_API ZemStatus zemsFilterUpdateWiener_32s(const Zem32s* src, Zem32s* dst, Zem32s len) {
    if (const ZemStatus s = gainChecks(src, dst, len)) return s;
    return wienerGain32s(src, dst, len);
}

// The Wiener gains must lie in 0 .. 1 (a NaN passes), all tested before anything is written.
ZEMSR_API ZemStatus zemsFilterUpdateEMNS_32f(const Zem32f* srcWiener, const Zem32f* srcPostSNR, Zem32f* dst,
                                             Zem32s len) {
    if (const ZemStatus s = firstFailure(nonNull(srcWiener, srcPostSNR, dst),
                                         within(len, 1, kMaxGainLen, zemStatusSizeTooLarge),
                                         ensure([&] { return gainsInRange(srcWiener, len); }, zemStatusOutOfRange)))
        return s;
    emnsGain32f(srcWiener, srcPostSNR, dst, len);
    return zemStatusOk;
}

// Q31 gains: only a negative one is refused.
ZEMSR_API ZemStatus zemsFilterUpdateEMNS_32s(const Zem32s* srcWiener, const Zem32s* srcPostSNR, Zem32s* dst,
                                             Zem32s len) {
    if (const ZemStatus s = firstFailure(nonNull(srcWiener, srcPostSNR, dst),
                                         within(len, 1, kMaxGainLen, zemStatusSizeTooLarge),
                                         ensure([&] { return gainsInRange(srcWiener, len); }, zemStatusOutOfRange)))
        return s;
    emnsGain32s(srcWiener, srcPostSNR, dst, len);
    return zemStatusOk;
}

}  // extern "C"
