#include "model/numbers.hpp"

#include <cmath>
#include <cstdio>

namespace console {
namespace {

std::string with_decimals(double number, int decimals) {
    char text[64];
    (void)std::snprintf(text, sizeof text, "%.*f", decimals, number);
    return text;
}

}  // namespace

std::string format_count(std::uint64_t count) {
    std::string digits = std::to_string(count);
    if (digits.size() < 5) return digits;
    for (std::size_t position = digits.size(); position > 3;) {
        position -= 3;
        digits.insert(position, 1, ',');
    }
    return digits;
}

std::string format_counted(std::uint64_t count, const char* singular, const char* plural) {
    return format_count(count) + ' ' + (count == 1 ? singular : plural);
}

std::string format_size(std::uint64_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " B";
    static constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double size = static_cast<double>(bytes) / 1024;
    int unit = 0;
    // 1023.5 would be printed as "1024": the next unit takes over just before.
    for (; size >= 1023.5 && unit < 5; ++unit) size /= 1024;
    return with_decimals(size, size < 9.95 ? 1 : 0) + ' ' + kUnits[unit];
}

std::string format_milliseconds(double milliseconds) {
    if (milliseconds < 0.995) return with_decimals(milliseconds, 2) + " ms";
    if (milliseconds < 9.95) return with_decimals(milliseconds, 1) + " ms";
    return format_count(static_cast<std::uint64_t>(std::llround(milliseconds))) + " ms";
}

std::string format_seconds(double seconds) {
    return with_decimals(seconds, 1) + " s";
}

std::string format_time(const WallTime& time) {
    char text[64];
    (void)std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", time.year, time.month,
                        time.day, time.hour, time.minute);
    return text;
}

}  // namespace console
