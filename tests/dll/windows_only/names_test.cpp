// Names and paths that Windows and its file systems take, and Wine takes otherwise or not at all.
#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/machine.hpp"

namespace {

class Names : public EngineHost {
protected:
    void TearDown() override {
        if (!scratch_.empty()) remove_tree(raw(L""));
        EngineHost::TearDown();
    }

    // In the scratch folder, in the form that takes every name and length as it is.
    std::wstring raw(const std::wstring& name) const {
        return L"\\\\?\\" + scratch_.wstring() + (name.empty() ? L"" : L"\\" + name);
    }
    void make_raw_folder(const std::wstring& name) const {
        ASSERT_TRUE(CreateDirectoryW(raw(name).c_str(), nullptr)) << GetLastError();
    }
    void make_raw_file(const std::wstring& name, DWORD bytes = 1) const {
        const HANDLE file = CreateFileW(raw(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                        FILE_FLAG_POSIX_SEMANTICS, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
        const std::string content(bytes, 'x');
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, content.data(), bytes, &written, nullptr));
        CloseHandle(file);
    }
    static void remove_tree(const std::wstring& folder) {
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
        if (search == INVALID_HANDLE_VALUE) return;
        do {
            const std::wstring_view name = found.cFileName;
            if (name == L"." || name == L"..") continue;
            const std::wstring path = folder + L'\\' + found.cFileName;
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
                remove_tree(path);
                RemoveDirectoryW(path.c_str());
            } else {
                DeleteFileW(path.c_str());
            }
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
};

// This program's manifest does not ask for long paths, and most machines do not allow them.
TEST_F(Names, a_deep_tree_is_walked_to_its_end_without_a_manifest) {
    ONLY_ON_WINDOWS("it takes long paths from everyone");
    constexpr std::uint32_t kLevels = 60;
    make_raw_folder(L"tree");
    std::wstring folder = L"tree";
    for (std::uint32_t level = 0; level < kLevels; ++level) {
        folder += L'\\' + std::wstring(50, L'd');
        make_raw_folder(folder);
        if (HasFatalFailure()) return;
    }
    make_raw_file(folder + L"\\bottom.txt", 7);
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, kLevels + 1, 0, 0, 0}));
    const HostQuery found(ss_query(engine_, "bottom.txt", 0, SS_KIND_FILE, 10));
    ASSERT_EQ(found.status().count, 1u);
    EXPECT_EQ(found.metadata(0).size, 7u);
    const HostQuery listing(ss_query_directory(
        found.paths()[0].substr(0, found.paths()[0].rfind('/')).c_str(), "", 0, SS_KIND_ANY, 10));
    EXPECT_EQ(listing.names(), std::vector<std::string>{"bottom.txt"});

    const std::string cache = path("cache/" + std::string(200, 'c') + "/" + std::string(90, 'i'));
    EXPECT_EQ(build(path("tree"), cache).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(build(path("tree"), cache).from_cache, 1u);
}

TEST_F(Names, names_that_only_the_device_prefix_can_name_are_themselves) {
    ONLY_ON_WINDOWS("literal_path_test shows it there");
    make_raw_folder(L"tree");
    make_raw_folder(L"tree\\twin");
    make_raw_file(L"tree\\twin\\plain");
    make_raw_folder(L"tree\\twin.");
    make_raw_file(L"tree\\twin.\\dotted", 2);
    make_raw_folder(L"tree\\blank ");
    make_raw_file(L"tree\\blank \\inside");
    make_raw_folder(L"tree\\aux");
    make_raw_file(L"tree\\aux\\inside");
    make_raw_file(L"tree\\nul", 3);
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 9, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"aux", SS_KIND_FOLDER},
                                           {"aux/inside", SS_KIND_FILE},
                                           {"blank ", SS_KIND_FOLDER},
                                           {"blank /inside", SS_KIND_FILE},
                                           {"nul", SS_KIND_FILE},
                                           {"twin", SS_KIND_FOLDER},
                                           {"twin/plain", SS_KIND_FILE},
                                           {"twin.", SS_KIND_FOLDER},
                                           {"twin./dotted", SS_KIND_FILE}}));
    const HostQuery device(ss_query(engine_, "nul", SS_MATCH_CASE, SS_KIND_ANY, 10));
    ASSERT_EQ(device.status().count, 1u);
    EXPECT_EQ(device.metadata(0).size, 3u);
    const HostQuery dotted(ss_query(engine_, "dotted", 0, SS_KIND_ANY, 10));
    ASSERT_EQ(dotted.status().count, 1u);
    EXPECT_EQ(dotted.metadata(0).size, 2u);
}

TEST_F(Names, a_name_with_an_unpaired_surrogate_ends_the_build_and_says_where_it_is) {
    ONLY_ON_WINDOWS("its file names are the Unix side's");
    make_raw_folder(L"tree");
    make_raw_folder(L"tree\\sub");
    make_raw_file(L"tree\\sub\\bad \xD800 name");
    EXPECT_EQ(build(path("tree")).state, SS_ENGINE_FAILED);
    EXPECT_NE(error().find("valid UTF-16"), std::string::npos) << error();
    EXPECT_NE(with_slashes(error()).find(with_slashes(path("tree"))), std::string::npos) << error();
    const HostQuery listing(ss_query_directory(path("tree/sub").c_str(), "", 0, SS_KIND_ANY, 10));
    EXPECT_EQ(listing.status().state, SS_QUERY_FAILED);
}

TEST_F(Names, in_a_case_sensitive_folder_each_name_is_its_own_file) {
    ONLY_ON_WINDOWS("its folders are always case-sensitive below");
    make_folder("tree");
    const std::string command =
        "fsutil file setCaseSensitiveInfo \"" + path("tree") + "\" enable >nul 2>nul";
    if (std::system(command.c_str()) != 0) {
        GTEST_SKIP() << "fsutil makes no case-sensitive folder here";
    }
    make_raw_file(L"tree\\Name", 4);
    make_raw_file(L"tree\\name", 5);
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    const HostQuery upper(ss_query(engine_, "Name", SS_MATCH_CASE, SS_KIND_ANY, 10));
    const HostQuery lower(ss_query(engine_, "name", SS_MATCH_CASE, SS_KIND_ANY, 10));
    ASSERT_EQ(upper.status().count, 1u);
    ASSERT_EQ(lower.status().count, 1u);
    EXPECT_EQ(upper.metadata(0).size, 4u);
    EXPECT_EQ(lower.metadata(0).size, 5u);
}

}  // namespace
