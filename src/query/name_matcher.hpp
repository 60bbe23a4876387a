// Names held against literals: those that begin so, end so, and hold others in between.
#pragma once

#include <atomic>
#include <span>
#include <string_view>

#include "query/entry_bits.hpp"
#include "query/literal.hpp"
#include "query/ordered_literals.hpp"
#include "query/signature_filter.hpp"
#include "query/subject.hpp"

namespace system_search {

// What a name has to be. A whole pattern asks for this, and so does what a folder leaves of one.
struct NameTerms {
    std::string_view begin;
    std::span<const Literal> inner;  // in this order, without overlap
    std::string_view end;
    bool is_end_only = false;  // the name is `end` and nothing more
    bool match_case = false;
};

class NameMatcher {
public:
    // What the views of the terms lie in outlives this.
    explicit NameMatcher(const NameTerms& terms);

    // Clears the bits of entries whose names do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

private:
    // What of a name may be enough to tell that it matches.
    enum class Tell { kName, kSignature, kExtension };
    static Tell tell_of(const NameTerms& terms);
    void known_matches(const Shard& shard, EntryBits& bits) const;
    void keep_extensions(const Shard& shard, EntryBits& bits) const;
    bool matches(std::string_view name) const;

    Literal begin_;
    OrderedLiterals inner_;
    Literal end_;
    bool is_end_only_;
    bool match_case_;
    SignatureFilter filter_;
    Tell tell_;
    std::string_view extension_part_;  // what an extension has to hold, or to end with
};

}  // namespace system_search
