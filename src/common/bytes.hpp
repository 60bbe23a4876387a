// What every record of an index goes through, a few dozen bytes at a time: done inline, because for
// so few bytes the call of the runtime's memchr or memcmp costs more than the work.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <emmintrin.h>

namespace system_search {

namespace detail {

template <typename Word>
bool equal_ends(const char* a, const char* b, std::size_t bytes) {
    const auto word = [](const char* at) {
        Word value;
        std::memcpy(&value, at, sizeof value);
        return value;
    };
    return word(a) == word(b) && word(a + bytes - sizeof(Word)) == word(b + bytes - sizeof(Word));
}

inline __m128i load_16(const char* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline bool equal_16(const char* a, const char* b) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(load_16(a), load_16(b))) == 0xFFFF;
}

}  // namespace detail

// Reads nothing outside of the two texts: the last words may overlap those before them.
inline bool equal_bytes(const char* a, const char* b, std::size_t bytes) {
    if (bytes < 4) {
        for (std::size_t i = 0; i < bytes; ++i) {
            if (a[i] != b[i]) return false;
        }
        return true;
    }
    if (bytes < 8) return detail::equal_ends<std::uint32_t>(a, b, bytes);
    if (bytes < 16) return detail::equal_ends<std::uint64_t>(a, b, bytes);
    for (std::size_t at = 0; at + 16 < bytes; at += 16) {
        if (!detail::equal_16(a + at, b + at)) return false;
    }
    return detail::equal_16(a + bytes - 16, b + bytes - 16);
}

inline bool equal_bytes(std::string_view a, std::string_view b) {
    return a.size() == b.size() && equal_bytes(a.data(), b.data(), a.size());
}

// The last place of a byte in the text, or npos.
inline std::size_t find_last(std::string_view text, char byte) {
    const __m128i wanted = _mm_set1_epi8(byte);
    std::size_t end = text.size();
    for (; end >= 16; end -= 16) {
        const __m128i found = _mm_cmpeq_epi8(detail::load_16(text.data() + end - 16), wanted);
        const auto places = static_cast<std::uint32_t>(_mm_movemask_epi8(found));
        if (places != 0) return end - 17 + static_cast<unsigned>(std::bit_width(places));
    }
    while (end != 0 && text[end - 1] != byte) --end;
    return end - 1;
}

struct ByteKinds {
    bool nul;        // there is a NUL
    bool non_ascii;  // there is a byte of 0x80 or above
};

// Up to 15 bytes behind the text are read as well, and have no part in the result.
inline ByteKinds byte_kinds_padded(const char* text, std::size_t bytes) {
    const __m128i zero = _mm_setzero_si128();
    __m128i nul = zero;
    __m128i high = zero;
    std::size_t at = 0;
    for (; at + 16 <= bytes; at += 16) {
        const __m128i vector = detail::load_16(text + at);
        nul = _mm_or_si128(nul, _mm_cmpeq_epi8(vector, zero));
        high = _mm_or_si128(high, vector);
    }
    unsigned nuls = static_cast<unsigned>(_mm_movemask_epi8(nul));
    unsigned highs = static_cast<unsigned>(_mm_movemask_epi8(high));
    if (at < bytes) {
        const __m128i vector = detail::load_16(text + at);
        const unsigned inside = (1u << (bytes - at)) - 1;
        nuls |= static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(vector, zero))) & inside;
        highs |= static_cast<unsigned>(_mm_movemask_epi8(vector)) & inside;
    }
    return {nuls != 0, highs != 0};
}

inline constexpr std::size_t kCacheLineBytes = 64;

// Prefetches the line of a byte that will be read soon. Any address will do.
inline void prefetch_line(const char* byte) {
    _mm_prefetch(byte, _MM_HINT_T0);
}

}  // namespace system_search
