// What has to be known about a batch before the block of its shard can be allocated.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "index/shard.hpp"

namespace system_search {

struct ShardPlan {
    struct EntryPlan {
        std::uint32_t name_offset;
        std::uint32_t folder;  // its number in `folders`
    };
    struct Folder {
        std::string_view text;  // as stored, in the batch
        std::uint32_t start;    // into the shard's folder texts
    };

    explicit ShardPlan(const Batch& batch);

    std::vector<EntryPlan> entries;
    std::vector<Folder> folders;
    std::vector<FolderRun> runs;  // the one that closes them included
    std::vector<Ending> endings;
    std::vector<std::uint8_t> ending_numbers;
    std::size_t names_bytes = 0;
    std::size_t folders_bytes = 0;
    std::size_t paths_bytes = 0;
};

// What a StoredText takes in the block: its length, its bytes, its NUL.
inline constexpr std::size_t kLengthBytes = sizeof(std::uint16_t);
constexpr std::size_t stored_text_bytes(std::size_t text_bytes) {
    return kLengthBytes + text_bytes + 1;
}

}  // namespace system_search
