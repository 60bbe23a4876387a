#include "query/metadata.hpp"

#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

class MetadataTest : public VolumeTest {
protected:
    static ResultMetadata read(const std::string& path) {
        std::u16string wide_path = u"left over";
        return read_metadata(path, wide_path);
    }
};

constexpr std::uint64_t kSecond = 10'000'000;
constexpr std::uint64_t k1970 = 11'644'473'600 * kSecond;

TEST_F(MetadataTest, file_has_size_and_time) {
    add_file(u"C:\\a\\b", 12'345, k1970 + 1'700'000'000 * kSecond);
    EXPECT_EQ(read("C:/a/b"), (ResultMetadata{12'345, 1'700'000'000, 3, 0}));
    add_file(u"C:\\empty", 0, k1970);
    EXPECT_EQ(read("C:/empty"), (ResultMetadata{0, 0, 3, 0}));
}

TEST_F(MetadataTest, size_of_5_gib_is_whole) {
    add_file(u"C:\\big", 5'368'709'120);
    EXPECT_EQ(read("C:/big").size, 5'368'709'120u);
}

TEST_F(MetadataTest, folder_has_a_time_but_no_size) {
    add_folder(u"C:\\folder");
    set_last_write(u"C:\\folder", k1970 + 5 * kSecond);
    EXPECT_EQ(read("C:/folder"), (ResultMetadata{0, 5, 2, 0}));
}

TEST_F(MetadataTest, reparse_points_have_a_time_but_no_size) {
    add_file(u"C:\\target", 77);
    add_file_symlink(u"C:\\link", u"C:\\target");
    add_junction(u"C:\\junction", u"C:\\");
    set_type(u"C:\\cloud", platform::kAttributeReparsePoint, 0x9000001A);
    for (const char16_t* const path : {u"C:\\link", u"C:\\junction", u"C:\\cloud"}) {
        set_last_write(path, k1970 + 9 * kSecond);
    }
    for (const char* const path : {"C:/link", "C:/junction", "C:/cloud"}) {
        EXPECT_EQ(read(path), (ResultMetadata{0, 9, 2, 0})) << path;
    }
}

TEST_F(MetadataTest, seconds_are_whole_and_negative_before_1970) {
    struct Row {
        std::uint64_t last_write;
        std::int64_t modified;
    };
    const std::vector<Row> rows = {
        {0, -11'644'473'600},
        {kSecond - 1, -11'644'473'600},
        {kSecond, -11'644'473'599},
        {k1970 - 1, -1},
        {k1970, 0},
        {k1970 + 9'000'000, 0},
        {k1970 + kSecond, 1},
        {UINT64_MAX, 1'844'674'407'370 - 11'644'473'600},  // counted without a sign
        {std::uint64_t{1} << 63, 922'337'203'685 - 11'644'473'600},
    };
    add_file(u"C:\\f");
    for (const Row& row : rows) {
        set_last_write(u"C:\\f", row.last_write);
        EXPECT_EQ(read("C:/f").modified, row.modified) << row.last_write;
    }
}

TEST_F(MetadataTest, whatever_cannot_be_asked_has_a_zero_record) {
    EXPECT_EQ(read("C:/gone"), ResultMetadata{});
    add_file(u"C:\\denied", 5);
    fail_node(u"C:\\denied", &NodeFaults::file_information, platform::kAccessDenied);
    EXPECT_EQ(read("C:/denied"), ResultMetadata{});
}

TEST_F(MetadataTest, text_that_is_not_utf8_throws) {
    EXPECT_THROW(read("C:/\xC3"), TextError);
    EXPECT_THROW(read("C:/\xED\xA0\x80"), TextError);
}

TEST_F(MetadataTest, query_keeps_a_deleted_file_with_a_zero_record) {
    add_file(u"C:\\b", 3, k1970);
    Query query;
    fill(query, {"C:/a", "C:/b"});
    search(query, {"", 0, 0, 10});
    ASSERT_EQ(query.state, SS_QUERY_DONE);
    auto* const handle = reinterpret_cast<SystemSearchQuery*>(&query);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(handle, 0, &metadata), 1);
    EXPECT_EQ(metadata, ResultMetadata{});
    EXPECT_EQ(ss_query_metadata(handle, 1, &metadata), 1);
    EXPECT_EQ(metadata, (ResultMetadata{3, 0, 3, 0}));
}

TEST_F(MetadataTest, disk_is_asked_once_for_each_final_result_and_never_for_a_candidate) {
    Query query;
    fill(query, {"C:/e", "C:/d", "C:/c", "C:/b", "C:/a"});
    count_platform_calls();
    search(query, {"", 0, 0, 2});
    EXPECT_EQ(platform_calls(kFileInformation), 2u);
    EXPECT_EQ(query.metadata.size(), 2u);
}

}  // namespace
}  // namespace system_search
