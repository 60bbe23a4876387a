// What a host can see at the moment at which a loaded index takes the place of the old one.
#include <gtest/gtest.h>

#include "engine/index_cache.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using CacheVisibilityTest = simulated::VolumeTest;

TEST_F(CacheVisibilityTest, counters_are_stored_after_the_index_was_replaced) {
    simulated::write_file(u"C:\\index", cache_bytes("C:/", sample_entries(3), 42, 1));
    Engine engine;
    std::uint32_t seen_entries = 9;
    std::uint32_t seen_counters = 9;
    // The old index is released right after the replacement, outside of the lock.
    replace_index(engine, std::shared_ptr<Index>(new Index, [&](Index* old) {
                      seen_entries = entry_count(*current_index(engine));
                      seen_counters = engine.skipped + engine.limited + engine.from_cache;
                      delete old;
                  }));
    ASSERT_TRUE(load_index_cache(engine, "C:/", "C:/index"));
    EXPECT_EQ(seen_entries, 3u);
    EXPECT_EQ(seen_counters, 0u);
    EXPECT_EQ(engine.skipped, 42u);
    EXPECT_EQ(engine.limited, 1u);
    EXPECT_EQ(engine.from_cache, 1u);
}

}  // namespace
}  // namespace system_search
