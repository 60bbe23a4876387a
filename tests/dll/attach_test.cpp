// Attaching to a process: the loader's news of every thread that starts or ends are switched off.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>

#include "dll/loaded_library.hpp"

namespace {

const IMAGE_OPTIONAL_HEADER& header_of(HMODULE module) {
    const char* const base = reinterpret_cast<const char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    return reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew)->OptionalHeader;
}

std::atomic<int> calls{0};

BOOL WINAPI count_call(HINSTANCE, DWORD, LPVOID) {
    ++calls;
    return TRUE;
}

// While it lives, the loader calls count_call in place of a module's entry.
class EntryPatch {
public:
    explicit EntryPatch(HMODULE module)
        : place_(reinterpret_cast<char*>(module) + header_of(module).AddressOfEntryPoint) {
        std::memcpy(original_.data(), place_, original_.size());
        std::array<unsigned char, 12> jump = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};
        const auto target = reinterpret_cast<std::uintptr_t>(&count_call);
        std::memcpy(jump.data() + 2, &target, sizeof target);
        write(jump);
    }
    ~EntryPatch() { write(original_); }
    EntryPatch(const EntryPatch&) = delete;
    EntryPatch& operator=(const EntryPatch&) = delete;

private:
    void write(const std::array<unsigned char, 12>& code) {
        DWORD protection = 0;
        VirtualProtect(place_, code.size(), PAGE_EXECUTE_READWRITE, &protection);
        std::memcpy(place_, code.data(), code.size());
        VirtualProtect(place_, code.size(), protection, &protection);
        FlushInstructionCache(GetCurrentProcess(), place_, code.size());
    }

    char* place_;
    std::array<unsigned char, 12> original_{};
};

DWORD WINAPI end_at_once(void*) {
    return 0;
}

TEST(Attach, threads_that_start_and_end_are_not_told_to_the_library) {
    LoadedLibrary library;
    ASSERT_NE(library.module(), nullptr);
    {
        const EntryPatch patch(library.module());
        for (int i = 0; i < 3; ++i) {
            HANDLE const thread = CreateThread(nullptr, 0, end_at_once, nullptr, 0, nullptr);
            ASSERT_NE(thread, nullptr);
            WaitForSingleObject(thread, INFINITE);
            CloseHandle(thread);
        }
        EXPECT_EQ(calls, 0);
    }
    library.unload();
    EXPECT_FALSE(LoadedLibrary::is_in_process());
}

// The loader gives every thread memory for a module with static thread-local storage, tells it of
// every thread, and refuses to stop doing so.
TEST(Attach, library_has_no_static_thread_local_storage) {
    LoadedLibrary library;
    ASSERT_NE(library.module(), nullptr);
    const auto& storage = header_of(library.module()).DataDirectory[IMAGE_DIRECTORY_ENTRY_TLS];
    EXPECT_EQ(storage.VirtualAddress, 0u);
    EXPECT_EQ(storage.Size, 0u);
    EXPECT_NE(DisableThreadLibraryCalls(library.module()), FALSE);
}

}  // namespace
