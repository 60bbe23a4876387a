#include "query/pattern.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system_search.h"

namespace system_search {
namespace {

// Prefix, inner literals and suffix, a "|" between them.
std::string literals(const char* text, std::uint32_t flags = 0) {
    const Pattern pattern(text, flags);
    EXPECT_FALSE(pattern.needs_rule) << text;
    std::string all(pattern.prefix);
    for (const Literal& literal : pattern.inner) all += "|" + std::string(literal.text());
    return all + "|" + std::string(pattern.suffix);
}

TEST(Pattern, without_wildcards_is_one_literal_that_lies_anywhere) {
    EXPECT_EQ(literals("report"), "|report|");
    EXPECT_EQ(literals(""), "|");
    EXPECT_EQ(literals("\xA9"), "|\xA9|");
}

TEST(Pattern, with_stars_is_a_list_of_literals) {
    EXPECT_EQ(literals("*"), "|");
    EXPECT_EQ(literals("***"), "|");
    EXPECT_EQ(literals("*.txt"), "|.txt");
    EXPECT_EQ(literals("img_*"), "img_|");
    EXPECT_EQ(literals("a*b"), "a|b");
    EXPECT_EQ(literals("a**b*c"), "a|b|c");
    EXPECT_EQ(literals("*a*bc*"), "|a|bc|");
}

TEST(Pattern, is_folded_unless_case_matters) {
    EXPECT_EQ(literals("READ\u00C9*Me"), "read\u00C9|me");
    EXPECT_EQ(literals("READ\u00C9*Me", SS_MATCH_CASE), "READ\u00C9|Me");
}

TEST(Pattern, matches_everything_when_nothing_is_asked) {
    EXPECT_TRUE(Pattern("", 0).matches_everything());
    EXPECT_TRUE(Pattern("**", SS_MATCH_PATH).matches_everything());
    for (const char* const text : {"a", "a*", "*a", "*a*", "?", "*?"}) {
        EXPECT_FALSE(Pattern(text, 0).matches_everything()) << text;
    }
}

TEST(Pattern, needs_the_rule_for_marks_and_for_literals_that_begin_inside_a_code_point) {
    for (const char* const text : {"?", "a?b", "*?", "*\xA9", "a*\xA9*b"}) {
        const Pattern pattern(text, 0);
        EXPECT_TRUE(pattern.needs_rule) << text;
        EXPECT_TRUE(pattern.inner.empty() && pattern.prefix.empty() && pattern.suffix.empty());
    }
    EXPECT_FALSE(Pattern("\xA9*", 0).needs_rule) << "nothing stands before it";
}

TEST(Pattern, needs_the_rule_for_very_many_literals) {
    std::string text = "*";
    for (std::size_t i = 0; i < Pattern::kMostLiterals; ++i) text += "a*";
    EXPECT_EQ(Pattern(text, 0).inner.size(), Pattern::kMostLiterals);
    EXPECT_TRUE(Pattern(text + "a*", 0).needs_rule);
}

TEST(Pattern, of_the_rule_knows_its_head_and_its_pieces) {
    const Pattern pattern("a?b*C??d*", 0);
    EXPECT_EQ(pattern.head, "a?b");
    const std::vector<std::string> texts = {"a", "b", "c", "", "d", ""};
    ASSERT_EQ(pattern.pieces.size(), texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(pattern.pieces[i].text, texts[i]) << i;
        EXPECT_EQ(pattern.pieces[i].begins, i == 0) << i;
        EXPECT_EQ(pattern.pieces[i].ends, i + 1 == texts.size()) << i;
    }
}

}  // namespace
}  // namespace system_search
