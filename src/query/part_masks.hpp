// Parts in order in a short text, found without a branch.
//
// Where many names hold the bytes of a pattern such as "*e*r*t*n*", whether they hold them in order
// is a coin toss for the processor, and each wrong guess costs more than looking at all of a name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "index/shard.hpp"

#include <emmintrin.h>

namespace system_search {

class PartMasks {
public:
    static constexpr std::size_t kMaxText = 63;

    explicit PartMasks(std::span<const std::string_view> parts) {
        std::size_t bytes = 0;
        for (const std::string_view part : parts) bytes += part.size();
        if (parts.size() < 2 || bytes > kMaxBytes) return;
        for (const std::string_view part : parts) {
            starts_[count_++] = bytes_;
            for (const char byte : part) symbols_[bytes_++] = _mm_set1_epi8(byte);
        }
        starts_[count_] = bytes_;
    }
    // It pays for two and more parts that are short.
    bool usable() const { return count_ != 0; }

    // Whether the parts from number `part` on lie in the text of at most kMaxText bytes, one behind
    // the other. kTextPadding bytes behind the text must be readable.
    bool in_order(std::string_view text, std::size_t part) const {
        if (bytes_ == count_) {
            return text.size() <= 32 ? bytes_in_order<2>(text, part)
                                     : bytes_in_order<4>(text, part);
        }
        return text.size() <= 32 ? parts_in_order<2>(text, part) : parts_in_order<4>(text, part);
    }

private:
    static constexpr std::size_t kMaxBytes = 12;

    // A short text in 16-byte vectors. A mask has a bit for each of its bytes.
    template <unsigned kVectors>
    struct Text {
        explicit Text(std::string_view text) : inside((std::uint64_t{1} << text.size()) - 1) {
            static_assert(kTextPadding >= 32);
            for (unsigned i = 0; i < kVectors; ++i) {
                vectors[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data()) + i);
            }
        }
        std::uint64_t places_of(__m128i symbol) const {
            std::uint64_t places = 0;
            for (unsigned i = 0; i < kVectors; ++i) {
                const auto mask =
                    static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(vectors[i], symbol)));
                places |= std::uint64_t{mask} << 16 * i;
            }
            return places & inside;
        }
        __m128i vectors[kVectors];
        std::uint64_t inside;
    };

    // Of the places from `behind` on, a mask of one bit, the first; 0 when there is none, and when
    // `behind` is 0.
    static std::uint64_t first_from(std::uint64_t behind, std::uint64_t places) {
        const std::uint64_t left = places & ~(behind - 1);
        return left & (~left + 1);
    }

    template <unsigned kVectors>
    bool bytes_in_order(std::string_view text, std::size_t part) const {
        const Text<kVectors> vectors(text);
        std::uint64_t behind = 1;
        for (; part < count_; ++part) {
            behind = first_from(behind, vectors.places_of(symbols_[part])) << 1;
        }
        return behind != 0;
    }

    template <unsigned kVectors>
    bool parts_in_order(std::string_view text, std::size_t part) const {
        const Text<kVectors> vectors(text);
        std::uint64_t behind = 1;
        for (; part < count_; ++part) {
            const unsigned start = starts_[part];
            const unsigned bytes = starts_[part + 1] - start;
            std::uint64_t places = vectors.places_of(symbols_[start]);
            for (unsigned i = 1; i < bytes; ++i) {
                places &= vectors.places_of(symbols_[start + i]) >> i;
            }
            behind = first_from(behind, places) << bytes;
        }
        return behind != 0;
    }

    unsigned count_ = 0;
    unsigned bytes_ = 0;
    unsigned starts_[kMaxBytes + 1] = {};
    __m128i symbols_[kMaxBytes] = {};
};

}  // namespace system_search
