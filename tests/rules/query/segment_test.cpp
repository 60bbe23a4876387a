#include "query/segment.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "rules/query/padded_text.hpp"

namespace system_search {
namespace {

const std::atomic<bool> kNever{false};

TEST(Segment, is_found_where_it_first_lies_and_nowhere_else) {
    for (std::size_t bytes = 1; bytes < 80; ++bytes) {
        for (const std::size_t length : {1u, 2u, 3u, 15u, 16u, 17u, 40u}) {
            for (std::size_t at = 0; at + length <= bytes; ++at) {
                std::string wanted(length, 'b');
                wanted[length / 2] = 'c';
                std::string text(bytes, 'b');
                text.replace(at, length, wanted);
                const PaddedText subject(text);
                ASSERT_EQ(Segment(wanted).find(subject.view(), kNever), text.find(wanted))
                    << text << " " << length;
                ASSERT_TRUE(Segment(wanted).is_at(subject.view().data() + at));
            }
            ASSERT_EQ(Segment(std::string(length, 'x'))
                          .find(PaddedText(std::string(bytes, 'b')).view(), kNever),
                      std::string_view::npos);
        }
    }
}

TEST(Segment, is_not_found_in_what_lies_behind_the_text) {
    const PaddedText subject("ab");  // and "ababab..." behind it
    EXPECT_EQ(Segment("ba").find(subject.view(), kNever), std::string_view::npos);
    EXPECT_EQ(Segment("aba").find(subject.view(), kNever), std::string_view::npos);
    EXPECT_EQ(Segment("ab").find(subject.view(), kNever), 0u);
}

TEST(Segment, that_differs_in_one_byte_is_not_there) {
    const std::string wanted = "abcdefghijklmnopqrstuvwxyz";
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        std::string text = wanted;
        text[i] = '!';
        const PaddedText subject(text);
        EXPECT_FALSE(Segment(wanted).is_at(subject.view().data())) << i;
        EXPECT_EQ(Segment(wanted).find(subject.view(), kNever), std::string_view::npos) << i;
    }
}

// Marks at every place, over texts that differ from the segment in every place.
TEST(Segment, takes_any_byte_for_a_mark_and_no_other_byte_for_another) {
    for (const std::size_t length : {2u, 3u, 15u, 16u, 17u, 18u, 31u, 32u, 33u, 34u, 50u}) {
        std::string plain(length, 'a');
        plain.back() = 'b';
        for (std::size_t mark = 1; mark < length; ++mark) {
            std::string wanted = plain;
            wanted[mark] = kMark;
            wanted[mark / 2 + 1] = kMark;
            const Segment segment(wanted);
            for (std::size_t other = 0; other < length; ++other) {
                std::string text = "-a" + plain;
                text[2 + other] = 'x';
                const PaddedText subject(text);
                const bool fits = wanted[other] == kMark;
                ASSERT_EQ(segment.is_at(subject.view().data() + 2), fits) << wanted << " " << text;
                ASSERT_EQ(segment.is_suffix_of(subject.view()), fits) << wanted << " " << text;
                std::size_t place = 0;
                const auto lies_at = [&](std::size_t at) {
                    for (std::size_t i = 0; i < length; ++i) {
                        if (wanted[i] != kMark && wanted[i] != text[at + i]) return false;
                    }
                    return true;
                };
                while (place + length <= text.size() && !lies_at(place)) ++place;
                if (place + length > text.size()) place = std::string_view::npos;
                ASSERT_EQ(segment.find(subject.view(), kNever), place) << wanted << " " << text;
            }
        }
    }
}

TEST(Segment, of_marks_alone_lies_wherever_there_is_room) {
    const PaddedText subject("abc");
    EXPECT_TRUE(Segment("???").is_prefix_of(subject.view()));
    EXPECT_FALSE(Segment("????").is_prefix_of(subject.view()));
    EXPECT_TRUE(Segment("").is_suffix_of(subject.view()));
    EXPECT_TRUE(
        Segment(std::string(40, kMark)).is_at(PaddedText(std::string(40, 'x')).view().data()));
}

TEST(Segment, is_not_found_in_what_lies_behind_by_its_marks) {
    const PaddedText subject("ab");  // and "abab..." behind it
    EXPECT_EQ(Segment("b?").find(subject.view(), kNever), std::string_view::npos);
    EXPECT_EQ(Segment("a??").find(subject.view(), kNever), std::string_view::npos);
    EXPECT_EQ(Segment("a?").find(subject.view(), kNever), 0u);
}

// Where each of 16,000 places has to be looked at over 8,000 bytes.
TEST(Segment, long_one_is_not_looked_for_any_more_when_cancelled) {
    const std::string half(8000, 'a');
    const PaddedText subject(half + half + "b" + half);
    const std::string wanted = half + "b" + half;
    EXPECT_EQ(Segment(wanted).find(subject.view(), kNever), 8000u);
    const std::atomic<bool> cancelled{true};
    EXPECT_EQ(Segment(wanted).find(subject.view(), cancelled), std::string_view::npos);
}

}  // namespace
}  // namespace system_search
