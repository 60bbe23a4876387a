// Name queries through the shipped DLL, over real files.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it needs.
#include <winioctl.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "dll/host_query.hpp"
#include "dll/process_resources.hpp"
#include "system_search.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr std::uint64_t kSecond = 10'000'000;
constexpr std::uint64_t k1970 = 11'644'473'600 * kSecond;

class QueryTest : public testing::Test {
protected:
    void SetUp() override {
        root_ = fs::current_path() / "query_test_tree";
        fs::remove_all(root_);
        fs::create_directories(root_);
        engine_ = ss_create();
        ASSERT_NE(engine_, nullptr);
    }
    void TearDown() override {
        ss_destroy(engine_);
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    fs::path add(const wchar_t* relative, std::uint64_t size = 0) {
        const fs::path path = root_ / relative;
        fs::create_directories(path.parent_path());
        const HANDLE file =
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        EXPECT_NE(file, INVALID_HANDLE_VALUE) << path;
        // Only its size is asked for. Where that cannot be had without its bytes, so be it.
        DWORD ignored = 0;
        DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &ignored, nullptr);
        LARGE_INTEGER end;
        end.QuadPart = static_cast<LONGLONG>(size);
        EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
        EXPECT_TRUE(SetEndOfFile(file));
        CloseHandle(file);
        return path;
    }
    static void set_last_write(const fs::path& path, std::uint64_t intervals) {
        const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << path;
        const FILETIME time = {static_cast<DWORD>(intervals), static_cast<DWORD>(intervals >> 32)};
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
        CloseHandle(file);
    }
    EngineStatus build() {
        EXPECT_EQ(ss_start(engine_, root_.string().c_str(), "", 0), 1);
        EngineStatus status{};
        while (ss_status(engine_, &status), status.state == SS_ENGINE_RUNNING) Sleep(0);
        EXPECT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine_);
        return status;
    }
    HostQuery query(const char* text, std::uint32_t flags = 0, std::uint32_t kind = 0,
                    std::int32_t limit = 1000) {
        return HostQuery(ss_query(engine_, text, flags, kind, limit));
    }
    std::string stored(const char* relative) const {
        return root_.generic_string() + "/" + relative;
    }

    fs::path root_;
    SystemSearchEngine* engine_ = nullptr;
};

TEST_F(QueryTest, refused_arguments_give_null) {
    EXPECT_EQ(ss_query(nullptr, "", 0, 0, 1), nullptr);
    EXPECT_EQ(ss_query(engine_, nullptr, 0, 0, 1), nullptr);
    EXPECT_EQ(ss_query(engine_, "", 4, 0, 1), nullptr);
    EXPECT_EQ(ss_query(engine_, "", 0, 3, 1), nullptr);
    for (const std::int32_t limit : {0, -1, 1001, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(ss_query(engine_, "", 0, 0, limit), nullptr) << limit;
    }
    for (const std::int32_t limit : {1, 1000}) {
        EXPECT_EQ(query("", 3, 2, limit).status().state, SS_QUERY_DONE) << limit;
    }
}

TEST_F(QueryTest, null_handles_and_records_are_harmless) {
    QueryStatus status{9, 9, 9, 9, 9};
    ss_query_poll(nullptr, &status);
    EXPECT_EQ(status.state, 9u);
    ss_query_poll(nullptr, nullptr);
    EXPECT_EQ(ss_query_path(nullptr, 0), nullptr);
    EXPECT_EQ(ss_query_kind(nullptr, 0), 0u);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(nullptr, 0, &metadata), 0);
    EXPECT_EQ(metadata.size | metadata.flags | metadata.reserved, 0u);
    EXPECT_EQ(metadata.modified, 0);
    EXPECT_EQ(ss_query_metadata(nullptr, 0, nullptr), 0);
    ss_query_destroy(nullptr);
}

TEST_F(QueryTest, fresh_engine_is_empty_and_incomplete) {
    const HostQuery all = query("");
    EXPECT_EQ(all.status().state, SS_QUERY_DONE);
    EXPECT_EQ(all.status().matched, 0u);
    EXPECT_EQ(all.status().index_entries, 0u);
    EXPECT_EQ(all.status().index_incomplete, 1u);
}

TEST_F(QueryTest, names_and_paths_match_with_and_without_case) {
    add(L"Docs\\Report.txt");
    add(L"Docs\\report old.TXT");
    add(L"other\\a.txt");
    add(L"other\\\u00E9.txt");
    EXPECT_EQ(build().entries, 6u);

    EXPECT_EQ(query("REPORT").names(), (Names{"report old.TXT", "Report.txt"}));
    EXPECT_EQ(query("REPORT", SS_MATCH_CASE).names(), Names{});
    EXPECT_EQ(query("Report", SS_MATCH_CASE).names(), Names{"Report.txt"});
    EXPECT_EQ(query("docs").names(), Names{"Docs"});
    EXPECT_EQ(query("docs/", SS_MATCH_PATH).names(), (Names{"report old.TXT", "Report.txt"}));
    EXPECT_EQ(query("docs/", SS_MATCH_PATH | SS_MATCH_CASE).names(), Names{});
    EXPECT_EQ(query("?.txt").names(), (Names{"a.txt", "\xC3\xA9.txt"}));
    EXPECT_EQ(query("\xC3\x89.txt").names(), Names{}) << "only ASCII letters fold";
    EXPECT_EQ(query("*.txt", 0, SS_KIND_FOLDER).names(), Names{});
    EXPECT_EQ(query("", 0, SS_KIND_FOLDER).names(), (Names{"Docs", "other"}));
    EXPECT_EQ(query("", 0, SS_KIND_FILE).status().matched, 4u);

    const HostQuery two = query("", 0, 0, 2);
    EXPECT_EQ(two.status().matched, 6u);
    EXPECT_EQ(two.status().count, 2u);
    EXPECT_EQ(two.status().index_entries, 6u);
    EXPECT_EQ(two.status().index_incomplete, 0u);
    EXPECT_EQ(two.paths(), (Names{stored("Docs"), stored("Docs/report old.TXT")}));
    EXPECT_EQ(ss_query_path(two.handle(), 2), nullptr);
    EXPECT_EQ(ss_query_kind(two.handle(), 2), 0u);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(two.handle(), 2, &metadata), 0);
    EXPECT_EQ(metadata.flags | metadata.reserved, 0u);
    EXPECT_EQ(ss_query_metadata(two.handle(), 0, nullptr), 0);
}

