/* The rows that several queries have found together: in the library's order, each path once. */
#pragma once

#include <system_search.hpp>

#include <cstdint>
#include <string_view>
#include <vector>

#include "model/phrasing.hpp"

namespace window {

/* How a number relates to how many names there really are. */
enum class Bound { kExact, kMoreThan, kAtLeast };

struct Total {
    std::uint32_t matched = 0;
    Bound bound = Bound::kExact;

    friend bool operator==(const Total&, const Total&) = default;
};

class FoundRows {
public:
    FoundRows() = default;
    /* Takes queries that are done, of the questions of `phrasing`, asked with `limit`. */
    FoundRows(std::vector<ss::Query> queries, const Phrasing& phrasing, std::uint32_t limit);

    std::size_t size() const { return rows_.size(); }
    /* An empty path where there is no such row. */
    ss::Result operator[](std::size_t row) const;
    /* How many names there are: exactly while no query found more than it could hold. */
    const Total& total() const { return total_; }
    /* No query found more than it could hold, so asking for more would bring nothing. */
    bool holds_all() const { return !overflows_; }

    /* For who destroys them: no row can be read afterwards. */
    std::vector<ss::Query> take_queries();

private:
    struct Row {
        std::uint32_t query;
        std::uint32_t result;
    };
    void merge(const Phrasing& phrasing);

    std::vector<ss::Query> queries_;
    std::vector<Row> rows_;
    Total total_;
    bool overflows_ = false;
};

/* The library's order of results: by the path with A to Z in lowercase, then by the path. */
bool comes_before(std::string_view a, std::string_view b);

}  // namespace window
