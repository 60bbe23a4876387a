// Whole paths held against literals.
//
// Entries of one folder begin alike. So the pattern is held against each folder once, as far as it
// goes; what is left of it is for the names of that folder, and a shard's folders leave only few
// different rests.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/entry_bits.hpp"
#include "query/name_matcher.hpp"
#include "query/pattern.hpp"
#include "query/subject.hpp"

namespace system_search {

class PathMatcher {
public:
    // For a pattern that does not need the rule, which outlives this.
    explicit PathMatcher(const Pattern& pattern);
    PathMatcher(const PathMatcher&) = delete;
    PathMatcher& operator=(const PathMatcher&) = delete;

    // Clears the bits of entries whose paths do not match. Stops when cancelled: the bits then mean
    // nothing.
    void match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const;

private:
    // What a folder leaves. A literal with a "/" that does not lie in the folder can only be cut
    // where the name begins: the folder ends with what stands before its last "/", the name begins
    // with what stands behind.
    struct Rest {
        std::string_view folder_end;
        NameMatcher names;
    };

    std::optional<Rest> rest_after(std::size_t literals) const;
    std::optional<Rest> rest_of_prefix() const;
    std::optional<Rest> rest_with(std::string_view folder_end, NameTerms terms) const;
    bool no_folder_holds_first_literal(const Shard& shard) const;
    std::size_t number_of_rest(std::string_view folder) const;

    const Pattern& pattern_;
    const Literal prefix_;
    // The one at n is left by folders that hold the prefix and the first n inner literals; the last
    // one by those that the prefix continues beyond. None where no name will do.
    std::vector<std::optional<Rest>> rests_;
    // Folded, and empty where there is none: without it in its text, no folder holds the first of
    // the literals.
    std::string probe_text_;
    Literal probe_;
};

}  // namespace system_search
