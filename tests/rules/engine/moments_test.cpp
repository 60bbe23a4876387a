// Moments between two steps of one thread in which another thread may act. They last nanoseconds,
// so a test stands in them by way of a hook, or of fields that change between two reads.
#include "engine/status.hpp"
#include "rules/engine/engine_test_support.hpp"
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
