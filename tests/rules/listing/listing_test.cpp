// The folder listing on a simulated volume: what is kept, what is skipped, and every failure.
#include "listing/listing.hpp"

#include <random>

#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

class ListingTest : public VolumeTest {
protected:
    static SystemSearchQuery* start(const char* directory, const char* text = "",
                                    std::uint32_t flags = 0, std::uint32_t kind = 0,
                                    std::uint32_t limit = 1000) {
        return ss_query_directory(directory, text, flags, kind, limit);
    }
    struct Answer {
        QueryStatus status;
        Paths paths;
    };
    static Answer list(const char* directory, const char* text = "", std::uint32_t flags = 0,
                       std::uint32_t kind = 0, std::uint32_t limit = 1000) {
        const RunningQuery query(start(directory, text, flags, kind, limit));
        EXPECT_NE(query.handle(), nullptr);
        const QueryStatus status = query.finish();
        return {status, query.paths()};
    }
    static void expect_failed(const char* directory) {
        const Answer answer = list(directory);
        EXPECT_EQ(answer.status, kNotDone(SS_QUERY_FAILED)) << directory;
        EXPECT_EQ(answer.paths, Paths{}) << directory;
    }
};

// ---- Arguments ----------------------------------------------------------------------------------

TEST_F(ListingTest, refused_arguments_start_nothing) {
    count_platform_calls();
    EXPECT_EQ(start(nullptr), nullptr);
    EXPECT_EQ(start(""), nullptr);
    EXPECT_EQ(start("C:/", nullptr), nullptr);
    EXPECT_EQ(start("C:/", "", 4), nullptr);
    EXPECT_EQ(start("C:/", "", UINT32_MAX), nullptr);
    EXPECT_EQ(start("C:/", "", 0, 3), nullptr);
    EXPECT_EQ(start("C:/", "", 0, UINT32_MAX), nullptr);
    EXPECT_EQ(start("C:/", "", 0, 0, 0), nullptr);
    EXPECT_EQ(start("C:/", "", 0, 0, 1001), nullptr);
    EXPECT_EQ(start("C:/", "", 0, 0, UINT32_MAX), nullptr);
    EXPECT_EQ(platform_calls(), 0u);
}

TEST_F(ListingTest, every_allowed_argument_is_taken) {
    add_file(u"C:\\top\\a");
    for (const std::uint32_t limit : {1u, 1000u}) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            for (std::uint32_t kind = 0; kind < 3; ++kind) {
                EXPECT_EQ(list("C:/top", "", flags, kind, limit).status.state, SS_QUERY_DONE);
            }
        }
    }
}

TEST_F(ListingTest, both_texts_are_copied_before_the_call_returns) {
    add_file(u"C:\\top\\notes");
    char directory[] = "C:/top";
    char text[] = "notes";
    const RunningQuery query(start(directory, text));
    std::fill_n(directory, sizeof directory - 1, 'z');
    std::fill_n(text, sizeof text - 1, 'z');
    query.finish();
    EXPECT_EQ(query.paths(), Paths{"C:/top/notes"});
}

// ---- What is listed -----------------------------------------------------------------------------

TEST_F(ListingTest, immediate_children_are_matched_ordered_and_described) {
    add_file(u"C:\\top\\b.txt", 7);
    add_file(u"C:\\top\\A.txt", 5);
    add_file(u"C:\\top\\sub\\below.txt", 9);
    const RunningQuery query(start("C:/top"));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 3, 3, 3, 0}));
    EXPECT_EQ(query.paths(), (Paths{"C:/top/A.txt", "C:/top/b.txt", "C:/top/sub"}));
    EXPECT_EQ(ss_query_kind(query.handle(), 0), SS_KIND_FILE);
    EXPECT_EQ(ss_query_kind(query.handle(), 2), SS_KIND_FOLDER);
    EXPECT_EQ(query.metadata(0).size, 5u);
    EXPECT_EQ(query.metadata(1).size, 7u);
    EXPECT_EQ(query.metadata(2).flags, SS_METADATA_MODIFIED);

    EXPECT_EQ(list("C:/top", "", 0, SS_KIND_FOLDER).status,
              (QueryStatus{SS_QUERY_DONE, 1, 1, 3, 0}));
    EXPECT_EQ(list("C:/top", "*.TXT").paths, (Paths{"C:/top/A.txt", "C:/top/b.txt"}));
    EXPECT_EQ(list("C:/top", "a.TXT", SS_MATCH_CASE).paths, Paths{});
    EXPECT_EQ(list("C:/top", "top", SS_MATCH_PATH).status.matched, 3u);
    EXPECT_EQ(list("C:/top", "top").status.matched, 0u);
    EXPECT_EQ(list("C:/top", "", 0, 0, 2).status, (QueryStatus{SS_QUERY_DONE, 3, 2, 3, 0}));
}

