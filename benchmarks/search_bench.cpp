// The time of name queries on real paths, without their metadata, beside two others in the same
// run: the reference implementation (two strings an entry, one after the other) and `plocate -c` on
// the same names, process start included. Answers are checked before anything is timed. Before the
// queries: what an index takes of its memory estimate, also of contrived trees, and what publishing
// an entry takes.
//
//     search_bench [--entries 1000000] [--limit 100] [--text '*.html']    only the rows of a text
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "corpus.hpp"
#include "index/index.hpp"
#include "method.hpp"
#include "query/scan.hpp"
#include "rules/query/reference_search.hpp"
#include "sweep.hpp"
#include "system_search.h"

namespace system_search::bench {
namespace {

struct Row {
    const char* sort;
    const char* text;
    std::uint32_t flags;
    std::uint32_t kind;
};

// The longest times, in milliseconds for a million entries.
constexpr double kNameAim = 11;
constexpr double kPathAim = 25;
constexpr Spread kSweepAim = {1, 4, 25};

double millions(const Corpus& corpus) {
    return static_cast<double>(corpus.entries.size()) / 1e6;
}
constexpr double kEstimateAim = 0.28;
constexpr double kWorstAim = 1.0;
constexpr double kPublishingAim = 120;

constexpr Row kRows[] = {
    {"nowhere", "qzxwvk", 0, 0},
    {"nowhere", "noitartnecnoc", 0, 0},
    {"empty", "", 0, 0},
    {"empty, folders", "", 0, 2},
    {"word", "report", 0, 0},
    {"word", "config", 0, 0},
    {"word", "README", 0, 0},
    {"word", "html", 0, 0},
    {"word", "in", 0, 0},
    {"word, case", "README", SS_MATCH_CASE, 0},
    {"word, folders", "test", 0, 2},
    {"letter", "e", 0, 0},
    {"letter", "x", 0, 0},
    {"path word", "python", SS_MATCH_PATH, 0},
    {"path word", "report", SS_MATCH_PATH, 0},
    {"path word", "share/doc", SS_MATCH_PATH, 0},
    {"path word", "icons/hi", SS_MATCH_PATH, 0},
    {"path word, case", "GNU", SS_MATCH_PATH | SS_MATCH_CASE, 0},
    {"path nowhere", "qzxwvk", SS_MATCH_PATH, 0},
    {"wildcard", "*.html", 0, 0},
    {"wildcard", "lib*.so*", 0, 0},
    {"wildcard", "re?d*", 0, 0},
    {"wildcard", "????.*", 0, 0},
    {"wildcard", "*re?ort*", 0, 0},
    {"wildcard", "*.??", 0, 0},
    {"wildcard", "????", 0, 0},
    {"wildcard", "*?e*", 0, 0},
    {"many stars", "*a*b*c*", 0, 0},
    {"many stars", "*e*r*t*n*", 0, 0},
    {"ordinary", "jpg", 0, 0},
    {"ordinary", "foo", 0, 0},
    {"ordinary", "a", 0, 0},
    {"ordinary", "setup", 0, 0},
    {"ordinary", "*.pdf", 0, 0},
    {"ordinary", "*.py", 0, 0},
    {"ordinary", "*.png", 0, 0},
    {"ordinary", "2023*", 0, 0},
    {"ordinary", "img_*", 0, 0},
    {"ordinary", "test*.py", 0, 0},
    {"ordinary", "*.so.?", 0, 0},
    {"ordinary", "*config*.h", 0, 0},
    {"ordinary, case", "Makefile", SS_MATCH_CASE, 0},
    {"ordinary, case", "e", SS_MATCH_CASE, 0},
    {"ordinary, path", "src/main", SS_MATCH_PATH, 0},
    {"ordinary, path", "include/linux", SS_MATCH_PATH, 0},
    {"ordinary, path", "doc/readme", SS_MATCH_PATH, 0},
    {"ordinary, path", "*/bin/*", SS_MATCH_PATH, 0},
    {"ordinary, path", "*/test/*.py", SS_MATCH_PATH, 0},
    {"ordinary, path", "c:/usr/lib/*.so", SS_MATCH_PATH, 0},
    {"path wildcard", "*/doc/*.gz", SS_MATCH_PATH, 0},
    {"path wildcard", "c:/usr/*/python*", SS_MATCH_PATH, 0},
    {"path wildcard", "*.h?", SS_MATCH_PATH, 0},
    {"path wildcard", "*report?*", SS_MATCH_PATH, 0},
    {"path wild., case", "*/R?ADME*", SS_MATCH_PATH | SS_MATCH_CASE, 0},
    {"path wildcard", "*?/bin/*", SS_MATCH_PATH, 0},
    {"path, many stars", "*a*b*c*", SS_MATCH_PATH, 0},
};

struct Result {
    std::uint32_t matched = 0;
    std::vector<EntryRef> entries;
};

Result search(const ShardList& shards, const Row& row, std::uint32_t limit) {
    const std::atomic<bool> cancel{false};
    TopK top_k(limit);
    Result result;
    scan(shards, Pattern(row.text, row.flags), row.kind, cancel, top_k, result.matched);
    result.entries = top_k.take_sorted();
    return result;
}

bool same(const Result& result, const reference::Answer& answer) {
    if (result.matched != answer.matched) return false;
    if (result.entries.size() != answer.results.size()) return false;
    for (std::size_t i = 0; i < answer.results.size(); ++i) {
        if (result.entries[i].shard->entry(result.entries[i].number).path !=
            answer.results[i]->path)
            return false;
    }
    return true;
}

class Plocate {
public:
    explicit Plocate(const Corpus& corpus)
        : folder_(std::filesystem::temp_directory_path() /
                  ("search_bench." + std::to_string(getpid()))) {
        if (std::system("command -v plocate plocate-build >/dev/null") != 0) return;
        std::filesystem::create_directory(folder_);
        std::ofstream names(folder_ / "names");
        for (const CorpusEntry& entry : corpus.entries) names << entry.path << '\n';
        names.close();
        const std::string base = folder_.string();
        // Without -l no it would hide names whose folders are not on this machine.
        const std::string build = "plocate-build -l no -p " + base + "/names " + base + "/db";
        usable_ = std::system(build.c_str()) == 0;
    }
    ~Plocate() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    bool can_run(const Row& row) const {
        return usable_ && (row.flags & SS_MATCH_CASE) == 0 && row.kind == 0;
    }
    std::string command(const Row& row) const {
        return "LC_ALL=C.UTF-8 plocate -i " + std::string(row.flags == 0 ? "-b " : "") + "-c -d " +
               folder_.string() + "/db '" + row.text + "'";
    }

private:
    std::filesystem::path folder_;
    bool usable_ = false;
};

// What a full shard takes of the estimate of its entries.
double share_of_estimate(const std::vector<std::string>& paths) {
    Batch batch;
    std::uint64_t estimate = 0;
    for (const std::string& path : paths) {
        batch.add(path, kKindFile);
        estimate += memory_estimate(path.size());
    }
    return static_cast<double>(Shard(batch).memory_bytes()) / static_cast<double>(estimate);
}

// Trees that no disk holds: the shortest paths, a folder for each entry, the longest paths.
double worst_share() {
    std::vector<std::string> shortest;
    std::vector<std::string> own_folders;
    std::vector<std::string> longest;
    for (std::size_t i = 0; i < kShardEntries; ++i) {
        const std::string number = std::to_string(i);
        shortest.push_back("C:/");
        own_folders.push_back("C:/" + number + "/." + number);
        longest.push_back("C:/" + number + std::string(kMaxPathBytes - 10, 'X') + "/x");
    }
    return std::max(
        {share_of_estimate(shortest), share_of_estimate(own_folders), share_of_estimate(longest)});
}

// Every answer is held against the reference before the first text is timed. Returns whether all
// were right.
bool run_sweep(const Corpus& corpus, const std::vector<Entry>& reference_entries,
               const ShardList& shards, std::size_t count, std::uint32_t limit) {
    const std::vector<SweepText> texts = make_sweep(corpus, count);
    std::vector<double> reference_ms;
    for (const SweepText& text : texts) {
        const Row row{"sweep", text.text.c_str(), text.flags, 0};
        const double start = thread_ms();
        const reference::Answer answer =
            reference::search(reference_entries, text.text, text.flags, 0, limit);
        reference_ms.push_back(thread_ms() - start);
        if (same(search(shards, row, limit), answer)) continue;
        std::printf("WRONG: %s\n", shown(text).c_str());
        return false;
    }

    std::vector<double> times;
    std::vector<double> slowness;  // the time as a share of the reference's
    for (const SweepText& text : texts) {
        const Row row{"sweep", text.text.c_str(), text.flags, 0};
        const Times own = measure(5, thread_ms, [&] { search(shards, row, limit); });
        slowness.push_back(own.median_ms / reference_ms[times.size()]);
        times.push_back(own.median_ms);
    }
    const Spread spread = spread_of(times);
    const Spread beside = spread_of(slowness);
    const double scale = millions(corpus);
    std::printf("\nsweep of %zu texts     median %.3f ms, 90 of 100 %.3f, worst %.3f; ", count,
                spread.median, spread.ninety, spread.worst);
    std::printf("aims %.3g, %.3g, %.3g%s\n", scale * kSweepAim.median, scale * kSweepAim.ninety,
                scale * kSweepAim.worst,
                spread.median <= scale * kSweepAim.median &&
                        spread.ninety <= scale * kSweepAim.ninety &&
                        spread.worst <= scale * kSweepAim.worst
                    ? ""
                    : "  MISSED");
    std::printf("as fast as the reference, times: median %.0f, slowest tenth %.0f, worst %.1f\n",
                1 / beside.median, 1 / beside.ninety, 1 / beside.worst);
    write_figure("sweep, median", "ms", spread.median);
    write_figure("sweep, 90 of 100", "ms", spread.ninety);
    write_figure("sweep, worst", "ms", spread.worst);

    std::vector<std::size_t> order(texts.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return times[a] > times[b]; });
    order.resize(std::min<std::size_t>(order.size(), 10));
    for (const std::size_t i : order) {
        std::printf("  %8.3f ms, reference %6.1f  %s\n", times[i], reference_ms[i],
                    shown(texts[i]).c_str());
    }
    return true;
}

struct Options {
    std::size_t entries = 1'000'000;
    std::uint32_t limit = 100;
    std::size_t sweep = 600;
    const char* only_text = nullptr;
    const char* names_file = nullptr;
};

// A line for each entry, with its kind before its path.
int write_names(const Options& options) {
    std::ofstream out(options.names_file, std::ios::binary);
    for (const CorpusEntry& entry : load_corpus(options.entries).entries) {
        out << entry.kind << entry.path << '\n';
    }
    return out.flush() ? 0 : 1;
}

int run(const Options& options) {
    const std::uint32_t limit = options.limit;
    const char* const only_text = options.only_text;
    print_method();
    const Corpus corpus = load_corpus(options.entries);
    std::uint64_t estimate = 0;
    std::vector<Entry> reference_entries;
    reference_entries.reserve(corpus.entries.size());
    for (const CorpusEntry& entry : corpus.entries) {
        estimate += memory_estimate(entry.path.size());
        reference_entries.emplace_back(entry.path, entry.kind);
    }
    std::printf("corpus    %zu entries of %s\n", corpus.entries.size(), corpus.source.c_str());

    ShardList shards;
    std::size_t kept_bytes = 0;
    Batch batch;
    double publishing_ms = 0;
    for (const CorpusEntry& entry : corpus.entries) {
        batch.add(entry.path, entry.kind);
        if (batch.size() < kShardEntries && &entry != &corpus.entries.back()) continue;
        const double start = thread_ms();
        shards.push_back(std::make_shared<const Shard>(batch));
        batch.clear();
        publishing_ms += thread_ms() - start;
        kept_bytes += shards.back()->memory_bytes();
    }
    const auto report = [](const char* what, double value, double aim, const char* unit) {
        std::printf("%-9s %.3g%s, aim %.3g%s\n", what, value, unit, aim,
                    value <= aim ? "" : "  MISSED");
    };
    report("index", static_cast<double>(kept_bytes) / static_cast<double>(estimate), kEstimateAim,
           " of the memory estimate");
    report("worst", worst_share(), kWorstAim, " of the memory estimate");
    report("publish", publishing_ms * 1e6 / static_cast<double>(corpus.entries.size()),
           kPublishingAim, " ns an entry");
    write_figure("publishing, an entry", "ns",
                 publishing_ms * 1e6 / static_cast<double>(corpus.entries.size()));
    const Plocate plocate(corpus);
    std::printf("limit     %u\n\n", limit);

    std::printf("%-17s %-17s %9s %9s %19s %5s %9s %9s\n", "sort", "text", "matched", "ms",
                "(least - most)", "aim", "reference", "plocate");
    bool correct = true;
    int missed = 0;
    for (const Row& row : kRows) {
        if (only_text != nullptr && std::strcmp(row.text, only_text) != 0) continue;
        const Result result = search(shards, row, limit);
        const reference::Answer answer =
            reference::search(reference_entries, row.text, row.flags, row.kind, limit);
        if (!same(result, answer)) {
            std::printf("%-17s %-17s WRONG: %u, not %u\n", row.sort, row.text, result.matched,
                        answer.matched);
            correct = false;
            continue;
        }
        const Times own = measure(21, thread_ms, [&] { search(shards, row, limit); });
        const Times reference = measure(3, thread_ms, [&] {
            reference::search(reference_entries, row.text, row.flags, row.kind, limit);
        });
        write_figure(std::string(row.sort) + " " + row.text, own);
        const bool is_path = (row.flags & SS_MATCH_PATH) != 0;
        const double aim = millions(corpus) * (is_path ? kPathAim : kNameAim);
        const bool kept = own.median_ms <= aim;
        std::printf("%-17s %-17s %9u %9.3f (%7.3f - %7.3f) %5.0f %9.1f", row.sort, row.text,
                    result.matched, own.median_ms, own.least_ms, own.most_ms, aim,
                    reference.median_ms);
        if (plocate.can_run(row)) {
            const std::string command = plocate.command(row);
            const std::string found = output_of(command.c_str());
            const Times other =
                measure(5, children_ms, [&] { static_cast<void>(output_of(command.c_str())); });
            std::printf(" %9.1f", other.median_ms);
            if (found != std::to_string(result.matched)) std::printf(" (%s)", found.c_str());
        }
        std::printf("%s\n", kept ? "" : "  MISSED");
        std::fflush(stdout);
        missed += kept ? 0 : 1;
    }
    if (correct && only_text == nullptr && options.sweep != 0) {
        correct = run_sweep(corpus, reference_entries, shards, options.sweep, limit);
    }
    std::printf("\n%s, %d aims of rows missed\n", correct ? "all answers right" : "WRONG ANSWERS",
                missed);
    return correct ? 0 : 1;
}

}  // namespace
}  // namespace system_search::bench

int main(int argc, char** argv) {
    system_search::bench::Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const char* const value = argv[i + 1];
        const auto number = std::strtoull(value, nullptr, 10);
        if (std::strcmp(argv[i], "--entries") == 0) options.entries = number;
        if (std::strcmp(argv[i], "--limit") == 0)
            options.limit = static_cast<std::uint32_t>(number);
        if (std::strcmp(argv[i], "--sweep") == 0) options.sweep = number;
        if (std::strcmp(argv[i], "--text") == 0) options.only_text = value;
        if (std::strcmp(argv[i], "--names") == 0) options.names_file = value;
    }
    if (options.names_file != nullptr) return system_search::bench::write_names(options);
    return system_search::bench::run(options);
}
