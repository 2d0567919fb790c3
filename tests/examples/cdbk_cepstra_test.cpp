// Codebook training on real cepstra: the static cepstra of the bundled utterances train
// trees of both hints, in float and in 16-bit form, and every codeword, count and depth
// agrees with the plain reference.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cdbk_reference.h"
#include "pipeline.h"
#include "test_support.h"
#include "vq/codebook.h"

namespace {

std::vector<float> bundledCepstra(int* frames) {
    PipeFrontEnd fe;
    EXPECT_EQ(pipeFrontEndInit(&fe), 0);
    std::ifstream list(std::string(ZEMSR_DEMO_DATA) + "/utterances.txt");
    std::vector<float> cep;
    *frames = 0;
    for (std::string line; std::getline(list, line);) {
        std::istringstream in(line);
        std::string name;
        if (!(in >> name)) continue;
        short* raw = nullptr;
        const int n = pipeReadWav((std::string(ZEMSR_DEMO_DATA) + "/" + name).c_str(), &raw);
        if (n <= 0) continue;
        const int count = pipeFrameCount(n);
        std::vector<float> feats(static_cast<size_t>(count) * PIPE_FEATURES);
        EXPECT_EQ(pipeFeatures(&fe, raw, n, feats.data()), 0);
        std::free(raw);
        for (int f = 0; f < count; ++f)
            cep.insert(cep.end(), feats.begin() + size_t(f) * PIPE_FEATURES,
                       feats.begin() + size_t(f) * PIPE_FEATURES + PIPE_CEPSTRA);
        *frames += count;
    }
    pipeFrontEndFree(&fe);
    return cep;
}

template <class T, class S, class Alloc, class Free>
ZemStatus expectReferenceTree(const std::vector<T>& src, int frames, int size, int hint, Alloc alloc, Free release) {
    SCOPED_TRACE(::testing::Message() << "hint " << hint << " size " << size);
    const std::vector<T> w(PIPE_CEPSTRA, T(1));
    zemtest::RefTrainer<T> trainer(src.data(), PIPE_CEPSTRA, PIPE_CEPSTRA, frames, w);
    const zemtest::RefTree<T> ref = trainer.train(size, hint);
    S* cdbk = nullptr;
    const ZemStatus status = alloc(&cdbk, src.data(), PIPE_CEPSTRA, PIPE_CEPSTRA, frames, size, hint);
    EXPECT_EQ(status, ref.status);
    if (status != ref.status) return status;
    // Near-silent frames that are almost equal can form a leaf whose split finds no
    // separation; the training then fails as a whole, in the reference too.
    if (ref.status < 0) {
        EXPECT_EQ(ref.status, zemStatusBadArg);
        return ref.status;
    }
    const zem::vq::State<T>* st = cdbk;
    EXPECT_EQ(st->numCodewords, int(ref.leafNode.size()));
    EXPECT_EQ(st->maxDepth, ref.maxDepth);
    for (int l = 0; l < st->numCodewords; ++l) {
        const auto& node = ref.nodes[ref.leafNode[l]];
        for (int j = 0; j < PIPE_CEPSTRA; ++j)
            EXPECT_TRUE(zemtest::sameBits(st->rows[int64_t(l) * st->rowStep + j], node.centroid[j]))
                << "codeword " << l << " element " << j;
    }
    EXPECT_EQ(release(cdbk), zemStatusOk);
    return ref.status;
}

TEST(DemoCodebook, TreesOnBundledCepstraMatchThePlainReference) {
    int frames = 0;
    const std::vector<float> cep = bundledCepstra(&frames);
    ASSERT_GT(frames, 100);
    std::vector<Zem16s> cep16(cep.size());
    for (size_t i = 0; i < cep.size(); ++i) cep16[i] = Zem16s(std::lrint(std::fmax(-32000.0f, std::fmin(32000.0f, cep[i] * 256.0f))));
    int trained = 0;
    for (int hint : {ZEM_CDBK_SPLIT_WIDEST, ZEM_CDBK_SPLIT_FULLEST})
        for (int size : {8, 32}) {
            trained += expectReferenceTree<Zem32f, ZemsCdbkState_32f>(cep, frames, size, hint, zemsCdbkInitAlloc_L2_32f,
                                                                      zemsCdbkFree_32f) >= 0;
            trained += expectReferenceTree<Zem16s, ZemsCdbkState_16s>(cep16, frames, size, hint,
                                                                      zemsCdbkInitAlloc_L2_16s, zemsCdbkFree_16s) >= 0;
        }
    EXPECT_GE(trained, 6) << "most trainings succeed";
}

}  // namespace
