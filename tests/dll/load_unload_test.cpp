// A host may load, use and unload the library as often as it likes, in one process, and threads
// that used it may live on. SS_LOAD_ROUNDS says how often; `make soak` asks for more.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "dll/loaded_library.hpp"
#include "dll/process_resources.hpp"

namespace {

namespace fs = std::filesystem;

class LoadUnload : public testing::Test {
protected:
    void SetUp() override {
        root_ = fs::current_path() / "load_unload";
        fs::remove_all(root_);
        for (const char* folder : {"small", "large"}) {
            for (int i = 0; i < (folder[0] == 's' ? 5 : 40); ++i) {
                const fs::path sub = root_ / folder / ("folder" + std::to_string(i));
                fs::create_directories(sub);
                std::ofstream(sub / "file.txt") << "text";
            }
        }
        small_ = (root_ / "small").string();
        large_ = (root_ / "large").string();
        cache_ = (root_ / "cache" / "index.cache").string();
    }
    void TearDown() override { fs::remove_all(root_); }

    // Everything that a host can do: each kind of build, with each outcome, queries and listings,
    // some of them destroyed while they run.
    void use(const LoadedLibrary& library) {
        SystemSearchEngine* const engine = library.create();
        ASSERT_NE(engine, nullptr);

        ASSERT_EQ(library.start(engine, "relative", "", 0), 1);
        ASSERT_EQ(library.wait(engine).state, SS_ENGINE_FAILED);
        ASSERT_STREQ(library.error(engine), "Choose an absolute folder path.");

        ASSERT_EQ(library.start(engine, small_.c_str(), cache_.c_str(), 1), 1);
        EngineStatus status = library.wait(engine);
        ASSERT_EQ(status.state, SS_ENGINE_READY) << library.error(engine);
        ASSERT_STREQ(library.error(engine), "");
        ASSERT_EQ(status.entries, 10u);
        ASSERT_EQ(status.from_cache, 0u);

        ASSERT_EQ(library.start(engine, small_.c_str(), cache_.c_str(), 0), 1);
        status = library.wait(engine);
        ASSERT_EQ(status.entries, 10u);
        ASSERT_EQ(status.from_cache, 1u);

        SystemSearchQuery* const query = library.query(engine, "file", 0, SS_KIND_ANY, 1000);
        ASSERT_NE(query, nullptr);
        QueryStatus found = library.wait(query);
        ASSERT_EQ(found.state, SS_QUERY_DONE);
        ASSERT_EQ(found.count, 5u);
        ResultMetadata metadata{};
        ASSERT_EQ(library.query_metadata(query, 0, &metadata), 1);
        ASSERT_EQ(metadata.size, 4u);
        library.query_destroy(query);
        library.query_destroy(library.query(engine, "*fi?e*", 0, SS_KIND_ANY, 1000));

        SystemSearchQuery* const listing =
            library.query_directory(small_.c_str(), "", 0, SS_KIND_ANY, 1000);
        ASSERT_NE(listing, nullptr);
        found = library.wait(listing);
        ASSERT_EQ(found.matched, 5u);
        library.query_destroy(listing);
        SystemSearchQuery* const missing =
            library.query_directory("C:/no/such/folder", "", 0, SS_KIND_ANY, 1);
        ASSERT_EQ(library.wait(missing).state, SS_QUERY_FAILED);
        library.query_destroy(missing);
        library.query_destroy(library.query_directory(large_.c_str(), "", 0, SS_KIND_ANY, 1000));

        ASSERT_EQ(library.start(engine, large_.c_str(), "", 1), 1);
        library.cancel(engine);
        status = library.wait(engine);
        ASSERT_TRUE(status.state == SS_ENGINE_CANCELLED || status.state == SS_ENGINE_READY);
        library.destroy(engine);
    }

