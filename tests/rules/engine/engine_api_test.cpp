// The life of an engine behind its handle: states, counters, refusals, failures of the start.
#include <atomic>
#include <thread>

#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

constexpr EngineStatus kFresh{SS_ENGINE_IDLE, 0, 0, 0, 0};

class EngineApiTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        add_file(u"C:\\top\\a");
        add_file(u"C:\\top\\b");
    }

    // Ends a build in each of the three final states, with counters that are not 0 where the state
    // allows it.
    void end_in_state(std::uint32_t state) {
        add_folder(u"C:\\top\\denied");
        fail_node(u"C:\\top\\denied", &NodeFaults::open, platform::kAccessDenied);
        if (state == SS_ENGINE_READY) {
            ASSERT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 0}));
        } else if (state == SS_ENGINE_CANCELLED) {
            add_generated_folder(u"C:\\held", numbered_files(1));
            on_platform_call(1, kOpenFolder, [&] { ss_cancel(handle_); });
            ASSERT_EQ(build("C:\\top").state, SS_ENGINE_CANCELLED);
            forget_call_plans();
        } else {
            ASSERT_EQ(build("relative").state, SS_ENGINE_FAILED);
            ASSERT_EQ(error(), "Choose an absolute folder path.");
        }
    }
};

// ---- A fresh engine and null arguments ----------------------------------------------------------

TEST_F(EngineApiTest, fresh_engine_is_idle_and_empty) {
    EXPECT_EQ(status(), kFresh);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(snapshot().entry_count, 0u);
    EXPECT_FALSE(snapshot().complete);
}

TEST_F(EngineApiTest, null_engine_is_harmless) {
    EngineStatus untouched{7, 7, 7, 7, 7};
    ss_status(nullptr, &untouched);
    EXPECT_EQ(untouched, (EngineStatus{7, 7, 7, 7, 7}));
    EXPECT_EQ(ss_start(nullptr, "C:\\top", "", 0), 0);
    ss_cancel(nullptr);
    ss_destroy(nullptr);
}

TEST_F(EngineApiTest, null_text_refuses_the_start_and_changes_nothing) {
    EXPECT_EQ(ss_start(handle_, nullptr, "", 0), 0);
    EXPECT_EQ(ss_start(handle_, "C:\\top", nullptr, 0), 0);
    EXPECT_EQ(status(), kFresh);

    const EngineStatus ready = build("C:\\top");
    EXPECT_EQ(ready, (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    EXPECT_EQ(ss_start(handle_, nullptr, nullptr, 1), 0);
    EXPECT_EQ(status(), ready);
}

TEST_F(EngineApiTest, null_status_record_is_harmless) {
    ss_status(handle_, nullptr);
    EXPECT_EQ(status(), kFresh);
}

// ---- Start --------------------------------------------------------------------------------------

TEST_F(EngineApiTest, texts_given_to_start_may_be_freed_at_once) {
    Gate gate;
    on_platform_call(1, kStatus, [&] { gate.hold(); });
    {
        std::string scope = "C:\\top";
        std::string cache_path = "C:\\cache";
        ASSERT_EQ(ss_start(handle_, scope.c_str(), cache_path.c_str(), 0), 1);
        scope.assign(scope.size(), '?');
        cache_path.assign(cache_path.size(), '?');
    }
    ASSERT_TRUE(gate.wait_until_held());
    gate.release();
    EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    EXPECT_TRUE(exists(u"C:\\cache"));
}

TEST_F(EngineApiTest, start_is_refused_while_a_build_runs) {
    Gate gate;
    on_platform_call(1, kOpenFolder, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(ss_start(handle_, "C:\\", "", 1), 0);
    EXPECT_EQ(ss_start(handle_, nullptr, "", 1), 0);
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0}));
    gate.release();
    EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0})) << "the running one went on";
}

TEST_F(EngineApiTest, start_from_every_final_state_begins_anew) {
    for (const std::uint32_t state : {SS_ENGINE_READY, SS_ENGINE_CANCELLED, SS_ENGINE_FAILED}) {
        end_in_state(state);
        ASSERT_EQ(status().state, state);

        Gate gate;
        on_platform_call(1, kStatus, [&] { gate.hold(); });
        ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
        EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0})) << state;
        EXPECT_EQ(error(), "");
        ASSERT_TRUE(gate.wait_until_held());
        EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0})) << state;
        gate.release();
        EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 0})) << state;
        forget_call_plans();
    }
}

