// The order of the results where two entries are hard to tell apart.
#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

using ResultOrderTest = VolumeTest;

TEST_F(ResultOrderTest, paths_that_fold_alike_come_in_the_order_of_their_stored_bytes) {
    const Paths expected = {"C:/t/A.txt", "C:/t/a.TXT", "C:/t/a.txt"};
    for (const Paths& met : {Paths{"C:/t/a.txt", "C:/t/a.TXT", "C:/t/A.txt"},
                             Paths{"C:/t/A.txt", "C:/t/a.txt", "C:/t/a.TXT"}}) {
        EXPECT_EQ(found(met, "a.txt"), expected);
        EXPECT_EQ(found(met, "a.txt", 0, 0, 1), Paths{"C:/t/A.txt"});
        EXPECT_EQ(found(met, "a.txt", 0, 0, 2), (Paths{"C:/t/A.txt", "C:/t/a.TXT"}));
    }
    // In folders that fold alike too: whole stored paths are compared, from their first byte.
    EXPECT_EQ(found({"C:/t/A", "C:/T/a"}, ""), (Paths{"C:/T/a", "C:/t/A"}));
}

TEST_F(ResultOrderTest, of_equal_paths_the_one_met_first_is_kept) {
    Query query;
    fill(query, {"C:/same", "C:/same/", "C:/same"});
    search(query, {"", 0, 0, 1});
    ASSERT_EQ(query.state, SS_QUERY_DONE);
    EXPECT_EQ(query.matched, 3u);
    ASSERT_EQ(query.results.size(), 1u);
    EXPECT_EQ(query.results[0].kind, kKindFile);
}

}  // namespace
}  // namespace system_search
