// The query text, prepared once per run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace system_search {

// Nearly every pattern is a list of parts: the subject begins with the prefix, ends with the
// suffix, and in between holds the parts, in this order and without overlap. A text without
// wildcards is one part; "*" is none, and matches everything.
struct Pattern {
    Pattern(std::string_view query_text, std::uint32_t flags);
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool match_path;  // the subject is the whole path, not the name
    bool match_case;  // the subject is the path as stored, not its folded copy
    // True when the text holds a "?" or very many parts, or when a part would begin inside a code
    // point, where "*" cannot always end: then the wildcard rule itself has to tell what matches,
    // and there are no parts.
    bool needs_rule;
    std::string text;  // the query text, folded unless `match_case`; no "**" in a wildcard text
    std::string_view prefix;  // these are pieces of `text`
    std::string_view suffix;
    std::vector<std::string_view> parts;

    bool matches_everything() const {
        return !needs_rule && prefix.empty() && suffix.empty() && parts.empty();
    }
};

}  // namespace system_search
