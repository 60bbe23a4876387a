// Reads an index cache file into an Index that nobody else sees yet.
//
// The file is hostile input. No length or count in it is believed before it was checked against
// its limit, and memory grows only with bytes that were really read. A bad file is an ordinary
// result here, not an exception.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>

#include "index/index.hpp"
#include "platform/platform.hpp"

namespace system_search {

enum class CacheReadResult {
    kComplete,
    kNotUsable,    // another format, another scope, or a value that no writer stores
    kTextTooLong,  // a text longer than the longest path
    kBadText,      // a text cut short, or with a NUL in it
    kTruncated,    // an integer cut short
    kCancelled,
};

struct CachedIndex {
    std::shared_ptr<Index> index;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;  // 0 or 1; the index is complete when it is 0
};

// Reads from the file's present position to its end. `out` is changed only by kComplete. `cancel`
// is looked at before each record. A failing read counts as the end of the file, except that it
// never makes a file complete. Throws std::bad_alloc.
CacheReadResult read_index_cache(platform::File& file, std::string_view scope,
                                 const std::atomic<bool>& cancel, CachedIndex& out);

}  // namespace system_search
