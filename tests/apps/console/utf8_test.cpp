#include "model/utf8.hpp"

#include <gtest/gtest.h>

namespace console {
namespace {

TEST(Utf8, a_code_point_counts_once_however_many_bytes_it_has) {
    EXPECT_EQ(count_code_points(""), 0u);
    EXPECT_EQ(count_code_points("abc"), 3u);
    EXPECT_EQ(count_code_points("a\u00E9\u65E5\U0001F600"), 4u);
}

TEST(Utf8, only_well_formed_text_is_valid) {
    struct Case {
        std::string_view text;
        bool valid;
    };
    for (const Case& c : std::initializer_list<Case>{
             {"", true},
             {"plain", true},
             {"\xC3\xA9", true},
             {"\xE6\x97\xA5", true},
             {"\xF0\x9F\x98\x80", true},
             {"\xF4\x8F\xBF\xBF", true},
             {"\x80", false},              // a continuation without a beginning
             {"\xC3", false},              // cut short
             {"\xC3(", false},             // no continuation
             {"\xC0\xAF", false},          // overlong
             {"\xE0\x80\xAF", false},      // overlong
             {"\xED\xA0\x80", false},      // a surrogate
             {"\xF4\x90\x80\x80", false},  // beyond the last code point
             {"\xF8\x88\x80\x80\x80", false},
             {"\xFF", false},
             {"good\xFF", false},
         }) {
        EXPECT_EQ(is_valid_utf8(c.text), c.valid) << testing::PrintToString(c.text);
    }
}

TEST(Utf8, control_characters_do_not_reach_the_terminal) {
    EXPECT_EQ(without_controls("a\nb\x1B[2Jc\x7F"), "a?b?[2Jc?");
    EXPECT_EQ(without_controls("\xC2\x9B"), "?");  // the one-character CSI
    EXPECT_EQ(without_controls("\xC2\xA0\u00E9\u65E5"), "\xC2\xA0\u00E9\u65E5");
    EXPECT_EQ(without_controls("a\xFF"
                               "b"),
              "a?b");
}

TEST(Utf8, a_beginning_is_cut_between_characters) {
    EXPECT_EQ(first_code_points("a\u00E9\u65E5z", 0), "");
    EXPECT_EQ(first_code_points("a\u00E9\u65E5z", 2), "a\u00E9");
    EXPECT_EQ(first_code_points("a\u00E9\u65E5z", 3), "a\u00E9\u65E5");
    EXPECT_EQ(first_code_points("a\u00E9\u65E5z", 4), "a\u00E9\u65E5z");
    EXPECT_EQ(first_code_points("a\u00E9\u65E5z", 9), "a\u00E9\u65E5z");
}

}  // namespace
}  // namespace console