TEST_F(QueryTest, metadata_is_what_the_disk_says_at_the_time_of_the_query) {
    set_last_write(add(L"a big", 5'368'709'120), k1970 + 1'600'000'000 * kSecond);
    set_last_write(add(L"b small", 12), k1970 + 9'000'000);
    set_last_write(add(L"c old", 1), k1970 - kSecond - 1);
    const fs::path deleted = add(L"d deleted", 5);
    fs::create_directory(root_ / "e folder");
    build();
    fs::remove(deleted);

    const HostQuery all = query("");
    ASSERT_EQ(all.names(), (Names{"a big", "b small", "c old", "d deleted", "e folder"}));
    EXPECT_EQ(all.metadata(0).size, 5'368'709'120u);
    EXPECT_EQ(all.metadata(0).modified, 1'600'000'000);
    EXPECT_EQ(all.metadata(0).flags, SS_METADATA_SIZE | SS_METADATA_MODIFIED);
    EXPECT_EQ(all.metadata(1).size, 12u);
    EXPECT_EQ(all.metadata(1).modified, 0);
    EXPECT_EQ(all.metadata(2).modified, -2);
    EXPECT_EQ(all.metadata(3).flags, 0u);
    EXPECT_EQ(all.metadata(3).size, 0u);
    EXPECT_EQ(all.metadata(3).modified, 0);
    EXPECT_EQ(all.kind(4), SS_KIND_FOLDER);
    EXPECT_EQ(all.metadata(4).flags, SS_METADATA_MODIFIED);
    EXPECT_EQ(all.metadata(4).size, 0u);
    EXPECT_GT(all.metadata(4).modified, 1'600'000'000);
}

TEST_F(QueryTest, results_outlive_a_rebuild_and_the_engine) {
    add(L"kept");
    build();
    const HostQuery before = query("kept");
    fs::remove(root_ / "kept");
    add(L"new");
    EXPECT_EQ(build().entries, 1u);
    ss_destroy(engine_);
    engine_ = nullptr;
    EXPECT_EQ(before.paths(), Names{stored("kept")});
    EXPECT_EQ(before.kind(0), SS_KIND_FILE);
}

TEST_F(QueryTest, queries_destroyed_at_random_moments_leave_nothing_behind) {
    for (int i = 0; i < 50; ++i) add((L"file" + std::to_wstring(i)).c_str());
    build();
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto churn = [&](int times) {
        for (int i = 0; i < times; ++i) {
            SystemSearchQuery* const handle = ss_query(engine_, "file", 0, 0, 1000);
            ASSERT_NE(handle, nullptr);
            for (auto spins = random() % 500; spins != 0; --spins) {
                QueryStatus status;
                ss_query_poll(handle, &status);
                if (status.state != SS_QUERY_RUNNING) break;
            }
            ss_query_destroy(handle);
        }
    };
    churn(500);
    ResourceMarks marks;
    for (int part = 0; part < ResourceMarks::kParts; ++part) {
        marks.add();
        churn(600);
    }
    marks.add();
    EXPECT_LE(marks.least_growth(&ProcessResources::free_handle), 0);
    EXPECT_LE(marks.least_growth(&ProcessResources::free_tls_slot), 0);
    EXPECT_LE(marks.least_growth(&ProcessResources::free_fls_slot), 0);
    EXPECT_LT(marks.least_growth(&ProcessResources::memory_bytes), 250'000);
}

TEST_F(QueryTest, many_queries_beside_a_running_build) {
    for (int i = 0; i < 300; ++i) add((L"many\\file" + std::to_wstring(i)).c_str());
    std::vector<std::thread> hosts;
    ASSERT_EQ(ss_start(engine_, root_.string().c_str(), "", 0), 1);
    for (int host = 0; host < 4; ++host) {
        hosts.emplace_back([this] {
            for (int i = 0; i < 50; ++i) {
                const HostQuery found = query("file", 0, SS_KIND_FILE, 10);
                EXPECT_EQ(found.status().state, SS_QUERY_DONE);
                EXPECT_TRUE(found.status().matched == 0 || found.status().matched == 300);
            }
        });
    }
    for (std::thread& host : hosts) host.join();
    EngineStatus status{};
    while (ss_status(engine_, &status), status.state == SS_ENGINE_RUNNING) Sleep(1);
    EXPECT_EQ(query("file", 0, SS_KIND_FILE).status().matched, 300u);
}

}  // namespace
