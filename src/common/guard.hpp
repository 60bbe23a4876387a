// The one place where exceptions end before they would cross the library's boundary.
#pragma once

#include <utility>

namespace system_search {

// Runs `body` and gives its result, or `failure` when anything was thrown.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return failure;
    }
}

}  // namespace system_search
