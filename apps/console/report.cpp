#include "report.hpp"

#include <string>

#include "local_time.hpp"
#include "model/json.hpp"
#include "model/table.hpp"

namespace console {
namespace {

/* A name holds no "/", so without --whole-path such a text finds nothing, ever. */
bool needs_whole_path(const Request& request, const Answer& answer) {
    return answer.status.matched == 0 && !(request.match_flags & SS_MATCH_PATH) &&
           answer.text.find('/') != std::string::npos;
}

void write_paths(const Answer& answer, char terminator, TextOutput& out) {
    for (const Result& result : answer.results) out.write(result.path + terminator);
}

}  // namespace

void report_answer(const Request& request, const Answer& answer, std::string_view incomplete,
                   Streams streams) {
    TextOutput& out = streams.out;
    switch (request.format) {
        case Format::kTable:
            out.write(format_table(answer, to_local_time, out.columns()));
            if (!request.quiet) out.write(format_summary(answer) + '\n');
            break;
        case Format::kPaths:
            write_paths(answer, '\n', out);
            break;
        case Format::kNulPaths:
            write_paths(answer, '\0', out);
            break;
        case Format::kJson:
            out.write(answer_json(answer));
            break;
    }
    out.flush();
    if (request.quiet) return;
    if (answer.status.index_incomplete && request.format != Format::kJson) {
        // Among the results of a table the note is part of what is read; it must not get among
        // paths that another program reads.
        std::string note = "Note: the index is not complete";
        if (!incomplete.empty()) note += ": " + std::string(incomplete);
        (request.format == Format::kTable ? out : streams.err).write(note + ".\n");
    }
    if (needs_whole_path(request, answer)) {
        streams.err.write("Note: only with --whole-path can a text with \"/\" match.\n");
    }
    out.flush();
    streams.err.flush();
}

}  // namespace console
