#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pipeline.h"

namespace {

struct File {
    std::vector<short> samples;
    std::vector<float> feats;
    std::vector<unsigned char> truth;
    int frames = 0;
};

// A bundled file and its known speech span.
File load(const std::string& name, int leadMs, int speechMs, PipeFrontEnd* fe) {
    File f;
    short* raw = nullptr;
    const int n = pipeReadWav((std::string(ZEMSR_DEMO_DATA) + "/" + name).c_str(), &raw);
    EXPECT_GT(n, 0) << name;
    if (n <= 0) return f;
    f.samples.assign(raw, raw + n);
    std::free(raw);
    f.frames = pipeFrameCount(n);
    f.feats.resize(static_cast<size_t>(f.frames) * PIPE_FEATURES);
    EXPECT_EQ(pipeFeatures(fe, f.samples.data(), n, f.feats.data()), 0);
    for (int t = 0; t < f.frames; ++t) {
        const double ms = (t * PIPE_HOP + PIPE_FRAME / 2) * 1000.0 / PIPE_RATE;
        f.truth.push_back(ms >= leadMs && ms < leadMs + speechMs);
    }
    return f;
}

}  // namespace

// As the demo does: mixtures estimated from the other bundled files find the speech of
// two.wav (in white noise) frame by frame.
TEST(DemoPipeline, FindsTheSpeechOfAFileItWasNotTrainedOn) {
    PipeFrontEnd fe;
    ASSERT_EQ(pipeFrontEndInit(&fe), 0);
    std::ifstream list(std::string(ZEMSR_DEMO_DATA) + "/utterances.txt");
    ASSERT_TRUE(list.good());
    std::vector<File> train;
    File c;
    for (std::string line; std::getline(list, line);) {
        std::istringstream in(line);
        std::string name;
        int lead = 0, speech = 0;
        if (!(in >> name >> lead >> speech)) continue;
        if (name == "two.wav") c = load(name, lead, speech, &fe);
        else train.push_back(load(name, lead, speech, &fe));
    }
    ASSERT_EQ(train.size(), 5u);
    ASSERT_GT(c.frames, 200);
    // Features are finite; the statics' C0 (column 12) is higher in speech than around it.
    double c0Speech = 0, c0Other = 0;
    int nSpeech = 0, nOther = 0;
    for (int t = 0; t < c.frames; ++t) {
        for (int d = 0; d < PIPE_FEATURES; ++d) ASSERT_TRUE(std::isfinite(c.feats[t * PIPE_FEATURES + d]));
        (c.truth[t] ? c0Speech : c0Other) += c.feats[t * PIPE_FEATURES + 12];
        ++(c.truth[t] ? nSpeech : nOther);
    }
    EXPECT_GT(c0Speech / nSpeech, c0Other / nOther + 5.0);

    std::vector<float> speech, other;
    for (const File& f : train)
        for (int t = 0; t < f.frames; ++t) {
            auto& to = f.truth[t] ? speech : other;
            to.insert(to.end(), f.feats.begin() + t * PIPE_FEATURES, f.feats.begin() + (t + 1) * PIPE_FEATURES);
        }
    PipeMixture ms, mo;
    pipeTrain(&ms, speech.data(), static_cast<int>(speech.size() / PIPE_FEATURES));
    pipeTrain(&mo, other.data(), static_cast<int>(other.size() / PIPE_FEATURES));
    std::vector<unsigned char> labels(c.frames);
    ASSERT_EQ(pipeClassify(&fe, &ms, &mo, c.feats.data(), c.frames, labels.data()), 0);
    int same = 0;
    for (int t = 0; t < c.frames; ++t) same += labels[t] == c.truth[t];
    EXPECT_GT(same, c.frames * 94 / 100);  // the demo prints 96.8 %
    pipeFrontEndFree(&fe);
}
