// The exported functions of a query. Each is a few lines over what the stages below do:
//
//   search            the query thread's routine: scan, results, metadata    search.cpp
//   pattern           what the query text means: prefix, segments, suffix    pattern.cpp
//   scan              shard after shard: match, count, offer                 scan.cpp
//   name matcher      the names of a shard                                   name_matcher.cpp
//   path matcher      its paths: each folder once, then the names            path_matcher.cpp
//   signature filter  which names may match at all                           signature_filter.cpp
//   certain matches   which do without a look at them                        certain_matches.cpp
//   text matcher      the looks: one text                                    text_matcher.cpp
//   segment, code points    one segment of the pattern in a text             segment.hpp, ...
//   top-k             the best matches so far                                top_k.cpp
//   metadata          size and time of a result                              metadata.cpp
//   query             the fields all of them share, and who writes them      query.hpp
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "common/guard.hpp"
#include "common/owned_job.hpp"
#include "engine/engine.hpp"
#include "query/poll.hpp"
#include "query/query.hpp"
#include "query/search.hpp"
#include "system_search.h"

namespace {

using system_search::Engine;
using system_search::Index;
using system_search::Query;
using system_search::SearchArguments;
using system_search::Snapshot;

static_assert(sizeof(QueryStatus) == 20 && offsetof(QueryStatus, state) == 0 &&
              offsetof(QueryStatus, matched) == 4 && offsetof(QueryStatus, count) == 8 &&
              offsetof(QueryStatus, index_entries) == 12 &&
              offsetof(QueryStatus, index_incomplete) == 16);

// The handles' types exist only in the public header.
const Engine& engine_of(const SystemSearchEngine* handle) {
    return *reinterpret_cast<const Engine*>(handle);
}

const Query* query_of(const SystemSearchQuery* handle) {
    return reinterpret_cast<const Query*>(handle);
}

// What a query thread works on; it owns the record.
struct SearchJob {
    Query& query;  // outlives the thread: ss_query_destroy joins it
    SearchArguments arguments;
};

void run_search(const SearchJob& job) noexcept {
    system_search::search(job.query, job.arguments);
}

std::unique_ptr<Query> start_query(const Engine& engine, SearchArguments arguments) {
    auto query = std::unique_ptr<Query>(new (std::nothrow) Query);
    if (query == nullptr) return nullptr;

    // The engine's lock is released before the index's is taken.
    const std::shared_ptr<Index> index = system_search::current_index(engine);
    Snapshot snapshot = system_search::take_snapshot(*index);
    query->shards = std::move(snapshot.shards);
    query->index_entries = snapshot.entry_count;
    query->index_incomplete = snapshot.complete ? 0 : 1;

    auto job =
        std::unique_ptr<SearchJob>(new (std::nothrow) SearchJob{*query, std::move(arguments)});
    if (job == nullptr) return nullptr;
    const auto error = system_search::start_owned<run_search>(query->thread, std::move(job));
    return error == system_search::platform::kSuccess ? std::move(query) : nullptr;
}

// Null unless the query is done and holds a result at this position.
const Query* with_result(const SystemSearchQuery* handle, std::uint32_t index) {
    const Query* const query = query_of(handle);
    if (query == nullptr || query->state != SS_QUERY_DONE) return nullptr;
    return index < query->results.size() ? query : nullptr;
}

}  // namespace

bool system_search::are_search_arguments(const char* text, std::uint32_t flags, std::uint32_t kind,
                                         std::int64_t limit) noexcept {
    return text != nullptr && flags <= (SS_MATCH_PATH | SS_MATCH_CASE) && kind <= SS_KIND_FOLDER &&
           limit >= 1 && limit <= SS_MAX_RESULTS;
}

SystemSearchQuery* ss_query(const SystemSearchEngine* engine, const char* text, uint32_t flags,
                            uint32_t kind, int32_t limit) {
    if (engine == nullptr || !system_search::are_search_arguments(text, flags, kind, limit)) {
        return nullptr;
    }
    return system_search::guarded<SystemSearchQuery*>(nullptr, [&] {
        auto query =
            start_query(engine_of(engine), {text, flags, kind, static_cast<std::uint32_t>(limit)});
        return reinterpret_cast<SystemSearchQuery*>(query.release());
    });
}

void ss_query_poll(const SystemSearchQuery* handle, QueryStatus* out) {
    const Query* const query = query_of(handle);
    if (query != nullptr && out != nullptr) *out = system_search::read_query_status(*query);
}

const char* ss_query_path(const SystemSearchQuery* handle, uint32_t index) {
    const Query* const query = with_result(handle, index);
    return query == nullptr ? nullptr : query->results[index].path.c_str();
}

uint32_t ss_query_kind(const SystemSearchQuery* handle, uint32_t index) {
    const Query* const query = with_result(handle, index);
    return query == nullptr ? 0 : query->results[index].kind;
}

int32_t ss_query_metadata(const SystemSearchQuery* handle, uint32_t index, ResultMetadata* out) {
    if (out == nullptr) return 0;
    *out = {};
    const Query* const query = with_result(handle, index);
    if (query == nullptr) return 0;
    *out = query->metadata[index];
    return 1;
}

void ss_query_destroy(SystemSearchQuery* handle) {
    if (handle == nullptr) return;
    const std::unique_ptr<Query> query(reinterpret_cast<Query*>(handle));
    query->cancel.exchange(true);
    if (query->thread.joinable()) query->thread.join();
}
