// The library's process-attach entry.
//
// On attach it only switches off the loader's thread notifications and seeds the stack guard, which
// asks the system for nothing. On detach it gives back what the library took from the process, but
// not when the process itself is ending: the system frees everything then, and the other threads
// are already gone.
#include <windows.h>

#include "platform/platform.hpp"
#include "platform/windows_runtime.hpp"

// Without a guard of its own, because the guard changes while it runs.
extern "C" __attribute__((no_stack_protector)) BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason,
                                                                   LPVOID process_is_ending) {
    if (reason == DLL_PROCESS_ATTACH) {
        system_search::platform::seed_stack_guard();
        DisableThreadLibraryCalls(instance);
    }
    if (reason == DLL_PROCESS_DETACH && process_is_ending == nullptr) {
        system_search::platform::detach();
    }
    return TRUE;
}
