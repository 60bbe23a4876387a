// The walk over a volume that is computed on the spot: no disk, no system, so that what remains is
// the library's own work for an entry, in processor time. Beside it, in the same run, the bare
// enumeration of the same volume, which both contain.
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "engine/walk.hpp"
#include "generated_tree.hpp"
#include "method.hpp"
#include "simulated/volume.hpp"

namespace system_search::bench {
namespace {

constexpr double kAimNanoseconds = 100;
constexpr int kRuns = 9;

struct Shape {
    const char* name;
    std::uint64_t folders;
    std::uint64_t files;
    int depth;
};

constexpr Shape kShapes[] = {
    {"one folder of a million files", 0, 1'000'000, 0},
    {"100 files a folder", 100, 100, 2},
    {"10 files a folder", 10, 10, 4},
};

// Processor time of this thread in nanoseconds: nothing here ever waits, and other programs on the
// machine then do not count.
double thread_nanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

struct Nanoseconds {
    double median;
    double least;
    double most;
};

template <class Body>
Nanoseconds per_entry(std::uint64_t entries, Body body) {
    std::vector<double> times;
    body();  // warm
    for (int run = 0; run < kRuns; ++run) {
        const double start = thread_nanoseconds();
        body();
        times.push_back((thread_nanoseconds() - start) / static_cast<double>(entries));
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.back()};
}

// What any walk has to ask of the volume.
std::uint64_t enumerate(const std::u16string& folder) {
    std::uint64_t count = 0;
    platform::Child child;
    platform::Enumeration enumeration;
    for (auto error = enumeration.open(folder, child); error == platform::kSuccess;
         error = enumeration.next(child)) {
        ++count;
        if ((child.attributes & platform::kAttributeDirectory) == 0) continue;
        const std::u16string below = folder + u'\\' + std::u16string(child.name_view());
        if (platform::attributes(below.c_str()) != platform::kInvalidAttributes) {
            count += enumerate(below);
        }
    }
    return count;
}

Snapshot walk_once() {
    Engine engine;
    const auto index = std::make_shared<Index>();
    walk(engine, *index, {u"C:\\Users\\ann"});
    return take_snapshot(*index);
}

bool is_right(const Snapshot& snapshot, std::uint64_t entries, bool has_folders) {
    if (snapshot.entry_count != entries) return false;
    std::uint64_t seen = 0;
    for (const auto& shard : snapshot.shards) {
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            if (!shard->entry(i).path.starts_with("C:/Users/ann/")) return false;
            ++seen;
        }
    }
    const Entry first = snapshot.shards[0]->entry(0);
    return seen == entries && first.path == (has_folders ? "C:/Users/ann/Folder 0000"
                                                         : "C:/Users/ann/Report 0000.txt");
}

int run() {
    print_method();
    std::printf("\n%-32s %9s %11s %11s %18s %5s %13s\n", "tree", "entries", "bare ns", "walk ns",
                "(fastest, slowest)", "aim", "kept/estimate");
    for (const Shape& shape : kShapes) {
        simulated::reset();
        const auto tree = std::make_shared<GeneratedTree>(shape.folders, shape.files, shape.depth);
        simulated::add_generated_folder(u"C:\\Users\\ann", tree);
        const std::uint64_t entries = tree->entries();
        std::uint64_t kept = 0;
        std::uint64_t estimate = 0;
        {
            const Snapshot snapshot = walk_once();
            if (!is_right(snapshot, entries, shape.depth > 0) ||
                enumerate(u"C:\\Users\\ann") != entries) {
                std::fprintf(stderr, "%s: wrong entries\n", shape.name);
                return 1;
            }
            for (const auto& shard : snapshot.shards) {
                kept += shard->memory_bytes();
                for (std::uint32_t i = 0; i < shard->size(); ++i) {
                    estimate +=
                        memory_estimate(shard->run_of(i).bytes + shard->folded_name(i).size());
                }
            }
        }
        const Nanoseconds bare = per_entry(entries, [] { enumerate(u"C:\\Users\\ann"); });
        const Nanoseconds walked = per_entry(entries, [] { walk_once(); });
        write_figure(std::string(shape.name) + ", bare", "ns", bare.least, bare.median, bare.most);
        write_figure(shape.name, "ns", walked.least, walked.median, walked.most);
        std::printf("%-32s %9llu %11.0f %11.0f %9.0f %8.0f %5.0f %13.2f%s\n", shape.name,
                    static_cast<unsigned long long>(entries), bare.median, walked.median,
                    walked.least, walked.most, kAimNanoseconds,
                    static_cast<double>(kept) / static_cast<double>(estimate),
                    walked.median <= kAimNanoseconds ? "" : "  MISSED");
    }
    return 0;
}

}  // namespace
}  // namespace system_search::bench

int main() {
    return system_search::bench::run();
}
