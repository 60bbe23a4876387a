// A host of the DLL for tests: one engine and one scratch folder on the real file system each.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "system_search.h"

inline bool operator==(const EngineStatus& a, const EngineStatus& b) {
    return a.state == b.state && a.entries == b.entries && a.skipped == b.skipped &&
           a.limited == b.limited && a.from_cache == b.from_cache;
}

inline void PrintTo(const EngineStatus& status, std::ostream* out) {
    *out << "{state " << status.state << ", entries " << status.entries << ", skipped "
         << status.skipped << ", limited " << status.limited << ", from_cache " << status.from_cache
         << "}";
}

inline std::string with_slashes(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

class EngineHost : public testing::Test {
protected:
    void SetUp() override {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        scratch_ = std::filesystem::current_path() / test->test_suite_name() / test->name();
        std::filesystem::remove_all(scratch_);
        std::filesystem::create_directories(scratch_);
        engine_ = ss_create();
        ASSERT_NE(engine_, nullptr);
    }
    void TearDown() override {
        ss_destroy(engine_);
        std::error_code ignored;
        std::filesystem::remove_all(scratch_, ignored);
    }

    // The path of something in the scratch folder, with the system's own separators.
    std::string path(const std::string& name) const { return (scratch_ / name).string(); }
    void make_file(const std::string& name) const {
        std::filesystem::create_directories((scratch_ / name).parent_path());
        std::ofstream(scratch_ / name) << "x";
    }
    void make_folder(const std::string& name) const {
        std::filesystem::create_directories(scratch_ / name);
    }
    void make_files(const std::string& folder, int count) const {
        make_folder(folder);
        for (int i = 0; i < count; ++i) std::ofstream(scratch_ / folder / std::to_string(i));
    }
    // Folders with files in each: one with all of them would take long to fill under Wine, which
    // looks through the whole folder before each new file.
    void make_folders(const std::string& folder, int folders, int files_in_each) const {
        for (int i = 0; i < folders; ++i) {
            make_files(folder + "/" + std::to_string(i), files_in_each);
        }
    }

    EngineStatus status() const {
        EngineStatus now{9, 9, 9, 9, 9};
        ss_status(engine_, &now);
        return now;
    }
    // Waits for the end of the build: the first status that tells of it has to be right.
    // A disk that nobody has read yet may take long, but not for nothing.
    EngineStatus finish() const {
        constexpr ULONGLONG kWithoutProgressMilliseconds = 120'000;
        ULONGLONG last_progress = GetTickCount64();
        EngineStatus last{};
        for (;;) {
            const EngineStatus now = status();
            if (now.state != SS_ENGINE_RUNNING) return now;
            if (!(now == last)) last_progress = GetTickCount64();
            last = now;
            if (GetTickCount64() - last_progress > kWithoutProgressMilliseconds) {
                ADD_FAILURE() << "the build does not end";
                return now;
            }
            Sleep(1);
        }
    }
    EngineStatus build(const std::string& scope, const std::string& cache_path = "",
                       std::int32_t force = 0) const {
        EXPECT_EQ(ss_start(engine_, scope.c_str(), cache_path.c_str(), force), 1);
        return finish();
    }
    std::string error() const { return ss_error(engine_); }

    // Everything indexed, with its kind. Of at most 1000 entries.
    std::map<std::string, std::uint32_t> indexed() const {
        std::map<std::string, std::uint32_t> found;
        SystemSearchQuery* const query = ss_query(engine_, "", 0, SS_KIND_ANY, SS_MAX_RESULTS);
        QueryStatus now{};
        for (ss_query_poll(query, &now); now.state == SS_QUERY_RUNNING;
             ss_query_poll(query, &now)) {
            Sleep(0);
        }
        EXPECT_EQ(now.state, SS_QUERY_DONE);
        for (std::uint32_t i = 0; i < now.count; ++i) {
            found[ss_query_path(query, i)] = ss_query_kind(query, i);
        }
        ss_query_destroy(query);
        return found;
    }
    // What indexed() gives for these names below `folder` of the scratch folder.
    std::map<std::string, std::uint32_t> expected(
        const std::string& folder, const std::map<std::string, std::uint32_t>& names) const {
        std::map<std::string, std::uint32_t> whole;
        for (const auto& [name, kind] : names) {
            whole[with_slashes(path(folder)) + "/" + name] = kind;
        }
        return whole;
    }

    std::filesystem::path scratch_;
    SystemSearchEngine* engine_ = nullptr;
};
