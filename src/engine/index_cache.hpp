// The index cache as the build job uses it: load before a walk, save after one. The file itself is
// read and written in index/cache_reader and index/cache_writer. Build thread only.
#pragma once

#include <string_view>

#include "engine/engine.hpp"

namespace system_search {

// True when the cache file held a usable index for exactly this scope text: it is then the
// engine's index, and the counters are the stored ones. False, with nothing changed, in every
// other case, a cancel request included.
bool load_index_cache(Engine& engine, std::string_view scope, std::string_view cache_path) noexcept;

// Writes the finished index beside the cache file and moves it into place. A failure becomes the
// engine's error text, except that a cache path that is not UTF-8 throws TextError and memory that
// runs out before the first file operation throws std::bad_alloc.
void save_index_cache(Engine& engine, const Index& index, std::string_view scope,
                      std::string_view cache_path);

}  // namespace system_search
