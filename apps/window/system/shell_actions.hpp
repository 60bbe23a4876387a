/* What can be done with results through the system's shell. Each returns "" or a sentence about
 * what went wrong. Paths are the library's. They may wait for a disk or a share, and
 * belong on a ShellThread: they name no window as owner, which would tie its thread to theirs. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace window {

/* Opens a file with its program, a folder in a file window; the system asks what to open a file
   with that has none. */
std::string open_result(const std::string& path);

/* Opens the folders that hold them, with the results selected. */
std::string show_in_folder(const std::vector<std::string>& paths);

/* The system's box about one file or folder. */
std::string show_properties(const std::string& path);

}  // namespace window
