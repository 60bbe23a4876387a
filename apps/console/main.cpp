/* system-search: finds files and folders by name, on top of system_search.dll.
 *
 *   arguments            the command line becomes a Request
 *   index_, search_,
 *   list_command         do what it asks; each drives the library through
 *     build              an engine's build, with progress_line
 *     answer             a query, with its results copied out
 *   table, json,         results and outcomes become text
 *   sentences, numbers
 *   text_output,         the text reaches the console or a pipe; lines come from there
 *   line_input
 */
#include <windows.h>

#include <vector>

#include "commands.hpp"
#include "common/wide_text.hpp"
#include "interrupt.hpp"
#include "model/arguments.hpp"
#include "model/help.hpp"
#include "text_output.hpp"

namespace console {
namespace {

int run(const Request& request, Streams streams) {
    switch (request.action) {
        case Action::kShowHelp:
            streams.out.write(help_text(request.command));
            return kFound;
        case Action::kShowVersion:
            streams.out.write(version_text());
            return kFound;
        case Action::kRun:
            break;
    }
    switch (request.command) {
        case Command::kIndex:
            return run_index(request, streams);
        case Command::kSearch:
            return run_search(request, streams);
        case Command::kList:
            return run_list(request, streams);
        default:
            return kTrouble;
    }
}

int run_arguments(int count, wchar_t** words, Streams streams) {
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        auto argument = app::to_utf8(words[i]);
        if (!argument) {
            streams.complain("Word " + std::to_string(i) + " is not Unicode text.");
            return kTrouble;
        }
        arguments.push_back(std::move(*argument));
    }
    const ParsedArguments parsed = parse_arguments(arguments);
    if (!parsed.error.empty()) {
        streams.complain(parsed.error);
        return kTrouble;
    }
    return run(parsed.request, streams);
}

}  // namespace
}  // namespace console

int wmain(int count, wchar_t** words) {
    using namespace console;
    watch_for_interrupt();
    TextOutput out(TextOutput::kStandardOutput);
    TextOutput err(TextOutput::kStandardError);
    Streams streams = {out, err};
    int status = run_arguments(count, words, streams);
    out.flush();
    if (out.failed() && !out.reader_left()) streams.complain("The output could not be written.");
    if (out.failed()) status = kTrouble;
    let_handler_end();
    return status;
}
