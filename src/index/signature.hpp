// What a name holds, in 128 bits: which bytes and which pairs of neighbouring bytes.
//
// A segment of a shard keeps the signatures of its names as columns: one bitmap per signature bit,
// with one bit per entry. All names that may hold "report" are then the intersection of a few
// bitmaps of 128 bytes, whatever the length of the names. A signature never misses: a name that
// holds a byte or a pair has its bit. It may have the bit for another reason as well, unless the
// byte has a bit of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace system_search {

inline constexpr unsigned kSignatureBits = 128;

inline constexpr unsigned kFolderBit = 0;     // the entry is a folder
inline constexpr unsigned kUpperNameBit = 1;  // the stored name is not its own folded copy

struct Signature {
    std::uint64_t bytes;  // bits 0 to 63: the two above, and the bytes of the name
    std::uint64_t pairs;  // bits 64 to 127
};

namespace detail {

inline constexpr std::string_view kBytesWithOwnBit =
    "abcdefghijklmnopqrstuvwxyz0123456789.-_ ()+,~@=&#";

// The rest share: 5 bits for rare ASCII, 8 for the bytes of code points beyond it.
constexpr std::array<std::uint8_t, 256> byte_bits() {
    std::array<std::uint8_t, 256> bits{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        bits[byte] = static_cast<std::uint8_t>(byte < 0x80 ? 51 + byte % 5 : 56 + byte % 8);
    }
    for (std::size_t i = 0; i < kBytesWithOwnBit.size(); ++i) {
        bits[static_cast<unsigned char>(kBytesWithOwnBit[i])] = static_cast<std::uint8_t>(2 + i);
    }
    return bits;
}
static_assert(2 + kBytesWithOwnBit.size() == 51);

inline constexpr std::array<std::uint8_t, 256> kByteBits = byte_bits();

}  // namespace detail

// The bit of a folded byte.
constexpr unsigned byte_bit(char byte) {
    return detail::kByteBits[static_cast<unsigned char>(byte)];
}

// True when no other byte sets this byte's bit.
constexpr bool has_own_bit(char byte) {
    return detail::kBytesWithOwnBit.find(byte) != std::string_view::npos;
}

// The bit of two neighbouring folded bytes. A NUL stands for the name's beginning and its end.
constexpr unsigned pair_bit(char first, char second) {
    const std::uint32_t pair = static_cast<std::uint32_t>(static_cast<unsigned char>(first)) << 8 |
                               static_cast<unsigned char>(second);
    return 64 + (pair * 0x9E3779B1u >> 26);
}

Signature name_signature(std::string_view folded_name) noexcept;

// Turns 64 rows of bits into columns: bit j of row i becomes bit i of row j.
void transpose(std::uint64_t (&rows)[64]) noexcept;

}  // namespace system_search
