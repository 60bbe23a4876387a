// The stack protector: its guard is another one at each load, and a function that was written past
// the end of its array ends the process.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "dll/engine_host.hpp"
#include "dll/import_table.hpp"
#include "dll/loaded_library.hpp"
#include "dll/machine.hpp"

namespace {

constexpr std::uint64_t kUnseeded = 0xB7E1'5162'8AED'2A00;
constexpr DWORD kStackBufferOverrun = 0xC0000409;

std::uint64_t guard_of(HMODULE module) {
    const char* const place = std::getenv("SS_STACK_GUARD");
    const char* const base = reinterpret_cast<const char*>(module);
    return *reinterpret_cast<const std::uint64_t*>(base + std::strtoull(place, nullptr, 10));
}

TEST(StackGuard, is_another_one_at_each_load_and_stops_a_text) {
    NEEDS_PREPARED("SS_STACK_GUARD");
    ASSERT_NE(std::getenv("SS_STACK_GUARD"), nullptr) << "run through stack_guard_test.sh";
    // A copy: the test program itself keeps the DLL loaded.
    wchar_t original[MAX_PATH];
    GetModuleFileNameW(GetModuleHandleW(L"system_search.dll"), original, MAX_PATH);
    const std::wstring copy = std::wstring(original) + L".stack_guard_test.dll";
    ASSERT_TRUE(CopyFileW(original, copy.c_str(), FALSE));

    std::set<std::uint64_t> guards{kUnseeded, guard_of(GetModuleHandleW(L"system_search.dll"))};
    for (int load = 0; load < 8; ++load) {
        HMODULE const module = LoadLibraryW(copy.c_str());
        ASSERT_NE(module, nullptr);
        const std::uint64_t guard = guard_of(module);
        EXPECT_TRUE(guards.insert(guard).second) << std::hex << guard;
        EXPECT_EQ(guard & 0xFF, 0u);
        FreeLibrary(module);
    }
    DeleteFileW(copy.c_str());
}

// The library's buffer has 512 units; what lies behind it is the guard.
DWORD WINAPI write_too_much(DWORD units, wchar_t* roots) {
    for (DWORD i = 0; i < units + 8; ++i) roots[i] = L'x';
    constexpr wchar_t kRoot[] = L"no such folder\\\0";  // relative, and "fixed": see below
    std::copy_n(kRoot, sizeof kRoot / sizeof *kRoot, roots);
    return 15;
}

UINT WINAPI fixed_drive(const wchar_t*) {
    return DRIVE_FIXED;
}

TEST(StackGuard, array_that_was_overrun_ends_the_process) {
    const auto overrun = [] {
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        const ImportPatch drives(library, "GetLogicalDriveStringsW", &write_too_much);
        const ImportPatch type(library, "GetDriveTypeW", &fixed_drive);
        SystemSearchEngine* const engine = ss_create();
        ss_start(engine, "", "", 1);
        Sleep(INFINITE);
    };
    const auto is_overrun = [](int code) {
        return static_cast<DWORD>(code) == kStackBufferOverrun;
    };
    EXPECT_EXIT(overrun(), is_overrun, "");
}

}  // namespace
