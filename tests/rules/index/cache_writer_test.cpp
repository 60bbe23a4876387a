#include "index/cache_writer.hpp"

#include <atomic>
#include <optional>

#include "index/cache_reader.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/each_fault.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using simulated::AllocationFault;
using enum CacheWriteResult;

constexpr std::uint64_t kFromNowOn = UINT64_MAX / 2;
constexpr platform::Error kErrors[] = {platform::kAccessDenied, platform::kDiskFull, 32, 1117};

class CacheWriter : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::add_folder(u"C:\\cache");
    }
    CacheWriteResult write(std::string_view scope = "C:/", std::uint32_t skipped = 0,
                           std::uint32_t limited = 0) {
        return write(index, scope, skipped, limited);
    }
    CacheWriteResult write(const Index& finished, std::string_view scope, std::uint32_t skipped = 0,
                           std::uint32_t limited = 0) {
        temporary.reset();
        simulated::freeze_clock(1);
        temporary.emplace(cache_path, /*owner=*/2);
        EXPECT_EQ(temporary->path(), temporary_path);
        return write_index_cache(*temporary, {finished, scope, skipped, limited}, cancel);
    }
    std::string written() { return simulated::read_file(cache_path); }
    // A finished index that takes several writes.
    void fill_large() {
        entries = sample_entries(120'000);
        for (auto& entry : entries) entry.path += std::string(100, 'x');
        fill(index, entries);
        expected = cache_bytes("C:/", entries);
        ASSERT_GT(expected.size(), 3 * kCachePieceBytes);
    }
    void keep_old_cache() { simulated::write_file(cache_path, "the old cache"); }
    void expect_old_cache() { EXPECT_EQ(written(), "the old cache"); }

    const std::u16string cache_path = u"C:\\cache\\index";
    const std::u16string temporary_path = u"C:\\cache\\index.1.2.tmp";
    Index index;
    std::vector<PathAndKind> entries;
    std::string expected;
    std::atomic<bool> cancel{false};
    std::optional<TemporaryFile> temporary;  // of the last write; removed with this
};

// ---- The bytes ----------------------------------------------------------------------------------

TEST_F(CacheWriter, an_empty_index_of_all_drives_takes_36_bytes) {
    ASSERT_EQ(write(""), kReplaced);
    EXPECT_EQ(written(), std::string_view("\x10\0\0\0system-search-v1\0\0\0\0\0\0\0\0\0\0\0\0\0"
                                          "\0\0\0",
                                          36));
    EXPECT_EQ(simulated::list_names(u"C:\\cache"), std::vector<std::u16string>{u"index"});
}

TEST_F(CacheWriter, writes_every_field_where_it_belongs) {
    fill(index, {{"C:/Temp/\xC3\x84"
                  "BC.tx",
                  1},
                 {"//s/Sh", 2}});
    ASSERT_EQ(write("D:\\Data", 0x01020304, 1), kReplaced);
    EXPECT_EQ(written(), std::string_view("\x10\0\0\0system-search-v1"
                                          "\x07\0\0\0D:\\Data"
                                          "\x02\0\0\0"
                                          "\x04\x03\x02\x01"
                                          "\x01\0\0\0"
                                          "\x0F\0\0\0C:/Temp/\xC3\x84"
                                          "BC.tx"
                                          "\x01\0\0\0"
                                          "\x06\0\0\0//s/Sh"
                                          "\x02\0\0\0",
                                          20 + 11 + 12 + 23 + 14));
}

TEST_F(CacheWriter, writes_the_shards_in_order) {
    for (const std::size_t count : {1u, 1023u, 1024u, 1025u, 2500u}) {
        Index numbered;
        entries = sample_entries(count);
        fill(numbered, entries);
        ASSERT_EQ(write(numbered, "C:/"), kReplaced);
        EXPECT_EQ(written(), cache_bytes("C:/", entries)) << count;
    }
}

