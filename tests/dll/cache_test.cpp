// The index cache through the shipped DLL, on real files: what the simulated volume cannot show is
// how the system itself opens, shares, replaces and refuses them.
//
// cache_test.sh prepares the folder that denies writing.
#include "dll/cache_support.hpp"
#include "dll/machine.hpp"

#include <atomic>
#include <cstdlib>
#include <iterator>
#include <thread>

namespace cache_support {
namespace {

constexpr char kNotSaved[] = "Index is usable, but its cache could not be saved.";

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

// What "\\?\C:" names is the drive, and not a folder.
TEST_F(Cache, a_device_prefix_leads_to_the_same_folders) {
    const std::string device = "\\\\?\\" + root.root_name().string();
    const std::string top = root.filename().string();
    const std::string rest = root.string().substr(root.root_name().string().size());
    for (const std::string& path :
         {device + rest + "\\cache\\index", device + rest + "\\new\\folder\\index",
          device + "\\" + top + ".new\\index", device + "\\" + top + ".idx"}) {
        expect(build(path), SS_ENGINE_READY, 3);
        EXPECT_STREQ(ss_error(engine), "") << path;
        expect(build(path), SS_ENGINE_READY, 3, 0, 0, 1);
        DeleteFileW(fs::path(path).c_str());
    }
    RemoveDirectoryW(fs::path(device + "\\" + top + ".new").c_str());
    expect(build("\\\\?\\Q:\\index"), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
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

// The temporary file's name is the longer one.
TEST_F(Cache, a_name_that_leaves_no_room_for_the_temporary_one_is_loaded_but_never_saved) {
    const fs::path fits = root / "cache" / std::string(200, 'n');
    expect(build(fits.string()), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), "");
    expect(build(fits.string()), SS_ENGINE_READY, 3, 0, 0, 1);

    const fs::path too_long = root / "cache" / std::string(240, 'n');
    write_file(L"\\\\?\\" + too_long.wstring(), header(scope, 0, 5));
    expect(build(too_long.string()), SS_ENGINE_READY, 0, 5, 0, 1);
    expect(build(too_long.string(), /*force=*/1), SS_ENGINE_READY, 3);
    EXPECT_STREQ(ss_error(engine), kNotSaved);
    expect(build(too_long.string()), SS_ENGINE_READY, 0, 5, 0, 1);
}

TEST_F(Cache, a_read_only_folder_is_reported) {
    NEEDS_PREPARED("SS_READ_ONLY_FOLDER");
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
        EXPECT_STREQ(ss_error(engine), "The text is not valid UTF-8.");
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

}  // namespace
}  // namespace cache_support
