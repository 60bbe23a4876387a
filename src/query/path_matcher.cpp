#include "query/path_matcher.hpp"

#include <algorithm>
#include <cstring>

#include "common/bytes.hpp"
#include "common/text.hpp"
#include "query/code_points.hpp"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool holds_separator(std::string_view text) {
    return text.find('/') != kNone;
}

bool holds_separator(const Terms& terms) {
    return holds_separator(terms.prefix) || holds_separator(terms.suffix) ||
           std::any_of(terms.inner.begin(), terms.inner.end(),
                       [](const Segment& segment) { return holds_separator(segment.text()); });
}

bool is_ascii(std::string_view padded_text) {
    return !byte_kinds_padded(padded_text.data(), padded_text.size()).non_ascii;
}

// The bytes before the first mark and before the first place where the segment may be cut.
std::string probe_of(const Terms& terms) {
    if (!terms.has_star) return {};
    std::string_view run = terms.inner.empty() ? terms.suffix : terms.inner[0].text();
    run = run.substr(0, run.find(kMark));
    if (holds_separator(run)) run = run.substr(0, run.rfind('/') + 1);
    // All folders of a shard are searched in one go, which nothing interrupts.
    constexpr std::size_t kLongestName = 255;
    std::string probe(run.substr(0, kLongestName));
    fold_into(probe, probe.data());
    return probe;
}

}  // namespace

PathMatcher::PathMatcher(const Pattern& pattern)
    : match_case_(pattern.match_case()),
      counts_code_points_(pattern.counts_code_points()),
      terms_(pattern.terms()),
      prefix_(terms_.prefix),
      whole_path_(terms_),
      filter_(match_case_),
      probe_text_(probe_of(terms_)),
      probe_(probe_text_) {
    // What stands behind the last mark and the last "/", names end with.
    const std::string_view last = terms_.has_star ? terms_.suffix : terms_.prefix;
    const std::size_t cut = last.find_last_of("/?") + 1;
    if (!last.empty()) {
        filter_.require(last.substr(cut), /*is_prefix=*/cut != 0 && last[cut - 1] == '/',
                        /*is_suffix=*/true);
    }
    // Each segment leaves one at least, and what is prepared grows with their square.
    has_too_many_remainders_ = terms_.inner.size() >= kMostRemainders;
    if (has_too_many_remainders_) return;
    add_remainders();
    has_too_many_remainders_ = remainders_.size() > kMostRemainders;
}

// ---- What is left for the names -----------------------------------------------------------------

void PathMatcher::add_remainders() {
    group_starts_ = {0};
    Terms behind = terms_;
    add_cuts(terms_.prefix, /*first_cut=*/0, behind);
    if (!terms_.has_star) return;
    for (std::size_t i = 0; i <= terms_.inner.size(); ++i) {
        group_starts_.push_back(remainders_.size());
        behind = terms_;
        behind.prefix = {};
        behind.inner = terms_.inner.subspan(i);
        add_remainder("", behind);
        if (i == terms_.inner.size()) {
            behind.suffix = {};
            behind.has_star = false;
            add_cuts(terms_.suffix, /*first_cut=*/1, behind);
        } else {
            behind.inner = behind.inner.subspan(1);
            add_cuts(terms_.inner[i].text(), /*first_cut=*/1, behind);
        }
        if (remainders_.size() > kMostRemainders) return;
    }
}

// Folders may end inside the segment, and names go on with the rest of it and what is behind it. A
// segment that lies in the folder to its last byte has no part in that, unless it ends the pattern.
void PathMatcher::add_cuts(std::string_view segment, std::size_t first_cut, Terms behind) {
    behind.prefix = {};
    if (holds_separator(behind)) return;
    const std::size_t end = behind.has_star ? segment.size() : segment.size() + 1;
    for (std::size_t cut = std::max(first_cut, segment.rfind('/') + 1); cut < end; ++cut) {
        if (cut != 0 && segment[cut - 1] != '/' && segment[cut - 1] != kMark) continue;
        behind.prefix = segment.substr(cut);
        add_remainder(segment.substr(0, cut), behind);
        if (remainders_.size() > kMostRemainders) return;
    }
}

void PathMatcher::add_remainder(std::string_view folder_end, const Terms& terms) {
    if (holds_separator(terms)) return;  // no name does
    // Paths beyond ASCII are looked at as a whole where code points count.
    remainders_.push_back(
        {Segment(folder_end), NameMatcher(terms, match_case_, /*counts_code_points=*/false)});
}

std::span<const PathMatcher::Remainder> PathMatcher::group(std::size_t number) const {
    const std::size_t start = group_starts_[number];
    const bool is_last = number + 1 == group_starts_.size();
    const std::size_t end = is_last ? remainders_.size() : group_starts_[number + 1];
    return std::span(remainders_).subspan(start, end - start);
}

