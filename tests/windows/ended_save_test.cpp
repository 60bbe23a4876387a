// A process that is ended while it saves its cache leaves the old file or the new one, whole.
//
// Run as `ended_save_test --save SCOPE CACHE` the program saves over and over until it is ended.
// SS_KILL_ROUNDS says how many times; `make soak` asks for many more.
#include <cstdlib>
#include <random>

#include "windows/cache_support.hpp"

namespace cache_support {
namespace {

[[noreturn]] void save_until_ended(const char* scope, const char* cache) {
    SystemSearchEngine* const engine = ss_create();
    for (;;) {
        ss_start(engine, scope, cache, 1);
        finish(engine);
    }
}

// On a busy machine Wine now and then fails to start a process (an internal error): that is tried
// again, because no save was under way yet.
PROCESS_INFORMATION start_saver(const std::string& scope, const std::string& cache) {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const std::string line =
        std::string("\"") + program + "\" --save \"" + scope + "\" \"" + cache + "\"";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    for (int attempt = 1; attempt <= 5; ++attempt) {
        std::string changeable = line;
        if (CreateProcessA(program, changeable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                           &startup, &process)) {
            return process;
        }
        Sleep(200);
    }
    ADD_FAILURE() << "the saver cannot be started: error " << GetLastError();
    return process;
}

bool has_temporary_file(const fs::path& folder) {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder / "*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    FindClose(search);
    return true;
}

TEST_F(Cache, a_process_ended_at_any_moment_leaves_a_whole_cache) {
    const char* const chosen = std::getenv("SS_KILL_ROUNDS");
    const int rounds = chosen != nullptr ? std::atoi(chosen) : 60;

    // Long paths, so that the save takes a good part of each run. They need the device prefix.
    const std::wstring long_name(200, L'x');
    const fs::path top = L"\\\\?\\" + (root / "music").wstring();
    const fs::path deep = top / long_name / long_name / long_name / long_name;
    fs::create_directories(deep);
    for (int i = 0; i < 600; ++i) {
        std::ofstream(deep / (long_name + std::to_wstring(i)), std::ios::binary);
    }
    const auto narrow_top = top.u8string();
    scope.assign(narrow_top.begin(), narrow_top.end());
    const fs::path markers[] = {top / "marker_a", top / "marker_b"};
    std::ofstream(markers[0], std::ios::binary);

    expect(build(/*force=*/1), SS_ENGINE_READY, 608);
    std::string wholes[2] = {read_file(cache), {}};
    ASSERT_GT(wholes[0].size(), 600'000u);
    fs::rename(markers[0], markers[1]);
    expect(build(/*force=*/1), SS_ENGINE_READY, 608);
    wholes[1] = read_file(cache);
    ASSERT_NE(wholes[0], wholes[1]);

    std::mt19937 random(20240229);
    int now = 1;  // which marker is there
    int kept_old = 0;
    int in_the_middle = 0;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(read_file(cache) == wholes[now]);
        fs::rename(markers[now], markers[1 - now]);
        now = 1 - now;

        // Half of them are ended within their first save or right after it, the others at any time
        // from then on.
        const PROCESS_INFORMATION process = start_saver(scope, cache.string());
        ASSERT_NE(process.hProcess, nullptr);
        const ULONGLONG give_up = GetTickCount64() + 60'000;
        while (!has_temporary_file(root / "cache") && GetTickCount64() < give_up) {
        }
        EXPECT_LT(GetTickCount64(), give_up) << "the saver saves nothing";
        if (round % 2 == 0) {
            const int spins = static_cast<int>(random() % 40'000);
            for (volatile int spin = 0; spin < spins;) spin = spin + 1;
        } else {
            Sleep(random() % 100);
        }
        TerminateProcess(process.hProcess, 9);
        WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);

        const std::string bytes = read_file(cache);
        ASSERT_TRUE(bytes == wholes[0] || bytes == wholes[1]) << round;
        kept_old += bytes != wholes[now];
        const auto names = files_in(root / "cache");
        in_the_middle += names.size() > 1;
        for (const std::wstring& name : names) {
            if (name != L"index") fs::remove(root / "cache" / name);
        }
        expect(build(/*force=*/0), SS_ENGINE_READY, 608, 0, 0, 1);
        write_file(cache, wholes[now]);
    }
    std::printf("%d rounds: %d ended within a save, %d with the old cache\n", rounds, in_the_middle,
                kept_old);
    EXPECT_GT(in_the_middle, rounds / 20);
    EXPECT_GT(kept_old, 0);
    EXPECT_LT(kept_old, rounds);
}

}  // namespace
}  // namespace cache_support

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--save") {
        cache_support::save_until_ended(argv[2], argv[3]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
