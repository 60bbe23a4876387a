/* Paths as people type them, made into the absolute ones that the library wants. */
#pragma once

#include <optional>
#include <string>

namespace app {

/* The path seen from the current folder, in UTF-8 with "/" as separator and without one at its end
   (except a root's), so that "docs", ".\docs\" and "C:/docs" are one scope and share a cache.
   Nothing when Windows cannot make sense of the path. Does not look at the disk. */
std::optional<std::string> absolute_path(const std::string& path);

}  // namespace app
