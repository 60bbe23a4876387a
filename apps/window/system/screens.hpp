/* The screens that there are, and where a window is on them. */
#pragma once

#include <windows.h>

#include <vector>

#include "model/placement.hpp"

namespace window {

/* The main screen first; never empty. */
std::vector<Screen> all_screens();

/* For the first run. */
Placement default_placement();

/* Where the window is when neither maximized nor minimized. */
Placement placement_of(HWND window, int dpi);

/* Where a window of this class opens, beside the others of its class. */
Box free_place(const wchar_t* window_class, const Placement& wanted);

}  // namespace window
