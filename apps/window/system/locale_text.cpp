#include "system/locale_text.hpp"

#include <windows.h>

#include <shlwapi.h>

#include <optional>

#include "common/wide_text.hpp"
#include "model/sentences.hpp"

namespace window {
namespace {

std::string locale_value(LCTYPE type, const char* otherwise) {
    wchar_t value[80];
    if (GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, type, value, 80) == 0) return otherwise;
    return app::to_utf8(value).value_or(otherwise);
}

/* The user's own time on the day in question, summer time as it was then. */
std::optional<SYSTEMTIME> local_time(std::int64_t seconds) {
    constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
    constexpr std::int64_t kLastSecond = 253'402'300'799;  // of the year 9999
    if (seconds < -kSecondsFrom1601To1970 || seconds > kLastSecond) return std::nullopt;
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>(seconds + kSecondsFrom1601To1970) * 10'000'000u;
    const FILETIME time{ticks.LowPart, ticks.HighPart};
    SYSTEMTIME utc;
    SYSTEMTIME local;
    if (!FileTimeToSystemTime(&time, &utc) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) {
        return std::nullopt;
    }
    return local;
}

std::wstring date_text(const SYSTEMTIME& time, DWORD form) {
    wchar_t text[160];
    const int length =
        GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, form, &time, nullptr, text, 160, nullptr);
    return length == 0 ? L"" : text;
}

std::wstring time_text(const SYSTEMTIME& time) {
    wchar_t text[80];
    const int length =
        GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, text, 80);
    return length == 0 ? L"" : text;
}

/* Days since some day long ago. */
std::int64_t day_number(SYSTEMTIME time) {
    time.wHour = time.wMinute = time.wSecond = time.wMilliseconds = 0;
    FILETIME midnight{};
    SystemTimeToFileTime(&time, &midnight);
    ULARGE_INTEGER ticks;
    ticks.LowPart = midnight.dwLowDateTime;
    ticks.HighPart = midnight.dwHighDateTime;
    return static_cast<std::int64_t>(ticks.QuadPart / (86'400ull * 10'000'000ull));
}

}  // namespace

NumberStyle user_number_style() {
    return {locale_value(LOCALE_STHOUSAND, ","), locale_value(LOCALE_SGROUPING, "3;0")};
}

std::wstring size_text(std::uint64_t bytes) {
    wchar_t text[64];
    StrFormatByteSizeW(static_cast<LONGLONG>(bytes), text, 64);
    return text;
}

std::wstring date_and_time(std::int64_t seconds) {
    const std::optional<SYSTEMTIME> time = local_time(seconds);
    return time ? date_text(*time, DATE_SHORTDATE) + L" " + time_text(*time) : std::wstring();
}

std::string moment_text(std::time_t seconds, std::time_t now) {
    const std::optional<SYSTEMTIME> then = local_time(seconds);
    const std::optional<SYSTEMTIME> today = local_time(now);
    if (!then || !today) return "";
    return moment_words(static_cast<int>(day_number(*today) - day_number(*then)),
                        app::to_utf8(date_text(*then, DATE_LONGDATE)).value_or(""),
                        app::to_utf8(time_text(*then)).value_or(""));
}

std::string sort_key(std::string_view text) {
    const std::wstring wide = app::to_wide(text);
    if (wide.empty()) return "";
    const int units = static_cast<int>(wide.size());
    for (DWORD digits :
         {DWORD{SORT_DIGITSASNUMBERS}, DWORD{0}}) {  // not every system knows the first
        const DWORD form = LCMAP_SORTKEY | LINGUISTIC_IGNORECASE | digits;
        const int size = LCMapStringEx(LOCALE_NAME_USER_DEFAULT, form, wide.c_str(), units, nullptr,
                                       0, nullptr, nullptr, 0);
        if (size == 0) continue;
        std::string key(static_cast<std::size_t>(size), '\0');
        if (LCMapStringEx(LOCALE_NAME_USER_DEFAULT, form, wide.c_str(), units,
                          reinterpret_cast<LPWSTR>(key.data()), size, nullptr, nullptr, 0) != 0) {
            return key;
        }
    }
    return std::string(text);
}

}  // namespace window
