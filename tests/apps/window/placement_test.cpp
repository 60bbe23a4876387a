#include "model/placement.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

constexpr Screen kMain{{0, 0, 1920, 1040}, 96};
constexpr Screen kLeft{{-1280, 0, 0, 1000}, 96};
constexpr Screen kSharp{{1920, 0, 5760, 2100}, 192};

TEST(Placement, a_window_opens_where_it_was) {
    const Box box{100, 100, 1000, 700};
    EXPECT_EQ(place({box, 96, false}, {kMain}), box);
    const Box left{-1200, 20, -300, 620};
    EXPECT_EQ(place({left, 96, false}, {kMain, kLeft}), left);
}

TEST(Placement, a_screen_that_is_gone_leaves_the_window_in_the_middle_of_the_main_one) {
    EXPECT_EQ(place({{-1200, 20, -300, 620}, 96, false}, {kMain}), (Box{510, 220, 1410, 820}));
}

TEST(Placement, a_window_half_outside_is_moved_in) {
    EXPECT_EQ(place({{1500, 900, 2400, 1500}, 96, false}, {kMain}), (Box{1020, 440, 1920, 1040}));
    EXPECT_EQ(place({{-500, -50, 400, 550}, 96, false}, {kMain}), (Box{0, 0, 900, 600}));
}

TEST(Placement, a_window_larger_than_the_screen_shrinks) {
    EXPECT_EQ(place({{0, 0, 5000, 5000}, 96, false}, {kMain}), kMain.work);
    EXPECT_EQ(place({{9000, 0, 14000, 5000}, 96, false}, {kMain}), kMain.work);
}

TEST(Placement, the_screen_that_shows_most_of_it_counts) {
    const Box mostly_left{-700, 0, 200, 600};
    EXPECT_EQ(place({mostly_left, 96, false}, {kMain, kLeft}), (Box{-900, 0, 0, 600}));
}

TEST(Placement, the_size_follows_the_dots_of_the_screen) {
    EXPECT_EQ(place({{2000, 100, 2900, 700}, 96, false}, {kMain, kSharp}),
              (Box{2000, 100, 3800, 1300}));
    EXPECT_EQ(place({{2000, 100, 3800, 1300}, 192, false}, {kMain}), (Box{510, 220, 1410, 820}));
}

TEST(Placement, lengths_scale_with_the_dots_and_back) {
    EXPECT_EQ(scaled(16, 96), 16);
    EXPECT_EQ(scaled(16, 144), 24);
    EXPECT_EQ(scaled(3, 120), 4);
    EXPECT_EQ(scaled(-3, 120), -4);
    for (int length = 0; length < 2000; ++length) {
        for (int dpi : {96, 120, 144, 168, 192}) {
            EXPECT_EQ(unscaled(scaled(length, dpi), dpi), length);
        }
    }
}

}  // namespace
}  // namespace window
