#include "query/scan.hpp"

#include <bit>

#include "common/bytes.hpp"
#include "query/shard_matcher.hpp"

namespace system_search {
namespace {

void offer_all(const Shard& shard, const EntryBits& bits, Candidates& candidates) {
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            candidates.offer(shard.entries[word * 64 + bit]);
        }
    }
}

// Where nearly every shard is passed over at a glance, waiting for the memory is all the work that
// there is. Each step follows a pointer that the step before it, some shards ago, has asked for.
void prefetch_ahead(const ShardList& shards, std::size_t i, const ShardMatcher& matcher) {
    if (i + 4 < shards.size()) prefetch_bytes(shards[i + 4].get(), sizeof(Shard));
    if (i + 2 < shards.size()) matcher.prefetch(*shards[i + 2]);
}

}  // namespace

bool scan(const ShardList& shards, const Pattern& pattern, std::uint32_t kind,
          const std::atomic<bool>& cancel, Candidates& candidates, std::uint32_t& matched) {
    ShardMatcher matcher(pattern, kind, cancel);
    EntryBits bits;
    for (std::size_t i = 0; i < shards.size(); ++i) {
        if (cancel) return false;
        prefetch_ahead(shards, i, matcher);
        const Shard& shard = *shards[i];
        // When not even the shard's least entry could become a result, counting is enough.
        if (const auto count = matcher.count_all(shard)) {
            matched += *count;
            if (*count == 0 || !candidates.would_keep(*shard.least)) continue;
            matcher.match(shard, bits);
        } else {
            matcher.match(shard, bits);
            if (cancel) return false;  // it may have stopped half way
            const std::uint32_t found = count_bits(shard, bits);
            matched += found;
            if (found == 0 || !candidates.would_keep(*shard.least)) continue;
        }
        offer_all(shard, bits, candidates);
    }
    return true;
}

}  // namespace system_search
