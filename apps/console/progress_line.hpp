/* One line on a terminal that is rewritten in place; nothing at all elsewhere. */
#pragma once

#include <cstddef>
#include <string_view>

#include "text_output.hpp"

namespace console {

/* Not for several threads. The line is gone when the object is. */
class ProgressLine {
public:
    ProgressLine(TextOutput& output, bool is_wanted)
        : output_(output), is_shown_(is_wanted && output.is_terminal()) {}
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool is_shown() const { return is_shown_; }

    /* Replaces the line; a text wider than the terminal is cut. */
    void show(std::string_view text);

    void clear() { show(""); }

private:
    TextOutput& output_;
    const bool is_shown_;
    std::size_t shown_code_points_ = 0;
};

}  // namespace console
