// The index cache through the shipped DLL, on real files: what the simulated volume cannot show is
// how the system itself opens, shares, replaces and refuses them.
//
// Run as `cache_test --save SCOPE CACHE` the program saves over and over until it is ended, for the
// test that ends it. cache_test.sh prepares the folder that denies writing.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "system_search.h"

namespace {

namespace fs = std::filesystem;

constexpr char kNotSaved[] = "Index is usable, but its cache could not be saved.";

// ---- Cache files, written and read by hand ------------------------------------------------------

std::string integer(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string text(std::string_view bytes) {
    return integer(static_cast<std::uint32_t>(bytes.size())) + std::string(bytes);
}

std::string record(std::string_view path, std::uint32_t kind) {
    return text(path) + integer(kind);
}

std::string header(std::string_view scope, std::uint32_t entries, std::uint32_t skipped = 0,
                   std::uint32_t limited = 0) {
    return text("system-search-v1") + text(scope) + integer(entries) + integer(skipped) +
           integer(limited);
}

void write_file(const fs::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good()) << path;
}

// Opened as any careful reader does: whoever replaces the file meanwhile is not hindered.
bool read_file(const fs::path& path, std::string& bytes) {
    bytes.clear();
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    static char piece[1 << 16];
    DWORD got = 0;
    while (ReadFile(file, piece, sizeof piece, &got, nullptr) && got > 0) bytes.append(piece, got);
    CloseHandle(file);
    return true;
}

std::string read_file(const fs::path& path) {
    std::string bytes;
    EXPECT_TRUE(read_file(path, bytes)) << path;
    return bytes;
}

// With the device prefix, for paths that the standard library finds too long.
void remove_tree(const std::wstring& folder) {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring_view name = found.cFileName;
        if (name == L"." || name == L"..") continue;
        const std::wstring path = folder + L'\\' + found.cFileName;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            remove_tree(path);
        } else {
            DeleteFileW(path.c_str());
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(folder.c_str());
}

// ---- A folder to index, a folder for the cache, an engine ---------------------------------------

EngineStatus finish(SystemSearchEngine* engine) {
    EngineStatus status{};
    do {
        Sleep(1);
        ss_status(engine, &status);
    } while (status.state == SS_ENGINE_RUNNING);
    return status;
}

class Cache : public testing::Test {
protected:
    void SetUp() override {
        root = fs::temp_directory_path() / ("cache_test." + std::to_string(GetCurrentProcessId()));
        remove_root();  // process numbers come again
        fs::create_directories(root / "music" / "b");
        fs::create_directories(root / "cache");
        write_file(root / "music" / "a.mp3", "1");
        write_file(root / "music" / "b" / "C.mp3", "22");
        scope = (root / "music").string();
        cache = root / "cache" / "index";
        walked = scope;
        for (char& byte : walked) byte = byte == '\\' ? '/' : byte;
        engine = ss_create();
        ASSERT_NE(engine, nullptr);
    }
    void TearDown() override {
        ss_destroy(engine);
        remove_root();
    }
    void remove_root() {
        remove_tree(L"\\\\?\\" + root.wstring());
        ASSERT_FALSE(fs::exists(root));
    }
    EngineStatus build(const std::string& cache_path, int force = 0) {
        EXPECT_EQ(ss_start(engine, scope.c_str(), cache_path.c_str(), force), 1);
        return finish(engine);
    }
    EngineStatus build(int force = 0) { return build(cache.string(), force); }
    void expect(const EngineStatus& status, std::uint32_t state, std::uint32_t entries,
                std::uint32_t skipped = 0, std::uint32_t limited = 0,
                std::uint32_t from_cache = 0) {
        EXPECT_EQ(status.state, state);
        EXPECT_EQ(status.entries, entries);
        EXPECT_EQ(status.skipped, skipped);
        EXPECT_EQ(status.limited, limited);
        EXPECT_EQ(status.from_cache, from_cache);
    }
    std::vector<std::wstring> files_in(const fs::path& folder) {
        std::vector<std::wstring> names;
        for (const auto& entry : fs::directory_iterator(folder)) {
            names.push_back(entry.path().filename().wstring());
        }
        return names;
    }
    // All paths that hold `name`, and whether the query found the index incomplete.
    std::set<std::string> find(const char* name, bool* incomplete = nullptr) {
        SystemSearchQuery* const query = ss_query(engine, name, 0, SS_KIND_ANY, 1000);
        QueryStatus status{};
        do ss_query_poll(query, &status);
        while (status.state == SS_QUERY_RUNNING);
        if (incomplete != nullptr) *incomplete = status.index_incomplete != 0;
        std::set<std::string> paths;
        for (std::uint32_t i = 0; i < status.count; ++i) paths.insert(ss_query_path(query, i));
        ss_query_destroy(query);
        return paths;
    }

