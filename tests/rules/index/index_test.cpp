#include "index/index.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "simulated/faults.hpp"
#include "simulated/lock_hook.hpp"

namespace system_search {
namespace {

Batch numbered(std::size_t count, std::string_view folder = "C:/") {
    Batch batch;
    for (std::size_t i = 0; i < count; ++i) batch.add(folder, std::to_string(i), kKindFile);
    return batch;
}

TEST(Index, is_empty_and_incomplete_when_new) {
    Index index;
    const Snapshot snapshot = take_snapshot(index);
    EXPECT_TRUE(snapshot.shards.empty());
    EXPECT_EQ(snapshot.entry_count, 0u);
    EXPECT_FALSE(snapshot.complete);
    EXPECT_EQ(take_snapshot(index).entry_count, 0u);
}

TEST(Index, empty_batch_publishes_nothing) {
    Index index;
    Batch batch;
    publish_shard(index, batch);
    EXPECT_TRUE(take_snapshot(index).shards.empty());

    batch = numbered(3);
    publish_shard(index, batch);
    publish_shard(index, batch);  // emptied by the call before
    EXPECT_EQ(take_snapshot(index).shards.size(), 1u);
    EXPECT_EQ(take_snapshot(index).entry_count, 3u);
}

TEST(Index, publishing_appends_a_shard_and_empties_the_batch) {
    Index index;
    Batch batch = numbered(1024);
    publish_shard(index, batch);
    EXPECT_TRUE(batch.empty());
    batch = numbered(1, "D:/");
    publish_shard(index, batch);

    const Snapshot snapshot = take_snapshot(index);
    ASSERT_EQ(snapshot.shards.size(), 2u);
    EXPECT_EQ(snapshot.shards[0]->size(), 1024u);
    EXPECT_EQ(snapshot.shards[1]->size(), 1u);
    EXPECT_EQ(snapshot.shards[1]->entry(0).path, "D:/0");
    EXPECT_EQ(snapshot.entry_count, 1025u);
}

TEST(Index, snapshot_tells_whether_the_index_is_complete) {
    Index index;
    EXPECT_FALSE(take_snapshot(index).complete);
    index.complete = true;
    EXPECT_TRUE(take_snapshot(index).complete);
}

TEST(Index, snapshot_outlives_its_index_and_does_not_grow_with_it) {
    auto index = std::make_unique<Index>();
    Batch batch = numbered(2);
    publish_shard(*index, batch);
    const Snapshot snapshot = take_snapshot(*index);
    batch = numbered(5);
    publish_shard(*index, batch);
    index.reset();

    EXPECT_EQ(snapshot.entry_count, 2u);
    ASSERT_EQ(snapshot.shards.size(), 1u);
    EXPECT_EQ(snapshot.shards[0]->entry(1).path, "C:/1");
}

// A reader may come at any moment: it has to wait while the list of shards and their count change.
TEST(Index, shards_and_their_count_change_in_one_step_under_the_lock) {
    using simulated::LockStep;
    for (const bool has_published : {false, true}) {
        Index index;
        Batch batch = numbered(7);
        bool has_looked = false;
        const LockStep step = has_published ? LockStep::kAfterUnlock : LockStep::kBeforeLock;
        simulated::on_lock_of_this_thread(1, step, [&] {
            has_looked = true;
            const Snapshot snapshot = take_snapshot(index);
            EXPECT_EQ(snapshot.shards.size(), has_published ? 1u : 0u);
            EXPECT_EQ(snapshot.entry_count, has_published ? 7u : 0u);
            EXPECT_FALSE(batch.empty());
        });
        publish_shard(index, batch);
        EXPECT_TRUE(has_looked) << "there is no lock";
    }
}

TEST(Index, whoever_reads_shards_or_their_count_takes_the_lock) {
    Index index;
    int locks = 0;
    const auto count = [&] { ++locks; };
    simulated::on_lock_of_this_thread(1, simulated::LockStep::kBeforeLock, count);
    take_snapshot(index);
    simulated::on_lock_of_this_thread(1, simulated::LockStep::kBeforeLock, count);
    (void)take_snapshot(index);
    EXPECT_EQ(locks, 2);
    simulated::on_lock_of_this_thread(1, simulated::LockStep::kBeforeLock, {});
}

TEST(Index, publishing_that_runs_out_of_memory_changes_nothing) {
    std::uint64_t nth = 1;
    for (bool failed = true; failed; ++nth) {
        Index index;
        Batch batch = numbered(100);
        bool thrown = false;
        {
            const simulated::AllocationFault fault(nth);
            try {
                publish_shard(index, batch);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        failed = simulated::AllocationFault::hit();
        ASSERT_EQ(thrown, failed) << nth;
        ASSERT_EQ(take_snapshot(index).entry_count, failed ? 0u : 100u);
        ASSERT_EQ(take_snapshot(index).shards.size(), failed ? 0u : 1u);
        ASSERT_EQ(batch.size(), failed ? 100u : 0u);
    }
    EXPECT_GT(nth, 3u) << "no allocation was made to fail";
}

// Whatever a reader sees, the count is the sum of the shards it sees, and both only grow.
TEST(Index, readers_see_whole_shards_while_one_thread_publishes) {
    Index index;
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            std::uint32_t seen = 0;
            while (!done) {
                const Snapshot snapshot = take_snapshot(index);
                std::uint32_t sum = 0;
                for (const auto& shard : snapshot.shards) {
                    sum += shard->size();
                    wrong += shard->entry(shard->size() - 1).path.empty();
                }
                wrong += sum != snapshot.entry_count || sum < seen;
                seen = sum;
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        Batch batch = numbered(50);
        publish_shard(index, batch);
    }
    index.complete = true;
    done = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(take_snapshot(index).entry_count, 10000u);
}

}  // namespace
}  // namespace system_search
