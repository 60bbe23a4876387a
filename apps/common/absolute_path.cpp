#include "common/absolute_path.hpp"

#include <windows.h>

#include <algorithm>

#include "common/wide_text.hpp"

namespace app {

std::optional<std::string> absolute_path(const std::string& path) {
    if (path.empty()) return std::nullopt;
    const std::wstring wide = to_wide(path);
    const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    const DWORD length = GetFullPathNameW(wide.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return std::nullopt;
    full.resize(length);

    auto absolute = to_utf8(full);
    if (!absolute || absolute->starts_with("\\\\?\\")) return absolute;  // names a path exactly
    std::replace(absolute->begin(), absolute->end(), '\\', '/');
    constexpr std::size_t kRootLength = 3;  // "C:/"
    while (absolute->size() > kRootLength && absolute->back() == '/') absolute->pop_back();
    return absolute;
}

}  // namespace app
