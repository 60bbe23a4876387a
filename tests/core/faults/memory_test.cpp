// Memory that runs out at the Nth allocation, for N from 1 until the operation succeeds: for every
// exported function and for what the threads behind it do. Once at the Nth alone, once from the Nth
// on. The address and leak sanitizers look on.
#include <functional>

#include "core/faults/small_machine.hpp"

namespace system_search::simulated {
namespace {

constexpr std::uint64_t kAlone = 1;
constexpr std::uint64_t kForGood = UINT64_MAX / 2;

class MemoryFaults : public SmallMachine, public testing::WithParamInterface<std::uint64_t> {
protected:
    // Runs `attempt` with the 1st, 2nd, 3rd ... allocation of `broken` failing until none failed.
    // `check` gets whether memory ran out.
    void with_each_allocation_failing(const std::function<void()>& broken,
                                      const std::function<void(bool, int)>& check) {
        for (int n = 1;; ++n) {
            ASSERT_LT(n, 5000) << "the operation never succeeds";
            {
                const AllocationFault fault(static_cast<std::uint64_t>(n), GetParam());
                broken();
            }
            const bool ran_out = AllocationFault::hit();
            check(ran_out, n);
            if (HasFailure()) {
                FAIL() << "with allocation " << n << " failing";
            }
            if (!ran_out) {
                EXPECT_GT(n, 1) << "nothing was allocated: the test does not bite";
                return;
            }
        }
    }
};

TEST_P(MemoryFaults, create_gives_null_exactly_when_memory_ran_out) {
    SystemSearchEngine* engine = nullptr;
    with_each_allocation_failing([&] { engine = ss_create(); },
                                 [&](bool ran_out, int) {
                                     EXPECT_EQ(engine == nullptr, ran_out);
                                     ss_destroy(engine);
                                 });
}

struct Build {
    int started = 0;
    EngineStatus status{};
};

Build build(SystemSearchEngine* engine, const char* scope, const char* cache, int force) {
    Build build;
    build.started = ss_start(engine, scope, cache, force);
    build.status = wait(engine);
    return build;
}

void expect_rebuilds(SystemSearchEngine* engine, const char* scope, const char* cache,
                     std::uint32_t entries) {
    const Build again = build(engine, scope, cache, 1);
    EXPECT_EQ(again.started, 1);
    EXPECT_EQ(again.status.state, SS_ENGINE_READY);
    EXPECT_EQ(again.status.entries, entries);
    EXPECT_EQ(again.status.skipped, 0u);
    EXPECT_STREQ(ss_error(engine), "");
}

TEST_P(MemoryFaults, a_walk_and_its_save_end_ready_or_failed_and_the_engine_works_again) {
    SystemSearchEngine* engine = nullptr;
    Build result;
    bool saw_refused_start = false;
    bool saw_failed_build = false;
    bool saw_unsaved_cache = false;
    for (int n = 1;; ++n) {
        engine = ss_create();
        remove_tree(u"C:\\cache");
        {
            const AllocationFault fault(static_cast<std::uint64_t>(n), GetParam());
            result = build(engine, kScope, kCache, 1);
        }
        const bool ran_out = AllocationFault::hit();
        const std::string error = ss_error(engine);
        if (result.started == 0) {
            saw_refused_start = true;
            EXPECT_EQ(result.status.state, SS_ENGINE_FAILED) << n;
            EXPECT_EQ(error, "") << n;
        } else if (result.status.state == SS_ENGINE_FAILED) {
            saw_failed_build = true;
            EXPECT_EQ(error, "std::bad_alloc") << n;
            EXPECT_TRUE(result.status.entries == 0 || result.status.entries == kEntries) << n;
            EXPECT_FALSE(exists(kCachePath)) << n;
        } else {
            EXPECT_EQ(result.status.state, SS_ENGINE_READY) << n;
            EXPECT_EQ(result.status.entries, kEntries) << n;
            EXPECT_EQ(result.status.skipped, 0u) << n;
            if (!exists(kCachePath)) {
                saw_unsaved_cache = true;
                EXPECT_EQ(error, "Index is usable, but its cache could not be saved.") << n;
            }
        }
        expect_rebuilds(engine, kScope, kCache, kEntries);
        ss_destroy(engine);
        ASSERT_FALSE(HasFailure()) << "with allocation " << n << " failing";
        if (!ran_out) break;
    }
    EXPECT_TRUE(saw_refused_start);
    EXPECT_TRUE(saw_failed_build);
    EXPECT_TRUE(saw_unsaved_cache);
    EXPECT_EQ(list_names(u"C:\\cache\\deep"), std::vector<std::u16string>{u"index.cache"});
}

TEST_P(MemoryFaults, a_load_is_whole_or_is_replaced_by_a_walk) {
    ss_destroy(built_engine());
    bool saw_fallback = false;
    for (int n = 1;; ++n) {
        SystemSearchEngine* const engine = ss_create();
        Build result;
        {
            const AllocationFault fault(static_cast<std::uint64_t>(n), GetParam());
            result = build(engine, kScope, kCache, 0);
        }
        const bool ran_out = AllocationFault::hit();
        if (result.status.state == SS_ENGINE_READY) {
            EXPECT_EQ(result.status.entries, kEntries) << n;
            saw_fallback |= ran_out && result.status.from_cache == 0;
            if (!ran_out) {
                EXPECT_EQ(result.status.from_cache, 1u);
            }
        } else {
            EXPECT_EQ(result.status.state, SS_ENGINE_FAILED) << n;
            EXPECT_EQ(result.status.from_cache, 0u) << n;
        }
        expect_rebuilds(engine, kScope, kCache, kEntries);
        ss_destroy(engine);
        ASSERT_FALSE(HasFailure()) << "with allocation " << n << " failing";
        if (!ran_out) break;
    }
    if (GetParam() == kAlone) {
        EXPECT_TRUE(saw_fallback);
    }
}

// A query or a listing, from its start to its final state.
struct QueryRun {
    SystemSearchQuery* query = nullptr;
    QueryStatus found{};