// ---- Shards -------------------------------------------------------------------------------------

void PathMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    if (!filter_.apply(shard, bits)) return;
    if (has_too_many_remainders_) return match_whole(subject, bits, cancel);

    EntryBits beyond_ascii{};
    if (counts_code_points_) take_beyond_ascii(shard, bits, beyond_ascii);
    match_by_folder(subject, bits, cancel);
    if (!counts_code_points_) return;
    match_whole(subject, beyond_ascii, cancel);
    add_bits(shard, beyond_ascii, bits);
}

void PathMatcher::match_by_folder(Subject& subject, EntryBits& bits,
                                  const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    EntryBits left[kMostRemainders];  // for each remainder the entries of its folders
    std::memset(left, 0, remainders_.size() * sizeof(EntryBits));
    const auto leave = [&](const Remainder& remainder) -> EntryBits& {
        return left[&remainder - remainders_.data()];
    };
    const bool may_hold_probe = !no_folder_holds_probe(shard);
    if (!may_hold_probe && prefix_.empty()) {
        // Every folder leaves the whole pattern, if names can take that.
        for (const Remainder& remainder : group(1)) {
            if (remainder.folder_end.empty()) std::copy_n(bits, shard.words(), leave(remainder));
        }
    } else {
        for (const FolderRun& run : shard.runs()) {
            if (cancel) return;
            for_remainders(
                subject.folder(run), may_hold_probe, cancel, [&](const Remainder& remainder) {
                    EntryBits& entries = leave(remainder);
                    for_words(
                        run.first, shard.end_of(run),
                        [&](std::uint32_t word, std::uint64_t mask) { entries[word] |= mask; });
                });
        }
    }

    EntryBits matches{};
    for (const Remainder& remainder : remainders_) {
        EntryBits& entries = leave(remainder);
        std::uint64_t any = 0;
        for (std::uint32_t word = 0; word < shard.words(); ++word) {
            any |= entries[word] &= bits[word];
        }
        if (any == 0) continue;
        remainder.names.match(subject, entries, cancel);
        add_bits(shard, entries, matches);
    }
    std::copy_n(matches, shard.words(), bits);
}

bool PathMatcher::no_folder_holds_probe(const Shard& shard) const {
    const std::string_view text = probe_.text();
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (!shard.folders_hold(text[i - 1], text[i])) return true;
    }
    const std::atomic<bool> never{false};
    return !probe_.empty() && probe_.find(shard.folder_texts(), never) == kNone;
}

// Takes each segment as far to the left as it goes, which leaves the most room to the others. Names
// are in ASCII here, so that no code point reaches from the folder into the name.
template <typename Visit>
void PathMatcher::for_remainders(std::string_view folder, bool may_hold_probe,
                                 const std::atomic<bool>& cancel, Visit visit) const {
    const bool by_bytes = !counts_code_points_ || is_ascii(folder);
    std::size_t at = kNone;  // where the folder goes on behind what it holds
    if (!by_bytes) {
        at = end_of_segment(prefix_.text(), folder, 0);
    } else if (prefix_.is_prefix_of(folder)) {
        at = prefix_.size();
    }
    if (at == kNone || !terms_.has_star) {
        for (const Remainder& remainder : group(0)) {
            const Segment& part = remainder.folder_end;
            const bool is_whole = by_bytes
                                      ? part.size() == folder.size() && part.is_at(folder.data())
                                      : end_of_segment(part.text(), folder, 0) == folder.size();
            if (is_whole) visit(remainder);
        }
        return;
    }

    std::size_t held = 0;  // inner segments
    while (may_hold_probe && held < terms_.inner.size()) {
        const Segment& segment = terms_.inner[held];
        std::size_t end = kNone;
        if (!by_bytes) {
            end = find_segment_end(segment.text(), folder, at, cancel);
        } else {
            const std::size_t place = segment.find(folder.substr(at), cancel);
            if (place != kNone) end = at + place + segment.size();
        }
        if (end == kNone) break;
        at = end;
        ++held;
    }
    for (const Remainder& remainder : group(held + 1)) {
        const Segment& part = remainder.folder_end;
        const bool ends_so =
            part.empty() || (by_bytes ? part.is_suffix_of(folder.substr(at))
                                      : ends_with_segment(part.text(), folder, at, cancel));
        if (ends_so) visit(remainder);
    }
}

void PathMatcher::match_whole(Subject& subject, EntryBits& bits,
                              const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    for (const FolderRun& run : shard.runs()) {
        keep_if(bits, run.first, shard.end_of(run), cancel, [&](std::uint32_t entry) {
            const std::string_view path = subject.path(run, entry);
            return !counts_code_points_ || is_ascii(path)
                       ? whole_path_.matches_bytes(path, cancel)
                       : whole_path_.matches_code_points(path, cancel);
        });
    }
}

}  // namespace system_search
