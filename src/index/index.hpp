// The index of everything found under an engine's scope.
//
// One thread, the engine's build thread, publishes shards and sets `complete`; any number of
// threads read. An Index is never edited after its run: every build makes a new one and the engine
// swaps its reference. Its mutex and the engine's are never held together.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "index/shard.hpp"
#include "platform/platform.hpp"

namespace system_search {

using ShardList = std::vector<std::shared_ptr<const Shard>>;

struct Index {
    mutable platform::Mutex mutex;
    ShardList shards SS_GUARDED_BY(mutex);               // only grows, and only at its end
    std::uint32_t entry_count SS_GUARDED_BY(mutex) = 0;  // the sum of the shards' sizes
    // True only when the index covers its whole scope. Goes from false to true at most once, after
    // the last shard was published.
    std::atomic<bool> complete{false};
};

// What a query takes from an Index: the shards published so far.
struct Snapshot {
    ShardList shards;
    std::uint32_t entry_count = 0;
    bool complete = false;
};

// Turns the batch into a shard, makes it visible, and empties the batch. An empty batch publishes
// nothing. When it throws (std::bad_alloc) the index and the batch are unchanged. Build thread
// only.
void publish_shard(Index& index, Batch& batch);

Snapshot take_snapshot(const Index& index);

}  // namespace system_search
