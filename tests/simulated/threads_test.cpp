// Threads, their buffers and the clock of the simulated machine.
#include <atomic>
#include <cstring>
#include <thread>

#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

using SimulatedThreads = VolumeTest;

TEST_F(SimulatedThreads, threads_run_and_are_counted_until_joined) {
    struct Seen {
        std::atomic<bool> ran{false};
        platform::Thread thread;
    } seen;
    const auto body = [](void* argument) noexcept { static_cast<Seen*>(argument)->ran = true; };
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(seen.thread.start(body, &seen), platform::kNotEnoughMemory);
    ASSERT_EQ(seen.thread.start(body, &seen), platform::kSuccess);
    EXPECT_EQ(open_handles(), (OpenHandles{0, 0, 1}));
    EXPECT_FALSE(seen.thread.is_current());
    seen.thread.join();
    EXPECT_TRUE(seen.ran);
    EXPECT_FALSE(seen.thread.joinable());
}

TEST_F(SimulatedThreads, a_thread_buffer_lives_as_long_as_its_thread_or_the_library) {
    platform::detach();
    ASSERT_EQ(thread_buffers(), 0u);
    char* const mine = platform::thread_buffer(10);
    ASSERT_NE(mine, nullptr);
    std::strcpy(mine, "text");
    EXPECT_EQ(platform::thread_buffer(5), mine);
    EXPECT_STREQ(platform::thread_buffer(100'000), "text");
    std::thread([mine] { EXPECT_NE(platform::thread_buffer(10), mine); }).join();
    EXPECT_EQ(thread_buffers(), 1u);
    platform::detach();
    EXPECT_EQ(thread_buffers(), 0u);
    EXPECT_NE(platform::thread_buffer(10), nullptr);
    platform::detach();
}

TEST_F(SimulatedThreads, an_exception_scope_is_not_ready_when_its_call_fails) {
    EXPECT_TRUE(platform::ExceptionScope().ready());
    fail_platform_call(1, platform::kNotEnoughMemory);
    EXPECT_TRUE(platform::ExceptionScope().ready()) << "not among all calls";
    fail_platform_call(1, platform::kNotEnoughMemory, kExceptionScope);
    EXPECT_FALSE(platform::ExceptionScope().ready());
}

TEST_F(SimulatedThreads, the_clock_runs_until_it_is_frozen) {
    const std::int64_t first = platform::monotonic_nanoseconds();
    EXPECT_GE(platform::monotonic_nanoseconds(), first);
    freeze_clock(-7);
    EXPECT_EQ(platform::monotonic_nanoseconds(), -7);
}

}  // namespace
}  // namespace system_search::simulated
