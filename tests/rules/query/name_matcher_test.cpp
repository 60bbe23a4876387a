#include "query/name_matcher.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"
#include "system_search.h"

namespace system_search {
namespace {

using Paths = std::vector<std::string>;

// Each name 40 times, so that extensions are asked.
Paths matching(const Paths& names, const char* text, std::uint32_t flags = 0) {
    Paths all;
    for (const std::string& name : names) all.insert(all.end(), 40, "C:/" + name);
    const Shard shard = shard_of(all);
    const Pattern pattern(text, flags);
    const NameMatcher matcher(pattern.terms(), pattern.match_case(), pattern.counts_code_points());
    Subject subject(pattern.match_case());
    subject.set_shard(shard);
    const std::atomic<bool> cancel{false};
    const Paths left =
        left_over(shard, [&](EntryBits& bits) { matcher.match(subject, bits, cancel); });
    Paths found;
    for (const std::string& name : names) {
        const auto count = std::count(left.begin(), left.end(), "C:/" + name);
        EXPECT_TRUE(count == 0 || count == 40) << name;
        if (count != 0) found.push_back(name);
    }
    return found;
}

TEST(NameMatcher, without_terms_takes_every_name) {
    EXPECT_EQ(matching({"a", "", "B"}, "*"), (Paths{"a", "", "B"}));
}

TEST(NameMatcher, prefix_and_suffix_do_not_overlap) {
    EXPECT_EQ(matching({"aba", "ababa", "ab", "xabba", "abba"}, "ab*ba"), (Paths{"ababa", "abba"}));
    EXPECT_EQ(matching({"abxba", "abba", "abyba"}, "ab*x*ba"), Paths{"abxba"});
}

TEST(NameMatcher, without_a_star_takes_the_whole_name) {
    EXPECT_EQ(matching({"readme", "areadme", "readm", "rexdme"}, "re?dme"),
              (Paths{"readme", "rexdme"}));
}

TEST(NameMatcher, mark_takes_a_code_point_of_every_class_of_bytes) {
    Paths names;
    Paths expected;
    for (unsigned last = 0x80; last < 0xC0; ++last) {
        const std::string mark = {'\xC3', static_cast<char>(last)};
        expected.push_back(mark + ".x");
        names.push_back(expected.back());
    }
    for (const std::string& name : expected) {
        EXPECT_EQ(matching({name, "a" + name}, "?.x"), Paths{name});
        EXPECT_EQ(matching({name, "a" + name}, "?.*"), Paths{name});
        EXPECT_EQ(matching({name, "a" + name}, "??.*"), Paths{"a" + name});
    }
}

TEST(NameMatcher, extensions_tell_and_do_not_mislead) {
    const Paths names = {"a.html", "html.c",    "a.HTML", "b.htm",          "c.xhtml",
                         "html",   "d.html.gz", "e.tml",  "f.html123456789"};
    EXPECT_EQ(matching(names, "html"), (Paths{"a.html", "html.c", "a.HTML", "c.xhtml", "html",
                                              "d.html.gz", "f.html123456789"}));
    EXPECT_EQ(matching(names, "*.html"), (Paths{"a.html", "a.HTML"}));
    EXPECT_EQ(matching(names, "*html"), (Paths{"a.html", "a.HTML", "c.xhtml", "html"}));
    EXPECT_EQ(matching(names, "*.html", SS_MATCH_CASE), Paths{"a.html"});
    EXPECT_EQ(matching(names, "*.HTML", SS_MATCH_CASE), Paths{"a.HTML"});
    EXPECT_EQ(matching(names, "HTML", SS_MATCH_CASE), Paths{"a.HTML"});
}

TEST(NameMatcher, extensions_tell_of_marks_only_where_each_takes_a_byte) {
    const Paths names = {"a.hh",      "b.h", "c.HH", "d.h.h",       "a.h\u00E9",
                         "\u00E9.hh", "x..", "hh",   "e.123456789h"};
    EXPECT_EQ(matching(names, "*.h?"), (Paths{"a.hh", "c.HH", "a.h\u00E9", "\u00E9.hh"}));
    EXPECT_EQ(matching(names, "*.?"), (Paths{"b.h", "d.h.h", "x.."}));
    EXPECT_EQ(matching(names, "*.??"), (Paths{"a.hh", "c.HH", "a.h\u00E9", "\u00E9.hh"}));
    EXPECT_EQ(matching(names, "*.h?", SS_MATCH_CASE), (Paths{"a.hh", "a.h\u00E9", "\u00E9.hh"}));
    EXPECT_EQ(matching(names, "*.H?", SS_MATCH_CASE), Paths{"c.HH"});
    EXPECT_EQ(matching(names, "*h?*"),
              (Paths{"a.hh", "c.HH", "d.h.h", "a.h\u00E9", "\u00E9.hh", "hh"}));
}

TEST(NameMatcher, signatures_tell_and_do_not_mislead_where_case_matters) {
    const Paths names = {"e", "E", "Ee", "in", "In", "xIN", "ni"};
    EXPECT_EQ(matching(names, "e"), (Paths{"e", "E", "Ee"}));
    EXPECT_EQ(matching(names, "e", SS_MATCH_CASE), (Paths{"e", "Ee"}));
    EXPECT_EQ(matching(names, "in"), (Paths{"in", "In", "xIN"}));
    EXPECT_EQ(matching(names, "in", SS_MATCH_CASE), Paths{"in"});
    EXPECT_EQ(matching(names, "I", SS_MATCH_CASE), (Paths{"In", "xIN"}));
}

}  // namespace
}  // namespace system_search
