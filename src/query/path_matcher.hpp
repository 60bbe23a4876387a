// Keeps the entries of a shard whose whole paths match a pattern.
//
// Entries of one folder begin alike. So the pattern is held against each folder once, and against
// the names of that folder only from where the folder left off; what is left for the names to hold
// picks them by their signatures. A folder begins like the one before it, so that most of it is
// known already.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"
#include "query/name_matcher.hpp"
#include "query/pattern.hpp"
#include "query/signature_filter.hpp"
#include "query/wildcard.hpp"

namespace system_search {

class PathMatcher {
public:
    // The pattern outlives this.
    PathMatcher(const Pattern& pattern, const std::atomic<bool>& cancel);

    void prefetch(const Shard& shard) const;

    // Clears the bits of entries whose paths do not match. One thread at a time. Stops when
    // cancelled: the bits then mean nothing.
    void match(const Shard& shard, EntryBits& bits);

private:
    // What the names of a folder have to be, once the folder has taken its share of the pattern.
    // A piece of the pattern that holds a "/" and is not in the folder can only be cut there: the
    // folder ends with what stands before its last "/", the name begins with the rest.
    struct Rest {
        bool possible = true;
        std::string_view folder_end;
        std::string_view begin;  // of the name
        std::size_t part = 0;    // the first part that the name has to hold
        std::string_view end;
        bool whole = false;  // `end` is the whole name
        SignatureFilter filter;

        EntryBits names;  // of the shard in hand: those that pass the filter
        bool applied = false;
    };

    Rest rest_after(std::size_t parts) const;
    Rest rest_in_prefix() const;
    void require_names(Rest& rest) const;
    std::string_view subject_folder(const Shard& shard, const FolderRun& run) const;

    bool no_folder_holds_the_first_part(const Shard& shard) const;
    bool lacks_the_first_part(const Shard& shard, const FolderRun& run);
    Rest* match_folder(std::string_view folder, std::size_t shared_bytes);
    void keep_names(const Shard& shard, std::uint32_t first, std::uint32_t end, Rest& rest,
                    EntryBits& bits);
    void match_by_rule(const Shard& shard, EntryBits& bits);

    const Pattern& pattern_;
    const std::atomic<bool>& cancel_;
    PartSearch parts_;
    Wildcard wildcard_;

    std::vector<Rest> rests_;  // [n] when the folder holds the first n parts
    Rest prefix_rest_;         // when the folder ends within the prefix
    Rest nothing_;             // when the folder takes the whole pattern, whatever the names are
    std::string component_;    // of the first part, its longest piece without a "/", folded
    std::optional<ByteSearch> component_search_;

    const EntryBits* candidates_ = nullptr;  // of the shard in hand, before any filter
    std::vector<std::size_t> part_ends_;     // in the folder in hand
    std::string path_;                       // the path in hand
};

}  // namespace system_search
