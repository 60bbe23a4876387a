// Names that the system would read as others, and paths that it would refuse, through the DLL: what
// it finds, and in which spelling it asks. The tree is made with literal paths, as other systems,
// archives and shares make it.
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "dll/cache_support.hpp"
#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/import_table.hpp"

namespace {

// ---- What the DLL hands to the system -----------------------------------------------------------

std::mutex seen_mutex;
std::set<std::wstring> seen;  // "CALL PATH"

void see(const wchar_t* call, const wchar_t* path) {
    const std::lock_guard lock(seen_mutex);
    seen.insert(std::wstring(call) + L" " + path);
}

HANDLE WINAPI find_first(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* out,
                         FINDEX_SEARCH_OPS search, void* filter, DWORD flags) {
    see(L"find", pattern);
    return FindFirstFileExW(pattern, level, out, search, filter, flags);
}
DWORD WINAPI get_attributes(const wchar_t* path) {
    see(L"attributes", path);
    return GetFileAttributesW(path);
}
BOOL WINAPI get_attributes_ex(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* out) {
    see(L"information", path);
    return GetFileAttributesExW(path, level, out);
}
HANDLE WINAPI create_file(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* who,
                          DWORD disposition, DWORD flags, HANDLE like) {
    see((access & GENERIC_WRITE) != 0 ? L"write" : L"read", path);
    return CreateFileW(path, access, share, who, disposition, flags, like);
}
BOOL WINAPI create_directory(const wchar_t* path, SECURITY_ATTRIBUTES* who) {
    see(L"folder", path);
    return CreateDirectoryW(path, who);
}
BOOL WINAPI refuse_to_move(const wchar_t* from, const wchar_t* to, DWORD) {
    see(L"from", from);
    see(L"to", to);
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}
BOOL WINAPI delete_file(const wchar_t* path) {
    see(L"delete", path);
    return DeleteFileW(path);
}

std::wstring wide(const std::string& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

class LiteralPath : public EngineHost {
protected:
    void SetUp() override {
        EngineHost::SetUp();
        root_ = L"\\\\?\\" + scratch_.wstring();
        const std::lock_guard lock(seen_mutex);
        seen.clear();
    }
    void TearDown() override {
        patches_.clear();
        cache_support::remove_tree(root_);
        EngineHost::TearDown();
    }

    // Below the scratch folder, every name as it is written.
    void make_literal_folder(const std::wstring& name) const {
        for (std::size_t end = 0; end != name.npos;) {
            end = name.find(L'\\', end + 1);
            CreateDirectoryW((root_ + L'\\' + name.substr(0, end)).c_str(), nullptr);
        }
        const DWORD made = GetFileAttributesW((root_ + L'\\' + name).c_str());
        ASSERT_TRUE(made != INVALID_FILE_ATTRIBUTES && (made & FILE_ATTRIBUTE_DIRECTORY) != 0);
    }
    void make_literal_file(const std::wstring& name, DWORD bytes) const {
        const std::size_t folder = name.rfind(L'\\');
        if (folder != name.npos) make_literal_folder(name.substr(0, folder));
        HANDLE const file = CreateFileW((root_ + L'\\' + name).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
        const std::string content(bytes, 'x');
        DWORD written = 0;
        WriteFile(file, content.data(), bytes, &written, nullptr);
        CloseHandle(file);
    }

    void watch() {
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        const auto replace = [&](const char* name, auto* replacement) {
            patches_.push_back(std::make_unique<ImportPatch>(library, name, replacement));
            ASSERT_TRUE(patches_.back()->applied()) << name << " is not imported";
        };
        replace("FindFirstFileExW", &find_first);
        replace("GetFileAttributesW", &get_attributes);
        replace("GetFileAttributesExW", &get_attributes_ex);
        replace("CreateFileW", &create_file);
        replace("CreateDirectoryW", &create_directory);
        replace("DeleteFileW", &delete_file);
    }
    void refuse_moves() {
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        patches_.push_back(std::make_unique<ImportPatch>(library, "MoveFileExW", &refuse_to_move));
    }
    // Whether this call was made on `path` below the scratch folder, spelled so.
    bool saw(const wchar_t* call, const std::wstring& path) const {
        const std::lock_guard lock(seen_mutex);
        return seen.contains(std::wstring(call) + L" " + path);
    }
    std::wstring plain(const std::wstring& name) const { return scratch_.wstring() + L'\\' + name; }
    std::wstring literal(const std::wstring& name) const { return root_ + L'\\' + name; }
    std::wstring stored(const std::wstring& name) const {
        std::wstring path = plain(name);
        std::replace(path.begin(), path.end(), L'\\', L'/');
        return path;
    }

    // Each result's path below `folder` of the scratch folder, with its size; 0: none.
    std::map<std::string, std::uint64_t> sizes(const HostQuery& query, const std::string& folder) {
        std::map<std::string, std::uint64_t> all;
        EXPECT_EQ(query.status().state, SS_QUERY_DONE);
        const std::string begin = with_slashes(path(folder)) + "/";
        const std::vector<std::string> paths = query.paths();
        for (std::uint32_t i = 0; i < paths.size(); ++i) {
            EXPECT_EQ(paths[i].substr(0, begin.size()), begin);
            const ResultMetadata metadata = query.metadata(i);
            EXPECT_NE(metadata.flags, 0u) << paths[i] << " has no metadata";
            all[paths[i].substr(begin.size())] = metadata.size;
        }
        return all;
    }

    std::wstring root_;
    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

// ---- Names that are read otherwise --------------------------------------------------------------

TEST_F(LiteralPath, folders_that_differ_in_a_dot_or_a_blank_keep_their_own_children) {
    make_literal_file(L"tree\\apache\\in it", 10);
    make_literal_file(L"tree\\apache.\\in the other", 11);
    make_literal_file(L"tree\\apache.\\deeper.\\x ", 12);
    make_literal_file(L"tree\\x \\y", 13);
    watch();
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 8, 0, 0, 0}));
    EXPECT_EQ(sizes(HostQuery(ss_query(engine_, "", 0, 0, 1000)), "tree"),
              (std::map<std::string, std::uint64_t>{{"apache", 0},
                                                    {"apache/in it", 10},
                                                    {"apache.", 0},
                                                    {"apache./in the other", 11},
                                                    {"apache./deeper.", 0},
                                                    {"apache./deeper./x ", 12},
                                                    {"x ", 0},
                                                    {"x /y", 13}}));
    EXPECT_TRUE(saw(L"find", plain(L"tree\\apache\\*")));
    EXPECT_TRUE(saw(L"find", literal(L"tree\\apache.\\*")));
    EXPECT_TRUE(saw(L"attributes", literal(L"tree\\apache.")));
    EXPECT_TRUE(saw(L"attributes", literal(L"tree\\apache.\\deeper.")));
    EXPECT_TRUE(saw(L"information", stored(L"tree\\apache\\in it")));
    EXPECT_TRUE(saw(L"information", literal(L"tree\\apache.\\in the other")));
}

TEST_F(LiteralPath, names_of_devices_are_files_and_folders_like_any_others) {
    make_literal_file(L"tree\\nul", 1);
    make_literal_file(L"tree\\aux.txt", 2);
    make_literal_file(L"tree\\con\\com1", 3);
    watch();
    const std::map<std::string, std::uint64_t> expected = {
        {"nul", 1}, {"aux.txt", 2}, {"con", 0}, {"con/com1", 3}};
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 4, 0, 0, 0}));
    EXPECT_EQ(sizes(HostQuery(ss_query(engine_, "", 0, 0, 1000)), "tree"), expected);
    EXPECT_TRUE(saw(L"information", literal(L"tree\\nul")));
}

