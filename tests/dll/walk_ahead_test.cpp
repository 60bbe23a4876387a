// What the shipped DLL asks of a disk that takes its time to answer, and from how many threads. The
// system's functions are replaced in this process, slowed down, looked at, and passed on.
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>

#include "dll/engine_host.hpp"
#include "dll/import_table.hpp"

namespace {

struct Disk {
    DWORD answer_ms = 0;  // of an opening and of an attribute query
    // The opening that is not answered before two threads have opened a folder.
    std::size_t answered_to_two = 0;
    std::function<void(const std::wstring& path)> at_attributes;
    std::function<void(const WIN32_FIND_DATAW& found)> at_child;

    std::mutex mutex;
    std::vector<std::wstring> opened;
    std::vector<std::wstring> asked;
    std::set<DWORD> threads;  // that read folders
    std::atomic<int> open{0};
    std::atomic<int> most_open{0};
};
std::unique_ptr<Disk> disk;

std::wstring without_prefix(std::wstring path) {
    return path.starts_with(L"\\\\?\\") ? path.substr(4) : path;
}

std::size_t note(std::vector<std::wstring>& list, const wchar_t* path) {
    const std::lock_guard lock(disk->mutex);
    list.push_back(without_prefix(path));
    disk->threads.insert(GetCurrentThreadId());
    return list.size();
}

void wait_for_two_threads() {
    const ULONGLONG give_up = GetTickCount64() + 60'000;
    while (GetTickCount64() < give_up) {
        {
            const std::lock_guard lock(disk->mutex);
            if (disk->threads.size() >= 2) return;
        }
        Sleep(1);
    }
}

HANDLE WINAPI find_first(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* out,
                         FINDEX_SEARCH_OPS search, void* filter, DWORD flags) {
    if (note(disk->opened, pattern) == disk->answered_to_two) wait_for_two_threads();
    Sleep(disk->answer_ms);
    HANDLE const handle = FindFirstFileExW(pattern, level, out, search, filter, flags);
    if (handle == INVALID_HANDLE_VALUE) return handle;
    const int now_open = ++disk->open;
    int most = disk->most_open;
    while (most < now_open && !disk->most_open.compare_exchange_weak(most, now_open)) {
    }
    return handle;
}

BOOL WINAPI find_next(HANDLE search, WIN32_FIND_DATAW* found) {
    const BOOL more = FindNextFileW(search, found);
    if (more && disk->at_child) disk->at_child(*found);
    return more;
}

BOOL WINAPI find_close(HANDLE search) {
    --disk->open;
    return FindClose(search);
}

DWORD WINAPI get_attributes(const wchar_t* path) {
    note(disk->asked, path);
    if (disk->at_attributes) disk->at_attributes(without_prefix(path));
    Sleep(disk->answer_ms);
    return GetFileAttributesW(path);
}

class WalkAheadTest : public EngineHost {
protected:
    static constexpr int kFolders = 30;

    void SetUp() override {
        EngineHost::SetUp();
        disk = std::make_unique<Disk>();
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        const auto replace = [&](const char* name, auto* replacement) {
            patches_.push_back(std::make_unique<ImportPatch>(library, name, replacement));
            ASSERT_TRUE(patches_.back()->applied()) << name << " is not imported";
        };
        replace("FindFirstFileExW", &find_first);
        replace("FindNextFileW", &find_next);
        replace("FindClose", &find_close);
        replace("GetFileAttributesW", &get_attributes);
    }
    void TearDown() override {
        ss_destroy(engine_);
        engine_ = nullptr;
        patches_.clear();
        EXPECT_EQ(disk->open, 0) << "an enumeration was left open";
        EngineHost::TearDown();
    }

    // Folders side by side, each with a file and a folder with a file.
    void make_tree() {
        for (int i = 0; i < kFolders; ++i) {
            const std::string folder = "tree/folder " + std::to_string(i);
            make_file(folder + "/file");
            make_file(folder + "/below/file");
        }
    }
    static constexpr std::uint32_t kEntries = 4 * kFolders;

