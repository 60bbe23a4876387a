#include "query/wildcard.hpp"

#include <algorithm>
#include <cstring>

namespace system_search {
namespace {

// Continuation bytes belong to whatever stands before them, so that text which is not UTF-8 has
// code points as well.
std::size_t next_code_point(std::string_view text, std::size_t position) {
    ++position;
    while (position < text.size() && is_continuation(text[position])) ++position;
    return position;
}

std::vector<Literal> literals_of(const Pattern& pattern) {
    std::vector<Literal> literals;
    for (const Pattern::Piece& piece : pattern.pieces) {
        if (!piece.text.empty()) literals.emplace_back(piece.text);
    }
    return literals;
}

}  // namespace

Wildcard::Wildcard(const Pattern& pattern, const std::atomic<bool>& cancel)
    : pattern_(pattern.text),
      literals_(literals_of(pattern)),
      ordered_literals_(literals_),
      suffix_(pattern.pieces.back().text),
      cancel_(cancel) {
    unsigned char head[sizeof head_] = {};
    unsigned char literal[sizeof head_] = {};
    unsigned char high[sizeof head_] = {};
    head_bytes_ = std::min(pattern.head.size(), sizeof head);
    for (std::size_t i = 0; i < head_bytes_; ++i) {
        high[i] = 0x80;
        if (pattern.head[i] == '?') continue;
        head[i] = static_cast<unsigned char>(pattern.head[i]);
        literal[i] = 0xFF;
    }
    std::memcpy(&head_, head, sizeof head_);
    std::memcpy(&head_literal_, literal, sizeof head_);
    std::memcpy(&head_high_, high, sizeof head_);
    head_decides_ = pattern_.size() == head_bytes_ + 1 && pattern_.back() == '*';
}

bool Wildcard::matches(std::string_view subject) const {
    // Each byte of the head takes a byte of the subject at least, and exactly one as long as the
    // subject is ASCII, which nearly every name is. So most names are told by one comparison.
    if (subject.size() < head_bytes_) return false;
    std::uint64_t begin;
    std::memcpy(&begin, subject.data(), sizeof begin);
    if ((begin & head_high_) == 0) {
        if (((begin ^ head_) & head_literal_) != 0) return false;
        // Behind the head a byte that continues it may stand only where "*" takes it.
        if (head_decides_) return true;
    }
    // That a name does not hold the literals in their order is found much sooner than by the rule.
    return subject.ends_with(suffix_) && ordered_literals_.lie_in(subject) && finish(subject, {});
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
