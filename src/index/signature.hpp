// What a name holds, in 168 bits: which bytes, which pairs of neighbouring bytes, and where it
// begins with a "." within its first bytes.
//
// A shard keeps the signatures of its names as columns: one bitmap per signature bit, with one bit
// per entry. All names that may hold "report" are then the intersection of a few bitmaps of 128
// bytes, whatever the length of the names. A signature never misses: a name that holds a byte or a
// pair has its bit. It may have the bit for another reason as well, unless the byte or the pair has
// a bit of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace system_search {

inline constexpr unsigned kSignatureBits = 168;

inline constexpr unsigned kFolderBit = 0;      // the entry is a folder
inline constexpr unsigned kUpperNameBit = 1;   // the stored name is not its own folded copy
inline constexpr unsigned kNonAsciiBits = 56;  // 8 bits; a byte of 0x80 or above sets one of them
inline constexpr unsigned kNonAsciiClasses = 8;
inline constexpr unsigned kDotBits = 160;  // 8 bits: the name's byte at 0 to 7 is a "."
inline constexpr unsigned kDotPlaces = 8;

struct Signature {
    // 64 bits for the two above and the bytes of the name, 96 for its pairs, 8 for its dots.
    std::uint64_t words[(kSignatureBits + 63) / 64];
};

namespace detail {

inline constexpr std::string_view kBytesWithOwnBit =
    "abcdefghijklmnopqrstuvwxyz0123456789.-_ ()+,~@=&#";

// The most frequent pairs of real file names. Sharing their bits would fill the columns of others.
inline constexpr std::string_view kPairsWithOwnBit =
    "erinngstontedeatreestiraleorcoasmalaenarlimerialntanseiticrotoio";
static_assert(kPairsWithOwnBit.size() == 64);

// The class of a byte is its bit. Beyond the bytes with a bit of their own, 5 classes hold the rest
// of ASCII and 8 the bytes of longer code points. NUL, which no name holds, is class 0.
constexpr std::array<std::uint8_t, 256> byte_bits() {
    std::array<std::uint8_t, 256> bits{};
    for (unsigned byte = 1; byte < 256; ++byte) {
        bits[byte] = static_cast<std::uint8_t>(
            byte < 0x80 ? 51 + byte % 5 : kNonAsciiBits + byte % kNonAsciiClasses);
    }
    for (std::size_t i = 0; i < kBytesWithOwnBit.size(); ++i) {
        bits[static_cast<unsigned char>(kBytesWithOwnBit[i])] = static_cast<std::uint8_t>(2 + i);
    }
    return bits;
}
static_assert(2 + kBytesWithOwnBit.size() == 51);

inline constexpr std::array<std::uint8_t, 256> kByteBits = byte_bits();

constexpr unsigned byte_class(char byte) {
    return kByteBits[static_cast<unsigned char>(byte)];
}

using PairBits = std::array<std::array<std::uint8_t, 64>, 64>;

constexpr PairBits pair_bits() {
    constexpr std::size_t kOwn = kPairsWithOwnBit.size() / 2;
    constexpr std::size_t kShared = kDotBits - 64 - kOwn;
    PairBits bits{};
    for (std::uint32_t first = 0; first < 64; ++first) {
        for (std::uint32_t second = 0; second < 64; ++second) {
            const std::uint32_t hash = (first * 64 + second) * 0x9E3779B1u >> 16;
            bits[first][second] = static_cast<std::uint8_t>(64 + kOwn + (hash * kShared >> 16));
        }
    }
    for (std::size_t i = 0; i < kOwn; ++i) {
        bits[byte_class(kPairsWithOwnBit[2 * i])][byte_class(kPairsWithOwnBit[2 * i + 1])] =
            static_cast<std::uint8_t>(64 + i);
    }
    return bits;
}

inline constexpr PairBits kPairBits = pair_bits();

}  // namespace detail

// The bit of a folded byte that is not NUL.
constexpr unsigned byte_bit(char byte) {
    return detail::byte_class(byte);
}

// True when no other byte sets this byte's bit.
constexpr bool has_own_bit(char byte) {
    return detail::kBytesWithOwnBit.find(byte) != std::string_view::npos;
}

// The bit of two neighbouring folded bytes. A NUL stands for the name's beginning and its end.
constexpr unsigned pair_bit(char first, char second) {
    return detail::kPairBits[detail::byte_class(first)][detail::byte_class(second)];
}

// True when no other pair sets this pair's bit.
constexpr bool has_own_bit(char first, char second) {
    return pair_bit(first, second) < 64 + detail::kPairsWithOwnBit.size() / 2;
}

// 7 bytes behind the name must be readable.
Signature name_signature(std::string_view folded_name) noexcept;

// Turns 64 rows of bits into columns: bit j of row i becomes bit i of row j.
void transpose(std::uint64_t (&rows)[64]) noexcept;

}  // namespace system_search
