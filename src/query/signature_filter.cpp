#include "query/signature_filter.hpp"

#include <algorithm>
#include <functional>

#include "common/text.hpp"
#include "index/signature.hpp"

namespace system_search {

void SignatureFilter::require_bit(unsigned signature_bit) {
    const auto place =
        std::lower_bound(bits_.begin(), bits_.end(), signature_bit, std::greater<unsigned>());
    if (place == bits_.end() || *place != signature_bit) bits_.insert(place, signature_bit);
}

void SignatureFilter::require(std::string_view text, bool begins, bool ends, bool match_case) {
    char before = '\0';
    bool has_before = begins;
    for (const char byte : text) {
        const char folded = fold(byte);
        require_bit(byte_bit(folded));
        if (has_before) require_bit(bigram_bit(before, folded));
        if (match_case && folded != byte) require_bit(kCapitalBit);
        before = folded;
        has_before = true;
    }
    if (ends && has_before) require_bit(bigram_bit(before, '\0'));
}

bool SignatureFilter::apply(const Shard& shard, EntryBits& bits) const {
    for (const unsigned signature_bit : bits_) {
        const std::uint64_t* const bitmap = shard.signature(signature_bit);
        std::uint64_t left = 0;
        for (std::uint32_t word = 0; word < shard.words(); ++word) {
            left |= bits[word] &= bitmap[word];
        }
        if (left == 0) return false;
    }
    return true;
}

}  // namespace system_search
