// The threads of the shipped DLL as the host's other modules meet them: what those do when a thread
// begins and ends, the loader's lock, and what a thread takes of the address space.
//
// This program is linked with stacks of 16 MiB, as some hosts are.
#include <atomic>
#include <memory>
#include <set>
#include <thread>

#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/import_table.hpp"

namespace {

constexpr DWORD kGenerous = 60'000;

// ---- A module of the host that reads a pipe when a thread begins or ends ------------------------

constexpr DWORD kNoReason = 99;
std::atomic<DWORD> watched_reason{kNoReason};
HANDLE pipe_out = nullptr;
HANDLE pipe_in = nullptr;
HANDLE reads = nullptr;  // set when somebody reads
HANDLE helper_runs = nullptr;
std::atomic<DWORD> read_error{0};

void NTAPI at_thread(void*, DWORD reason, void*) {
    if (reason != watched_reason) return;
    watched_reason = kNoReason;
    SetEvent(reads);
    char byte = 0;
    DWORD got = 0;
    read_error = ReadFile(pipe_out, &byte, 1, &got, nullptr) ? 0 : GetLastError();
}

DWORD host_thread = 0;
std::atomic<int> waits_in_vain{0};

DWORD WINAPI wait(HANDLE handle, DWORD milliseconds) {
    const DWORD waited = WaitForSingleObject(handle, milliseconds);
    if (GetCurrentThreadId() == host_thread && waited == WAIT_TIMEOUT) ++waits_in_vain;
    return waited;
}

// Lets the reading end when whoever joins the thread has had several chances to end it.
void answer_late() {
    SetEvent(helper_runs);
    WaitForSingleObject(reads, kGenerous);
    const ULONGLONG give_up = GetTickCount64() + kGenerous;
    while (waits_in_vain < 4 && GetTickCount64() < give_up) Sleep(1);
    DWORD written = 0;
    WriteFile(pipe_in, "x", 1, &written, nullptr);
}

class LibraryThreads : public EngineHost {
protected:
    static HMODULE library() { return GetModuleHandleW(L"system_search.dll"); }
};

TEST_F(LibraryThreads, calls_that_other_modules_make_on_them_are_not_ended) {
    const ImportPatch patch(library(), "WaitForSingleObject", &wait);
    ASSERT_TRUE(patch.applied());
    host_thread = GetCurrentThreadId();
    reads = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    helper_runs = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    make_file("tree/f");
    for (const DWORD reason : {DWORD{DLL_THREAD_ATTACH}, DWORD{DLL_THREAD_DETACH}}) {
        ASSERT_TRUE(CreatePipe(&pipe_out, &pipe_in, nullptr, 0));
        waits_in_vain = 0;
        std::thread helper(answer_late);
        read_error = ~DWORD{0};
        // From here on only the library has threads that begin or end.
        ASSERT_EQ(WaitForSingleObject(helper_runs, kGenerous), DWORD{WAIT_OBJECT_0});
        watched_reason = reason;
        SystemSearchQuery* const query = ss_query_directory(path("tree").c_str(), "", 0, 0, 1);
        ss_query_destroy(query);
        helper.join();
        EXPECT_EQ(read_error, 0u)
            << "ended while the thread was no longer, or not yet, the library's";
        EXPECT_GE(waits_in_vain, 4);
        CloseHandle(pipe_out);
        CloseHandle(pipe_in);
    }
    CloseHandle(reads);
    CloseHandle(helper_runs);
}

// ---- The loader's lock --------------------------------------------------------------------------

class LoaderLock {
public:
    LoaderLock() {
        const auto lock = function<LONG(NTAPI*)(ULONG, ULONG*, ULONG_PTR*)>("LdrLockLoaderLock");
        EXPECT_EQ(lock(0, nullptr, &cookie_), 0);
    }
    ~LoaderLock() { function<LONG(NTAPI*)(ULONG, ULONG_PTR)>("LdrUnlockLoaderLock")(0, cookie_); }
    LoaderLock(const LoaderLock&) = delete;
    LoaderLock& operator=(const LoaderLock&) = delete;

private:
    template <class Function>
    static Function function(const char* name) {
        FARPROC const address = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name);
        return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
    }

