// What every benchmark says about itself and how it takes its times.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

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
    std::printf("commit    %s\ncompiler  %s\nCPU       %s, one thread, warm\n",
                output_of("git describe --always --dirty 2>/dev/null").c_str(), __VERSION__,
                processor.c_str());
}

struct Times {
    double median_ms = 0;
    double least_ms = 0;
    double most_ms = 0;
};

// Runs `body` once to warm up and then `runs` times.
template <typename Body>
Times measure(int runs, Body body) {
    std::vector<double> times;
    body();
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        body();
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        times.push_back(took.count());
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.back()};
}

}  // namespace system_search::bench
