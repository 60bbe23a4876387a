// What the DLL asks of the system where a result cannot show it: the calls are replaced in this
// process, looked at, and passed on.
#include <atomic>
#include <string>
#include <vector>

#include "dll/engine_host.hpp"
#include "dll/import_table.hpp"

namespace {

// ---- Saving -------------------------------------------------------------------------------------

// What was seen of one save.
struct Save {
    std::wstring from;
    std::wstring to;
    DWORD flags = 0;
    bool temporary_file_is_shared = false;
};
Save save;

BOOL WINAPI move_file(const wchar_t* from, const wchar_t* to, DWORD flags) {
    save.from = from;
    save.to = to;
    save.flags = flags;
    return MoveFileExW(from, to, flags);
}

HANDLE WINAPI create_file(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* who,
                          DWORD disposition, DWORD flags, HANDLE like) {
    HANDLE const file = CreateFileW(path, access, share, who, disposition, flags, like);
    if ((access & GENERIC_WRITE) != 0) {
        constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        HANDLE const beside = CreateFileW(path, GENERIC_READ | GENERIC_WRITE | DELETE, kShareAll,
                                          nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        save.temporary_file_is_shared = beside != INVALID_HANDLE_VALUE;
        if (save.temporary_file_is_shared) CloseHandle(beside);
    }
    return file;
}

// In which order what happened to the temporary file, and the name of one that was there before.
std::vector<std::string> steps;
DWORD disposition_seen = 0;
DWORD flush_error = 0;

HANDLE WINAPI create_step(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* who,
                          DWORD disposition, DWORD flags, HANDLE like) {
    if ((access & GENERIC_WRITE) != 0) {
        steps.emplace_back("create");
        disposition_seen = disposition;
    }
    return CreateFileW(path, access, share, who, disposition, flags, like);
}
BOOL WINAPI write_step(HANDLE file, const void* from, DWORD bytes, DWORD* done, OVERLAPPED* at) {
    steps.emplace_back("write");
    return WriteFile(file, from, bytes, done, at);
}
BOOL WINAPI flush_step(HANDLE file) {
    steps.emplace_back("flush");
    if (flush_error != 0) {
        SetLastError(flush_error);
        return FALSE;
    }
    return FlushFileBuffers(file);
}
BOOL WINAPI close_step(HANDLE handle) {
    if (!steps.empty() && steps.back() != "move") steps.emplace_back("close");
    return CloseHandle(handle);
}
BOOL WINAPI move_step(const wchar_t* from, const wchar_t* to, DWORD flags) {
    steps.emplace_back("move");
    return MoveFileExW(from, to, flags);
}

// Errors that the next replacements or removals meet before they are really made.
std::atomic<int> refusals{0};
std::atomic<int> attempts{0};
std::atomic<int> removals{0};
DWORD refusal = 0;
SystemSearchEngine* cancelled_at_refusal = nullptr;
int closed_at_attempt = 0;  // when another program closes `held`
HANDLE held = INVALID_HANDLE_VALUE;

BOOL WINAPI move_reluctantly(const wchar_t* from, const wchar_t* to, DWORD flags) {
    if (++attempts == closed_at_attempt) CloseHandle(held);
    if (refusals-- > 0) {
        if (cancelled_at_refusal != nullptr) ss_cancel(cancelled_at_refusal);
        SetLastError(refusal);
        return FALSE;
    }
    return MoveFileExW(from, to, flags);
}
BOOL WINAPI delete_reluctantly(const wchar_t* path) {
    ++removals;
    if (refusals-- > 0) {
        SetLastError(refusal);
        return FALSE;
    }
    return DeleteFileW(path);
}
BOOL WINAPI cancel_at_write(HANDLE file, const void* from, DWORD bytes, DWORD* done,
                            OVERLAPPED* at) {
    ss_cancel(cancelled_at_refusal);
    return WriteFile(file, from, bytes, done, at);
}
BOOL WINAPI refuse_move(const wchar_t*, const wchar_t*, DWORD) {
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

// The names in a folder.
std::vector<std::string> names_in(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

constexpr char kNotSaved[] = "Index is usable, but its cache could not be saved.";

class SystemCalls : public EngineHost {
protected:
    void SetUp() override {
        EngineHost::SetUp();
        steps.clear();
        flush_error = 0;
        refusals = attempts = removals = 0;
        cancelled_at_refusal = nullptr;
        closed_at_attempt = 0;
    }
};

TEST_F(SystemCalls, cache_is_replaced_in_one_step_that_reaches_the_disk_before_the_build_is_ready) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch patch(library, "MoveFileExW", &move_file);
    ASSERT_TRUE(patch.applied());
    save = {};
    make_file("tree/f");
    const std::string cache = path("index");
    EXPECT_EQ(build(path("tree"), cache).state, SS_ENGINE_READY);
    EXPECT_EQ(save.flags, DWORD{MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH});
    EXPECT_EQ(save.to, std::wstring(cache.begin(), cache.end()));
    EXPECT_EQ(save.from.substr(0, save.to.size() + 1), save.to + L".");
    EXPECT_TRUE(save.from.ends_with(L".tmp"));
}

TEST_F(SystemCalls, others_may_open_the_temporary_file_while_it_is_written) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch patch(library, "CreateFileW", &create_file);
    ASSERT_TRUE(patch.applied());
    save = {};
    make_file("tree/f");
    EXPECT_EQ(build(path("tree"), path("index")).state, SS_ENGINE_READY);
    EXPECT_TRUE(save.temporary_file_is_shared);
    EXPECT_EQ(error(), "");
}

TEST_F(SystemCalls, cache_is_on_the_disk_before_it_is_closed_and_replaces_the_old_one) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch create(library, "CreateFileW", &create_step);
    const ImportPatch write(library, "WriteFile", &write_step);
    const ImportPatch flush(library, "FlushFileBuffers", &flush_step);
    const ImportPatch close(library, "CloseHandle", &close_step);
    const ImportPatch move(library, "MoveFileExW", &move_step);
    ASSERT_TRUE(create.applied() && write.applied() && flush.applied() && close.applied());
    make_file("tree/f");
    EXPECT_EQ(build(path("tree"), path("index")).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(steps, (std::vector<std::string>{"create", "write", "flush", "close", "move"}));
    EXPECT_EQ(disposition_seen, DWORD{CREATE_NEW});

    flush_error = ERROR_IO_DEVICE;
    steps.clear();
    EXPECT_EQ(build(path("tree"), path("c/index")).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), kNotSaved);
    EXPECT_EQ(steps, (std::vector<std::string>{"create", "write", "flush", "close"}));
    EXPECT_EQ(names_in(scratch_ / "c"), std::vector<std::string>{});
}

TEST_F(SystemCalls, replacement_and_removal_are_tried_again_while_the_error_may_pass) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    make_file("tree/f");
    make_file("c/index");
    for (const DWORD error : {5u, 32u, 33u}) {
        refusal = error;
        {
            const ImportPatch move(library, "MoveFileExW", &move_reluctantly);
            refusals = 4;
            attempts = 0;
            EXPECT_EQ(build(path("tree"), path("c/index"), 1).state, SS_ENGINE_READY);
            EXPECT_EQ(this->error(), "") << error;
            EXPECT_EQ(attempts, 5);
        }
        const ImportPatch move(library, "MoveFileExW", &refuse_move);
        const ImportPatch remove(library, "DeleteFileW", &delete_reluctantly);
        ASSERT_TRUE(move.applied() && remove.applied());
        refusals = 4;
        removals = 0;
        EXPECT_EQ(build(path("tree"), path("c/index"), 1).state, SS_ENGINE_READY);
        EXPECT_EQ(this->error(), kNotSaved) << error;
        EXPECT_EQ(removals, 5);
        EXPECT_EQ(names_in(scratch_ / "c"), std::vector<std::string>{"index"});
    }
}

