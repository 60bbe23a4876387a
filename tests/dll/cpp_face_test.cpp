// The C++ face over the real library: ownership, ranges, times, and answers without a handle.
#include "system_search.hpp"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ranges>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "dll/held_build.hpp"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

static_assert(!std::is_copy_constructible_v<ss::Engine> && !std::is_copy_assignable_v<ss::Engine>);
static_assert(!std::is_copy_constructible_v<ss::Query> && !std::is_copy_assignable_v<ss::Query>);
static_assert(std::is_nothrow_move_constructible_v<ss::Engine>);
static_assert(std::is_nothrow_move_assignable_v<ss::Query>);
static_assert(std::random_access_iterator<ss::Results::Iterator>);
static_assert(std::ranges::random_access_range<ss::Results>);
static_assert(std::ranges::sized_range<ss::Results>);
static_assert(std::is_same_v<ss::Time, std::chrono::sys_seconds>);
static_assert(noexcept(ss::Engine::create()) && noexcept(ss::list_folder("")) &&
              noexcept(*ss::Results::Iterator()));

template <class Query>
concept GivesResults = requires(Query&& query) { std::forward<Query>(query).results(); };
static_assert(GivesResults<ss::Query&> && GivesResults<const ss::Query&>);
static_assert(!GivesResults<ss::Query> && !GivesResults<const ss::Query>);

class CppFace : public ::testing::Test {
protected:
    CppFace() : folder_(fs::temp_directory_path() / L"cpp-face" / name()) {
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "reports" / "empty");
        write(folder_ / "reports" / "report.txt", 12);
        write(folder_ / "reports" / L"Report \u00E9t\u00E9.md", 0);
        write(folder_ / "other.bin", 3);
    }
    ~CppFace() override { fs::remove_all(folder_); }

    static std::string name() {
        return ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    static void write(const fs::path& path, std::size_t size) {
        std::ofstream(path, std::ios::binary) << std::string(size, 'x');
        const HANDLE file =
            CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        // 2001-09-09 01:46:40 UTC, one thousand million seconds after 1970.
        const ULONGLONG ticks = 116444736000000000ULL + 1000000000ULL * 10000000ULL;
        const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        ASSERT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
        CloseHandle(file);
    }

    std::u8string scope() const { return folder_.generic_u8string(); }
    std::string path(const char8_t* below) const {
        const std::u8string text = (folder_ / below).generic_u8string();
        return {text.begin(), text.end()};
    }

    ss::Engine built() const {
        ss::Engine engine = ss::Engine::create();
        EXPECT_TRUE(engine.start(scope()));
        while (engine.progress().state == ss::EngineState::kRunning)
            std::this_thread::sleep_for(1ms);
        EXPECT_EQ(engine.progress().state, ss::EngineState::kReady) << engine.error();
        return engine;
    }

    fs::path folder_;
};

const ss::Query& done(const ss::Query& query) {
    EXPECT_TRUE(query);
    while (query.state() == ss::QueryState::kRunning) std::this_thread::sleep_for(1ms);
    return query;
}

TEST_F(CppFace, a_fresh_engine_is_idle_and_empty) {
    const ss::Engine engine = ss::Engine::create();
    ASSERT_TRUE(engine);
    EXPECT_EQ(engine.progress().state, ss::EngineState::kIdle);
    EXPECT_EQ(engine.progress().entries, 0u);
    EXPECT_STREQ(engine.error(), "");
    EXPECT_EQ(done(engine.search("")).poll().matched, 0u);
}

TEST_F(CppFace, reports_what_the_build_did) {
    const ss::Engine engine = built();
    const ss::Progress progress = engine.progress();
    EXPECT_EQ(progress.entries, 5u);
    EXPECT_EQ(progress.skipped, 0u);
    EXPECT_FALSE(progress.limited);
    EXPECT_FALSE(progress.from_cache);
}

TEST_F(CppFace, loads_the_cache_unless_told_to_walk) {
    const std::u8string cache = (folder_ / "cache.bin").u8string();
    ss::Engine engine = ss::Engine::create();
    const auto build = [&](bool force) {
        EXPECT_TRUE(engine.start(scope(), cache, force));
        while (engine.progress().state == ss::EngineState::kRunning)
            std::this_thread::sleep_for(1ms);
        return engine.progress();
    };
    EXPECT_FALSE(build(/*force=*/false).from_cache);
    EXPECT_TRUE(build(/*force=*/false).from_cache);
    EXPECT_FALSE(build(/*force=*/true).from_cache);
}

