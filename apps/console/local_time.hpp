/* The time zone of the machine. */
#pragma once

#include <cstdint>

#include "model/numbers.hpp"

namespace console {

/* Seconds since 1970 UTC as local time, by the daylight-saving rules of that day. False for times
   before 1601, which no Windows clock can tell. */
bool to_local_time(std::int64_t unix_seconds, WallTime& local);

}  // namespace console
