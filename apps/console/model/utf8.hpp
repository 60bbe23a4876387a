/* Just enough of UTF-8 to lay out columns and to keep what is printed well formed. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace console {

/* The code points of a well-formed text: what a column is measured in. */
std::size_t count_code_points(std::string_view text);

bool is_valid_utf8(std::string_view text);

/* The text with each control character replaced by "?", so that a hostile file name can neither
   move the cursor nor start a new line. */
std::string without_controls(std::string_view text);

/* The longest beginning of at most `limit` code points. */
std::string_view first_code_points(std::string_view text, std::size_t limit);

}  // namespace console
