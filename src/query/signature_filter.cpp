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

void SignatureFilter::require(std::string_view segment, bool is_prefix, bool is_suffix) {
    char before = '\0';
    bool has_before = is_prefix;
    for (const char byte : segment) {
        if (byte == kMark) {
            has_before = false;
            continue;
        }
        const char folded = fold(byte);
        require_bit(byte_bit(folded));
        if (has_before) require_bit(bigram_bit(before, folded));
        if (match_case_ && folded != byte) require_bit(kUppercaseBit);
        before = folded;
        has_before = true;
    }
    if (is_suffix && has_before) require_bit(bigram_bit(before, '\0'));
}

void SignatureFilter::require(const Terms& terms) {
    require(terms.prefix, /*is_prefix=*/true, /*is_suffix=*/!terms.has_star);
    for (const Segment& segment : terms.inner) require(segment.text(), false, false);
    if (!terms.suffix.empty()) require(terms.suffix, false, /*is_suffix=*/true);
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
