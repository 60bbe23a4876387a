// Loading the index cache into an engine: all of it, or nothing is changed.
#include <thread>

#include "rules/engine/index_cache_support.hpp"

namespace system_search {
namespace {

class IndexCacheLoad : public IndexCache {
protected:
    void SetUp() override {
        IndexCache::SetUp();
        // Values that no start leaves behind, so that any change shows.
        engine.state = 1;
        engine.skipped = 5;
        engine.limited = 6;
        engine.from_cache = 7;
        set_error(engine, "an error");
        before = current_index(engine);
    }
    void expect_nothing_changed() {
        EXPECT_EQ(current_index(engine), before);
        EXPECT_EQ(take_snapshot(*before).entry_count, 0u);
        EXPECT_FALSE(before->complete);
        EXPECT_EQ(engine.skipped, 5u);
        EXPECT_EQ(engine.limited, 6u);
        EXPECT_EQ(engine.from_cache, 7u);
        EXPECT_EQ(engine.state, 1u);
        EXPECT_EQ(error_of(engine), "an error");
    }
    void write(const std::string& bytes) { simulated::write_file(kFile, bytes); }

    std::shared_ptr<Index> before;
};

TEST_F(IndexCacheLoad, installs_the_index_and_the_stored_counters) {
    const std::vector<PathAndKind> entries = {
        {"C:/music/a.mp3", 1}, {"C:/music/b", 2}, {"C:/music/b/c.mp3", 1}};
    write(cache_bytes(kScope, entries, 42, 0));
    ASSERT_TRUE(load());
    EXPECT_NE(current_index(engine), before);
    EXPECT_EQ(entries_of(*current_index(engine)), entries);
    EXPECT_TRUE(current_index(engine)->complete);
    EXPECT_EQ(engine.skipped, 42u);
    EXPECT_EQ(engine.limited, 0u);
    EXPECT_EQ(engine.from_cache, 1u);
    EXPECT_EQ(engine.state, 1u);
    EXPECT_EQ(error_of(engine), "an error");
}

TEST_F(IndexCacheLoad, a_limited_index_is_not_complete) {
    write(cache_bytes(kScope, {{"C:/music/a", 1}}, 0xFFFFFFFF, 1));
    ASSERT_TRUE(load());
    EXPECT_FALSE(current_index(engine)->complete);
    EXPECT_EQ(engine.skipped, 0xFFFFFFFFu);
    EXPECT_EQ(engine.limited, 1u);
}

TEST_F(IndexCacheLoad, the_engines_old_index_lives_as_long_as_its_readers) {
    write(cache_bytes(kScope, {{"C:/music/a", 1}}));
    ASSERT_TRUE(load());
    const Snapshot snapshot = take_snapshot(*current_index(engine));
    ASSERT_TRUE(load());
    EXPECT_EQ(snapshot.shards.at(0)->entry(0).path, "C:/music/a");
}

TEST_F(IndexCacheLoad, an_empty_path_means_no_cache) {
    simulated::count_platform_calls();
    EXPECT_FALSE(load_index_cache(engine, kScope, ""));
    EXPECT_EQ(simulated::platform_calls(), 0u);
    expect_nothing_changed();
}

TEST_F(IndexCacheLoad, a_path_that_is_not_utf8_means_no_cache) {
    simulated::count_platform_calls();
    EXPECT_FALSE(load_index_cache(engine, kScope, "C:/cache/\xFF"));
    EXPECT_FALSE(load_index_cache(engine, kScope, "C:/cache/\xED\xA0\x80"));
    EXPECT_EQ(simulated::platform_calls(), 0u);
    expect_nothing_changed();
}

TEST_F(IndexCacheLoad, a_file_that_cannot_be_opened_means_no_cache) {
    EXPECT_FALSE(load());  // missing
    EXPECT_FALSE(load_index_cache(engine, kScope, "C:/nowhere/index"));
    EXPECT_FALSE(load_index_cache(engine, kScope, "C:/cache"));  // a folder
    write(cache_bytes(kScope, {}));
    for (const platform::Error error : {platform::kAccessDenied, platform::Error{32}}) {
        simulated::fail_platform_call(1, error, simulated::kOpenFile);
        EXPECT_FALSE(load());
        simulated::forget_call_plans();
    }
    expect_nothing_changed();
}

TEST_F(IndexCacheLoad, an_unusable_file_changes_nothing_and_is_left_alone) {
    const std::string good = cache_bytes(kScope, {{"C:/music/a", 1}, {"C:/music/b", 2}}, 1);
    const std::string kUnusable[] = {
        "",
        "no cache at all",
        good + "x",
        good.substr(0, good.size() - 1),
        cache_bytes("c:\\music", {}),
        cache_bytes("C:/music", {}),
        cache_bytes(kScope, {{"C:/music/a", 1}, {"C:/music/b", 3}}),
        cache_bytes(kScope, {{"C:/music/a", 1}, {"notes/a.txt", 1}}),
        CacheBytes().header(kScope, 5'000'001).str(),
        CacheBytes().header(kScope, 0, 0, 2).str(),
        CacheBytes().header(kScope, 1).integer(32'769).str(),
    };
    for (const std::string& bytes : kUnusable) {
        write(bytes);
        EXPECT_FALSE(load());
        expect_nothing_changed();
        EXPECT_EQ(simulated::read_file(kFile), bytes);
        EXPECT_EQ(files(), std::vector<std::u16string>{u"index"});
    }
}

TEST_F(IndexCacheLoad, a_good_file_cut_anywhere_or_with_any_bit_turned_is_all_or_nothing) {
    const std::string good = cache_bytes(kScope, {{"C:/music/a", 1}, {"C:/music/b", 2}}, 1);
    for (std::size_t at = 0; at < good.size(); ++at) {
        write(good.substr(0, at));
        ASSERT_FALSE(load()) << at;
        for (int bit = 0; bit < 8; ++bit) {
            std::string changed = good;
            changed[at] = static_cast<char>(changed[at] ^ (1 << bit));
            write(changed);
            if (!load()) continue;
            EXPECT_EQ(take_snapshot(*current_index(engine)).entry_count, 2u);
            replace_index(engine, before);
            engine.skipped = 5;
            engine.limited = 6;
            engine.from_cache = 7;
        }
        expect_nothing_changed();
    }
}

TEST_F(IndexCacheLoad, a_cancel_request_abandons_it) {
    write(cache_bytes(kScope, sample_entries(2000)));
    engine.cancel = true;
    EXPECT_FALSE(load());
    expect_nothing_changed();
}

TEST_F(IndexCacheLoad, each_platform_call_that_fails_means_no_cache) {
    write(cache_bytes(kScope, sample_entries(30'000)));
    for (const platform::Error error : {platform::kAccessDenied, platform::Error{1117}}) {
        for (std::uint64_t nth = 1;; ++nth) {
            simulated::forget_call_plans();
            simulated::fail_platform_call(nth, error,
                                          simulated::kAllCalls & ~simulated::kCloseFile);
            const bool loaded = load();
            if (simulated::failed_platform_calls() == 0) {
                EXPECT_TRUE(loaded);
                EXPECT_GT(nth, 3u);
                break;
            }
            EXPECT_FALSE(loaded);
            expect_nothing_changed();
        }
        TearDown();
        SetUp();
        write(cache_bytes(kScope, sample_entries(30'000)));
    }
}

// A host that polls meanwhile: once from_cache is 1 all the rest is there, and an index that can be
// seen is whole and says truly whether it is complete.
TEST_F(IndexCacheLoad, becomes_visible_in_its_fixed_order) {
    write(cache_bytes(kScope, sample_entries(1500), 42, 0));
    for (int round = 0; round < 100; ++round) {
        replace_index(engine, before);
        engine.skipped = 0;
        engine.limited = 9;
        engine.from_cache = 0;
        std::thread poller([this] {
            for (bool from_cache = false; !from_cache;) {
                from_cache = engine.from_cache == 1;
                const bool limited = engine.limited == 0;
                const bool skipped = engine.skipped == 42;
                const std::shared_ptr<Index> seen = current_index(engine);
                EXPECT_TRUE(!from_cache || limited);
                EXPECT_TRUE(!limited || skipped);
                EXPECT_TRUE(!skipped || seen != before);
                if (seen != before) {
                    EXPECT_EQ(take_snapshot(*seen).entry_count, 1500u);
                    EXPECT_TRUE(seen->complete);
                }
            }
        });
        EXPECT_TRUE(load());
        engine.from_cache = 1;  // lets the poller end whatever went wrong
        poller.join();
    }
}

}  // namespace
}  // namespace system_search
