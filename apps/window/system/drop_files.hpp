/* A list of files as other programs take it, dropped or pasted. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace window {

/* Movable memory in the form CF_HDROP, the caller's; null when memory is short. */
HGLOBAL drop_files(const std::vector<std::wstring>& paths);

}  // namespace window
