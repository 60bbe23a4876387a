// Walks and listings of the shipped DLL that are held at a known point: where the system hands out
// a file called "hold". They go on when the test lets them, or when a host that destroys a handle
// waits for its thread.
#include <atomic>
#include <thread>

#include "dll/engine_host.hpp"
#include "dll/import_table.hpp"

namespace {

HANDLE at_hold = nullptr;
HANDLE go_on = nullptr;
DWORD host_thread = 0;
std::atomic<bool> is_destroying{false};
std::atomic<bool> has_gone_on{false};
std::atomic<int> children_behind{0};  // handed out since it went on

BOOL WINAPI find_next(HANDLE search, WIN32_FIND_DATAW* found) {
    const BOOL more = FindNextFileW(search, found);
    if (more && std::wstring_view(found->cFileName) == L"hold") {
        SetEvent(at_hold);
        WaitForSingleObject(go_on, INFINITE);
    } else if (more && has_gone_on) {
        ++children_behind;
    }
    return more;
}

void let_go_on() {
    has_gone_on = true;
    SetEvent(go_on);
}

// Destroying sets its request first and waits for the thread then.
DWORD WINAPI wait(HANDLE handle, DWORD milliseconds) {
    if (is_destroying && GetCurrentThreadId() == host_thread) let_go_on();
    return WaitForSingleObject(handle, milliseconds);
}

constexpr int kFolders = 64;
constexpr int kFiles = 32;  // in each of them
constexpr std::uint32_t kWholeShards = 2048;
// Also the two folders around them, the file that is held, and one more.
constexpr std::uint32_t kEntries = kFolders * (kFiles + 1) + 4;

class HeldWalk : public EngineHost {
protected:
    // The tree of the walks that stand still, one for all tests: files take their time under Wine.
    static std::filesystem::path tree() { return std::filesystem::current_path() / "held_walk"; }
    static void SetUpTestSuite() {
        TearDownTestSuite();
        for (int folder = 0; folder < kFolders; ++folder) {
            const std::filesystem::path path = tree() / "a" / std::to_string(folder);
            std::filesystem::create_directories(path);
            for (int file = 0; file < kFiles; ++file) std::ofstream(path / std::to_string(file));
        }
        std::filesystem::create_directories(tree() / "z");
        std::ofstream(tree() / "z" / "hold");
        std::ofstream(tree() / "z" / "other");
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(tree()); }

    void SetUp() override {
        EngineHost::SetUp();
        host_thread = GetCurrentThreadId();
        is_destroying = false;
        has_gone_on = false;
        children_behind = 0;
        at_hold = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        go_on = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        ASSERT_TRUE(find_next_patch_.applied());
        ASSERT_TRUE(wait_patch_.applied());
    }
    void TearDown() override {
        is_destroying = true;
        ss_destroy(engine_);
        engine_ = nullptr;
        CloseHandle(at_hold);
        CloseHandle(go_on);
        EngineHost::TearDown();
    }

    // A walk that stands still behind some whole shards and a few entries more.
    void start_held_walk(SystemSearchEngine* engine) const {
        ASSERT_EQ(ss_start(engine, tree().string().c_str(), path("cache").c_str(), 0), 1);
        wait_until_held();
        // Whoever reads ahead may be held before all shards are published.
        const ULONGLONG give_up = GetTickCount64() + 120'000;
        EngineStatus now{};
        do {
            ss_status(engine, &now);
            ASSERT_EQ(now.state, SS_ENGINE_RUNNING);
            ASSERT_EQ(now.entries % 1024, 0u) << "not a whole shard";
            ASSERT_LT(GetTickCount64(), give_up);
            Sleep(1);
        } while (now.entries < kWholeShards);
        EXPECT_EQ(now, (EngineStatus{SS_ENGINE_RUNNING, kWholeShards, 0, 0, 0}));
    }
    static void wait_until_held() {
        ASSERT_EQ(WaitForSingleObject(at_hold, 120'000), WAIT_OBJECT_0);
    }
    EngineStatus go_on_and_finish() const {
        let_go_on();
        return finish();
    }

private:
    const HMODULE library_ = GetModuleHandleW(L"system_search.dll");
    const ImportPatch find_next_patch_{library_, "FindNextFileW", &find_next};
    const ImportPatch wait_patch_{library_, "WaitForSingleObject", &wait};
};

TEST_F(HeldWalk, running_build_refuses_a_start_and_goes_on) {
    start_held_walk(engine_);
    EXPECT_EQ(ss_start(engine_, "relative", "", 1), 0);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, kWholeShards, 0, 0, 0}));
    EXPECT_EQ(go_on_and_finish(), (EngineStatus{SS_ENGINE_READY, kEntries, 0, 0, 0}));
}

TEST_F(HeldWalk, cancelled_walk_keeps_its_entries_and_writes_no_cache) {
    start_held_walk(engine_);
    ss_cancel(engine_);
    EXPECT_EQ(status().state, SS_ENGINE_RUNNING);
    const EngineStatus end = go_on_and_finish();
    EXPECT_EQ(end.state, SS_ENGINE_CANCELLED);
    EXPECT_GE(end.entries, kWholeShards);
    EXPECT_LT(end.entries, kEntries);
    EXPECT_EQ(indexed().size(), 1000u);
    EXPECT_EQ(error(), "");
    EXPECT_FALSE(std::filesystem::exists(path("cache")));
}

TEST_F(HeldWalk, destroy_ends_a_walk) {
    SystemSearchEngine* const other = ss_create();
    start_held_walk(other);
    is_destroying = true;
    ss_destroy(other);
    EXPECT_TRUE(has_gone_on);
    EXPECT_FALSE(std::filesystem::exists(path("cache")));
}

TEST_F(HeldWalk, status_and_error_may_be_read_from_several_threads) {
    start_held_walk(engine_);
    std::atomic<int> wrong{0};
    std::vector<std::thread> pollers;
    for (int i = 0; i < 4; ++i) {
        pollers.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                wrong += status() != EngineStatus{SS_ENGINE_RUNNING, kWholeShards, 0, 0, 0};
                wrong += ss_error(engine_)[0] != '\0';
            }
        });
    }
    for (std::thread& poller : pollers) poller.join();
    EXPECT_EQ(wrong, 0);
    ss_cancel(engine_);
    EXPECT_EQ(go_on_and_finish().state, SS_ENGINE_CANCELLED);
}

TEST_F(HeldWalk, new_start_shows_an_empty_index_and_may_follow_a_cancelled_build) {
    make_files("small", 3);
    make_file("held/hold");
    const EngineStatus ready{SS_ENGINE_READY, 3, 0, 0, 0};
    ASSERT_EQ(build(path("small")), ready);
    ASSERT_EQ(ss_start(engine_, path("held").c_str(), "", 0), 1);
    wait_until_held();
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0}));
    ss_cancel(engine_);
    EXPECT_EQ(go_on_and_finish().state, SS_ENGINE_CANCELLED);
    EXPECT_EQ(build(path("small")), ready);
}

TEST_F(HeldWalk, listing_that_is_destroyed_reads_no_further) {
    make_file("many/hold");
    for (int i = 0; i < 20; ++i) make_file("many/name " + std::to_string(i));
    SystemSearchQuery* const listing =
        ss_query_directory(path("many").c_str(), "", 0, SS_KIND_ANY, 1000);
    wait_until_held();
    is_destroying = true;
    ss_query_destroy(listing);
    EXPECT_TRUE(has_gone_on);
    EXPECT_LE(children_behind, 1);
}

}  // namespace
