/* The rows of the list: their order, and which of them are the same after another search. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace window {

enum class Column { kName, kFolder, kSize, kModified };

/* How the user wants the rows. Without a column they stay as the library orders them. */
struct Order {
    std::optional<Column> column;
    bool descending = false;

    /* A click on a column: it sorts, a second one turns the order, a third one ends it. */
    void click(Column clicked);

    friend bool operator==(const Order&, const Order&) = default;
};

/* What one row is compared by: for texts a key whose bytes are in the locale's order. */
struct SortKey {
    std::string text;                   // of the name or the folder
    std::optional<std::int64_t> value;  // size or time; rows that have none come last either way
};

/* Positions of rows in the wanted order; equal ones stay in the order they came in. */
std::vector<std::uint32_t> sorted_rows(const std::vector<SortKey>& keys, const Order& order);

/* Where the rows of `wanted` are now. Both are paths. */
std::vector<std::optional<std::uint32_t>> find_rows(const std::vector<std::string_view>& wanted,
                                                    const std::vector<std::string_view>& rows);

}  // namespace window
