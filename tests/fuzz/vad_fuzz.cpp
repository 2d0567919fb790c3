// A voice activity stream of fuzzed frames, then flushed: every decision is one of the three,
// and the flush ends with an undecided frame within the longest hangover.
#include <cstdint>
#include <vector>

#include "fuzz.h"

namespace {

template <class T>
T band(FuzzedDataProvider& in) {
    if constexpr (std::is_same_v<T, Zem32f>) return in.ConsumeBool() ? in.ConsumeFloatingPointInRange<float>(0.0f, 1e6f) : fuzzFloat(in);
    else return in.ConsumeIntegral<Zem16s>();
}

bool isDecision(Zem32s d) { return d == zemVADSpeech || d == zemVADNoise || d == zemVADUndecided; }

template <class T, class Size, class Init, class Decide, class Flush>
void run(FuzzedDataProvider& in, Size getSize, Init init, Decide decide, Flush flush) {
    Zem32s bytes = 0;
    FUZZ_REQUIRE(getSize(&bytes) == zemStatusOk && bytes > 0 && bytes <= 1024);
    std::vector<uint32_t> record(static_cast<size_t>(bytes + 3) / 4);
    auto* state = reinterpret_cast<ZemsVADState_Aurora*>(record.data());
    FUZZ_REQUIRE(init(state) == zemStatusOk);
    std::vector<T> bands(25), spectrum(64);
    const int frames = in.ConsumeIntegralInRange<int>(0, 400);
    for (int f = 0; f < frames && in.remaining_bytes() > 0; ++f) {
        // Runs of frames repeat their data, so that trackers and hangovers get to move.
        if (f == 0 || in.ConsumeIntegralInRange<int>(0, 7) == 0) {
            for (T& v : bands) v = band<T>(in);
            for (T& v : spectrum) v = band<T>(in);
        }
        const Zem32s activity = in.ConsumeBool() ? in.ConsumeIntegralInRange<Zem32s>(0, 8) : in.ConsumeIntegral<Zem32s>();
        Zem32s d = -1;
        FUZZ_REQUIRE(decide(bands.data(), spectrum.data(), activity, &d, state) == zemStatusOk);
        FUZZ_REQUIRE(isDecision(d));
        if (f < 10) FUZZ_REQUIRE(d == zemVADUndecided);
    }
    Zem32s d = -1;
    int calls = 0;
    do {
        FUZZ_REQUIRE(flush(&d, state) == zemStatusOk && isDecision(d));
        FUZZ_REQUIRE(++calls <= 64);
    } while (d != zemVADUndecided);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    if (in.ConsumeBool())
        run<Zem32f>(in, zemsVADGetBufSize_Aurora_32f, zemsVADInit_Aurora_32f, zemsVADDecision_Aurora_32f,
                    zemsVADFlush_Aurora_32f);
    else
        run<Zem16s>(in, zemsVADGetBufSize_Aurora_16s, zemsVADInit_Aurora_16s, zemsVADDecision_Aurora_16s,
                    zemsVADFlush_Aurora_16s);
    return 0;
}
