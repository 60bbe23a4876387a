#include "query/pattern.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "index/entry.hpp"
#include "query/code_points.hpp"
#include "system_search.h"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// "*?" asks for what "?*" does, and "**" for what "*" does. With the marks in front and one star
// behind them every segment behind a star begins with a byte, which can be looked for: "a*?*b" is
// "a?*b".
std::string with_marks_before_stars(std::string_view text) {
    std::string out;
    bool has_star = false;  // not written yet
    for (const char byte : text) {
        if (byte == '*') {
            has_star = true;
            continue;
        }
        if (byte != kMark && has_star) {
            out += '*';
            has_star = false;
        }
        out += byte;
    }
    if (has_star) out += '*';
    return out;
}

bool begins_inside_code_point(std::string_view text) {
    return !text.empty() && is_continuation(text.front());
}

}  // namespace

Pattern::Pattern(std::string_view query_text, std::uint32_t flags)
    : match_path_((flags & SS_MATCH_PATH) != 0), match_case_((flags & SS_MATCH_CASE) != 0) {
    const auto stars =
        static_cast<std::size_t>(std::count(query_text.begin(), query_text.end(), '*'));
    can_match_ = query_text.size() - stars <= kMaxPathBytes;
    if (!can_match_) return;
    const bool has_wildcards = query_text.find_first_of("*?") != kNone;
    text_ = has_wildcards ? with_marks_before_stars(query_text) : std::string(query_text);
    if (!match_case_) fold_into(text_, text_.data());
    if (has_wildcards) {
        read_wildcards();
    } else if (!text_.empty()) {
        inner_.emplace_back(text_);
        terms_.inner = inner_;
    }
}

void Pattern::read_wildcards() {
    const std::string_view whole = text_;
    counts_code_points_ = whole.find(kMark) != kNone;
    std::size_t star = whole.find('*');
    terms_.prefix = whole.substr(0, star);
    terms_.has_star = star != kNone;
    while (star != kNone) {
        const std::size_t next = whole.find('*', star + 1);
        const std::string_view segment = whole.substr(star + 1, next - star - 1);
        counts_code_points_ = counts_code_points_ || begins_inside_code_point(segment);
        if (next == kNone) {
            terms_.suffix = segment;
        } else {
            inner_.emplace_back(segment);
        }
        star = next;
    }
    terms_.inner = inner_;
}

}  // namespace system_search
