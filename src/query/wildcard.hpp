// The wildcard rule, step by step: for the patterns that literals do not tell.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "query/literal.hpp"
#include "query/ordered_literals.hpp"
#include "query/pattern.hpp"

namespace system_search {

class Wildcard {
public:
    // How far a match has come.
    struct State {
        std::size_t p = 0;                          // in the pattern
        std::size_t v = 0;                          // in the subject
        std::size_t star = std::string_view::npos;  // the last "*" met
        std::size_t mark = 0;                       // how far that "*" reaches, so far
    };
    enum class Outcome { kOpen, kAccepted, kRejected };

    // For a pattern that needs the rule, which outlives this. `cancel` ends a long match as
    // rejected.
    Wildcard(const Pattern& pattern, const std::atomic<bool>& cancel);
    Wildcard(const Wildcard&) = delete;
    Wildcard& operator=(const Wildcard&) = delete;

    // Whether the pattern matches all of the subject, behind which kTextPadding bytes must be
    // readable.
    bool matches(std::string_view subject) const;

    // Takes a match on until the position `stop` of the subject is reached; what stands there must
    // not be a continuation byte. The state then is the same for every subject that begins like
    // this one. Accepted and rejected hold for all of those.
    Outcome advance(std::string_view subject, std::size_t stop, State& state) const;
    // The same to the subject's end.
    bool finish(std::string_view subject, State state) const;

private:
    std::string_view pattern_;
    std::vector<Literal> literals_;  // what stands between wildcards
    OrderedLiterals ordered_literals_;
    std::string_view suffix_;  // the bytes behind the last wildcard
    // The first bytes of what stands before the first "*", at most 8 of them.
    std::size_t head_bytes_;
    std::uint64_t head_;
    std::uint64_t head_literal_;  // ones where the head has no "?"
    std::uint64_t head_high_;     // the highest bit of each of its bytes
    bool head_decides_;           // nothing but a "*" follows
    const std::atomic<bool>& cancel_;
};

}  // namespace system_search
