#include "engine/index_cache.hpp"

#include <chrono>
#include <new>
#include <thread>

#include "common/text.hpp"
#include "index/cache_bytes.hpp"
#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

namespace system_search {
namespace {

using simulated::AllocationFault;

constexpr char16_t kFile[] = u"C:\\cache\\index";
constexpr char kPath[] = "C:/cache/index";
constexpr char kScope[] = "C:\\music";
constexpr char kNotSaved[] = "Index is usable, but its cache could not be saved.";
constexpr std::uint64_t kFromNowOn = UINT64_MAX / 2;

std::string error_of(Engine& engine) {
    platform::MutexLock lock(engine.mutex);
    return engine.error;
}

std::vector<std::u16string> files() {
    return simulated::list_names(u"C:\\cache");
}

// One engine whose build thread is the test's own.
class IndexCache : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::add_folder(u"C:\\cache");
        replace_index(engine, std::make_shared<Index>());
    }
    bool load() { return load_index_cache(engine, kScope, kPath); }
    void save() { save_index_cache(engine, index, kScope, kPath); }

    Engine engine;
    Index index;  // what is saved
};

// ---- Loading ------------------------------------------------------------------------------------

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
        EXPECT_EQ(entry_count(*before), 0u);
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
    EXPECT_EQ(snapshot.shards.at(0)->entries()[0].path.view(), "C:/music/a");
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
            EXPECT_EQ(entry_count(*current_index(engine)), 2u);
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

TEST_F(IndexCacheLoad, memory_that_runs_out_anywhere_means_no_cache) {
    write(cache_bytes(kScope, sample_entries(3000)));
    for (std::uint64_t nth = 1;; ++nth) {
        bool loaded = false;
        {
            const AllocationFault fault(nth, kFromNowOn);
            loaded = load();
        }
        if (!AllocationFault::hit()) {
            EXPECT_TRUE(loaded);
            EXPECT_GT(nth, 8u);
            break;
        }
        EXPECT_FALSE(loaded) << nth;
        expect_nothing_changed();
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
                    EXPECT_EQ(entry_count(*seen), 1500u);
                    EXPECT_TRUE(seen->complete);
                }
            }
        });
        EXPECT_TRUE(load());
        engine.from_cache = 1;  // lets the poller end whatever went wrong
        poller.join();
    }
}

// ---- Saving -------------------------------------------------------------------------------------

class IndexCacheSave : public IndexCache {
protected:
    void SetUp() override {
        IndexCache::SetUp();
        fill(index, sample_entries(3000));
        engine.skipped = 7;
        simulated::write_file(kFile, "the old cache");
    }
    std::string written() { return simulated::read_file(kFile); }
    void expect_old_cache_alone() {
        EXPECT_EQ(written(), "the old cache");
        EXPECT_EQ(files(), std::vector<std::u16string>{u"index"});
    }
};

TEST_F(IndexCacheSave, stores_the_index_with_the_engines_counters) {
    engine.limited = 1;
    save();
    EXPECT_EQ(written(), cache_bytes(kScope, entries_of(index), 7, 1));
    EXPECT_EQ(error_of(engine), "");
    EXPECT_EQ(files(), std::vector<std::u16string>{u"index"});
}

TEST_F(IndexCacheSave, what_is_saved_loads_alike_and_is_saved_alike) {
    save();
    const std::string first = written();
    Engine other;
    ASSERT_TRUE(load_index_cache(other, kScope, kPath));
    EXPECT_EQ(entries_of(*current_index(other)), entries_of(index));
    EXPECT_EQ(other.skipped, 7u);
    EXPECT_EQ(other.limited, 0u);
    EXPECT_EQ(other.from_cache, 1u);
    simulated::remove_tree(kFile);
    save_index_cache(other, *current_index(other), kScope, kPath);
    EXPECT_EQ(written(), first);
}

TEST_F(IndexCacheSave, an_empty_path_means_no_cache) {
    simulated::count_platform_calls();
    save_index_cache(engine, index, kScope, "");
    EXPECT_EQ(simulated::platform_calls(), 0u);
    EXPECT_EQ(error_of(engine), "");
}

