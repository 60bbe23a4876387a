// The simulated volume has to behave as Windows does, or every test that stands on it is worthless.
#include "simulated/volume.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

using platform::Child;
using platform::Enumeration;
using platform::Error;
using platform::File;
using platform::Status;
using Names = std::vector<std::u16string>;

// The names of a folder, and the error that ended them.
std::pair<Names, Error> enumerate(const std::u16string& folder) {
    std::pair<Names, Error> result;
    Enumeration enumeration;
    Child child;
    for (result.second = enumeration.open(folder, child); result.second == 0;
         result.second = enumeration.next(child)) {
        result.first.emplace_back(child.name_view());
    }
    return result;
}

std::pair<Error, std::uint32_t> status(const char16_t* path) {
    Status out{};
    const Error error = platform::status_following_links(path, out);
    return {error, out.attributes};
}

std::pair<Error, std::uint32_t> ok(std::uint32_t attributes) {
    return {platform::kSuccess, attributes};
}

std::pair<Error, std::uint32_t> failed(Error error) {
    return {error, 0};
}

using SimulatedVolume = VolumeTest;

TEST_F(SimulatedVolume, enumerates_in_the_order_of_insertion) {
    add_file(u"C:\\m\\b");
    add_folder(u"C:/m/a/");
    add_file(u"C:\\m\\\xD800x");
    EXPECT_EQ(enumerate(u"C:\\m"),
              std::pair(Names{u"b", u"a", u"\xD800x"}, platform::kNoMoreFiles));
    EXPECT_EQ(enumerate(u"c:/M\\").first.size(), 3u);
    EXPECT_EQ(enumerate(u"C:\\m\\a"), std::pair(Names{}, platform::kNoMoreFiles));
    EXPECT_EQ(enumerate(u"C:\\m\\b").second, platform::kInvalidDirectory);
    EXPECT_EQ(enumerate(u"C:\\m\\c").second, platform::kPathNotFound);
}

TEST_F(SimulatedVolume, reports_type_and_tag_of_children) {
    add_junction(u"C:\\m\\j");
    set_type(u"C:\\m\\cloud", kAttributeArchive | platform::kAttributeReparsePoint, 0x9000001A);
    add_file(u"C:\\m\\odd");
    NodeFaults unknown;
    unknown.type = platform::kAccessDenied;
    set_faults(u"C:\\m\\odd", unknown);
    Enumeration enumeration;
    Child child;
    ASSERT_EQ(enumeration.open(u"C:\\m", child), platform::kSuccess);
    EXPECT_EQ(child.attributes, 0x410u);
    EXPECT_EQ(child.reparse_tag, platform::kTagMountPoint);
    ASSERT_EQ(enumeration.next(child), platform::kSuccess);
    EXPECT_EQ(child.attributes, 0x420u);
    EXPECT_EQ(child.reparse_tag, 0x9000001Au);
    EXPECT_EQ(child.type_error, platform::kSuccess);
    ASSERT_EQ(enumeration.next(child), platform::kSuccess);
    EXPECT_EQ(child.type_error, platform::kAccessDenied);
    EXPECT_EQ(open_handles(), (OpenHandles{1, 0, 0}));
    EXPECT_EQ(enumeration.next(child), platform::kNoMoreFiles);
}

