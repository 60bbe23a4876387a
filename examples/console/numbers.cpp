#include "numbers.hpp"

#include <cstdarg>
#include <cstdio>

namespace console {
namespace {

#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
std::string
printed(const char* format, ...) {
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
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
    static const char* const kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double size = static_cast<double>(bytes) / 1024;
    int unit = 0;
    // 1023.5 would be printed as "1024": the next unit takes over just before.
    for (; size >= 1023.5 && unit < 5; ++unit) size /= 1024;
    return printed(size < 9.95 ? "%.1f %s" : "%.0f %s", size, kUnits[unit]);
}

std::string format_milliseconds(double milliseconds) {
    if (milliseconds < 0.995) return printed("%.2f ms", milliseconds);
    if (milliseconds < 9.95) return printed("%.1f ms", milliseconds);
    return format_count(static_cast<std::uint64_t>(milliseconds + 0.5)) + " ms";
}

std::string format_seconds(double seconds) {
    return printed("%.1f s", seconds);
}

std::string format_time(const WallTime& time) {
    return printed("%04d-%02d-%02d %02d:%02d", time.year, time.month, time.day, time.hour,
                   time.minute);
}

}  // namespace console
