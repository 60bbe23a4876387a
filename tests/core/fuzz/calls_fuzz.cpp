// Drives whole sequences of exported calls, read from the input: any order, any arguments, null and
// repeated, over a small simulated volume whose cache file the input may overwrite as well. Checks
// what the header promises of every answer; the sanitizers check the rest.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "simulated/volume.hpp"
#include "system_search.h"

namespace {

namespace simulated = system_search::simulated;

#define REQUIRE(condition)                                                       \
    do {                                                                         \
        if (!(condition)) {                                                      \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                        \
        }                                                                        \
    } while (false)

constexpr std::uint32_t kTreeEntries = 6;
constexpr std::uint32_t kRootChildren = 3;

void make_machine() {
    simulated::reset();
    simulated::add_drive(u"C:\\", system_search::platform::kDriveFixed);
    simulated::add_file(u"C:\\tree\\Alpha.txt", 1);
    simulated::add_file(u"C:\\tree\\b\\beta.txt", 2);
    simulated::add_file(u"C:\\tree\\b\\c\\\u00e4.txt", 3);
    simulated::add_junction(u"C:\\tree\\link", u"C:\\tree\\b");
    simulated::add_folder(u"C:\\cache");
}

// The input as a supply of numbers and texts; zeros when it is used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t bytes)
        : rest_(reinterpret_cast<const char*>(data), bytes) {}

    bool empty() const { return rest_.empty(); }
    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const char first = rest_.front();
        rest_.remove_prefix(1);
        return static_cast<std::uint8_t>(first);
    }
    // Mostly small numbers, sometimes anything.
    std::uint32_t number() {
        const std::uint32_t small = byte();
        return small < 200 ? small % 8 : small * 0x01010101u + byte();
    }
    std::string bytes() {
        const std::size_t count = std::min<std::size_t>(byte(), rest_.size());
        const std::string taken(rest_.substr(0, count));
        rest_.remove_prefix(count);
        return taken;
    }
    // One of the given texts, or one from the input.
    template <std::size_t N>
    std::string text(const std::array<const char*, N>& known) {
        const std::uint8_t which = byte();
        return which < 2 * N ? known[which % N] : bytes();
    }

private:
    std::string_view rest_;
};

constexpr std::array<const char*, 9> kFolders = {
    "C:/tree",    "C:\\tree\\.\\b\\..", "C:/tree/b",   "", "relative", "C:",
    "C:/missing", "C:/tree/Alpha.txt",  "C:/tree/link"};
constexpr std::array<const char*, 4> kCaches = {"", "C:/cache/index", "C:/cache", "no\xffutf8"};
constexpr std::array<const char*, 8> kTexts = {"",      "a",     "ALPHA", "*",
                                               "*.txt", "?.txt", "b/",    "*a*e*"};

EngineStatus wait(SystemSearchEngine* engine) {
    EngineStatus status{};
    for (ss_status(engine, &status); status.state == SS_ENGINE_RUNNING;
         ss_status(engine, &status)) {
        std::this_thread::yield();
    }
    return status;
}

void check_results(SystemSearchQuery* query, const QueryStatus& found) {
    for (std::uint32_t i = 0; i < found.count; ++i) {
        const char* const path = ss_query_path(query, i);
        REQUIRE(path != nullptr && *path != '\0');
        const std::uint32_t kind = ss_query_kind(query, i);
        REQUIRE(kind == SS_KIND_FILE || kind == SS_KIND_FOLDER);
        ResultMetadata metadata{1, 1, 1, 1};
        REQUIRE(ss_query_metadata(query, i, &metadata) == 1);
        REQUIRE(metadata.reserved == 0);
        REQUIRE(metadata.flags == 0 || metadata.flags == 2 || metadata.flags == 3);
    }
    REQUIRE(ss_query_path(query, found.count) == nullptr);
    REQUIRE(ss_query_kind(query, found.count) == 0);
}

class Session {
public:
    explicit Session(Input& input) : input_(input) {}
    ~Session() {
        for (SystemSearchQuery* query : queries_) ss_query_destroy(query);
        for (SystemSearchEngine* engine : engines_) ss_destroy(engine);
    }

