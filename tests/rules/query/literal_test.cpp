#include "query/literal.hpp"

#include <gtest/gtest.h>

#include <string>

#include "rules/query/padded_text.hpp"

namespace system_search {
namespace {

TEST(Literal, is_found_where_it_first_lies_and_nowhere_else) {
    for (std::size_t bytes = 1; bytes < 80; ++bytes) {
        for (const std::size_t length : {1u, 2u, 3u, 15u, 16u, 17u, 40u}) {
            for (std::size_t at = 0; at + length <= bytes; ++at) {
                std::string wanted(length, 'b');
                wanted[length / 2] = 'c';
                std::string text(bytes, 'b');
                text.replace(at, length, wanted);
                const PaddedText subject(text);
                ASSERT_EQ(Literal(wanted).find(subject.view()), text.find(wanted))
                    << text << " " << length;
                ASSERT_TRUE(Literal(wanted).is_at(subject.view().data() + at));
            }
            ASSERT_EQ(
                Literal(std::string(length, 'x')).find(PaddedText(std::string(bytes, 'b')).view()),
                std::string_view::npos);
        }
    }
}

TEST(Literal, is_not_found_in_what_lies_behind_the_text) {
    const PaddedText subject("ab");  // and "ababab..." behind it
    EXPECT_EQ(Literal("ba").find(subject.view()), std::string_view::npos);
    EXPECT_EQ(Literal("aba").find(subject.view()), std::string_view::npos);
    EXPECT_EQ(Literal("ab").find(subject.view()), 0u);
}

TEST(Literal, that_differs_in_one_byte_is_not_there) {
    const std::string wanted = "abcdefghijklmnopqrstuvwxyz";
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        std::string text = wanted;
        text[i] = '!';
        const PaddedText subject(text);
        EXPECT_FALSE(Literal(wanted).is_at(subject.view().data())) << i;
        EXPECT_EQ(Literal(wanted).find(subject.view()), std::string_view::npos) << i;
    }
}

}  // namespace
}  // namespace system_search
