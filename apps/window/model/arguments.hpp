/* The command line. */
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace window {

inline constexpr const char* kUsage =
    "system-search-window [--scope FOLDER] [--measure FILE] [--settings FOLDER] | --version";

struct Arguments {
    std::optional<std::string> scope;  // empty: the one of the last time
    std::string measure;               // a file for latencies
    std::string settings;              // a folder in place of the user's own
    bool version = false;
    std::string trouble;  // what is wrong with the command line
};

/* `words` are the arguments without the program's name, in UTF-8. */
Arguments parse_arguments(const std::vector<std::string>& words);

}  // namespace window
