// A reference implementation of the cache reader, for tests and the fuzzer. It works on the whole
// file in memory and shares no code with the library's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "index/cache_reader.hpp"
#include "rules/index/cache_bytes.hpp"

namespace system_search {

class ReferenceCacheReader {
public:
    ReferenceCacheReader(std::string_view bytes, std::string_view scope)
        : bytes_(bytes), scope_(scope) {}

    CacheReadResult read() {
        try {
            return read_file();
        } catch (CacheReadResult failure) {
            return failure;
        }
    }

    std::vector<PathAndKind> entries;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;

private:
    std::uint32_t integer() {
        if (bytes_.size() < 4) throw CacheReadResult::kTruncated;
        std::uint32_t value = 0;
        for (int i = 3; i >= 0; --i) {
            value = value * 256 + static_cast<unsigned char>(bytes_[static_cast<std::size_t>(i)]);
        }
        bytes_.remove_prefix(4);
        return value;
    }

    std::string text() {
        const std::uint32_t length = integer();
        if (length > 32768) throw CacheReadResult::kTextTooLong;
        if (bytes_.size() < length) throw CacheReadResult::kBadText;
        std::string text(bytes_.substr(0, length));
        bytes_.remove_prefix(length);
        if (text.find('\0') != text.npos) throw CacheReadResult::kBadText;
        return text;
    }

    static void require(bool usable) {
        if (!usable) throw CacheReadResult::kNotUsable;
    }

    static bool is_utf8(std::string_view text) {
        while (!text.empty()) {
            const auto lead = static_cast<unsigned char>(text[0]);
            const std::size_t length = lead < 0x80   ? 1
                                       : lead < 0xC0 ? 0
                                       : lead < 0xE0 ? 2
                                       : lead < 0xF0 ? 3
                                       : lead < 0xF8 ? 4
                                                     : 0;
            if (length == 0 || text.size() < length) return false;
            std::uint32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
            for (std::size_t i = 1; i < length; ++i) {
                const auto byte = static_cast<unsigned char>(text[i]);
                if ((byte & 0xC0) != 0x80) return false;
                value = value << 6 | (byte & 0x3F);
            }
            static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
            if (value < kSmallest[length] || value > 0x10FFFF) return false;
            if (value >= 0xD800 && value <= 0xDFFF) return false;
            text.remove_prefix(length);
        }
        return true;
    }

    // Spelled out form by form, on a text in which every separator is '/'.
    static bool is_absolute(std::string path) {
        for (char& byte : path) byte = byte == '\\' ? '/' : byte;
        const auto at = [&](std::size_t i) { return i < path.size() ? path[i] : '\0'; };
        const char drive = static_cast<char>(at(0) | 0x20);
        if (drive >= 'a' && drive <= 'z' && at(1) == ':' && at(2) == '/') return true;
        for (const std::string_view prefix : {"//?/", "//./", "/\?\?/"}) {
            if (path.starts_with(prefix) && at(4) != '/') return true;
        }
        return at(0) == '/' && at(1) == '/' && path.size() > 2 && at(2) != '/';
    }

    CacheReadResult read_file() {
        require(text() == "system-search-v1");
        require(text() == scope_);
        const std::uint32_t count = integer();
        skipped = integer();
        limited = integer();
        require(count <= 5'000'000 && limited <= 1);
        std::uint64_t estimate = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::string path = text();
            const std::uint32_t kind = integer();
            require(!path.empty() && is_utf8(path) && is_absolute(path));
            require(kind == 1 || kind == 2);
            estimate += 2 * path.size() + 72;
            require(estimate <= 1'073'741'824);
            entries.push_back({path, kind});
        }
        require(bytes_.empty());
        return CacheReadResult::kComplete;
    }

    std::string_view bytes_;
    std::string_view scope_;
};

}  // namespace system_search
