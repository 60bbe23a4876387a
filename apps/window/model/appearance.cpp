#include "model/appearance.hpp"

namespace window {

bool wants_dark(std::optional<std::uint32_t> apps_use_light_theme, bool has_contrast_theme) {
    return !has_contrast_theme && apps_use_light_theme == 0u;
}

}  // namespace window
