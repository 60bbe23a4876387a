/* Counts, sizes, durations and times as people read them. */
#pragma once

#include <cstdint>
#include <string>

namespace console {

/* "1000", "24,310": digits are grouped from the fifth on, where counting them gets hard. */
std::string format_count(std::uint64_t count);

/* "1 file", "2 files". */
std::string format_counted(std::uint64_t count, const char* singular, const char* plural);

/* "0 B", "1023 B", "1.0 KiB", "12 MiB": at most four characters and a unit of 1024. */
std::string format_size(std::uint64_t bytes);

/* "0.42 ms", "3.2 ms", "12 ms", "24,310 ms". */
std::string format_milliseconds(double milliseconds);

/* "0.4 s", "75.3 s". */
std::string format_seconds(double seconds);

/* A moment on the wall clock, in whichever zone its maker chose. */
struct WallTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
};

/* "2024-05-01 14:34". */
std::string format_time(const WallTime& time);

}  // namespace console
