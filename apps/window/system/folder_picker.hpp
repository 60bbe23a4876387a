/* The system's picker for folders. */
#pragma once

#include <windows.h>

#include <string>

namespace window {

/* A folder in the library's form, "" when the user chose none. The picker opens at `first`. */
std::string choose_folder(HWND owner, const std::string& first);

}  // namespace window
