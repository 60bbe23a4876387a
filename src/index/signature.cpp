#include "index/signature.hpp"

namespace system_search {

Signature name_signature(std::string_view folded_name) noexcept {
    Signature signature{};
    char before = '\0';
    for (const char byte : folded_name) {
        signature.bytes |= std::uint64_t{1} << byte_bit(byte);
        signature.pairs |= std::uint64_t{1} << (pair_bit(before, byte) - 64);
        before = byte;
    }
    signature.pairs |= std::uint64_t{1} << (pair_bit(before, '\0') - 64);
    return signature;
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
