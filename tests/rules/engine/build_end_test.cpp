// The end of a build: it comes when the work is done, not when the last thread has gone. A thread
// on its way in or out waits for everyone who loads a library in the host, and that may be the one
// who waits for the build.
#include <atomic>
#include <string>
#include <thread>

#include "engine/read_ahead.hpp"
#include "rules/engine/engine_test_support.hpp"
#include "simulated/tree.hpp"

namespace system_search {
namespace {

constexpr std::uint64_t kForGood = UINT64_MAX / 2;

class BuildEndTest : public EngineTest {
protected:
    static constexpr int kFolders = 60;
    static constexpr std::uint32_t kEntries = 2 * kFolders;

    // Folders on a disk that is so slow that readers are worth it.
    void SetUp() override {
        EngineTest::SetUp();
        for (int i = 0; i < kFolders; ++i) {
            std::u16string folder = u"C:\\music\\";
            for (const char digit : std::to_string(i)) folder += static_cast<char16_t>(digit);
            add_file(folder + u"\\song.mp3");
        }
        freeze_clock(1'000'000'000);
        set_latencies({.open = 5'000'000, .attributes = 5'000'000});
    }
    void destroy() {
        ss_destroy(handle_);
        handle_ = nullptr;
    }
};

TEST_F(BuildEndTest, a_build_ends_although_none_of_its_readers_can_go) {
    Gate gate;
    on_platform_call(1, kEndThread, [&] { gate.hold(); }, kForGood);
    EXPECT_EQ(build("C:\\music"), (EngineStatus{SS_ENGINE_READY, kEntries, 0, 0, 0}));
    EXPECT_GE(platform_calls(kStartThread), 2u) << "the build had no readers";
    EXPECT_GE(open_handles().threads, 2u);
    gate.release();
    destroy();
    EXPECT_EQ(open_handles(), OpenHandles{});
}

TEST_F(BuildEndTest, a_build_ends_although_none_of_its_readers_can_come) {
    Gate gate;
    // The first thread is the build's own.
    on_platform_call(2, kBeginThread, [&] { gate.hold(); }, kForGood);
    EXPECT_EQ(build("C:\\music"), (EngineStatus{SS_ENGINE_READY, kEntries, 0, 0, 0}));
    EXPECT_GE(platform_calls(kStartThread), 2u) << "the build had no readers";
    gate.release();
    destroy();
    EXPECT_EQ(open_handles(), OpenHandles{});
}

TEST_F(BuildEndTest, a_cancelled_build_ends_although_none_of_its_readers_can_go) {
    Gate at_folder;
    Gate at_exit;
    on_platform_call(40, kOpenFolder, [&] { at_folder.hold(); });
    on_platform_call(1, kEndThread, [&] { at_exit.hold(); }, kForGood);
    ASSERT_EQ(ss_start(handle_, "C:\\music", "", 0), 1);
    ASSERT_TRUE(at_folder.wait_until_held());
    ss_cancel(handle_);
    at_folder.release();
    EXPECT_EQ(finish().state, SS_ENGINE_CANCELLED);
    at_exit.release();
    destroy();
    EXPECT_EQ(open_handles(), OpenHandles{});
}

TEST_F(BuildEndTest, cancelling_ends_the_calls_of_readers) {
    std::atomic<std::thread::id> builder{};
    std::atomic<int> calls_of_builder{0};
    on_platform_call(1, kOpenFolder, [&] { builder = std::this_thread::get_id(); });
    on_platform_call(
        1, kOpenFolder | kAttributes,
        [&] {
            if (std::this_thread::get_id() != builder) {
                hang_until_ended();
            } else if (++calls_of_builder == 40) {  // by then it has started a reader
                static_cast<void>(wait_until_a_call_hangs());
            }
        },
        kForGood);
    ASSERT_EQ(ss_start(handle_, "C:\\music", "", 0), 1);
    ASSERT_TRUE(wait_until_a_call_hangs());
    ss_cancel(handle_);
    EXPECT_EQ(finish().state, SS_ENGINE_CANCELLED);
}

TEST_F(BuildEndTest, the_next_start_joins_the_readers_of_the_last_build) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(build("C:\\music").entries, kEntries);
        EXPECT_GE(open_handles().threads, 2u);
        EXPECT_LE(open_handles().threads, 1 + kMostReaders);
    }
    // A failed join of one of them fails the start; the next start tries again.
    fail_platform_call(2, platform::kNotEnoughMemory, kJoinThread);
    EXPECT_EQ(ss_start(handle_, "C:\\music", "", 0), 0);
    EXPECT_EQ(status().state, SS_ENGINE_FAILED);
    forget_call_plans();
    EXPECT_EQ(build("C:\\music").entries, kEntries);
}

TEST_F(BuildEndTest, several_roots_leave_all_their_readers_to_the_join) {
    for (const char16_t* path : {u"C:\\", u"D:\\"}) add_drive(path, platform::kDriveFixed);
    for (int i = 0; i < kFolders; ++i) {
        std::u16string folder = u"D:\\";
        for (const char digit : std::to_string(i)) folder += static_cast<char16_t>(digit);
        add_file(folder + u"\\song.mp3");
    }
    EXPECT_EQ(build(""), (EngineStatus{SS_ENGINE_READY, 2 * kEntries + 1, 0, 0, 0}));
    EXPECT_GE(open_handles().threads, 3u);
    destroy();
    EXPECT_EQ(open_handles(), OpenHandles{});
}

}  // namespace
}  // namespace system_search
