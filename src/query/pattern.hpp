// The query text, prepared once per run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace system_search {

struct Pattern {
    Pattern(std::string_view query_text, std::uint32_t flags);

    std::string text;  // the query text, folded unless `match_case`
    bool match_path;   // the whole path is searched, not the name only
    bool match_case;   // the stored path is searched, not its folded copy
    bool wildcard;     // the text holds a "*" or a "?": it must match the whole subject
};

}  // namespace system_search
