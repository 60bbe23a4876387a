/* Where a window opens when there are others of the program already. */
#pragma once

#include <vector>

#include "model/placement.hpp"

namespace window {

/* `wanted`, moved by `step` to the right and down until none of `others` has its corner there; from
   the upper left corner of the screen on again when the lower right one is reached. */
Box beside(Box wanted, const std::vector<Box>& others, const Box& work, int step);

}  // namespace window
