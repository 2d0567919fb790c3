// The core of log-domain addition: L(a, b) = ln(e^a + e^b) without exp or log.
//
// With m the larger argument and d = smaller - m <= 0, the result is m plus a
// piecewise polynomial of d on three segments, or m alone when d is below the drop
// threshold (then floored).  The constants are the library's: they define the result
// bit for bit and are not to be replaced by a mathematical library.
//
// Two evaluation paths exist and differ at two exact points, on purpose:
// - the group body (vectors of lanes, the block routines and the accumulator steps of
//   sums) drops a term when d is below the threshold and splits segments by "d above
//   the limit";
// - the single-element path (the sequential steps of sums) keeps a term only when d is
//   above the threshold, and in single precision takes segment 2's coefficients with
//   segment 3's origin at d = -6.8 exactly (x = 0, so m + 0.07518322765827179).
#pragma once

#include <cmath>

#include "primitives/simd.h"
#include "zemsr.h"

namespace zem::logdomain {

// ---- Single precision ---------------------------------------------------------------
inline constexpr float kDrop32 = -15.319587707519531f;
inline constexpr float kLimit1_32 = -2.549999952316284f;
inline constexpr float kLimit2_32 = -6.800000190734863f;
inline constexpr float kFloor32 = -4500000.0f;

// Coefficients c0..c10 (highest power first) of segments 1, 2, 3; each row is padded
// to eight floats so that it can serve as a lane table.
inline constexpr float kPoly32[11][8] = {
    {-6.780103944947768e-07f, -7.083237552052424e-09f, 6.5360451426133e-12f},
    {-8.277103916043416e-06f, -1.8491607534087962e-07f, 3.451067487336701e-10f},
    {-3.126121373497881e-05f, -2.0946492895745905e-06f, 8.230386150387403e-09f},
    {2.195507477154024e-05f, -1.2793327186955139e-05f, 1.1832906210429428e-07f},
    {0.0004062108928337693f, -3.484205808490515e-05f, 1.1579084002732998e-06f},
    {6.910012598382309e-05f, 0.00010764582839328796f, 8.257627087004948e-06f},
    {-0.0051637375727295876f, 0.0016847988590598106f, 4.4580312533071265e-05f},
    {1.5878560589044355e-05f, 0.00958236213773489f, 0.0001834210124798119f},
    {0.12500281631946564f, 0.03359246253967285f, 0.0005549481138586998f},
    {0.5000001788139343f, 0.0724266991019249f, 0.0011123965959995985f},
    {0.6931471824645996f, 0.07518322765827179f, 0.0011131507344543934f},
};
// x = d + origin: 0, 2.55 and 6.8 as the negated segment limits.
inline constexpr float kOrigin32[8] = {0.0f, -kLimit1_32, -kLimit2_32};

inline float horner32(int seg, float x) {
    float p = kPoly32[0][seg];
    for (int k = 1; k < 11; ++k) p = p * x + kPoly32[k][seg];
    return p;
}

// The single-element path.
inline float addSingle32(float a, float b) {
    const float m = a > b ? a : b;
    const float d = (a < b ? a : b) - m;
    if (!(d > kDrop32)) return m < kFloor32 ? kFloor32 : m;
    const int seg = d > kLimit1_32 ? 0 : (d >= kLimit2_32 ? 1 : 2);
    const float origin = d > kLimit1_32 ? 0.0f : (d > kLimit2_32 ? -kLimit1_32 : -kLimit2_32);
    return m + horner32(seg, d + origin);
}

// The group body: branch-free per lane; the polynomial is skipped when every lane drops.
inline simd::F32x8 addGroup32(simd::F32x8 a, simd::F32x8 b) {
    using namespace simd;
    const F32x8 m = max(a, b);
    const F32x8 d = min(a, b) - m;
    const F32x8 drop = lt(d, splat(kDrop32));
    // max(m, floor) is "floor when m is below it", for every m but NaN.
    const F32x8 dropped = max(m, splat(kFloor32));
    if (signMask(drop) == 0xff) return dropped;
    const auto seg = choice3(le(d, splat(kLimit1_32)), le(d, splat(kLimit2_32)));
    const F32x8 x = d + pick(seg, kOrigin32);
    F32x8 p = pick(seg, kPoly32[0]);
    for (int k = 1; k < 11; ++k) p = p * x + pick(seg, kPoly32[k]);
    return select(drop, dropped, m + p);
}

// The log of the sum of the exponentials of src[0..len) in its fixed order: sequential
// below 8 elements; otherwise four accumulators over groups of four, folded (0 with 2),
// (1 with 3), then together, and the remaining elements one by one.  ready(n) is called
// before src[0..n) is read, one group ahead of the step that needs it, so that a caller
// that produces the elements on demand overlaps their production with the chain.
template <class Ready>
inline float logSum32(const float* src, int len, Ready&& ready) {
    if (len < 8) {
        ready(len);
        float r = src[0];
        for (int i = 1; i < len; ++i) r = addSingle32(r, src[i]);
        return r;
    }
    const int n = len & ~3;
    ready(8);
    // Four accumulators in lanes 0..3; lanes 4..7 repeat them and are ignored.
    simd::F32x8 lanes = simd::loadTwice4(src);
    for (int i = 4; i < n; i += 4) {
        ready(i + 8 < len ? i + 8 : len);
        lanes = addGroup32(lanes, simd::loadTwice4(src + i));
    }
    ready(len);
    float acc[8];
    simd::store(acc, lanes);
    auto fold = [](float a, float b) {
        float x[8] = {a}, y[8] = {b};
        simd::store(x, addGroup32(simd::load(x), simd::load(y)));
        return x[0];
    };
    acc[0] = fold(acc[0], acc[2]);
    acc[1] = fold(acc[1], acc[3]);
    float r = fold(acc[0], acc[1]);
    for (int i = n; i < len; ++i) r = addSingle32(r, src[i]);
    return r;
}

// The single-precision polynomials with their coefficients held in double precision,
// for the short path of the integer sums: c0..c10 of segments 1, 2, 3.
inline constexpr double kPolyShort[3][11] = {
    {-6.780103715801104e-07, -8.27710395983359e-06, -3.1261214564328406e-05, 2.1955075181092877e-05,
     0.0004062108907165097, 6.910012478334781e-05, -0.005163737400850404, 1.5878560708463796e-05,
     0.125002818406354, 0.5000001923981635, 0.6931471827215062},
    {-7.083237702375219e-09, -1.8491608098957698e-07, -2.094649399521823e-06, -1.2793327302109763e-05,
     -3.4842057389070787e-05, 0.00010764583059022215, 0.0016847989052690858, 0.009582361774741538,
     0.033592464138937767, 0.07242669818681209, 0.07518323027822499},
    {6.536044962123068e-12, 3.4510675551141127e-10, 8.230386128280675e-09, 1.183290602139997e-07,
     1.157908356720776e-06, 8.25762745567427e-06, 4.458031414389642e-05, 0.00018342101716467817,
     0.0005549481290265323, 0.0011123966452324845, 0.0011131507706311817},
};

// The short path: the single-precision polynomials evaluated in double precision with
// the coefficients above, the result rounded to float (and widened back).  Drop below
// -15.3195879547406 to the larger of -4500000 and m; segments above -2.55 and -6.8.
inline double addShortPath(double a, double b) {
    const double m = a > b ? a : b;
    const double d = -__builtin_fabs(a - b);
    if (d < -15.3195879547406) return static_cast<float>(m > -4500000.0 ? m : -4500000.0);
    const int seg = d > -2.55 ? 0 : (d > -6.8 ? 1 : 2);
    const double x = seg == 0 ? d : (seg == 1 ? d + 2.55 : d + 6.8);
    double h = kPolyShort[seg][0];
    for (int k = 1; k < 10; ++k) h = h * x + kPolyShort[seg][k];
    return static_cast<float>((m + kPolyShort[seg][10]) + x * h);
}

// ---- Double precision -----------------------------------------------------------------
inline constexpr double kDrop64 = -23.0258509299405;
inline constexpr double kLimit1_64 = -3.5;
inline constexpr double kLimit2_64 = -9.0;
inline constexpr double kFloorTest64 = -9000000000.0;
inline constexpr double kFloor64 = -10000000000.0;

// a20 .. a0 of segments 1, 2, 3, then the constant k; rows padded to four doubles.
inline constexpr double kPoly64[22][4] = {
    {2.4223551556971103e-14, 1.3708407243051937e-19, 1.7034225392923792e-27},
    {1.2811707930131747e-12, 9.601624129865304e-18, 3.0781354635598557e-25},
    {2.979508062290527e-11, 3.191870701452749e-16, 2.6542272637469554e-23},
    {4.091290155130968e-10, 6.702281854356589e-15, 1.4576061250276504e-21},
    {3.717428002038248e-09, 9.973092519816427e-14, 5.745038767733748e-20},
    {2.3532270503994952e-08, 1.1165229253200852e-12, 1.73794899924144e-18},
    {1.055613856863438e-07, 9.711578249998531e-12, 4.217783891653166e-17},
    {3.320992500314504e-07, 6.632489267913665e-11, 8.4810302862868775e-16},
    {7.091358966640867e-07, 3.487750749690926e-10, 1.4486369363407485e-14},
    {1.0406444519836742e-06, 1.277933984587361e-09, 2.1432698000428128e-13},
    {1.6353412792505214e-06, 1.6292813548790022e-09, 2.7867099954008822e-12},
    {3.844457955118119e-06, -1.909513758655842e-08, 3.2140356172044866e-11},
    {1.3867656181255913e-06, -1.8820558187982419e-07, 3.300948845025808e-10},
    {-2.5487163524155248e-05, -9.461042535100208e-07, 3.0140517373824124e-09},
    {4.065812849423804e-07, -2.209235331735495e-06, 2.4295529030919333e-08},
    {0.0003473626701744988, 9.625041106025868e-06, 1.7072955802867207e-07},
    {3.4289110129737e-08, 0.00014699683220535022, 1.0263887628748916e-06},
    {-0.005208327741081266, 0.0009831490265710303, 5.137002703123242e-06},
    {5.587714108476228e-10, 0.004464163447126563, 2.0558151089723745e-05},
    {0.12500000002958675, 0.014226511939950807, 6.168967511733263e-05},
    {0.5000000000006226, 0.0293122307513593, 0.00012339457601536868},
    {0.6931471805599475, 0.02975041827262059, 0.00012340218972425103},  // k
};
inline constexpr int kRowK = 21;
inline constexpr double kOrigin64[4] = {0.0, 3.5, 9.0};

// How a double-precision polynomial value joins m.  Horner: (m + k) + x H(x), H by
// Horner from a20 to a0.  EvenOdd (the sums): (m + x A(x^2)) + B(x^2), A over a20, a18,
// ..., a0 and B over a19, a17, ..., a1, k.
struct Horner64 {
    template <class V, class Coef>
    static V join(V m, V x, Coef c) {
        V h = c(0);
        for (int k = 1; k <= 20; ++k) h = h * x + c(k);
        return (m + c(kRowK)) + x * h;
    }
};
struct EvenOdd64 {
    template <class V, class Coef>
    static V join(V m, V x, Coef c) {
        const V y = x * x;
        V odd = c(0), even = c(1);
        for (int k = 2; k <= 20; k += 2) {
            odd = odd * y + c(k);
            even = even * y + c(k + 1);
        }
        return (m + x * odd) + even;
    }
};

template <class Eval>
inline double addSingle64(double a, double b) {
    const double m = a > b ? a : b;
    const double d = -std::fabs(a - b);
    if (!(d > kDrop64)) return m < kFloorTest64 ? kFloor64 : m;
    const int seg = d > kLimit1_64 ? 0 : (d > kLimit2_64 ? 1 : 2);
    return Eval::join(m, d + kOrigin64[seg], [seg](int k) { return kPoly64[k][seg]; });
}

template <class Eval>
inline simd::F64x4 addGroup64(simd::F64x4 a, simd::F64x4 b) {
    using namespace simd;
    const F64x4 m = max(a, b);
    const F64x4 d = negAbs(a - b);
    const F64x4 drop = lt(d, splat(kDrop64));
    const F64x4 dropped = select(lt(m, splat(kFloorTest64)), splat(kFloor64), m);
    if (signMask(drop) == 0xf) return dropped;
    const auto seg = choice3(le(d, splat(kLimit1_64)), le(d, splat(kLimit2_64)));
    const F64x4 x = d + pick(seg, kOrigin64);
    return select(drop, dropped, Eval::join(m, x, [&seg](int k) { return pick(seg, kPoly64[k]); }));
}

}  // namespace zem::logdomain
