// What lies between two stars of a pattern, bytes and marks ("?"), held against texts by their
// bytes: each mark takes one. See query/code_points.hpp for the texts where that would be wrong.
//
// The texts are those of a shard, which are short and may be read beyond their end.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "index/shard.hpp"

#include <emmintrin.h>

namespace system_search {

inline constexpr char kMark = '?';

class Segment {
public:
    // `text` outlives this.
    explicit Segment(std::string_view text) : text_(text) {
        const std::size_t last = text.find_last_not_of(kMark);
        if (last == std::string_view::npos) return;
        char head[16] = {};
        std::memcpy(head, text.data(), text.size() < 16 ? text.size() : 16);
        head_ = load(head);
        for (unsigned i = 0; i < 16 && i < text.size(); ++i) {
            if (text[i] != kMark) head_mask_ |= 1u << i;
        }
        first_ = _mm_set1_epi8(text.front());
        last_ = _mm_set1_epi8(text[last]);
        last_at_ = last;
    }

    std::string_view text() const { return text_; }
    std::size_t size() const { return text_.size(); }
    bool empty() const { return text_.empty(); }

    // The first place of the subject where it lies, or npos; npos also when cancelled. Not for a
    // segment that is empty or begins with a mark. kTextPadding bytes behind `subject` must be
    // readable.
    std::size_t find(std::string_view subject, const std::atomic<bool>& cancel) const {
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
                if (last_at_ <= 1 || is_at(here + place)) return at + place;
                // A name of a cache file may have 32 KiB, and each of its bytes may be such a
                // place.
                if (last_at_ >= 16 && cancel) return std::string_view::npos;
            }
        }
        return std::string_view::npos;
    }

    // Whether it lies at `place`, from which its bytes and kTextPadding more must be readable.
    bool is_at(const char* place) const {
        const auto equal =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(place), head_)));
        if ((equal & head_mask_) != head_mask_) return false;
        return last_at_ < 16 || tail_is_at(place);
    }
    bool is_prefix_of(std::string_view subject) const {
        return subject.size() >= text_.size() && is_at(subject.data());
    }
    bool is_suffix_of(std::string_view subject) const {
        return subject.size() >= text_.size() &&
               is_at(subject.data() + subject.size() - text_.size());
    }

private:
    static __m128i load(const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
    // Where, of the next sixteen places, the first and the last byte fit.
    std::uint32_t places_at(const char* here) const {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_and_si128(
            _mm_cmpeq_epi8(load(here), first_), _mm_cmpeq_epi8(load(here + last_at_), last_))));
    }
    // The same for what lies behind the first 16 of more bytes; the last vector overlaps the one
    // before.
    bool tail_is_at(const char* place) const {
        const __m128i mark = _mm_set1_epi8(kMark);
        const std::size_t end = text_.size() - 16;
        for (std::size_t at = 16; at < end + 16; at += 16) {
            const std::size_t start = at < end ? at : end;
            const __m128i wanted = load(text_.data() + start);
            const __m128i fits = _mm_or_si128(_mm_cmpeq_epi8(wanted, load(place + start)),
                                              _mm_cmpeq_epi8(wanted, mark));
            if (_mm_movemask_epi8(fits) != 0xFFFF) return false;
        }
        return true;
    }

    std::string_view text_;
    __m128i head_ = _mm_setzero_si128();   // its first 16 bytes
    unsigned head_mask_ = 0;               // a bit for each of them that is no mark
    __m128i first_ = _mm_setzero_si128();  // its first byte, 16 times
    __m128i last_ = _mm_setzero_si128();   // the last one that is no mark
    std::size_t last_at_ = 0;              // where that stands
};

}  // namespace system_search
