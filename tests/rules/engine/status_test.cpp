// What ss_status tells at the moment at which a build ends.
#include <gtest/gtest.h>

#include <thread>

#include "engine/engine.hpp"
#include "system_search.h"

namespace system_search {
namespace {

std::shared_ptr<Index> index_of_one_file() {
    auto index = std::make_shared<Index>();
    Batch batch;
    batch.add("C:/a", kKindFile);
    publish_shard(*index, batch);
    return index;
}

TEST(Status, final_state_never_comes_with_the_count_of_the_index_before) {
    SystemSearchEngine* const handle = ss_create();
    ASSERT_NE(handle, nullptr);
    auto& engine = *reinterpret_cast<Engine*>(handle);
    engine.state = SS_ENGINE_RUNNING;
    const std::shared_ptr<Index> before = current_index(engine);
    EngineStatus seen{};
    std::thread host;
    {
        const platform::MutexLock lock(before->mutex);
        host = std::thread([&] { ss_status(handle, &seen); });
        // Until the host has its reference, beside the engine's and ours, and waits for the lock.
        while (before.use_count() < 3) std::this_thread::yield();
        replace_index(engine, index_of_one_file());
        engine.state = SS_ENGINE_READY;
    }
    host.join();
    EXPECT_EQ(seen.state, SS_ENGINE_READY);
    EXPECT_EQ(seen.entries, 1u);
    ss_destroy(handle);
}

}  // namespace
}  // namespace system_search
