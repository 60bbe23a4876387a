/* What --help and --version print. docs/console.md is the same manual with more room. */
#pragma once

#include <string>

#include "model/arguments.hpp"

namespace console {

/* With kNone the program's own page, else the command's. */
std::string help_text(Command command);

std::string version_text();

}  // namespace console
