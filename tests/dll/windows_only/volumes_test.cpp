// Drives that are not simply a disk: a substituted one, and a small volume in a file.
#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/machine.hpp"

namespace {

class Volumes : public EngineHost {
protected:
    // "X:" of a letter that is not in use, from the end of the alphabet.
    static std::string free_drive() {
        for (char letter = 'X'; letter > 'G'; --letter) {
            if ((GetLogicalDrives() & (DWORD{1} << (letter - 'A'))) == 0) {
                return std::string(1, letter) + ":";
            }
        }
        return "";
    }
};

TEST_F(Volumes, a_substituted_drive_shows_what_its_folder_shows) {
    ONLY_ON_WINDOWS("a drive that is defined so does not open");
    make_file("tree/sub/f");
    const std::string drive = free_drive();
    ASSERT_NE(drive, "");
    const std::string target = path("tree");
    ASSERT_TRUE(DefineDosDeviceA(0, drive.c_str(), target.c_str())) << GetLastError();
    EXPECT_EQ(build(drive + "\\"), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0})) << error();
    EXPECT_EQ(indexed(), (std::map<std::string, std::uint32_t>{{drive + "/sub", SS_KIND_FOLDER},
                                                               {drive + "/sub/f", SS_KIND_FILE}}));
    const HostQuery listing(ss_query_directory((drive + "/").c_str(), "", 0, SS_KIND_ANY, 10));
    EXPECT_EQ(listing.names(), std::vector<std::string>{"sub"});
    EXPECT_TRUE(DefineDosDeviceA(DDD_REMOVE_DEFINITION, drive.c_str(), nullptr));
    EXPECT_EQ(build(drive + "\\").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The selected folder is unavailable.");
}

bool diskpart(const std::filesystem::path& script, const std::string& lines) {
    std::ofstream(script) << lines;
    return std::system(("diskpart /s \"" + script.string() + "\" >nul 2>nul").c_str()) == 0;
}

// The root of an empty exFAT volume has neither "." nor "..".
TEST_F(Volumes, an_empty_volume_is_an_empty_folder) {
    ONLY_ON_WINDOWS("it attaches no virtual disks");
    NEEDS_ELEVATION("diskpart attaches a virtual disk");
    const std::string drive = free_drive();
    ASSERT_NE(drive, "");
    const std::string select = "select vdisk file=\"" + path("disk.vhd") + "\"\n";
    if (!diskpart(scratch_ / "make", "create vdisk file=\"" + path("disk.vhd") +
                                         "\" maximum=64 type=expandable\n" + select +
                                         "attach vdisk\ncreate partition primary\n"
                                         "format fs=exfat quick label=ss\nassign letter=" +
                                         drive.substr(0, 1) + "\n")) {
        diskpart(scratch_ / "undo", select + "detach vdisk\n");
        GTEST_SKIP() << "diskpart attaches no virtual disk on this machine";
    }
    // What the system itself puts there.
    const EngineStatus first = build(drive + "\\");
    EXPECT_EQ(first.state, SS_ENGINE_READY) << error();
    EXPECT_EQ(first.skipped, 0u);
    std::printf("note: %u entries on a fresh exFAT volume\n", first.entries);
    std::ofstream(drive + "\\f") << "x";
    EXPECT_EQ(build(drive + "\\").entries, first.entries + 1);
    EXPECT_TRUE(diskpart(scratch_ / "undo", select + "detach vdisk\n"));
}

}  // namespace
