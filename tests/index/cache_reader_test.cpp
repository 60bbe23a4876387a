#include "index/cache_reader.hpp"

#include <atomic>
#include <functional>
#include <new>
#include <optional>
#include <utility>

#include "index/cache_bytes.hpp"
#include "index/plain_cache_reader.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {

static void PrintTo(const PathAndKind& entry, std::ostream* out) {
    *out << '"' << entry.path << "\" " << entry.kind;
}

namespace {

using simulated::AllocationFault;

constexpr char16_t kCacheFile[] = u"C:\\cache\\index";
using enum CacheReadResult;

class CacheReader : public simulated::VolumeTest {
protected:
    // Reads a file of these bytes.
    CacheReadResult read(std::string_view bytes, std::string_view scope = "C:/") {
        simulated::write_file(kCacheFile, bytes);
        return read_again(scope);
    }
    CacheReadResult read_again(std::string_view scope = "C:/") {
        platform::File file;
        EXPECT_EQ(file.open_for_reading(kCacheFile), platform::kSuccess);
        cached = {};
        const CacheReadResult result = read_index_cache(file, scope, cancel, cached);
        EXPECT_EQ(cached.index != nullptr, result == kComplete);
        return result;
    }
    CacheReadResult read_record(std::string_view path, std::uint32_t kind = 1) {
        return read(cache_bytes("C:/", {{std::string(path), kind}}));
    }

