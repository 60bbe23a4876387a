// The names of a shard held against terms.
#pragma once

#include <atomic>

#include "query/certain_matches.hpp"
#include "query/entry_bits.hpp"
#include "query/pattern.hpp"
#include "query/signature_filter.hpp"
#include "query/subject.hpp"
#include "query/text_matcher.hpp"

namespace system_search {

class NameMatcher {
public:
    // What the views of the terms lie in outlives this.
    NameMatcher(const Terms& terms, bool match_case, bool counts_code_points);

    // Clears the bits of entries whose names do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

private:
    bool counts_code_points_;
    SignatureFilter filter_;
    CertainMatches certain_matches_;
    TextMatcher text_matcher_;
};

}  // namespace system_search
