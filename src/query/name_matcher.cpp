#include "query/name_matcher.hpp"

namespace system_search {

NameMatcher::NameMatcher(const Terms& terms, bool match_case, bool counts_code_points)
    : counts_code_points_(counts_code_points),
      filter_(match_case),
      certain_matches_(terms, match_case),
      text_matcher_(terms) {
    filter_.require(terms);
}

void NameMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    if (!filter_.apply(shard, bits) || certain_matches_.are_all()) return;

    EntryBits beyond_ascii;
    if (counts_code_points_) take_beyond_ascii(shard, bits, beyond_ascii);
    EntryBits certain;
    const bool has_certain = certain_matches_.take(shard, bits, certain);
    keep_if(bits, 0, shard.size(), cancel, [&](std::uint32_t entry) {
        return text_matcher_.matches_bytes(subject.name(entry), cancel);
    });
    if (has_certain) add_bits(shard, certain, bits);
    if (!counts_code_points_) return;
    keep_if(beyond_ascii, 0, shard.size(), cancel, [&](std::uint32_t entry) {
        return text_matcher_.matches_code_points(subject.name(entry), cancel);
    });
    add_bits(shard, beyond_ascii, bits);
}

}  // namespace system_search
