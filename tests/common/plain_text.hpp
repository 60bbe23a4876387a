// What the conversions are judged by: a plain implementation that knows nothing of vectors. It
// builds UTF-8 from code points by the definition, and accepts a byte sequence only when it is
// exactly what building from some code point gives.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace system_search {

inline constexpr char32_t kLastCodePoint = 0x10FFFF;

inline bool is_scalar_value(char32_t c) {
    return c <= kLastCodePoint && !(c >= 0xD800 && c <= 0xDFFF);
}

inline std::string plain_utf8(char32_t c) {
    const auto byte = [](char32_t value) { return static_cast<char>(value); };
    const auto trail = [&](int shift) { return byte(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) return {byte(c)};
    if (c < 0x800) return {byte(0xC0 | c >> 6), trail(0)};
    if (c < 0x10000) return {byte(0xE0 | c >> 12), trail(6), trail(0)};
    return {byte(0xF0 | c >> 18), trail(12), trail(6), trail(0)};
}

inline std::u16string plain_utf16(char32_t c) {
    if (c < 0x10000) return {static_cast<char16_t>(c)};
    c -= 0x10000;
    return {static_cast<char16_t>(0xD800 + c / 0x400), static_cast<char16_t>(0xDC00 + c % 0x400)};
}

// Whether `text` is a sequence of characters, and their UTF-16.
inline bool plain_decode(std::string_view text, std::u16string& wide) {
    static const auto* const kCharacters = [] {
        auto* characters = new std::map<std::string, std::u16string, std::less<>>;
        for (char32_t c = 0; c <= kLastCodePoint; ++c) {
            if (!is_scalar_value(c)) continue;
            characters->emplace_hint(characters->end(), plain_utf8(c), plain_utf16(c));
        }
        return characters;
    }();
    while (!text.empty()) {
        std::size_t bytes = 1;
        auto found = kCharacters->end();
        for (; bytes <= 4 && bytes <= text.size(); ++bytes) {
            found = kCharacters->find(text.substr(0, bytes));
            if (found != kCharacters->end()) break;
        }
        if (found == kCharacters->end()) return false;
        wide += found->second;
        text.remove_prefix(bytes);
    }
    return true;
}

inline bool plain_encode(std::u16string_view text, std::string& utf8) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (unit < 0xD800 || unit > 0xDFFF) {
            utf8 += plain_utf8(unit);
            continue;
        }
        if (unit > 0xDBFF || i + 1 == text.size()) return false;
        const char32_t low = text[++i];
        if (low < 0xDC00 || low > 0xDFFF) return false;
        utf8 += plain_utf8(0x10000 + (unit - 0xD800) * 0x400 + (low - 0xDC00));
    }
    return true;
}

inline char plain_fold(char c) {
    constexpr std::string_view kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
    const std::size_t at = kUpper.find(c);
    return at == kUpper.npos ? c : kLower[at];
}

}  // namespace system_search
