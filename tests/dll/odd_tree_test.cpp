// Trees that only the Unix side of Wine can make, walked by the shipped DLL. What it should find is
// worked out by a bare enumeration of the same tree with the rules of the walk.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "dll/machine.hpp"
#include "system_search.h"

namespace {

std::string tree() {
    const char* const root = std::getenv("SS_TREE");
    return root != nullptr ? root : "";
}

EngineStatus wait(SystemSearchEngine* engine) {
    EngineStatus status{};
    for (ss_status(engine, &status); status.state == SS_ENGINE_RUNNING;
         ss_status(engine, &status)) {
        Sleep(1);
    }
    return status;
}

struct Counts {
    std::uint32_t entries = 0;
    std::uint32_t skipped = 0;
};

std::wstring wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

// With literal paths: some names of the tree would be read as others.
Counts count_bare(const std::string& scope) {
    Counts counts;
    std::vector<std::wstring> folders{L"\\\\?\\" + wide(scope)};
    std::replace(folders[0].begin(), folders[0].end(), L'/', L'\\');
    while (!folders.empty()) {
        const std::wstring folder = folders.back();
        folders.pop_back();
        WIN32_FIND_DATAW found;
        HANDLE const search = FindFirstFileW((folder + L"\\*").c_str(), &found);
        if (search == INVALID_HANDLE_VALUE) {
            counts.skipped += GetLastError() != ERROR_NO_MORE_FILES;
            continue;
        }
        do {
            const std::wstring name = found.cFileName;
            if (name == L"." || name == L"..") continue;
            ++counts.entries;
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) continue;
            const std::wstring path = folder + L"\\" + name;
            if (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) {
                ++counts.skipped;
            } else {
                folders.push_back(path);
            }
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    return counts;
}

class OddTree : public testing::Test {
protected:
    void SetUp() override {
        NEEDS_PREPARED("SS_TREE");
        ASSERT_NE(tree(), "") << "run through odd_tree_test.sh";
        engine_ = ss_create();
    }
    void TearDown() override { ss_destroy(engine_); }

    EngineStatus build(const std::string& scope) {
        EXPECT_EQ(ss_start(engine_, scope.c_str(), "", 1), 1);
        return wait(engine_);
    }
    std::uint32_t matched(const char* text) {
        SystemSearchQuery* const query = ss_query(engine_, text, 0, SS_KIND_ANY, 1000);
        QueryStatus found{};
        do {
            ss_query_poll(query, &found);
        } while (found.state == SS_QUERY_RUNNING);
        EXPECT_EQ(found.state, SS_QUERY_DONE);
        ss_query_destroy(query);
        return found.matched;
    }

    SystemSearchEngine* engine_ = nullptr;
};

TEST_F(OddTree, a_chain_of_three_hundred_folders_is_walked_beyond_the_classic_path_limit) {
    const EngineStatus status = build(tree() + "/deep");
    EXPECT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine_);
    EXPECT_EQ(status.entries, 301u);
    EXPECT_EQ(status.skipped, 0u);
    EXPECT_EQ(matched("bottom.txt"), 1u);
}

TEST_F(OddTree, odd_names_links_and_denied_folders_are_counted_as_a_bare_enumeration_counts_them) {
    const Counts bare = count_bare(tree() + "/odd");
    EXPECT_GE(bare.entries, 29u);
    EXPECT_GE(bare.skipped, 2u);
    const EngineStatus status = build(tree() + "/odd");
    EXPECT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine_);
    EXPECT_EQ(status.entries, bare.entries);
    EXPECT_EQ(status.skipped, bare.skipped);
    EXPECT_EQ(matched("nnnnnnnnnn"), 1u);
    EXPECT_EQ(matched("UPPER"), 2u);
    EXPECT_EQ(matched("in folder"), 1u);
    EXPECT_EQ(matched("in the dotted"), 1u);
    EXPECT_EQ(matched("in the blank"), 1u);
}

TEST_F(OddTree, a_tree_that_changes_under_the_walk_does_no_harm) {
    const char* const seconds = std::getenv("SS_STRESS_SECONDS");
    const DWORD milliseconds = 1000 * static_cast<DWORD>(seconds ? std::atoi(seconds) : 3);
    const std::string scope = tree() + "/changing";
    constexpr int kLeastWalks = 3;  // on a machine however slow
    const DWORD started = GetTickCount();
    int walks = 0;
    do {
        const EngineStatus status = build(scope);
        ASSERT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine_);
        EXPECT_EQ(matched("still*"), 50u);
        EXPECT_GE(status.entries, 50u);
        SystemSearchQuery* const listing =
            ss_query_directory(scope.c_str(), "still", 0, SS_KIND_FILE, 1000);
        QueryStatus found{};
        do {
            ss_query_poll(listing, &found);
        } while (found.state == SS_QUERY_RUNNING);
        EXPECT_EQ(found.state, SS_QUERY_DONE);
        EXPECT_EQ(found.matched, 50u);
        ss_query_destroy(listing);
        ++walks;
    } while ((walks < kLeastWalks || GetTickCount() - started < milliseconds) && !HasFailure());
}

}  // namespace