TEST_F(ListingTest, empty_folder_is_done_and_empty) {
    add_folder(u"C:\\empty");
    EXPECT_EQ(list("C:/empty").status, (QueryStatus{SS_QUERY_DONE, 0, 0, 0, 0}));
}

TEST_F(ListingTest, children_are_held_in_shards_of_1024) {
    const auto sizes_of = [](std::uint32_t children) {
        const std::u16string folder = u"C:\\" + wide_from_utf8(std::to_string(children));
        add_generated_folder(folder, numbered_files(children));
        Query query;
        run_listing({&query, utf8_from_wide(folder), {"", 0, 0, 10}});
        EXPECT_EQ(query.state, SS_QUERY_DONE);
        EXPECT_EQ(query.index_entries, children);
        EXPECT_EQ(query.matched, children);
        std::vector<std::uint32_t> sizes;
        for (const auto& shard : query.shards) sizes.push_back(shard->size());
        return sizes;
    };
    using Sizes = std::vector<std::uint32_t>;
    EXPECT_EQ(sizes_of(0), Sizes());
    EXPECT_EQ(sizes_of(1), Sizes{1});
    EXPECT_EQ(sizes_of(1024), Sizes{1024});
    EXPECT_EQ(sizes_of(2500), (Sizes{1024, 1024, 452}));
}

TEST_F(ListingTest, links_and_reparse_folders_are_counted_but_not_listed) {
    add_file(u"C:\\top\\file");
    add_folder(u"C:\\top\\folder");
    add_file_symlink(u"C:\\top\\file link", u"C:\\top\\file");
    add_folder_symlink(u"C:\\top\\folder link", u"C:\\top\\folder");
    add_junction(u"C:\\top\\junction", u"C:\\top\\folder");
    constexpr std::uint32_t kCloudTag = 0x9000001A;
    set_type(u"C:\\top\\cloud file", platform::kAttributeReparsePoint, kCloudTag);
    set_type(u"C:\\top\\cloud folder",
             platform::kAttributeReparsePoint | platform::kAttributeDirectory, kCloudTag);
    const Answer answer = list("C:/top");
    EXPECT_EQ(answer.status, (QueryStatus{SS_QUERY_DONE, 3, 3, 7, 0}));
    EXPECT_EQ(answer.paths, (Paths{"C:/top/cloud file", "C:/top/file", "C:/top/folder"}));
}

TEST_F(ListingTest, link_tags_count_only_with_the_reparse_attribute) {
    set_type(u"C:\\top\\file", 0, platform::kTagSymbolicLink);
    set_type(u"C:\\top\\folder", platform::kAttributeDirectory, platform::kTagMountPoint);
    EXPECT_EQ(list("C:/top").paths, (Paths{"C:/top/file", "C:/top/folder"}));
}

TEST_F(ListingTest, only_folders_are_asked_for_their_attributes_again) {
    add_file(u"C:\\top\\a");
    add_file(u"C:\\top\\b");
    add_folder(u"C:\\top\\sub");
    add_junction(u"C:\\top\\junction");
    count_platform_calls();
    list("C:/top");
    EXPECT_EQ(platform_calls(kAttributes), 1u);
}

TEST_F(ListingTest, folder_whose_attributes_cannot_be_read_again_is_left_out_silently) {
    add_folder(u"C:\\top\\asked");
    add_folder(u"C:\\top\\vanished");
    fail_node(u"C:\\top\\vanished", &NodeFaults::attributes, platform::kFileNotFound);
    const Answer answer = list("C:/top");
    EXPECT_EQ(answer.status, (QueryStatus{SS_QUERY_DONE, 1, 1, 2, 0}));
    EXPECT_EQ(answer.paths, Paths{"C:/top/asked"});
}

TEST_F(ListingTest, child_whose_type_is_unreadable_makes_the_listing_incomplete) {
    add_file(u"C:\\top\\known");
    add_file(u"C:\\top\\unknown");
    fail_node(u"C:\\top\\unknown", &NodeFaults::type, platform::kAccessDenied);
    const Answer answer = list("C:/top");
    EXPECT_EQ(answer.status, (QueryStatus{SS_QUERY_DONE, 1, 1, 2, 1}));
    EXPECT_EQ(answer.paths, Paths{"C:/top/known"});
}

