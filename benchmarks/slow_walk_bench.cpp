// The walk over a disk that takes its time to answer, alone and with readers ahead of it: by the
// clock and in processor time. The disk is simulated: every opening of a folder and every attribute
// query puts its thread to sleep for so long, and everything else costs what it costs in memory.
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "engine/walk.hpp"
#include "generated_tree.hpp"
#include "method.hpp"
#include "simulated/faults.hpp"
#include "simulated/volume.hpp"

namespace system_search::bench {
namespace {

struct Shape {
    const char* name;
    std::uint64_t folders;
    std::uint64_t files;
    int depth;
    std::vector<int> microseconds;
};

const Shape kShapes[] = {
    {"100,000 entries in 10,000 folders", 21, 9, 3, {0, 50, 200, 1000}},
    {"10,000 folders side by side", 10'000, 1, 1, {0, 200}},
    {"2,000 folders below each other", 1, 1, 2000, {0, 200}},
};

struct Cost {
    double wall_ms;
    double processor_ms;
};

double processor_ms() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

Cost walk_once(std::uint32_t readers, std::uint64_t entries) {
    Engine engine;
    Index index;
    ReadAheadOptions options;
    options.readers = readers;
    const double processor = processor_ms();
    const auto begin = std::chrono::steady_clock::now();
    walk(engine, index, {u"C:\\Users\\ann"}, options);
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - begin;
    if (take_snapshot(index).entry_count != entries || engine.skipped != 0) {
        std::fprintf(stderr, "%u readers: wrong entries\n", readers);
        std::exit(1);
    }
    return {wall.count(), processor_ms() - processor};
}

constexpr std::array<std::uint32_t, 6> kReaders = {0, 1, 2, 3, 4, ReadAheadOptions::kAsNeeded};

// The medians, all numbers of readers taking turns.
std::array<Cost, kReaders.size()> measure_all(int runs, std::uint64_t entries) {
    std::array<std::vector<double>, kReaders.size()> wall;
    std::array<std::vector<double>, kReaders.size()> processor;
    for (int run = 0; run < runs; ++run) {
        for (std::size_t i = 0; i < kReaders.size(); ++i) {
            const Cost cost = walk_once(kReaders[i], entries);
            wall[i].push_back(cost.wall_ms);
            processor[i].push_back(cost.processor_ms);
        }
    }
    const auto median = [](std::vector<double>& times) {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    };
    std::array<Cost, kReaders.size()> medians{};
    for (std::size_t i = 0; i < kReaders.size(); ++i) {
        medians[i] = {median(wall[i]), median(processor[i])};
    }
    return medians;
}

int run() {
    print_method();
    for (const Shape& shape : kShapes) {
        simulated::reset();
        const auto tree = std::make_shared<GeneratedTree>(shape.folders, shape.files, shape.depth);
        simulated::add_generated_folder(u"C:\\Users\\ann", tree);
        const std::uint64_t entries = tree->entries();
        std::printf("\n%s, %llu entries\n", shape.name, static_cast<unsigned long long>(entries));
        std::printf("%9s %10s %11s %15s %9s %9s\n", "answer us", "readers", "clock ms",
                    "processor ms", "clock", "processor");
        walk_once(0, entries);
        for (const int microseconds : shape.microseconds) {
            simulated::set_latencies(
                {.open = 1000LL * microseconds, .attributes = 1000LL * microseconds});
            const auto costs = measure_all(microseconds == 0 ? 15 : 1, entries);
            for (std::size_t i = 0; i < kReaders.size(); ++i) {
                const std::string readers = kReaders[i] == ReadAheadOptions::kAsNeeded
                                                ? "as needed"
                                                : std::to_string(kReaders[i]);
                std::printf("%9d %10s %11.1f %15.1f %8.2fx %8.2fx\n", microseconds, readers.c_str(),
                            costs[i].wall_ms, costs[i].processor_ms,
                            costs[0].wall_ms / costs[i].wall_ms,
                            costs[i].processor_ms / costs[0].processor_ms);
            }
            simulated::set_latencies({});
        }
    }
    return 0;
}

}  // namespace
}  // namespace system_search::bench

int main() {
    return system_search::bench::run();
}
