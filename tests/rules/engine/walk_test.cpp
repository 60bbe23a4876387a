// What the walk indexes, what it skips, where it descends, and when it stops.
#include "engine/walk.hpp"

#include "rules/engine/walk_test_support.hpp"

namespace system_search {
namespace {

using platform::kAccessDenied;
using platform::kNoMoreFiles;

// ---- Order and texts ----------------------------------------------------------------------------

TEST_F(WalkTest, a_folder_comes_before_its_children_and_they_before_its_next_sibling) {
    add_file(u"C:\\top\\b.txt");
    add_file(u"C:\\top\\Sub\\inner\\deep.txt");
    add_file(u"C:\\top\\Sub\\z.txt");
    add_folder(u"C:\\top\\empty");
    add_file(u"C:\\top\\a.txt");

    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 7, 0, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/b.txt", "C:/top/Sub/", "C:/top/Sub/inner/",
                                  "C:/top/Sub/inner/deep.txt", "C:/top/Sub/z.txt", "C:/top/empty/",
                                  "C:/top/a.txt"}));
    EXPECT_TRUE(snapshot().complete);
}

TEST_F(WalkTest, empty_folder_gives_an_empty_complete_index) {
    add_folder(u"C:\\empty");
    EXPECT_EQ(build("C:\\empty"), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0}));
    EXPECT_TRUE(snapshot().complete);
    EXPECT_TRUE(snapshot().shards.empty());
}

TEST_F(WalkTest, roots_of_every_form_give_paths_with_single_slashes) {
    struct Row {
        const char16_t* file;
        const char* scope;
        Listing listing;
    };
    const std::vector<Row> rows = {
        {u"C:\\f", "C:\\", {"C:/f"}},
        {u"C:\\f", "c:/", {"c:/f"}},
        {u"C:\\a\\f", "C:\\a\\", {"C:/a/f"}},
        {u"C:\\a\\f", "C:\\a\\\\\\", {"C:/a/f"}},
        {u"C:\\a\\f", "C:/a/.", {"C:/a/f"}},
        {u"\\\\server\\share\\a\\f",
         "\\\\server\\share",
         {"//server/share/a/", "//server/share/a/f"}},
        {u"\\\\server\\share\\f", "//server/share/", {"//server/share/f"}},
        {u"C:\\a\\f", "\\\\?\\C:\\a", {"//?/C:/a/f"}},
    };
    for (const Row& row : rows) {
        reset();
        add_file(row.file);
        EXPECT_EQ(build(row.scope).state, SS_ENGINE_READY) << row.scope << ": " << error();
        EXPECT_EQ(listing(), row.listing) << row.scope;
    }
}

TEST_F(WalkTest, names_are_stored_as_utf8) {
    add_file(u"C:\\\u00DCber\\\u65E5\u672C.txt");
    add_file(u"C:\\\u00DCber\\\U0001F600");
    build("C:\\");
    EXPECT_EQ(listing(), (Listing{"C:/\u00DCber/", "C:/\u00DCber/\u65E5\u672C.txt",
                                  "C:/\u00DCber/\U0001F600"}));
}

TEST_F(WalkTest, scope_with_letters_beyond_ascii_becomes_part_of_every_path) {
    add_file(u"C:\\\u00DCber\\sub\\f");
    build("C:\\\u00DCber");
    EXPECT_EQ(listing(), (Listing{"C:/\u00DCber/sub/", "C:/\u00DCber/sub/f"}));
}

// A file system may hand out a name with a backslash in it; stored, it is a separator.
TEST_F(WalkTest, backslash_in_a_name_becomes_a_slash) {
    struct OddNames : GeneratedFolder {
        std::uint64_t count() const override { return 1; }
        void child(std::uint64_t, platform::Child& out) const override {
            out.attributes = kAttributeArchive;
            set_name(out, u"odd\\name");
        }
    };
    add_generated_folder(u"C:\\odd", std::make_shared<OddNames>());
    build("C:\\odd");
    EXPECT_EQ(listing(), (Listing{"C:/odd/odd/name"}));
    EXPECT_EQ(snapshot().shards[0]->folded_name(0), "name");
}

