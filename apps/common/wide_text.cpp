#include "common/wide_text.hpp"

#include <windows.h>

#include <algorithm>

namespace app {

std::wstring to_wide(std::string_view text) {
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');  // UTF-16 never has more units than UTF-8 has bytes
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(units));
    return wide;
}

std::optional<std::string> to_utf8(std::wstring_view text) {
    if (text.empty()) return std::string();
    std::string narrow(text.size() * 3, '\0');  // the most bytes that one unit can become
    const int bytes = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(),
                                          static_cast<int>(text.size()), narrow.data(),
                                          static_cast<int>(narrow.size()), nullptr, nullptr);
    if (bytes == 0) return std::nullopt;
    narrow.resize(static_cast<std::size_t>(bytes));
    return narrow;
}

std::wstring native_wide(std::string_view path) {
    std::wstring wide = to_wide(path);
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    return wide;
}

}  // namespace app
