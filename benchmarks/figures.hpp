// The figures of a benchmark for programs, beside the table for people.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace system_search::bench {

// Appends one figure, of which less is better, as a line of JSON to the file that SS_FIGURES names;
// without it, nothing. scripts/bench sets it, and compares two runs by these lines. `name` has to
// be the same in every run and another one than that of any other figure of the program. What is
// measured once is its own median.
inline void write_figure(const std::string& name, const char* unit, double least, double median,
                         double most) {
    const char* const path = std::getenv("SS_FIGURES");
    if (path == nullptr) return;
    std::string quoted;
    for (const char c : name) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    std::FILE* const file = std::fopen(path, "a");
    if (file == nullptr ||
        std::fprintf(file,
                     "{\"figure\": \"%s\", \"unit\": \"%s\", \"least\": %.9g, \"median\": %.9g, "
                     "\"most\": %.9g}\n",
                     quoted.c_str(), unit, least, median, most) < 0 ||
        std::fclose(file) != 0) {
        std::fprintf(stderr, "%s: the figures cannot be written\n", path);
        std::exit(1);
    }
}

inline void write_figure(const std::string& name, const char* unit, double value) {
    write_figure(name, unit, value, value, value);
}

}  // namespace system_search::bench
