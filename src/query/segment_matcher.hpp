// Finds the entries of a segment that match. The signatures narrow a segment down to few entries;
// those are then held against the pattern itself.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "query/byte_search.hpp"
#include "query/pattern.hpp"
#include "query/signature_filter.hpp"
#include "query/wildcard.hpp"

namespace system_search {

class SegmentMatcher {
public:
    // The pattern outlives this. `kind` is SS_KIND_...
    SegmentMatcher(const Pattern& pattern, std::uint32_t kind, const std::atomic<bool>& cancel);

    // How many entries match, when that needs no look at them: every one of a kind does.
    std::optional<std::uint32_t> count_all(const Segment& segment) const;

    // Sets `bits` to the entries that match.
    void match(const Segment& segment, EntryBits& bits);

private:
    void require_literals();
    void start_with_kind(const Segment& segment, EntryBits& bits) const;
    std::string_view subject_name(const Segment& segment, std::uint32_t entry) const;
    std::string_view subject_folder(const Segment& segment, const FolderRun& run) const;

    void match_names(const Segment& segment, EntryBits& bits);
    void match_substring_paths(const Segment& segment, EntryBits& bits);
    void match_folders(const Segment& segment, EntryBits& bits);
    void match_across(const Segment& segment, EntryBits& bits);
    void match_wildcard_paths(const Segment& segment, EntryBits& bits);

    const Pattern& pattern_;
    const std::uint32_t kind_;
    SignatureFilter filter_;
    bool filter_decides_ = false;  // an entry that passes the filter matches
    std::optional<ByteSearch> search_;
    std::optional<Wildcard> wildcard_;

    // For a substring of paths. Its longest part without a "/" lies within one component of a path.
    std::string component_;
    std::optional<ByteSearch> component_search_;
    // An occurrence that reaches from the folder into the name is cut behind the pattern's last
    // "/": the folder ends with the one part, the name begins with the other.
    std::string_view folder_end_;
    std::string_view name_begin_;
    bool has_separator_;

    std::string path_;  // the path in hand
};

}  // namespace system_search
