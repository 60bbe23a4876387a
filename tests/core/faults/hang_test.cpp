// Calls that hang, as on a share that does not answer: destroying a handle ends them, cancelling
// does not, and nothing that stays behind tells of a call that was ended.
#include "core/faults/small_machine.hpp"

namespace system_search::simulated {
namespace {

constexpr std::uint64_t kFromNowOn = UINT64_MAX / 2;

class Hang : public SmallMachine {};

// A save is what stays behind: the old cache, and no temporary file.
TEST_F(Hang, destroying_an_engine_ends_each_call_of_its_build) {
    ss_destroy(built_engine());
    const std::string saved = read_file(kCachePath);
    const OpenHandles before = open_handles();
    struct Row {
        Call call;
        std::uint64_t nth;
    };
    for (const Row& row : std::vector<Row>{{kStatus, 1},
                                           {kOpenFolder, 1},
                                           {kOpenFolder, 3},
                                           {kNextChild, 1},
                                           {kNextChild, 4},
                                           {kAttributes, 1},
                                           {kAttributes, 2},
                                           {kCreateFile, 1},
                                           {kWriteFile, 1},
                                           {kFlushFile, 1},
                                           {kReplaceFile, 1}}) {
        SystemSearchEngine* const engine = ss_create();
        hang_platform_call(row.nth, row.call, kFromNowOn);
        ASSERT_EQ(ss_start(engine, kScope, kCache, /*force=*/1), 1);
        ASSERT_TRUE(wait_until_a_call_hangs()) << row.call;
        ss_destroy(engine);
        forget_call_plans();
        EXPECT_EQ(open_handles(), before) << row.call;
        EXPECT_EQ(read_file(kCachePath), saved) << row.call;
        EXPECT_EQ(list_names(u"C:\\cache\\deep").size(), 1u) << "a temporary file was left";
    }
}

TEST_F(Hang, destroying_an_engine_ends_each_call_of_a_load) {
    ss_destroy(built_engine());
    const std::string saved = read_file(kCachePath);
    for (const Call call : {kOpenFile, kReadFile}) {
        SystemSearchEngine* const engine = ss_create();
        hang_platform_call(1, call, kFromNowOn);
        ASSERT_EQ(ss_start(engine, kScope, kCache, /*force=*/0), 1);
        ASSERT_TRUE(wait_until_a_call_hangs()) << call;
        ss_destroy(engine);
        forget_call_plans();
        EXPECT_EQ(read_file(kCachePath), saved);
    }
}

// The join meets the removal of the temporary file too, and that one is made all the same.
TEST_F(Hang, temporary_file_goes_although_its_removal_is_ended) {
    ss_destroy(built_engine());
    hang_platform_call(1, kReplaceFile);
    fail_platform_call(1, platform::kOperationAborted, kRemoveFile, /*times=*/3);
    SystemSearchEngine* const engine = ss_create();
    ASSERT_EQ(ss_start(engine, kScope, kCache, /*force=*/1), 1);
    ASSERT_TRUE(wait_until_a_call_hangs());
    ss_destroy(engine);
    EXPECT_EQ(platform_calls(kRemoveFile), 4u);
    EXPECT_EQ(list_names(u"C:\\cache\\deep").size(), 1u);
}

TEST_F(Hang, cancelling_ends_no_call_of_the_build_itself) {
    SystemSearchEngine* const engine = ss_create();
    hang_platform_call(1, kStatus, kFromNowOn);
    ASSERT_EQ(ss_start(engine, kScope, "", 1), 1);
    ASSERT_TRUE(wait_until_a_call_hangs());
    ss_cancel(engine);
    for (int round = 0; round < 100; ++round) {
        EngineStatus status;
        ss_status(engine, &status);
        EXPECT_EQ(status.state, SS_ENGINE_RUNNING);
        std::this_thread::yield();
    }
    EXPECT_TRUE(wait_until_a_call_hangs());
    ss_destroy(engine);
}

TEST_F(Hang, destroying_a_query_ends_its_question_about_a_result) {
    SystemSearchEngine* const engine = built_engine();
    for (const std::uint64_t nth : {1u, 5u}) {
        hang_platform_call(nth, kFileInformation, kFromNowOn);
        SystemSearchQuery* const query = ss_query(engine, "", 0, SS_KIND_ANY, 1000);
        ASSERT_TRUE(wait_until_a_call_hangs());
        ss_query_destroy(query);
        // The ended one is the last: what comes after it sees the cancel.
        EXPECT_EQ(platform_calls(kFileInformation), nth);
        forget_call_plans();
    }
    ss_destroy(engine);
}

TEST_F(Hang, destroying_a_listing_ends_its_reading) {
    for (const Call call : {kOpenFolder, kNextChild, kAttributes, kFileInformation}) {
        hang_platform_call(1, call, kFromNowOn);
        SystemSearchQuery* const listing = ss_query_directory(kScope, "", 0, 0, 1000);
        ASSERT_TRUE(wait_until_a_call_hangs()) << call;
        ss_query_destroy(listing);
        forget_call_plans();
    }
    EXPECT_EQ(open_handles(), OpenHandles{});
}

}  // namespace
}  // namespace system_search::simulated