TEST_F(WalkTest, two_thousand_nested_folders_are_walked_to_the_bottom) {
    add_generated_folder(u"C:\\deep", folder_chain(u"level", 2000));
    EXPECT_EQ(build("C:\\deep"), (EngineStatus{SS_ENGINE_READY, 2000, 0, 0, 0}));
    EXPECT_EQ(last_path(snapshot()).size(),
              std::string("C:/deep").size() + 2000 * std::string("/level").size());
}

TEST_F(WalkTest, names_of_every_length_come_through_whole) {
    struct Lengths : GeneratedFolder {
        std::uint64_t count() const override { return 259; }
        void child(std::uint64_t index, platform::Child& out) const override {
            out.attributes = kAttributeArchive;
            set_name(out, std::u16string(index + 1, u'\u20AC'));  // three bytes each
        }
    };
    add_generated_folder(u"C:\\n", std::make_shared<Lengths>());
    EXPECT_EQ(build("C:\\n").entries, 259u);
    std::string name;
    for (const std::string& path : listing()) {
        name += "\u20AC";
        ASSERT_EQ(path, "C:/n/" + name);
    }
}

// Looking into a folder before descending and descending are one and the same opening.
TEST_F(WalkTest, opens_each_folder_once_and_asks_for_attributes_of_folders_only) {
    add_file(u"C:\\top\\a\\f");
    add_file(u"C:\\top\\b\\f");
    add_junction(u"C:\\top\\j", u"C:\\top\\a");
    count_platform_calls();
    build("C:\\top");
    EXPECT_EQ(platform_calls(kOpenFolder), 3u);
    EXPECT_EQ(platform_calls(kAttributes), 2u);
}

// ---- Shards -------------------------------------------------------------------------------------

TEST_F(WalkTest, every_shard_but_the_last_holds_1024_entries) {
    struct Row {
        std::uint64_t files;
        std::vector<std::size_t> shards;
    };
    for (const Row& row : {Row{1, {1}}, Row{1023, {1023}}, Row{1024, {1024}}, Row{1025, {1024, 1}},
                           Row{2048, {1024, 1024}}, Row{2049, {1024, 1024, 1}}}) {
        reset();
        add_generated_folder(u"C:\\many", numbered_files(row.files));
        EXPECT_EQ(build("C:\\many").entries, row.files);
        std::vector<std::size_t> sizes;
        for (const auto& shard : snapshot().shards) sizes.push_back(shard->size());
        EXPECT_EQ(sizes, row.shards);
    }
}

TEST_F(WalkTest, shards_go_on_across_roots) {
    add_generated_folder(u"C:\\a", numbered_files(1000));
    add_generated_folder(u"D:\\b", numbered_files(100));
    const Snapshot found = walk_roots({u"C:\\a", u"D:\\b"});
    ASSERT_EQ(found.shards.size(), 2u);
    EXPECT_EQ(found.shards[0]->size(), 1024u);
    EXPECT_EQ(found.shards[1]->size(), 76u);
}

// ---- Links and other reparse points -------------------------------------------------------------

TEST_F(WalkTest, links_and_junctions_are_files_that_nobody_follows) {
    add_file(u"C:\\target\\inside");
    add_junction(u"C:\\top\\junction", u"C:\\target");
    add_folder_symlink(u"C:\\top\\folder link", u"C:\\target");
    add_file_symlink(u"C:\\top\\file link", u"C:\\target\\inside");
    add_junction(u"C:\\top\\broken");
    add_junction(u"C:\\top\\circle", u"C:\\top");
    add_file(u"C:\\top\\z");

    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 6, 0, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/junction", "C:/top/folder link", "C:/top/file link",
                                  "C:/top/broken", "C:/top/circle", "C:/top/z"}));
}

TEST_F(WalkTest, folder_with_another_reparse_tag_is_indexed_and_skipped) {
    constexpr std::uint32_t kFolderWithTag =
        platform::kAttributeDirectory | platform::kAttributeReparsePoint;
    for (const std::uint32_t tag : {0u, 0x9000001Au, 0xA0000003u ^ 1u, 0x80000017u}) {
        reset();
        add_file(u"C:\\top\\cloud\\unseen");
        set_type(u"C:\\top\\cloud", kFolderWithTag, tag);
        add_file(u"C:\\top\\z");
        EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 2, 1, 0, 0})) << std::hex << tag;
        EXPECT_EQ(listing(), (Listing{"C:/top/cloud/", "C:/top/z"}));
    }
}

