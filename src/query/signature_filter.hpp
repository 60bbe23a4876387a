// Which entries of a shard may match, by the signatures of their names.
#pragma once

#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"

namespace system_search {

class SignatureFilter {
public:
    // Only names that hold this text pass; `begins` and `ends`: that begin or end with it. The text
    // may be folded or not; with a capital in it, `match_case` asks for one in the name.
    void require(std::string_view text, bool begins, bool ends, bool match_case);

    // Clears the bits of entries whose names cannot match. False when none is left.
    bool apply(const Shard& shard, EntryBits& bits) const;

private:
    void require_bit(unsigned signature_bit);

    std::vector<unsigned> bits_;  // bigrams first: they tell more apart
};

}  // namespace system_search