    void step() {
        SystemSearchEngine*& engine = engines_[input_.byte() % engines_.size()];
        SystemSearchQuery*& query = queries_[input_.byte() % queries_.size()];
        switch (input_.byte() % 11) {
            case 0:
                ss_destroy(engine);
                engine = input_.byte() % 4 == 0 ? nullptr : ss_create();
                break;
            case 1:
                start(engine);
                break;
            case 2:
                ss_cancel(engine);
                break;
            case 3:
                status(engine);
                break;
            case 4:
                REQUIRE(ss_error(engine) != nullptr);
                break;
            case 5:
                ss_query_destroy(query);
                query = search(engine);
                break;
            case 6:
                ss_query_destroy(query);
                query = list();
                break;
            case 7:
                poll(query);
                break;
            case 8:
                read_anywhere(query);
                break;
            case 9:
                ss_query_destroy(query);
                query = nullptr;
                break;
            default:
                simulated::write_file(u"C:\\cache\\index", input_.bytes());
        }
    }

private:
    void start(SystemSearchEngine* engine) {
        const std::string scope = input_.text(kFolders);
        // Never one of the input's own: a cache inside the tree would change what there is to find.
        const std::string cache = kCaches[input_.byte() % kCaches.size()];
        const std::uint8_t how = input_.byte();
        EngineStatus before{};
        ss_status(engine, &before);
        const int started = ss_start(engine, how & 1 ? scope.c_str() : nullptr,
                                     how & 2 ? cache.c_str() : nullptr, how & 4);
        if (engine == nullptr || (how & 3) != 3) {
            REQUIRE(started == 0);
            return;
        }
        REQUIRE(started == 1 || before.state == SS_ENGINE_RUNNING);
        if (how & 8) return;
        const EngineStatus after = wait(engine);
        REQUIRE(after.state >= SS_ENGINE_READY && after.state <= SS_ENGINE_FAILED);
        const bool failed = after.state == SS_ENGINE_FAILED;
        REQUIRE(!failed || *ss_error(engine) != '\0');
        if (started == 1 && after.state == SS_ENGINE_READY && after.from_cache == 0 &&
            scope == "C:/tree") {
            REQUIRE(after.entries == kTreeEntries && after.skipped == 0);
        }
    }

    static void status(SystemSearchEngine* engine) {
        EngineStatus status{9, 9, 9, 9, 9};
        ss_status(engine, nullptr);
        ss_status(engine, &status);
        if (engine == nullptr) {
            REQUIRE(status.state == 9 && status.entries == 9);
            return;
        }
        REQUIRE(status.state <= SS_ENGINE_FAILED);
        REQUIRE(status.limited <= 1 && status.from_cache <= 1);
    }

    SystemSearchQuery* search(SystemSearchEngine* engine) {
        const std::string text = input_.text(kTexts);
        const std::uint32_t flags = input_.number();
        const std::uint32_t kind = input_.number();
        const auto limit = static_cast<std::int32_t>(input_.number());
        SystemSearchQuery* const query = ss_query(engine, text.c_str(), flags, kind, limit);
        REQUIRE((query != nullptr) == (engine != nullptr && flags < 4 && kind < 3 && limit >= 1 &&
                                       limit <= SS_MAX_RESULTS));
        return query;
    }

    SystemSearchQuery* list() {
        const std::string folder = input_.text(kFolders);
        const std::string text = input_.text(kTexts);
        const std::uint32_t flags = input_.number();
        const std::uint32_t kind = input_.number();
        const std::uint32_t limit = input_.number();
        SystemSearchQuery* const query =
            ss_query_directory(folder.c_str(), text.c_str(), flags, kind, limit);
        REQUIRE((query != nullptr) == (*folder.c_str() != '\0' && flags < 4 && kind < 3 &&
                                       limit >= 1 && limit <= SS_MAX_RESULTS));
        if (query == nullptr || folder != "C:/tree") return query;
        QueryStatus found = finish(query);
        REQUIRE(found.state == SS_QUERY_DONE && found.index_entries == kRootChildren);
        return query;
    }

    static QueryStatus finish(SystemSearchQuery* query) {
        QueryStatus found{};
        for (ss_query_poll(query, &found); found.state == SS_QUERY_RUNNING;
             ss_query_poll(query, &found)) {
            REQUIRE(found.matched + found.count + found.index_entries == 0);
            std::this_thread::yield();
        }
        return found;
    }

    static void poll(SystemSearchQuery* query) {
        ss_query_poll(query, nullptr);
        if (query == nullptr) return;
        const QueryStatus found = finish(query);
        REQUIRE(found.state == SS_QUERY_DONE || found.state == SS_QUERY_FAILED);
        REQUIRE(found.count <= found.matched && found.matched <= found.index_entries);
        if (found.state == SS_QUERY_DONE) check_results(query, found);
        QueryStatus again{};
        ss_query_poll(query, &again);
        REQUIRE(again.state == found.state && again.matched == found.matched);
    }

    void read_anywhere(SystemSearchQuery* query) {
        const std::uint32_t index = input_.number();
        const bool readable = ss_query_path(query, index) != nullptr;
        ResultMetadata metadata{1, 1, 1, 1};
        REQUIRE(ss_query_metadata(query, index, nullptr) == 0);
        if (readable) return;
        // The query may have finished between two calls; only a null handle stays unreadable.
        const int given = ss_query_metadata(query, index, &metadata);
        if (query == nullptr) REQUIRE(given == 0);
        if (given == 0) REQUIRE(metadata.size == 0 && metadata.flags == 0);
    }

    Input& input_;
    std::array<SystemSearchEngine*, 3> engines_{};
    std::array<SystemSearchQuery*, 3> queries_{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
    make_machine();
    Input input(data, bytes);
    Session session(input);
    for (int steps = 0; steps < 200 && !input.empty(); ++steps) session.step();
    return 0;
}
