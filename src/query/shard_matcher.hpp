// Finds the entries of a shard that match a pattern and are of a kind.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "query/entry_bits.hpp"
#include "query/name_matcher.hpp"
#include "query/path_matcher.hpp"
#include "query/pattern.hpp"

namespace system_search {

class ShardMatcher {
public:
    // The pattern outlives this. `kind` is SS_KIND_...
    ShardMatcher(const Pattern& pattern, std::uint32_t kind, const std::atomic<bool>& cancel);

    // How many entries match, when that needs no look at them: every one of a kind does.
    std::optional<std::uint32_t> count_all(const Shard& shard) const;

    // Asks the memory for what match() will look at first.
    void prefetch(const Shard& shard) const;

    // Sets `bits` to the entries that match.
    void match(const Shard& shard, EntryBits& bits);

private:
    void start_with_kind(const Shard& shard, EntryBits& bits) const;

    const Pattern& pattern_;
    const std::uint32_t kind_;
    std::optional<NameMatcher> names_;
    std::optional<PathMatcher> paths_;
};

}  // namespace system_search
