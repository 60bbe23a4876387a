// The search routine as a whole: what it leaves in the query.
#include "query/search.hpp"

#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

using SearchTest = VolumeTest;

TEST_F(SearchTest, results_are_entries_of_their_own_that_outlive_the_shards) {
    Query query;
    fill(query, {"C:/Docs/B.txt", "C:/Docs/a/", "C:/x"});
    search(query, {"", 0, 0, 2});
    ASSERT_EQ(query.state, SS_QUERY_DONE);
    EXPECT_EQ(query.matched, 3u);
    query.shards.clear();
    ASSERT_EQ(query.results.size(), 2u);
    EXPECT_EQ(query.results[0].path, "C:/Docs/a");
    EXPECT_EQ(query.results[0].kind, kKindFolder);
    EXPECT_EQ(query.results[1].path, "C:/Docs/B.txt");
    EXPECT_EQ(query.results[1].kind, kKindFile);
    EXPECT_EQ(query.metadata.size(), 2u);
}

TEST_F(SearchTest, cancelled_query_ends_as_cancelled) {
    Query query;
    fill(query, {"C:/a"});
    query.cancel = true;
    search(query, {"", 0, 0, 1});
    EXPECT_EQ(query.state, SS_QUERY_CANCELLED);
}

TEST_F(SearchTest, result_whose_path_is_not_utf8_fails_the_query) {
    Query query;
    fill(query, {"C:/\xFF"});
    search(query, {"", 0, 0, 1});
    EXPECT_EQ(query.state, SS_QUERY_FAILED);
}

}  // namespace
}  // namespace system_search
