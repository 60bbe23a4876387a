// Threads, their buffers and the clock of the simulated machine.
#include <atomic>
#include <cstring>
#include <thread>

#include "simulated/volume_test_fixture.hpp"
#include "simulated/waits.hpp"

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

// A thread that waits until it is told.
struct WaitingThread {
    WaitingThread(platform::Mutex& mutex, platform::Condition& condition, std::uint32_t limit)
        : thread([&mutex, &condition, limit, this] {
              const platform::MutexLock lock(mutex);
              if (limit == 0) condition.wait(mutex);
              if (limit != 0) condition.wait_for(mutex, limit);
              has_gone_on = true;
          }) {}
    ~WaitingThread() { thread.join(); }

    std::atomic<bool> has_gone_on{false};
    std::thread thread;
};

TEST_F(SimulatedThreads, a_thread_waits_until_it_is_notified_and_no_other_goes_on_for_it) {
    platform::Mutex mutex;
    platform::Condition condition;
    platform::Condition other;
    WaitingThread one(mutex, condition, 0);
    ASSERT_TRUE(wait_until_waiting(1));
    WaitingThread two(mutex, condition, 0);
    ASSERT_TRUE(wait_until_waiting(2));
    WaitingThread of_another(mutex, other, 0);
    ASSERT_TRUE(wait_until_waiting(3));
    condition.notify_one();
    EXPECT_TRUE(wait_until_waiting(2)) << "who was notified does not count";
    one.thread.join();
    EXPECT_FALSE(two.has_gone_on);
    one.thread = std::thread([] {});
    condition.notify_all();
    EXPECT_TRUE(wait_until_waiting(1));
    EXPECT_FALSE(of_another.has_gone_on);
    other.notify_all();
}

TEST_F(SimulatedThreads, a_wait_with_a_limit_ends_at_it_unless_time_stands_still) {
    platform::Mutex mutex;
    platform::Condition condition;
    {
        const WaitingThread limited(mutex, condition, 1);
    }
    EXPECT_TRUE(wait_until_waiting(0));
    EXPECT_EQ(longest_limit_milliseconds(), 1u);

    let_time_stand_still();
    {
        const WaitingThread limited(mutex, condition, 2);
        ASSERT_TRUE(wait_until_waiting(1));
        EXPECT_FALSE(limited.has_gone_on);
        condition.notify_one();
    }
    EXPECT_EQ(longest_limit_milliseconds(), 2u);
    EXPECT_EQ(lost_notices(), 0u);
}

TEST_F(SimulatedThreads, the_clock_runs_until_it_is_frozen) {
    const std::int64_t first = platform::monotonic_nanoseconds();
    EXPECT_GE(platform::monotonic_nanoseconds(), first);
    freeze_clock(-7);
    EXPECT_EQ(platform::monotonic_nanoseconds(), -7);
}

}  // namespace
}  // namespace system_search::simulated
