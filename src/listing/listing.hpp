// A folder listing: the children of one folder, read from the disk now and searched like an index.
#pragma once

#include <memory>
#include <string>

#include "query/query.hpp"

namespace system_search {

struct ListingJob {
    Query* query;  // not owned, outlives the thread: ss_query_destroy joins it
    std::string directory;
    SearchArguments arguments;
};

// The body of the listing thread: reads the folder into the query's shards, then runs the search
// routine on them. Every outcome is reported through the query.
void run_listing(const ListingJob& job) noexcept;

// Starts run_listing on the query's thread, which owns the job from then on.
platform::Error start_listing(std::unique_ptr<ListingJob> job) noexcept;

}  // namespace system_search
