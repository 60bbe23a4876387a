#include "model/numbers.hpp"

#include <cmath>
#include <cstddef>

namespace window {

std::string format_count(std::uint64_t count, const NumberStyle& style) {
    std::string digits = std::to_string(count);
    if (digits.size() < 5) return digits;
    std::size_t position = digits.size();
    std::size_t group = 0;
    for (char sign : style.grouping) {
        if (sign == ';') continue;
        if (sign == '0') {  // the last group repeats
            while (group > 0 && position > group) {
                position -= group;
                digits.insert(position, style.separator);
            }
            return digits;
        }
        if (sign < '1' || sign > '9') break;
        group = static_cast<std::size_t>(sign - '0');
        if (position <= group) break;
        position -= group;
        digits.insert(position, style.separator);
    }
    return digits;
}

std::string format_milliseconds(double milliseconds, const NumberStyle& style) {
    const double whole = milliseconds < 1 ? 1 : std::round(milliseconds);
    return format_count(static_cast<std::uint64_t>(whole), style) + " ms";
}

}  // namespace window
