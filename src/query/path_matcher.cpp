#include "query/path_matcher.hpp"

#include <algorithm>

#include "common/text.hpp"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool holds_separator(std::string_view text) {
    return text.find('/') != kNone;
}

// Cuts a piece behind its last "/".
std::string_view folder_part(std::string_view piece) {
    return piece.substr(0, piece.rfind('/') + 1);
}
std::string_view name_part(std::string_view piece) {
    return piece.substr(piece.rfind('/') + 1);
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

PathMatcher::PathMatcher(const Pattern& pattern, const std::atomic<bool>& cancel)
    : pattern_(pattern), cancel_(cancel), parts_(pattern), wildcard_(pattern.text, cancel) {
    for (std::size_t i = 0; i <= pattern.parts.size(); ++i) rests_.push_back(rest_after(i));
    prefix_rest_ = rest_in_prefix();
    if (pattern.prefix.empty() && !pattern.parts.empty()) {
        component_ = longest_component(pattern.parts[0]);
        fold_into(component_, component_.data());
        // All folders of a shard are searched in one go, which nothing interrupts.
        constexpr std::size_t kLongestName = 255;
        const bool usual = !component_.empty() && component_.size() <= kLongestName;
        if (usual) component_search_.emplace(component_);
    }
}

// ---- What is left for the names -----------------------------------------------------------------

PathMatcher::Rest PathMatcher::rest_after(std::size_t parts) const {
    Rest rest;
    rest.part = parts;
    if (parts < pattern_.parts.size() && holds_separator(pattern_.parts[parts])) {
        rest.folder_end = folder_part(pattern_.parts[parts]);
        rest.begin = name_part(pattern_.parts[parts]);
        rest.possible = !rest.begin.empty();  // it would lie in the folder
        ++rest.part;
    }
    require_names(rest);
    return rest;
}

PathMatcher::Rest PathMatcher::rest_in_prefix() const {
    Rest rest;
    rest.folder_end = folder_part(pattern_.prefix);
    rest.begin = name_part(pattern_.prefix);
    require_names(rest);
    return rest;
}

void PathMatcher::require_names(Rest& rest) const {
    rest.end = pattern_.suffix;
    if (holds_separator(pattern_.suffix)) {
        // The suffix takes the whole name, so that nothing else has room there.
        rest.possible = rest.possible && rest.begin.empty() && rest.folder_end.empty() &&
                        rest.part == pattern_.parts.size();
        rest.folder_end = folder_part(pattern_.suffix);
        rest.end = name_part(pattern_.suffix);
        rest.whole = true;
    }
    rest.filter.require(rest.begin, /*begins=*/true, /*ends=*/false);
    for (std::size_t i = rest.part; i < pattern_.parts.size(); ++i) {
        rest.possible = rest.possible && !holds_separator(pattern_.parts[i]);
        rest.filter.require(pattern_.parts[i], /*begins=*/false, /*ends=*/false);
    }
    rest.filter.require(rest.end, /*begins=*/rest.whole, /*ends=*/true);
}

// ---- Shards -----------------------------------------------------------------------------------

void PathMatcher::match(const Shard& shard, EntryBits& bits) {
    if (pattern_.needs_rule) {
        match_by_rule(shard, bits);
        return;
    }
    EntryBits candidates;
    std::copy_n(bits, shard.words, candidates);
    candidates_ = &candidates;
    for (Rest& rest : rests_) rest.applied = false;
    prefix_rest_.applied = false;

    if (no_folder_holds_the_first_part(shard)) {
        keep_names(shard, 0, shard.size, rests_[0], bits);
        return;
    }
    part_ends_.clear();
    const bool skips_folders = pattern_.match_case && rests_[0].folder_end.empty();
    for (std::uint32_t i = 0; i < shard.run_count && !cancel_; ++i) {
        const FolderRun& run = shard.runs[i];
        const std::uint32_t end = shard.runs[i + 1].first;
        Rest* const rest = skips_folders && lacks_the_first_part(shard, run)
                               ? &rests_[0]
                               : match_folder(subject_folder(shard, run), run.shared_bytes);
        if (rest == &nothing_) continue;
        if (rest != nullptr) {
            keep_names(shard, run.first, end, *rest, bits);
        } else {
            for_words(run.first, end,
                      [&](std::uint32_t word, std::uint64_t mask) { bits[word] &= ~mask; });
        }
    }
}

std::string_view PathMatcher::subject_folder(const Shard& shard, const FolderRun& run) const {
    const std::string_view folded = shard.folded_folder(run);
    if (!pattern_.match_case) return folded;
    return {shard.entries[run.first].path.c_str(), folded.size()};
}

bool PathMatcher::no_folder_holds_the_first_part(const Shard& shard) const {
    if (!component_search_) return false;
    for (std::size_t i = 1; i < component_.size(); ++i) {
        if (!shard.folder_pairs->has(component_[i - 1], component_[i])) return true;
    }
    return !component_search_->in(shard.folder_texts);
}

// Whether the folder is seen not to hold the first part by its folded text alone. Its stored text
// lies with the paths, which is far away.
bool PathMatcher::lacks_the_first_part(const Shard& shard, const FolderRun& run) {
    if (!component_search_) return false;
    while (!part_ends_.empty() && part_ends_.back() > run.shared_bytes) part_ends_.pop_back();
    if (!part_ends_.empty()) return false;
    const std::string_view folder = shard.folded_folder(run);
    const std::size_t known =
        run.shared_bytes - std::min<std::size_t>(run.shared_bytes, component_.size() - 1);
    return !component_search_->in(folder.substr(known));
}

void PathMatcher::prefetch(const Shard& shard) const {
    if (component_search_ && component_.size() > 1) {
        prefetch_bytes(shard.folder_pairs->word_of(component_[0]), sizeof(std::uint64_t));
        prefetch_bytes(shard.folder_pairs->word_of(component_[1]), sizeof(std::uint64_t));
    }
    rests_[0].filter.prefetch(shard);
}

// Matches the parts as far to the left as they go, as far as they go. Returns what is left for the
// names; null when no name will do.
PathMatcher::Rest* PathMatcher::match_folder(std::string_view folder, std::size_t shared_bytes) {
    const std::string_view prefix = pattern_.prefix;
    if (!folder.starts_with(prefix.substr(0, folder.size()))) {
        part_ends_.clear();
        return nullptr;
    }
    if (folder.size() < prefix.size()) {
        part_ends_.clear();
        const bool fits = prefix_rest_.possible && folder.size() == prefix.rfind('/') + 1;
        return fits ? &prefix_rest_ : nullptr;
    }

    while (!part_ends_.empty() && part_ends_.back() > shared_bytes) part_ends_.pop_back();
    // The next part does not lie in what this folder shares with the one before.
    std::size_t from = part_ends_.empty() ? prefix.size() : part_ends_.back();
    for (std::size_t part = part_ends_.size(); part < pattern_.parts.size(); ++part) {
        const std::size_t bytes = pattern_.parts[part].size();
        const std::size_t known = shared_bytes - std::min(shared_bytes, bytes - 1);
        const std::size_t start = std::max(from, known);
        const std::size_t place = parts_[part].find(folder.substr(std::min(start, folder.size())));
        if (place == kNone) break;
        from = start + place + bytes;
        part_ends_.push_back(from);
    }

    const bool all = part_ends_.size() == pattern_.parts.size();
    if (all && pattern_.suffix.empty()) return &nothing_;
    Rest& rest = rests_[part_ends_.size()];
    const bool fits = rest.possible && folder.size() - from >= rest.folder_end.size() &&
                      folder.ends_with(rest.folder_end);
    return fits ? &rest : nullptr;
}

// Keeps those of the entries from `first` to `end` whose names are what is left.
void PathMatcher::keep_names(const Shard& shard, std::uint32_t first, std::uint32_t end, Rest& rest,
                             EntryBits& bits) {
    if (!rest.applied) {
        rest.applied = true;
        std::copy_n(*candidates_, shard.words, rest.names);
        if (!rest.possible || !rest.filter.apply(shard, rest.names)) {
            std::fill_n(rest.names, shard.words, 0);
        }
    }
    for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) {
        bits[word] &= rest.names[word] | ~mask;
    });
    // Where folders were not looked at, this is the time.
    const bool check_folder = &rest == &rests_[0] && !rest.folder_end.empty();
    keep_if(bits, first, end, cancel_, [&](std::uint32_t i) {
        const std::string_view name = subject_name(pattern_, shard, i);
        if (rest.whole && name.size() != rest.end.size()) return false;
        if (!parts_.matches(name, rest.begin, rest.part, rest.end)) return false;
        if (!check_folder) return true;
        const Entry& entry = shard.entries[i];
        return (pattern_.match_case ? entry.path.view().substr(0, entry.name_offset)
                                    : entry.folded_folder())
            .ends_with(rest.folder_end);
    });
}

void PathMatcher::match_by_rule(const Shard& shard, EntryBits& bits) {
    for (std::uint32_t i = 0; i < shard.run_count && !cancel_; ++i) {
        const std::uint32_t first = shard.runs[i].first;
        const std::uint32_t end = shard.runs[i + 1].first;
        std::uint64_t any = 0;
        for_words(first, end,
                  [&](std::uint32_t word, std::uint64_t mask) { any |= bits[word] & mask; });
        if (any == 0) continue;

        path_ = subject_folder(shard, shard.runs[i]);
        const std::size_t folder_bytes = path_.size();
        Wildcard::State state;
        auto outcome = Wildcard::Outcome::kOpen;
        if (folder_bytes != 0) {  // up to the "/"
            outcome = wildcard_.advance(path_, folder_bytes - 1, state);
        }
        if (outcome == Wildcard::Outcome::kAccepted) continue;
        keep_if(bits, first, end, cancel_, [&](std::uint32_t entry) {
            if (outcome == Wildcard::Outcome::kRejected) return false;
            path_.resize(folder_bytes);
            path_ += subject_name(pattern_, shard, entry);
            return wildcard_.finish(path_, state);
        });
    }
}

}  // namespace system_search
