// Turns the scope text of a build into the folders to walk.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace system_search {

// The one folder that `scope` names, in lexical normal form; or, for the empty text, the root of
// every local drive in the system's order. Throws std::exception with the sentence for the host.
std::vector<std::u16string> resolve_scope(std::string_view scope);

}  // namespace system_search
