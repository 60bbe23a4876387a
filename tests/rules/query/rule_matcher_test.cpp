#include "query/rule_matcher.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"
#include "system_search.h"

namespace system_search {
namespace {

using Paths = std::vector<std::string>;

Paths matching(const Paths& paths, const char* text, std::uint32_t flags = 0,
               bool is_cancelled = false) {
    const Shard shard = shard_of(paths);
    const std::atomic<bool> cancel{is_cancelled};
    const Pattern pattern(text, flags);
    const RuleMatcher matcher(pattern, cancel);
    Subject subject(pattern.match_case);
    subject.set_shard(shard);
    return left_over(shard, [&](EntryBits& bits) { matcher.match(subject, bits, cancel); });
}

TEST(RuleMatcher, holds_names_or_paths_against_the_rule) {
    const Paths paths = {"c:/ab/cd", "c:/AB/CX", "c:/ab/cde", "ab?", "c:/ab/\u00E9d"};
    EXPECT_EQ(matching(paths, "c?"), (Paths{"c:/ab/cd", "c:/AB/CX"}));
    EXPECT_EQ(matching(paths, "?d"), (Paths{"c:/ab/cd", "c:/ab/\u00E9d"}));
    EXPECT_EQ(matching(paths, "C?", SS_MATCH_CASE), Paths{"c:/AB/CX"});
    EXPECT_EQ(matching(paths, "*b/c?", SS_MATCH_PATH), (Paths{"c:/ab/cd", "c:/AB/CX"}));
    EXPECT_EQ(matching(paths, "?:/a?/cd", SS_MATCH_PATH), Paths{"c:/ab/cd"});
    EXPECT_EQ(matching(paths, "?:*", SS_MATCH_PATH),
              (Paths{"c:/ab/cd", "c:/AB/CX", "c:/ab/cde", "c:/ab/\u00E9d"}));
    EXPECT_EQ(matching(paths, "\?\?/?", SS_MATCH_PATH), Paths{});
}

// The name alone decides whether "?" takes one byte of it or several.
TEST(RuleMatcher, takes_a_code_point_of_every_class_of_bytes_for_one_mark) {
    Paths paths;
    Paths expected;
    for (unsigned last = 0x80; last < 0xC0; ++last) {
        const std::string mark = {'\xC3', static_cast<char>(last)};
        expected.push_back(mark + ".x");
        paths.push_back(expected.back());
        paths.push_back(mark + "a.x");
    }
    EXPECT_EQ(matching(paths, "?.x"), expected);
    EXPECT_EQ(matching(paths, "?.*"), expected);
    EXPECT_EQ(matching(paths, "??.*").size(), 64u);
}

// Bits that are left as they were mean nothing: whoever cancelled does not look at them.
TEST(RuleMatcher, looks_at_no_entry_when_cancelled) {
    const Paths paths = {"c:/xa", "d:/xb"};
    for (const std::uint32_t flags : {0u, std::uint32_t{SS_MATCH_PATH}}) {
        EXPECT_EQ(matching(paths, "?x?", flags), Paths{});
        EXPECT_EQ(matching(paths, "?x?", flags, /*is_cancelled=*/true), paths);
    }
}

}  // namespace
}  // namespace system_search