TEST_F(ListingTest, surrogate_pair_in_a_name_is_one_code_point) {
    add_file(u"C:\\top\\\xD83D\xDE00");
    EXPECT_EQ(list("C:/top", "?").paths, Paths{"C:/top/\U0001F600"});
}

// ---- The path text ------------------------------------------------------------------------------

TEST_F(ListingTest, stored_paths_are_normal_whatever_the_argument_looks_like) {
    add_file(u"C:\\Users\\x\\a.txt");
    add_file(u"C:\\Users\\y\\a.txt");
    add_file(u"C:\\a\\b\\d.txt");
    add_file(u"C:\\root.txt");
    struct Row {
        const char* directory;
        Paths paths;
    };
    const std::vector<Row> rows = {
        {"C:\\Users\\x", {"C:/Users/x/a.txt"}},
        {"C:/Users/x/", {"C:/Users/x/a.txt"}},
        {"C:/Users/x/../y", {"C:/Users/y/a.txt"}},
        {"C:/a//b", {"C:/a/b/d.txt"}},
        {"C:\\a\\\\b\\\\", {"C:/a/b/d.txt"}},
        {"C:/a/./b/.", {"C:/a/b/d.txt"}},
        {"C:/a/b/../../a/b", {"C:/a/b/d.txt"}},
        {"C:/../a/b", {"C:/a/b/d.txt"}},
        {"c:/A/B", {"c:/A/B/d.txt"}},  // the case stays the caller's
        {"C:/a/..", {"C:/Users", "C:/a", "C:/root.txt"}},
    };
    for (const Row& row : rows) {
        Answer answer = list(row.directory);
        std::sort(answer.paths.begin(), answer.paths.end());
        EXPECT_EQ(answer.paths, row.paths) << row.directory;
    }
}

TEST_F(ListingTest, network_and_device_folders_keep_their_root_names) {
    add_file(u"\\\\server\\share\\docs\\a.txt");
    EXPECT_EQ(list("\\\\server\\share").paths, Paths{"//server/share/docs"});
    EXPECT_EQ(list("//server/share/docs").paths, Paths{"//server/share/docs/a.txt"});
    EXPECT_EQ(list("//server\\share//docs\\").paths, Paths{"//server/share/docs/a.txt"});

    add_file(u"C:\\top\\a.txt");
    EXPECT_EQ(list("\\\\.\\C:\\top").paths, Paths{"//./C:/top/a.txt"});
    EXPECT_EQ(list("\\\\?\\C:\\top").paths, Paths{"//?/C:/top/a.txt"});
}

TEST_F(ListingTest, attributes_are_asked_of_the_path_as_the_caller_gave_it) {
    add_folder(u"C:\\top\\sub");
    // With the dots resolved first, "missing" would not matter here; a raw path keeps them.
    EXPECT_EQ(list("C:/top/missing/..").paths, Paths{"C:/top/sub"});
}