TEST_F(EngineApiTest, start_resets_what_a_cache_had_stored) {
    end_in_state(SS_ENGINE_READY);
    ASSERT_EQ(build("C:\\top", "C:\\cache").from_cache, 0u);
    ASSERT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 1}));
    engine().limited = 1;  // as a cache of a limited walk would
    Gate gate;
    on_platform_call(1, kStatus, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0}));
    gate.release();
    finish();
}

TEST_F(EngineApiTest, snapshot_taken_before_a_new_start_keeps_its_entries) {
    build("C:\\top");
    const Snapshot before = snapshot();
    remove_tree(u"C:\\top\\a");
    build("C:\\top");
    EXPECT_EQ(listing(), (Listing{"C:/top/b"}));
    EXPECT_EQ(listing_of(before), (Listing{"C:/top/a", "C:/top/b"}));
    EXPECT_TRUE(before.complete);
}

TEST_F(EngineApiTest, snapshot_outlives_the_engine) {
    SystemSearchEngine* const other = ss_create();
    ASSERT_EQ(ss_start(other, "C:\\top", "", 0), 1);
    EngineStatus now{};
    do ss_status(other, &now);
    while (now.state == SS_ENGINE_RUNNING);
    const Snapshot kept = take_snapshot(*current_index(*reinterpret_cast<Engine*>(other)));
    ss_destroy(other);
    EXPECT_EQ(listing_of(kept), (Listing{"C:/top/a", "C:/top/b"}));
}

// ---- A start that fails -------------------------------------------------------------------------

TEST_F(EngineApiTest, thread_that_cannot_be_started_fails_the_start_without_a_text) {
    end_in_state(SS_ENGINE_FAILED);
    ASSERT_EQ(error(), "Choose an absolute folder path.");
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(ss_start(handle_, "C:\\top", "", 0), 0);
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0}));
    EXPECT_EQ(error(), "");
    EXPECT_EQ(open_handles().threads, 0u);
    EXPECT_EQ(build("C:\\top").state, SS_ENGINE_READY) << "a later start works";
}

TEST_F(EngineApiTest, thread_that_cannot_be_started_on_an_idle_engine_makes_it_failed) {
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(ss_start(handle_, "C:\\top", "", 0), 0);
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0}));
}

TEST_F(EngineApiTest, failed_join_of_the_earlier_build_keeps_its_text_and_its_index) {
    add_generated_folder(u"C:\\top\\bad", numbered_files(1024));
    add_file(u"C:\\top\\" + std::u16string(1, char16_t{0xD800}));
    ASSERT_EQ(build("C:\\top").state, SS_ENGINE_FAILED);
    const std::string text = error();

    fail_platform_call(1, platform::kPossibleDeadlock, kJoinThread);
    EXPECT_EQ(ss_start(handle_, "C:\\top\\bad", "", 0), 0);
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_FAILED, 1024, 0, 0, 0}));
    EXPECT_EQ(error(), text);
    EXPECT_EQ(build("C:\\top\\bad").state, SS_ENGINE_READY) << "a later start joins it";
}

// Whoever goes on would free what the thread still uses.
TEST_F(EngineApiTest, destroying_ends_the_process_when_its_join_fails) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ASSERT_EQ(build("C:\\top").state, SS_ENGINE_READY);
    EXPECT_DEATH(
        {
            fail_platform_call(1, platform::kPossibleDeadlock, kJoinThread);
            ss_destroy(handle_);
        },
        "");
}

TEST_F(EngineApiTest, start_from_the_build_thread_itself_is_refused_or_fails) {
    std::int32_t while_running = -1;
    std::int32_t when_ended = -1;
    std::uint32_t state = 0;
    Gate gate;
    on_platform_call(1, kOpenFolder, [&] {
        gate.hold();
        while_running = ss_start(handle_, "C:\\top", "", 0);
        // Past its final state the thread is still there: joining it would wait for itself.
        engine().state = SS_ENGINE_READY;
        when_ended = ss_start(handle_, "C:\\top", "", 0);
        state = engine().state.exchange(SS_ENGINE_RUNNING);
    });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    gate.release();       // the host's own call of ss_start is over
    ss_destroy(handle_);  // joins the build; its state changes under a host that polls
    handle_ = nullptr;
    EXPECT_EQ(while_running, 0);
    EXPECT_EQ(when_ended, 0);
    EXPECT_EQ(state, SS_ENGINE_FAILED);
}

