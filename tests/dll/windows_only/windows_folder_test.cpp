// Walks on a real machine: how long the folder of Windows itself takes, with and without a cache,
// and what a walk does to those who rename what lies above it. Times are told, never judged.
#include "dll/engine_host.hpp"
#include "dll/machine.hpp"

namespace {

using WindowsFolder = EngineHost;

std::string windows_folder() {
    char folder[MAX_PATH];
    return GetWindowsDirectoryA(folder, MAX_PATH) != 0 ? folder : "C:\\Windows";
}

struct TimedBuild {
    EngineStatus status;
    double seconds;
};

TEST_F(WindowsFolder, is_walked_and_then_loaded_from_its_cache) {
    ONLY_ON_WINDOWS("its folder of Windows is small, and its speed is its server's");
    const auto timed = [&](const std::string& cache, int force) {
        const ULONGLONG begin = GetTickCount64();
        const EngineStatus status = build(windows_folder(), cache, force);
        return TimedBuild{status, static_cast<double>(GetTickCount64() - begin) / 1000};
    };
    const TimedBuild first = timed("", 1);
    const TimedBuild walked = timed(path("index"), 1);
    const TimedBuild loaded = timed(path("index"), 0);
    ASSERT_EQ(walked.status.state, SS_ENGINE_READY) << error();
    EXPECT_GT(walked.status.entries, 1000u);
    EXPECT_EQ(walked.status.limited, 0u);
    EXPECT_EQ(loaded.status.state, SS_ENGINE_READY) << error();
    EXPECT_EQ(loaded.status.from_cache, 1u);
    EXPECT_EQ(loaded.status.entries, walked.status.entries);
    EXPECT_EQ(loaded.status.skipped, walked.status.skipped);
    std::printf(
        "note: %s: %u entries, %u skipped; walked in %.2f s, again and saved in %.2f s, "
        "loaded in %.2f s\n",
        windows_folder().c_str(), walked.status.entries, walked.status.skipped, first.seconds,
        walked.seconds, loaded.seconds);
}

// Windows refuses to rename a folder below which an enumeration is open; the walk may make others
// wait, but it has to survive whatever they manage, and to hold nothing when it is over.
TEST_F(WindowsFolder, folders_above_a_walk_may_be_renamed_at_any_time) {
    ONLY_ON_WINDOWS("it renames whatever is in use");
    for (int folder = 0; folder < 200; ++folder) {
        make_files("above/tree/sub/" + std::to_string(folder), 10);
    }
    int renamed = 0;
    int refused = 0;
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(ss_start(engine_, path("above/tree").c_str(), "", 1), 1);
        while (status().state == SS_ENGINE_RUNNING) {
            if (!MoveFileA(path("above").c_str(), path("moved").c_str())) {
                ++refused;
                continue;
            }
            ++renamed;
            while (!MoveFileA(path("moved").c_str(), path("above").c_str())) Sleep(1);
        }
        const EngineStatus end = finish();
        EXPECT_TRUE(end.state == SS_ENGINE_READY || end.state == SS_ENGINE_FAILED) << end.state;
        EXPECT_LE(end.entries, 2201u);
    }
    std::printf(
        "note: the folder above a walk was renamed %d times, and %d times it could not be\n",
        renamed, refused);
    ASSERT_TRUE(MoveFileA(path("above").c_str(), path("moved").c_str()))
        << "something is still held open: error " << GetLastError();
    EXPECT_EQ(build(path("moved/tree")), (EngineStatus{SS_ENGINE_READY, 2201, 0, 0, 0}));
}

}  // namespace
