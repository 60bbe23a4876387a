#include "model/contrast.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

constexpr Color kWhite = 0xFFFFFF;
constexpr Color kBlack = 0x000000;

TEST(Contrast, it_runs_from_one_to_twenty_one_either_way) {
    EXPECT_DOUBLE_EQ(contrast(kWhite, kWhite), 1);
    EXPECT_NEAR(contrast(kBlack, kWhite), 21, 0.001);
    EXPECT_NEAR(contrast(kWhite, kBlack), 21, 0.001);
    EXPECT_NEAR(contrast(0x0000FF, kWhite), 4.00, 0.01) << "red, in the lowest byte";
    EXPECT_NEAR(contrast(0xFF0000, kWhite), 8.59, 0.01) << "blue, in the highest";
}

TEST(Contrast, the_first_colour_that_can_be_read_is_taken) {
    constexpr Color kLightGrey = 0xC8C8C8;
    constexpr Color kBlue = 0xCC6600;
    EXPECT_EQ(readable_on(kWhite, {kBlue, kBlack}, kBlack), kBlue);
    EXPECT_EQ(readable_on(kWhite, {kLightGrey, kBlue}, kBlack), kBlue);
    EXPECT_EQ(readable_on(kWhite, {kLightGrey}, kBlack), kBlack);
}

}  // namespace
}  // namespace window
