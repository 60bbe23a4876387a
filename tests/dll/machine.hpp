// Which machine a test runs on. Most tests mean the same under Wine and on Windows; some need what
// the Unix side of Wine prepares, others what only Windows does.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>

inline bool runs_under_wine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// Whether the process has an administrator's rights already. A program that asks for them opens a
// box on the screen otherwise, so look here before starting one.
inline bool is_elevated() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return false;
    TOKEN_ELEVATION elevation{};
    DWORD bytes = 0;
    const bool is_told =
        GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &bytes) != 0;
    CloseHandle(token);
    return is_told && elevation.TokenIsElevated != 0;
}

// In a test that starts what only an administrator may run.
#define NEEDS_ELEVATION(why) \
    if (!is_elevated()) GTEST_SKIP() << (why) << "; an administrator's prompt allows it"

// In a test that needs what the shell script beside it prepares and names in `variable`. The kit
// for Windows machines has no such script; anywhere else its absence is a failure.
#define NEEDS_PREPARED(variable)                                                                \
    if (std::getenv(variable) == nullptr && std::getenv("SS_KIT") != nullptr)                   \
    GTEST_SKIP() << "needs what a shell script prepares on the Unix side of Wine (" << variable \
                 << ")"

// In a test of something that Wine lacks. SS_EVEN_UNDER_WINE runs it there all the same, to see how
// far it comes.
#define ONLY_ON_WINDOWS(why)                                               \
    if (runs_under_wine() && std::getenv("SS_EVEN_UNDER_WINE") == nullptr) \
    GTEST_SKIP() << "under Wine: " << (why)
