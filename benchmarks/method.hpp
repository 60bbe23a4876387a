// What every benchmark says about itself and how it takes its times.
#pragma once

#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "figures.hpp"

namespace system_search::bench {

inline std::string output_of(const char* command) {
    std::string text;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command, "r"), pclose);
    for (int c; pipe != nullptr && (c = std::getc(pipe.get())) != EOF && c != '\n';) {
        text += static_cast<char>(c);
    }
    return text.empty() ? "unknown" : text;
}

// Prints commit, compiler and processor. Ends the program when it was built without optimisation,
// whose times mean nothing.
inline void print_method() {
#if !defined(__OPTIMIZE__)
    std::fprintf(stderr, "This build is not optimised: its times mean nothing.\n");
    std::exit(2);
#endif
    std::string processor = "unknown";
    std::ifstream cpuinfo("/proc/cpuinfo");
    for (std::string line; std::getline(cpuinfo, line);) {
        if (line.starts_with("model name")) {
            processor = line.substr(line.find(':') + 2);
            break;
        }
    }
    std::printf("commit    %s\ncompiler  %s\nCPU       %s, one thread, warm, processor time\n",
                output_of("git describe --always --dirty 2>/dev/null").c_str(), __VERSION__,
                processor.c_str());
}

// The processor time that this thread has used, or that its ended children have: unlike the time on
// the wall it is the same on a busy machine.
inline double thread_ms() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}
inline double children_ms() {
    rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

struct Times {
    double median_ms = 0;
    double least_ms = 0;
    double most_ms = 0;
};

// Runs `body` once to warm up and then `runs` times, by the given clock.
template <typename Body>
Times measure(int runs, double (*clock_ms)(), Body body) {
    std::vector<double> times;
    body();
    for (int i = 0; i < runs; ++i) {
        const double start = clock_ms();
        body();
        times.push_back(clock_ms() - start);
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.back()};
}

inline void write_figure(const std::string& name, const Times& times) {
    write_figure(name, "ms", times.least_ms, times.median_ms, times.most_ms);
}

}  // namespace system_search::bench
