/* Words of the text in the box, as Ctrl with Backspace sees them. */
#pragma once

#include <cstddef>
#include <string_view>

namespace window {

/* Where the word before `caret` begins: what Ctrl+Backspace deletes up to. Blanks and separators
   right before the caret go with it. */
std::size_t word_before(std::wstring_view text, std::size_t caret);

}  // namespace window