    std::string cache_bytes() const {
        std::ifstream file(scratch_ / "cache", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

TEST_F(WalkAheadTest, a_slow_disk_is_read_by_several_threads_and_gives_the_same_cache) {
    make_tree();
    ASSERT_EQ(build(path("tree"), path("cache"), 1),
              (EngineStatus{SS_ENGINE_READY, kEntries, 0, 0, 0}));
    const std::string fast = cache_bytes();
    ASSERT_FALSE(fast.empty());

    disk->answer_ms = 4;
    disk->answered_to_two = kFolders;
    disk->opened.clear();
    disk->asked.clear();
    disk->threads.clear();
    disk->most_open = 0;
    ASSERT_EQ(build(path("tree"), path("cache"), 1),
              (EngineStatus{SS_ENGINE_READY, kEntries, 0, 0, 0}));
    EXPECT_EQ(cache_bytes(), fast);
    EXPECT_GE(disk->threads.size(), 2u) << "nobody read ahead";
    EXPECT_LE(disk->threads.size(), 5u);
    EXPECT_LE(disk->most_open, static_cast<int>(disk->threads.size()));
    // Each folder was asked about once, and opened once.
    EXPECT_EQ(disk->asked.size(), 2u * kFolders);
    EXPECT_EQ(disk->opened.size(), 2u * kFolders + 1);
    EXPECT_EQ(std::set(disk->asked.begin(), disk->asked.end()).size(), disk->asked.size());
    EXPECT_EQ(std::set(disk->opened.begin(), disk->opened.end()).size(), disk->opened.size());
}

TEST_F(WalkAheadTest, a_walk_of_few_folders_starts_no_thread) {
    make_file("tree/a/b/f");
    make_file("tree/z/f");
    disk->answer_ms = 20;
    ASSERT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 5, 0, 0, 0}));
    EXPECT_EQ(disk->threads.size(), 1u);
    EXPECT_EQ(disk->most_open, 1);
}

TEST_F(WalkAheadTest, cancel_ends_every_reader_before_its_next_child) {
    make_tree();
    disk->answer_ms = 4;
    HANDLE const held = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE const go_on = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::atomic<int> after_cancel{0};
    // Whoever reads then: all of them stop here, one after the other.
    std::atomic<int> children{0};
    std::atomic<bool> released{false};
    disk->at_child = [&](const WIN32_FIND_DATAW& found) {
        // The dots come in one step with the child behind them.
        if (released && found.cFileName[0] != L'.') ++after_cancel;
        if (++children < 100) return;
        SetEvent(held);
        WaitForSingleObject(go_on, 60'000);
    };
    ASSERT_EQ(ss_start(engine_, path("tree").c_str(), path("cache").c_str(), 1), 1);
    ASSERT_EQ(WaitForSingleObject(held, 60'000), WAIT_OBJECT_0);
    ss_cancel(engine_);
    EXPECT_EQ(status().state, SS_ENGINE_RUNNING);
    released = true;
    SetEvent(go_on);
    const EngineStatus end = finish();
    EXPECT_EQ(end.state, SS_ENGINE_CANCELLED);
    EXPECT_EQ(end.skipped, 0u);
    EXPECT_LT(end.entries, kEntries);
    EXPECT_EQ(disk->open, 0);
    // Only a thread that was in the system's call at the moment may still have brought one.
    EXPECT_LE(after_cancel, static_cast<int>(disk->threads.size()));
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "cache"));
    CloseHandle(held);
    CloseHandle(go_on);
}

TEST_F(WalkAheadTest, a_folder_above_may_be_renamed_while_the_walk_is_below) {
    make_file("tree/a/b/c/f");
    make_file("tree/a/b/later/f");
    make_file("tree/z");
    int below_b = 0;
    disk->at_attributes = [&](const std::wstring& asked) {
        EXPECT_EQ(disk->open, 0) << "a folder above is held";
        if (asked.find(L"\\b\\") == asked.npos || ++below_b != 2) return;
        const std::wstring folder = (scratch_ / "tree" / "a").wstring();
        EXPECT_TRUE(MoveFileW(folder.c_str(), (folder + L" renamed").c_str()));
    };
    ASSERT_EQ(build(path("tree")).state, SS_ENGINE_READY);
    EXPECT_EQ(status().skipped, 1u) << "what is no longer where it was cannot be entered";
    std::map<std::string, std::uint32_t> found = indexed();
    // Which of the two was entered before the renaming is the file system's affair.
    EXPECT_EQ(std::erase_if(found, [](const auto& entry) { return entry.first.ends_with("/f"); }),
              1u);
    EXPECT_EQ(found, expected("tree", {{"a", SS_KIND_FOLDER},
                                       {"a/b", SS_KIND_FOLDER},
                                       {"a/b/c", SS_KIND_FOLDER},
                                       {"a/b/later", SS_KIND_FOLDER},
                                       {"z", SS_KIND_FILE}}));
}

}  // namespace
