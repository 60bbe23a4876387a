#include "index/signature.hpp"

#include <algorithm>

#include <emmintrin.h>

namespace system_search {
namespace {

// One bit for each of the first 8 bytes that is a ".".
std::uint64_t dots(std::string_view name) {
    const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(name.data()));
    const int places = _mm_movemask_epi8(_mm_cmpeq_epi8(first, _mm_set1_epi8('.')));
    const unsigned inside = (1u << std::min<std::size_t>(name.size(), kDotPlaces)) - 1;
    return static_cast<unsigned>(places) & inside;
}

}  // namespace

Signature name_signature(std::string_view folded_name) noexcept {
    // Kept in registers: a bit set through an index would wait for the one before it.
    std::uint64_t bytes = 0;
    std::uint64_t low_pairs = 0;
    std::uint64_t high_pairs = 0;
    char before = '\0';
    const auto add_pair = [&](char byte) {
        const unsigned bit = pair_bit(before, byte) - 64;
        const std::uint64_t mask = std::uint64_t{1} << bit % 64;
        const std::uint64_t is_high = ~std::uint64_t{0} * (bit / 64);
        low_pairs |= mask & ~is_high;
        high_pairs |= mask & is_high;
        before = byte;
    };
    for (const char byte : folded_name) {
        bytes |= std::uint64_t{1} << byte_bit(byte);
        add_pair(byte);
    }
    add_pair('\0');
    return {{bytes, low_pairs, high_pairs | dots(folded_name) << (kDotBits - 128)}};
}

void transpose(std::uint64_t (&rows)[64]) noexcept {
    // Swaps the two off-diagonal quarters of ever smaller squares.
    std::uint64_t mask = 0x00000000FFFFFFFF;
    for (unsigned side = 32; side != 0; side >>= 1, mask ^= mask << side) {
        for (unsigned top = 0; top < 64; top += 2 * side) {
            for (unsigned row = top; row < top + side; ++row) {
                const std::uint64_t swapped = (rows[row] >> side ^ rows[row + side]) & mask;
                rows[row] ^= swapped << side;
                rows[row + side] ^= swapped;
            }
        }
    }
}

}  // namespace system_search
