// The DLL's listing of one large folder beside a bare loop of FindFirstFileExW and FindNextFileW
// over the same folder, the two taking turns in one run.
//
// The aim is for the listing before metadata. Metadata is read inside the query, behind the search,
// so its time is taken by hand, in the same round and of the same results, and subtracted:
//
//     bare loop         every child looked at once, nothing kept
//     listing           ss_query_directory with an empty text and limit 1000, from the call to the
//                       final state: thread, enumeration, an attribute query for each folder, the
//                       shard, the search and its order, the metadata of 1000 results
//     metadata by hand  GetFileAttributesExW of those results, their paths already converted
//     before metadata   the listing less the metadata by hand
//     no match          the listing with a text that no name has: all of it but results and
//     metadata attribute queries GetFileAttributesW of each folder in it, which the bare loop
//     leaves out
//
//     listing_bench FOLDER...     without links, which a listing leaves out
#include <cstdint>
#include <functional>

#include "system_search.h"
#include "windows/dll_method.hpp"

namespace {

using system_search::bench::median;
using system_search::bench::now_ms;
using system_search::bench::process_ms;
using system_search::bench::spread_percent;

constexpr double kAim = 1.2;
constexpr int kRuns = 9;
constexpr int kLimit = SS_MAX_RESULTS;
constexpr char kNoName[] = "qzxwvk";

struct Folder {
    std::string path;
    std::uint32_t children = 0;
    std::vector<std::wstring> subfolders;
    std::vector<std::wstring> results;  // of the listing with an empty text
};

std::wstring wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

template <typename Visit>
std::uint32_t enumerate(const std::wstring& folder, Visit visit) {
    WIN32_FIND_DATAW found;
    HANDLE const search =
        FindFirstFileExW((folder + L"\\*").c_str(), FindExInfoBasic, &found, FindExSearchNameMatch,
                         nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE) return 0;
    std::uint32_t count = 0;
    do {
        const wchar_t* const name = found.cFileName;
        if (name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0))) continue;
        ++count;
        visit(found);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return count;
}

QueryStatus list(const Folder& folder, const char* text, std::vector<std::wstring>* results) {
    SystemSearchQuery* const query =
        ss_query_directory(folder.path.c_str(), text, 0, SS_KIND_ANY, kLimit);
    QueryStatus status{};
    for (ss_query_poll(query, &status); query != nullptr && status.state == SS_QUERY_RUNNING;
         ss_query_poll(query, &status)) {
        Sleep(1);
    }
    for (std::uint32_t i = 0; results != nullptr && i < status.count; ++i) {
        results->push_back(wide(ss_query_path(query, i)));
    }
    ss_query_destroy(query);
    return status;
}