TEST_F(CacheWriter, writes_large_indexes_in_few_large_pieces) {
    fill_large();
    simulated::count_platform_calls();
    ASSERT_EQ(write(), kReplaced);
    EXPECT_EQ(written(), expected);
    EXPECT_LE(simulated::platform_calls(simulated::kWriteFile),
              expected.size() / kCachePieceBytes + 2);
}

TEST_F(CacheWriter, writes_paths_of_every_length_across_every_piece) {
    for (std::size_t bytes = 3; bytes <= 32768; bytes += bytes < 100 ? 1 : 997) {
        entries.push_back({"C:/" + std::string(bytes - 3, 'x'), 1});
        entries.push_back({"C:/" + std::string(bytes - 3, 'Y'), 2});
    }
    while (entries.size() < 1000) entries.push_back({"C:/" + std::string(32765, 'z'), 2});
    fill(index, entries);
    ASSERT_EQ(write(), kReplaced);
    EXPECT_EQ(written(), cache_bytes("C:/", entries));
}

TEST_F(CacheWriter, a_piece_may_end_at_any_byte_of_a_record) {
    // The scope's length moves the records across the end of the first piece, byte by byte.
    fill(index, {{"C:/abc", 1}, {"C:/defg", 2}});
    entries = entries_of(index);
    const std::size_t records = 14 + 15;
    for (std::size_t scope = kCachePieceBytes - 40 - records; scope <= kCachePieceBytes - 24;
         ++scope) {
        const std::string text(scope, 's');
        ASSERT_EQ(write(text), kReplaced);
        ASSERT_EQ(written(), cache_bytes(text, entries)) << scope;
    }
}

