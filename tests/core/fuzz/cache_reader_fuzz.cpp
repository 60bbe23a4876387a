// The cache reader against the reference implementation, on any bytes: the same result, the same
// entries, and entries that hold what every index promises.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "common/text.hpp"
#include "index/cache_reader.hpp"
#include "rules/index/reference_cache_reader.hpp"
#include "simulated/volume.hpp"

using namespace system_search;

namespace {

constexpr char16_t kFile[] = u"C:\\index";
constexpr std::string_view kScope = "C:/";

void check(bool holds) {
    if (!holds) std::abort();
}

void check_shards(const Index& index) {
    const Snapshot snapshot = take_snapshot(index);
    std::size_t count = 0;
    for (const auto& shard : snapshot.shards) {
        const bool is_last = shard == snapshot.shards.back();
        check(shard->size() != 0 && (is_last || shard->size() == kShardEntries));
        check(shard->size() <= kShardEntries);
        count += shard->size();
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            const Entry entry = shard->entry(i);
            check(entry.name_offset == entry.path.rfind('/') + 1);
            check(entry.folded_path.substr(entry.name_offset) == shard->folded_name(i));
        }
    }
    check(count == snapshot.entry_count);
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

    ReferenceCacheReader reference(bytes, kScope);
    check(result == reference.read());
    check((cached.index != nullptr) == (result == CacheReadResult::kComplete));
    if (result != CacheReadResult::kComplete) return 0;
    check(entries_of(*cached.index) == reference.entries);
    check(cached.skipped == reference.skipped && cached.limited == reference.limited);
    check(cached.index->complete == (reference.limited == 0));
    check_shards(*cached.index);
    return 0;
}
