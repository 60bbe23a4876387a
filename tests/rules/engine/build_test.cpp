// One run of the build thread: cache or walk, completeness, save, and every way in which it fails.
#include "engine/build.hpp"

#include <exception>
#include <new>

#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

constexpr const char* kSaveFailed = "Index is usable, but its cache could not be saved.";

class BuildTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        add_file(u"C:\\top\\a");
        add_file(u"C:\\top\\sub\\b");
    }

    bool cache_exists() { return exists(u"C:\\cache"); }
};

constexpr EngineStatus kWalked{SS_ENGINE_READY, 3, 0, 0, 0};
constexpr EngineStatus kLoaded{SS_ENGINE_READY, 3, 0, 0, 1};

// ---- Cache or walk ------------------------------------------------------------------------------

TEST_F(BuildTest, without_a_cache_path_no_file_is_touched) {
    count_platform_calls();
    EXPECT_EQ(build("C:\\top"), kWalked);
    EXPECT_EQ(platform_calls(kOpenFile | kCreateFile | kReplaceFile | kRemoveFile | kCreateFolder),
              0u);
}

TEST_F(BuildTest, matching_cache_is_loaded_instead_of_a_walk) {
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kWalked);
    add_file(u"C:\\top\\later");
    count_platform_calls();
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kLoaded);
    EXPECT_EQ(platform_calls(kOpenFolder | kStatus | kAttributes | kCreateFile), 0u);
    EXPECT_EQ(listing(), (Listing{"C:/top/a", "C:/top/sub/", "C:/top/sub/b"}));
    EXPECT_TRUE(snapshot().complete);
}

TEST_F(BuildTest, any_force_but_zero_walks_and_saves_anew) {
    build("C:\\top", "C:\\cache");
    std::uint32_t entries = 3;
    for (const int force : {1, -1, 256, INT32_MIN}) {
        add_file(u"C:\\top\\more" + std::u16string(entries, u'!'));
        ++entries;
        EXPECT_EQ(build("C:\\top", "C:\\cache", force),
                  (EngineStatus{SS_ENGINE_READY, entries, 0, 0, 0}));
        EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, entries, 0, 0, 1}));
    }
}

TEST_F(BuildTest, cache_of_another_scope_is_walked_past_and_replaced) {
    build("C:\\top", "C:\\cache");
    EXPECT_EQ(build("C:/top", "C:\\cache"), kWalked) << "the same folder, but another text";
    EXPECT_EQ(build("C:/top", "C:\\cache"), kLoaded);
}

TEST_F(BuildTest, damaged_cache_is_walked_past_and_replaced) {
    write_file(u"C:\\cache", "system-search-v1 and nothing more");
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kWalked);
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kLoaded);
}

TEST_F(BuildTest, counters_of_a_walk_come_back_from_its_cache) {
    add_folder(u"C:\\top\\denied");
    fail_node(u"C:\\top\\denied", &NodeFaults::open, platform::kAccessDenied);
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 0}));
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 1}));
}

TEST_F(BuildTest, limited_walk_is_incomplete_but_saved_and_stays_limited_when_loaded) {
    add_generated_folder(u"C:\\many", numbered_files(5'000'001));
    EXPECT_EQ(build("C:\\many", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, 5'000'000, 0, 1, 0}));
    EXPECT_FALSE(snapshot().complete);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(build("C:\\many", "C:\\cache"), (EngineStatus{SS_ENGINE_READY, 5'000'000, 0, 1, 1}));
    EXPECT_FALSE(snapshot().complete);
}

// ---- What a run makes visible, and when ---------------------------------------------------------

TEST_F(BuildTest, index_is_complete_before_it_is_saved) {
    Gate gate;
    on_platform_call(1, kCreateFile, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "C:\\cache", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 3, 0, 0, 0}));
    EXPECT_TRUE(snapshot().complete);
    gate.release();
    EXPECT_EQ(finish(), kWalked);
}

TEST_F(BuildTest, index_of_a_load_appears_only_when_it_is_whole) {
    add_generated_folder(u"C:\\many", numbered_files(5000));
    build("C:\\many", "C:\\cache");
    set_largest_read(4096);
    Gate gate;
    on_platform_call(10, kReadFile, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\many", "C:\\cache", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0}));
    gate.release();
    EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 5000, 0, 0, 1}));
}

