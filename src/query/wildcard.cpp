#include "query/wildcard.hpp"

namespace system_search {
namespace {

// Continuation bytes belong to whatever stands before them, so that text which is not UTF-8 has
// code points as well.
std::size_t next_code_point(std::string_view text, std::size_t position) {
    ++position;
    while (position < text.size() && is_continuation(text[position])) ++position;
    return position;
}

}  // namespace

Wildcard::Wildcard(std::string_view pattern, const std::atomic<bool>& cancel)
    : pattern_(pattern), cancel_(cancel) {
    const std::size_t first = pattern.find_first_of("*?");
    const std::size_t last = pattern.find_last_of("*?");
    prefix_ = pattern.substr(0, first);
    suffix_ = pattern.substr(last + 1);
    one_star_ = first == last && pattern[first] == '*';
}

bool Wildcard::matches(std::string_view subject) const {
    if (subject.size() < prefix_.size() + suffix_.size()) return false;
    if (!subject.ends_with(suffix_) || !subject.starts_with(prefix_)) return false;
    if (one_star_) {
        // The "*" reaches whole code points only, counted from where it begins.
        const std::size_t suffix_start = subject.size() - suffix_.size();
        return suffix_.empty() || suffix_start == prefix_.size() ||
               !is_continuation(subject[suffix_start]);
    }
    return finish(subject, {});
}

Wildcard::Outcome Wildcard::advance(std::string_view subject, std::size_t stop,
                                    State& state) const {
    State s = state;
    unsigned steps = 0;
    while (s.v < stop) {
        if ((++steps & 0xFFF) == 0 && cancel_) return Outcome::kRejected;
        if (s.p < pattern_.size()) {
            const char wanted = pattern_[s.p];
            if (wanted == '*') {
                s.star = s.p++;
                s.mark = s.v;
                if (s.p == pattern_.size()) return Outcome::kAccepted;
                continue;
            }
            if (wanted == '?') {
                s.v = next_code_point(subject, s.v);
                ++s.p;
                continue;
            }
            if (wanted == subject[s.v]) {
                ++s.v;
                ++s.p;
                continue;
            }
        }
        // Let the last "*" reach one code point further. It does so from where it stood, even if
        // that was inside a code point: a pattern may hold stray continuation bytes.
        if (s.star == std::string_view::npos) return Outcome::kRejected;
        s.mark = next_code_point(subject, s.mark);
        s.p = s.star + 1;
        // And further still, to the next place where the byte behind the "*" occurs.
        const char wanted = pattern_[s.p];
        if (wanted != '?' && !is_continuation(wanted)) {
            while (s.mark < stop && subject[s.mark] != wanted) ++s.mark;
        }
        s.v = s.mark;
    }
    state = s;
    return Outcome::kOpen;
}

bool Wildcard::finish(std::string_view subject, State state) const {
    switch (advance(subject, subject.size(), state)) {
        case Outcome::kAccepted:
            return true;
        case Outcome::kRejected:
            return false;
        case Outcome::kOpen:
            break;
    }
    return pattern_.find_first_not_of('*', state.p) == std::string_view::npos;
}

}  // namespace system_search
