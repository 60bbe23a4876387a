// The exported functions of a query: arguments, snapshot, hand-over, reading, destruction.
#include <atomic>
#include <cstring>
#include <random>
#include <thread>

#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

class QueryApiTest : public EngineTest {
protected:
    SystemSearchQuery* start(const char* text, std::uint32_t flags = 0, std::uint32_t kind = 0,
                             std::int32_t limit = 1000) {
        return ss_query(handle_, text, flags, kind, limit);
    }
    // Three files and two folders.
    void build_small_tree() {
        add_file(u"C:\\top\\Report.txt", 10);
        add_file(u"C:\\top\\notes.txt", 20);
        add_file(u"C:\\top\\Sub\\report.pdf", 30);
        add_folder(u"C:\\top\\reports");
        EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 5, 0, 0, 0}));
    }
};

// ---- Arguments ----------------------------------------------------------------------------------

TEST_F(QueryApiTest, refused_arguments_start_nothing) {
    struct Row {
        const char* what;
        bool engine;
        const char* text;
        std::uint32_t flags;
        std::uint32_t kind;
        std::int32_t limit;
    };
    const std::vector<Row> rows = {
        {"null engine", false, "a", 0, 0, 1},
        {"null text", true, nullptr, 0, 0, 1},
        {"flags 4", true, "a", 4, 0, 1},
        {"all flags", true, "a", UINT32_MAX, 0, 1},
        {"kind 3", true, "a", 0, 3, 1},
        {"kind huge", true, "a", 0, UINT32_MAX, 1},
        {"limit 0", true, "a", 0, 0, 0},
        {"limit -1", true, "a", 0, 0, -1},
        {"limit 1001", true, "a", 0, 0, 1001},
        {"least limit", true, "a", 0, 0, INT32_MIN},
        {"greatest limit", true, "a", 0, 0, INT32_MAX},
    };
    count_platform_calls();
    for (const Row& row : rows) {
        EXPECT_EQ(
            ss_query(row.engine ? handle_ : nullptr, row.text, row.flags, row.kind, row.limit),
            nullptr)
            << row.what;
    }
    EXPECT_EQ(platform_calls(kStartThread), 0u);
}

TEST_F(QueryApiTest, every_allowed_argument_is_taken) {
    for (const std::int32_t limit : {1, 1000}) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            for (std::uint32_t kind = 0; kind < 3; ++kind) {
                const RunningQuery query(start("", flags, kind, limit));
                ASSERT_NE(query.handle(), nullptr);
                EXPECT_EQ(query.finish().state, SS_QUERY_DONE);
            }
        }
    }
}

TEST_F(QueryApiTest, null_handles_give_zero_and_write_nothing_but_the_zeroed_record) {
    QueryStatus status{9, 9, 9, 9, 9};
    ss_query_poll(nullptr, &status);
    EXPECT_EQ(status, (QueryStatus{9, 9, 9, 9, 9}));
    EXPECT_EQ(ss_query_path(nullptr, 0), nullptr);
    EXPECT_EQ(ss_query_kind(nullptr, 0), 0u);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(nullptr, 0, &metadata), 0);
    EXPECT_EQ(metadata, ResultMetadata{});
    EXPECT_EQ(ss_query_metadata(nullptr, 0, nullptr), 0);
    ss_query_destroy(nullptr);

    const RunningQuery query(start(""));
    ss_query_poll(query.handle(), nullptr);
    query.finish();
    EXPECT_EQ(ss_query_metadata(query.handle(), 0, nullptr), 0);
}

TEST_F(QueryApiTest, text_is_copied_before_the_call_returns) {
    build_small_tree();
    char text[] = "notes";
    const RunningQuery query(start(text));
    std::memset(text, 'z', sizeof text - 1);
    query.finish();
    EXPECT_EQ(query.paths(), Paths{"C:/top/notes.txt"});
}

// ---- What a query sees --------------------------------------------------------------------------

TEST_F(QueryApiTest, fresh_engine_is_searched_as_empty_and_incomplete) {
    const RunningQuery query(start(""));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 0, 0, 0, 1}));
    EXPECT_EQ(ss_query_path(query.handle(), 0), nullptr);
}

