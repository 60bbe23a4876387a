// The conversions are compiled into this test, to be compared with those of the system, which they
// stand in for.
#include "common/text.hpp"

#include <gtest/gtest.h>
#include <windows.h>

#include <random>
#include <string>
#include <string_view>

namespace system_search {
namespace {

// The system refuses to convert empty texts, which need no comparison.
bool system_decode(std::string_view text, std::u16string& wide) {
    wchar_t buffer[256];
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                          static_cast<int>(text.size()), buffer, 256);
    if (units == 0) {
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
    }
    wide.assign(buffer, buffer + units);
    return units != 0;
}

bool system_encode(std::u16string_view text, std::string& utf8) {
    const std::wstring units(text.begin(), text.end());
    char buffer[512];
    const int bytes =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, units.data(),
                            static_cast<int>(units.size()), buffer, 512, nullptr, nullptr);
    if (bytes == 0) {
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
    }
    utf8.assign(buffer, static_cast<std::size_t>(bytes));
    return bytes != 0;
}

std::string hex(const void* data, std::size_t size) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned byte = static_cast<const unsigned char*>(data)[i];
        out += {kDigits[byte / 16], kDigits[byte % 16], ' '};
    }
    return out;
}

void expect_same_decoding(std::string_view text) {
    std::u16string expected;
    const bool valid = system_decode(text, expected);
    std::u16string wide;
    ASSERT_EQ(append_wide(text, wide), valid) << hex(text.data(), text.size());
    ASSERT_EQ(is_valid_utf8(text), valid) << hex(text.data(), text.size());
    ASSERT_EQ(wide, expected) << hex(text.data(), text.size());
}

void expect_same_encoding(std::u16string_view text) {
    std::string expected;
    const bool valid = system_encode(text, expected);
    std::string utf8;
    ASSERT_EQ(append_utf8(text, utf8), valid) << hex(text.data(), text.size() * 2);
    ASSERT_EQ(utf8, expected) << hex(text.data(), text.size() * 2);
}

TEST(TextOnWindows, every_sequence_of_up_to_three_bytes_decodes_as_the_system_decodes_it) {
    char text[3];
    for (int a = 0; a < 0x100; ++a) {
        text[0] = static_cast<char>(a);
        expect_same_decoding({text, 1});
        for (int b = 0; b < 0x100; ++b) {
            text[1] = static_cast<char>(b);
            expect_same_decoding({text, 2});
            // Behind an ASCII byte the rest is a text of two bytes.
            for (int c = 0; a >= 0x80 && c < 0x100; ++c) {
                text[2] = static_cast<char>(c);
                expect_same_decoding({text, 3});
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(TextOnWindows, every_four_byte_lead_and_second_byte_decodes_as_the_system_decodes_it) {
    constexpr int kThird[] = {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF};
    for (int a = 0xE0; a < 0x100; ++a) {
        for (int b = 0; b < 0x100; ++b) {
            for (const int c : kThird) {
                for (const int d : kThird) {
                    const char text[] = {static_cast<char>(a), static_cast<char>(b),
                                         static_cast<char>(c), static_cast<char>(d)};
                    expect_same_decoding({text, 4});
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST(TextOnWindows, every_unit_encodes_as_the_system_encodes_it) {
    for (int unit = 0; unit < 0x10000; ++unit) {
        const char16_t text[] = {u'a', static_cast<char16_t>(unit), u'z'};
        expect_same_encoding({text, 3});
        expect_same_encoding({text + 1, 1});
        if (HasFatalFailure()) return;
    }
}

TEST(TextOnWindows, every_surrogate_pair_converts_both_ways_as_the_system_converts_it) {
    for (int high = 0xD800; high <= 0xDBFF; ++high) {
        for (int low = 0xDC00; low <= 0xDFFF; ++low) {
            const char16_t text[] = {static_cast<char16_t>(high), static_cast<char16_t>(low)};
            expect_same_encoding({text, 2});
            expect_same_decoding(utf8_from_wide({text, 2}));
            if (HasFatalFailure()) return;
        }
    }
}

TEST(TextOnWindows, random_texts_convert_as_the_system_converts_them) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (int round = 0; round < 50000; ++round) {
        const unsigned strangeness = 1 + below(30);
        std::u16string wide;
        for (unsigned i = 1 + below(60); i != 0; --i) {
            unsigned unit = 0x20 + below(0x5F);
            if (below(strangeness) == 0) unit = below(0x3000);
            if (below(strangeness * 3) == 0) unit = 0xD800 + below(0x800);
            wide += static_cast<char16_t>(unit);
        }
        expect_same_encoding(wide);
        std::string utf8;
        if (!append_utf8(wide, utf8)) continue;
        expect_same_decoding(utf8);
        utf8[below(static_cast<unsigned>(utf8.size()))] = static_cast<char>(below(0x100));
        expect_same_decoding(utf8);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace system_search
