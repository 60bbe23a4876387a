// One shard of files, and those of its paths whose bits are set.
#pragma once

#include <string>
#include <vector>

#include "query/entry_bits.hpp"

namespace system_search {

inline Shard shard_of(const std::vector<std::string>& paths) {
    Batch batch;
    for (const std::string& path : paths) batch.add(path, kKindFile);
    return Shard(batch);
}

// Those that `match`, which clears bits of a shard, leaves over.
template <typename Match>
std::vector<std::string> left_over(const Shard& shard, Match match) {
    EntryBits bits{};
    for (std::uint32_t i = 0; i < shard.size(); ++i) bits[i / 64] |= std::uint64_t{1} << i % 64;
    match(bits);
    std::vector<std::string> paths;
    for_bits(shard, bits, [&](std::uint32_t entry) { paths.push_back(shard.entry(entry).path); });
    return paths;
}

}  // namespace system_search
