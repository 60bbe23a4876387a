// Which entries of a shard may match, by the signatures of their names.
#pragma once

#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"
#include "query/pattern.hpp"

namespace system_search {

class SignatureFilter {
public:
    // With `match_case`, an uppercase letter of a required text asks for one in the name.
    explicit SignatureFilter(bool match_case) : match_case_(match_case) {}

    // Only names that hold the runs of this segment pass: the bytes between its marks. `is_prefix`
    // and `is_suffix`: names that begin, or end, with the segment.
    void require(std::string_view segment, bool is_prefix, bool is_suffix);
    void require(const Terms& terms);

    // Clears the bits of entries whose names cannot match. False when none is left.
    bool apply(const Shard& shard, EntryBits& bits) const;

private:
    void require_bit(unsigned signature_bit);

    bool match_case_;
    std::vector<unsigned> bits_;  // bigrams first: they tell more apart
};

}  // namespace system_search
