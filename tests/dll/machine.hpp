// Which machine a test runs on. Most tests mean the same under Wine and on Windows; some need what
// the Unix side of Wine prepares, others what only Windows does.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>

inline bool runs_under_wine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

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
