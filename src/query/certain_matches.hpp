// Names of which a shard tells without a look at them whether they match: by their signatures, or
// by their extensions, which most names of a shard share.
#pragma once

#include <string_view>

#include "query/entry_bits.hpp"
#include "query/pattern.hpp"

namespace system_search {

class CertainMatches {
public:
    // What the views of the terms lie in outlives this.
    CertainMatches(const Terms& terms, bool match_case);

    // Whether every name matches that has the signature bits of the terms.
    bool are_all() const { return are_all_; }

    // Of the entries in `bits`, which the signatures left over, puts those that match for certain
    // into `certain`, and clears their bits and those of names that certainly do not match. False
    // when it tells of none. Only for names in ASCII, or where code points do not count.
    bool take(const Shard& shard, EntryBits& bits, EntryBits& certain) const;

private:
    enum class ToldBy { kName, kSignature, kExtension };
    static ToldBy told_by(const Terms& terms);
    void take_by_extension(const Shard& shard, EntryBits& bits, EntryBits& certain) const;
    enum class Verdict { kMatch, kNoMatch, kOpen };
    Verdict verdict(Extension extension) const;

    ToldBy told_by_;
    bool match_case_;
    bool are_all_;
    bool is_suffix_ = false;            // names have to end with the part, and not just to hold it
    Segment part_{std::string_view()};  // what an extension is held against
};

}  // namespace system_search
