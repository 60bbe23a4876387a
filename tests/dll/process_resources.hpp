// What a process holds that a library could leave behind. A virus scanner or a shell extension in
// the process takes and gives back the same things, so one difference proves nothing: what a
// library loses grows in each of several parts of a test.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <psapi.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

struct ProcessResources {
    // The lowest free index or handle value: what was taken below it and not given back raises it.
    DWORD free_tls_slot;
    DWORD free_fls_slot;
    std::uintptr_t free_handle;
    std::size_t memory_bytes;  // of its own; what of it lies in memory is the system's choice

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
        resources.memory_bytes = counters.PagefileUsage;
        return resources;
    }
};

// Compares what the process held at several moments, each as much work after the one before.
class ResourceMarks {
public:
    static constexpr int kParts = 4;

    // To be called before each part and once behind the last.
    void add() { marks_.push_back(ProcessResources::now()); }

    // By how much one resource grew in the part in which it grew least.
    template <typename Number>
    std::ptrdiff_t least_growth(Number ProcessResources::* resource) const {
        std::ptrdiff_t least = std::numeric_limits<std::ptrdiff_t>::max();
        for (std::size_t i = 1; i < marks_.size(); ++i) {
            least = std::min(least, static_cast<std::ptrdiff_t>(marks_[i].*resource) -
                                        static_cast<std::ptrdiff_t>(marks_[i - 1].*resource));
        }
        return least;
    }

private:
    std::vector<ProcessResources> marks_;
};
