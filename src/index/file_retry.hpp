// Replacing and removing a file that a virus scanner, a backup or the system's own indexer has just
// opened: they let go within a second.
#pragma once

#include <atomic>

#include "platform/platform.hpp"

namespace system_search {

// Whether an error is one that goes away by itself.
constexpr bool may_pass(platform::Error error) {
    return error == platform::kAccessDenied || error == platform::kSharingViolation ||
           error == platform::kLockViolation;
}

// Both give the error of the last attempt. A pause ends early when `cancel` is set, and no other
// attempt follows.
platform::Error replace_with_retries(const char16_t* source, const char16_t* destination,
                                     const std::atomic<bool>& cancel) noexcept;
platform::Error remove_with_retries(const char16_t* path, const std::atomic<bool>& cancel) noexcept;

}  // namespace system_search
