// Holds names against a pattern's parts, and keeps the names of a shard that match a pattern.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "common/bytes.hpp"
#include "index/signature.hpp"
#include "query/byte_search.hpp"
#include "query/entry_bits.hpp"
#include "query/part_masks.hpp"
#include "query/pattern.hpp"
#include "query/signature_filter.hpp"
#include "query/wildcard.hpp"

namespace system_search {

// The name of an entry as the pattern sees it: as stored, or folded.
inline std::string_view subject_name(const Pattern& pattern, const Shard& shard,
                                     std::uint32_t entry) {
    if (pattern.match_case && test_bit(shard.column(kUpperNameBit), entry)) {
        return shard.entries[entry].name();
    }
    return shard.folded_name(entry);
}

// Searches for a pattern's parts.
class PartSearch {
public:
    explicit PartSearch(const Pattern& pattern);

    // Whether the parts from number `part` on lie in the text, one behind the other.
    bool in_order(std::string_view text, std::size_t part) const {
        if (masks_.usable() && text.size() <= PartMasks::kMaxText) {
            return masks_.in_order(text, part);
        }
        for (; part < searches_.size(); ++part) {
            const std::size_t place = searches_[part].find(text);
            if (place == std::string_view::npos) return false;
            text.remove_prefix(place + searches_[part].size());
        }
        return true;
    }
    // Whether the text begins and ends so, with the parts in between.
    bool matches(std::string_view text, std::string_view begin, std::size_t part,
                 std::string_view end) const {
        if (text.size() < begin.size() + end.size()) return false;
        if (!equal_bytes(text.data(), begin.data(), begin.size())) return false;
        if (!equal_bytes(text.data() + text.size() - end.size(), end.data(), end.size())) {
            return false;
        }
        return in_order(text.substr(begin.size(), text.size() - begin.size() - end.size()), part);
    }
    const ByteSearch& operator[](std::size_t part) const { return searches_[part]; }

private:
    std::vector<ByteSearch> searches_;
    PartMasks masks_;
};

class NameMatcher {
public:
    // The pattern outlives this.
    NameMatcher(const Pattern& pattern, const std::atomic<bool>& cancel);

    void prefetch(const Shard& shard) const { filter_.prefetch(shard); }

    // Clears the bits of entries whose names do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(const Shard& shard, EntryBits& bits) const;

private:
    enum class Shape {
        kRule,        // only the wildcard rule tells
        kPart,        // one part that may lie anywhere
        kSuffix,      // nothing but a suffix
        kInnerParts,  // parts, and neither a prefix nor a suffix
        kParts,
    };
    static Shape shape_of(const Pattern& pattern);

    void require_dots();
    bool known_matches(const Shard& shard, const EntryBits& bits, EntryBits& known) const;
    void names_with_endings(const Shard& shard, EntryBits& names) const;
    void keep_matches(const Shard& shard, EntryBits& bits) const;

    const Pattern& pattern_;
    const std::atomic<bool>& cancel_;
    PartSearch parts_;
    Wildcard wildcard_;
    SignatureFilter filter_;
    Shape shape_;
    bool filter_decides_;       // a name that passes the filter matches
    bool dots_decide_ = false;  // the same for a name of nothing but ASCII
    bool endings_tell_;         // a name whose ending matches does so itself
};

}  // namespace system_search
