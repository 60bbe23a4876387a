#include "query/search.hpp"

#include <string>

#include "common/guard.hpp"
#include "query/metadata.hpp"
#include "query/pattern.hpp"
#include "query/scan.hpp"
#include "query/top_k.hpp"

namespace system_search {
namespace {

// Returns the run's final state.
std::uint32_t run(Query& query, const SearchArguments& arguments) {
    const Pattern pattern(arguments.text, arguments.flags);
    TopK top_k(arguments.limit);
    if (!scan(query.shards, pattern, arguments.kind, query.cancel, top_k, query.matched)) {
        return SS_QUERY_CANCELLED;
    }
    const std::vector<EntryRef> best = top_k.take_sorted();
    query.results.reserve(best.size());
    query.metadata.reserve(best.size());
    std::u16string wide_path;
    for (const EntryRef result : best) {
        if (query.cancel) return SS_QUERY_CANCELLED;
        query.results.push_back(result.shard->entry(result.number));
        query.metadata.push_back(read_metadata(query.results.back().path, wide_path));
    }
    return SS_QUERY_DONE;
}

}  // namespace

void search(Query& query, const SearchArguments& arguments) noexcept {
    const std::uint32_t state =
        guarded<std::uint32_t>(SS_QUERY_FAILED, [&] { return run(query, arguments); });
    query.state.exchange(state);
}

}  // namespace system_search
