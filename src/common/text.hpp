// Text: strict conversion between UTF-8 and the platform's UTF-16, and the folding of ASCII
// letters.
//
// Conversion is strict in both directions: nothing is ever replaced. UTF-8 is refused when it is
// truncated, overlong, encodes a surrogate or lies above U+10FFFF; UTF-16 when a surrogate stands
// alone. NUL is a character like any other. This is the system's own strict UTF-8 code page, done
// here because the walk converts every name on the disk: names are short and mostly ASCII, and a
// call into the system costs more than the conversion.
//
// All functions are pure and may run on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace system_search {

// A text that cannot be converted. The message is English and fit to be shown.
class TextError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Both throw TextError, or std::bad_alloc.
std::u16string wide_from_utf8(std::string_view text);
std::string utf8_from_wide(std::u16string_view text);

// The forms for hot paths append to `out`. On false the text is ill-formed and `out` is as it was;
// so it is when std::bad_alloc is thrown. `text` must not lie inside `out`.
[[nodiscard]] bool append_utf8(std::u16string_view text, std::string& out);
[[nodiscard]] bool append_wide(std::string_view text, std::u16string& out);

[[nodiscard]] bool is_valid_utf8(std::string_view text) noexcept;

// What encode_utf8 returns for ill-formed text.
inline constexpr std::size_t kInvalidText = SIZE_MAX;

// Writes the UTF-8 of `text` and returns its length in bytes. `out` needs room for 3 bytes a unit,
// however short the result: whole vectors are stored, and what lies past the result is garbage.
[[nodiscard]] std::size_t encode_utf8(std::u16string_view text, char* out) noexcept;

// Turns every '\' into '/'. Safe on UTF-8, where a byte below 0x80 is always a whole character.
void replace_backslashes(char* text, std::size_t bytes) noexcept;

// Folding lowers A to Z and nothing else, so it never changes a text's length.
inline char fold(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
}

// Writes text.size() bytes. `out` may be text.data(), but must not overlap it otherwise.
void fold_into(std::string_view text, char* out) noexcept;

// Whether folding would change the text.
[[nodiscard]] bool has_upper_ascii(std::string_view text) noexcept;

}  // namespace system_search
