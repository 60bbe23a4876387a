#include "platform/windows_path.hpp"

#include <windows.h>

#include <new>
#include <string>
#include <utility>

#include "platform/platform.hpp"
#include "platform/system_path.hpp"

namespace system_search::platform {
namespace {

std::unique_ptr<char16_t[]> allocate(std::size_t units) noexcept {
    return std::unique_ptr<char16_t[]>(new (std::nothrow) char16_t[units]);
}

DWORD full_path_name(const char16_t* path, DWORD capacity_units, char16_t* out) {
    return GetFullPathNameW(reinterpret_cast<const wchar_t*>(path), capacity_units,
                            reinterpret_cast<wchar_t*>(out), nullptr);
}

}  // namespace

SystemPath SystemPath::literal(std::u16string_view path) noexcept {
    auto spelled = allocate(path.size() + kLiteralPrefixUnits + 1);
    if (spelled != nullptr) spelled[write_literal_form(path, spelled.get())] = u'\0';
    return SystemPath(std::move(spelled));
}

SystemPath SystemPath::found(const char16_t* path) {
    const std::u16string_view text(path);
    if (!has_literal_form(text) || (!is_long_path(text) && is_read_as_written(text))) {
        return SystemPath(path);
    }
    SystemPath spelled = literal(text);
    if (!spelled) throw std::bad_alloc();
    return spelled;
}

SystemPath SystemPath::given(const char16_t* path) noexcept {
    const std::u16string_view text(path);
    if (!is_long_path(text) || has_device_prefix(text)) return SystemPath(path);
    const DWORD capacity = full_path_name(path, 0, nullptr);
    auto full = allocate(capacity + 1);
    if (full == nullptr) return SystemPath(std::move(full));
    const DWORD units = full_path_name(path, capacity, full.get());
    const std::u16string_view read(full.get(), units);
    if (units == 0 || units >= capacity || has_device_prefix(read)) return SystemPath(path);
    return literal(read);
}

std::u16string as_system_reads(const std::u16string& folder) {
    if (has_device_prefix(folder) || is_read_as_written(folder)) return folder;
    std::u16string full(full_path_name(folder.c_str(), 0, nullptr), u'\0');
    const DWORD units =
        full_path_name(folder.c_str(), static_cast<DWORD>(full.size()), full.data());
    if (units == 0 || units >= full.size()) return folder;
    full.resize(units);
    return full;
}

}  // namespace system_search::platform
