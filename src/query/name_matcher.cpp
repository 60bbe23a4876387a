#include "query/name_matcher.hpp"

#include <algorithm>
#include <bit>

#include "common/text.hpp"
#include "index/signature.hpp"

namespace system_search {

PartSearch::PartSearch(const Pattern& pattern) : masks_(pattern.parts) {
    searches_.reserve(pattern.parts.size());
    for (const std::string_view part : pattern.parts) searches_.emplace_back(part);
}

NameMatcher::NameMatcher(const Pattern& pattern, const std::atomic<bool>& cancel)
    : pattern_(pattern), cancel_(cancel), parts_(pattern), wildcard_(pattern.text, cancel) {
    // The literal bytes between wildcards; a text without wildcards lies anywhere.
    const std::string_view text = pattern.text;
    const bool anywhere = text.find_first_of("*?") == std::string_view::npos;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find_first_of("*?", start), text.size());
        filter_.require(text.substr(start, end - start), /*begins=*/start == 0 && !anywhere,
                        /*ends=*/end == text.size() && !anywhere);
        start = end + 1;
    }
    const bool has_upper = pattern.match_case && has_upper_ascii(text);
    if (has_upper) filter_.require_bit(kUpperNameBit);
    if (pattern.needs_rule) require_dots();

    shape_ = shape_of(pattern);
    const std::string_view part = shape_ == Shape::kPart ? pattern.parts[0] : std::string_view();
    filter_decides_ = !pattern.match_case && ((part.size() == 1 && has_own_bit(part[0])) ||
                                              (part.size() == 2 && has_own_bit(part[0], part[1])));
    endings_tell_ = !has_upper && (shape_ == Shape::kPart || shape_ == Shape::kSuffix);
}

NameMatcher::Shape NameMatcher::shape_of(const Pattern& pattern) {
    if (pattern.needs_rule) return Shape::kRule;
    if (!pattern.prefix.empty()) return Shape::kParts;
    if (pattern.parts.empty()) return Shape::kSuffix;
    if (!pattern.suffix.empty()) return Shape::kParts;
    return pattern.parts.size() == 1 ? Shape::kPart : Shape::kInnerParts;
}

// What stands before the first "*" has its place, so that its dots have theirs.
void NameMatcher::require_dots() {
    const std::string_view text = pattern_.text;
    const std::string_view head = text.substr(0, text.find('*'));
    for (unsigned place = 0; place < std::min<std::size_t>(head.size(), kDotPlaces); ++place) {
        if (head[place] == '.') filter_.require_dot(place);
    }
    dots_decide_ = head.size() + 1 == text.size() && head.size() <= kDotPlaces &&
                   head.ends_with('.') && head.find_first_not_of("?.") == std::string_view::npos;
}

void NameMatcher::match(const Shard& shard, EntryBits& bits) const {
    if (pattern_.text.find('/') != std::string::npos) {  // which no name holds
        std::fill_n(bits, shard.words, 0);
        return;
    }
    if (!filter_.apply(shard, bits) || filter_decides_) return;

    EntryBits known;
    if (!known_matches(shard, bits, known)) {
        keep_matches(shard, bits);
        return;
    }
    for (std::uint32_t word = 0; word < shard.words; ++word) bits[word] &= ~known[word];
    keep_matches(shard, bits);
    for (std::uint32_t word = 0; word < shard.words; ++word) bits[word] |= known[word];
}

// Sets `known` to those of the entries of `bits` that match, as far as that is known without a look
// at their names. False when asking is not worth it.
bool NameMatcher::known_matches(const Shard& shard, const EntryBits& bits, EntryBits& known) const {
    if (dots_decide_) {
        non_ascii_names(shard, known);
        for (std::uint32_t word = 0; word < shard.words; ++word) {
            known[word] = bits[word] & ~known[word];
        }
        return true;
    }
    constexpr std::uint32_t kFewEntries = 32;
    if (!endings_tell_ || count_bits(shard, bits) <= kFewEntries) return false;
    names_with_endings(shard, known);
    const std::uint64_t* const upper = shard.column(kUpperNameBit);
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        known[word] &= bits[word];
        if (pattern_.match_case) known[word] &= ~upper[word];  // endings are folded
    }
    return true;
}

// The entries whose endings match by themselves.
void NameMatcher::names_with_endings(const Shard& shard, EntryBits& names) const {
    std::fill_n(names, shard.words, 0);
    for (std::uint32_t i = 0; i < shard.ending_count; ++i) {
        const std::string_view ending = ending_text(shard.endings[i]);
        const bool matches =
            shape_ == Shape::kPart ? parts_[0].in(ending) : ending.ends_with(pattern_.suffix);
        if (!matches) continue;
        const __m128i number = _mm_set1_epi8(static_cast<char>(i + 1));
        for (std::uint32_t entry = 0; entry < shard.size; entry += 16) {
            static_assert(kTextPadding >= 16);
            const __m128i numbers =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(shard.ending_numbers + entry));
            const auto equal =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(numbers, number)));
            names[entry / 64] |= std::uint64_t{equal} << entry % 64;
        }
    }
}

void NameMatcher::keep_matches(const Shard& shard, EntryBits& bits) const {
    const auto name = [&](std::uint32_t entry) { return subject_name(pattern_, shard, entry); };
    switch (shape_) {
        case Shape::kRule:
            keep_names_if(shard, bits, cancel_,
                          [&](std::uint32_t i) { return wildcard_.matches(name(i)); });
            break;
        case Shape::kPart:
            keep_names_if(shard, bits, cancel_,
                          [&](std::uint32_t i) { return parts_[0].in(name(i)); });
            break;
        case Shape::kInnerParts:
            keep_names_if(shard, bits, cancel_,
                          [&](std::uint32_t i) { return parts_.in_order(name(i), 0); });
            break;
        case Shape::kSuffix:
        case Shape::kParts:
            keep_names_if(shard, bits, cancel_, [&](std::uint32_t i) {
                return parts_.matches(name(i), pattern_.prefix, 0, pattern_.suffix);
            });
            break;
    }
}

}  // namespace system_search
