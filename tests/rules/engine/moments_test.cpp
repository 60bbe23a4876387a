// Moments between two steps of one thread in which another thread may act. They last nanoseconds,
// so a test stands in them by way of a hook, or of fields that change between two reads.
#include <thread>

#include "engine/index_cache.hpp"
#include "engine/status.hpp"
#include "rules/engine/engine_test_support.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/lock_hook.hpp"

namespace system_search {
namespace {

// An engine whose build ends, final counters first and the state last, just before the read that is
// named; reads count from 0.
class EndingBuild {
public:
    explicit EndingBuild(int end) : end_(end) {}

    struct Field {
        const EndingBuild& build;
        std::uint32_t before;
        std::uint32_t behind;
        operator std::uint32_t() const { return build.reads_++ < build.end_ ? before : behind; }
    };
    const Field state{*this, SS_ENGINE_RUNNING, SS_ENGINE_READY};
    const Field skipped{*this, 1, 7};
    const Field limited{*this, 0, 1};
    const Field from_cache{*this, 0, 1};

private:
    mutable int reads_ = 0;
    const int end_;
};

TEST(StatusMoments, final_state_never_comes_with_a_counter_from_before_the_end) {
    int final_states = 0;
    for (int end = 0; end <= 4; ++end) {
        const EngineStatus status = read_status(EndingBuild(end), 5);
        EXPECT_EQ(status.entries, 5u);
        if (status.state == SS_ENGINE_RUNNING) continue;
        ++final_states;
        EXPECT_EQ(status, (EngineStatus{SS_ENGINE_READY, 5, 7, 1, 1})) << "before read " << end;
    }
    EXPECT_EQ(final_states, 1) << "only when the build ended before the first read";
}

std::shared_ptr<Index> index_of_one_file() {
    auto index = std::make_shared<Index>();
    Batch batch;
    batch.add("C:/a", kKindFile);
    publish_shard(*index, batch);
    return index;
}

TEST(StatusMoments, final_state_never_comes_with_the_count_of_the_index_before) {
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

using EngineMoments = EngineTest;

// Whoever sees "running" may cancel, and that has to hold.
TEST_F(EngineMoments, cancel_of_the_run_before_is_cleared_before_the_state_says_running) {
    add_file(u"C:\\tree\\f");
    bool looked = false;
    ss_cancel(handle_);
    // First the text and then the index is replaced under the engine's lock; what is left to do
    // behind that is to store the state.
    on_lock_of_this_thread(2, LockStep::kAfterUnlock, [&] {
        looked = true;
        EXPECT_EQ(engine().state, SS_ENGINE_IDLE);
        EXPECT_FALSE(engine().cancel);
    });
    EXPECT_EQ(build("C:\\tree"), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_TRUE(looked);
}

TEST_F(EngineMoments, cancel_that_comes_as_soon_as_the_state_says_running_holds) {
    add_file(u"C:\\tree\\f");
    on_platform_call(1, kStartThread, [&] {
        EXPECT_EQ(engine().state, SS_ENGINE_RUNNING);
        ss_cancel(handle_);
    });
    EXPECT_EQ(build("C:\\tree"), (EngineStatus{SS_ENGINE_CANCELLED, 0, 0, 0, 0}));
}

TEST_F(EngineMoments, failed_state_is_stored_after_its_text) {
    std::atomic<std::uint32_t> state_before_text{9};
    std::atomic<std::uint32_t> state_behind_text{9};
    // On the build thread, whose next lock is the one under which the text is stored.
    on_platform_call(1, kStatus, [&] {
        on_lock_of_this_thread(1, LockStep::kBeforeLock, [&] {
            state_before_text = engine().state.load();
            on_lock_of_this_thread(1, LockStep::kAfterUnlock,
                                   [&] { state_behind_text = engine().state.load(); });
        });
    });
    EXPECT_EQ(build("C:\\missing").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The selected folder is unavailable.");
    EXPECT_EQ(state_before_text, SS_ENGINE_RUNNING);
    EXPECT_EQ(state_behind_text, SS_ENGINE_RUNNING);
}

TEST_F(EngineMoments, counters_of_a_load_are_stored_after_the_index_was_replaced) {
    write_file(u"C:\\index", cache_bytes("C:/", sample_entries(3), 42, 1));
    Engine& loading = engine();
    std::uint32_t seen_entries = 9;
    std::uint32_t seen_counters = 9;
    // The old index is released right after the replacement, outside of the lock.
    replace_index(loading, std::shared_ptr<Index>(new Index, [&](Index* old) {
                      seen_entries = take_snapshot(*current_index(loading)).entry_count;
                      seen_counters = loading.skipped + loading.limited + loading.from_cache;
                      delete old;
                  }));
    ASSERT_TRUE(load_index_cache(loading, "C:/", "C:/index"));
    EXPECT_EQ(seen_entries, 3u);
    EXPECT_EQ(seen_counters, 0u);
    EXPECT_EQ(loading.skipped, 42u);
    EXPECT_EQ(loading.limited, 1u);
    EXPECT_EQ(loading.from_cache, 1u);
}

// A hook that runs before the lock shows that there is one.
TEST_F(EngineMoments, error_text_is_read_and_replaced_under_the_lock) {
    set_error(engine(), "the text before");
    on_lock_of_this_thread(1, LockStep::kBeforeLock,
                           [&] { set_error(engine(), "another thread's text"); });
    EXPECT_STREQ(ss_error(handle_), "another thread's text");

    on_lock_of_this_thread(1, LockStep::kBeforeLock,
                           [&] { set_error(engine(), "another thread's text"); });
    set_error(engine(), "the text behind");
    EXPECT_STREQ(ss_error(handle_), "the text behind");

    // The lock is still held while the text is copied: its end is the last thing that happens.
    on_lock_of_this_thread(1, LockStep::kAfterUnlock,
                           [&] { set_error(engine(), "a text that comes too late"); });
    EXPECT_STREQ(ss_error(handle_), "the text behind");
    EXPECT_STREQ(ss_error(handle_), "a text that comes too late");
}

}  // namespace
}  // namespace system_search
