// One bit per entry of a shard.
#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>

#include "common/bytes.hpp"
#include "index/shard.hpp"

namespace system_search {

using EntryBits = std::uint64_t[kShardEntries / 64];

inline std::uint32_t count_bits(const Shard& shard, const EntryBits& bits) {
    std::uint32_t count = 0;
    for (std::uint32_t word = 0; word < shard.words(); ++word) {
        if (bits[word] != 0) count += static_cast<std::uint32_t>(std::popcount(bits[word]));
    }
    return count;
}

// Calls visit(entry) for each bit that is set.
template <typename Visit>
void for_bits(const Shard& shard, const EntryBits& bits, Visit visit) {
    for (std::uint32_t word = 0; word < shard.words(); ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            visit(word * 64 + static_cast<std::uint32_t>(std::countr_zero(rest)));
        }
    }
}

// Calls visit(word, mask) for the words that hold the bits from `first` to `end`.
template <typename Visit>
void for_words(std::uint32_t first, std::uint32_t end, Visit visit) {
    for (std::uint32_t word = first / 64; word * 64 < end; ++word) {
        std::uint64_t mask = ~std::uint64_t{0};
        if (word == first / 64) mask <<= first % 64;
        if (end - word * 64 < 64) mask &= ~(~std::uint64_t{0} << (end - word * 64));
        visit(word, mask);
    }
}

// Clears those bits from `first` to `end` for whose entries `keep` is false. Stops when cancelled:
// the bits then mean nothing.
template <typename Keep>
void keep_if(EntryBits& bits, std::uint32_t first, std::uint32_t end,
             const std::atomic<bool>& cancel, Keep keep) {
    for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) {
        for (std::uint64_t rest = bits[word] & mask; rest != 0; rest &= rest - 1) {
            if (cancel) return;
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            bits[word] &= ~(std::uint64_t{!keep(word * 64 + bit)} << bit);
        }
    });
}

// Clears the bits of a shard for whose entries `keep`, which looks at the name, is false. The
// names are prefetched: those left by a filter lie too far apart for the processor to guess.
// Stops when cancelled: the bits then mean nothing.
template <typename Keep>
void keep_names_if(const Shard& shard, EntryBits& bits, const std::atomic<bool>& cancel,
                   Keep keep) {
    std::uint16_t entries[kShardEntries];
    std::uint32_t count = 0;
    for_bits(shard, bits,
             [&](std::uint32_t entry) { entries[count++] = static_cast<std::uint16_t>(entry); });
    constexpr std::uint32_t kAhead = 12;
    for (std::uint32_t i = 0; i < count && !cancel; ++i) {
        const std::uint32_t ahead = entries[i + kAhead < count ? i + kAhead : count - 1];
        prefetch_line(shard.folded_name(ahead).data());
        const std::uint32_t entry = entries[i];
        bits[entry / 64] &= ~(std::uint64_t{!keep(entry)} << entry % 64);
    }
}

}  // namespace system_search
