// The cache within a build: taken before the walk, written behind it.
#include <chrono>
#include <thread>

#include "rules/engine/index_cache_support.hpp"

namespace system_search {
namespace {

class CachedBuild : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::add_folder(u"C:\\cache");
        simulated::add_file(u"C:\\music\\a.mp3");
        simulated::add_file(u"C:\\music\\b\\c.mp3");
        handle = ss_create();
        ASSERT_NE(handle, nullptr);
    }
    void TearDown() override {
        ss_destroy(handle);
        VolumeTest::TearDown();
    }
    EngineStatus build(const char* cache_path = kPath, int force = 0, const char* scope = kScope) {
        EXPECT_EQ(ss_start(handle, scope, cache_path, force), 1);
        EngineStatus status{};
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        do {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            ss_status(handle, &status);
        } while (status.state == SS_ENGINE_RUNNING && std::chrono::steady_clock::now() < deadline);
        return status;
    }
    std::vector<PathAndKind> entries() {
        return entries_of(*current_index(*reinterpret_cast<Engine*>(handle)));
    }
    bool complete() { return current_index(*reinterpret_cast<Engine*>(handle))->complete; }
    void cancel_at(std::uint64_t nth, simulated::Call call) {
        simulated::on_platform_call(nth, call, [this] { ss_cancel(handle); });
    }

    const std::vector<PathAndKind> walked = {
        {"C:/music/a.mp3", 1}, {"C:/music/b", 2}, {"C:/music/b/c.mp3", 1}};
    SystemSearchEngine* handle = nullptr;
};

void expect_status(const EngineStatus& status, std::uint32_t state, std::uint32_t count,
                   std::uint32_t skipped, std::uint32_t limited, std::uint32_t from_cache) {
    EXPECT_EQ(status.state, state);
    EXPECT_EQ(status.entries, count);
    EXPECT_EQ(status.skipped, skipped);
    EXPECT_EQ(status.limited, limited);
    EXPECT_EQ(status.from_cache, from_cache);
}

TEST_F(CachedBuild, the_second_build_takes_no_walk) {
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_EQ(simulated::read_file(kFile), cache_bytes(kScope, walked));
    simulated::count_platform_calls();
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 1);
    EXPECT_EQ(simulated::platform_calls(simulated::kOpenFolder | simulated::kCreateFile), 0u);
    EXPECT_EQ(entries(), walked);
    EXPECT_TRUE(complete());
}

TEST_F(CachedBuild, a_forced_build_walks_and_saves_anew) {
    simulated::write_file(kFile, cache_bytes(kScope, {{"C:/music/gone", 1}}));
    expect_status(build(kPath, /*force=*/0), SS_ENGINE_READY, 1, 0, 0, 1);
    expect_status(build(kPath, /*force=*/1), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(kPath, /*force=*/0), SS_ENGINE_READY, 3, 0, 0, 1);
    EXPECT_EQ(entries(), walked);
}

TEST_F(CachedBuild, shows_the_stored_counters) {
    simulated::write_file(kFile, cache_bytes(kScope, {{"C:/music/x", 1}}, 12, 1));
    expect_status(build(), SS_ENGINE_READY, 1, 12, 1, 1);
    EXPECT_FALSE(complete());
    SystemSearchQuery* const query = ss_query(handle, "x", 0, SS_KIND_ANY, 10);
    ASSERT_NE(query, nullptr);
    QueryStatus status{};
    do ss_query_poll(query, &status);
    while (status.state == SS_QUERY_RUNNING);
    EXPECT_EQ(status.index_incomplete, 1u);
    EXPECT_EQ(status.matched, 1u);
    ss_query_destroy(query);
}

TEST_F(CachedBuild, stores_what_the_walk_skipped) {
    simulated::NodeFaults denied;
    denied.open = platform::kAccessDenied;
    simulated::set_faults(u"C:\\music\\b", denied);
    expect_status(build(), SS_ENGINE_READY, 2, 1, 0, 0);
    expect_status(build(), SS_ENGINE_READY, 2, 1, 0, 1);
}

TEST_F(CachedBuild, another_scope_text_is_walked_and_saved_over) {
    build();
    expect_status(build(kPath, 0, "c:\\music"), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(kPath, 0, "c:\\music"), SS_ENGINE_READY, 3, 0, 0, 1);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
}

TEST_F(CachedBuild, an_unusable_cache_is_saved_over) {
    simulated::write_file(kFile, "no cache at all");
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 1);
}

TEST_F(CachedBuild, a_cache_path_that_is_not_utf8_fails_the_run_but_not_the_index) {
    expect_status(build("C:/cache/\xFF"), SS_ENGINE_FAILED, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), "The text is not valid UTF-8.");
    EXPECT_EQ(entries(), walked);
    EXPECT_TRUE(files().empty());
}

TEST_F(CachedBuild, a_cache_that_cannot_be_saved_is_no_failure_of_the_run) {
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), kNotSaved);
    EXPECT_TRUE(complete());
    EXPECT_TRUE(files().empty());
    simulated::forget_call_plans();
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), "");
}

TEST_F(CachedBuild, cancelled_while_it_loads_it_ends_with_an_empty_index) {
    simulated::write_file(kFile, cache_bytes(kScope, sample_entries(60'000)));
    cancel_at(2, simulated::kReadFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 0, 0, 0, 0);
    EXPECT_FALSE(complete());
    EXPECT_EQ(simulated::platform_calls(simulated::kReadFile), 2u);
}

TEST_F(CachedBuild, cancelled_while_it_saves_it_keeps_its_index_and_the_old_cache) {
    simulated::write_file(kFile, "the old cache");
    cancel_at(1, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), "");
    EXPECT_EQ(simulated::read_file(kFile), "the old cache");
    EXPECT_EQ(files().size(), 1u);
}

TEST_F(CachedBuild, cancelled_while_its_save_fails_it_keeps_the_text) {
    cancel_at(1, simulated::kWriteFile);
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), kNotSaved);
}

TEST_F(CachedBuild, cancelled_while_it_walks_it_saves_nothing) {
    cancel_at(2, simulated::kNextChild);
    EXPECT_EQ(build().state, SS_ENGINE_CANCELLED);
    EXPECT_TRUE(files().empty());
}

}  // namespace
}  // namespace system_search
