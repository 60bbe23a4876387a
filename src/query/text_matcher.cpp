#include "query/text_matcher.hpp"

#include "query/code_points.hpp"

namespace system_search {

TextMatcher::TextMatcher(const Terms& terms)
    : prefix_(terms.prefix),
      inner_(terms.inner),
      suffix_(terms.suffix),
      has_star_(terms.has_star),
      least_bytes_(terms.prefix.size() + terms.suffix.size()) {
    for (const Segment& segment : terms.inner) least_bytes_ += segment.size();
}

bool TextMatcher::matches_code_points(std::string_view text,
                                      const std::atomic<bool>& cancel) const {
    std::size_t at = end_of_segment(prefix_.text(), text, 0);
    if (!has_star_) return at == text.size();
    for (const Segment& segment : inner_) {
        if (at == std::string_view::npos) return false;
        at = find_segment_end(segment.text(), text, at, cancel);
    }
    if (at == std::string_view::npos) return false;
    return suffix_.empty() || ends_with_segment(suffix_.text(), text, at, cancel);
}

}  // namespace system_search
