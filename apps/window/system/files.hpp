/* The files of the program itself: settings, the place of the caches, the measurements. */
#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "model/settings.hpp"

namespace window {

/* The user's own folder for this program, in UTF-8 with "/"; "" when the system knows none. */
std::string default_settings_folder();

/* Defaults when there is no file, or none that can be read. */
Settings load_settings(const std::string& folder);
/* Replaces the file in one step. False when it could not be written. */
bool save_settings(const std::string& folder, const Settings& settings);

/* When a file was written; empty when there is none. */
std::optional<std::time_t> written_at(const std::string& path);

}  // namespace window
