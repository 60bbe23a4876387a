// The library's process-attach entry.
//
// On attach it only switches off the loader's thread notifications. On detach it gives back what
// the library took from the process, but not when the process itself is ending: the system frees
// everything then, and the other threads are already gone.
#include <windows.h>

#include "platform/platform.hpp"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID process_is_ending) {
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
    if (reason == DLL_PROCESS_DETACH && process_is_ending == nullptr) {
        system_search::platform::detach();
    }
    return TRUE;
}
