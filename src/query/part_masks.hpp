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
            return text.size() <= 32 ? bytes_in_order<Bytes32>(text, part)
                                     : bytes_in_order<Bytes64>(text, part);
        }
        return text.size() <= 32 ? parts_in_order<Bytes32>(text, part)
                                 : parts_in_order<Bytes64>(text, part);
    }

private:
    static constexpr std::size_t kMaxBytes = 12;

    // The bytes of a text, and what lies behind it. A mask has a bit for each of them.
    struct Bytes32 {
        static_assert(kTextPadding >= 32);
        explicit Bytes32(const char* text)
            : low(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text))),
              high(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text) + 1)) {}
        std::uint64_t places_of(__m128i symbol) const {
            const auto mask = [&](__m128i vector) {
                return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(vector, symbol)));
            };
            return mask(low) | std::uint64_t{mask(high)} << 16;
        }
        __m128i low;
        __m128i high;
    };
    struct Bytes64 {
        explicit Bytes64(const char* text) : low(text), high(text + 32) {}
        std::uint64_t places_of(__m128i symbol) const {
            return low.places_of(symbol) | high.places_of(symbol) << 32;
        }
        Bytes32 low;
        Bytes32 high;
    };

    // A mask of all places behind the first one; 0 when there is none.
    static std::uint64_t behind_first(std::uint64_t places) { return places ^ (~places + 1); }

    // Each part is taken where it ends first. What is left for the next are all places from there
    // on, among them the text's end, unless the parts reach into what lies behind the text.
    static bool holds_end(std::uint64_t left, std::string_view text) {
        return (left >> text.size() & 1) != 0;
    }

    template <typename Bytes>
    bool bytes_in_order(std::string_view text, std::size_t part) const {
        const Bytes bytes(text.data());
        std::uint64_t left = ~std::uint64_t{0};
        for (; part < count_; ++part) {
            left = behind_first(left & bytes.places_of(symbols_[part]));
        }
        return holds_end(left, text);
    }

    template <typename Bytes>
    bool parts_in_order(std::string_view text, std::size_t part) const {
        const Bytes bytes(text.data());
        std::uint64_t left = ~std::uint64_t{0};
        for (; part < count_; ++part) {
            const unsigned start = starts_[part];
            const unsigned length = starts_[part + 1] - start;
            std::uint64_t places = bytes.places_of(symbols_[start]);
            for (unsigned i = 1; i < length; ++i) {
                places &= bytes.places_of(symbols_[start + i]) >> i;
            }
            left = behind_first(left & places) << (length - 1);
        }
        return holds_end(left, text);
    }

    unsigned count_ = 0;
    unsigned bytes_ = 0;
    unsigned starts_[kMaxBytes + 1] = {};
    __m128i symbols_[kMaxBytes] = {};
};

}  // namespace system_search
