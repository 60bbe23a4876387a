// A folder listing: the children of one folder, read from the disk now and searched like an index.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "query/query.hpp"

namespace system_search {

struct ListingJob {
    Query* query;  // not owned, outlives the thread: ss_query_destroy joins it
    std::string directory;
    std::string text;
    std::uint32_t flags;
    std::uint32_t kind;
    std::uint32_t limit;
};

// The body of the listing thread: reads the folder into the query's only shard, then runs the
// search routine on it. Every outcome is reported through the query.
void run_listing(const ListingJob& job) noexcept;

// Starts run_listing on the query's thread, which owns the job from then on.
platform::Error start_listing(std::unique_ptr<ListingJob> job) noexcept;

}  // namespace system_search
