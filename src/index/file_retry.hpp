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

// Tries for about a second. A pause ends early when `cancel` is set, and no other attempt follows.
// Gives the error of the last attempt.
platform::Error replace_with_retries(const char16_t* source, const char16_t* destination,
                                     const std::atomic<bool>& cancel) noexcept;

// Tries for about two seconds, also when whoever joins the thread ends the attempts: the join lets
// a call take longer each time, so that one that answers at all comes to its end. Not for ever: a
// share that does not answer would never let the thread go.
void remove_with_retries(const char16_t* path) noexcept;

}  // namespace system_search
