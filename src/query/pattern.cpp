#include "query/pattern.hpp"

#include "common/text.hpp"
#include "system_search.h"

namespace system_search {

Pattern::Pattern(std::string_view query_text, std::uint32_t flags)
    : text(query_text),
      match_path((flags & SS_MATCH_PATH) != 0),
      match_case((flags & SS_MATCH_CASE) != 0),
      wildcard(query_text.find_first_of("*?") != std::string_view::npos) {
    if (!match_case) fold_into(text, text.data());
}

}  // namespace system_search
