#include "query/rule_matcher.hpp"

namespace system_search {

RuleMatcher::RuleMatcher(const Pattern& pattern, const std::atomic<bool>& cancel)
    : match_path_(pattern.match_path), wildcard_(pattern, cancel) {
    for (const Pattern::Piece& piece : pattern.pieces) {
        if (!match_path_) {
            filter_.require(piece.text, piece.begins, piece.ends, pattern.match_case);
        } else if (piece.ends) {
            // Of the other pieces nobody knows whether the name or the folder holds them.
            const std::size_t name = piece.text.rfind('/') + 1;
            filter_.require(piece.text.substr(name), name != 0, true, pattern.match_case);
        }
    }
}

void RuleMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    if (!filter_.apply(subject.shard(), bits)) return;
    if (match_path_) {
        match_paths(subject, bits, cancel);
    } else {
        keep_if(bits, 0, subject.shard().size(), cancel,
                [&](std::uint32_t entry) { return wildcard_.matches(subject.name(entry)); });
    }
}

// Entries of one folder begin alike: the rule goes over their folder once.
void RuleMatcher::match_paths(Subject& subject, EntryBits& bits,
                              const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    for (const FolderRun& run : shard.runs()) {
        std::uint64_t any = 0;
        for_words(run.first, shard.end_of(run),
                  [&](std::uint32_t word, std::uint64_t mask) { any |= bits[word] & mask; });
        if (any == 0) continue;

        Wildcard::State state;
        auto outcome = Wildcard::Outcome::kOpen;
        const std::string_view folder = subject.folder(run);
        // Up to the "/": the name may begin with a byte that continues a code point.
        if (!folder.empty()) outcome = wildcard_.advance(folder, folder.size() - 1, state);
        if (outcome == Wildcard::Outcome::kAccepted) continue;
        keep_if(bits, run.first, shard.end_of(run), cancel, [&](std::uint32_t entry) {
            return outcome == Wildcard::Outcome::kOpen &&
                   wildcard_.finish(subject.path(run, entry), state);
        });
    }
}

}  // namespace system_search
