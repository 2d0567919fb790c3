// A filter bank built from fuzzed parameters, its centres and coefficients rewritten from
// fuzzed data, then evaluated: whatever passes the checks must stay inside the bank's rows
// and the caller's buffers, and a refused call must leave the caller's pointers alone.
#include <cstdint>
#include <vector>

#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int frameLen = in.ConsumeIntegralInRange<int>(-4, 1100);
    const float sampFreq = in.ConsumeBool() ? in.ConsumeFloatingPointInRange<float>(1.0f, 48000.0f) : fuzzFloat(in);
    const float lowFreq = in.ConsumeFloatingPointInRange<float>(-10.0f, 9000.0f);
    const float highFreq = in.ConsumeFloatingPointInRange<float>(-10.0f, 25000.0f);
    const int nFilter = in.ConsumeIntegralInRange<int>(-2, 80);
    const float melMul = in.ConsumeBool() ? 2595.0f : fuzzFloat(in);
    const float melDiv = in.ConsumeBool() ? 700.0f : fuzzFloat(in);
    const int mode = in.ConsumeBool() ? in.PickValueInArray({1, 2, 5, 6}) : in.ConsumeIntegral<int>();
    const bool fixed = in.ConsumeBool();

    ZemsFBankState_32f* bank = reinterpret_cast<ZemsFBankState_32f*>(&bank);
    ZemsFBankState_16s* bank16 = reinterpret_cast<ZemsFBankState_16s*>(&bank16);
    Zem32s order = -12345;
    const ZemStatus st =
        fixed ? zemsMelFBankInitAlloc_16s(&bank16, &order, frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode)
              : zemsMelFBankInitAlloc_32f(&bank, &order, frameLen, sampFreq, lowFreq, highFreq, nFilter, melMul, melDiv, mode);
    if (st < 0) {
        FUZZ_REQUIRE(order == -12345);
        FUZZ_REQUIRE(bank == reinterpret_cast<ZemsFBankState_32f*>(&bank));
        FUZZ_REQUIRE(bank16 == reinterpret_cast<ZemsFBankState_16s*>(&bank16));
        return 0;
    }
    FUZZ_REQUIRE(order >= 0 && order <= 30 && (int64_t{1} << order) >= frameLen);
    const int64_t n = int64_t{1} << order;
    auto getCenters = [&](Zem32s* c) { return fixed ? zemsFBankGetCenters_16s(bank16, c) : zemsFBankGetCenters_32f(bank, c); };
    // Frequencies that give no valid centres (NaN, infinities) leave a bank whose centres
    // read back as refused; it must still be safe to use.
    std::vector<Zem32s> centers(static_cast<size_t>(nFilter) + 2);
    bool valid = getCenters(centers.data()) >= 0;
    if (valid)
        for (Zem32s c : centers) FUZZ_REQUIRE(c >= 0 && c <= n / 2);

    // Rewrites of centres and coefficients; a refused list leaves the bank as it was.
    // A run is at most N/2 + 1 rising and N/2 falling entries.
    std::vector<Zem32f> coeffs(static_cast<size_t>(n + 1));
    while (in.remaining_bytes() > 0 && in.ConsumeBool()) {
        if (in.ConsumeBool()) {
            std::vector<Zem32s> c(centers.size());
            for (Zem32s& v : c) v = in.ConsumeBool() ? in.ConsumeIntegralInRange<Zem32s>(-2, static_cast<Zem32s>(n / 2 + 2))
                                                     : in.ConsumeIntegral<Zem32s>();
            const ZemStatus s = fixed ? zemsFBankSetCenters_16s(bank16, c.data()) : zemsFBankSetCenters_32f(bank, c.data());
            std::vector<Zem32s> now(centers.size());
            const bool got = getCenters(now.data()) >= 0;
            if (s >= 0) {
                FUZZ_REQUIRE(got && now == c);
                centers = now, valid = true;
            } else if (valid) {
                FUZZ_REQUIRE(got && now == centers);
            }
        } else {
            const int filter = in.ConsumeIntegralInRange<int>(-1, nFilter + 2);
            for (Zem32f& v : coeffs) v = fuzzFloat(in);
            (void)(fixed ? zemsFBankSetCoeffs_16s(bank16, filter, coeffs.data()) : zemsFBankSetCoeffs_32f(bank, filter, coeffs.data()));
            (void)(fixed ? zemsFBankGetCoeffs_16s(bank16, filter, coeffs.data()) : zemsFBankGetCoeffs_32f(bank, filter, coeffs.data()));
        }
    }

    // The source: N samples of a time frame with the transform bit, else the spectrum up to
    // the bin after the last centre.
    const size_t srcLen = static_cast<size_t>((mode & zemFBankFftMagnitude) ? n : n / 2 + 2);
    std::vector<Zem32f> dst(static_cast<size_t>(nFilter));
    if (fixed) {
        std::vector<Zem16s> src(srcLen);
        for (Zem16s& v : src) v = in.ConsumeIntegral<Zem16s>();
        std::vector<Zem16s> out16(static_cast<size_t>(nFilter));
        std::vector<Zem32s> out32(static_cast<size_t>(nFilter));
        const int sf = in.ConsumeIntegral<int>();
        (void)zemsEvalFBank_16s_Sfs(src.data(), out16.data(), bank16, sf);
        (void)zemsEvalFBank_16s32s_Sfs(src.data(), out32.data(), bank16, sf);
        FUZZ_REQUIRE(zemsFBankFree_16s(bank16) == zemStatusOk);
    } else {
        std::vector<Zem32f> src(srcLen);
        for (Zem32f& v : src) v = fuzzFloat(in);
        (void)zemsEvalFBank_32f(src.data(), dst.data(), bank);
        FUZZ_REQUIRE(zemsFBankFree_32f(bank) == zemStatusOk);
    }
    return 0;
}
