#include "query/name_matcher.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

using Paths = std::vector<std::string>;

struct Terms {
    std::string begin;
    Paths inner;
    std::string end;
    bool is_end_only = false;
    bool match_case = false;
};

// Each name 40 times, so that extensions are asked.
Paths matching(const Paths& names, const Terms& terms) {
    Paths all;
    for (const std::string& name : names) all.insert(all.end(), 40, "C:/" + name);
    const Shard shard = shard_of(all);
    std::vector<Literal> inner;
    for (const std::string& text : terms.inner) inner.emplace_back(text);
    const NameMatcher matcher({terms.begin, inner, terms.end, terms.is_end_only, terms.match_case});
    Subject subject(terms.match_case);
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
    EXPECT_EQ(matching({"a", "", "B"}, {}), (Paths{"a", "", "B"}));
}

TEST(NameMatcher, begin_and_end_do_not_overlap) {
    EXPECT_EQ(matching({"aba", "ababa", "ab", "xabba", "abba"}, {"ab", {}, "ba"}),
              (Paths{"ababa", "abba"}));
    EXPECT_EQ(matching({"abxba", "abba", "abyba"}, {"ab", {"x"}, "ba"}), Paths{"abxba"});
}

TEST(NameMatcher, end_only_takes_the_whole_name) {
    EXPECT_EQ(matching({"readme", "areadme", "readm"}, {"", {}, "readme", true}), Paths{"readme"});
}

TEST(NameMatcher, extensions_tell_and_do_not_mislead) {
    const Paths names = {"a.html", "html.c",    "a.HTML", "b.htm",          "c.xhtml",
                         "html",   "d.html.gz", "e.tml",  "f.html123456789"};
    EXPECT_EQ(matching(names, {"", {"html"}, ""}), (Paths{"a.html", "html.c", "a.HTML", "c.xhtml",
                                                          "html", "d.html.gz", "f.html123456789"}));
    EXPECT_EQ(matching(names, {"", {}, ".html"}), (Paths{"a.html", "a.HTML"}));
    EXPECT_EQ(matching(names, {"", {}, "html"}), (Paths{"a.html", "a.HTML", "c.xhtml", "html"}));
    EXPECT_EQ(matching(names, {"", {}, ".html", false, true}), Paths{"a.html"});
    EXPECT_EQ(matching(names, {"", {}, ".HTML", false, true}), Paths{"a.HTML"});
    EXPECT_EQ(matching(names, {"", {"HTML"}, "", false, true}), Paths{"a.HTML"});
}

TEST(NameMatcher, signatures_tell_and_do_not_mislead_where_case_matters) {
    const Paths names = {"e", "E", "Ee", "in", "In", "xIN", "ni"};
    EXPECT_EQ(matching(names, {"", {"e"}, ""}), (Paths{"e", "E", "Ee"}));
    EXPECT_EQ(matching(names, {"", {"e"}, "", false, true}), (Paths{"e", "Ee"}));
    EXPECT_EQ(matching(names, {"", {"in"}, ""}), (Paths{"in", "In", "xIN"}));
    EXPECT_EQ(matching(names, {"", {"in"}, "", false, true}), Paths{"in"});
    EXPECT_EQ(matching(names, {"", {"I"}, "", false, true}), (Paths{"In", "xIN"}));
}

}  // namespace
}  // namespace system_search
