// The query text, prepared once per run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace system_search {

enum class Mode {
    kEverything,  // every subject matches
    kSubstring,   // the text occurs somewhere in the subject
    kWildcard,    // the text, with its "*" and "?", matches the whole subject
};

struct Pattern {
    Pattern(std::string_view query_text, std::uint32_t flags);

    // The query text, folded unless `match_case`, in its simplest equal form: no "**"; and "*word*"
    // and "*" are not wildcard patterns but a substring and everything.
    std::string text;
    std::string folded_text;  // what the folded copy of a match has to match
    bool match_path;          // the subject is the whole path, not the name
    bool match_case;          // the subject is the path as stored, not its folded copy
    Mode mode;
};

}  // namespace system_search