TEST_F(WalkTest, file_with_another_reparse_tag_is_an_ordinary_file) {
    set_type(u"C:\\top\\placeholder", kAttributeArchive | platform::kAttributeReparsePoint,
             0x9000001A);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/placeholder"}));
}

TEST_F(WalkTest, reparse_tag_without_the_attribute_means_nothing) {
    struct StaleTag : GeneratedFolder {
        std::uint64_t count() const override { return 1; }
        void child(std::uint64_t, platform::Child& out) const override {
            out.attributes = platform::kAttributeDirectory;
            out.reparse_tag = platform::kTagMountPoint;
            set_name(out, u"folder");
        }
        std::shared_ptr<const GeneratedFolder> folder(std::u16string_view) const override {
            return numbered_files(2);
        }
    };
    add_generated_folder(u"C:\\top", std::make_shared<StaleTag>());
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 3, 0, 0, 0}));
    EXPECT_EQ(listing()[0], "C:/top/folder/");
}

// ---- What counts as skipped ---------------------------------------------------------------------

TEST_F(WalkTest, root_that_cannot_be_opened_counts_once) {
    add_file(u"C:\\top\\f");
    fail_node(u"C:\\top", &NodeFaults::open, kAccessDenied);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
    EXPECT_TRUE(snapshot().complete);
    EXPECT_EQ(error(), "");
}

TEST_F(WalkTest, root_that_cannot_be_opened_leaves_the_others) {
    add_file(u"D:\\f");
    add_file(u"F:\\f");
    EXPECT_EQ(listing_of(walk_roots({u"C:\\", u"D:\\", u"E:\\", u"F:\\"})),
              (Listing{"D:/f", "F:/f"}));
    EXPECT_EQ(status().skipped, 2u);
}

// A drive without "." and ".." reports its emptiness as an error of the opening.
TEST_F(WalkTest, root_and_folder_that_open_as_empty_are_not_skipped) {
    add_folder(u"C:\\top\\hollow");
    add_file(u"C:\\top\\z");
    fail_node(u"C:\\top\\hollow", &NodeFaults::open, kNoMoreFiles);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));

    fail_node(u"C:\\top", &NodeFaults::open, kNoMoreFiles);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0}));
    EXPECT_TRUE(snapshot().complete);
}

TEST_F(WalkTest, denied_folder_counts_once_and_its_siblings_go_on) {
    add_file(u"C:\\top\\a");
    add_file(u"C:\\top\\denied\\unseen");
    add_file(u"C:\\top\\sub\\b");
    fail_node(u"C:\\top\\denied", &NodeFaults::open, kAccessDenied);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/a", "C:/top/denied/", "C:/top/sub/", "C:/top/sub/b"}));
}

TEST_F(WalkTest, folder_whose_attributes_cannot_be_read_is_indexed_but_not_entered) {
    add_file(u"C:\\top\\odd\\unseen");
    add_file(u"C:\\top\\z");
    fail_node(u"C:\\top\\odd", &NodeFaults::attributes, kAccessDenied);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 2, 1, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/odd/", "C:/top/z"}));
}

TEST_F(WalkTest, entry_whose_type_cannot_be_read_is_neither_indexed_nor_entered) {
    add_file(u"C:\\top\\odd folder\\unseen");
    add_file(u"C:\\top\\odd file");
    add_file(u"C:\\top\\z");
    fail_node(u"C:\\top\\odd folder", &NodeFaults::type, kAccessDenied);
    fail_node(u"C:\\top\\odd file", &NodeFaults::type, kAccessDenied);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 1, 2, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/top/z"}));
}

TEST_F(WalkTest, failing_advance_at_the_root_ends_this_root_only) {
    for (const char16_t* name : {u"C:\\1", u"C:\\2", u"C:\\3", u"D:\\1"}) add_file(name);
    NodeFaults faults;
    faults.next = kAccessDenied;
    faults.next_after = 2;
    set_faults(u"C:\\", faults);
    EXPECT_EQ(listing_of(walk_roots({u"C:\\", u"D:\\"})), (Listing{"C:/1", "C:/2", "D:/1"}));
    EXPECT_EQ(status().skipped, 1u);
}

