// Texts that end in the middle of a character while the bytes behind them go on with it.
#include <gtest/gtest.h>

#include "common/text.hpp"

namespace system_search {
namespace {

// Whoever reads past the end finds a whole character there, so this fails without a sanitizer too.
TEST(TextEnd, cut_character_is_refused_whatever_stands_behind_the_text) {
    for (const std::string_view whole : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 0; before < 40; ++before) {
            const std::string text = std::string(before, 'a') + std::string(whole) + "bcd";
            for (std::size_t bytes = 1; bytes < whole.size(); ++bytes) {
                const std::string_view cut = std::string_view(text).substr(0, before + bytes);
                EXPECT_FALSE(is_valid_utf8(cut)) << before << " before " << bytes;
                std::u16string wide;
                EXPECT_FALSE(append_wide(cut, wide)) << before << " before " << bytes;
                EXPECT_EQ(wide, u"");
            }
            EXPECT_TRUE(is_valid_utf8(std::string_view(text).substr(0, before + whole.size())));
        }
    }
}

TEST(TextEnd, cut_surrogate_pair_is_refused_whatever_stands_behind_the_text) {
    for (std::size_t before = 0; before < 40; ++before) {
        const std::u16string text = std::u16string(before, u'a') + u"\U0001F600";
        std::string utf8;
        EXPECT_FALSE(append_utf8(std::u16string_view(text).substr(0, before + 1), utf8)) << before;
        EXPECT_EQ(utf8, "");
        EXPECT_TRUE(append_utf8(text, utf8)) << before;
    }
}

}  // namespace
}  // namespace system_search
