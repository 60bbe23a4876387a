// What the reader of the cache file takes and refuses in its texts, integers and records.
#include <functional>
#include <utility>

#include "rules/index/cache_reader_support.hpp"
#include "rules/index/reference_cache_reader.hpp"

namespace system_search {
namespace {

using enum CacheReadResult;

// ---- Texts and integers -------------------------------------------------------------------------

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
    ASSERT_EQ(take_snapshot(*cached.index).entry_count, 2u);

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

TEST_F(CacheReader, agrees_with_the_reference_reader_on_every_short_path) {
    std::string path;
    const std::function<void(int)> check = [&](int more) {
        const std::string bytes = cache_bytes("C:/", {{path, 1}});
        ASSERT_EQ(read(bytes), ReferenceCacheReader(bytes, "C:/").read()) << path;
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

TEST_F(CacheReader, agrees_with_the_reference_reader_on_every_change_of_one_byte) {
    const std::string whole = cache_bytes("C:/", {{"C:/a", 1}, {"//s/\xC3\x84", 2}}, 1, 0);
    std::size_t complete = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[at] = static_cast<char>(value);
            ReferenceCacheReader reference(changed, "C:/");
            const CacheReadResult expected = reference.read();
            ASSERT_EQ(read(changed), expected) << at << ' ' << value;
            if (expected != kComplete) continue;
            ++complete;
            ASSERT_EQ(entries_of(*cached.index), reference.entries) << at << ' ' << value;
            ASSERT_EQ(cached.skipped, reference.skipped);
            ASSERT_EQ(cached.limited, reference.limited);
        }
    }
    EXPECT_GT(complete, whole.size());  // both sorts were met
    EXPECT_LT(complete, whole.size() * 100);
}

}  // namespace
}  // namespace system_search