TEST_F(QueryApiTest, finished_build_is_searched_as_complete) {
    build_small_tree();
    const RunningQuery query(start("report"));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 3, 3, 5, 0}));
    EXPECT_EQ(query.paths(),
              (Paths{"C:/top/Report.txt", "C:/top/reports", "C:/top/Sub/report.pdf"}));
}

TEST_F(QueryApiTest, empty_text_matches_everything_up_to_the_limit) {
    build_small_tree();
    for (const std::int32_t limit : {1, 3, 5, 6}) {
        const RunningQuery query(start("", 0, 0, limit));
        const auto count = static_cast<std::uint32_t>(std::min(limit, 5));
        EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 5, count, 5, 0}));
        EXPECT_EQ(query.paths().size(), count);
    }
}

TEST_F(QueryApiTest, failed_and_cancelled_builds_are_incomplete) {
    add_file(u"C:\\top\\a");
    add_file(u"C:\\top\\folder\\b");
    EXPECT_EQ(build("C:\\missing").state, SS_ENGINE_FAILED);
    EXPECT_EQ(RunningQuery(start("")).finish(), (QueryStatus{SS_QUERY_DONE, 0, 0, 0, 1}));

    Gate gate;
    on_child(u"C:\\top\\folder", 0, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    ss_cancel(handle_);
    gate.release();
    EXPECT_EQ(finish().state, SS_ENGINE_CANCELLED);
    EXPECT_EQ(RunningQuery(start("")).finish(), (QueryStatus{SS_QUERY_DONE, 1, 1, 1, 1}));
}

TEST_F(QueryApiTest, limited_build_is_incomplete) {
    add_generated_folder(u"C:\\many", numbered_files(5'000'001));
    EXPECT_EQ(build("C:\\many").limited, 1u);
    const RunningQuery query(start("f00000007", 0, 0, 1));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 1, 1, 5'000'000, 1}));
}

TEST_F(QueryApiTest, snapshot_keeps_its_entries_whatever_is_published_later) {
    add_generated_folder(u"C:\\top\\many", numbered_files(2500));
    add_generated_folder(u"C:\\top\\more", numbered_files(500));
    Gate gate;
    on_child(u"C:\\top\\more", 0, [&] { gate.hold(); });
    ASSERT_EQ(ss_start(handle_, "C:\\top", "", 0), 1);
    ASSERT_TRUE(gate.wait_until_held());
    const RunningQuery early(start("f"));
    gate.release();
    EXPECT_EQ(finish().entries, 3002u);
    const QueryStatus of_the_first_shards{SS_QUERY_DONE, 2047, 1000, 2048, 1};
    EXPECT_EQ(early.finish(), of_the_first_shards);
    EXPECT_EQ(RunningQuery(start("f")).finish(), (QueryStatus{SS_QUERY_DONE, 3000, 1000, 3002, 0}));
    EXPECT_EQ(early.poll(), of_the_first_shards);
}

TEST_F(QueryApiTest, results_outlive_a_rebuild_and_the_engine) {
    build_small_tree();
    const RunningQuery query(start("report"));
    const QueryStatus status = query.finish();
    const Paths paths = query.paths();
    const char* const first = ss_query_path(query.handle(), 0);

    remove_tree(u"C:\\top");
    add_file(u"C:\\top\\other");
    EXPECT_EQ(build("C:\\top").entries, 1u);
    EXPECT_EQ(query.paths(), paths);
    ss_destroy(handle_);
    handle_ = nullptr;
    EXPECT_EQ(query.poll(), status);
    EXPECT_EQ(query.paths(), paths);
    EXPECT_EQ(ss_query_path(query.handle(), 0), first) << "the pointer stays the same";
    EXPECT_STREQ(first, "C:/top/Report.txt");
}

// ---- Reading ------------------------------------------------------------------------------------

