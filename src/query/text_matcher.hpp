// One text, a name or a path, held against terms.
#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <string_view>

#include "query/pattern.hpp"
#include "query/segment.hpp"

namespace system_search {

class TextMatcher {
public:
    // What the views of the terms lie in outlives this.
    explicit TextMatcher(const Terms& terms);

    // Both are false when cancelled.
    //
    // By bytes: right for ASCII, and for any text when the pattern does not count code points.
    // kTextPadding bytes behind the text must be readable.
    bool matches_bytes(std::string_view text, const std::atomic<bool>& cancel) const {
        if (text.size() < least_bytes_) return false;
        if (!has_star_ && text.size() != least_bytes_) return false;
        if (!prefix_.is_prefix_of(text) || !suffix_.is_suffix_of(text)) return false;
        text = text.substr(prefix_.size(), text.size() - prefix_.size() - suffix_.size());
        for (const Segment& segment : inner_) {
            const std::size_t place = segment.find(text, cancel);
            if (place == std::string_view::npos) return false;
            text.remove_prefix(place + segment.size());
        }
        return true;
    }
    // By code points: right for any text.
    bool matches_code_points(std::string_view text, const std::atomic<bool>& cancel) const;

private:
    Segment prefix_;
    std::span<const Segment> inner_;
    Segment suffix_;
    bool has_star_;
    std::size_t least_bytes_;  // of a text that matches; without a star all of them, in ASCII
};

}  // namespace system_search