TEST_F(BuildTest, walk_fills_an_index_of_its_own) {
    Gate before;
    Gate during;
    on_platform_call(1, kStatus, [&] { before.hold(); });
    on_platform_call(1, kOpenFolder, [&] { during.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(before.wait_until_held());
    const std::shared_ptr<Index> index = current_index(engine());
    before.release();
    ASSERT_TRUE(during.wait_until_held());
    EXPECT_EQ(current_index(engine()), index) << "installed before the scope was resolved";
    during.release();
    EXPECT_EQ(finish(), kWalked);
    EXPECT_EQ(take_snapshot(*index).entry_count, 3u);
}

// ---- Cancelling ---------------------------------------------------------------------------------

TEST_F(BuildTest, cancel_while_the_cache_loads_ends_with_no_entries) {
    add_generated_folder(u"C:\\many", numbered_files(5000));
    build("C:\\many", "C:\\cache");
    set_largest_read(4096);
    on_platform_call(10, kReadFile, [&] { ss_cancel(handle_); });
    EXPECT_EQ(build("C:\\many", "C:\\cache"), (EngineStatus{SS_ENGINE_CANCELLED, 0, 0, 0, 0}));
    EXPECT_FALSE(snapshot().complete);
}

TEST_F(BuildTest, cancel_while_the_cache_is_saved_ends_cancelled_with_a_complete_index) {
    on_platform_call(1, kWriteFile, [&] { ss_cancel(handle_); });
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_CANCELLED, 3, 0, 0, 0}));
    EXPECT_TRUE(snapshot().complete);
    EXPECT_EQ(list_names(u"C:\\").size(), cache_exists() ? 2u : 1u) << "no temporary file is left";
}

TEST_F(BuildTest, cancel_before_the_first_root_ends_with_no_entries) {
    on_platform_call(1, kStatus, [&] { ss_cancel(handle_); });
    count_platform_calls();
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_CANCELLED, 0, 0, 0, 0}));
    EXPECT_EQ(platform_calls(kOpenFolder), 0u);
    EXPECT_FALSE(cache_exists());
}

TEST_F(BuildTest, cancel_at_the_last_entry_still_cancels) {
    on_child(u"C:\\top\\sub", 1, [&] { ss_cancel(handle_); });  // at its end
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_CANCELLED, 1, 0, 0, 0}));
    EXPECT_FALSE(snapshot().complete);
    EXPECT_FALSE(cache_exists());
}

// ---- Failing ------------------------------------------------------------------------------------

TEST_F(BuildTest, failed_save_leaves_a_ready_engine_with_a_text) {
    fail_platform_call(1, platform::kAccessDenied, kCreateFile);
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kWalked);
    EXPECT_EQ(error(), kSaveFailed);
    EXPECT_TRUE(snapshot().complete);
    EXPECT_FALSE(cache_exists());
    EXPECT_EQ(build("C:\\top", "C:\\cache"), kWalked);
    EXPECT_EQ(error(), "");
}

TEST_F(BuildTest, failure_of_a_save_wins_over_a_cancel_during_it) {
    on_platform_call(1, kWriteFile, [&] { ss_cancel(handle_); });
    fail_platform_call(1, platform::kDiskFull, kWriteFile);
    EXPECT_EQ(build("C:\\top", "C:\\cache"), (EngineStatus{SS_ENGINE_CANCELLED, 3, 0, 0, 0}));
    EXPECT_EQ(error(), kSaveFailed);
}

TEST_F(BuildTest, save_that_fails_the_run_leaves_a_complete_index) {
    EXPECT_EQ(build("C:\\top", "C:\\\xFF"), (EngineStatus{SS_ENGINE_FAILED, 3, 0, 0, 0}));
    EXPECT_EQ(error(), "The text is not valid UTF-8.");
    EXPECT_TRUE(snapshot().complete);
}

struct Silent : std::exception {
    const char* what() const noexcept override { return ""; }
};

TEST_F(BuildTest, failure_without_a_message_gets_one) {
    on_platform_call(2, kOpenFolder, [] { throw Silent(); });
    EXPECT_EQ(build("C:\\top", "C:\\cache").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "File indexing failed.");
    forget_call_plans();

    on_platform_call(2, kOpenFolder, [] { throw 42; });
    EXPECT_EQ(build("C:\\top", "C:\\cache").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "File indexing failed.");
    EXPECT_FALSE(cache_exists());
}

TEST_F(BuildTest, failure_keeps_what_was_published_and_loses_the_batch) {
    add_generated_folder(u"C:\\many\\a", numbered_files(2000));
    add_folder(u"C:\\many\\b");
    on_platform_call(3, kOpenFolder, [] { throw std::bad_alloc(); });
    EXPECT_EQ(build("C:\\many", "C:\\cache"), (EngineStatus{SS_ENGINE_FAILED, 1024, 0, 0, 0}));
    EXPECT_EQ(error(), "std::bad_alloc");
    EXPECT_FALSE(snapshot().complete);
    EXPECT_FALSE(cache_exists());
}

}  // namespace
}  // namespace system_search
