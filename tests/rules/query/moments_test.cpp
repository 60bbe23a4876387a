// Moments between two steps of a query in which another thread may act. They last nanoseconds, so a
// test stands in them by way of a hook, or of fields that change between two reads.
#include "query/poll.hpp"
#include "rules/query/query_test_support.hpp"
#include "simulated/lock_hook.hpp"

namespace system_search {
namespace {

// A query that is done, all else first and the state last, just before the read that is named;
// reads count from 0.
class EndingQuery {
public:
    explicit EndingQuery(int end) : end_(end) {}

    struct Field {
        const EndingQuery& query;
        std::uint32_t before;
        std::uint32_t behind;
        operator std::uint32_t() const { return query.reads_++ < query.end_ ? before : behind; }
    };
    struct Results {
        Field count;
        std::size_t size() const { return count; }
    };
    const Field state{*this, SS_QUERY_RUNNING, SS_QUERY_DONE};
    const Field matched{*this, 1, 7};
    const Results results{{*this, 0, 6}};
    const Field index_entries{*this, 0, 9};
    const Field index_incomplete{*this, 0, 1};

private:
    mutable int reads_ = 0;
    const int end_;
};

TEST(QueryMoments, done_never_comes_with_a_number_from_before_the_end) {
    int done = 0;
    for (int end = 0; end <= 5; ++end) {
        const QueryStatus status = read_query_status(EndingQuery(end));
        if (status.state != SS_QUERY_DONE) {
            EXPECT_EQ(status, kNotDone(SS_QUERY_RUNNING)) << "before read " << end;
            continue;
        }
        ++done;
        EXPECT_EQ(status, (QueryStatus{SS_QUERY_DONE, 7, 6, 9, 1})) << "before read " << end;
    }
    EXPECT_EQ(done, 1) << "only when it was done before the first read";
}

class SnapshotMoments : public EngineTest {
protected:
    void publish(const char* path) {
        Batch batch;
        batch.add(path, kKindFile);
        publish_shard(*current_index(engine()), batch);
    }
    void end_the_build() {
        publish("C:/b");
        current_index(engine())->complete = true;
    }
    // A query, with this at the lock of the index: the one behind the lock of the engine.
    QueryStatus query_with(LockStep step) {
        publish("C:/a");
        on_lock_of_this_thread(2, step, [this] { end_the_build(); });
        const RunningQuery query(ss_query(handle_, "", 0, SS_KIND_ANY, 10));
        EXPECT_TRUE(current_index(engine())->complete) << "the hook did not run";
        return query.finish();
    }
};

TEST_F(SnapshotMoments, build_that_ends_behind_the_snapshot_leaves_it_incomplete) {
    EXPECT_EQ(query_with(LockStep::kAfterUnlock), (QueryStatus{SS_QUERY_DONE, 1, 1, 1, 1}));
}

TEST_F(SnapshotMoments, build_that_ends_before_the_snapshot_is_in_it_whole) {
    EXPECT_EQ(query_with(LockStep::kBeforeLock), (QueryStatus{SS_QUERY_DONE, 2, 2, 2, 0}));
}

}  // namespace
}  // namespace system_search
