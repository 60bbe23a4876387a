#include "index/file_retry.hpp"

#include <algorithm>

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

template <class Attempt>
platform::Error retry(const std::atomic<bool>& cancel, Attempt attempt) {
    platform::Error error = attempt();
    // 1, 2, 4, ... 512: a little more than a second, all pauses together.
    constexpr std::uint32_t kLongestPause = 512;
    for (std::uint32_t length = 1; length <= kLongestPause && may_pass(error); length *= 2) {
        if (!pause(length, cancel)) break;
        error = attempt();
    }
    return error;
}

}  // namespace

platform::Error replace_with_retries(const char16_t* source, const char16_t* destination,
                                     const std::atomic<bool>& cancel) noexcept {
    return retry(cancel, [&] { return platform::replace_file(source, destination); });
}

platform::Error remove_with_retries(const char16_t* path,
                                    const std::atomic<bool>& cancel) noexcept {
    // Whoever joins the thread ends its calls, and this one has to be made all the same. Not
    // without an end: a share that does not answer would never let the thread go.
    constexpr int kMostEnded = 10;
    return retry(cancel, [&] {
        platform::Error error = platform::remove_file(path);
        for (int ended = 1; error == platform::kOperationAborted && ended < kMostEnded; ++ended) {
            error = platform::remove_file(path);
        }
        return error;
    });
}

}  // namespace system_search