TEST_F(LiteralPath, listing_tells_its_children_apart_too) {
    make_literal_file(L"tree\\nul", 1);
    make_literal_file(L"tree\\apache\\x", 2);
    make_literal_file(L"tree\\apache.\\x", 3);
    watch();
    const std::map<std::string, std::uint64_t> expected = {
        {"nul", 1}, {"apache", 0}, {"apache.", 0}};
    for (const std::string& folder :
         {path("tree"), with_slashes(path("tree")), path("tree\\apache\\..") + "\\"}) {
        const HostQuery listing(ss_query_directory(folder.c_str(), "", 0, 0, 1000));
        EXPECT_EQ(sizes(listing, "tree"), expected) << folder;
    }
    EXPECT_TRUE(saw(L"attributes", literal(L"tree\\apache.")));
    EXPECT_TRUE(saw(L"find", stored(L"tree") + L"\\*")) << "an ordinary path goes as it stands";
}

TEST_F(LiteralPath, folder_that_the_host_names_means_what_it_means_to_every_program) {
    make_literal_file(L"docs\\f", 7);
    make_literal_file(L"docs\\x.\\g", 8);
    make_literal_file(L"docs.\\not meant", 9);
    watch();
    EXPECT_EQ(build(path("docs.")), (EngineStatus{SS_ENGINE_READY, 3, 0, 0, 0})) << error();
    const HostQuery query(ss_query(engine_, "", 0, 0, 1000));
    const std::string begin = with_slashes(path("docs."));
    EXPECT_EQ(query.paths(),
              (std::vector<std::string>{begin + "/f", begin + "/x.", begin + "/x./g"}));
    EXPECT_TRUE(saw(L"find", literal(L"docs\\x.\\*")));
    // The stored path holds the host's text, which only a plain call understands.
    const HostQuery file(ss_query(engine_, "f", 0, SS_KIND_FILE, 1000));
    ASSERT_EQ(file.status().count, 1u);
    EXPECT_EQ(file.metadata(0).size, 7u);

    const HostQuery listing(ss_query_directory(path("docs.").c_str(), "", 0, 0, 1000));
    EXPECT_EQ(listing.names(), (std::vector<std::string>{"f", "x."}));
}

