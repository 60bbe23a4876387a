// The order in which a host sees the end of a build.
#include "engine/engine_test_support.hpp"

namespace system_search {
namespace {

using FinalStateTest = EngineTest;

TEST_F(FinalStateTest, failed_state_is_stored_after_its_text) {
    Gate gate;
    on_platform_call(1, kStatus, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\missing", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    {
        // While the text cannot be stored, the state may not tell of it: watched for long enough
        // that a build which stores the state first is caught.
        const platform::MutexLock lock(engine().mutex);
        gate.release();
        for (int i = 0; i < 100; ++i) {
            ASSERT_EQ(engine().state, SS_ENGINE_RUNNING);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }
    EXPECT_EQ(finish().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The selected folder is unavailable.");
}

}  // namespace
}  // namespace system_search
