#include "query/scan.hpp"

#include <bit>
#include <span>

#include "common/bytes.hpp"
#include "query/segment_matcher.hpp"

namespace system_search {
namespace {

void offer_all(const Segment& segment, const EntryBits& bits, Candidates& candidates) {
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            candidates.offer(segment.entries[word * 64 + bit]);
        }
    }
}

// Where nearly every shard is passed over at a glance, waiting for the memory is all the work that
// there is. Each step follows a pointer that the step before it, some shards ago, has asked for.
void prefetch_ahead(const ShardList& shards, std::size_t i, const SegmentMatcher& matcher) {
    if (i + 6 < shards.size()) prefetch_bytes(shards[i + 6].get(), sizeof(Shard));
    if (i + 4 < shards.size()) {
        prefetch_bytes(shards[i + 4]->segments().data(), sizeof(Segment));
    }
    if (i + 2 < shards.size()) {
        const std::span<const Segment> segments = shards[i + 2]->segments();
        if (!segments.empty()) matcher.prefetch(segments.front());
    }
}

}  // namespace

bool scan(const ShardList& shards, const Pattern& pattern, std::uint32_t kind,
          const std::atomic<bool>& cancel, Candidates& candidates, std::uint32_t& matched) {
    SegmentMatcher matcher(pattern, kind, cancel);
    EntryBits bits;
    for (std::size_t i = 0; i < shards.size(); ++i) {
        prefetch_ahead(shards, i, matcher);
        for (const Segment& segment : shards[i]->segments()) {
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
