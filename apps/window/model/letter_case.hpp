/* The two cases of letters beyond A to Z. The library takes only A to Z and a to z for equal; what
 * a person types is meant in either case, whatever the alphabet. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace window {

/* The same letter in the other case; 0 for A to Z, for what has no case, and where a case has more
 * than one letter on the other side, as the Turkish i and the last Greek sigma have. */
char32_t other_case(char32_t letter);
bool is_uppercase(char32_t letter);

/* The code point that begins at `at`, which is moved behind it. Of bytes that are no UTF-8 each one
 * counts as a code point without case. */
char32_t take_code_point(std::string_view text, std::size_t& at);
void append_code_point(std::string& text, char32_t code_point);

/* The text in lowercase. Both cases of a letter take as many bytes, so every place stays the same.
 */
std::string lowercase(std::string_view text);

}  // namespace window
