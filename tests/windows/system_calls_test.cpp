// What the DLL asks of the system where a result cannot show it: the calls are replaced in this
// process, looked at, and passed on.
#include <string>

#include "windows/engine_host.hpp"
#include "windows/import_table.hpp"

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

using SystemCalls = EngineHost;

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
