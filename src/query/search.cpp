#include "query/search.hpp"

#include <string>

#include "common/guard.hpp"
#include "query/candidates.hpp"
#include "query/metadata.hpp"
#include "query/pattern.hpp"
#include "query/wildcard.hpp"

namespace system_search {
namespace {

// The text of an entry that the pattern is held against; `buffer` may come to hold it.
std::string_view subject_of(const Pattern& pattern, const Entry& entry, std::string& buffer) {
    if (!pattern.match_path) return pattern.match_case ? entry.name() : entry.folded_name();
    return pattern.match_case ? entry.path.view() : entry.folded_path_in(buffer);
}

bool matches(const Pattern& pattern, std::string_view subject, const std::atomic<bool>& cancel) {
    if (pattern.wildcard) return wildcard_match(pattern.text, subject, cancel);
    return subject.find(pattern.text) != std::string_view::npos;
}

// Returns the run's final state.
std::uint32_t run(Query& query, std::string_view text, std::uint32_t flags, std::uint32_t kind,
                  std::uint32_t limit) {
    const Pattern pattern(text, flags);
    Candidates candidates(limit);
    std::string buffer;
    for (const std::shared_ptr<const Shard>& shard : query.shards) {
        for (const Entry& entry : shard->entries()) {
            if (query.cancel) return SS_QUERY_CANCELLED;
            if (kind != SS_KIND_ANY && kind != entry.kind) continue;
            const std::string_view subject = subject_of(pattern, entry, buffer);
            if (!matches(pattern, subject, query.cancel)) continue;
            ++query.matched;
            candidates.offer(entry);
        }
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
