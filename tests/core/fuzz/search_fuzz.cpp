// The scan against the reference implementation: the input gives a pattern, flags, kind, limit, the
// size of the shards and the paths. Matched count, results and their order have to be the same,
// byte for byte.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "index/index.hpp"
#include "query/pattern.hpp"
#include "query/scan.hpp"
#include "query/top_k.hpp"
#include "rules/query/reference_search.hpp"

using namespace system_search;

namespace {

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "different from the reference implementation: %s\n", what);
    std::abort();
}

}  // namespace

// Bytes 0 to 4: flags, kind, limit, shard size, length of the pattern; then the pattern, then the
// paths, a NUL or line end between them. Of each path the first byte's lowest bit is its kind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t bytes) {
    if (bytes < 6) return 0;
    std::string_view input(reinterpret_cast<const char*>(data), bytes);
    const std::uint32_t flags = data[0] % 4;
    const std::uint32_t kind = data[1] % 3;
    const std::uint32_t limit = 1 + data[2] % 20;
    const std::size_t shard_entries = 1 + data[3] % 40;
    input.remove_prefix(5);
    const std::size_t pattern_bytes = std::min<std::size_t>(data[4] % 96, input.size());
    std::string text(input.substr(0, pattern_bytes));
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    input.remove_prefix(pattern_bytes);

    std::vector<Entry> entries;
    ShardList shards;
    Batch batch;
    while (!input.empty()) {
        const std::size_t end =
            std::min(input.find_first_of(std::string_view("\0\n", 2)), input.size());
        const std::string_view path = input.substr(0, end);
        input.remove_prefix(std::min(end + 1, input.size()));
        if (path.empty() || path.size() > kMaxPathBytes) continue;
        const std::uint32_t entry_kind = 1 + (static_cast<unsigned char>(path[0]) & 1);
        entries.emplace_back(std::string(path), entry_kind);
        batch.add(path, entry_kind);
        if (batch.size() == shard_entries) {
            shards.push_back(std::make_shared<const Shard>(batch));
            batch.clear();
        }
    }
    if (!batch.empty()) shards.push_back(std::make_shared<const Shard>(batch));

    const reference::Answer wanted = reference::search(entries, text, flags, kind, limit);
    const Pattern pattern(text, flags);
    TopK top_k(limit);
    const std::atomic<bool> cancel{false};
    std::uint32_t matched = 0;
    require(scan(shards, pattern, kind, cancel, top_k, matched), "it was cancelled");
    const std::vector<EntryRef> results = top_k.take_sorted();
    require(matched == wanted.matched, "the count of matches");
    require(results.size() == wanted.results.size(), "the count of results");
    for (std::size_t i = 0; i < results.size(); ++i) {
        // Entries of equal paths may come in either order.
        const Entry result = results[i].shard->entry(results[i].number);
        require(result.path == wanted.results[i]->path, "a result");
    }
    return 0;
}
