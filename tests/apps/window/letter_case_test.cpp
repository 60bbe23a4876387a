#include "model/letter_case.hpp"

#include <gtest/gtest.h>
#include <locale.h>
#include <wctype.h>

namespace window {
namespace {

/* What the system of the tests knows of letters. */
class SystemLetters {
public:
    SystemLetters() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
    ~SystemLetters() { freelocale(locale_); }
    SystemLetters(const SystemLetters&) = delete;
    SystemLetters& operator=(const SystemLetters&) = delete;

    char32_t lower(char32_t letter) const {
        return static_cast<char32_t>(towlower_l(static_cast<wint_t>(letter), locale_));
    }
    char32_t upper(char32_t letter) const {
        return static_cast<char32_t>(towupper_l(static_cast<wint_t>(letter), locale_));
    }
    /* The other one of a pair; 0 for what is no pair. */
    char32_t pair(char32_t letter) const {
        const char32_t other = upper(letter) != letter ? upper(letter) : lower(letter);
        const bool is_pair = (upper(other) == letter && lower(letter) == other) ||
                             (lower(other) == letter && upper(letter) == other);
        return other != letter && is_pair ? other : 0;
    }

private:
    locale_t locale_;
};

std::string utf8(char32_t letter) {
    std::string text;
    append_code_point(text, letter);
    return text;
}

TEST(LetterCase, every_pair_is_one_that_the_system_knows) {
    const SystemLetters system;
    int pairs = 0;
    for (char32_t letter = 0; letter < 0x10000; ++letter) {
        const char32_t other = other_case(letter);
        if (other == 0) continue;
        ++pairs;
        EXPECT_EQ(system.pair(letter), other) << std::hex << static_cast<unsigned>(letter);
        EXPECT_EQ(other_case(other), letter) << std::hex << static_cast<unsigned>(letter);
        EXPECT_EQ(is_uppercase(letter), system.lower(letter) != letter);
        EXPECT_NE(is_uppercase(letter), is_uppercase(other));
    }
    EXPECT_GT(pairs, 900);
}

TEST(LetterCase, no_pair_of_the_common_alphabets_is_missing) {
    const SystemLetters system;
    const char32_t blocks[][2] = {
        {0x80, 0x17F}, {0x386, 0x3CE}, {0x400, 0x52F}, {0x531, 0x586}, {0x1EA0, 0x1EFF}};
    for (const auto& [first, last] : blocks) {
        for (char32_t letter = first; letter <= last; ++letter) {
            const char32_t other = system.pair(letter);
            if (other < 0x80 || other > 0x1FFF) continue;
            EXPECT_EQ(other_case(letter), other) << std::hex << static_cast<unsigned>(letter);
        }
    }
}

TEST(LetterCase, both_cases_take_as_many_bytes) {
    for (char32_t letter = 0; letter < 0x10000; ++letter) {
        if (other_case(letter) == 0) continue;
        EXPECT_EQ(utf8(letter).size(), utf8(other_case(letter)).size());
    }
}

TEST(LetterCase, a_to_z_and_letters_without_a_single_other_case_have_none) {
    for (const char32_t letter : {U'a', U'Z', U'1', U'ß', U'İ', U'ı', U'ς', U'µ', U'中', U'ſ'}) {
        EXPECT_EQ(other_case(letter), 0u) << static_cast<unsigned>(letter);
    }
}

TEST(LetterCase, lowercase_changes_letters_and_nothing_else) {
    EXPECT_EQ(lowercase("AZaz09-\"ÜBER Élève ОТЧЁТ ΛΌΓΟΣ ß 中 😀"),
              "azaz09-\"über élève отчёт λόγοσ ß 中 😀");
    EXPECT_EQ(lowercase("ŸŹŁ"), "ÿźł");
}

TEST(LetterCase, bytes_that_are_no_utf8_stay_as_they_are) {
    for (const std::string bytes :
         {"\xC3", "\xC3\x41", "\xE1\xBA", "\x80\xBF", "\xFF\xFE", "\xF0\x9F"}) {
        const std::string lower = lowercase(bytes);
        EXPECT_EQ(lower.size(), bytes.size());
        EXPECT_EQ(lower[0], bytes[0]);
    }
    EXPECT_EQ(lowercase("\xC3"
                        "A"),
              "\xC3"
              "a");
}

TEST(LetterCase, code_points_are_taken_one_by_one) {
    const std::string text = "aÜẠ😀";
    std::size_t at = 0;
    EXPECT_EQ(take_code_point(text, at), U'a');
    EXPECT_EQ(take_code_point(text, at), U'Ü');
    EXPECT_EQ(take_code_point(text, at), U'Ạ');
    EXPECT_EQ(at, 6u);
    while (at < text.size()) EXPECT_EQ(take_code_point(text, at), 0u);
    EXPECT_EQ(at, text.size());
}

}  // namespace
}  // namespace window