TEST_F(CppFace, gives_the_reason_of_a_failed_build) {
    ss::Engine engine = ss::Engine::create();
    ASSERT_TRUE(engine.start("relative"));
    while (engine.progress().state == ss::EngineState::kRunning) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(engine.progress().state, ss::EngineState::kFailed);
    EXPECT_STREQ(engine.error(), "Choose an absolute folder path.");
}

TEST_F(CppFace, results_are_a_range_in_order) {
    const ss::Engine engine = built();
    const ss::Query query = engine.search("report");
    const ss::Results results = done(query).results();
    std::vector<std::string> paths;
    for (const ss::Result& result : results) paths.emplace_back(result.path);
    const std::vector<std::string> expected = {
        path(u8"reports"), path(u8"reports/Report \u00E9t\u00E9.md"), path(u8"reports/report.txt")};
    EXPECT_EQ(paths, expected);

    EXPECT_EQ(results.size(), 3u);
    EXPECT_EQ(results.end() - results.begin(), 3);
    EXPECT_EQ(results.begin()[2].path, expected[2]);
    EXPECT_EQ((*(results.end() - 1)).path, expected[2]);
    EXPECT_TRUE(results[3].path.empty());
    EXPECT_TRUE(results[std::size_t{1} << 32].path.empty());
    const auto folders = std::ranges::count(results, ss::Kind::kFolder, &ss::Result::kind);
    EXPECT_EQ(folders, 1);
    auto at = results.begin();
    EXPECT_EQ(at++, results.begin());
    EXPECT_EQ(--at, results.begin());
    EXPECT_LT(at, results.end());
}

TEST_F(CppFace, results_tell_size_and_time_where_known) {
    const ss::Engine engine = built();
    const ss::Query files = engine.search("report.txt", {ss::Kind::kFile});
    ASSERT_EQ(done(files).results().size(), 1u);
    const ss::Result file = files.results()[0];
    EXPECT_EQ(file.kind, ss::Kind::kFile);
    EXPECT_EQ(file.size, std::optional<std::uint64_t>(12));
    EXPECT_EQ(file.modified, std::optional(ss::Time(1000000000s)));

    const ss::Query folders = engine.search("reports", {ss::Kind::kFolder});
    ASSERT_EQ(done(folders).results().size(), 1u);
    EXPECT_EQ(folders.results()[0].size, std::nullopt);
    EXPECT_TRUE(folders.results()[0].modified.has_value());

    fs::remove(folder_ / "other.bin");
    const ss::Query gone = engine.search("other.bin");
    ASSERT_EQ(done(gone).results().size(), 1u);
    EXPECT_EQ(gone.results()[0].size, std::nullopt);
    EXPECT_EQ(gone.results()[0].modified, std::nullopt);
}

TEST_F(CppFace, a_filter_reaches_the_search) {
    const ss::Engine engine = built();
    const auto count = [&](ss::Text text, ss::Filter filter) {
        return done(engine.search(text, filter)).poll().count;
    };
    EXPECT_EQ(count("REPORT", {}), 3u);
    EXPECT_EQ(count("REPORT", {ss::Kind::kAny, ss::Match::kCase}), 0u);
    EXPECT_EQ(count("reports/", {ss::Kind::kAny, ss::Match::kPath}), 3u);
    EXPECT_EQ(count("Reports/", {ss::Kind::kAny, ss::Match::kPathAndCase}), 0u);
    EXPECT_EQ(count("", {ss::Kind::kFolder}), 2u);
    EXPECT_EQ(count("", {ss::Kind::kAny, ss::Match::kName, 2}), 2u);
}

