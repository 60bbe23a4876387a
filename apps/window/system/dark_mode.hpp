/* Dark windows, where the system and the user's setting have them. */
#pragma once

#include <windows.h>

namespace window {

/* What the user's setting says now. */
bool system_is_dark();

void darken_title(HWND window, bool is_dark);

/* The list, its scroll bars and its columns. */
void darken_list(HWND list, bool is_dark);

}  // namespace window
