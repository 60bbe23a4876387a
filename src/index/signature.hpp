// What a name holds, in 160 bits: which bytes, and which pairs of neighbouring bytes (bigrams).
//
// A shard keeps the signatures of its names bit-sliced: one bitmap per signature bit, with one bit
// per entry. All names that may hold "report" are then the intersection of a few bitmaps of 128
// bytes, whatever the length of the names. A signature never misses: a name that holds a byte or a
// bigram has its bit. It may have the bit for another reason as well, unless the byte or the bigram
// has a bit of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace system_search {

inline constexpr unsigned kSignatureBits = 160;

inline constexpr unsigned kFolderBit = 0;     // the entry is a folder
inline constexpr unsigned kUppercaseBit = 1;  // the name as stored holds an uppercase letter
inline constexpr unsigned kFirstBitBeyondAscii =
    56;  // from here to kByteClasses: bytes from 0x80 on
inline constexpr unsigned kFirstBigramBit = 64;
inline constexpr unsigned kByteClasses = 64;

namespace detail {

inline constexpr std::string_view kBytesWithOwnBit =
    "abcdefghijklmnopqrstuvwxyz0123456789.-_ ()+,~@=&#";

// The most frequent bigrams of real file names. Sharing their bits would fill the bitmaps of
// others.
inline constexpr std::string_view kBigramsWithOwnBit =
    "erinngstontedeatreestiraleorcoasmalaenarlimerialntanseiticrotoio";
static_assert(kBigramsWithOwnBit.size() == 64);

// The class of a byte is its bit. Beyond the bytes with a bit of their own, 5 classes hold the rest
// of ASCII and 8 the bytes of longer code points. NUL, which no name holds, is class 0.
constexpr std::array<std::uint8_t, 256> byte_bits() {
    std::array<std::uint8_t, 256> bits{};
    for (unsigned byte = 1; byte < 256; ++byte) {
        bits[byte] = static_cast<std::uint8_t>(byte < 0x80 ? 51 + byte % 5
                                                           : kFirstBitBeyondAscii + byte % 8);
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

using BigramBits = std::array<std::array<std::uint8_t, 64>, 64>;

constexpr BigramBits bigram_bits() {
    constexpr std::size_t kOwn = kBigramsWithOwnBit.size() / 2;
    constexpr std::size_t kShared = kSignatureBits - kFirstBigramBit - kOwn;
    BigramBits bits{};
    for (std::uint32_t first = 0; first < 64; ++first) {
        for (std::uint32_t second = 0; second < 64; ++second) {
            const std::uint32_t hash = (first * 64 + second) * 0x9E3779B1u >> 16;
            bits[first][second] =
                static_cast<std::uint8_t>(kFirstBigramBit + kOwn + (hash * kShared >> 16));
        }
    }
    for (std::size_t i = 0; i < kOwn; ++i) {
        bits[byte_class(kBigramsWithOwnBit[2 * i])][byte_class(kBigramsWithOwnBit[2 * i + 1])] =
            static_cast<std::uint8_t>(kFirstBigramBit + i);
    }
    return bits;
}

inline constexpr BigramBits kBigramBits = bigram_bits();

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
constexpr unsigned bigram_bit(char first, char second) {
    return detail::kBigramBits[detail::byte_class(first)][detail::byte_class(second)];
}

// True when no other bigram sets this bigram's bit.
constexpr bool has_own_bit(char first, char second) {
    return bigram_bit(first, second) < kFirstBigramBit + detail::kBigramsWithOwnBit.size() / 2;
}

// Calls set(bit) for every bit of a name, for some of them more than once.
template <typename Set>
void for_signature_bits(std::string_view folded_name, Set set) {
    char before = '\0';
    for (const char byte : folded_name) {
        set(byte_bit(byte));
        set(bigram_bit(before, byte));
        before = byte;
    }
    set(bigram_bit(before, '\0'));
}

}  // namespace system_search
