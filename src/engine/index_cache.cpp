#include "engine/index_cache.hpp"

#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

#include "common/text.hpp"
#include "index/cache_reader.hpp"
#include "index/cache_writer.hpp"
#include "index/file_retry.hpp"

namespace system_search {
namespace {

constexpr std::string_view kSaveFailed = "Index is usable, but its cache could not be saved.";

template <typename Number>
void append_decimal(std::u16string& text, Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text.append(digits, end);
}

// Two engines that save to one path, and two saves of one engine, never share a temporary file.
std::u16string temporary_path(const std::u16string& cache_path, const Engine& engine) {
    std::u16string path = cache_path;
    path += u'.';
    append_decimal(path, platform::monotonic_nanoseconds());
    path += u'.';
    append_decimal(path, reinterpret_cast<std::uintptr_t>(&engine));
    path += u".tmp";
    return path;
}

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
    engine.skipped.store(cached.skipped);
    engine.limited.store(cached.limited);
    engine.from_cache.store(1);
    return true;
}

void save_index_cache(Engine& engine, const Index& index, std::string_view scope,
                      std::string_view cache_path) {
    if (cache_path.empty() || engine.cancel.load()) return;
    const std::u16string path = wide_from_utf8(cache_path);
    const std::u16string temporary = temporary_path(path, engine);

    const CacheContents contents{index, scope, engine.skipped.load(), engine.limited.load()};
    CacheWriteResult result = CacheWriteResult::kWriteFailed;
    try {
        result = write_index_cache(path, temporary, contents, engine.cancel);
    } catch (...) {
        // Memory ran out: a failure like any other.
    }
    if (result == CacheWriteResult::kReplaced) return;
    if (result != CacheWriteResult::kCancelled) set_error(engine, kSaveFailed);
    remove_with_retries(temporary.c_str(), engine.cancel);
}

}  // namespace system_search
