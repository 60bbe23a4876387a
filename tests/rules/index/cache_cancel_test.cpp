// Where a cancelled load and a cancelled save stop: a load behind the current record, a save behind
// the current shard.
#include <atomic>

#include "index/cache_reader.hpp"
#include "index/cache_writer.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using CacheCancelTest = simulated::VolumeTest;

TEST_F(CacheCancelTest, a_load_reads_to_the_end_of_the_record_in_hand_and_no_further) {
    constexpr char16_t kFile[] = u"C:\\index";
    constexpr std::size_t kRecords = 200;
    const std::size_t header_bytes = CacheBytes().header("C:/", kRecords).str().size();
    const std::vector<PathAndKind> entries(kRecords, {"C:/a"});
    const std::size_t record_bytes = CacheBytes().record("C:/a").str().size();
    simulated::write_file(kFile, cache_bytes("C:/", entries));
    simulated::set_largest_read(1);  // so that the reads count the bytes

    for (const std::size_t record : {0u, 1u, 64u, 99u, 198u}) {
        platform::File file;
        ASSERT_EQ(file.open_for_reading(kFile), platform::kSuccess);
        std::atomic<bool> cancel{false};
        simulated::forget_call_plans();
        simulated::on_platform_call(header_bytes + record * record_bytes + 2, simulated::kReadFile,
                                    [&] { cancel = true; });
        CachedIndex cached;
        EXPECT_EQ(read_index_cache(file, "C:/", cancel, cached), CacheReadResult::kCancelled);
        EXPECT_EQ(simulated::platform_calls(simulated::kReadFile),
                  header_bytes + (record + 1) * record_bytes)
            << "record " << record;
    }
}

TEST_F(CacheCancelTest, a_save_writes_whole_shards_only) {
    const std::vector<PathAndKind> entries = sample_entries(480'000);
    Index index;
    fill(index, entries);
    simulated::add_folder(u"C:\\cache");
    std::atomic<bool> cancel{false};
    simulated::on_platform_call(2, simulated::kWriteFile, [&] { cancel = true; });
    TemporaryFile temporary(u"C:\\cache\\index", /*owner=*/1);
    EXPECT_EQ(write_index_cache(temporary, {index, "C:/"}, cancel), CacheWriteResult::kCancelled);

    const std::size_t written = simulated::read_file(temporary.path()).size();
    std::size_t shard_end = CacheBytes().header("C:/", 480'000).str().size();
    for (std::size_t i = 0; i < entries.size() && shard_end < written; ++i) {
        shard_end += 4 + entries[i].path.size() + 4;
        while ((i + 1) % kShardEntries != 0) shard_end += 4 + entries[++i].path.size() + 4;
    }
    EXPECT_EQ(written, shard_end);
    EXPECT_GT(written, 2 * kCachePieceBytes) << "the request came in the middle of it";
}

}  // namespace
}  // namespace system_search
