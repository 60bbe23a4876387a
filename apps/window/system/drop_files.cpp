#include "system/drop_files.hpp"

#include <shlobj.h>

#include <cstring>

namespace window {

HGLOBAL drop_files(const std::vector<std::wstring>& paths) {
    std::wstring list;  // each path with its NUL, and one more at the end
    for (const std::wstring& path : paths) list.append(path.c_str(), path.size() + 1);
    list += L'\0';
    const std::size_t bytes = list.size() * sizeof(wchar_t);
    HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + bytes);
    if (!memory) return nullptr;
    auto* header = static_cast<DROPFILES*>(GlobalLock(memory));
    header->pFiles = sizeof(DROPFILES);
    header->fWide = TRUE;
    std::memcpy(header + 1, list.data(), bytes);
    GlobalUnlock(memory);
    return memory;
}

}  // namespace window
