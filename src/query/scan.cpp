#include "query/scan.hpp"

#include <bit>

#include "query/segment_matcher.hpp"

namespace system_search {
namespace {

std::uint32_t count_bits(const Segment& segment, const EntryBits& bits) {
    std::uint32_t count = 0;
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        if (bits[word] != 0) count += static_cast<std::uint32_t>(std::popcount(bits[word]));
    }
    return count;
}

void offer_all(const Segment& segment, const EntryBits& bits, Candidates& candidates) {
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            candidates.offer(segment.entries[word * 64 + bit]);
        }
    }
}

}  // namespace

bool scan(const ShardList& shards, const Pattern& pattern, std::uint32_t kind,
          const std::atomic<bool>& cancel, Candidates& candidates, std::uint32_t& matched) {
    SegmentMatcher matcher(pattern, kind, cancel);
    EntryBits bits;
    for (const std::shared_ptr<const Shard>& shard : shards) {
        for (const Segment& segment : shard->segments()) {
            if (cancel) return false;
            // When not even the segment's least entry could become a result, counting is enough.
            if (const auto count = matcher.count_all(segment)) {
                matched += *count;
                if (*count == 0 || !candidates.would_keep(*segment.least)) continue;
                matcher.match(segment, bits);
            } else {
                matcher.match(segment, bits);
                const std::uint32_t found = count_bits(segment, bits);
                matched += found;
                if (found == 0 || !candidates.would_keep(*segment.least)) continue;
            }
            offer_all(segment, bits, candidates);
        }
    }
    return true;
}

}  // namespace system_search
