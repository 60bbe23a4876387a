#include "model/many.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Many, opening_asks_above_ten) {
    const NumberStyle style;
    EXPECT_EQ(question_before_opening(1, "items", style), "");
    EXPECT_EQ(question_before_opening(10, "items", style), "");
    EXPECT_EQ(question_before_opening(11, "items", style), "Open all 11 items at once?");
    EXPECT_EQ(question_before_opening(12345, "folders", style), "Open all 12,345 folders at once?");
}

TEST(Many, each_folder_counts_once) {
    EXPECT_EQ(folders_of({}), 0u);
    EXPECT_EQ(folders_of({"C:/a/1", "C:/a/2", "C:/b/1", "C:/1"}), 3u);
}

}  // namespace
}  // namespace window
