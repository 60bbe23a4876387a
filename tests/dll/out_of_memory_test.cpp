// The shipped DLL when memory runs out at the Nth allocation, for N from 1 until the operation
// succeeds: once alone, and once for every allocation from the Nth on, so that the C++ runtime has
// none left for the exception either. Whatever happens, the result is one that the header names,
// the host lives, and the same handle works once memory is back.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "dll/import_table.hpp"
#include "dll/loaded_library.hpp"
#include "dll/process_resources.hpp"

namespace {

namespace fs = std::filesystem;

// Allocations of the DLL are counted down; at 0 they fail.
std::atomic<std::int64_t> allocations_left{INT64_MAX};
std::atomic<bool> stays_short{false};

bool allocation_fails() {
    const std::int64_t left = allocations_left.fetch_sub(1);
    return left == 1 || (left < 1 && stays_short);
}

void* counted_malloc(std::size_t bytes) {
    return allocation_fails() ? nullptr : std::malloc(bytes);
}
void* counted_calloc(std::size_t count, std::size_t bytes) {
    return allocation_fails() ? nullptr : std::calloc(count, bytes);
}
void* counted_realloc(void* memory, std::size_t bytes) {
    return allocation_fails() ? nullptr : std::realloc(memory, bytes);
}

class OutOfMemory : public testing::TestWithParam<bool> {
protected:
    OutOfMemory()
        : malloc_(library_.module(), "malloc", &counted_malloc),
          calloc_(library_.module(), "calloc", &counted_calloc),
          realloc_(library_.module(), "realloc", &counted_realloc) {}

    void SetUp() override {
        ASSERT_TRUE(malloc_.applied()) << "operator new must stand on malloc for this test to bite";
        root_ = fs::current_path() / "out_of_memory";
        fs::remove_all(root_);
        for (int i = 0; i < 3; ++i) {
            const fs::path sub = root_ / "tree" / ("Folder" + std::to_string(i));
            fs::create_directories(sub);
            std::ofstream(sub / "file.txt") << "text";
        }
        tree_ = (root_ / "tree").string();
        cache_ = (root_ / "cache" / "index.cache").string();
        stays_short = GetParam();
    }
    void TearDown() override {
        memory_is_back();
        fs::remove_all(root_);
    }

    static void fail_from(std::int64_t n) { allocations_left = n; }
    static bool memory_ran_out() { return allocations_left < 1; }
    static void memory_is_back() { allocations_left = INT64_MAX; }

    // Calls `attempt` with the 1st, 2nd, 3rd ... allocation failing, until none was asked for that
    // failed. `attempt` gets N for its messages.
    static void with_each_allocation_failing(const std::function<void(int)>& attempt) {
        for (int n = 1;; ++n) {
            ASSERT_LT(n, 5000) << "the operation never succeeds";
            fail_from(n);
            attempt(n);
            const bool ran_out = memory_ran_out();
            memory_is_back();
            if (HasFatalFailure()) return;
            if (!ran_out) {
                EXPECT_GT(n, 1) << "nothing was allocated: the test does not bite";
                return;
            }
        }
    }

