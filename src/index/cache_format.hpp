// The bytes of the index cache file, for its writer and its reader. docs/cache-format.md describes
// the whole file for people.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "index/entry.hpp"

namespace system_search {

// Names the format and its version together; compared as a whole.
inline constexpr std::string_view kCacheMagic = "system-search-v1";

// Every integer: unsigned, 4 bytes, least significant first.
inline constexpr std::size_t kCacheIntegerBytes = 4;

// The longest text a reader takes: paths, and the magic and the scope with them.
inline constexpr std::size_t kCacheMaxTextBytes = kMaxPathBytes;

// Magic, scope, entry count, skipped count, limit flag.
constexpr std::size_t cache_header_bytes(std::size_t scope_bytes) {
    return kCacheIntegerBytes + kCacheMagic.size() + kCacheIntegerBytes + scope_bytes +
           3 * kCacheIntegerBytes;
}

// Path length, path, kind.
constexpr std::size_t cache_record_bytes(std::size_t path_bytes) {
    return kCacheIntegerBytes + path_bytes + kCacheIntegerBytes;
}

// Written out byte by byte: compilers make one store and one load of it.
inline void encode_cache_integer(std::uint32_t value, char* out) {
    out[0] = static_cast<char>(value & 0xFF);
    out[1] = static_cast<char>(value >> 8 & 0xFF);
    out[2] = static_cast<char>(value >> 16 & 0xFF);
    out[3] = static_cast<char>(value >> 24);
}

inline std::uint32_t decode_cache_integer(const char* in) {
    const auto byte = [in](unsigned i) {
        return std::uint32_t{static_cast<unsigned char>(in[i])} << (8 * i);
    };
    return byte(0) | byte(1) | byte(2) | byte(3);
}

}  // namespace system_search
