// Which pairs of neighbouring bytes the folders of a shard hold: a text with a pair that no folder
// has lies in none of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "index/signature.hpp"

namespace system_search {

// One bit for each pair of byte classes, which are those of the signatures.
struct FolderPairs {
    std::uint64_t words[64];

    // Takes the bytes from `from` on; those before may be known from another folder.
    void add(std::string_view folded_folder, std::size_t from) {
        for (std::size_t i = from == 0 ? 1 : from; i < folded_folder.size(); ++i) {
            words[byte_bit(folded_folder[i - 1])] |= mask(folded_folder[i]);
        }
    }
    bool has(char first, char second) const { return (words[byte_bit(first)] & mask(second)) != 0; }
    const std::uint64_t* word_of(char first) const { return &words[byte_bit(first)]; }

private:
    static std::uint64_t mask(char second) { return std::uint64_t{1} << byte_bit(second); }
};

}  // namespace system_search
