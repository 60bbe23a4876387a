#include "model/rows.hpp"

#include <algorithm>
#include <numeric>
#include <unordered_map>

namespace window {

void Order::click(Column clicked) {
    if (column != clicked) {
        column = clicked;
        descending = false;
    } else if (!descending) {
        descending = true;
    } else {
        *this = Order();
    }
}

std::vector<std::uint32_t> sorted_rows(const std::vector<SortKey>& keys, const Order& order) {
    std::vector<std::uint32_t> positions(keys.size());
    std::iota(positions.begin(), positions.end(), 0u);
    if (!order.column) return positions;
    const bool by_text = order.column == Column::kName || order.column == Column::kFolder;
    std::stable_sort(positions.begin(), positions.end(), [&](std::uint32_t a, std::uint32_t b) {
        const SortKey& left = keys[order.descending ? b : a];
        const SortKey& right = keys[order.descending ? a : b];
        if (by_text) return left.text < right.text;
        const bool a_has = keys[a].value.has_value();
        const bool b_has = keys[b].value.has_value();
        if (!a_has || !b_has) return a_has && !b_has;
        return *left.value < *right.value;
    });
    return positions;
}

std::vector<std::optional<std::uint32_t>> find_rows(const std::vector<std::string_view>& wanted,
                                                    const std::vector<std::string_view>& rows) {
    std::vector<std::optional<std::uint32_t>> found(wanted.size());
    if (wanted.empty()) return found;
    std::unordered_map<std::string_view, std::uint32_t> positions;
    positions.reserve(rows.size());
    for (std::uint32_t row = 0; row < rows.size(); ++row) positions.emplace(rows[row], row);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const auto position = positions.find(wanted[i]);
        if (position != positions.end()) found[i] = position->second;
    }
    return found;
}

}  // namespace window
