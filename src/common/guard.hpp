// The one place where exceptions end before they would cross the library's boundary.
#pragma once

#include <utility>

#include "platform/platform.hpp"

namespace system_search {

// Runs `body` and gives its result, or `failure` when anything was thrown.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept {
    const platform::ExceptionScope exceptions;
    if (!exceptions.ready()) return failure;
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return failure;
    }
}

}  // namespace system_search