TEST_F(CacheWriter, a_scope_of_any_length_is_written_though_no_reader_takes_it) {
    for (const std::size_t bytes :
         {std::size_t{32'768}, std::size_t{32'769}, 3 * kCachePieceBytes}) {
        const std::string scope(bytes, 's');
        ASSERT_EQ(write(scope), kReplaced);
        EXPECT_EQ(written(), cache_bytes(scope, {}));

        platform::File file;
        CachedIndex cached;
        ASSERT_EQ(file.open_for_reading(cache_path.c_str()), platform::kSuccess);
        EXPECT_EQ(read_index_cache(file, scope, cancel, cached),
                  bytes == 32'768 ? CacheReadResult::kComplete : CacheReadResult::kTextTooLong);
    }
}

TEST_F(CacheWriter, what_was_written_is_read_back_and_written_again_alike) {
    fill_large();
    ASSERT_EQ(write("C:/", 77, 1), kReplaced);
    const std::string first = written();

    platform::File file;
    CachedIndex cached;
    ASSERT_EQ(file.open_for_reading(cache_path.c_str()), platform::kSuccess);
    ASSERT_EQ(read_index_cache(file, "C:/", cancel, cached), CacheReadResult::kComplete);
    file.close();
    EXPECT_EQ(entries_of(*cached.index), entries);
    ASSERT_EQ(write(*cached.index, "C:/", cached.skipped, cached.limited), kReplaced);
    EXPECT_EQ(written(), first);
}

// ---- The folder ---------------------------------------------------------------------------------

class CacheFolder : public CacheWriter {
protected:
    CacheWriteResult write_to(const std::u16string& path) {
        TemporaryFile beside(path, /*owner=*/2);
        return write_index_cache(beside, {index, "C:/", 0, 0}, cancel);
    }
};

TEST_F(CacheFolder, every_missing_folder_is_created) {
    simulated::add_drive(u"D:\\", platform::kDriveFixed);
    simulated::add_folder(u"\\\\server\\share");
    for (const std::u16string path :
         {u"C:\\cache\\index", u"C:\\new\\index", u"C:\\a\\b\\c\\d\\index", u"D:\\index",
          u"D:/x/y/index", u"C:\\p\\\\q//index", u"C:\\dots\\.\\deep\\index",
          u"\\\\server\\share\\m\\n\\index"}) {
        EXPECT_EQ(write_to(path), kReplaced);
        EXPECT_TRUE(simulated::exists(path));
        EXPECT_EQ(write_to(path), kReplaced);
    }
    EXPECT_EQ(simulated::list_names(u"C:\\a\\b"), std::vector<std::u16string>{u"c"});
}

TEST_F(CacheFolder, a_chain_of_a_thousand_folders_is_created) {
    std::u16string path = u"C:";
    for (int i = 0; i < 1000; ++i) path += u"\\d";
    EXPECT_EQ(write_to(path + u"\\index"), kReplaced);
    EXPECT_TRUE(simulated::exists(path + u"\\index"));
}

TEST_F(CacheFolder, none_is_created_for_a_bare_file_name) {
    simulated::set_current_folder(u"C:\\cache");
    simulated::count_platform_calls();
    EXPECT_EQ(write_to(u"bare"), kReplaced);
    EXPECT_EQ(simulated::platform_calls(simulated::kCreateFolder | simulated::kStatus), 0u);
    EXPECT_TRUE(simulated::exists(u"C:\\cache\\bare"));
}

TEST_F(CacheFolder, a_relative_folder_is_created) {
    simulated::set_current_folder(u"C:\\cache");
    EXPECT_EQ(write_to(u"one\\two\\index"), kReplaced);
    EXPECT_TRUE(simulated::exists(u"C:\\cache\\one\\two\\index"));
}

TEST_F(CacheFolder, a_link_to_a_folder_counts_as_one) {
    simulated::add_folder(u"C:\\target");
    simulated::add_junction(u"C:\\link", u"C:\\target");
    EXPECT_EQ(write_to(u"C:\\link\\index"), kReplaced);
    EXPECT_TRUE(simulated::exists(u"C:\\target\\index"));
    EXPECT_EQ(write_to(u"C:\\link\\below\\index"), kReplaced);
    EXPECT_TRUE(simulated::exists(u"C:\\target\\below\\index"));
}

TEST_F(CacheFolder, a_file_in_the_way_is_a_failure) {
    simulated::add_file(u"C:\\file", 3);
    EXPECT_EQ(write_to(u"C:\\file\\index"), kFolderFailed);
    EXPECT_EQ(write_to(u"C:\\file\\below\\index"), kFolderFailed);
    EXPECT_EQ(simulated::read_file(u"C:\\file").size(), 3u);
}

TEST_F(CacheFolder, a_missing_drive_or_server_is_a_failure) {
    simulated::count_platform_calls();
    EXPECT_EQ(write_to(u"Q:\\index"), kFolderFailed);
    EXPECT_EQ(write_to(u"Q:\\a\\b\\index"), kFolderFailed);
    EXPECT_EQ(write_to(u"\\\\nobody\\share\\index"), kFolderFailed);
    EXPECT_EQ(simulated::platform_calls(simulated::kCreateFile), 0u);
}

TEST_F(CacheFolder, a_status_that_cannot_be_read_is_a_failure) {
    simulated::add_folder(u"C:\\secret");
    simulated::NodeFaults faults;
    faults.status = platform::kAccessDenied;
    simulated::set_faults(u"C:\\secret", faults);
    EXPECT_EQ(write_to(u"C:\\secret\\index"), kFolderFailed);
    EXPECT_EQ(write_to(u"C:\\secret\\below\\index"), kFolderFailed);
}

TEST_F(CacheFolder, each_creation_that_fails_is_a_failure) {
    for (const platform::Error error : kErrors) {
        for (std::uint64_t nth = 1; nth <= 3; ++nth) {
            simulated::fail_platform_call(nth, error, simulated::kCreateFolder);
            EXPECT_EQ(write_to(u"C:\\a\\b\\c\\index"), kFolderFailed) << nth;
            EXPECT_EQ(simulated::failed_platform_calls(), 1u);
            EXPECT_EQ(simulated::platform_calls(simulated::kCreateFile), 0u);
            simulated::forget_call_plans();
            simulated::remove_tree(u"C:\\a");
        }
    }
    EXPECT_EQ(write_to(u"C:\\a\\b\\c\\index"), kReplaced);
}

TEST_F(CacheFolder, a_folder_that_another_process_makes_meanwhile_is_taken) {
    simulated::on_platform_call(1, simulated::kCreateFolder,
                                [] { simulated::add_folder(u"C:\\a\\b"); });
    EXPECT_EQ(write_to(u"C:\\a\\b\\index"), kReplaced);
}

TEST_F(CacheFolder, a_file_that_another_process_makes_meanwhile_is_a_failure) {
    simulated::on_platform_call(1, simulated::kCreateFolder, [] { simulated::add_file(u"C:\\a"); });
    EXPECT_EQ(write_to(u"C:\\a\\index"), kFolderFailed);
}

// ---- The temporary file -------------------------------------------------------------------------

TEST_F(CacheWriter, a_temporary_file_that_cannot_be_opened_is_a_failed_write) {
    fill_large();
    keep_old_cache();
    for (const platform::Error error : kErrors) {
        simulated::fail_platform_call(1, error, simulated::kCreateFile);
        EXPECT_EQ(write(), kWriteFailed);
        EXPECT_EQ(simulated::platform_calls(simulated::kWriteFile), 0u);
        EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 0u);
        simulated::forget_call_plans();
        expect_old_cache();
    }
}

