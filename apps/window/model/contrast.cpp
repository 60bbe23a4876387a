#include "model/contrast.hpp"

#include <algorithm>
#include <cmath>

namespace window {
namespace {

double linear(Color level) {
    const double share = (level & 0xFF) / 255.0;
    return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}

double luminance(Color color) {
    return 0.2126 * linear(color) + 0.7152 * linear(color >> 8) + 0.0722 * linear(color >> 16);
}

}  // namespace

double contrast(Color a, Color b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

Color readable_on(Color background, std::initializer_list<Color> wanted, Color otherwise) {
    constexpr double kEnough = 3;  // for bold text
    for (Color color : wanted) {
        if (contrast(color, background) >= kEnough) return color;
    }
    return otherwise;
}

}  // namespace window
