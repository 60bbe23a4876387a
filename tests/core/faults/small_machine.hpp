// A small tree on a simulated volume, and the whole life of a host on it, for tests that break one
// thing at a time and look at the outcome.
#pragma once

#include <string>
#include <thread>
#include <vector>

#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

namespace system_search::simulated {

inline EngineStatus wait(SystemSearchEngine* engine) {
    EngineStatus status{};
    for (ss_status(engine, &status); status.state == SS_ENGINE_RUNNING;
         ss_status(engine, &status)) {
        std::this_thread::yield();
    }
    return status;
}

inline QueryStatus wait(SystemSearchQuery* query) {
    QueryStatus status{};
    for (ss_query_poll(query, &status); status.state == SS_QUERY_RUNNING;
         ss_query_poll(query, &status)) {
        std::this_thread::yield();
    }
    return status;
}

class SmallMachine : public VolumeTest {
protected:
    static constexpr const char* kScope = "C:/tree";
    static constexpr const char* kCache = "C:/cache/deep/index.cache";
    static constexpr const char16_t* kCachePath = u"C:\\cache\\deep\\index.cache";
    static constexpr std::uint32_t kFiles = 6;
    static constexpr std::uint32_t kFolders = 3;
    static constexpr std::uint32_t kEntries = kFiles + kFolders;

    void SetUp() override {
        VolumeTest::SetUp();
        add_file(u"C:\\tree\\file a.txt", 1);
        add_file(u"C:\\tree\\Folder\\file b.txt", 2);
        add_file(u"C:\\tree\\Folder\\Inner\\file c.txt", 3);
        add_file(u"C:\\tree\\Folder\\Inner\\file d.txt", 4);
        add_folder(u"C:\\tree\\Empty");
        add_file(u"C:\\tree\\file \u00e4.txt", 5);
        add_file(u"C:\\tree\\file z.txt", 6);
    }

    // A finished build of the whole tree, cached.
    static SystemSearchEngine* built_engine() {
        SystemSearchEngine* const engine = ss_create();
        EXPECT_EQ(ss_start(engine, kScope, kCache, 1), 1);
        EXPECT_EQ(wait(engine).entries, kEntries);
        EXPECT_STREQ(ss_error(engine), "");
        return engine;
    }

    // Every path in the engine's index, in result order.
    static std::vector<std::string> indexed_paths(SystemSearchEngine* engine) {
        SystemSearchQuery* const query = ss_query(engine, "", 0, SS_KIND_ANY, 1000);
        const QueryStatus found = wait(query);
        std::vector<std::string> paths;
        for (std::uint32_t i = 0; i < found.count; ++i) {
            paths.emplace_back(ss_query_path(query, i));
        }
        ss_query_destroy(query);
        return paths;
    }
};

}  // namespace system_search::simulated
