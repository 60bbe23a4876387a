// Writes an Index into a temporary file and moves it onto the cache file.
//
// The cache file is never written in place: a reader sees the old one or the new one, whole, and so
// does the next start after a power cut.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "index/index.hpp"
#include "index/temporary_file.hpp"

namespace system_search {

// The file is written in pieces of this size. Measured on ext4, pieces of 1 MiB made a save of a
// million entries 5 % longer and pieces of 256 KiB 15 %, though those stay nearer to the processor
// between their filling and the system's taking them.
inline constexpr std::size_t kCachePieceBytes = std::size_t{4} << 20;

enum class CacheWriteResult {
    kReplaced,
    kCancelled,
    kFolderFailed,   // the cache file's folder cannot be created
    kWriteFailed,    // the temporary file cannot be made, or not be written to its end and the disk
    kReplaceFailed,  // the cache file cannot be replaced
};

struct CacheContents {
    const Index& index;  // after its last publication
    std::string_view scope;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;
};

// Creates the cache file's folder, with every missing one above it, first. `cancel` is looked at
// before each shard, before the replacement and while that waits for others to close the file: once
// a replacement was refused it has failed, although only a cancel request kept it from being tried
// again. The temporary file is closed when this returns. Build thread only. Throws std::bad_alloc.
CacheWriteResult write_index_cache(TemporaryFile& temporary, const CacheContents& contents,
                                   const std::atomic<bool>& cancel);

}  // namespace system_search
