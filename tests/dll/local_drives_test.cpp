// An empty scope on a prefix whose drives local_drives_test.sh made: one of each type, a file in
// each.
#include "dll/engine_host.hpp"
#include "dll/machine.hpp"

namespace {

class LocalDrivesTest : public EngineHost {
protected:
    void SetUp() override {
        NEEDS_PREPARED("SS_DRIVES_PREPARED");
        EngineHost::SetUp();
    }
};

TEST_F(LocalDrivesTest, fixed_and_removable_drives_are_walked_and_no_others) {
    const std::map<std::wstring, UINT> types = {
        {L"C:\\", DRIVE_FIXED},  {L"E:\\", DRIVE_REMOVABLE}, {L"F:\\", DRIVE_FIXED},
        {L"N:\\", DRIVE_REMOTE}, {L"O:\\", DRIVE_CDROM},     {L"R:\\", DRIVE_RAMDISK},
    };
    wchar_t list[512];
    ASSERT_GT(GetLogicalDriveStringsW(512, list), 0u);
    std::map<std::wstring, UINT> shown;
    for (const wchar_t* root = list; *root != 0; root += wcslen(root) + 1) {
        shown[root] = GetDriveTypeW(root);
    }
    ASSERT_EQ(shown, types) << "the prefix does not show the drives that this test is about";

    const EngineStatus end = build("");
    EXPECT_EQ(end.state, SS_ENGINE_READY) << error();
    SystemSearchQuery* const query = ss_query(engine_, "on this drive.txt", 0, SS_KIND_FILE, 100);
    QueryStatus now{};
    for (ss_query_poll(query, &now); now.state == SS_QUERY_RUNNING; ss_query_poll(query, &now)) {
        Sleep(0);
    }
    std::vector<std::string> found;
    for (std::uint32_t i = 0; i < now.count; ++i) found.emplace_back(ss_query_path(query, i));
    ss_query_destroy(query);
    EXPECT_EQ(found, (std::vector<std::string>{"C:/on this drive.txt", "E:/on this drive.txt",
                                               "F:/on this drive.txt"}));
}

TEST_F(LocalDrivesTest, drive_root_is_a_scope_like_any_other) {
    EXPECT_EQ(build("E:\\"), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(build("n:/"), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(indexed().begin()->first, "n:/on this drive.txt");
    EXPECT_EQ(build("E:").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "Choose an absolute folder path.");
    EXPECT_EQ(build("Y:\\").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The selected folder is unavailable.");
}

}  // namespace