TEST_F(SystemCalls, cancelled_build_does_not_try_again) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch move(library, "MoveFileExW", &move_reluctantly);
    make_file("tree/f");
    make_folder("c");
    refusal = ERROR_SHARING_VIOLATION;
    refusals = 1000;
    cancelled_at_refusal = engine_;
    EXPECT_EQ(build(path("tree"), path("c/index")).state, SS_ENGINE_CANCELLED);
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(error(), kNotSaved) << "a replacement that was refused has failed";
    EXPECT_EQ(names_in(scratch_ / "c"), std::vector<std::string>{});
}

TEST_F(SystemCalls, temporary_file_of_a_cancelled_build_goes_though_somebody_reads_it) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch write(library, "WriteFile", &cancel_at_write);
    const ImportPatch remove(library, "DeleteFileW", &delete_reluctantly);
    ASSERT_TRUE(write.applied() && remove.applied());
    make_file("tree/f");
    make_folder("c");
    refusal = ERROR_SHARING_VIOLATION;
    refusals = 3;
    cancelled_at_refusal = engine_;
    EXPECT_EQ(build(path("tree"), path("c/index")).state, SS_ENGINE_CANCELLED);
    EXPECT_EQ(removals, 4);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(names_in(scratch_ / "c"), std::vector<std::string>{});
}

