// The record of ss_status, read from an engine that a build thread may be changing.
#pragma once

#include <cstdint>

#include "system_search.h"

namespace system_search {

// `entries` is the count of the engine's index, whose lock the caller holds: no shard is published
// meanwhile. The state is read first, because a build stores it last: a final state then never
// comes with counters that are not. `Fields` is an Engine, or what a test puts in its place to
// stand between two of the reads.
template <typename Fields>
EngineStatus read_status(const Fields& engine, std::uint32_t entries) {
    EngineStatus status{};
    status.state = engine.state;
    status.entries = entries;
    status.skipped = engine.skipped;
    status.limited = engine.limited;
    status.from_cache = engine.from_cache;
    return status;
}

}  // namespace system_search
