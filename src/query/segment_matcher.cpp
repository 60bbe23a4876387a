#include "query/segment_matcher.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

#include "index/signature.hpp"
#include "system_search.h"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Clears the bits of entries for which `keep` is false.
template <typename Keep>
void keep_if(const Segment& segment, EntryBits& bits, Keep keep) {
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            if (!keep(word * 64 + bit)) bits[word] &= ~(std::uint64_t{1} << bit);
        }
    }
}

bool test_bit(const std::uint64_t* bits, std::uint32_t entry) {
    return (bits[entry / 64] >> entry % 64 & 1) != 0;
}

// Calls visit(word, mask) for the words that hold the bits from `first` to `end`.
template <typename Visit>
void for_words(std::uint32_t first, std::uint32_t end, Visit visit) {
    for (std::uint32_t word = first / 64; word * 64 < end; ++word) {
        std::uint64_t mask = ~std::uint64_t{0};
        if (word == first / 64) mask &= ~std::uint64_t{0} << first % 64;
        if (end - word * 64 < 64) mask &= ~(~std::uint64_t{0} << (end - word * 64));
        visit(word, mask);
    }
}

void set_range(EntryBits& bits, std::uint32_t first, std::uint32_t end) {
    for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) { bits[word] |= mask; });
}

void clear_range(EntryBits& bits, std::uint32_t first, std::uint32_t end) {
    for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) { bits[word] &= ~mask; });
}

bool any_in_range(const EntryBits& bits, std::uint32_t first, std::uint32_t end) {
    std::uint64_t any = 0;
    for_words(first, end,
              [&](std::uint32_t word, std::uint64_t mask) { any |= bits[word] & mask; });
    return any != 0;
}

std::string_view longest_component(std::string_view text) {
    std::string_view longest;
    while (!text.empty()) {
        const std::string_view component = text.substr(0, text.find('/'));
        if (component.size() > longest.size()) longest = component;
        text.remove_prefix(std::min(text.size(), component.size() + 1));
    }
    return longest;
}

}  // namespace

SegmentMatcher::SegmentMatcher(const Pattern& pattern, std::uint32_t kind,
                               const std::atomic<bool>& cancel)
    : pattern_(pattern), kind_(kind) {
    has_separator_ = pattern.text.find('/') != kNone;
    if (pattern.mode == Mode::kSubstring) {
        search_.emplace(pattern.text);
        const std::size_t cut = pattern.text.rfind('/') + 1;  // 0 without one
        folder_end_ = std::string_view(pattern.text).substr(0, cut);
        name_begin_ = std::string_view(pattern.text).substr(cut);
        component_ = longest_component(pattern.folded_text);
        if (!component_.empty()) component_search_.emplace(component_);
    } else if (pattern.mode == Mode::kWildcard) {
        wildcard_.emplace(pattern.text, cancel);
    }
    require_literals();
}

// What the folded name of every match has to hold.
void SegmentMatcher::require_literals() {
    const std::string_view text = pattern_.folded_text;
    if (pattern_.mode == Mode::kSubstring) {
        if (pattern_.match_path && has_separator_) {
            filter_.require(text.substr(folder_end_.size()), /*begins=*/true, /*ends=*/false);
            return;
        }
        filter_.require(text, /*begins=*/false, /*ends=*/false);
        filter_decides_ = !pattern_.match_case && text.size() == 1 && has_own_bit(text.front());
    } else if (pattern_.mode == Mode::kWildcard && pattern_.match_path) {
        std::string_view end = text.substr(text.find_last_of("*?") + 1);
        const std::size_t separator = end.rfind('/');
        if (separator != kNone) end.remove_prefix(separator + 1);
        filter_.require(end, /*begins=*/separator != kNone, /*ends=*/true);
        return;
    } else if (pattern_.mode == Mode::kWildcard) {
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find_first_of("*?", start), text.size());
            filter_.require(text.substr(start, end - start), /*begins=*/start == 0,
                            /*ends=*/end == text.size());
            start = end + 1;
        }
    }
    if (pattern_.match_case && pattern_.text != pattern_.folded_text) {
        filter_.require_bit(kUpperNameBit);
    }
}

std::optional<std::uint32_t> SegmentMatcher::count_all(const Segment& segment) const {
    if (pattern_.mode != Mode::kEverything) return std::nullopt;
    if (kind_ == SS_KIND_ANY) return segment.size;
    return kind_ == SS_KIND_FOLDER ? segment.folders : segment.size - segment.folders;
}

