// The search routine: what a name query and a folder listing both run, on the query's own thread.
#pragma once

#include "query/query.hpp"

namespace system_search {

// Searches `query.shards` and fills `matched`, `results` and `metadata`; then sets `state`, once,
// as its last act on the query: done, cancelled, or failed when anything was thrown. After this
// call the query belongs to its handle's owner again.
void search(Query& query, const SearchArguments& arguments) noexcept;

}  // namespace system_search
