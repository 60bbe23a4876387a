// Substring search in the texts of a shard, which are short and may be read beyond their end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "index/shard.hpp"

#include <emmintrin.h>

namespace system_search {

class ByteSearch {
public:
    // `needle` must not be empty, and outlives this.
    explicit ByteSearch(std::string_view needle) : needle_(needle) {
        char head[16] = {};
        std::memcpy(head, needle.data(), needle.size() < 16 ? needle.size() : 16);
        head_ = load(head);
        head_mask_ = needle.size() < 16 ? (1u << needle.size()) - 1 : 0xFFFF;
        first_ = _mm_set1_epi8(needle.front());
        last_ = _mm_set1_epi8(needle.back());
    }

    // The first occurrence, or npos. kTextPadding bytes behind `text` must be readable.
    std::size_t find(std::string_view text) const {
        static_assert(kTextPadding >= 32);
        if (text.size() < needle_.size()) return std::string_view::npos;
        const std::size_t end = text.size() - needle_.size();  // the last possible place
        for (std::size_t at = 0; at <= end; at += 32) {
            // Thirty-two places at once, which is a whole name mostly.
            const char* const here = text.data() + at;
            std::uint32_t places = places_at(here) | places_at(here + 16) << 16;
            if (end - at < 31) places &= (std::uint32_t{2} << (end - at)) - 1;
            for (; places != 0; places &= places - 1) {
                const auto place = static_cast<unsigned>(std::countr_zero(places));
                if (needle_.size() <= 2 || occurs_at(here + place)) return at + place;
            }
        }
        return std::string_view::npos;
    }

    std::size_t size() const { return needle_.size(); }
    bool in(std::string_view text) const { return find(text) != std::string_view::npos; }

private:
    std::string_view needle_;
    static __m128i load(const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
    // Where, of the next sixteen places, the first and the last byte fit.
    std::uint32_t places_at(const char* here) const {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(
            _mm_and_si128(_mm_cmpeq_epi8(load(here), first_),
                          _mm_cmpeq_epi8(load(here + needle_.size() - 1), last_))));
    }
    bool occurs_at(const char* place) const {
        const auto equal =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(place), head_)));
        if ((equal & head_mask_) != head_mask_) return false;
        return needle_.size() <= 16 ||
               std::memcmp(place + 16, needle_.data() + 16, needle_.size() - 16) == 0;
    }

    __m128i head_;        // the needle's first 16 bytes
    unsigned head_mask_;  // a bit for each of them
    __m128i first_;       // its first byte, 16 times
    __m128i last_;
};

}  // namespace system_search