    ULONG_PTR cookie_ = 0;
};

std::mutex readers_mutex;
std::set<DWORD> readers;  // and the build's own thread
HANDLE two_read = nullptr;
HANDLE go_on = nullptr;

HANDLE WINAPI find_first_together(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* out,
                                  FINDEX_SEARCH_OPS search, void* filter, DWORD flags) {
    std::size_t threads = 0;
    {
        const std::lock_guard lock(readers_mutex);
        readers.insert(GetCurrentThreadId());
        threads = readers.size();
    }
    Sleep(4);
    if (threads >= 2) {
        SetEvent(two_read);
        WaitForSingleObject(go_on, kGenerous);
    }
    return FindFirstFileExW(pattern, level, out, search, filter, flags);
}

TEST_F(LibraryThreads, a_build_with_readers_ends_while_the_host_holds_the_loaders_lock) {
    const ImportPatch patch(library(), "FindFirstFileExW", &find_first_together);
    ASSERT_TRUE(patch.applied());
    two_read = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    go_on = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    constexpr int kFolders = 200;
    make_folders("tree", kFolders, 1);
    ASSERT_EQ(ss_start(engine_, path("tree").c_str(), "", 0), 1);
    ASSERT_EQ(WaitForSingleObject(two_read, kGenerous), DWORD{WAIT_OBJECT_0}) << "no reader came";
    {
        const LoaderLock held;
        SetEvent(go_on);
        EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 2 * kFolders, 0, 0, 0}));
    }
    ss_destroy(engine_);
    engine_ = nullptr;
    CloseHandle(two_read);
    CloseHandle(go_on);
}

// ---- Stacks -------------------------------------------------------------------------------------

std::atomic<std::size_t> reserved_bytes{0};
std::atomic<SIZE_T> asked_bytes{0};
std::atomic<DWORD> asked_flags{0};

HANDLE WINAPI create_thread(SECURITY_ATTRIBUTES* who, SIZE_T stack, LPTHREAD_START_ROUTINE body,
                            void* argument, DWORD flags, DWORD* id) {
    asked_bytes = stack;
    asked_flags = flags;
    return CreateThread(who, stack, body, argument, flags, id);
}

// Of the calling thread: all regions that were allocated with the one that this variable lies in.
std::size_t stack_bytes() {
    MEMORY_BASIC_INFORMATION region{};
    VirtualQuery(&region, &region, sizeof region);
    char* const stack = static_cast<char*>(region.AllocationBase);
    std::size_t bytes = 0;
    while (VirtualQuery(stack + bytes, &region, sizeof region) != 0 &&
           region.AllocationBase == stack) {
        bytes += region.RegionSize;
    }
    return bytes;
}

HANDLE WINAPI find_first(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* out,
                         FINDEX_SEARCH_OPS search, void* filter, DWORD flags) {
    reserved_bytes = stack_bytes();
    return FindFirstFileExW(pattern, level, out, search, filter, flags);
}

TEST_F(LibraryThreads, reserve_a_small_stack_whatever_the_hosts_program_says) {
    ASSERT_GE(stack_bytes(), std::size_t{16} << 20) << "this program is not such a host";
    const ImportPatch create(library(), "CreateThread", &create_thread);
    const ImportPatch find(library(), "FindFirstFileExW", &find_first);
    ASSERT_TRUE(create.applied() && find.applied());
    make_file("tree/f");
    EXPECT_EQ(build(path("tree")).entries, 1u);
    EXPECT_EQ(asked_bytes, SIZE_T{256} << 10);
    EXPECT_EQ(asked_flags, DWORD{STACK_SIZE_PARAM_IS_A_RESERVATION});
    // Wine gives no thread less than 1 MiB.
    EXPECT_LE(reserved_bytes, std::size_t{1} << 20);
    EXPECT_GE(reserved_bytes, std::size_t{256} << 10);
}

}  // namespace

// Among those that the system tells of every thread that begins and ends.
extern "C" __attribute__((section(".CRT$XLF"), used)) const PIMAGE_TLS_CALLBACK kAtThread =
    &at_thread;
