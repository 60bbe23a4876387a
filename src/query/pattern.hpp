// What a query text means. Nothing else reads its grammar.
//
// A text without "*" and "?" is a literal that lies anywhere in the subject. With one of them it
// stands for the whole subject: "*" for any run of code points, also none, "?" for exactly one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "query/literal.hpp"

namespace system_search {

// A byte that continues a UTF-8 code point.
constexpr bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Never changes once made; the matchers hold references and views into it.
struct Pattern {
    Pattern(std::string_view query_text, std::uint32_t flags);
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool match_path;   // the subject is the whole path, not the name
    bool match_case;   // the subject is the path as stored, not folded
    std::string text;  // folded unless `match_case`; no "**" in a wildcard text

    // Nearly every pattern is a list of literals: the subject begins with the prefix, ends with the
    // suffix, and in between holds the inner ones, in this order and without overlap. The others
    // hold a "?" or very many literals, or one that begins inside a code point, where "*" cannot
    // always end: of those only the wildcard rule itself tells what they match, step by step.
    bool needs_rule = false;
    std::string_view prefix;  // these three are empty for the rule
    std::string_view suffix;
    std::vector<Literal> inner;
    // What is prepared for each inner literal grows with their number squared.
    static constexpr std::size_t kMostLiterals = 32;

    // For the rule: what stands before the first "*", and the literals on both sides of which
    // wildcards or the ends of the text are.
    std::string_view head;
    struct Piece {
        std::string_view text;  // may be empty
        bool begins;            // the subject begins with it
        bool ends;              // the subject ends with it
    };
    std::vector<Piece> pieces;

    bool matches_everything() const {
        return !needs_rule && prefix.empty() && suffix.empty() && inner.empty();
    }

private:
    void read_stars();
    void read_pieces();
};

}  // namespace system_search
