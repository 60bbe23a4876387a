#include "model/error_words.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(ErrorWords, a_placeholder_becomes_the_name) {
    EXPECT_EQ(error_words("%1 is not a valid Win32 application.\r\n", "setup.exe"),
              "\"setup.exe\" is not a valid Win32 application.");
    EXPECT_EQ(error_words("Insert %2 (%3) in drive %1.", "D:"),
              "Insert ... (...) in drive \"D:\".");
}

TEST(ErrorWords, other_signs_stay) {
    EXPECT_EQ(error_words("Access is denied.\r\n", "a.txt"), "Access is denied.");
    EXPECT_EQ(error_words("100 % of it, %0 and %", "a"), "100 % of it, %0 and %");
    EXPECT_EQ(error_words("", "a"), "");
}

TEST(ErrorWords, a_text_of_several_lines_becomes_one) {
    EXPECT_EQ(error_words("First.\r\nSecond.\r\n", "a"), "First. Second.");
}

TEST(ErrorWords, a_name_with_a_placeholder_in_it_is_shown_as_it_is) {
    EXPECT_EQ(error_words("%1 is gone.", "50%1 off.txt"), "\"50%1 off.txt\" is gone.");
}

TEST(ErrorWords, only_a_kind_without_a_program_is_asked_for_one) {
    EXPECT_TRUE(wants_a_program(1155));
    for (std::uint32_t error : {0u, 2u, 5u, 193u, 1223u}) EXPECT_FALSE(wants_a_program(error));
}

}  // namespace
}  // namespace window