    LoadedLibrary library_;
    ImportPatch malloc_;
    ImportPatch calloc_;
    ImportPatch realloc_;
    fs::path root_;
    std::string tree_;
    std::string cache_;
};

TEST_P(OutOfMemory, create_gives_null_or_a_working_engine) {
    with_each_allocation_failing([&](int n) {
        SystemSearchEngine* const engine = library_.create();
        const bool ran_out = memory_ran_out();
        memory_is_back();
        EXPECT_EQ(engine == nullptr, ran_out) << n;
        if (ran_out) fail_from(0);  // counts as run out for the loop
        library_.destroy(engine);
    });
}

// A build with the given cache behaviour, from ss_start to its final state.
void check_build(LoadedLibrary& library, const std::string& tree, const std::string& cache,
                 int force, int n) {
    SystemSearchEngine* const engine = library.create();
    ASSERT_NE(engine, nullptr);
    allocations_left = n;
    const int started = library.start(engine, tree.c_str(), cache.c_str(), force);
    const EngineStatus status = library.wait(engine);
    const bool ran_out = allocations_left < 1;
    if (started == 0) {
        EXPECT_EQ(status.state, SS_ENGINE_FAILED) << n;
    } else {
        EXPECT_TRUE(status.state == SS_ENGINE_READY || status.state == SS_ENGINE_FAILED)
            << n << ": " << status.state;
    }
    if (status.state == SS_ENGINE_READY) {
        EXPECT_EQ(status.entries, 6u) << n;
    }
    allocations_left = INT64_MAX;
    const std::string error = library.error(engine);
    if (status.state == SS_ENGINE_READY && !error.empty()) {
        EXPECT_EQ(error, "Index is usable, but its cache could not be saved.") << n;
    }

    // Memory is back: the same engine builds.
    EXPECT_EQ(library.start(engine, tree.c_str(), cache.c_str(), 1), 1) << n;
    const EngineStatus again = library.wait(engine);
    EXPECT_EQ(again.state, SS_ENGINE_READY) << n << ": " << library.error(engine);
    EXPECT_EQ(again.entries, 6u) << n;
    EXPECT_STREQ(library.error(engine), "") << n;
    library.destroy(engine);
    allocations_left = ran_out ? 0 : INT64_MAX;
}

TEST_P(OutOfMemory, a_walk_and_its_save_end_ready_or_failed) {
    with_each_allocation_failing([&](int n) {
        memory_is_back();
        check_build(library_, tree_, cache_, /*force=*/1, n);
    });
}

TEST_P(OutOfMemory, a_load_ends_ready_from_the_cache_or_by_a_walk) {
    memory_is_back();
    check_build(library_, tree_, cache_, 1, 1'000'000);  // writes the cache
    with_each_allocation_failing([&](int n) {
        memory_is_back();
        check_build(library_, tree_, cache_, /*force=*/0, n);
    });
}

TEST_P(OutOfMemory, a_query_is_null_failed_or_right) {
    memory_is_back();
    SystemSearchEngine* const engine = library_.create();
    ASSERT_EQ(library_.start(engine, tree_.c_str(), "", 1), 1);
    ASSERT_EQ(library_.wait(engine).state, SS_ENGINE_READY);
    for (const char* text : {"file", "*f?le*"}) {
        with_each_allocation_failing([&](int n) {
            SystemSearchQuery* const query = library_.query(engine, text, 0, SS_KIND_ANY, 10);
            if (query == nullptr) {
                EXPECT_TRUE(memory_ran_out()) << n;
                return;
            }
            const QueryStatus found = library_.wait(query);
            EXPECT_EQ(found.state, memory_ran_out() ? SS_QUERY_FAILED : SS_QUERY_DONE) << n;
            EXPECT_EQ(found.matched, memory_ran_out() ? 0u : 3u) << n;
            library_.query_destroy(query);
        });
    }
    library_.destroy(engine);
}

TEST_P(OutOfMemory, a_listing_is_null_failed_or_right) {
    with_each_allocation_failing([&](int n) {
        SystemSearchQuery* const listing =
            library_.query_directory(tree_.c_str(), "", 0, SS_KIND_ANY, 10);
        if (listing == nullptr) {
            EXPECT_TRUE(memory_ran_out()) << n;
            return;
        }
        const QueryStatus found = library_.wait(listing);
        EXPECT_EQ(found.state, memory_ran_out() ? SS_QUERY_FAILED : SS_QUERY_DONE) << n;
        EXPECT_EQ(found.matched, memory_ran_out() ? 0u : 3u) << n;
        library_.query_destroy(listing);
    });
}

struct ErrorCall {
    const LoadedLibrary* library;
    SystemSearchEngine* engine;
    std::string text;
};

DWORD WINAPI ask_for_error(void* argument) {
    auto* const call = static_cast<ErrorCall*>(argument);
    call->text = call->library->error(call->engine);
    return 0;
}

TEST_P(OutOfMemory, the_error_text_without_memory_is_a_sentence) {
    SystemSearchEngine* const engine = library_.create();
    ASSERT_EQ(library_.start(engine, "relative", "", 1), 1);
    ASSERT_EQ(library_.wait(engine).state, SS_ENGINE_FAILED);
    ErrorCall call{&library_, engine, {}};
    stays_short = true;
    fail_from(1);
    // A thread of its own: it has no buffer from earlier calls.
    HANDLE const thread = CreateThread(nullptr, 0, ask_for_error, &call, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    memory_is_back();
    EXPECT_EQ(call.text, "Cannot read index status.");
    EXPECT_STREQ(library_.error(engine), "Choose an absolute folder path.");
    library_.destroy(engine);
}

TEST_P(OutOfMemory, a_thousand_failures_leave_nothing_behind) {
    SystemSearchEngine* const engine = library_.create();
    ASSERT_EQ(library_.start(engine, tree_.c_str(), "", 1), 1);
    ASSERT_EQ(library_.wait(engine).state, SS_ENGINE_READY);
    ResourceMarks marks;
    constexpr int kPart = 250;
    for (int i = 0; i < 100 + ResourceMarks::kParts * kPart; ++i) {
        if (i >= 100 && (i - 100) % kPart == 0) marks.add();
        fail_from(1 + i % 12);
        library_.query_destroy(library_.query(engine, "file", 0, SS_KIND_ANY, 10));
        fail_from(1 + i % 12);
        library_.query_destroy(library_.query_directory(tree_.c_str(), "", 0, SS_KIND_ANY, 10));
    }
    memory_is_back();
    marks.add();
    EXPECT_LE(marks.least_growth(&ProcessResources::free_handle), 0);
    EXPECT_LT(marks.least_growth(&ProcessResources::memory_bytes), 25'000);
    library_.destroy(engine);
}

INSTANTIATE_TEST_SUITE_P(, OutOfMemory, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& mode) {
                             return mode.param ? "from_the_nth_on" : "at_the_nth";
                         });

}  // namespace
