// The root of an empty volume is an empty folder, although the system says that it finds no file.
#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

class EmptyVolumeTest : public EngineTest {};

TEST_F(EmptyVolumeTest, an_empty_drive_share_or_volume_ends_ready_with_nothing_skipped) {
    for (const char16_t* root :
         {u"C:\\", u"\\\\server\\share", u"\\\\?\\Volume{0-1}\\", u"\\\\?\\UNC\\server\\share"}) {
        add_folder(root);
    }
    for (const char* scope :
         {"C:\\", "C:/", "\\\\server\\share", "\\\\server\\share\\", "\\\\?\\Volume{0-1}\\",
          "\\\\?\\UNC\\server\\share\\", "\\\\?\\C:\\"}) {
        EXPECT_EQ(build(scope), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0})) << scope << error();
    }
}

TEST_F(EmptyVolumeTest, an_empty_drive_among_others_is_passed_over) {
    add_drive(u"D:\\", platform::kDriveFixed);
    add_drive(u"E:\\", platform::kDriveRemovable);
    add_file(u"E:\\song.mp3");
    EXPECT_EQ(build(""), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
}

// Only a root: any other folder without "." is one that has gone.
TEST_F(EmptyVolumeTest, a_folder_that_is_not_found_when_it_is_opened_is_skipped) {
    add_folder(u"C:\\music\\gone");
    fail_node(u"C:\\music\\gone", &NodeFaults::open, platform::kFileNotFound);
    EXPECT_EQ(build("C:\\"), (EngineStatus{SS_ENGINE_READY, 2, 1, 0, 0}));
    EXPECT_EQ(build("C:\\music\\gone"), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
    fail_node(u"C:\\", &NodeFaults::open, platform::kAccessDenied);
    EXPECT_EQ(build("C:\\"), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
}

}  // namespace
}  // namespace system_search
