/* The commands, one function each. They return the program's exit status. */
#pragma once

#include "model/arguments.hpp"
#include "text_output.hpp"

namespace console {

enum ExitStatus {
    kFound = 0,  // or, where nothing is searched: success
    kNothingFound = 1,
    kTrouble = 2,
    kInterrupted = 130,  // as shells number an end by Ctrl+C
};

/* Where a command writes: results to `out`, progress and complaints to `err`. */
struct Streams {
    TextOutput& out;
    TextOutput& err;

    void complain(const std::string& sentence) { err.write("system-search: " + sentence + '\n'); }
};

int run_index(const Request& request, Streams streams);
int run_search(const Request& request, Streams streams);
int run_list(const Request& request, Streams streams);

}  // namespace console
