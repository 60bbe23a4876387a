#include "model/beside.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

constexpr Box kWork{0, 0, 1920, 1040};
constexpr int kStep = 30;

TEST(Beside, an_only_window_opens_where_it_was) {
    const Box box{100, 100, 1000, 700};
    EXPECT_EQ(beside(box, {}, kWork, kStep), box);
    EXPECT_EQ(beside(box, {{500, 100, 1400, 700}}, kWork, kStep), box);
}

TEST(Beside, a_second_window_does_not_hide_the_first) {
    const Box box{100, 100, 1000, 700};
    EXPECT_EQ(beside(box, {box}, kWork, kStep), (Box{130, 130, 1030, 730}));
    EXPECT_EQ(beside(box, {box, {130, 130, 1030, 730}}, kWork, kStep), (Box{160, 160, 1060, 760}));
    EXPECT_EQ(beside(box, {{105, 98, 1005, 698}}, kWork, kStep), (Box{130, 130, 1030, 730}));
}

TEST(Beside, at_the_edge_of_the_screen_it_begins_at_the_other_one) {
    const Box corner{1020, 440, 1920, 1040};
    EXPECT_EQ(beside(corner, {corner}, kWork, kStep), (Box{0, 0, 900, 600}));
    EXPECT_EQ(beside(kWork, {kWork}, kWork, kStep), kWork) << "a screen without room for another";
}

}  // namespace
}  // namespace window
