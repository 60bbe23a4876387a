// What a query text means. Nothing else reads its grammar.
//
// A text without "*" and "?" is a segment that lies anywhere in the subject. With one of them it
// stands for the whole subject: "*" for any run of code points, also none, "?" for exactly one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "query/segment.hpp"

namespace system_search {

// What a text has to be: it begins with the prefix, ends with the suffix, and in between holds the
// inner segments, in this order and without overlap. Without a star it is the prefix.
struct Terms {
    std::string_view prefix;
    std::span<const Segment> inner;  // none is empty or begins with a mark
    std::string_view suffix;         // begins with no mark
    bool has_star = true;

    bool match_everything() const {
        return has_star && prefix.empty() && inner.empty() && suffix.empty();
    }
};

// Never changes once made; the matchers hold references and views into it.
class Pattern {
public:
    Pattern(std::string_view query_text, std::uint32_t flags);
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool match_path() const { return match_path_; }  // the subject is the whole path, not the name
    bool match_case() const { return match_case_; }  // it is the path as stored, not folded
    const Terms& terms() const { return terms_; }
    // False: no path is as long as what the text asks for. There are no terms then.
    bool can_match() const { return can_match_; }
    // Whether it matters where code points of the subject begin. In ASCII each byte is one.
    bool counts_code_points() const { return counts_code_points_; }

private:
    void read_wildcards();

    bool match_path_;
    bool match_case_;
    bool can_match_;
    bool counts_code_points_ = false;
    std::string text_;  // folded unless case matters
    std::vector<Segment> inner_;
    Terms terms_;  // views into the two
};

}  // namespace system_search
