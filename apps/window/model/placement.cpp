#include "model/placement.hpp"

#include <algorithm>
#include <cstdint>

namespace window {
namespace {

std::int64_t shared_area(const Box& a, const Box& b) {
    const std::int64_t width = std::min(a.right, b.right) - std::max(a.left, b.left);
    const std::int64_t height = std::min(a.bottom, b.bottom) - std::max(a.top, b.top);
    return width > 0 && height > 0 ? width * height : 0;
}

int rescaled(int length, int from_dpi, int to_dpi) {
    const std::int64_t twice = std::int64_t{2} * length * to_dpi;
    return static_cast<int>((twice + (length < 0 ? -from_dpi : from_dpi)) /
                            (std::int64_t{2} * from_dpi));
}

}  // namespace

Box place(const Placement& wanted, const std::vector<Screen>& screens) {
    const Screen* best = &screens.front();
    std::int64_t best_area = 0;
    for (const Screen& screen : screens) {
        const std::int64_t area = shared_area(wanted.box, screen.work);
        if (area > best_area) {
            best = &screen;
            best_area = area;
        }
    }
    const Box& work = best->work;
    const int width = std::min(rescaled(wanted.box.width(), wanted.dpi, best->dpi), work.width());
    const int height =
        std::min(rescaled(wanted.box.height(), wanted.dpi, best->dpi), work.height());
    int left = work.left + (work.width() - width) / 2;
    int top = work.top + (work.height() - height) / 2;
    if (best_area > 0) {
        left = std::clamp(wanted.box.left, work.left, work.right - width);
        top = std::clamp(wanted.box.top, work.top, work.bottom - height);
    }
    return {left, top, left + width, top + height};
}

int scaled(int length, int dpi) {
    return rescaled(length, 96, dpi);
}

int unscaled(int length, int dpi) {
    return rescaled(length, dpi, 96);
}

}  // namespace window
