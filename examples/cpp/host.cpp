// Indexes a folder, searches it while the index grows, and lists the folder.
//
//     host FOLDER TEXT
#include <chrono>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>

#include <windows.h>

#include <system_search.hpp>

namespace {

using namespace std::chrono_literals;

// Waits for the query's end. A program with a window would poll from a timer instead.
ss::Outcome finish(const ss::Query& query) {
    ss::Outcome outcome = query.poll();
    while (outcome.state == ss::QueryState::kRunning) {
        std::this_thread::sleep_for(1ms);
        outcome = query.poll();
    }
    return outcome;
}

// One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
void print_results(std::string_view title, const ss::Query& query) {
    const ss::Outcome outcome = query.poll();
    std::cout << title << ": " << outcome.count << " of " << outcome.matched << " in "
              << outcome.index_entries << (outcome.index_incomplete ? ", incomplete" : "") << '\n';
    for (const ss::Result& result : query.results()) {
        std::cout << (result.kind == ss::Kind::kFolder ? "folder\t" : "file\t")
                  << (result.size ? std::to_string(*result.size) : "-") << '\t'
                  << (result.modified ? std::to_string(result.modified->time_since_epoch().count())
                                      : "-")
                  << '\t' << result.path << '\n';
    }
}

// Searches until a search has seen the finished index, and prints what that one found.
bool search_while_indexing(ss::Engine& engine, ss::Text text) {
    while (true) {
        const ss::Progress build = engine.progress();
        if (build.state == ss::EngineState::kFailed) {
            std::cerr << engine.error() << '\n';
            return false;
        }
        const ss::Query query = engine.search(text);
        const ss::Outcome outcome = finish(query);
        if (outcome.state != ss::QueryState::kDone) {
            std::cerr << "The search failed.\n";
            return false;
        }
        if (build.state != ss::EngineState::kRunning) {
            std::cout << "indexed " << build.entries << ", skipped " << build.skipped << '\n';
            print_results("search", query);
            return true;
        }
        std::cerr << outcome.matched << " matches in the first " << outcome.index_entries
                  << " entries\n";
        std::this_thread::sleep_for(20ms);
    }
}

bool list(ss::Text folder) {
    const ss::Query query = ss::list_folder(folder);
    if (finish(query).state != ss::QueryState::kDone) {
        std::cerr << "The folder cannot be listed.\n";
        return false;
    }
    print_results("list", query);
    return true;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 3) {
        std::cerr << "usage: host FOLDER TEXT\n";
        return 2;
    }
    SetConsoleOutputCP(CP_UTF8);
    const auto folder = std::filesystem::path(arguments[1]).u8string();
    const auto text = std::filesystem::path(arguments[2]).u8string();

    ss::Engine engine = ss::Engine::create();
    const bool succeeded =
        engine.start(folder) && search_while_indexing(engine, text) && list(folder);
    return succeeded ? 0 : 1;
}
