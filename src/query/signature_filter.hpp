// Which entries of a segment may match, by the signatures of their names.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"

namespace system_search {

class SignatureFilter {
public:
    // Only names that hold this folded text pass; `begins` and `ends`: that begin or end with it.
    void require(std::string_view folded_text, bool begins, bool ends);

    void require_bit(unsigned signature_bit);

    // Clears the bits of entries whose names cannot match. False when none is left.
    bool apply(const Segment& segment, EntryBits& bits) const;

private:
    std::vector<unsigned> pairs_;  // tried first: they tell more apart
    std::vector<unsigned> bytes_;
};

}  // namespace system_search