void SegmentMatcher::match(const Segment& segment, EntryBits& bits) {
    start_with_kind(segment, bits);
    if (pattern_.mode == Mode::kEverything) return;
    if (!pattern_.match_path) {
        match_names(segment, bits);
    } else if (pattern_.mode == Mode::kSubstring) {
        match_substring_paths(segment, bits);
    } else {
        match_wildcard_paths(segment, bits);
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

std::string_view SegmentMatcher::subject_name(const Segment& segment, std::uint32_t entry) const {
    if (pattern_.match_case && test_bit(segment.column(kUpperNameBit), entry)) {
        return segment.entries[entry].name();
    }
    return segment.folded_name(entry);
}

std::string_view SegmentMatcher::subject_folder(const Segment& segment,
                                                const FolderRun& run) const {
    const std::string_view folded = segment.folded_folder(run);
    if (!pattern_.match_case) return folded;
    return {segment.entries[run.first].path.c_str(), folded.size()};
}

void SegmentMatcher::match_names(const Segment& segment, EntryBits& bits) {
    if (has_separator_) {  // which no name holds
        std::fill_n(bits, segment.words, 0);
        return;
    }
    if (!filter_.apply(segment, bits) || filter_decides_) return;
    if (pattern_.mode == Mode::kWildcard) {
        keep_if(segment, bits, [&](std::uint32_t entry) {
            return wildcard_->matches(subject_name(segment, entry));
        });
    } else {
        keep_if(segment, bits,
                [&](std::uint32_t entry) { return search_->in(subject_name(segment, entry)); });
    }
}

void SegmentMatcher::match_substring_paths(const Segment& segment, EntryBits& bits) {
    EntryBits found;
    std::fill_n(found, segment.words, 0);
    match_folders(segment, found);

    EntryBits rest;
    for (std::uint32_t word = 0; word < segment.words; ++word)
        rest[word] = bits[word] & ~found[word];
    if (has_separator_) {
        match_across(segment, rest);
    } else {
        match_names(segment, rest);
    }
    for (std::uint32_t word = 0; word < segment.words; ++word)
        bits[word] &= found[word] | rest[word];
}

// Sets the bits of all entries whose folders hold the pattern.
void SegmentMatcher::match_folders(const Segment& segment, EntryBits& bits) {
    if (component_search_ && !component_search_->in(segment.folder_texts)) return;

    // A folder begins with `shared_bytes` of the one before it: where the first occurrence in that
    // one ended says whether there is one in this part, and only the rest has to be looked through,
    // with as many bytes before it as an occurrence may reach into the shared part.
    const std::size_t overlap = has_separator_ ? pattern_.text.size() - 1 : 0;
    std::size_t found_end = kNone;
    for (std::uint32_t i = 0; i < segment.run_count; ++i) {
        const FolderRun& run = segment.runs[i];
        if (found_end == kNone || found_end > run.shared_bytes) {
            const std::size_t start =
                run.shared_bytes - std::min<std::size_t>(run.shared_bytes, overlap);
            const std::string_view text = subject_folder(segment, run).substr(start);
            const std::size_t place = search_->find(text);
            found_end = place == kNone ? kNone : start + place + pattern_.text.size();
        }
        if (found_end != kNone) set_range(bits, run.first, segment.runs[i + 1].first);
    }
}

// Keeps the entries in which the pattern reaches from the folder into the name.
void SegmentMatcher::match_across(const Segment& segment, EntryBits& bits) {
    if (name_begin_.empty()) {
        std::fill_n(bits, segment.words, 0);
        return;
    }
    if (!filter_.apply(segment, bits)) return;
    keep_if(segment, bits, [&](std::uint32_t i) {
        const Entry& entry = segment.entries[i];
        return subject_name(segment, i).starts_with(name_begin_) &&
               (pattern_.match_case ? entry.path.view().substr(0, entry.name_offset)
                                    : entry.folded_folder())
                   .ends_with(folder_end_);
    });
}

// All entries of a run begin alike, so that the folder is matched once for all of them.
void SegmentMatcher::match_wildcard_paths(const Segment& segment, EntryBits& bits) {
    if (!filter_.apply(segment, bits)) return;
    for (std::uint32_t i = 0; i < segment.run_count; ++i) {
        const std::uint32_t first = segment.runs[i].first;
        const std::uint32_t end = segment.runs[i + 1].first;
        if (!any_in_range(bits, first, end)) continue;

        path_ = subject_folder(segment, segment.runs[i]);
        const std::size_t folder_bytes = path_.size();
        Wildcard::State state;
        auto outcome = Wildcard::Outcome::kOpen;
        if (folder_bytes != 0) {  // up to the "/"
            outcome = wildcard_->advance(path_, folder_bytes - 1, state);
        }
        if (outcome == Wildcard::Outcome::kAccepted) continue;
        if (outcome == Wildcard::Outcome::kRejected) {
            clear_range(bits, first, end);
            continue;
        }
        for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) {
            for (std::uint64_t rest = bits[word] & mask; rest != 0; rest &= rest - 1) {
                const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
                path_.resize(folder_bytes);
                path_ += subject_name(segment, word * 64 + bit);
                if (!wildcard_->finish(path_, state)) {
                    bits[word] &= ~(std::uint64_t{1} << bit);
                }
            }
        });
    }
}

}  // namespace system_search
