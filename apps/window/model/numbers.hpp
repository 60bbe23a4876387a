/* Counts and durations as the user's locale writes them. */
#pragma once

#include <cstdint>
#include <string>

namespace window {

/* How the user's locale groups digits: the separator, in UTF-8, and the sizes of the groups from
   the right as Windows tells them, such as "3;0" (repeated) or "3;2;0" (the last one repeated). */
struct NumberStyle {
    std::string separator = ",";
    std::string grouping = "3;0";
};

/* "1000", "24,310": digits are grouped from the fifth on, where counting them gets hard. */
std::string format_count(std::uint64_t count, const NumberStyle& style);

/* "3 ms", "1200 ms"; never "0 ms". */
std::string format_milliseconds(double milliseconds, const NumberStyle& style);

}  // namespace window