TEST_F(CacheWriter, each_write_that_fails_is_noticed) {
    fill_large();
    keep_old_cache();
    for (const bool partial : {false, true}) {
        simulated::set_partial_writes(partial);
        for (const platform::Error error : kErrors) {
            const auto write_once = [&](std::uint64_t nth) {
                const CacheWriteResult result = write();
                if (simulated::failed_platform_calls() == 0) {
                    EXPECT_EQ(result, kReplaced);
                    return;
                }
                EXPECT_EQ(result, kWriteFailed) << nth;
                // Nothing is written after a failure, and nothing is replaced.
                EXPECT_EQ(simulated::platform_calls(simulated::kWriteFile), nth);
                EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 0u);
                EXPECT_EQ(simulated::open_handles().files, 0u);
                expect_old_cache();
            };
            EXPECT_GT(simulated::fail_each_platform_call(error, simulated::kWriteFile, write_once),
                      3u);
            EXPECT_EQ(written(), expected);
            keep_old_cache();
        }
    }
}

TEST_F(CacheWriter, a_full_disk_is_noticed_at_every_byte) {
    entries = sample_entries(3);
    fill(index, entries);
    expected = cache_bytes("C:/", entries);
    keep_old_cache();
    for (std::size_t room = 0; room < expected.size(); ++room) {
        simulated::set_disk_room(room);
        EXPECT_EQ(write(), kWriteFailed) << room;
        expect_old_cache();
    }
    simulated::set_disk_room(expected.size());
    EXPECT_EQ(write(), kReplaced);
    EXPECT_EQ(written(), expected);
}

TEST_F(CacheWriter, the_bytes_are_on_the_disk_before_the_file_is_closed_and_replaces_the_cache) {
    fill_large();
    std::string at_flush;
    std::uint64_t open = 0;
    simulated::on_platform_call(1, simulated::kFlushFile, [&] {
        at_flush = simulated::read_file(temporary_path);
        open = simulated::open_handles().files;
    });
    EXPECT_EQ(write(), kReplaced);
    EXPECT_EQ(at_flush, expected);
    EXPECT_EQ(open, 1u);
    EXPECT_EQ(simulated::platform_calls(simulated::kFlushFile), 1u);
}

TEST_F(CacheWriter, a_flush_that_fails_leaves_the_old_cache) {
    keep_old_cache();
    for (const platform::Error error : kErrors) {
        simulated::fail_platform_call(1, error, simulated::kFlushFile);
        EXPECT_EQ(write(), kWriteFailed);
        EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 0u);
        simulated::forget_call_plans();
        expect_old_cache();
    }
}

TEST_F(CacheWriter, what_is_cancelled_is_not_flushed) {
    simulated::on_platform_call(1, simulated::kCreateFile, [this] { cancel = true; });
    EXPECT_EQ(write(), kCancelled);
    EXPECT_EQ(simulated::platform_calls(simulated::kFlushFile), 0u);
}