TEST_F(QueryApiTest, running_query_polls_as_zeros_and_gives_no_results) {
    build_small_tree();
    Gate gate;
    on_platform_call(1, kFileInformation, [&] { gate.hold(); });
    const RunningQuery query(start("report"));
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(query.poll(), kNotDone(SS_QUERY_RUNNING));
    EXPECT_EQ(ss_query_path(query.handle(), 0), nullptr);
    EXPECT_EQ(ss_query_kind(query.handle(), 0), 0u);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(query.handle(), 0, &metadata), 0);
    EXPECT_EQ(metadata, ResultMetadata{});
    gate.release();
    EXPECT_EQ(query.finish().count, 3u);
}

TEST_F(QueryApiTest, positions_from_count_on_give_nothing) {
    build_small_tree();
    const RunningQuery query(start("report", 0, SS_KIND_FILE, 1));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 2, 1, 5, 0}));
    for (const std::uint32_t index : {1u, 2u, UINT32_MAX}) {
        EXPECT_EQ(ss_query_path(query.handle(), index), nullptr);
        EXPECT_EQ(ss_query_kind(query.handle(), index), 0u);
        ResultMetadata metadata{9, 9, 9, 9};
        EXPECT_EQ(ss_query_metadata(query.handle(), index, &metadata), 0);
        EXPECT_EQ(metadata, ResultMetadata{});
    }
}

TEST_F(QueryApiTest, kind_and_metadata_stand_at_the_position_of_their_path) {
    build_small_tree();
    const RunningQuery query(start("report"));
    query.finish();
    EXPECT_EQ(query.paths(),
              (Paths{"C:/top/Report.txt", "C:/top/reports", "C:/top/Sub/report.pdf"}));
    EXPECT_EQ(ss_query_kind(query.handle(), 0), SS_KIND_FILE);
    EXPECT_EQ(ss_query_kind(query.handle(), 1), SS_KIND_FOLDER);
    EXPECT_EQ(ss_query_kind(query.handle(), 2), SS_KIND_FILE);
    EXPECT_EQ(query.metadata(0).size, 10u);
    EXPECT_EQ(query.metadata(1).flags, SS_METADATA_MODIFIED);
    EXPECT_EQ(query.metadata(2).size, 30u);
}

// ---- Failure ------------------------------------------------------------------------------------

TEST_F(QueryApiTest, stored_path_that_is_not_utf8_fails_the_query) {
    Query query;
    fill(query, {"C:/\xFF"});
    search(query, {"", 0, 0, 10});
    auto* const handle = reinterpret_cast<SystemSearchQuery*>(&query);
    QueryStatus status{9, 9, 9, 9, 9};
    ss_query_poll(handle, &status);
    EXPECT_EQ(status, kNotDone(SS_QUERY_FAILED));
    EXPECT_EQ(ss_query_path(handle, 0), nullptr);
    EXPECT_EQ(ss_query_kind(handle, 0), 0u);
    ResultMetadata metadata{9, 9, 9, 9};
    EXPECT_EQ(ss_query_metadata(handle, 0, &metadata), 0);
    EXPECT_EQ(metadata, ResultMetadata{});
}

TEST_F(QueryApiTest, stored_path_that_is_not_utf8_harms_nobody_unless_it_is_a_result) {
    Query query;
    fill(query, {"C:/\xFF", "C:/a"});
    search(query, {"", 0, 0, 1});
    EXPECT_EQ(query.state, SS_QUERY_DONE);
    EXPECT_EQ(query.matched, 2u);
    EXPECT_EQ(paths_of(query), Paths{"C:/a"});
}

TEST_F(QueryApiTest, thread_that_cannot_be_started_gives_null) {
    build_small_tree();
    fail_platform_call(1, platform::kNotEnoughMemory, kStartThread);
    EXPECT_EQ(start("report"), nullptr);
    forget_call_plans();
    EXPECT_EQ(RunningQuery(start("report")).finish().matched, 3u);
}

// ---- Destruction --------------------------------------------------------------------------------

