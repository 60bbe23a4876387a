// What only the rule's own routine shows: matches in two steps, and a long match that is cancelled.
#include "query/wildcard.hpp"

#include <gtest/gtest.h>

#include <string>

#include "rules/query/padded_text.hpp"
#include "rules/query/reference_search.hpp"

namespace system_search {
namespace {

TEST(Wildcard, matches_in_two_steps_what_it_matches_in_one) {
    const std::atomic<bool> cancel{false};
    for (const char* const text :
         {"?b*", "a?*b", "*?a*b", "?*?", "a*?", "??*ab*", "?", "*b?a*", "*a?*ab*", "*b*a?b"}) {
        const Pattern pattern(text, /*flags=*/0);
        ASSERT_TRUE(pattern.needs_rule) << text;
        const Wildcard wildcard(pattern, cancel);
        for (const char* const name : {"", "a", "ab", "aab", "abab", "b", "bab", "babab",
                                       "\xC3\xA9"
                                       "b"}) {
            const PaddedText subject(name);
            const bool expected = reference::matches(text, name).value_or(false);
            EXPECT_EQ(wildcard.matches(subject.view()), expected) << text << " on " << name;
            for (std::size_t stop = 0; stop < subject.view().size(); ++stop) {
                if (is_continuation(name[stop])) continue;
                Wildcard::State state;
                const auto outcome = wildcard.advance(subject.view(), stop, state);
                const bool matches = outcome == Wildcard::Outcome::kOpen
                                         ? wildcard.finish(subject.view(), state)
                                         : outcome == Wildcard::Outcome::kAccepted;
                EXPECT_EQ(matches, expected) << text << " on " << name << " from " << stop;
            }
        }
    }
}

// Each star of such a pattern tries every place again: the steps are the product of both lengths.
const std::string kSlowText = "*?" + std::string(2000, 'a') + "b";
const PaddedText kSlowSubject(std::string(10'000, 'a') + "b");

TEST(Wildcard, long_match_that_is_not_cancelled_is_found) {
    const std::atomic<bool> cancel{false};
    const Pattern pattern(kSlowText, /*flags=*/0);
    EXPECT_TRUE(Wildcard(pattern, cancel).matches(kSlowSubject.view()));
}

TEST(Wildcard, cancel_request_ends_a_long_match_as_no_match) {
    const std::atomic<bool> cancel{true};
    const Pattern pattern(kSlowText, /*flags=*/0);
    EXPECT_FALSE(Wildcard(pattern, cancel).matches(kSlowSubject.view()));
}

}  // namespace
}  // namespace system_search
