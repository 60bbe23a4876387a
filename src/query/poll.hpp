// The record of ss_query_poll, read from a query whose thread may be at work.
#pragma once

#include <cstdint>

#include "system_search.h"

namespace system_search {

// The state is read once, and nothing else unless it says that the query is done: its thread writes
// everything else first. `Fields` is a Query, or what a test puts in its place to stand between two
// of the reads.
template <typename Fields>
QueryStatus read_query_status(const Fields& query) {
    QueryStatus status{};
    status.state = query.state;
    if (status.state != SS_QUERY_DONE) return status;
    status.matched = query.matched;
    status.count = static_cast<std::uint32_t>(query.results.size());
    status.index_entries = query.index_entries;
    status.index_incomplete = query.index_incomplete;
    return status;
}

}  // namespace system_search