TEST_F(QueryApiTest, destroy_waits_for_one_platform_call_at_most) {
    build_small_tree();
    Gate gate;
    on_platform_call(1, kFileInformation, [&] { gate.hold(); });
    SystemSearchQuery* const handle = start("report");
    ASSERT_TRUE(gate.wait_until_held());
    std::thread destroyer([&] { ss_query_destroy(handle); });
    // The flag is set before the join; nothing else can tell that the destroyer has come so far.
    while (!reinterpret_cast<Query*>(handle)->cancel) std::this_thread::yield();
    count_platform_calls();
    gate.release();
    destroyer.join();
    EXPECT_EQ(platform_calls(kFileInformation), 0u) << "no further result was asked about";
}

TEST_F(QueryApiTest, cancel_is_seen_by_the_scan_but_not_after_its_last_entry) {
    Query query;
    fill(query, {"C:/a"});
    query.cancel = true;
    search(query, {"", 0, 0, 10});
    EXPECT_EQ(query.state, SS_QUERY_CANCELLED);
    EXPECT_EQ(query.matched, 0u);

    Query empty;
    empty.cancel = true;
    search(empty, {"", 0, 0, 10});
    EXPECT_EQ(empty.state, SS_QUERY_DONE) << "no entry, so nothing ever looked at the flag";
}

TEST_F(QueryApiTest, cancel_between_scan_and_metadata_ends_as_cancelled) {
    add_file(u"C:\\a");
    add_file(u"C:\\b");
    Query query;
    fill(query, {"C:/a", "C:/b"});
    on_platform_call(1, kFileInformation, [&] { query.cancel = true; });
    search(query, {"", 0, 0, 10});
    EXPECT_EQ(query.state, SS_QUERY_CANCELLED);
    EXPECT_EQ(query.matched, 2u);
}

TEST_F(QueryApiTest, queries_destroyed_at_random_moments_leak_nothing) {
    add_generated_folder(u"C:\\many", numbered_files(5000));
    build("C:\\many");
    const OpenHandles before = open_handles();
    const std::uint32_t seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 numbers(seed);
    const auto random = [&] { return static_cast<std::uint32_t>(numbers()); };
    const char* const texts[] = {"", "f", "f000012", "*1*2*3*", "no such name", "?0000*"};
    for (int i = 0; i < 10'000; ++i) {
        SystemSearchQuery* const handle = start(texts[random() % 6], random() % 4, random() % 3,
                                                static_cast<std::int32_t>(1 + random() % 1000));
        ASSERT_NE(handle, nullptr);
        for (std::uint32_t spins = random() % 2000; spins != 0; --spins) {
            QueryStatus status;
            ss_query_poll(handle, &status);
            if (status.state != SS_QUERY_RUNNING) break;
        }
        ss_query_destroy(handle);
    }
    EXPECT_EQ(open_handles(), before);
}

// Whatever the build has published at a query's start is exactly what the query searches.
TEST_F(QueryApiTest, many_queries_beside_a_running_build_see_whole_shards) {
    add_generated_folder(u"C:\\many", numbered_files(60'000));
    std::atomic<bool> built{false};
    std::vector<std::thread> hosts;
    for (int host = 0; host < 4; ++host) {
        hosts.emplace_back([&, host] {
            std::uint32_t last = 0;
            for (bool more = true; more;) {
                more = !built;
                const RunningQuery query(start(host % 2 == 0 ? "" : "*f*", 0, 0, 10));
                const QueryStatus status = query.finish();
                ASSERT_EQ(status.state, SS_QUERY_DONE);
                ASSERT_EQ(status.matched, status.index_entries);
                ASSERT_EQ(status.count, std::min(status.matched, 10u));
                ASSERT_GE(status.index_entries, last);
                ASSERT_TRUE(status.index_entries % 1024 == 0 || status.index_entries == 60'000);
                if (status.index_incomplete == 0) {
                    ASSERT_EQ(status.index_entries, 60'000u);
                }
                last = status.index_entries;
            }
            ASSERT_EQ(last, 60'000u);
        });
    }
    EXPECT_EQ(build("C:\\many").entries, 60'000u);
    built = true;
    for (std::thread& host : hosts) host.join();
}

}  // namespace
}  // namespace system_search
