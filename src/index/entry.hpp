// One indexed file or folder, and the limits of an index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace system_search {

inline constexpr std::uint32_t kKindFile = 1;
inline constexpr std::uint32_t kKindFolder = 2;

// They are part of the design, not tuning: the walk, the cache file and the folder listing agree on
// them.
inline constexpr std::uint32_t kMaxEntries = 5'000'000;
inline constexpr std::uint64_t kMaxMemoryEstimate = 1'073'741'824;
inline constexpr std::size_t kMaxPathBytes = 32'768;

// What an entry counts against kMaxMemoryEstimate.
constexpr std::uint64_t memory_estimate(std::size_t path_bytes) {
    return std::uint64_t{2} * path_bytes + 72;
}

// An entry as a value of its own. An index holds millions of entries and keeps them in another
// form, see Shard; only what leaves it, such as the results of a query, is made into these.
struct Entry {
    // Throws std::bad_alloc.
    Entry(std::string entry_path, std::uint32_t entry_kind);
    Entry(Entry&&) = default;
    Entry& operator=(Entry&&) = default;

    std::string path;           // absolute, UTF-8, "/" as the only separator; never empty
    std::string folded_path;    // `path` with A to Z lowered
    std::uint32_t name_offset;  // where the last component begins: behind the last "/", or 0
    std::uint32_t kind;         // kKindFile or kKindFolder
};

}  // namespace system_search
