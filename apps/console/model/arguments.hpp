/* The command line, from texts to a request. Knows nothing of files, consoles or the library. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace console {

enum class Command { kNone, kIndex, kSearch, kList };

enum class Action { kRun, kShowHelp, kShowVersion };

enum class Format {
    kTable,
    kPaths,     // one path a line
    kNulPaths,  // paths that each end in a NUL byte
    kJson,
};

struct Request {
    Action action = Action::kRun;
    Command command = Command::kNone;  // with kShowHelp also kNone: help on the program itself
    std::string folder;                // as it was typed; empty: all local drives
    std::optional<std::string> text;   // without it `search` reads texts from standard input
    std::string cache;                 // as it was typed; empty: none
    bool all_drives = false;
    bool rebuild = false;
    bool now = false;
    bool quiet = false;
    Format format = Format::kTable;
    std::uint32_t match_flags = 0;       // SS_MATCH_...
    std::uint32_t kind = 0;              // SS_KIND_...
    std::optional<std::uint32_t> limit;  // 1 to SS_MAX_RESULTS
};

struct ParsedArguments {
    Request request;
    std::string error;  // one sentence for the user; empty: `request` is good
};

/* `arguments` are UTF-8, without the program's own name. */
ParsedArguments parse_arguments(const std::vector<std::string>& arguments);

/* "index", "search", "list". */
const char* command_name(Command command);

}  // namespace console
