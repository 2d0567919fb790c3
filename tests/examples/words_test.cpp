// The isolated-word example: the library's warp recognises the other voices' words at
// least as well as measured when it was written (39 of 48), less a margin of three.
#include <gtest/gtest.h>

#include "words.h"

TEST(Words, LibraryWarpKeepsItsAccuracy) {
    WordSet set;
    ASSERT_EQ(wordsLoad(ZEMSR_DEMO_DATA "/words", &set), 0);
    WordScore score;
    wordsRecognise(&set, "en+m3", 130, WORDS_LIBRARY, &score);
    wordsFree(&set);
    EXPECT_EQ(score.total, 48);
    EXPECT_GE(score.correct, 36);
}
