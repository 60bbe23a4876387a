#include "query/candidates.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

TEST(Candidates, keep_the_least_entries_in_result_order) {
    const Shard shard = shard_of({"C:/c", "C:/a", "C:/d", "C:/b"});
    Candidates candidates(2);
    EXPECT_TRUE(candidates.would_keep({&shard, 2}));
    for (std::uint32_t i = 0; i < 3; ++i) candidates.offer({&shard, i});
    EXPECT_FALSE(candidates.would_keep({&shard, 2}));
    EXPECT_TRUE(candidates.would_keep({&shard, 3}));
    candidates.offer({&shard, 3});
    const std::vector<EntryRef> best = candidates.take_sorted();
    ASSERT_EQ(best.size(), 2u);
    EXPECT_EQ(best[0].number, 1u);
    EXPECT_EQ(best[1].number, 3u);
}

TEST(Candidates, of_equal_entries_keep_the_one_met_first) {
    const Shard shard = shard_of({"C:/a", "C:/a", "C:/a"});
    Candidates candidates(1);
    for (std::uint32_t i = 0; i < 3; ++i) candidates.offer({&shard, i});
    EXPECT_EQ(candidates.take_sorted().at(0).number, 0u);
}

}  // namespace
}  // namespace system_search
