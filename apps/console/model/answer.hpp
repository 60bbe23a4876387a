/* What a finished query gave, copied out of the library so that it can be printed at leisure. */
#pragma once

#include <system_search.h>

#include <cstdint>
#include <string>
#include <vector>

namespace console {

struct Result {
    std::string path;
    std::uint32_t kind;  // SS_KIND_FILE or SS_KIND_FOLDER
    ResultMetadata metadata;
};

struct Answer {
    std::string text;  // what was looked for
    QueryStatus status;
    double milliseconds;  // from the call until the last result was ready
    std::vector<Result> results;
};

}  // namespace console
