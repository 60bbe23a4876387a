#include "model/rows.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

using Positions = std::vector<std::uint32_t>;

std::vector<SortKey> texts(std::initializer_list<const char*> each) {
    std::vector<SortKey> keys;
    for (const char* text : each) keys.push_back({text, std::nullopt});
    return keys;
}

TEST(Rows, without_a_column_they_stay_as_they_came) {
    EXPECT_EQ(sorted_rows(texts({"b", "a"}), Order()), (Positions{0, 1}));
    EXPECT_EQ(sorted_rows({}, Order{Column::kName, false}), Positions());
}

TEST(Rows, texts_are_in_the_order_of_their_keys_and_equal_ones_stay) {
    const auto keys = texts({"b", "a", "b", "a", "c"});
    EXPECT_EQ(sorted_rows(keys, {Column::kName, false}), (Positions{1, 3, 0, 2, 4}));
    EXPECT_EQ(sorted_rows(keys, {Column::kFolder, true}), (Positions{4, 0, 2, 1, 3}));
    EXPECT_EQ(sorted_rows(texts({"\xFF", "a"}), {Column::kName, false}), (Positions{1, 0}))
        << "keys are bytes, not letters";
}

TEST(Rows, values_are_in_order_and_rows_without_one_come_last_either_way) {
    const std::vector<SortKey> keys{{"", 5}, {"", std::nullopt}, {"", -3}, {"", 7}, {"", 5}};
    EXPECT_EQ(sorted_rows(keys, {Column::kSize, false}), (Positions{2, 0, 4, 3, 1}));
    EXPECT_EQ(sorted_rows(keys, {Column::kModified, true}), (Positions{3, 0, 4, 2, 1}));
}

TEST(Rows, clicks_sort_turn_and_end_the_order) {
    Order order;
    order.click(Column::kSize);
    EXPECT_EQ(order, (Order{Column::kSize, false}));
    order.click(Column::kSize);
    EXPECT_EQ(order, (Order{Column::kSize, true}));
    order.click(Column::kName);
    EXPECT_EQ(order, (Order{Column::kName, false}));
    order.click(Column::kName);
    order.click(Column::kName);
    EXPECT_EQ(order, Order());
}

TEST(Rows, rows_are_found_again_by_their_paths) {
    using Found = std::vector<std::optional<std::uint32_t>>;
    EXPECT_EQ(find_rows({"C:/b", "C:/gone", "C:/a"}, {"C:/a", "C:/a2", "C:/b"}),
              (Found{2, std::nullopt, 0}));
    EXPECT_EQ(find_rows({}, {"C:/a"}), Found());
    EXPECT_EQ(find_rows({"C:/a"}, {}), Found{std::nullopt});
}

}  // namespace
}  // namespace window
