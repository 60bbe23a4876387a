// The DLL's walk of a real tree beside a bare recursion with FindFirstFileExW over the same tree,
// the two taking turns in one run: what the library adds to what the system needs anyway.
//
//     walk_bench [FOLDER]
#include <cstdint>

#include "system_search.h"
#include "windows/dll_method.hpp"

namespace {

using system_search::bench::median;
using system_search::bench::now_ms;
using system_search::bench::spread_percent;

constexpr double kAim = 1.25;
constexpr int kRuns = 5;

// Folders with the reparse-point attribute are not entered, as in the library.
std::uint32_t enumerate(std::wstring& folder) {
    const std::size_t length = folder.size();
    folder += L"\\*";
    WIN32_FIND_DATAW found;
    HANDLE const search =
        FindFirstFileExW(folder.c_str(), FindExInfoBasic, &found, FindExSearchNameMatch, nullptr,
                         FIND_FIRST_EX_LARGE_FETCH);
    folder.resize(length);
    if (search == INVALID_HANDLE_VALUE) return 0;
    std::uint32_t count = 0;
    do {
        const wchar_t* const name = found.cFileName;
        if (name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0))) continue;
        ++count;
        if ((found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) ==
            FILE_ATTRIBUTE_DIRECTORY) {
            folder += L'\\';
            folder += name;
            count += enumerate(folder);
            folder.resize(length);
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return count;
}

EngineStatus walk(SystemSearchEngine* engine, const char* folder) {
    EngineStatus status{};
    if (ss_start(engine, folder, "", 1) == 0) return status;
    do {
        Sleep(1);
        ss_status(engine, &status);
    } while (status.state == SS_ENGINE_RUNNING);
    ss_status(engine, &status);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    system_search::bench::print_method();
    const std::string folder = argc > 1 ? argv[1] : "Z:\\usr\\share";
    const std::wstring root(folder.begin(), folder.end());

    // One round each warms the file system's caches and checks the answers.
    SystemSearchEngine* const engine = ss_create();
    std::wstring scratch = root;
    const std::uint32_t entries = enumerate(scratch);
    const EngineStatus first = walk(engine, folder.c_str());
    if (first.state != SS_ENGINE_READY || first.entries != entries || entries == 0) {
        std::fprintf(stderr, "%s: %u entries by hand, %u by the library (state %u: %s)\n",
                     folder.c_str(), entries, first.entries, first.state, ss_error(engine));
        return 1;
    }

    std::vector<double> bare;
    std::vector<double> walked;
    std::vector<double> ratios;
    for (int run = 0; run < kRuns; ++run) {
        const double begin = now_ms();
        enumerate(scratch);
        const double middle = now_ms();
        walk(engine, folder.c_str());
        const double end = now_ms();
        bare.push_back(middle - begin);
        walked.push_back(end - middle);
        ratios.push_back(walked.back() / bare.back());
    }
    ss_destroy(engine);

    system_search::bench::write_figure("bare recursion", "ms", bare);
    system_search::bench::write_figure("the library", "ms", walked);
    system_search::bench::write_figure("ratio", "times", ratios);
    std::printf("folder    %s, %u entries, warm, %d runs in turns\n\n", folder.c_str(), entries,
                kRuns);
    std::printf("bare recursion    %8.0f ms  %6.2f us an entry  (spread %.0f %%)\n", median(bare),
                1000.0 * median(bare) / entries, spread_percent(bare));
    std::printf("the library       %8.0f ms  %6.2f us an entry  (spread %.0f %%)\n", median(walked),
                1000.0 * median(walked) / entries, spread_percent(walked));
    std::printf("ratio             %8.2f     (spread %.0f %%)\n\naim: at most %.2f, %s\n",
                median(ratios), spread_percent(ratios), kAim,
                median(ratios) <= kAim ? "met" : "MISSED");
    return 0;
}
