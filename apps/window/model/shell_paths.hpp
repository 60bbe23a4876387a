/* What the system's programs make of a path. A disk may hold names that they take for others. */
#pragma once

#include <string>
#include <string_view>

namespace window {

/* The path by which the system reaches exactly this entry, whatever its name and length:
   "\\?\C:\x.txt." */
std::string exact_path(std::string_view path);

/* Why the system's programs must not get this path, as a sentence; "" when they may. They leave out
   dots and blanks at the end of a name ("a.txt." would open "a.txt"), take some names for devices,
   and cut long paths. */
std::string shell_refusal(std::string_view path);

}  // namespace window