    void finish(SystemSearchQuery* started) {
        query = started;
        if (query != nullptr) found = wait(query);
    }
};

// `failed_thread`: it was seen that the thread, not the call, ran out of memory.
void check_run(QueryRun& run, bool ran_out, std::uint32_t matched, bool& failed_thread) {
    if (run.query == nullptr) {
        EXPECT_TRUE(ran_out);
        return;
    }
    EXPECT_EQ(run.found.state, ran_out ? SS_QUERY_FAILED : SS_QUERY_DONE);
    EXPECT_EQ(run.found.matched, ran_out ? 0u : matched);
    EXPECT_EQ(run.found.index_incomplete, 0u);
    failed_thread |= run.found.state == SS_QUERY_FAILED;
    if (ran_out) {
        EXPECT_EQ(ss_query_path(run.query, 0), nullptr);
        EXPECT_EQ(ss_query_kind(run.query, 0), 0u);
        ResultMetadata metadata;
        EXPECT_EQ(ss_query_metadata(run.query, 0, &metadata), 0);
    }
    ss_query_destroy(run.query);
}

TEST_P(MemoryFaults, a_query_is_null_failed_or_right) {
    SystemSearchEngine* const engine = built_engine();
    for (const char* text : {"", "file", "*F?le*", "file ?.txt", "tree/folder"}) {
        for (std::uint32_t flags = 0; flags <= (SS_MATCH_PATH | SS_MATCH_CASE); ++flags) {
            SystemSearchQuery* const sound = ss_query(engine, text, flags, SS_KIND_ANY, 1000);
            const std::uint32_t matched = wait(sound).matched;
            ss_query_destroy(sound);

            QueryRun run;
            bool failed_thread = false;
            with_each_allocation_failing(
                [&] { run.finish(ss_query(engine, text, flags, SS_KIND_ANY, 1000)); },
                [&](bool ran_out, int) { check_run(run, ran_out, matched, failed_thread); });
            EXPECT_TRUE(failed_thread || matched == 0) << text;
        }
    }
    ss_destroy(engine);
}

TEST_P(MemoryFaults, a_listing_is_null_failed_or_right) {
    for (const char* text : {"", "file", "*F?le*"}) {
        QueryRun run;
        bool failed_thread = false;
        with_each_allocation_failing(
            [&] { run.finish(ss_query_directory(kScope, text, 0, SS_KIND_FILE, 1000)); },
            [&](bool ran_out, int) { check_run(run, ran_out, 3, failed_thread); });
        EXPECT_TRUE(failed_thread) << text;
    }
}

TEST_P(MemoryFaults, status_poll_and_results_need_no_memory) {
    SystemSearchEngine* const engine = built_engine();
    SystemSearchQuery* const query = ss_query(engine, "file", 0, SS_KIND_ANY, 10);
    ASSERT_EQ(wait(query).state, SS_QUERY_DONE);
    {
        const AllocationFault fault(1, GetParam());
        EngineStatus status{};
        ss_status(engine, &status);
        QueryStatus found{};
        ss_query_poll(query, &found);
        ResultMetadata metadata{};
        ss_query_path(query, 0);
        ss_query_kind(query, 0);
        ss_query_metadata(query, 0, &metadata);
        ss_cancel(engine);
        ss_query_destroy(query);
        ss_destroy(engine);
    }
    EXPECT_FALSE(AllocationFault::hit());
}

TEST_P(MemoryFaults, the_error_text_without_memory_is_a_sentence) {
    SystemSearchEngine* const engine = ss_create();
    ASSERT_EQ(build(engine, "relative", "", 0).status.state, SS_ENGINE_FAILED);
    std::string text;
    // A thread of its own: it has no buffer from earlier calls.
    std::thread thread([&] {
        const char* given = nullptr;
        {
            const AllocationFault fault(1, GetParam());
            given = ss_error(engine);
        }
        EXPECT_TRUE(AllocationFault::hit());
        text = given;
    });
    thread.join();
    EXPECT_EQ(text, "Cannot read index status.");
    EXPECT_STREQ(ss_error(engine), "Choose an absolute folder path.");
    ss_destroy(engine);
}

TEST_P(MemoryFaults, a_thread_that_cannot_be_started_leaves_a_usable_handle) {
    SystemSearchEngine* const engine = built_engine();
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(ss_start(engine, kScope, kCache, 1), 0);
    EXPECT_EQ(wait(engine).state, SS_ENGINE_FAILED);
    EXPECT_EQ(wait(engine).entries, 0u);
    EXPECT_STREQ(ss_error(engine), "");
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(ss_query(engine, "", 0, SS_KIND_ANY, 1), nullptr);
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(ss_query_directory(kScope, "", 0, SS_KIND_ANY, 1), nullptr);
    forget_call_plans();
    expect_rebuilds(engine, kScope, kCache, kEntries);
    ss_destroy(engine);
}

INSTANTIATE_TEST_SUITE_P(, MemoryFaults, testing::Values(kAlone, kForGood),
                         [](const testing::TestParamInfo<std::uint64_t>& mode) {
                             return mode.param == kAlone ? "at_the_nth" : "from_the_nth_on";
                         });

}  // namespace
}  // namespace system_search::simulated