TEST_F(SimulatedVolume, understands_every_form_of_path) {
    add_folder(u"C:\\m\\a");
    add_folder(u"\\\\server\\share\\x");
    add_folder(u"D:\\only");
    set_current_folder(u"C:\\m");
    const std::uint32_t folder = platform::kAttributeDirectory;
    struct {
        const char16_t* path;
        std::pair<Error, std::uint32_t> expected;
    } const rows[] = {
        {u"C:\\m\\a", ok(folder)},
        {u"c:/M//A/", ok(folder)},
        {u"C:\\", ok(folder)},
        {u"C:\\m\\.\\gone\\..\\a", ok(folder)},
        {u"C:\\..\\..\\m", ok(folder)},
        {u"\\\\?\\C:\\m\\a", ok(folder)},
        {u"\\\\.\\C:\\m\\a", ok(folder)},
        {u"\\??\\C:\\m\\a", ok(folder)},
        {u"//?/C:/m/a", ok(folder)},
        {u"\\\\?\\C:/m", failed(platform::kInvalidName)},
        {u"\\\\?\\C:\\m\\..\\m", failed(platform::kInvalidName)},
        {u"//SERVER/share/x", ok(folder)},
        {u"\\\\?\\UNC\\server\\share\\x", ok(folder)},
        {u"\\\\server\\other\\x", failed(platform::kBadNetworkPath)},
        {u"\\\\server", failed(platform::kBadPathName)},
        {u"a", ok(folder)},
        {u"..\\m\\a", ok(folder)},
        {u"\\m\\a", ok(folder)},
        {u"C:a", ok(folder)},
        {u"D:only", ok(folder)},
        {u"D:", ok(folder)},
        {u"", failed(platform::kPathNotFound)},
        {u"E:\\m", failed(platform::kPathNotFound)},
        {u"C:\\m\\b", failed(platform::kFileNotFound)},
        {u"C:\\m\\b\\c", failed(platform::kPathNotFound)},
        {u"C:\\m\\b?", failed(platform::kInvalidName)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::u16string(row.path)));
        EXPECT_EQ(status(row.path), row.expected);
    }
}

TEST_F(SimulatedVolume, a_file_is_no_folder) {
    add_file(u"C:\\f");
    EXPECT_EQ(status(u"C:\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\f\\"), failed(platform::kInvalidName));
    EXPECT_EQ(status(u"C:\\f\\x"), failed(platform::kPathNotFound));
}

TEST_F(SimulatedVolume, follows_links_as_windows_does) {
    add_file(u"C:\\real\\f");
    add_junction(u"C:\\j", u"C:\\real");
    add_folder_symlink(u"C:\\d\\relative", u"..\\real");
    add_file_symlink(u"C:\\l", u"C:\\j\\f");
    add_folder_symlink(u"C:\\loop", u"C:\\loop");
    add_junction(u"C:\\one", u"C:\\two");
    add_junction(u"C:\\two", u"C:\\one");
    add_junction(u"C:\\dangling");
    add_junction(u"C:\\missing", u"C:\\gone");
    EXPECT_EQ(status(u"C:\\j"), ok(platform::kAttributeDirectory));
    EXPECT_EQ(status(u"C:\\j\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\d\\relative\\f"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\l"), ok(kAttributeArchive));
    EXPECT_EQ(status(u"C:\\loop"), failed(platform::kCannotResolveName));
    EXPECT_EQ(status(u"C:\\one\\x"), failed(platform::kCannotResolveName));
    EXPECT_EQ(status(u"C:\\dangling"), failed(platform::kFileNotFound));
    EXPECT_EQ(status(u"C:\\missing"), failed(platform::kFileNotFound));
    EXPECT_EQ(platform::attributes(u"C:\\j"), 0x410u);
    EXPECT_EQ(platform::attributes(u"C:\\loop"), 0x410u);
    EXPECT_EQ(platform::attributes(u"C:\\gone"), platform::kInvalidAttributes);
    EXPECT_EQ(enumerate(u"C:\\j").first, Names{u"f"});
    platform::FileInformation information{};
    EXPECT_EQ(platform::file_information(u"C:\\l", information), platform::kSuccess);
    EXPECT_EQ(information.attributes, 0x420u);
}

TEST_F(SimulatedVolume, other_reparse_points_are_entered) {
    add_file(u"C:\\cloud\\f");
    set_type(u"C:\\cloud", 0x410, 0x9000001A);
    Status out{};
    EXPECT_EQ(platform::status_following_links(u"C:\\cloud", out), platform::kSuccess);
    EXPECT_EQ(out.attributes, 0x410u);
    EXPECT_EQ(out.reparse_tag, 0x9000001Au);
    EXPECT_EQ(enumerate(u"C:\\cloud").first, Names{u"f"});
}

TEST_F(SimulatedVolume, faults_of_a_node_show_where_they_belong) {
    add_file(u"C:\\m\\a");
    add_file(u"C:\\m\\b");
    add_file(u"C:\\m\\c");
    NodeFaults faults;
    faults.next = 31;
    faults.next_after = 2;
    faults.attributes = platform::kAccessDenied;
    faults.status_result = Status{0x410, platform::kTagMountPoint};
    set_faults(u"C:\\m", faults);
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{u"a", u"b"}, Error{31}));
    EXPECT_EQ(platform::attributes(u"C:\\m"), platform::kInvalidAttributes);
    EXPECT_EQ(status(u"C:\\m"), ok(0x410));
    faults.open = platform::kNoMoreFiles;
    set_faults(u"C:\\m", faults);
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{}, platform::kNoMoreFiles));
    faults = {};
    faults.file_information = platform::kAccessDenied;
    set_faults(u"C:\\m\\a", faults);
    platform::FileInformation information{};
    EXPECT_EQ(platform::file_information(u"C:\\m\\a", information), platform::kAccessDenied);
}

