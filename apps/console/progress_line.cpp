#include "progress_line.hpp"

#include <string>

#include "model/utf8.hpp"

namespace console {

void ProgressLine::show(std::string_view text) {
    if (!is_shown_ || (text.empty() && shown_code_points_ == 0)) return;
    const std::size_t columns = output_.columns();
    // A character in the last column would make some terminals go on to the next line.
    if (columns != 0) text = first_code_points(text, columns - 1);
    const std::size_t code_points = count_code_points(text);

    std::string line = "\r" + std::string(text);
    // Spaces instead of an escape sequence: older consoles would print that.
    if (code_points < shown_code_points_) {
        line.append(shown_code_points_ - code_points, ' ');
        line += "\r" + std::string(text);
    }
    shown_code_points_ = code_points;
    output_.write(line);
    output_.flush();
}

}  // namespace console
