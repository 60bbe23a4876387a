/* Between UTF-8 and the UTF-16 of the Windows services, strictly: a text that is malformed is
   refused, never mended. */
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace console {

std::optional<std::wstring> to_wide(std::string_view text);
std::optional<std::string> to_utf8(std::wstring_view text);

}  // namespace console
