// Replaces what a loaded module calls in other modules, by editing its import table.
//
//   ImportPatch patch(library.module(), "malloc", &failing_malloc);
//
// The original is back when the patch ends. The module must not be unloaded before that.
#pragma once

#include <windows.h>

#include <cstring>

// The place in `module`'s import table that holds the address of `function`, or null.
inline void** find_import(HMODULE module, const char* function) {
    auto* const base = reinterpret_cast<unsigned char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* imported =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; imported->Name != 0; ++imported) {
        const auto* names =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + imported->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<IMAGE_THUNK_DATA*>(base + imported->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
            const auto* const by_name =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(by_name->Name), function) == 0) {
                return reinterpret_cast<void**>(&addresses->u1.Function);
            }
        }
    }
    return nullptr;
}

class ImportPatch {
public:
    template <class Function>
    ImportPatch(HMODULE module, const char* name, Function* replacement)
        : place_(find_import(module, name)) {
        if (place_ == nullptr) return;
        original_ = *place_;
        write(reinterpret_cast<void*>(replacement));
    }
    ~ImportPatch() {
        if (place_ != nullptr) write(original_);
    }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // False when the module does not import the function; then nothing is replaced.
    bool applied() const { return place_ != nullptr; }
    template <class Function>
    Function* original() const {
        return reinterpret_cast<Function*>(original_);
    }

private:
    void write(void* address) {
        DWORD protection = 0;
        VirtualProtect(place_, sizeof *place_, PAGE_READWRITE, &protection);
        *place_ = address;
        VirtualProtect(place_, sizeof *place_, protection, &protection);
    }

    void** place_;
    void* original_ = nullptr;
};
