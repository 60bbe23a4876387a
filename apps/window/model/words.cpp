#include "model/words.hpp"

#include <algorithm>

namespace window {

std::size_t word_before(std::wstring_view text, std::size_t caret) {
    constexpr std::wstring_view kSeparators = L" \t\\/.,;-_*?\"()";
    const auto is_separator = [&](std::size_t position) {
        return kSeparators.find(text[position]) != std::wstring_view::npos;
    };
    std::size_t start = std::min(caret, text.size());
    while (start > 0 && is_separator(start - 1)) --start;
    while (start > 0 && !is_separator(start - 1)) --start;
    return start;
}

}  // namespace window
