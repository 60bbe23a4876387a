#include "announcements.hpp"

#include <windows.h>

#include <string_view>

namespace {

LONG heard = 0;

void CALLBACK hear(HWINEVENTHOOK, DWORD event, HWND window, LONG object, LONG child, DWORD, DWORD) {
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    const bool is_results =
        std::wstring_view(name) == L"msctls_statusbar32" && object == OBJID_CLIENT && child == 1;
    if (is_results && event == EVENT_OBJECT_LIVEREGIONCHANGED) InterlockedIncrement(&heard);
}

DWORD WINAPI listen(void* ready) {
    SetWinEventHook(EVENT_OBJECT_NAMECHANGE, EVENT_OBJECT_LIVEREGIONCHANGED, nullptr, hear, 0, 0,
                    WINEVENT_OUTOFCONTEXT);
    SetEvent(ready);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    return 0;
}

}  // namespace

void listen_to_announcements() {
    HANDLE const ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(CreateThread(nullptr, 0, listen, ready, 0, nullptr));
    WaitForSingleObject(ready, 60'000);
    CloseHandle(ready);
}

int heard_announcements() {
    return static_cast<int>(InterlockedCompareExchange(&heard, 0, 0));
}
