// Which entries of a shard may match, by the signatures of their names.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "index/signature.hpp"
#include "query/entry_bits.hpp"

namespace system_search {

class SignatureFilter {
public:
    // Only names that hold this folded text pass; `begins` and `ends`: that begin or end with it.
    void require(std::string_view folded_text, bool begins, bool ends);

    void require_bit(unsigned signature_bit);

    // Only names pass whose byte at `place`, below kDotPlaces, is a "."; and those that hold other
    // bytes than ASCII, in which a place in a pattern is not one in the name.
    void require_dot(unsigned place) { dots_.push_back(kDotBits + place); }

    // Asks the memory for what apply() will look at first.
    void prefetch(const Shard& shard) const;

    // Clears the bits of entries whose names cannot match. False when none is left.
    bool apply(const Shard& shard, EntryBits& bits) const;

private:
    std::vector<unsigned> pairs_;  // tried first: they tell more apart
    std::vector<unsigned> bytes_;
    std::vector<unsigned> dots_;
};

}  // namespace system_search
