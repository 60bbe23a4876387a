// A name's ending: its last "." and what follows, folded, when that is 8 bytes at most.
//
// Most names of a shard share a few dozen endings. Holding a pattern such as "html" or "*.gz"
// against those tells what most of the names need not be looked at for.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace system_search {

// The bytes of an ending from the lowest up, then zeros; 0 is no ending.
using Ending = std::uint64_t;

inline constexpr std::size_t kMaxEndings = 255;  // of a shard; further ones count as none

// Of a name as stored.
Ending ending_of(std::string_view name) noexcept;

inline std::string_view ending_text(const Ending& ending) {
    static_assert(std::endian::native == std::endian::little);
    const auto bytes = static_cast<std::size_t>(8 - std::countl_zero(ending) / 8);
    return {reinterpret_cast<const char*>(&ending), bytes};
}

// Numbers the endings of a shard in the order in which they are met, from 1.
class EndingNumbers {
public:
    // Appends them to `all`, which is empty.
    explicit EndingNumbers(std::vector<Ending>& all) : all_(all) {}

    // 0 for no ending, or for one too many.
    std::uint8_t number_of(Ending ending);

private:
    static constexpr unsigned kSlotBits = 9;  // twice the endings, so that a free slot is near

    std::vector<Ending>& all_;
    std::uint8_t numbers_[1u << kSlotBits] = {};  // a hash table; 0 is free
};

}  // namespace system_search
