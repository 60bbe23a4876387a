// Cache files written by hand, one field after the other, without the library's own encoder.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "index/index.hpp"

namespace system_search {

class CacheBytes {
public:
    CacheBytes& integer(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) bytes_ += static_cast<char>(value >> shift);
        return *this;
    }
    CacheBytes& raw(std::string_view bytes) {
        bytes_ += bytes;
        return *this;
    }
    CacheBytes& text(std::string_view text) {
        return integer(static_cast<std::uint32_t>(text.size())).raw(text);
    }
    CacheBytes& header(std::string_view scope, std::uint32_t entries, std::uint32_t skipped = 0,
                       std::uint32_t limited = 0) {
        text("system-search-v1").text(scope);
        return integer(entries).integer(skipped).integer(limited);
    }
    CacheBytes& record(std::string_view path, std::uint32_t kind = 1) {
        return text(path).integer(kind);
    }
    const std::string& str() const { return bytes_; }

private:
    std::string bytes_;
};

struct PathAndKind {
    std::string path;
    std::uint32_t kind = 1;
    bool operator==(const PathAndKind&) const = default;
};

inline void PrintTo(const PathAndKind& entry, std::ostream* out) {
    *out << '"' << entry.path << "\" " << entry.kind;
}

inline std::string cache_bytes(std::string_view scope, const std::vector<PathAndKind>& entries,
                               std::uint32_t skipped = 0, std::uint32_t limited = 0) {
    CacheBytes bytes;
    bytes.header(scope, static_cast<std::uint32_t>(entries.size()), skipped, limited);
    for (const PathAndKind& entry : entries) bytes.record(entry.path, entry.kind);
    return bytes.str();
}

inline std::vector<PathAndKind> entries_of(const Index& index) {
    std::vector<PathAndKind> entries;
    for (const auto& shard : take_snapshot(index).shards) {
        for (std::uint32_t i = 0; i < shard->size(); ++i) {
            Entry entry = shard->entry(i);
            entries.push_back({std::move(entry.path), entry.kind});
        }
    }
    return entries;
}

inline std::vector<std::size_t> shard_sizes(const Index& index) {
    std::vector<std::size_t> sizes;
    for (const auto& shard : take_snapshot(index).shards) sizes.push_back(shard->size());
    return sizes;
}

// Paths of every sort that an index may hold: short and long, with and without upper case, in
// several scripts, as files and folders.
inline std::vector<PathAndKind> sample_entries(std::size_t count) {
    static constexpr std::string_view kNames[] = {
        "readme.txt",
        "Photos",
        "\xC3\x84"
        "BC.txt",
        "\xE5\x86\x99\xE7\x9C\x9F",
        "a",
        "\xF0\x9F\x8E\xB5.MP3",
        " leading and trailing ",
        "x'&%$#@!.tar.gz",
    };
    std::vector<PathAndKind> entries;
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525 + 1013904223;
        std::string path = i % 7 == 0 ? "//server/share" : "C:";
        for (std::uint32_t depth = 0; depth <= (state >> 16) % 5; ++depth) {
            path += '/';
            path += kNames[(state >> (8 + depth)) % std::size(kNames)];
        }
        path += std::to_string(i);
        entries.push_back({path, 1 + (state >> 24) % 2});
    }
    return entries;
}

inline void fill(Index& index, const std::vector<PathAndKind>& entries) {
    Batch batch;
    for (const PathAndKind& entry : entries) {
        batch.add(entry.path, entry.kind);
        if (batch.size() == kShardEntries) publish_shard(index, batch);
    }
    publish_shard(index, batch);
}

}  // namespace system_search
