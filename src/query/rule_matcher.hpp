// Names and paths held against the wildcard rule.
#pragma once

#include <atomic>

#include "query/entry_bits.hpp"
#include "query/pattern.hpp"
#include "query/signature_filter.hpp"
#include "query/subject.hpp"
#include "query/wildcard.hpp"

namespace system_search {

class RuleMatcher {
public:
    // For a pattern that needs the rule, which outlives this.
    RuleMatcher(const Pattern& pattern, const std::atomic<bool>& cancel);

    // Clears the bits of entries that do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

private:
    void match_paths(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

    const bool match_path_;
    const Wildcard wildcard_;
    SignatureFilter filter_;
};

}  // namespace system_search
