#include "common/text.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rules/common/reference_text.hpp"

namespace system_search {
namespace {

std::string hex(std::string_view text) {
    std::string out;
    for (const char c : text) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        out += {kDigits[byte / 16], kDigits[byte % 16], ' '};
    }
    return out;
}

std::string hex(std::u16string_view text) {
    std::string out;
    for (const char16_t unit : text) {
        const char bytes[] = {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
        out += hex(std::string_view(bytes, 2));
    }
    return out;
}

// Empty when every decoding function agrees with the reference implementation, else what went
// wrong.
std::string decoding_fault(std::string_view text, bool valid, const std::u16string& expected) {
    // A copy without slack behind it, so that a sanitizer sees a read past the end.
    const std::vector<char> exact(text.begin(), text.end());
    const std::string_view input(exact.data(), exact.size());
    if (is_valid_utf8(input) != valid) return "is_valid_utf8: " + hex(text);
    std::u16string wide = u"before";
    if (append_wide(input, wide) != valid) return "append_wide: " + hex(text);
    if (wide != (valid ? u"before" + expected : u"before")) {
        return "append_wide: " + hex(text) + "gave " + hex(wide);
    }
    return {};
}

std::string encoding_fault(std::u16string_view text, bool valid, const std::string& expected) {
    const std::vector<char16_t> exact(text.begin(), text.end());
    const std::u16string_view input(exact.data(), exact.size());
    std::vector<char> room(text.size() * 3);
    const std::size_t size = encode_utf8(input, room.data());
    if ((size != kInvalidText) != valid) return "encode_utf8: " + hex(text);
    if (valid && std::string_view(room.data(), size) != expected) {
        return "encode_utf8: " + hex(text) + "gave " + hex(std::string_view(room.data(), size));
    }
    std::string utf8 = "before";
    if (append_utf8(input, utf8) != valid) return "append_utf8: " + hex(text);
    if (utf8 != (valid ? "before" + expected : "before")) {
        return "append_utf8: " + hex(text) + "gave " + hex(utf8);
    }
    return {};
}

std::string decoding_fault(std::string_view text) {
    std::u16string expected;
    const bool valid = reference_decode(text, expected);
    return decoding_fault(text, valid, expected);
}

std::string encoding_fault(std::u16string_view text) {
    std::string expected;
    const bool valid = reference_encode(text, expected);
    return encoding_fault(text, valid, expected);
}

std::string bytes_of(std::initializer_list<unsigned> values) {
    std::string text;
    for (const unsigned value : values) text += static_cast<char>(value);
    return text;
}

// ---- Conversion ---------------------------------------------------------------------------------

TEST(Text, the_empty_text_converts_to_the_empty_text) {
    EXPECT_EQ(utf8_from_wide(u""), "");
    EXPECT_EQ(wide_from_utf8(""), u"");
    EXPECT_TRUE(is_valid_utf8(""));
    EXPECT_EQ(encode_utf8({}, nullptr), 0u);
}

TEST(Text, known_characters_have_their_known_bytes) {
    const std::pair<std::u16string, std::string> kCases[] = {
        {u"A", "A"},
        {std::u16string(1, u'\0'), std::string(1, '\0')},
        {u"\u007F", "\x7F"},
        {u"\u0080", "\xC2\x80"},
        {u"\u00FC", "\xC3\xBC"},
        {u"\u07FF", "\xDF\xBF"},
        {u"\u0800", "\xE0\xA0\x80"},
        {u"\u20AC", "\xE2\x82\xAC"},
        {u"\uD7FF", "\xED\x9F\xBF"},
        {u"\uE000", "\xEE\x80\x80"},
        {u"\uFEFF", "\xEF\xBB\xBF"},
        {u"\uFFFF", "\xEF\xBF\xBF"},
        {u"\U00010000", "\xF0\x90\x80\x80"},
        {u"\U0001F600", "\xF0\x9F\x98\x80"},
        {u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
        {u"C:\\Benutzer\\J\u00FCrgen\\\u8CC7\u6599.txt",
         "C:\\Benutzer\\J\xC3\xBCrgen\\\xE8\xB3\x87\xE6\x96\x99.txt"},
    };
    for (const auto& [wide, utf8] : kCases) {
        EXPECT_EQ(utf8_from_wide(wide), utf8) << hex(wide);
        EXPECT_EQ(wide_from_utf8(utf8), wide) << hex(utf8);
        EXPECT_TRUE(is_valid_utf8(utf8)) << hex(utf8);
    }
}

TEST(Text, ill_formed_utf8_is_refused) {
    const std::string kCases[] = {
        "\x80",  // a trail byte alone
        "\xBF",
        "\xC0\x80",                  // overlong NUL
        "\xC1\xBF",                  // overlong U+007F
        "\xE0\x9F\xBF",              // overlong U+07FF
        "\xF0\x8F\xBF\xBF",          // overlong U+FFFF
        "\xED\xA0\x80",              // U+D800
        "\xED\xBF\xBF",              // U+DFFF
        "\xED\xA0\xBD\xED\xB8\x80",  // a surrogate pair, each encoded by itself
        "\xF4\x90\x80\x80",          // U+110000
        "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80",  // five and six byte forms
        "\xFC\x84\x80\x80\x80\x80",
        "\xFE",
        "\xFF",
        "\xC3",  // truncated
        "\xE2\x82",
        "\xF0\x9F\x98",
        "\xC3"
        "A",  // no trail byte
        "\xE2\x82"
        "A",
        "\xF0\x9F\x98"
        "A",
        "\xC3\xC3\xBC",
    };
    for (const std::string& text : kCases) {
        EXPECT_FALSE(is_valid_utf8(text)) << hex(text);
        EXPECT_THROW(wide_from_utf8(text), TextError) << hex(text);
        EXPECT_THROW(wide_from_utf8("C:\\a folder\\" + text), TextError) << hex(text);
        EXPECT_THROW(wide_from_utf8(text + "\\a file with a name.txt"), TextError) << hex(text);
    }
}

TEST(Text, a_surrogate_that_is_not_in_a_pair_is_refused) {
    for (char32_t unit = 0xD800; unit <= 0xDFFF; ++unit) {
        const std::u16string alone(1, static_cast<char16_t>(unit));
        EXPECT_THROW(utf8_from_wide(alone), TextError) << hex(alone);
        EXPECT_THROW(utf8_from_wide(u"before " + alone), TextError) << hex(alone);
        EXPECT_THROW(utf8_from_wide(alone + u" behind it"), TextError) << hex(alone);
    }
    EXPECT_THROW(utf8_from_wide(std::u16string{0xDC00, 0xD800}), TextError);
    EXPECT_THROW(utf8_from_wide(std::u16string{0xD800, 0xD800, 0xDC00}), TextError);
    EXPECT_THROW(utf8_from_wide(std::u16string{0xD800, 0xDC00, 0xDC00}), TextError);
}

TEST(Text, a_failed_conversion_says_why_in_english) {
    try {
        wide_from_utf8("\xFF");
        FAIL() << "accepted";
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "The text is not valid UTF-8.");
    }
    try {
        utf8_from_wide(std::u16string(1, char16_t{0xD800}));
        FAIL() << "accepted";
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "The text is not valid UTF-16.");
    }
}

TEST(Text, every_code_point_converts_both_ways) {
    for (char32_t c = 0; c <= kLastCodePoint; ++c) {
        const std::string utf8 = reference_utf8(c);
        const bool valid = is_scalar_value(c);
        const std::string fault = decoding_fault(utf8, valid, valid ? reference_utf16(c) : u"");
        ASSERT_EQ(fault, "");
        ASSERT_EQ(encoding_fault(reference_utf16(c), valid, valid ? utf8 : ""), "");
    }
}

TEST(Text, every_sequence_of_one_two_or_three_bytes_is_converted_right) {
    for (unsigned a = 0; a < 0x100; ++a) {
        ASSERT_EQ(decoding_fault(bytes_of({a})), "");
        for (unsigned b = 0; b < 0x100; ++b) ASSERT_EQ(decoding_fault(bytes_of({a, b})), "");
    }
    // Behind an ASCII byte the rest is a sequence of two bytes, which has just been checked.
    std::string text(3, '\0');
    for (unsigned a = 0x80; a < 0x100; ++a) {
        for (unsigned b = 0; b < 0x100; ++b) {
            for (unsigned c = 0; c < 0x100; ++c) {
                text[0] = static_cast<char>(a);
                text[1] = static_cast<char>(b);
                text[2] = static_cast<char>(c);
                std::u16string expected;
                const bool valid = reference_decode(text, expected);
                ASSERT_EQ(is_valid_utf8(text), valid) << hex(text);
                std::u16string wide;
                ASSERT_EQ(append_wide(text, wide), valid) << hex(text);
                ASSERT_EQ(wide, valid ? expected : u"") << hex(text);
            }
        }
    }
}

TEST(Text, every_four_byte_lead_is_converted_right_with_every_second_byte) {
    // The bytes at both edges of the trail range and just outside it.
    const unsigned kThird[] = {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF};
    for (unsigned a = 0xE0; a < 0x100; ++a) {
        for (unsigned b = 0; b < 0x100; ++b) {
            for (const unsigned c : kThird) {
                for (const unsigned d : kThird) {
                    const std::string text = bytes_of({a, b, c, d});
                    ASSERT_EQ(decoding_fault(text), "");
                }
            }
        }
    }
}

TEST(Text, a_character_cut_short_at_any_length_is_refused) {
    for (const char32_t c : {char32_t{0x80}, char32_t{0x7FF}, char32_t{0x800}, char32_t{0x20AC},
                             char32_t{0xFFFF}, char32_t{0x10000}, kLastCodePoint}) {
        const std::string whole = reference_utf8(c);
        for (std::size_t before = 0; before < 40; ++before) {
            for (std::size_t bytes = 1; bytes < whole.size(); ++bytes) {
                const std::string cut = std::string(before, 'a') + whole.substr(0, bytes);
                EXPECT_FALSE(is_valid_utf8(cut)) << hex(cut);
                ASSERT_EQ(decoding_fault(cut), "");
                ASSERT_EQ(decoding_fault(cut + std::string(before, 'a')), "");
            }
        }
    }
}

TEST(Text, every_pair_of_edge_units_is_converted_right) {
    const char16_t kEdges[] = {0x0000, 0x007F, 0x0080, 0x00FF, 0x0100, 0x07FF,
                               0x0800, 0x7FFF, 0x8000, 0x807F, 0xD7FF, 0xD800,
                               0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFF80, 0xFFFF};
    for (const char16_t a : kEdges) {
        for (const char16_t b : kEdges) {
            for (const char16_t c : kEdges) ASSERT_EQ(encoding_fault(std::u16string{a, b, c}), "");
        }
    }
}

// Vectors cover 16, 8 or 4 elements and overlap at the end of a text: one odd character at every
// place of an otherwise plain text meets every one of them.
TEST(Text, one_character_is_converted_right_at_every_place_of_an_ascii_text) {
    const char32_t kCharacters[] = {0x0,    0x7F,   0x80,   0xFF,   0x100,   0x7FF,         0x800,
                                    0x8000, 0x807F, 0xFF80, 0xFFFF, 0x10000, kLastCodePoint};
    for (const char32_t c : kCharacters) {
        for (std::size_t before = 0; before < 50; ++before) {
            for (std::size_t after = 0; after < 50; ++after) {
                const std::u16string wide =
                    std::u16string(before, u'a') + reference_utf16(c) + std::u16string(after, u'z');
                const std::string utf8 =
                    std::string(before, 'a') + reference_utf8(c) + std::string(after, 'z');
                ASSERT_EQ(decoding_fault(utf8, true, wide), "");
                ASSERT_EQ(encoding_fault(wide, true, utf8), "");
            }
        }
    }
}

TEST(Text, one_fault_is_found_at_every_place_of_an_ascii_text) {
    for (std::size_t before = 0; before < 50; ++before) {
        for (std::size_t after = 0; after < 50; ++after) {
            for (const char* fault : {"\x80", "\xC3", "\xFF", "\xED\xA0\x80"}) {
                const std::string utf8 = std::string(before, 'a') + fault + std::string(after, 'z');
                ASSERT_EQ(decoding_fault(utf8, false, u""), "");
            }
            for (const char16_t fault : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
                const std::u16string wide =
                    std::u16string(before, u'a') + fault + std::u16string(after, u'z');
                ASSERT_EQ(encoding_fault(wide, false, ""), "");
            }
        }
    }
}

TEST(Text, texts_around_and_over_the_size_of_the_stack_buffer_convert) {
    std::vector<std::size_t> sizes = {1000, 32767};
    for (std::size_t size = 250; size < 300; ++size) sizes.push_back(size);
    // The shortest and the longest UTF-8 that so many units can have, and a mixture.
    for (const std::u16string_view pattern : {u"x", u"\u20AC", u"\u20ACxx"}) {
        for (const std::size_t units : sizes) {
            std::u16string wide;
            while (wide.size() < units) wide += pattern[wide.size() % pattern.size()];
            std::string utf8;
            ASSERT_TRUE(reference_encode(wide, utf8));
            ASSERT_EQ(encoding_fault(wide, true, utf8), "");
            ASSERT_EQ(decoding_fault(utf8, true, wide), "");
            ASSERT_EQ(encoding_fault(wide + u'\xD800', false, ""), "");
            ASSERT_EQ(decoding_fault(utf8 + '\xFF', false, u""), "");
        }
    }
}

TEST(Text, random_texts_are_converted_right) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (int round = 0; round < 30000; ++round) {
        const unsigned strangeness = 1 + below(60);
        std::string utf8;
        std::u16string wide;
        for (unsigned i = below(80); i != 0; --i) {
            char32_t c = 0x20 + below(0x5F);
            if (below(strangeness) == 0) c = below(3) == 0 ? below(0x110000) : below(0x3000);
            if (!is_scalar_value(c)) c = 'x';
            utf8 += reference_utf8(c);
            wide += reference_utf16(c);
        }
        ASSERT_EQ(decoding_fault(utf8, true, wide), "");
        ASSERT_EQ(encoding_fault(wide, true, utf8), "");
        if (utf8.empty()) continue;
        utf8[below(static_cast<unsigned>(utf8.size()))] = static_cast<char>(below(0x100));
        ASSERT_EQ(decoding_fault(utf8), "");
        wide[below(static_cast<unsigned>(wide.size()))] =
            static_cast<char16_t>(below(2) == 0 ? 0xD800 + below(0x800) : below(0x10000));
        ASSERT_EQ(encoding_fault(wide), "");
    }
}

