// Files of the simulated volume: read, written, replaced and refused as Windows does it.
#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

using platform::Error;
using platform::File;
using Names = std::vector<std::u16string>;

using SimulatedFiles = VolumeTest;

std::string read_all(File& file) {
    std::string all;
    char buffer[3];
    std::size_t got = 0;
    while (file.read(buffer, sizeof buffer, got) == 0 && got > 0) all.append(buffer, got);
    return all;
}

TEST_F(SimulatedFiles, files_are_written_and_read_in_pieces) {
    add_folder(u"C:\\d");
    File file;
    ASSERT_EQ(file.create(u"C:\\d\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("hello", 5), platform::kSuccess);
    EXPECT_EQ(file.write(" you", 4), platform::kSuccess);
    EXPECT_EQ(open_handles(), (OpenHandles{0, 1, 0}));
    EXPECT_EQ(file.close(), platform::kSuccess);
    EXPECT_EQ(read_file(u"C:\\d\\f"), "hello you");
    set_largest_read(2);
    ASSERT_EQ(file.open_for_reading(u"C:\\d\\f"), platform::kSuccess);
    char buffer[8];
    std::size_t got = 0;
    EXPECT_EQ(file.read(buffer, 8, got), platform::kSuccess);
    EXPECT_EQ(std::string(buffer, got), "he");
    EXPECT_EQ(read_all(file), "llo you");
}

TEST_F(SimulatedFiles, a_file_of_5_gib_takes_no_memory) {
    add_file(u"C:\\f", 5'368'709'120, 42);
    platform::FileInformation information{};
    ASSERT_EQ(platform::file_information(u"C:\\f", information), platform::kSuccess);
    EXPECT_EQ(information.size, 5'368'709'120u);
    EXPECT_EQ(information.last_write, 42u);
    File file;
    ASSERT_EQ(file.open_for_reading(u"C:\\f"), platform::kSuccess);
    char buffer[4] = "abc";
    std::size_t got = 0;
    ASSERT_EQ(file.read(buffer, 4, got), platform::kSuccess);
    EXPECT_EQ(std::string(buffer, got), std::string(4, '\0'));
}

TEST_F(SimulatedFiles, an_open_file_keeps_its_contents_when_it_is_replaced) {
    write_file(u"C:\\f", "old");
    write_file(u"C:\\t", "new");
    File file;
    ASSERT_EQ(file.open_for_reading(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(platform::replace_file(u"C:\\t", u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(read_all(file), "old");
    EXPECT_EQ(read_file(u"C:\\f"), "new");
    EXPECT_EQ(list_names(u"C:\\"), Names{u"f"});
}

TEST_F(SimulatedFiles, file_operations_are_refused_as_windows_refuses_them) {
    write_file(u"C:\\d\\f", "kept");
    write_file(u"C:\\d\\t", "new");
    set_read_only(u"C:\\d\\f");
    add_folder(u"C:\\d\\folder");
    File file;
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\d\\f"), platform::kAccessDenied);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\d\\folder"), platform::kAccessDenied);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\none", u"C:\\d\\t"), platform::kFileNotFound);
    EXPECT_EQ(platform::replace_file(u"C:\\d\\t", u"C:\\none\\t"), platform::kPathNotFound);
    EXPECT_EQ(file.create(u"C:\\d\\f"), platform::kFileExists);
    EXPECT_EQ(file.create(u"C:\\d\\t"), platform::kFileExists);
    EXPECT_EQ(file.create(u"C:\\d\\folder"), platform::kFileExists);
    EXPECT_EQ(file.create(u"C:\\none\\f"), platform::kPathNotFound);
    EXPECT_EQ(file.create(u"C:\\d\\a*"), platform::kInvalidName);
    EXPECT_EQ(file.create(u"C:\\d\\t\\f"), platform::kPathNotFound);
    EXPECT_EQ(file.open_for_reading(u"C:\\d\\none"), platform::kFileNotFound);
    EXPECT_EQ(file.open_for_reading(u"C:\\d\\folder"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\f"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\none"), platform::kFileNotFound);
    EXPECT_EQ(read_file(u"C:\\d\\f"), "kept");
    NodeFaults sealed;
    sealed.change_children = platform::kAccessDenied;
    set_faults(u"C:\\d", sealed);
    EXPECT_EQ(file.create(u"C:\\d\\x"), platform::kAccessDenied);
    EXPECT_EQ(platform::remove_file(u"C:\\d\\t"), platform::kAccessDenied);
    EXPECT_EQ(platform::create_folder(u"C:\\d\\x"), platform::kAccessDenied);
    EXPECT_EQ(list_names(u"C:\\d"), (Names{u"f", u"t", u"folder"}));
}

TEST_F(SimulatedFiles, creating_folders_fails_as_on_windows) {
    add_file(u"C:\\f");
    EXPECT_EQ(platform::create_folder(u"C:\\d"), platform::kSuccess);
    EXPECT_EQ(platform::create_folder(u"C:\\d\\"), platform::kAlreadyExists);
    EXPECT_EQ(platform::create_folder(u"C:\\f"), platform::kAlreadyExists);
    EXPECT_EQ(platform::create_folder(u"C:\\f\\x"), platform::kPathNotFound);
    EXPECT_EQ(platform::create_folder(u"C:\\none\\x"), platform::kPathNotFound);
    EXPECT_EQ(platform::create_folder(u"C:\\a|b"), platform::kInvalidName);
    EXPECT_EQ(platform::create_folder(u"C:\\"), platform::kAccessDenied);
    EXPECT_EQ(platform::create_folder(u"E:\\"), platform::kPathNotFound);
    EXPECT_EQ(platform::attributes(u"C:\\d"), platform::kAttributeDirectory);
}

TEST_F(SimulatedFiles, a_full_disk_takes_what_fits) {
    add_folder(u"C:\\");
    set_disk_room(3);
    File file;
    ASSERT_EQ(file.create(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("ab", 2), platform::kSuccess);
    EXPECT_EQ(file.write("cd", 2), platform::kDiskFull);
    EXPECT_EQ(read_file(u"C:\\f"), "abc");
}

}  // namespace
}  // namespace system_search::simulated
