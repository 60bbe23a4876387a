// What matches: folding, names and paths, the wildcard rule, the kinds, the order.
#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

using MatchingTest = VolumeTest;

struct Row {
    const char* text;
    const char* name;
    bool matches;
    std::uint32_t flags = 0;
};

void expect_rows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        Query query;
        fill(query, {std::string("C:/docs/") + row.name});
        search(query, {row.text, row.flags, SS_KIND_ANY, 10});
        // Not the state: a result whose stored path is not UTF-8 fails later, for its metadata.
        EXPECT_EQ(query.matched, row.matches ? 1u : 0u)
            << "\"" << row.text << "\" on \"" << row.name << "\", flags " << row.flags;
    }
}

TEST_F(MatchingTest, substring_rows) {
    expect_rows({
        {"", "a", true},
        {"REPORT", "report.txt", true},
        {"REPORT", "Report.TXT", true},
        {"REPORT", "report.txt", false, SS_MATCH_CASE},
        {"REPORT", "Report.TXT", false, SS_MATCH_CASE},
        {"Report", "My Report", true, SS_MATCH_CASE},
        {"port", "report", true},
        {"report", "repor", false},
        {"report", "report", true},
        // Only ASCII letters fold.
        {"\u00C9", "\u00C9t\u00E9", true},
        {"\u00C9", "\u00E9t\u00E9", false},
        {"\u00C9T", "\u00C9t\u00E9", true},
        {"[", "{", false},
        {"@", "`", false},
        // The name alone, or the path.
        {"docs", "a.txt", false},
        {"docs", "a.txt", true, SS_MATCH_PATH},
        {"s/a", "a.txt", false},
        {"s/a", "a.txt", true, SS_MATCH_PATH},
        {"C:/DOCS/A", "a.txt", true, SS_MATCH_PATH},
        {"C:/DOCS/A", "a.txt", false, SS_MATCH_PATH | SS_MATCH_CASE},
        {"C:/docs/a", "a.txt", true, SS_MATCH_PATH | SS_MATCH_CASE},
        {"/", "a.txt", true, SS_MATCH_PATH},
        {"/", "a.txt", false},
        {"\\", "a.txt", false, SS_MATCH_PATH},
    });
}

TEST_F(MatchingTest, wildcard_rows) {
    expect_rows({
        {"*.txt", "a.txt", true},
        {"*.txt", ".txt", true},
        {"*.txt", "a.txt.bak", false},
        {"*.TXT", "a.txt", true},
        {"*.TXT", "a.txt", false, SS_MATCH_CASE},
        {"report", "report?", true, SS_MATCH_CASE},
        {"report?", "report", false},
        {"report?", "report1", true},
        {"report?", "my report1", false},
        {"?.txt", "a.txt", true},
        {"?.txt", "\u00E9.txt", true},
        {"?.txt", "\u65E5.txt", true},
        {"?.txt", "\U0001F600.txt", true},
        {"?.txt", "ab.txt", false},
        {"??.txt", "\u00E9.txt", false},
        {"a*", "a", true},
        {"a?", "a", false},
        {"a?*", "a", false},
        {"*a", "a", true},
        {"**", "anything", true},
        {"***a***", "bab", true},
        {"a*b*c", "aXbYc", true},
        {"a*b*c", "abc", true},
        {"a*b*c", "acb", false},
        // Backtracking, up to the end.
        {"*ab", "aab", true},
        {"*aab", "aaaaab", true},
        {"*aab", "aaaaaba", false},
        {"a*a*a", "aa", false},
        {"a*a*a", "aaa", true},
        {"*abc*abd", "abcabcabd", true},
        {"*?", "a", true},
        {"?*?", "a", false},
        {"?*?", "ab", true},
        {"*??b", "aab", true},
        {"*??b", "ab", false},
        // A stray continuation byte belongs to the byte before it...
        {"?", "a\xA9", true},
        {"??", "a\xA9", false},
        {"?", "\xA9", true},
        {"?", "\xA9\xA9", true},
        {"a?", "a\xA9", true},
        {"*\xA9", "a\xA9", false},
        {"*\xA9", "\xA9", true},
        // ...but bytes of the pattern are bytes, and "*" counts on from where it stands.
        {"\xC3*", "\u00E9", true},
        {"\xC3?", "\u00E9", true},
        {"\xC3*\xA9", "\u00E9", true},
        {"*\xC3\xA9", "e\u00E9", true},
        {"*\xA9*", "\u00E9", false},
        {"*\xA9*", "\xA9z", true},
        // The path as a whole.
        {"docs/*", "a.txt", false, SS_MATCH_PATH},
        {"c:/docs/*", "a.txt", true, SS_MATCH_PATH},
        {"*/a.*", "a.txt", true, SS_MATCH_PATH},
        {"c:*txt", "a.txt", true, SS_MATCH_PATH},
        {"c:/d?c?/a.txt", "a.txt", true, SS_MATCH_PATH},
        {"c?/docs?a.txt", "a.txt", true, SS_MATCH_PATH},
        {"*docs", "a.txt", false, SS_MATCH_PATH},
        {"*/a.*", "a.txt", false},
    });
}

