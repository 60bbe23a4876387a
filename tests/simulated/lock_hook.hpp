// A hook at a lock: for a test that has to stand in a moment that is too short to be hit.
#pragma once

#include <cstdint>
#include <functional>

namespace system_search::simulated {

enum class LockStep { kBeforeLock, kAfterUnlock };

// Runs `hook` once, the lock not held: before this thread's `nth` platform::Mutex::lock from now on
// (from 1), or behind the unlock that belongs to it. Locks in the hook are not counted. The next
// call replaces it; an empty hook drops it. Locks are not nested.
void on_lock_of_this_thread(std::uint64_t nth, LockStep step, std::function<void()> hook);

}  // namespace system_search::simulated
