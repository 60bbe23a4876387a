// A literal of a pattern, ready to be looked for in the texts of a shard, which are short and may
// be read beyond their end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "index/shard.hpp"

#include <emmintrin.h>

namespace system_search {

class Literal {
public:
    // `text` outlives this.
    explicit Literal(std::string_view text) : text_(text) {
        if (text.empty()) return;
        char head[16] = {};
        std::memcpy(head, text.data(), text.size() < 16 ? text.size() : 16);
        head_ = load(head);
        head_mask_ = text.size() < 16 ? (1u << text.size()) - 1 : 0xFFFF;
        first_ = _mm_set1_epi8(text.front());
        last_ = _mm_set1_epi8(text.back());
    }

    std::string_view text() const { return text_; }
    std::size_t size() const { return text_.size(); }

    // The first occurrence, or npos. Not for an empty literal. kTextPadding bytes behind `subject`
    // must be readable.
    std::size_t find(std::string_view subject) const {
        static_assert(kTextPadding >= 32);
        if (subject.size() < text_.size()) return std::string_view::npos;
        const std::size_t end = subject.size() - text_.size();  // the last possible place
        for (std::size_t at = 0; at <= end; at += 32) {
            // Thirty-two places at once, which is a whole name mostly.
            const char* const here = subject.data() + at;
            std::uint32_t places = places_at(here) | places_at(here + 16) << 16;
            if (end - at < 31) places &= (std::uint32_t{2} << (end - at)) - 1;
            for (; places != 0; places &= places - 1) {
                const auto place = static_cast<unsigned>(std::countr_zero(places));
                if (text_.size() <= 2 || is_at(here + place)) return at + place;
            }
        }
        return std::string_view::npos;
    }

    // Whether a subject holds the literal at `place`, from which the literal's bytes and
    // kTextPadding more must be readable.
    bool is_at(const char* place) const {
        const auto equal =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(place), head_)));
        if ((equal & head_mask_) != head_mask_) return false;
        return text_.size() <= 16 ||
               std::memcmp(place + 16, text_.data() + 16, text_.size() - 16) == 0;
    }

private:
    static __m128i load(const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
    // Where, of the next sixteen places, the first and the last byte fit.
    std::uint32_t places_at(const char* here) const {
        return static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(load(here), first_),
                                            _mm_cmpeq_epi8(load(here + text_.size() - 1), last_))));
    }

    std::string_view text_;
    __m128i head_ = _mm_setzero_si128();   // its first 16 bytes
    unsigned head_mask_ = 0;               // a bit for each of them
    __m128i first_ = _mm_setzero_si128();  // its first byte, 16 times
    __m128i last_ = _mm_setzero_si128();
};

}  // namespace system_search
