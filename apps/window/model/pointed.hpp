/* What the user points at. The rows change by themselves while the disk is read, and nothing may
 * ever be done with another file than the one that was meant. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace window {

class Pointed {
public:
    /* Another text was typed, or another option chosen. */
    void question_asked() { is_of_this_question_ = false; }
    /* The user has selected rows, or none. */
    void rows_selected();
    /* Other rows have come. `gone`: the selected ones that are not among them; they are still what
       is meant. The rows of a new question have nothing to do with those of before. */
    void rows_replaced(std::vector<std::string> gone, bool is_new_question);

    /* The rows that are seen may be those of an older question; they are meant all the same when
       they were selected after it was asked. */
    bool is_of_this_question() const { return is_of_this_question_; }

    /* `selected` and what has gone since it was selected. Only from the box, and when there is
       neither, the first row is meant: it is what the text finds first. */
    std::vector<std::string> paths(std::vector<std::string> selected, std::string_view first_row,
                                   bool from_box) const;

    /* The rows may change between the two clicks of a double click. It counts when both of them
       were on the same path. */
    void clicked(std::string_view path) { clicked_ = path; }
    bool clicked_twice(std::string_view path) const { return !path.empty() && path == clicked_; }

private:
    std::vector<std::string> gone_;
    std::string clicked_;
    bool is_of_this_question_ = false;
};

}  // namespace window
