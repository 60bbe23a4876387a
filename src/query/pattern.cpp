#include "query/pattern.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "query/wildcard.hpp"
#include "system_search.h"

namespace system_search {

Pattern::Pattern(std::string_view query_text, std::uint32_t flags)
    : match_path((flags & SS_MATCH_PATH) != 0),
      match_case((flags & SS_MATCH_CASE) != 0),
      needs_rule(query_text.find('?') != std::string_view::npos),
      text(query_text) {
    if (!match_case) fold_into(text, text.data());
    const bool wildcard = needs_rule || text.find('*') != std::string::npos;
    if (!wildcard) {
        if (!text.empty()) parts.push_back(text);
        return;
    }

    // A second "*" begins where the first one did.
    const auto both_stars = [](char a, char b) { return a == '*' && b == '*'; };
    text.erase(std::unique(text.begin(), text.end(), both_stars), text.end());
    if (needs_rule) return;

    const std::string_view whole = text;
    const std::size_t first = whole.find('*');
    const std::size_t last = whole.rfind('*');
    prefix = whole.substr(0, first);
    suffix = whole.substr(last + 1);
    for (std::size_t star = first; star != last;) {
        const std::size_t next = whole.find('*', star + 1);
        parts.push_back(whole.substr(star + 1, next - star - 1));
        star = next;
    }
    // What is prepared for each part grows with their number squared.
    constexpr std::size_t kMostParts = 32;
    const auto begins_inside = [](std::string_view piece) {
        return !piece.empty() && is_continuation(piece.front());
    };
    needs_rule = parts.size() > kMostParts || begins_inside(suffix) ||
                 std::any_of(parts.begin(), parts.end(), begins_inside);
    if (needs_rule) {
        prefix = suffix = {};
        parts.clear();
    }
}

}  // namespace system_search