    std::atomic<bool> cancel{false};
    CachedIndex cached;
};

// ---- A good file --------------------------------------------------------------------------------

TEST_F(CacheReader, reads_an_empty_index_of_36_bytes) {
    const std::string_view bytes("\x10\0\0\0system-search-v1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 36);
    ASSERT_EQ(read(bytes, ""), kComplete);
    EXPECT_EQ(entry_count(*cached.index), 0u);
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

    const Entry& entry = published_shards(*cached.index)[0]->entries()[0];
    std::string folded;
    EXPECT_EQ(entry.folded_path_in(folded),
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
        EXPECT_EQ(entry_count(*cached.index), count);
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
        EXPECT_STREQ(cache_read_failure(kNotUsable), "");
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

// ---- Texts and integers -------------------------------------------------------------------------

TEST_F(CacheReader, the_three_failures_have_their_texts) {
    EXPECT_STREQ(cache_read_failure(kTextTooLong), "Invalid index path");
    EXPECT_STREQ(cache_read_failure(kBadText), "Invalid index text");
    EXPECT_STREQ(cache_read_failure(kTruncated), "Truncated index");
    for (const auto result : {kComplete, kNotUsable, kCancelled}) {
        EXPECT_STREQ(cache_read_failure(result), "");
    }
}

TEST_F(CacheReader, every_text_longer_than_32768_bytes_is_an_invalid_path) {
    const std::string header = CacheBytes().header("C:/", 1).str();
    for (const std::uint32_t length : {32769u, 65536u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const std::string text(32769, 'x');
        EXPECT_EQ(read(CacheBytes().integer(length).raw(text).str()), kTextTooLong);
        EXPECT_EQ(read(CacheBytes().text("system-search-v1").integer(length).raw(text).str()),
                  kTextTooLong);
        EXPECT_EQ(read(CacheBytes().raw(header).integer(length).raw(text).str()), kTextTooLong);
        // The length alone decides, before the bytes are missed.
        EXPECT_EQ(read(CacheBytes().raw(header).integer(length).str()), kTextTooLong);
    }
}

TEST_F(CacheReader, a_path_of_32768_bytes_is_taken) {
    const std::string longest = "C:/" + std::string(32765, 'x');
    ASSERT_EQ(read_record(longest), kComplete);
    EXPECT_EQ(entries_of(*cached.index), (std::vector<PathAndKind>{{longest, 1}}));
    EXPECT_EQ(read_record(longest + "x"), kTextTooLong);
}

TEST_F(CacheReader, a_nul_makes_any_text_invalid) {
    using namespace std::string_view_literals;
    EXPECT_EQ(read(CacheBytes().text("system-search-v\0"sv).str()), kBadText);
    EXPECT_EQ(read(CacheBytes().text("\0ystem-search-v1"sv).str()), kBadText);
    EXPECT_EQ(read(CacheBytes().header("C:\0"sv, 0).str()), kBadText);
    for (std::size_t bytes = 4; bytes < 70; ++bytes) {
        for (std::size_t at = 3; at < bytes; ++at) {
            std::string path = "C:/" + std::string(bytes - 3, 'x');
            path[at] = '\0';
            ASSERT_EQ(read_record(path), kBadText) << bytes << ' ' << at;
        }
    }
    EXPECT_EQ(read_record("\0"sv), kBadText);
}

// What a cut inside a field gives, by the order of the fields.
TEST_F(CacheReader, a_file_cut_at_any_byte_is_refused_for_the_right_reason) {
    const std::pair<CacheReadResult, std::string> kFields[] = {
        {kTruncated, CacheBytes().integer(16).str()},
        {kBadText, "system-search-v1"},
        {kTruncated, CacheBytes().integer(3).str()},
        {kBadText, "C:/"},
        {kTruncated, CacheBytes().integer(2).integer(7).integer(0).str()},
        {kTruncated, CacheBytes().integer(15).str()},
        {kBadText, "C:/notes/\xE5\x86\x99.md"},
        {kTruncated, CacheBytes().integer(1).integer(8).str()},
        {kBadText, "C:/notes"},
        {kTruncated, CacheBytes().integer(2).str()},
    };
    std::string whole;
    for (const auto& field : kFields) whole += field.second;
    ASSERT_EQ(read(whole), kComplete);
    ASSERT_EQ(entry_count(*cached.index), 2u);

    std::size_t begin = 0;
    for (const auto& [failure, field] : kFields) {
        for (std::size_t i = 0; i < field.size(); ++i) {
            // A text of which nothing is left is cut short as well.
            ASSERT_EQ(read(whole.substr(0, begin + i)), failure) << begin + i;
        }
        begin += field.size();
    }
}

TEST_F(CacheReader, a_cut_is_noticed_in_every_piece) {
    const std::string whole = cache_bytes("C:/", sample_entries(40'000));
    ASSERT_GT(whole.size(), std::size_t{1} << 20);
    for (std::size_t bytes = whole.size() - 1; bytes > whole.size() / 2; bytes -= 9973) {
        const CacheReadResult result = read(whole.substr(0, bytes));
        ASSERT_TRUE(result == kTruncated || result == kBadText) << bytes;
    }
}

TEST_F(CacheReader, one_byte_too_many_makes_the_file_unusable) {
    for (const auto& entries : {std::vector<PathAndKind>{}, sample_entries(2), sample_entries(1024),
                                sample_entries(30'000)}) {
        const std::string bytes = cache_bytes("C:/", entries);
        EXPECT_EQ(read(bytes + '\0'), kNotUsable);
        EXPECT_EQ(read(bytes + "x"), kNotUsable);
        EXPECT_EQ(read(bytes + bytes), kNotUsable);
        EXPECT_EQ(read(bytes), kComplete);
    }
}

TEST_F(CacheReader, a_trailing_byte_right_behind_a_whole_piece_is_seen) {
    const std::size_t piece = std::size_t{1} << 20;
    const std::string header = CacheBytes().header("C:/", 33).str();
    std::vector<PathAndKind> entries(32, {"C:/" + std::string(32000, 'x'), 1});
    entries.push_back({});
    const std::size_t rest = piece - cache_bytes("C:/", entries).size();
    entries.back().path = "C:/" + std::string(rest - 3, 'y');
    const std::string bytes = cache_bytes("C:/", entries);
    ASSERT_EQ(bytes.size(), piece);
    EXPECT_EQ(read(bytes), kComplete);
    EXPECT_EQ(read(bytes + "x"), kNotUsable);
}

// ---- Records ------------------------------------------------------------------------------------

TEST_F(CacheReader, refuses_an_empty_path) {
    EXPECT_EQ(read_record(""), kNotUsable);
    // The kind is read first.
    EXPECT_EQ(read(CacheBytes().header("C:/", 1).integer(0).str()), kTruncated);
    EXPECT_EQ(read(CacheBytes().header("C:/", 1).integer(0).raw("\x01\0\0").str()), kTruncated);
}

TEST_F(CacheReader, refuses_a_path_that_is_not_utf8) {
    const std::string_view kBad[] = {
        "\x80",              // a continuation alone
        "\xC3",              // cut short
        "\xC3x",             //
        "\xE5\x86",          //
        "\xF0\x9F\x8E",      //
        "\xC0\x80",          // overlong
        "\xC1\xBF",          //
        "\xE0\x9F\xBF",      //
        "\xF0\x8F\xBF\xBF",  //
        "\xED\xA0\x80",      // a surrogate
        "\xED\xBF\xBF",      //
        "\xF4\x90\x80\x80",  // above U+10FFFF
        "\xF5\x80\x80\x80",  //
        "\xFE",              //
        "\xFF",              //
    };
    for (const std::string_view bad : kBad) {
        for (const std::size_t before : {0u, 1u, 14u, 40u}) {
            for (const std::string_view after : {"", ".txt", "................................"}) {
                const std::string path = "C:/" + std::string(before, 'x') + std::string(bad);
                ASSERT_EQ(read_record(path + std::string(after)), kNotUsable) << path;
            }
        }
    }
    EXPECT_EQ(read_record("C:/\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                          "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
              kComplete);
}

TEST_F(CacheReader, takes_absolute_paths_only) {
    const std::pair<std::string_view, CacheReadResult> kCases[] = {
        {"C:/x", kComplete},
        {"C:\\x", kComplete},
        {"C:/", kComplete},
        {"a:/", kComplete},
        {"z:\\", kComplete},
        {"Z://x", kComplete},
        {"//server/share", kComplete},
        {"\\\\server\\share", kComplete},
        {"/\\s", kComplete},
        {"//s", kComplete},
        {"//?/", kComplete},
        {"\\\\?\\C:\\x", kComplete},
        {"//./pipe", kComplete},
        {"//.", kComplete},
        {"/\?\?/", kComplete},
        {"/\?\?/C:/x", kComplete},
        {"\\??\\x", kComplete},
        {"//\xC3\x84", kComplete},
        {"notes/a.txt", kNotUsable},
        {"x", kNotUsable},
        {"C", kNotUsable},
        {"C:", kNotUsable},
        {"C:x", kNotUsable},
        {"C:x/y", kNotUsable},
        {"/", kNotUsable},
        {"\\", kNotUsable},
        {"/x", kNotUsable},
        {"\\x\\y", kNotUsable},
        {"//", kNotUsable},
        {"///", kNotUsable},
        {"///x", kNotUsable},
        {"\\\\\\server", kNotUsable},
        {"/?", kNotUsable},
        {"/??", kNotUsable},
        {"/?/x", kNotUsable},
        {"/?./x", kNotUsable},
        {"/??x", kNotUsable},
        {"/\?\?//", kNotUsable},
        {"/\?\?/\\x", kNotUsable},
        {"1:/x", kNotUsable},
        {"@:/x", kNotUsable},
        {"[:/x", kNotUsable},
        {"`:/x", kNotUsable},
        {"{:/x", kNotUsable},
        {":/x", kNotUsable},
        {"CC:/x", kNotUsable},
        {" C:/x", kNotUsable},
        {"\xC3\x84:/x", kNotUsable},
        {"file:///C:/x", kNotUsable},
    };
    for (const auto& [path, result] : kCases) EXPECT_EQ(read_record(path), result) << path;
}

TEST_F(CacheReader, agrees_with_the_plain_reader_on_every_short_path) {
    std::string path;
    const std::function<void(int)> check = [&](int more) {
        const std::string bytes = cache_bytes("C:/", {{path, 1}});
        ASSERT_EQ(read(bytes), PlainCacheReader(bytes, "C:/").read()) << path;
        for (const char byte : {'C', ':', '/', '\\', '?', '.'}) {
            if (more == 0 || HasFatalFailure()) return;
            path += byte;
            check(more - 1);
            path.pop_back();
        }
    };
    check(5);
}

TEST_F(CacheReader, takes_the_kinds_file_and_folder_only) {
    EXPECT_EQ(read_record("C:/a", 1), kComplete);
    EXPECT_EQ(read_record("C:/a", 2), kComplete);
    for (const std::uint32_t kind : {0u, 3u, 4u, 0x101u, 0x10001u, 0x01000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(read_record("C:/a", kind), kNotUsable) << kind;
    }
}

TEST_F(CacheReader, a_bad_record_anywhere_refuses_the_file) {
    const auto entries = sample_entries(3000);
    for (const std::size_t at : {0u, 1u, 1022u, 1023u, 1024u, 2047u, 2998u, 2999u}) {
        auto changed = entries;
        changed[at].kind = 3;
        EXPECT_EQ(read(cache_bytes("C:/", changed)), kNotUsable) << at;
        changed = entries;
        changed[at].path = "notes/a.txt";
        EXPECT_EQ(read(cache_bytes("C:/", changed)), kNotUsable) << at;
    }
}

TEST_F(CacheReader, agrees_with_the_plain_reader_on_every_change_of_one_byte) {
    const std::string whole = cache_bytes("C:/", {{"C:/a", 1}, {"//s/\xC3\x84", 2}}, 1, 0);
    std::size_t complete = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[at] = static_cast<char>(value);
            PlainCacheReader plain(changed, "C:/");
            const CacheReadResult expected = plain.read();
            ASSERT_EQ(read(changed), expected) << at << ' ' << value;
            if (expected != kComplete) continue;
            ++complete;
            ASSERT_EQ(entries_of(*cached.index), plain.entries) << at << ' ' << value;
            ASSERT_EQ(cached.skipped, plain.skipped);
            ASSERT_EQ(cached.limited, plain.limited);
        }
    }
    EXPECT_GT(complete, whole.size());  // both sorts were met
    EXPECT_LT(complete, whole.size() * 100);
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
    EXPECT_EQ(entry_count(*cached.index), 5'000'000u);
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
    EXPECT_EQ(entry_count(*cached.index), kLongest + 1);

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
        std::uint64_t nth = 1;
        for (;; ++nth) {
            simulated::forget_call_plans();
            simulated::fail_platform_call(nth, error, simulated::kReadFile);
            const CacheReadResult result = read_again();
            if (simulated::failed_platform_calls() == 0) {
                EXPECT_EQ(result, kComplete);
                break;
            }
            EXPECT_NE(result, kComplete) << nth;
        }
        EXPECT_GT(nth, 3u);
    }
    simulated::forget_call_plans();
}

TEST_F(CacheReader, memory_that_runs_out_leaves_nothing_behind) {
    const auto entries = sample_entries(3000);
    simulated::write_file(kCacheFile, cache_bytes("C:/", entries));
    for (std::uint64_t nth = 1;; ++nth) {
        platform::File file;
        ASSERT_EQ(file.open_for_reading(kCacheFile), platform::kSuccess);
        cached = {};
        std::optional<CacheReadResult> result;
        {
            const AllocationFault fault(nth);
            try {
                result = read_index_cache(file, "C:/", cancel, cached);
            } catch (const std::bad_alloc&) {
            }
        }
        if (!AllocationFault::hit()) {
            EXPECT_EQ(result, kComplete);
            EXPECT_GT(nth, 8u);
            break;
        }
        EXPECT_EQ(result, std::nullopt);
        EXPECT_EQ(cached.index, nullptr);
    }
    EXPECT_EQ(entries_of(*cached.index), entries);
}

}  // namespace
}  // namespace system_search