TEST_F(CacheWriter, what_is_already_there_under_the_temporary_name_is_left_alone) {
    keep_old_cache();
    simulated::write_file(u"C:\\cache\\elsewhere", "precious");
    simulated::add_file_symlink(temporary_path, u"C:\\cache\\elsewhere");
    EXPECT_EQ(write(), kWriteFailed);
    temporary.reset();
    EXPECT_TRUE(simulated::exists(temporary_path)) << "what somebody else has made was removed";
    EXPECT_EQ(simulated::read_file(u"C:\\cache\\elsewhere"), "precious");
    expect_old_cache();
}

TEST_F(CacheWriter, what_only_the_closing_reports_is_not_looked_at) {
    fill_large();
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kCloseFile);
    EXPECT_EQ(write(), kReplaced);
    EXPECT_EQ(simulated::failed_platform_calls(), 1u);
    EXPECT_EQ(written(), expected);
}

TEST_F(CacheWriter, the_temporary_file_is_closed_before_it_replaces_the_cache) {
    fill_large();
    std::uint64_t open = 99;
    simulated::on_platform_call(1, simulated::kReplaceFile,
                                [&] { open = simulated::open_handles().files; });
    EXPECT_EQ(write(), kReplaced);
    EXPECT_EQ(open, 0u);
}

TEST_F(CacheWriter, the_old_cache_is_whole_until_it_is_replaced) {
    fill_large();
    keep_old_cache();
    std::string before;
    simulated::on_platform_call(1, simulated::kReplaceFile, [&] { before = written(); });
    EXPECT_EQ(write(), kReplaced);
    EXPECT_EQ(before, "the old cache");
}

TEST_F(CacheWriter, a_replacement_that_fails_leaves_the_old_cache) {
    fill_large();
    keep_old_cache();
    for (const platform::Error error : kErrors) {
        simulated::fail_platform_call(1, error, simulated::kReplaceFile, kFromNowOn);
        EXPECT_EQ(write(), kReplaceFailed);
        simulated::forget_call_plans();
        expect_old_cache();
    }
}

TEST_F(CacheWriter, an_error_that_passes_is_waited_for_before_the_replacement) {
    fill_large();
    for (const platform::Error error :
         {platform::kAccessDenied, platform::kSharingViolation, platform::kLockViolation}) {
        keep_old_cache();
        simulated::fail_platform_call(1, error, simulated::kReplaceFile, /*times=*/5);
        EXPECT_EQ(write(), kReplaced);
        EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 6u);
        simulated::forget_call_plans();
        EXPECT_EQ(written(), expected);
    }
}

TEST_F(CacheWriter, neither_a_folder_nor_a_read_only_file_is_replaced) {
    simulated::add_folder(u"C:\\cache\\index");
    EXPECT_EQ(write(), kReplaceFailed);
    simulated::remove_tree(u"C:\\cache\\index");
    keep_old_cache();
    simulated::set_read_only(cache_path);
    EXPECT_EQ(write(), kReplaceFailed);
    expect_old_cache();
}

// ---- Cancelling ---------------------------------------------------------------------------------

TEST_F(CacheWriter, a_cancel_request_stops_the_writing_at_the_next_shard) {
    fill_large();
    keep_old_cache();
    simulated::on_platform_call(2, simulated::kWriteFile, [this] { cancel = true; });
    EXPECT_EQ(write(), kCancelled);
    // The second piece, and what the shard under way added to the third.
    EXPECT_EQ(simulated::platform_calls(simulated::kWriteFile), 3u);
    EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 0u);
    EXPECT_EQ(simulated::open_handles().files, 0u);
    expect_old_cache();
    const std::string partial = simulated::read_file(temporary_path);
    EXPECT_EQ(partial, expected.substr(0, partial.size()));
    EXPECT_LT(partial.size(), 2 * kCachePieceBytes + 1024 * 200);
}

