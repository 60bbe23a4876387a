#include "index/index.hpp"

namespace system_search {

void publish_shard(Index& index, Batch& batch) {
    if (batch.empty()) return;
    auto shard = std::make_shared<const Shard>(batch);
    const std::uint32_t count = shard->size();
    {
        platform::MutexLock lock(index.mutex);
        index.shards.push_back(std::move(shard));
        index.entry_count += count;
    }
    batch.clear();
}

Snapshot take_snapshot(const Index& index) {
    platform::MutexLock lock(index.mutex);
    return {index.shards, index.entry_count, index.complete};
}

}  // namespace system_search
