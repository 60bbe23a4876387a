// The scan: every entry of the shards is matched, counted, and offered as a result.
#pragma once

#include <atomic>
#include <cstdint>

#include "index/index.hpp"
#include "query/pattern.hpp"
#include "query/top_k.hpp"

namespace system_search {

// Returns false when `cancel` ended it, within the work of one entry. `kind` is SS_KIND_...
// Throws std::bad_alloc.
bool scan(const ShardList& shards, const Pattern& pattern, std::uint32_t kind,
          const std::atomic<bool>& cancel, TopK& top_k, std::uint32_t& matched);

}  // namespace system_search
