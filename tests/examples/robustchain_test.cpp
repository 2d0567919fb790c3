// The noise-robust chain on the bundled utterance mixed with white noise at 5 dB: the voice
// activity decision finds most of the known speech and leaves most of the padding as noise,
// and the suppression raises the segmental SNR over the speech.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "pipeline.h"
#include "robustchain.h"

namespace {

std::vector<short> load(const char* name) {
    short* s = nullptr;
    const int n = pipeReadWav((std::string(ZEMSR_DEMO_DATA "/") + name).c_str(), &s);
    std::vector<short> v(s, s + (n > 0 ? n : 0));
    std::free(s);
    return v;
}

TEST(RobustChain, VoiceActivityOnFiveDecibelNoise) {
    const std::vector<short> clean = load("robust-clean.wav"), noisy = load("robust-snr5.wav");
    ASSERT_GT(noisy.size(), 16000u);
    ASSERT_EQ(clean.size(), noisy.size());
    const int n = int(noisy.size()), frames = rcFrames(n);
    std::vector<int> d(frames);
    std::vector<short> y(n);
    ASSERT_EQ(rcProcess(noisy.data(), n, d.data(), y.data()), 0);
    // The speech span of the file, as robust.txt gives it: 1500 ms of lead, 1552 ms of speech.
    std::vector<unsigned char> inSpeech(frames);
    int speech = 0, found = 0, padding = 0, quiet = 0;
    for (int f = 0; f < frames; ++f) {
        const double centre = (f * RC_HOP + RC_FRAME / 2) * 1000.0 / RC_RATE;
        inSpeech[f] = centre >= 1500 && centre < 1500 + 1552;
        speech += inSpeech[f], found += inSpeech[f] && d[f] == 1;
        padding += !inSpeech[f], quiet += !inSpeech[f] && d[f] == 2;
    }
    EXPECT_GE(found, 0.9 * speech);
    EXPECT_GE(quiet, 0.9 * padding);
    EXPECT_GT(rcSegmentalSnr(clean.data(), y.data(), n, inSpeech.data()),
              rcSegmentalSnr(clean.data(), noisy.data(), n, inSpeech.data()) + 3.0);
}

}  // namespace
