// Substring search in the texts of a shard, which are short and may be read beyond their end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "index/shard.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace system_search {

class ByteSearch {
public:
    // `needle` must not be empty, and outlives this.
    explicit ByteSearch(std::string_view needle) : needle_(needle) {
#if defined(__SSE2__)
        char head[16] = {};
        std::memcpy(head, needle.data(), needle.size() < 16 ? needle.size() : 16);
        head_ = load(head);
        head_mask_ = needle.size() < 16 ? (1u << needle.size()) - 1 : 0xFFFF;
        first_ = _mm_set1_epi8(needle.front());
        last_ = _mm_set1_epi8(needle.back());
#endif
    }

    // The first occurrence, or npos. kTextPadding bytes behind `text` must be readable.
    std::size_t find(std::string_view text) const {
#if defined(__SSE2__)
        static_assert(kTextPadding >= 16);
        if (text.size() < needle_.size()) return std::string_view::npos;
        const std::size_t end = text.size() - needle_.size();  // the last possible place
        for (std::size_t at = 0; at <= end; at += 16) {
            // Sixteen places at once: where the first and the last byte fit.
            const char* const here = text.data() + at;
            auto places = static_cast<unsigned>(_mm_movemask_epi8(
                _mm_and_si128(_mm_cmpeq_epi8(load(here), first_),
                              _mm_cmpeq_epi8(load(here + needle_.size() - 1), last_))));
            if (end - at < 15) places &= (2u << (end - at)) - 1;
            for (; places != 0; places &= places - 1) {
                const auto place = static_cast<unsigned>(std::countr_zero(places));
                if (occurs_at(here + place)) return at + place;
            }
        }
        return std::string_view::npos;
#else
        return text.find(needle_);
#endif
    }

    bool in(std::string_view text) const {
        return find(text) != std::string_view::npos;
    }

private:
    std::string_view needle_;
#if defined(__SSE2__)
    static __m128i load(const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
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
#endif
};

}  // namespace system_search
