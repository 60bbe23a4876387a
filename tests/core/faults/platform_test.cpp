// Platform calls that fail: the Nth of all calls of a small build, save, load, query and listing,
// for every N, with several error numbers. Never a crash, and never a part passed off as the whole:
// whatever is missing is counted, or the run says that it failed.
#include <set>

#include "core/faults/small_machine.hpp"

namespace system_search::simulated {
namespace {

constexpr platform::Error kErrors[] = {
    platform::kFileNotFound,      platform::kAccessDenied,
    platform::kNotEnoughMemory,   platform::kBadNetworkPath,
    platform::kDiskFull,          platform::kCannotAccessFile,
    /*a device that is gone=*/55, /*an input/output error=*/1117,
};

class PlatformFaults : public SmallMachine, public testing::WithParamInterface<platform::Error> {};

TEST_P(PlatformFaults, a_build_counts_what_it_missed_or_fails) {
    std::set<std::uint32_t> states;
    for (std::uint64_t n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        remove_tree(u"C:\\cache");
        SystemSearchEngine* const engine = ss_create();
        fail_platform_call(n, GetParam());
        const int started = ss_start(engine, kScope, kCache, 0);
        const EngineStatus status = wait(engine);
        const bool failed = failed_platform_calls() != 0;
        forget_call_plans();

        const std::string error = ss_error(engine);
        const std::vector<std::string> paths = indexed_paths(engine);
        states.insert(status.state);
        EXPECT_EQ(paths.size(), status.entries) << n;
        if (started == 0 || status.state == SS_ENGINE_FAILED) {
            EXPECT_EQ(status.state, SS_ENGINE_FAILED) << n;
            EXPECT_EQ(status.entries, 0u) << n;
            EXPECT_EQ(error.empty(), started == 0) << n << ": " << error;
            EXPECT_FALSE(exists(kCachePath)) << n;
        } else {
            EXPECT_EQ(status.state, SS_ENGINE_READY) << n;
            if (status.entries != kEntries) {
                EXPECT_GE(status.skipped, 1u) << n << ": something is missing and not counted";
            }
            // What was not saved is said, and a failing clean-up or close is not worth a word.
            EXPECT_EQ(error, exists(kCachePath)
                                 ? ""
                                 : "Index is usable, but its cache could not be saved.")
                << n;
        }
        EXPECT_EQ(status.from_cache, 0u) << n;
        ss_destroy(engine);
        ASSERT_FALSE(HasFailure()) << "call " << n << ", error " << GetParam();
        if (!failed) break;
    }
    EXPECT_EQ(states, (std::set<std::uint32_t>{SS_ENGINE_READY, SS_ENGINE_FAILED}));
}

TEST_P(PlatformFaults, a_load_is_whole_or_is_replaced_by_a_walk) {
    ss_destroy(built_engine());
    const std::string saved = read_file(kCachePath);
    for (std::uint64_t n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        write_file(kCachePath, saved);
        SystemSearchEngine* const engine = ss_create();
        fail_platform_call(n, GetParam());
        ss_start(engine, kScope, kCache, 0);
        const EngineStatus status = wait(engine);
        const bool failed = failed_platform_calls() != 0;
        forget_call_plans();
        if (status.state == SS_ENGINE_READY) {
            EXPECT_EQ(status.entries, kEntries) << n;
            EXPECT_EQ(status.skipped, 0u) << n;
        } else {
            EXPECT_EQ(status.state, SS_ENGINE_FAILED) << n;
        }
        if (!failed) {
            EXPECT_EQ(status.from_cache, 1u);
        }
        EXPECT_EQ(read_file(kCachePath), saved) << n << ": a good cache was damaged";
        ss_destroy(engine);
        ASSERT_FALSE(HasFailure()) << "call " << n << ", error " << GetParam();
        if (!failed) break;
    }
}

TEST_P(PlatformFaults, a_failed_save_leaves_the_old_cache_and_no_temporary_file) {
    ss_destroy(built_engine());
    const std::string saved = read_file(kCachePath);
    for (const bool partial : {false, true}) {
        set_partial_writes(partial);
        for (const Call call : {kCreateFile, kWriteFile, kFlushFile, kReplaceFile}) {
            for (std::uint64_t n = 1;; ++n) {
                SystemSearchEngine* const engine = ss_create();
                // From there on, because some errors are waited out.
                fail_platform_call(n, GetParam(), call, UINT64_MAX / 2);
                ASSERT_EQ(ss_start(engine, kScope, kCache, 1), 1);
                const EngineStatus status = wait(engine);
                const bool failed = failed_platform_calls() != 0;
                forget_call_plans();
                EXPECT_EQ(status.state, SS_ENGINE_READY);
                EXPECT_EQ(status.entries, kEntries);
                EXPECT_STREQ(ss_error(engine),
                             failed ? "Index is usable, but its cache could not be saved." : "");
                EXPECT_EQ(read_file(kCachePath), saved);
                EXPECT_EQ(list_names(u"C:\\cache\\deep").size(), 1u) << "a temporary file was left";
                ss_destroy(engine);
                ASSERT_FALSE(HasFailure()) << "call " << n << " of kind " << call;
                if (!failed) break;
            }
        }
    }
}

TEST_P(PlatformFaults, a_query_keeps_its_results_when_their_metadata_cannot_be_read) {
    SystemSearchEngine* const engine = built_engine();
    for (std::uint64_t n = 1;; ++n) {
        fail_platform_call(n, GetParam(), kFileInformation);
        SystemSearchQuery* const query = ss_query(engine, "", 0, SS_KIND_ANY, 1000);
        const QueryStatus found = wait(query);
        const bool failed = failed_platform_calls() != 0;
        forget_call_plans();
        EXPECT_EQ(found.state, SS_QUERY_DONE);
        EXPECT_EQ(found.count, kEntries);
        std::uint64_t unknown = 0;
        for (std::uint32_t i = 0; i < found.count; ++i) {
            ResultMetadata metadata{};
            EXPECT_EQ(ss_query_metadata(query, i, &metadata), 1);
            if (metadata.flags != 0) continue;
            ++unknown;
            EXPECT_EQ(i + 1, n) << "another result than the one asked about";
            EXPECT_EQ(metadata.size, 0u);
            EXPECT_EQ(metadata.modified, 0);
        }
        EXPECT_EQ(unknown, failed ? 1u : 0u);
        ss_query_destroy(query);
        ASSERT_FALSE(HasFailure()) << n;
        if (!failed) break;
    }
    ss_destroy(engine);
}

TEST_P(PlatformFaults, a_listing_is_whole_leaves_out_what_it_may_or_fails) {
    constexpr std::uint32_t kChildren = 5;
    std::set<std::uint32_t> states;
    for (std::uint64_t n = 1;; ++n) {
        ASSERT_LT(n, 1000u);
        fail_platform_call(n, GetParam());
        SystemSearchQuery* const listing = ss_query_directory(kScope, "", 0, SS_KIND_ANY, 1000);
        const QueryStatus found = listing != nullptr ? wait(listing) : QueryStatus{};
        const bool failed = failed_platform_calls() != 0;
        forget_call_plans();
        if (listing == nullptr) {
            EXPECT_TRUE(failed) << n;  // the thread was not started
        } else if (found.state == SS_QUERY_DONE) {
            EXPECT_EQ(found.index_entries, kChildren) << n;
            // A folder whose attributes cannot be asked again is left out by design.
            EXPECT_GE(found.matched, failed ? kChildren - 1 : kChildren) << n;
        } else {
            EXPECT_EQ(found.state, SS_QUERY_FAILED) << n;
            EXPECT_EQ(found.matched, 0u) << n;
            EXPECT_EQ(ss_query_path(listing, 0), nullptr) << n;
        }
        states.insert(found.state);
        ss_query_destroy(listing);
        ASSERT_FALSE(HasFailure()) << n;
        if (!failed) break;
    }
    EXPECT_TRUE(states.contains(SS_QUERY_DONE));
    EXPECT_TRUE(states.contains(SS_QUERY_FAILED));
}

INSTANTIATE_TEST_SUITE_P(, PlatformFaults, testing::ValuesIn(kErrors),
                         [](const testing::TestParamInfo<platform::Error>& error) {
                             return "error_" + std::to_string(error.param);
                         });

}  // namespace
}  // namespace system_search::simulated
