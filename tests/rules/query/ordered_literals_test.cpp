#include "query/ordered_literals.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rules/query/padded_text.hpp"
#include "rules/query/reference_search.hpp"

namespace system_search {
namespace {

bool lie_in(const std::vector<std::string>& texts, const std::string& subject) {
    std::vector<Literal> literals;
    for (const std::string& text : texts) literals.emplace_back(text);
    return OrderedLiterals(literals).lie_in(PaddedText(subject).view());
}

TEST(OrderedLiterals, lie_one_behind_the_other_without_overlap) {
    EXPECT_TRUE(lie_in({}, ""));
    EXPECT_TRUE(lie_in({"a"}, "bab"));
    EXPECT_TRUE(lie_in({"a", "b"}, "xaxbx"));
    EXPECT_FALSE(lie_in({"a", "b"}, "ba"));
    EXPECT_FALSE(lie_in({"ab", "ba"}, "aba"));
    EXPECT_TRUE(lie_in({"ab", "ba"}, "abba"));
    EXPECT_FALSE(lie_in({"b", "b"}, "ab")) << "though one lies behind the text";
    EXPECT_TRUE(lie_in({"a long literal", "and another"}, "a long literal and another"));
}

// Names are searched in pieces of 32 and of 64 bytes.
TEST(OrderedLiterals, agree_with_the_reference_in_texts_of_every_length) {
    for (std::size_t bytes = 3; bytes < 70; ++bytes) {
        for (std::size_t at = 0; at + 2 <= bytes; ++at) {
            std::string subject(bytes, '-');
            subject.replace(at, 2, "ab");
            for (const std::vector<std::string>& texts :
                 std::vector<std::vector<std::string>>{{"a", "b"},
                                                       {"a", "-"},
                                                       {"-", "ab"},
                                                       {"ab", "-", "-"},
                                                       {"-a", "b-"},
                                                       {"---", "ab", "--"},
                                                       {"----------", "ab", "-"}}) {
                std::string pattern = "*";
                for (const std::string& text : texts) pattern += text + "*";
                ASSERT_EQ(lie_in(texts, subject),
                          reference::matches(pattern, subject).value_or(false))
                    << pattern << " in " << subject;
            }
        }
    }
}

}  // namespace
}  // namespace system_search
