// A number for a text, in which every byte of it has its part. The upper bits are the best ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace system_search {

inline std::uint64_t hash_of(std::string_view text) {
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    std::uint64_t hash = text.size();
    const auto mix = [&](const char* at, std::size_t bytes) {
        std::uint64_t word = 0;
        std::memcpy(&word, at, bytes);
        hash = (hash ^ word) * kOdd;
        hash ^= hash >> 32;
    };
    constexpr std::size_t kWord = sizeof hash;
    if (text.size() < kWord) {
        mix(text.data(), text.size());
    } else {
        for (std::size_t at = 0; at + kWord < text.size(); at += kWord)
            mix(text.data() + at, kWord);
        mix(text.data() + text.size() - kWord, kWord);
    }
    return hash * kOdd;
}

}  // namespace system_search
