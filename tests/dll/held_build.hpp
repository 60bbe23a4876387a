// Builds of the shipped DLL that stand still where they open their first folder, until `let_go` is
// called or this ends. One at a time.
#pragma once

#include <windows.h>

#include "dll/import_table.hpp"

class HeldBuild {
public:
    HeldBuild() { ResetEvent(go_on()); }
    ~HeldBuild() { let_go(); }
    void let_go() const { SetEvent(go_on()); }
    // False when the library opens no folder through its imports.
    bool applied() const { return patch_.applied(); }

private:
    static HANDLE go_on() {
        static HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return event;
    }
    static HANDLE WINAPI find_first(LPCWSTR pattern, FINDEX_INFO_LEVELS level, LPVOID found,
                                    FINDEX_SEARCH_OPS operation, LPVOID filter, DWORD flags) {
        WaitForSingleObject(go_on(), INFINITE);
        return FindFirstFileExW(pattern, level, found, operation, filter, flags);
    }

    const ImportPatch patch_{GetModuleHandleW(L"system_search.dll"), "FindFirstFileExW",
                             &find_first};
};
