// The order in which a host sees the end of a build.
#include "rules/engine/engine_test_support.hpp"
#include "simulated/lock_hook.hpp"

namespace system_search {
namespace {

using FinalStateTest = EngineTest;

TEST_F(FinalStateTest, failed_state_is_stored_after_its_text) {
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

}  // namespace
}  // namespace system_search
