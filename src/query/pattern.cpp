#include "query/pattern.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "query/wildcard.hpp"
#include "system_search.h"

namespace system_search {
namespace {

constexpr std::string_view kWildcards = "*?";

// Simplifies the text where that changes no answer.
Mode simplify(std::string& text) {
    if (text.empty()) return Mode::kEverything;
    if (text.find_first_of(kWildcards) == std::string::npos) return Mode::kSubstring;

    // A second "*" begins where the first one did.
    const auto both_stars = [](char a, char b) { return a == '*' && b == '*'; };
    text.erase(std::unique(text.begin(), text.end(), both_stars), text.end());
    if (text == "*") return Mode::kEverything;

    // "*" reaches code points only: a word that begins inside one is not found everywhere.
    if (text.size() > 2 && text.front() == '*' && text.back() == '*' && !is_continuation(text[1]) &&
        text.find_first_of(kWildcards, 1) == text.size() - 1) {
        text = text.substr(1, text.size() - 2);
        return Mode::kSubstring;
    }
    return Mode::kWildcard;
}

}  // namespace

Pattern::Pattern(std::string_view query_text, std::uint32_t flags)
    : text(query_text),
      match_path((flags & SS_MATCH_PATH) != 0),
      match_case((flags & SS_MATCH_CASE) != 0),
      mode(simplify(text)) {
    folded_text = text;
    fold_into(folded_text, folded_text.data());
    if (!match_case) text = folded_text;
}

}  // namespace system_search
