#include "model/pointed.hpp"

#include <iterator>
#include <utility>

namespace window {

void Pointed::rows_selected() {
    gone_.clear();
    is_of_this_question_ = true;
}

void Pointed::rows_replaced(std::vector<std::string> gone, bool is_new_question) {
    if (is_new_question) {
        gone_.clear();
        return;
    }
    gone_.insert(gone_.end(), std::make_move_iterator(gone.begin()),
                 std::make_move_iterator(gone.end()));
}

std::vector<std::string> Pointed::paths(std::vector<std::string> selected,
                                        std::string_view first_row, bool from_box) const {
    selected.insert(selected.end(), gone_.begin(), gone_.end());
    if (selected.empty() && from_box && !first_row.empty()) selected.emplace_back(first_row);
    return selected;
}

}  // namespace window
