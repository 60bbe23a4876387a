// The object behind a query handle.
//
// One query thread fills it and any number of host threads read it, with no lock between them:
// `state` is the only hand-over. The query thread writes everything else first and then exchanges
// `state`, once, as its last act here; readers look at the rest only when they have seen
// SS_QUERY_DONE. Freed by ss_query_destroy alone, after the thread was joined.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "index/entry.hpp"
#include "index/index.hpp"
#include "platform/platform.hpp"
#include "system_search.h"

namespace system_search {

// What a query asks for.
struct SearchArguments {
    std::string text;
    std::uint32_t flags;  // SS_MATCH_...
    std::uint32_t kind;   // SS_KIND_...
    std::uint32_t limit;  // 1 to SS_MAX_RESULTS
};

// Whether a query may be made of these, as they come from the host.
bool are_search_arguments(const char* text, std::uint32_t flags, std::uint32_t kind,
                          std::int64_t limit) noexcept;

struct Query {
    // Started by the function that made the query, joined by ss_query_destroy.
    platform::Thread thread;
    std::atomic<bool> cancel{false};      // ss_query_destroy sets it, the query thread polls it
    std::atomic<std::uint32_t> state{0};  // SS_QUERY_...; the query thread
    std::uint32_t matched = 0;            // query thread; not capped by the limit
    // For a name query these three are set before the thread starts; for a folder listing the query
    // thread fills them.
    std::uint32_t index_entries = 0;
    std::uint32_t index_incomplete = 0;
    ShardList shards;
    std::vector<Entry> results;            // query thread; in their final order
    std::vector<ResultMetadata> metadata;  // query thread; at the same positions as `results`
};

}  // namespace system_search
