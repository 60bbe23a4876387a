// What a process holds that a library could leave behind.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <psapi.h>

#include <cstdint>

struct ProcessResources {
    // The lowest free index or handle value: what was taken below it and not given back raises it.
    DWORD free_tls_slot;
    DWORD free_fls_slot;
    std::uintptr_t free_handle;
    std::size_t memory_bytes;

    static ProcessResources now() {
        ProcessResources resources{};
        resources.free_tls_slot = TlsAlloc();
        TlsFree(resources.free_tls_slot);
        resources.free_fls_slot = FlsAlloc(nullptr);
        FlsFree(resources.free_fls_slot);
        HANDLE const handle = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        resources.free_handle = reinterpret_cast<std::uintptr_t>(handle);
        CloseHandle(handle);
        PROCESS_MEMORY_COUNTERS counters{};
        K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
        resources.memory_bytes = counters.WorkingSetSize;
        return resources;
    }
};
