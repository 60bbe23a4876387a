#include <algorithm>

#include "commands.hpp"
#include "common/absolute_path.hpp"
#include "query.hpp"
#include "report.hpp"

namespace console {

int run_list(const Request& request, Streams streams) {
    const auto folder = app::absolute_path(request.folder);
    if (!folder) {
        streams.complain("\"" + request.folder + "\" is not a path.");
        return kTrouble;
    }
    Answer answer = {};
    answer.text = request.text.value_or("");
    std::replace(answer.text.begin(), answer.text.end(), '\\', '/');
    const std::uint32_t limit = request.limit.value_or(SS_MAX_RESULTS);
    const QueryEnd end = ask(
        [&] {
            return ss_query_directory(folder->c_str(), answer.text.c_str(), request.match_flags,
                                      request.kind, limit);
        },
        answer);
    switch (end) {
        case QueryEnd::kInterrupted:
            return kInterrupted;
        case QueryEnd::kNotStarted:
            streams.complain("The listing could not be started.");
            return kTrouble;
        case QueryEnd::kFailed:
            streams.complain("Cannot list \"" + request.folder +
                             "\": it is missing, is not a folder, or may not be read.");
            return kTrouble;
        case QueryEnd::kDone:
            break;
    }
    report_answer(request, answer, "", streams);
    return answer.status.matched != 0 ? kFound : kNothingFound;
}

}  // namespace console
