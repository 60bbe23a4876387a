// Faults one after the other, from the first possible one until a run meets none.
#pragma once

#include <cstdint>
#include <new>
#include <optional>

#include "simulated/faults.hpp"

namespace system_search::simulated {

// Runs `body` again and again, with the first, the second, ... call of this kind failing. Returns
// the number of the run that met no failure: one more than there are such calls.
template <typename Body>
std::uint64_t fail_each_platform_call(platform::Error error, Call kind, Body body) {
    for (std::uint64_t nth = 1;; ++nth) {
        forget_call_plans();
        fail_platform_call(nth, error, kind);
        body(nth);
        const bool met = failed_platform_calls() != 0;
        forget_call_plans();
        if (!met) return nth;
    }
}

// What `body` returns when its nth allocation fails; nothing when it lets std::bad_alloc out.
template <typename Body>
auto with_failing_allocation(std::uint64_t nth, Body body) -> std::optional<decltype(body())> {
    const AllocationFault fault(nth);
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

}  // namespace system_search::simulated