// ---- Long paths ---------------------------------------------------------------------------------

std::wstring long_name(std::size_t levels) {
    std::wstring name;
    for (std::size_t i = 0; i < levels; ++i) name += L"\\a folder with a name of thirty-six u";
    return name.substr(1);
}

TEST_F(LiteralPath, folders_and_files_beyond_the_classic_limit_are_found) {
    const std::wstring deep = long_name(12);
    make_literal_file(L"tree\\" + deep + L"\\f", 5);
    watch();
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 13, 0, 0, 0})) << error();
    const HostQuery query(ss_query(engine_, "f", 0, SS_KIND_FILE, 10));
    ASSERT_EQ(query.status().count, 1u);
    EXPECT_EQ(query.metadata(0).size, 5u);
    const std::lock_guard lock(seen_mutex);
    std::size_t literal_calls = 0;
    for (const std::wstring& call : seen) {
        const std::wstring path = call.substr(call.find(L' ') + 1);
        const bool literal = path.substr(0, 4) == L"\\\\?\\";
        literal_calls += literal;
        EXPECT_EQ(literal, path.size() - (literal ? 4 : 0) >= 248) << path.size();
        EXPECT_TRUE(!literal || path.find(L'/') == path.npos);
    }
    EXPECT_GT(literal_calls, 10u);
}

TEST_F(LiteralPath, scope_and_listing_may_be_long_themselves) {
    const std::wstring deep = long_name(9);
    make_literal_file(deep + L"\\f", 5);
    watch();
    const std::string narrow(deep.begin(), deep.end());
    for (const std::string& scope :
         {path(narrow), with_slashes(path(narrow)), path(narrow) + "\\"}) {
        EXPECT_EQ(build(scope), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0})) << error();
        const HostQuery listing(ss_query_directory(scope.c_str(), "", 0, 0, 1000));
        EXPECT_EQ(sizes(listing, narrow), (std::map<std::string, std::uint64_t>{{"f", 5}}));
    }
    EXPECT_TRUE(saw(L"information", literal(deep)));
    EXPECT_TRUE(saw(L"find", literal(deep) + L"\\*"));
}

TEST_F(LiteralPath, cache_and_its_folders_may_be_long) {
    make_file("tree/f");
    const std::wstring deep = long_name(9);
    const std::string narrow(deep.begin(), deep.end());
    watch();
    const std::string cache = with_slashes(path(narrow)) + "/a/../index";
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(error(), "");
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 1}));
    EXPECT_TRUE(saw(L"read", literal(deep + L"\\index")));
    EXPECT_TRUE(saw(L"folder", literal(deep)));

    refuse_moves();
    EXPECT_EQ(build(path("tree"), cache, 1).state, SS_ENGINE_READY);
    EXPECT_EQ(error(), "Index is usable, but its cache could not be saved.");
    EXPECT_TRUE(saw(L"to", literal(deep + L"\\index")));
    const std::wstring temporary = literal(deep + L"\\index.");
    std::set<std::wstring> calls;
    for (const std::wstring& call : seen) {
        const std::size_t path = call.find(L' ') + 1;
        if (call.substr(path, temporary.size()) == temporary)
            calls.insert(call.substr(0, path - 1));
    }
    EXPECT_EQ(calls, (std::set<std::wstring>{L"write", L"from", L"delete"}));
}

// Only the temporary file's name is too long.
TEST_F(LiteralPath, cache_path_just_below_the_limit_is_saved) {
    make_file("tree/f");
    watch();
    std::string cache = path("c\\");
    cache += std::string(240 - cache.size(), 'c');
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(error(), "");
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 1}));
    EXPECT_TRUE(saw(L"read", wide(cache)));
    const std::wstring temporary = L"write \\\\?\\" + wide(cache) + L".";
    EXPECT_TRUE(seen.lower_bound(temporary) != seen.end() &&
                seen.lower_bound(temporary)->substr(0, temporary.size()) == temporary);
}

TEST_F(LiteralPath, device_prefix_goes_as_it_stands) {
    make_literal_file(L"tree\\x.\\f", 3);
    watch();
    const std::string scope = "\\\\?\\" + path("tree");
    const std::string cache = "\\\\?\\" + path("index");
    EXPECT_EQ(build(scope, cache), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0})) << error();
    EXPECT_TRUE(saw(L"find", literal(L"tree\\x.\\*")));
    EXPECT_TRUE(saw(L"read", literal(L"index")));
    const HostQuery file(ss_query(engine_, "f", 0, SS_KIND_FILE, 10));
    ASSERT_EQ(file.status().count, 1u);
    EXPECT_EQ(file.metadata(0).size, 3u);
}

}  // namespace
