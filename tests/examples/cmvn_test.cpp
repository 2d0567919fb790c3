// Cepstral mean and variance normalisation of the bundled utterances with the table
// statistics: the column means and variances of the normalised features are 0 and 1.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pipeline.h"

TEST(DemoCmvn, NormalisedCepstraHaveZeroMeanAndUnitVariance) {
    PipeFrontEnd fe;
    ASSERT_EQ(pipeFrontEndInit(&fe), 0);
    std::ifstream list(std::string(ZEMSR_DEMO_DATA) + "/utterances.txt");
    ASSERT_TRUE(list.good());
    int files = 0;
    for (std::string line; std::getline(list, line);) {
        std::istringstream in(line);
        std::string name;
        if (!(in >> name)) continue;
        short* raw = nullptr;
        const int n = pipeReadWav((std::string(ZEMSR_DEMO_DATA) + "/" + name).c_str(), &raw);
        ASSERT_GT(n, 0) << name;
        const int frames = pipeFrameCount(n);
        std::vector<float> feats(static_cast<size_t>(frames) * PIPE_FEATURES);
        ASSERT_EQ(pipeFeatures(&fe, raw, n, feats.data()), 0);
        std::free(raw);

        float mean[PIPE_FEATURES], var[PIPE_FEATURES], invStd[PIPE_FEATURES];
        ASSERT_EQ(zemsMeanVarColumn_32f_D2(feats.data(), frames, PIPE_FEATURES, mean, var, PIPE_FEATURES),
                  zemStatusOk);
        for (int d = 0; d < PIPE_FEATURES; ++d) {
            ASSERT_GT(var[d], 0.0f) << name << " feature " << d;
            invStd[d] = 1.0f / std::sqrt(var[d]);
        }
        ASSERT_EQ(zemsNormalizeColumn_32f_D2(feats.data(), PIPE_FEATURES, frames, mean, invStd, PIPE_FEATURES),
                  zemStatusOk);
        ASSERT_EQ(zemsMeanVarColumn_32f_D2(feats.data(), frames, PIPE_FEATURES, mean, var, PIPE_FEATURES),
                  zemStatusOk);
        // Float sums over a few hundred frames of unit-variance data: 1e-4 is far above
        // their rounding error and far below any fault of the arithmetic.
        for (int d = 0; d < PIPE_FEATURES; ++d) {
            EXPECT_NEAR(mean[d], 0.0f, 1e-4f) << name << " feature " << d;
            EXPECT_NEAR(var[d], 1.0f, 1e-4f) << name << " feature " << d;
        }
        ++files;
    }
    EXPECT_GE(files, 6);
    pipeFrontEndFree(&fe);
}
