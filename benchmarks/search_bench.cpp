// The time of name queries on real paths, without their metadata, beside two baselines in the same
// run: the plain scan (two strings an entry, one after the other) and `plocate -c` on the same
// names, process start included. Answers are checked before anything is timed.
//
//     search_bench [--entries 1000000] [--limit 100] [--text '*.html']    only the rows of a text
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "corpus.hpp"
#include "index/index.hpp"
#include "method.hpp"
#include "query/reference_search.hpp"
#include "query/scan.hpp"
#include "system_search.h"

namespace system_search::bench {
namespace {

struct Row {
    const char* sort;
    const char* text;
    std::uint32_t flags;
    std::uint32_t kind;
    double aim;  // the least multiple of the plain scan
};

constexpr Row kRows[] = {
    {"nowhere", "qzxwvk", 0, 0, 60},
    {"nowhere", "noitartnecnoc", 0, 0, 60},
    {"empty", "", 0, 0, 60},
    {"empty, folders", "", 0, 2, 60},
    {"word", "report", 0, 0, 15},
    {"word", "config", 0, 0, 15},
    {"word", "README", 0, 0, 15},
    {"word", "html", 0, 0, 15},
    {"word", "in", 0, 0, 15},
    {"word, case", "README", SS_MATCH_CASE, 0, 15},
    {"word, folders", "test", 0, 2, 15},
    {"letter", "e", 0, 0, 15},
    {"letter", "x", 0, 0, 15},
    {"path word", "python", SS_MATCH_PATH, 0, 10},
    {"path word", "report", SS_MATCH_PATH, 0, 10},
    {"path word", "share/doc", SS_MATCH_PATH, 0, 10},
    {"path word", "icons/hi", SS_MATCH_PATH, 0, 10},
    {"path word, case", "GNU", SS_MATCH_PATH | SS_MATCH_CASE, 0, 10},
    {"path nowhere", "qzxwvk", SS_MATCH_PATH, 0, 10},
    {"wildcard", "*.html", 0, 0, 8},
    {"wildcard", "lib*.so*", 0, 0, 8},
    {"wildcard", "re?d*", 0, 0, 8},
    {"wildcard", "????.*", 0, 0, 8},
    {"many stars", "*a*b*c*", 0, 0, 8},
    {"many stars", "*e*r*t*n*", 0, 0, 8},
    {"ordinary", "jpg", 0, 0, 15},
    {"ordinary", "foo", 0, 0, 15},
    {"ordinary", "a", 0, 0, 15},
    {"ordinary", "setup", 0, 0, 15},
    {"ordinary", "*.pdf", 0, 0, 8},
    {"ordinary", "*.py", 0, 0, 8},
    {"ordinary", "*.png", 0, 0, 8},
    {"ordinary", "2023*", 0, 0, 8},
    {"ordinary", "img_*", 0, 0, 8},
    {"ordinary", "test*.py", 0, 0, 8},
    {"ordinary", "*.so.?", 0, 0, 8},
    {"ordinary", "*config*.h", 0, 0, 8},
    {"ordinary, case", "Makefile", SS_MATCH_CASE, 0, 15},
    {"ordinary, case", "e", SS_MATCH_CASE, 0, 15},
    {"ordinary, path", "src/main", SS_MATCH_PATH, 0, 10},
    {"ordinary, path", "include/linux", SS_MATCH_PATH, 0, 10},
    {"ordinary, path", "doc/readme", SS_MATCH_PATH, 0, 10},
    {"ordinary, path", "*/bin/*", SS_MATCH_PATH, 0, 8},
    {"ordinary, path", "*/test/*.py", SS_MATCH_PATH, 0, 8},
    {"ordinary, path", "c:/usr/lib/*.so", SS_MATCH_PATH, 0, 8},
    {"path wildcard", "*/doc/*.gz", SS_MATCH_PATH, 0, 8},
    {"path wildcard", "c:/usr/*/python*", SS_MATCH_PATH, 0, 8},
    {"path, many stars", "*a*b*c*", SS_MATCH_PATH, 0, 8},
};

struct Result {
    std::uint32_t matched = 0;
    std::vector<EntryRef> entries;
};

Result search(const ShardList& shards, const Row& row, std::uint32_t limit) {
    const std::atomic<bool> cancel{false};
    Candidates candidates(limit);
    Result result;
    scan(shards, Pattern(row.text, row.flags), row.kind, cancel, candidates, result.matched);
    result.entries = candidates.take_sorted();
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

int run(std::size_t count, std::uint32_t limit, const char* only_text) {
    print_method();
    const Corpus corpus = load_corpus(count);
    std::uint64_t estimate = 0;
    std::vector<Entry> plain_entries;
    plain_entries.reserve(corpus.entries.size());
    for (const CorpusEntry& entry : corpus.entries) {
        estimate += memory_estimate(entry.path.size());
        plain_entries.emplace_back(entry.path, entry.kind);
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
    std::printf("index     %.3f of the memory estimate, %.0f ns an entry to publish\n",
                static_cast<double>(kept_bytes) / static_cast<double>(estimate),
                publishing_ms * 1e6 / static_cast<double>(corpus.entries.size()));
    write_figure("publishing, an entry", "ns",
                 publishing_ms * 1e6 / static_cast<double>(corpus.entries.size()));
    const Plocate plocate(corpus);
    std::printf("limit     %u\n\n", limit);

    std::printf("%-17s %-17s %9s %9s %19s %9s %7s %5s %9s\n", "sort", "text", "matched", "ms",
                "(least - most)", "plain ms", "times", "aim", "plocate");
    bool correct = true;
    int missed = 0;
    for (const Row& row : kRows) {
        if (only_text != nullptr && std::strcmp(row.text, only_text) != 0) continue;
        const Result result = search(shards, row, limit);
        const reference::Answer answer =
            reference::search(plain_entries, row.text, row.flags, row.kind, limit);
        if (!same(result, answer)) {
            std::printf("%-17s %-17s WRONG: %u, not %u\n", row.sort, row.text, result.matched,
                        answer.matched);
            correct = false;
            continue;
        }
        const Times own = measure(21, thread_ms, [&] { search(shards, row, limit); });
        const Times plain = measure(3, thread_ms, [&] {
            reference::search(plain_entries, row.text, row.flags, row.kind, limit);
        });
        write_figure(std::string(row.sort) + " " + row.text, own);
        const double multiple = plain.median_ms / own.median_ms;
        std::printf("%-17s %-17s %9u %9.3f (%7.3f - %7.3f) %9.1f %7.1f %5.0f", row.sort, row.text,
                    result.matched, own.median_ms, own.least_ms, own.most_ms, plain.median_ms,
                    multiple, row.aim);
        bool kept = multiple >= row.aim;
        if (plocate.can_run(row)) {
            const std::string command = plocate.command(row);
            const std::string found = output_of(command.c_str());
            const Times other =
                measure(5, children_ms, [&] { static_cast<void>(output_of(command.c_str())); });
            std::printf(" %9.1f", other.median_ms);
            kept = kept && own.median_ms < other.median_ms;
            if (found != std::to_string(result.matched)) std::printf(" (%s)", found.c_str());
        }
        std::printf("%s\n", kept ? "" : "  MISSED");
        std::fflush(stdout);
        missed += kept ? 0 : 1;
    }
    std::printf("\n%s, %d aims missed\n", correct ? "all answers right" : "WRONG ANSWERS", missed);
    return correct ? 0 : 1;
}

}  // namespace
}  // namespace system_search::bench

int main(int argc, char** argv) {
    std::size_t entries = 1'000'000;
    std::uint32_t limit = 100;
    const char* only_text = nullptr;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--entries") == 0)
            entries = std::strtoull(argv[i + 1], nullptr, 10);
        if (std::strcmp(argv[i], "--text") == 0) only_text = argv[i + 1];
        if (std::strcmp(argv[i], "--limit") == 0) {
            limit = static_cast<std::uint32_t>(std::strtoul(argv[i + 1], nullptr, 10));
        }
    }
    return system_search::bench::run(entries, limit, only_text);
}
