/* What is asked before many things open at once. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "model/numbers.hpp"

namespace window {

/* How many folders hold these paths: each would open a window of its own. */
std::size_t folders_of(const std::vector<std::string>& paths);

/* "Open all 24 folders at once?", "" when there is no need to ask. `things` are "items" or
   "folders". */
std::string question_before_opening(std::size_t count, std::string_view things,
                                    const NumberStyle& style);

}  // namespace window
