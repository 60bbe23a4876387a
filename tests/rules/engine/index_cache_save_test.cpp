// Saving an engine's index: the cache is replaced whole, or the old one stays and the text says so.
#include <new>
#include <thread>

#include "common/text.hpp"
#include "rules/engine/index_cache_support.hpp"

namespace system_search {
namespace {

using simulated::AllocationFault;

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
    // The status of the folder, the opening, the write, the flush, the replacement; the closing and
    // the removal have tests of their own. From there on, because some errors are waited out.
    const std::uint32_t calls =
        simulated::kAllCalls & ~(simulated::kCloseFile | simulated::kRemoveFile);
    for (const platform::Error error :
         {platform::kAccessDenied, platform::kDiskFull, platform::Error{32}}) {
        for (std::uint64_t nth = 1;; ++nth) {
            simulated::forget_call_plans();
            simulated::fail_platform_call(nth, error, calls, kFromNowOn);
            save();
            if (simulated::failed_platform_calls() == 0) {
                EXPECT_EQ(nth, 6u);
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
        simulated::freeze_clock(cancelled ? 2 : 1);
        set_error(engine, "");
        simulated::fail_platform_call(1, platform::kAccessDenied, simulated::kRemoveFile,
                                      kFromNowOn);
        if (cancelled) {
            simulated::on_platform_call(1, simulated::kWriteFile, [this] { engine.cancel = true; });
        } else {
            simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
        }
        save();
        EXPECT_EQ(simulated::platform_calls(simulated::kRemoveFile), 16u);
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

TEST_F(IndexCacheSave, a_cancelled_save_removes_its_file_as_patiently_as_any) {
    for (const platform::Error error :
         {platform::kAccessDenied, platform::kSharingViolation, platform::kOperationAborted}) {
        engine.cancel = false;
        simulated::on_platform_call(1, simulated::kWriteFile, [this] { engine.cancel = true; });
        simulated::fail_platform_call(1, error, simulated::kRemoveFile, /*times=*/10);
        save();
        simulated::forget_call_plans();
        EXPECT_EQ(error_of(engine), "");
        expect_old_cache_alone();
    }
}

TEST_F(IndexCacheSave, a_cancel_request_after_a_refused_replacement_hides_no_failure) {
    simulated::fail_platform_call(1, platform::kSharingViolation, simulated::kReplaceFile,
                                  kFromNowOn);
    simulated::on_platform_call(1, simulated::kSleep, [this] { engine.cancel = true; });
    save();
    EXPECT_EQ(error_of(engine), kNotSaved);
    expect_old_cache_alone();
}

TEST_F(IndexCacheSave, what_could_not_be_created_is_not_removed) {
    const std::uint32_t calls = simulated::kCreateFile;
    simulated::fail_platform_call(1, platform::kAccessDenied, calls);
    save();
    EXPECT_EQ(simulated::platform_calls(simulated::kRemoveFile), 0u);
    simulated::forget_call_plans();
    // An ended call may have created it.
    simulated::fail_platform_call(1, platform::kOperationAborted, calls);
    save();
    EXPECT_EQ(simulated::platform_calls(simulated::kRemoveFile), 1u);
    expect_old_cache_alone();
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
            const std::uint32_t count = take_snapshot(*current_index(mirror)).entry_count;
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

}  // namespace
}  // namespace system_search
