/* What the tests of sessions and searches share: a volume, and patience. */
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "simulated/faults.hpp"
#include "simulated/volume.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace window {

/* Calls `is_so` until it holds; a test fails rather than hangs. */
template <typename Condition>
[[nodiscard]] bool comes_true(Condition is_so) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (!is_so()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

}  // namespace window
