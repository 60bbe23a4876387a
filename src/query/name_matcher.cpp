#include "query/name_matcher.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "index/signature.hpp"

namespace system_search {

PartSearch::PartSearch(const Pattern& pattern) {
    searches_.reserve(pattern.parts.size());
    for (const std::string_view part : pattern.parts) searches_.emplace_back(part);
}

NameMatcher::NameMatcher(const Pattern& pattern, const std::atomic<bool>& cancel)
    : pattern_(pattern), parts_(pattern), wildcard_(pattern.text, cancel) {
    // The literal bytes between wildcards; a text without wildcards lies anywhere.
    const std::string_view text = pattern.text;
    const bool anywhere = text.find_first_of("*?") == std::string_view::npos;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find_first_of("*?", start), text.size());
        filter_.require(text.substr(start, end - start), /*begins=*/start == 0 && !anywhere,
                        /*ends=*/end == text.size() && !anywhere);
        start = end + 1;
    }
    if (pattern.match_case && has_upper_ascii(text)) filter_.require_bit(kUpperNameBit);
    is_one_part_ = !pattern.needs_rule && pattern.prefix.empty() && pattern.suffix.empty() &&
                   pattern.parts.size() == 1;
    const std::string_view part = is_one_part_ ? pattern.parts[0] : std::string_view();
    filter_decides_ = !pattern.match_case && ((part.size() == 1 && has_own_bit(part[0])) ||
                                              (part.size() == 2 && has_own_bit(part[0], part[1])));
}

void NameMatcher::match(const Segment& segment, EntryBits& bits) const {
    if (pattern_.text.find('/') != std::string::npos) {  // which no name holds
        std::fill_n(bits, segment.words, 0);
        return;
    }
    if (!filter_.apply(segment, bits) || filter_decides_) return;
    if (pattern_.needs_rule) {
        keep_if(bits, 0, segment.size, [&](std::uint32_t entry) {
            return wildcard_.matches(subject_name(pattern_, segment, entry));
        });
    } else if (is_one_part_) {
        const ByteSearch& part = parts_[0];
        keep_if(bits, 0, segment.size, [&](std::uint32_t entry) {
            return part.in(subject_name(pattern_, segment, entry));
        });
    } else {
        keep_if(bits, 0, segment.size, [&](std::uint32_t entry) {
            return parts_.matches(subject_name(pattern_, segment, entry), pattern_.prefix, 0,
                                  pattern_.suffix);
        });
    }
}

}  // namespace system_search
