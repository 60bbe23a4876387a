#include "index/ending.hpp"

#include <algorithm>
#include <cstring>

namespace system_search {
namespace {

constexpr std::uint64_t in_all_bytes(unsigned byte) {
    return std::uint64_t{0x0101010101010101} * byte;
}

// Eight bytes at once; no byte's sum reaches the next byte.
Ending fold_bytes(Ending bytes) {
    const std::uint64_t low = bytes & in_all_bytes(0x7F);
    const std::uint64_t from_a = low + in_all_bytes(0x80 - 'A');
    const std::uint64_t past_z = low + in_all_bytes(0x80 - 'Z' - 1);
    const std::uint64_t upper = from_a & ~past_z & ~bytes & in_all_bytes(0x80);
    return bytes | upper >> 2;
}

}  // namespace

Ending ending_of(std::string_view name) noexcept {
    std::uint64_t last = 0;  // the name's last bytes, the very last one highest
    const std::size_t bytes = std::min(name.size(), sizeof last);
    std::memcpy(reinterpret_cast<char*>(&last) + sizeof last - bytes,
                name.data() + name.size() - bytes, bytes);

    const std::uint64_t other = last ^ in_all_bytes('.');
    const std::uint64_t dots =
        ~(((other & in_all_bytes(0x7F)) + in_all_bytes(0x7F)) | other | in_all_bytes(0x7F));
    if (dots == 0) return 0;
    const auto last_dot = static_cast<unsigned>(63 - std::countl_zero(dots)) / 8;
    return fold_bytes(last >> 8 * last_dot);
}

std::uint8_t EndingNumbers::number_of(Ending ending) {
    if (ending == 0) return 0;
    constexpr std::size_t kSlots = sizeof numbers_;
    for (std::size_t slot = ending * std::uint64_t{0x9E3779B97F4A7C15} >> (64 - kSlotBits);;
         ++slot) {
        std::uint8_t& number = numbers_[slot % kSlots];
        if (number == 0) {
            if (all_.size() == kMaxEndings) return 0;
            all_.push_back(ending);
            return number = static_cast<std::uint8_t>(all_.size());
        }
        if (all_[number - 1u] == ending) return number;
    }
}

}  // namespace system_search
