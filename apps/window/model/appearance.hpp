/* When the window is dark, and in what colours. */
#pragma once

#include <cstdint>
#include <optional>

namespace window {

/* The user's setting for programs, AppsUseLightTheme, which older systems do not have. A contrast
   theme has colours of its own: they are left as they are. */
bool wants_dark(std::optional<std::uint32_t> apps_use_light_theme, bool has_contrast_theme);

/* The colours of the dark list as the system counts them, 0x00BBGGRR. */
namespace dark {
inline constexpr std::uint32_t kBackground = 0x202020;
inline constexpr std::uint32_t kText = 0xFFFFFF;
inline constexpr std::uint32_t kMatch = 0xFFCD60;
inline constexpr std::uint32_t kSelected = 0x7A5A00;  // in the list that has the keyboard
inline constexpr std::uint32_t kSelectedElsewhere = 0x4D4D4D;
}  // namespace dark

}  // namespace window