// ---- Cancel and destroy -------------------------------------------------------------------------

TEST_F(EngineApiTest, cancel_of_an_engine_without_a_build_shows_nowhere) {
    ss_cancel(handle_);
    EXPECT_EQ(status(), kFresh);
    const EngineStatus ready{SS_ENGINE_READY, 2, 0, 0, 0};
    EXPECT_EQ(build("C:\\top"), ready) << "the next start clears the request";
    ss_cancel(handle_);
    EXPECT_EQ(status(), ready);
    EXPECT_EQ(build("C:\\top"), ready);
}

TEST_F(EngineApiTest, destroy_cancels_a_walk_and_waits_for_its_thread) {
    Gate gate;
    add_file(u"C:\\top\\sub\\b");
    on_child(u"C:\\top\\sub", 1, [&] { gate.hold(); });
    SystemSearchEngine* const other = ss_create();
    ASSERT_EQ(ss_start(other, "C:\\top", "C:\\cache", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    Engine& inside = *reinterpret_cast<Engine*>(other);
    const std::shared_ptr<Index> index = current_index(inside);

    std::atomic<bool> destroyed{false};
    std::thread destroyer([&] {
        ss_destroy(other);
        destroyed = true;
    });
    while (!inside.cancel) std::this_thread::yield();
    EXPECT_FALSE(destroyed) << "the walk still stands at its gate";
    gate.release();
    destroyer.join();
    EXPECT_EQ(open_handles(), OpenHandles{});
    EXPECT_EQ(listing_of(take_snapshot(*index)), (Listing{"C:/top/a", "C:/top/b"}));
    EXPECT_FALSE(exists(u"C:\\cache"));
}

TEST_F(EngineApiTest, engine_may_be_destroyed_in_every_state) {
    for (const char* scope : {"C:\\top", "relative", ""}) {
        SystemSearchEngine* const other = ss_create();
        ASSERT_EQ(ss_start(other, scope, "", 0), 1);
        ss_destroy(other);
    }
    ss_destroy(ss_create());
}

// ---- Several threads ----------------------------------------------------------------------------

// Polled from three threads, the count of entries only grows within a run, and no status ever
// holds a value that the run could not have.
TEST_F(EngineApiTest, status_may_be_read_from_several_threads_during_a_build) {
    add_generated_folder(u"C:\\many", numbered_files(200'000));
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> pollers;
    for (int i = 0; i < 3; ++i) {
        pollers.emplace_back([&] {
            std::uint32_t seen = 0;
            while (!done) {
                const EngineStatus now = status();
                wrong += now.entries < seen || now.state > SS_ENGINE_READY || now.skipped != 0;
                wrong += now.entries % 1024 != 0 && now.entries != 200'000;
                wrong += ss_error(handle_)[0] != '\0';
                seen = now.entries;
            }
        });
    }
    EXPECT_EQ(build("C:\\many").entries, 200'000u);
    done = true;
    for (std::thread& poller : pollers) poller.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(EngineApiTest, engines_build_side_by_side) {
    add_generated_folder(u"C:\\many", numbered_files(50'000));
    std::vector<SystemSearchEngine*> engines;
    for (int i = 0; i < 4; ++i) engines.push_back(ss_create());
    for (SystemSearchEngine* one : engines) ASSERT_EQ(ss_start(one, "C:\\many", "", 0), 1);
    for (SystemSearchEngine* one : engines) {
        EngineStatus now{};
        do {
            std::this_thread::yield();
            ss_status(one, &now);
        } while (now.state == SS_ENGINE_RUNNING);
        EXPECT_EQ(now, (EngineStatus{SS_ENGINE_READY, 50'000, 0, 0, 0}));
        ss_destroy(one);
    }
}

}  // namespace
}  // namespace system_search
