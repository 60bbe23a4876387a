// Whole paths held against terms.
//
// Entries of one folder begin alike. So the pattern is held against each folder once, as far as it
// goes; what remains of it is for the names of that folder, and a pattern leaves only few different
// remainders. Of "*/src/*te?t*" the folder "c:/src/" leaves "*te?t*", and so does "c:/src/old/";
// "c:/src/te/" leaves also "t*", because the mark may stand for the "/"; "c:/lib/" leaves nothing.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"
#include "query/name_matcher.hpp"
#include "query/pattern.hpp"
#include "query/subject.hpp"
#include "query/text_matcher.hpp"

namespace system_search {

class PathMatcher {
public:
    // `pattern` outlives this.
    explicit PathMatcher(const Pattern& pattern);
    PathMatcher(const PathMatcher&) = delete;
    PathMatcher& operator=(const PathMatcher&) = delete;

    // Clears the bits of entries whose paths do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

private:
    // What the folders leave that end with a part of a segment, cut behind a "/" or behind a mark,
    // which may stand for one; with an empty part, what all those leave that do not hold the
    // segment.
    struct Remainder {
        Segment folder_end;
        NameMatcher names;
    };

    void add_remainders();
    void add_remainder(std::string_view folder_end, const Terms& terms);
    void add_cuts(std::string_view segment, std::size_t first_cut, Terms behind);
    std::span<const Remainder> group(std::size_t number) const;

    bool no_folder_holds_probe(const Shard& shard) const;
    template <typename Visit>
    void for_remainders(std::string_view folder, bool may_hold_probe,
                        const std::atomic<bool>& cancel, Visit visit) const;
    void match_by_folder(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;
    void match_whole(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

    // Where there would be more, each path is looked at as a whole.
    static constexpr std::size_t kMostRemainders = 64;

    const bool match_case_;
    const bool counts_code_points_;
    const Terms terms_;
    const Segment prefix_;
    const TextMatcher whole_path_;
    SignatureFilter filter_;  // what a name has to hold whatever its folder leaves
    std::vector<Remainder> remainders_;
    // Where the remainders of a segment begin: of the prefix, for folders that it goes on behind;
    // then, for those that hold it, of each inner segment and of the suffix.
    std::vector<std::size_t> group_starts_;
    bool has_too_many_remainders_ = false;
    // Folded, and empty where there is none. A folder without it in its text holds nothing of the
    // first segment behind the prefix, neither the whole nor a part that the folder may end with.
    std::string probe_text_;
    Segment probe_;
};

}  // namespace system_search
