#include "query/pattern.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "system_search.h"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool begins_inside_code_point(std::string_view text) {
    return !text.empty() && is_continuation(text.front());
}

}  // namespace

Pattern::Pattern(std::string_view query_text, std::uint32_t flags)
    : match_path((flags & SS_MATCH_PATH) != 0),
      match_case((flags & SS_MATCH_CASE) != 0),
      text(query_text) {
    if (!match_case) fold_into(text, text.data());
    if (text.find_first_of("*?") == kNone) {
        if (!text.empty()) inner.emplace_back(text);
        return;
    }
    // A second "*" begins where the first one did.
    const auto both_stars = [](char a, char b) { return a == '*' && b == '*'; };
    text.erase(std::unique(text.begin(), text.end(), both_stars), text.end());

    needs_rule = text.find('?') != kNone ||
                 std::count(text.begin(), text.end(), '*') > std::ptrdiff_t{kMostLiterals} + 1;
    if (!needs_rule) read_stars();
    if (needs_rule) read_pieces();
}

// Finds on the way whether the rule is needed.
void Pattern::read_stars() {
    const std::string_view whole = text;
    std::size_t star = whole.find('*');
    prefix = whole.substr(0, star);
    for (;;) {
        const std::size_t next = whole.find('*', star + 1);
        const std::string_view literal = whole.substr(star + 1, next - star - 1);
        needs_rule = needs_rule || begins_inside_code_point(literal);
        if (next == kNone) {
            suffix = literal;
            return;
        }
        inner.emplace_back(literal);
        star = next;
    }
}

void Pattern::read_pieces() {
    prefix = suffix = {};
    inner.clear();
    const std::string_view whole = text;
    head = whole.substr(0, whole.find('*'));
    for (std::size_t start = 0; start <= whole.size();) {
        const std::size_t end = std::min(whole.find_first_of("*?", start), whole.size());
        pieces.push_back({whole.substr(start, end - start), start == 0, end == whole.size()});
        start = end + 1;
    }
}

}  // namespace system_search