TEST_F(CppFace, a_filter_out_of_range_gives_an_empty_query) {
    const ss::Engine engine = built();
    for (const std::uint32_t limit : {0u, 1001u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(engine.search("", {ss::Kind::kAny, ss::Match::kName, limit})) << limit;
        EXPECT_FALSE(ss::list_folder(scope(), "", {ss::Kind::kAny, ss::Match::kName, limit}))
            << limit;
    }
    EXPECT_FALSE(engine.search("", {static_cast<ss::Kind>(3)}));
    EXPECT_FALSE(engine.search(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(ss::list_folder(""));
}

TEST_F(CppFace, lists_a_folder_without_an_engine) {
    const ss::Query query = ss::list_folder(scope());
    const ss::Outcome outcome = done(query).poll();
    EXPECT_EQ(outcome.state, ss::QueryState::kDone);
    EXPECT_EQ(outcome.matched, 2u);
    EXPECT_EQ(outcome.index_entries, 2u);
    EXPECT_FALSE(outcome.index_incomplete);
    EXPECT_EQ(query.results()[0].path, path(u8"other.bin"));
    EXPECT_EQ(done(ss::list_folder(scope(), "", {ss::Kind::kFolder})).results().size(), 1u);
    EXPECT_EQ(done(ss::list_folder(scope(), "OTHER", {ss::Kind::kAny, ss::Match::kCase}))
                  .results()
                  .size(),
              0u);
    EXPECT_EQ(
        done(ss::list_folder(scope(), "", {ss::Kind::kAny, ss::Match::kName, 1})).results().size(),
        1u);
    EXPECT_EQ(done(ss::list_folder(scope() + u8"/missing")).state(), ss::QueryState::kFailed);
}

TEST_F(CppFace, a_moved_query_keeps_its_results_and_outlives_the_engine) {
    ss::Engine engine = built();
    ss::Query first = engine.search("other");
    const std::string_view before = done(first).results()[0].path;
    engine.reset();
    EXPECT_FALSE(engine);

    ss::Query second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): that is the point
    ASSERT_TRUE(second);
    EXPECT_EQ(second.results()[0].path.data(), before.data());
    second = ss::Query();
    EXPECT_FALSE(second);
}

TEST_F(CppFace, handles_of_the_c_functions_can_be_taken_over) {
    const ss::Engine engine(ss_create());
    EXPECT_EQ(engine.progress().state, ss::EngineState::kIdle);
    const ss::Query query(ss_query(engine.handle(), "", 0, SS_KIND_ANY, 1));
    EXPECT_EQ(done(query).state(), ss::QueryState::kDone);
}

TEST_F(CppFace, handles_can_be_given_away) {
    ss::Engine engine = ss::Engine::create();
    SystemSearchEngine* const engine_handle = engine.handle();
    EXPECT_EQ(engine.release(), engine_handle);
    EXPECT_FALSE(engine);

    ss::Query query(ss_query(engine_handle, "", 0, SS_KIND_ANY, 1));
    SystemSearchQuery* const query_handle = query.handle();
    EXPECT_EQ(query.release(), query_handle);
    EXPECT_FALSE(query);
    EXPECT_EQ(query.release(), nullptr);

    ss_query_destroy(query_handle);  // they were not destroyed with the objects
    ss_destroy(engine_handle);
}

TEST_F(CppFace, match_flags_can_be_combined) {
    using ss::Match;
    static_assert((Match::kPath | Match::kCase) == Match::kPathAndCase);
    static_assert((Match::kPathAndCase & Match::kCase) == Match::kCase);
    static_assert((Match::kPath & Match::kCase) == Match::kName);
    Match match = Match::kName;
    match |= Match::kPath;
    EXPECT_EQ(match, Match::kPath);
    match &= Match::kCase;
    EXPECT_EQ(match, Match::kName);
}

TEST_F(CppFace, empty_objects_answer_as_null_handles_do) {
    ss::Engine engine;
    EXPECT_FALSE(engine);
    EXPECT_FALSE(engine.start(scope()));
    engine.cancel();
    EXPECT_EQ(engine.progress().state, ss::EngineState::kIdle);
    EXPECT_STREQ(engine.error(), "Library unavailable.");
    EXPECT_FALSE(engine.search(""));

    const ss::Query query;
    EXPECT_EQ(query.state(), ss::QueryState::kFailed);
    EXPECT_TRUE(query.results().empty());
    EXPECT_EQ(query.results().begin(), query.results().end());
    EXPECT_TRUE((*query.results().begin()).path.empty());
}

TEST_F(CppFace, a_cancelled_build_ends) {
    ss::Engine engine = ss::Engine::create();
    const HeldBuild held;
    ASSERT_TRUE(held.applied());
    ASSERT_TRUE(engine.start(scope()));
    engine.cancel();
    held.let_go();
    while (engine.progress().state == ss::EngineState::kRunning) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(engine.progress().state, ss::EngineState::kCancelled);
}

}  // namespace
