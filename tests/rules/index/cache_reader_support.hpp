// Reads files of any bytes as an index cache.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "index/cache_reader.hpp"
#include "rules/index/cache_bytes.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {

inline constexpr char16_t kCacheFile[] = u"C:\\cache\\index";
class CacheReader : public simulated::VolumeTest {
protected:
    // Reads a file of these bytes.
    CacheReadResult read(std::string_view bytes, std::string_view scope = "C:/") {
        simulated::write_file(kCacheFile, bytes);
        return read_again(scope);
    }
    CacheReadResult read_again(std::string_view scope = "C:/") {
        platform::File file;
        EXPECT_EQ(file.open_for_reading(kCacheFile), platform::kSuccess);
        cached = {};
        const CacheReadResult result = read_index_cache(file, scope, cancel, cached);
        EXPECT_EQ(cached.index != nullptr, result == CacheReadResult::kComplete);
        return result;
    }
    CacheReadResult read_record(std::string_view path, std::uint32_t kind = 1) {
        return read(cache_bytes("C:/", {{std::string(path), kind}}));
    }

    std::atomic<bool> cancel{false};
    CachedIndex cached;
};

}  // namespace system_search