    fs::path root;
    fs::path cache;
    std::string scope;
    std::string walked;  // `scope` as its entries spell it
    SystemSearchEngine* engine = nullptr;
};

// ---- Saving and loading -------------------------------------------------------------------------

TEST_F(Cache, the_second_build_takes_no_walk) {
    expect(build(), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), "");
    const std::string first = read_file(cache);
    EXPECT_EQ(first, header(scope, 3) + record(walked + "/a.mp3", 1) + record(walked + "/b", 2) +
                         record(walked + "/b/C.mp3", 1));
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});

    fs::remove(root / "music" / "a.mp3");
    expect(build(), SS_ENGINE_READY, 3, 0, 0, 1);
    EXPECT_EQ(find("mp3"), (std::set<std::string>{walked + "/a.mp3", walked + "/b/C.mp3"}));
    EXPECT_EQ(read_file(cache), first);

    expect(build(/*force=*/1), SS_ENGINE_READY, 2);
    expect(build(), SS_ENGINE_READY, 2, 0, 0, 1);
}

TEST_F(Cache, a_file_written_by_hand_is_loaded) {
    write_file(cache, header(scope, 2, 77, 1) + record("Q:/nowhere/\xC3\x84.txt", 1) +
                          record("//server/share", 2));
    expect(build(), SS_ENGINE_READY, 2, 77, 1, 1);
    bool incomplete = false;
    EXPECT_EQ(find("TXT", &incomplete), std::set<std::string>{"Q:/nowhere/\xC3\x84.txt"});
    EXPECT_TRUE(incomplete);

    write_file(cache, header(scope, 0));
    expect(build(), SS_ENGINE_READY, 0, 0, 0, 1);
    find("x", &incomplete);
    EXPECT_FALSE(incomplete);
}

TEST_F(Cache, an_unusable_file_is_walked_and_replaced) {
    const std::string good = header(scope, 1) + record(walked + "/a.mp3", 1);
    std::string other_case = scope;
    other_case[0] = static_cast<char>(other_case[0] ^ 0x20);
    const std::string kUnusable[] = {
        "",
        good + "x",
        good.substr(0, good.size() - 1),
        header(other_case, 0),
        header(walked, 0),
        header(scope, 1) + record("notes/a.txt", 1),
        header(scope, 1) + record(walked + "/a.mp3", 3),
        header(scope, 1) + record(walked + "/\xFF", 1),
        header(scope, 5'000'000) + integer(3),
        header(scope, 5'000'001),
        header(scope, 0, 0, 2),
    };
    for (const std::string& bytes : kUnusable) {
        write_file(cache, bytes);
        expect(build(), SS_ENGINE_READY, 3);
        expect(build(), SS_ENGINE_READY, 3, 0, 0, 1);
    }
}

TEST_F(Cache, names_of_every_script_survive) {
    const fs::path name = L"\u5199\u771F \U0001F3B5 \u00C4\u0130.mp3";
    write_file(root / "music" / name, "");
    expect(build(), SS_ENGINE_READY, 4);
    expect(build(), SS_ENGINE_READY, 4, 0, 0, 1);
    EXPECT_EQ(find("\xF0\x9F\x8E\xB5"),
              std::set<std::string>{walked + "/\xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x8E\xB5 "
                                             "\xC3\x84\xC4\xB0.mp3"});
}

