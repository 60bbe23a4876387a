// Paths that no walk finds but a cache file may hold: they come back byte for byte.
#include "index/cache_writer.hpp"
#include "query/search.hpp"
#include "rules/index/cache_reader_support.hpp"

namespace system_search {
namespace {

using enum CacheReadResult;

class CacheOddPaths : public CacheReader {
protected:
    // Loads the entries, saves them again, and finds all of them.
    void expect_round_trip(const std::vector<PathAndKind>& entries) {
        const std::string bytes = cache_bytes("C:/", entries, 1, 0);
        ASSERT_EQ(read(bytes), kComplete);
        EXPECT_EQ(entries_of(*cached.index), entries);
        TemporaryFile temporary(u"C:\\cache\\again", /*owner=*/1);
        ASSERT_EQ(write_index_cache(temporary, {*cached.index, "C:/", 1, 0}, cancel),
                  CacheWriteResult::kReplaced);
        EXPECT_TRUE(simulated::read_file(u"C:\\cache\\again") == bytes);

        Query query;
        query.shards = take_snapshot(*cached.index).shards;
        search(query, {"", 0, 0, 1000});
        ASSERT_EQ(query.state, SS_QUERY_DONE);
        EXPECT_EQ(query.matched, entries.size());
        for (const Entry& result : query.results) {
            const PathAndKind found{result.path, result.kind};
            EXPECT_NE(std::find(entries.begin(), entries.end(), found), entries.end());
        }
    }
};

TEST_F(CacheOddPaths, without_a_separator_closed_by_one_doubled_and_in_any_order) {
    expect_round_trip({{"C:\\no\\Separator", 1},
                       {"z:/Z/z", 1},
                       {"C:/closed/", 2},
                       {"C:/closed/", 1},
                       {"C://doubled//NAME", 1},
                       {"z:/Z/", 2},
                       {"C:/", 2},
                       {"//Server//", 1},
                       {"C:/closed/x", 1},
                       {"C:/Closed/x", 1}});
}

TEST_F(CacheOddPaths, longest_paths_in_folders_and_in_names) {
    const std::string longest(32'765, 'X');
    expect_round_trip({{"C:/" + longest, 1},
                       {"C:/" + longest.substr(1) + "/", 2},
                       {"C:/" + longest.substr(2) + "/y", 1},
                       {"C:/" + longest, 2}});
}

TEST_F(CacheOddPaths, each_in_a_folder_of_its_own) {
    std::vector<PathAndKind> entries;
    for (std::size_t i = 0; i < 2500; ++i) {
        entries.push_back({"C:/Folder " + std::to_string(i * 7919 % 2500) + "/N", 1});
    }
    expect_round_trip(entries);
}

// A path and the integer behind it are asked for together. Where a longest path ends just before a
// piece does, all of it stays in front of the next piece, with the rest of the integer behind it.
TEST_F(CacheOddPaths, longest_path_that_ends_just_before_a_piece_ends) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    const std::string longest = "C:/" + std::string(32'765, 'X');
    const std::size_t header = CacheBytes().header("C:/", 0).str().size();
    for (std::size_t missing = 0; missing <= 8; ++missing) {
        std::vector<PathAndKind> entries;
        // The longest path ends `missing` bytes before the piece.
        std::size_t room = kPiece - missing - header - (4 + longest.size());
        while (room != 0) {
            const std::size_t bytes = room > 2000 ? 1000 : room;
            entries.push_back({"C:/" + std::string(bytes - 8 - 3, 'y'), 1});
            room -= bytes;
        }
        entries.push_back({longest, 2});
        entries.push_back({"C:/behind", 1});
        ASSERT_EQ(read(cache_bytes("C:/", entries)), kComplete) << missing;
        ASSERT_EQ(entries_of(*cached.index), entries) << missing;
    }
}

}  // namespace
}  // namespace system_search
