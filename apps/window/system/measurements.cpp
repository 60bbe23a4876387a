#include "system/measurements.hpp"

#include <cstdio>
#include <filesystem>
#include <utility>

#include "common/wide_text.hpp"

namespace window {
namespace {

double milliseconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/* How long ago the process was made. */
double process_age() {
    FILETIME made{};
    FILETIME ignored{};
    FILETIME now{};
    GetProcessTimes(GetCurrentProcess(), &made, &ignored, &ignored, &ignored);
    GetSystemTimePreciseAsFileTime(&now);
    const auto ticks = [](const FILETIME& time) {
        return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    };
    return static_cast<double>(ticks(now) - ticks(made)) / 10'000;
}

}  // namespace

bool Measurements::open(const std::string& path) {
    if (path.empty()) return true;
    file_.open(std::filesystem::path(app::native_wide(path)), std::ios::binary);
    return file_.is_open();
}

void Measurements::write(const std::string& line) {
    // Flushed, because others read it while the program runs.
    if (file_.is_open()) file_ << line << '\n' << std::flush;
}

void Measurements::since_start(const char* what) {
    if (!file_.is_open()) return;
    char line[80];
    (void)std::snprintf(line, sizeof line, "%s %.1f ms", what, process_age());
    write(line);
}

void Measurements::key_pressed(const MSG& message) {
    constexpr DWORD kTick = 16;  // the system's own clock is no finer
    const DWORD waited = GetTickCount() - message.time;
    const bool has_waited = waited > kTick && waited < 60'000;
    key_at_ = Clock::now() - std::chrono::milliseconds(has_waited ? waited : 0);
}

void Measurements::text_changed() {
    const std::optional<Clock::time_point> key_at = std::exchange(key_at_, std::nullopt);
    if (!waiting_since_) waiting_since_ = key_at.value_or(Clock::now());
}

void Measurements::list_painted(unsigned names, unsigned matched, double search_milliseconds) {
    const auto since = std::exchange(waiting_since_, std::nullopt);
    if (!since || !file_.is_open()) return;
    const double taken = milliseconds(Clock::now() - *since);
    latencies_.add(taken);
    char line[120];
    (void)std::snprintf(line, sizeof line, "key %.2f ms, %u of %u names, search %.2f ms", taken,
                        matched, names, search_milliseconds);
    write(line);
}

void Measurements::finish() {
    write(latencies_.summary());
}

}  // namespace window
