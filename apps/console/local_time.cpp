#include "local_time.hpp"

#include <windows.h>

namespace console {

bool to_local_time(std::int64_t unix_seconds, WallTime& local) {
    constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    constexpr std::int64_t kLastSecond = INT64_MAX / kTicksPerSecond - kSecondsFrom1601To1970;
    if (unix_seconds < -kSecondsFrom1601To1970 || unix_seconds > kLastSecond) return false;

    ULARGE_INTEGER ticks;
    ticks.QuadPart =
        static_cast<ULONGLONG>((unix_seconds + kSecondsFrom1601To1970) * kTicksPerSecond);
    const FILETIME file_time = {ticks.LowPart, ticks.HighPart};
    SYSTEMTIME utc, zoned;
    if (!FileTimeToSystemTime(&file_time, &utc) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &zoned)) {
        return false;
    }
    local = {zoned.wYear, zoned.wMonth, zoned.wDay, zoned.wHour, zoned.wMinute};
    return true;
}

}  // namespace console
