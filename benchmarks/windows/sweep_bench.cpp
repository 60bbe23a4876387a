// The sweep of search_bench through the shipped DLL, beside a plain implementation in the same
// program that looks at one entry after the other: for each text, how many times as fast the DLL
// is.
//
//     sweep_bench NAMES [TEXTS]      search_bench --names NAMES writes the names
//
// The DLL gets them in a cache file. What a query takes is asked for by the clock, from ss_query to
// the final state, with one result; what starting, ending and one result's metadata take is
// measured with texts of which the signatures tell at once, and taken off. The counts of both have
// to be the same.
#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.hpp"
#include "rules/query/reference_search.hpp"
#include "sweep.hpp"
#include "system_search.h"
#include "windows/dll_method.hpp"

namespace system_search::bench {
namespace {

constexpr char kScope[] = "C:\\made up";
constexpr int kRuns = 7;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "sweep_bench: wrong: %s\n", what);
    std::exit(1);
}

Corpus read_names(const char* file) {
    Corpus corpus;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        corpus.entries.push_back({line.substr(1), line[0] == '2' ? 2u : 1u});
    }
    require(!corpus.entries.empty(), "there are no names");
    return corpus;
}

std::string integer(std::size_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string text(std::string_view bytes) {
    return integer(bytes.size()) + std::string(bytes);
}

void write_cache(const std::string& path, const Corpus& corpus) {
    std::string bytes = text("system-search-v1") + text(kScope) + integer(corpus.entries.size()) +
                        integer(0) + integer(0);
    for (const CorpusEntry& entry : corpus.entries) {
        bytes += text(entry.path) + integer(entry.kind);
    }
    std::ofstream(path, std::ios::binary) << bytes;
}

SystemSearchEngine* load(const std::string& path, std::size_t entries) {
    SystemSearchEngine* const engine = ss_create();
    require(ss_start(engine, kScope, path.c_str(), 0) == 1, "the build did not start");
    EngineStatus status{};
    do {
        Sleep(10);
        ss_status(engine, &status);
    } while (status.state == SS_ENGINE_RUNNING);
    require(status.from_cache == 1 && status.entries == entries, "the cache was not loaded");
    return engine;
}

struct Timed {
    double least_ms = 1e9;
    std::uint32_t matched = 0;
};

Timed query(SystemSearchEngine* engine, const SweepText& wanted) {
    Timed timed;
    for (int run = 0; run < kRuns; ++run) {
        const double start = now_ms();
        SystemSearchQuery* const query =
            ss_query(engine, wanted.text.c_str(), wanted.flags, SS_KIND_ANY, 1);
        QueryStatus status{};
        do {
            YieldProcessor();
            ss_query_poll(query, &status);
        } while (status.state == SS_QUERY_RUNNING);
        timed.least_ms = std::min(timed.least_ms, now_ms() - start);
        require(status.state == SS_QUERY_DONE, "a query did not end well");
        timed.matched = status.matched;
        ss_query_destroy(query);
    }
    return timed;
}

struct PlainEntry {
    std::string path;
    std::string folded;
    std::size_t name;
};

Timed plain(const std::vector<PlainEntry>& entries, SweepText wanted) {
    const bool match_path = (wanted.flags & SS_MATCH_PATH) != 0;
    const bool match_case = (wanted.flags & SS_MATCH_CASE) != 0;
    const bool is_wildcard = wanted.text.find_first_of("*?") != std::string::npos;
    for (char& byte : wanted.text) byte = match_case ? byte : fold(byte);
    Timed timed;
    for (int run = 0; run < 2; ++run) {
        const double start = now_ms();
        timed.matched = 0;
        for (const PlainEntry& entry : entries) {
            const auto subject = std::string_view(match_case ? entry.path : entry.folded)
                                     .substr(match_path ? 0 : entry.name);
            timed.matched += is_wildcard ? reference::matches_step_by_step(wanted.text, subject)
                                         : subject.find(wanted.text) != std::string_view::npos;
        }
        timed.least_ms = std::min(timed.least_ms, now_ms() - start);
    }
    return timed;
}

int run(const char* names, std::size_t count) {
    print_method();
    const Corpus corpus = read_names(names);
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    const std::string cache =
        folder + std::string("sweep_bench.") + std::to_string(GetCurrentProcessId());
    write_cache(cache, corpus);
    SystemSearchEngine* const engine = load(cache, corpus.entries.size());
    DeleteFileA(cache.c_str());
    std::vector<PlainEntry> entries;
    for (const CorpusEntry& entry : corpus.entries) {
        std::string folded = entry.path;
        for (char& byte : folded) byte = fold(byte);
        entries.push_back({entry.path, std::move(folded), entry.path.rfind('/') + 1});
    }

    // No name holds these bytes: what is left is starting and ending a query.
    const double fixed_ms = query(engine, {"\x01\x02\x03", 0}).least_ms;
    std::vector<double> slowness;
    std::vector<std::pair<double, std::string>> slowest;
    for (const SweepText& wanted : make_sweep(corpus, count)) {
        const Timed own = query(engine, wanted);
        const Timed other = plain(entries, wanted);
        require(own.matched == other.matched, shown(wanted).c_str());
        // Below the clock's noise a text counts as taking what the noise is.
        const double own_ms = std::max(own.least_ms - fixed_ms, 0.05);
        slowness.push_back(own_ms / other.least_ms);
        slowest.emplace_back(slowness.back(), shown(wanted));
    }
    ss_destroy(engine);

    const Spread spread = spread_of(slowness);
    std::printf("corpus    %zu names\nfixed     %.3f ms a query, taken off\n",
                corpus.entries.size(), fixed_ms);
    std::printf(
        "times as fast as the plain implementation, %zu texts: median %.0f, slowest tenth "
        "%.0f, worst %.1f; aims 40, 25, 8\n",
        count, 1 / spread.median, 1 / spread.ninety, 1 / spread.worst);
    write_figure("sweep, share of the plain time, median", "%", 100 * spread.median);
    write_figure("sweep, share of the plain time, 90 of 100", "%", 100 * spread.ninety);
    write_figure("sweep, share of the plain time, worst", "%", 100 * spread.worst);
    std::sort(slowest.rbegin(), slowest.rend());
    for (std::size_t i = 0; i < std::min<std::size_t>(10, slowest.size()); ++i) {
        std::printf("  %6.1f times  %s\n", 1 / slowest[i].first, slowest[i].second.c_str());
    }
    return 0;
}

}  // namespace
}  // namespace system_search::bench

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "sweep_bench NAMES [TEXTS]\n");
        return 2;
    }
    return system_search::bench::run(argv[1], argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 600);
}