TEST_F(SystemCalls, disk_that_knows_no_flushing_is_saved_to_all_the_same) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch flush(library, "FlushFileBuffers", &flush_step);
    ASSERT_TRUE(flush.applied());
    make_file("tree/f");
    for (const DWORD error : {1u, 50u}) {
        flush_error = error;
        EXPECT_EQ(build(path("tree"), path("c/index"), 1).state, SS_ENGINE_READY);
        EXPECT_EQ(this->error(), "") << error;
        EXPECT_EQ(build(path("tree"), path("c/index")).from_cache, 1u);
    }
    EXPECT_EQ(steps, (std::vector<std::string>{"flush", "flush"}));
}

// Another program has the old cache open and lets nobody delete it: for a while, then for ever.
TEST_F(SystemCalls, old_cache_that_is_held_open_is_waited_for_but_not_for_ever) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch move(library, "MoveFileExW", &move_reluctantly);
    make_file("tree/f");
    make_file("c/index");
    const auto hold = [&] {
        return CreateFileW((scratch_ / "c" / "index").c_str(), GENERIC_READ, FILE_SHARE_READ,
                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    };
    held = hold();
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    closed_at_attempt = 5;
    EXPECT_EQ(build(path("tree"), path("c/index"), 1).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(attempts, 5);
    EXPECT_EQ(build(path("tree"), path("c/index")).from_cache, 1u);

    held = hold();
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    closed_at_attempt = attempts = 0;
    EXPECT_EQ(build(path("tree"), path("c/index"), 1).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), kNotSaved);
    EXPECT_EQ(attempts, 11);
    CloseHandle(held);
    EXPECT_EQ(names_in(scratch_ / "c"), std::vector<std::string>{"index"});
    EXPECT_EQ(build(path("tree"), path("c/index")).from_cache, 1u) << "the old one is whole";
}

// ---- The error text -----------------------------------------------------------------------------

int blocks_held = 0;  // of the library's, by the one thread that uses it

void* count_malloc(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (memory != nullptr) ++blocks_held;
    return memory;
}
void count_free(void* memory) {
    if (memory != nullptr) --blocks_held;
    std::free(memory);
}

BOOL WINAPI deny_attributes(const wchar_t*, GET_FILEEX_INFO_LEVELS, void*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

struct TextReader {
    SystemSearchEngine* with_short_text;
    SystemSearchEngine* with_long_text;
    std::string long_text;
};

DWORD WINAPI read_both_texts(void* argument) {
    auto* const reader = static_cast<TextReader*>(argument);
    ss_error(reader->with_short_text);
    reader->long_text = ss_error(reader->with_long_text);
    return 0;
}

TEST_F(SystemCalls, error_text_that_outgrows_its_buffer_comes_whole_and_leaves_nothing_behind) {
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const std::string scope = "C:\\" + std::string(3000, 'n');
    {
        const ImportPatch patch(library, "GetFileAttributesExW", &deny_attributes);
        ASSERT_TRUE(patch.applied());
        EXPECT_EQ(build(scope).state, SS_ENGINE_FAILED);
    }
    SystemSearchEngine* const fresh = ss_create();
    TextReader reader{fresh, engine_, {}};
    {
        const ImportPatch malloc_patch(library, "malloc", &count_malloc);
        const ImportPatch free_patch(library, "free", &count_free);
        ASSERT_TRUE(malloc_patch.applied() && free_patch.applied());
        blocks_held = 0;
        HANDLE const thread = CreateThread(nullptr, 0, read_both_texts, &reader, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        EXPECT_EQ(blocks_held, 0);
    }
    EXPECT_EQ(reader.long_text.substr(0, 8), "status: ");
    EXPECT_NE(reader.long_text.find(scope), std::string::npos);
    ss_destroy(fresh);
}

}  // namespace
