// The example tracker on a synthetic vowel: F0 within 2 % at several pitches, and the
// first two formants near the resonances that made it.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "pitchtrack.h"

namespace {

// Pulses of period fs/f0 through resonances at 700 and 1200 Hz, at 16 kHz.
std::vector<short> syntheticVowel(double f0, int len) {
    std::vector<short> x(len);
    const double fs = TRACK_RATE;
    auto pole = [&](double f, double bw, double& a1, double& a2) {
        const double r = std::exp(-M_PI * bw / fs);
        a1 = 2 * r * std::cos(2 * M_PI * f / fs);
        a2 = -r * r;
    };
    double a1, a2, b1, b2, y1 = 0, y2 = 0, z1 = 0, z2 = 0, phase = 0;
    pole(700, 90, a1, a2);
    pole(1200, 110, b1, b2);
    for (int n = 0; n < len; ++n) {
        phase += f0 / fs;
        const double e = phase >= 1.0 ? (phase -= 1.0, 2000.0) : 0.0;
        const double y = e + a1 * y1 + a2 * y2;
        y2 = y1, y1 = y;
        const double z = y + b1 * z1 + b2 * z2;
        z2 = z1, z1 = z;
        x[n] = static_cast<short>(std::lround(z / 40.0));
    }
    return x;
}

TEST(PitchTrack, SyntheticVowelF0AndFormants) {
    for (double f0 : {85.0, 120.0, 165.0, 210.0, 290.0}) {
        SCOPED_TRACE(f0);
        const std::vector<short> x = syntheticVowel(f0, 4 * TRACK_FRAME);
        for (int start : {TRACK_FRAME, 2 * TRACK_FRAME}) {
            TrackFrame t;
            ASSERT_EQ(trackFrame(x.data() + start, &t), 0);
            EXPECT_NEAR(t.f0, f0, 0.02 * f0);
            EXPECT_GT(t.periodicity, 0.45f);
            EXPECT_NEAR(t.f1, 700.0, 120.0);
            EXPECT_NEAR(t.f2, 1200.0, 150.0);
        }
    }
    // Silence is unvoiced.
    const std::vector<short> quiet(TRACK_FRAME, 0);
    TrackFrame t;
    ASSERT_EQ(trackFrame(quiet.data(), &t), 0);
    EXPECT_EQ(t.f0, 0.0f);
}

}  // namespace
