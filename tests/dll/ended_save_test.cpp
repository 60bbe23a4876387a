// A process that is ended while it saves its cache leaves the old file or the new one, whole.
//
// Run as `ended_save_test --save SCOPE CACHE STEP` the program ends itself before that step of a
// save, counted from 1, or after a save of fewer steps as usual; with STEP 0 it saves over and over
// until it is ended. SS_KILL_ROUNDS says how many times; `make soak` asks for many more.
#include <cstdlib>
#include <random>

#include "dll/cache_support.hpp"
#include "dll/import_table.hpp"

namespace cache_support {
namespace {

// ---- The process that saves ---------------------------------------------------------------------

constexpr DWORD kEnded = 9;

int steps = 0;
int last_step = 0;
HANDLE saved_to = INVALID_HANDLE_VALUE;

void take_step() {
    if (++steps == last_step) TerminateProcess(GetCurrentProcess(), kEnded);
}

HANDLE WINAPI create_step(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* who,
                          DWORD disposition, DWORD flags, HANDLE like) {
    const bool is_save = (access & GENERIC_WRITE) != 0;
    if (is_save) take_step();
    HANDLE const file = CreateFileW(path, access, share, who, disposition, flags, like);
    if (is_save) saved_to = file;
    return file;
}
BOOL WINAPI write_step(HANDLE file, const void* from, DWORD bytes, DWORD* done, OVERLAPPED* at) {
    take_step();
    return WriteFile(file, from, bytes, done, at);
}
BOOL WINAPI flush_step(HANDLE file) {
    take_step();
    return FlushFileBuffers(file);
}
BOOL WINAPI close_step(HANDLE handle) {
    if (handle == saved_to) {
        take_step();
        saved_to = INVALID_HANDLE_VALUE;
    }
    return CloseHandle(handle);
}
BOOL WINAPI move_step(const wchar_t* from, const wchar_t* to, DWORD flags) {
    take_step();
    const BOOL is_moved = MoveFileExW(from, to, flags);
    take_step();
    return is_moved;
}

int save_until_ended(const char* scope, const char* cache, int step) {
    last_step = step;
    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch create(library, "CreateFileW", &create_step);
    const ImportPatch write(library, "WriteFile", &write_step);
    const ImportPatch flush(library, "FlushFileBuffers", &flush_step);
    const ImportPatch close(library, "CloseHandle", &close_step);
    const ImportPatch move(library, "MoveFileExW", &move_step);
    SystemSearchEngine* const engine = ss_create();
    do {
        ss_start(engine, scope, cache, 1);
        finish(engine);
    } while (step == 0);
    ss_destroy(engine);
    return 0;
}

// ---- The test that ends it ----------------------------------------------------------------------

bool has_temporary_file(const fs::path& folder) {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder / "*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    FindClose(search);
    return true;
}

class EndedSave : public Cache {
protected:
    void SetUp() override {
        Cache::SetUp();
        // Long paths, so that a save has many steps and takes a good part of a build. They need the
        // device prefix.
        const std::wstring long_name(200, L'x');
        const fs::path top = L"\\\\?\\" + (root / "music").wstring();
        const fs::path deep = top / long_name / long_name / long_name / long_name;
        fs::create_directories(deep);
        for (int i = 0; i < 600; ++i) {
            std::ofstream(deep / (long_name + std::to_wstring(i)), std::ios::binary);
        }
        const auto narrow_top = top.u8string();
        scope.assign(narrow_top.begin(), narrow_top.end());
        markers_[0] = top / "marker_a";
        markers_[1] = top / "marker_b";
        std::ofstream(markers_[0], std::ios::binary);

        for (std::string& whole : wholes_) {
            expect(build(/*force=*/1), SS_ENGINE_READY, 608);
            whole = read_file(cache);
            ASSERT_GT(whole.size(), 600'000u);
            change_tree();
        }
        ASSERT_NE(wholes_[0], wholes_[1]);
        write_file(cache, wholes_[now_]);
    }

    void change_tree() {
        fs::rename(markers_[now_], markers_[1 - now_]);
        now_ = 1 - now_;
    }

    PROCESS_INFORMATION start_saver(int step) {
        char program[MAX_PATH];
        GetModuleFileNameA(nullptr, program, MAX_PATH);
        std::string line = std::string("\"") + program + "\" --save \"" + scope + "\" \"" +
                           cache.string() + "\" " + std::to_string(step);
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &process))
            << "error " << GetLastError();
        return process;
    }
    static DWORD wait_for(const PROCESS_INFORMATION& process) {
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return code;
    }

    // What an ended save left, and then makes good: the cache is that of the tree as it is.
    struct Left {
        bool is_old = false;
        bool has_temporary_file = false;
    };
    Left look_and_restore() {
        Left left;
        const std::string bytes = read_file(cache);
        EXPECT_TRUE(bytes == wholes_[0] || bytes == wholes_[1]);
        left.is_old = bytes == wholes_[1 - now_];
        for (const std::wstring& name : files_in(root / "cache")) {
            if (name == L"index") continue;
            left.has_temporary_file = true;
            fs::remove(root / "cache" / name);
        }
        expect(build(/*force=*/0), SS_ENGINE_READY, 608, 0, 0, 1);
        write_file(cache, wholes_[now_]);
        return left;
    }

    fs::path markers_[2];
    int now_ = 0;  // which of them is there
    std::string wholes_[2];
};

TEST_F(EndedSave, a_process_ended_before_any_step_leaves_a_whole_cache) {
    int old = 0;
    int beside = 0;
    int step = 1;
    for (;; ++step) {
        SCOPED_TRACE(step);
        change_tree();
        const PROCESS_INFORMATION process = start_saver(step);
        ASSERT_NE(process.hProcess, nullptr);
        const DWORD code = wait_for(process);
        const Left left = look_and_restore();
        if (code == 0) {
            EXPECT_FALSE(left.is_old);
            EXPECT_FALSE(left.has_temporary_file);
            break;
        }
        ASSERT_EQ(code, kEnded);
        old += left.is_old;
        beside += left.has_temporary_file;
    }
    const int ended = step - 1;
    EXPECT_GE(ended, 6) << "not every step was one of those that count";
    EXPECT_EQ(old, ended - 1) << "only after the last of them there is the new one";
    EXPECT_EQ(beside, ended - 2) << "neither before the first nor after the last";
}

TEST_F(EndedSave, a_process_ended_at_any_moment_leaves_a_whole_cache) {
    const char* const chosen = std::getenv("SS_KILL_ROUNDS");
    const int rounds = chosen != nullptr ? std::atoi(chosen) : 20;
    std::mt19937 random(20240229);
    int old = 0;
    int beside = 0;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        change_tree();
        // Half of them are ended within their first save or right after it, the others at any time
        // from then on.
        const PROCESS_INFORMATION process = start_saver(0);
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
        TerminateProcess(process.hProcess, kEnded);
        wait_for(process);
        const Left left = look_and_restore();
        old += left.is_old;
        beside += left.has_temporary_file;
    }
    std::printf("%d rounds: %d ended within a save, %d with the old cache\n", rounds, beside, old);
}

}  // namespace
}  // namespace cache_support

int main(int argc, char** argv) {
    if (argc == 5 && std::string_view(argv[1]) == "--save") {
        return cache_support::save_until_ended(argv[2], argv[3], std::atoi(argv[4]));
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