// Warms the file system's caches, checks the answers and keeps what the rounds ask about.
bool prepare(Folder& folder) {
    const std::wstring path = wide(folder.path);
    folder.children = enumerate(path, [&](const WIN32_FIND_DATAW& child) {
        if ((child.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            folder.subfolders.push_back(path + L"\\" + child.cFileName);
        }
    });
    const QueryStatus all = list(folder, "", &folder.results);
    const QueryStatus none = list(folder, kNoName, nullptr);
    const std::uint32_t wanted = folder.children < kLimit ? folder.children : kLimit;
    if (folder.children > 0 && all.state == SS_QUERY_DONE && none.state == SS_QUERY_DONE &&
        all.index_entries == folder.children && all.matched == folder.children &&
        all.count == wanted && none.matched == 0) {
        return true;
    }
    std::fprintf(stderr, "%s: %u children by hand, %u by the library, %u matched\n",
                 folder.path.c_str(), folder.children, all.index_entries, all.matched);
    return false;
}

// One thing's times in all rounds: on the wall, and of the processor.
struct Series {
    std::vector<double> wall;
    std::vector<double> process;

    template <typename Body>
    void take(Body body) {
        const double wall_start = now_ms();
        const double process_start = process_ms();
        body();
        process.push_back(process_ms() - process_start);
        wall.push_back(now_ms() - wall_start);
    }
};

template <typename Combine>
Series combine(const Series& a, const Series& b, Combine combine) {
    Series out;
    for (std::size_t i = 0; i < a.wall.size(); ++i) {
        out.wall.push_back(combine(a.wall[i], b.wall[i]));
        out.process.push_back(combine(a.process[i], b.process[i]));
    }
    return out;
}

void print_times(const char* what, const Series& series) {
    std::printf("%-18s %8.0f ms  (spread %3.0f %%)  %8.0f ms of the processor\n", what,
                median(series.wall), spread_percent(series.wall), median(series.process));
}

void print_ratio(const char* what, const Series& ratio) {
    std::printf("%-32s %5.2f  (spread %3.0f %%)  %5.2f of the processor's time\n", what,
                median(ratio.wall), spread_percent(ratio.wall), median(ratio.process));
}

void run(const Folder& folder) {
    const std::wstring path = wide(folder.path);
    Series bare;
    Series listing;
    Series metadata;
    Series no_match;
    Series queries;
    for (int round = 0; round < kRuns; ++round) {
        bare.take([&] { enumerate(path, [](const WIN32_FIND_DATAW&) {}); });
        listing.take([&] { list(folder, "", nullptr); });
        metadata.take([&] {
            WIN32_FILE_ATTRIBUTE_DATA data;
            for (const std::wstring& result : folder.results) {
                GetFileAttributesExW(result.c_str(), GetFileExInfoStandard, &data);
            }
        });
        no_match.take([&] { list(folder, kNoName, nullptr); });
        queries.take([&] {
            for (const std::wstring& subfolder : folder.subfolders) {
                GetFileAttributesW(subfolder.c_str());
            }
        });
    }
    const auto ratio = [](double a, double b) { return a / b; };
    const Series before_metadata = combine(listing, metadata, std::minus<>());

    std::printf("\nfolder    %s, %u children, %zu of them folders, warm, %d runs in turns\n\n",
                folder.path.c_str(), folder.children, folder.subfolders.size(), kRuns);
    print_times("bare loop", bare);
    print_times("listing", listing);
    print_times("metadata by hand", metadata);
    print_times("before metadata", before_metadata);
    print_times("no match", no_match);
    print_times("attribute queries", queries);
    const Series measured = combine(before_metadata, bare, ratio);
    print_ratio("before metadata / bare", measured);
    print_ratio("no match / bare", combine(no_match, bare, ratio));
    if (!folder.subfolders.empty()) {
        print_ratio("before metadata / bare + queries",
                    combine(before_metadata, combine(bare, queries, std::plus<>()), ratio));
    }
    const std::string name = folder.path.substr(folder.path.rfind('\\') + 1);
    system_search::bench::write_figure(name + ", listing", "ms", listing.wall);
    system_search::bench::write_figure(name + ", before metadata", "ms", before_metadata.wall);
    system_search::bench::write_figure(name + ", before metadata / bare", "times", measured.wall);
    system_search::bench::write_figure(name + ", no match", "ms", no_match.wall);
    // On a busy machine either clock may flatter: the wall's with its noise, the processor's by
    // leaving out waits.
    const double worse = std::max(median(measured.wall), median(measured.process));
    std::printf("aim: before metadata at most %.1f times the bare loop by both clocks, %s\n", kAim,
                worse <= kAim ? "met" : "MISSED");
}

}  // namespace

int main(int argc, char** argv) {
    system_search::bench::print_method();
    if (argc < 2) {
        std::fprintf(stderr, "usage: listing_bench FOLDER...\n");
        return 2;
    }
    for (int i = 1; i < argc; ++i) {
        Folder folder;
        folder.path = argv[i];
        if (!prepare(folder)) return 1;
        run(folder);
        std::fflush(stdout);
    }
    return 0;
}