TEST_F(IndexCacheSave, nothing_is_created_when_the_build_is_cancelled) {
    engine.cancel = true;
    simulated::count_platform_calls();
    save();
    save_index_cache(engine, index, kScope, "C:/cache/\xFF");  // not even looked at
    EXPECT_EQ(simulated::platform_calls(), 0u);
    EXPECT_EQ(error_of(engine), "");
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, a_path_that_is_not_utf8_fails_the_caller) {
    simulated::count_platform_calls();
    EXPECT_THROW(save_index_cache(engine, index, kScope, "C:/cache/\xFF"), TextError);
    EXPECT_EQ(simulated::platform_calls(), 0u);
    EXPECT_EQ(error_of(engine), "");
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, the_temporary_file_is_named_by_clock_and_engine) {
    const std::string address = std::to_string(reinterpret_cast<std::uintptr_t>(&engine));
    for (const std::int64_t clock : {std::int64_t{18'843'211'907'400}, std::int64_t{0},
                                     std::int64_t{-5}, INT64_MAX, INT64_MIN}) {
        simulated::freeze_clock(clock);
        std::vector<std::u16string> names;
        simulated::on_platform_call(1, simulated::kReplaceFile, [&] { names = files(); });
        save();
        simulated::forget_call_plans();
        const std::string expected = "index." + std::to_string(clock) + "." + address + ".tmp";
        ASSERT_EQ(names.size(), 2u);
        EXPECT_EQ(utf8_from_wide(names[1]), expected);
    }
}

TEST_F(IndexCacheSave, a_missing_folder_is_created) {
    save_index_cache(engine, index, kScope, "C:/cache/one/two/index");
    EXPECT_EQ(simulated::read_file(u"C:\\cache\\one\\two\\index"),
              cache_bytes(kScope, entries_of(index), 7));
    EXPECT_EQ(error_of(engine), "");
}

TEST_F(IndexCacheSave, a_folder_that_cannot_be_created_is_reported) {
    save_index_cache(engine, index, kScope, "C:/cache/index/below/index");  // a file in the way
    EXPECT_EQ(error_of(engine), kNotSaved);
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, a_folder_in_the_caches_place_is_reported) {
    simulated::add_folder(u"C:\\cache\\folder");
    save_index_cache(engine, index, kScope, "C:/cache/folder");
    EXPECT_EQ(error_of(engine), kNotSaved);
    EXPECT_EQ(files(), (std::vector<std::u16string>{u"index", u"folder"}));
    EXPECT_TRUE(simulated::list_names(u"C:\\cache\\folder").empty());
}

TEST_F(IndexCacheSave, a_full_disk_is_reported) {
    simulated::set_disk_room(1000);
    save();
    EXPECT_EQ(error_of(engine), kNotSaved);
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, each_platform_call_that_fails_leaves_the_old_cache_alone) {
    // The status of the folder, the opening, the write, the replacement; the closing and the
    // removal have tests of their own.
    const std::uint32_t calls =
        simulated::kAllCalls & ~(simulated::kCloseFile | simulated::kRemoveFile);
    for (const platform::Error error :
         {platform::kAccessDenied, platform::kDiskFull, platform::Error{32}}) {
        for (std::uint64_t nth = 1;; ++nth) {
            simulated::forget_call_plans();
            simulated::fail_platform_call(nth, error, calls);
            save();
            if (simulated::failed_platform_calls() == 0) {
                EXPECT_EQ(nth, 5u);
                EXPECT_EQ(error_of(engine), "");
                EXPECT_EQ(written(), cache_bytes(kScope, entries_of(index), 7));
                break;
            }
            EXPECT_EQ(error_of(engine), kNotSaved) << nth;
            expect_old_cache_alone();
            set_error(engine, "");
        }
        simulated::forget_call_plans();
        simulated::write_file(kFile, "the old cache");
    }
}

TEST_F(IndexCacheSave, a_removal_that_fails_is_not_looked_at) {
    for (const bool cancelled : {false, true}) {
        set_error(engine, "");
        simulated::fail_platform_call(1, platform::kAccessDenied, simulated::kRemoveFile);
        if (cancelled) {
            simulated::on_platform_call(1, simulated::kWriteFile, [this] { engine.cancel = true; });
        } else {
            simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
        }
        save();
        EXPECT_EQ(simulated::failed_platform_calls(), cancelled ? 1u : 2u);
        simulated::forget_call_plans();
        EXPECT_EQ(error_of(engine), cancelled ? "" : kNotSaved);
        EXPECT_EQ(written(), "the old cache");
        EXPECT_EQ(files().size(), cancelled ? 3u : 2u);  // it stays behind
    }
}

TEST_F(IndexCacheSave, the_text_is_set_before_the_temporary_file_goes) {
    std::string seen;
    simulated::on_platform_call(1, simulated::kRemoveFile, [&] { seen = error_of(engine); });
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kReplaceFile);
    save();
    EXPECT_EQ(seen, kNotSaved);
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, a_cancel_request_anywhere_leaves_the_old_cache_alone) {
    for (const auto call : {simulated::kStatus, simulated::kCreateFile, simulated::kWriteFile,
                            simulated::kCloseFile}) {
        engine.cancel = false;
        simulated::on_platform_call(1, call, [this] { engine.cancel = true; });
        save();
        simulated::forget_call_plans();
        EXPECT_EQ(error_of(engine), "");
        expect_old_cache_alone();
    }
}

