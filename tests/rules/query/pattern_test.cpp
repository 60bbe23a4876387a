#include "query/pattern.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system_search.h"

namespace system_search {
namespace {

// Prefix, inner segments and suffix, a "|" between them; without a star the prefix alone.
std::string terms(std::string_view text, std::uint32_t flags = 0) {
    const Pattern pattern(text, flags);
    EXPECT_TRUE(pattern.can_match()) << text;
    std::string all(pattern.terms().prefix);
    for (const Segment& segment : pattern.terms().inner) all += "|" + std::string(segment.text());
    if (pattern.terms().has_star) all += "|" + std::string(pattern.terms().suffix);
    return all;
}

TEST(Pattern, without_wildcards_is_one_segment_that_lies_anywhere) {
    EXPECT_EQ(terms("report"), "|report|");
    EXPECT_EQ(terms(""), "|");
    EXPECT_EQ(terms("\xA9"), "|\xA9|");
}

TEST(Pattern, with_stars_is_a_list_of_segments) {
    EXPECT_EQ(terms("*"), "|");
    EXPECT_EQ(terms("***"), "|");
    EXPECT_EQ(terms("*.txt"), "|.txt");
    EXPECT_EQ(terms("img_*"), "img_|");
    EXPECT_EQ(terms("a*b"), "a|b");
    EXPECT_EQ(terms("a**b*c"), "a|b|c");
    EXPECT_EQ(terms("*a*bc*"), "|a|bc|");
}

TEST(Pattern, is_folded_unless_case_matters) {
    EXPECT_EQ(terms("READ\u00C9*Me"), "read\u00C9|me");
    EXPECT_EQ(terms("READ\u00C9*Me", SS_MATCH_CASE), "READ\u00C9|Me");
}

TEST(Pattern, marks_come_before_stars) {
    EXPECT_EQ(terms("????"), "????");
    EXPECT_EQ(terms("a?b"), "a?b");
    EXPECT_EQ(terms("*?"), "?|");
    EXPECT_EQ(terms("?*"), "?|");
    EXPECT_EQ(terms("*?*?*"), "??|");
    EXPECT_EQ(terms("*.??"), "|.??");
    EXPECT_EQ(terms("*?e*"), "?|e|");
    EXPECT_EQ(terms("a*?*b"), "a?|b");
    EXPECT_EQ(terms("a*b?*?c*?"), "a|b??|c?|");
}

TEST(Pattern, matches_everything_when_nothing_is_asked) {
    EXPECT_TRUE(Pattern("", 0).terms().match_everything());
    EXPECT_TRUE(Pattern("**", SS_MATCH_PATH).terms().match_everything());
    for (const char* const text : {"a", "a*", "*a", "*a*", "?", "*?"}) {
        EXPECT_FALSE(Pattern(text, 0).terms().match_everything()) << text;
    }
}

TEST(Pattern, counts_code_points_for_marks_and_for_segments_that_begin_inside_one) {
    for (const char* const text : {"?", "a?b", "*?", "*\xA9", "a*\xA9*b"}) {
        EXPECT_TRUE(Pattern(text, 0).counts_code_points()) << text;
    }
    for (const char* const text : {"", "a", "*", "\xA9", "\xA9*", "\xC3*", "a*\xC3\xA9*b"}) {
        EXPECT_FALSE(Pattern(text, 0).counts_code_points()) << text;
    }
}

// No path has so many bytes, and what is prepared for a pattern grows with its length.
TEST(Pattern, longer_than_any_path_cannot_match_and_is_not_read) {
    EXPECT_TRUE(Pattern(std::string(kMaxPathBytes, '?'), 0).can_match());
    for (const char byte : {'a', '?'}) {
        const Pattern pattern(std::string(kMaxPathBytes + 1, byte), 0);
        EXPECT_FALSE(pattern.can_match());
        EXPECT_TRUE(pattern.terms().inner.empty() && pattern.terms().prefix.empty());
    }
    const Pattern stars(std::string(kMaxPathBytes + 1, '*') + "a", 0);
    EXPECT_TRUE(stars.can_match()) << "stars ask for nothing";
    EXPECT_EQ(stars.terms().suffix, "a");
}

}  // namespace
}  // namespace system_search
