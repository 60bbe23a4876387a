// One bit per entry of a segment.
#pragma once

#include <bit>
#include <cstdint>

#include "index/shard.hpp"

namespace system_search {

using EntryBits = std::uint64_t[kSegmentEntries / 64];

inline bool test_bit(const std::uint64_t* bits, std::uint32_t entry) {
    return (bits[entry / 64] >> entry % 64 & 1) != 0;
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

// Clears those bits from `first` to `end` for whose entries `keep` is false.
template <typename Keep>
void keep_if(EntryBits& bits, std::uint32_t first, std::uint32_t end, Keep keep) {
    for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) {
        for (std::uint64_t rest = bits[word] & mask; rest != 0; rest &= rest - 1) {
            const auto bit = static_cast<std::uint32_t>(std::countr_zero(rest));
            if (!keep(word * 64 + bit)) bits[word] &= ~(std::uint64_t{1} << bit);
        }
    });
}

}  // namespace system_search
