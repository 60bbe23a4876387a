/* Between the library's UTF-8 and the UTF-16 of the Windows services. */
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace app {

/* What is no valid UTF-8 becomes the replacement sign; the library gives none. */
std::wstring to_wide(std::string_view text);

/* Nothing for a text with half a surrogate pair, as a search box holds it for a moment. */
std::optional<std::string> to_utf8(std::wstring_view text);

/* A path as the system's functions take it: with "\". */
std::wstring native_wide(std::string_view path);

}  // namespace app
