#include "query/shard_matcher.hpp"

#include "index/signature.hpp"
#include "system_search.h"

namespace system_search {

ShardMatcher::ShardMatcher(const Pattern& pattern, std::uint32_t kind,
                           const std::atomic<bool>& cancel)
    : pattern_(pattern), kind_(kind) {
    if (pattern.match_path) {
        paths_.emplace(pattern, cancel);
    } else {
        names_.emplace(pattern, cancel);
    }
}

std::optional<std::uint32_t> ShardMatcher::count_all(const Shard& shard) const {
    if (!pattern_.matches_everything()) return std::nullopt;
    if (kind_ == SS_KIND_ANY) return shard.size;
    return kind_ == SS_KIND_FOLDER ? shard.folders : shard.size - shard.folders;
}

void ShardMatcher::prefetch(const Shard& shard) const {
    if (names_) names_->prefetch(shard);
    if (paths_) paths_->prefetch(shard);
}

void ShardMatcher::match(const Shard& shard, EntryBits& bits) {
    start_with_kind(shard, bits);
    if (pattern_.matches_everything()) return;
    if (pattern_.match_path) {
        paths_->match(shard, bits);
    } else {
        names_->match(shard, bits);
    }
}

void ShardMatcher::start_with_kind(const Shard& shard, EntryBits& bits) const {
    const std::uint64_t* const folders = shard.column(kFolderBit);
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        bits[word] = kind_ == SS_KIND_ANY      ? ~std::uint64_t{0}
                     : kind_ == SS_KIND_FOLDER ? folders[word]
                                               : ~folders[word];
    }
    if (shard.size % 64 != 0) {
        bits[shard.words - 1] &= ~(~std::uint64_t{0} << shard.size % 64);
    }
}

}  // namespace system_search
