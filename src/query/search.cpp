#include "query/search.hpp"

#include <string>

#include "common/guard.hpp"
#include "query/candidates.hpp"
#include "query/metadata.hpp"
#include "query/pattern.hpp"
#include "query/scan.hpp"

namespace system_search {
namespace {

// Returns the run's final state.
std::uint32_t run(Query& query, std::string_view text, std::uint32_t flags, std::uint32_t kind,
                  std::uint32_t limit) {
    const Pattern pattern(text, flags);
    Candidates candidates(limit);
    if (!scan(query.shards, pattern, kind, query.cancel, candidates, query.matched)) {
        return SS_QUERY_CANCELLED;
    }
    query.results = candidates.take_sorted();

    query.metadata.reserve(query.results.size());
    std::u16string wide_path;
    for (const Entry* const result : query.results) {
        if (query.cancel) return SS_QUERY_CANCELLED;
        query.metadata.push_back(read_metadata(*result, wide_path));
    }
    return SS_QUERY_DONE;
}

}  // namespace

void search(Query& query, std::string_view text, std::uint32_t flags, std::uint32_t kind,
            std::uint32_t limit) noexcept {
    const std::uint32_t state = guarded<std::uint32_t>(
        SS_QUERY_FAILED, [&] { return run(query, text, flags, kind, limit); });
    query.state.exchange(state);
}

}  // namespace system_search