TEST_F(Cache, the_cache_path_may_be_in_any_script) {
    const fs::path path = root / L"\u5199\u771F" / L"\U0001F3B5.idx";
    const auto utf8 = path.u8string();
    const std::string narrow(utf8.begin(), utf8.end());
    expect(build(narrow), SS_ENGINE_READY, 3);
    EXPECT_TRUE(fs::exists(path));
    expect(build(narrow), SS_ENGINE_READY, 3, 0, 0, 1);
}

// Whether a file that others have open can be replaced depends on the system's version. Either way
// the file is whole and the engine says truly which one it is.
TEST_F(Cache, a_file_that_others_hold_open_is_loaded_and_replaced_or_kept) {
    expect(build(), SS_ENGINE_READY, 3);
    const std::string old = read_file(cache);
    const HANDLE held = CreateFileW(cache.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    expect(build(), SS_ENGINE_READY, 3, 0, 0, 1);
    fs::remove(root / "music" / "a.mp3");
    expect(build(/*force=*/1), SS_ENGINE_READY, 2);
    const std::string text = ss_error(engine);
    EXPECT_TRUE(text.empty() || text == kNotSaved) << text;
    EXPECT_EQ(read_file(cache) == old, !text.empty());
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});
    CloseHandle(held);
    expect(build(/*force=*/1), SS_ENGINE_READY, 2);
    EXPECT_STREQ(ss_error(engine), "");
    expect(build(), SS_ENGINE_READY, 2, 0, 0, 1);
}

// ---- Where the cache lies -----------------------------------------------------------------------

TEST_F(Cache, missing_folders_are_created) {
    const fs::path path = root / "one" / "two" / "three" / "index";
    expect(build(path.string()), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), "");
    expect(build(path.string()), SS_ENGINE_READY, 3, 0, 0, 1);

    std::string slashes = (root / "four").string() + "//five/index";
    expect(build(slashes), SS_ENGINE_READY, 3);
    EXPECT_TRUE(fs::exists(root / "four" / "five" / "index"));
}

TEST_F(Cache, a_bare_name_lies_in_the_current_folder) {
    const fs::path before = fs::current_path();
    fs::current_path(root / "cache");
    expect(build("bare"), SS_ENGINE_READY, 3);
    fs::current_path(before);
    EXPECT_STREQ(ss_error(engine), "");
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"bare"});
}

TEST_F(Cache, a_folder_in_its_place_is_reported) {
    fs::create_directories(cache / "inside");
    expect(build(), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});
    EXPECT_TRUE(fs::exists(cache / "inside"));
    EXPECT_EQ(find("mp3").size(), 2u);
}

