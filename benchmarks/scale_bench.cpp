// How time and memory grow with the number of entries: walk, save, load and queries over synthetic
// trees from 10,000 to 5,000,000 entries, each in a process of its own, so that each has a peak of
// its own. Counts and results are checked before a row is printed. The volume is simulated: no disk
// is in these numbers, and the saved file lies in memory, which is why the peak is taken before.
//
//     scale_bench              the table, as Markdown
//     scale_bench AREAS        one row of it; an area is 10,101 entries
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "engine/engine.hpp"
#include "engine/index_cache.hpp"
#include "method.hpp"
#include "simulated/volume.hpp"
#include "system_search.h"

namespace {

using namespace system_search;

constexpr double kPeakAim = 300;                   // MiB, at 5,000,000 entries
constexpr std::uint32_t kEntriesPerArea = 10'101;  // an area, 100 folders, 100 files in each
constexpr const char* kScope = "C:/Users/ann/Documents";
constexpr const char* kCache = "C:/cache/index";

// The numbered children of a folder: `count` times `stem` and a number, all folders or all files.
class Level : public simulated::GeneratedFolder {
public:
    Level(std::u16string stem, std::uint64_t count, std::shared_ptr<const GeneratedFolder> below)
        : stem_(std::move(stem)), count_(count), below_(std::move(below)) {}

    std::uint64_t count() const override { return count_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        stem_.copy(out.name, stem_.size());
        char16_t* end = out.name + stem_.size();
        for (std::uint64_t power = 1000; power > 0; power /= 10) {
            *end++ = static_cast<char16_t>(u'0' + index / power % 10);
        }
        if (below_ == nullptr) {
            for (const char16_t unit : std::u16string_view(u".txt")) *end++ = unit;
        }
        out.name_units = static_cast<std::uint32_t>(end - out.name);
        out.attributes = below_ != nullptr ? platform::kAttributeDirectory : 0x20;
    }
    std::shared_ptr<const GeneratedFolder> folder(std::u16string_view) const override {
        return below_;
    }

private:
    const std::u16string stem_;
    const std::uint64_t count_;
    const std::shared_ptr<const GeneratedFolder> below_;
};

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong answer: %s\n", what);
    std::exit(1);
}

double wall_ms() {
    return std::chrono::duration<double, std::milli>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double milliseconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

void wait_ready(SystemSearchEngine* engine) {
    EngineStatus status{};
    for (ss_status(engine, &status); status.state == SS_ENGINE_RUNNING;
         ss_status(engine, &status)) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    require(status.state == SS_ENGINE_READY, ss_error(engine));
}

// The median of a few runs, in milliseconds.
double query_time(SystemSearchEngine* engine, const char* text, std::uint32_t flags,
                  std::uint32_t matched) {
    return bench::measure(5, wall_ms,
                          [&] {
                              SystemSearchQuery* const query =
                                  ss_query(engine, text, flags, SS_KIND_ANY, 1);
                              QueryStatus found{};
                              do {
                                  std::this_thread::yield();
                                  ss_query_poll(query, &found);
                              } while (found.state == SS_QUERY_RUNNING);
                              require(found.matched == matched, text);
                              ss_query_destroy(query);
                          })
        .median_ms;
}

void print_row(std::uint32_t areas) {
    const std::uint32_t entries = areas * kEntriesPerArea;
    const auto files = std::make_shared<Level>(u"Quarterly report ", 100, nullptr);
    const auto folders = std::make_shared<Level>(u"Customer ", 100, files);
    simulated::add_generated_folder(u"C:\\Users\\ann\\Documents",
                                    std::make_shared<Level>(u"area", areas, folders));

    SystemSearchEngine* const handle = ss_create();
    auto start = std::chrono::steady_clock::now();
    require(ss_start(handle, kScope, "", 1) == 1, "start");
    wait_ready(handle);
    const double walk = milliseconds_since(start);
    const double peak = peak_megabytes();

    Engine& engine = *reinterpret_cast<Engine*>(handle);
    const auto index = current_index(engine);
    require(take_snapshot(*index).entry_count == entries, "entries of the walk");
    double kept = 0;
    double estimate = 0;
    for (const auto& shard : take_snapshot(*index).shards) {
        kept += static_cast<double>(shard->memory_bytes());
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            estimate += static_cast<double>(
                memory_estimate(shard->run_of(i).bytes + shard->folded_name(i).size()));
        }
    }
    const double nowhere = query_time(handle, "no such text", 0, 0);
    const double word = query_time(handle, "REPORT 0042", 0, areas * 100);
    const double path = query_time(handle, "customer 0007/", SS_MATCH_PATH, areas * 100);
    const double wildcard = query_time(handle, "*report*42.txt", 0, areas * 100);

    start = std::chrono::steady_clock::now();
    save_index_cache(engine, *index, kScope, kCache);
    const double save = milliseconds_since(start);
    require(*ss_error(handle) == '\0', ss_error(handle));
    start = std::chrono::steady_clock::now();
    require(load_index_cache(engine, kScope, kCache), "load");
    const double load = milliseconds_since(start);
    require(take_snapshot(*current_index(engine)).entry_count == entries, "entries of the load");

    std::printf("| %" PRIu32
                " | %.0f | %.0f | %.0f | %.2f | %.0f | %.0f%s | %.0f | %.0f | %.1f | %.1f | %.1f | "
                "%.1f |\n",
                entries, walk, walk * 1e6 / entries, kept / 1048576, kept / estimate, peak,
                kPeakAim, peak <= kPeakAim ? "" : " MISSED", save, load, nowhere, word, path,
                wildcard);
    ss_destroy(handle);

    if (areas < 99) return;  // what takes a few milliseconds once is no figure to compare
    const std::string size = std::to_string(entries) + " entries, ";
    bench::write_figure(size + "walk", "ms", walk);
    bench::write_figure(size + "kept", "MiB", kept / 1048576);
    bench::write_figure(size + "peak", "MiB", peak);
    bench::write_figure(size + "save", "ms", save);
    bench::write_figure(size + "load", "ms", load);
    bench::write_figure(size + "query of nothing", "ms", nowhere);
    bench::write_figure(size + "query of a word", "ms", word);
    bench::write_figure(size + "query of a path", "ms", path);
    bench::write_figure(size + "query of a wildcard text", "ms", wildcard);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        print_row(static_cast<std::uint32_t>(std::atoi(argv[1])));
        return 0;
    }
    bench::print_method();
    std::printf(
        "\n| Entries | Walk, ms | ns an entry | Index, MiB | of the estimate | "
        "Peak of the process, MiB | aim | Save, ms | Load, ms | Query: nowhere, ms | word | "
        "whole path | wildcard |\n|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n");
    std::fflush(stdout);
    for (const char* areas : {"1", "10", "99", "495"}) {
        const std::string row = "/proc/" + std::to_string(getpid()) + "/exe " + areas;
        if (std::system(row.c_str()) != 0) return 1;
    }
    return 0;
}
