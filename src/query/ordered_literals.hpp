// Literals that lie in a text one behind the other, without overlap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "query/literal.hpp"

#include <emmintrin.h>

namespace system_search {

class OrderedLiterals {
public:
    // The literals outlive this.
    explicit OrderedLiterals(std::span<const Literal> literals) : literals_(literals) {
        std::size_t bytes = 0;
        for (const Literal& literal : literals) bytes += literal.size();
        if (literals.size() < 2 || bytes > kMaxBytes) return;
        for (const Literal& literal : literals) {
            starts_[count_++] = bytes_;
            for (const char byte : literal.text()) symbols_[bytes_++] = _mm_set1_epi8(byte);
        }
        starts_[count_] = bytes_;
    }

    // Whether they lie in the text, behind which kTextPadding bytes must be readable.
    bool lie_in(std::string_view text) const {
        if (count_ != 0 && text.size() < 32) return lie_in_short<std::uint32_t>(text);
        if (count_ != 0 && text.size() < 64) return lie_in_short<std::uint64_t>(text);
        for (const Literal& literal : literals_) {
            const std::size_t place = literal.find(text);
            if (place == std::string_view::npos) return false;
            text.remove_prefix(place + literal.size());
        }
        return true;
    }

private:
    // Without a branch. Where many names hold the bytes of a pattern such as "*e*r*t*n*", whether
    // they hold them in order is a coin toss for the processor, and a wrong guess costs more than
    // looking at all of a name.
    template <typename Mask>  // a bit for each byte of the text, and for its end
    bool lie_in_short(std::string_view text) const {
        static_assert(kTextPadding >= 32);
        const auto vector = [&](std::size_t at) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        };
        constexpr bool kIsLong = sizeof(Mask) == 8;
        const __m128i bytes_0 = vector(0);
        const __m128i bytes_16 = vector(16);
        const __m128i bytes_32 = kIsLong ? vector(32) : bytes_0;
        const __m128i bytes_48 = kIsLong ? vector(48) : bytes_0;
        const auto equal = [](__m128i bytes, __m128i symbol) {
            return Mask{static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, symbol)))};
        };
        const auto places_of = [&](__m128i symbol) {
            Mask places = equal(bytes_0, symbol) | equal(bytes_16, symbol) << 16;
            if constexpr (kIsLong)
                places |= equal(bytes_32, symbol) << 32 | equal(bytes_48, symbol) << 48;
            return places;
        };
        // Each literal is taken where it ends first. What is left for the next are all places from
        // there on, the text's end among them, unless they reach into what lies behind the text.
        Mask left = ~Mask{0};
        for (unsigned literal = 0; literal < count_; ++literal) {
            const unsigned first = starts_[literal];
            const unsigned size = starts_[literal + 1] - first;
            Mask places = left & places_of(symbols_[first]);
            for (unsigned i = 1; i < size; ++i) places &= places_of(symbols_[first + i]) >> i;
            left = (places ^ (~places + 1)) << (size - 1);  // those behind the first place
        }
        return (left >> text.size() & 1) != 0;
    }

    // It pays for two and more literals that are short.
    static constexpr std::size_t kMaxBytes = 12;

    std::span<const Literal> literals_;
    unsigned count_ = 0;  // of the short ones; 0 when they are too long, or not several
    unsigned bytes_ = 0;
    unsigned starts_[kMaxBytes + 1] = {};
    __m128i symbols_[kMaxBytes] = {};
};

}  // namespace system_search
