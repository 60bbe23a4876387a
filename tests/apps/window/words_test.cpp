#include "model/words.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Words, the_word_before_the_caret_goes_with_what_separates_it) {
    EXPECT_EQ(word_before(L"invoice march", 13), 8u);
    EXPECT_EQ(word_before(L"invoice march  ", 15), 8u);
    EXPECT_EQ(word_before(L"invoice march", 10), 8u);
    EXPECT_EQ(word_before(L"docs\\*.txt", 10), 7u);
    EXPECT_EQ(word_before(L"docs\\*.", 7), 0u);
    EXPECT_EQ(word_before(L"one", 3), 0u);
}

TEST(Words, before_the_first_letter_there_is_none) {
    EXPECT_EQ(word_before(L"", 0), 0u);
    EXPECT_EQ(word_before(L"one", 0), 0u);
    EXPECT_EQ(word_before(L"  ", 2), 0u);
    EXPECT_EQ(word_before(L"one", 99), 0u);
}

}  // namespace
}  // namespace window
