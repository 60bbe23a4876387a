// The cache reader against the plain one, on any bytes: the same result, the same entries, and
// entries that hold what every index promises.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "common/text.hpp"
#include "index/cache_reader.hpp"
#include "index/plain_cache_reader.hpp"
#include "simulated/volume.hpp"

using namespace system_search;

namespace {

constexpr char16_t kFile[] = u"C:\\index";
constexpr std::string_view kScope = "C:/";

void check(bool holds) {
    if (!holds) std::abort();
}

void check_shards(const Index& index) {
    const ShardList& shards = published_shards(index);
    std::size_t count = 0;
    std::string folded;
    for (std::size_t i = 0; i < shards.size(); ++i) {
        const std::size_t size = shards[i]->entries.size();
        check(i + 1 == shards.size() ? size > 0 && size <= kShardEntries : size == kShardEntries);
        count += size;
        for (const Entry& entry : shards[i]->entries) {
            const std::string_view path = entry.path.view();
            check(entry.path.c_str()[path.size()] == '\0');
            check(entry.name_offset == path.rfind('/') + 1);
            check(entry.folded_path_in(folded).size() == path.size());
            for (std::size_t at = 0; at < path.size(); ++at) check(folded[at] == fold(path[at]));
        }
    }
    check(count == published_entry_count(index));
}

}  // namespace

// The first byte chooses how much the disk gives at a time; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    static constexpr std::size_t kLargestReads[] = {0, 1, 3, 4096};
    const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    simulated::set_largest_read(kLargestReads[data[0] % 4]);
    simulated::write_file(kFile, bytes);

    platform::File file;
    check(file.open_for_reading(kFile) == platform::kSuccess);
    const std::atomic<bool> cancel{false};
    CachedIndex cached;
    const CacheReadResult result = read_index_cache(file, kScope, cancel, cached);

    PlainCacheReader plain(bytes, kScope);
    check(result == plain.read());
    check((cached.index != nullptr) == (result == CacheReadResult::kComplete));
    if (result != CacheReadResult::kComplete) return 0;
    check(entries_of(*cached.index) == plain.entries);
    check(cached.skipped == plain.skipped && cached.limited == plain.limited);
    check(cached.index->complete == (plain.limited == 0));
    check_shards(*cached.index);
    return 0;
}
