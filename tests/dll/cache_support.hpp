// For the tests of the cache through the DLL: cache files written and read by hand, and an engine
// with a folder to index and one for its cache.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "system_search.h"

namespace cache_support {

namespace fs = std::filesystem;

// ---- Cache files, written and read by hand ------------------------------------------------------

inline std::string integer(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

inline std::string text(std::string_view bytes) {
    return integer(static_cast<std::uint32_t>(bytes.size())) + std::string(bytes);
}

inline std::string record(std::string_view path, std::uint32_t kind) {
    return text(path) + integer(kind);
}

inline std::string header(std::string_view scope, std::uint32_t entries, std::uint32_t skipped = 0,
                          std::uint32_t limited = 0) {
    return text("system-search-v1") + text(scope) + integer(entries) + integer(skipped) +
           integer(limited);
}

inline void write_file(const fs::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good()) << path;
}

// Opened as any careful reader does: whoever replaces the file meanwhile is not hindered.
inline bool read_file(const fs::path& path, std::string& bytes) {
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

inline std::string read_file(const fs::path& path) {
    std::string bytes;
    EXPECT_TRUE(read_file(path, bytes)) << path;
    return bytes;
}

// With the device prefix, for paths that the standard library finds too long.
inline void remove_tree(const std::wstring& folder) {
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

inline EngineStatus finish(SystemSearchEngine* engine) {
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

}  // namespace cache_support
