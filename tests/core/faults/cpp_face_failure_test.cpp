// The C++ face when the library cannot give what was asked for, and while a search still runs: what
// only a simulated machine can show.
#include <memory>
#include <thread>

#include "simulated/volume_test_fixture.hpp"
#include "system_search.hpp"

namespace system_search::simulated {
namespace {

class CppFaceFailure : public VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        add_file(u"C:\\music\\song.mp3", /*size=*/1000);
        add_file(u"C:\\music\\old.mp3", /*size=*/7, /*last_write=*/0);
    }
};

void wait_for(const ss::Query& query) {
    while (query.state() == ss::QueryState::kRunning) std::this_thread::yield();
}

TEST_F(CppFaceFailure, no_memory_gives_an_empty_engine) {
    std::uint64_t refused = 0;
    for (std::uint64_t nth = 1;; ++nth) {
        bool made = false;
        {
            const AllocationFault fault(nth);
            made = static_cast<bool>(ss::Engine::create());
        }
        if (!AllocationFault::hit()) {
            EXPECT_TRUE(made);
            break;
        }
        EXPECT_FALSE(made) << nth;
        ++refused;
    }
    EXPECT_GT(refused, 0u);
}

TEST_F(CppFaceFailure, no_thread_gives_an_empty_query_and_a_start_that_failed) {
    ss::Engine engine = ss::Engine::create();
    fail_platform_call(1, platform::kAccessDenied, kStartThread, /*times=*/3);
    EXPECT_FALSE(engine.start("C:/music"));
    EXPECT_EQ(engine.progress().state, ss::EngineState::kFailed);
    EXPECT_FALSE(engine.search("song"));
    EXPECT_FALSE(ss::list_folder("C:/music"));
    forget_call_plans();
    const ss::Query listing = ss::list_folder("C:/music");
    ASSERT_TRUE(listing);
    wait_for(listing);
    EXPECT_EQ(listing.results().size(), 2u);
}

TEST_F(CppFaceFailure, a_running_query_has_no_results_yet_and_may_be_dropped) {
    Gate gate;
    on_child(u"C:\\music", 1, [&] { gate.hold(); });
    ss::Query listing = ss::list_folder("C:/music");
    ASSERT_TRUE(listing);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(listing.state(), ss::QueryState::kRunning);
    EXPECT_TRUE(listing.results().empty());
    gate.release();
    listing = ss::Query();
    EXPECT_TRUE(listing.results().empty());
}

TEST_F(CppFaceFailure, a_dropped_engine_waits_for_its_build) {
    {
        ss::Engine engine = ss::Engine::create();
        ASSERT_TRUE(engine.start("C:/music"));
    }
    EXPECT_EQ(open_handles(), OpenHandles{});
}

TEST_F(CppFaceFailure, times_before_1970_are_negative) {
    const ss::Query listing = ss::list_folder("C:/music", "old.mp3");
    ASSERT_TRUE(listing);
    wait_for(listing);
    ASSERT_EQ(listing.results().size(), 1u);
    EXPECT_EQ(listing.results()[0].size, std::optional<std::uint64_t>(7));
    EXPECT_EQ(listing.results()[0].modified,
              std::optional(ss::Time(std::chrono::seconds(-11644473600))));
}

}  // namespace
}  // namespace system_search::simulated
