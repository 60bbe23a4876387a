// Calls of the system that answer only when they are ended, as those on a dead share: the DLL ends
// them while it destroys a handle, on the thread that is in them and on no other.
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/import_table.hpp"

namespace {

constexpr DWORD kGenerous = 60'000;

// The one call that hangs at a time.
std::atomic<DWORD> hanging_thread{0};
std::atomic<int> deaf_rounds{0};  // so many attempts find the thread between two calls
HANDLE hangs = nullptr;
HANDLE ended = nullptr;
std::atomic<bool> find_hangs{false};
std::atomic<bool> information_hangs{false};
std::atomic<bool> move_hangs{false};

bool hang() {
    hanging_thread = GetCurrentThreadId();
    SetEvent(hangs);
    const bool was_ended = WaitForSingleObject(ended, kGenerous) == WAIT_OBJECT_0;
    hanging_thread = 0;
    EXPECT_TRUE(was_ended) << "nobody ended the call";
    SetLastError(ERROR_OPERATION_ABORTED);
    return false;
}

BOOL WINAPI cancel_call(HANDLE thread) {
    const DWORD id = GetThreadId(thread);
    EXPECT_NE(id, 0u);
    if (id != hanging_thread || deaf_rounds-- > 0) {
        SetLastError(ERROR_NOT_FOUND);
        return FALSE;
    }
    SetEvent(ended);
    return TRUE;
}
BOOL WINAPI find_next(HANDLE search, WIN32_FIND_DATAW* found) {
    return find_hangs ? hang() : FindNextFileW(search, found);
}
BOOL WINAPI get_attributes_ex(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* out) {
    return information_hangs ? hang() : GetFileAttributesExW(path, level, out);
}
BOOL WINAPI move_file(const wchar_t* from, const wchar_t* to, DWORD flags) {
    return move_hangs ? hang() : MoveFileExW(from, to, flags);
}

// A removal that answers when nobody ends it for 40 ms, and can be ended until then. The time is
// what the joining thread is ready to wait; nobody looks at a clock.
constexpr DWORD kRemovalMilliseconds = 40;
HANDLE left_alone = nullptr;
DWORD joining_thread = 0;
std::atomic<bool> is_removing{false};
int ended_removals = 0;

BOOL WINAPI delete_slowly(const wchar_t* path) {
    hanging_thread = GetCurrentThreadId();
    is_removing = true;
    HANDLE const either[] = {ended, left_alone};
    const DWORD which = WaitForMultipleObjects(2, either, FALSE, kGenerous);
    hanging_thread = 0;
    is_removing = false;
    EXPECT_NE(which, DWORD{WAIT_TIMEOUT});
    if (which != WAIT_OBJECT_0) return DeleteFileW(path);
    ++ended_removals;
    SetLastError(ERROR_OPERATION_ABORTED);
    return FALSE;
}
DWORD WINAPI wait_while_it_removes(HANDLE handle, DWORD milliseconds) {
    if (GetCurrentThreadId() != joining_thread) return WaitForSingleObject(handle, milliseconds);
    if (milliseconds < kRemovalMilliseconds) {
        return WaitForSingleObject(handle, is_removing ? 0 : milliseconds);
    }
    SetEvent(left_alone);  // also for a removal that begins only now
    return WaitForSingleObject(handle, kGenerous);
}
// So that no attempt is the last, however slow the machine is.
BOOL WINAPI stopped_clock(LARGE_INTEGER* ticks) {
    ticks->QuadPart = 1;
    return TRUE;
}

class HangingCall : public EngineHost {
protected:
    void SetUp() override {
        EngineHost::SetUp();
        hangs = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        ended = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        find_hangs = information_hangs = move_hangs = false;
        deaf_rounds = 0;
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        const auto replace = [&](const char* name, auto* replacement) {
            patches_.push_back(std::make_unique<ImportPatch>(library, name, replacement));
            ASSERT_TRUE(patches_.back()->applied()) << name << " is not imported";
        };
        replace("CancelSynchronousIo", &cancel_call);
        replace("FindNextFileW", &find_next);
        replace("GetFileAttributesExW", &get_attributes_ex);
        replace("MoveFileExW", &move_file);
        make_file("tree/a/f");
        make_file("tree/g");
    }
    void TearDown() override {
        patches_.clear();
        EngineHost::TearDown();
        CloseHandle(hangs);
        CloseHandle(ended);
    }
    void start(const std::string& cache = "") {
        ASSERT_EQ(ss_start(engine_, path("tree").c_str(), cache.c_str(), 1), 1);
    }
    static bool is_hanging() { return WaitForSingleObject(hangs, kGenerous) == WAIT_OBJECT_0; }
    void destroy_engine() {
        ss_destroy(engine_);
        engine_ = nullptr;
    }

    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

TEST_F(HangingCall, enumeration_is_ended_when_the_engine_is_destroyed) {
    find_hangs = true;
    start();
    ASSERT_TRUE(is_hanging());
    destroy_engine();
}

TEST_F(HangingCall, ending_is_tried_again_until_it_meets_the_call) {
    find_hangs = true;
    deaf_rounds = 5;
    start();
    ASSERT_TRUE(is_hanging());
    destroy_engine();
    EXPECT_LT(deaf_rounds, 0);
}

TEST_F(HangingCall, cancelling_waits_for_the_call) {
    information_hangs = true;  // of the scope
    start();
    ASSERT_TRUE(is_hanging());
    ss_cancel(engine_);
    EXPECT_EQ(WaitForSingleObject(ended, 100), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(status().state, SS_ENGINE_RUNNING);
    destroy_engine();
}

TEST_F(HangingCall, replacement_of_the_cache_is_ended_and_leaves_the_old_one) {
    EXPECT_EQ(build(path("tree"), path("c/index")).state, SS_ENGINE_READY);
    move_hangs = true;
    start(path("c/index"));
    ASSERT_TRUE(is_hanging());
    destroy_engine();
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_ / "c")) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(names, std::vector<std::string>{"index"});
}

TEST_F(HangingCall, temporary_file_goes_though_its_removal_takes_longer_than_a_joiner_first_waits) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch remove(library, "DeleteFileW", &delete_slowly);
    const ImportPatch wait(library, "WaitForSingleObject", &wait_while_it_removes);
    const ImportPatch clock(library, "QueryPerformanceCounter", &stopped_clock);
    ASSERT_TRUE(remove.applied() && wait.applied() && clock.applied());
    left_alone = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    joining_thread = GetCurrentThreadId();
    ended_removals = 0;
    make_folder("c");
    move_hangs = true;
    start(path("c/index"));
    ASSERT_TRUE(is_hanging());
    destroy_engine();
    EXPECT_TRUE(std::filesystem::is_empty(scratch_ / "c"));
    EXPECT_LE(ended_removals, 3);
    CloseHandle(left_alone);
}