TEST_F(SimulatedVolume, a_fault_of_a_link_shows_before_that_of_its_target) {
    add_folder(u"C:\\real");
    add_junction(u"C:\\j", u"C:\\real");
    NodeFaults faults;
    faults.status = platform::kCannotAccessFile;
    set_faults(u"C:\\j", faults);
    EXPECT_EQ(status(u"C:\\j"), failed(platform::kCannotAccessFile));
    EXPECT_EQ(status(u"C:\\real"), ok(platform::kAttributeDirectory));
}

TEST_F(SimulatedVolume, removed_and_renamed_nodes_leave_an_enumeration_whole) {
    for (const char16_t* path : {u"C:\\m\\a", u"C:\\m\\b", u"C:\\m\\c"}) add_file(path);
    on_child(u"C:\\m", 1, [] {
        remove_tree(u"C:\\m\\b");
        rename(u"C:\\m\\c", u"C:\\m\\d");
        add_file(u"C:\\m\\new");
    });
    EXPECT_EQ(enumerate(u"C:\\m"), std::pair(Names{u"a", u"d"}, platform::kNoMoreFiles));
    EXPECT_EQ(list_names(u"C:\\m"), (Names{u"a", u"d", u"new"}));
    EXPECT_FALSE(exists(u"C:\\m\\b"));
    EXPECT_TRUE(exists(u"C:\\m\\D"));
}

TEST_F(SimulatedVolume, generated_folders_have_children_and_depth) {
    add_generated_folder(u"C:\\many", numbered_files(5'000'001));
    std::uint64_t count = 0;
    Enumeration enumeration;
    Child child;
    Error error = enumeration.open(u"C:\\many", child);
    EXPECT_EQ(child.name_view(), u"f00000000");
    for (; error == 0; error = enumeration.next(child)) ++count;
    EXPECT_EQ(count, 5'000'001u);
    EXPECT_EQ(child.name_view(), u"f05000000");
    EXPECT_EQ(error, platform::kNoMoreFiles);
    enumeration.close();

    add_generated_folder(u"C:\\deep", folder_chain(u"x", 2000));
    std::u16string path = u"C:\\deep";
    int depth = 0;
    while (!enumerate(path).first.empty()) {
        path += u"\\x";
        ASSERT_EQ(platform::attributes(path.c_str()), platform::kAttributeDirectory);
        ++depth;
    }
    EXPECT_EQ(depth, 2000);
}

TEST_F(SimulatedVolume, lists_drives_as_windows_does) {
    char16_t buffer[9];
    EXPECT_EQ(platform::drive_strings(buffer, 9), 0u);
    add_drive(u"C:\\", platform::kDriveFixed);
    add_drive(u"E:\\", 5);
    EXPECT_EQ(platform::drive_strings(buffer, 9), 8u);
    EXPECT_EQ(std::u16string_view(buffer, 9), std::u16string_view(u"C:\\\0E:\\\0\0", 9));
    EXPECT_EQ(platform::drive_strings(buffer, 8), 9u);
    EXPECT_EQ(platform::drive_type(u"c:\\"), platform::kDriveFixed);
    EXPECT_EQ(platform::drive_type(u"E:\\"), 5u);
    EXPECT_EQ(platform::drive_type(u"F:\\"), 1u);
    EXPECT_EQ(status(u"E:\\"), ok(platform::kAttributeDirectory));
    fail_platform_call(1, platform::kAccessDenied, kDriveStrings);
    EXPECT_EQ(platform::drive_strings(buffer, 9), 0u);
}

}  // namespace
}  // namespace system_search::simulated
