// The reference implementation of the conversions, which knows nothing of vectors. It builds UTF-8
// from code points by the definition, and accepts a byte sequence only when it is exactly what
// building from some code point gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace system_search {

inline constexpr char32_t kLastCodePoint = 0x10FFFF;

inline bool is_scalar_value(char32_t c) {
    return c <= kLastCodePoint && !(c >= 0xD800 && c <= 0xDFFF);
}

inline std::string reference_utf8(char32_t c) {
    const auto byte = [](char32_t value) { return static_cast<char>(value); };
    const auto trail = [&](int shift) { return byte(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) return {byte(c)};
    if (c < 0x800) return {byte(0xC0 | c >> 6), trail(0)};
    if (c < 0x10000) return {byte(0xE0 | c >> 12), trail(6), trail(0)};
    return {byte(0xF0 | c >> 18), trail(12), trail(6), trail(0)};
}

inline std::u16string reference_utf16(char32_t c) {
    if (c < 0x10000) return {static_cast<char16_t>(c)};
    c -= 0x10000;
    return {static_cast<char16_t>(0xD800 + c / 0x400), static_cast<char16_t>(0xDC00 + c % 0x400)};
}

// Whether `text` is a sequence of characters, and their UTF-16.
inline bool reference_decode(std::string_view text, std::u16string& wide) {
    constexpr std::uint64_t kNothing = 1;
    const auto behind = [](std::uint64_t bytes, char c) {
        return bytes << 8 | static_cast<unsigned char>(c);
    };
    // Every character by its bytes.
    static const auto* const kCharacters = [&] {
        auto* characters = new std::unordered_map<std::uint64_t, char32_t>;
        for (char32_t c = 0; c <= kLastCodePoint; ++c) {
            if (!is_scalar_value(c)) continue;
            std::uint64_t bytes = kNothing;
            for (const char byte : reference_utf8(c)) bytes = behind(bytes, byte);
            (*characters)[bytes] = c;
        }
        return characters;
    }();
    std::uint64_t bytes = kNothing;
    std::size_t length = 0;
    for (const char byte : text) {
        bytes = behind(bytes, byte);
        const auto found = kCharacters->find(bytes);
        if (found != kCharacters->end()) {
            wide += reference_utf16(found->second);
            bytes = kNothing;
            length = 0;
        } else if (++length == 4) {
            return false;
        }
    }
    return bytes == kNothing;
}

inline bool reference_encode(std::u16string_view text, std::string& utf8) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (unit < 0xD800 || unit > 0xDFFF) {
            utf8 += reference_utf8(unit);
            continue;
        }
        if (unit > 0xDBFF || i + 1 == text.size()) return false;
        const char32_t low = text[++i];
        if (low < 0xDC00 || low > 0xDFFF) return false;
        utf8 += reference_utf8(0x10000 + (unit - 0xD800) * 0x400 + (low - 0xDC00));
    }
    return true;
}

inline char reference_fold(char c) {
    constexpr std::string_view kUpper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::string_view kLower = "abcdefghijklmnopqrstuvwxyz";
    const std::size_t at = kUpper.find(c);
    return at == kUpper.npos ? c : kLower[at];
}

}  // namespace system_search
