// A machine for each test and ways to run a query on it: through the exported functions, or the
// search routine alone over paths that no disk holds.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "query/query.hpp"
#include "query/search.hpp"
#include "rules/engine/engine_test_support.hpp"

inline bool operator==(const QueryStatus& a, const QueryStatus& b) {
    return a.state == b.state && a.matched == b.matched && a.count == b.count &&
           a.index_entries == b.index_entries && a.index_incomplete == b.index_incomplete;
}

inline void PrintTo(const QueryStatus& status, std::ostream* out) {
    *out << "{state " << status.state << ", matched " << status.matched << ", count "
         << status.count << ", index_entries " << status.index_entries << ", index_incomplete "
         << status.index_incomplete << "}";
}

inline bool operator==(const ResultMetadata& a, const ResultMetadata& b) {
    return a.size == b.size && a.modified == b.modified && a.flags == b.flags &&
           a.reserved == b.reserved;
}

inline void PrintTo(const ResultMetadata& metadata, std::ostream* out) {
    *out << "{size " << metadata.size << ", modified " << metadata.modified << ", flags "
         << metadata.flags << ", reserved " << metadata.reserved << "}";
}

namespace system_search {

constexpr QueryStatus kNotDone(std::uint32_t state) {
    return {state, 0, 0, 0, 0};
}

// Owns a query handle, which may be null.
class RunningQuery {
public:
    explicit RunningQuery(SystemSearchQuery* handle) : handle_(handle) {}
    ~RunningQuery() { ss_query_destroy(handle_); }
    RunningQuery(const RunningQuery&) = delete;
    RunningQuery& operator=(const RunningQuery&) = delete;

    SystemSearchQuery* handle() const { return handle_; }

    QueryStatus poll() const {
        QueryStatus now{9, 9, 9, 9, 9};
        ss_query_poll(handle_, &now);
        return now;
    }
    // Waits for the end: the first status that tells of it has to be right.
    QueryStatus finish() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        for (;;) {
            const QueryStatus now = poll();
            if (now.state != SS_QUERY_RUNNING) return now;
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "the query does not end";
                return now;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    }
    std::vector<std::string> paths() const {
        std::vector<std::string> all;
        for (std::uint32_t i = 0; const char* path = ss_query_path(handle_, i); ++i) {
            all.emplace_back(path);
        }
        return all;
    }
    ResultMetadata metadata(std::uint32_t index) const {
        ResultMetadata out{9, 9, 9, 9};
        EXPECT_EQ(ss_query_metadata(handle_, index, &out), 1);
        return out;
    }

private:
    SystemSearchQuery* handle_;
};

using Paths = std::vector<std::string>;

// A query over these files; a path that ends in "/" is a folder without it.
inline void fill(Query& query, const Paths& paths) {
    Batch batch;
    for (std::string_view path : paths) {
        const bool folder = path.size() > 1 && path.ends_with('/');
        if (folder) path.remove_suffix(1);
        batch.add(path, folder ? kKindFolder : kKindFile);
        if (batch.size() < kShardEntries) continue;
        query.shards.push_back(std::make_shared<const Shard>(batch));
        batch.clear();
    }
    if (!batch.empty()) query.shards.push_back(std::make_shared<const Shard>(batch));
}

// The stored paths of the results, in order.
inline Paths paths_of(const Query& query) {
    Paths paths;
    for (const Entry& entry : query.results) paths.push_back(entry.path);
    return paths;
}

inline Paths found(const Paths& paths, std::string_view text, std::uint32_t flags = 0,
                   std::uint32_t kind = 0, std::uint32_t limit = 1000) {
    Query query;
    fill(query, paths);
    search(query, {std::string(text), flags, kind, limit});
    EXPECT_EQ(query.state, SS_QUERY_DONE);
    return paths_of(query);
}

}  // namespace system_search
