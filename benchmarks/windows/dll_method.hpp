// What the benchmarks of the DLL say about themselves and how they take their times.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "figures.hpp"

namespace system_search::bench {

inline std::string processor() {
    std::ifstream cpuinfo("Z:\\proc\\cpuinfo");
    for (std::string line; std::getline(cpuinfo, line);) {
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

// Prints commit, compiler and processor. Ends the program when it was built without optimisation,
// whose times mean nothing. Programs under Wine cannot ask git: SS_COMMIT names the commit.
inline void print_method() {
#if !defined(__OPTIMIZE__)
    std::fprintf(stderr, "This build is not optimised: its times mean nothing.\n");
    std::exit(2);
#endif
    const char* const commit = std::getenv("SS_COMMIT");
    std::printf("commit    %s\ncompiler  %s\nCPU       %s\n",
                commit != nullptr ? commit : "unknown", __VERSION__, processor().c_str());
}

inline double now_ms() {
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return 1000.0 * static_cast<double>(counter.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// The processor time that this process has used: unlike the time on the wall it is the same on a
// busy machine. Under Wine it advances in steps of 10 ms and leaves out the Wine server.
inline double process_ms() {
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto units = [](FILETIME time) {
        return static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime;
    };
    return (units(kernel) + units(user)) / 1e4;
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

inline double spread_percent(const std::vector<double>& values) {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return 100.0 * (*most - *least) / median(values);
}

inline void write_figure(const std::string& name, const char* unit,
                         const std::vector<double>& values) {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    write_figure(name, unit, *least, median(values), *most);
}

}  // namespace system_search::bench
