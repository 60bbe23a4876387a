#include "process_objects.hpp"

#include <winternl.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

// GetGuiResources is a stub that answers 0 under Wine. There the table of a process's GDI objects
// lies in its own memory, in the form that Windows gives its table of all processes.
struct GdiEntry {
    std::uint64_t object;
    std::uint16_t process;
    std::uint16_t count;
    std::uint16_t unique;
    std::uint8_t type;
    std::uint8_t extended_type;
    std::uint64_t user_pointer;
};
constexpr std::size_t kGdiEntries = 0x4000;
constexpr std::size_t kPebGdiTable = 0xF8;

std::size_t gdi_objects(HANDLE process) {
    PROCESS_BASIC_INFORMATION basic{};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr);
    const auto* const peb = reinterpret_cast<const std::byte*>(basic.PebBaseAddress);
    void* table = nullptr;
    auto entries = std::make_unique<GdiEntry[]>(kGdiEntries);
    if (!ReadProcessMemory(process, peb + kPebGdiTable, &table, sizeof table, nullptr) ||
        table == nullptr ||
        !ReadProcessMemory(process, table, entries.get(), kGdiEntries * sizeof(GdiEntry),
                           nullptr)) {
        throw std::runtime_error("the table of GDI objects cannot be read");
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < kGdiEntries; ++i) count += entries[i].type != 0;
    return count;
}

// Wine gives the lowest never used number only when no number is free, and the number last freed
// first. So when menus get ascending numbers for a while, every number below is in use, and the
// last number tells how many there are.
std::size_t user_objects_by_ascent() {
    constexpr int kAscending = 64;
    constexpr std::size_t kMost = 20000;
    std::vector<HMENU> menus;
    std::uintptr_t last = 0;
    for (int ascending = 0; ascending < kAscending;) {
        HMENU const menu = CreateMenu();
        if (menu == nullptr || menus.size() == kMost) {
            throw std::runtime_error("the numbers of USER objects do not ascend");
        }
        menus.push_back(menu);
        const std::uintptr_t number = (reinterpret_cast<std::uintptr_t>(menu) & 0xFFFF) >> 1;
        ascending = number == last + 1 ? ascending + 1 : 0;
        last = number;
    }
    // Freed from the lowest on, so that they are given again from the highest on: see above.
    for (HMENU menu : menus) DestroyMenu(menu);
    return last - menus.size();
}

// Free numbers may ascend for a while, too. They come in the opposite order the next time.
std::size_t user_objects() {
    std::size_t before = user_objects_by_ascent();
    for (;;) {
        const std::size_t count = user_objects_by_ascent();
        if (count >= before) return count;
        before = count;
    }
}

// Wine's GetProcessHandleCount is a stub, too; its list of the handles of all processes is not.
std::size_t kernel_handles(HANDLE process) {
    std::vector<std::uint64_t> buffer(1 << 17);
    if (NtQuerySystemInformation(SystemHandleInformation, buffer.data(),
                                 static_cast<ULONG>(buffer.size() * sizeof buffer[0]),
                                 nullptr) != 0) {
        throw std::runtime_error("the kernel handles cannot be counted");
    }
    const auto* const handles = reinterpret_cast<const SYSTEM_HANDLE_INFORMATION*>(buffer.data());
    const DWORD number = GetProcessId(process);
    return static_cast<std::size_t>(std::count_if(
        handles->Handle, handles->Handle + handles->Count,
        [number](const SYSTEM_HANDLE_ENTRY& each) { return each.OwnerPid == number; }));
}

}  // namespace

ProcessObjects ProcessObjects::of(HANDLE process) {
    ProcessObjects objects{GetGuiResources(process, GR_GDIOBJECTS),
                           GetGuiResources(process, GR_USEROBJECTS), kernel_handles(process)};
    if (objects.gdi == 0) objects.gdi = gdi_objects(process);
    if (objects.user == 0) objects.user = user_objects();
    return objects;
}
