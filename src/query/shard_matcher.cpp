#include "query/segment_matcher.hpp"

#include "index/signature.hpp"
#include "system_search.h"

namespace system_search {

SegmentMatcher::SegmentMatcher(const Pattern& pattern, std::uint32_t kind,
                               const std::atomic<bool>& cancel)
    : pattern_(pattern), kind_(kind) {
    if (pattern.match_path) {
        paths_.emplace(pattern, cancel);
    } else {
        names_.emplace(pattern, cancel);
    }
}

std::optional<std::uint32_t> SegmentMatcher::count_all(const Segment& segment) const {
    if (!pattern_.matches_everything()) return std::nullopt;
    if (kind_ == SS_KIND_ANY) return segment.size;
    return kind_ == SS_KIND_FOLDER ? segment.folders : segment.size - segment.folders;
}

void SegmentMatcher::prefetch(const Segment& segment) const {
    if (names_) names_->prefetch(segment);
    if (paths_) paths_->prefetch(segment);
}

void SegmentMatcher::match(const Segment& segment, EntryBits& bits) {
    start_with_kind(segment, bits);
    if (pattern_.matches_everything()) return;
    if (pattern_.match_path) {
        paths_->match(segment, bits);
    } else {
        names_->match(segment, bits);
    }
}

void SegmentMatcher::start_with_kind(const Segment& segment, EntryBits& bits) const {
    const std::uint64_t* const folders = segment.column(kFolderBit);
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        bits[word] = kind_ == SS_KIND_ANY      ? ~std::uint64_t{0}
                     : kind_ == SS_KIND_FOLDER ? folders[word]
                                               : ~folders[word];
    }
    if (segment.size % 64 != 0) {
        bits[segment.words - 1] &= ~(~std::uint64_t{0} << segment.size % 64);
    }
}

}  // namespace system_search