TEST_F(IndexCacheSave, a_failure_wins_over_a_cancel_request) {
    simulated::on_platform_call(1, simulated::kWriteFile, [this] { engine.cancel = true; });
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    save();
    EXPECT_EQ(error_of(engine), kNotSaved);
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, memory_that_runs_out_is_reported_or_fails_the_caller) {
    for (const std::uint64_t times : {std::uint64_t{1}, kFromNowOn}) {
        bool thrown_last = false;
        for (std::uint64_t nth = 1;; ++nth) {
            set_error(engine, "");
            simulated::count_platform_calls();
            bool thrown = false;
            {
                const AllocationFault fault(nth, times);
                try {
                    save();
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
            }
            if (!AllocationFault::hit()) {
                EXPECT_GT(nth, 3u);
                EXPECT_EQ(error_of(engine), "");
                EXPECT_NE(written(), "the old cache");
                break;
            }
            if (thrown) {
                // Only while the names are formed, before anything else.
                EXPECT_EQ(simulated::platform_calls(), 0u);
                EXPECT_TRUE(nth == 1 || thrown_last);
            } else if (times == 1) {
                EXPECT_EQ(error_of(engine), kNotSaved) << nth;
            }
            expect_old_cache_alone();
            thrown_last = thrown;
        }
        simulated::write_file(kFile, "the old cache");
    }
}

TEST_F(IndexCacheSave, two_engines_that_save_to_one_path_never_mix) {
    Engine other;
    Index other_index;
    fill(other_index, sample_entries(5000));
    const std::string mine = cache_bytes(kScope, entries_of(index), 7);
    const std::string theirs = cache_bytes(kScope, entries_of(other_index));
    for (int round = 0; round < 50; ++round) {
        std::thread saver([&] { save_index_cache(other, other_index, kScope, kPath); });
        save();
        saver.join();
        const std::string bytes = written();
        ASSERT_TRUE(bytes == mine || bytes == theirs);
        EXPECT_EQ(files(), std::vector<std::u16string>{u"index"});
    }
    EXPECT_EQ(error_of(engine), "");
    EXPECT_EQ(error_of(other), "");
}

TEST_F(IndexCacheSave, a_reader_sees_whole_files_only_during_a_hundred_saves) {
    Index other_index;
    fill(other_index, sample_entries(20'000));
    save();
    std::atomic<bool> done{false};
    std::uint64_t loads = 0;
    std::thread reader([&] {
        do {
            Engine mirror;
            ++loads;
            if (!load_index_cache(mirror, kScope, kPath)) {
                ADD_FAILURE() << "not a whole file";
                break;
            }
            const std::uint32_t count = entry_count(*current_index(mirror));
            EXPECT_TRUE(count == 3000 || count == 20'000) << count;
        } while (!done);
    });
    for (int round = 0; round < 100; ++round) {
        save_index_cache(engine, round % 2 == 0 ? other_index : index, kScope, kPath);
    }
    done = true;
    reader.join();
    EXPECT_GE(loads, 1u);
}

// ---- Within a build -----------------------------------------------------------------------------

class CachedBuild : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::add_folder(u"C:\\cache");
        simulated::add_file(u"C:\\music\\a.mp3");
        simulated::add_file(u"C:\\music\\b\\c.mp3");
        handle = ss_create();
        ASSERT_NE(handle, nullptr);
    }
    void TearDown() override {
        ss_destroy(handle);
        VolumeTest::TearDown();
    }
    EngineStatus build(const char* cache_path = kPath, int force = 0, const char* scope = kScope) {
        EXPECT_EQ(ss_start(handle, scope, cache_path, force), 1);
        EngineStatus status{};
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        do {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            ss_status(handle, &status);
        } while (status.state == SS_ENGINE_RUNNING && std::chrono::steady_clock::now() < deadline);
        return status;
    }
    std::vector<PathAndKind> entries() {
        return entries_of(*current_index(*reinterpret_cast<Engine*>(handle)));
    }
    bool complete() { return current_index(*reinterpret_cast<Engine*>(handle))->complete; }
    void cancel_at(std::uint64_t nth, simulated::Call call) {
        simulated::on_platform_call(nth, call, [this] { ss_cancel(handle); });
    }

    const std::vector<PathAndKind> walked = {
        {"C:/music/a.mp3", 1}, {"C:/music/b", 2}, {"C:/music/b/c.mp3", 1}};
    SystemSearchEngine* handle = nullptr;
};

void expect_status(const EngineStatus& status, std::uint32_t state, std::uint32_t count,
                   std::uint32_t skipped, std::uint32_t limited, std::uint32_t from_cache) {
    EXPECT_EQ(status.state, state);
    EXPECT_EQ(status.entries, count);
    EXPECT_EQ(status.skipped, skipped);
    EXPECT_EQ(status.limited, limited);
    EXPECT_EQ(status.from_cache, from_cache);
}

TEST_F(CachedBuild, the_second_build_takes_no_walk) {
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_EQ(simulated::read_file(kFile), cache_bytes(kScope, walked));
    simulated::count_platform_calls();
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 1);
    EXPECT_EQ(simulated::platform_calls(simulated::kOpenFolder | simulated::kCreateFile), 0u);
    EXPECT_EQ(entries(), walked);
    EXPECT_TRUE(complete());
}

TEST_F(CachedBuild, a_forced_build_walks_and_saves_anew) {
    simulated::write_file(kFile, cache_bytes(kScope, {{"C:/music/gone", 1}}));
    expect_status(build(kPath, /*force=*/0), SS_ENGINE_READY, 1, 0, 0, 1);
    expect_status(build(kPath, /*force=*/1), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(kPath, /*force=*/0), SS_ENGINE_READY, 3, 0, 0, 1);
    EXPECT_EQ(entries(), walked);
}

TEST_F(CachedBuild, shows_the_stored_counters) {
    simulated::write_file(kFile, cache_bytes(kScope, {{"C:/music/x", 1}}, 12, 1));
    expect_status(build(), SS_ENGINE_READY, 1, 12, 1, 1);
    EXPECT_FALSE(complete());
    SystemSearchQuery* const query = ss_query(handle, "x", 0, SS_KIND_ANY, 10);
    ASSERT_NE(query, nullptr);
    QueryStatus status{};
    do ss_query_poll(query, &status);
    while (status.state == SS_QUERY_RUNNING);
    EXPECT_EQ(status.index_incomplete, 1u);
    EXPECT_EQ(status.matched, 1u);
    ss_query_destroy(query);
}

TEST_F(CachedBuild, stores_what_the_walk_skipped) {
    simulated::NodeFaults denied;
    denied.open = platform::kAccessDenied;
    simulated::set_faults(u"C:\\music\\b", denied);
    expect_status(build(), SS_ENGINE_READY, 2, 1, 0, 0);
    expect_status(build(), SS_ENGINE_READY, 2, 1, 0, 1);
}

TEST_F(CachedBuild, another_scope_text_is_walked_and_saved_over) {
    build();
    expect_status(build(kPath, 0, "c:\\music"), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(kPath, 0, "c:\\music"), SS_ENGINE_READY, 3, 0, 0, 1);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
}

TEST_F(CachedBuild, an_unusable_cache_is_saved_over) {
    simulated::write_file(kFile, "no cache at all");
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 1);
}

