#include "query/subject.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

TEST(Subject, is_folded_or_as_stored) {
    const std::string long_name(300, 'X');
    const Shard shard = shard_of({"C:/Docs/Read.Me", "C:/Docs/plain", "C:/Docs/" + long_name});
    Subject folded(/*as_stored=*/false);
    folded.set_shard(shard);
    EXPECT_EQ(folded.folder(shard.runs()[0]), "c:/docs/");
    EXPECT_EQ(folded.name(0), "read.me");
    EXPECT_EQ(folded.path(shard.runs()[0], 0), "c:/docs/read.me");

    Subject stored(/*as_stored=*/true);
    stored.set_shard(shard);
    EXPECT_EQ(stored.folder(shard.runs()[0]), "C:/Docs/");
    EXPECT_EQ(stored.name(0), "Read.Me");
    EXPECT_EQ(stored.name(1), "plain");
    EXPECT_EQ(stored.name(2), long_name);
    EXPECT_EQ(stored.path(shard.runs()[0], 0), "C:/Docs/Read.Me");
}

}  // namespace
}  // namespace system_search
