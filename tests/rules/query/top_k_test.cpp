#include "query/top_k.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

TEST(TopK, keeps_the_least_entries_in_result_order) {
    const Shard shard = shard_of({"C:/c", "C:/a", "C:/d", "C:/b"});
    TopK top_k(2);
    EXPECT_TRUE(top_k.would_keep({&shard, 2}));
    for (std::uint32_t i = 0; i < 3; ++i) top_k.offer({&shard, i});
    EXPECT_FALSE(top_k.would_keep({&shard, 2}));
    EXPECT_TRUE(top_k.would_keep({&shard, 3}));
    top_k.offer({&shard, 3});
    const std::vector<EntryRef> best = top_k.take_sorted();
    ASSERT_EQ(best.size(), 2u);
    EXPECT_EQ(best[0].number, 1u);
    EXPECT_EQ(best[1].number, 3u);
}

TEST(TopK, of_equal_entries_keeps_the_one_met_first) {
    const Shard shard = shard_of({"C:/a", "C:/a", "C:/a"});
    TopK top_k(1);
    for (std::uint32_t i = 0; i < 3; ++i) top_k.offer({&shard, i});
    EXPECT_EQ(top_k.take_sorted().at(0).number, 0u);
}

// What is refused shows that all that sort after it are refused: shards are skipped by that.
TEST(TopK, refuses_every_entry_behind_one_that_it_refuses) {
    const Shard shard = shard_of({"C:/b", "C:/c", "C:/a", "C:/C"});
    TopK top_k(1);
    top_k.offer({&shard, 0});
    EXPECT_FALSE(top_k.would_keep({&shard, 0}));
    EXPECT_FALSE(top_k.would_keep({&shard, 1}));
    EXPECT_FALSE(top_k.would_keep({&shard, 3}));
    EXPECT_TRUE(top_k.would_keep({&shard, 2}));
}

}  // namespace
}  // namespace system_search
