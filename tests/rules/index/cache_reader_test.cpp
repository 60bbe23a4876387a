// The reader of the cache file: whole files, their header, limits, cancelling and faults.
#include <new>
#include <optional>
#include <utility>

#include "rules/index/cache_reader_support.hpp"
#include "simulated/each_fault.hpp"

namespace system_search {
namespace {

using simulated::AllocationFault;
using enum CacheReadResult;

// ---- A good file --------------------------------------------------------------------------------

TEST_F(CacheReader, reads_an_empty_index_of_36_bytes) {
    const std::string_view bytes("\x10\0\0\0system-search-v1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 36);
    ASSERT_EQ(read(bytes, ""), kComplete);
    EXPECT_EQ(take_snapshot(*cached.index).entry_count, 0u);
    EXPECT_TRUE(shard_sizes(*cached.index).empty());
    EXPECT_TRUE(cached.index->complete);
    EXPECT_EQ(cached.skipped, 0u);
    EXPECT_EQ(cached.limited, 0u);
}

TEST_F(CacheReader, reads_every_field_of_a_file_written_byte_by_byte) {
    const std::string_view bytes(
        "\x10\0\0\0system-search-v1"
        "\x07\0\0\0D:\\Data"
        "\x02\0\0\0"
        "\x04\x03\x02\x01"
        "\x01\0\0\0"
        "\x0F\0\0\0C:/Temp/\xC3\x84"
        "BC.tx"
        "\x01\0\0\0"
        "\x06\0\0\0//s/Sh"
        "\x02\0\0\0",
        20 + 11 + 12 + 23 + 14);
    ASSERT_EQ(read(bytes, "D:\\Data"), kComplete);
    EXPECT_EQ(entries_of(*cached.index), (std::vector<PathAndKind>{{"C:/Temp/\xC3\x84"
                                                                    "BC.tx",
                                                                    1},
                                                                   {"//s/Sh", 2}}));
    EXPECT_EQ(cached.skipped, 0x01020304u);
    EXPECT_EQ(cached.limited, 1u);
    EXPECT_FALSE(cached.index->complete);

    const Entry entry = take_snapshot(*cached.index).shards[0]->entry(0);
    EXPECT_EQ(entry.folded_path,
              "c:/temp/\xC3\x84"
              "bc.tx");
    EXPECT_EQ(entry.name_offset, 8u);
}

TEST_F(CacheReader, takes_any_skipped_count) {
    for (const std::uint32_t skipped : {0u, 1u, 5'000'001u, 0xFFFFFFFFu}) {
        ASSERT_EQ(read(cache_bytes("C:/", {}, skipped)), kComplete);
        EXPECT_EQ(cached.skipped, skipped);
    }
}

TEST_F(CacheReader, builds_shards_of_1024) {
    const std::pair<std::size_t, std::vector<std::size_t>> kCases[] = {
        {1, {1}},          {1023, {1023}},       {1024, {1024}},
        {1025, {1024, 1}}, {2048, {1024, 1024}}, {2500, {1024, 1024, 452}},
    };
    for (const auto& [count, sizes] : kCases) {
        const auto entries = sample_entries(count);
        ASSERT_EQ(read(cache_bytes("C:/", entries)), kComplete);
        EXPECT_EQ(shard_sizes(*cached.index), sizes);
        EXPECT_EQ(entries_of(*cached.index), entries);
        EXPECT_EQ(take_snapshot(*cached.index).entry_count, count);
    }
}

TEST_F(CacheReader, keeps_duplicates_and_order) {
    const std::vector<PathAndKind> entries = {{"Z:/b", 2}, {"C:/a", 1}, {"Z:/b", 2}, {"C:/a", 2}};
    ASSERT_EQ(read(cache_bytes("C:/", entries)), kComplete);
    EXPECT_EQ(entries_of(*cached.index), entries);
}

TEST_F(CacheReader, reads_the_same_whatever_the_disk_gives_at_a_time) {
    const auto entries = sample_entries(3000);
    const std::string bytes = cache_bytes("C:/", entries, 3);
    for (const std::size_t largest : {1u, 2u, 3u, 5u, 17u, 4096u, 65536u, 100'003u}) {
        simulated::set_largest_read(largest);
        ASSERT_EQ(read(bytes), kComplete) << largest;
        EXPECT_EQ(entries_of(*cached.index), entries) << largest;
    }
}

TEST_F(CacheReader, reads_paths_of_every_length_across_every_piece) {
    std::vector<PathAndKind> entries;
    for (std::size_t bytes = 3; bytes <= 32768; bytes += bytes < 100 ? 1 : 997) {
        entries.push_back({"C:/" + std::string(bytes - 3, 'x'), 1});
        entries.push_back({"C:/" + std::string(bytes - 3, 'Y'), 2});
    }
    const std::string bytes = cache_bytes("C:/", entries);
    for (const std::size_t largest : {0u, 4093u, 32769u, 1u << 20}) {
        simulated::set_largest_read(largest);
        ASSERT_EQ(read(bytes), kComplete) << largest;
        EXPECT_EQ(entries_of(*cached.index), entries) << largest;
    }
}

TEST_F(CacheReader, reads_shards_of_longest_paths) {
    const std::vector<PathAndKind> entries(1500, {"C:/" + std::string(32765, 'x'), 1});
    ASSERT_EQ(read(cache_bytes("C:/", entries)), kComplete);
    EXPECT_EQ(shard_sizes(*cached.index), (std::vector<std::size_t>{1024, 476}));
    EXPECT_EQ(entries_of(*cached.index), entries);
}

// What the short reads have left of the room for a piece is all that the next one may fill.
TEST_F(CacheReader, reads_no_more_than_there_is_room_for) {
    const std::vector<PathAndKind> entries(64, {"C:/" + std::string(32765, 'x'), 1});
    const std::string bytes = cache_bytes("C:/", entries);
    simulated::set_largest_read(1000, /*reads=*/31);  // within the first path
    ASSERT_EQ(read(bytes), kComplete);
    EXPECT_EQ(entries_of(*cached.index), entries);
}

TEST_F(CacheReader, reads_the_file_once_and_in_large_pieces) {
    const std::string bytes = cache_bytes("C:/", sample_entries(200'000));
    ASSERT_GT(bytes.size(), std::size_t{5} << 20);
    simulated::count_platform_calls();
    ASSERT_EQ(read(bytes), kComplete);
    // One for each MiB that was begun, one that finds the end.
    EXPECT_LE(simulated::platform_calls(simulated::kReadFile), (bytes.size() >> 20) + 2);
}

// ---- The header ---------------------------------------------------------------------------------

TEST_F(CacheReader, refuses_another_magic_without_a_message) {
    const std::string rest = CacheBytes().text("C:/").integer(0).integer(0).integer(0).str();
    for (const std::string_view magic :
         {"", "s", "system-search-v", "system-search-v2", "system-search-v1 ", "System-search-v1",
          "system-search-w1", "xystem-search-v1"}) {
        EXPECT_EQ(read(CacheBytes().text(magic).raw(rest).str()), kNotUsable) << magic;
    }
    // The announced length alone is wrong: the byte behind it belongs to the scope's length.
    EXPECT_EQ(read(CacheBytes().integer(17).raw("system-search-v1").raw("x").raw(rest).str()),
              kNotUsable);
    EXPECT_EQ(read(CacheBytes().text("system-search-v1").raw(rest).str()), kComplete);
}

TEST_F(CacheReader, refuses_a_scope_that_differs_in_any_byte) {
    const std::string bytes = cache_bytes("D:/Data", {});
    for (const std::string_view scope :
         {"", "d:/data", "d:/Data", "D:\\Data", "D:/Data/", "D:/Dat", "D:/Datb", " D:/Data"}) {
        EXPECT_EQ(read(bytes, scope), kNotUsable) << scope;
    }
    EXPECT_EQ(read(bytes, "D:/Data"), kComplete);
    EXPECT_EQ(read(cache_bytes("", {}), "D:/Data"), kNotUsable);
}

TEST_F(CacheReader, takes_a_scope_of_32768_bytes_and_no_longer) {
    const std::string longest(32768, 's');
    EXPECT_EQ(read(cache_bytes(longest, {{"C:/a", 1}}), longest), kComplete);
    EXPECT_EQ(read(cache_bytes(longest + "s", {}), longest + "s"), kTextTooLong);
}

TEST_F(CacheReader, refuses_more_than_five_million_entries_before_any_record) {
    // Without records: had one been read, the file would count as truncated.
    for (const std::uint32_t count : {5'000'001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(read(CacheBytes().header("C:/", count).str()), kNotUsable) << count;
    }
    EXPECT_EQ(read(CacheBytes().header("C:/", 5'000'000).str()), kTruncated);
}

TEST_F(CacheReader, a_promise_of_five_million_records_takes_no_memory) {
    simulated::write_file(kCacheFile, CacheBytes().header("", 5'000'000).integer(3).str());
    ASSERT_EQ(simulated::read_file(kCacheFile).size(), 40u);
    {
        platform::File file;
        ASSERT_EQ(file.open_for_reading(kCacheFile), platform::kSuccess);
        const AllocationFault counting(0);
        EXPECT_EQ(read_index_cache(file, "", cancel, cached), kBadText);
    }
    EXPECT_LT(AllocationFault::counted(), 10u);
    EXPECT_LT(AllocationFault::largest(), std::size_t{2} << 20);
}

TEST_F(CacheReader, a_limit_flag_is_0_or_1) {
    EXPECT_EQ(read(cache_bytes("C:/", {{"C:/a", 1}}, 0, 0)), kComplete);
    EXPECT_TRUE(cached.index->complete);
    EXPECT_EQ(read(cache_bytes("C:/", {{"C:/a", 1}}, 0, 1)), kComplete);
    EXPECT_FALSE(cached.index->complete);
    EXPECT_EQ(cached.limited, 1u);
    for (const std::uint32_t limited : {2u, 3u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(read(CacheBytes().header("C:/", 0, 0, limited).str()), kNotUsable) << limited;
    }
}

// ---- Limits -------------------------------------------------------------------------------------

// Hundreds of megabytes each: too much beside a sanitizer's own memory.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST_F(CacheReader, five_million_records_are_taken) {
    std::string bytes = CacheBytes().header("C:/", 5'000'000).str();
    const std::string record = CacheBytes().record("C:/").str();
    bytes.reserve(bytes.size() + record.size() * 5'000'000);
    for (int i = 0; i < 5'000'000; ++i) bytes += record;
    ASSERT_EQ(read(bytes), kComplete);
    EXPECT_EQ(take_snapshot(*cached.index).entry_count, 5'000'000u);
    EXPECT_EQ(shard_sizes(*cached.index).size(), 4883u);
}

TEST_F(CacheReader, the_estimate_may_reach_1073741824_but_not_pass_it) {
    // 16366 records of 32768 bytes count 65608 each; one more fills the rest to the last byte.
    constexpr std::uint32_t kLongest = 16'366;
    const std::size_t rest = (1'073'741'824 - std::size_t{kLongest} * 65'608 - 72) / 2;
    ASSERT_EQ(std::size_t{kLongest} * 65'608 + 2 * rest + 72, 1'073'741'824u);
    std::string bytes = CacheBytes().header("C:/", kLongest + 1).str();
    const std::string record = CacheBytes().record("C:/" + std::string(32'765, 'x')).str();
    bytes.reserve(bytes.size() + record.size() * (kLongest + 1));
    for (std::uint32_t i = 0; i < kLongest; ++i) bytes += record;
    const std::size_t full = bytes.size();

    bytes += CacheBytes().record("C:/" + std::string(rest - 3, 'y')).str();
    ASSERT_EQ(read(bytes), kComplete);
    EXPECT_EQ(take_snapshot(*cached.index).entry_count, kLongest + 1);

    bytes.resize(full);
    bytes += CacheBytes().record("C:/" + std::string(rest - 2, 'y')).str();
    EXPECT_EQ(read(bytes), kNotUsable);
}

#endif

// ---- Cancelling ---------------------------------------------------------------------------------

TEST_F(CacheReader, a_cancel_request_is_seen_before_the_first_record) {
    cancel = true;
    EXPECT_EQ(read_record("C:/a"), kCancelled);
    EXPECT_EQ(read_record("not a usable path"), kCancelled);
    EXPECT_EQ(read(CacheBytes().header("C:/", 1).str()), kCancelled);
    EXPECT_EQ(read(cache_bytes("C:/", {})), kComplete);  // there is no record to stop before
}

TEST_F(CacheReader, a_cancel_request_stops_the_load_at_the_next_record) {
    const std::string bytes = cache_bytes("C:/", sample_entries(200'000));
    simulated::write_file(kCacheFile, bytes);
    simulated::on_platform_call(3, simulated::kReadFile, [this] { cancel = true; });
    EXPECT_EQ(read_again(), kCancelled);
    // The record that asked for the third piece was read to its end, and nothing after it.
    EXPECT_EQ(simulated::platform_calls(simulated::kReadFile), 3u);
}

// ---- Faults -------------------------------------------------------------------------------------

TEST_F(CacheReader, a_read_that_fails_never_makes_a_file_complete) {
    simulated::write_file(kCacheFile, cache_bytes("C:/", sample_entries(60'000)));
    for (const platform::Error error : {5u, 21u, 23u, 1117u}) {
        const std::uint64_t last =
            simulated::fail_each_platform_call(error, simulated::kReadFile, [&](std::uint64_t nth) {
                const bool complete = read_again() == kComplete;
                EXPECT_EQ(complete, simulated::failed_platform_calls() == 0) << nth;
            });
        EXPECT_GT(last, 3u);
    }
}

}  // namespace
}  // namespace system_search