TEST_F(Cache, a_file_in_its_folders_place_is_reported) {
    write_file(cache, "a file");
    expect(build((cache / "below" / "index").string()), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    EXPECT_EQ(read_file(cache), "a file");
}

TEST_F(Cache, a_missing_drive_is_reported) {
    expect(build("Q:\\index"), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    expect(build("Q:\\deep\\down\\index"), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
}

TEST_F(Cache, a_read_only_folder_is_reported) {
    const char* const denied = std::getenv("SS_READ_ONLY_FOLDER");
    ASSERT_NE(denied, nullptr) << "run through cache_test.sh";
    const fs::path folder = denied;
    scope = (folder / "scope").string();
    const std::string old = header(scope, 0, 5);
    ASSERT_EQ(read_file(folder / "index"), old);
    const auto before = files_in(folder);
    expect(build((folder / "index").string(), /*force=*/1), SS_ENGINE_READY, 0);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    EXPECT_EQ(read_file(folder / "index"), old);
    EXPECT_EQ(files_in(folder), before);
    // A folder that would have to be created there.
    expect(build((folder / "below" / "index").string()), SS_ENGINE_READY, 0);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    // It may still be read.
    expect(build((folder / "index").string(), /*force=*/0), SS_ENGINE_READY, 0, 5, 0, 1);
    EXPECT_STREQ(ss_error(engine), "");
}

TEST_F(Cache, a_locked_file_is_neither_loaded_nor_replaced) {
    expect(build(), SS_ENGINE_READY, 3);
    const std::string old = read_file(cache);
    const HANDLE held =
        CreateFileW(cache.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    fs::remove(root / "music" / "a.mp3");
    expect(build(), SS_ENGINE_READY, 2);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    CloseHandle(held);
    EXPECT_EQ(read_file(cache), old);
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});
}

TEST_F(Cache, a_path_that_is_not_utf8_fails_the_run_but_not_the_index) {
    for (const char* const name : {"\\\xFF", "\\\xED\xA0\x80", "\\\xC0\x80"}) {
        expect(build((root / "cache").string() + name), SS_ENGINE_FAILED, 3);
        EXPECT_STRNE(ss_error(engine), "");
        EXPECT_STRNE(ss_error(engine), kNotSaved);
        EXPECT_EQ(find("mp3").size(), 2u);
    }
    EXPECT_TRUE(files_in(root / "cache").empty());
}

// ---- Many at once -------------------------------------------------------------------------------

TEST_F(Cache, two_engines_that_save_to_one_path_never_mix) {
    // The same scope text over a tree that changes would race; two scopes cannot be mistaken.
    SystemSearchEngine* const other = ss_create();
    const std::string other_scope = (root / "music" / "b").string();
    expect(build(), SS_ENGINE_READY, 3);
    const std::string mine = read_file(cache);
    const std::string theirs = header(other_scope, 1) + record(walked + "/b/C.mp3", 1);
    int times_theirs = 0;
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(ss_start(other, other_scope.c_str(), cache.string().c_str(), 1), 1);
        ASSERT_EQ(ss_start(engine, scope.c_str(), cache.string().c_str(), 1), 1);
        EXPECT_EQ(finish(engine).state, std::uint32_t{SS_ENGINE_READY});
        EXPECT_EQ(finish(other).state, std::uint32_t{SS_ENGINE_READY});
        const std::string bytes = read_file(cache);
        ASSERT_TRUE(bytes == mine || bytes == theirs) << round;
        times_theirs += bytes == theirs;
    }
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});
    RecordProperty("replaced_by_the_other", times_theirs);
    ss_destroy(other);
}

TEST_F(Cache, a_reader_sees_whole_files_only_during_a_hundred_saves) {
    for (int i = 0; i < 100; ++i) {
        write_file(root / "music" / (std::string(150, 'x') + std::to_string(i)), "");
    }
    expect(build(), SS_ENGINE_READY, 103);
    const std::string with = read_file(cache);
    fs::remove(root / "music" / "b" / "C.mp3");
    expect(build(/*force=*/1), SS_ENGINE_READY, 102);
    const std::string without = read_file(cache);

    std::atomic<bool> done{false};
    int reads = 0;
    int torn = 0;
    int missing = 0;
    std::thread reader([&] {
        std::string bytes;
        do {
            ++reads;
            if (!read_file(cache, bytes)) {
                ++missing;
            } else if (bytes != with && bytes != without) {
                ++torn;
            }
            Sleep(1);
        } while (!done);
    });
    // A save that meets the reader may fail, and then says so; a hundred have to succeed.
    const std::string* whole[] = {&without, &with};
    std::size_t stored = 0;
    std::size_t now = 0;
    int saved = 0;
    for (int round = 0; saved < 100 && round < 3000; ++round) {
        now = 1 - now;
        if (now == 1) {
            write_file(root / "music" / "b" / "C.mp3", "");
        } else {
            fs::remove(root / "music" / "b" / "C.mp3");
        }
        ASSERT_EQ(build(/*force=*/1).state, std::uint32_t{SS_ENGINE_READY});
        const std::string text = ss_error(engine);
        ASSERT_TRUE(text.empty() || text == kNotSaved) << text;
        saved += text.empty();
        if (text.empty()) stored = now;
        ASSERT_EQ(read_file(cache), *whole[stored]);
    }
    done = true;
    reader.join();
    EXPECT_EQ(saved, 100);
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(missing, 0);
    EXPECT_GT(reads, 100);
    EXPECT_EQ(files_in(root / "cache"), std::vector<std::wstring>{L"index"});
}

// ---- A process that is ended during saves -------------------------------------------------------

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
    const int rounds = chosen != nullptr ? std::atoi(chosen) : 200;

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

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--save") save_until_ended(argv[2], argv[3]);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
