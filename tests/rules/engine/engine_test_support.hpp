// A machine and an engine for each test, driven through the exported functions, with a view of the
// index that no host has.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/text.hpp"
#include "engine/engine.hpp"
#include "simulated/faults.hpp"
#include "simulated/volume.hpp"
#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

inline bool operator==(const EngineStatus& a, const EngineStatus& b) {
    return a.state == b.state && a.entries == b.entries && a.skipped == b.skipped &&
           a.limited == b.limited && a.from_cache == b.from_cache;
}

inline void PrintTo(const EngineStatus& status, std::ostream* out) {
    *out << "{state " << status.state << ", entries " << status.entries << ", skipped "
         << status.skipped << ", limited " << status.limited << ", from_cache " << status.from_cache
         << "}";
}

namespace system_search {

using namespace simulated;  // NOLINT(google-build-using-namespace): the tests' vocabulary

// What an index holds, in order: a folder is written with a "/" at its end.
using Listing = std::vector<std::string>;

inline Listing listing_of(const Snapshot& snapshot) {
    Listing listing;
    for (const auto& shard : snapshot.shards) {
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            const Entry entry = shard->entry(i);
            listing.push_back(entry.path);
            if (entry.kind == kKindFolder) listing.back() += '/';
        }
    }
    return listing;
}

inline std::string last_path(const Snapshot& snapshot) {
    const Shard& shard = *snapshot.shards.back();
    return shard.entry(shard.size() - 1).path;
}

class EngineTest : public VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        handle_ = ss_create();
        ASSERT_NE(handle_, nullptr);
    }
    void TearDown() override {
        ss_destroy(handle_);
        VolumeTest::TearDown();
    }

    Engine& engine() { return *reinterpret_cast<Engine*>(handle_); }
    Snapshot snapshot() { return take_snapshot(*current_index(engine())); }
    Listing listing() { return listing_of(snapshot()); }

    EngineStatus status() {
        EngineStatus now{9, 9, 9, 9, 9};
        ss_status(handle_, &now);
        return now;
    }

    // Waits for the end of the build: the first status that tells of it has to be right.
    EngineStatus finish() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        for (;;) {
            const EngineStatus now = status();
            if (now.state != SS_ENGINE_RUNNING) return now;
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "the build does not end";
                return now;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    EngineStatus build(const char* scope, const char* cache_path = "", int force = 0) {
        EXPECT_EQ(ss_start(handle_, scope, cache_path, force), 1);
        return finish();
    }

    std::string error() { return ss_error(handle_); }

    SystemSearchEngine* handle_ = nullptr;
};

inline void fail_node(std::u16string_view path, platform::Error NodeFaults::* which,
                      platform::Error error) {
    NodeFaults faults;
    faults.*which = error;
    set_faults(path, faults);
}

}  // namespace system_search