TEST_F(MatchingTest, empty_name_is_matched_by_stars_alone) {
    EXPECT_EQ(found({"C:/x/"}, "**"), Paths{"C:/x"});  // a folder named x, not an empty name
    Query query;
    Batch batch;
    batch.add("C:/", kKindFolder);
    query.shards.push_back(std::make_shared<const Shard>(batch));
    for (const char* const text : {"", "*", "**"}) {
        Query again;
        again.shards = query.shards;
        search(again, {text, 0, 0, 10});
        EXPECT_EQ(again.matched, 1u) << text;
    }
    for (const char* const text : {"?", "*?", "a", "*a", "c"}) {
        Query again;
        again.shards = query.shards;
        search(again, {text, 0, 0, 10});
        EXPECT_EQ(again.matched, 0u) << text;
    }
}

TEST_F(MatchingTest, path_without_a_separator_is_all_name) {
    EXPECT_EQ(found({"readme"}, "readme"), Paths{"readme"});
    EXPECT_EQ(found({"readme"}, "r*e"), Paths{"readme"});
    EXPECT_EQ(found({"readme"}, "r*e", SS_MATCH_PATH), Paths{"readme"});
}

TEST_F(MatchingTest, kinds_filter_results_and_count) {
    const Paths paths = {"C:/a1", "C:/a2/", "C:/a3", "C:/b/"};
    Query query;
    fill(query, paths);
    search(query, {"a", 0, SS_KIND_FOLDER, 10});
    EXPECT_EQ(query.matched, 1u);
    EXPECT_EQ(paths_of(query), Paths{"C:/a2"});
    EXPECT_EQ(found(paths, "a", 0, SS_KIND_FILE), (Paths{"C:/a1", "C:/a3"}));
    EXPECT_EQ(found(paths, "", 0, SS_KIND_FOLDER), (Paths{"C:/a2", "C:/b"}));
    EXPECT_EQ(found(paths, "", 0, SS_KIND_FILE), (Paths{"C:/a1", "C:/a3"}));
    EXPECT_EQ(found(paths, "a"), (Paths{"C:/a1", "C:/a2", "C:/a3"}));
}

// ---- Order --------------------------------------------------------------------------------------

TEST_F(MatchingTest, results_are_ordered_by_whole_folded_path_then_by_stored_path) {
    EXPECT_EQ(found({"C:/b/a.txt", "C:/a/z.txt", "C:/A/y.txt"}, ""),
              (Paths{"C:/A/y.txt", "C:/a/z.txt", "C:/b/a.txt"}));
    EXPECT_EQ(found({"C:/a.txt", "C:/A.txt"}, ""), (Paths{"C:/A.txt", "C:/a.txt"}));
    EXPECT_EQ(found({"C:/ab", "C:/a", "C:/a/x", "C:/a!"}, ""),
              (Paths{"C:/a", "C:/a!", "C:/a/x", "C:/ab"}))
        << "a prefix comes first, and \"!\" before \"/\"";
    EXPECT_EQ(found({"C:/\u00E9", "C:/z", "C:/_", "C:/B"}, ""),
              (Paths{"C:/_", "C:/B", "C:/z", "C:/\u00E9"}))
        << "unsigned bytes; \"B\" counts as \"b\", which is after \"_\"";
    EXPECT_EQ(found({"C:/B", "C:/_"}, "", SS_MATCH_CASE), (Paths{"C:/_", "C:/B"}))
        << "flags do not change the order";
}

TEST_F(MatchingTest, only_the_least_entries_are_kept_but_all_are_counted) {
    Query query;
    fill(query, {"C:/f/c", "C:/f/a", "C:/f/b"});
    search(query, {"", 0, 0, 2});
    EXPECT_EQ(query.matched, 3u);
    EXPECT_EQ(paths_of(query), (Paths{"C:/f/a", "C:/f/b"}));
    EXPECT_EQ(query.metadata.size(), 2u);
}

TEST_F(MatchingTest, of_equal_entries_the_one_met_first_is_kept) {
    Query query;
    fill(query, {"C:/a", "C:/a/", "C:/b"});  // a file and a folder of one path
    search(query, {"", 0, 0, 1});
    EXPECT_EQ(query.matched, 3u);
    ASSERT_EQ(query.results.size(), 1u);
    EXPECT_EQ(query.results[0].kind, kKindFile);
}

TEST_F(MatchingTest, candidates_come_from_every_shard) {
    Query query;
    for (char first = 'z'; first >= 'a'; --first) {
        fill(query, {std::string("C:/") + first + "2", std::string("C:/") + first + "1"});
    }
    search(query, {"1", 0, 0, 3});
    EXPECT_EQ(query.matched, 26u);
    EXPECT_EQ(paths_of(query), (Paths{"C:/a1", "C:/b1", "C:/c1"}));
}

}  // namespace
}  // namespace system_search