TEST_F(ListingTest, path_of_32768_bytes_is_listed_and_a_longer_one_is_not) {
    // A folder path of 32,760 bytes; children of 7 and 8 bytes go behind its "/".
    std::u16string folder = u"C:";
    while (folder.size() + 201 <= 32'760) folder += u'\\' + std::u16string(200, u'd');
    folder += u'\\' + std::u16string(32'760 - folder.size() - 1, u'd');
    ASSERT_EQ(folder.size(), 32'760u);
    add_file(folder + u"\\1234567");
    add_file(folder + u"\\12345678");
    add_file(folder + u"\\123456\u00E9");  // 8 bytes in 7 units
    add_file(folder + u"\\x");
    const Answer answer = list(utf8_from_wide(folder).c_str());
    EXPECT_EQ(answer.status, (QueryStatus{SS_QUERY_DONE, 2, 2, 4, 1}));
    ASSERT_EQ(answer.paths.size(), 2u);
    EXPECT_EQ(answer.paths[0].size(), 32'768u);
    EXPECT_TRUE(answer.paths[0].ends_with("/1234567"));
    EXPECT_TRUE(answer.paths[1].ends_with("/x"));
}

// ---- Budgets ------------------------------------------------------------------------------------

TEST_F(ListingTest, five_million_children_are_all_there_is_room_for) {
    add_generated_folder(u"C:\\exact", numbered_files(5'000'000));
    EXPECT_EQ(list("C:/exact", "no such name").status,
              (QueryStatus{SS_QUERY_DONE, 0, 0, 5'000'000, 0}));
    add_generated_folder(u"C:\\more", numbered_files(5'000'001));
    EXPECT_EQ(list("C:/more", "f04999999").status,
              (QueryStatus{SS_QUERY_DONE, 1, 1, 5'000'000, 1}));
    EXPECT_EQ(list("C:/more", "f05000000").status.matched, 0u);
}

// Children whose names have `bytes` bytes, differing in their first eight.
class LongNames : public GeneratedFolder {
public:
    LongNames(std::uint64_t count, std::size_t bytes) : count_(count), bytes_(bytes) {}
    std::uint64_t count() const override { return count_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        out.attributes = kAttributeArchive;
        std::fill_n(out.name, bytes_, u'n');
        for (int digit = 7; digit >= 0; --digit, index /= 10) {
            out.name[digit] = static_cast<char16_t>(u'0' + index % 10);
        }
        out.name_units = static_cast<std::uint32_t>(bytes_);
    }

private:
    std::uint64_t count_;
    std::size_t bytes_;
};

TEST_F(ListingTest, estimate_stops_the_listing_once_it_is_reached_one_child_late) {
    // A path of 20,000 bytes before the name makes a path text of 20,220 bytes, which counts
    // 40,512. 2^30 / 40,512 is 26,504.3, so that the child that reaches it is number 26,505.
    std::u16string folder = u"C:";
    while (folder.size() + 201 <= 19'999) folder += u'\\' + std::u16string(200, u'd');
    folder += u'\\' + std::u16string(19'999 - folder.size() - 1, u'd');
    const std::string directory = utf8_from_wide(folder);
    ASSERT_EQ(directory.size(), 19'999u);

    add_generated_folder(folder, std::make_shared<LongNames>(26'505, 220));
    EXPECT_EQ(list(directory.c_str(), "no such name").status,
              (QueryStatus{SS_QUERY_DONE, 0, 0, 26'505, 0}))
        << "the child that goes beyond the estimate is kept";
    remove_tree(u"C:\\");
    add_generated_folder(folder, std::make_shared<LongNames>(26'506, 220));
    EXPECT_EQ(list(directory.c_str(), "0002650*").status,
              (QueryStatus{SS_QUERY_DONE, 5, 5, 26'505, 1}));
}

TEST_F(ListingTest, estimate_that_is_reached_exactly_stops_the_listing) {
    // 8,192 is 2 * 4,060 + 72: a path of 4,060 bytes counts exactly 2^30 / 131,072.
    std::u16string folder = u"C:";
    while (folder.size() + 201 <= 3'850) folder += u'\\' + std::u16string(200, u'd');
    folder += u'\\' + std::u16string(3'850 - folder.size() - 1, u'd');
    const std::string directory = utf8_from_wide(folder);
    ASSERT_EQ(directory.size() + 1 + 209, 4'060u);
    add_generated_folder(folder, std::make_shared<LongNames>(131'073, 209));
    EXPECT_EQ(list(directory.c_str(), "no such name").status,
              (QueryStatus{SS_QUERY_DONE, 0, 0, 131'072, 1}));
}

// ---- Failures -----------------------------------------------------------------------------------

TEST_F(ListingTest, folder_that_is_not_absolute_fails) {
    add_drive(u"C:\\", platform::kDriveFixed);
    add_file(u"C:\\docs\\a");
    for (const char* const directory :
         {"docs", "C:docs", "C:", "/docs", "\\docs", ".", "..", "*"}) {
        count_platform_calls();
        expect_failed(directory);
        EXPECT_EQ(platform_calls(kOpenFolder), 0u) << directory << ": it must not even be opened";
        forget_call_plans();
    }
}

TEST_F(ListingTest, folder_that_is_not_utf8_fails) {
    for (const char* const directory : {"C:/\xFF", "C:/\xC3", "C:/\xED\xA0\x80", "C:/\xC0\xAF"}) {
        expect_failed(directory);
    }
}

TEST_F(ListingTest, folder_that_is_missing_or_a_file_fails) {
    add_file(u"C:\\file");
    expect_failed("C:/missing");
    expect_failed("C:/file");
    expect_failed("Q:/");
}

TEST_F(ListingTest, every_failing_open_but_the_end_of_enumeration_fails) {
    add_file(u"C:\\top\\a");
    for (const platform::Error error :
         {platform::kFileNotFound, platform::kPathNotFound, platform::kAccessDenied,
          platform::kBadNetworkPath, platform::kInvalidName, platform::kCannotAccessFile}) {
        fail_node(u"C:\\top", &NodeFaults::open, error);
        expect_failed("C:/top");
    }
    fail_node(u"C:\\top", &NodeFaults::open, platform::kNoMoreFiles);
    EXPECT_EQ(list("C:/top").status, (QueryStatus{SS_QUERY_DONE, 0, 0, 0, 0}));
}

TEST_F(ListingTest, failing_advance_fails_whatever_was_read_before) {
    for (const char16_t* const name : {u"C:\\top\\a", u"C:\\top\\b", u"C:\\top\\c"}) add_file(name);
    for (const platform::Error error :
         {platform::kAccessDenied, platform::kNetworkNameDeleted, platform::kFileNotFound}) {
        NodeFaults faults;
        faults.next = error;
        faults.next_after = 2;
        set_faults(u"C:\\top", faults);
        expect_failed("C:/top");

        Query query;
        run_listing({&query, "C:/top", {"", 0, 0, 10}});
        EXPECT_TRUE(query.shards.empty()) << "there are no partial results";
    }
    NodeFaults end;
    end.next = platform::kNoMoreFiles;
    end.next_after = 2;
    set_faults(u"C:\\top", end);
    EXPECT_EQ(list("C:/top").status, (QueryStatus{SS_QUERY_DONE, 2, 2, 2, 0}));
}

TEST_F(ListingTest, name_that_is_not_utf16_fails_the_whole_listing) {
    add_file(u"C:\\top\\a");
    add_file(std::u16string(u"C:\\top\\b") + char16_t{0xD800});
    expect_failed("C:/top");
}

TEST_F(ListingTest, name_of_a_skipped_child_need_not_be_utf16) {
    add_file(u"C:\\top\\a");
    add_junction(std::u16string(u"C:\\top\\link") + char16_t{0xD800});
    const std::u16string folder = std::u16string(u"C:\\top\\sub") + char16_t{0xDC00};
    set_type(folder, platform::kAttributeDirectory | platform::kAttributeReparsePoint, 0x9000001A);
    EXPECT_EQ(list("C:/top").status, (QueryStatus{SS_QUERY_DONE, 1, 1, 3, 0}));
}

TEST_F(ListingTest, thread_that_cannot_be_started_gives_null) {
    add_file(u"C:\\top\\a");
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(start("C:/top"), nullptr);
    forget_call_plans();
    EXPECT_EQ(list("C:/top").status.matched, 1u);
}

// ---- Destruction --------------------------------------------------------------------------------

TEST_F(ListingTest, destroy_ends_a_listing_after_the_child_in_hand) {
    add_generated_folder(u"C:\\endless", numbered_files(UINT64_MAX));
    Gate gate;
    on_child(u"C:\\endless", 2000, [&] { gate.hold(); });
    SystemSearchQuery* const handle = start("C:/endless");
    ASSERT_TRUE(gate.wait_until_held());
    std::thread destroyer([&] { ss_query_destroy(handle); });
    while (!reinterpret_cast<Query*>(handle)->cancel) std::this_thread::yield();
    count_platform_calls();
    gate.release();
    destroyer.join();
    EXPECT_LE(platform_calls(), 1u);
}

TEST_F(ListingTest, cancelled_listing_publishes_nothing_and_does_not_search) {
    for (const char16_t* const name : {u"C:\\top\\a", u"C:\\top\\b", u"C:\\top\\c"}) add_file(name);
    Query query;
    on_child(u"C:\\top", 2, [&] { query.cancel = true; });
    run_listing({&query, "C:/top", {"", 0, 0, 10}});
    EXPECT_EQ(query.state, SS_QUERY_CANCELLED);
    EXPECT_TRUE(query.shards.empty());
    EXPECT_EQ(query.index_entries, 2u) << "the third child was met, but not looked at";
    EXPECT_EQ(query.matched, 0u);
    EXPECT_EQ(open_handles(), OpenHandles{});
}

TEST_F(ListingTest, listings_destroyed_at_random_moments_leak_nothing) {
    add_generated_folder(u"C:\\many", numbered_files(3000));
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 numbers(seed);
    for (int i = 0; i < 2000; ++i) {
        SystemSearchQuery* const handle = start("C:/many", "1");
        ASSERT_NE(handle, nullptr);
        for (auto spins = numbers() % 3000; spins != 0; --spins) {
            QueryStatus status;
            ss_query_poll(handle, &status);
            if (status.state != SS_QUERY_RUNNING) break;
        }
        ss_query_destroy(handle);
    }
    EXPECT_EQ(open_handles(), OpenHandles{});
}

}  // namespace
}  // namespace system_search
