// The search routine: what a name query and a folder listing both run, on the query's own thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "query/query.hpp"

namespace system_search {

// Searches `query.shards` and fills `matched`, `results` and `metadata`; then sets `state`, once,
// as its last act on the query: done, cancelled, or failed when anything was thrown. `limit` is 1
// to SS_MAX_RESULTS. After this call the query belongs to its handle's owner again.
void search(Query& query, std::string_view text, std::uint32_t flags, std::uint32_t kind,
            std::uint32_t limit) noexcept;

}  // namespace system_search