TEST_F(CachedBuild, a_cache_path_that_is_not_utf8_fails_the_run_but_not_the_index) {
    expect_status(build("C:/cache/\xFF"), SS_ENGINE_FAILED, 3, 0, 0, 0);
    EXPECT_STRNE(ss_error(handle), "");
    EXPECT_STRNE(ss_error(handle), kNotSaved);
    EXPECT_EQ(entries(), walked);
    EXPECT_TRUE(files().empty());
}

TEST_F(CachedBuild, a_cache_that_cannot_be_saved_is_no_failure_of_the_run) {
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), kNotSaved);
    EXPECT_TRUE(complete());
    EXPECT_TRUE(files().empty());
    simulated::forget_call_plans();
    expect_status(build(), SS_ENGINE_READY, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), "");
}

TEST_F(CachedBuild, cancelled_while_it_loads_it_ends_with_an_empty_index) {
    simulated::write_file(kFile, cache_bytes(kScope, sample_entries(60'000)));
    cancel_at(2, simulated::kReadFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 0, 0, 0, 0);
    EXPECT_FALSE(complete());
    EXPECT_EQ(simulated::platform_calls(simulated::kReadFile), 2u);
}

TEST_F(CachedBuild, cancelled_while_it_saves_it_keeps_its_index_and_the_old_cache) {
    simulated::write_file(kFile, "the old cache");
    cancel_at(1, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), "");
    EXPECT_EQ(simulated::read_file(kFile), "the old cache");
    EXPECT_EQ(files().size(), 1u);
}

TEST_F(CachedBuild, cancelled_while_its_save_fails_it_keeps_the_text) {
    cancel_at(1, simulated::kWriteFile);
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    expect_status(build(), SS_ENGINE_CANCELLED, 3, 0, 0, 0);
    EXPECT_STREQ(ss_error(handle), kNotSaved);
}

TEST_F(CachedBuild, cancelled_while_it_walks_it_saves_nothing) {
    cancel_at(2, simulated::kNextChild);
    EXPECT_EQ(build().state, SS_ENGINE_CANCELLED);
    EXPECT_TRUE(files().empty());
}

}  // namespace
}  // namespace system_search
