// The folder listing through the shipped DLL, over real folders. listing_test.sh prepares the one
// with links and the one that may not be read.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "dll/host_query.hpp"
#include "dll/machine.hpp"
#include "system_search.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ListingTest : public testing::Test {
protected:
    void SetUp() override {
        root_ = fs::current_path() / "listing_test_tree";
        fs::remove_all(root_);
        fs::create_directories(root_ / "x" / "Sub");
        fs::create_directories(root_ / "empty");
        std::ofstream(root_ / "x" / "a.txt") << "12345";
        std::ofstream(root_ / "x" / "B.txt") << "";
        std::ofstream(root_ / "x" / "Sub" / "below.txt") << "";
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    static HostQuery list(const std::string& directory, const char* text = "",
                          std::uint32_t flags = 0, std::uint32_t kind = 0,
                          std::uint32_t limit = 1000) {
        return HostQuery(ss_query_directory(directory.c_str(), text, flags, kind, limit));
    }
    static void expect_failed(const std::string& directory) {
        const HostQuery query = list(directory);
        EXPECT_EQ(query.status().state, SS_QUERY_FAILED) << directory;
        EXPECT_EQ(query.status().matched, 0u);
        EXPECT_EQ(query.status().index_entries, 0u);
        EXPECT_EQ(ss_query_path(query.handle(), 0), nullptr);
    }
    static std::string prepared(const char* folder) {
        const char* const prepared = std::getenv("SS_LISTING_FOLDER");
        EXPECT_NE(prepared, nullptr) << "run listing_test.sh";
        return std::string(prepared != nullptr ? prepared : "") + "\\" + folder;
    }

    fs::path root_;
};

TEST_F(ListingTest, refused_arguments_give_null) {
    EXPECT_EQ(ss_query_directory(nullptr, "", 0, 0, 1), nullptr);
    EXPECT_EQ(ss_query_directory("", "", 0, 0, 1), nullptr);
    EXPECT_EQ(ss_query_directory("C:/", nullptr, 0, 0, 1), nullptr);
    EXPECT_EQ(ss_query_directory("C:/", "", 4, 0, 1), nullptr);
    EXPECT_EQ(ss_query_directory("C:/", "", 0, 3, 1), nullptr);
    EXPECT_EQ(ss_query_directory("C:/", "", 0, 0, 0), nullptr);
    EXPECT_EQ(ss_query_directory("C:/", "", 0, 0, 1001), nullptr);
    EXPECT_EQ(list((root_ / "x").string(), "", 3, 2, 1000).status().state, SS_QUERY_DONE);
}

TEST_F(ListingTest, immediate_children_are_matched_ordered_and_described) {
    const std::string x = (root_ / "x").string();
    const HostQuery all = list(x);
    EXPECT_EQ(all.status().state, SS_QUERY_DONE);
    EXPECT_EQ(all.status().matched, 3u);
    EXPECT_EQ(all.status().index_entries, 3u);
    EXPECT_EQ(all.status().index_incomplete, 0u);
    ASSERT_EQ(all.names(), (Names{"a.txt", "B.txt", "Sub"}));
    EXPECT_EQ(all.metadata(0).size, 5u);
    EXPECT_EQ(all.metadata(1).flags, SS_METADATA_SIZE | SS_METADATA_MODIFIED);
    EXPECT_EQ(all.metadata(2).flags, SS_METADATA_MODIFIED);
    EXPECT_EQ(all.kind(2), SS_KIND_FOLDER);
    EXPECT_EQ(list(x, "", 0, SS_KIND_FOLDER).names(), Names{"Sub"});
    EXPECT_EQ(list(x, "*.TXT").names(), (Names{"a.txt", "B.txt"}));
    EXPECT_EQ(list(x, "b.t", SS_MATCH_CASE).names(), Names{});
    EXPECT_EQ(list(x, "", 0, 0, 1).names(), Names{"a.txt"});
}

TEST_F(ListingTest, empty_folder_is_done_and_empty) {
    const HostQuery all = list((root_ / "empty").string());
    EXPECT_EQ(all.status().state, SS_QUERY_DONE);
    EXPECT_EQ(all.status().matched, 0u);
    EXPECT_EQ(all.status().index_entries, 0u);
    EXPECT_EQ(all.status().index_incomplete, 0u);
}

TEST_F(ListingTest, stored_paths_are_normal_whatever_the_argument_looks_like) {
    const std::string root = root_.string();
    const std::string stored = root_.generic_string() + "/x/a.txt";
    for (const std::string& directory :
         {root + "\\x", root + "/x/", root + "/empty/../x", root + "//x", root + "\\\\.\\x\\\\",
          root_.generic_string() + "/./x/.", root + "/x/Sub/.."}) {
        EXPECT_EQ(list(directory, "a.txt").paths(), Names{stored}) << directory;
    }
}

TEST_F(ListingTest, device_form_keeps_its_root_name) {
    EXPECT_EQ(list("\\\\?\\" + root_.string() + "\\x", "a.txt").paths(),
              Names{"//?/" + root_.generic_string() + "/x/a.txt"});
}

TEST_F(ListingTest, drive_root_is_listed) {
    fs::path drive = root_.root_path();
    const HostQuery all = list(drive.string());
    EXPECT_EQ(all.status().state, SS_QUERY_DONE);
    ASSERT_GT(all.status().count, 0u);
    for (const std::string& path : all.paths()) {
        EXPECT_EQ(path.find('/'), 2u) << path;
        EXPECT_EQ(path.rfind('/'), 2u) << path;
    }
}

TEST_F(ListingTest, folder_that_is_not_absolute_fails) {
    fs::current_path(root_);
    for (const char* const directory :
         {"x", "./x", ".", "\\", "/", "C:", "Z:", "C:x", "Z:x", "?"}) {
        expect_failed(directory);
    }
    fs::current_path(root_.parent_path());
}

TEST_F(ListingTest, folder_that_is_missing_a_file_or_not_utf8_fails) {
    expect_failed((root_ / "missing").string());
    expect_failed((root_ / "x" / "a.txt").string());
    expect_failed("B:/");
    expect_failed("\\\\no-such-server.invalid\\share");
    expect_failed(root_.string() + "\\\xFF");
}

TEST_F(ListingTest, denied_folder_fails) {
    NEEDS_PREPARED("SS_LISTING_FOLDER");
    const std::string denied = prepared("denied");
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((denied + "\\*").c_str(), &found);
    ASSERT_EQ(search, INVALID_HANDLE_VALUE) << "this user may read everything";
    expect_failed(denied);
}

TEST_F(ListingTest, links_are_counted_but_not_listed) {
    NEEDS_PREPARED("SS_LISTING_FOLDER");
    const HostQuery all = list(prepared("links"));
    EXPECT_EQ(all.names(), (Names{"file", "folder"}));
    EXPECT_EQ(all.status().matched, 2u);
    EXPECT_EQ(all.status().index_entries, 3u);
    EXPECT_EQ(all.status().index_incomplete, 0u);
}

}  // namespace