TEST_F(WalkTest, failing_advance_in_a_nested_folder_loses_the_rest_of_the_root) {
    for (const char16_t* name : {u"C:\\a", u"C:\\sub\\1", u"C:\\sub\\2", u"C:\\z"}) add_file(name);
    NodeFaults faults;
    faults.next = kAccessDenied;
    faults.next_after = 1;
    set_faults(u"C:\\sub", faults);
    EXPECT_EQ(build("C:\\"), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/a", "C:/sub/", "C:/sub/1"}));
    EXPECT_TRUE(snapshot().complete) << "neither cancelled nor cut short by a limit";
}

// ---- Long paths ---------------------------------------------------------------------------------

TEST_F(WalkTest, path_of_32768_bytes_is_indexed_and_one_more_byte_is_not) {
    const std::u16string folder = make_long_folder(32768 - 4);
    add_file(folder + u"\\abc");
    add_file(folder + u"\\abcd");
    add_file(folder + u"\\ab\u20AC");  // three letters, five bytes
    add_file(folder + u"\\z");
    const EngineStatus end = build("C:\\");
    EXPECT_EQ(end.skipped, 2u);
    const Listing found = listing();
    ASSERT_GE(found.size(), 2u);
    EXPECT_EQ(found[found.size() - 2].size(), 32768u);
    EXPECT_EQ(found[found.size() - 2].substr(32764), "/abc");
    EXPECT_EQ(found.back().substr(32764), "/z");
}

TEST_F(WalkTest, folder_with_a_longer_path_is_still_entered) {
    const std::u16string folder = make_long_folder(32768);
    add_file(folder + u"\\1");
    add_file(folder + u"\\sub\\2");
    add_file(u"C:\\z");
    const EngineStatus end = build("C:\\");
    EXPECT_EQ(end.skipped, 3u) << "1, sub and sub/2";
    EXPECT_EQ(listing().back(), "C:/z");
    EXPECT_EQ(end.state, SS_ENGINE_READY);
}

// ---- Names that are not valid UTF-16 ------------------------------------------------------------

TEST_F(WalkTest, unpaired_surrogate_fails_the_build_and_keeps_what_was_published) {
    const std::vector<std::u16string> bad_names = {
        {u'a', 0xD800}, {u'a', 0xDC00, u'b'}, {0xDFFF, 0xD800}, {0xD800, 0xD800, 0xDC00}};
    for (const std::u16string& name : bad_names) {
        for (const bool folder : {false, true}) {
            reset();
            add_generated_folder(u"C:\\top\\a", numbered_files(1024));
            add_file(u"C:\\top\\b");
            if (folder) add_folder(u"C:\\top\\" + name);
            if (!folder) add_file(u"C:\\top\\" + name);
            add_file(u"C:\\top\\z");

            const EngineStatus end = build("C:\\top", "C:\\cache");
            EXPECT_EQ(end, (EngineStatus{SS_ENGINE_FAILED, 1024, 0, 0, 0}));
            EXPECT_EQ(error(), "A file name in C:/top is not valid UTF-16.");
            EXPECT_FALSE(snapshot().complete);
            EXPECT_FALSE(exists(u"C:\\cache"));
        }
    }
}

TEST_F(WalkTest, bad_name_says_in_which_folder_it_is) {
    struct Row {
        const char16_t* folder;
        const char* scope;
        const char* error;
    };
    const std::vector<Row> rows = {
        {u"C:\\", "C:\\", "A file name in C:/ is not valid UTF-16."},
        {u"C:\\Users\\ann", "C:\\", "A file name in C:/Users/ann is not valid UTF-16."},
        {u"C:\\\u00DCber", "C:/\u00DCber/", "A file name in C:/\u00DCber is not valid UTF-16."},
        {u"\\\\server\\share\\a", "//server/share",
         "A file name in //server/share/a is not valid UTF-16."},
    };
    for (const Row& row : rows) {
        reset();
        add_file(std::u16string(row.folder) + u"\\a\xD800");
        EXPECT_EQ(build(row.scope).state, SS_ENGINE_FAILED);
        EXPECT_EQ(error(), row.error);
    }
}

TEST_F(WalkTest, surrogate_in_a_name_whose_type_cannot_be_read_is_only_skipped) {
    const std::u16string name = {u'a', 0xD800};
    add_file(u"C:\\top\\" + name);
    fail_node(u"C:\\top\\" + name, &NodeFaults::type, kAccessDenied);
    EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
}

// ---- Cancelling ---------------------------------------------------------------------------------

TEST_F(WalkTest, cancelled_walk_stops_before_the_next_entry_and_keeps_what_it_found) {
    for (const char16_t name : std::u16string_view(u"01234")) {
        add_file(std::u16string(u"C:\\top\\") + name);
    }
    add_file(u"C:\\top\\sub\\a");
    add_file(u"C:\\top\\z");
    Gate gate;
    on_child(u"C:\\top\\sub", 1, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "C:\\cache", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 0, 0, 0, 0}));
    ss_cancel(handle_);
    EXPECT_EQ(status().state, SS_ENGINE_RUNNING) << "nobody noticed yet";
    gate.release();

    EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_CANCELLED, 5, 0, 0, 0}));
    EXPECT_FALSE(snapshot().complete);
    EXPECT_FALSE(exists(u"C:\\cache"));
    EXPECT_EQ(error(), "");
}

