#include "query/scan.hpp"

#include <variant>

#include "index/signature.hpp"
#include "query/entry_bits.hpp"
#include "query/name_matcher.hpp"
#include "query/path_matcher.hpp"
#include "query/subject.hpp"
#include "system_search.h"

namespace system_search {
namespace {

using Matcher = std::variant<NameMatcher, PathMatcher>;

Matcher matcher_for(const Pattern& pattern) {
    if (pattern.match_path()) return Matcher(std::in_place_type<PathMatcher>, pattern);
    return Matcher(std::in_place_type<NameMatcher>, pattern.terms(), pattern.match_case(),
                   pattern.counts_code_points());
}

std::uint32_t count_of_kind(const Shard& shard, std::uint32_t kind) {
    if (kind == SS_KIND_ANY) return shard.size();
    return kind == SS_KIND_FOLDER ? shard.folder_count() : shard.size() - shard.folder_count();
}

void set_bits_of_kind(const Shard& shard, std::uint32_t kind, EntryBits& bits) {
    const std::uint64_t* const folders = shard.signature(kFolderBit);
    for (std::uint32_t word = 0; word < shard.words(); ++word) {
        bits[word] = kind == SS_KIND_ANY      ? ~std::uint64_t{0}
                     : kind == SS_KIND_FOLDER ? folders[word]
                                              : ~folders[word];
        const std::uint32_t entries = shard.size() - word * 64;
        if (entries < 64) bits[word] &= ~(~std::uint64_t{0} << entries);
    }
}

}  // namespace

bool scan(const ShardList& shards, const Pattern& pattern, std::uint32_t kind,
          const std::atomic<bool>& cancel, TopK& top_k, std::uint32_t& matched) {
    if (!pattern.can_match()) return true;
    const Matcher matcher = matcher_for(pattern);
    const bool takes_all = pattern.terms().match_everything();
    Subject subject(pattern.match_case());
    EntryBits bits;
    for (const std::shared_ptr<const Shard>& shared : shards) {
        if (cancel) return false;
        const Shard& shard = *shared;
        subject.set_shard(shard);
        std::uint32_t found = count_of_kind(shard, kind);
        // Of a shard whose least entry would not be kept, the number of matches is enough.
        if (takes_all && !top_k.would_keep({&shard, shard.least()})) {
            matched += found;
            continue;
        }
        set_bits_of_kind(shard, kind, bits);
        if (!takes_all) {
            std::visit([&](const auto& each) { each.match(subject, bits, cancel); }, matcher);
            if (cancel) return false;  // it may have stopped half way
            found = count_bits(shard, bits);
        }
        matched += found;
        if (found == 0 || !top_k.would_keep({&shard, shard.least()})) continue;
        for_bits(shard, bits, [&](std::uint32_t entry) { top_k.offer({&shard, entry}); });
    }
    return true;
}

}  // namespace system_search
