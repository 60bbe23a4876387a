#include "index/file_retry.hpp"

#include <algorithm>
#include <cstdint>

namespace system_search {
namespace {

// False when it was cut short.
bool pause(std::uint32_t milliseconds, const std::atomic<bool>& cancel) {
    constexpr std::uint32_t kLongestSleep = 20;
    while (milliseconds > 0) {
        if (cancel) return false;
        const std::uint32_t part = std::min(milliseconds, kLongestSleep);
        platform::sleep(part);
        milliseconds -= part;
    }
    return !cancel;
}

}  // namespace

platform::Error replace_with_retries(const char16_t* source, const char16_t* destination,
                                     const std::atomic<bool>& cancel) noexcept {
    platform::Error error = platform::replace_file(source, destination);
    // 1, 2, 4, ... 512: a little more than a second, all pauses together.
    constexpr std::uint32_t kLongestPause = 512;
    for (std::uint32_t length = 1; length <= kLongestPause && may_pass(error); length *= 2) {
        if (!pause(length, cancel)) break;
        error = platform::replace_file(source, destination);
    }
    return error;
}

void remove_with_retries(const char16_t* path) noexcept {
    constexpr std::int64_t kLongestNanoseconds = 2'000'000'000;
    constexpr std::uint32_t kLongestPause = 256;
    // By the clock: an attempt that is ended has taken its time as well.
    const std::int64_t begin = platform::monotonic_nanoseconds();
    for (std::uint32_t length = 1;; length = std::min(length * 2, kLongestPause)) {
        const platform::Error error = platform::remove_file(path);
        if (!may_pass(error) && error != platform::kOperationAborted) return;
        if (platform::monotonic_nanoseconds() - begin >= kLongestNanoseconds) return;
        platform::sleep(length);
    }
}

}  // namespace system_search
