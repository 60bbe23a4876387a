#include "query/path_matcher.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"
#include "system_search.h"

namespace system_search {
namespace {

using Paths = std::vector<std::string>;

Paths matching(const Paths& paths, const char* text, std::uint32_t flags = 0,
               bool is_cancelled = false) {
    const Shard shard = shard_of(paths);
    const Pattern pattern(text, flags | SS_MATCH_PATH);
    const PathMatcher matcher(pattern);
    Subject subject(pattern.match_case());
    subject.set_shard(shard);
    const std::atomic<bool> cancel{is_cancelled};
    return left_over(shard, [&](EntryBits& bits) { matcher.match(subject, bits, cancel); });
}

const Paths kPaths = {"c:/src/main.c", "c:/src/main/a", "c:/src/x",   "c:/Src/Main.h",
                      "d:/main/src",   "src",           "c:/mainsrc", "c:/src/"};

TEST(PathMatcher, literal_lies_in_the_folder_in_the_name_or_across_the_two) {
    EXPECT_EQ(matching(kPaths, "src/main"),
              (Paths{"c:/src/main.c", "c:/src/main/a", "c:/Src/Main.h"}));
    EXPECT_EQ(matching(kPaths, "main"), (Paths{"c:/src/main.c", "c:/src/main/a", "c:/Src/Main.h",
                                               "d:/main/src", "c:/mainsrc"}));
    EXPECT_EQ(matching(kPaths, "src/"),
              (Paths{"c:/src/main.c", "c:/src/main/a", "c:/src/x", "c:/Src/Main.h", "c:/src/"}));
    EXPECT_EQ(matching(kPaths, "nowhere"), Paths{});
    EXPECT_EQ(matching(kPaths, "no/where"), Paths{});
}

TEST(PathMatcher, prefix_may_go_on_in_the_name) {
    EXPECT_EQ(matching(kPaths, "c:/m*"), Paths{"c:/mainsrc"});
    EXPECT_EQ(matching(kPaths, "s*"), Paths{"src"});
    EXPECT_EQ(matching(kPaths, "c:/src/m*"),
              (Paths{"c:/src/main.c", "c:/src/main/a", "c:/Src/Main.h"}));
}

TEST(PathMatcher, suffix_may_begin_in_the_folder) {
    EXPECT_EQ(matching(kPaths, "*/src"), Paths{"d:/main/src"});
    EXPECT_EQ(matching(kPaths, "*n/src"), Paths{"d:/main/src"});
    EXPECT_EQ(matching(kPaths, "*/src/"), Paths{"c:/src/"});
    EXPECT_EQ(matching(kPaths, "*main*/a"), Paths{"c:/src/main/a"});
    EXPECT_EQ(matching(kPaths, "*main.c*/a"), Paths{});
}

TEST(PathMatcher, sees_what_was_stored_where_case_matters) {
    EXPECT_EQ(matching(kPaths, "Src/M", SS_MATCH_CASE), Paths{"c:/Src/Main.h"});
    EXPECT_EQ(matching(kPaths, "src/main", SS_MATCH_CASE),
              (Paths{"c:/src/main.c", "c:/src/main/a"}));
    EXPECT_EQ(matching(kPaths, "SRC", SS_MATCH_CASE), Paths{});
}

// A folder of a cache file may be longer than any name of a disk.
TEST(PathMatcher, literal_longer_than_any_name_is_found_in_folders) {
    const std::string longest(300, 'a');
    const Paths paths = {"c:/" + longest + "/x", "c:/" + longest.substr(1) + "/x", "c:/x"};
    EXPECT_EQ(matching(paths, longest.c_str()), Paths{paths[0]});
    EXPECT_EQ(matching(paths, (longest + "/x").c_str()), Paths{paths[0]});
}

// Bits that are left as they were mean nothing: whoever cancelled does not look at them.
TEST(PathMatcher, looks_at_no_folder_when_cancelled) {
    const Paths paths = {"c:/src/main.c", "d:/src/x"};
    EXPECT_EQ(matching(paths, "src/nothing"), Paths{});
    EXPECT_EQ(matching(paths, "src/nothing", 0, /*is_cancelled=*/true), paths);
}

// A mark may stand for the "/", so that the folder may end, and the name begin, inside a segment.
TEST(PathMatcher, segment_with_marks_is_cut_where_the_name_begins) {
    const Paths paths = {"c:/ab/cd", "c:/AB/CX", "c:/ab/cde", "ab?", "c:/ab/\u00E9d",
                         "c:/a/cd",  "c:/abb/d", "ab/cd",     ""};
    const Paths all(paths.begin(), paths.end() - 1);
    EXPECT_EQ(matching(all, "*b/c?"), (Paths{"c:/ab/cd", "c:/AB/CX", "ab/cd"}));
    EXPECT_EQ(matching(all, "*b?c?"), (Paths{"c:/ab/cd", "c:/AB/CX", "ab/cd"}));
    EXPECT_EQ(matching(all, "*b??d*"),
              (Paths{"c:/ab/cd", "c:/ab/cde", "c:/ab/\u00E9d", "c:/abb/d", "ab/cd"}));
    EXPECT_EQ(matching(all, "*a?*b?d"), Paths{"c:/abb/d"});
    EXPECT_EQ(matching(all, "?:/a?/cd"), Paths{"c:/ab/cd"});
    EXPECT_EQ(matching(all, "?:*?cx"), Paths{"c:/AB/CX"});
    EXPECT_EQ(matching(all, "\?\?\?"), Paths{"ab?"});
    EXPECT_EQ(matching(all, "\?\?/?"), Paths{});
    EXPECT_EQ(matching(all, "\?\?\?\?\?"), Paths{"ab/cd"});
    EXPECT_EQ(matching(all, "C?/A*C?", SS_MATCH_CASE), Paths{});
    EXPECT_EQ(matching(all, "c?/A*C?", SS_MATCH_CASE), Paths{"c:/AB/CX"});
}

TEST(PathMatcher, folder_beyond_ascii_is_counted_in_code_points) {
    const Paths paths = {"c:/J\u00FCrgen/ab", "c:/J\u00FCrgen/\u00FCb", "c:/Juergen/ab",
                         "c:/\u00FC/\u00FC/b"};
    EXPECT_EQ(matching(paths, "*j?rgen*"), (Paths{paths[0], paths[1]}));
    EXPECT_EQ(matching(paths, "*j?rgen??b"), (Paths{paths[0], paths[1]}));
    EXPECT_EQ(matching(paths, "c:/j?rgen/?b"), (Paths{paths[0], paths[1]}));
    EXPECT_EQ(matching(paths, "c:/??rgen*a?"), Paths{paths[0]});
    EXPECT_EQ(matching(paths, "*/?/?/*"), Paths{paths[3]});
    EXPECT_EQ(matching(paths, "c:/j??rgen*"), Paths{paths[2]});
}

}  // namespace
}  // namespace system_search
