#include "query/path_matcher.hpp"

#include <algorithm>
#include <cstring>

#include "common/text.hpp"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool holds_separator(std::string_view text) {
    return text.find('/') != kNone;
}

// The two sides of a text's last "/".
std::string_view folder_part(std::string_view text) {
    return text.substr(0, text.rfind('/') + 1);
}
std::string_view name_part(std::string_view text) {
    return text.substr(text.rfind('/') + 1);
}

std::string probe_of(const Pattern& pattern) {
    if (!pattern.prefix.empty() || pattern.inner.empty()) return {};
    const std::string_view first = pattern.inner[0].text();
    std::string probe(holds_separator(first) ? folder_part(first) : first);
    fold_into(probe, probe.data());
    // All folders of a shard are searched in one go, which nothing interrupts.
    constexpr std::size_t kLongestName = 255;
    return probe.size() <= kLongestName ? probe : std::string();
}

}  // namespace

PathMatcher::PathMatcher(const Pattern& pattern)
    : pattern_(pattern),
      prefix_(pattern.prefix),
      probe_text_(probe_of(pattern)),
      probe_(probe_text_) {
    for (std::size_t i = 0; i <= pattern.inner.size(); ++i) rests_.push_back(rest_after(i));
    rests_.push_back(rest_of_prefix());
}

// ---- What is left for the names -----------------------------------------------------------------

std::optional<PathMatcher::Rest> PathMatcher::rest_after(std::size_t literals) const {
    NameTerms terms;
    terms.inner = std::span(pattern_.inner).subspan(literals);
    if (terms.inner.empty() || !holds_separator(terms.inner[0].text())) {
        return rest_with("", terms);
    }
    const std::string_view cut = terms.inner[0].text();
    terms.begin = name_part(cut);
    terms.inner = terms.inner.subspan(1);
    return rest_with(folder_part(cut), terms);
}

std::optional<PathMatcher::Rest> PathMatcher::rest_of_prefix() const {
    NameTerms terms;
    terms.begin = name_part(pattern_.prefix);
    terms.inner = pattern_.inner;
    return rest_with(folder_part(pattern_.prefix), terms);
}

std::optional<PathMatcher::Rest> PathMatcher::rest_with(std::string_view folder_end,
                                                        NameTerms terms) const {
    for (const Literal& literal : terms.inner) {
        if (holds_separator(literal.text())) return std::nullopt;
    }
    terms.end = name_part(pattern_.suffix);
    terms.match_case = pattern_.match_case;
    if (holds_separator(pattern_.suffix)) {
        // The suffix takes the whole name, so that nothing else has room there.
        if (!folder_end.empty() || !terms.inner.empty()) return std::nullopt;
        folder_end = folder_part(pattern_.suffix);
        terms.is_end_only = true;
    }
    return Rest{folder_end, NameMatcher(terms)};
}

// ---- Shards -------------------------------------------------------------------------------------

void PathMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    if (no_folder_holds_first_literal(shard)) {
        // Every folder leaves the whole pattern.
        const std::optional<Rest>& whole = rests_[0];
        if (whole && whole->folder_end.empty()) {
            whole->names.match(subject, bits, cancel);
        } else {
            std::fill_n(bits, shard.words(), 0);
        }
        return;
    }

    EntryBits left[Pattern::kMostLiterals + 2];  // for each rest the entries of its folders
    std::memset(left, 0, rests_.size() * sizeof(EntryBits));
    for (const FolderRun& run : shard.runs()) {
        if (cancel) return;
        const std::size_t rest = number_of_rest(subject.folder(run));
        if (rest == kNone) continue;
        for_words(run.first, shard.end_of(run),
                  [&](std::uint32_t word, std::uint64_t mask) { left[rest][word] |= mask; });
    }

    EntryBits matches{};
    for (std::size_t i = 0; i < rests_.size(); ++i) {
        std::uint64_t any = 0;
        for (std::uint32_t word = 0; word < shard.words(); ++word) {
            any |= left[i][word] &= bits[word];
        }
        if (any == 0) continue;
        rests_[i]->names.match(subject, left[i], cancel);
        for (std::uint32_t word = 0; word < shard.words(); ++word) matches[word] |= left[i][word];
    }
    std::copy_n(matches, shard.words(), bits);
}

bool PathMatcher::no_folder_holds_first_literal(const Shard& shard) const {
    const std::string_view text = probe_.text();
    if (text.empty()) return false;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (!shard.folders_hold(text[i - 1], text[i])) return true;
    }
    return probe_.find(shard.folder_texts()) == kNone;
}

// Takes each literal as far to the left as it goes, which leaves the most room to the others. kNone
// when no name will do.
std::size_t PathMatcher::number_of_rest(std::string_view folder) const {
    if (folder.size() < prefix_.size()) {
        const std::optional<Rest>& rest = rests_.back();
        return rest && folder == rest->folder_end ? rests_.size() - 1 : kNone;
    }
    if (!prefix_.is_at(folder.data())) return kNone;
    folder.remove_prefix(prefix_.size());
    std::size_t number = 0;
    for (; number < pattern_.inner.size(); ++number) {
        const Literal& literal = pattern_.inner[number];
        const std::size_t place = literal.find(folder);
        if (place == kNone) break;
        folder.remove_prefix(place + literal.size());
    }
    const std::optional<Rest>& rest = rests_[number];
    return rest && folder.ends_with(rest->folder_end) ? number : kNone;
}

}  // namespace system_search
