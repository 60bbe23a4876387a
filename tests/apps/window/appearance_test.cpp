#include "model/appearance.hpp"

#include <gtest/gtest.h>

#include "model/contrast.hpp"

namespace window {
namespace {

TEST(Appearance, the_window_is_dark_when_the_setting_says_so) {
    EXPECT_TRUE(wants_dark(0, /*has_contrast_theme=*/false));
    EXPECT_FALSE(wants_dark(1, /*has_contrast_theme=*/false));
    EXPECT_FALSE(wants_dark(std::nullopt, /*has_contrast_theme=*/false)) << "an older system";
}

TEST(Appearance, a_contrast_theme_is_left_as_it_is) {
    EXPECT_FALSE(wants_dark(0, /*has_contrast_theme=*/true));
    EXPECT_FALSE(wants_dark(1, /*has_contrast_theme=*/true));
}

TEST(Appearance, dark_texts_can_be_read) {
    constexpr double kReadable = 4.5;
    for (Color background : {dark::kBackground, dark::kSelected, dark::kSelectedElsewhere}) {
        EXPECT_GE(contrast(dark::kText, background), kReadable);
    }
    EXPECT_GE(contrast(dark::kMatch, dark::kBackground), kReadable);
    EXPECT_GE(contrast(dark::kMatch, dark::kSelectedElsewhere), kReadable);
}

}  // namespace
}  // namespace window