// ---- Bytes --------------------------------------------------------------------------------------

// Every byte value at every place of texts of every length up to 50.
template <typename Check>
void for_each_byte_and_place(Check check) {
    for (std::size_t size = 1; size <= 50; ++size) {
        for (std::size_t at = 0; at < size; ++at) {
            for (unsigned value = 0; value < 0x100; ++value) {
                std::string text(size, 'q');
                text[at] = static_cast<char>(value);
                check(text);
                if (testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

TEST(Text, fold_lowers_a_to_z_and_no_other_byte) {
    for (unsigned value = 0; value < 0x100; ++value) {
        const char byte = static_cast<char>(value);
        EXPECT_EQ(fold(byte), reference_fold(byte)) << value;
    }
    EXPECT_EQ(fold('A'), 'a');
    EXPECT_EQ(fold('Z'), 'z');
    EXPECT_EQ(fold('@'), '@');
    EXPECT_EQ(fold('['), '[');
    EXPECT_EQ(fold('\xC1'), '\xC1');
}

TEST(Text, folding_a_text_folds_each_byte_at_every_place) {
    for_each_byte_and_place([](const std::string& text) {
        std::string expected;
        for (const char c : text) expected += reference_fold(c);
        std::vector<char> out(text.size());
        fold_into(text, out.data());
        ASSERT_EQ(std::string_view(out.data(), out.size()), expected) << hex(text);
        std::string in_place = text;
        fold_into(in_place, in_place.data());
        ASSERT_EQ(in_place, expected) << hex(text);
    });
}

TEST(Text, a_text_of_capitals_alone_folds_at_every_length) {
    for (std::size_t size = 0; size <= 70; ++size) {
        std::string out(size, '-');
        fold_into(std::string(size, 'M'), out.data());
        EXPECT_EQ(out, std::string(size, 'm'));
    }
}

TEST(Text, a_capital_is_seen_at_every_place) {
    EXPECT_FALSE(has_upper_ascii(""));
    for_each_byte_and_place([](const std::string& text) {
        bool expected = false;
        for (const char c : text) expected = expected || reference_fold(c) != c;
        ASSERT_EQ(has_upper_ascii(text), expected) << hex(text);
    });
}

TEST(Text, backslashes_and_no_other_bytes_become_slashes) {
    for_each_byte_and_place([](const std::string& text) {
        std::string expected = text;
        for (char& c : expected) {
            if (c == '\\') c = '/';
        }
        std::string changed = text;
        replace_backslashes(changed.data(), changed.size());
        ASSERT_EQ(changed, expected) << hex(text);
    });
    for (std::size_t size = 0; size <= 70; ++size) {
        std::string text(size + 1, '\\');
        replace_backslashes(text.data(), size);
        EXPECT_EQ(text, std::string(size, '/') + '\\') << "one byte too many or too few";
    }
}

}  // namespace
}  // namespace system_search
