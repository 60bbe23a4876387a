#include "query/signature_filter.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

using Paths = std::vector<std::string>;

const Paths kPaths = {"report", "Report", "my report", "porter", "rep", "x", ""};

Paths passing(std::string_view text, bool is_prefix, bool is_suffix, bool match_case = false) {
    const Shard shard = shard_of(kPaths);
    SignatureFilter filter(match_case);
    filter.require(text, is_prefix, is_suffix);
    return left_over(shard, [&](EntryBits& bits) {
        const bool any = filter.apply(shard, bits);
        EXPECT_EQ(any, count_bits(shard, bits) != 0);
    });
}

TEST(SignatureFilter, passes_names_that_hold_a_text) {
    EXPECT_EQ(passing("report", false, false), (Paths{"report", "Report", "my report"}));
    EXPECT_EQ(passing("x", false, false), Paths{"x"});
    EXPECT_EQ(passing("qq", false, false), Paths{});
    EXPECT_EQ(passing("", false, false), kPaths);
}

TEST(SignatureFilter, passes_names_that_begin_and_end_so) {
    for (const std::string& name : passing("rep", true, false)) {
        EXPECT_NE(name.find("ep"), std::string::npos) << name;
    }
    const Paths beginning = passing("rep", true, false);
    for (const char* const name : {"report", "Report", "rep"}) {
        EXPECT_EQ(std::count(beginning.begin(), beginning.end(), name), 1) << name;
    }
    EXPECT_EQ(passing("x", true, true), Paths{"x"});
    EXPECT_EQ(passing("er", false, true), Paths{"porter"});
    EXPECT_EQ(passing("", true, true), Paths{""});
}

TEST(SignatureFilter, knows_nothing_of_the_bytes_beside_a_mark) {
    EXPECT_EQ(passing("rep?rt", false, false), (Paths{"report", "Report", "my report"}));
    EXPECT_EQ(passing("r?p", true, true), Paths{"rep"});
    EXPECT_EQ(passing("r?p", false, false),
              (Paths{"report", "Report", "my report", "porter", "rep"}));
    EXPECT_EQ(passing("?ep", true, false), (Paths{"report", "Report", "my report", "rep"}));
    EXPECT_EQ(passing("?", true, true), kPaths);
    EXPECT_EQ(passing("t?", true, true), (Paths{}));
}

TEST(SignatureFilter, asks_for_an_uppercase_letter_where_case_matters) {
    EXPECT_EQ(passing("Report", false, false, true), Paths{"Report"});
    EXPECT_EQ(passing("report", false, false, true), (Paths{"report", "Report", "my report"}));
}

}  // namespace
}  // namespace system_search