TEST_F(HangingCall, question_about_a_result_is_ended_when_the_query_is_destroyed) {
    EXPECT_EQ(build(path("tree")).entries, 3u);
    information_hangs = true;
    SystemSearchQuery* const query = ss_query(engine_, "", 0, 0, 1000);
    ASSERT_TRUE(is_hanging());
    ss_query_destroy(query);
    information_hangs = false;
    // Another query of the same engine is whole.
    const HostQuery next(ss_query(engine_, "", 0, 0, 1000));
    ASSERT_EQ(next.status().count, 3u);
    for (std::uint32_t i = 0; i < 3; ++i) EXPECT_NE(next.metadata(i).flags, 0u);
}

TEST_F(HangingCall, listing_is_ended_when_it_is_destroyed) {
    find_hangs = true;
    SystemSearchQuery* const listing = ss_query_directory(path("tree").c_str(), "", 0, 0, 1000);
    ASSERT_TRUE(is_hanging());
    ss_query_destroy(listing);
}

// A call that answers is waited for a moment, so that destroying a healthy query ends nothing.
TEST_F(HangingCall, only_threads_that_are_joined_are_ended) {
    EXPECT_EQ(build(path("tree")).entries, 3u);
    EXPECT_EQ(build(path("tree")).entries, 3u);
    information_hangs = true;
    SystemSearchQuery* const stuck = ss_query(engine_, "", 0, 0, 1000);
    ASSERT_TRUE(is_hanging());
    const DWORD stuck_thread = hanging_thread;
    // The engine's own thread has ended: joining it does not touch the query's.
    destroy_engine();
    EXPECT_EQ(hanging_thread, stuck_thread);
    ss_query_destroy(stuck);
}

}  // namespace