    fs::path root_;
    std::string small_;
    std::string large_;
    std::string cache_;
};

int wanted_rounds() {
    const char* const wanted = std::getenv("SS_LOAD_ROUNDS");
    return wanted != nullptr ? std::atoi(wanted) : 200;
}

TEST_F(LoadUnload, rounds_leave_no_slot_no_handle_and_no_memory_behind) {
    constexpr int kWarmUp = 100;
    const int quarter = wanted_rounds() / ResourceMarks::kParts;
    ResourceMarks marks;
    for (int round = 0; round < kWarmUp + ResourceMarks::kParts * quarter; ++round) {
        if (round >= kWarmUp && (round - kWarmUp) % quarter == 0) marks.add();
        LoadedLibrary library;
        ASSERT_NE(library.module(), nullptr) << "round " << round;
        use(library);
        if (HasFatalFailure()) FAIL() << "round " << round;
        library.unload();
        ASSERT_FALSE(LoadedLibrary::is_in_process()) << "round " << round;
    }
    marks.add();
    EXPECT_LE(marks.least_growth(&ProcessResources::free_tls_slot), 0);
    EXPECT_LE(marks.least_growth(&ProcessResources::free_fls_slot), 0);
    EXPECT_LE(marks.least_growth(&ProcessResources::free_handle), 0);
    // The heap takes from the system in steps, more and more rarely, also without the library: some
    // 120 KB in the first 300 rounds under Wine 10. What a round loses grows in each quarter
    // instead: 500 bytes a round of the 200 would be 25 KB in each, 50 a round in a soak of 2000 as
    // much.
    EXPECT_LT(marks.least_growth(&ProcessResources::memory_bytes), 25'000);
}

struct Survivor {
    const LoadedLibrary* library;
    HANDLE called;
    HANDLE may_end;
};

DWORD WINAPI call_and_outlive(void* argument) {
    const auto* const survivor = static_cast<Survivor*>(argument);
    SystemSearchEngine* const engine = survivor->library->create();
    const bool empty = survivor->library->error(engine)[0] == '\0';
    survivor->library->destroy(engine);
    SetEvent(survivor->called);
    WaitForSingleObject(survivor->may_end, INFINITE);
    return empty ? 0 : 1;
}

TEST_F(LoadUnload, threads_that_asked_for_the_error_text_may_outlive_the_library) {
    for (int round = 0; round < 20; ++round) {
        LoadedLibrary library;
        Survivor survivor{&library, CreateEventW(nullptr, FALSE, FALSE, nullptr),
                          CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        std::vector<HANDLE> threads;
        for (int i = 0; i < 8; ++i) {
            threads.push_back(CreateThread(nullptr, 0, call_and_outlive, &survivor, 0, nullptr));
            WaitForSingleObject(survivor.called, INFINITE);
        }
        library.unload();
        ASSERT_FALSE(LoadedLibrary::is_in_process()) << "a thread keeps the library loaded";
        SetEvent(survivor.may_end);
        for (HANDLE thread : threads) {
            WaitForSingleObject(thread, INFINITE);
            DWORD result = 1;
            GetExitCodeThread(thread, &result);
            EXPECT_EQ(result, 0u);
            CloseHandle(thread);
        }
        CloseHandle(survivor.called);
        CloseHandle(survivor.may_end);
    }
}

DWORD WINAPI ask_for_error_text(void* argument) {
    const auto* const library = static_cast<LoadedLibrary*>(argument);
    SystemSearchEngine* const engine = library->create();
    const bool empty = library->error(engine)[0] == '\0';
    library->destroy(engine);
    return empty ? 0 : 1;
}

TEST_F(LoadUnload, threads_that_asked_for_the_error_text_leave_no_memory_behind) {
    LoadedLibrary library;
    ResourceMarks marks;
    const int part = 10 * wanted_rounds() / ResourceMarks::kParts;
    for (int i = 0; i < 1000 + ResourceMarks::kParts * part; ++i) {
        if (i >= 1000 && (i - 1000) % part == 0) marks.add();
        HANDLE const thread = CreateThread(nullptr, 0, ask_for_error_text, &library, 0, nullptr);
        ASSERT_NE(thread, nullptr) << i;
        WaitForSingleObject(thread, INFINITE);
        DWORD result = 1;
        GetExitCodeThread(thread, &result);
        ASSERT_EQ(result, 0u);
        CloseHandle(thread);
    }
    marks.add();
    EXPECT_LE(marks.least_growth(&ProcessResources::free_handle), 0);
    // A text's buffer of 1 KB would be 500 KB in each part; in a soak, 16 bytes a thread 80 KB.
    EXPECT_LT(marks.least_growth(&ProcessResources::memory_bytes), 40'000);
}

}  // namespace
