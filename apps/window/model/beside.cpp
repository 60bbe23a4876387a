#include "model/beside.hpp"

#include <algorithm>
#include <cstdlib>

namespace window {

Box beside(Box wanted, const std::vector<Box>& others, const Box& work, int step) {
    const int width = wanted.width();
    const int height = wanted.height();
    const auto is_taken = [&] {
        return std::any_of(others.begin(), others.end(), [&](const Box& other) {
            return std::abs(other.left - wanted.left) < step / 2 &&
                   std::abs(other.top - wanted.top) < step / 2;
        });
    };
    // One place more than there are windows: one of them is free, or the screen is too small.
    for (std::size_t tried = 0; tried <= others.size() && is_taken(); ++tried) {
        wanted.left += step;
        wanted.top += step;
        if (wanted.left + width > work.right) wanted.left = work.left;
        if (wanted.top + height > work.bottom) wanted.top = work.top;
        wanted.right = wanted.left + width;
        wanted.bottom = wanted.top + height;
    }
    return wanted;
}

}  // namespace window