TEST_F(WalkTest, cancelled_walk_enters_no_further_root) {
    add_file(u"C:\\1");
    add_folder(u"C:\\sub");
    add_file(u"D:\\1");
    on_child(u"C:\\sub", 0, [&] { ss_cancel(handle_); });
    count_platform_calls();
    EXPECT_EQ(listing_of(walk_roots({u"C:\\", u"D:\\"})), (Listing{"C:/1"}));
    EXPECT_EQ(platform_calls(kOpenFolder), 2u);

    count_platform_calls();
    EXPECT_EQ(walk_roots({u"C:\\", u"D:\\"}).entry_count, 0u) << "the request still stands";
    EXPECT_EQ(platform_calls(kOpenFolder), 0u);
}

// ---- Progress -----------------------------------------------------------------------------------

TEST_F(WalkTest, entries_and_skips_are_visible_while_the_walk_runs) {
    add_folder(u"C:\\top\\denied");
    fail_node(u"C:\\top\\denied", &NodeFaults::open, kAccessDenied);
    add_generated_folder(u"C:\\top\\many", numbered_files(2500));
    add_file(u"C:\\top\\z\\f");
    Gate gate;
    on_child(u"C:\\top\\z", 0, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_RUNNING, 2048, 1, 0, 0}));
    EXPECT_EQ(listing()[0], "C:/top/denied/");
    EXPECT_FALSE(snapshot().complete);
    gate.release();
    EXPECT_EQ(finish(), (EngineStatus{SS_ENGINE_READY, 2504, 1, 0, 0}));
}

// ---- A folder that is not entered leaves the walk of those after it alone ----------------------

class WalkSiblingsTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        add_file(u"C:\\top\\left out\\unseen");
        add_file(u"C:\\top\\next\\seen");
        add_folder(u"C:\\top\\last");
    }
    void expect_one_skipped_and_its_siblings_whole(const char* why) {
        SCOPED_TRACE(why);
        EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 0}));
        EXPECT_EQ(listing(), (Listing{"C:/top/left out/", "C:/top/next/", "C:/top/next/seen",
                                      "C:/top/last/"}));
    }
};

TEST_F(WalkSiblingsTest, folders_behind_a_reparse_point_are_entered) {
    set_type(u"C:\\top\\left out", platform::kAttributeDirectory | platform::kAttributeReparsePoint,
             0x9000001A);
    expect_one_skipped_and_its_siblings_whole("reparse point");
}

TEST_F(WalkSiblingsTest, folders_behind_one_that_cannot_be_asked_or_opened_are_entered) {
    fail_node(u"C:\\top\\left out", &NodeFaults::attributes, platform::kAccessDenied);
    expect_one_skipped_and_its_siblings_whole("attributes");
    fail_node(u"C:\\top\\left out", &NodeFaults::open, platform::kAccessDenied);
    expect_one_skipped_and_its_siblings_whole("open");
}

}  // namespace
}  // namespace system_search
