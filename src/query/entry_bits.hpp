// One bit per entry of a shard.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

#include "index/shard.hpp"
#include "index/signature.hpp"

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
        for (std::uint64_t left = bits[word]; left != 0; left &= left - 1) {
            visit(word * 64 + static_cast<std::uint32_t>(std::countr_zero(left)));
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
        std::uint64_t refused = 0;
        for (std::uint64_t left = bits[word] & mask; left != 0; left &= left - 1) {
            if (cancel) return;
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(left));
            refused |= std::uint64_t{!keep(word * 64 + bit)} << bit;
        }
        bits[word] &= ~refused;
    });
}

// Adds the bits that are set in `more`.
inline void add_bits(const Shard& shard, const EntryBits& more, EntryBits& bits) {
    for (std::uint32_t word = 0; word < shard.words(); ++word) bits[word] |= more[word];
}

// Moves the bits of entries whose names hold a byte beyond ASCII from `bits` to `taken`.
inline void take_beyond_ascii(const Shard& shard, EntryBits& bits, EntryBits& taken) {
    for (std::uint32_t word = 0; word < shard.words(); ++word) {
        std::uint64_t beyond = 0;
        for (unsigned bit = kFirstBitBeyondAscii; bit < kByteClasses; ++bit) {
            beyond |= shard.signature(bit)[word];
        }
        taken[word] = bits[word] & beyond;
        bits[word] &= ~beyond;
    }
}

}  // namespace system_search
