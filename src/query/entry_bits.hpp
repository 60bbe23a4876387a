// One bit per entry of a shard.
#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>

#include "common/bytes.hpp"
#include "index/shard.hpp"
#include "index/signature.hpp"

namespace system_search {

using EntryBits = std::uint64_t[kShardEntries / 64];

inline bool test_bit(const std::uint64_t* bits, std::uint32_t entry) {
    return (bits[entry / 64] >> entry % 64 & 1) != 0;
}

inline std::uint32_t count_bits(const Shard& shard, const EntryBits& bits) {
    std::uint32_t count = 0;
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        if (bits[word] != 0) count += static_cast<std::uint32_t>(std::popcount(bits[word]));
    }
    return count;
}

// The entries whose names hold other bytes than ASCII.
inline void non_ascii_names(const Shard& shard, EntryBits& bits) {
    std::fill_n(bits, shard.words, 0);
    if (!shard.has_non_ascii) return;
    for (unsigned i = 0; i < kNonAsciiClasses; ++i) {
        const std::uint64_t* const column = shard.column(kNonAsciiBits + i);
        for (std::uint32_t word = 0; word < shard.words; ++word) bits[word] |= column[word];
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
            if (!keep(word * 64 + bit)) bits[word] &= ~(std::uint64_t{1} << bit);
        }
    });
}

// Clears the bits of a shard for whose entries `keep`, which looks at the name, is false. The
// names are asked for ahead: those left by a filter lie too far apart for the processor to guess.
// Stops when cancelled: the bits then mean nothing.
template <typename Keep>
void keep_names_if(const Shard& shard, EntryBits& bits, const std::atomic<bool>& cancel,
                   Keep keep) {
    std::uint16_t entries[kShardEntries];
    std::uint32_t count = 0;
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            entries[count++] = static_cast<std::uint16_t>(
                word * 64 + static_cast<unsigned>(std::countr_zero(rest)));
        }
    }
    constexpr std::uint32_t kAhead = 12;
    for (std::uint32_t i = 0; i < count && !cancel; ++i) {
        const std::uint32_t ahead = entries[i + kAhead < count ? i + kAhead : count - 1];
        prefetch_bytes(shard.names + shard.name_starts[ahead], 1);
        const std::uint32_t entry = entries[i];
        bits[entry / 64] &= ~(std::uint64_t{!keep(entry)} << entry % 64);
    }
}

}  // namespace system_search
