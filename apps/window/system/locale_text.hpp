/* Numbers, sizes, dates and the order of texts as the user's locale has them. */
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "model/numbers.hpp"

namespace window {

NumberStyle user_number_style();

/* "1.23 KB", "12 bytes". */
std::wstring size_text(std::uint64_t bytes);

/* "11/21/2026 2:03 PM". `seconds` since 1970, UTC; empty when the system knows no such date. */
std::wstring date_and_time(std::int64_t seconds);

/* "today, 14:03": see moment_words. */
std::string moment_text(std::time_t seconds, std::time_t now);

/* Bytes that order texts as the user's file windows do: case ignored, digits by their value. */
std::string sort_key(std::string_view text);

}  // namespace window
