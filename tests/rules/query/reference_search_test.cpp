// The two forms of the reference, the short one and the one step by step, say the same: what both
// were got wrong in would have to be wrong in two ways.
#include "rules/query/reference_search.hpp"

#include <gtest/gtest.h>

namespace system_search {
namespace {

std::vector<std::string> all_texts(const std::vector<std::string>& symbols, std::size_t length) {
    std::vector<std::string> texts{""};
    std::size_t first = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t end = texts.size();
        for (; first < end; ++first) {
            for (const std::string& symbol : symbols) texts.push_back(texts[first] + symbol);
        }
    }
    return texts;
}

TEST(Reference, says_the_same_in_both_its_forms) {
    const std::vector<std::string> subjects = all_texts({"a", "\xC3", "\xA9"}, 5);
    for (const std::string& text : all_texts({"a", "\xC3", "\xA9", "*", "?"}, 5)) {
        for (const std::string& subject : subjects) {
            ASSERT_EQ(reference::matches(text, subject).value_or(false),
                      reference::matches_step_by_step(text, subject))
                << ::testing::PrintToString(text) << " on " << ::testing::PrintToString(subject);
        }
    }
}

}  // namespace
}  // namespace system_search
