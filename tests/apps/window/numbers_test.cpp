#include "model/numbers.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Numbers, digits_are_grouped_from_the_fifth_on) {
    const NumberStyle style;
    EXPECT_EQ(format_count(0, style), "0");
    EXPECT_EQ(format_count(1000, style), "1000");
    EXPECT_EQ(format_count(10000, style), "10,000");
    EXPECT_EQ(format_count(240128, style), "240,128");
    EXPECT_EQ(format_count(1204551, style), "1,204,551");
    EXPECT_EQ(format_count(18446744073709551615u, style), "18,446,744,073,709,551,615");
}

TEST(Numbers, the_locale_chooses_separator_and_groups) {
    EXPECT_EQ(format_count(1204551, {".", "3;0"}), "1.204.551");
    EXPECT_EQ(format_count(1204551, {"\xE2\x80\xAF", "3;0"}),
              "1\xE2\x80\xAF"
              "204\xE2\x80\xAF"
              "551");
    EXPECT_EQ(format_count(123456789, {",", "3;2;0"}), "12,34,56,789");
    EXPECT_EQ(format_count(123456789, {",", "3;2"}), "1234,56,789");
    EXPECT_EQ(format_count(123456789, {",", "3"}), "123456,789");
    EXPECT_EQ(format_count(123456789, {",", "4;0"}), "1,2345,6789");
}

TEST(Numbers, a_locale_without_groups_has_none) {
    EXPECT_EQ(format_count(123456, {",", "0"}), "123456");
    EXPECT_EQ(format_count(123456, {",", ""}), "123456");
    EXPECT_EQ(format_count(123456, {",", "x;0"}), "123456");
}

TEST(Numbers, milliseconds_are_whole_and_never_none) {
    const NumberStyle style;
    EXPECT_EQ(format_milliseconds(0, style), "1 ms");
    EXPECT_EQ(format_milliseconds(0.4, style), "1 ms");
    EXPECT_EQ(format_milliseconds(2.6, style), "3 ms");
    EXPECT_EQ(format_milliseconds(12345, style), "12,345 ms");
}

}  // namespace
}  // namespace window
