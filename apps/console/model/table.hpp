/* The table of results: path, kind, size, local time. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "model/answer.hpp"
#include "model/numbers.hpp"

namespace console {

/* Turns seconds since 1970 UTC into local wall time; false when the time has none. */
using LocalTime = bool (*)(std::int64_t unix_seconds, WallTime& local);

/* The rows under one heading; "" without results. Columns are measured in code points. A path is
   never cut: on a terminal of `columns` (0: not a terminal) one that is too long for its column
   pushes the rest of its own row only. */
std::string format_table(const Answer& answer, LocalTime local_time, std::size_t columns);

/* "1000 of 24,310 matches, 3.2 ms", "17 matches, 0.40 ms", "No matches, 0.21 ms". */
std::string format_summary(const Answer& answer);

}  // namespace console
