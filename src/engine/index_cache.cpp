#include "engine/index_cache.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include "common/text.hpp"
#include "index/cache_reader.hpp"
#include "index/cache_writer.hpp"
#include "index/temporary_file.hpp"

namespace system_search {
namespace {

constexpr std::string_view kSaveFailed = "Index is usable, but its cache could not be saved.";

}  // namespace

bool load_index_cache(Engine& engine, std::string_view scope,
                      std::string_view cache_path) noexcept {
    if (cache_path.empty()) return false;
    CachedIndex cached;
    try {
        std::u16string path;
        if (!append_wide(cache_path, path)) return false;
        platform::File file;
        if (file.open_for_reading(path.c_str()) != platform::kSuccess) return false;
        const CacheReadResult result = read_index_cache(file, scope, engine.cancel, cached);
        if (result != CacheReadResult::kComplete) return false;
    } catch (...) {
        return false;
    }
    replace_index(engine, std::move(cached.index));
    engine.skipped = cached.skipped;
    engine.limited = cached.limited;
    engine.from_cache = 1;
    return true;
}

void save_index_cache(Engine& engine, const Index& index, std::string_view scope,
                      std::string_view cache_path) {
    if (cache_path.empty() || engine.cancel) return;
    TemporaryFile temporary(wide_from_utf8(cache_path), reinterpret_cast<std::uintptr_t>(&engine));

    const CacheContents contents{index, scope, engine.skipped, engine.limited};
    CacheWriteResult result = CacheWriteResult::kWriteFailed;
    try {
        result = write_index_cache(temporary, contents, engine.cancel);
    } catch (...) {
        // Memory ran out: a failure like any other.
    }
    const bool failed =
        result != CacheWriteResult::kReplaced && result != CacheWriteResult::kCancelled;
    // The text comes first: what is left of the temporary file may take its time to remove.
    if (failed) set_error(engine, kSaveFailed);
}

}  // namespace system_search