TEST_F(CacheWriter, a_cancel_request_is_looked_at_before_each_shard_and_not_within) {
    entries = sample_entries(2048);
    fill(index, entries);
    // A request that comes before the first shard leaves the header alone in the file.
    simulated::on_platform_call(1, simulated::kCreateFile, [this] { cancel = true; });
    EXPECT_EQ(write(), kCancelled);
    EXPECT_EQ(simulated::read_file(temporary_path), CacheBytes().header("C:/", 2048).str());
}

TEST_F(CacheWriter, a_cancel_request_during_the_last_write_keeps_the_old_cache) {
    entries = sample_entries(10);
    fill(index, entries);
    keep_old_cache();
    for (const auto call : {simulated::kWriteFile, simulated::kCloseFile}) {
        cancel = false;
        simulated::on_platform_call(1, call, [this] { cancel = true; });
        EXPECT_EQ(write(), kCancelled);
        expect_old_cache();
        simulated::forget_call_plans();
        EXPECT_EQ(simulated::read_file(temporary_path), cache_bytes("C:/", entries));
    }
}

// Whoever cancels is told all the same that the cache was not saved: only a request that came
// before the first attempt left it untried.
TEST_F(CacheWriter, a_replacement_that_was_refused_has_failed_though_a_cancel_ends_its_retries) {
    keep_old_cache();
    simulated::fail_platform_call(1, platform::kSharingViolation, simulated::kReplaceFile,
                                  kFromNowOn);
    simulated::on_platform_call(3, simulated::kSleep, [this] { cancel = true; });
    EXPECT_EQ(write(), kReplaceFailed);
    EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 3u);
    expect_old_cache();
}

TEST_F(CacheWriter, a_replacement_that_was_ended_has_failed) {
    keep_old_cache();
    for (const platform::Error error : {platform::kOperationAborted, platform::kDiskFull}) {
        cancel = false;
        simulated::fail_platform_call(1, error, simulated::kReplaceFile);
        simulated::on_platform_call(1, simulated::kReplaceFile, [this] { cancel = true; });
        EXPECT_EQ(write(), kReplaceFailed);
        EXPECT_EQ(simulated::platform_calls(simulated::kReplaceFile), 1u) << "tried again";
        simulated::forget_call_plans();
        expect_old_cache();
    }
}

TEST_F(CacheWriter, a_cancel_request_during_the_replacement_comes_too_late) {
    simulated::on_platform_call(1, simulated::kReplaceFile, [this] { cancel = true; });
    EXPECT_EQ(write(), kReplaced);
}

TEST_F(CacheWriter, a_failure_wins_over_a_cancel_request) {
    fill_large();
    for (const auto call : {simulated::kCreateFile, simulated::kWriteFile}) {
        cancel = false;
        simulated::on_platform_call(1, call, [this] { cancel = true; });
        simulated::fail_platform_call(1, platform::kDiskFull, call);
        EXPECT_EQ(write(), kWriteFailed);
        simulated::forget_call_plans();
    }
    // The failure may also come with the flush, after the request has stopped the writing.
    cancel = true;
    simulated::fail_platform_call(1, platform::kDiskFull, simulated::kWriteFile);
    EXPECT_EQ(write(), kWriteFailed);
}

// ---- Memory -------------------------------------------------------------------------------------

TEST_F(CacheWriter, memory_that_runs_out_leaves_the_old_cache) {
    fill(index, sample_entries(100));
    for (std::uint64_t nth = 1;; ++nth) {
        simulated::remove_tree(u"C:\\cache");
        keep_old_cache();
        const std::u16string path = u"C:\\cache\\a\\b\\index";
        const auto result = simulated::with_failing_allocation(nth, [&] {
            TemporaryFile beside(path, /*owner=*/2);
            return write_index_cache(beside, {index, "C:/", 0, 0}, cancel);
        });
        if (!AllocationFault::hit()) {
            EXPECT_EQ(result, kReplaced);
            EXPECT_GT(nth, 3u);
            break;
        }
        EXPECT_EQ(result, std::nullopt);
        EXPECT_EQ(simulated::open_handles().files, 0u);
        expect_old_cache();
    }
}

}  // namespace
}  // namespace system_search
