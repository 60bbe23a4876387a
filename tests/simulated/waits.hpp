// Threads of the library that wait for each other: how many do, and whether they are told when they
// may go on.
//
//     let_time_stand_still();
//     ... run the library ...
//     EXPECT_EQ(lost_notices(), 0u);
//
// A wait with a limit hides a notice that is missing: all goes on, only later. While time stands
// still such a wait ends with its notice, or, the test being lost, after half a minute.
#pragma once

#include <cstdint>

namespace system_search::simulated {

// Until reset. Only waits that begin later.
void let_time_stand_still();
// Waits that came to their end while time stood still.
std::uint64_t lost_notices();
// The longest limit that a wait was given since reset.
std::uint32_t longest_limit_milliseconds();

// Returns once exactly so many threads wait for a platform::Condition; one that was notified does
// not wait any longer, even if it has not gone on yet. False when it does not come to that within
// half a minute.
[[nodiscard]] bool wait_until_waiting(std::uint32_t threads);

void reset_waits();

}  // namespace system_search::simulated
