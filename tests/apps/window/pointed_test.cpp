#include "model/pointed.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

using Paths = std::vector<std::string>;

TEST(Pointed, only_the_box_means_the_first_row) {
    const Pointed pointed;
    EXPECT_EQ(pointed.paths({}, "C:/a", /*from_box=*/true), Paths{"C:/a"});
    EXPECT_EQ(pointed.paths({}, "C:/a", /*from_box=*/false), Paths{});
    EXPECT_EQ(pointed.paths({}, "", /*from_box=*/true), Paths{});
    EXPECT_EQ(pointed.paths({"C:/b"}, "C:/a", /*from_box=*/true), Paths{"C:/b"});
}

TEST(Pointed, a_selected_row_that_goes_is_still_what_is_meant) {
    Pointed pointed;
    pointed.rows_selected();
    pointed.rows_replaced({"C:/gone"}, /*is_new_question=*/false);
    pointed.rows_replaced({}, /*is_new_question=*/false);
    EXPECT_EQ(pointed.paths({}, "C:/a", /*from_box=*/true), Paths{"C:/gone"});
    EXPECT_EQ(pointed.paths({}, "C:/a", /*from_box=*/false), Paths{"C:/gone"});
    EXPECT_EQ(pointed.paths({"C:/b"}, "C:/a", /*from_box=*/false), (Paths{"C:/b", "C:/gone"}));
}

TEST(Pointed, another_selection_or_question_forgets_what_has_gone) {
    Pointed pointed;
    pointed.rows_replaced({"C:/gone"}, /*is_new_question=*/false);
    pointed.rows_selected();
    EXPECT_EQ(pointed.paths({"C:/b"}, "C:/a", /*from_box=*/false), Paths{"C:/b"});
    pointed.rows_replaced({"C:/b"}, /*is_new_question=*/false);
    pointed.rows_replaced({"C:/old"}, /*is_new_question=*/true);
    EXPECT_EQ(pointed.paths({}, "C:/a", /*from_box=*/true), Paths{"C:/a"});
}

TEST(Pointed, rows_selected_since_the_question_are_meant_though_its_answer_is_not_there) {
    Pointed pointed;
    EXPECT_FALSE(pointed.is_of_this_question());
    pointed.rows_selected();
    EXPECT_TRUE(pointed.is_of_this_question());
    pointed.question_asked();
    EXPECT_FALSE(pointed.is_of_this_question());
}

TEST(Pointed, a_double_click_counts_when_both_clicks_met_the_same_row) {
    Pointed pointed;
    EXPECT_FALSE(pointed.clicked_twice("C:/a"));
    pointed.clicked("C:/a");
    EXPECT_TRUE(pointed.clicked_twice("C:/a"));
    EXPECT_FALSE(pointed.clicked_twice("C:/b"));
    pointed.clicked("");  // beside the rows
    EXPECT_FALSE(pointed.clicked_twice(""));
}

}  // namespace
}  // namespace window
