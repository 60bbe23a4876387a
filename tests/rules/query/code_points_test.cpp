#include "query/code_points.hpp"

#include <gtest/gtest.h>

#include <string>

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
const std::atomic<bool> kNever{false};

TEST(CodePoints, mark_takes_a_byte_and_all_that_continue_it) {
    EXPECT_EQ(end_of_segment("?", "a", 0), 1u);
    EXPECT_EQ(end_of_segment("?", "\u65E5x", 0), 3u);
    EXPECT_EQ(end_of_segment("?", "a\xA9\xA9x", 0), 3u) << "stray ones as well";
    EXPECT_EQ(end_of_segment("?", "\xA9\xA9", 0), 2u) << "whatever the first byte is";
    EXPECT_EQ(end_of_segment("?", "", 0), kNone);
    EXPECT_EQ(end_of_segment("\xC3?", "\u00E9", 0), 2u) << "the rest of a code point";
}

TEST(CodePoints, bytes_are_bytes) {
    EXPECT_EQ(end_of_segment("", "a", 1), 1u);
    EXPECT_EQ(end_of_segment("b?", "abc", 1), 3u);
    EXPECT_EQ(end_of_segment("b?", "abc", 0), kNone);
    EXPECT_EQ(end_of_segment("bc", "ab", 1), kNone);
    EXPECT_EQ(end_of_segment("a", "a\xA9", 0), 1u) << "though a code point goes on behind it";
}

TEST(CodePoints, star_ends_where_a_code_point_begins_or_where_it_stands_itself) {
    EXPECT_EQ(find_segment_end("\xA9", "\xA9z", 0, kNever), 1u);
    EXPECT_EQ(find_segment_end("\xA9", "z\xA9", 0, kNever), kNone);
    EXPECT_EQ(find_segment_end("\xA9", "z\xA9", 1, kNever), 2u);
    EXPECT_EQ(find_segment_end("b?", "abab\u00E9", 2, kNever), 6u);
    EXPECT_EQ(find_segment_end("b?", "abab\u00E9", 0, kNever), 3u);
    EXPECT_EQ(find_segment_end("b?", "ab", 0, kNever), kNone);
}

TEST(CodePoints, segment_at_the_end_is_the_one_of_several_that_reaches_it) {
    EXPECT_TRUE(ends_with_segment("a?", "aa\u00E9a\u00E9", 0, kNever));
    EXPECT_FALSE(ends_with_segment("a?", "a\u00E9a", 0, kNever));
    EXPECT_FALSE(ends_with_segment("a", "a\xA9", 0, kNever));
    EXPECT_TRUE(ends_with_segment("a?", "a\xA9", 0, kNever));
}

TEST(CodePoints, nothing_is_found_when_cancelled) {
    const std::atomic<bool> cancelled{true};
    EXPECT_EQ(find_segment_end("a", "a", 0, cancelled), kNone);
    EXPECT_FALSE(ends_with_segment("a", "a", 0, cancelled));
}

}  // namespace
}  // namespace system_search
