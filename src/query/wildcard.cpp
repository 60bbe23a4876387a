#include "query/wildcard.hpp"

namespace system_search {

std::size_t next_code_point(std::string_view text, std::size_t position) {
    if (position >= text.size()) return text.size();
    ++position;
    while (position < text.size() && is_continuation(text[position])) ++position;
    return position;
}

bool wildcard_match(std::string_view pattern, std::string_view subject,
                    const std::atomic<bool>& cancel) {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t p = 0;
    std::size_t star = kNone;  // the last "*" met
    std::size_t mark = 0;      // how far that "*" reaches, so far
    for (std::size_t v = 0; v < subject.size(); ++p) {
        if (cancel) return false;
        const char wanted = p < pattern.size() ? pattern[p] : '\0';  // no subject holds a NUL
        if (wanted == '*') {
            star = p;
            mark = v;
        } else if (wanted == '?') {
            v = next_code_point(subject, v);
        } else if (wanted == subject[v]) {
            ++v;
        } else {
            // Let the last "*" reach one code point further. It does so from where it stood, even
            // if that was inside a code point: a pattern may hold stray continuation bytes.
            if (star == kNone || mark == subject.size()) return false;
            v = mark = next_code_point(subject, mark);
            p = star;
        }
    }
    return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace system_search
