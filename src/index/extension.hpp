// A name's extension: its last "." and what follows, folded, when that is 8 bytes at most.
//
// Most names of a shard share a few dozen extensions. Holding a pattern such as "html" or "*.gz"
// against those tells of most names that they match, without a look at them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace system_search {

// The bytes of an extension from the lowest up, then zeros; 0 is none.
using Extension = std::uint64_t;

inline constexpr std::size_t kMaxExtensions = 255;  // of a shard; further ones count as none

namespace detail {

inline constexpr std::uint64_t kOnes = 0x0101010101010101;

// Eight bytes at once; no byte's sum reaches the next byte.
constexpr std::uint64_t fold_eight(std::uint64_t bytes) {
    const std::uint64_t low = bytes & 0x7F * kOnes;
    const std::uint64_t from_a = low + (0x80 - 'A') * kOnes;
    const std::uint64_t past_z = low + (0x80 - 'Z' - 1) * kOnes;
    const std::uint64_t upper = from_a & ~past_z & ~bytes & 0x80 * kOnes;
    return bytes | upper >> 2;
}

}  // namespace detail

// Of a name as stored.
inline Extension extension_of(std::string_view name) {
    using detail::kOnes;
    std::uint64_t last = 0;  // the name's last bytes, the very last one highest
    if (name.size() >= sizeof last) {
        std::memcpy(&last, name.data() + name.size() - sizeof last, sizeof last);
    } else {
        std::memcpy(reinterpret_cast<char*>(&last) + sizeof last - name.size(), name.data(),
                    name.size());
    }
    constexpr std::uint64_t kLow = 0x7F * kOnes;
    const std::uint64_t other = last ^ '.' * kOnes;
    const std::uint64_t dots = ~(((other & kLow) + kLow) | other | kLow);  // 0x80 in those bytes
    const auto bits_behind = static_cast<unsigned>(std::countl_zero(dots)) / 8 * 8;
    if (bits_behind / 8 >= std::min(name.size(), sizeof last)) return 0;
    return detail::fold_eight(last >> (56 - bits_behind));
}

inline std::string_view extension_text(const Extension& extension) {
    static_assert(std::endian::native == std::endian::little);
    const auto bytes = static_cast<std::size_t>(8 - std::countl_zero(extension) / 8);
    return {reinterpret_cast<const char*>(&extension), bytes};
}

// Numbers different extensions in the order in which they are met, from 1.
class ExtensionNumbers {
public:
    // 0 for no extension, or for one too many.
    std::uint8_t number_of(Extension extension) {
        if (extension == 0) return 0;
        for (std::size_t slot = extension * 0x9E3779B97F4A7C15 >> (64 - kSlotBits);; ++slot) {
            std::uint8_t& number = numbers_[slot % sizeof numbers_];
            if (number == 0) {
                if (count_ == kMaxExtensions) return 0;
                all_[count_++] = extension;
                return number = static_cast<std::uint8_t>(count_);
            }
            if (all_[number - 1u] == extension) return number;
        }
    }
    std::span<const Extension> all() const { return {all_, count_}; }

private:
    static constexpr unsigned kSlotBits = 9;  // twice the extensions, so that a free slot is near

    Extension all_[kMaxExtensions];
    std::size_t count_ = 0;
    std::uint8_t numbers_[1u << kSlotBits] = {};  // a hash table; 0 is free
};

}  // namespace system_search
